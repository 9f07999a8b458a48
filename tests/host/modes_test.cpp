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
const std::string stop_calls = "stop_service_ex" + token;

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
    std::wstring a = L"1", b = L"zw\u00F6lf 2";
    const struct {
        const char* name;
        run_mode mode;
        std::vector<wchar_t*> args;
        bool has_library;
        std::string missing;
        std::uint32_t result;
        int exit_code;
        std::string calls, out;
    } rows[] = {
        {"dump", run_mode::tcpview, {}, true, "", 0, 0, library + "dump_connections\nunload\n", ""},
        {"dump, no library", run_mode::tcpview, {}, false, "", 0, 0, "", "Unable to load C:\\none.dll\n"},
        {"dump, no export",
         run_mode::tcpview,
         {},
         true,
         "dump_connections",
         0,
         0,
         library + "unload\n",
         "Unable to load C:\\vexa\\flowsrv.dll\n"},
        {"burst with arguments",
         run_mode::calib,
         {a.data(), b.data()},
         true,
         "",
         7,
         0,
         library + "calibrate_burst \"1\" \"zw\xC3\xB6lf 2\"\nunload\n",
         ""},
        {"burst without",
         run_mode::calib,
         {},
         true,
         "",
         0,
         0,
         library + "calibrate_burst null\nunload\n",
         ""},
        {"burst, no export",
         run_mode::calib,
         {},
         true,
         "calibrate_burst",
         0,
         0,
         library + "unload\n",
         "Unable to load C:\\vexa\\flowsrv.dll\n"},
        {"file, the low byte is the exit code",
         run_mode::calibfile,
         {a.data()},
         true,
         "",
         0x1234,
         0x34,
         library + "calibrate_file \"1\"\nunload\n",
         ""},
        {"file, no library",
         run_mode::calibfile,
         {a.data()},
         false,
         "",
         5,
         0,
         "",
         "Unable to load C:\\none.dll\n"},
        {"installation",
         run_mode::install_driver,
         {},
         true,
         "",
         0,
         0,
         library + "COM on\ninstall_driver_ex \"C:\\vexa\\\" \"D:\\data\\trace.txt\"" + token +
             "COM off\nunload\n",
         "Driver installation finished with code 0\n"},
        {"a failed installation",
         run_mode::install_driver,
         {},
         true,
         "",
         4000000000,
         0,
         library + "COM on\ninstall_driver_ex \"C:\\vexa\\\" \"D:\\data\\trace.txt\"" + token +
             "COM off\nunload\n",
         "Driver installation finished with code 4000000000\n"},
        {"installation, no export",
         run_mode::install_driver,
         {},
         true,
         "install_driver_ex",
         0,
         1,
         library + "unload\n",
         "unable to load install func from C:\\vexa\\flowsrv.dll\n"},
        {"removal",
         run_mode::uninstall_driver,
         {},
         true,
         "",
         3,
         0,
         library + "COM on\nuninstall_driver_ex \"D:\\data\\trace.txt\"" + token + "COM off\nunload\n",
         "Driver uninstallation finished with code 3\n"},
        {"removal, no library",
         run_mode::uninstall_driver,
         {},
         false,
         "",
         0,
         1,
         "",
         "unable to load uninstall func from C:\\none.dll\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        host::instance() = host{};
        // A library that was missing isn't looked for again under its name.
        dll_path = row.has_library ? L"C:\\vexa\\flowsrv.dll" : L"C:\\none.dll";
        host::instance().has_library = row.has_library;
        host::instance().missing = {row.missing};
        for (const char* name :
             {"calibrate_burst", "calibrate_file", "install_driver_ex", "uninstall_driver_ex"})
            host::instance().results[name] = row.result;
        said.out.text.clear();
        EXPECT_EQ(run_mode_of(row.mode, row.args), row.exit_code);
        EXPECT_EQ(host::instance().log(), row.calls);
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(host::instance().loaded, 0);
    }
}

