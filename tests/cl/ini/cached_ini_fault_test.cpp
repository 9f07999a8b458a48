// The settings cache on a disk that fails: results, words, what stays dirty and what the file holds.
#include "cl/ini/ini_fixture.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace ini_fixture;
using fakes::disk;
using fakes::file_call;
using fakes::file_op;

const std::string before = "[a]\r\nk=1\r\n", after = "[a]\r\nk=2\r\n";
const std::string big = "[b]\r\n" + std::string(9000, 'x') + "\r\n" + before;

struct cached_ini_fault : testing::Test, world {
    cl::cached_ini ini{timer};

    ~cached_ini_fault() override { fakes::clock::on_sleep(nullptr); }
    void attach(const std::string& bytes) {
        disk::clear_faults();
        disk::put(file_path, bytes);
        ini.set_file(file_path, false);
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

TEST_F(cached_ini_fault, load) {
    const struct {
        const char* name;
        std::function<void()> fault;
        bool result;
        const char *said, *value;
    } rows[] = {
        {"refused", [] { disk::refuse(file_path, 5); }, false, "file 'C:\\data\\global.ini' open error 5\n",
         "1"},
        {"missing", [] { disk::erase(file_path); }, true, "", "none"},
        {"read fails", [] { disk::fail_call(2, 23, file_op::read); }, false,
         "file 'C:\\data\\global.ini' read error 23\n", "1"},
    };
    fakes::clock::on_sleep([](auto) { ADD_FAILURE() << "only a sharing violation is waited out"; });
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        attach(before);
        disk::put(file_path, after);
        row.fault();
        EXPECT_EQ(ini.reload(), row.result);
        EXPECT_EQ(value(), row.value);
        EXPECT_EQ(trace.err.text + trace.out.text, row.said);
        EXPECT_EQ(disk::open_handles(), 0);
    }
}

TEST_F(cached_ini_fault, flush) {
    const struct {
        const char* name;
        const std::string& source;
        std::function<void()> fault;
        bool result;
        std::string out, err; // '*' stands for the name of the temporary file
        bool keeps_file;      // or has lost what stood ahead of the change
    } rows[] = {
        {"source refused", before, [] { disk::refuse(file_path, 5); }, false, "",
         "file 'C:\\data\\global.ini' open error 5\n", true},
        {"no temporary file", before,
         [] {
             disk::on_call([](const file_call& c) {
                 if (c.op == file_op::open && c.path != file_path)
                     disk::refuse(c.path, 5);
             });
         },
         false, "cannot create temp file ''\n", "", true},
        {"short write of the temporary file", big, [] { disk::cut_write(5000); }, true,
         "error(s) writing to '*'\n", "", false},
        {"source can't be read to its end", big, [] { disk::fail_call(4, 23, file_op::read); }, true, "",
         "file 'C:\\data\\global.ini' read error 23\n", true},
        {"copy fails", big,
         [] {
             disk::on_call([](const file_call& c) {
                 if (c.op == file_op::write && c.path == file_path)
                     disk::fail_call(1, 112, file_op::write);
             });
         },
         true, "error while copying from temp '*' to 'C:\\data\\global.ini'\n", "", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        attach(row.source);
        write(L"2");
        row.fault();
        EXPECT_EQ(ini.flush(), row.result);
        disk::on_call(nullptr);
        EXPECT_EQ(value(), "2");
        EXPECT_EQ(trace.err.text, row.err);
        std::string out = trace.out.text;
        if (const std::size_t at = out.find("C:\\data\\ini"); at != out.npos)
            out.replace(at, out.find(".tmp'", at) + 4 - at, "*");
        EXPECT_EQ(out, row.out);
        EXPECT_TRUE(row.keeps_file ? file() == row.source
                                   : file().size() < big.size() && file().ends_with(after))
            << file();
        EXPECT_EQ(disk::names(), std::vector<std::wstring>{file_path});
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(is_dirty(), !row.result);
        EXPECT_TRUE(row.result || file() == after) << file();
    }
}

// The n-th call of a flush fails, for each n, and once more with a death at that place: memory keeps the
// change, nothing stays open, and the file is the old one or the new one, or as much of the new one as a
// failed write has left of it.
TEST_F(cached_ini_fault, each_call_in_turn) {
    for (const bool crash : {false, true}) {
        int survived = 0;
        for (int n = 1; survived == 0; ++n) {
            SCOPED_TRACE((crash ? "crash after " : "failing call ") + std::to_string(n));
            attach(before);
            write(L"2");
            disk::clear_log();
            crash ? disk::crash_after(n) : disk::fail_call(n, 5);
            const bool result = ini.flush();
            const std::vector<file_call> log = disk::log();
            if (crash)
                disk::restart();
            if (std::none_of(log.begin(), log.end(), [](const auto& c) { return c.error != 0; }))
                survived = n;
            EXPECT_EQ(value(), "2");
            EXPECT_EQ(disk::open_handles(), 0);
            EXPECT_EQ(disk::names(), std::vector<std::wstring>{file_path});
            EXPECT_TRUE(file() == before || (crash ? file() == after : after.starts_with(file()))) << file();
            EXPECT_EQ(is_dirty(), !result);
            EXPECT_TRUE(result || file() == after);
        }
        EXPECT_GT(survived, 10);
    }
}

TEST_F(cached_ini_fault, changes_that_could_not_be_written) {
    attach(before);
    write(L"2");
    disk::refuse(file_path, 5);
    advance(2000);
    disk::clear_faults();
    advance(100000);
    EXPECT_EQ(file(), before); // only the next edit has it tried again
    ini.write_value(L"b", L"l", L"1", true);
    advance(2000);
    EXPECT_EQ(file(), after + "[b]\r\nl=1\r\n");

    // A reload doesn't drop what can't be written; set_file does.
    write(L"3");
    disk::refuse(file_path, 5);
    EXPECT_FALSE(ini.reload());
    EXPECT_EQ(value(), "3");
    ini.set_file(file_path, false);
    EXPECT_EQ(value(), "none");
    disk::clear_faults();
    EXPECT_TRUE(ini.reload());
    EXPECT_EQ(value(), "2");
}

TEST_F(cached_ini_fault, a_file_exchanged_during_a_flush_gets_its_own_changes_alone) {
    const std::wstring other = L"C:\\data\\other.ini";
    attach(before);
    write(L"2");
    disk::on_call([&](const file_call& call) {
        if (call.op != file_op::open)
            return;
        disk::on_call(nullptr);
        ini.set_file(other, true);
        write(L"3");
    });
    EXPECT_FALSE(ini.flush());
    advance(2000);
    EXPECT_EQ(file(), before);                                       // set_file has dropped the change
    EXPECT_EQ(disk::bytes(other), "\xEF\xBB\xBF\r\n[a]\r\nk=3\r\n"); // and this one was missing
}

} // namespace
