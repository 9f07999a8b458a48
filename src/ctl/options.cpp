#include "ctl/options.hpp"

#include "ctl/command_table.hpp"

#include <algorithm>
#include <numeric>

namespace vfl::ctl {

namespace {

const option_row* find_option(std::wstring_view name, const command_row* command) {
    const auto* const found = std::ranges::find_if(
        option_table, [&](const option_row& o) { return o.name == name && belongs_to(o, command); });
    return found == std::end(option_table) ? nullptr : found;
}

const command_row* find_command(std::wstring_view name) {
    const auto* const found = std::ranges::find(command_table, name, &command_row::name);
    return found == std::end(command_table) ? nullptr : found;
}

// How many characters have to be put in, left out or replaced.
std::size_t distance(std::wstring_view a, std::wstring_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

// The name that is likely to have been meant; empty when none comes near.
std::wstring_view nearest(std::wstring_view word, const std::vector<std::wstring_view>& names) {
    std::wstring_view best;
    std::size_t least = std::max<std::size_t>(2, word.size() / 2) + 1;
    for (const std::wstring_view name : names) {
        const std::size_t d = name.starts_with(word) && word.size() > 1 ? 1 : distance(word, name);
        if (d < least) {
            least = d;
            best = name;
        }
    }
    return best;
}

std::wstring complaint(std::wstring_view what, std::wstring_view word, std::wstring_view meant,
                       const command_row* command) {
    std::wstring text = L"vflctl: ";
    text.append(what).append(L" \"").append(word).append(L"\"");
    if (meant.empty())
        text.append(L".");
    else
        text.append(L"; did you mean \"").append(meant).append(L"\"?");
    text.append(L" See vflctl ");
    if (command)
        text.append(command->name).append(L" ");
    return text.append(L"--help\n");
}

std::wstring unknown_option(std::wstring_view name, const command_row* command) {
    std::vector<std::wstring_view> names;
    for (const option_row& o : option_table)
        if (belongs_to(o, command))
            names.push_back(o.name);
    return complaint(L"unknown option", name, nearest(name, names), command);
}

bool is_option(std::wstring_view word) {
    return word.size() > 1 && word[0] == L'-';
}

} // namespace

std::wstring unknown_word(std::wstring_view word, const std::vector<std::wstring_view>& words,
                          const command_row& command) {
    return complaint(L"unknown word", word, nearest(word, words), &command);
}

bool arguments::has(std::wstring_view name) const {
    return std::ranges::any_of(given_options, [&](const given& g) { return g.option->name == name; });
}

std::optional<std::wstring> arguments::value(std::wstring_view name) const {
    std::optional<std::wstring> last;
    for (const given& g : given_options)
        if (g.option->name == name)
            last = g.value;
    return last;
}

std::vector<std::wstring> arguments::values(std::wstring_view name) const {
    std::vector<std::wstring> all;
    for (const given& g : given_options)
        if (g.option->name == name && g.value)
            all.push_back(*g.value);
    return all;
}

parsed_line parse_command_line(std::span<const std::wstring_view> words) {
    parsed_line line;
    arguments& args = line.args;
    bool options_end = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::wstring_view word = words[i];
        if (!options_end && word == L"--") {
            options_end = true;
        } else if (!options_end && is_option(word)) {
            const std::size_t equals = std::min(word.find(L'='), word.size());
            const std::wstring_view name = word.substr(0, equals);
            const option_row* const option = find_option(name, args.command);
            if (!option) {
                line.error = unknown_option(name, args.command);
                return line;
            }
            std::optional<std::wstring> value;
            if (equals < word.size()) {
                if (option->argument.empty()) {
                    line.error = complaint(L"no value belongs to", word, name, args.command);
                    return line;
                }
                value = word.substr(equals + 1);
            } else if (!option->argument.empty() && option->argument[0] != L'[') {
                if (++i == words.size()) {
                    line.error = complaint(L"a value is missing after", word, {}, args.command);
                    return line;
                }
                value = words[i];
            }
            args.given_options.push_back({option, std::move(value)});
        } else if (!args.command) {
            args.command = find_command(word);
            if (!args.command) {
                std::vector<std::wstring_view> names;
                for (const command_row& c : command_table)
                    names.push_back(c.name);
                line.error = complaint(L"unknown command", word, nearest(word, names), nullptr);
                return line;
            }
        } else {
            args.words.emplace_back(word);
        }
    }
    if (args.has(L"--help") || args.has(L"--version"))
        return line;
    if (!args.command)
        line.error = L"vflctl: a command is missing. See vflctl --help\n";
    else if (args.words.size() < args.command->least_words)
        line.error = complaint(L"a word is missing after", words.back(), {}, args.command);
    else if (args.words.size() > args.command->most_words)
        line.error =
            complaint(L"too many words from", args.words[args.command->most_words], {}, args.command);
    return line;
}

std::wstring help_text(const command_row* command) {
    std::wstring text;
    const auto add_row = [&text](std::wstring head, std::wstring_view help) {
        constexpr std::size_t indent = 32;
        if (head.size() + 2 > indent)
            head.append(L"\n").append(indent, L' ');
        else
            head.resize(indent, L' ');
        text.append(head).append(help).append(L"\n");
    };
    if (command) {
        text.append(L"vflctl ").append(command->name);
        text.append(command->words.empty() ? L"" : L" ").append(command->words).append(L"\n    ");
        text.append(command->help).append(L"\n\n");
    } else {
        text = L"vflctl COMMAND [OPTIONS]: the support tool of VexaFlow. It never opens a network "
               L"connection.\n\n";
        for (const command_row& c : command_table)
            add_row(L"  " + std::wstring(c.name), c.help);
        text += L"\n";
    }
    for (const option_row& o : option_table) {
        if (!belongs_to(o, command))
            continue;
        std::wstring head = L"  " + std::wstring(o.name);
        if (!o.argument.empty())
            head.append(o.argument[0] == L'[' ? L"[=" : L" ")
                .append(o.argument.substr(o.argument[0] == L'[' ? 1 : 0));
        add_row(std::move(head), o.help);
    }
    text += command ? L"\n" : L"\nvflctl COMMAND --help shows the options of a command.\n";
    text += L"Exit codes: 0 done, 1 did not work, 64 wrong usage";
    if (!command || command->name == L"doctor")
        text += L"; doctor: 1 warnings, 2 something is broken";
    if (!command || command->name == L"service")
        text += L"; service status: 1 without its library, 3 not running, 4 not installed";
    return text += L"\n";
}

std::optional<std::uint32_t> whole_number(std::wstring_view text, std::uint32_t most) {
    std::uint64_t number = 0;
    if (text.empty() || text.size() > 10)
        return {};
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9')
            return {};
        number = number * 10 + static_cast<std::uint64_t>(c - L'0');
    }
    return number <= most ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

} // namespace vfl::ctl
