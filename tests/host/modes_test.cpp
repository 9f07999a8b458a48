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

#include <future>
#include <gtest/gtest.h>
#include <thread>

using namespace vfl;
using fakes::host;
using enum run_mode;

namespace {

struct modes_test : testing::Test {
    fakes::trace_capture said;
    host& h = host::instance();

    modes_test() {
        fakes::disk::reset();
        fakes::clock::reset();
        host::reset();
        cl::os_info.version = 601;
        EXPECT_TRUE(prepare_host());
        h.calls.clear();
        game_analyzer_requested = false;
    }
    ~modes_test() override {
        EXPECT_EQ(h.loaded, 0);
        cl::global_ini.close();
        fakes::disk::reset();
    }
    // Exit code, calls and texts of a mode on a host of that kind.
    std::string run(run_mode mode, const host& kind, const std::vector<wchar_t*>& args = {}) {
        h = kind;
        said.out.text.clear();
        said.log.text.clear();
        const int code = run_mode_of(mode, args);
        return std::to_string(code) + "\n" + h.log() + said.out.text + said.log.text;
    }
};

const std::string library = "load \"C:\\vexa\\flowsrv.dll\"\n", token = " 5e19d4a7c36b02f8\n",
                  unload = "unload\n", start_call = library + "start_service_ex" + token,
                  stop_call = "stop_service_ex" + token,
                  not_found = "srv: library error 126: the file, or a library that it needs, is missing\n",
                  no_function =
                      "srv: library error 127: the library, or one that it needs, lacks a function\n";

} // namespace

TEST_F(modes_test, preparation) {
    EXPECT_EQ(install_dir + L"|" + dll_path + L"|" + data_dir,
              L"C:\\vexa\\|C:\\vexa\\flowsrv.dll|D:\\data\\");
    install_dir.clear();
    h.has_install_dir = false;
    EXPECT_TRUE(prepare_host());
    EXPECT_EQ(dll_path, L"flowsrv.dll");
    EXPECT_EQ(h.log(), "install dir of \"vexaflow\"\ndata dir of \"vexaflow\"\n");
    h.calls.clear();
    cl::os_info.version = 600;
    EXPECT_FALSE(prepare_host());
    EXPECT_EQ(said.out.text + h.log(), "Operating system not supported.");
}

TEST_F(modes_test, modes_that_call_one_export) {
    std::wstring a = L"1", b = L"zw\u00F6lf 2";
    const std::vector<wchar_t*> none, one = {a.data()}, two = {a.data(), b.data()};
    const std::string log = " \"D:\\data\\trace.txt\"" + token, load = "Unable to load ";
    const struct {
        run_mode mode;
        std::vector<wchar_t*> args;
        std::string name, call;
        std::uint32_t result;
        int exit_code;
        std::string out, not_loaded;
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
        SCOPED_TRACE(row.name);
        const bool com = row.mode == install_driver || row.mode == uninstall_driver;
        dll_path = L"C:\\vexa\\flowsrv.dll";
        EXPECT_EQ(run(row.mode, {.results = {{row.name, row.result}}}, row.args),
                  std::to_string(row.exit_code) + "\n" + library + (com ? "COM on\n" : "") + row.name +
                      row.call + (com ? "COM off\n" : "") + unload + row.out);
        const std::string failed = com ? "1\n" : "0\n";
        EXPECT_EQ(run(row.mode, {.missing = {row.name}}, row.args),
                  failed + library + unload + row.not_loaded + "C:\\vexa\\flowsrv.dll\n" + no_function);
        dll_path = L"C:\\none.dll"; // a library that was missing isn't looked for again under its name
        EXPECT_EQ(run(row.mode, {.has_library = false}, row.args),
                  failed + row.not_loaded + "C:\\none.dll\n" + not_found);
    }
}

TEST_F(modes_test, from_start_to_stop) {
    const host bad_start{.results = {{"start_service_ex", 0xFF00}}},
        no_start{.missing = {"start_service_ex"}}, no_stop{.missing = {"stop_service_ex"}};
    const std::string begin = "dispatcher\nregister\nstate 2\n", running = "state 4\n",
                      stopped = stop_call + unload, whole = begin + start_call + running + stopped,
                      at_console = "user's end held back\n" + start_call + "user's end\n" + stopped +
                                   "user's end done\n",
                      body = "srv: service_start\n", start = "start_service()\n", stop = "stop_service()\n",
                      failed = "start_service reported an error\n", key = "press key to exit \n";
    const struct {
        run_mode mode;
        host kind;
        std::string outcome;
    } rows[] = {
        {service, {}, "0\n" + whole + body + start + stop},
        {service, bad_start, "0\n" + whole + body + start + failed + stop}, // it runs all the same
        {service, no_start,
         "0\n" + begin + library + unload + running + library + stopped + body + start +
             "Unable to load C:\\vexa\\flowsrv.dll\n" + failed + stop + no_function},
        {service, no_stop, "0\n" + begin + start_call + running + unload + body + start + stop},
        // A call that fails has failed, whatever the number.
        {service,
         {.dispatcher_error = 0},
         "1\ndispatcher\n" + library + stopped + "StartServiceCtrlDispatcher error 0\n" + stop},
        {service,
         {.register_error = 0},
         "0\ndispatcher\nregister\n" + library + stopped + body + "RegisterServiceCtrlHandlerEx error 0\n" +
             stop},
        {service,
         {.report_errors = {5, 0}},
         "0\n" + whole + body + "1: SetServiceStatus error 5\n" + start + "2: SetServiceStatus error 0\n" +
             stop},
        {win32, {}, "0\n" + at_console + start + key + stop},
        {win32, bad_start, "0\n" + at_console + start + failed + key + stop},
        {win32, {.admin = false}, "1\n"},
    };
    fakes::message_box::shown().clear();
    for (const auto& row : rows)
        EXPECT_EQ(run(row.mode, row.kind), row.outcome);
    const std::string rights = "You need admin rights for -win32 mode";
    EXPECT_EQ(said.err.text, rights + "\n");
    EXPECT_EQ(fakes::message_box::shown(), (std::vector<fakes::message_box>{{rights, "vfl.exe", 0, false}}));
}

