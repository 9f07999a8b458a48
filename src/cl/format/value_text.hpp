// Texts of network addresses, hardware addresses, GUIDs and durations, as plain functions and, where a type
// tells what it is, as insertions into a narrow formatter. Any thread may call; nothing fails.
#pragma once

#include "cl/format/format.hpp"

#include <cstdint>
#include <string>

namespace cl {

// An IPv6 address in network order. IPv4 stands in it in mapped form (::ffff:a.b.c.d).
struct ip6_addr {
    std::uint8_t bytes[16];
};

// A hardware address.
struct mac_addr {
    std::uint8_t bytes[6];
};

// The usual 16-byte record.
struct guid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::uint8_t data4[8];
};

// The short form leaves out the longest run of zero groups, be it only one group; `full` shows all eight
// groups; `brackets` puts the text into []. A mapped IPv4 address is always a.b.c.d alone.
std::string address_text(const ip6_addr& a, bool brackets, bool full);

// Six bytes at `a`, in lower-case hexadecimal, separated by ':' or '-'.
std::string mac_text(const std::uint8_t* a, bool dashes);

// Lower case, without braces.
std::string guid_text(const guid& g);

// Units of duration_text. The highest bit wins; none means seconds.
inline constexpr std::uint32_t unit_seconds = 0;
inline constexpr std::uint32_t unit_milliseconds = 1;
inline constexpr std::uint32_t unit_microseconds = 2;
inline constexpr std::uint32_t unit_nanoseconds = 4;

// "h:mm:ss.fff": hours and minutes only where they are needed, as many decimals as the unit has.
std::string duration_text(std::uint64_t value, std::uint32_t unit);

// %? is the short form, %#? the one in brackets, %0? the full one.
void format_value(format_base<char>& f, const ip6_addr& a);
// %#? has dashes.
void format_value(format_base<char>& f, const mac_addr& a);
void format_value(format_base<char>& f, const guid& g);

} // namespace cl
