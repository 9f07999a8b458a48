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

// Finds every line whole, once and in its writer's order: "235907-042 b 17 .......\r".
struct checker {
    std::vector<long long> next = std::vector<long long>(writers, 0);
    std::uint64_t lines = 0, generations = 0;

    void take(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        for (std::string line; std::getline(in, line); ++lines) {
            char writer = 0;
            long long number = -1;
            const bool whole = line.size() > 11 && line[10] == ' ' && line.back() == '\r' &&
                               std::sscanf(line.c_str() + 11, "%c %lld ", &writer, &number) == 2 &&
                               line.find_first_not_of('.', line.rfind(' ') + 1) == line.size() - 1;
            const auto w = static_cast<std::size_t>(writer - 'a');
            ASSERT_TRUE(whole && w < writers && number == next[w]++) << "line " << lines << ": " << line;
        }
        in.close();
        fs::remove(file);
        ++generations;
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
    fs::path generation(std::uint64_t n) const { return old.string() + std::to_string(n); }
    fs::path old;
    std::atomic<std::uint64_t> put_aside{0};
};

} // namespace

TEST(trace_soak, nothing_is_lost) {
    const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
    const std::uint32_t limit_ms = seconds ? static_cast<std::uint32_t>(std::atoi(seconds)) * 1000 : 500;
    const temp_folder folder;
    const std::wstring path = folder / L"trace.txt";
    checker check;
    std::vector<long long> written(writers, 0);
    std::uint64_t holds = 0;
    {
        passive_timer host("soak");
        soaked_trace trace(&host, folder.folder / "trace_old.txt");
        // The ring doesn't grow during a flush, and a sanitizer on a busy machine can make one long.
        const auto set_up = [&] {
            trace.set_buffer(0x400000, 0x1000000, 0x10000, true);
            trace.set_path(path);
            trace.set_old_path(folder / L"trace_old.txt", seconds ? 1 << 20 : 1 << 16);
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
                ++holds;
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
            while (check.generations < trace.put_aside)
                check.take(trace.generation(check.generations));
        };
        for (const std::uint32_t begin = os::tick_count();
             os::tick_count() - begin < limit_ms && !testing::Test::HasFailure(); check_all())
            never.wait(100);
        go_on = false;
        for (std::thread& t : threads)
            t.join();
        trace.finish();
        check_all();
    }
    for (const char* name : {"trace_old.txt", "trace.txt"})
        if (fs::exists(folder.folder / name))
            check.take(folder.folder / name);
    EXPECT_EQ(check.next, written);
    EXPECT_GT(check.generations, 1u);
    if (seconds)
        std::printf(
            "%llu lines in %llu generations, %llu holds\n", static_cast<unsigned long long>(check.lines),
            static_cast<unsigned long long>(check.generations), static_cast<unsigned long long>(holds));
}
