// Text files: the model, and the fates of a file that is rewritten.
#include "cl/file/text_round.hpp"

namespace {

using fakes::disk;

TEST(text_file, looks_as_the_model_does) {
    run_seeds(90, run_text_file);
}

// Lines of ANSI text in all three classes, as bytes and as units, around the buffer's end.
template <class File, class Text>
void read_lines(naive_text model) {
    File file;
    ASSERT_TRUE(file.open(L"lines", cl::open_read, cl::share_deny_none));
    for (bool more = true; more && !testing::Test::HasFailure();) {
        Text text(3, 'o');
        std::wstring wide;
        more = model.line(wide);
        ASSERT_EQ(file.read_line(text), more);
        if constexpr (std::is_same_v<Text, std::wstring>)
            EXPECT_EQ(cl::wide_to_narrow(text, 0), cl::wide_to_narrow(wide, 0));
        else
            EXPECT_EQ(text, cl::wide_to_narrow(wide, 0));
        EXPECT_EQ(file.eol, model.eol);
    }
}

TEST(text_file, lines_of_every_class) {
    run_seeds(40, [](choices& c) {
        naive_text model;
        for (int n = c.below(30); n > 0; --n)
            model.bytes +=
                std::string(c.once_in(8) ? 4090 + c.below(9u) : 0, 'x') + "\r\n\r\n\0a"[c.below(6)];
        disk::reset();
        disk::put(L"lines", model.bytes);
        read_lines<cl::file_hnd, std::string>(model);
        read_lines<cl::file_hnd, std::wstring>(model);
        read_lines<cl::file_stream, std::string>(model);
        read_lines<cl::file_stream, std::wstring>(model);
        read_lines<cl::uni_file, std::string>(model);
        read_lines<cl::uni_file, std::wstring>(model);
    });
}

// For each encoding, about 9 KB with lines that cross the buffer's end.
class text_rewrite : public testing::TestWithParam<std::uint32_t> {
protected:
    std::vector<std::wstring> lines;
    std::string before, after; // `after` with more at the end of each line
    std::uint32_t last_error = 0;

    text_rewrite() {
        for (std::size_t i = 0; i < 60; ++i)
            lines.push_back(std::wstring(i * 13 % 90, static_cast<wchar_t>('a' + i % 26)) + L"\u00E4\u20AC");
        before = build(L"", 1 << 20);
        after = build(L"+", 1 << 20);
    }
    static std::wstring path() { return L"source.ini"; }

