#include "driver/client_options.hpp"

#include "cl/text/string_util.hpp"

namespace vfl {

namespace {

struct option_word {
    std::wstring_view word;
    bool client_options::*flag;
};

constexpr option_word option_words[] = {
    {L"-hex", &client_options::hex},           {L"-time", &client_options::time},
    {L"-ever", &client_options::ever},         {L"-bincons", &client_options::bin_cons},
    {L"-bin-cons", &client_options::bin_cons}, {L"-bin_cons", &client_options::bin_cons},
    {L"-binpnop", &client_options::bin_nop},   {L"-bin_pnop", &client_options::bin_nop},
    {L"-binnop", &client_options::bin_nop},    {L"-bin_nop", &client_options::bin_nop},
};

// The program's name ends at a blank or tab outside double quotes, which toggle wherever they stand.
std::size_t end_of_program(std::wstring_view line) {
    bool quoted = false;
    std::size_t i = 0;
    for (; i < line.size(); ++i) {
        if (line[i] == L'"')
            quoted = !quoted;
        else if (!quoted && (line[i] == L' ' || line[i] == L'\t'))
            break;
    }
    return i;
}

const option_word* find_option(std::wstring_view word) {
    for (const option_word& option : option_words)
        if (option.word == word)
            return &option;
    return nullptr;
}

} // namespace

client_options read_client_options(std::wstring_view line) {
    client_options options;
    std::size_t pos = end_of_program(line);
    for (;;) {
        while (pos < line.size() && cl::is_blank(line[pos]))
            ++pos;
        std::size_t end = pos;
        while (end < line.size() && !cl::is_blank(line[end]))
            ++end;
        const option_word* const option = find_option(line.substr(pos, end - pos));
        if (!option) {
            options.command = line.substr(pos);
            return options;
        }
        options.*option->flag = true;
        pos = end;
    }
}

} // namespace vfl
