// The direct operations: bytes of a file in, results and bytes out.
#include "cl/ini/ini_fixture.hpp"
#include "cl/ini/ini_script.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ini_fixture;
using ini_script::narrow;
using ini_script::wide;

using action = std::function<bool(cl::ini_file&)>;

action set(const char* section, const char* key, const char* value) {
    return [=](cl::ini_file& f) { return f.write_value(wide(section), wide(key), wide(value), true); };
}
action drop(const char* section, const char* key) {
    return [=](cl::ini_file& f) { return f.delete_value(wide(section), wide(key)); };
}
action replace(const char* section, naive::text lines) {
    return [=](cl::ini_file& f) { return f.write_section(wide(section), wide(lines)); };
}
action remove(const char* section) {
    return [=](cl::ini_file& f) { return f.delete_section(wide(section)); };
}

// Each edit on a source in each encoding, with and without the mark, as a Unicode file and as an ANSI one.
TEST(ini_file, edits) {
    const struct {
        const char* name;
        const char* source;
        action edit;
        const char* expected; // line feeds stand for CR LF
    } rows[] = {
        {"a key keeps its place, its repeat stays", "[b]\nk=0\n[a]\n x=1\n K = 1\nk=2\n",
         set(" A ", "k ", "\t5"), "[b]\nk=0\n[a]\nx=1\nk =\t5\nk=2\n"},
        {"a new key goes behind the blank lines of the first section", "[a]\nx=1\n\n \n[b]\n[a]\n",
         set("a", "k", "v"), "[a]\nx=1\n\n\nk=v\n[b]\n[a]\n"},
        {"a new key in the last section", "[a]\nx=1", set("a", "k", "v"), "[a]\nx=1\nk=v\n"},
        {"a new section", "[b]\n", set("  Sec ", "k", "v"), "[b]\n[  Sec ]\nk=v\n"},
        {"a key of the second section is added to the first as well", "[a]\nx=1\n[a]\nk=1\n",
         set("a", "k", "2"), "[a]\nx=1\nk=2\n[a]\nk=2\n"},
        {"done in the first section: the second is left alone until a match", "[a]\nk=1\n[a]\ny=1\n",
         set("a", "k", "2"), "[a]\nk=2\n[a]\ny=1\n"},
        {"comments and headers of other shapes", ";k=0\n[a tail=1\n;k=1\n[ a ] k=2\nk=3 ; c\n",
         set("a", "k", "4"), ";k=0\n[a tail=1\n;k=1\n[ a ] k=2\nk=4\n"},
        {"an empty key matches a line without one", "[a]\n = 1\nk=1\n", set("a", " ", "2"),
         "[a]\n =2\nk=1\n"},
        {"white space inside a key stands as it is", "[a]\nk\tl=1\n", set("a", "k l", "2"),
         "[a]\nk\tl=1\nk l=2\n"},
        {"lines before the first header can't be reached", "k=1\n[a]\n", set("", "k", "2"),
         "k=1\n[a]\n[]\nk=2\n"},
        {"nor deleted", "k=1\n[]\nk=2\n", drop("", "k"), "k=1\n[]\n"},
        {"copied lines lose their indentation and their line ends", "\r\t a \r\n \n;c \r[a] t \r\n k = v \n",
         drop("a", "none"), "\na \n\n;c \n[a] t \nk = v \n"},
        {"the first line of a key goes, in each section of that name",
         "[a]\nk=1\nK=2\n[b]\nk=3\n[A]\nk=4\nk=5\n", drop("a", "k"), "[a]\nK=2\n[b]\nk=3\n[A]\nk=5\n"},
        {"an empty key deletes a line without one", "[a]\n;=0\n=1\n=2\n", drop("a", ""), "[a]\n;=0\n=2\n"},
        {"a section gets its lines as they are, its repeat loses its own",
         "x=1\n[a] t\ny=1\n;c\n\n[b]\n[A]\nz=1\n", replace(" a", {" l = 1 ", ";d"}),
         "x=1\n[a] t\n l = 1 \n;d\n[b]\n[A]\n"},
        {"a new section with lines", "[b]\n", replace(" a", {"k=1"}), "[b]\n[ a]\nk=1\n"},
        {"without lines", "[b]\n", replace("a", {}), "[b]\n[a]\n"},
        {"every section of the name goes, up to the next header", "[a]\n;c\n\n;d\n[b]\nx=1\n[ A ]\ny=1\n",
         remove("a"), "[b]\nx=1\n"},
        {"deleting a missing section rewrites all the same", " [b]\n\tx=1\n", remove("a"), "[b]\nx=1\n"},
        {"an empty source", "", set("a", "k", "v"), "[a]\nk=v\n"},
    };
    for (const auto& row : rows) {
        for (std::uint32_t source = 0; source < cl::encoding_count; ++source) {
            for (const bool unicode : {false, true}) {
                SCOPED_TRACE(std::string(row.name) + ", encoding " + std::to_string(source) +
                             (unicode ? ", unicode" : ""));
                world around;
                cl::ini_file file;
                file.set_file(file_path, unicode);
                const std::string text = row.source;
                fakes::disk::put(file_path, encoded(text, source));
                EXPECT_TRUE(row.edit(file));

                std::string expected = with_crlf(ini_script::lines_of(row.expected));
                const bool first_blank = text.empty() || text[0] == '\r' || text[0] == '\n';
                if (source != cl::encoding_ansi && !first_blank)
                    expected.insert(0, "\r\n");
                const std::uint32_t target =
                    source == cl::encoding_ansi && unicode ? std::uint32_t{cl::encoding_utf8} : source;
                EXPECT_EQ(fakes::disk::bytes(file_path), encoded(expected, target));
                EXPECT_EQ(fakes::disk::names(), std::vector<std::wstring>{file_path});
                EXPECT_EQ(fakes::disk::open_handles(), 0);
                EXPECT_EQ(around.trace.err.text + around.trace.out.text, "");
            }
        }
    }
}

