// The modes and the service on a scripted host: what is called, said and returned, in which order.
#include "host/modes.hpp"

#include "cl/ini/cached_ini.hpp"
#include "cl/sys/os_info.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_file.hpp"
#include "fakes/fake_host.hpp"
#include "fakes/fake_message_box.hpp"
#include "fakes/trace_capture.hpp"
#include "host/host_state.hpp"
#include "host/service.hpp"
#include "host/service_answer.hpp"
#include "host/service_start.hpp"

#include <gtest/gtest.h>

using namespace vfl;
using fakes::host;

namespace {

struct modes_test : testing::Test {
    fakes::trace_capture said;

    modes_test() {
        fakes::disk::reset();
        fakes::clock::reset();
        host::reset();
        fakes::message_box::shown().clear();
        cl::os_info.version = 601;
        EXPECT_TRUE(prepare_host());
        host::instance().calls.clear();
        game_analyzer_requested = false;
    }
    ~modes_test() override {
        cl::global_ini.close();
        fakes::disk::reset();
    }
};

const std::string library = "load \"C:\\vexa\\flowsrv.dll\"\n";
const std::string token = " 5e19d4a7c36b02f8\n";
const std::string start_call = library + "start_service_ex" + token;
const std::string stop_calls = "stop_service_ex" + token + "unload\n";

} // namespace

TEST_F(modes_test, preparation) {
    EXPECT_EQ(install_dir, L"C:\\vexa\\");
    EXPECT_EQ(dll_path, L"C:\\vexa\\flowsrv.dll");
    EXPECT_EQ(data_dir, L"D:\\data\\");

    install_dir.clear();
    host::instance().has_install_dir = false;
    EXPECT_TRUE(prepare_host());
    EXPECT_EQ(dll_path, L"flowsrv.dll");
    EXPECT_EQ(host::instance().log(), "install dir of \"vexaflow\"\ndata dir of \"vexaflow\"\n");

    host::instance().calls.clear();
    cl::os_info.version = 600;
    EXPECT_FALSE(prepare_host());
    EXPECT_EQ(said.out.text, "Operating system not supported.");
    EXPECT_TRUE(host::instance().calls.empty());
}

TEST_F(modes_test, modes_that_call_one_export) {
    using enum run_mode;
    std::wstring a = L"1", b = L"zw\u00F6lf 2";
    const std::vector<wchar_t*> none, one = {a.data()}, two = {a.data(), b.data()};
    const std::string log = " \"D:\\data\\trace.txt\"" + token, load = "Unable to load ";
    const struct {
        run_mode mode;
        std::vector<wchar_t*> args;
        std::string name, call;
        std::uint32_t result;
        int exit_code;
        std::string out, not_found;
    } rows[] = {
        {tcpview, none, "dump_connections", "\n", 5, 0, "", load},
        {calib, none, "calibrate_burst", " null\n", 7, 0, "", load},
        {calib, two, "calibrate_burst", " \"1\" \"zw\xC3\xB6lf 2\"\n", 0, 0, "", load},
        {calibfile, one, "calibrate_file", " \"1\"\n", 0x1234, 0x34, "", load},
        {install_driver, none, "install_driver_ex", " \"C:\\vexa\\\"" + log, 4000000000, 0,
         "Driver installation finished with code 4000000000\n", "unable to load install func from "},
        {uninstall_driver, none, "uninstall_driver_ex", log, 3, 0,
         "Driver uninstallation finished with code 3\n", "unable to load uninstall func from "},
    };
    for (const auto& row : rows) {
        const bool com = row.mode == install_driver || row.mode == uninstall_driver;
        for (const std::string& missing : {std::string("nothing"), row.name, std::string("library")}) {
            SCOPED_TRACE(row.name + ", missing: " + missing);
            host::instance() = host{};
            // A library that was missing isn't looked for again under its name.
            dll_path = missing == "library" ? L"C:\\none.dll" : L"C:\\vexa\\flowsrv.dll";
            host::instance().has_library = missing != "library";
            host::instance().missing = {missing};
            host::instance().results[row.name] = row.result;
            said.out.text.clear();
            const int code = run_mode_of(row.mode, row.args);
            if (missing == "nothing") {
                EXPECT_EQ(code, row.exit_code);
                EXPECT_EQ(host::instance().log(), library + (com ? "COM on\n" : "") + row.name + row.call +
                                                      (com ? "COM off\n" : "") + "unload\n");
                EXPECT_EQ(said.out.text, row.out);
            } else {
                EXPECT_EQ(code, com ? 1 : 0);
                EXPECT_EQ(host::instance().log(), missing == "library" ? "" : library + "unload\n");
                EXPECT_EQ(said.out.text, row.not_found + (missing == "library" ? "C:\\none.dll\n"
                                                                               : "C:\\vexa\\flowsrv.dll\n"));
            }
            EXPECT_EQ(host::instance().loaded, 0);
        }
    }
}

