// Threads that start, replace and stop entries of one timer at once, while its callbacks do the same. Half a
// second in the tests; VFL_STRESS_SECONDS sets the time of a soak.
#include "choices.hpp"
#include "cl/time/passive_timer.hpp"

#include <array>
#include <mutex>
#include <thread>

using namespace cl;

namespace {

constexpr std::size_t threads = 4;
// Repeated entries must leave the worker the time to end its pass, a sanitizer or not.
constexpr std::uint32_t slow_ms = 20;

struct stress {
    // An entry that one thread alone starts and stops: after a waiting stop its callback doesn't run. `calls`
    // is plain, so the thread sanitizer sees it if it does.
    struct owned {
        timer_handle key{nullptr};
        std::unique_ptr<event> signal; // from the start to the stop of an event-driven entry
        std::uint64_t calls = 0;
    };
    // Entries that anybody starts and stops, callbacks included. They must not crash or hang, no more.
    std::array<timer_handle, 64> shared{};
    std::array<event, 8> signals;
    // A thread holds its own while it stops a timed entry; the entry's callback takes the next thread's.
    std::array<std::mutex, threads> locks;
    std::atomic<std::uint64_t> shared_calls{0}, rounds{0};
    passive_timer timer{"stress"};

    void shake(choices& numbers) {
        const std::size_t i = numbers.below(shared.size());
        const auto flags = numbers.below(3u); // repeated, once or fixed
        const auto call = [this, own = std::make_shared<choices>(i)] {
            if (++shared_calls % 4 == 0)
                shake(*own);
        };
        const int what = numbers.below(6);
        if (what == 0)
            stop(&shared[i], numbers.once_in(2), false);
        else if (what == 1)
            signals[i % 8].set();
        else if (what == 2)
            timer.start(&shared[i], call, signals[i % 8], flags, i % 2 == 0);
        else
            timer.start(&shared[i], call, flags == timer_once ? numbers.below(4u) : slow_ms, flags,
                        i % 2 == 0);
    }

    void start_owned(owned& o, std::mutex& next, choices& numbers) {
        const auto call = [&o, &next] {
            const std::lock_guard guard(next);
            ++o.calls;
        };
        const bool once = numbers.once_in(2), replace = numbers.once_in(2);
        if (!o.signal && !o.key && numbers.once_in(4))
            o.signal = std::make_unique<event>();
        if (o.signal)
            timer.start(&o.key, call, *o.signal, once ? timer_once : 0, replace);
        else
            timer.start(&o.key, call, once ? numbers.below(4u) : slow_ms, once ? timer_once : timer_fixed,
                        replace);
    }

    void stop_owned(owned& o, std::mutex& own) {
        const auto guard = o.signal ? std::unique_lock<std::mutex>() : std::unique_lock(own);
        timer.stop_and_wait(&o.key);
        ++o.calls;
        o.signal.reset();
    }

    void run(std::size_t thread, choices numbers, const std::atomic<bool>& go_on) {
        std::mutex &own = locks[thread], &next = locks[(thread + 1) % threads];
        std::array<owned, 64> mine;
        for (; go_on; ++rounds) {
            owned& o = mine[numbers.below(mine.size())];
            const int what = numbers.below(8);
            if (what < 2)
                stop_owned(o, own);
            else if (what == 2 && o.signal)
                o.signal->set();
            else if (what == 3)
                shake(numbers);
            else if (what == 4 && numbers.once_in(64))
                timer.flush_sweep(0);
            else
                start_owned(o, next, numbers);
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
    for (; os::tick_count() - begin < limit_ms; ++timers) {
        stress s;
        std::atomic<bool> go_on{true};
        {
            std::vector<std::jthread> all;
            for (std::size_t n = 0; n < threads; ++n)
                all.emplace_back([&, n, seed = timers * threads + n] { s.run(n, choices(seed), go_on); });
            os::sleep_ms(100);
            go_on = false;
        }
        rounds += s.rounds;
        const mutex_auto scope(s.timer.lock, true);
        calls += s.timer.callback_calls;
    }
    EXPECT_TRUE(rounds > 100 && calls > 10);
    if (seconds)
        std::cout << timers << " timers, " << rounds << " rounds, " << calls << " calls\n";
}
