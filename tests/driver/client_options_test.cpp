#include "driver/client_options.hpp"

#include "rows.hpp"

TEST(client_options, command_lines) {
    for_rows("client_options.tsv", [](const row& r) {
        const vfl::client_options o = vfl::read_client_options(r.wide("line"));
        std::string flags;
        for (const auto& [flag, letter] :
             {std::pair{o.hex, 'h'}, {o.time, 't'}, {o.ever, 'e'}, {o.bin_cons, 'c'}, {o.bin_nop, 'n'}})
            if (flag)
                flags += letter;
        EXPECT_EQ(flags, r.text("flags"));
        EXPECT_EQ(o.command, r.wide("command"));
    });
}
