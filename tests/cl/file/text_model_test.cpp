// Random work against the naive model, through the short ways and through the slots alone.
#include "cl/file/uni_file.hpp"
#include "fakes/fake_file.hpp"
#include "naive_text.hpp"

#include <gtest/gtest.h>
#include <random>

namespace {

using fakes::disk;
using namespace std::string_literals;

// A subclass changes a slot (here for nothing), so every character goes through the slots.
struct slotted_file : cl::uni_file {};

struct random_text {
    std::mt19937 engine;

    int below(int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); }
    std::wstring units(int n) {
        static constexpr wchar_t odd[] = {L'\r',  L'\n',  L'\r',  L'\n',  0xFEFF, 0xFEFF, 0xD83D, 0xDE00,
                                          0xDBFF, 0xDC00, 0xFFFE, 0xFFFF, 0,      0x7F,   0x80,   0x20AC};
        std::wstring text;
        while (static_cast<int>(text.size()) < n) {
            if (below(8) == 0)
                text += odd[below(16)];
            else if (below(8) == 0)
                text += static_cast<wchar_t>(below(0x10000));
            else
                text.append(static_cast<std::size_t>(below(40)), static_cast<wchar_t>(' ' + below(95)));
        }
        return text;
    }
    std::string noise(int n) {
        std::string data;
        for (int i = 0; i < n; ++i)
            data += static_cast<char>(below(4) ? below(256) : "\r\n\xEF\xFF\xFE\xF0"[below(6)]);
        return data;
    }
};

const std::wstring path = L"C:\\model.txt";

// 200 random operations, each compared with the model.
template <class File>
void work(unsigned seed) {
    random_text random{std::mt19937(seed)};
    naive_text model;
    model.encoding = seed % 6;
    model.bytes = cl::byte_order_mark(model.encoding);
    model.mark = model.pos = model.size();
    if (seed % 4 == 0)
        model.bytes += "x" + random.noise(9000); // the x keeps ANSI from looking like something else
    disk::reset();
    disk::put(path, model.bytes);
    File file;
    ASSERT_TRUE(file.open_as(path, 2, 9, 64));
    ASSERT_EQ(file.encoding, model.encoding);
    bool read_ahead = false; // bytes beyond the logical position may stand in the buffer
    for (int step = 0; step < 200 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step << " at " << model.pos << " of " << model.size());
        const int op = random.below(12);
        std::wstring text = random.units(random.below(10) ? random.below(100) : 3000), wide;
        std::string data = random.noise(random.below(4) ? random.below(40) : 6000), narrow;
        if (op >= 5 && op < 10) {
            // Ahead of a write what was read ahead must be given back.
            if (read_ahead && random.below(2))
                EXPECT_EQ(file.tell(), model.pos - model.mark);
            else
                EXPECT_TRUE(file.sync());
        }
        read_ahead = op < 5;
        if (op < 2) {
            EXPECT_EQ(op ? file.read_line(wide) : file.read_line(narrow), model.line(text));
            EXPECT_EQ(op ? cl::wide_to_narrow(wide, 0) : narrow, cl::wide_to_narrow(text, 0));
            EXPECT_TRUE(!op || wide == text);
            EXPECT_EQ(file.eol, model.eol);
        } else if (op < 4) {
            for (int n = random.below(60); n > 0; --n) {
                wchar_t got = 0, wanted = 0;
                char byte = 0;
                EXPECT_EQ(op == 2 ? file.get_wchar(&got) : file.get_char(&byte), model.get(wanted));
                EXPECT_EQ(got, op == 2 ? wanted : 0);
                EXPECT_EQ(byte, op == 3 && wanted ? cl::wide_to_narrow(&wanted, 1, 0)[0] : 0);
            }
        } else if (op == 4) {
            narrow.resize(data.size());
            narrow.resize(static_cast<std::size_t>(file.read(narrow.data(), std::ssize(narrow))));
            EXPECT_EQ(narrow, model.read(std::ssize(data)));
        } else if (op == 5) {
            EXPECT_TRUE(file.write_line(text));
            model.put(text + L"\r\n");
        } else if (op == 6) {
            EXPECT_TRUE(file.write_text(text));
            model.put(text);
        } else if (op == 7) {
            for (const wchar_t c : text.substr(0, 20))
                EXPECT_TRUE(file.put_char(c));
            model.put(text.substr(0, 20));
        } else if (op == 8) {
            EXPECT_TRUE(file.write_text(data.substr(0, 50)));
            model.put(cl::narrow_to_wide(data.substr(0, 50), 0));
        } else if (op == 9 && random.below(3) == 0) {
            EXPECT_TRUE(file.set_end());
            model.bytes.resize(static_cast<std::size_t>(model.pos));
        } else if (op == 9) {
            EXPECT_EQ(file.write(data.data(), std::ssize(data)), std::ssize(data));
            model.write(data);
        } else if (op == 10) {
            const int origin = random.below(3);
            const std::int64_t offset = random.below(origin ? 100 : static_cast<int>(model.size()) + 40);
            const std::int64_t wanted = model.seek(offset - (origin ? 50 : 10), origin);
            EXPECT_EQ(file.seek(offset - (origin ? 50 : 10), static_cast<std::uint32_t>(origin)), wanted);
        } else {
            EXPECT_EQ(file.tell(), model.pos - model.mark);
        }
        EXPECT_EQ(file.last_error & ~131u, 0u);
        disk::clear_log();
    }
    EXPECT_TRUE(file.close());
    EXPECT_EQ(disk::bytes(path), model.bytes);
}