TEST_F(modes_test, from_start_to_stop) {
    using enum run_mode;
    const host bad_start{.results = {{"start_service_ex", 0xFF00}}},
        no_start{.missing = {"start_service_ex"}}, no_stop{.missing = {"stop_service_ex"}},
        from_console{.dispatcher_error = 1063}, no_handler{.register_error = 1060},
        no_reports{.report_errors = {5, 6}}, no_rights{.admin = false};
    const std::string begin = "dispatcher\nregister\nstate 2\n", running = "state 4\n", unload = "unload\n",
                      whole = begin + start_call + running + stop_calls,
                      at_console = start_call + "key\n" + stop_calls, body = "srv: service_start\n",
                      start = "start_service()\n", stop = "stop_service()\n",
                      failed = "start_service reported an error\n", key = "press key to exit \n";
    const struct {
        run_mode mode;
        host setting;
        int exit_code;
        std::string calls, out;
    } rows[] = {
        {service, {}, 0, whole, body + start + stop},
        {service, bad_start, 0, whole, body + start + failed + stop}, // it runs all the same
        {service, no_start, 0, begin + library + unload + running + library + stop_calls,
         body + start + "Unable to load C:\\vexa\\flowsrv.dll\n" + failed + stop},
        {service, no_stop, 0, begin + start_call + running + unload, body + start + stop},
        {service, from_console, 1, "dispatcher\n" + library + stop_calls,
         "StartServiceCtrlDispatcher error 1063\n" + stop},
        {service, no_handler, 0, "dispatcher\nregister\n" + library + stop_calls,
         body + "RegisterServiceCtrlHandlerEx error 1060\n" + stop},
        {service, no_reports, 0, whole,
         body + "1: SetServiceStatus error 5\n" + start + "2: SetServiceStatus error 6\n" + stop},
        {win32, {}, 0, at_console, start + key + stop},
        {win32, bad_start, 0, at_console, start + failed + key + stop},
        {win32, no_rights, 1, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.calls + row.out);
        host::instance() = row.setting;
        said.out.text.clear();
        EXPECT_EQ(run_mode_of(row.mode, {}), row.exit_code);
        EXPECT_EQ(host::instance().log(), row.calls);
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(host::instance().loaded, 0);
    }
    EXPECT_EQ(
        fakes::message_box::shown(),
        (std::vector<fakes::message_box>{{"You need admin rights for -win32 mode", "vfl.exe", 0, false}}));
}

