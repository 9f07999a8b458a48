// vflctl doctor: facts in, verdicts out.
#pragma once

#include "ctl/driver_query.hpp"
#include "ctl/library_state.hpp"
#include "ctl/output.hpp"
#include "ctl/service_system.hpp"

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace vfl::ctl {

// What the checks know of the machine. Texts are foreign and not cleaned. An error is a number of Windows, 0
// for none. One object, in the order of the checks. NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct machine_facts {
    std::wstring tool_version;
    bool elevated = false;

    std::wstring os_text;
    std::uint32_t os_version = 0; // 601 is Windows 7
    bool x64 = true, version_masked = false;

    bool has_install_dir = false; // the registry's value
    std::wstring install_dir;
    bool install_dir_exists = false, users_may_write = false;
    std::wstring program_version; // of vfl.exe there; empty when it isn't there

    bool library_exists = false, library_is_x64_dll = false;
    std::vector<std::string> library_exports;

    service_facts service;
    std::wstring service_program; // the path alone, without quotes and arguments
    bool service_program_exists = false;
    library_report library;

    driver_answer nop, connections;
    std::size_t connection_count = 0;
    bool snapshot_is_known = false;

    std::wstring data_dir;
    bool data_dir_exists = false, system_may_write = true;
    std::uint64_t free_bytes = 0;

    bool settings_exist = false, settings_are_a_folder = false;
    std::uint32_t settings_error = 0;
    std::vector<std::wstring> settings_holders; // programs
    std::vector<std::wstring> settings_findings;

    bool log_exists = false, log_is_a_folder = false;
    std::uint32_t log_error = 0;
    struct log_finding {
        std::wstring text, remedy;
        std::size_t count = 0;
        std::wstring last; // time
    };
    std::vector<log_finding> log_findings; // of the last run

    bool hosted_autostart = false, hosted_api = false, wlan_service_runs = false, hosted_passphrase = false,
         hosted_state_known = false;
    std::size_t hosted_ssid_bytes = 0;
};

enum class verdict { ok, warn, fail, skip };

struct check_result {
    std::wstring id;
    verdict status = verdict::ok;
    std::wstring text, remedy; // the remedy is empty when there is nothing to do
    std::map<std::wstring, std::variant<std::uint64_t, std::wstring>> facts;
};

// One result for each check, always all of them in the same order.
std::vector<check_result> diagnose(const machine_facts& facts);

// The worst of them: fail before warn before ok.
verdict overall(const std::vector<check_result>& results);

void show_text(const std::vector<check_result>& results, output& out);
std::string doctor_json(const std::vector<check_result>& results, const machine_facts& facts,
                        std::wstring_view time);

machine_facts collect_facts();

} // namespace vfl::ctl