TEST(ini_file, lookups) {
    world around;
    cl::ini_file file;
    file.set_file(file_path, false);
    const std::string text =
        "k=0\n;c\n[a]\n ;c \n\t K = v\tw ; n \nk=2\n=3\nother \n\n[B ] t\n[empty]\n\n[a]\nl=1\n"
        "[comments]\n;1\n[]\nm=1";
    for (std::uint32_t encoding = 0; encoding < cl::encoding_count; ++encoding) {
        SCOPED_TRACE(encoding);
        fakes::disk::put(file_path, encoded(text, encoding));
        const auto value = [&](const char* section, const char* key) {
            std::wstring v = L"untouched";
            const bool found = file.get_value_current(wide(section), wide(key), v);
            return found ? "=" + narrow(v) : narrow(v);
        };
        EXPECT_EQ(value(" A ", "k\t"), "=v w ; n");
        EXPECT_EQ(value("a", "l"), "=1");
        EXPECT_EQ(value("a", ""), "=3");
        EXPECT_EQ(value("", "m"), "=1");
        EXPECT_EQ(value("", "k"), "untouched");
        EXPECT_EQ(value("a", ";c"), "untouched");
        EXPECT_EQ(value("b", "l"), "untouched");

        const auto section = [&](const char* name, std::uint32_t flags) {
            std::vector<std::wstring> lines = {L"untouched"};
            std::string shown = file.get_section_current(wide(name), lines, flags) ? "" : "missing";
            for (const std::wstring& line : lines)
                shown += "<" + narrow(line) + ">";
            return shown;
        };
        EXPECT_EQ(section("a", 0), "<K=v w ; n><k=2>");
        EXPECT_EQ(section("A", 1), "<;c ><K=v w ; n><k=2>");
        EXPECT_EQ(section(" a", 2), "<K=v w ; n><k=2><=3><other>");
        EXPECT_EQ(section("comments", 0), "");
        EXPECT_EQ(section("empty", 3), "");
        EXPECT_EQ(section("none", 3), "missing");
        EXPECT_FALSE(file.section_exists_current(L"empty"));
        EXPECT_FALSE(file.section_exists(L"none"));
        EXPECT_TRUE(file.section_exists(L"comments"));

        std::vector<std::wstring> names = {L"untouched"};
        EXPECT_TRUE(file.get_section_names_current(names));
        EXPECT_EQ(names, (std::vector<std::wstring>{L"a", L"B", L"empty", L"a", L"comments", L""}));
        EXPECT_EQ(file.section_count_current(), 6U);
    }
    EXPECT_TRUE(file.flush() && file.reload());
    file.close();
    EXPECT_EQ(around.trace.err.text, "");
}

