// The format engine: exact texts, the model, and what its targets see.
#include "cl/format/format_round.hpp"
#include "cl/format/json_tokens.hpp"
#include "cl/format/text.hpp"
#include "rows.hpp"

#include <memory>

namespace {

using namespace std::string_literals;

TEST(format, integers_and_targets_agree) {
    run_seeds(1500, run_format);
}

TEST(format, exact_texts) {
    for_rows("formats.tsv", [](const row& r) {
        const std::wstring format = r.wide("format"), text = r.wide("text");
        const std::vector<argument> arguments = arguments_of(r.wide("arguments"));
        if (r.text("kind") == "w")
            EXPECT_EQ(printed<wchar_t>(format, arguments), text);
        else
            EXPECT_EQ(printed<char>(format, arguments), std::string(text.begin(), text.end()));
    });
}

// What makes a literal format with another number of arguments fail to compile.
static_assert(cl::detail::count_arguments("") == 0 && cl::detail::count_arguments("100%%") == 0);
static_assert(cl::detail::count_arguments("%?%") == 2 && cl::detail::count_arguments(L"%s%%%?") == 2);
static_assert(cl::detail::count_arguments("%0*?|%*.*~*I64d|%5%|%-#' +,08.3~2llx") == 8);

TEST(format, types) {
    EXPECT_EQ(cl::text("%? %? %d %c %?", 'A', true, false, L'c', "a\0b"s), "65 1 0 c a\0b"s);
    EXPECT_EQ(cl::text("%? %? %? %d", u'\xFFFF', U'\x10FFFF', L'\xFFFF', L'\xFFFF'),
              "65535 1114111 65535 -1");
    EXPECT_EQ(cl::text("%? %? %?", -1L, 1UL, -1LL), "-1 1 -1");
    EXPECT_EQ(
        cl::text("[%?%4?]%?%5?", std::wstring_view(), std::string_view(), L""s, std::wstring_view(L"xyz", 2)),
        "[    ]   xy");
    EXPECT_EQ(cl::text(L"%? %.2?|", static_cast<const wchar_t*>(nullptr), std::wstring_view(L"xyz", 3)),
              L"(null) xy|");
    // A precision ends a text that has no terminator.
    const std::unique_ptr<char[]> three(new char[3]{'a', 'b', 'c'});
    const std::unique_ptr<wchar_t[]> two(new wchar_t[2]{'d', 'e'});
    EXPECT_EQ(cl::text("%.*?%.2?", 3, three.get(), two.get()) + cl::text("none"), "abcdenone");
    cl::basic_format<char> f("%? %04? %d");
    f.arg32(255, 255, 'x').arg64(10, 10, 'X').arg32(-1, 255, 'x');
    EXPECT_EQ(f.str(), "ff 000A -1");
}

TEST(format, a_string_takes_several_formats_in_turn) {
    std::string text = "> ";
    {
        cl::basic_strformat<char> f(text);
        f << 1; // no format yet
        f.set_format("a%?b");
        EXPECT_EQ(text, "> 1a") << "literal text is out at once";
        f << 2;
        EXPECT_EQ(text, "> 1a2b");
        f.set_format("%-2?dropped");
        // The width and the flag of the directive without an argument stay, and digits add to them.
        f.set_format("%3?|");
        f << 7;
        f.set_format("%?%?.");
        EXPECT_EQ(f.result(), "");
    }
    EXPECT_EQ(text, "> 1a2b7" + std::string(22, ' ') + "|?.");
    { cl::basic_strformat<char> unused(text, nullptr); }
    cl::basic_format<char> twice("%?b%?c");
    twice.finish();
    twice.finish();
    EXPECT_EQ((twice << 7).str(), "b?c7");
}

// Wherever the caller moves the cursor, the last place is kept for the terminator.
TEST(format, a_cursor_that_comes_back_from_the_end) {
    char buf[] = "xxxxxxx";
    char* cursor = buf + sizeof buf;
    {
        cl::basic_spformat<char> f(&cursor, buf + sizeof buf, "lost%?%?");
        cursor = buf + 3;
        f << "abcde"
          << "g";
    }
    EXPECT_STREQ(buf, "xxxabcd");
    EXPECT_EQ(cursor, buf + 7);
}

// The call that throws is the only one whose text is lost: nothing comes twice, and nothing is read after the
// format's end.
TEST(format, slots_that_throw) {
    const char* const left[] = {"12bc%?e", "a12c%?e", "abc%?e", "ab12%?e", "ab12c?e", "ab12c%", "ab12c%e"};
    for (int n = 1; n <= 7; ++n) {
        SCOPED_TRACE(n);
        slot_target f(n);
        const auto attempt = [](const auto& work) {
            try {
                work();
            } catch (const std::string&) {
            }
        };
        attempt([&] { f.scan_format("ab%?c%%%5?e%"); });
        attempt([&] { f << 12; });
        attempt([&] { f.finish(); });
        f.finish();
        EXPECT_EQ(f.text, left[n - 1]);
    }
}

// The literal text in front of the first directive is out before the derived class exists.
template <class Base>
struct overridden : Base {
    using Base::Base;
    void put_fill(char c, int count) override { Base::put_fill(c == 'a' ? 'A' : c, count); }
    void put_text(const char* text, std::size_t n) override {
        Base::put_text(("<" + std::string(text, n) + ">").c_str(), n + 2);
    }
    std::string result() const override { return "own " + Base::result(); }
};

TEST(format, overridden_slots_see_everything) {
    const char* const format = "a%?a-%4?a%#010.3?a%?";
    const std::string want = "a<42>A-   <t>A       00<7>A";
    char buf[64];
    char* cursor = buf;
    std::string text;
    const auto use = [](auto&& target, const std::string& result) {
        target << 42 << "t" << 7;
        EXPECT_EQ(target.str(), "own " + result);
    };
    use(overridden<cl::basic_format<char>>(format), want);
    use(overridden<cl::basic_sformat<char>>(buf, sizeof buf, format), "");
    EXPECT_EQ(buf, want);
    use(overridden<cl::basic_spformat<char>>(&cursor, buf + sizeof buf, format), "");
    EXPECT_EQ(std::string(buf, cursor), want);
    use(overridden<cl::basic_strformat<char>>(text, format), "");
    EXPECT_EQ(text, want);
}

cl::ip6_addr address(const std::string& full) {
    cl::ip6_addr a;
    std::istringstream groups(full);
    std::string group;
    for (std::uint8_t* to = a.bytes; std::getline(groups, group, ':'); to += 2) {
        to[0] = static_cast<std::uint8_t>(std::stoul(group, nullptr, 16) >> 8);
        to[1] = static_cast<std::uint8_t>(std::stoul(group, nullptr, 16));
    }
    return a;
}

TEST(value_text, addresses_and_durations) {
    for_rows("value_texts.tsv", [](const row& r) {
        const std::string value = r.text("value"), plain = r.text("text");
        if (r.text("kind") == "duration") {
            EXPECT_EQ(cl::duration_text(std::stoull(value), static_cast<std::uint32_t>(r.number("unit"))),
                      plain);
            return;
        }
        const cl::ip6_addr a = address(value);
        const bool mapped = plain.find('.') != std::string::npos;
        const std::string full = mapped ? plain : value, bracketed = mapped ? plain : "[" + plain + "]";
        EXPECT_EQ(cl::address_text(a, false, false), plain);
        EXPECT_EQ(cl::text("%?|%#?:%?|%0?|%40?|%.2?", a, a, 80, a, a, a),
                  plain + "|" + bracketed + ":80|" + full + "|" + std::string(40 - plain.size(), ' ') +
                      plain + "|" + plain.substr(0, 2));
    });
}

TEST(value_text, other_values) {
    const cl::mac_addr mac{{0x00, 0x11, 0x2a, 0x33, 0x44, 0xff}};
    const cl::guid id{0xABC, 0x1, 0xF00D, {0xDE, 0xAD, 0, 1, 2, 3, 4, 0xEF}};
    EXPECT_EQ(cl::text("%? %#? {%?} %?", mac, mac, id, cl::mac_text(mac.bytes, true)),
              "00:11:2a:33:44:ff 00-11-2a-33-44-ff {00000abc-0001-f00d-dead-0001020304ef} 00-11-2a-33-44-ff");
    cl::jctrl<'{', 5> open;
    const cl::jformatter& token = open;
    EXPECT_EQ(token.kind(), 5);
    EXPECT_EQ(token.render(true), "{");
    open.name = "a";
    EXPECT_EQ(token.render(true), "\"a\":{");
    EXPECT_EQ(token.render(false), "a = {");
}

} // namespace
