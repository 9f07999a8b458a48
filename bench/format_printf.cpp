#include "format_contestants.hpp"

#include <cinttypes>
#include <cstdio>

namespace {

using in = const format_inputs&;

void endpoint(char* buf, std::size_t size, in v) {
    const address_groups g(v.address);
    char* out = buf;
    const auto put = [&](const char* format, unsigned value) {
        out += std::snprintf(out, size - static_cast<std::size_t>(out - buf), format, value);
    };
    *out++ = '[';
    for (int i = 0; i < g.run_first; ++i)
        put("%x:", g.groups[i]);
    if (g.run_first == 0)
        *out++ = ':';
    for (int i = g.run_end; i < 8; ++i)
        put(":%x", g.groups[i]);
    if (g.run_end == 8)
        *out++ = ':';
    put("]:%u", v.port);
}

// The function as it stands, into a string: through a buffer on the stack.
template <format_contestant::to_buffer F>
std::string by_buffer(in v) {
    char buf[256];
    F(buf, sizeof buf, v);
    return buf;
}

void stamp(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "%02u%02u%02u-%03u ", v.hour, v.minute, v.second, v.millisecond);
}
void message(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "%s: error %d, ret=%d", v.program, v.error, v.ret);
}
void thousands(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "%u,%03u,%03u", v.thousands / 1'000'000, v.thousands / 1000 % 1000,
                  v.thousands % 1000);
}
void fixed_point(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "%u.%03u", v.scaled / 1000, v.scaled % 1000);
}
void hex(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "0x%08x", v.word);
}
void duration(char* b, std::size_t n, in v) {
    std::snprintf(b, n, "%" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ".%03" PRIu64, v.duration / 3'600'000,
                  v.duration / 60'000 % 60, v.duration / 1000 % 60, v.duration % 1000);
}

} // namespace

const format_contestant printf_contestant = {
    "snprintf",
    {stamp, message, thousands, fixed_point, hex, endpoint, duration},
    {by_buffer<stamp>, by_buffer<message>, by_buffer<thousands>, by_buffer<fixed_point>, by_buffer<hex>,
     by_buffer<endpoint>, by_buffer<duration>},
};
