#include "cl/file/uni_file.hpp"

#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using namespace std::string_literals;

const std::wstring path = L"C:\\data\\text.ini";

struct uni_file_test : testing::Test {
    uni_file_test() { disk::reset(); }
};

TEST_F(uni_file_test, detection) {
    const struct {
        std::string content;
        std::uint32_t encoding, bom_len;
        std::wstring first_line;
    } rows[] = {
        {"abc", 0, 0, L"abc"},
        {"\xEF\xBB\xBF"
         "abc",
         1, 3, L"abc"},
        {"\xEF\xBB", 0, 0, L"\u00EF\u00BB"},
        {"\xEF\xBBx", 0, 0, L"\u00EF\u00BBx"},
        {"\xEF", 0, 0, L"\u00EF"},
        {"\xFE\xFF\0a"s, 3, 2, L"a"},
        {"\xFE"
         "a",
         0, 0,
         L"\u00FE"
         L"a"},
        {"\xFF\xFE"
         "a\0"s,
         2, 2, L"a"},
        {"\xFF\xFE\0\x41"s, 2, 2, {0x4100}},
        {"\xFF\xFE\0"s, 2, 2, L""},
        {"\xFF\xFE\0\0a\0\0\0"s, 4, 4, L"a"},
        {"\xFF", 0, 0, L"\u00FF"},
        {"\0\0\xFE\xFF\0\0\0a"s, 5, 4, L"a"},
        {"\0\0\xFE"s, 0, 0, {0, 0, 0xFE}},
        {"\0a"s, 0, 0, {0, 'a'}},
        {"\xEF\xBB\xBF", 1, 3, L""},
    };
    for (const auto& row : rows)
        for (const std::uint32_t flags : {0u, 2u, 10u}) {
            SCOPED_TRACE(testing::PrintToString(row.content) + std::to_string(flags));
            disk::put(path, row.content);
            cl::uni_file file;
            ASSERT_TRUE(file.open_as(path, flags, 1, 64));
            EXPECT_EQ(file.encoding, row.encoding);
            EXPECT_EQ(file.bom_len, row.bom_len);
            const auto text = static_cast<std::int64_t>(row.content.size()) - row.bom_len;
            EXPECT_EQ(file.tell(), flags & 8 ? text : 0);
            EXPECT_EQ(file.seek(0, 0), 0);
            std::wstring line;
            EXPECT_EQ(file.read_line(line), !row.first_line.empty());
            EXPECT_EQ(line, row.first_line);
            EXPECT_EQ(disk::bytes(path), row.content);
        }
}

TEST_F(uni_file_test, a_new_file_gets_its_mark_at_once) {
    const std::string marks[] = {"",         "\xEF\xBB\xBF",  "\xFF\xFE",
                                 "\xFE\xFF", "\xFF\xFE\0\0"s, "\0\0\xFE\xFF"s};
    for (std::uint32_t encoding = 0; encoding < 8; ++encoding) {
        SCOPED_TRACE(encoding);
        const std::string mark = encoding < 6 ? marks[encoding] : "";
        for (const std::uint32_t flags : {0x301u, 0x302u}) {
            cl::uni_file file;
            ASSERT_TRUE(file.open_as(path, flags, encoding, 16));
            EXPECT_EQ(file.encoding, encoding < 6 ? encoding : 0);
            EXPECT_EQ(file.bom_len, mark.size());
            EXPECT_EQ(disk::bytes(path), mark);
            EXPECT_EQ(file.tell(), 0);
        }
        cl::uni_file file;
        ASSERT_TRUE(file.open_as(path, 0x302, 0, 16));
        EXPECT_EQ(file.set_encoding(encoding, false), encoding < 6);
        EXPECT_TRUE(file.write_bom());
        EXPECT_TRUE(file.write_line(L"a"));
        EXPECT_EQ(file.set_encoding(encoding, true), encoding < 6);
        EXPECT_EQ(file.bom_len, 0u);
        EXPECT_TRUE(file.sync());
        EXPECT_EQ(disk::bytes(path).substr(0, mark.size()), mark);
        file.encoding = encoding;
        EXPECT_EQ(file.put_wchar(L'x'), encoding < 6);
        EXPECT_EQ(file.put_wchar(0xD800), encoding < 6);
        wchar_t c;
        file.seek(0, 0);
        EXPECT_EQ(file.get_wchar(&c), encoding < 6);
    }
    cl::uni_file file;
    ASSERT_TRUE(file.open(path, 0x302, 16));
    EXPECT_EQ(file.encoding, 2u);
    EXPECT_EQ(disk::bytes(path), "\xFF\xFE");
    disk::put(L"C:\\empty", "");
    ASSERT_TRUE(file.open(L"C:\\empty", 0, 64));
    EXPECT_EQ(file.encoding, 0u) << "an empty file that can't be written";
    EXPECT_EQ(disk::bytes(L"C:\\empty"), "");
}

