#include "cl/sys/library_table.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/scramble.hpp"
#include "cl/text/string_util.hpp"
#include "cl/text/text_convert.hpp"

namespace cl {

namespace {

constexpr char scramble_mark = '.';

// Never destroyed: bindings may be released at the very end of the process, and by any thread.
constinit never_destroyed<library_table> process_libraries;

} // namespace

library_table& libraries = process_libraries.get();

void create_libraries(const module_calls& calls) {
    process_libraries.create(calls);
}

module_handle library_table::load_library(const std::wstring& library) {
    if (library.find(L'\\') != std::wstring::npos)
        return calls_.load(library.c_str());

    std::wstring name = library;
    if (name.starts_with(scramble_mark)) {
        std::string text = wide_to_narrow(name.substr(1), 0);
        unscramble(text);
        name = narrow_to_wide(text, 0);
    }
    if (!folders_known_) {
        system_folder_ = with_backslash(calls_.system_folder());
        windows_folder_ = with_backslash(calls_.windows_folder());
        folders_known_ = true;
    }
    // The system's own search order would take a library from the current folder or from that of the
    // executable. A bare name must never get there, not even when a folder is unknown.
    const auto load = calls_.load_system ? calls_.load_system : calls_.load;
    for (const std::wstring* folder : {&system_folder_, &windows_folder_}) {
        if (folder->empty())
            continue;
        if (module_handle module = load((*folder + name).c_str()))
            return module;
    }
    return nullptr;
}

entry_point bind_entry_point(library_table& table, const std::wstring& library, const std::string& function,
                             bool release_if_missing, std::uint32_t* error) {
    module_handle module = nullptr;
    std::uint32_t failed_with = 0;
    {
        const mutex_auto lock(table.lock_, true);
        const auto [place, added] = table.records_.try_emplace(library);
        if (!added)
            ++place->second.references;
        else if (!(place->second.module = table.load_library(library)))
            place->second.load_error = table.calls_.last_error();
        module = place->second.module;
        failed_with = place->second.load_error;
    }
    if (!module) {
        if (error)
            *error = failed_with;
        return nullptr;
    }

    entry_point address = nullptr;
    if (function.starts_with(scramble_mark)) {
        std::string text = function.substr(1);
        unscramble(text);
        address = table.calls_.find(module, text.c_str());
    } else {
        address = table.calls_.find(module, function.c_str());
    }
    if (!address && error)
        *error = table.calls_.last_error();
    if (!address && release_if_missing)
        release_library(table, library);
    return address;
}

void release_library(library_table& table, const std::wstring& library) {
    mutex_auto lock(table.lock_, !table.ending_.load(std::memory_order_relaxed));
    if (!lock.try_lock())
        return;
    const auto place = table.records_.find(library);
    if (place == table.records_.end() || --place->second.references != 0)
        return;
    if (place->second.module)
        table.calls_.free(place->second.module);
    table.records_.erase(place);
}

} // namespace cl
