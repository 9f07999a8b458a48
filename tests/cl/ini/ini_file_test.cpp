// The direct operations: bytes of a file in, results and bytes out.
#include "cl/ini/ini_fixture.hpp"
#include "rows.hpp"

#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_call;
using fakes::file_op;
using string = std::wstring;
using text = std::vector<string>;

text lines_of(const string& s) {
    text lines;
    for (std::size_t at = 0, end = 0; at < s.size(); at = end + 1) {
        end = std::min(s.find('\n', at), s.size());
        lines.push_back(s.substr(at, end - at));
    }
    return lines;
}

bool edit(cl::ini_file& file, const row& r) {
    const string what = r.wide("edit"), section = r.wide("section"), key = r.wide("key"),
                 value = r.wide("value");
    return what == L"set"       ? file.write_value(section, key, value, true)
           : what == L"drop"    ? file.delete_value(section, key)
           : what == L"replace" ? file.write_section(section, lines_of(value))
                                : file.delete_section(section);
}

// Each edit on a source in each encoding, with and without the mark, as a Unicode file and as an ANSI one.
TEST(ini_file, edits) {
    for_rows("ini_edits.tsv", [](const row& r) {
        for (std::uint32_t source = 0; source < 2 * cl::encoding_count; ++source) {
            const std::uint32_t encoding = source / 2;
            const bool unicode = source % 2, marked = encoding != cl::encoding_ansi;
            SCOPED_TRACE("encoding " + std::to_string(source));
            world around;
            cl::ini_file file;
            file.set_file(file_path, unicode);
            const string before = r.wide("source");
            disk::put(file_path, encoded(before, encoding));
            EXPECT_TRUE(edit(file, r));
            const bool first_blank = before.empty() || before[0] == '\r';
            const string expected =
                (marked && !first_blank ? L"\r\n" : L"") + with_crlf(lines_of(r.wide("expected")));
            EXPECT_EQ(disk::bytes(file_path),
                      encoded(expected, marked || !unicode ? encoding : std::uint32_t{cl::encoding_utf8}));
            EXPECT_EQ(disk::names(), std::vector<string>{file_path});
            EXPECT_EQ(disk::open_handles(), 0);
            EXPECT_EQ(around.trace.err.text + around.trace.out.text, "");
        }
    });
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
        {"a write fails when the temporary file ends", [] { disk::fail_call(4, 1117, file_op::write); }, true,
         true, "", "\xEF\xBB\xBF[b]\r\n" + std::string(4091, 'x')},
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
