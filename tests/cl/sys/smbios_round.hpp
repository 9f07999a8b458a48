// A raw firmware table of any bytes: it is read as far as it goes, and the items keep their form.
#pragma once

#include "choices.hpp"
#include "cl/sys/smbios.hpp"

#include <algorithm>
#include <vector>

inline void smbios_round(choices& numbers) {
    const std::string bytes = numbers.bytes(4096);
    const std::vector<char> table(bytes.begin(), bytes.end()); // with no zero behind it
    const std::string items = cl::smbios_items(std::as_bytes(std::span(table)));
    if (items.empty())
        return;
    // Six of them; the table's own strings may hold more of their marks.
    EXPECT_TRUE(items.ends_with("; ")) << items;
    EXPECT_GE(std::count(items.begin(), items.end(), ';'), 6) << items;
}
