#include "contracts/service_library.h"
#include "ctl/ctl_round.hpp"
#include "ctl/doctor.hpp"
#include "rows.hpp"
#include "text_output.hpp"

#include <array>
#include <gtest/gtest.h>
#include <sstream>

using namespace vfl::ctl;

namespace {

machine_facts sound() {
    machine_facts f;
    f.tool_version = f.program_version = L"1.2.3";
    f.os_text = L"Windows";
    f.os_version = 601;
    f.has_install_dir = f.install_dir_exists = f.library_exists = f.library_is_x64_dll =
        f.service_program_exists = true;
    f.install_dir = L"C:\\p\\";
    f.library_exports = {VFL_START_SERVICE,    VFL_STOP_SERVICE,    VFL_SET_GAME_ANALYZER,
                         VFL_DUMP_CONNECTIONS, VFL_CALIBRATE_BURST, VFL_CALIBRATE_FILE,
                         VFL_INSTALL_DRIVER,   VFL_UNINSTALL_DRIVER};
    f.service.state = state_running;
    f.service.start_type = start_automatic;
    f.service.account = L"LocalSystem";
    f.service.program = L"\"C:\\p p\\vfl.exe\" -service";
    f.service_program = L"C:\\p p\\vfl.exe";
    f.library.state = library_state::loaded;
    f.library.line = log_line{};
    f.nop.end.error = f.connections.end.error = 7;
    f.snapshot_is_known = f.data_dir_exists = f.settings_exist = f.log_exists = true;
    f.free_bytes = 1 << 30;
    f.hosted_autostart = f.hosted_api = f.wlan_service_runs = f.hosted_passphrase = f.hosted_state_known =
        true;
    return f;
}

void change(machine_facts& f, const std::string& name, const std::string& value) {
    std::istringstream names("os_version x64 version_masked program_version has_install_dir "
                             "install_dir_exists users_may_write command library_exists "
                             "library_is_x64_dll error service_program_exists start_type state exit_code "
                             "account library open_error nop_late list_late nop_done list_done "
                             "snapshot_is_known ms data_dir_exists system_may_write free_bytes "
                             "settings_are_a_folder settings_error settings_holders settings_exist "
                             "settings_findings log_is_a_folder log_error hosted_autostart hosted_api "
                             "wlan_service_runs hosted_ssid_bytes hosted_passphrase hosted_state_known");
    std::size_t i = 0;
    for (std::string n; names >> n && n != name;)
        ++i;
    const std::vector<std::variant<bool*, std::uint32_t*, std::uint64_t*, double*, std::wstring*,
                                   std::vector<std::wstring>*, library_state*>>
        fields = {&f.os_version,         &f.x64,
                  &f.version_masked,     &f.program_version,
                  &f.has_install_dir,    &f.install_dir_exists,
                  &f.users_may_write,    &f.service.program,
                  &f.library_exists,     &f.library_is_x64_dll,
                  &f.service.error,      &f.service_program_exists,
                  &f.service.start_type, &f.service.state,
                  &f.service.exit_code,  &f.service.account,
                  &f.library.state,      &f.nop.open_error,
                  &f.nop.timed_out,      &f.connections.timed_out,
                  &f.nop.end.done,       &f.connections.end.done,
                  &f.snapshot_is_known,  &f.connections.ms,
                  &f.data_dir_exists,    &f.system_may_write,
                  &f.free_bytes,         &f.settings_are_a_folder,
                  &f.settings_error,     &f.settings_holders,
                  &f.settings_exist,     &f.settings_findings,
                  &f.log_is_a_folder,    &f.log_error,
                  &f.hosted_autostart,   &f.hosted_api,
                  &f.wlan_service_runs,  &f.hosted_ssid_bytes,
                  &f.hosted_passphrase,  &f.hosted_state_known};
    const std::wstring wide(value.begin(), value.end());
    if (name == "exports")
        std::erase(f.library_exports, value);
    else if (name == "log_findings")
        f.log_findings = {{wide, L"do", 2, L"T"}};
    else
        std::visit(
            [&]<class T>(T* field) {
                if constexpr (std::same_as<T, std::wstring>)
                    *field = wide;
                else if constexpr (std::same_as<T, std::vector<std::wstring>>)
                    *field = {wide};
                else
                    *field = static_cast<T>(std::stoul(value));
            },
            fields.at(i));
}

TEST(ctl_doctor, each_fact_has_its_verdict) {
    EXPECT_EQ(overall(diagnose(sound())), verdict::ok);
    for_rows("ctl_doctor.tsv", [](const row& r) {
        machine_facts f = sound();
        std::istringstream facts(r.text("facts"));
        for (std::string fact; std::getline(facts, fact, '|');)
            change(f, fact.substr(0, fact.find('=')), fact.substr(fact.find('=') + 1));
        for (const check_result& c : diagnose(f)) {
            // What a check finds leaves the others alone, but for a service that doesn't run.
            const bool mine = c.id == r.wide("id");
            const std::string status =
                std::array{"ok", "warn", "fail", "skip"}[static_cast<std::size_t>(c.status)];
            EXPECT_TRUE(mine || c.status == verdict::ok || f.service.state != state_running);
            EXPECT_TRUE(!mine || status == r.text("status")) << status;
            EXPECT_TRUE(!mine || c.text.find(r.wide("text")) != c.text.npos)
                << testing::PrintToString(c.text);
            EXPECT_EQ(c.remedy.empty(), c.status == verdict::ok || c.status == verdict::skip);
        }
    });
}

TEST(ctl_doctor, text_and_json_say_the_same) {
    machine_facts f = sound();
    f.library_exists = false;
    f.settings_findings = {L"line 3 \x1B\xD800"};
    const auto results = diagnose(f);
    text_output out;
    show_text(results, out);
    EXPECT_NE(out.out.find(L"FAIL  library         flowsrv.dll is not in C:\\p\n                      -> "),
              std::wstring::npos);
    EXPECT_NE(out.out.find(L"warn  settings        global.ini line 3 \uFFFD\uFFFD\n"), std::wstring::npos);
    EXPECT_NE(out.out.find(L"\n1 failure, 1 warning"), std::wstring::npos);
    const std::string json = doctor_json(results, f, L"T");
    EXPECT_TRUE(json.starts_with(
        "{\"schema\":\"vflctl.doctor/1\",\"tool\":\"1.2.3\",\"time\":\"T\",\"elevated\":false,"
        "\"verdict\":\"fail\",\"checks\":[{\"id\":\"os\",\"status\":\"ok\","))
        << json;
    EXPECT_NE(
        json.find("{\"id\":\"settings\",\"status\":\"warn\",\"text\":\"global.ini line 3 \\u001B\\uFFFD\""),
        std::string::npos)
        << json;
}

TEST(ctl_doctor, settings) {
    for_rows("ctl_settings.tsv", [](const row& r) {
        std::vector<std::wstring> wanted;
        if (!r.wide("finding").empty())
            wanted.push_back(r.wide("finding"));
        EXPECT_EQ(check_settings(r.text("bytes")), wanted);
    });
}

TEST(ctl_doctor, rounds) {
    const pe_file library = read_pe(small_library());
    EXPECT_TRUE(library.is_x64_dll);
    EXPECT_EQ(library.exports, (std::vector<std::string>{"a", "bc"}));
    run_seeds(1000, ctl_round);
}

} // namespace
