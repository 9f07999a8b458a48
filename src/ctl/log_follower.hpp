// Follows the log across its rotations. No file is held: a rotation must be able to rename and delete both.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vfl::ctl {

struct file_identity {
    std::uint32_t volume = 0;
    std::uint64_t index = 0;
    bool operator==(const file_identity&) const = default;
};

// What one open, read and close found.
struct file_reading {
    std::uint32_t error = 0; // of the open or the read; the rest has no meaning then
    file_identity identity;
    std::uint64_t start = 0;      // where `bytes` begins in the file
    std::uint64_t last_write = 0; // file time
    std::string bytes;            // as far as the file's end
};

// The two files of the log.
class log_source {
public:
    enum class which { current, old };
    // Reads from `position` if the file is `expected` and that long, else from its start. Without `expected`
    // from the start.
    virtual file_reading read(which file, const std::optional<file_identity>& expected,
                              std::uint64_t position) = 0;

protected:
    ~log_source() = default;
};

class log_follower {
public:
    explicit log_follower(log_source& source) : source_(source) {}

    // The log as it is now: both files, or the current one alone. Following goes on from there.
    struct step {
        std::string bytes;            // whole lines alone
        std::uint64_t last_write = 0; // of the file that `bytes` end in
        // With which the current file couldn't be read; 2 and 3: it isn't there, and `bytes` are the rest of
        // the old one.
        std::uint32_t error = 0;
        bool gap = false; // lines were missed, because the log was rotated more than once meanwhile
    };

    // Begins at the end of what the caller has read of the current file.
    void begin(const file_reading& current);

    // What has come since.
    step next();

private:
    log_source& source_;
    std::optional<file_identity> file_;
    std::uint64_t position_ = 0;
    std::string rest_; // of a line whose end has not been written yet
};

} // namespace vfl::ctl
