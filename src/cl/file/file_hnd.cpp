#include "cl/file/file_hnd.hpp"

#include "cl/file/random_gen.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <cstring>

namespace cl {

namespace {

// The longest character of any ANSI code page, with room to spare, and a zero after it.
constexpr int max_char_bytes = 7;

// The system moves less than 4 GiB in one call.
constexpr std::int64_t max_call = std::int64_t{1} << 30;

// Moves n bytes at p in as many calls as it takes, usually one. Returns the bytes moved, or -1 if the first
// call failed; stops at a call that moves less than it was asked for.
template <class Byte, class Call>
std::int64_t transfer(Byte* p, std::int64_t n, Call call) {
    std::int64_t done = 0;
    for (;;) {
        const auto part = static_cast<std::uint32_t>(std::min(n - done, max_call));
        std::uint32_t count = 0;
        if (!call(p + done, part, count))
            return done ? done : -1;
        done += count;
        if (count < part || done >= n)
            return done;
    }
}

std::wstring temp_name(const std::wstring& base_path) {
    wchar_t digits[13]; // 64 bits in base 36
    wchar_t* p = std::end(digits);
    std::uint64_t value = name_rng.next();
    do
        *--p = L"0123456789abcdefghijklmnopqrstuvwxyz"[value % 36];
    while (value /= 36);
    return base_path + std::wstring(p, std::end(digits)) + L".tmp";
}

} // namespace

std::int64_t file_hnd::size() {
    std::int64_t bytes = 0;
    keep(os::file_size(handle, bytes));
    return bytes;
}

bool file_hnd::close() {
    if (handle == os::invalid_file)
        return false;
    const bool closed = keep(os::close_file(handle));
    handle = os::invalid_file;
    return closed;
}

bool file_hnd::read_line(std::wstring& out) {
    std::string narrow;
    const bool got = read_line(narrow);
    out = narrow_to_wide(narrow, 0);
    return got;
}

bool file_hnd::read_line(std::string& out) {
    out.clear();
    for (;;) {
        char c;
        if (read(&c, 1) != 1) {
            eol = eol_none;
            return !out.empty();
        }
        if (c == '\n') {
            eol = eol_lf;
            return true;
        }
        if (c == '\r') {
            eol = eol_cr;
            if (read(&pushback, 1) == 1) {
                if (pushback == '\n')
                    eol = eol_crlf;
                else
                    mode |= has_pushback;
            }
            return true;
        }
        out += c;
    }
}

bool file_hnd::open(const std::wstring& path, std::uint32_t flags, std::uint32_t share) {
    close();
    os::file_request request;
    if (!map_open_flags(flags, share, request)) {
        last_error = refused_arguments;
        return false;
    }
    last_error = os::open_file(path.c_str(), request, handle);
    const std::uint32_t access = flags & open_access_mask;
    mode = access == open_read ? can_read : access == open_write ? can_write : can_read | can_write;
    if (!is_open())
        return false;
    if (flags & open_append)
        seek(0, os::from_end);
    return true;
}

file_hnd::~file_hnd() {
    file_hnd::close();
}

bool file_hnd::is_open() {
    return handle != os::invalid_file;
}

std::int64_t file_hnd::seek(std::int64_t offset, std::uint32_t origin) {
    drop_pushback();
    return move_pointer(offset, origin);
}

std::int64_t file_hnd::tell() {
    return move_pointer(0, os::from_position);
}

std::int64_t file_hnd::read(void* buf, std::int64_t n) {
    if (!(mode & can_read))
        return -1;
    auto* p = static_cast<unsigned char*>(buf);
    std::int64_t given = 0;
    if ((mode & has_pushback) && n >= 1) {
        *p++ = pushback;
        drop_pushback();
        given = 1;
        --n;
    }
    const std::int64_t got =
        transfer(p, std::max<std::int64_t>(n, 0), [&](void* at, std::uint32_t part, std::uint32_t& count) {
            return keep(os::read_file(handle, at, part, count));
        });
    if (got < 0 && given) {
        last_error = 0;
        return given;
    }
    return got < 0 ? -1 : got + given;
}

std::int64_t file_hnd::write(const void* buf, std::int64_t n) {
    if (!(mode & can_write))
        return -1;
    return transfer(static_cast<const unsigned char*>(buf), std::max<std::int64_t>(n, 0),
                    [&](const void* at, std::uint32_t part, std::uint32_t& count) {
                        return keep(os::write_file(handle, at, part, count));
                    });
}

bool file_hnd::set_end() {
    return keep(os::set_end_of_file(handle));
}

bool file_hnd::sync() {
    return true;
}

bool file_hnd::write_text(const std::wstring& text) {
    return write_text(wide_to_narrow(text, 0));
}

bool file_hnd::write_text(const std::string& text) {
    const auto n = static_cast<std::int64_t>(text.size());
    return write(text.data(), n) == n;
}

bool file_hnd::put_char(wchar_t c) {
    const wchar_t text[2] = {c, 0};
    char bytes[max_char_bytes + 1];
    wide_to_ansi_buf(bytes, text, sizeof bytes);
    // A NUL converts to no byte at all: nothing goes out, and that is a success.
    const auto n = static_cast<std::int64_t>(std::strlen(bytes));
    return write(bytes, n) == n;
}

bool file_hnd::put_char(char c) {
    return write(&c, 1) == 1;
}

bool file_hnd::get_char(wchar_t* out) {
    // Only the conversion knows how long the next character is: read ahead and give back what is too much.
    char bytes[max_char_bytes + 1];
    const std::int64_t got = read(bytes, max_char_bytes);
    if (got < 1)
        return false;
    bytes[got] = 0;
    wchar_t wide[2];
    ansi_to_wide_buf(wide, bytes, 2);
    *out = wide[0];
    char back[max_char_bytes + 1];
    wide_to_ansi_buf(back, wide, sizeof back);
    seek(static_cast<std::int64_t>(std::strlen(back)) - got, os::from_position);
    return true;
}

bool file_hnd::get_char(char* out) {
    return read(out, 1) == 1;
}

bool file_hnd::open_temp(const std::wstring& base_path, std::uint32_t flags, std::wstring* name) {
    constexpr int max_tries = 10000;
    for (int i = 0; i < max_tries; ++i) {
        const std::wstring path = temp_name(base_path);
        if (open(path, flags | open_create | open_exclusive | open_temporary | open_short_lived,
                 share_deny_all)) {
            if (name)
                *name = path;
            return true;
        }
        if (last_error != os::error_exists)
            return false;
    }
    return false;
}

bool file_hnd::reserve(std::int64_t size) {
    return keep(os::reserve_file(handle, size));
}

bool file_hnd::stamp(packed_time& out) {
    return (!(mode & can_write) || keep(os::settle_write_time(handle))) &&
           file_write_time(handle, out, false);
}

bool file_hnd::was_not_found() {
    return !is_open() && last_error == os::error_not_found;
}

bool file_hnd::was_sharing_violation() {
    return !is_open() && last_error == os::error_sharing;
}

bool file_hnd::keep(std::uint32_t error) {
    if (error)
        last_error = error;
    return error == 0;
}

std::int64_t file_hnd::move_pointer(std::int64_t offset, std::uint32_t origin) {
    std::int64_t position = -1;
    return keep(os::seek_file(handle, offset, origin, position)) ? position : -1;
}

} // namespace cl
