// Threads write to a log that rotates about every second, while others keep it from being opened now and then
// and meddle with it. Half a second in the tests; VFL_STRESS_SECONDS sets the time of a soak.
#include "cl/log/file_trace.hpp"
#include "cl/os/clock.hpp"
#include "cl/os/file.hpp"
#include "cl/time/event.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace fs = std::filesystem;
using namespace cl;

namespace {

constexpr std::size_t writers = 4;

// Finds the lines whole and in their writers' order, "235907-042 b 17 .......\r", and without a mark all of
// them.
struct checker {
    std::vector<long long> next = std::vector<long long>(writers, 0);
    long long lines = 0, marks = 0, missing = 0, torn = 0;

    void take(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        for (std::string line; std::getline(in, line);) {
            char writer = 0;
            long long number = -1;
            if (line == "\r" || line == "buffer overflow\r") {
                marks += line.size() > 1;
            } else if (line.size() > 11 && line[10] == ' ' && line.back() == '\r' &&
                       std::sscanf(line.c_str() + 11, "%c %lld ", &writer, &number) == 2 && writer >= 'a' &&
                       writer < 'a' + static_cast<int>(writers) &&
                       line.find_first_not_of('.', line.rfind(' ') + 1) == line.size() - 1) {
                long long& expected = next.at(static_cast<std::size_t>(writer - 'a'));
                ASSERT_GE(number, expected) << line;
                missing += number - expected;
                expected = number + 1;
                ++lines;
            } else {
                ++torn;
            }
        }
        in.close();
        fs::remove(file);
    }
};

// Puts each old generation aside, for the checker.
struct soaked_trace : file_trace {
    soaked_trace(passive_timer* host, fs::path old_log) : file_trace(host), old(std::move(old_log)) {}
    ~soaked_trace() override { shut_down(); }
    // On the one thread that flushes, and so not during a rotation.
    void on_open(mutex_auto& guard, file_hnd& file) override {
        file_trace::on_open(guard, file);
        if (fs::exists(old)) {
            fs::rename(old, generation(put_aside));
            ++put_aside;
        }
    }
    fs::path generation(std::uint64_t n) const { return old.string() + ".kept" + std::to_string(n); }
    fs::path old;
    std::atomic<std::uint64_t> put_aside{0};
};

// With a ring of these sizes.
checker soak(std::int32_t min, std::int32_t max, std::uint32_t limit_ms, std::uint64_t file_limit) {
    const temp_folder folder;
    const std::wstring path = folder / L"trace.txt";
    const fs::path old = folder.folder / "trace_old.txt";
    checker check;
    std::vector<long long> written(writers, 0);
    std::uint64_t checked = 0;
    {
        passive_timer host("soak");
        soaked_trace trace(&host, old);
        const auto set_up = [&] {
            trace.set_buffer(min, max, min / 4, true);
            trace.set_path(path);
            trace.set_old_path(old.wstring(), file_limit);
            trace.set_stamps(true, true);
        };
        set_up();
        std::atomic<bool> go_on{true};
        std::vector<std::thread> threads;
        const auto repeat = [&](const auto& work) {
            threads.emplace_back([&go_on, work, random = std::mt19937(unsigned(threads.size()))]() mutable {
                for (event never; go_on; never.wait(1))
                    work(random, never);
            });
        };
        for (std::size_t w = 0; w < writers; ++w)
            repeat([&, w](std::mt19937& random, event&) {
                for (auto burst = random() % 20; burst != 0; --burst) {
                    const std::string text = static_cast<char>('a' + w) +
                                             (" " + std::to_string(written[w]++)) + " " +
                                             std::string(random() % 80, '.') + "\n";
                    trace.write(text.c_str(), true);
                }
            });
        // Whoever reads the log and shares everything but writing: a flush fails, a rotation doesn't.
        repeat([&](std::mt19937& random, event& never) {
            os::file_handle file;
            const os::file_request request{os::access_read, os::share_read | os::share_delete,
                                           os::file_disposition::open_existing, 0, false};
            if (os::open_file(path.c_str(), request, file) == 0) {
                never.wait(static_cast<std::uint32_t>(random() % 40));
                os::close_file(file);
            }
            never.wait(static_cast<std::uint32_t>(random() % 200));
        });
        repeat([&](std::mt19937& random, event&) {
            trace.flush(random() % 2);
            trace.rotate_if_larger(0xFFFFFFFF);
            trace.discard(false);
            set_up();
        });
        event never;
        const auto check_all = [&] {
            for (; checked < trace.put_aside; ++checked)
                check.take(trace.generation(checked));
        };
        for (const std::uint32_t begin = os::tick_count();
             os::tick_count() - begin < limit_ms && !testing::Test::HasFailure(); check_all())
            never.wait(100);
        go_on = false;
        for (std::thread& t : threads)
            t.join();
        trace.finish();
        trace.shut_down();
        check_all();
    }
    for (const fs::path& file : {old, folder.folder / "trace.txt"})
        if (fs::exists(file))
            check.take(file);
    for (std::size_t w = 0; w < writers; ++w)
        check.missing += written[w] - check.next[w];
    EXPECT_GT(checked, 1u);
    std::printf("%lld lines in %llu generations, %lld missing, %lld marks\n", check.lines,
                static_cast<unsigned long long>(checked), check.missing, check.marks);
    return check;
}

std::uint32_t soak_ms() {
    const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
    return seconds ? static_cast<std::uint32_t>(std::atoi(seconds)) * 1000 : 500;
}

} // namespace

TEST(trace_soak, nothing_is_lost) {
    const checker found = soak(0x40000, 0x1000000, soak_ms(), soak_ms() > 500 ? 1 << 20 : 1 << 16);
    EXPECT_EQ(found.missing + found.marks + found.torn, 0);
}

TEST(trace_soak, what_is_lost_leaves_a_mark) {
    const checker found = soak(0x400, 0x800, soak_ms(), 1 << 16);
    EXPECT_TRUE(found.marks > 0 && found.missing > 0);
}
