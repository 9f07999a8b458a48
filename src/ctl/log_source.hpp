// The files of the log on the disk.
#pragma once

#include "ctl/log_follower.hpp"

namespace vfl::ctl {

// Opens the file for a moment, with all sharing, and reads it.
file_reading read_shared(const std::wstring& path, const std::optional<file_identity>& expected,
                         std::uint64_t position);

class product_log final : public log_source {
public:
    std::wstring current_path, old_path;
    file_reading read(which file, const std::optional<file_identity>& expected,
                      std::uint64_t position) override;
};

} // namespace vfl::ctl