    // The sample's bytes with a text at the end of each line, where the write at `cut` is short. Begins with
    // "cut " where the file reported it.
    std::string build(const std::wstring& tail, std::size_t cut) {
        disk::reset();
        disk::cut_write(cut);
        cl::uni_file file;
        EXPECT_TRUE(
            file.open_as(path(), cl::open_create | cl::open_read_write, GetParam(), cl::share_deny_all));
        bool good = true;
        for (const std::wstring& line : lines)
            good = good && file.write_line(line + tail);
        good = file.sync() && good;
        return good ? disk::bytes(path()) : "cut " + disk::bytes(path());
    }
    void start() {
        disk::reset();
        disk::put(path(), before);
    }
    // What a rewrite of a text file does: read it line by line into a temporary file, copy that over it, read
    // it again. Whatever happens, no handle stays open, no temporary file is left, and either the result
    // shows the fault or the work is done.
    bool rewrite() {
        bool good = true;
        const auto check = [&](bool result) { return good = result && good; };
        std::vector<std::wstring> read_back;
        {
            cl::uni_file source, temp;
            std::wstring line;
            if (check(source.open_as(path(), cl::open_create | cl::open_read_write, GetParam(),
                                     cl::share_deny_write)) &&
                check(temp.open_temp(L"ini", cl::open_read_write, nullptr))) {
                check(temp.set_encoding(source.encoding, false) && temp.write_bom() && temp.set_end());
                while (source.read_line(line))
                    check(temp.write_line(line + L"+"));
                check(source.last_error == 0 && temp.sync());
                check(good && temp.copy_to(source, true) && temp.close());
                for (source.seek(0, cl::os::from_start); source.read_line(line);)
                    read_back.push_back(line.substr(0, line.size() - 1));
                check(source.last_error == 0 && source.close());
            }
            last_error = temp.last_error ? temp.last_error : source.last_error;
        }
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(disk::names().size(), 1u);
        EXPECT_TRUE(!good || (disk::bytes(path()) == after && read_back == lines));
        return good;
    }
};

TEST_P(text_rewrite, each_call_fails_in_turn) {
    start();
    ASSERT_TRUE(rewrite());
    const int calls = disk::calls();
    ASSERT_GT(calls, 30);
    for (int n = 1; n <= calls && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        start();
        disk::fail_call(n, 1117);
        rewrite();
        EXPECT_EQ(last_error, 1117u) << "no failure leaves without its number";
    }
}

TEST_P(text_rewrite, disk_full_at_every_byte) {
    // What the temporary file and the longer copy take, in odd steps, so that each place of a unit is met.
    const std::size_t needed = after.size() + after.size() - before.size();
    for (std::size_t space = 0; space <= needed && !HasFailure();
         space += space == needed ? 1 : std::min<std::size_t>(231, needed - space)) {
        SCOPED_TRACE(space);
        start();
        disk::set_space(space);
        EXPECT_EQ(rewrite(), space == needed);
        // The write that fills the disk is short and no error; the next one is.
        EXPECT_TRUE(last_error == 0 || (space != needed && last_error == cl::os::error_disk_full))
            << last_error;
    }
}

// A read that ends early is the end of the file for whoever asked; nothing wrong is delivered, and the next
// one goes on. What a write that ends early leaves is the start of what was written.
TEST_P(text_rewrite, short_reads_and_writes) {
    for (std::size_t n = 0; n <= after.size() && !HasFailure(); n += 1 + n / 100 * 7) {
        SCOPED_TRACE(n);
        const std::string written = build(L"+", n);
        if (n < cl::byte_order_mark(GetParam()).size())
            continue; // the mark itself is cut, in silence
        EXPECT_TRUE(n >= after.size() ? written == after : ("cut " + after).starts_with(written));
        EXPECT_GE(written.size(), std::min(n + 4, after.size()));
        start();
        cl::uni_file file;
        disk::cut_read(n);
        ASSERT_TRUE(file.open_as(path(), cl::open_read, GetParam(), cl::share_deny_none));
        ASSERT_EQ(file.encoding, GetParam());
        std::wstring line;
        std::size_t i = 0;
        while (file.read_line(line) && file.eol == 3)
            EXPECT_EQ(line, lines[i++]);
        EXPECT_TRUE(i == lines.size() || lines[i].starts_with(line));
        file.seek(0, cl::os::from_start);
        for (i = 0; file.read_line(line); ++i)
            ASSERT_EQ(line, lines[i]);
        EXPECT_EQ(i, lines.size());
    }
}

INSTANTIATE_TEST_SUITE_P(encodings, text_rewrite, testing::Range(0u, cl::encoding_count));

// What a sync can't write is lost: a cut and a copy go on without it.
TEST(file_stream, failed_sync) {
    const std::wstring source_path = L"C:\\source";
    disk::reset();
    disk::put(source_path, "0123456789");
    cl::uni_file file, other;
    ASSERT_TRUE(file.open_as(source_path, 0x02, cl::encoding_ansi, 64) &&
                other.open_as(L"C:\\other", 0x102, cl::encoding_ansi, 64));
    file.seek(4, 0);
    file.write("ab", 2);
    disk::fail_call(1, 1117, fakes::file_op::write);
    EXPECT_FALSE(file.set_end());
    EXPECT_EQ(disk::bytes(source_path), "0123");
    other.write("lost", 4);
    disk::fail_call(1, 1117, fakes::file_op::write);
    EXPECT_TRUE(file.copy_to(other, true));
    EXPECT_EQ(disk::bytes(L"C:\\other"), "0123");
}

} // namespace
