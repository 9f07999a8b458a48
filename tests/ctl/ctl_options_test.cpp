#include "ctl/ini_command.hpp"
#include "ctl/options.hpp"
#include "rows.hpp"

#include <gtest/gtest.h>

using namespace vfl::ctl;

namespace {

std::vector<std::wstring_view> split(std::wstring_view line) {
    std::vector<std::wstring_view> words;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(L'|'), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return words;
}

// The command, its words and what the options gave, as one text.
std::wstring summary(const parsed_line& line) {
    if (!line.error.empty())
        return line.error.substr(0, line.error.size() - 1);
    std::wstring text(line.args.command ? line.args.command->name : L"-");
    for (const std::wstring& word : line.args.words)
        text += L" (" + word + L")";
    for (const auto& given : line.args.given_options)
        text += L" " + std::wstring(given.option->name) + (given.value ? L"=" + *given.value : L"");
    return text;
}

TEST(ctl_options, lines) {
    for_rows("ctl_options.tsv", [](const row& r) {
        const std::wstring line = r.wide("line");
        EXPECT_EQ(summary(parse_command_line(split(line))), r.wide("result"));
    });
}

TEST(ctl_options, what_settings_cannot_hold_is_refused) {
    for (const wchar_t* bad : {L"", L"a]b", L" a", L"a\tb", L"a\nb"})
        EXPECT_FALSE(why_not_a_section(bad).empty()) << std::string(bad, bad + wcslen(bad));
    for (const wchar_t* bad : {L"", L"a=b", L";a", L"[a", L"a ", L"a\rb"})
        EXPECT_FALSE(why_not_a_key(bad).empty()) << std::string(bad, bad + wcslen(bad));
    for (const wchar_t* good : {L"", L"a=b;[c]", L"a b"})
        EXPECT_TRUE(why_not_a_value(good).empty()) << std::string(good, good + wcslen(good));
    EXPECT_TRUE(why_not_a_key(L"a b;[").empty());
    EXPECT_TRUE(why_not_a_section(L"=;a b").empty());
}

} // namespace
