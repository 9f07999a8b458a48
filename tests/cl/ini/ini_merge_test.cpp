#include "cl/ini/ini_merge.hpp"
#include "cl/ini/ini_script.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ini_script;

cl::next_line reader(const naive::text& text) {
    return [text = wide(text), i = std::size_t{0}](std::wstring& line) mutable {
        if (i == text.size())
            return false;
        line = text[i++];
        return true;
    };
}

struct merged {
    naive::text lines;
    bool all_written = true;
};

// Commits the cache and lays what it hands out over the file.
merged flush(cl::ini_sections& sections, const naive::text& file, bool utf8_mark,
             const std::function<bool(std::size_t)>& fails = nullptr) {
    merged result;
    std::list<cl::ini_section> snapshot = sections.commit();
    if (snapshot.empty()) {
        result.lines = file;
        return result;
    }
    std::size_t written = 0;
    cl::ini_merge merge(
        snapshot,
        [&](const std::wstring& line) {
            if (fails && fails(written++))
                return false;
            result.lines.push_back(narrow(line));
            return true;
        },
        utf8_mark);
    result.all_written = merge(reader(file));
    return result;
}

// An edit on the memory alone.
void apply(const edit& e, cl::ini_sections& sections) {
    switch (e.what) {
    case edit::write_value:
        return sections.write_value(wide(e.section), wide(e.key), wide(e.value));
    case edit::delete_value:
        sections.delete_value(wide(e.section), wide(e.key));
        return;
    case edit::write_section:
        return sections.write_section(wide(e.section), wide(e.lines));
    case edit::delete_section:
        sections.delete_section(wide(e.section));
        return;
    }
}

edit set(const char* section, const char* key, const char* value) {
    return {edit::write_value, section, key, value, {}};
}
edit drop(const char* section, const char* key) {
    return {edit::delete_value, section, key, {}, {}};
}
edit replace(const char* section, const char* lines) {
    return {edit::write_section, section, {}, {}, lines_of(lines)};
}
edit remove(const char* section) {
    return {edit::delete_section, section, {}, {}, {}};
}

