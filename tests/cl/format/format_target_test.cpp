// What the targets see: truncation, memory that ends at an inaccessible page, and slots that are overridden.
#include "cl/format/format.hpp"
#include "cl/format/value_text.hpp"
#include "guard_page.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace {

using narrow = cl::format_base<char>;

struct sample {
    const char* format;
    void (*insert)(narrow& f);
};

const sample samples[] = {
    {"literal text and nothing else", [](narrow&) {}},
    {"%?: error %?, ret=%?\n", [](narrow& f) { f << "open" << 12345 << -7; }},
    {"%02?%02?%02?-%03? ", [](narrow& f) { f << 1 << 22 << 3 << 999; }},
    {"%'?|%,.3?|%#010x|%.20?", [](narrow& f) { f << 1234567 << 12345 << 255 << 7; }},
    {"%-9?|%9?|%-9?|",
     [](narrow& f) {
         f << 7 << "text"
           << "text";
     }},
    {"%#?:%?",
     [](narrow& f) {
         f << cl::ip6_addr{{0x20, 1, 13}} << 80;
     }},
    {"%?%?lost%?", [](narrow& f) { f << L"wide"; }},
};

// Runs `write` on every buffer of up to 48 characters ahead of the inaccessible page.
void check_truncation(const std::string& whole,
                      const std::function<void(char* buf, std::size_t size)>& write) {
    const guard_page memory;
    for (std::size_t size = 0; size <= 48; ++size) {
        SCOPED_TRACE(size);
        char* const buf = memory.last<char>(size);
        std::memset(buf - 1, 0x55, size + 1);
        write(buf, size);
        EXPECT_EQ(buf[-1], 0x55);
        if (size == 0)
            continue;
        const std::string want = whole.substr(0, size - 1);
        ASSERT_EQ(std::string(buf, want.size()), want);
        EXPECT_EQ(buf[want.size()], 0);
        for (std::size_t i = want.size() + 1; i < size; ++i)
            ASSERT_EQ(buf[i], 0x55) << "touched behind the terminator, at " << i;
    }
}

} // namespace

TEST(format_target, fixed_buffers_truncate_at_every_size) {
    for (const sample& s : samples) {
        SCOPED_TRACE(s.format);
        cl::basic_format<char> unbounded(s.format);
        s.insert(unbounded);
        const std::string whole = unbounded.str();
        check_truncation(whole, [&s](char* buf, std::size_t size) {
            cl::basic_sformat<char> f(buf, size, s.format);
            s.insert(f);
            EXPECT_EQ(f.result(), "");
        });
        check_truncation(whole + whole, [&s, &whole](char* buf, std::size_t size) {
            char* cursor = buf;
            for (const std::size_t times : {1u, 2u}) {
                {
                    cl::basic_spformat<char> f(&cursor, buf + size, s.format);
                    s.insert(f);
                    EXPECT_EQ(f.result(), "");
                }
                EXPECT_EQ(cursor - buf, size == 0 ? 0 : std::min(size - 1, times * whole.size()));
            }
        });
    }
}

TEST(format_target, reads_no_further_than_formats_and_texts_reach) {
    const guard_page memory;
    const std::string nasty = "%?%% % #'+,-0*.*~*I64?%I6%hl%5.12~3ll%";
    for (std::size_t n = 0; n <= nasty.size(); ++n) {
        char* const format = memory.last<char>(n + 1);
        std::memcpy(format, nasty.c_str(), n);
        format[n] = 0;
        cl::basic_format<char>(format).finish();
        const std::string text =
            (cl::basic_format<char>(format) << 1 << 2 << "3" << 4 << 5 << 6 << 7 << 8).str();
        EXPECT_NE(text.find('8'), std::string::npos);
    }
    for (const std::size_t n : {0u, 1u, 3u, 100u}) {
        const char* const text = std::strncpy(memory.last<char>(n), "abcdefgh", n);
        const std::string want(text, n);
        const auto size = static_cast<int>(n);
        EXPECT_EQ((cl::basic_format<char>("%.*?%?") << size << text << std::string_view(text, n)).str(),
                  std::string(want.c_str()) + want);
    }
    wchar_t* const wide = memory.last<wchar_t>(2);
    wide[0] = wide[1] = L'w';
    EXPECT_EQ((cl::basic_format<char>("%.2?") << wide).str(), "ww");
    EXPECT_EQ((cl::basic_format<wchar_t>(L"%.2?") << wide).str(), L"ww");
}

