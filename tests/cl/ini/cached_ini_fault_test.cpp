// The settings cache on a disk that fails: results, words, what waits for the next flush and what the file
// holds.
#include "cl/ini/ini_fixture.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <sstream>
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
        // The budget is tested before each try, and no try follows the last pause.
        const std::uint32_t slept = std::accumulate(pauses.begin(), pauses.end(), 0U);
        EXPECT_TRUE(slept >= (row.works ? row.held_ms : 5000) && slept - pauses.back() < 5000) << slept;
        const auto [least, most] = std::minmax_element(pauses.begin(), pauses.end());
        EXPECT_TRUE(*least >= 50 && *least<*most&& * most> 80 && *most <= row.longest)
            << *least << ' ' << *most;
        EXPECT_TRUE(row.works || disk::calls(file_op::open) == std::ssize(pauses));
        EXPECT_EQ(is_dirty(), row.flushes && !row.works);
    }
}

TEST_F(cached_ini_fault, single_failures) {
    const std::string open_5 = "file 'C:\\data\\global.ini' open error 5\n";
    const std::string read_23 = "file 'C:\\data\\global.ini' read error 23\n";
    const std::string no_temp = "cannot create temp file ''\n", no_write = "error(s) writing to '*'\n";
    const std::string no_copy = "error while copying from temp '*' to 'C:\\data\\global.ini'\n";
    constexpr bool temp = true, own = false;
    // 112: the disk is full from the call on. 50: and the next write fails.
    const struct {
        const char* name;
        bool flushes; // or reloads
        std::string source;
        file_op op; // the n-th one on the settings file, or the temporary one
        bool on_temp;
        int n;
        std::uint32_t error;
        bool result;
        std::string said; // '*' stands for the name of the temporary file
        std::string value, file;
    } rows[] = {
        {"load refused", false, before, file_op::open, own, 1, 5, false, open_5, "1", before},
        {"load of a missing file", false, before, file_op::open, own, 1, 2, true, "", "none", before},
        {"read fails", false, before, file_op::read, own, 2, 23, false, read_23, "1", before},
        {"source refused", true, before, file_op::open, own, 1, 5, false, open_5, "2", before},
        {"no temporary file", true, before, file_op::open, temp, 1, 5, false, no_temp, "2", before},
        {"source breaks off", true, big, file_op::read, own, 4, 23, false, read_23, "2", big},
        {"disk full", true, before, file_op::open, own, 1, 112, false, no_temp, "2", before},
        {"no room to grow", true, before, file_op::reserve, own, 1, 112, false, no_temp, "2", before},
        {"no room for a new file", true, "", file_op::open, own, 1, 112, false, no_temp, "2", ""},
        {"last write of temp fails", true, before, file_op::write, temp, 2, 1117, true, no_write, "2", ""},
        {"the same unreserved", true, before, file_op::reserve, temp, 1, 50, false, no_write, "2", before},
        {"copy of a small file fails", true, before, file_op::write, own, 1, 1117, true, no_copy, "2",
         before},
        {"copy fails", true, big, file_op::write, own, 1, 1117, true, no_copy, "2", big},
    };
    fakes::clock::on_sleep([](auto) { ADD_FAILURE() << "only a sharing violation is waited out"; });
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        attach(row.source, row.source.empty());
        if (row.flushes)
            ini.write_value(L"a", L"k", L"2", true), ini.write_value(L"a", L"new", L"", false);
        int n = row.n;
        disk::on_call([&](const file_call& c) {
            if (c.op != row.op || (c.path != file_path) != row.on_temp || --n != 0)
                return;
            if (row.error == cl::os::error_disk_full)
                disk::set_space(0);
            else
                disk::fail_call(1, row.error, row.op);
            if (row.error == cl::os::error_not_supported)
                disk::fail_call(1, 1117, file_op::write);
        });
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
    // Edits before the failing flush and, behind "|", after its commit: "a.k=1" writes, "a.k" deletes a key,
    // "a:k=1" replaces and "a" deletes a section.
    const std::pair<const wchar_t*, const char*> rows[] = {
        {L"a.k b |", "[a]\r\n;c\r\nl=1\r\n[c]\r\nn=1\r\n"},
        {L"a.k b | a.k=7 b.o=1", "[a]\r\nk=7\r\nK=5\r\n;c\r\nl=1\r\n[b]\r\no=1\r\n[c]\r\nn=1\r\n"},
        {L"a.l=7 c:p=1 | a.l c", "[a]\r\nk=1\r\nK=5\r\n;c\r\n[b]\r\nm=1\r\n"},
        {L"c:p=1 d.q=1 | c.r=1 d", "[a]\r\nk=1\r\nK=5\r\n;c\r\nl=1\r\n[b]\r\nm=1\r\n[c]\r\np=1\r\nr=1\r\n"},
        {L"a.k=2 a.z=1 b.m=2 | a.k=3",
         "[a]\r\nk=3\r\nK=5\r\n;c\r\nl=1\r\nz=1\r\n[b]\r\nm=2\r\n[c]\r\nn=1\r\n"},
    };
    for (const auto& [edits, expected] : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(edits)));
        attach(source);
        std::wistringstream words(edits);
        const auto apply = [&] {
            for (std::wstring e; words >> e && e != L"|";) {
                const std::size_t equals = std::min(e.find(L'='), e.size());
                const std::wstring section = e.substr(0, 1);
                if (e.size() == 1)
                    ini.delete_section(section);
                else if (e[1] == L':')
                    ini.write_section(section, {e.substr(2)});
                else if (equals == e.size())
                    ini.delete_value(section, e.substr(2));
                else
                    ini.write_value(section, e.substr(2, equals - 2), e.substr(equals + 1), true);
            }
        };
        apply();
        once_before(
            file_op::reserve,
            [&] {
                apply();
                disk::set_space(0);
            },
            true);
        EXPECT_FALSE(ini.flush());
        EXPECT_EQ(file(), source);
        disk::clear_faults();
        EXPECT_TRUE(ini.flush());
        EXPECT_EQ(file(), expected);
    }
}

// Memory that runs out at any moment of a flush or load: the caller gets the exception, and the next flush
// does the work.
TEST_F(cached_ini_fault, short_of_memory) {
    for (const bool flushes : {true, false}) {
        bool thrown = true;
        for (int n = 1; thrown; ++n) {
            attach(before);
            write(flushes ? L"2" : L"1");
            EXPECT_TRUE(flushes || ini.flush());
            int left = n;
            disk::on_call([&](const file_call& c) {
                if (c.op != file_op::close && --left == 0)
                    throw std::bad_alloc();
            });
            try {
                EXPECT_TRUE(flushes ? ini.flush() : ini.reload());
                thrown = false;
            } catch (const std::bad_alloc&) {
            }
            disk::on_call(nullptr);
            EXPECT_EQ(disk::open_handles(), 0);
            EXPECT_TRUE(ini.flush() && ini.reload());
            EXPECT_EQ(file(), flushes ? after : before);
        }
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
