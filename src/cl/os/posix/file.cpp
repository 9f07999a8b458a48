// Files of the development port. Each open takes advisory locks on a few bytes far beyond any file's end: one
// for each right that it uses and one for each that it denies to others. An opener looks for those of others,
// in this process and in others alike, because the locks belong to the open file description. Two processes
// that open a file at the same moment may both be refused. A killed process may leave its temporary file
// behind.
#include "cl/os/file.hpp"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace cl::os {

namespace {

struct open_state {
    int fd;
    std::uint32_t access;
    std::string remove_path; // set with delete_on_close
};

// Makes "take the locks, then look for others'" one step within the process.
constinit std::mutex open_lock;

// The lock bytes. Three rights in the order read, write, delete, each once as used and once as denied.
constexpr off_t used_bytes = off_t{1} << 62;
constexpr off_t denied_bytes = used_bytes + 3;
constexpr std::uint32_t rights[3] = {access_read, access_write, access_delete};
constexpr std::uint32_t shares[3] = {share_read, share_write, share_delete};

open_state* state(file_handle file) {
    return file == invalid_file ? nullptr : reinterpret_cast<open_state*>(file);
}

std::uint32_t error_number(int code) {
    switch (code) {
    case ENOENT:
        return error_not_found;
    case ENOTDIR:
        return error_path_not_found;
    case EMFILE:
    case ENFILE:
        return error_too_many_open_files;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS:
    case ETXTBSY:
        return error_access_denied;
    case EBADF:
        return error_invalid_handle;
    case ENOMEM:
        return error_not_enough_memory;
    case EXDEV:
        return error_not_same_device;
    case EEXIST:
        return error_exists;
    case EINVAL:
        return error_invalid_parameter;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return error_disk_full;
    case ENAMETOOLONG:
        return error_filename_too_long;
    default:
        return error_gen_failure;
    }
}

// UTF-16 to UTF-8, a backslash to a slash. False for a name that Windows refuses.
bool system_path(const wchar_t* path, std::string& out) {
    for (; *path; ++path) {
        auto c = static_cast<std::uint32_t>(*path);
        if (c < 32 || c == '<' || c == '>' || c == '"' || c == '|' || c == '?' || c == '*')
            return false;
        if (c >= 0xD800 && c < 0xDC00 && path[1] >= 0xDC00 && path[1] <= 0xDFFF)
            c = (c << 10) + static_cast<std::uint32_t>(*++path) - 0x35FDC00;
        if (c < 0x80) {
            out += c == '\\' ? '/' : static_cast<char>(c);
            continue;
        }
        const int tail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        constexpr std::uint32_t lead[4] = {0, 0xC0, 0xE0, 0xF0};
        out += static_cast<char>(lead[tail] | c >> 6 * tail);
        for (int i = tail - 1; i >= 0; --i)
            out += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
    }
    return true;
}

// A missing file's error: which of the two depends on the folder.
std::uint32_t path_error(const std::string& path, int code) {
    if (code != ENOENT)
        return error_number(code);
    const std::size_t slash = path.rfind('/');
    struct stat info;
    const bool has_folder = slash == std::string::npos || slash == 0 ||
                            (stat(path.substr(0, slash).c_str(), &info) == 0 && S_ISDIR(info.st_mode));
    return has_folder ? error_not_found : error_path_not_found;
}

struct flock lock_byte(short type, off_t at) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = at;
    lock.l_len = 1;
    return lock;
}

// Whether another open file description holds a lock on the byte.
bool held_by_others(int fd, off_t at) {
    struct flock lock = lock_byte(F_WRLCK, at);
    return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Takes the locks that show this open to others and looks for a conflict. `momentary` are rights that are
// needed now but not kept.
bool take_share(int fd, std::uint32_t access, std::uint32_t share, std::uint32_t momentary) {
    const std::lock_guard guard(open_lock);
    for (int i = 0; i < 3; ++i) {
        struct flock used = lock_byte(F_RDLCK, used_bytes + i);
        if (access & rights[i])
            fcntl(fd, F_OFD_SETLK, &used);
        struct flock denied = lock_byte(F_RDLCK, denied_bytes + i);
        if (!(share & shares[i]))
            fcntl(fd, F_OFD_SETLK, &denied);
    }
    for (int i = 0; i < 3; ++i) {
        if (((access | momentary) & rights[i]) && held_by_others(fd, denied_bytes + i))
            return false;
        if (!(share & shares[i]) && held_by_others(fd, used_bytes + i))
            return false;
    }
    return true;
}

// Whether some holder of the file forbids others to remove or rename it.
bool removal_denied(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    const bool denied = held_by_others(fd, denied_bytes + 2);
    ::close(fd);
    return denied;
}

// Opens, and with create_new or open_always creates, without emptying anything yet.
int open_descriptor(const std::string& path, const file_request& request, bool truncates) {
    int flags = (request.access & access_write) || truncates ? O_RDWR : O_RDONLY;
    if (!request.inheritable)
        flags |= O_CLOEXEC;
    if (request.attributes & write_through)
        flags |= O_DSYNC;
    if (request.disposition == file_disposition::create_new)
        flags |= O_CREAT | O_EXCL;
    else if (request.disposition == file_disposition::create_always ||
             request.disposition == file_disposition::open_always)
        flags |= O_CREAT;
    return open(path.c_str(), flags, 0666);
}

} // namespace

