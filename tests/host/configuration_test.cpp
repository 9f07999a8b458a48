// The log as the settings file tells it to be, on the disk in memory.
#include "host/configuration.hpp"

#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_file.hpp"
#include "host/host_state.hpp"

#include <gtest/gtest.h>

namespace {

const std::wstring log_path = L"D:\\data\\trace.txt", old_path = L"D:\\data\\trace_old.txt";

struct outcome {
    bool in_lists;
    std::size_t log, old; // sizes in bytes after a line of 100 characters has been written
};

// A run of the host with that text as its settings, beside a log of `size` bytes.
outcome run(const std::string& settings, std::size_t size) {
    fakes::disk::reset();
    fakes::clock::reset();
    fakes::disk::put(L"D:\\data\\global.ini", settings);
    if (size > 0)
        fakes::disk::put(log_path, std::string(size, 'x'));
    vfl::data_dir = L"D:\\data\\";
    cl::trace_file.set_path({});
    for (cl::trace_list* list : {&cl::trace_err, &cl::trace_out, &cl::trace_log})
        cl::trace_add(list, &cl::trace_file);
    vfl::configure_host();
    cl::trace_write(&cl::trace_log, (std::string(99, 'y') + "\n").c_str());
    const outcome o = {cl::trace_remove(&cl::trace_log, &cl::trace_file), fakes::disk::bytes(log_path).size(),
                       fakes::disk::bytes(old_path).size()};
    for (cl::trace_list* list : {&cl::trace_err, &cl::trace_out})
        EXPECT_EQ(cl::trace_remove(list, &cl::trace_file), o.in_lists);
    cl::trace_file.discard(true);
    cl::global_ini.close();
    return o;
}

constexpr std::size_t line = 11 + 99 + 2; // stamp, text, CR LF

} // namespace

TEST(configuration, the_log) {
    const struct {
        const char* name;
        std::string settings;
        std::size_t size;
        outcome want;
    } rows[] = {
        {"no settings", "", 0, {true, line, 0}},
        {"another section", "[other]\r\ntrace=0\r\n", 0, {true, line, 0}},
        {"on", "[param]\r\ntrace=2\r\n", 10, {true, 10 + line, 0}},
        {"off", "[param]\r\ntrace=0\r\n", 10, {false, 10, 0}},
        {"a letter turns it off", "[PARAM]\r\nTrace = yes\r\n", 0, {false, 0, 0}},
        {"so does an empty value", "[param]\r\ntrace=\r\n", 0, {false, 0, 0}},
        {"the limit, reached", "[param]\r\nmax_trace_size=200\r\n", 200 - line, {true, 200, 0}},
        {"the limit, passed", "[param]\r\nmax_trace_size=200\r\n", 201 - line, {true, 0, 201}},
        {"a letter is a limit of 0", "[param]\r\nmax_trace_size=big\r\n", 0, {true, 0, line}},
        {"a negative limit is none", "[param]\r\nmax_trace_size=-1\r\n", 300, {true, 300 + line, 0}},
        {"rotation at the start, below", "", 0x9EFFFF, {true, 0x9EFFFF + line, 0}},
        {"rotation at the start", "", 0x9F0000, {true, line, 0x9F0000}},
        {"which no setting moves", "[param]\r\nmax_trace_size=-1\r\n", 0x9F0000, {true, line, 0x9F0000}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const outcome o = run(row.settings, row.size);
        EXPECT_EQ(o.in_lists, row.want.in_lists);
        EXPECT_EQ(o.log, row.want.log);
        EXPECT_EQ(o.old, row.want.old);
    }
    EXPECT_EQ(cl::global_ini.check_interval, 2000u);
    EXPECT_TRUE(cl::global_ini.unicode);
    fakes::disk::reset();
}
