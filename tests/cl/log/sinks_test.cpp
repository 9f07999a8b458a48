// The lists, and all sinks but the log.
#include "cl/log/debug_trace.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/console_trace.hpp"
#include "cl/trace/stream_trace.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_debugger.hpp"
#include "fakes/fake_message_box.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

using namespace cl;
using fakes::debugger;

namespace {

using texts = std::vector<std::string>;

struct sinks : testing::Test {
    fakes::console& screen = fakes::console::instance();

    sinks() { restart({}); }
    ~sinks() override {
        restart({});
        console_application = true;
    }
    void restart(const fakes::console& with) {
        screen = with;
        debugger::narrow().clear();
        debugger::wide().clear();
        fakes::message_box::shown().clear();
        init_console();
    }
};

struct kept_lines : lined_trace {
    explicit kept_lines(const char* name = "") : lined_trace(name) {}
    void emit(const char* text) override { lines.emplace_back(text); }
    texts lines;
};

std::string x(std::size_t n) {
    return std::string(n, 'x');
}

} // namespace

TEST_F(sinks, a_list_passes_every_text_on_as_far_as_its_first_zero) {
    trace_list list;
    fakes::recording_trace a, b;
    EXPECT_TRUE(trace_add(&list, &a));
    EXPECT_FALSE(trace_add(&list, &a));
    EXPECT_TRUE(trace_add(&list, &b));
    trace_write(&list, "one ");
    trace_write(&list, L"\u00E4\xD83D\xDE00 ");
    list(std::string("two \0three", 10));
    list(std::wstring(L"four\0five", 9));
    EXPECT_EQ(a.text, "one \xC3\xA4\xF0\x9F\x98\x80 two four");
    EXPECT_EQ(b.text, a.text);
    EXPECT_TRUE(trace_remove(&list, &a));
    EXPECT_FALSE(trace_remove(&list, &a));
    trace_flush(&list);
    EXPECT_TRUE(a.flushes == 0 && b.flushes == 1 && a.is_async());

    // Nobody and an ended list take no part in anything; its text reaches the debugger and the early buffer.
    trace_end(list);
    for (trace_list* const none : {static_cast<trace_list*>(nullptr), &list})
        EXPECT_TRUE(trace_add(none, &a) && trace_remove(none, &b));
    trace_write(nullptr, "nobody");
    trace_early.take();
    const std::string rest = x(252) + "cut";
    trace_write(&list, "a\xE4");
    trace_write(&list, L"\u20AC");
    trace_write(&list, rest.c_str());
    trace_write(&list, "no room");
    EXPECT_EQ(trace_early.take(), L"a?\u20AC" + std::wstring(252, L'x'));
    EXPECT_EQ(debugger::narrow(), (texts{"a\xE4", rest, "no room"}));
    EXPECT_EQ(debugger::wide(), std::vector<std::wstring>{L"\u20AC"});
    EXPECT_TRUE(a.text == b.text && *list.sinks == std::vector<trace_base*>{&b});
    EXPECT_EQ(trace_early.take(), L"");
    delete list.sinks;
}

TEST_F(sinks, every_combination_of_streams) {
    const auto out = os::stream_handle{2}, err = os::stream_handle{3};
    const struct {
        bool out_is_console, err_is_console, application;
        // What "u umlaut" and "euro sign" become, written narrow to out and wide to err.
        std::wstring screen;
        std::string out, err;
        std::vector<os::stream_handle> handles;
    } rows[] = {
        {true, true, true, L"\u00FC\u20AC", "", "", {out, err}},
        {false, true, true, L"\u20AC", "\x81", "", {err}},
        {true, false, true, L"\u00FC", "", "?", {out}},
        {false, false, true, L"", "\x81", "?", {}},
        {true, true, false, L"", "", "", {}},
        {false, false, false, L"", "", "", {}},
    };
    for (const auto& row : rows) {
        fakes::console streams;
        streams.out_is_console = row.out_is_console;
        streams.err_is_console = row.err_is_console;
        restart(streams);
        console_application = row.application;
        stdout_trace().write("\xFC", true);
        stderr_trace().write(L"\u20AC", true);
        EXPECT_EQ(screen.written, row.screen);
        EXPECT_EQ(screen.out, row.out);
        EXPECT_EQ(screen.err, row.err);
        EXPECT_EQ(screen.handles, row.handles);
    }
}