TEST_F(modes_test, the_handler_reports_and_keeps_what_it_saw) {
    const std::string change = "srv: session change: ", unlock = change + "session unlock\n",
                      connect = change + "console connect\nsrv: session id ",
                      power = "SERVICE_CONTROL_POWEREVENT ";
    const struct {
        std::uint32_t control, event, session, result;
        std::string calls, said;
        failure token_error{};
    } rows[] = {
        {4, 9, 9, 0, "", ""},
        {2, 0, 0, 120, "", "unknown service control 2\n"},
        {255, 0, 0, 120, "", "unknown service control 255\n"},
        {13, 4, 0, 0, "", power + "4\nPower suspend\n"},
        {13, 18, 0, 0, "Wi-Fi\n", power + "18\nPower resume\n"},
        {13, 7, 0, 0, "", power + "7\n"}, // a user's resume
        {14, 8, 7, 0, "", unlock},
        {14, 1, 42, 0, "", connect + "42\n"},
        // After an error it stays connected: the next unlock tries again.
        {14, 8, 43, 0, "token 42\n", unlock + "srv: WTSQueryUserToken error 0\n", 0},
        {14, 8, 0, 0, "token 42\n", unlock},
        {14, 8, 0, 0, "", unlock},
        // Other events forget the connect.
        {14, 1, 0, 0, "", connect + "0\n"},
        {14, 7, 3, 0, "", change + "session lock\n"},
        {14, 8, 3, 0, "", unlock},
        {14, 1, 3, 0, "", connect + "3\n"},
        {14, 9, 3, 0, "", change + "unknown (9 0)\n"},
        {14, 8, 3, 0, "", unlock},
        {1, 0, 0, 0, "", ""},
        {4, 0, 0, 0, "", ""},
    };
    h.controls = [&](service_handler_function handle) {
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
            const std::string digit(1, "0123456789abcdef"[row.control & 15]);
            EXPECT_EQ(said.out.text,
                      "srv: HandlerEx 0x" + (row.control == 255 ? "f" + digit : digit) + "\n" + row.said);
        }
        h.calls.clear();
    };
    EXPECT_EQ(run_mode_of(service, {}), 0);
    EXPECT_EQ(h.log(), stop_call + unload) << "the teardown comes after the dispatcher";

    std::string all;
    for (int event = 2; event < 7; ++event)
        all += session_event_text(event, 31) + ", ";
    EXPECT_EQ(all + session_event_text(-1, 31), "console disconnect, console remote connect, console remote "
                                                "disconnect, session logon, session logoff, "
                                                "unknown (-1 1f)");
}

TEST_F(modes_test, a_start_that_ends_while_the_handler_works_stands) {
    h.in_resume = service_main;
    service_control_handler(13, 18, nullptr, nullptr);
    EXPECT_EQ(h.log(), "Wi-Fi\nregister\nstate 2\n" + start_call + "state 4\nstate 4\n");
    stop_service();
}

TEST_F(modes_test, a_stop_beside_the_start_waits_for_nobody_and_unloads_nothing_under_it) {
    std::promise<void> inside, released;
    h.in_start = [&] {
        inside.set_value();
        released.get_future().wait();
    };
    std::thread manager(service_main);
    inside.get_future().wait();
    service_control_handler(1, 0, nullptr, nullptr);
    stop_service();
    EXPECT_EQ(h.loaded, 1);
    released.set_value();
    manager.join();
    EXPECT_EQ(h.log(), "register\nstate 2\n" + start_call + "state 1\n" + stop_call + unload)
        << "after the stop nothing is reported";
}

TEST_F(modes_test, starts_and_stops_race) { // for the thread sanitizer above all
    for (int i = 0; i < 100; ++i) {
        h.calls.clear();
        service_main();
        std::thread manager([] { start_service(); });
        service_control_handler(1, 0, nullptr, nullptr);
        stop_service();
        manager.join();
        stop_service(); // of a start that came after the first
        ASSERT_EQ(h.loaded, 0);
    }
}

TEST_F(modes_test, the_game_analyser_is_set_before_the_start) {
    game_analyzer_requested = true;
    EXPECT_TRUE(start_service());
    stop_service();
    EXPECT_EQ(h.log(), library + "set_game_analyzer\nunload\n" + start_call + stop_call + unload);
    h.missing = {"set_game_analyzer"};
    EXPECT_TRUE(start_service());
    EXPECT_TRUE(start_service()) << "a start that is left over gives way to the new one";
    stop_service();
    stop_service();
}
