#include "choices.hpp"
#include "ctl/log_follower.hpp"
#include "ctl/log_lines.hpp"
#include "ctl/log_selection.hpp"
#include "ctl/message_page.hpp"
#include "rows.hpp"

#include <gtest/gtest.h>

using namespace vfl::ctl;

namespace vfl::ctl {

// The tests have no resources.
std::string_view message_page_resource() {
    return {};
}

} // namespace vfl::ctl

namespace {

// "HHMM" or "HHMMb" (a banner) or "-" (no stamp), separated by blanks.
std::string log_of(const std::string& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); i += 5) {
        const std::string word = lines.substr(i, 4);
        const bool banner = i + 4 < lines.size() && lines[i + 4] == 'b';
        text += word[0] == '-' ? "more\r\n" : word + "00-000 " + (banner ? "srv: ------ x\r\n" : "x\r\n");
    }
    return text;
}

std::optional<local_ms> moment(const std::string& text) {
    if (text.empty())
        return {};
    return std::stoll(text.substr(0, text.find('+'))) * day_ms +
           (std::stoll(text.substr(text.find('+') + 1)) / 100 * 60 +
            std::stoll(text.substr(text.find('+') + 1)) % 100) *
               60'000;
}

TEST(ctl_log, days) {
    for_rows("ctl_log_days.tsv", [](const row& r) {
        const log_text log = read_log({{log_of(r.text("old")), moment(r.text("old_written"))},
                                       {log_of(r.text("new")), moment(r.text("written"))}},
                                      moment(r.text("start")));
        std::string days;
        for (const log_line& line : log.lines)
            days += (line.certain ? " " : " ~") + std::to_string(line.day);
        EXPECT_EQ(days, " " + r.text("days"));
    });
}

TEST(ctl_log, texts_and_selections) {
    EXPECT_EQ(day_text(20592), L"2026-05-19");
    EXPECT_EQ(time_text(20592 * day_ms - 1), L"2026-05-18 23:59:59.999");
    EXPECT_EQ(iso_time(20592 * day_ms, -90), L"2026-05-19T00:00:00.000-01:30");
    EXPECT_EQ(parse_day(L"2026-05-19"), 20592);
    for (const wchar_t* bad : {L"2026-02-29", L"2026-5-19", L"26-05-19", L"2026-05-19x"})
        EXPECT_FALSE(parse_day(bad));
    EXPECT_EQ(line_text("gr\xC3\xB6\xC3\x9F"), L"gr\u00F6\u00DF");
    EXPECT_EQ(line_text("gr\xF6\xDF \xC0\x80"), L"gr\u00F6\u00DF \u00C0\u20AC"); // overlong, and so ANSI
    EXPECT_EQ(line_text("\xF0\x9F\x98\x80"), L"\xD83D\xDE00");

    log_text log = read_log({{log_of("2300b2301 0100b---- 0101"), 10 * day_ms + 3'660'000}}, {});
    log_selection s;
    const auto chosen = [&] { return select_lines(log, s); };
    using lines = std::vector<std::size_t>;
    EXPECT_EQ(chosen(), (lines{2, 3, 4}));
    s.run = 1;
    EXPECT_EQ(chosen(), (lines{0, 1}));
    s.run = log_selection::all_runs;
    s.since = L"1970-01-10 23:01";
    EXPECT_EQ(chosen(), (lines{1, 2, 3, 4}));
    s.until = L"01:00";
    EXPECT_EQ(chosen(), (lines{1, 2, 3}));
    s.grep = L"ore";
    EXPECT_EQ(chosen(), lines{3});
    EXPECT_EQ(raw_line(log, log.lines[3]), "more\r\n");
    EXPECT_EQ(
        json_line(log, log.lines[4], [](local_ms) { return 60; }),
        "{\"schema\":\"vflctl.log/1\",\"time\":\"1970-01-11T01:01:00.000+01:00\",\"certain\":true,\"run\":2,"
        "\"text\":\"x\"}\r\n");
}

