// The files of the log on the disk.
#pragma once

#include "ctl/log_follower.hpp"
#include "ctl/log_lines.hpp"

#include <vector>

namespace vfl::ctl {

// Opens the file for a moment, with all sharing, and reads it.
file_reading read_shared(const std::wstring& path, const std::optional<file_identity>& expected,
                         std::uint64_t position);

class product_log final : public log_source {
public:
    std::wstring current_path, old_path;
    file_reading read(which of, const std::optional<file_identity>& expected,
                      std::uint64_t position) override;
};

// The log in the product's data folder.
product_log product_log_in(const std::wstring& data_folder);

// All of the log at one moment.
struct log_reading {
    std::vector<log_part> parts; // the oldest first
    file_reading current;        // its bytes are in `parts` if it could be read
    std::uint32_t old_error = 0; // with which the old generation couldn't be read; 0 also when there is none
    std::optional<local_ms> process_start; // of the running service
};
log_reading read_product_log(product_log& files);

// Reads the current file and appends it.
void add_current(product_log& files, log_reading& reading);

} // namespace vfl::ctl
