// The console client's own options, read from the raw command line.
#pragma once

#include <string>
#include <string_view>

namespace vfl {

struct client_options {
    bool hex = false;      // show replies as a hex dump
    bool time = false;     // show how long each request took
    bool ever = false;     // repeat for ever
    bool bin_cons = false; // the connection view instead of a text command
    bool bin_nop = false;  // the binary no-operation instead of a text command
    std::wstring command;  // the text command exactly as typed, trailing blanks and quotes included
};

// Options come first, after the program's name, as whole words in exact case. The first word that is none
// begins the text command.
client_options read_client_options(std::wstring_view command_line);

} // namespace vfl
