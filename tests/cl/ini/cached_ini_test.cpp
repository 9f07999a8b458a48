// When the settings cache goes to its file, and what the file then is.
#include "cl/ini/ini_fixture.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_op;

struct cached_ini : testing::Test, world {
    cl::cached_ini ini{timer};

    std::wstring current() {
        std::wstring value = L"none";
        ini.get_value_current(L"a", L"k", value);
        return value;
    }
    static std::string file() { return disk::bytes(file_path); }
};

TEST_F(cached_ini, writes_a_while_after_the_first_change_that_asks_for_it) {
    disk::put(file_path, "[a]\r\nk=1\r\n");
    ini.set_file(file_path, false);
    ini.write_value(L"a", L"k", L"2", false);
    advance(5000);
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    ini.delete_value(L"a", L"none");
    advance(5000);
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n"); // what changes nothing asks for nothing
    ini.write_value(L"a", L"k", L"3", true);
    advance(1500);
    ini.write_section(L"b", {L"l=1"});
    advance(499);
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    advance(1);
    EXPECT_EQ(file(), "[a]\r\nk=3\r\n[b]\r\nl=1\r\n");
    ini.flush_delay = 0;
    ini.delete_value(L"b", L"l");
    EXPECT_EQ(file(), "[a]\r\nk=3\r\n[b]\r\n");
    ini.close();
    ini.write_value(L"a", L"k", L"4", true);
    EXPECT_FALSE(ini.flush() || ini.reload());
    EXPECT_EQ(file(), "[a]\r\nk=3\r\n[b]\r\n");
}

TEST_F(cached_ini, looks_for_foreign_changes_at_intervals) {
    disk::put(file_path, "[a]\r\nk=1\r\n");
    ini.set_file(file_path, false);
    ini.check_interval = 2000;
    disk::put(file_path, "[a]\r\nk=2\r\n");
    EXPECT_EQ(current(), L"1");
    advance(2000);
    EXPECT_EQ(current(), L"2");
    // Our own writing is no foreign change; what else the file holds is kept.
    advance(2000);
    ini.write_value(L"a", L"l", L"1", false);
    EXPECT_TRUE(ini.flush());
    disk::clear_log();
    EXPECT_EQ(current(), L"2");
    EXPECT_EQ(disk::calls(file_op::read), 0);
    EXPECT_EQ(current(), L"2");
    EXPECT_EQ(disk::calls(file_op::open), 1); // one look in an interval
    // A change of ours goes out before a foreign one comes in.
    disk::put(file_path, "[a]\r\nk=3\r\n");
    ini.write_value(L"a", L"l", L"2", false);
    advance(2000);
    EXPECT_EQ(current(), L"3");
    EXPECT_EQ(file(), "[a]\r\nk=3\r\nl=2\r\n");
}

TEST_F(cached_ini, keeps_the_encoding_that_a_file_has) {
    for (std::uint32_t source = 0; source < 2 * cl::encoding_count; ++source) {
        SCOPED_TRACE(source);
        const std::uint32_t encoding = source / 2;
        const bool unicode = source % 2, utf8 = encoding == cl::encoding_utf8;
        // Lines that pass as they are, others that don't, and a section in which something changes.
        const std::wstring kept = L"[b] tail\r\nx = 1\r\n\r\n;c\r\n" + std::wstring(5000, L'y') + L"\r\n";
        disk::put(file_path, encoded(kept + L" z=1\n[a]\rk=1", encoding));
        ini.set_file(file_path, unicode);
        ini.write_value(L"a", L"k", L"2", false);
        EXPECT_TRUE(ini.flush());
        const bool converts = encoding == cl::encoding_ansi && unicode;
        EXPECT_TRUE(file() == encoded((utf8 ? L"\r\n" : L"") + kept + L"z=1\r\n[a]\r\nk=2\r\n",
                                      converts ? std::uint32_t{cl::encoding_utf8} : encoding));
    }
    disk::erase(file_path);
    ini.set_file(file_path, true);
    ini.write_value(L"a", L"k", L"1", false);
    EXPECT_TRUE(ini.flush());
    EXPECT_EQ(file(), "\xEF\xBB\xBF\r\n[a]\r\nk=1\r\n");
}

} // namespace
