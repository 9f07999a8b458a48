// Any raw command line: the options that are read beside a second reading by whole-string searches.
#include "driver/client_options.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

namespace {

constexpr std::wstring_view blanks = L"\t\n\v\f\r ";

vfl::client_options read_naively(const std::wstring& line) {
    vfl::client_options options;
    const std::map<std::wstring, bool*> words = {
        {L"-hex", &options.hex},           {L"-time", &options.time},
        {L"-ever", &options.ever},         {L"-bincons", &options.bin_cons},
        {L"-bin-cons", &options.bin_cons}, {L"-bin_cons", &options.bin_cons},
        {L"-binpnop", &options.bin_nop},   {L"-bin_pnop", &options.bin_nop},
        {L"-binnop", &options.bin_nop},    {L"-bin_nop", &options.bin_nop},
    };
    // The program ends at the first blank or tab with an even number of quotes ahead of it.
    std::size_t at = line.find_first_of(L" \t");
    while (at != line.npos &&
           std::count(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(at), L'"') % 2)
        at = line.find_first_of(L" \t", at + 1);
    std::wstring rest = at == line.npos ? L"" : line.substr(at);
    for (;;) {
        rest.erase(0, std::min(rest.find_first_not_of(blanks), rest.size()));
        const auto option = words.find(rest.substr(0, rest.find_first_of(blanks)));
        if (option == words.end())
            break;
        *option->second = true;
        rest.erase(0, option->first.size());
    }
    options.command = rest;
    return options;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A byte is a code unit, the high ones spread over the range above ASCII.
    std::wstring line;
    for (std::size_t i = 0; i < size; ++i)
        line += static_cast<wchar_t>(data[i] < 0x80 ? data[i] : data[i] * 0x101);
    const vfl::client_options ours = vfl::read_client_options(line), naive = read_naively(line);
    if (ours.hex != naive.hex || ours.time != naive.time || ours.ever != naive.ever ||
        ours.bin_cons != naive.bin_cons || ours.bin_nop != naive.bin_nop || ours.command != naive.command)
        std::abort();
    return 0;
}