TEST_F(uni_file_test, units_of_each_encoding) {
    const struct {
        const char* name;
        std::string content;
        std::wstring units;
    } rows[] = {
        {"UTF-8 lengths",
         "\xEF\xBB\xBF"
         "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
         {'a', 0xE4, 0x20AC, 0xD83D, 0xDE00}},
        {"overlong forms and coded surrogates",
         "\xEF\xBB\xBF\xC1\x81\xE0\x81\x81\xED\xA0\xBD\xF0\x80\x81\x81",
         {0x41, 0x41, 0xD83D, 0x41}},
        {"bytes that lead nothing",
         "\xEF\xBB\xBF\xFF\x80\xFE"
         "b",
         L"???b"},
        {"a broken sequence is consumed whole",
         "\xEF\xBB\xBF\xE2"
         "ab\xC3\xC3x",
         L"??x"},
        {"five and six bytes, and beyond Unicode",
         "\xEF\xBB\xBF\xF8\x80\x80\x81\x81\xFC\x80\x80\x80\x81\x81\xF4\x90\x80\x80\xFD\xBF\xBF\xBF\xBF\xBF",
         L"AA  "},
        {"a sequence that breaks off is the end", "\xEF\xBB\xBFx\xF0\x9F\x98", L"x"},
        {"UTF-16 passes halves", "\xFF\xFE\x00\xDC\x3D\xD8x\0y"s, {0xDC00, 0xD83D, 'x'}},
        {"UTF-16 big-endian", "\xFE\xFF\xD8\x3D\xDE\0\0x"s, {0xD83D, 0xDE00, 'x'}},
        {"UTF-32",
         "\xFF\xFE\0\0\0\xF6\x01\0\xFF\xFF\x10\0\0\0\x11\0\xFF\xFF\xFF\xFF\0\xD8\0\0x\0\0"s,
         {0xD83D, 0xDE00, 0xDBFF, 0xDFFF, ' ', ' ', 0xD800}},
        {"UTF-32 big-endian", "\0\0\xFE\xFF\0\x01\xF6\0\0\0\0x"s, {0xD83D, 0xDE00, 'x'}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        disk::put(path, row.content);
        cl::uni_file file;
        ASSERT_TRUE(file.open(path, 0, 64));
        std::wstring line, units;
        EXPECT_TRUE(file.read_line(line));
        EXPECT_EQ(line, row.units);
        file.seek(0, 0);
        for (wchar_t c; file.get_char(&c);)
            units += c;
        EXPECT_EQ(units, row.units);
    }
}

TEST_F(uni_file_test, pairs_wait_for_their_second_half) {
    const struct {
        std::uint32_t encoding;
        std::string waiting, done;
    } rows[] = {
        {1, "a", "a\xF0\x9F\x98\x80\xED\xB8\x80"},
        {2,
         "\x3D\xD8"
         "a\0"s,
         "\x3D\xD8"
         "a\0\0\xDE\0\xDE"s},
        {3, "\xD8\x3D\0a"s, "\xD8\x3D\0a\xDE\0\xDE\0"s},
        {4, "a\0\0\0"s, "a\0\0\0\0\xF6\x01\0\0\xDE\0\0"s},
        {5, "\0\0\0a"s, "\0\0\0a\0\x01\xF6\0\0\0\xDE\0"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.encoding);
        cl::uni_file file;
        ASSERT_TRUE(file.open_as(path, 0x302, row.encoding, 16));
        EXPECT_TRUE(file.put_char(wchar_t(0xD83D)));
        EXPECT_TRUE(file.put_char('a'));
        EXPECT_TRUE(file.sync());
        EXPECT_EQ(disk::bytes(path).substr(file.bom_len), row.waiting);
        EXPECT_TRUE(file.write_text(std::wstring{0xDE00, 0xDE00}));
        EXPECT_TRUE(file.sync());
        EXPECT_EQ(disk::bytes(path).substr(file.bom_len), row.done);
    }
}

TEST_F(uni_file_test, lines) {
    const std::string mark = "\xEF\xBB\xBF";
    disk::put(path, mark + mark + "a" + mark + "\r" + mark + mark + "b\r" + mark +
                        "\n\r\n\xF0\x9F\x98\x80\r\xF0\x9F\x98\x80\r");
    cl::uni_file file;
    ASSERT_TRUE(file.open(path, 0, 64));
    const struct {
        std::wstring text;
        int eol;
    } rows[] = {
        {L"a\uFEFF", 2},
        {L"\uFEFF"
         L"b",
         2},
        {L"", 1},
        {L"", 3},
        {{0xD83D, 0xDE00}, 2},
        {{0xD83D, 0xDE00}, 2},
    };
    for (const auto& row : rows) {
        std::wstring line;
        EXPECT_TRUE(file.read_line(line));
        EXPECT_EQ(line, row.text);
        EXPECT_EQ(file.eol, row.eol);
    }
    std::wstring line;
    EXPECT_FALSE(file.read_line(line));
    EXPECT_EQ(file.eol, 0);

    disk::put(path, "\xFF\xFE"
                    "a\0\r\0"s);
    ASSERT_TRUE(file.open(path, 0, 64));
    std::string narrow;
    EXPECT_TRUE(file.read_line(narrow));
    EXPECT_EQ(narrow, "a");
    EXPECT_EQ(file.eol, 2);

    disk::put(path, "\xFF\xFE"
                    "\xAC\x20\r\0x\0"s);
    ASSERT_TRUE(file.open(path, 0, 64));
    char c = 0;
    EXPECT_TRUE(file.get_char(&c));
    EXPECT_EQ(c, '\x80') << "the ANSI code page's euro";
    EXPECT_TRUE(file.read_line(line));
    EXPECT_EQ(file.tell(), 6) << "one character was read too far";
    EXPECT_EQ(file.seek(-2, 1), 4);
    EXPECT_TRUE(file.get_char(&c));
    EXPECT_EQ(c, 'x') << "and was dropped by the seek";
}

TEST_F(uni_file_test, copy) {
    const std::wstring target = L"C:\\copy.ini";
    for (const std::size_t size : {0u, 1u, 4093u, 4096u, 9000u})
        for (const bool rewind : {false, true}) {
            SCOPED_TRACE(size);
            const std::string content = "\xEF\xBB\xBF" + std::string(size, 's');
            disk::put(path, content);
            disk::put(target, "\xFF\xFE" + std::string(12000, 'o'));
            cl::uni_file source, copy;
            ASSERT_TRUE(source.open(path, 0, 64));
            ASSERT_TRUE(copy.open(target, 2, 64));
            EXPECT_TRUE(source.copy_to(copy, rewind));
            EXPECT_TRUE(copy.sync());
            if (rewind) {
                EXPECT_EQ(disk::bytes(target), content);
                EXPECT_EQ(copy.encoding, 1u);
                EXPECT_EQ(copy.tell(), 0);
            } else {
                EXPECT_EQ(disk::bytes(target),
                          "\xFF\xFE" + std::string(size, 's') + std::string(12000 - size, 'o'));
            }
        }
    cl::uni_file source, copy;
    disk::put(path, std::string(9000, 's'));
    ASSERT_TRUE(source.open(path, 0, 64));
    ASSERT_TRUE(copy.open(target, 2, 64));
    disk::put(target, std::string(20, 'o'));
    disk::fail_call(3, 23, fakes::file_op::read);
    EXPECT_FALSE(source.copy_to(copy, true)) << "a failed read is not taken for the end";
    EXPECT_EQ(source.last_error, 23u);
    disk::fail_call(1, 5, fakes::file_op::write);
    EXPECT_FALSE(source.copy_to(copy, true));
    EXPECT_FALSE(copy.copy_to(source, false)) << "the target can't be written";
}

// Detection must not write a mark over a file that it couldn't read.
TEST_F(uni_file_test, detection_of_an_unreadable_file) {
    disk::put(path, "abcdef");
    cl::uni_file file;
    disk::fail_call(1, 23, fakes::file_op::read);
    EXPECT_FALSE(file.open_as(path, 2, 1, 64));
    EXPECT_EQ(file.last_error, 23u);
    EXPECT_EQ(disk::bytes(path), "abcdef");
    EXPECT_TRUE(file.detect_encoding(1));
}

} // namespace
