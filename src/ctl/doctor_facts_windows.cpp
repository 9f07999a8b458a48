#include "cl/os/clock.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/text/string_util.hpp"
#include "cl/wifi/passphrase.hpp"
#include "cl/wifi/wifi_config.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"
#include "connview/snapshot.hpp"
#include "contracts/protocol.h"
#include "contracts/service_library.h"
#include "ctl/commands.hpp"
#include "ctl/doctor.hpp"
#include "ctl/file_facts.hpp"
#include "ctl/folder_rights.hpp"
#include "ctl/local_time.hpp"
#include "ctl/log_selection.hpp"
#include "ctl/log_source.hpp"
#include "ctl/message_page.hpp"
#include "ctl/pe_exports.hpp"
#include "ctl/settings_check.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"
#include "product/rights.hpp"

#include <algorithm>
#include <windows.h>

namespace vfl::ctl {

namespace {

// The program of a service's command line, with the environment's names replaced.
std::wstring program_of(const std::wstring& command) {
    wchar_t expanded[32768]; // the system's limit
    const DWORD length = ExpandEnvironmentStringsW(command.c_str(), expanded, std::size(expanded));
    const std::wstring line = length != 0 && length <= std::size(expanded) ? expanded : command;
    if (line.starts_with(L'"'))
        return line.substr(1, line.find(L'"', 1) - 1);
    // Without quotes the system tries each blank as the end; the name of an executable is the only sure one.
    const std::size_t end = cl::lower_copy(line).find(L".exe");
    return end == line.npos ? line.substr(0, line.find(L' ')) : line.substr(0, end + 4);
}

bool wlan_service_runs() {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = manager ? OpenServiceW(manager, L"wlansvc", SERVICE_QUERY_STATUS) : nullptr;
    SERVICE_STATUS status{};
    const bool runs =
        service && QueryServiceStatus(service, &status) && status.dwCurrentState == SERVICE_RUNNING;
    if (service)
        CloseServiceHandle(service);
    if (manager)
        CloseServiceHandle(manager);
    return runs;
}

void collect_installation(machine_facts& f) {
    f.has_install_dir = read_install_dir(product_word, f.install_dir);
    if (!f.has_install_dir)
        return;
    f.install_dir_exists = kind_of(f.install_dir) == path_kind::folder;
    f.users_may_write = f.install_dir_exists && read_folder_rights(f.install_dir).users_write;
    f.program_version = file_version(f.install_dir + L"vfl.exe");
    const file_reading library = read_shared(f.install_dir + VFL_SERVICE_LIBRARY, {}, 0);
    f.library_exists = library.error == 0;
    const pe_file pe = read_pe(library.bytes);
    f.library_is_x64_dll = pe.is_x64_dll;
    f.library_exports = pe.exports;
}

void collect_driver(machine_facts& f) {
    f.nop = ask_driver(VFL_COMMAND_NOP);
    if (f.nop.open_error != 0 || f.nop.timed_out || !f.nop.end.done)
        return;
    f.connections = ask_driver(VFL_COMMAND_CONNECTIONS);
    connection_map map;
    f.snapshot_is_known = put_snapshot_time(f.connections.reply, cl::os::unix_time()) &&
                          apply_snapshot(map, f.connections.reply, false, nullptr) >= 0;
    f.connection_count = map.size();
}

void collect_settings(machine_facts& f) {
    const std::wstring path = f.data_dir + settings_file_name;
    const path_kind kind = kind_of(path);
    f.settings_are_a_folder = kind == path_kind::folder;
    f.settings_exist = kind == path_kind::file;
    if (!f.settings_exist)
        return;
    const file_reading file = read_shared(path, {}, 0);
    f.settings_error = file.error;
    if (file.error == 0)
        f.settings_findings = check_settings(file.bytes);
    else if (file.error == ERROR_SHARING_VIOLATION)
        f.settings_holders = file_holders(path);
}

void collect_log(machine_facts& f) {
    product_log files = product_log_in(f.data_dir);
    const path_kind kind = kind_of(files.current_path);
    f.log_is_a_folder = kind == path_kind::folder;
    f.log_exists = kind == path_kind::file;
    if (!f.log_exists)
        return;
    const log_reading reading = read_product_log(files);
    f.log_error = reading.current.error;
    const log_text log = read_log(reading.parts, reading.process_start);
    if (f.service.state == state_running)
        f.library = find_library_state(log, reading.process_start);
    const message_page page(message_page_resource());
    for (const log_line& line : log.lines) {
        if (static_cast<std::size_t>(line.run) != log.runs)
            continue;
        const std::wstring text =
            line_text(std::string_view(log.bytes).substr(line.begin, line.end - line.begin));
        const message_row* const row = page.find(text);
        // The service's own life is in the log in every run, whatever the page advises on it.
        if (!row || !has_remedy(*row) || text.starts_with(L"stop_service()"))
            continue;
        auto known = std::ranges::find(f.log_findings, text, &machine_facts::log_finding::text);
        if (known == f.log_findings.end())
            known = f.log_findings.insert(known, {text, row->remedy, 0, {}});
        ++known->count;
        known->last = time_text(line.time()).substr(0, 19);
    }
}

void collect_hosted_network(machine_facts& f) {
    f.hosted_autostart = cl::autostart_enabled();
    if (!f.hosted_autostart)
        return;
    cl::wireless_hosted_network network;
    f.hosted_api = network.loaded();
    f.wlan_service_runs = wlan_service_runs();
    std::string ssid;
    cl::passphrase secret; // wiped at the end; only whether there is one is kept
    cl::read_wifi_config(ssid, secret.text);
    f.hosted_ssid_bytes = ssid.size();
    f.hosted_passphrase = !secret.text.empty();
    f.hosted_state_known = network.query_state() != 0;
}

} // namespace

machine_facts collect_facts() {
    machine_facts f;
    wchar_t self[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, self, MAX_PATH);
    f.tool_version = length != 0 && length < MAX_PATH ? file_version(self) : std::wstring();
    f.elevated = is_admin();
    f.os_text = cl::os_info.product + cl::os_info.edition + L" (" + std::to_wstring(cl::os_info.build) + L")";
    f.os_version = cl::os_info.version;
    f.version_masked = cl::os_info.version_masked;
    SYSTEM_INFO system;
    GetNativeSystemInfo(&system);
    f.x64 = system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
    if (f.x64)
        f.os_text += L", x64";
    collect_installation(f);
    f.service = live_service().query();
    f.service_program = program_of(f.service.program);
    f.service_program_exists = kind_of(f.service_program) == path_kind::file;
    collect_driver(f);
    f.data_dir = data_folder(product_word);
    f.data_dir_exists = kind_of(f.data_dir) == path_kind::folder;
    if (f.data_dir_exists) {
        const folder_rights rights = read_folder_rights(f.data_dir);
        f.system_may_write = !rights.known || rights.system_writes;
        f.free_bytes = free_space(f.data_dir);
    }
    collect_settings(f);
    collect_log(f);
    collect_hosted_network(f);
    return f;
}

int run_doctor(const arguments& args, output& out) {
    const machine_facts facts = collect_facts();
    const std::vector<check_result> results = diagnose(facts);
    const local_ms now = local_now();
    if (args.has(L"--json"))
        out.put_bytes(doctor_json(results, facts, iso_time(now, utc_offset_minutes(now))));
    else
        show_text(results, out);
    const verdict worst = overall(results);
    const int code = worst == verdict::fail ? exit_broken : worst == verdict::warn ? exit_failed : exit_done;
    // The request goes on waiting on its thread, which must not see this program's objects end.
    if (facts.nop.timed_out || facts.connections.timed_out)
        ExitProcess(static_cast<UINT>(code));
    return code;
}

} // namespace vfl::ctl
