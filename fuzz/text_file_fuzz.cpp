// Any bytes as a text file: opened, read by lines, by characters and by both, copied, and appended to;
// everything must look as it does to the naive model. Input: a byte of choices, then the file.
#include "cl/file/naive_text.hpp"
#include "cl/file/uni_file.hpp"
#include "fakes/fake_file.hpp"

#include <cstdlib>

namespace {

using fakes::disk;
const std::wstring path = L"C:\\fuzz.txt";
const std::wstring copy_path = L"C:\\copy.txt";

void check(bool holds) {
    if (!holds)
        std::abort();
}

// A subclass may change a slot, so all its work goes through the slots.
struct slotted_file : cl::uni_file {};

std::string mark_of(const std::string& bytes) {
    for (const std::uint32_t encoding : {1u, 4u, 2u, 3u, 5u})
        if (bytes.starts_with(cl::byte_order_mark(encoding)))
            return std::string(cl::byte_order_mark(encoding));
    return "";
}

template <class File>
void work(const std::string& bytes, unsigned choices) {
    disk::reset();
    disk::put(path, bytes);
    naive_text model;
    model.bytes = bytes;
    model.mark = model.pos = static_cast<std::int64_t>(mark_of(bytes).size());

    File file;
    const std::uint32_t wanted = bytes.empty() ? choices % 7 : 0;
    check(file.open_as(path, 2, wanted, 64));
    model.encoding = file.encoding;
    check(cl::byte_order_mark(file.encoding) == mark_of(disk::bytes(path)));
    if (bytes.empty()) {
        model.bytes = disk::bytes(path);
        model.mark = model.pos = model.size();
    }

    std::wstring line, expected;
    const auto read_line = [&] {
        const bool there = model.line(expected);
        check(file.read_line(line) == there && line == expected && file.eol == model.eol);
        return there;
    };
    const auto read_char = [&] {
        wchar_t c = 0, wanted_char = 0;
        const bool there = model.get(wanted_char);
        check(file.get_wchar(&c) == there && c == wanted_char);
        return there;
    };
    while (read_line()) {
    }
    check(file.seek(0, 0) == model.seek(0, 0));
    // A NUL of an ANSI file is never consumed: the count ends this.
    for (std::size_t i = 0; i <= bytes.size() && i < 400 && read_char(); ++i) {
    }
    check(file.seek(0, 0) == model.seek(0, 0));
    for (std::size_t i = 0; i <= bytes.size() && i < 400; ++i)
        if (!((choices >> i % 8 & 1) ? read_line() : read_char()))
            break;
    check(file.tell() == model.pos - model.mark);

    File copy;
    check(copy.open(copy_path, 0x302, 16));
    check(file.copy_to(copy, true));
    check(copy.sync() && disk::bytes(copy_path) == model.bytes);
    check(copy.encoding == file.encoding && copy.tell() == 0);

    // What was read goes out again.
    check(file.seek(0, 2) == model.seek(0, 2));
    check(file.write_line(expected));
    for (const wchar_t c : expected + L"\r\n")
        model.put(c);
    check(file.close() && disk::bytes(path) == model.bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    work<cl::uni_file>(bytes, data[0]);
    work<slotted_file>(bytes, data[0]);
    return 0;
}
