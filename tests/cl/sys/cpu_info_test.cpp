#include "cl/sys/cpu_info.hpp"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using cl::cpu_registers;

struct processor {
    const char* name;
    std::uint32_t max_leaf, max_ext_leaf;
    const char* vendor; // 12 bytes
    const char* brand;  // up to 48 bytes
    // expected
    std::uint32_t vendor_kind;
    const char* brand_text;
    bool has_leaf1, has_leaf7, has_ext_leaf1;
} const* now = nullptr;

constexpr cpu_registers one = {1, 2, 0x10, 4}, seven = {5, 6, 7, 0x40000000}, ext = {8, 9, 10, 11}, none{};

// A leaf that the processor lacks answers with garbage, as real ones do.
cpu_registers leaf(std::uint32_t number, std::uint32_t subleaf) {
    EXPECT_EQ(subleaf, 0u);
    char brand[49] = {};
    std::strncpy(brand, now->brand, 48);
    cpu_registers r{now->max_leaf};
    if (number == 0) {
        std::memcpy(&r[1], now->vendor, 4);
        std::memcpy(&r[3], now->vendor + 4, 4);
        std::memcpy(&r[2], now->vendor + 8, 4);
        return r;
    }
    if (number >= 0x80000002 && number <= 0x80000004) {
        std::memcpy(r.data(), brand + 16 * (number - 0x80000002), 16);
        return r;
    }
    EXPECT_TRUE(number == 1 || number == 7 || number >> 1 == 0x40000000) << std::hex << number;
    return number == 1            ? one
           : number == 7          ? seven
           : number == 0x80000001 ? ext
                                  : cpu_registers{now->max_ext_leaf, 9, 9, 9};
}

TEST(cpu_info, the_record_of_every_kind_of_processor) {
    const processor rows[] = {
        {"odd blanks", 7, 0x80000004, "AuthenticAMD", "  A   B\t\n C  ", 2, "A B C ", true, true, true},
        {"blanks only", 6, 0x80000008, "GenuineIntel", "   \t ", 1, "", true, false, true},
        {"48 characters without a terminator", 0x16, 0x80000004, "GenuineIntel",
         "123456789 123456789 123456789 123456789 12345678", 1,
         "123456789 123456789 123456789 123456789 12345678", true, true, true},
        {"hypervisor without a brand", 13, 0x80000003, "KVMKVMKVM\0\0\0", "unread", 0, "", true, true, true},
        {"no extended leaves", 1, 0x80000000, "genuineintel", "unread", 0, "", true, false, false},
        {"garbage for the extended limit", 1, 0x404, "GenuineIntel", "unread", 1, "", true, false, false},
        {"nothing but leaf 0", 0, 0x80000001, "GenuineIntex", "unread", 0, "", false, false, true},
    };
    for (const processor& r : rows) {
        SCOPED_TRACE(r.name);
        now = &r;
        const cl::cpu_record cpu = cl::make_cpu_record(leaf);
        EXPECT_EQ(cpu.max_leaf, r.max_leaf);
        EXPECT_EQ(cpu.max_ext_leaf, r.max_ext_leaf);
        EXPECT_EQ(std::memcmp(cpu.vendor, r.vendor, 12) + cpu.vendor[12], 0);
        EXPECT_EQ(cpu.vendor_kind, r.vendor_kind);
        EXPECT_EQ(cpu.brand_text, r.brand_text);
        EXPECT_EQ(cpu.leaf1, r.has_leaf1 ? one : none);
        EXPECT_EQ(cpu.leaf7, r.has_leaf7 ? seven : none);
        EXPECT_EQ(cpu.ext_leaf1, r.has_ext_leaf1 ? ext : none);
        EXPECT_EQ(cpu.has_tsc(), r.has_leaf1) << "bit 4 of the third word";
        EXPECT_FALSE(cpu.has_rdrand()) << "bit 30 of the fourth word";
    }
    cl::fill_cpu_info();
    EXPECT_NE(cl::cpu_info.leaf1[0], 0u);
}

} // namespace
