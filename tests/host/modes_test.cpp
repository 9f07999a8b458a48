// The modes and the service on a scripted host: what is called, said and returned, in which order.
#include "host/modes.hpp"

#include "cl/format/text.hpp"
#include "cl/ini/cached_ini.hpp"
#include "cl/sys/os_info.hpp"
#include "fakes/fake_message_box.hpp"
#include "fakes/scripted_libraries.hpp"
#include "fakes/trace_capture.hpp"
#include "host/fake_host.hpp"
#include "host/folder_check.hpp"
#include "host/host_state.hpp"
#include "host/service.hpp"
#include "host/service_answer.hpp"
#include "host/service_start.hpp"
#include "rows.hpp"
#include "temp_folder.hpp"

#include <algorithm>
#include <future>
#include <thread>

using namespace vfl;
using fakes::host;

namespace {

const std::string library_path = "C:\\vexa\\flowsrv.dll", start_calls = "load, start_service_ex TOKEN",
                  stop_calls = "stop_service_ex TOKEN, unload";
// In the order of run_mode.
const std::string modes[] = {"client", "service",   "win32",          "tcpview",
                             "calib",  "calibfile", "install_driver", "uninstall_driver"};

host host_of(const std::string& word) {
    host h{.admin = word != "no_rights", .has_library = word != "no_library"};
    h.dispatcher_error = word == "dispatcher_fails" ? failure(0) : failure();
    h.register_error = word == "register_fails" ? failure(0) : failure();
    if (word == "reports_fail")
        h.report_errors = {5, 0};
    if (word.starts_with('-'))
        h.missing = {word.substr(1)};
    if (const std::size_t equals = word.find('='); equals != word.npos)
        h.results[word.substr(0, equals)] = std::uint32_t(std::stoul(word.substr(equals + 1), nullptr, 0));
    return h;
}

void replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
}

struct modes_test : testing::Test {
    const temp_folder folder;
    fakes::trace_capture capture;
    fakes::recording_trace& said = capture.all;
    host& h = host::instance();
    const fakes::scripted_libraries libraries{host::modules};

    modes_test() {
        h = {};
        cl::os_info.version = 601;
        EXPECT_TRUE(prepare_host());
        data_dir = (folder.folder / "").wstring();
        h.calls.clear();
        game_analyzer_requested = false;
    }
    ~modes_test() override {
        EXPECT_EQ(h.loaded, 0);
        cl::global_ini.close();
    }
    // The calls so far, in short.
    [[nodiscard]] std::string calls() const {
        std::string all = h.log();
        replace(all, "load \"" + library_path + "\"", "load");
        replace(all, "\"" + (folder.folder / "trace.txt").string() + "\"", "LOG");
        replace(all, "5e19d4a7c36b02f8", "TOKEN");
        return all;
    }
};

} // namespace

TEST_F(modes_test, preparation) {
    EXPECT_EQ(install_dir + L"|" + dll_path, L"C:\\vexa\\|C:\\vexa\\flowsrv.dll");
    install_dir.clear();
    h.has_install_dir = false;
    EXPECT_TRUE(prepare_host());
    EXPECT_EQ(dll_path + L"|" + data_dir, L"flowsrv.dll|D:\\data\\");
    EXPECT_EQ(calls(), "install dir of \"vexaflow\", data dir of \"vexaflow\"");
    h.calls.clear();
    cl::os_info.version = 600;
    EXPECT_FALSE(prepare_host());
    EXPECT_EQ(said.text + calls(), "Operating system not supported.");
}

TEST_F(modes_test, a_data_folder_of_somebody_else) {
    using enum folder_protection::outcome;
    const std::string above = "srv: the folder 'C:\\Vexa' ", below = "srv: the folder 'C:\\Vexa\\x' ";
    const auto twice = [&](const std::string& words) { return above + words + "\n" + below + words + "\n"; };
    const std::string texts[] = {"", twice("belonged to another account; its rights are set"),
                                 twice("is a link that another account has made")};
    for (const auto outcome : {kept, set, is_link}) {
        said.text.clear();
        h.folder = {outcome, 0};
        check_data_folder(L"C:\\Vexa\\x\\");
        EXPECT_EQ(said.text, texts[static_cast<int>(outcome)]);
    }
    h.folder = {failed, 5};
    h.admin = false;
    check_data_folder(L"C:\\Vexa\\x\\");
    check_data_folder(L"");
    EXPECT_EQ(said.text, texts[2]) << "nothing more is said";
}

