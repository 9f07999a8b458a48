#include "cl/file/uni_file.hpp"

#include "cl/text/ascii_run.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace cl {

namespace {

// The block in which files are copied and compared, and the most that is written over a file in one call.
constexpr std::int64_t copy_block = 4096;
constexpr std::int64_t max_at_once = 1 << 20;

// Fills n bytes with blanks; the last may be a part of one.
void put_blanks(char* to, std::int64_t n, std::uint32_t encoding) {
    const int width = encoding < encoding_utf16le ? 1 : encoding < encoding_utf32le ? 2 : 4;
    const bool big_endian = encoding == encoding_utf16be || encoding == encoding_utf32be;
    for (std::int64_t i = 0; i < n; ++i)
        to[i] = i % width == (big_endian ? width - 1 : 0) ? ' ' : '\0';
}

// How many of n bytes, in whole blocks or all of them, are the same.
std::int64_t equal_blocks(const char* a, const char* b, std::int64_t n) {
    std::int64_t at = 0;
    while (at < n) {
        const std::int64_t block = std::min(n - at, copy_block);
        if (std::memcmp(a + at, b + at, static_cast<std::size_t>(block)) != 0)
            break;
        at += block;
    }
    return at;
}

} // namespace

uni_file::~uni_file() = default;

bool uni_file::open(const std::wstring& path, std::uint32_t flags, std::uint32_t share) {
    return open_as(path, flags, encoding_utf16le, share);
}

bool uni_file::open_as(const std::wstring& path, std::uint32_t flags, std::uint32_t default_encoding,
                       std::uint32_t share) {
    if (!file_hnd::open(path, flags, share))
        return false;
    const bool detected = detect_encoding(default_encoding);
    if (flags & open_append)
        seek(0, os::from_end);
    return detected;
}

bool uni_file::to_start() {
    sync();
    drop_pushback();
    return move_pointer(0, os::from_start) == 0;
}

bool uni_file::detect_encoding(std::uint32_t default_encoding) {
    drop_char_pushback();
    eol = eol_none;
    encoding = encoding_ansi;
    bom_len = 0;
    low_surrogate = 0;
    high_surrogate = 0;
    pending_byte = nullptr;
    to_start();

    const auto next_is = [this](std::uint8_t wanted) {
        std::uint8_t byte;
        return read(&byte, 1) == 1 && byte == wanted;
    };
    // A read that fails gives no byte, as the end of the file does; last_error tells them apart.
    const std::uint32_t kept_error = std::exchange(last_error, 0);
    std::uint8_t byte;
    if ((mode & can_read) && read(&byte, 1) == 1) {
        std::uint32_t found = encoding_ansi;
        if (byte == 0xEF && next_is(0xBB) && next_is(0xBF))
            found = encoding_utf8;
        else if (byte == 0xFE && next_is(0xFF))
            found = encoding_utf16be;
        else if (byte == 0xFF && next_is(0xFE))
            // NOLINTNEXTLINE(misc-redundant-expression): each call reads a byte
            found = next_is(0) && next_is(0) ? encoding_utf32le : encoding_utf16le;
        else if (byte == 0 && next_is(0) && next_is(0xFE) && next_is(0xFF))
            found = encoding_utf32be;
        if (last_error == 0)
            last_error = kept_error;
        set_encoding(found, false);
        seek(0, os::from_start);
        return true;
    }
    // A file that can't be read may have content: nothing is written over it.
    if (last_error)
        return false;
    last_error = kept_error;
    if ((mode & can_read) && !(mode & can_write))
        return true;
    set_encoding(default_encoding, false);
    sync();
    if (move_pointer(0, os::from_start) == 0 && bom_len) {
        write(byte_order_mark(encoding).data(), bom_len);
        sync();
    }
    return true;
}

bool uni_file::set_encoding(std::uint32_t value, bool no_bom) {
    if (value >= encoding_count) {
        bom_len = 0;
        return false;
    }
    encoding = value;
    bom_len = no_bom ? 0 : static_cast<std::uint32_t>(byte_order_mark(value).size());
    return true;
}

bool uni_file::write_bom() {
    sync();
    if (move_pointer(0, os::from_start) != 0)
        return false;
    bool written = true;
    if (bom_len) {
        const std::string_view mark = byte_order_mark(encoding);
        const auto n = static_cast<std::int64_t>(mark.size());
        written = write(mark.data(), n) == n;
    }
    return sync() && written;
}

