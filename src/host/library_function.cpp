#include "host/library_function.hpp"

#include "cl/format/format.hpp"
#include "cl/trace/trace_list.hpp"

namespace vfl {

const char* load_failure_text(std::uint32_t error) {
    switch (error) {
    case 2:   // ERROR_FILE_NOT_FOUND
    case 3:   // ERROR_PATH_NOT_FOUND
    case 126: // ERROR_MOD_NOT_FOUND, also when the library is there and one that it is linked with isn't
        return "the file, or a library that it needs, is missing";
    case 5: // ERROR_ACCESS_DENIED
        return "no right to read the file";
    case 127: // ERROR_PROC_NOT_FOUND
        return "the library, or one that it needs, lacks a function";
    case 193: // ERROR_BAD_EXE_FORMAT
        return "the file is no library for 64-bit Windows";
    case 1114: // ERROR_DLL_INIT_FAILED
        return "the library's own initialisation failed";
    default:
        return "it was not loaded";
    }
}

void say_not_loaded(const wchar_t* format, std::uint32_t error) {
    cl::trace_out((cl::basic_format<wchar_t>(format) << dll_path).str());
    trace_write(&cl::trace_log,
                (cl::basic_format<char>("srv: library error %?: %?\n") << error << load_failure_text(error))
                    .str()
                    .c_str());
}

} // namespace vfl
