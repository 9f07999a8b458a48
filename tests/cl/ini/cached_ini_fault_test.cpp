// The settings cache on a disk that fails: results, words, what stays dirty and what the file holds.
#include "cl/ini/ini_fixture.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_op;

const std::string before = "[a]\r\nk=1\r\n";
const std::string after = "[a]\r\nk=2\r\n";

struct cached_ini_fault : testing::Test, world {
    cl::cached_ini ini{timer};
    std::vector<std::uint32_t> pauses;

    cached_ini_fault() {
        disk::put(file_path, before);
        ini.set_file(file_path, false);
        fakes::clock::on_sleep([this](std::uint32_t ms) { pauses.push_back(ms); });
    }
    ~cached_ini_fault() override { fakes::clock::on_sleep(nullptr); }
    std::string value() {
        std::wstring v = L"none";
        ini.get_value(L"a", L"k", v);
        return std::string(v.begin(), v.end());
    }
    void change() { ini.write_value(L"a", L"k", L"2", true); }
    // Whether the change waits: a flush on a disk without faults then writes it.
    bool is_dirty() {
        disk::clear_faults();
        disk::clear_log();
        EXPECT_TRUE(ini.flush());
        return disk::calls() != 0;
    }
    static std::string file() { return disk::bytes(file_path); }
    std::string said() { return trace.err.text + trace.out.text; }
};

