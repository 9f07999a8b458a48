#include "cl/file/file_stream.hpp"

#include "cl/text/ascii_run.hpp"

#include <algorithm>
#include <cstring>

namespace cl {

namespace {

// A line is looked for in at least so many bytes.
constexpr std::ptrdiff_t min_scan = 16;

} // namespace

file_stream::file_stream()
    : buf(new char[static_cast<std::size_t>(buf_size)]), read_pos(buf.get()), read_end(buf.get()),
      write_pos(buf.get()), write_end(buf.get()) {}

file_stream::~file_stream() {
    file_stream::close();
}

bool file_stream::close() {
    sync();
    return file_hnd::close();
}

bool file_stream::read_line(std::wstring& out) {
    return file_hnd::read_line(out);
}

bool file_stream::read_line(std::string& out) {
    out.clear();
    if (mode & has_pushback) {
        out += static_cast<char>(pushback);
        drop_pushback();
    }
    if (read_end - read_pos < min_scan)
        refill();
    for (;;) {
        char* const end = find_line_end(read_pos, read_end);
        out.append(read_pos, end);
        read_pos = end;
        if (end == read_end) {
            if (refill())
                continue;
            eol = eol_none;
            return !out.empty();
        }
        if (*end == '\n') {
            ++read_pos;
            eol = eol_lf;
            return true;
        }
        eol = eol_cr;
        // The CR stays in the buffer while the byte after it is fetched.
        if (read_end - read_pos > 1 || refill()) {
            if (read_pos[1] == '\n') {
                ++read_pos;
                eol = eol_crlf;
            }
        }
        ++read_pos;
        return true;
    }
}

std::int64_t file_stream::seek(std::int64_t offset, std::uint32_t origin) {
    sync();
    drop_pushback();
    return move_pointer(offset, origin);
}

std::int64_t file_stream::tell() {
    sync();
    return move_pointer(0, os::from_position);
}

std::int64_t file_stream::read(void* to, std::int64_t n) {
    auto* p = static_cast<char*>(to);
    n = std::max<std::int64_t>(n, 0);
    std::int64_t given = 0;
    if ((mode & has_pushback) && n >= 1) {
        *p++ = static_cast<char>(pushback);
        drop_pushback();
        given = 1;
        --n;
    }
    const auto take = [&](std::int64_t count) {
        if (count)
            std::memcpy(p, read_pos, static_cast<std::size_t>(count));
        read_pos += count;
        p += count;
        given += count;
        n -= count;
    };
    if (read_end - read_pos >= n) {
        take(n);
        return given;
    }
    if (!(mode & can_read))
        return given ? given : -1;
    if (!flush_writes())
        return given;
    take(read_end - read_pos);
    const std::int64_t got = file_hnd::read(p, n);
    if (got > 0)
        given += got;
    if (got == n)
        refill();
    return given;
}

std::int64_t file_stream::write(const void* from, std::int64_t n) {
    n = std::max<std::int64_t>(n, 0);
    const auto put = [&] {
        if (n)
            std::memcpy(write_pos, from, static_cast<std::size_t>(n));
        write_pos += n;
        return n;
    };
    if (write_end - write_pos >= n)
        return put();
    if (!(mode & can_write))
        return -1;
    read_pos = read_end = buf.get();
    if (write_end == buf.get() && n < buf_size) {
        write_end = buf.get() + buf_size;
        return put();
    }
    if (!flush_writes())
        return 0;
    return file_hnd::write(from, n);
}

bool file_stream::set_end() {
    // Cuts also where a write was lost: what stands after is older.
    const bool synced = sync();
    return file_hnd::set_end() && synced;
}

bool file_stream::sync() {
    if (const std::int64_t waiting = write_pos - buf.get(); waiting > 0) {
        const std::int64_t put = file_hnd::write(buf.get(), waiting);
        write_pos = buf.get();
        if (put < waiting)
            return false;
        write_end = buf.get();
        return true;
    }
    if (read_pos != read_end) {
        move_pointer(read_pos - read_end, os::from_position);
        drop_pushback();
        read_pos = read_end = buf.get();
    }
    return true;
}

bool file_stream::flush_writes() {
    const std::int64_t waiting = write_pos - buf.get();
    if (waiting == 0)
        return true;
    const std::int64_t put = file_hnd::write(buf.get(), waiting);
    if (put == waiting) {
        write_pos = write_end = buf.get();
        return true;
    }
    if (put > 0) {
        std::memmove(buf.get(), buf.get() + put, static_cast<std::size_t>(waiting - put));
        write_pos -= put;
    }
    return false;
}

bool file_stream::refill() {
    if (!flush_writes())
        return false;
    write_pos = write_end = buf.get();
    const std::ptrdiff_t unread = read_end - read_pos;
    if (unread && read_pos != buf.get())
        std::memmove(buf.get(), read_pos, static_cast<std::size_t>(unread));
    read_pos = buf.get();
    read_end = read_pos + unread;
    const std::int64_t got = file_hnd::read(read_end, buf_size - unread);
    if (got > 0)
        read_end += got;
    return got > 0;
}

} // namespace cl
