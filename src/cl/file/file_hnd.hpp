// Root of the file classes: one handle of the operating system, without a buffer. It reads and writes bytes,
// and text in the ANSI code page.
//
// Failure is a result: false, -1, or a count below the request, with the system's error number in last_error.
// Nothing but a lack of memory throws. The higher operations call the lower ones through their slots, so a
// subclass that changes `read` changes the line reader with it; the order of the slots is fixed. An object
// belongs to one thread at a time.
#pragma once

#include "cl/file/file_time.hpp"
#include "cl/file/open_flags.hpp"
#include "cl/os/file.hpp"

#include <cstdint>
#include <string>

namespace cl {

class file_hnd {
protected:
    os::file_handle handle = os::invalid_file;

public:
    // Error number of the last operation that failed. A successful open sets it to 0, a refused one to
    // refused_arguments; no other success changes it.
    std::uint32_t last_error = 0;
    static constexpr std::uint32_t refused_arguments = 0xFFFFFFFF;

    // How the last line read ended.
    enum line_end : std::uint8_t { eol_none = 0, eol_lf = 1, eol_cr = 2, eol_crlf = 3 };
    std::uint8_t eol : 5 = eol_none;

protected:
    enum mode_bits : std::uint8_t { can_read = 1, can_write = 2, has_pushback = 4 };
    std::uint8_t mode : 3 = 0;
    std::uint8_t pushback = 0; // valid with has_pushback: the byte read too far after a lone CR

public:
    file_hnd() = default;
    file_hnd(const file_hnd&) = delete;
    file_hnd& operator=(const file_hnd&) = delete;

    // In bytes, as the system knows it; 0 if it isn't known.
    virtual std::int64_t size();
    // False if it wasn't open or the system reports an error; the object is closed in any case.
    virtual bool close();
    // Reads up to a line end (LF, CR or CR LF), which is left out and shown in `eol`. A last line without one
    // counts; at the end of the file false.
    virtual bool read_line(std::wstring& out);
    virtual bool read_line(std::string& out);
    // See open_flags and share_words. Closes first. The file keeps the words' access alone: closing doesn't
    // take it back, and an open that is refused for its arguments leaves that of before.
    virtual bool open(const std::wstring& path, std::uint32_t flags, std::uint32_t share);
    virtual ~file_hnd();
    virtual bool is_open();
    // Moves to `offset` bytes from an os::seek_origin. Returns the new position or -1.
    virtual std::int64_t seek(std::int64_t offset, std::uint32_t origin);
    // Deliberate: while a byte is pushed back the position is one too far.
    virtual std::int64_t tell();
    // Return the bytes moved, or -1. A negative n counts as 0.
    virtual std::int64_t read(void* buf, std::int64_t n);
    virtual std::int64_t write(const void* buf, std::int64_t n);
    // Cuts the file at the position.
    virtual bool set_end();
    // Brings what is buffered to the file, and the file's position to the logical one.
    virtual bool sync();
    // True if all of it went out. No line end is added.
    virtual bool write_text(const std::wstring& text);
    virtual bool write_text(const std::string& text);
    virtual bool put_char(wchar_t c);
    virtual bool put_char(char c);
    // False at the end of the file. Deliberate: in the wide form a NUL of an ANSI file is delivered and not
    // consumed, because it converts back to no byte at all.
    virtual bool get_char(wchar_t* out);
    virtual bool get_char(char* out);

    // Creates and opens a temporary file, exclusive to this object and deleted when it is closed. Its name,
    // which goes to *name if that isn't null, is base_path, a number in base 36 and ".tmp".
    bool open_temp(const std::wstring& base_path, std::uint32_t flags, std::wstring* name);

    // Sets disk space aside for a growth to `size` bytes; see os::reserve_file.
    bool reserve(std::int64_t size);
    // The time of the last write, in local time. A file that is open for writing is dated to the present and
    // keeps that time when it is closed.
    bool stamp(packed_time& out);

    // Why an open failed; false while the object is open.
    bool was_not_found();
    bool was_sharing_violation();

protected:
    void drop_pushback() { mode &= can_read | can_write; }
    // Keeps the error, if it is one. True on success.
    bool keep(std::uint32_t error);
    // The file pointer itself: the new position or -1.
    std::int64_t move_pointer(std::int64_t offset, std::uint32_t origin);
};

} // namespace cl
