// The text that the random generators are seeded from, and what is made of it. Everything that differs
// between machines, users, processes and moments is written down in it; it is used for nothing else.
#pragma once

#include "cl/format/value_text.hpp"
#include "cl/sys/adapters.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/os_info.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace cl {

// What stays the same in one process. A source that failed leaves its text empty.
struct machine_identity {
    struct registration {
        std::string product_id, system_root, owner, organisation;
    };
    std::optional<registration> registered; // none when the registry key can't be opened
    std::string user, computer;
    guid fresh{};
    std::wstring machine_sid;
    std::vector<network_adapter> adapters;
};

// What differs from call to call.
struct moment {
    std::uint64_t system_time = 0, tick_count = 0, performance_counter = 0;
    std::optional<std::uint64_t> tsc, rdrand;
    std::uint32_t thread = 0, process = 0, processor = 0;
    std::uint32_t backoff = 0; // a step of backoff_rng
    std::uint64_t name = 0;    // a step of name_rng
    guid fresh{};
    std::vector<std::uint32_t> secure;                    // of the run-time library's generator
    std::vector<std::byte> firmware;                      // the raw SMBIOS table
    std::optional<std::array<std::uint8_t, 16>> provider; // of the system's cryptographic provider
};

std::string stable_seed_text(const os_record& os, const cpu_record& cpu, const machine_identity& machine);
std::string varying_seed_text(const moment& now);

// Seeds the engine from all of the text, and warms it up.
void seed_twister(std::mt19937& engine, const std::string& text);

} // namespace cl
