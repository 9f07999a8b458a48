// Random work on a uni_file against the naive model, through the short ways and through the slots alone.
#include "cl/file/uni_file.hpp"
#include "fakes/fake_file.hpp"
#include "naive_text.hpp"

#include <gtest/gtest.h>
#include <random>
#include <utility>

namespace {

using fakes::disk;

// A subclass changes a slot (here for nothing), so every character goes through the slots.
struct slotted_file : cl::uni_file {};

class random_text {
public:
    explicit random_text(unsigned seed) : engine(seed) {}
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

private:
    std::mt19937 engine;
};

const std::wstring path = L"C:\\model.txt";

// One run: 200 random operations, each compared with the model.
template <class File>
class run {
public:
    explicit run(unsigned seed) : random(seed) {
        const auto encoding = static_cast<std::uint32_t>(seed % 6);
        const std::string mark(cl::byte_order_mark(encoding));
        model.bytes = mark;
        if (seed % 4 == 0)
            model.bytes += "x" + random.noise(9000); // the x keeps ANSI from looking like something else
        model.encoding = encoding;
        model.mark = model.pos = static_cast<std::int64_t>(mark.size());
        disk::reset();
        disk::put(path, model.bytes);
        EXPECT_TRUE(file.open_as(path, 2, 9, 64));
        EXPECT_EQ(file.encoding, encoding);
    }

    void go() {
        for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(testing::Message() << "step " << i << " at " << model.pos << " of " << model.size());
            const int op = random.below(13);
            if (op < 6)
                read(op);
            else if (op < 11)
                write(op);
            else
                move(op);
            EXPECT_EQ(file.last_error & ~131u, 0u);
        }
        EXPECT_TRUE(file.close());
        EXPECT_EQ(disk::bytes(path), model.bytes);
    }

private:
    void read(int op) {
        read_ahead = true;
        std::wstring expected;
        if (op < 2) {
            std::wstring got;
            EXPECT_EQ(file.read_line(got), model.line(expected));
            EXPECT_EQ(got, expected);
            EXPECT_EQ(file.eol, model.eol);
        } else if (op == 2) {
            std::string got;
            EXPECT_EQ(file.read_line(got), model.line(expected));
            EXPECT_EQ(got, cl::wide_to_narrow(expected, 0));
            EXPECT_EQ(file.eol, model.eol);
        } else if (op < 5) {
            for (int n = random.below(60); n > 0; --n) {
                wchar_t got = 0, wanted = 0;
                char narrow = 0;
                const bool there = model.get(wanted);
                if (op == 3) {
                    EXPECT_EQ(file.get_wchar(&got), there);
                    EXPECT_EQ(got, wanted);
                } else {
                    EXPECT_EQ(file.get_char(&narrow), there);
                    EXPECT_EQ(narrow, wanted ? cl::wide_to_narrow(&wanted, 1, 0)[0] : 0);
                }
            }
        } else {
            std::string got(static_cast<std::size_t>(random.below(2) ? 6000 : random.below(40)), '\0');
            const std::string wanted = model.read(static_cast<std::int64_t>(got.size()));
            got.resize(
                static_cast<std::size_t>(file.read(got.data(), static_cast<std::int64_t>(got.size()))));
            EXPECT_EQ(got, wanted);
        }
    }
    void write(int op) {
        // What was read ahead must be given back first.
        if (read_ahead && random.below(2))
            EXPECT_EQ(file.tell(), model.pos - model.mark);
        else
            EXPECT_TRUE(file.sync());
        read_ahead = false;
        std::wstring text = random.units(random.below(10) ? random.below(100) : 3000);
        if (op == 6) {
            EXPECT_TRUE(file.write_text(text));
        } else if (op == 7) {
            EXPECT_TRUE(file.write_line(text));
            text += L"\r\n";
        } else if (op == 8) {
            text.resize(std::min<std::size_t>(text.size(), 20));
            for (const wchar_t c : text)
                EXPECT_TRUE(file.put_char(c));
        } else if (op == 9) {
            const std::string narrow = random.noise(random.below(50));
            EXPECT_TRUE(file.write_text(narrow));
            text = cl::narrow_to_wide(narrow, 0);
        } else {
            text.clear();
            if (random.below(3) == 0) {
                EXPECT_TRUE(file.set_end());
                model.bytes.resize(static_cast<std::size_t>(model.pos));
            } else {
                const std::string data = random.noise(random.below(4) ? random.below(40) : 6000);
                EXPECT_EQ(file.write(data.data(), static_cast<std::int64_t>(data.size())), std::ssize(data));
                model.write(data);
            }
        }
        for (const wchar_t c : text)
            model.put(c);
    }
    void move(int op) {
        read_ahead = false;
        if (op == 11) {
            const int origin = random.below(3);
            const std::int64_t reach = origin == 0 ? model.size() + 40 : 100;
            const std::int64_t offset = random.below(static_cast<int>(reach)) - (origin == 0 ? 10 : 50);
            const std::int64_t wanted = model.seek(offset, origin);
            EXPECT_EQ(file.seek(offset, static_cast<std::uint32_t>(origin)), wanted);
        } else {
            EXPECT_EQ(file.tell(), model.pos - model.mark);
        }
        disk::clear_log();
    }

    random_text random;
    naive_text model;
    File file;
    bool read_ahead = false; // bytes beyond the logical position may stand in the buffer
};

TEST(text_model, random_work) {
    for (unsigned seed = 0; seed < 72 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        run<cl::uni_file>(seed).go();
        run<slotted_file>(seed).go();
    }
}

// What is written comes back, but for the halves of pairs that a code point encoding can't hold.
TEST(text_model, round_trips) {
    for (unsigned seed = 0; seed < 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_text random(seed);
        const auto encoding = static_cast<std::uint32_t>(seed % 6);
        const std::wstring text = L"x" + random.units(6000);
        disk::reset();
        cl::uni_file file;
        ASSERT_TRUE(file.open_as(path, 0x102, encoding, 16));
        EXPECT_TRUE(file.write_text(text));
        std::wstring expected;
        wchar_t high = 0;
        for (const wchar_t c : text) {
            if (encoding == 0) {
                if (c)
                    expected += cl::narrow_to_wide(cl::wide_to_narrow(&c, 1, 0), 0);
            } else if (encoding == 2 || encoding == 3) {
                expected += c;
            } else if (c >= 0xD800 && c < 0xDC00) {
                high = c;
            } else {
                if (c >= 0xDC00 && c < 0xE000 && high)
                    expected += std::exchange(high, wchar_t{0});
                expected += c;
            }
        }
        EXPECT_EQ(file.seek(0, 0), 0);
        std::wstring got;
        for (wchar_t c; file.get_wchar(&c);)
            got += c;
        EXPECT_EQ(got, expected);
        EXPECT_EQ(file.seek(0, 0), 0);
        std::wstring lines, line;
        while (file.read_line(line))
            lines += line + std::wstring(L"\0\n\r\r\n", 5)
                                .substr(file.eol == 3 ? 3 : file.eol, file.eol == 3 ? 2 : file.eol != 0);
        std::wstring without_marks; // at the start of a line the first one goes
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (expected[i] != 0xFEFF || encoding == 0 ||
                (i && expected[i - 1] != '\n' && expected[i - 1] != '\r'))
                without_marks += expected[i];
        EXPECT_EQ(lines, without_marks);
    }
}

} // namespace
