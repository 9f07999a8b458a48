// A file_hnd behind one buffer, which serves reading or writing, never both at once. A caller that writes
// after it has read calls seek or sync in between: a write throws read-ahead away without moving the file's
// position back.
#pragma once

#include "cl/file/file_hnd.hpp"

#include <memory>

namespace cl {

class file_stream : public file_hnd {
protected:
    std::int64_t buf_size = 4096;
    std::unique_ptr<char[]> buf;
    // The unread bytes lie between these two.
    char* read_pos;
    char* read_end;
    // The bytes from buf to write_pos wait to be written. write_end is buf while the buffer is in no write
    // use, else buf + buf_size.
    char* write_pos;
    char* write_end;

public:
    file_stream();

    // Syncs first.
    bool close() override;
    bool read_line(std::wstring& out) override;
    bool read_line(std::string& out) override;
    ~file_stream() override;
    std::int64_t seek(std::int64_t offset, std::uint32_t origin) override;
    std::int64_t tell() override;
    // A read that fails gives what could be delivered before, which may be 0.
    std::int64_t read(void* buf, std::int64_t n) override;
    // Gives 0, and takes nothing, while what waits in the buffer can't be written.
    std::int64_t write(const void* buf, std::int64_t n) override;
    // Cuts also where what waited can't be written, which is then lost; false in that case too.
    bool set_end() override;
    // Deliberate: a sync that fails forgets what it couldn't write, while a failed flush inside of a write
    // keeps it for another try.
    bool sync() override;

protected:
    bool flush_writes();
    // Moves the unread bytes to the front and fills the buffer after them. True if at least one byte came.
    bool refill();
};

} // namespace cl
