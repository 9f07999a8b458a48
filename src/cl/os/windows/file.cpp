#include "cl/os/file.hpp"

#include <windows.h>

namespace cl::os {

static_assert(access_read == GENERIC_READ && access_write == GENERIC_WRITE && access_delete == DELETE);
static_assert(share_read == FILE_SHARE_READ && share_write == FILE_SHARE_WRITE &&
              share_delete == FILE_SHARE_DELETE);
static_assert(attribute_temporary == FILE_ATTRIBUTE_TEMPORARY &&
              delete_on_close == FILE_FLAG_DELETE_ON_CLOSE && sequential_scan == FILE_FLAG_SEQUENTIAL_SCAN &&
              random_access == FILE_FLAG_RANDOM_ACCESS && write_through == FILE_FLAG_WRITE_THROUGH);
static_assert(static_cast<DWORD>(file_disposition::create_new) == CREATE_NEW &&
              static_cast<DWORD>(file_disposition::create_always) == CREATE_ALWAYS &&
              static_cast<DWORD>(file_disposition::open_existing) == OPEN_EXISTING &&
              static_cast<DWORD>(file_disposition::open_always) == OPEN_ALWAYS &&
              static_cast<DWORD>(file_disposition::truncate_existing) == TRUNCATE_EXISTING);
static_assert(from_start == FILE_BEGIN && from_position == FILE_CURRENT && from_end == FILE_END);

namespace {

HANDLE raw(file_handle file) {
    return reinterpret_cast<HANDLE>(file);
}

std::uint32_t outcome(BOOL ok) {
    return ok ? 0 : GetLastError();
}

FILETIME split(std::uint64_t time) {
    return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

std::uint64_t join(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

} // namespace

std::uint32_t open_file(const wchar_t* path, const file_request& request, file_handle& file) {
    SECURITY_ATTRIBUTES security{sizeof security, nullptr, request.inheritable};
    file = reinterpret_cast<file_handle>(CreateFileW(path, request.access, request.share, &security,
                                                     static_cast<DWORD>(request.disposition),
                                                     request.attributes, nullptr));
    // A success may leave ERROR_ALREADY_EXISTS behind.
    return outcome(file != invalid_file);
}

std::uint32_t close_file(file_handle file) {
    return outcome(CloseHandle(raw(file)));
}

std::uint32_t read_file(file_handle file, void* buf, std::uint32_t n, std::uint32_t& count) {
    DWORD got = 0;
    const std::uint32_t error = outcome(ReadFile(raw(file), buf, n, &got, nullptr));
    count = error ? 0 : got;
    return error;
}

std::uint32_t write_file(file_handle file, const void* buf, std::uint32_t n, std::uint32_t& count) {
    DWORD put = 0;
    const std::uint32_t error = outcome(WriteFile(raw(file), buf, n, &put, nullptr));
    count = error ? 0 : put;
    return error;
}

std::uint32_t seek_file(file_handle file, std::int64_t offset, std::uint32_t origin, std::int64_t& position) {
    LONG high = static_cast<LONG>(offset >> 32);
    SetLastError(NO_ERROR);
    const DWORD low = SetFilePointer(raw(file), static_cast<LONG>(offset), &high, origin);
    // The low half alone is no sign of failure: it may be the low half of a true position.
    if (low == INVALID_SET_FILE_POINTER)
        if (const DWORD error = GetLastError(); error != NO_ERROR)
            return error;
    position = std::int64_t{high} << 32 | low;
    return 0;
}

std::uint32_t set_end_of_file(file_handle file) {
    return outcome(SetEndOfFile(raw(file)));
}

std::uint32_t reserve_file(file_handle file, std::int64_t size) {
    LARGE_INTEGER now{};
    if (!GetFileSizeEx(raw(file), &now))
        return GetLastError();
    if (size <= now.QuadPart) // it would cut the file
        return 0;
    FILE_ALLOCATION_INFO wanted{};
    wanted.AllocationSize.QuadPart = size;
    const std::uint32_t error =
        outcome(SetFileInformationByHandle(raw(file), FileAllocationInfo, &wanted, sizeof wanted));
    switch (error) {
    case ERROR_INVALID_FUNCTION:
    case ERROR_INVALID_PARAMETER:
    case ERROR_CALL_NOT_IMPLEMENTED:
        return error_not_supported;
    default:
        return error;
    }
}

std::uint32_t file_size(file_handle file, std::int64_t& size) {
    LARGE_INTEGER value{};
    const std::uint32_t error = outcome(GetFileSizeEx(raw(file), &value));
    if (!error)
        size = value.QuadPart;
    return error;
}

std::uint32_t last_write_time(file_handle file, std::uint64_t& time) {
    FILETIME value{};
    const std::uint32_t error = outcome(GetFileTime(raw(file), nullptr, nullptr, &value));
    if (!error)
        time = join(value);
    return error;
}

std::uint32_t settle_write_time(file_handle file) {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return outcome(SetFileTime(raw(file), nullptr, nullptr, &now));
}

std::uint32_t to_local_file_time(std::uint64_t utc, std::uint64_t& local) {
    const FILETIME value = split(utc);
    FILETIME converted{};
    const std::uint32_t error = outcome(FileTimeToLocalFileTime(&value, &converted));
    if (!error)
        local = join(converted);
    return error;
}

std::uint32_t remove_file(const wchar_t* path) {
    return outcome(DeleteFileW(path));
}

std::uint32_t rename_file(const wchar_t* from, const wchar_t* to) {
    // Onto another volume it becomes a copy, as with the run-time library's rename.
    return outcome(MoveFileExW(from, to, MOVEFILE_COPY_ALLOWED));
}

} // namespace cl::os
