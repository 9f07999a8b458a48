// The settings cache on a disk that fails: results, words, what waits for the next flush and what the file
// holds.
#include "cl/ini/ini_fixture.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_call;
using fakes::file_op;

const std::string before = "[a]\r\nk=1\r\n", after = "[a]\r\nk=2\r\n";
const std::string big = "[b]\r\n" + std::string(9000, 'x') + "\r\n" + before;

// Does something once, before the first call of a kind on the settings file (or, with `temp`, another one).
void once_before(file_op op, std::function<void()> act, bool temp = false) {
    disk::on_call([=](const file_call& c) {
        if (c.op != op || (c.path == file_path) == temp)
            return;
        disk::on_call(nullptr);
        act();
    });
}

struct cached_ini_fault : testing::Test, world {
    cl::cached_ini ini{timer};

    ~cached_ini_fault() override { fakes::clock::on_sleep(nullptr); }
    void attach(const std::string& bytes, bool unicode = false) {
        disk::clear_faults();
        disk::put(file_path, bytes);
        ini.set_file(file_path, unicode);
        trace.err.text.clear();
        trace.out.text.clear();
    }
    std::string value() {
        std::wstring v = L"none";
        ini.get_value(L"a", L"k", v);
        return std::string(v.begin(), v.end());
    }
    bool write(const wchar_t* text) { return ini.write_value(L"a", L"k", text, true); }
    // Whether the change waits: a flush on a disk without faults then writes it.
    bool is_dirty() {
        disk::clear_faults();
        disk::clear_log();
        EXPECT_TRUE(ini.flush());
        return disk::calls() != 0;
    }
    static std::string file() { return disk::bytes(file_path); }
};

TEST_F(cached_ini_fault, waits_for_others_in_pauses_of_random_length) {
    const struct {
        bool flushes, works;
        std::uint32_t held_ms, longest;
    } rows[] = {
        {false, true, 4900, 99}, {false, false, 6000, 99}, {true, true, 4700, 249}, {true, false, 6000, 249}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.flushes << row.works);
        attach(before);
        write(row.flushes ? L"2" : L"1");
        EXPECT_TRUE(row.flushes || ini.flush());
        std::vector<std::uint32_t> pauses;
        fakes::clock::on_sleep([&](std::uint32_t ms) { pauses.push_back(ms); });
        disk::refuse_until(file_path, cl::os::error_sharing, cl::os::tick_count() + row.held_ms);
        disk::clear_log();
        EXPECT_EQ(row.flushes ? ini.flush() : ini.reload(), row.works);
        EXPECT_EQ(trace.err.text, row.works ? "" : "file 'C:\\data\\global.ini' open error 32\n");
        std::uint32_t slept = 0;
        for (const std::uint32_t ms : pauses) {
            EXPECT_LT(slept, 5000U); // the budget is tested before each try
            slept += ms;
        }
        EXPECT_GE(slept, row.works ? row.held_ms : 5000U);
        const auto [least, most] = std::minmax_element(pauses.begin(), pauses.end());
        EXPECT_TRUE(*least >= 50 && *least<*most&& * most> 80 && *most <= row.longest)
            << *least << ' ' << *most;
        if (!row.works) { // no try behind the last pause
            EXPECT_EQ(disk::calls(file_op::open), static_cast<int>(pauses.size()));
        }
        EXPECT_EQ(is_dirty(), row.flushes && !row.works);
    }
}