TEST(ini_merge, tables) {
    const struct {
        const char* name;
        const char* loaded;
        std::vector<edit> edits;
        const char* at_flush; // null: as it was loaded
        const char* expected;
        bool mark = false;
    } rows[] = {
        {"a changed key keeps its place, others keep their text",
         "[a]\n x = 1 ;c\n y=2\n;c\n",
         {set("A", "Y", "3")},
         nullptr,
         "[a]\nx = 1 ;c\nY=3\n;c\n"},
        {"new keys sorted, behind blank lines",
         "[a]\nx=1\n\n[b]\n",
         {set("a", "n", "1"), set("a", "M", "2")},
         nullptr,
         "[a]\nx=1\n\nM=2\nn=1\n[b]\n"},
        {"both changed a key: ours stands", "[a]\nx=1\n", {set("a", "x", "2")}, "[a]\nx=3\n", "[a]\nx=2\n"},
        {"the other one's key and section survive",
         "[a]\nx=1\ny=1\n",
         {set("a", "x", "2")},
         "[new]\nz=1\n[a]\nx=1\ny=9\n",
         "[new]\nz=1\n[a]\nx=2\ny=9\n"},
        {"a deleted key goes, changed or repeated",
         "[a]\nx=1\ny=1\n",
         {drop("a", "x")},
         "[a]\nx=3\ny=1\nX=4\n",
         "[a]\ny=1\n"},
        {"a repeat of a changed key is copied",
         "[a]\nx=1\nx=2\n",
         {set("a", "x", "3")},
         nullptr,
         "[a]\nx=3\nx=2\n"},
        {"a repeated section is left alone",
         "[a]\nx=1\n[a]\nx=2\n",
         {replace("a", "y=1\n ; c \n")},
         nullptr,
         "[a]\ny=1\n; c\n[a]\nx=2\n"},
        {"deleting removes the first of two",
         "[a]\nx=1\n\n[b]\n[a]\nx=2\n",
         {remove("a")},
         nullptr,
         "[b]\n[a]\nx=2\n"},
        {"a section that another removed comes back whole",
         "[a]\nx=1\n; c\ny=2\n",
         {set("a", "x", "2")},
         "[b]\n",
         "[b]\n[a]\nx=2\n; c\ny=2\n"},
        {"text behind a header goes with a change",
         "[a] t\nx=1\n[b] u\ny=1\n",
         {set("a", "x", "2")},
         nullptr,
         "[a]\nx=2\n[b] u\ny=1\n"},
        {"the header takes the cache's spelling",
         "[a]\nx=1\n",
         {replace(" A ", "x=1")},
         nullptr,
         "[A]\nx=1\n"},
        {"lines in front of all headers",
         "\nx=1\n[a]\n",
         {set("", "x", "2"), set("", "y", "3")},
         nullptr,
         "\nx=2\ny=3\n[a]\n"},
        {"a nameless key goes to the very end if the file has no such lines",
         "[a]\nx=1\n",
         {set("", "y", "3")},
         nullptr,
         "[a]\nx=1\ny=3\n"},
        {"the nameless section replaced and deleted",
         "x=1\ny=2\n[]\nz=1\n[a]\n",
         {replace("", "q=1")},
         nullptr,
         "q=1\n[]\nz=1\n[a]\n"},
        {"a header without a name", "[a]\n[]\nx=1\n", {set("", "x", "2")}, nullptr, "[a]\n[]\nx=2\n"},
        {"deleted, then written again: the section has but that key",
         "[a]\nx=1\ny=1\n",
         {remove("a"), set("a", "y", "2")},
         nullptr,
         "[a]\ny=2\n"},
        {"an emptied value on a deleted key leaves it deleted",
         "[a]\nx=1\n",
         {drop("a", "x"), set("a", "x", "")},
         nullptr,
         "[a]\n"},
        {"written, then deleted: the file keeps the old value",
         "[a]\nx=1\n",
         {set("a", "x", "2"), drop("a", "x")},
         nullptr,
         "[a]\nx=1\n"},
        {"a mark keeps the first line blank",
         "[a]\nx=1\n",
         {set("a", "x", "2")},
         nullptr,
         "\n[a]\nx=2\n",
         true},
        {"once only", "\n[a]\nx=1\n", {set("a", "x", "2")}, nullptr, "\n[a]\nx=2\n", true},
        {"an empty marked file",
         "",
         {set("b", "x", "1"), set("a", "y", "2")},
         nullptr,
         "\n[b]\nx=1\n[a]\ny=2\n",
         true},
        {"an empty file without a mark", "", {set("", "x", "1")}, nullptr, "x=1\n"},
        {"raw entries aren't merged, but written with their whole section",
         "[a]\n;c\nx=1\n",
         {set("a", "", "new"), set("a", "x", "2")},
         "[b]\n",
         "[b]\n[a]\nnew\nx=2\n"},
        {"nothing changed: the file isn't touched",
         " [a]\nx=1\n",
         {set("a", "x", "1")},
         nullptr,
         " [a]\nx=1\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        cl::ini_sections sections;
        sections.load(reader(lines_of(row.loaded)));
        for (const edit& e : row.edits)
            apply(e, sections);
        const char* const at_flush = row.at_flush ? row.at_flush : row.loaded;
        const merged result = flush(sections, lines_of(at_flush), row.mark);
        EXPECT_EQ(result.lines, lines_of(row.expected));
        EXPECT_TRUE(result.all_written);
    }
}

TEST(ini_merge, reports_each_failed_write_and_goes_on) {
    const naive::text file = lines_of("x=1\n[a]\nx=1\n[b]\ny=1\n[c]\n");
    const naive::text whole = lines_of("\nx=2\n[a]\nz=1\n[b]\ny=2\nz=2\n[c]\n[d]\nx=1\n");
    for (std::size_t failing = 0; failing < whole.size(); ++failing) {
        SCOPED_TRACE(failing);
        cl::ini_sections sections;
        sections.load(reader(file));
        for (const edit& e : {set("", "x", "2"), replace("a", "z=1"), set("b", "y", "2"), set("b", "z", "2"),
                              set("d", "x", "1")})
            apply(e, sections);
        const merged result = flush(sections, file, true, [&](std::size_t i) { return i == failing; });
        naive::text expected = whole;
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(failing));
        EXPECT_EQ(result.lines, expected);
        EXPECT_FALSE(result.all_written);
    }
}

} // namespace
