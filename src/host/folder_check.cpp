#include "host/folder_check.hpp"

#include "cl/trace/say.hpp"
#include "product/folder_protection.hpp"
#include "product/rights.hpp"

namespace vfl {

void check_data_folder(const std::wstring& path) {
    using enum folder_protection::outcome;
    const std::size_t end = path.find_last_not_of(L"\\/");
    if (end == path.npos || !is_admin())
        return;
    // The one above first: its owner could put another folder in the place of the one below.
    const std::wstring data = path.substr(0, end + 1);
    for (const std::wstring& folder : {data.substr(0, data.find_last_of(L"\\/")), data}) {
        const folder_protection done = protect_foreign_folder(folder);
        if (done.what == set)
            cl::say(cl::trace_out, L"srv: the folder '%?' belonged to another account; its rights are set\n",
                    folder);
        else if (done.what == is_link)
            cl::say(cl::trace_out, L"srv: the folder '%?' is a link that another account has made\n", folder);
        else if (done.what == failed)
            cl::say(cl::trace_out, L"srv: the rights of the folder '%?' can't be set, error %?\n", folder,
                    done.error);
    }
}

} // namespace vfl
