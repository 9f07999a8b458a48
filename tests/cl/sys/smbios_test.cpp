#include "cl/sys/smbios_round.hpp"
#include "rows.hpp"

namespace {

TEST(smbios, items_of_a_table) {
    for_rows("smbios.tsv", [](const row& r) {
        // Exactly as large as its bytes, so that a sanitizer sees a read behind them.
        const std::string bytes = r.text("table"), items = r.text("items");
        const std::vector<char> table(bytes.begin(), bytes.end());
        EXPECT_EQ(cl::smbios_items(std::as_bytes(std::span(table))), items.empty() ? items : items + "; ");
    });
}

TEST(smbios, rounds) {
    run_seeds(200, smbios_round);
}

} // namespace
