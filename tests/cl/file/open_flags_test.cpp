#include "cl/file/open_flags.hpp"

#include <gtest/gtest.h>

namespace {

// The words of Windows that each combination has to give, bit by bit.
TEST(open_flags, every_combination) {
    const std::uint32_t accesses[] = {0x80000000, 0x40000000, 0xC0000000};
    // By the bits 0x0100, 0x0200 and 0x0400, the lowest first.
    const std::uint32_t dispositions[] = {3, 4, 5, 2, 3, 1, 5, 1};
    for (std::uint32_t flags = 0; flags < 0x20000; ++flags) {
        cl::os::file_request request;
        const bool temporary = flags & 0x40;
        const bool fits = (flags & 3) != 3 && (!temporary || (flags & 0x100));
        ASSERT_EQ(cl::map_open_flags(flags, 32, request), fits) << std::hex << flags;
        if (!fits)
            continue;
        const std::uint32_t pattern = (flags & 0x20) || !(flags & 0x10) ? 0x08000000 : 0x10000000;
        ASSERT_EQ(request.access, accesses[flags & 3] | (temporary ? 0x10000u : 0u)) << std::hex << flags;
        ASSERT_EQ(static_cast<std::uint32_t>(request.disposition), dispositions[flags >> 8 & 7])
            << std::hex << flags;
        ASSERT_EQ(request.attributes, pattern | (temporary ? 0x04000000u : 0u) |
                                          (flags & 0x1000 ? 0x100u : 0u) |
                                          (flags & 0x10000 ? 0x80000000u : 0u))
            << std::hex << flags;
        ASSERT_EQ(request.inheritable, !(flags & 0x80)) << std::hex << flags;
    }
    for (std::uint32_t share = 0; share < 0x1000; ++share) {
        cl::os::file_request request;
        const std::uint32_t low = share & ~0x100u;
        const bool fits = low && low <= 64 && low % 16 == 0;
        ASSERT_EQ(cl::map_open_flags(0, share, request), fits) << share;
        ASSERT_TRUE(!fits || request.share == (low / 16 - 1) + (share >> 8 ? 4 : 0)) << share;
    }
}

} // namespace