TEST(text_model, random_work) {
    for (unsigned seed = 0; seed < 72 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        work<cl::uni_file>(seed);
        work<slotted_file>(seed);
    }
}

// Lines of ANSI text in all three classes, as bytes and as units.
template <class File>
void read_lines(naive_text model, bool wide) {
    File file;
    ASSERT_TRUE(file.open(path, 0x8000, 64));
    for (bool more = true; more && !testing::Test::HasFailure();) {
        std::string narrow = "old";
        std::wstring text = L"old", expected;
        more = model.line(expected);
        ASSERT_EQ(wide ? file.read_line(text) : file.read_line(narrow), more);
        EXPECT_EQ(wide ? cl::wide_to_narrow(text, 0) : narrow, cl::wide_to_narrow(expected, 0));
        EXPECT_EQ(file.eol, model.eol);
    }
}

TEST(text_model, lines_of_every_class) {
    for (unsigned seed = 0; seed < 40 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_text random{std::mt19937(seed)};
        naive_text model;
        for (int n = random.below(30); n > 0; --n)
            model.bytes +=
                std::string(static_cast<std::size_t>(random.below(8) ? 0 : 4090 + random.below(9)), 'x') +
                std::string(1, "\r\n\r\n\0a"[random.below(6)]);
        disk::reset();
        disk::put(path, model.bytes);
        for (const bool wide : {false, true}) {
            read_lines<cl::file_hnd>(model, wide);
            read_lines<cl::file_stream>(model, wide);
            read_lines<cl::uni_file>(model, wide);
        }
    }
}

// A mark counts only as a whole, whatever the file was opened for.
TEST(text_model, detection) {
    for (std::uint32_t mark = 1; mark < cl::encoding_count; ++mark)
        for (std::size_t n = 1; n <= 4; ++n)
            for (const std::string& tail : {""s, "a"s, "\0"s, "\0\0"s, "\0a"s}) {
                naive_text model;
                model.bytes = std::string(cl::byte_order_mark(mark)).substr(0, n) + tail;
                for (const std::uint32_t encoding : {1u, 2u, 3u, 4u, 5u})
                    if (model.bytes.starts_with(cl::byte_order_mark(encoding)))
                        model.encoding = encoding;
                model.mark = std::ssize(cl::byte_order_mark(model.encoding));
                for (const std::uint32_t flags : {0u, 2u, 10u}) {
                    SCOPED_TRACE(testing::PrintToString(model.bytes) + std::to_string(flags));
                    disk::reset();
                    disk::put(path, model.bytes);
                    cl::uni_file file;
                    ASSERT_TRUE(file.open_as(path, flags, 1, 64));
                    EXPECT_EQ(file.encoding, model.encoding);
                    EXPECT_EQ(file.bom_len, model.mark);
                    EXPECT_EQ(file.tell(), flags & 8 ? model.size() - model.mark : 0);
                    EXPECT_EQ(disk::bytes(path), model.bytes);
                }
            }
}

} // namespace