TEST_F(modes_test, from_start_to_end) {
    std::wstring one = L"1", two = L"zw\u00F6lf 2", missing = L"C:\\none00.dll";
    for_rows("host_modes.tsv", [&](const row& r) {
        const std::string kind = r.text("host");
        h = host_of(kind);
        game_analyzer_requested = kind == "analyser";
        // A library that was missing isn't looked for again under its name.
        ++missing[8];
        dll_path = h.has_library ? std::wstring(library_path.begin(), library_path.end()) : missing;
        const std::string path(dll_path.begin(), dll_path.end()), reason = "srv: library error ";
        fakes::message_box::shown().clear();
        said.text.clear();
        const auto mode = static_cast<run_mode>(std::ranges::find(modes, r.text("mode")) - modes);
        const std::vector words = {one.data(), two.data()}, none = std::vector<wchar_t*>();
        EXPECT_EQ(run_mode_of(mode, kind == "no_words" ? none : words), r.number("exit"));
        std::string called = calls();
        for (const auto& box : fakes::message_box::shown())
            called += "box " + box.text;
        replace(said.text, path, "DLL");
        replace(said.text, reason + "126: the file, or a library that it needs, is missing\n", "126");
        replace(said.text, reason + "127: the library, or one that it needs, lacks a function\n", "127");
        EXPECT_EQ(called, r.text("calls"));
        EXPECT_EQ(said.text, r.text("said"));
    });
}

TEST_F(modes_test, the_handler_reports_and_keeps_what_it_saw) {
    h.controls = [&](service_handler_function handle) {
        for_rows("service_controls.tsv", [&, state = std::string("state 4")](const row& r) mutable {
            const auto number = [&r](const char* column) { return std::uint32_t(r.number(column)); };
            h.calls.clear();
            said.text.clear();
            h.token_error = r.text("token").empty() ? failure() : number("token");
            std::uint32_t notification[2] = {8, number("session")};
            EXPECT_EQ(
                handle(number("control"), number("event"), notification[1] ? notification : nullptr, nullptr),
                number("result"));
            if (number("control") == 1)
                state = "state 1";
            EXPECT_EQ(calls(), r.text("calls") + state);
            EXPECT_EQ(said.text, cl::text("srv: HandlerEx 0x%x\n", number("control")) + r.text("said"));
        });
        h.calls.clear();
    };
    EXPECT_EQ(run_mode_of(run_mode::service, {}), 0);
    EXPECT_EQ(calls(), stop_calls) << "the teardown comes after the dispatcher";
    EXPECT_EQ(session_event_text(9, 31), "unknown (9 1f)");
}

TEST_F(modes_test, a_start_that_ends_while_the_handler_works_stands) {
    h.in_resume = service_main;
    service_control_handler(13, 18, nullptr, nullptr);
    EXPECT_EQ(calls(), "Wi-Fi, register, state 2, " + start_calls + ", state 4, state 4");
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
    EXPECT_EQ(calls(), "register, state 2, " + start_calls + ", state 1, " + stop_calls)
        << "after the stop nothing is reported";
}

TEST_F(modes_test, starts_and_stops_race) { // for the thread sanitizer
    for (int i = 0; i < 100; ++i) {
        h.calls.clear();
        service_main();
        std::thread manager([] { start_service(); });
        service_control_handler(1, 0, nullptr, nullptr);
        stop_service();
        manager.join();
        EXPECT_TRUE(start_service()) << "a start that is left over gives way to the new one";
        stop_service();
        ASSERT_EQ(h.loaded, 0);
    }
}
