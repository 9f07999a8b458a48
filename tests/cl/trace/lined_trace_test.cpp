#include "cl/trace/lined_trace.hpp"

#include "cl/trace/console_trace.hpp"
#include "cl/trace/debug_trace.hpp"
#include "cl/trace/list/console.hpp"
#include "cl/trace/list/stream_trace.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_debugger.hpp"
#include "fakes/fake_message_box.hpp"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

using namespace cl;

namespace {

using texts = std::vector<std::string>;

struct kept_lines : lined_trace {
    explicit kept_lines(const char* name = "") : lined_trace(name) {}
    void emit(const char* text) override { lines.emplace_back(text); }
    texts lines;
};

std::string x(std::size_t n) {
    return std::string(n, 'x');
}

} // namespace

TEST(lined_trace, lines_of_texts) {
    const std::string piece = x(254) + "\n";
    const struct {
        const char* name;
        texts calls;
        texts lines;
        std::string rest; // what a flush emits then
    } rows[] = {
        {"both line endings", {"abc\r\ndef\n"}, {"abc\n", "def\n"}, ""},
        {"a line of two calls", {"abc", "def\n"}, {"abcdef\n"}, ""},
        {"a line ending of two calls", {"abc\r", "\ndef\r\n"}, {"abc\n", "def\n"}, ""},
        {"a return alone stays", {"a\rb\n\r\r\n"}, {"a\rb\n", "\r\n"}, ""},
        {"empty lines", {"\n\r\n\n"}, {"\n", "\n", "\n"}, ""},
        {"empty texts", {"", "a", "", "\n"}, {"a\n"}, ""},
        {"a partial line", {"abc\nrest"}, {"abc\n"}, "rest"},
        {"600 characters", {x(600) + "\r\n"}, {piece, piece, x(92) + "\n"}, ""},
        {"253 characters", {x(253) + "\n"}, {x(253) + "\n"}, ""},
        {"253 and CR LF", {x(253) + "\r\ny\n"}, {x(253) + "\r\n", "y\n"}, ""},
        {"254 characters", {x(254) + "\ny\n"}, {piece, "y\n"}, ""},
        {"254 and CR LF", {x(254) + "\r\ny\n"}, {piece, "y\n"}, ""},
        {"254 and two endings", {x(254) + "\n\n"}, {piece, "\n"}, ""},
        {"254 and a return alone", {x(254) + "\ry"}, {piece}, "y"},
        {"254, the ending in another call", {x(254), "\n"}, {piece, "\n"}, ""},
        {"254 and CR, LF in another call", {x(254) + "\r", "\n"}, {piece, "\n"}, ""},
        {"254 in two calls", {x(200), x(54) + "\n"}, {piece}, ""},
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
}

TEST(lined_trace, the_name_stands_in_front_of_each_line) {
    kept_lines sink("a name of twenty chr");
    sink.write(("one\n" + x(255)).c_str(), true);
    sink.flush(false);
    EXPECT_EQ(sink.lines,
              (texts{"a name of twentyone\n", "a name of twenty" + x(254) + "\n", "a name of twentyx"}));
    kept_lines small("net: ");
    small.write(L"\u00FC\n", true); // wide text comes as UTF-8
    EXPECT_EQ(small.lines, texts{"net: \xC3\xBC\n"});
}

TEST(debug_trace, a_partial_line_goes_out_at_the_end) {
    fakes::debugger::narrow().clear();
    {
        debug_trace sink("");
        sink.write("whole\r\npart", true);
        EXPECT_EQ(fakes::debugger::narrow(), texts{"whole\n"});
    }
    EXPECT_EQ(fakes::debugger::narrow(), (texts{"whole\n", "part"}));
}

TEST(console_trace, console_or_message_box) {
    auto& screen = fakes::console::instance();
    screen = fakes::console{};
    fakes::message_box::shown().clear();
    init_console();
    console_trace sink;
    sink.write("\x80", true);
    sink.write(L" wide", true);
    EXPECT_EQ(screen.written, L"\u20AC wide");
    console_application = false;
    sink.write("narrow\n", true);
    sink.write(L"wide", true);
    console_application = true;
    EXPECT_EQ(screen.written, L"\u20AC wide");
    EXPECT_EQ(fakes::message_box::shown(),
              (std::vector<fakes::message_box>{{"narrow\n", "Debug message", 48, false},
                                               {"wide", "Debug message", 48, true}}));
}
