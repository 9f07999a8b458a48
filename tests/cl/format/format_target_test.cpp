// What the targets see: truncation, memory that ends at an inaccessible page, and slots that are overridden.
#include "cl/format/format.hpp"
#include "guard_page.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

using narrow = cl::format_base<char>;

// Every way of the engine into a target.
constexpr const char* format = "a%-4?%4?%05?%'?|%,.3?%#07x%.9?%#-5xlost%?";

template <class Format>
void insert(Format&& f) {
    f << 7 << "t" << -1 << 1234 << 12345 << 255 << 7 << 8;
    EXPECT_EQ(f.result(), "");
}

TEST(format_target, fixed_buffers_truncate_at_every_size) {
    const std::string text = "a7      t-00011,234|12.3450x000ff0000000070x8  lost";
    const guard_page memory;
    for (const std::size_t times : {1u, 2u})
        for (std::size_t size = 0; size <= 110; ++size) {
            SCOPED_TRACE(size);
            const std::string want = (times == 1 ? text : text + text).substr(0, size ? size - 1 : 0);
            char* const buf = memory.last<char>(size);
            std::memset(buf - 1, 0x55, size + 1);
            char* cursor = buf;
            if (times == 1)
                insert(cl::basic_sformat<char>(buf, size, format));
            else
                for (std::size_t i = 0; i < times; ++i)
                    insert(cl::basic_spformat<char>(&cursor, buf + size, format));
            EXPECT_EQ(cursor - buf, times == 1 ? 0 : std::ssize(want));
            // The text, its terminator, and nothing touched on either side.
            std::string all = "\x55" + want + (size ? std::string(1, '\0') : "");
            all.resize(size + 1, '\x55');
            EXPECT_EQ(std::string(buf - 1, size + 1), all);
        }
    std::string grown, whole;
    for (int i = 0; i < 20; ++i) {
        insert(cl::basic_strformat<char>(grown, format));
        EXPECT_EQ(grown, whole += text);
    }
    const std::string long_text(300, 'w');
    EXPECT_EQ((cl::basic_format<char>("%?%?%200?|%-200?") << 7 << long_text << 8 << 9).str(),
              "7" + long_text + std::string(199, ' ') + "8|9" + std::string(199, ' '));
}

TEST(format_target, reads_no_further_than_formats_and_texts_reach) {
    const guard_page memory;
    const std::string nasty = "%?%% % #'+,-0*.*~*I64?%I6%hl%5.12~3ll%";
    for (std::size_t n = 0; n <= nasty.size(); ++n) {
        const char* const start = std::strcpy(memory.last<char>(n + 1), nasty.substr(0, n).c_str());
        cl::basic_format<char>(start).finish();
        EXPECT_NE((cl::basic_format<char>(start) << 1 << 2 << "3" << 4 << 5 << 6 << 8).str().find('8'),
                  std::string::npos);
    }
    const char* const text = static_cast<const char*>(std::memcpy(memory.last<char>(3), "abc", 3));
    EXPECT_EQ((cl::basic_format<char>("%.*?%?") << 3 << text << std::string_view(text, 3)).str(), "abcabc");
    wchar_t* const wide = memory.last<wchar_t>(2);
    wide[0] = wide[1] = L'w';
    EXPECT_EQ((cl::basic_format<char>("%.2?") << wide).str(), "ww");
    EXPECT_EQ((cl::basic_format<wchar_t>(L"%.2?") << wide).str(), L"ww");
}

// A target of its own, which notes each call of a slot.
struct recorder : narrow {
    explicit recorder(const char* text) { scan_format(text); }
    void put_fill(char c, int count) override { calls.push_back(std::to_string(count) + c); }
    void put_text(const char* text, std::size_t n) override { calls.push_back("'" + std::string(text, n)); }
    std::string result() const override { return "recorded"; }
    std::vector<std::string> calls;
};

// The text ahead of the first directive is out before the derived class exists.
template <class Base>
struct overridden : Base {
    using Base::Base;
    void put_fill(char c, int count) override { Base::put_fill(c == 'a' ? 'A' : c, count); }
    void put_text(const char* text, std::size_t n) override {
        Base::put_text(("<" + std::string(text, n) + ">").c_str(), n + 2);
    }
    std::string result() const override { return "own " + Base::result(); }
};

TEST(format_target, slots_see_everything_in_order) {
    recorder f("ab%?c%%%#010.3?%-6d");
    f << "" << 7 << -5;
    EXPECT_EQ(f.calls,
              (std::vector<std::string>{"1a", "1b", "1c", "1%", "7 ", "20", "'7", "'-", "'5", "4 "}));
    EXPECT_EQ(f.str(), "recorded");

    const std::string want = "a<42>A-   <t>A<7> A";
    char buf[64];
    char* cursor = buf;
    std::string text;
    const auto use = [](auto&& target, const std::string& result) {
        target << 42 << "t" << 7;
        EXPECT_EQ(target.str(), "own " + result);
    };
    use(overridden<cl::basic_format<char>>("a%?a-%4?a%-2?a%?"), want);
    use(overridden<cl::basic_sformat<char>>(buf, sizeof buf, "a%?a-%4?a%-2?a%?"), "");
    EXPECT_EQ(buf, want);
    use(overridden<cl::basic_spformat<char>>(&cursor, buf + sizeof buf, "a%?a-%4?a%-2?a%?"), "");
    EXPECT_EQ(std::string(buf, cursor), want);
    use(overridden<cl::basic_strformat<char>>(text, "a%?a-%4?a%-2?a%?"), "");
    EXPECT_EQ(text, want);
}

} // namespace
