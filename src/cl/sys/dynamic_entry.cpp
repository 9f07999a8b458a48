#include "cl/sys/dynamic_entry.hpp"

#include <utility>

namespace cl {

dynamic_entry::dynamic_entry(std::wstring library_name, std::string function_name, library_table& table)
    : library(std::move(library_name)), function(std::move(function_name)),
      address(bind_entry_point(table, library, function, true)), table_(table) {}

dynamic_entry::~dynamic_entry() {
    if (address)
        release_library(table_, library);
}

} // namespace cl
