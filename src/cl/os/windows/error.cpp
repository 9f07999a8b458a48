#include "cl/os/error.hpp"

#include <windows.h>

namespace cl::os {

static_assert(error_not_found == ERROR_FILE_NOT_FOUND && error_path_not_found == ERROR_PATH_NOT_FOUND &&
              error_too_many_open_files == ERROR_TOO_MANY_OPEN_FILES &&
              error_access_denied == ERROR_ACCESS_DENIED && error_invalid_handle == ERROR_INVALID_HANDLE &&
              error_not_enough_memory == ERROR_NOT_ENOUGH_MEMORY && error_outofmemory == ERROR_OUTOFMEMORY);
static_assert(error_not_same_device == ERROR_NOT_SAME_DEVICE && error_gen_failure == ERROR_GEN_FAILURE &&
              error_sharing == ERROR_SHARING_VIOLATION && error_not_supported == ERROR_NOT_SUPPORTED &&
              error_exists == ERROR_FILE_EXISTS && error_invalid_parameter == ERROR_INVALID_PARAMETER);
static_assert(error_disk_full == ERROR_DISK_FULL &&
              error_call_not_implemented == ERROR_CALL_NOT_IMPLEMENTED &&
              error_insufficient_buffer == ERROR_INSUFFICIENT_BUFFER &&
              error_invalid_name == ERROR_INVALID_NAME && error_negative_seek == ERROR_NEGATIVE_SEEK &&
              error_already_exists == ERROR_ALREADY_EXISTS);
static_assert(error_filename_too_long == ERROR_FILENAME_EXCED_RANGE &&
              error_service_not_active == ERROR_SERVICE_NOT_ACTIVE &&
              error_remote_session_limit == ERROR_REMOTE_SESSION_LIMIT_EXCEEDED &&
              error_bad_configuration == ERROR_BAD_CONFIGURATION &&
              error_invalid_state == ERROR_INVALID_STATE);
static_assert(error_module_not_found == ERROR_MOD_NOT_FOUND &&
              error_function_not_found == ERROR_PROC_NOT_FOUND && error_bad_image == ERROR_BAD_EXE_FORMAT &&
              error_library_start_failed == ERROR_DLL_INIT_FAILED);

} // namespace cl::os
