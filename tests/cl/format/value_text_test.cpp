#include "cl/format/json_tokens.hpp"
#include "cl/format/value_text.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace {

cl::ip6_addr address(const std::uint16_t (&groups)[8]) {
    cl::ip6_addr a;
    for (int i = 0; i < 8; ++i) {
        a.bytes[2 * i] = static_cast<std::uint8_t>(groups[i] >> 8);
        a.bytes[2 * i + 1] = static_cast<std::uint8_t>(groups[i]);
    }
    return a;
}

} // namespace

TEST(value_text, addresses) {
    const struct {
        std::uint16_t groups[8];
        const char *plain, *bracketed, *full;
    } rows[] = {
        {{0x2001, 0xdb8, 0, 0, 1, 0, 0, 1},
         "2001:db8::1:0:0:1",
         "[2001:db8::1:0:0:1]",
         "2001:db8:0:0:1:0:0:1"},
        {{1, 2, 3, 4, 5, 6, 7, 0}, "1:2:3:4:5:6:7::", "[1:2:3:4:5:6:7::]", "1:2:3:4:5:6:7:0"},
        {{0, 2, 3, 4, 5, 6, 7, 8}, "::2:3:4:5:6:7:8", "[::2:3:4:5:6:7:8]", "0:2:3:4:5:6:7:8"},
        {{1, 2, 0, 4, 5, 6, 7, 8}, "1:2::4:5:6:7:8", "[1:2::4:5:6:7:8]", "1:2:0:4:5:6:7:8"},
        {{1, 0, 2, 0, 0, 3, 0, 0}, "1:0:2::3:0:0", "[1:0:2::3:0:0]", "1:0:2:0:0:3:0:0"},
        {{0, 0, 0, 0, 0, 0, 0, 1}, "::1", "[::1]", "0:0:0:0:0:0:0:1"},
        {{1, 0, 0, 0, 0, 0, 0, 0}, "1::", "[1::]", "1:0:0:0:0:0:0:0"},
        {{1, 0, 0, 0, 0, 0, 0, 2}, "1::2", "[1::2]", "1:0:0:0:0:0:0:2"},
        {{0, 0, 0, 0, 0, 0, 0, 0}, "::", "[::]", "0:0:0:0:0:0:0:0"},
        {{1, 2, 3, 4, 5, 6, 7, 8}, "1:2:3:4:5:6:7:8", "[1:2:3:4:5:6:7:8]", "1:2:3:4:5:6:7:8"},
        {{0, 0, 0, 0, 0, 0xffff, 0x0102, 0x03ff}, "1.2.3.255", "1.2.3.255", "1.2.3.255"},
        {{0, 0, 0, 0, 0, 0xfffe, 0x0102, 0x0304},
         "::fffe:102:304",
         "[::fffe:102:304]",
         "0:0:0:0:0:fffe:102:304"},
        {{0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff},
         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
         "[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]",
         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.plain);
        const cl::ip6_addr a = address(row.groups);
        EXPECT_EQ(cl::address_text(a, false, false), row.plain);
        EXPECT_EQ(cl::address_text(a, true, false), row.bracketed);
        EXPECT_EQ(cl::address_text(a, false, true), row.full);
        EXPECT_EQ((cl::basic_format<char>("%?|%#?|%0?") << a << a << a).str(),
                  std::string(row.plain) + "|" + row.bracketed + "|" + row.full);
    }
    const cl::ip6_addr loopback = address({0, 0, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(
        (cl::basic_format<char>("%#?:%?|%6?|%-6?|%.2?") << loopback << 80 << loopback << loopback << loopback)
            .str(),
        "[::1]:80|   ::1|::1   |::");
}

TEST(value_text, hardware_addresses_and_guids) {
    const cl::mac_addr mac{{0x00, 0x11, 0x2a, 0x33, 0x44, 0xff}};
    EXPECT_EQ(cl::mac_text(mac.bytes, false), "00:11:2a:33:44:ff");
    EXPECT_EQ(cl::mac_text(mac.bytes, true), "00-11-2a-33-44-ff");
    EXPECT_EQ((cl::basic_format<char>("%? %#?") << mac << mac).str(), "00:11:2a:33:44:ff 00-11-2a-33-44-ff");
    const cl::guid id{0xABC, 0x1, 0xF00D, {0xDE, 0xAD, 0, 1, 2, 3, 4, 0xEF}};
    EXPECT_EQ(cl::guid_text(id), "00000abc-0001-f00d-dead-0001020304ef");
    EXPECT_EQ((cl::basic_format<char>("{%?}") << id).str(), "{00000abc-0001-f00d-dead-0001020304ef}");
}

TEST(value_text, durations) {
    const struct {
        std::uint64_t value;
        std::uint32_t unit;
        const char* text;
    } rows[] = {
        {0, cl::unit_seconds, "0"},
        {5, cl::unit_seconds, "5"},
        {60, cl::unit_seconds, "1:00"},
        {65, cl::unit_seconds, "1:05"},
        {600, cl::unit_seconds, "10:00"},
        {3599, cl::unit_seconds, "59:59"},
        {3600, cl::unit_seconds, "1:00:00"},
        {3665, cl::unit_seconds, "1:01:05"},
        {1500, cl::unit_milliseconds, "1.500"},
        {61'000'005, cl::unit_microseconds, "1:01.000005"},
        {7, cl::unit_nanoseconds, "0.000000007"},
        // The highest bit wins; bits without a meaning count for nothing.
        {1'000'000, cl::unit_milliseconds | cl::unit_microseconds, "1.000000"},
        {1'000'000'000, cl::unit_microseconds | cl::unit_nanoseconds, "1.000000000"},
        {9, 8, "9"},
        {std::numeric_limits<std::uint64_t>::max(), cl::unit_seconds, "5124095576030431:00:15"},
        {std::numeric_limits<std::uint64_t>::max(), cl::unit_nanoseconds, "5124095:34:33.709551615"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(cl::duration_text(row.value, row.unit), row.text) << row.value << " in " << row.unit;
}

TEST(value_text, json_tokens) {
    cl::jctrl<'{', 5> open;
    const cl::jformatter& token = open;
    EXPECT_EQ(token.kind(), 5);
    EXPECT_EQ(token.render(true), "{");
    open.name = "a";
    EXPECT_EQ(token.render(true), "\"a\":{");
    EXPECT_EQ(token.render(false), "a = {");
}
