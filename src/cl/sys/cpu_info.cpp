#include "cl/sys/cpu_info.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/text/string_util.hpp"

#include <cpuid.h>
#include <cstring>
#include <string_view>

namespace cl {

namespace {

constexpr std::uint32_t ext_base = 0x80000000;
constexpr std::uint32_t brand_first = 0x80000002;
constexpr std::uint32_t brand_last = 0x80000004;

// The four bytes of a register, lowest first.
void put_register(char* to, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<char>(value >> 8 * i & 0xFF);
}

// One blank at the very end stays, on purpose.
std::string squeezed_brand(std::string_view brand) {
    std::string text = squeeze_blanks(brand.data());
    if (!text.empty() && is_blank(brand.back()))
        text += ' ';
    return text;
}

constinit never_destroyed<cpu_record> this_processor;

} // namespace

cpu_record& cpu_info = this_processor.get();

cpu_registers cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    cpu_registers r{};
    __cpuid_count(leaf, subleaf, r[0], r[1], r[2], r[3]);
    return r;
}

cpu_record make_cpu_record(cpu_registers (*leaf)(std::uint32_t leaf, std::uint32_t subleaf)) {
    cpu_record cpu;

    const cpu_registers base = leaf(0, 0);
    cpu.max_leaf = base[0];
    put_register(cpu.vendor, base[1]);
    put_register(cpu.vendor + 4, base[3]);
    put_register(cpu.vendor + 8, base[2]);
    if (std::strcmp(cpu.vendor, "GenuineIntel") == 0)
        cpu.vendor_kind = vendor_intel;
    else if (std::strcmp(cpu.vendor, "AuthenticAMD") == 0)
        cpu.vendor_kind = vendor_amd;
    if (cpu.max_leaf >= 1)
        cpu.leaf1 = leaf(1, 0);
    if (cpu.max_leaf >= 7)
        cpu.leaf7 = leaf(7, 0);

    cpu.max_ext_leaf = leaf(ext_base, 0)[0];
    if (cpu.max_ext_leaf >= ext_base + 1)
        cpu.ext_leaf1 = leaf(ext_base + 1, 0);
    if (cpu.max_ext_leaf >= brand_last) {
        char* to = cpu.brand;
        for (std::uint32_t l = brand_first; l <= brand_last; ++l) {
            for (const std::uint32_t value : leaf(l, 0)) {
                put_register(to, value);
                to += 4;
            }
        }
    }
    cpu.brand_text = squeezed_brand(cpu.brand);
    return cpu;
}

void fill_cpu_info() {
    this_processor.create(make_cpu_record(cpuid));
}

} // namespace cl