TEST(format_target, strings_grow) {
    const std::string word(100, 'w');
    std::string want, text;
    for (int i = 0; i < 40; ++i)
        want += std::to_string(i) + word + "-" + std::string(static_cast<std::size_t>(i), ' ') + "7";
    cl::basic_strformat<char> s(text);
    std::string format;
    for (int i = 0; i < 40; ++i)
        format += "%?%?-%*?";
    cl::basic_format<char> f(format.c_str());
    for (int i = 0; i < 40; ++i) {
        f << i << word << i + 1 << 7;
        s.set_format("%?%?-%*?");
        s << i << word << i + 1 << 7;
        ASSERT_EQ(text.size(), f.result().size());
    }
    EXPECT_EQ(text, want);
    EXPECT_EQ(f.result(), want);
    EXPECT_EQ(f.str(), want);
}

namespace {

// A target of its own, which notes each call of a slot.
class recorder : public narrow {
public:
    explicit recorder(const char* format) { scan_format(format); }
    void put_fill(char c, int count) override { calls.push_back(std::to_string(count) + c); }
    void put_text(const char* text, std::size_t n) override { calls.push_back("'" + std::string(text, n)); }
    std::string result() const override { return "recorded"; }
    std::vector<std::string> calls;
};

template <class Base>
struct with_fill : Base {
    using Base::Base;
    void put_fill(char c, int count) override { Base::put_fill(c == 'a' ? 'A' : c, count); }
};
template <class Base>
struct with_text : Base {
    using Base::Base;
    void put_text(const char* text, std::size_t n) override {
        Base::put_text(("<" + std::string(text, n) + ">").c_str(), n + 2);
    }
};
template <class Base>
struct with_result : Base {
    using Base::Base;
    std::string result() const override { return "own"; }
};

// One slot overridden in each of the shipped classes. The text ahead of the first directive is out before the
// derived class exists.
template <template <class> class With>
void check_overridden(const char* want, bool own_result) {
    const char* const format = "a%?a-%4?a%-2?a%?";
    char buf[64];
    char* cursor = buf;
    std::string text;
    const auto use = [own_result](auto&& f, const char* result) {
        f << 42 << "t" << 7;
        EXPECT_EQ(f.str(), own_result ? "own" : result);
    };
    use(With<cl::basic_format<char>>(format), want);
    use(With<cl::basic_sformat<char>>(buf, sizeof buf, format), "");
    EXPECT_STREQ(buf, want);
    use(With<cl::basic_spformat<char>>(&cursor, buf + sizeof buf, format), "");
    EXPECT_EQ(std::string(buf, cursor), want);
    use(With<cl::basic_strformat<char>>(text, format), "");
    EXPECT_EQ(text, want);
}

} // namespace

TEST(format_target, calls_its_slots_in_order) {
    recorder f("ab%?c%%%#010.3?%-6d");
    EXPECT_EQ(f.calls, (std::vector<std::string>{"1a", "1b"}));
    f.calls.clear();
    f << "" << 7 << -5;
    EXPECT_EQ(f.calls, (std::vector<std::string>{"1c", "1%", "7 ", "20", "'7", "'-", "'5", "4 "}));
    EXPECT_EQ(f.str(), "recorded");
}

TEST(format_target, an_overridden_slot_sees_everything) {
    check_overridden<with_fill>("a42A-   tA7 A", false);
    check_overridden<with_text>("a<42>a-   <t>a<7> a", false);
    check_overridden<with_result>("a42a-   ta7 a", true);
}
