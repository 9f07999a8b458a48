// A raw firmware table of any bytes: it is read as far as it goes, and the items keep their form.
#include "cl/sys/smbios.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> table(data, data + size);
    const std::string items = cl::smbios_items(std::as_bytes(std::span(table)));
    // Six items or none; the table's own strings may hold more of their marks.
    if (!items.empty() && (!items.ends_with("; ") || std::count(items.begin(), items.end(), ';') < 6))
        std::abort();
    return 0;
}
