#include "ctl/log_follower.hpp"

#include <utility>

namespace vfl::ctl {

void log_follower::begin(const file_reading& current) {
    if (current.error != 0)
        return;
    file_ = current.identity;
    const std::size_t lines_end = current.bytes.rfind('\n') + 1; // 0 when there is no line feed
    position_ = current.start + lines_end;
    rest_.clear();
}

log_follower::step log_follower::next() {
    step result;
    file_reading current = source_.read(log_source::which::current, file_, position_);
    result.error = current.error;
    if (current.error != 0)
        return result;
    if (file_ && current.identity != *file_) {
        // The rest of the file that we knew is the old one now, unless there was another rotation.
        const file_reading old = source_.read(log_source::which::old, file_, position_);
        if (old.error == 0 && old.identity == *file_ && old.start == position_)
            rest_ += old.bytes;
        else
            result.gap = true;
        if (result.gap)
            rest_.clear();
    } else if (file_ && current.start != position_) {
        rest_.clear(); // the file was emptied or cut
    }
    file_ = current.identity;
    position_ = current.start + current.bytes.size();
    rest_ += current.bytes;
    result.last_write = current.last_write;
    const std::size_t lines_end = rest_.rfind('\n') + 1;
    result.bytes = rest_.substr(0, lines_end);
    rest_.erase(0, lines_end);
    return result;
}

} // namespace vfl::ctl
