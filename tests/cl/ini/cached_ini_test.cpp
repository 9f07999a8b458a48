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

TEST_F(cached_ini, writes_once_for_a_burst_and_at_most_the_delay_after_its_first_change) {
    attach("[a]\r\nk=1\r\n");
    EXPECT_TRUE(ini.write_value(L"a", L"k", L"2", false));
    advance(5000);
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    write(L"k", L"3");
    for (int i = 0; i < 19; ++i) {
        advance(100);
        write(L"l", std::to_wstring(i).c_str());
    }
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    disk::clear_log();
    advance(100);
    EXPECT_EQ(file(), "[a]\r\nk=3\r\nl=18\r\n");
    EXPECT_EQ(disk::calls(file_op::open), 3); // source, temporary file, stamp
    advance(10000);
    EXPECT_EQ(disk::calls(file_op::open), 3);
    // Unchanged values arm the flush all the same, which then rewrites the file: its section was changed
    // before.
    write(L"k", L"3");
    disk::put(file_path, " [a]\nk=9\n");
    advance(2000);
    EXPECT_EQ(file(), "[a]\r\nk=9\r\n");

    ini.flush_delay = 0;
    write(L"k", L"4");
    EXPECT_EQ(file(), "[a]\r\nk=4\r\n");
}

TEST_F(cached_ini, edits_during_a_flush_wait_for_a_timer_of_their_own) {
    attach("[a]\r\nk=1\r\n");
    write(L"k", L"2");
    bool edited = false;
    disk::on_call([&](const fakes::file_call& call) {
        // Behind the commit the temporary file is written; a mark of 2 bytes comes earlier.
        if (call.op == file_op::write && call.asked > 2 && call.path != file_path && !edited) {
            edited = true;
            write(L"k", L"3");
            EXPECT_FALSE(ini.flush());
            EXPECT_FALSE(ini.reload());
            EXPECT_EQ(value(L"k"), "3");
        }
    });
    EXPECT_TRUE(ini.flush());
    EXPECT_EQ(file(), "[a]\r\nk=2\r\n");
    advance(2000);
    EXPECT_EQ(file(), "[a]\r\nk=3\r\n");
}

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

TEST_F(cached_ini, checks_the_stamp_once_in_an_interval) {
    attach("[a]\nk=1\n");
    ini.check_interval = 2000;
    disk::clear_log();
    disk::put(file_path, "[a]\nk=2\n");
    advance(1999);
    EXPECT_EQ(value(L"k", true), "1");
    EXPECT_EQ(disk::calls(), 0);
    advance(1);
    EXPECT_EQ(value(L"k"), "1");
    EXPECT_EQ(disk::calls(), 0);
    EXPECT_EQ(value(L"k", true), "2");
    disk::clear_log();
    advance(2000);
    EXPECT_EQ(value(L"k", true) + value(L"k", true), "22");
    EXPECT_EQ(disk::calls(file_op::open), 1);

    // Changes of ours go to the file before it is read again.
    write(L"l", L"7");
    disk::put(file_path, "[a]\nk=3\n");
    advance(1999);
    advance(0);
    EXPECT_EQ(file(), "[a]\nk=3\n");
    ini.check_interval = 0;
    EXPECT_EQ(value(L"k", true), "3");
    EXPECT_EQ(file(), "[a]\r\nk=3\r\nl=7\r\n");

    // Our own flush isn't taken for a foreign change; a file that can't be stamped is loaded at each check.
    write(L"l", L"8");
    EXPECT_TRUE(ini.flush());
    disk::clear_log();
    EXPECT_EQ(value(L"l", true), "8");
    EXPECT_EQ(disk::calls(file_op::open), 1);
    disk::put(file_path, "[a]\nk=4\n");
    for (int i = 0; i < 3; ++i) {
        disk::fail_call(1, 5, file_op::write_time);
        disk::fail_call(2, 5, file_op::write_time);
        disk::clear_log();
        EXPECT_EQ(value(L"k", true), "4");
        EXPECT_EQ(disk::calls(file_op::open), 3);
    }
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

TEST_F(cached_ini, without_a_file_everything_stays_in_memory) {
    write(L"k", L"1");
    EXPECT_EQ(value(L"k", true), "1");
    EXPECT_FALSE(ini.flush());
    EXPECT_FALSE(ini.reload());
    advance(2000);
    EXPECT_EQ(disk::calls(), 0);
    attach("[a]\nl=1\n"); // drops what was there
    EXPECT_EQ(value(L"k") + value(L"l"), "none1");

    write(L"k", L"2");
    ini.close();
    EXPECT_EQ(file(), "[a]\r\nl=1\r\nk=2\r\n");
    write(L"k", L"3");
    advance(2000);
    disk::put(file_path, "[a]\nk=9\n");
    EXPECT_EQ(value(L"k", true), "3");
    EXPECT_EQ(file(), "[a]\nk=9\n");
    ini.set_file(file_path, false);
    EXPECT_EQ(value(L"k"), "9");
}

TEST_F(cached_ini, saves_at_its_end_and_leaves_no_timer) {
    attach("");
    {
        cl::cached_ini short_lived(timer);
        short_lived.set_file(file_path, false);
        short_lived.write_value(L"a", L"k", L"1", true);
    }
    EXPECT_EQ(file(), "[a]\r\nk=1\r\n");
    advance(10000);
    EXPECT_EQ(timer.callback_calls, 0U);
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