// What the system refuses, one row for each failure: results, words and what the file holds afterwards.
TEST(ini_file, failures) {
    const std::string big = "[a]\n" + std::string(5000, 'x') + "\nk=1\n";
    const struct {
        const char* name;
        const char* source; // null: no file
        std::function<void()> fault;
        bool read, edited;
        const char* said; // for each of three reads and the edit
        std::function<bool(const std::string&)> file_is;
    } rows[] = {
        {"missing", nullptr, [] {}, false, true, "",
         [](const std::string& s) { return s == "\xEF\xBB\xBF[a]\r\nk=2\r\n"; }},
        {"held by a writer", "[a]\nk=1\n", [] { fakes::disk::hold(file_path, cl::os::access_write, 3); },
         false, false, "file 'C:\\data\\global.ini' open error 32\n",
         [](const std::string& s) { return s == "[a]\nk=1\n"; }},
        {"refused", "[a]\nk=1\n", [] { fakes::disk::refuse(file_path, 5); }, false, false,
         "file 'C:\\data\\global.ini' open error 5\n",
         [](const std::string& s) { return s == "[a]\nk=1\n"; }},
        {"no temporary file", "[a]\nk=1\n",
         [] {
             fakes::disk::on_call([](const fakes::file_call& c) {
                 if (c.op == fakes::file_op::open && c.path != file_path)
                     fakes::disk::refuse(c.path, 5);
             });
         },
         true, false, "", [](const std::string& s) { return s == "[a]\nk=1\n"; }},
        {"disk full when the temporary file ends", big.c_str(), [] { fakes::disk::set_space(4200); }, true,
         true, "", [&](const std::string& text) { return text == big; }},
        {"a short write of the temporary file", big.c_str(), [] { fakes::disk::cut_write(100); }, true, true,
         "", [&](const std::string& text) { return text.ends_with("k=2\r\n") && text.size() < big.size(); }},
        {"disk full at the copy", "[a]\nk=1\n", [] { fakes::disk::set_space(20); }, true, true, "",
         [](const std::string& s) { return s != "[a]\nk=1\n"; }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        world around;
        cl::ini_file file;
        file.set_file(file_path, true);
        if (row.source)
            fakes::disk::put(file_path, row.source);
        row.fault();
        std::wstring value = L"untouched";
        std::vector<std::wstring> lines = {L"untouched"}, names = {L"untouched"};
        EXPECT_EQ(file.get_value(L"a", L"k", value), row.read);
        EXPECT_EQ(file.get_section(L"a", lines, 0), row.read);
        EXPECT_EQ(file.get_section_names(names), row.read);
        if (!row.read) {
            EXPECT_EQ(value + lines[0] + names[0], L"untoucheduntoucheduntouched");
            EXPECT_EQ(fakes::disk::exists(file_path), row.source != nullptr);
        }
        EXPECT_EQ(file.write_value(L"a", L"k", L"2", true), row.edited);
        std::string said = row.said;
        EXPECT_EQ(around.trace.err.text, said + said + said + said);
        EXPECT_EQ(around.trace.out.text, "");
        EXPECT_TRUE(row.file_is(fakes::disk::bytes(file_path))) << fakes::disk::bytes(file_path);
        EXPECT_EQ(fakes::disk::names().size(), 1U);
        EXPECT_EQ(fakes::disk::open_handles(), 0);
    }
}

} // namespace
