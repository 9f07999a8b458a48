#include "ctl/log_source.hpp"

#include <algorithm>
#include <windows.h>

namespace vfl::ctl {

namespace {

struct open_file {
    HANDLE handle;
    ~open_file() {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
    }
};

} // namespace

file_reading read_shared(const std::wstring& path, const std::optional<file_identity>& expected,
                         std::uint64_t position) {
    file_reading found;
    const open_file file{CreateFileW(path.c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr)};
    BY_HANDLE_FILE_INFORMATION info;
    if (file.handle == INVALID_HANDLE_VALUE || !GetFileInformationByHandle(file.handle, &info)) {
        found.error = GetLastError();
        return found;
    }
    found.identity = {info.dwVolumeSerialNumber,
                      (std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow};
    found.last_write =
        (std::uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32) | info.ftLastWriteTime.dwLowDateTime;
    const std::uint64_t size = (std::uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
    if (expected && *expected == found.identity && position <= size)
        found.start = position;
    LARGE_INTEGER start;
    start.QuadPart = static_cast<LONGLONG>(found.start);
    if (!SetFilePointerEx(file.handle, start, nullptr, FILE_BEGIN)) {
        found.error = GetLastError();
        return found;
    }
    found.bytes.resize(static_cast<std::size_t>(size - found.start));
    std::size_t done = 0;
    while (done < found.bytes.size()) {
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(found.bytes.size() - done, 0x1000000));
        if (!ReadFile(file.handle, found.bytes.data() + done, wanted, &count, nullptr)) {
            found.error = GetLastError();
            return found;
        }
        if (count == 0)
            break;
        done += count;
    }
    found.bytes.resize(done);
    return found;
}

file_reading product_log::read(which file, const std::optional<file_identity>& expected,
                               std::uint64_t position) {
    return read_shared(file == which::current ? current_path : old_path, expected, position);
}

} // namespace vfl::ctl
