#include "format_contestants.hpp"

#include <cstring>
#include <iomanip>
#include <sstream>

namespace {

using in = const format_inputs&;

template <format_contestant::to_string F>
void by_string(char* buf, std::size_t size, in v) {
    const std::string s = F(v);
    std::memcpy(buf, s.c_str(), std::min(size, s.size() + 1));
}

std::string stamp(in v) {
    std::ostringstream s;
    s << std::setfill('0') << std::setw(2) << v.hour << std::setw(2) << v.minute << std::setw(2) << v.second
      << '-' << std::setw(3) << v.millisecond << ' ';
    return std::move(s).str();
}
std::string message(in v) {
    std::ostringstream s;
    s << v.program << ": error " << v.error << ", ret=" << v.ret;
    return std::move(s).str();
}
std::string thousands(in v) {
    std::ostringstream s;
    s << v.thousands / 1'000'000 << ',' << std::setfill('0') << std::setw(3) << v.thousands / 1000 % 1000
      << ',' << std::setw(3) << v.thousands % 1000;
    return std::move(s).str();
}
std::string fixed_point(in v) {
    std::ostringstream s;
    s << v.scaled / 1000 << '.' << std::setfill('0') << std::setw(3) << v.scaled % 1000;
    return std::move(s).str();
}
std::string hex(in v) {
    std::ostringstream s;
    s << "0x" << std::hex << std::setfill('0') << std::setw(8) << v.word;
    return std::move(s).str();
}
std::string endpoint(in v) {
    const address_groups g(v.address);
    std::ostringstream s;
    s << '[' << std::hex;
    for (int i = 0; i < g.run_first; ++i)
        s << g.groups[i] << ':';
    if (g.run_first == 0)
        s << ':';
    for (int i = g.run_end; i < 8; ++i)
        s << ':' << g.groups[i];
    if (g.run_end == 8)
        s << ':';
    s << "]:" << std::dec << v.port;
    return std::move(s).str();
}
std::string duration(in v) {
    std::ostringstream s;
    s << v.duration / 3'600'000 << ':' << std::setfill('0') << std::setw(2) << v.duration / 60'000 % 60 << ':'
      << std::setw(2) << v.duration / 1000 % 60 << '.' << std::setw(3) << v.duration % 1000;
    return std::move(s).str();
}

} // namespace

const format_contestant stream_contestant = {
    "ostringstream",
    {by_string<stamp>, by_string<message>, by_string<thousands>, by_string<fixed_point>, by_string<hex>,
     by_string<endpoint>, by_string<duration>},
    {stamp, message, thousands, fixed_point, hex, endpoint, duration},
};
