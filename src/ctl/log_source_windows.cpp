#include "ctl/log_source.hpp"

#include "ctl/local_time.hpp"
#include "ctl/service_system.hpp"
#include "product/names.hpp"

#include <algorithm>
#include <windows.h>

namespace vfl::ctl {

namespace {

// How often both files are read anew, because the log was rotated between them.
constexpr int most_readings = 5;

// A file that is open for a moment, with all sharing.
struct open_file {
    explicit open_file(const std::wstring& path)
        : handle(CreateFileW(path.c_str(), GENERIC_READ,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {
        BY_HANDLE_FILE_INFORMATION info;
        if (handle == INVALID_HANDLE_VALUE || !GetFileInformationByHandle(handle, &info)) {
            error = GetLastError();
            return;
        }
        identity = {info.dwVolumeSerialNumber,
                    (std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow};
        last_write =
            (std::uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32) | info.ftLastWriteTime.dwLowDateTime;
        size = (std::uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
    }
    ~open_file() {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    HANDLE handle;
    std::uint32_t error = 0; // the rest has no meaning with one
    file_identity identity;
    std::uint64_t last_write = 0, size = 0;
};

} // namespace

file_reading read_shared(const std::wstring& path, const std::optional<file_identity>& expected,
                         std::uint64_t position) {
    file_reading found;
    const open_file file(path);
    if (file.error != 0) {
        found.error = file.error;
        return found;
    }
    found.identity = file.identity;
    found.last_write = file.last_write;
    if (expected && *expected == found.identity && position <= file.size)
        found.start = position;
    LARGE_INTEGER start;
    start.QuadPart = static_cast<LONGLONG>(found.start);
    if (!SetFilePointerEx(file.handle, start, nullptr, FILE_BEGIN)) {
        found.error = GetLastError();
        return found;
    }
    found.bytes.resize(static_cast<std::size_t>(file.size - found.start));
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

file_reading product_log::read(which of, const std::optional<file_identity>& expected,
                               std::uint64_t position) {
    return read_shared(of == which::current ? current_path : old_path, expected, position);
}

product_log product_log_in(const std::wstring& data_folder) {
    product_log files;
    files.current_path = data_folder + log_file_name;
    files.old_path = data_folder + old_log_file_name;
    return files;
}

void add_current(product_log& files, log_reading& reading) {
    reading.current = files.read(log_source::which::current, {}, 0);
    if (reading.current.error == 0)
        reading.parts.push_back({reading.current.bytes, to_local(reading.current.last_write)});
}

log_reading read_product_log(product_log& files) {
    log_reading reading;
    for (int i = 0; i < most_readings; ++i) {
        reading = {};
        const file_identity before = open_file(files.current_path).identity;
        file_reading old = files.read(log_source::which::old, {}, 0);
        if (old.error == 0)
            reading.parts.push_back({std::move(old.bytes), to_local(old.last_write)});
        else if (old.error != ERROR_FILE_NOT_FOUND && old.error != ERROR_PATH_NOT_FOUND)
            reading.old_error = old.error;
        add_current(files, reading);
        // After a rotation in between the two are no neighbours.
        if (reading.current.error != 0 || reading.current.identity == before)
            break;
    }
    if (const auto start = live_service().query().process_start)
        reading.process_start = to_local(*start);
    return reading;
}

} // namespace vfl::ctl
