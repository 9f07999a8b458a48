// {fmt} with format strings of the run time, twice: each text by the format that reads best, and by whatever
// parts and calls cost least. The engine is compared with the better of both.
#include "format_contestants.hpp"

#include <fmt/format.h>

namespace {

using in = const format_inputs&;

// Runs the same call into a fixed buffer and into a fresh string.
template <class... T>
void to_buffer(char* buf, std::size_t size, fmt::string_view format, const T&... v) {
    *fmt::vformat_to_n(buf, size - 1, format, fmt::make_format_args(v...)).out = 0;
}

template <class... T>
void to_end(char* buf, fmt::string_view format, const T&... v) {
    *fmt::vformat_to(buf, format, fmt::make_format_args(v...)) = 0;
}

template <class... T>
std::string to_string(fmt::string_view format, const T&... v) {
    return fmt::vformat(format, fmt::make_format_args(v...));
}

template <class... T>
std::string by_memory(fmt::string_view format, const T&... v) {
    fmt::memory_buffer out;
    fmt::vformat_to(std::back_inserter(out), format, fmt::make_format_args(v...));
    return fmt::to_string(out);
}

struct clock_parts {
    std::uint64_t h, m, s, ms;
    explicit clock_parts(std::uint64_t v)
        : h(v / 3'600'000), m(v / 60'000 % 60), s(v / 1000 % 60), ms(v % 1000) {}
};

struct joined {
    address_groups g;
    fmt::join_view<std::uint16_t*, std::uint16_t*> head, tail;
    explicit joined(const cl::ip6_addr& a)
        : g(a), head(fmt::join(g.groups, g.groups + g.run_first, ":")),
          tail(fmt::join(g.groups + g.run_end, g.groups + 8, ":")) {}
};

// Group by group.
char* endpoint(char* out, in v) {
    const address_groups g(v.address);
    *out++ = '[';
    for (int i = 0; i < g.run_first; ++i)
        out = fmt::vformat_to(out, "{:x}:", fmt::make_format_args(g.groups[i]));
    if (g.run_first == 0)
        *out++ = ':';
    for (int i = g.run_end; i < 8; ++i)
        out = fmt::vformat_to(out, ":{:x}", fmt::make_format_args(g.groups[i]));
    if (g.run_end == 8)
        *out++ = ':';
    out = fmt::vformat_to(out, "]:{}", fmt::make_format_args(v.port));
    *out = 0;
    return out;
}

} // namespace

const format_contestant fmt_contestant = {
    "fmt",
    {
        [](char* b, std::size_t n, in v) {
            to_buffer(b, n, "{:02}{:02}{:02}-{:03} ", v.hour, v.minute, v.second, v.millisecond);
        },
        [](char* b, std::size_t n, in v) {
            to_buffer(b, n, "{}: error {}, ret={}", v.program, v.error, v.ret);
        },
        [](char* b, std::size_t n, in v) { to_buffer(b, n, "{}", fmt::group_digits(v.thousands)); },
        [](char* b, std::size_t n, in v) { to_buffer(b, n, "{:.3f}", v.scaled / 1000.0); },
        [](char* b, std::size_t n, in v) { to_buffer(b, n, "{:#010x}", v.word); },
        [](char* b, std::size_t n, in v) {
            const joined j(v.address);
            to_buffer(b, n, "[{:x}::{:x}]:{}", j.head, j.tail, v.port);
        },
        [](char* b, std::size_t n, in v) {
            const clock_parts c(v.duration);
            to_buffer(b, n, "{}:{:02}:{:02}.{:03}", c.h, c.m, c.s, c.ms);
        },
    },
    {
        [](in v) { return to_string("{:02}{:02}{:02}-{:03} ", v.hour, v.minute, v.second, v.millisecond); },
        [](in v) { return to_string("{}: error {}, ret={}", v.program, v.error, v.ret); },
        [](in v) { return to_string("{}", fmt::group_digits(v.thousands)); },
        [](in v) { return to_string("{:.3f}", v.scaled / 1000.0); },
        [](in v) { return to_string("{:#010x}", v.word); },
        [](in v) {
            const joined j(v.address);
            return to_string("[{:x}::{:x}]:{}", j.head, j.tail, v.port);
        },
        [](in v) {
            const clock_parts c(v.duration);
            return to_string("{}:{:02}:{:02}.{:03}", c.h, c.m, c.s, c.ms);
        },
    },
};

const format_contestant fmt_parts_contestant = {
    "fmt_parts",
    {
        [](char* b, std::size_t, in v) {
            to_end(b, "{:02}{:02}{:02}-{:03} ", v.hour, v.minute, v.second, v.millisecond);
        },
        [](char* b, std::size_t, in v) { to_end(b, "{}: error {}, ret={}", v.program, v.error, v.ret); },
        [](char* b, std::size_t, in v) {
            to_end(b, "{},{:03},{:03}", v.thousands / 1'000'000, v.thousands / 1000 % 1000,
                   v.thousands % 1000);
        },
        [](char* b, std::size_t, in v) { to_end(b, "{}.{:03}", v.scaled / 1000, v.scaled % 1000); },
        [](char* b, std::size_t, in v) { to_end(b, "0x{:08x}", v.word); },
        [](char* b, std::size_t, in v) { endpoint(b, v); },
        [](char* b, std::size_t, in v) {
            const clock_parts c(v.duration);
            to_end(b, "{}:{:02}:{:02}.{:03}", c.h, c.m, c.s, c.ms);
        },
    },
    {
        [](in v) { return by_memory("{:02}{:02}{:02}-{:03} ", v.hour, v.minute, v.second, v.millisecond); },
        [](in v) { return by_memory("{}: error {}, ret={}", v.program, v.error, v.ret); },
        [](in v) {
            return to_string("{},{:03},{:03}", v.thousands / 1'000'000, v.thousands / 1000 % 1000,
                             v.thousands % 1000);
        },
        [](in v) { return to_string("{}.{:03}", v.scaled / 1000, v.scaled % 1000); },
        [](in v) { return to_string("0x{:08x}", v.word); },
        [](in v) {
            char b[64];
            return std::string(b, endpoint(b, v));
        },
        [](in v) {
            const clock_parts c(v.duration);
            return by_memory("{}:{:02}:{:02}.{:03}", c.h, c.m, c.s, c.ms);
        },
    },
};
