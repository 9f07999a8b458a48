// What the processor reports about itself.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace cl {

// The registers of one leaf in the order EAX, EBX, ECX, EDX.
using cpu_registers = std::array<std::uint32_t, 4>;

// Runs CPUID for a leaf and a sub-leaf. Any thread may call.
cpu_registers cpuid(std::uint32_t leaf, std::uint32_t subleaf);

enum cpu_vendor : std::uint32_t { vendor_other = 0, vendor_intel = 1, vendor_amd = 2 };

// A leaf that the processor doesn't have reads as zeros, a text that it doesn't have as an empty one.
struct cpu_record {
    std::uint32_t max_leaf = 0;
    char vendor[13] = {}; // "GenuineIntel"; zero-terminated
    cpu_registers leaf1{};
    cpu_registers leaf7{}; // sub-leaf 0
    std::uint32_t max_ext_leaf = 0;
    char brand[49] = {}; // as the processor gives it; zero-terminated
    cpu_registers ext_leaf1{};
    std::uint32_t vendor_kind = vendor_other; // a cpu_vendor
    std::string brand_text;                   // `brand` without leading blanks and runs of blanks

    // The system's test for a usable time stamp counter: the third word of leaf 1 at bit 4. The place is
    // deliberate; so is that of the next one.
    bool has_tsc() const { return (leaf1[2] >> 4 & 1) != 0; }
    // The system's test for the RDRAND instruction: the fourth word at bit 30.
    bool has_rdrand() const { return (leaf1[3] >> 30 & 1) != 0; }
};

// Builds the record from the leaves that `leaf` returns. Leaves beyond the processor's own limits are never
// asked for.
cpu_record make_cpu_record(cpu_registers (*leaf)(std::uint32_t leaf, std::uint32_t subleaf));

// The record of this machine. Read-only, and for any thread, once fill_cpu_info has run; all zero before. It
// is never destroyed.
extern cpu_record& cpu_info;

// Called once, before `main`.
void fill_cpu_info();

} // namespace cl
