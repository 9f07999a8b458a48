// Readers, writers, other caches and the timer's flush at once, on real files and in real time. Half a second
// each in the tests; VFL_STRESS_SECONDS sets the time of a soak.
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "temp_folder.hpp"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

// Each writer owns its keys and counts them up.
struct counters {
    int owner, last[8] = {};

    std::wstring key(std::size_t i) const { return std::to_wstring(owner) + L"_" + std::to_wstring(i); }
    bool count_up(cl::ini_file& ini, std::size_t i) {
        const bool written = ini.write_value(L"shared", key(i), std::to_wstring(last[i] + 1), true);
        last[i] += written;
        return written;
    }
    void expect_in(cl::ini_file& file) const {
        for (std::size_t i = 0; i < std::size(last); ++i) {
            std::wstring value = L"0";
            file.get_value(L"shared", key(i), value);
            EXPECT_EQ(value, std::to_wstring(last[i])) << key(i);
        }
    }
};

struct cached_ini_threads : testing::Test {
    temp_folder folder;
    std::wstring path = folder / L"global.ini";
    cl::passive_timer timer{"test"};
    // Not on the stack, where the thread sanitizer takes a lock for one that stood there before.
    cl::cached_ini ini{timer}, second{timer};
    std::atomic<bool> go_on{true};
    std::vector<std::jthread> threads;

    // Calls work with random numbers on a thread of its own until the time is over.
    template <class Work>
    void repeat(Work work) {
        threads.emplace_back([this, work, random = std::mt19937(unsigned(threads.size()))]() mutable {
            while (go_on)
                work(random());
        });
    }
    void run() {
        const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
        cl::os::sleep_ms(seconds ? static_cast<std::uint32_t>(std::atoi(seconds)) * 1000 : 500);
        go_on = false;
        threads.clear();
    }
};

TEST_F(cached_ini_threads, nothing_of_anyone_is_lost) {
    for (cl::cached_ini* const cache : {&ini, &second}) {
        cache->flush_delay = 5;
        cache->check_interval = 3;
        cache->set_file(path, true);
    }
    cl::ini_file other;
    other.set_file(path, true);
    counters ours[2] = {{0}, {1}}, seconds{2}, others{3};
    for (counters& mine : ours)
        repeat([&](auto random) { mine.count_up(ini, random % 8); });
    repeat([&](auto random) { seconds.count_up(second, random % 8); });
    repeat([&](auto random) {
        if (!others.count_up(other, random % 8))
            cl::os::sleep_ms(1);
    });
    // What is in memory never goes back, whatever is loaded and flushed meanwhile.
    repeat([&, seen = counters{0}](auto random) mutable {
        const auto i = random % 8;
        std::wstring value = L"0";
        random & 8 ? ini.get_value(L"shared", seen.key(i), value)
                   : ini.get_value_current(L"shared", seen.key(i), value);
        EXPECT_GE(std::stoi(value), seen.last[i]);
        seen.last[i] = std::stoi(value);
    });
    repeat([&](auto random) {
        random % 2 ? ini.flush() : ini.reload();
        cl::os::sleep_ms(2);
    });
    run();
    for (cl::cached_ini* const cache : {&ini, &second}) {
        for (int tries = 0; !cache->flush() && tries < 100; ++tries)
            cl::os::sleep_ms(10);
        cache->close();
    }
    for (const counters& mine : {ours[0], ours[1], seconds, others})
        mine.expect_in(other);
}

TEST_F(cached_ini_threads, files_come_and_go_under_load) {
    const std::wstring paths[] = {path, folder / L"other.ini"};
    ini.flush_delay = 2;
    counters mine{0};
    repeat([&](auto random) { mine.count_up(ini, random % 8); });
    repeat([&](auto random) {
        random % 2 ? ini.delete_value(L"shared", L"0_0") : ini.delete_section(L"shared");
    });
    repeat([&](auto) {
        std::vector<std::wstring> names;
        ini.get_section_names_current(names);
    });
    repeat([&](auto random) {
        random % 3 ? ini.set_file(paths[random % 2], random % 4 < 2) : ini.close();
        cl::os::sleep_ms(static_cast<std::uint32_t>(random % 8));
    });
    run();
    while (!ini.flush())
        ini.set_file(path, true);
    mine = {1};
    for (std::size_t i = 0; i < 100; ++i)
        mine.count_up(ini, i % 8);
    EXPECT_TRUE(ini.flush());
    ini.close();
    cl::ini_file file;
    file.set_file(ini.path, true); // either, whichever came last
    mine.expect_in(file);
}

// The end comes before, in or after the timer's flush: what was changed is in the file.
TEST_F(cached_ini_threads, the_end_waits_for_a_flush_and_saves_the_rest) {
    repeat([&, round = 0](auto random) mutable {
        const std::wstring value = std::to_wstring(++round);
        std::wstring saved;
        {
            cl::cached_ini short_lived(timer);
            short_lived.set_file(path, true);
            short_lived.flush_delay = 1;
            short_lived.write_value(L"a", L"k", L"first", true);
            cl::os::sleep_ms(static_cast<std::uint32_t>(random % 3));
            for (auto spins = random % 4000; spins > 0; --spins)
                short_lived.section_exists(L"a");
            short_lived.write_value(L"a", L"k", value, random % 2);
        }
        cl::ini_file file;
        file.set_file(path, true);
        EXPECT_TRUE(file.get_value(L"a", L"k", saved));
        EXPECT_EQ(saved, value);
    });
    run();
}

} // namespace