TEST(ctl_log, messages) {
    const message_page page(
        "| Message | Means | Do |\n| --- | --- | --- |\n"
        "| `error \xE2\x80\xA6` | a [word](x.md) | nothing |\n"
        "| `error \xE2\x80\xA6 in \xE2\x80\xA6` | more | see `x` |\n| `start` | s |  |\n");
    const auto means = [&](const wchar_t* text) {
        const message_row* const found = page.find(text);
        return found ? found->means : L"";
    };
    EXPECT_EQ(means(L"error 5"), L"a word");
    EXPECT_EQ(means(L"235907-042 error 5 in it"), L"more");
    EXPECT_EQ(means(L"~2026-05-19 23:59:07.042  error 5 in it"), L"more");
    EXPECT_EQ(means(L"Error 5"), L"");
    EXPECT_EQ(page.search(L"err").size(), 2u);
    EXPECT_TRUE(has_remedy(*page.find(L"error 5 in x")));
    EXPECT_FALSE(has_remedy(*page.find(L"error 5")) || has_remedy(*page.find(L"start")));
}

// A log that a service writes and rotates while it is followed.
class rotating_log final : public log_source {
public:
    struct file {
        std::uint64_t index;
        std::string bytes;
    };
    std::optional<file> current, old;
    std::uint32_t refusal = 0; // with which the next opens fail

    file_reading read(which of, const std::optional<file_identity>& expected,
                      std::uint64_t position) override {
        const std::optional<file>& f = of == which::current ? current : old;
        file_reading r;
        r.error = refusal ? refusal : f ? 0 : 2;
        if (r.error != 0)
            return r;
        r.identity = {7, f->index};
        r.start = expected == r.identity && position <= f->bytes.size() ? position : 0;
        r.bytes = f->bytes.substr(static_cast<std::size_t>(r.start));
        return r;
    }
};

// Whatever the service does between two looks, each whole line is shown once, in its order.
void follow(choices& c) {
    rotating_log files;
    log_follower follower(files);
    std::string written, shown_text;
    std::uint64_t files_made = 1;
    files.current = rotating_log::file{1, {}};
    bool may_rotate = true; // once between two looks; the second rotation takes lines away
    follower.begin(files.read(log_source::which::current, {}, 0));
    for (int i = 0; i < 60; ++i) {
        switch (c.below(4)) {
        case 0:
        case 1: {
            if (!files.current)
                files.current = rotating_log::file{++files_made, {}};
            const std::string text = c.once_in(3) ? "part" : "line " + std::to_string(i) + "\n";
            files.current->bytes += text;
            written += text;
            break;
        }
        case 2:
            if (may_rotate && files.current) {
                files.old = std::exchange(files.current, {});
                may_rotate = false;
            }
            break;
        default: {
            files.refusal = c.once_in(4) ? 32 : 0;
            const auto step = follower.next();
            EXPECT_FALSE(step.gap);
            EXPECT_EQ(step.error == 32, files.refusal == 32);
            shown_text += step.bytes;
            may_rotate = may_rotate || step.error == 0;
            files.refusal = 0;
        }
        }
    }
    // What a rotation has just put aside is shown before there is a new file.
    shown_text += follower.next().bytes;
    EXPECT_EQ(shown_text, written.substr(0, written.rfind('\n') + 1));
}

TEST(ctl_log, following_loses_and_doubles_no_line) {
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        choices c(seed);
        follow(c);
    }
}

TEST(ctl_log, a_second_rotation_is_reported_and_an_emptied_file_starts_anew) {
    rotating_log files;
    files.current = rotating_log::file{1, "a\n"};
    log_follower follower(files);
    follower.begin(files.read(log_source::which::current, {}, 0));
    files.current->bytes.clear();
    EXPECT_EQ(follower.next().bytes, "");
    files.current->bytes = "b\n";
    EXPECT_EQ(follower.next().bytes, "b\n");
    files.old = rotating_log::file{2, "lost\n"};
    files.current = rotating_log::file{3, "c\n"};
    const auto step = follower.next();
    EXPECT_TRUE(step.gap);
    EXPECT_EQ(step.bytes, "c\n");
}

} // namespace
