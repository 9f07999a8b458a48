#include "cl/format/json_tokens.hpp"
#include "cl/format/value_text.hpp"

#include <gtest/gtest.h>
#include <sstream>

TEST(value_text, addresses) {
    const struct {
        std::string full, plain;
    } rows[] = {
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7::"},
        {"0:2:3:4:5:6:7:8", "::2:3:4:5:6:7:8"},
        {"1:2:0:4:5:6:7:8", "1:2::4:5:6:7:8"},
        {"1:0:2:0:0:3:0:0", "1:0:2::3:0:0"},
        {"0:0:0:0:0:0:0:1", "::1"},
        {"1:0:0:0:0:0:0:2", "1::2"},
        {"0:0:0:0:0:0:0:0", "::"},
        {"1:2:3:4:5:6:7:8", "1:2:3:4:5:6:7:8"},
        {"0:0:0:0:0:ffff:102:3ff", "1.2.3.255"},
        {"0:0:0:0:0:fffe:102:304", "::fffe:102:304"},
        {"0:0:0:0:0:ff:102:304", "::ff:102:304"},
        {"100:0:0:0:0:ffff:102:304", "100::ffff:102:304"},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.plain);
        cl::ip6_addr a;
        std::istringstream groups(row.full);
        std::string group;
        for (std::uint8_t* to = a.bytes; std::getline(groups, group, ':'); to += 2) {
            to[0] = static_cast<std::uint8_t>(std::stoul(group, nullptr, 16) >> 8);
            to[1] = static_cast<std::uint8_t>(std::stoul(group, nullptr, 16));
        }
        const bool mapped = row.plain.find('.') != std::string::npos;
        const std::string full = mapped ? row.plain : row.full;
        const std::string bracketed = mapped ? row.plain : "[" + row.plain + "]";
        EXPECT_EQ(cl::address_text(a, false, false), row.plain);
        EXPECT_EQ(cl::address_text(a, true, false), bracketed);
        EXPECT_EQ(cl::address_text(a, false, true), full);
        EXPECT_EQ((cl::basic_format<char>("%?|%#?:%?|%0?|%40?|%.2?") << a << a << 80 << a << a << a).str(),
                  row.plain + "|" + bracketed + ":80|" + full + "|" +
                      std::string(40 - row.plain.size(), ' ') + row.plain + "|" + row.plain.substr(0, 2));
    }
}

TEST(value_text, other_values) {
    const cl::mac_addr mac{{0x00, 0x11, 0x2a, 0x33, 0x44, 0xff}};
    EXPECT_EQ(cl::mac_text(mac.bytes, false), "00:11:2a:33:44:ff");
    const cl::guid id{0xABC, 0x1, 0xF00D, {0xDE, 0xAD, 0, 1, 2, 3, 4, 0xEF}};
    EXPECT_EQ((cl::basic_format<char>("%? %#? {%?}") << mac << mac << id).str(),
              "00:11:2a:33:44:ff 00-11-2a-33-44-ff {00000abc-0001-f00d-dead-0001020304ef}");
    const struct {
        std::uint64_t value;
        std::uint32_t unit;
        const char* text;
    } durations[] = {
        {0, cl::unit_seconds, "0"},
        {60, cl::unit_seconds, "1:00"},
        {3599, cl::unit_seconds, "59:59"},
        {3600, cl::unit_seconds, "1:00:00"},
        {1500, cl::unit_milliseconds, "1.500"},
        {61'000'005, cl::unit_microseconds, "1:01.000005"},
        {7, cl::unit_nanoseconds, "0.000000007"},
        // The highest bit wins; bits without a meaning count for nothing.
        {1'000'000, cl::unit_milliseconds | cl::unit_microseconds, "1.000000"},
        {1'000'000'000, cl::unit_microseconds | cl::unit_nanoseconds, "1.000000000"},
        {9, 8, "9"},
        {UINT64_MAX, cl::unit_seconds, "5124095576030431:00:15"},
        {UINT64_MAX, cl::unit_nanoseconds, "5124095:34:33.709551615"},
    };
    for (const auto& row : durations)
        EXPECT_EQ(cl::duration_text(row.value, row.unit), row.text) << row.value << " in " << row.unit;

    cl::jctrl<'{', 5> open;
    const cl::jformatter& token = open;
    EXPECT_EQ(token.kind(), 5);
    EXPECT_EQ(token.render(true), "{");
    open.name = "a";
    EXPECT_EQ(token.render(true), "\"a\":{");
    EXPECT_EQ(token.render(false), "a = {");
}
