// The installer's part in what product/folder_protection.hpp says.
#include "protect_folders.h"

#include "cl/sys/library_table.hpp"
#include "product/folder_protection.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"

unsigned long protect_folders(const wchar_t* program_folder) {
    cl::create_libraries(cl::windows_modules);
    const std::wstring data = vfl::common_data_dir(vfl::product_word);
    if (data.empty())
        return 3; // ERROR_PATH_NOT_FOUND
    const std::wstring vendor = data.substr(0, data.find_last_of(L'\\', data.size() - 2));
    for (const std::wstring& folder : {std::wstring(program_folder), vendor, data}) {
        const vfl::folder_protection done = vfl::protect_folder(folder);
        if (done.what == vfl::folder_protection::outcome::is_link)
            return 4395; // ERROR_REPARSE_POINT_ENCOUNTERED
        if (done.what == vfl::folder_protection::outcome::failed)
            return done.error;
    }
    return 0;
}
