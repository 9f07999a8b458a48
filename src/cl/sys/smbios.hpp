// What the firmware's own table (SMBIOS) says about the machine's parts.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace cl {

// The items of a raw table, header included, each followed by "; ": the base board's maker and serial number,
// the system's identity, the connectors and slots, the memory modules, and the kinds of all structures. An
// item that the table lacks is empty; a table without a structure gives an empty text. Reads as far as the
// table is sound, whatever its bytes are.
std::string smbios_items(std::span<const std::byte> table);

} // namespace cl
