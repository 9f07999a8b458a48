#include "driver/client_options.hpp"

#include <gtest/gtest.h>

namespace {

struct row {
    const char* name;
    const wchar_t* line;
    const char* flags; // h, t, e, c (bin_cons), n (bin_nop)
    const wchar_t* command;
};

constexpr row rows[] = {
    {"nothing at all", L"", "", L""},
    {"program alone", L"vfl", "", L""},
    {"program with trailing blanks", L"vfl \t ", "", L""},
    {"leading blanks make an empty program", L"  vfl -hex a", "", L"vfl -hex a"},
    {"a tab ends the program", L"vfl\t-hex a", "h", L"a"},
    {"a line feed does not", L"vfl\n-hex a", "", L"a"},
    {"quoted program", L"\"C:\\my tools\\vfl.exe\" -hex a", "h", L"a"},
    {"quotes toggle inside the program", L"C:\\\"my tools\"\\vfl.exe -hex a", "h", L"a"},
    {"a backslash escapes no quote", L"\"a\\\" -hex b\" c", "h", L"b\" c"},
    {"an open quote swallows the line", L"\"vfl -hex a", "", L""},
    {"every flag", L"vfl -hex -time -ever -bincons -binnop", "htecn", L""},
    {"spellings of the view", L"v -bin-cons x", "c", L"x"},
    {"spellings of the view, underscore", L"v -bin_cons", "c", L""},
    {"spellings of the no-operation", L"v -binpnop", "n", L""},
    {"spellings of the no-operation, underscore", L"v -bin_pnop -bin_nop", "n", L""},
    {"case counts", L"vfl -HEX a", "", L"-HEX a"},
    {"whole words only", L"vfl -hexx", "", L"-hexx"},
    {"an option behind the first word belongs to the command", L"vfl a -hex", "", L"a -hex"},
    {"quotes keep an option from matching", L"vfl \"-hex\" a", "", L"\"-hex\" a"},
    {"the command stays as typed", L"vfl -hex  \t a  \"b  c\" \v d \t ", "h", L"a  \"b  c\" \v d \t "},
    {"all ASCII blanks part options", L"vfl -hex\v-time\f-ever\r\n x", "hte", L"x"},
    {"U+00A0 is no blank", L"vfl -hex\u00A0a", "", L"-hex\u00A0a"},
    {"an option given twice", L"vfl -hex -hex", "h", L""},
    {"mode options are words of the command", L"vfl -game_analyzer x", "", L"-game_analyzer x"},
};

} // namespace

TEST(client_options, command_lines) {
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        const vfl::client_options o = vfl::read_client_options(r.line);
        std::string flags;
        for (const auto& [flag, letter] :
             {std::pair{o.hex, 'h'}, {o.time, 't'}, {o.ever, 'e'}, {o.bin_cons, 'c'}, {o.bin_nop, 'n'}})
            if (flag)
                flags += letter;
        EXPECT_EQ(flags, r.flags);
        EXPECT_EQ(o.command, r.command);
    }
}
