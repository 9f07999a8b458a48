// The direct operations, and the cache where it must do the same: bytes of a file in, results and bytes out.
#include "cl/ini/ini_fixture.hpp"
#include "cl/ini/ini_script.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ini_fixture;
using namespace ini_script;
using fakes::disk;
using fakes::file_call;
using fakes::file_op;

// Each edit on a source in each encoding, with and without the mark, as a Unicode file and as an ANSI one.
TEST(ini_file, edits) {
    const struct {
        const char* name;
        string source;
        edit change;
        string expected; // line feeds stand for CR LF
    } rows[] = {
        {"a key keeps its place, its repeat stays", L"[b]\nk=0\n[a]\n x=1\n K = 1\nk=2\n",
         edit::set(L" A ", L"k ", L"\t5"), L"[b]\nk=0\n[a]\nx=1\nk =\t5\nk=2\n"},
        {"a new key goes behind the blank lines of the first section", L"[a]\nx=1\n\n \n[b]\n[a]\n",
         edit::set(L"a", L"k", L"v"), L"[a]\nx=1\n\n\nk=v\n[b]\n[a]\n"},
        {"a new key in the last section", L"[a]\nx=1", edit::set(L"a", L"k", L"v"), L"[a]\nx=1\nk=v\n"},
        {"a new section", L"[b]\n", edit::set(L"  Sec ", L"k", L"v"), L"[b]\n[  Sec ]\nk=v\n"},
        {"a key of the second section is added to the first as well", L"[a]\nx=1\n[a]\nk=1\n[a]\n",
         edit::set(L"a", L"k", L"2"), L"[a]\nx=1\nk=2\n[a]\nk=2\n[a]\n"},
        {"comments and headers of other shapes", L";k=0\n[a tail=1\n;k=1\n[ a ] k=2\nk=3 ; c\n",
         edit::set(L"a", L"k", L"4"), L";k=0\n[a tail=1\n;k=1\n[ a ] k=2\nk=4\n"},
        {"an empty key matches a line without one", L"[a]\n = 1\nk=1\n", edit::set(L"a", L" ", L"2"),
         L"[a]\n =2\nk=1\n"},
        {"white space inside a key stands as it is", L"[a]\nk\tl=1\n", edit::set(L"a", L"k l", L"2"),
         L"[a]\nk\tl=1\nk l=2\n"},
        {"lines before the first header can't be reached", L"k=1\n[a]\n", edit::set(L"", L"k", L"2"),
         L"k=1\n[a]\n[]\nk=2\n"},
        {"copied lines lose their indentation and their line ends", L"\r\t a \r\n \n;c \r[a] t \r\n k = v \n",
         edit::drop(L"a", L"none"), L"\na \n\n;c \n[a] t \nk = v \n"},
        {"the first line of a key goes, in each section of that name",
         L"k=0\n[a]\n;k=1\nk=1\nK=2\n[b]\nk=3\n[A]\nk=4\nk=5\n", edit::drop(L"a", L"k"),
         L"k=0\n[a]\n;k=1\nK=2\n[b]\nk=3\n[A]\nk=5\n"},
        {"a section gets its lines as they are, its repeat loses its own",
         L"x=1\n[a] t\ny=1\n;c\n\n[b]\n[A]\nz=1\n", edit::replace(L" a", {L" l = 1 ", L";d"}),
         L"x=1\n[a] t\n l = 1 \n;d\n[b]\n[A]\n"},
        {"a new section with lines", L"[b]\n", edit::replace(L" a", {L"k=1"}), L"[b]\n[ a]\nk=1\n"},
        {"every section of the name goes, up to the next header", L"[a]\n;c\n\n;d\n[b]\n x=1\n[ A ]\ny=1\n",
         edit::remove(L"a"), L"[b]\nx=1\n"},
        {"an empty source", L"", edit::set(L"a", L"k", L"v"), L"[a]\nk=v\n"},
    };
    for (const auto& row : rows) {
        for (std::uint32_t source = 0; source < 2 * cl::encoding_count; ++source) {
            const std::uint32_t encoding = source / 2;
            const bool unicode = source % 2, marked = encoding != cl::encoding_ansi;
            SCOPED_TRACE(std::string(row.name) + ", encoding " + std::to_string(source));
            world around;
            cl::ini_file file;
            file.set_file(file_path, unicode);
            disk::put(file_path, encoded(row.source, encoding));
            EXPECT_TRUE(row.change.apply(file));

            const bool first_blank = row.source.empty() || row.source[0] == '\r';
            const string expected =
                (marked && !first_blank ? L"\r\n" : L"") + with_crlf(lines_of(row.expected));
            EXPECT_EQ(disk::bytes(file_path),
                      encoded(expected, marked || !unicode ? encoding : std::uint32_t{cl::encoding_utf8}));
            EXPECT_EQ(disk::names(), std::vector<string>{file_path});
            EXPECT_EQ(disk::open_handles(), 0);
            EXPECT_EQ(around.trace.err.text + around.trace.out.text, "");
        }
    }
}

