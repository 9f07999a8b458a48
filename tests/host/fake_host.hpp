// What the host calls of Windows (service_manager.hpp, mode_calls.hpp, locations.hpp, rights.hpp) and of the
// Wi-Fi supervisor, acted out, and the service library behind the process's library table. Every call is
// noted in `calls`, in order. A test may use it on several threads while it changes no field.
#pragma once

#include "cl/sys/library_table.hpp"
#include "host/service_manager.hpp"
#include "product/folder_protection.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace fakes {

struct host {
    std::vector<std::string> calls{};
    // Errors to answer with; report_errors holds one for each report in turn.
    vfl::failure dispatcher_error{}, register_error{}, token_error{};
    std::vector<std::uint32_t> report_errors{};
    bool admin = true;
    vfl::folder_protection folder{}; // what becomes of the data folder and of the one above it
    bool has_install_dir = true;
    // Played on the dispatcher's thread, behind the service's body.
    std::function<void(vfl::service_handler_function)> controls{};
    // What happens elsewhere while the start of the library is at work, and while a resume is looked after.
    std::function<void()> in_start{}, in_resume{};

    // The library: whether there is one, its exports, and what they return.
    bool has_library = true;
    std::set<std::string> missing{};
    std::map<std::string, std::uint32_t> results{};
    int loaded = 0; // loads less unloads
    std::uint32_t load_error = 126, find_error = 127;

    // The one host of the process; assign host{} to start afresh.
    static host& instance();
    // What stands behind the process's library table, for scripted_libraries.
    static const cl::module_calls modules;

    // The noted calls, parted by ", ".
    [[nodiscard]] std::string log() const;
};

} // namespace fakes
