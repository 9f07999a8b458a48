#include "host/library_function.hpp"

#include "cl/os/error.hpp"
#include "cl/trace/say.hpp"

namespace vfl {

const char* load_failure_text(std::uint32_t error) {
    switch (error) {
    case cl::os::error_not_found:
    case cl::os::error_path_not_found:
    case cl::os::error_module_not_found: // also of a library that this one is linked with
        return "the file, or a library that it needs, is missing";
    case cl::os::error_access_denied:
        return "no right to read the file";
    case cl::os::error_function_not_found:
        return "the library, or one that it needs, lacks a function";
    case cl::os::error_bad_image:
        return "the file is no library for 64-bit Windows";
    case cl::os::error_library_start_failed:
        return "the library's own initialisation failed";
    default:
        return "it was not loaded";
    }
}

void say_not_loaded(cl::checked_format<wchar_t, 1> format, std::uint32_t error) {
    cl::say(cl::trace_out, format, dll_path);
    cl::say(cl::trace_log, "srv: library error %?: %?\n", error, load_failure_text(error));
}

} // namespace vfl
