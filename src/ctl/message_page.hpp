// The page of messages, which the program carries: what a message means and what to do about it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vfl::ctl {

struct message_row {
    std::wstring message; // with … for its values
    std::wstring means, remedy;
};

class message_page {
public:
    // `page` is docs/messages.md in UTF-8.
    explicit message_page(std::string_view page);

    // The row whose message is the whole text, values aside; of several the one with the most letters of its
    // own. A stamp in front of the text doesn't count. Null when there is none.
    [[nodiscard]] const message_row* find(std::wstring_view text) const;
    // The rows whose messages begin so, or that the text is a whole one of.
    [[nodiscard]] std::vector<const message_row*> search(std::wstring_view text) const;

private:
    std::vector<message_row> rows_;
};

// Whether anything is to be done about it.
bool has_remedy(const message_row& row);

// The page as the program's resource.
std::string_view message_page_resource();

} // namespace vfl::ctl
