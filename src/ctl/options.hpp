// The command line of vflctl, by the table of commands and options (ctl/command_table.hpp).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vfl::ctl {

struct command_row {
    std::wstring_view name;
    std::wstring_view words; // the arguments beside the options, as the help shows them
    std::size_t least_words, most_words;
    std::wstring_view help;
};

struct option_row {
    std::wstring_view commands; // names separated by blanks; empty for every command
    std::wstring_view name;     // with its dashes
    std::wstring_view
        argument; // empty: a flag; in brackets: may be left out, and is then only given after '='
    std::wstring_view help;
};

// A command line that fits the table.
class arguments {
public:
    const command_row* command = nullptr; // null when only --help or --version was asked for
    std::vector<std::wstring> words;      // what no option claimed

    // `name` is an option of the table.
    [[nodiscard]] bool has(std::wstring_view name) const;
    // The last value that was given; without a value, or when the option is missing, nothing.
    [[nodiscard]] std::optional<std::wstring> value(std::wstring_view name) const;
    [[nodiscard]] std::vector<std::wstring> values(std::wstring_view name) const;

    struct given {
        const option_row* option;
        std::optional<std::wstring> value;
    };
    std::vector<given> given_options;
};

// The line for a user whose word after the command is none of `words`.
std::wstring unknown_word(std::wstring_view word, const std::vector<std::wstring_view>& words,
                          const command_row& command);

// Reads the words behind the program's name. Options stand anywhere after the command, "--" ends them. When
// the line doesn't fit, `error` is one line for the user that names the wrong word, the nearest right one and
// --help.
struct parsed_line {
    arguments args;
    std::wstring error; // empty when it fits
};
parsed_line parse_command_line(std::span<const std::wstring_view> words);

// The help of one command, or with null of all of them.
std::wstring help_text(const command_row* command);

// A whole number of at most `most`, digits alone; nothing otherwise.
std::optional<std::uint32_t> whole_number(std::wstring_view text, std::uint32_t most);

} // namespace vfl::ctl
