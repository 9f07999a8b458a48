// Readers, writers, someone else's edits and the timer's flush at once, on real files and in real time. Half
// a second each in the tests; VFL_STRESS_SECONDS sets the time of a soak.
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "temp_folder.hpp"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr int key_count = 8;

std::wstring key_of(int owner, int i) {
    return L"k" + std::to_wstring(owner) + L"_" + std::to_wstring(i);
}

// Each writer owns its keys and counts them up.
struct counters {
    int owner;
    int last[key_count] = {};

    template <class Ini>
    bool count_up(Ini& ini, std::mt19937& random) {
        const int i = static_cast<int>(random() % key_count);
        if (!ini.write_value(L"shared", key_of(owner, i), std::to_wstring(last[i] + 1), true))
            return false;
        ++last[i];
        return true;
    }
    void expect_in(cl::ini_file& file) const {
        for (int i = 0; i < key_count; ++i) {
            std::wstring value = L"0";
            file.get_value(L"shared", key_of(owner, i), value);
            EXPECT_EQ(value, std::to_wstring(last[i])) << "key " << i << " of " << owner;
        }
    }
};

struct cached_ini_threads : testing::Test {
    temp_folder folder;
    std::wstring path = folder / L"global.ini";
    cl::passive_timer timer{"test"};
    std::atomic<bool> go_on{true};
    std::vector<std::thread> threads;

    // Calls work(random) on a thread of its own until the time is over.
    template <class Work>
    void repeat(Work work) {
        threads.emplace_back([this, work, seed = unsigned(threads.size())]() mutable {
            std::mt19937 random(seed);
            while (go_on)
                work(random);
        });
    }
    void run() {
        const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
        cl::os::sleep_ms(seconds ? static_cast<std::uint32_t>(std::atoi(seconds)) * 1000 : 500);
        go_on = false;
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
    }
};

TEST_F(cached_ini_threads, nothing_of_anyone_is_lost) {
    cl::cached_ini ini(timer);
    ini.set_file(path, true);
    {
        cl::mutex_auto scope(ini.lock, true);
        ini.flush_delay = 5;
        ini.check_interval = 3;
    }
    cl::ini_file other;
    other.set_file(path, true);
    counters ours[2] = {{0}, {1}}, others{2};
    for (counters& mine : ours)
        repeat([&](std::mt19937& random) { mine.count_up(ini, random); });
    repeat([&](std::mt19937& random) {
        if (!others.count_up(other, random))
            cl::os::sleep_ms(1);
    });
    // What is in memory never goes back, whatever is loaded and flushed meanwhile.
    repeat([&, seen = counters{0}](std::mt19937& random) mutable {
        const int i = static_cast<int>(random() % key_count);
        std::wstring value = L"0";
        std::vector<std::wstring> lines;
        if (random() % 4 == 0) {
            ini.get_section_current(L"shared", lines, 3);
            ini.section_exists(L"shared");
        }
        random() % 2 ? ini.get_value(L"shared", key_of(0, i), value)
                     : ini.get_value_current(L"shared", key_of(0, i), value);
        const int now = std::stoi(value);
        EXPECT_GE(now, seen.last[i]);
        seen.last[i] = now;
    });
    repeat([&](std::mt19937& random) {
        random() % 2 ? ini.flush() : ini.reload();
        cl::os::sleep_ms(2);
    });
    run();
    for (int tries = 0; !ini.flush() && tries < 100; ++tries)
        cl::os::sleep_ms(10);
    ini.close();
    for (const counters& mine : ours)
        mine.expect_in(other);
    others.expect_in(other);
}

TEST_F(cached_ini_threads, files_come_and_go_under_load) {
    const std::wstring paths[] = {path, folder / L"other.ini"};
    cl::cached_ini ini(timer);
    ini.flush_delay = 2;
    counters mine{0};
    repeat([&](std::mt19937& random) { mine.count_up(ini, random); });
    repeat([&](std::mt19937& random) {
        random() % 2 ? ini.delete_value(L"shared", key_of(0, 0)) : ini.delete_section(L"shared");
    });
    repeat([&](std::mt19937&) {
        std::vector<std::wstring> names;
        ini.get_section_names_current(names);
    });
    repeat([&](std::mt19937& random) {
        random() % 3 ? ini.set_file(paths[random() % 2], random() % 2) : ini.close();
        cl::os::sleep_ms(static_cast<std::uint32_t>(random() % 8));
    });
    run();
    while (!ini.flush())
        ini.set_file(path, true);
    mine = {1};
    std::mt19937 random;
    for (int i = 0; i < 100; ++i)
        mine.count_up(ini, random);
    EXPECT_TRUE(ini.flush());
    ini.close();
    cl::ini_file file;
    file.set_file(ini.path, true); // either, whichever came last
    mine.expect_in(file);
}

// The end comes before, in or after the timer's flush: what was changed is in the file.
TEST_F(cached_ini_threads, the_end_waits_for_a_flush_and_saves_the_rest) {
    cl::ini_file file;
    file.set_file(path, true);
    int rounds = 0;
    repeat([&](std::mt19937& random) {
        const std::wstring first = std::to_wstring(++rounds), second = std::to_wstring(++rounds);
        {
            cl::cached_ini ini(timer);
            ini.set_file(path, true);
            ini.flush_delay = 1;
            ini.write_value(L"a", L"k", first, true);
            cl::os::sleep_ms(static_cast<std::uint32_t>(random() % 3));
            for (auto spins = random() % 4000; spins > 0; --spins)
                ini.section_exists(L"a");
            ini.write_value(L"a", L"k", second, random() % 2);
        }
        std::wstring value;
        EXPECT_TRUE(file.get_value(L"a", L"k", value));
        EXPECT_EQ(value, second);
    });
    run();
}

} // namespace