std::uint32_t open_file(const wchar_t* path, const file_request& request, file_handle& file) {
    file = invalid_file;
    std::string name;
    if (!*path)
        return error_path_not_found;
    if (!system_path(path, name))
        return error_invalid_name;
    const bool truncates = request.disposition == file_disposition::create_always ||
                           request.disposition == file_disposition::truncate_existing;
    if (request.disposition == file_disposition::truncate_existing && !(request.access & access_write))
        return error_invalid_parameter;
    const int fd = open_descriptor(name, request, truncates);
    if (fd < 0)
        return path_error(name, errno);
    struct stat info {};
    std::uint32_t error = fstat(fd, &info) == 0 ? 0 : error_number(errno);
    if (!error && S_ISDIR(info.st_mode))
        error = error_access_denied;
    // A device is shared by all: its users are none of our processes.
    if (!error && S_ISREG(info.st_mode)) {
        if (!take_share(fd, request.access, request.share, truncates ? access_write : 0))
            error = error_sharing;
        else if (truncates && ftruncate(fd, 0) != 0)
            error = error_number(errno);
    }
    if (error) {
        ::close(fd);
        return error;
    }
    if (request.attributes & (sequential_scan | random_access))
        posix_fadvise(fd, 0, 0,
                      (request.attributes & sequential_scan) != 0 ? POSIX_FADV_SEQUENTIAL
                                                                  : POSIX_FADV_RANDOM);
    file = reinterpret_cast<file_handle>(new open_state{
        fd, request.access, (request.attributes & delete_on_close) != 0 ? name : std::string()});
    return 0;
}

std::uint32_t close_file(file_handle file) {
    open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (!s->remove_path.empty()) {
        // Only the file that was opened, not one that has taken its name since.
        struct stat mine, named;
        if (fstat(s->fd, &mine) == 0 && lstat(s->remove_path.c_str(), &named) == 0 &&
            mine.st_dev == named.st_dev && mine.st_ino == named.st_ino)
            unlink(s->remove_path.c_str());
    }
    const std::uint32_t error = ::close(s->fd) == 0 ? 0 : error_number(errno);
    delete s;
    return error;
}

std::uint32_t read_file(file_handle file, void* buf, std::uint32_t n, std::uint32_t& count) {
    count = 0;
    const open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (!(s->access & access_read))
        return error_access_denied;
    ssize_t got;
    do
        got = ::read(s->fd, buf, n);
    while (got < 0 && errno == EINTR);
    if (got < 0)
        return error_number(errno);
    count = static_cast<std::uint32_t>(got);
    return 0;
}

std::uint32_t write_file(file_handle file, const void* buf, std::uint32_t n, std::uint32_t& count) {
    count = 0;
    const open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (!(s->access & access_write))
        return error_access_denied;
    ssize_t put;
    do
        put = ::write(s->fd, buf, n);
    while (put < 0 && errno == EINTR);
    if (put < 0)
        return error_number(errno);
    count = static_cast<std::uint32_t>(put);
    return 0;
}

std::uint32_t seek_file(file_handle file, std::int64_t offset, std::uint32_t origin, std::int64_t& position) {
    const open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (origin > from_end)
        return error_invalid_parameter;
    constexpr int whence[3] = {SEEK_SET, SEEK_CUR, SEEK_END};
    const off_t at = lseek(s->fd, offset, whence[origin]);
    if (at < 0)
        return errno == EINVAL ? error_negative_seek : error_number(errno);
    position = at;
    return 0;
}

std::uint32_t set_end_of_file(file_handle file) {
    const open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (!(s->access & access_write))
        return error_access_denied;
    return ftruncate(s->fd, lseek(s->fd, 0, SEEK_CUR)) == 0 ? 0 : error_number(errno);
}

std::uint32_t reserve_file(file_handle file, std::int64_t size) {
    const open_state* s = state(file);
    if (!s)
        return error_invalid_handle;
    if (!(s->access & access_write))
        return error_access_denied;
    int result;
    do
        result = size > 0 ? fallocate(s->fd, FALLOC_FL_KEEP_SIZE, 0, size) : 0;
    while (result != 0 && errno == EINTR);
    if (result == 0)
        return 0;
    return errno == EOPNOTSUPP || errno == ENOSYS ? error_not_supported : error_number(errno);
}

std::uint32_t file_size(file_handle file, std::int64_t& size) {
    const open_state* s = state(file);
    struct stat info {};
    if (!s)
        return error_invalid_handle;
    if (fstat(s->fd, &info) != 0)
        return error_number(errno);
    size = info.st_size;
    return 0;
}

std::uint32_t last_write_time(file_handle file, std::uint64_t& time) {
    const open_state* s = state(file);
    struct stat info {};
    if (!s)
        return error_invalid_handle;
    if (fstat(s->fd, &info) != 0)
        return error_number(errno);
    constexpr std::int64_t seconds_to_1970 = 11644473600;
    time = static_cast<std::uint64_t>((info.st_mtim.tv_sec + seconds_to_1970) * 10000000 +
                                      info.st_mtim.tv_nsec / 100);
    return 0;
}

// A write sets the time at once.
std::uint32_t settle_write_time(file_handle file) {
    return state(file) ? 0 : error_invalid_handle;
}

std::uint32_t to_local_file_time(std::uint64_t utc, std::uint64_t& local) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    local = utc + static_cast<std::uint64_t>(parts.tm_gmtoff * 10000000);
    return 0;
}

std::uint32_t remove_file(const wchar_t* path) {
    std::string name;
    if (!system_path(path, name))
        return error_invalid_name;
    if (removal_denied(name))
        return error_sharing;
    return unlink(name.c_str()) == 0 ? 0 : path_error(name, errno);
}

std::uint32_t rename_file(const wchar_t* from, const wchar_t* to) {
    std::string source, target;
    if (!system_path(from, source) || !system_path(to, target))
        return error_invalid_name;
    if (removal_denied(source))
        return error_sharing;
    if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    return errno == EEXIST ? error_already_exists : path_error(source, errno);
}

} // namespace cl::os
