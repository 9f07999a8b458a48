// The hardware addresses by which one machine differs from another.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace cl {

// A network adapter as the system enumerates it.
struct network_adapter {
    std::uint32_t type; // interface type
    std::vector<std::uint8_t> address;
    std::string description;
};

// The addresses of real adapters, each followed by a blank, sorted and each once. Virtual adapters, and
// addresses that more than one machine has, are left out.
std::string adapter_addresses(std::span<const network_adapter> adapters);

} // namespace cl
