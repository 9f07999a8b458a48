// The string helpers and conversions: rows of exact answers, and every size of a buffer.
#include "cl/text/ascii_run.hpp"
#include "cl/text/string_util.hpp"
#include "cl/text/text_convert.hpp"
#include "guard_page.hpp"
#include "rows.hpp"

#include <algorithm>

namespace {

using namespace std::string_literals;

int sign(int v) {
    return v < 0 ? -1 : v > 0;
}

TEST(text, helpers) {
    for_rows("text_helpers.tsv", [](const row& r) {
        const std::string helper = r.text("helper");
        const std::wstring wide = r.wide("text"), other = r.wide("other"), result = r.wide("result");
        const std::string narrow(wide.begin(), wide.end()), needle(other.begin(), other.end());
        std::wstring copy = wide;
        if (helper == "compare") {
            EXPECT_EQ(sign(cl::icompare(wide, other)), r.number("result"));
            EXPECT_EQ(sign(cl::icompare(other, wide)), -r.number("result"));
            EXPECT_EQ(sign(cl::icompare_trimmed(wide, other)), r.number("more"));
        } else if (helper == "int") {
            EXPECT_EQ(cl::parse_int(wide, false), r.number("result"));
            EXPECT_EQ(cl::parse_int(wide, true), r.number("more"));
        } else if (helper == "squeeze") {
            EXPECT_EQ(cl::squeeze_blanks(narrow.c_str()), r.text("result"));
        } else if (helper == "path") {
            EXPECT_EQ(cl::dir_of(wide), result);
            EXPECT_EQ(cl::with_backslash(wide), r.wide("more"));
        } else if (helper == "find") {
            const char* const found = cl::ifind(narrow.c_str(), needle.c_str());
            EXPECT_EQ(found ? found - narrow.c_str() : -1, r.number("result"));
        } else if (helper == "hex") {
            EXPECT_EQ(cl::hex_pair(narrow.c_str()), r.number("result"));
        } else if (helper == "lower") {
            EXPECT_EQ(cl::lower_copy(wide), result);
        } else if (helper == "trim") {
            EXPECT_EQ(cl::trim_left(cl::trim_right(copy)), result);
            EXPECT_EQ(cl::trim_both(wide), result);
        } else {
            EXPECT_EQ(helper, "utf8");
            EXPECT_EQ(cl::utf16_to_utf8(wide), r.text("result"));
        }
    });
    EXPECT_EQ(cl::icompare(L"abc", 3, L"ABCDE", 5), -2);
    EXPECT_TRUE(cl::starts_with_i(L"-Service", L"-SERV"));
    EXPECT_FALSE(cl::starts_with_i(L"-ser", L"-serv"));
    EXPECT_EQ(cl::ifind(nullptr, "a"), nullptr);
    EXPECT_EQ(cl::squeeze_blanks(nullptr), "");
}

TEST(text, conversions) {
    EXPECT_EQ(cl::narrow_to_wide("a\0\xE4\x80"s, 0), L"a\0\u00E4\u20AC"s);
    EXPECT_EQ(cl::narrow_to_wide("", 0), L"");
    EXPECT_EQ(cl::wide_to_narrow(L"a\0\u00E4\u20AC\u4E2D"s, 0), "a\0\xE4\x80?"s);
    EXPECT_EQ(cl::wide_to_narrow(L"abc", 2, 0), "ab");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 0), "");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 5, 0), "");
    EXPECT_EQ(cl::utf16_to_utf8(static_cast<const wchar_t*>(nullptr)), "");
}

// Every size of the target around the text's length: the text as far as it fits and a zero in the last place.
template <class Dst, class Src, class Convert>
void check_buf(Convert convert, const Src* src, const std::basic_string<Dst>& whole) {
    const guard_page target;
    for (std::int64_t size = -1; size <= 14; ++size) {
        const auto n = static_cast<std::size_t>(std::max<std::int64_t>(size, 0));
        Dst* const dst = target.last<Dst>(n);
        std::fill_n(dst, n, Dst(0x55));
        EXPECT_EQ(convert(dst, src, size), dst);
        if (n) {
            EXPECT_EQ(std::basic_string<Dst>(dst), whole.substr(0, n - 1)) << size;
            EXPECT_EQ(dst[n - 1], src || n == 1 ? Dst(0) : Dst(0x55)) << size;
        }
    }
    EXPECT_EQ(convert(nullptr, src, 5), nullptr);
}

TEST(text, buffers_truncate_in_silence) {
    check_buf(cl::ansi_to_wide_buf, "0123456\xE4\x80-", L"0123456\u00E4\u20AC-"s);
    check_buf(cl::ansi_to_wide_buf, "", L""s);
    check_buf<wchar_t, char>(cl::ansi_to_wide_buf, nullptr, L""s);
    check_buf(cl::wide_to_ansi_buf, L"0123456\u00E4\u20AC-", "0123456\xE4\x80-"s);
    check_buf<char, wchar_t>(cl::wide_to_ansi_buf, nullptr, ""s);
}

// Every length, with every kind of end at every place; source and target end at an inaccessible page.
TEST(text, ascii_runs) {
    const guard_page narrow_memory, wide_memory;
    const wchar_t ends[] = {L'\r', L'\n', 0x80, 0xFF, 0x100, 0x2061, 0x8061, 0xFF61, 0};
    for (std::ptrdiff_t n = 0; n <= 40; ++n)
        for (std::ptrdiff_t at = 0; at <= n; ++at)
            for (const wchar_t end : ends) {
                const auto count = static_cast<std::size_t>(n);
                auto* const bytes = narrow_memory.last<std::uint8_t>(count);
                auto* const units = wide_memory.last<wchar_t>(count);
                const auto plain = [](std::ptrdiff_t i) {
                    return static_cast<std::uint8_t>("\t az~\x7F\x01"[i % 7]);
                };
                if (end < 0x100) {
                    for (std::ptrdiff_t i = 0; i < n; ++i)
                        bytes[i] = i == at ? static_cast<std::uint8_t>(end) : plain(i);
                    const std::ptrdiff_t stop = end ? at : n; // a NUL is plain here
                    ASSERT_EQ(cl::widen_ascii_run(bytes, n, units), stop) << n << ' ' << int(end);
                    ASSERT_TRUE(std::equal(bytes, bytes + stop, units));
                    auto* const chars = reinterpret_cast<char*>(bytes);
                    ASSERT_EQ(cl::find_line_end(chars, chars + n) - chars,
                              end == '\r' || end == '\n' ? at : n);
                }
                for (std::ptrdiff_t i = 0; i < n; ++i)
                    units[i] = i == at ? end : plain(i);
                const std::ptrdiff_t stop = end == '\r' || end == '\n' ? n : at; // line ends are plain here
                ASSERT_EQ(cl::narrow_ascii_run(units, n, bytes), stop) << n << ' ' << int(end);
                ASSERT_TRUE(std::equal(bytes, bytes + stop, units));
            }
}

} // namespace
