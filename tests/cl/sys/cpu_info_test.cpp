#include "cl/sys/cpu_info.hpp"
#include "rows.hpp"

#include <cstring>

namespace {

using cl::cpu_registers;

constexpr cpu_registers one = {1, 2, 0x10, 4}, seven = {5, 6, 7, 0x40000000}, ext = {8, 9, 10, 11}, none{};
std::string text; // the vendor in the order of its registers, then the brand in 48 bytes
std::uint32_t max_leaf, max_ext_leaf;

// A leaf that the processor lacks answers with garbage, as real ones do.
cpu_registers leaf(std::uint32_t number, std::uint32_t subleaf) {
    EXPECT_EQ(subleaf, 0u);
    cpu_registers r{max_leaf};
    if (number == 0)
        std::memcpy(&r[1], text.data(), 12);
    else if (number >= 0x80000002 && number <= 0x80000004)
        std::memcpy(r.data(), text.data() + 12 + 16 * (number - 0x80000002), 16);
    else
        r = number == 1            ? one
            : number == 7          ? seven
            : number == 0x80000001 ? ext
                                   : cpu_registers{max_ext_leaf, 9, 9, 9};
    return r;
}

TEST(cpu_info, the_record_of_every_kind_of_processor) {
    for_rows("processors.tsv", [](const row& r) {
        const std::string vendor = r.text("vendor"), leaves = r.text("leaves");
        text = vendor.substr(0, 4) + vendor.substr(8) + vendor.substr(4, 4) + r.text("brand");
        text.resize(12 + 48);
        max_leaf = static_cast<std::uint32_t>(r.number("max_leaf"));
        max_ext_leaf = static_cast<std::uint32_t>(r.number("max_ext_leaf"));
        const cl::cpu_record cpu = cl::make_cpu_record(leaf);
        const auto read = [&](char name) { return leaves.find(name) != leaves.npos; };
        EXPECT_TRUE(cpu.max_leaf == max_leaf && cpu.max_ext_leaf == max_ext_leaf);
        EXPECT_EQ(std::string(cpu.vendor, 13), vendor + '\0');
        EXPECT_EQ(cpu.vendor_kind, r.number("kind"));
        EXPECT_EQ(cpu.brand_text, r.text("brand_text"));
        EXPECT_EQ(cpu.leaf1, read('1') ? one : none);
        EXPECT_EQ(cpu.leaf7, read('7') ? seven : none);
        EXPECT_EQ(cpu.ext_leaf1, read('x') ? ext : none);
        EXPECT_EQ(cpu.has_tsc(), read('1')) << "bit 4 of the third word";
        EXPECT_FALSE(cpu.has_rdrand()) << "bit 30 of the fourth word";
    });
    cl::fill_cpu_info();
    EXPECT_NE(cl::cpu_info.leaf1[0], 0u);
}

} // namespace
