// The format engine beside {fmt}, snprintf and std::ostringstream.
#include "allocations.hpp"
#include "bench_case.hpp"
#include "format_contestants.hpp"

#include <cstdio>
#include <cstring>

address_groups::address_groups(const cl::ip6_addr& a) {
    for (int i = 0; i < 8; ++i)
        groups[i] = static_cast<std::uint16_t>(a.bytes[2 * i] << 8 | a.bytes[2 * i + 1]);
    for (int i = 0; i < 8; ++i) {
        const int first = i;
        while (i < 8 && groups[i] == 0)
            ++i;
        if (i - first > run_end - run_first) {
            run_first = first;
            run_end = i;
        }
    }
}

namespace {

// One case is so short that a run is this many of them.
constexpr int repeats = 1000;

const char* const texts[] = {"235907-042 ", "connect: error 10061, ret=-1",  "1,234,567",  "12.345",
                             "0x0badcafe",  "[2001:db8::1:8a2e:7334]:49152", "1:01:05.123"};

// Every contestant gives the right text; the engine into a buffer without the heap, and into a string with
// one allocation where the text needs one.
bool check(const format_contestant& c, std::size_t i, const format_inputs& in) {
    const std::string want = texts[i];
    const std::size_t room = std::string().capacity();
    char buf[256];
    const std::size_t before = allocation_count();
    c.fixed[i](buf, sizeof buf, in);
    const std::size_t fixed = allocation_count() - before;
    const std::string text = c.string[i](in);
    const std::size_t grown = allocation_count() - before - fixed;
    if (buf != want || text != want) {
        std::fprintf(stderr, "%s, %s: '%s' and '%s'\n", c.name, format_case_names[i], buf, text.c_str());
        return false;
    }
    if (&c == &engine_contestant && (fixed != 0 || grown > (want.size() > room ? 1 : 0))) {
        std::fprintf(stderr, "%s, %s: %zu and %zu allocations\n", c.name, format_case_names[i], fixed, grown);
        return false;
    }
    return true;
}

// Every text of up to 256 characters costs the engine one allocation at most.
bool check_growth() {
    const std::string long_text(256, 'x');
    for (std::size_t n = 0; n <= long_text.size(); ++n) {
        const std::string_view part(long_text.data(), n);
        const std::size_t before = allocation_count();
        const std::string text = (cl::basic_format<char>("%?") << part).str();
        if (allocation_count() - before > 1 || text != part) {
            std::fprintf(stderr, "engine: %zu allocations for %zu characters\n", allocation_count() - before,
                         n);
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    static const format_inputs in = {
        23,
        59,
        7,
        42,
        "connect",
        10061,
        -1,
        1234567,
        12345,
        0xBADCAFE,
        {{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x8a, 0x2e, 0x73, 0x34}},
        49152,
        3'665'123};
    bool right = check_growth();
    std::vector<bench_case> cases;
    for (std::size_t i = 0; i < std::size(format_case_names); ++i)
        for (const format_contestant* c : {&engine_contestant, &fmt_contestant, &fmt_parts_contestant,
                                           &printf_contestant, &stream_contestant}) {
            right = check(*c, i, in) && right;
            const std::string name = format_case_names[i];
            cases.push_back({"fixed/" + std::string(c->name) + "/" + name, {}, [to_buffer = c->fixed[i]] {
                                 char buf[64];
                                 for (int n = 0; n < repeats; ++n)
                                     to_buffer(buf, sizeof buf, in);
                             }});
            cases.push_back({"string/" + std::string(c->name) + "/" + name, {}, [to_string = c->string[i]] {
                                 for (int n = 0; n < repeats; ++n)
                                     (void)to_string(in);
                             }});
        }
    return right ? run_bench(argc, argv, cases) : 1;
}
