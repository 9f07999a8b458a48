// When the cache reads, checks and writes its file, and what it says and keeps when it can't.
#include "cl/ini/ini_fixture.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_op;

struct cached_ini : testing::Test, world {
    cl::cached_ini ini{timer};

    void attach(const std::string& text) {
        disk::put(file_path, text);
        ini.set_file(file_path, false);
    }
    std::string value(const wchar_t* key, bool current = false) {
        std::wstring v = L"none";
        current ? ini.get_value_current(L"a", key, v) : ini.get_value(L"a", key, v);
        return std::string(v.begin(), v.end());
    }
    void write(const wchar_t* key, const wchar_t* text) {
        EXPECT_TRUE(ini.write_value(L"a", key, text, true));
    }
    static std::string file() { return disk::bytes(file_path); }
    void advance(std::uint32_t ms) { timer.advance(ms); }
};

TEST_F(cached_ini, a_file_exchanged_during_a_flush_gets_its_own_changes_alone) {
    const std::wstring other = L"C:\\data\\other.ini";
    disk::put(other, "[a]\r\nother=1\r\n");
    attach("[a]\r\nk=1\r\n");
    write(L"k", L"2");
    bool exchanged = false;
    disk::on_call([&](const fakes::file_call& call) {
        if (call.op == file_op::open && call.path == file_path && !exchanged) {
            exchanged = true;
            ini.set_file(other, false);
            write(L"k", L"3");
        }
    });
    EXPECT_FALSE(ini.flush());
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n"); // set_file has dropped the change
    advance(2000);
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    EXPECT_EQ(disk::bytes(other), "[a]\r\nother=1\r\nk=3\r\n");
}

TEST_F(cached_ini, missing_file) {
    ini.set_file(file_path, true);
    EXPECT_FALSE(disk::exists(file_path));
    write(L"k", L"1");
    EXPECT_TRUE(ini.flush());
    EXPECT_EQ(file(), "\xEF\xBB\xBF\r\n[a]\r\nk=1\r\n");
    disk::erase(file_path);
    EXPECT_EQ(value(L"k", true), "none");
    EXPECT_TRUE(ini.reload());
    EXPECT_EQ(trace.err.text, "");
}

TEST_F(cached_ini, names_and_sections_by_their_flags) {
    attach("[a]\nk=1\n[b]\n");
    EXPECT_TRUE(ini.delete_section(L" A"));
    std::vector<std::wstring> lines = {L"untouched"};
    EXPECT_TRUE(ini.section_exists_current(L"a"));
    EXPECT_FALSE(ini.get_section(L"a", lines, 3));
    EXPECT_EQ(lines[0], L"untouched");
    EXPECT_EQ(ini.section_count(), 1U);
    disk::put(file_path, "[a]\n[b]\n[c]\n");
    EXPECT_EQ(ini.section_count_current(), 1U); // doesn't look at the file
    EXPECT_FALSE(ini.section_exists_current(L"a"));
    // A section that was made here and written is unknown to be in the file until the next load.
    ini.write_value(L"new", L"k", L"1", true);
    EXPECT_TRUE(ini.flush());
    EXPECT_TRUE(ini.delete_section(L"new"));
    EXPECT_TRUE(ini.flush());
    EXPECT_EQ(file(), "[b]\r\n[c]\r\n[new]\r\nk=1\r\n");
    std::vector<std::wstring> names;
    EXPECT_TRUE(ini.get_section_names(names));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"b", L"c"}));
}

} // namespace
