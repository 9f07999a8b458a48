#include "ctl/log_source.hpp"

#include "cl/ini/ini_file.hpp"
#include "cl/os/clock.hpp"
#include "cl/text/string_util.hpp"
#include "ctl/local_time.hpp"
#include "ctl/service_system.hpp"
#include "product/names.hpp"

#include <algorithm>
#include <windows.h>

namespace vfl::ctl {

namespace {

// A rotation may be near when the log is this close to its limit: the old generation is left alone then, for
// this long at the most.
constexpr std::uint64_t rotation_margin = 0x40000;
constexpr std::uint32_t rotation_wait_ms = 2000;

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

std::uint64_t rotation_limit(const std::wstring& data_folder) {
    cl::ini_file settings;
    settings.set_file(data_folder + settings_file_name, true);
    std::wstring text;
    // The class would wait for a file that isn't there to come free.
    if (GetFileAttributesW(settings.path.c_str()) == INVALID_FILE_ATTRIBUTES ||
        !settings.get_value(host_section, max_trace_size_key, text))
        return default_max_trace_size;
    return static_cast<std::uint32_t>(cl::parse_int(text, false));
}

void add_current(product_log& files, log_reading& reading) {
    reading.current = files.read(log_source::which::current, {}, 0);
    if (reading.current.error == 0)
        reading.parts.push_back({reading.current.bytes, to_local(reading.current.last_write)});
}

log_reading read_product_log(product_log& files, std::uint64_t limit) {
    log_reading reading;
    const std::uint32_t begin = cl::os::tick_count();
    for (;;) {
        const file_reading current = files.read(log_source::which::current, {}, 0);
        if (current.error != 0 || current.bytes.size() + rotation_margin < limit)
            break;
        reading.old_left_out = cl::os::tick_count() - begin >= rotation_wait_ms;
        if (reading.old_left_out)
            break;
        cl::os::sleep_ms(100);
    }
    if (!reading.old_left_out) {
        file_reading old = files.read(log_source::which::old, {}, 0);
        if (old.error == 0)
            reading.parts.push_back({std::move(old.bytes), to_local(old.last_write)});
        else if (old.error != ERROR_FILE_NOT_FOUND && old.error != ERROR_PATH_NOT_FOUND)
            reading.old_error = old.error;
    }
    add_current(files, reading);
    if (const auto start = live_service().query().process_start)
        reading.process_start = to_local(*start);
    return reading;
}

} // namespace vfl::ctl
