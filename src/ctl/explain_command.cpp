#include "ctl/commands.hpp"
#include "ctl/message_page.hpp"

namespace vfl::ctl {

namespace {

// Not every code page has the ellipsis.
std::wstring with_dots(const std::wstring& message) {
    std::wstring out;
    for (const wchar_t c : message)
        out += c == 0x2026 ? std::wstring(L"...") : std::wstring(1, c);
    return out;
}

} // namespace

int run_explain(const arguments& args, output& out) {
    std::wstring text;
    for (const std::wstring& word : args.words)
        text += (text.empty() ? L"" : L" ") + word;
    const message_page page(message_page_resource());
    const auto rows = page.search(text);
    if (rows.empty()) {
        out.put(stream::err, L"vflctl: no message of vfl.exe reads or begins so\n");
        return exit_failed;
    }
    for (const message_row* row : rows)
        out.put(stream::out,
                with_dots(row->message) + L"\n  means: " + row->means + L"\n  do:    " + row->remedy + L"\n");
    return exit_done;
}

} // namespace vfl::ctl
