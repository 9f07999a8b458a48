#include "cl/format/value_text.hpp"

#include "cl/format/digits.hpp"

#include <cstddef>

namespace cl {

namespace {

// "[xxxx:xxxx:xxxx:xxxx:xxxx:xxxx:xxxx:xxxx]" and its terminator.
constexpr std::size_t address_size = 42;
// "xx:xx:xx:xx:xx:xx" and its terminator.
constexpr std::size_t mac_size = 18;
// The most hours that 64 bits of seconds hold, ":mm:ss", nine decimals and the terminator, with room to
// spare.
constexpr std::size_t duration_size = 48;

struct zero_run {
    int first = 0;
    int count = 0;
};

// The longest run of zero groups, the first of equal ones. A single group counts: deliberate.
zero_run longest_zero_run(const std::uint16_t (&groups)[8]) {
    zero_run best;
    for (int i = 0; i < 8; ++i) {
        int n = 0;
        while (i + n < 8 && groups[i + n] == 0)
            ++n;
        if (n > best.count)
            best = {i, n};
        i += n;
    }
    return best;
}

bool is_mapped_ipv4(const ip6_addr& a) {
    for (int i = 0; i < 10; ++i)
        if (a.bytes[i] != 0)
            return false;
    return a.bytes[10] == 0xFF && a.bytes[11] == 0xFF;
}

// A group in hexadecimal, without zeros ahead.
char* write_group(char* out, std::uint16_t group) {
    out += detail::radix_length(group, 4);
    detail::write_radix(out, group, 4, detail::lower_digits);
    return out;
}

// Groups `first` to `last` - 1 with a colon between each two.
char* write_groups(char* out, const std::uint16_t (&groups)[8], int first, int last) {
    for (int i = first; i < last; ++i) {
        if (i != first)
            *out++ = ':';
        out = write_group(out, groups[i]);
    }
    return out;
}

// Writes the text of `a` into `buffer` and returns its length.
std::size_t write_address(char (&buffer)[address_size], const ip6_addr& a, bool brackets, bool full) {
    char* out = buffer;
    if (is_mapped_ipv4(a)) {
        basic_spformat<char>(&out, buffer + address_size, "%?.%?.%?.%?")
            << a.bytes[12] << a.bytes[13] << a.bytes[14] << a.bytes[15];
        return static_cast<std::size_t>(out - buffer);
    }
    std::uint16_t groups[8];
    for (std::size_t i = 0; i < 8; ++i)
        groups[i] = static_cast<std::uint16_t>(a.bytes[2 * i] << 8 | a.bytes[2 * i + 1]);
    if (brackets)
        *out++ = '[';
    const zero_run run = longest_zero_run(groups);
    if (full || run.count == 0) {
        out = write_groups(out, groups, 0, 8);
    } else {
        out = write_groups(out, groups, 0, run.first);
        *out++ = ':';
        *out++ = ':';
        out = write_groups(out, groups, run.first + run.count, 8);
    }
    if (brackets)
        *out++ = ']';
    return static_cast<std::size_t>(out - buffer);
}

std::size_t write_mac(char (&buffer)[mac_size], const std::uint8_t* a, bool dashes) {
    const char* format = dashes ? "%02x-%02x-%02x-%02x-%02x-%02x" : "%02x:%02x:%02x:%02x:%02x:%02x";
    basic_sformat<char>(buffer, mac_size, format) << a[0] << a[1] << a[2] << a[3] << a[4] << a[5];
    return mac_size - 1;
}

} // namespace

std::string address_text(const ip6_addr& a, bool brackets, bool full) {
    char buffer[address_size];
    return {buffer, write_address(buffer, a, brackets, full)};
}

std::string mac_text(const std::uint8_t* a, bool dashes) {
    char buffer[mac_size];
    return {buffer, write_mac(buffer, a, dashes)};
}

std::string guid_text(const guid& g) {
    return (basic_format<char>("%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x")
            << g.data1 << g.data2 << g.data3 << g.data4[0] << g.data4[1] << g.data4[2] << g.data4[3]
            << g.data4[4] << g.data4[5] << g.data4[6] << g.data4[7])
        .str();
}

std::string duration_text(std::uint64_t value, std::uint32_t unit) {
    int places = 0;
    std::uint64_t scale = 1;
    if (unit & unit_nanoseconds) {
        places = 9;
        scale = 1'000'000'000;
    } else if (unit & unit_microseconds) {
        places = 6;
        scale = 1'000'000;
    } else if (unit & unit_milliseconds) {
        places = 3;
        scale = 1000;
    }
    const std::uint64_t seconds = value / scale;
    const std::uint64_t fraction = value % scale;
    const std::uint64_t h = seconds / 3600;
    const std::uint64_t m = seconds / 60 % 60;
    const std::uint64_t s = seconds % 60;

    // By the largest unit that is needed, without and with decimals.
    static constexpr const char* formats[3][2] = {
        {"%?", "%?.%0*?"},
        {"%?:%02?", "%?:%02?.%0*?"},
        {"%?:%02?:%02?", "%?:%02?:%02?.%0*?"},
    };
    char buffer[duration_size];
    char* cursor = buffer;
    {
        basic_spformat<char> f(&cursor, buffer + duration_size,
                               formats[h != 0   ? 2
                                       : m != 0 ? 1
                                                : 0][places != 0]);
        if (h != 0)
            f << h;
        if (h != 0 || m != 0)
            f << m;
        f << s;
        if (places != 0)
            f << places << fraction;
    }
    return {buffer, cursor};
}

void format_value(format_base<char>& f, const ip6_addr& a) {
    char buffer[address_size];
    const std::size_t n = write_address(buffer, a, f.is_alt(), f.is_zero_filled());
    f.arg_text(buffer, n, true);
}

void format_value(format_base<char>& f, const mac_addr& a) {
    char buffer[mac_size];
    f.arg_text(buffer, write_mac(buffer, a.bytes, f.is_alt()), true);
}

void format_value(format_base<char>& f, const guid& g) {
    f << guid_text(g);
}

} // namespace cl