std::int64_t uni_file::seek(std::int64_t offset, std::uint32_t origin) {
    drop_char_pushback();
    sync();
    drop_pushback();
    const std::int64_t raw = move_pointer(origin == os::from_start ? offset + bom_len : offset, origin);
    return raw < 0 ? -1 : raw - bom_len;
}

std::int64_t uni_file::tell() {
    sync();
    const std::int64_t raw = move_pointer(0, os::from_position);
    return raw < 0 ? -1 : raw - bom_len;
}

bool uni_file::copy_to(uni_file& dst, bool rewind_both) {
    if (rewind_both) {
        // What a sync can't write here is lost, and the rest is copied all the same. Deliberate: callers that
        // mind sync first.
        if (!to_start() || !dst.to_start())
            return false;
        return overwrite(dst) && dst.set_end() && dst.detect_encoding(encoding);
    }
    const auto block = std::make_unique<char[]>(copy_block);
    // A read that fails gives no byte, as the end of the file does; last_error tells them apart.
    const std::uint32_t kept_error = std::exchange(last_error, 0);
    std::int64_t n;
    while ((n = read(block.get(), copy_block)) > 0)
        if (dst.write(block.get(), n) != n)
            break;
    const bool copied = n == 0 && last_error == 0;
    if (last_error == 0)
        last_error = kept_error;
    return copied;
}

// Leaves dst's position where the new text ends.
bool uni_file::overwrite(uni_file& dst) {
    // An unknown size isn't an empty file.
    std::int64_t size = 0;
    std::int64_t old_size = 0;
    if (!keep(os::file_size(handle, size)) || !dst.keep(os::file_size(dst.handle, old_size)))
        return false;
    const std::int64_t part = std::min(std::max(size, old_size), max_at_once);
    const auto text = std::make_unique<char[]>(static_cast<std::size_t>(part));
    const auto old_text = std::make_unique<char[]>(static_cast<std::size_t>(part));
    bool same = (dst.mode & can_read) != 0;
    for (std::int64_t at = 0; at < size;) {
        const std::int64_t n = std::min(size - at, part);
        if (read(text.get(), n) != n)
            return false;
        std::int64_t first = 0;
        if (same) {
            const std::int64_t old_n = dst.read(old_text.get(), n);
            first = equal_blocks(text.get(), old_text.get(), std::min(n, old_n));
            same = first == n;
        }
        at += n;
        if (same)
            continue;
        const bool covers = at == size && old_size > size && n + old_size - size <= part;
        const std::int64_t rest = covers ? old_size - size : 0;
        put_blanks(text.get() + n, rest, encoding);
        const std::int64_t count = n + rest - first;
        if (!dst.sync() || dst.move_pointer(at - n + first, os::from_start) < 0 ||
            dst.write(text.get() + first, count) != count || !dst.sync())
            return false;
    }
    return dst.sync() && dst.move_pointer(size, os::from_start) == size;
}

bool uni_file::pass_lines(uni_file& dst, char stop) {
    if (encoding != dst.encoding || encoding > encoding_utf8 || !is_plain() || !dst.is_plain() ||
        text_flags != skip_bom_at_line_start || low_surrogate || (mode & file_hnd::has_pushback))
        return true;
    for (;;) {
        char* p = read_pos;
        for (;;) {
            char* const end = find_plain_end(p, read_end);
            if (read_end - end < 2 || end[0] != '\r' || end[1] != '\n' || (p != end && *p <= ' ') ||
                *p == stop)
                break;
            p = end + 2;
        }
        const std::int64_t n = p - read_pos;
        if (n > 0 && dst.write(read_pos, n) != n)
            return false;
        read_pos = p;
        // A line that the buffer doesn't hold whole may be there after a refill, unless it fills the buffer.
        if (read_end - find_plain_end(p, read_end) >= 2 || read_end - p == buf_size || !refill())
            return true;
    }
}

bool uni_file::write_line(const std::wstring& text) {
    static constexpr wchar_t crlf[] = {L'\r', L'\n'};
    if (is_plain())
        return put_run(text.data(), text.data() + text.size()) && put_run(crlf, crlf + 2);
    return write_text(text + std::wstring(crlf, 2));
}

} // namespace cl
