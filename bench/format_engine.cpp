#include "format_contestants.hpp"

namespace {

using in = const format_inputs&;
using fixed = cl::basic_sformat<char>;
using grown = cl::basic_format<char>;

} // namespace

const format_contestant engine_contestant = {
    "engine",
    {
        [](char* buf, std::size_t size, in v) {
            fixed(buf, size, "%02?%02?%02?-%03? ") << v.hour << v.minute << v.second << v.millisecond;
        },
        [](char* buf, std::size_t size, in v) {
            fixed(buf, size, "%?: error %?, ret=%?") << v.program << v.error << v.ret;
        },
        [](char* buf, std::size_t size, in v) { fixed(buf, size, "%'?") << v.thousands; },
        [](char* buf, std::size_t size, in v) { fixed(buf, size, "%,.3?") << v.scaled; },
        [](char* buf, std::size_t size, in v) { fixed(buf, size, "0x%08x") << v.word; },
        [](char* buf, std::size_t size, in v) { fixed(buf, size, "%#?:%?") << v.address << v.port; },
        [](char* buf, std::size_t size, in v) {
            const std::uint64_t s = v.duration / 1000;
            fixed(buf, size, "%?:%02?:%02?.%03?") << s / 3600 << s / 60 % 60 << s % 60 << v.duration % 1000;
        },
    },
    {
        [](in v) {
            return (grown("%02?%02?%02?-%03? ") << v.hour << v.minute << v.second << v.millisecond).str();
        },
        [](in v) { return (grown("%?: error %?, ret=%?") << v.program << v.error << v.ret).str(); },
        [](in v) { return (grown("%'?") << v.thousands).str(); },
        [](in v) { return (grown("%,.3?") << v.scaled).str(); },
        [](in v) { return (grown("0x%08x") << v.word).str(); },
        [](in v) { return (grown("%#?:%?") << v.address << v.port).str(); },
        [](in v) { return cl::duration_text(v.duration, cl::unit_milliseconds); },
    },
};
