// Threads that start, replace and stop a few hundred entries of one timer at once, while its callbacks do the
// same. Half a second in the tests; VFL_STRESS_SECONDS sets the time of a soak.
#include "cl/time/passive_timer.hpp"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <thread>

using namespace cl;

namespace {

constexpr std::size_t threads = 4;
// Repeated entries must leave the worker the time to end its pass, a sanitizer or not.
constexpr std::uint32_t slow_ms = 20;

struct stress {
    // An entry that one thread alone starts and stops, and whose callback leaves it alone: after a waiting
    // stop its callback doesn't run. `calls` is plain, so the thread sanitizer sees it if it does.
    struct owned {
        timer_handle key{nullptr};
        std::unique_ptr<event> signal; // lives between start and stop
        std::uint64_t calls = 0;
        bool stopped = true;
    };
    // Entries that anybody starts and stops, callbacks included. They must not crash or hang, no more.
    std::array<timer_handle, 64> shared{};
    // A thread holds its own while it stops a timed entry; the entry's callback takes the next thread's.
    std::array<std::mutex, threads> locks;
    std::array<event, 8> signals;
    std::atomic<std::uint64_t> shared_calls{0}, rounds{0};
    passive_timer timer{"stress"};

    void shake(std::mt19937& random) {
        const std::size_t i = random() % shared.size();
        const auto flags = static_cast<std::uint32_t>(random() % 3); // repeated, once or fixed
        switch (random() % 6) {
        case 0:
            stop(&shared[i], random() % 2 == 0, false);
            break;
        case 1:
            signals[i % signals.size()].set();
            break;
        case 2:
            start_shared(i, reinterpret_cast<std::uint64_t>(&signals[i % signals.size()]),
                         flags | timer_on_event);
            break;
        default:
            start_shared(i, flags == timer_once ? random() % 4 : slow_ms + random() % 40, flags);
        }
    }

    void start_shared(std::size_t i, std::uint64_t interval, std::uint32_t flags) {
        timer.start(
            &shared[i],
            [this, i, random = std::make_shared<std::mt19937>(static_cast<unsigned>(i))] {
                if (++shared_calls % 4 == 0)
                    shake(*random);
                if ((*random)() % 16 == 0)
                    start_shared(i, 2, timer_once);
            },
            interval, flags, i % 2 == 0);
    }

    void start_owned(owned& o, std::mutex& next, std::mt19937& random) {
        const bool driven = random() % 4 == 0, once = random() % 2 == 0;
        if (driven && !o.signal)
            o.signal = std::make_unique<event>();
        if (o.signal && !driven)
            return; // a replacement would leave the event to nobody
        if (o.stopped)
            o.stopped = false;
        timer.start(
            &o.key,
            [&o, &next] {
                const std::lock_guard guard(next);
                ++o.calls;
                EXPECT_FALSE(o.stopped);
            },
            driven ? reinterpret_cast<std::uint64_t>(o.signal.get())
            : once ? random() % 4
                   : slow_ms,
            (once ? timer_once : timer_fixed) | (driven ? timer_on_event : 0), random() % 2 == 0);
    }

    void stop_owned(owned& o, std::mutex& own) {
        std::unique_lock guard(own, std::defer_lock);
        if (!o.signal)
            guard.lock();
        stop(&o.key, true, false);
        if (guard)
            guard.unlock();
        o.stopped = true;
        ++o.calls;
        o.signal.reset();
    }

    void run(std::size_t thread, unsigned seed, const std::atomic<bool>& go_on) {
        std::mutex &own = locks[thread], &next = locks[(thread + 1) % threads];
        std::mt19937 random(seed);
        std::array<owned, 64> mine;
        while (go_on) {
            owned& o = mine[random() % mine.size()];
            switch (random() % 8) {
            case 0:
            case 1:
                stop_owned(o, own);
                break;
            case 2:
                if (o.signal)
                    o.signal->set();
                break;
            case 3:
                shake(random);
                break;
            case 4:
                if (random() % 64 == 0)
                    timer.flush_sweep(0);
                break;
            default:
                start_owned(o, next, random);
            }
            ++rounds;
        }
        for (owned& o : mine)
            stop_owned(o, own);
    }
};

} // namespace

TEST(timer_stress, many_threads_and_callbacks_at_once) {
    const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
    const std::uint32_t limit_ms = seconds ? static_cast<std::uint32_t>(std::atoi(seconds)) * 1000 : 500;
    const std::uint32_t begin = os::tick_count();
    std::uint64_t timers = 0, rounds = 0, calls = 0;
    // A new timer now and then, so that its end is part of it.
    for (unsigned seed = 0; os::tick_count() - begin < limit_ms && !::testing::Test::HasFailure(); ++timers) {
        stress s;
        std::atomic<bool> go_on{true};
        std::vector<std::thread> all;
        for (std::size_t n = 0; n < threads; ++n)
            all.emplace_back([&, n, own_seed = seed++] { s.run(n, own_seed, go_on); });
        event never;
        never.wait(100);
        go_on = false;
        for (std::thread& t : all)
            t.join();
        rounds += s.rounds;
        const mutex_auto scope(s.timer.lock, true);
        calls += s.timer.callback_calls;
    }
    EXPECT_GT(rounds, 100u);
    EXPECT_GT(calls, 10u);
    if (seconds)
        std::printf("%llu timers, %llu rounds, %llu calls\n", static_cast<unsigned long long>(timers),
                    static_cast<unsigned long long>(rounds), static_cast<unsigned long long>(calls));
}
