// Who is measured at formatting, and on what. Every contestant produces the same texts, into a fixed buffer
// with a terminating zero and into a fresh string.
#pragma once

#include "cl/format/value_text.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

struct format_inputs {
    unsigned hour, minute, second, millisecond;
    const char* program;
    int error;
    int ret;
    std::uint32_t thousands;
    std::uint32_t scaled; // thousandths
    std::uint32_t word;
    cl::ip6_addr address;
    std::uint16_t port;
    std::uint64_t duration; // milliseconds, more than an hour
};

struct format_contestant {
    using to_buffer = void (*)(char* buf, std::size_t size, const format_inputs& in);
    using to_string = std::string (*)(const format_inputs& in);

    const char* name;
    // In the order of format_case_names.
    std::array<to_buffer, 7> fixed;
    std::array<to_string, 7> string;
};

inline constexpr const char* format_case_names[] = {"stamp", "message",  "thousands", "fixed_point",
                                                    "hex",   "endpoint", "duration"};

// The groups of an address in the form of its shortest text: those ahead of the run of zeros and those
// behind. What every contestant but the engine itself is given for nothing but the search.
struct address_groups {
    explicit address_groups(const cl::ip6_addr& a);
    std::uint16_t groups[8];
    int run_first = 0, run_end = 0;
};

extern const format_contestant engine_contestant;
extern const format_contestant fmt_contestant;
extern const format_contestant fmt_parts_contestant;
extern const format_contestant printf_contestant;
extern const format_contestant stream_contestant;