TEST_F(cached_ini_fault, waits_for_others_in_pauses_of_random_length) {
    const struct {
        const char* name;
        std::uint32_t held_ms, shortest, longest;
        std::function<bool(cl::cached_ini&)> act;
        bool works;
    } rows[] = {
        {"load, let go in time", 4900, 50, 99, [](cl::cached_ini& c) { return c.reload(); }, true},
        {"load, held too long", 6000, 50, 99, [](cl::cached_ini& c) { return c.reload(); }, false},
        {"flush, let go in time", 4700, 50, 249,
         [](cl::cached_ini& c) { return c.write_value(L"a", L"k", L"2", true) && c.flush(); }, true},
        {"flush, held too long", 6000, 50, 249,
         [](cl::cached_ini& c) { return c.write_value(L"a", L"k", L"3", true) && c.flush(); }, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        trace.err.text.clear();
        pauses.clear();
        disk::refuse_until(file_path, cl::os::error_sharing, cl::os::tick_count() + row.held_ms);
        disk::clear_log();
        EXPECT_EQ(row.act(ini), row.works);
        EXPECT_EQ(trace.err.text, row.works ? "" : "file 'C:\\data\\global.ini' open error 32\n");
        std::uint32_t slept = 0;
        std::uint32_t different = 0;
        for (const std::uint32_t ms : pauses) {
            EXPECT_LT(slept, 5000U); // the budget is tested before each try
            EXPECT_GE(ms, row.shortest);
            EXPECT_LE(ms, row.longest);
            different += ms != pauses[0];
            slept += ms;
        }
        EXPECT_GT(different, 0U);
        EXPECT_GE(slept, row.works ? row.held_ms : 5000U);
        if (!row.works) {
            EXPECT_EQ(disk::calls(file_op::open), static_cast<int>(pauses.size())); // no try behind the last
        }
        disk::clear_faults();
    }
    EXPECT_EQ(value(), "3");
    EXPECT_TRUE(is_dirty());
}

TEST_F(cached_ini_fault, load) {
    const struct {
        const char* name;
        std::function<void()> fault;
        bool result;
        const char* said;
        const char* value;
    } rows[] = {
        {"refused", [] { disk::refuse(file_path, 5); }, false, "file 'C:\\data\\global.ini' open error 5\n",
         "1"},
        {"a folder in its place", [] { disk::put_folder(file_path); }, false,
         "file 'C:\\data\\global.ini' open error 5\n", "1"},
        {"missing", [] { disk::erase(file_path); }, true, "", "none"},
        {"read breaks off", [] { disk::put(file_path, "[a]\nk=5\nl=1\n"), disk::cut_read(7); }, true, "",
         "5"},
        {"read fails", [] { disk::put(file_path, "[a]\nk=5\n"), disk::fail_call(2, 23, file_op::read); },
         false, "file 'C:\\data\\global.ini' read error 23\n", "1"},
        {"no stamp", [] { disk::put(file_path, "[a]\nk=6\n"), disk::fail_call(1, 5, file_op::write_time); },
         true, "", "6"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        disk::clear_faults();
        disk::erase(file_path);
        disk::put(file_path, before);
        EXPECT_TRUE(ini.reload());
        trace.err.text.clear();
        row.fault();
        EXPECT_EQ(ini.reload(), row.result);
        EXPECT_EQ(value(), row.value);
        EXPECT_EQ(said(), row.said);
        EXPECT_EQ(pauses.size(), 0U); // nothing but a sharing violation is waited out
        EXPECT_EQ(disk::open_handles(), 0);
    }
}

TEST_F(cached_ini_fault, flush) {
    const auto temp_open_fails = [] {
        disk::on_call([](const fakes::file_call& c) {
            if (c.op == file_op::open && c.path != file_path)
                disk::refuse(c.path, 5);
        });
    };
    const std::string big = "[b]\r\n" + std::string(9000, 'x') + "\r\n" + before;
    const struct {
        const char* name;
        std::string source;
        std::function<void()> fault;
        bool result, dirty;
        const char* out; // '*' stands for the name of the temporary file
        const char* err;
        std::function<bool(const std::string&)> file_is;
    } rows[] = {
        {"source refused", before, [] { disk::refuse(file_path, 5); }, false, true, "",
         "file 'C:\\data\\global.ini' open error 5\n", [](const std::string& s) { return s == before; }},
        {"no temporary file", before, temp_open_fails, false, true, "cannot create temp file ''\n", "",
         [](const std::string& s) { return s == before; }},
        {"short write of the temporary file", big, [] { disk::cut_write(5000); }, true, false,
         "error(s) writing to '*'\n", "",
         [&](const std::string& s) { return s.size() < big.size() && s.ends_with(after); }},
        {"source can't be read to its end", big, [] { disk::fail_call(4, 23, file_op::read); }, true, false,
         "", "file 'C:\\data\\global.ini' read error 23\n", [&](const std::string& s) { return s == big; }},
        {"disk full behind the last line", before, [] { disk::set_space(5); }, true, false,
         "error while copying from temp '*' to 'C:\\data\\global.ini'\n", "",
         [](const std::string& s) { return s == before; }},
        {"copy fails", big,
         [] {
             disk::on_call([](const fakes::file_call& c) {
                 if (c.op == file_op::write && c.path == file_path)
                     disk::fail_call(1, 112, file_op::write);
             });
         },
         true, false, "error while copying from temp '*' to 'C:\\data\\global.ini'\n", "",
         [&](const std::string& s) { return s == big; }},
        {"no stamp", before, [] { disk::fail_call(1, 5, file_op::write_time); }, true, false, "", "",
         [](const std::string& s) { return s == after; }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        disk::clear_faults();
        disk::put(file_path, row.source);
        ini.set_file(file_path, false);
        trace.err.text.clear();
        trace.out.text.clear();
        change();
        row.fault();
        EXPECT_EQ(ini.flush(), row.result);
        disk::on_call(nullptr);
        EXPECT_EQ(value(), "2");
        EXPECT_EQ(trace.err.text, row.err);
        const std::string out = row.out;
        const std::string said_out = trace.out.text;
        const std::size_t star = std::min(out.find('*'), out.size());
        EXPECT_TRUE(said_out.starts_with(out.substr(0, star))) << said_out;
        if (star < out.size()) {
            EXPECT_TRUE(said_out.ends_with(out.substr(star + 1))) << said_out;
            EXPECT_TRUE(said_out.substr(star).starts_with("C:\\data\\ini")) << said_out;
            EXPECT_NE(said_out.find(".tmp'"), said_out.npos) << said_out;
        }
        EXPECT_TRUE(row.file_is(file())) << file();
        EXPECT_EQ(disk::names(), std::vector<std::wstring>{file_path});
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(is_dirty(), row.dirty);
        if (row.dirty) {
            EXPECT_TRUE(file().ends_with(after)) << file();
        }
    }
}

// The n-th call of a flush fails, for each n, and once more with a death at that place: memory keeps the
// change, nothing stays open, and the file is the old one, the new one or, where the copy was under way, one
// cut short.
TEST_F(cached_ini_fault, each_call_in_turn) {
    for (const bool crash : {false, true}) {
        int survived = 0;
        for (int n = 1; survived == 0; ++n) {
            SCOPED_TRACE((crash ? "crash after " : "failing call ") + std::to_string(n));
            ASSERT_LT(n, 100);
            disk::clear_faults();
            disk::put(file_path, before);
            ini.set_file(file_path, false);
            change();
            disk::clear_log();
            crash ? disk::crash_after(n) : disk::fail_call(n, 5);
            const bool result = ini.flush();
            const std::vector<fakes::file_call> log = disk::log();
            if (crash)
                disk::restart();
            if (std::none_of(log.begin(), log.end(), [](const auto& c) { return c.error != 0; }))
                survived = n;
            EXPECT_EQ(value(), "2");
            EXPECT_EQ(disk::open_handles(), 0);
            EXPECT_EQ(disk::names(), std::vector<std::wstring>{file_path});
            EXPECT_TRUE(file() == before || file() == after) << file();
            const bool dirty = is_dirty();
            EXPECT_EQ(dirty, !result);
            if (dirty) {
                EXPECT_EQ(file(), after);
            }
        }
        EXPECT_GT(survived, 10);
    }
}

TEST_F(cached_ini_fault, a_flush_that_failed_is_tried_again_by_the_next_edit) {
    change();
    disk::refuse(file_path, 5);
    timer.advance(2000);
    disk::clear_faults();
    timer.advance(100000);
    EXPECT_EQ(file(), before);
    ini.write_value(L"b", L"l", L"1", true);
    timer.advance(2000);
    EXPECT_EQ(file(), after + "[b]\r\nl=1\r\n");

    // A reload doesn't drop changes that can't be written; set_file does.
    ini.write_value(L"a", L"k", L"3", true);
    disk::refuse(file_path, 5);
    EXPECT_FALSE(ini.reload());
    EXPECT_EQ(value(), "3");
    ini.set_file(file_path, false);
    EXPECT_EQ(value(), "none");
    disk::clear_faults();
    EXPECT_TRUE(ini.reload());
    EXPECT_EQ(value(), "2");
}

} // namespace