TEST_F(sinks, the_console) {
    screen.screen = {10, 20, 35, 22, 0x1F07};
    init_console();
    EXPECT_TRUE(console.window_left == 10 && console.window_top == 20 && console.text_attributes == 7);
    for (const wchar_t* text : {L"next", L"\nline"}) { // a line feed leaves the status text behind
        console.transient_length = 5;
        console_write(text);
        EXPECT_EQ(console.transient_length, 0);
    }
    EXPECT_EQ(screen.written, L"     next\nline");
    EXPECT_EQ(screen.cursor, (std::vector<std::pair<std::int16_t, std::int16_t>>{{30, 22}, {30, 22}}));

    // A zero ends a stream's text, but not a console's.
    restart({});
    console_write(std::wstring(L"a\0b", 3));
    EXPECT_EQ(screen.written, std::wstring(L"a\0b", 3));
    EXPECT_EQ(to_oem(std::string("a\0b", 3)) + to_oem(std::string()), "a");
    EXPECT_EQ(to_oem(L"gr\u00FC\u00DF"), "gr\x81\xE1");

    fakes::console nothing;
    nothing.has_screen = false;
    restart(nothing);
    console.transient_length = 3;
    write_stdout(std::string("x"));
    EXPECT_EQ(screen.written, L"");
}

TEST_F(sinks, console_trace_writes_to_the_console_or_shows_a_box) {
    console_trace sink;
    sink.write("\x80", true);
    sink.write(L" wide", true);
    console_application = false;
    sink.write("narrow\n", true);
    sink.write(L"wide", true);
    EXPECT_EQ(screen.written, L"\u20AC wide");
    EXPECT_EQ(fakes::message_box::shown(),
              (std::vector<fakes::message_box>{{"narrow\n", "Debug message", 48, false},
                                               {"wide", "Debug message", 48, true}}));
}

TEST_F(sinks, lined_trace_gathers_lines) {
    const std::string piece = x(254) + "\n";
    const struct {
        const char* name;
        texts calls, lines;
        std::string rest; // what a flush emits then
    } rows[] = {
        {"both line endings", {"abc\r\ndef\n"}, {"abc\n", "def\n"}, ""},
        {"a line of two calls", {"abc\r", "\ndef\n", ""}, {"abc\n", "def\n"}, ""},
        {"a return alone stays", {"a\rb\n\r\r\n"}, {"a\rb\n", "\r\n"}, ""},
        {"empty lines and a partial one", {"\n\r\n\nrest"}, {"\n", "\n", "\n"}, "rest"},
        {"600 characters", {x(600) + "\r\n"}, {piece, piece, x(92) + "\n"}, ""},
        {"253 and CR LF", {x(253) + "\r\ny\n"}, {x(253) + "\r\n", "y\n"}, ""},
        {"254 characters", {x(254) + "\ny\n"}, {piece, "y\n"}, ""},
        {"254 and CR LF", {x(254) + "\r\ny\n"}, {piece, "y\n"}, ""},
        {"254 and two endings", {x(254) + "\n\n"}, {piece, "\n"}, ""},
        {"254 and a return alone", {x(254) + "\ry"}, {piece}, "y"},
        {"254, the ending in another call", {x(254) + "\r", "\n"}, {piece, "\n"}, ""},
        {"short and long lines", {"a\n" + x(300) + "b\nc"}, {"a\n", piece, x(46) + "b\n"}, "c"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        kept_lines sink;
        for (const std::string& text : row.calls)
            sink.write(text.c_str(), false);
        EXPECT_EQ(sink.lines, row.lines);
        sink.lines.clear();
        sink.flush(true);
        sink.flush(true);
        EXPECT_EQ(sink.lines, row.rest.empty() ? texts{} : texts{row.rest});
    }
    kept_lines named("a name of twenty chr");
    named.write((L"\u00FC\n" + std::wstring(255, L'x')).c_str(), true); // wide text comes as UTF-8
    named.flush(false);
    EXPECT_EQ(named.lines,
              (texts{"a name of twenty\xC3\xBC\n", "a name of twenty" + piece, "a name of twentyx"}));
    debug_trace("").write("whole\r\npart", true); // which goes out at its end
    EXPECT_EQ(debugger::narrow(), (texts{"whole\n", "part"}));
}