TEST_F(modes_test, the_service_from_start_to_stop) {
    const std::string start = "register\nstate 2\n" + library + "start_service_ex" + token + "state 4\n";
    const std::string whole = "dispatcher\n" + start + stop_calls + "unload\n";
    const std::string said_start = "srv: service_start\nstart_service()\n";
    const struct {
        const char* name;
        host setting;
        int exit_code;
        std::string calls, out;
    } rows[] = {
        {"in order", {}, 0, whole, said_start + "stop_service()\n"},
        {"a start that fails runs all the same",
         {.results = {{"start_service_ex", 0xFF00}}},
         0,
         whole,
         said_start + "start_service reported an error\nstop_service()\n"},
        {"no start in the library",
         {.missing = {"start_service_ex"}},
         0,
         "dispatcher\nregister\nstate 2\n" + library + "unload\nstate 4\n" + library + stop_calls +
             "unload\n",
         said_start +
             "Unable to load C:\\vexa\\flowsrv.dll\nstart_service reported an error\nstop_service()\n"},
        {"no stop in the library",
         {.missing = {"stop_service_ex"}},
         0,
         "dispatcher\n" + start + "unload\n",
         said_start + "stop_service()\n"},
        {"from a console",
         {.dispatcher_error = 1063},
         1,
         "dispatcher\n" + library + stop_calls + "unload\n",
         "StartServiceCtrlDispatcher error 1063\nstop_service()\n"},
        {"no handler",
         {.register_error = 1060},
         0,
         "dispatcher\nregister\n" + library + stop_calls + "unload\n",
         "srv: service_start\nRegisterServiceCtrlHandlerEx error 1060\nstop_service()\n"},
        {"reports that fail",
         {.report_errors = {5, 6}},
         0,
         whole,
         "srv: service_start\n1: SetServiceStatus error 5\nstart_service()\n2: SetServiceStatus error 6\n"
         "stop_service()\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        host::instance() = row.setting;
        said.out.text.clear();
        EXPECT_EQ(run_mode_of(run_mode::service, {}), row.exit_code);
        EXPECT_EQ(host::instance().log(), row.calls);
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(host::instance().loaded, 0);
    }
}

TEST_F(modes_test, the_handler_reports_and_keeps_what_it_saw) {
    host::instance().controls = [](service_handler_function handle) {
        std::uint32_t notification[2] = {8, 42};
        host& h = host::instance();
        h.calls.clear();
        EXPECT_EQ(handle(2, 0, nullptr, nullptr), 120u);
        EXPECT_EQ(handle(13, 4, nullptr, nullptr), 0u);
        EXPECT_EQ(handle(13, 18, nullptr, nullptr), 0u);
        EXPECT_EQ(handle(14, 1, notification, nullptr), 0u);
        h.token_error = 1314; // stays connected: the next unlock tries again
        EXPECT_EQ(handle(14, 8, notification, nullptr), 0u);
        h.token_error = 0;
        EXPECT_EQ(handle(14, 8, notification, nullptr), 0u);
        EXPECT_EQ(handle(14, 8, nullptr, nullptr), 0u) << "nothing to test any more";
        EXPECT_EQ(handle(1, 0, nullptr, nullptr), 0u);
        EXPECT_EQ(h.log(), "state 4\nstate 4\nWi-Fi\nstate 4\nstate 4\ntoken 42\nstate 4\ntoken 42\nstate "
                           "4\nstate 4\nstate 1\n");
        h.calls.clear();
    };
    EXPECT_EQ(run_mode_of(run_mode::service, {}), 0);
    EXPECT_EQ(said.out.text,
              "srv: service_start\nstart_service()\n"
              "srv: HandlerEx 0x2\nunknown service control 2\n"
              "srv: HandlerEx 0xd\nSERVICE_CONTROL_POWEREVENT 4\nPower suspend\n"
              "srv: HandlerEx 0xd\nSERVICE_CONTROL_POWEREVENT 18\nPower resume\n"
              "srv: HandlerEx 0xe\nsrv: session change: console connect\nsrv: session id 42\n"
              "srv: HandlerEx 0xe\nsrv: session change: session unlock\nsrv: WTSQueryUserToken error 1314\n"
              "srv: HandlerEx 0xe\nsrv: session change: session unlock\n"
              "srv: HandlerEx 0xe\nsrv: session change: session unlock\n"
              "srv: HandlerEx 0x1\nstop_service()\n");
    EXPECT_EQ(host::instance().log(), stop_calls + "unload\n") << "the teardown comes after the dispatcher";
}

TEST_F(modes_test, the_game_analyser_is_set_ahead_of_the_start) {
    game_analyzer_requested = true;
    EXPECT_TRUE(start_service());
    stop_service();
    EXPECT_EQ(host::instance().log(), library + "set_game_analyzer\nunload\n" + library + "start_service_ex" +
                                          token + stop_calls + "unload\n");
    host::instance().calls.clear();
    host::instance().missing = {"set_game_analyzer"};
    EXPECT_TRUE(start_service());
    EXPECT_TRUE(start_service()) << "a start that is left over gives way to the new one";
    stop_service();
    stop_service();
    EXPECT_EQ(host::instance().loaded, 0);
}