TEST(ini_file, lookups) {
    world around;
    cl::ini_file file;
    file.set_file(file_path, false);
    disk::put(file_path,
              "k=0\n;c\n[a]\n ;c \n\t K = v\tw ; n \nk=2\n=3\nother \n\n[B ] t\n[empty]\n\n[a]\nl=1\n"
              "[comments]\n;1\n[]\nm=1");
    const wchar_t* const values[][3] = {
        {L" A ", L"k\t", L"v w ; n"}, {L"a", L"l", L"1"},     {L"a", L"", L"3"},     {L"", L"m", L"1"},
        {L"", L"k", L"none"},         {L"a", L";c", L"none"}, {L"b", L"l", L"none"},
    };
    for (const auto& row : values) {
        string value = L"none";
        EXPECT_EQ(file.get_value_current(row[0], row[1], value), row[2] != string(L"none"));
        EXPECT_EQ(value, row[2]) << testing::PrintToString(string(row[1]));
    }
    const struct {
        string name;
        std::uint32_t flags;
        bool found, exists;
        text lines;
    } sections[] = {
        {L"a", 0, true, true, {L"K=v w ; n", L"k=2"}},
        {L"A", 1, true, true, {L";c ", L"K=v w ; n", L"k=2"}},
        {L" a", 2, true, true, {L"K=v w ; n", L"k=2", L"=3", L"other"}},
        {L"comments", 0, true, true, {}},
        {L"empty", 3, true, false, {}},
        {L"none", 3, false, false, {}},
    };
    for (const auto& row : sections) {
        text lines = {L"untouched"};
        EXPECT_EQ(file.get_section_current(row.name, lines, row.flags), row.found);
        EXPECT_EQ(lines, row.lines);
        EXPECT_EQ(file.section_exists_current(row.name), row.exists);
    }
    text names = {L"untouched"};
    EXPECT_TRUE(file.get_section_names_current(names));
    EXPECT_EQ(names, (text{L"a", L"B", L"empty", L"a", L"comments", L""}));
    EXPECT_EQ(file.section_count_current(), 6U);
    EXPECT_TRUE(file.get_section(names[0], names, 0)); // the result replaces the name that was asked for
    EXPECT_EQ(names, (text{L"K=v w ; n", L"k=2"}));
    EXPECT_TRUE(file.flush() && file.reload());
    file.close();
    EXPECT_EQ(around.trace.err.text, "");
}

// What the system refuses: results, words and what the file holds afterwards.
TEST(ini_file, failures) {
    const std::string big = "[b]\r\n" + std::string(5000, 'x') + "\r\n[a]\r\nk=1\r\n";
    const struct {
        const char* name;
        std::function<void()> fault;
        bool read, edited;
        std::string said; // by each of four calls
        std::string file;
    } rows[] = {
        {"missing", [] { disk::erase(file_path); }, false, true, "", "\xEF\xBB\xBF[a]\r\nk=2\r\n"},
        {"held by a writer", [] { disk::hold(file_path, cl::os::access_write, 3); }, false, false,
         "file 'C:\\data\\global.ini' open error 32\n", big},
        {"no temporary file",
         [] {
             disk::on_call([](const file_call& c) {
                 if (c.op == file_op::open && c.path != file_path)
                     disk::refuse(c.path, 5);
             });
         },
         true, false, "", big},
        {"disk full", [] { disk::set_space(4200); }, true, false, "", big},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        world around;
        cl::ini_file file;
        file.set_file(file_path, true);
        disk::put(file_path, big);
        row.fault();
        string value = L"untouched";
        text lines = {L"untouched"}, names = {L"untouched"};
        EXPECT_EQ(file.get_value(L"a", L"k", value), row.read);
        EXPECT_EQ(file.get_section(L"a", lines, 0), row.read);
        EXPECT_EQ(file.get_section_names(names), row.read);
        EXPECT_TRUE(row.read || value + lines[0] + names[0] == L"untoucheduntoucheduntouched");
        EXPECT_EQ(file.write_value(L"a", L"k", L"2", true), row.edited);
        EXPECT_EQ(around.trace.err.text, row.said + row.said + row.said + row.said);
        EXPECT_EQ(disk::bytes(file_path), row.file);
        EXPECT_EQ(disk::names().size(), 1U);
        EXPECT_EQ(disk::open_handles(), 0);
    }
    // An edit doesn't replace what it couldn't read.
    world around;
    cl::ini_file file;
    file.set_file(file_path, false);
    disk::put(file_path, big);
    disk::fail_call(2, 23, file_op::read);
    EXPECT_TRUE(file.write_value(L"a", L"k", L"2", true));
    EXPECT_EQ(disk::bytes(file_path), big);
    EXPECT_EQ(around.trace.err.text, "file 'C:\\data\\global.ini' read error 23\n");
}

} // namespace
