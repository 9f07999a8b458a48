#include "ctl/doctor.hpp"

#include "cl/format/text.hpp"
#include "contracts/service_library.h"
#include "ctl/command_table.hpp"
#include "ctl/json_text.hpp"
#include "product/names.hpp"

#include <algorithm>

namespace vfl::ctl {

namespace {

constexpr std::uint32_t windows_7 = 601;
constexpr double slow_answer_ms = 1000;
constexpr std::uint64_t little_space = std::uint64_t{64} << 20;
constexpr std::size_t most_ssid_bytes = 32; // of a wireless network
constexpr std::uint32_t not_found = 2, no_path = 3, access_denied = 5, sharing_violation = 32,
                        not_installed = 1060, never_started = 1077;

constexpr const char* exports[] = {VFL_START_SERVICE,    VFL_STOP_SERVICE,    VFL_SET_GAME_ANALYZER,
                                   VFL_DUMP_CONNECTIONS, VFL_CALIBRATE_BURST, VFL_CALIBRATE_FILE,
                                   VFL_INSTALL_DRIVER,   VFL_UNINSTALL_DRIVER};

constexpr wchar_t other_package[] = L"install the product's other package, or give -dllpath to the service";
constexpr wchar_t administrator[] = L"try it in an administrator's console";

std::wstring number(std::uint64_t n) {
    return std::to_wstring(n);
}

std::wstring error_number(std::uint32_t error) {
    return L"error " + number(error);
}

std::wstring meaning_of(std::uint32_t error) {
    return L"what the number means: net helpmsg " + number(error);
}

// As people write a folder.
std::wstring folder(std::wstring path) {
    while (path.size() > 3 && path.back() == L'\\')
        path.pop_back();
    return path;
}

using result = check_result;

result ok(std::wstring text) {
    return {L"", verdict::ok, std::move(text), L"", {}};
}
result warn(std::wstring text, std::wstring remedy) {
    return {L"", verdict::warn, std::move(text), std::move(remedy), {}};
}
result fail(std::wstring text, std::wstring remedy) {
    return {L"", verdict::fail, std::move(text), std::move(remedy), {}};
}

result check_os(const machine_facts& f) {
    if (f.os_version < windows_7 || !f.x64)
        return fail(f.os_text + L": vfl.exe needs Windows 7 or later, x64", L"update Windows");
    if (f.version_masked)
        return warn(f.os_text + L"; a compatibility mode shows another version to programs",
                    L"turn the compatibility mode of vfl.exe and vflctl.exe off");
    return ok(f.os_text);
}

result check_program(const machine_facts& f) {
    if (f.program_version.empty())
        return fail(L"no vfl.exe in " +
                        (f.install_dir.empty() ? L"the installation folder" : folder(f.install_dir)),
                    L"run the product's installer again");
    if (f.program_version != f.tool_version)
        return warn(L"vfl.exe is " + f.program_version + L", this tool is " + f.tool_version,
                    L"use the vflctl.exe beside vfl.exe");
    return ok(L"vfl.exe " + f.program_version);
}

result check_install_dir(const machine_facts& f) {
    if (!f.has_install_dir)
        return fail(L"the registry has no value install_dir", L"run the product's installer again");
    if (!f.install_dir_exists)
        return fail(folder(f.install_dir) + L" is not there", L"run the product's installer again");
    if (f.users_may_write)
        return warn(folder(f.install_dir) + L": users may write there, and the service loads code from it",
                    L"take the right to write from users: icacls \"" + folder(f.install_dir) + L"\"");
    const std::wstring& command = f.service.program;
    if (!command.starts_with(L'"') && f.service_program.find(L' ') != std::wstring::npos)
        return warn(L"the service's path holds a blank and has no quotes: " + command,
                    L"quote the path: sc config VexaFlowS binPath=");
    return ok(folder(f.install_dir));
}

result check_library(const machine_facts& f) {
    if (!f.library_exists)
        return fail(L"flowsrv.dll is not in " +
                        (f.install_dir.empty() ? L"the installation folder" : folder(f.install_dir)),
                    other_package);
    if (!f.library_is_x64_dll)
        return fail(L"flowsrv.dll is no library for x64", other_package);
    std::wstring missing;
    for (const char* name : exports)
        if (std::ranges::find(f.library_exports, name) == f.library_exports.end())
            missing += L" " + std::wstring(name, name + std::char_traits<char>::length(name));
    if (missing.empty())
        return ok(L"flowsrv.dll exports all eight functions");
    const bool broken = missing.find(L" start_service_ex") != missing.npos;
    return broken ? fail(L"flowsrv.dll lacks" + missing, other_package)
                  : warn(L"flowsrv.dll lacks" + missing, L"update the product's other package");
}

result check_service(const machine_facts& f) {
    const service_facts& s = f.service;
    if (s.error == not_installed)
        return fail(L"VexaFlowS is not registered", L"run the product's installer again");
    if (s.error != 0)
        return warn(L"VexaFlowS can't be asked (" + error_number(s.error) + L")", administrator);
    if (!s.program.empty() && !f.service_program_exists)
        return fail(L"the service's program is missing: " + f.service_program,
                    L"run the product's installer again");
    if (s.start_type == start_disabled)
        return fail(L"VexaFlowS is disabled", L"sc config VexaFlowS start= auto");
    if (s.state != state_running)
        return warn(L"VexaFlowS does not run" + (s.exit_code == 0 || s.exit_code == never_started
                                                     ? std::wstring()
                                                     : L"; it ended with " + error_number(s.exit_code)),
                    L"vflctl service start --wait");
    if (s.start_type == start_manual)
        return warn(L"VexaFlowS runs, but is not started with Windows", L"sc config VexaFlowS start= auto");
    if (!s.account.empty() && s.account != L"LocalSystem")
        return warn(L"VexaFlowS runs as " + s.account, L"sc config VexaFlowS obj= LocalSystem");
    if (s.exit_code != 0)
        return warn(L"VexaFlowS runs with exit code " + number(s.exit_code), L"vflctl log");
    return ok(L"VexaFlowS runs (process " + number(s.process_id) + L")");
}

result check_library_start(const machine_facts& f) {
    if (f.service.state != state_running)
        return {L"", verdict::skip, L"the service does not run", L"", {}};
    switch (f.library.state) {
    case library_state::loaded:
        return ok(L"the service has started its library");
    case library_state::missing:
        return fail(L"the service runs without its library since " +
                        time_text(f.library.line->time()).substr(0, 19),
                    L"see \"library\", then: vflctl service restart --wait");
    case library_state::unknown:
        break;
    }
    return warn(L"the log doesn't tell whether the service's library runs", L"see \"settings\" and \"log\"");
}

result check_driver(const machine_facts& f) {
    if (f.nop.timed_out || f.connections.timed_out)
        return fail(L"the driver has not answered in " + number(driver_wait_ms / 1000) + L" s",
                    L"restart the machine");
    if (f.nop.open_error == not_found || f.nop.open_error == no_path)
        return fail(L"there is no driver (" + error_number(f.nop.open_error) + L")",
                    L"vfl -install_driver as administrator, then: sc query");
    if (f.nop.open_error == access_denied)
        return fail(L"no rights on the driver's device (" + error_number(access_denied) + L")",
                    administrator);
    if (f.nop.open_error != 0)
        return fail(L"the driver's device can't be opened (" + error_number(f.nop.open_error) + L")",
                    meaning_of(f.nop.open_error));
    if (!f.nop.end.done)
        return fail(L"the driver refuses the empty operation (" + error_number(f.nop.end.error) + L")",
                    L"see that driver and vfl.exe belong together");
    if (!f.connections.end.done)
        return fail(L"the driver refuses its list of connections (" + error_number(f.connections.end.error) +
                        L")",
                    L"see that driver and vfl.exe belong together");
    if (!f.snapshot_is_known)
        return fail(L"the driver's list of connections is of another version or broken",
                    L"see that driver and vfl.exe belong together");
    const double ms = std::max(f.nop.ms, f.connections.ms);
    const std::wstring text =
        L"answers in " +
        cl::text(L"%?.%?", static_cast<std::uint32_t>(ms), static_cast<std::uint32_t>(ms * 10) % 10) +
        L" ms; " + number(f.connection_count) + L" connections";
    return ms > slow_answer_ms ? warn(text, L"see what else keeps the machine busy") : ok(text);
}

result check_data_dir(const machine_facts& f) {
    if (!f.data_dir_exists)
        return fail(folder(f.data_dir) + L" is not there", L"start the service once: vflctl service start");
    if (!f.system_may_write)
        return fail(L"LocalSystem may not write to " + folder(f.data_dir),
                    L"see the folder's rights: icacls \"" + folder(f.data_dir) + L"\"");
    if (f.free_bytes < little_space)
        return warn(L"less than 64 MiB are free for " + folder(f.data_dir), L"make room on that drive");
    return ok(folder(f.data_dir));
}

result check_settings_file(const machine_facts& f) {
    if (f.settings_are_a_folder)
        return fail(L"a folder has the name global.ini", L"remove it; the service creates the file");
    if (f.settings_error == sharing_violation) {
        std::wstring holders;
        for (const std::wstring& holder : f.settings_holders)
            holders += (holders.empty() ? L"" : L", ") + holder;
        return fail(L"global.ini is held by " + (holders.empty() ? L"another program" : holders) +
                        L" (error 32)",
                    L"close that program");
    }
    if (f.settings_error == access_denied)
        return fail(L"no rights to read global.ini (error 5)", administrator);
    if (f.settings_error != 0)
        return fail(L"global.ini can't be opened (" + error_number(f.settings_error) + L")",
                    meaning_of(f.settings_error));
    if (!f.settings_exist)
        return ok(L"no global.ini: everything has its default");
    if (f.settings_findings.empty())
        return ok(L"global.ini");
    std::wstring text = L"global.ini " + f.settings_findings[0];
    if (f.settings_findings.size() > 1)
        text += L", and " + number(f.settings_findings.size() - 1) + L" more: vflctl ini check";
    return warn(text, L"mend or remove the line");
}

result check_log(const machine_facts& f) {
    if (f.log_is_a_folder)
        return fail(L"a folder has the name trace.txt", L"remove it; the service creates the file");
    if (f.log_error != 0)
        return fail(L"trace.txt can't be opened (" + error_number(f.log_error) + L")",
                    f.log_error == access_denied ? administrator : L"close the program that holds it");
    if (f.log_findings.empty())
        return ok(f.log_exists ? L"the last run reports nothing to mend" : L"there is no log yet");
    const machine_facts::log_finding& first = f.log_findings[0];
    std::wstring text = L"\"" + first.text + L"\", " +
                        (first.count == 1 ? L"once" : number(first.count) + L" times") + L", last " +
                        first.last;
    if (f.log_findings.size() > 1)
        text += L"; and " + number(f.log_findings.size() - 1) + L" more: vflctl log --explain";
    return warn(text, first.remedy);
}

result check_hosted_network(const machine_facts& f) {
    if (!f.hosted_autostart)
        return {L"", verdict::skip, L"not set up", L"", {}};
    if (!f.hosted_api)
        return fail(L"this Windows has no hosted network", L"turn its autostart off");
    if (!f.wlan_service_runs)
        return fail(L"the service \"WLAN AutoConfig\" does not run", L"sc start wlansvc");
    if (f.hosted_ssid_bytes > most_ssid_bytes)
        return warn(L"the network's name is longer than 32 bytes", L"choose a shorter one");
    if (!f.hosted_passphrase)
        return warn(L"the passphrase is missing, or can't be read by this account",
                    L"set it again, unless the service's account can read it");
    if (!f.hosted_state_known)
        return warn(L"the network's state can't be had", L"see the wireless adapter");
    return ok(L"set up");
}

decltype(check_result::facts) facts_of(std::wstring_view id, const machine_facts& f) {
    if (id == L"os")
        return {{L"version", std::uint64_t{f.os_version}}};
    if (id == L"program")
        return {{L"version", f.program_version}};
    if (id == L"install_dir" || id == L"library")
        return {{L"path", f.install_dir}};
    if (id == L"service")
        return {{L"state", std::uint64_t{f.service.state}},
                {L"error", std::uint64_t{f.service.error}},
                {L"command", f.service.program}};
    if (id == L"library_start")
        return {{L"reason", f.library.reason}};
    if (id == L"driver")
        return {{L"open_error", std::uint64_t{f.nop.open_error}},
                {L"error", std::uint64_t{std::max(f.nop.end.error, f.connections.end.error)}}};
    if (id == L"data_dir")
        return {{L"path", f.data_dir}, {L"free_bytes", std::uint64_t{f.free_bytes}}};
    decltype(check_result::facts) all;
    if (id == L"settings") {
        all[L"error"] = std::uint64_t{f.settings_error};
        for (std::size_t i = 0; i < f.settings_findings.size(); ++i)
            all[L"finding " + number(i + 1)] = f.settings_findings[i];
    }
    if (id == L"log") {
        all[L"error"] = std::uint64_t{f.log_error};
        for (const auto& finding : f.log_findings)
            all[finding.text] = std::uint64_t{finding.count};
    }
    return all;
}

constexpr struct {
    const wchar_t* id;
    result (*run)(const machine_facts&);
} checks[] = {{L"os", check_os},
              {L"program", check_program},
              {L"install_dir", check_install_dir},
              {L"library", check_library},
              {L"service", check_service},
              {L"library_start", check_library_start},
              {L"driver", check_driver},
              {L"data_dir", check_data_dir},
              {L"settings", check_settings_file},
              {L"log", check_log},
              {L"hosted_network", check_hosted_network}};

constexpr struct {
    const wchar_t *shown, *json;
    colour c;
} names[] = {{L"ok   ", L"ok", colour::good},
             {L"warn ", L"warn", colour::warning},
             {L"FAIL ", L"fail", colour::bad},
             {L"skip ", L"skip", colour::dim}};

std::wstring counted(std::size_t n, const wchar_t* what) {
    return number(n) + L" " + what + (n == 1 ? L"" : L"s");
}

} // namespace

std::vector<check_result> diagnose(const machine_facts& facts) {
    std::vector<check_result> results;
    for (const auto& check : checks) {
        results.push_back(check.run(facts));
        results.back().id = check.id;
        results.back().facts = facts_of(check.id, facts);
    }
    return results;
}

verdict overall(const std::vector<check_result>& results) {
    const auto any = [&](verdict v) {
        return std::ranges::any_of(results, [v](const check_result& r) { return r.status == v; });
    };
    return any(verdict::fail) ? verdict::fail : any(verdict::warn) ? verdict::warn : verdict::ok;
}

void show_text(const std::vector<check_result>& results, output& out) {
    constexpr std::size_t text_column = 22;
    std::size_t counts[4] = {};
    for (const check_result& r : results) {
        const auto& name = names[static_cast<std::size_t>(r.status)];
        ++counts[static_cast<std::size_t>(r.status)];
        out.put(stream::out, name.shown, name.c);
        std::wstring line = L" " + r.id;
        line.resize(text_column - 5, L' ');
        out.put(stream::out, line + shown(r.text) + L"\n");
        if (!r.remedy.empty() && r.status != verdict::ok)
            out.put(stream::out, std::wstring(text_column, L' ') + L"-> " + shown(r.remedy) + L"\n");
    }
    const std::size_t fails = counts[static_cast<std::size_t>(verdict::fail)],
                      warnings = counts[static_cast<std::size_t>(verdict::warn)];
    if (fails == 0 && warnings == 0)
        out.put(stream::out, L"nothing is wrong\n");
    else
        out.put(stream::out, counted(fails, L"failure") + L", " + counted(warnings, L"warning") +
                                 (has_command(L"bundle") ? L". For support: vflctl bundle\n" : L"\n"));
}

std::string doctor_json(const std::vector<check_result>& results, const machine_facts& facts,
                        std::wstring_view time) {
    json_text json;
    json.open_object()
        .member(L"schema", L"vflctl.doctor/1")
        .member(L"tool", std::wstring_view(facts.tool_version));
    json.member(L"time", time).member(L"elevated", facts.elevated);
    json.member(L"verdict", names[static_cast<std::size_t>(overall(results))].json);
    json.name(L"checks").open_array();
    for (const check_result& r : results) {
        json.open_object().member(L"id", std::wstring_view(r.id));
        json.member(L"status", names[static_cast<std::size_t>(r.status)].json);
        json.member(L"text", std::wstring_view(r.text)).member(L"remedy", std::wstring_view(r.remedy));
        json.name(L"facts").open_object();
        for (const auto& [name, value] : r.facts) {
            if (const auto* n = std::get_if<std::uint64_t>(&value))
                json.member(name, *n);
            else
                json.member(name, std::wstring_view(std::get<std::wstring>(value)));
        }
        json.close_object().close_object();
    }
    json.close_array().close_object();
    return json.take() + "\r\n";
}

} // namespace vfl::ctl
