#include "ctl/log_follower.hpp"

#include "cl/os/error.hpp"

namespace vfl::ctl {

namespace {

bool is_missing(std::uint32_t error) {
    return error == cl::os::error_not_found || error == cl::os::error_path_not_found;
}

} // namespace

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
    const file_reading current = source_.read(log_source::which::current, file_, position_);
    result.error = current.error;
    if (current.error != 0 && (!is_missing(current.error) || !file_))
        return result;
    result.last_write = current.last_write;
    if (file_ && (current.error != 0 || current.identity != *file_)) {
        // The rest of the file that we knew is in the old one now, unless there was another rotation. There
        // may be no current one yet.
        const file_reading old = source_.read(log_source::which::old, file_, position_);
        if (old.error == 0 && old.identity == *file_ && old.start == position_) {
            rest_ += old.bytes;
            position_ += old.bytes.size();
            if (current.error != 0)
                result.last_write = old.last_write;
        } else if (current.error == 0) {
            result.gap = true;
            rest_.clear();
        }
    } else if (file_ && current.start != position_) {
        rest_.clear(); // the file was emptied or cut
    }
    if (current.error == 0) {
        file_ = current.identity;
        position_ = current.start + current.bytes.size();
        rest_ += current.bytes;
    }
    const std::size_t lines_end = rest_.rfind('\n') + 1;
    result.bytes = rest_.substr(0, lines_end);
    rest_.erase(0, lines_end);
    return result;
}

} // namespace vfl::ctl