TEST_F(cached_ini_fault, single_failures) {
    const std::string open_5 = "file 'C:\\data\\global.ini' open error 5\n";
    const std::string read_23 = "file 'C:\\data\\global.ini' read error 23\n";
    const std::string no_temp = "cannot create temp file ''\n";
    const std::string no_copy = "error while copying from temp '*' to 'C:\\data\\global.ini'\n";
    const struct {
        const char* name;
        bool flushes; // or reloads
        std::string source;
        std::function<void()> fault;
        bool result;
        std::string said; // '*' stands for the name of the temporary file
        std::string value, file;
    } rows[] = {
        {"load refused", false, before, [] { disk::refuse(file_path, 5); }, false, open_5, "1", before},
        {"load of a missing file", false, before, [] { disk::erase(file_path); }, true, "", "none", ""},
        {"read fails", false, before, [] { disk::fail_call(2, 23, file_op::read); }, false, read_23, "1",
         before},
        {"source refused", true, before, [] { disk::refuse(file_path, 5); }, false, open_5, "2", before},
        {"no temporary file", true, before,
         [] {
             once_before(
                 file_op::open, [] { disk::fail_call(1, 5, file_op::open); }, true);
         },
         false, no_temp, "2", before},
        {"source can't be read to its end", true, big, [] { disk::fail_call(4, 23, file_op::read); }, false,
         read_23, "2", big},
        {"disk full", true, before, [] { disk::set_space(0); }, false, no_temp, "2", before},
        {"disk full but for the temporary file", true, before,
         [] { once_before(file_op::reserve, [] { disk::set_space(0); }); }, false, no_temp, "2", before},
        {"disk full under a new file", true, "", [] { disk::set_space(0); }, false, no_temp, "2", ""},
        {"buffered write of the temporary file fails", true, before,
         [] {
             once_before(
                 file_op::reserve, [] { disk::fail_call(1, 1117, file_op::write); }, true);
         },
         true, "error(s) writing to '*'\n", "2", ""},
        {"the same where nothing can be reserved", true, before,
         [] {
             disk::fail_call(1, cl::os::error_not_supported, file_op::reserve);
             once_before(
                 file_op::reserve, [] { disk::fail_call(1, 1117, file_op::write); }, true);
         },
         false, "error(s) writing to '*'\n", "2", before},
        {"copy of a small file fails", true, before,
         [] { once_before(file_op::write, [] { disk::fail_call(1, 1117, file_op::write); }); }, true, no_copy,
         "2", before},
        {"copy fails", true, big,
         [] { once_before(file_op::write, [] { disk::fail_call(1, 1117, file_op::write); }); }, true, no_copy,
         "2", big},
    };
    fakes::clock::on_sleep([](auto) { ADD_FAILURE() << "only a sharing violation is waited out"; });
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        attach(row.source, row.source.empty());
        if (row.flushes)
            ini.write_value(L"a", L"k", L"2", true), ini.write_value(L"a", L"new", L"", false);
        row.fault();
        EXPECT_EQ(row.flushes ? ini.flush() : ini.reload(), row.result);
        disk::on_call(nullptr);
        EXPECT_EQ(value(), row.value);
        std::string said = trace.err.text + trace.out.text;
        if (const std::size_t at = said.find("C:\\data\\ini"); at != said.npos)
            said.replace(at, said.find(".tmp'", at) + 4 - at, "*");
        EXPECT_EQ(said, row.said);
        EXPECT_TRUE(file() == row.file) << file().substr(0, 99);
        EXPECT_LE(disk::names().size(), 1U);
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(is_dirty(), row.flushes && !row.result);
        EXPECT_TRUE(row.result || !row.flushes || file().ends_with(after + "new=\r\n")) << file();
    }
}

// The n-th call of a flush fails, for each n, and once more with a death at that place. Memory keeps the
// change, nothing stays open, and a dead process leaves the old file or the new one, perhaps with blanks at
// its end. A change of the length on which the file grows, shrinks, and changes in its last block alone.
TEST_F(cached_ini_fault, each_call_in_turn) {
    const std::string lf = "[b]\n" + [] {
        std::string all;
        for (int i = 0; i < 2000; ++i)
            all += "x" + std::to_string(i) + "=\n";
        return all;
    }() + "[a]\nk=1\n";
    for (const std::string& source : {before, big, lf}) {
        for (const wchar_t* const change : {L"2", L"2 and as much as makes the file longer", L""}) {
            attach(source);
            write(change);
            ASSERT_TRUE(ini.flush());
            const std::string target = file();
            for (const bool crash : {false, true}) {
                int survived = 0;
                for (int n = 1; survived == 0; ++n) {
                    SCOPED_TRACE((crash ? "crash after " : "failing call ") + std::to_string(n));
                    attach(source);
                    write(change);
                    disk::clear_log();
                    crash ? disk::crash_after(n) : disk::fail_call(n, 5);
                    const bool result = ini.flush();
                    const std::vector<file_call> log = disk::log();
                    if (crash)
                        disk::restart();
                    if (std::none_of(log.begin(), log.end(), [](const auto& c) { return c.error != 0; }))
                        survived = n;
                    EXPECT_EQ(value(), std::string(change, change + wcslen(change)));
                    EXPECT_EQ(disk::open_handles(), 0);
                    EXPECT_EQ(disk::names(), std::vector<std::wstring>{file_path});
                    std::string left = file();
                    left.resize(left.find_last_not_of(' ') + 1);
                    EXPECT_TRUE(left == source || left == target ||
                                (!crash && trace.out.text.starts_with("error(s) writing")));
                    EXPECT_EQ(is_dirty(), !result);
                    EXPECT_TRUE(result || file() == target);
                }
                EXPECT_GT(survived, 10);
            }
        }
    }
}

TEST_F(cached_ini_fault, what_the_timer_could_not_write) {
    // A refusal that passes by itself is tried again, a few times.
    for (const std::uint32_t refusals : {1U, 3U, 4U}) {
        attach(before);
        write(L"2");
        disk::refuse(file_path, cl::os::error_access_denied, refusals);
        for (int i = 0; i < 10; ++i)
            advance(2000);
        EXPECT_EQ(file(), refusals < 4 ? after : before);
    }
    ini.write_value(L"b", L"l", L"1", true); // the next edit has the rest tried again
    advance(2000);
    EXPECT_EQ(file(), after + "[b]\r\nl=1\r\n");

    // A reload doesn't drop what can't be written; set_file does.
    write(L"3");
    disk::refuse(file_path, cl::os::error_access_denied);
    EXPECT_FALSE(ini.reload());
    EXPECT_EQ(value(), "3");
    ini.set_file(file_path, false);
    EXPECT_EQ(value(), "none");
    disk::clear_faults();
    EXPECT_TRUE(ini.reload());
    EXPECT_EQ(value(), "2");
}

