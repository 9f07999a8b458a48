#include "cl/sys/dynamic_entry.hpp"

#include <utility>

namespace cl {

dynamic_entry::dynamic_entry(std::wstring library_name, std::string function_name)
    : library(std::move(library_name)), function(std::move(function_name)),
      address(bind_entry_point(libraries, library, function, true)) {}

dynamic_entry::~dynamic_entry() {
    if (address)
        release_library(libraries, library);
}

} // namespace cl