TEST_F(modes_test, the_handler_reports_and_keeps_what_it_saw) {
    const std::string change = "srv: session change: ", unlock = change + "session unlock\n",
                      power = "SERVICE_CONTROL_POWEREVENT ";
    const struct {
        std::uint32_t control, event, session, token_error, result;
        std::string calls, said;
    } rows[] = {
        {4, 9, 9, 0, 0, "", ""},
        {2, 0, 0, 0, 120, "", "unknown service control 2\n"},
        {255, 0, 0, 0, 120, "", "unknown service control 255\n"},
        {13, 4, 0, 0, 0, "", power + "4\nPower suspend\n"},
        {13, 18, 0, 0, 0, "Wi-Fi\n", power + "18\nPower resume\n"},
        {13, 7, 0, 0, 0, "", power + "7\n"}, // a user's resume
        {14, 8, 7, 0, 0, "", unlock},
        {14, 1, 42, 0, 0, "", change + "console connect\nsrv: session id 42\n"},
        // After an error it stays connected: the next unlock tries again.
        {14, 8, 43, 1314, 0, "token 42\n", unlock + "srv: WTSQueryUserToken error 1314\n"},
        {14, 8, 0, 0, 0, "token 42\n", unlock},
        {14, 8, 0, 0, 0, "", unlock},
        // Other events forget the connect.
        {14, 1, 0, 0, 0, "", change + "console connect\nsrv: session id 0\n"},
        {14, 7, 3, 0, 0, "", change + "session lock\n"},
        {14, 8, 3, 0, 0, "", unlock},
        {14, 1, 3, 0, 0, "", change + "console connect\nsrv: session id 3\n"},
        {14, 9, 3, 0, 0, "", change + "unknown (9 0)\n"},
        {14, 8, 3, 0, 0, "", unlock},
        {1, 0, 0, 0, 0, "", ""},
        {4, 0, 0, 0, 0, "", ""},
    };
    host::instance().controls = [&](service_handler_function handle) {
        host& h = host::instance();
        const char* state = "state 4\n";
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.control << " " << row.event << " " << row.session);
            h.calls.clear();
            h.token_error = row.token_error;
            said.out.text.clear();
            std::uint32_t notification[2] = {8, row.session};
            EXPECT_EQ(handle(row.control, row.event, row.session ? notification : nullptr, nullptr),
                      row.result);
            if (row.control == 1)
                state = "state 1\n";
            EXPECT_EQ(h.log(), row.calls + state);
            char head[40];
            std::snprintf(head, sizeof head, "srv: HandlerEx 0x%x\n", row.control);
            EXPECT_EQ(said.out.text, head + row.said);
        }
        h.calls.clear();
    };
    EXPECT_EQ(run_mode_of(run_mode::service, {}), 0);
    EXPECT_EQ(host::instance().log(), stop_calls) << "the teardown comes after the dispatcher";
}

TEST_F(modes_test, a_start_that_ends_while_the_handler_works_stands) {
    service_control_handler(1, 0, nullptr, nullptr);
    host::instance().calls.clear();
    host::instance().meanwhile = service_main;
    service_control_handler(13, 18, nullptr, nullptr);
    EXPECT_EQ(host::instance().log(), "Wi-Fi\nregister\nstate 2\n" + start_call + "state 4\nstate 4\n");
    stop_service();
}

TEST_F(modes_test, session_events_in_words) {
    std::string all;
    for (int event = -1; event < 10; ++event)
        all += session_event_text(event, 31) + "\n";
    EXPECT_EQ(all,
              "unknown (-1 1f)\nunknown (0 1f)\nconsole connect\nconsole disconnect\nconsole remote connect\n"
              "console remote disconnect\nsession logon\nsession logoff\nsession lock\nsession "
              "unlock\nunknown (9 1f)\n");
}

TEST_F(modes_test, the_game_analyser_is_set_ahead_of_the_start) {
    game_analyzer_requested = true;
    EXPECT_TRUE(start_service());
    stop_service();
    EXPECT_EQ(host::instance().log(), library + "set_game_analyzer\nunload\n" + start_call + stop_calls);
    host::instance().missing = {"set_game_analyzer"};
    EXPECT_TRUE(start_service());
    EXPECT_TRUE(start_service()) << "a start that is left over gives way to the new one";
    stop_service();
    stop_service();
    EXPECT_EQ(host::instance().loaded, 0);
}