TEST_F(cached_ini_fault, what_happens_during_a_flush) {
    // An edit after the commit, whose timer fires before the flush has ended.
    attach(before);
    write(L"0");
    once_before(
        file_op::reserve,
        [&] {
            write(L"2");
            advance(2000);
        },
        true);
    EXPECT_TRUE(ini.flush());
    advance(2000);
    EXPECT_EQ(file(), after);

    // The end of a file's use waits for the flush, and for what was changed meanwhile.
    std::string at_close;
    std::thread closer;
    write(L"0");
    once_before(
        file_op::reserve,
        [&] {
            write(L"3");
            closer = std::thread([&] {
                ini.close();
                at_close = file();
            });
            for (int i = 0; i < 200 && at_close.empty(); ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        },
        true);
    ini.flush();
    closer.join();
    EXPECT_EQ(at_close, "[a]\r\nk=3\r\n");

    // Someone else's change as soon as the file is let go.
    attach(before);
    write(L"0");
    once_before(file_op::close, [&] {
        disk::on_call([](const file_call&) {
            disk::on_call(nullptr);
            disk::put(file_path, after);
        });
    });
    EXPECT_TRUE(ini.flush());
    std::wstring seen;
    EXPECT_TRUE(ini.get_value_current(L"a", L"k", seen));
    EXPECT_EQ(seen, L"2");
}

TEST_F(cached_ini_fault, a_failed_flush_takes_back_its_commit) {
    const std::string source = "[a]\r\nk=1\r\nK=5\r\n;c\r\nl=1\r\n[b]\r\nm=1\r\n[c]\r\nn=1\r\n";
    // Edits before the failing flush, and after its commit; then the file.
    using cache = cl::cached_ini;
    const struct {
        const char* name;
        std::function<void(cache&)> first, later;
        std::string file;
    } rows[] = {
        {"deletions",
         [](cache& c) {
             c.delete_value(L"a", L"k");
             c.delete_section(L"b");
         },
         [](cache&) {}, "[a]\r\n;c\r\nl=1\r\n[c]\r\nn=1\r\n"},
        {"deleted, then written",
         [](cache& c) {
             c.delete_value(L"a", L"k");
             c.delete_section(L"b");
         },
         [](cache& c) {
             c.write_value(L"a", L"k", L"7", true);
             c.write_value(L"b", L"o", L"1", true);
         },
         "[a]\r\nk=7\r\nK=5\r\n;c\r\nl=1\r\n[b]\r\no=1\r\n[c]\r\nn=1\r\n"},
        {"written, then deleted",
         [](cache& c) {
             c.write_value(L"a", L"l", L"7", true);
             c.write_section(L"c", {L"p=1"});
         },
         [](cache& c) {
             c.delete_value(L"a", L"l");
             c.delete_section(L"c");
         },
         "[a]\r\nk=1\r\nK=5\r\n;c\r\n[b]\r\nm=1\r\n"},
        {"replaced, then added to",
         [](cache& c) {
             c.write_section(L"c", {L"p=1"});
             c.write_value(L"d", L"q", L"1", true);
         },
         [](cache& c) {
             c.write_value(L"c", L"r", L"1", true);
             c.delete_section(L"d");
         },
         "[a]\r\nk=1\r\nK=5\r\n;c\r\nl=1\r\n[b]\r\nm=1\r\n[c]\r\np=1\r\nr=1\r\n"},
        {"several keys",
         [](cache& c) {
             c.write_value(L"a", L"k", L"2", true);
             c.write_value(L"a", L"z", L"1", true);
             c.write_value(L"b", L"m", L"2", true);
         },
         [](cache& c) { c.write_value(L"a", L"k", L"3", true); },
         "[a]\r\nk=3\r\nK=5\r\n;c\r\nl=1\r\nz=1\r\n[b]\r\nm=2\r\n[c]\r\nn=1\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        attach(source);
        row.first(ini);
        once_before(
            file_op::reserve,
            [&] {
                row.later(ini);
                disk::set_space(0);
            },
            true);
        EXPECT_FALSE(ini.flush());
        EXPECT_EQ(file(), source);
        disk::clear_faults();
        EXPECT_TRUE(ini.flush());
        EXPECT_EQ(file(), row.file);
    }
}

// A sink of the trace that comes back while a load runs.
TEST_F(cached_ini_fault, nothing_runs_inside_of_a_load) {
    attach(before);
    write(L"1");
    cl::mutex_auto scope(ini.lock, true);
    fakes::clock::on_sleep([&](std::uint32_t) {
        EXPECT_FALSE(ini.flush_unlocked(scope));
        EXPECT_FALSE(ini.reload_unlocked(scope));
    });
    ini.flush_unlocked(scope);
    disk::refuse(file_path, cl::os::error_sharing, 1);
    EXPECT_TRUE(ini.reload_unlocked(scope));
}

} // namespace
