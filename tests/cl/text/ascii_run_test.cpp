#include "cl/text/ascii_run.hpp"
#include "guard_page.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

// Every length, with every kind of end at every place; source and target end at an inaccessible page.
TEST(ascii_run, lengths_and_ends) {
    const guard_page narrow_memory, wide_memory;
    const wchar_t ends[] = {L'\r', L'\n', 0x80, 0xFF, 0x100, 0x2061, 0x8061, 0xFF61, 0};
    for (std::ptrdiff_t n = 0; n <= 40; ++n)
        for (std::ptrdiff_t at = 0; at <= n; ++at)
            for (const wchar_t end : ends) {
                const auto count = static_cast<std::size_t>(n);
                auto* const bytes = narrow_memory.last<std::uint8_t>(count);
                auto* const units = wide_memory.last<wchar_t>(count);
                const auto text = [](std::ptrdiff_t i) {
                    return static_cast<std::uint8_t>("\t az~\x7F\x01"[i % 7]);
                };
                if (end < 0x100) {
                    for (std::ptrdiff_t i = 0; i < n; ++i)
                        bytes[i] = i == at ? static_cast<std::uint8_t>(end) : text(i);
                    const std::ptrdiff_t stop = end ? at : n; // a NUL is plain here
                    ASSERT_EQ(cl::widen_ascii_run(bytes, n, units), stop) << n << ' ' << int(end);
                    ASSERT_TRUE(std::equal(bytes, bytes + stop, units));
                    auto* const chars = reinterpret_cast<char*>(bytes);
                    ASSERT_EQ(cl::find_line_end(chars, chars + n) - chars,
                              end == '\r' || end == '\n' ? at : n);
                }
                for (std::ptrdiff_t i = 0; i < n; ++i)
                    units[i] = i == at ? end : text(i);
                const std::ptrdiff_t stop = end == '\r' || end == '\n' ? n : at; // line ends are plain here
                ASSERT_EQ(cl::narrow_ascii_run(units, n, bytes), stop) << n << ' ' << int(end);
                ASSERT_TRUE(std::equal(bytes, bytes + stop, units));
            }
}

} // namespace
