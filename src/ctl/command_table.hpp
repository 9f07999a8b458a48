// The commands and options that there are: the one list that the command line's reader, the help, main and
// the page of the tool agree with.
#pragma once

#include "ctl/options.hpp"

namespace vfl::ctl {

inline constexpr std::size_t any_words = ~std::size_t{0};

inline constexpr command_row command_table[] = {
    {L"doctor", L"", 0, 0, L"what is wrong, and what to do"},
    {L"log", L"", 0, 0, L"the log with its dates, the last run unless told otherwise"},
    {L"explain", L"TEXT", 1, any_words, L"what a message means, and what to do"},
    {L"ini", L"list [SECTION] | get SECTION KEY | set SECTION KEY VALUE | unset SECTION KEY | check", 1, 4,
     L"reads and changes the settings"},
    {L"service", L"status | start | stop | restart", 1, 1, L"the state of the service, and its change"},
};

inline constexpr option_row option_table[] = {
    {L"", L"--help", L"", L"shows this and ends"},
    {L"", L"--version", L"", L"shows the version and ends"},
    {L"", L"--utf8", L"", L"redirected output in UTF-8 instead of the console's code page"},
    {L"doctor log service", L"--json", L"", L"the same for machines"},
    {L"log", L"-f", L"", L"goes on with what the log gets, until Ctrl+C"},
    {L"log", L"-n", L"N", L"the last N lines alone"},
    {L"log", L"--run", L"last|all|N", L"the run to show; N counts from the oldest, which is 1"},
    {L"log", L"--since", L"TIME", L"from this time on: HH:MM[:SS], YYYY-MM-DD, or both with a blank between"},
    {L"log", L"--until", L"TIME", L"up to this time"},
    {L"log", L"--grep", L"TEXT", L"lines that contain TEXT, whatever its case"},
    {L"log", L"--explain", L"", L"with the meaning of each message and what to do"},
    {L"log", L"--raw", L"", L"the bytes as they are"},
    {L"log ini", L"--file", L"FILE",
     L"this file instead of the product's (log: more than one, the oldest first)"},
    {L"log", L"--day", L"YYYY-MM-DD", L"the day of the last line of a copied file"},
    {L"service", L"--wait", L"[SECONDS]", L"waits until the change is complete, 60 s unless told otherwise"},
};

constexpr bool has_command(std::wstring_view name) {
    for (const command_row& row : command_table)
        if (row.name == name)
            return true;
    return false;
}

// Whether an option belongs to a command; to none at all only those of every command do.
constexpr bool belongs_to(const option_row& option, const command_row* command) {
    if (option.commands.empty())
        return true;
    for (std::wstring_view rest = option.commands; command && !rest.empty();) {
        const std::wstring_view name = rest.substr(0, rest.find(L' '));
        if (name == command->name)
            return true;
        rest.remove_prefix(name.size() + (name.size() < rest.size() ? 1 : 0));
    }
    return false;
}

} // namespace vfl::ctl
