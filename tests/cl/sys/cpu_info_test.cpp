#include "cl/sys/cpu_info.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

using cl::cpu_registers;

struct processor {
    const char* name;
    std::uint32_t max_leaf, max_ext_leaf;
    const char* vendor; // 12 bytes
    const char* brand;  // up to 48 bytes
    cpu_registers leaf1, leaf7, ext_leaf1;
    // expected
    std::uint32_t vendor_kind;
    const char* brand_text;
    bool has_leaf1, has_leaf7, has_ext_leaf1;
} const* now = nullptr;

std::uint32_t word(const char* bytes) {
    std::uint32_t w = 0;
    for (int i = 4; i-- > 0;)
        w = w << 8 | static_cast<unsigned char>(bytes[i]);
    return w;
}

// A leaf that the processor lacks answers with garbage, as real ones do.
cpu_registers leaf(std::uint32_t number, std::uint32_t subleaf) {
    EXPECT_EQ(subleaf, 0u);
    char brand[49] = {};
    std::strncpy(brand, now->brand, 48);
    switch (number) {
    case 0:
        return {now->max_leaf, word(now->vendor), word(now->vendor + 8), word(now->vendor + 4)};
    case 1:
        return now->leaf1;
    case 7:
        return now->leaf7;
    case 0x80000000:
        return {now->max_ext_leaf, 9, 9, 9};
    case 0x80000001:
        return now->ext_leaf1;
    case 0x80000002:
    case 0x80000003:
    case 0x80000004: {
        const char* const part = brand + 16 * (number - 0x80000002);
        return {word(part), word(part + 4), word(part + 8), word(part + 12)};
    }
    default:
        ADD_FAILURE() << "leaf " << std::hex << number;
        return {};
    }
}

TEST(cpu_info, the_record_of_every_kind_of_processor) {
    constexpr cpu_registers one = {1, 2, 0x10, 4}, seven = {5, 6, 7, 0x40000000}, ext = {8, 9, 10, 11};
    constexpr cpu_registers none{};
    const processor rows[] = {
        {"desktop", 0x16, 0x80000008, "GenuineIntel", "Some(R) CPU @ 3.00GHz", one, seven, ext, 1,
         "Some(R) CPU @ 3.00GHz", true, true, true},
        {"odd blanks", 7, 0x80000004, "AuthenticAMD", "  A   B\t\n C  ", one, seven, ext, 2, "A B C ", true,
         true, true},
        {"blanks only", 1, 0x80000004, "GenuineIntel", "   \t ", one, seven, ext, 1, "", true, false, true},
        {"48 characters without a terminator", 6, 0x80000004, "GenuineIntel",
         "123456789 123456789 123456789 123456789 12345678", one, seven, ext, 1,
         "123456789 123456789 123456789 123456789 12345678", true, false, true},
        {"hypervisor without a brand", 13, 0x80000003, "KVMKVMKVM\0\0\0", "unread", one, seven, ext, 0, "",
         true, true, true},
        {"no extended leaves", 1, 0x80000000, "genuineintel", "unread", one, seven, ext, 0, "", true, false,
         false},
        {"garbage for the extended limit", 1, 0x00000404, "GenuineIntel", "unread", one, seven, ext, 1, "",
         true, false, false},
        {"nothing but leaf 0", 0, 0x80000001, "GenuineIntex", "unread", one, seven, ext, 0, "", false, false,
         true},
    };
    for (const processor& r : rows) {
        SCOPED_TRACE(r.name);
        now = &r;
        const cl::cpu_record cpu = cl::make_cpu_record(leaf);
        EXPECT_EQ(cpu.max_leaf, r.max_leaf);
        EXPECT_EQ(cpu.max_ext_leaf, r.max_ext_leaf);
        EXPECT_EQ(std::memcmp(cpu.vendor, r.vendor, 12), 0);
        EXPECT_EQ(cpu.vendor[12], 0);
        EXPECT_EQ(cpu.vendor_kind, r.vendor_kind);
        EXPECT_EQ(cpu.brand_text, r.brand_text);
        EXPECT_EQ(cpu.leaf1, r.has_leaf1 ? one : none);
        EXPECT_EQ(cpu.leaf7, r.has_leaf7 ? seven : none);
        EXPECT_EQ(cpu.ext_leaf1, r.has_ext_leaf1 ? ext : none);
        EXPECT_EQ(cpu.has_tsc(), r.has_leaf1) << "bit 4 of the third word";
        EXPECT_FALSE(cpu.has_rdrand()) << "bit 30 of the fourth word";
    }
}

TEST(cpu_info, this_machine) {
    cl::fill_cpu_info();
    EXPECT_GE(cl::cpu_info.max_leaf, 1u);
    EXPECT_EQ(std::strlen(cl::cpu_info.vendor), 12u);
    EXPECT_NE(cl::cpu_info.leaf1[0], 0u);
    EXPECT_LE(cl::cpu_info.brand_text.size(), 48u);
}

} // namespace
