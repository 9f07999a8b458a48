#include "cl/file/open_flags.hpp"

#include <gtest/gtest.h>
#include <map>

namespace {

// The words of Windows that each combination has to give, bit by bit.
TEST(open_flags, every_combination) {
    const std::uint32_t accesses[] = {0x80000000, 0x40000000, 0xC0000000};
    // By the bits 0x0100, 0x0200 and 0x0400, the lowest first.
    const std::uint32_t dispositions[] = {3, 4, 5, 2, 3, 1, 5, 1};
    const std::map<std::uint32_t, std::uint32_t> shares = {{16, 0},         {32, 1},         {48, 2},
                                                           {64, 3},         {16 + 0x100, 4}, {32 + 0x100, 5},
                                                           {48 + 0x100, 6}, {64 + 0x100, 7}};
    int accepted = 0;
    for (std::uint32_t flags = 0; flags < 0x20000; ++flags) {
        cl::os::file_request request;
        const bool taken = cl::map_open_flags(flags, 32, request);
        const bool temporary = flags & 0x40;
        ASSERT_EQ(taken, (flags & 3) != 3 && (!temporary || (flags & 0x100))) << std::hex << flags;
        if (!taken)
            continue;
        ++accepted;
        ASSERT_EQ(request.access, accesses[flags & 3] | (temporary ? 0x10000u : 0u)) << std::hex << flags;
        ASSERT_EQ(static_cast<std::uint32_t>(request.disposition), dispositions[flags >> 8 & 7])
            << std::hex << flags;
        const std::uint32_t pattern = (flags & 0x20) || !(flags & 0x10) ? 0x08000000 : 0x10000000;
        ASSERT_EQ(request.attributes, pattern | (temporary ? 0x04000000u : 0u) |
                                          (flags & 0x1000 ? 0x100u : 0u) |
                                          (flags & 0x10000 ? 0x80000000u : 0u))
            << std::hex << flags;
        ASSERT_EQ(request.inheritable, !(flags & 0x80)) << std::hex << flags;
        ASSERT_EQ(request.share, 1u);
    }
    EXPECT_EQ(accepted, 0x20000 * 3 / 4 * 3 / 4);
    for (std::uint32_t share = 0; share < 0x1000; ++share) {
        cl::os::file_request request;
        const auto known = shares.find(share);
        ASSERT_EQ(cl::map_open_flags(0, share, request), known != shares.end()) << share;
        if (known != shares.end()) {
            EXPECT_EQ(request.share, known->second);
        }
    }
}

} // namespace
