// A timer beside a naive one: absolute times of 64 bits, one list, no states. Both get the same calls, also
// from inside callbacks, and must fire the same entries at the same times.
#pragma once

#include "choices.hpp"
#include "cl/time/simulated_timer.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <list>
#include <optional>
#include <utility>

inline constexpr std::size_t timer_keys = 6;

struct naive_timer {
    struct entry {
        std::size_t key;
        std::int64_t due, interval;
        bool once, fixed, running;
        bool ending = false; // fires no more, and goes when its callback returns
        bool gone = false;   // waits to be taken out
    };
    std::int64_t now = 0;
    std::list<entry> order; // of arming
    std::array<bool, timer_keys> armed{};
    std::function<void(std::size_t)> on_fire; // may start, stop, and move `now`

    void take(std::uint32_t ms) { now += ms; }
    entry* find(std::size_t key) {
        const auto it = std::ranges::find_if(order, [&](entry& e) { return e.key == key && !e.gone; });
        return it == order.end() ? nullptr : &*it;
    }
    void start(std::size_t key, std::int64_t interval, std::uint32_t flags, bool replace) {
        entry* e = find(key);
        if (e && !e->ending && !replace)
            return;
        if (!e)
            e = &order.emplace_back();
        const bool once = (flags & cl::timer_once) != 0;
        *e = {key, now + interval, interval, once, flags == cl::timer_fixed, e->running};
        armed[key] = true;
    }
    bool stop(std::size_t key, bool force) {
        entry* const e = std::exchange(armed[key], false) ? find(key) : nullptr;
        if (e)
            (e->running && !force ? e->ending : e->gone) = true;
        return e;
    }
    // The ms until something is due, or nothing.
    std::optional<std::int64_t> pass() {
        for (;;) {
            const std::int64_t begin = now;
            std::erase_if(order, [](entry& e) { return e.gone; });
            std::vector<entry*> due;
            std::optional<std::int64_t> nearest;
            for (entry& e : order) {
                if (e.due <= begin) {
                    due.push_back(&e);
                    if (e.once)
                        continue;
                    e.due = e.fixed ? begin + e.interval : e.due + e.interval;
                    if (e.interval < 3600000)
                        e.due = std::max(e.due, begin - 3 * e.interval);
                }
                nearest = std::min(nearest.value_or(e.due), e.due);
            }
            for (entry* e : due)
                if (!e->ending && !e->gone)
                    fire(*e);
            if (!nearest || *nearest > now)
                return nearest ? std::optional(*nearest - now) : nearest;
        }
    }
    void fire(entry& e) {
        e.ending = e.once;
        e.running = true;
        on_fire(e.key);
        e.running = false;
        if (e.ending && !std::exchange(e.gone, true))
            armed[e.key] = false;
    }
};

struct real_timer {
    fakes::simulated_timer timer;
    std::array<cl::timer_handle, timer_keys> handles{};
    std::int64_t now = 0;
    std::function<void(std::size_t)> on_fire;

    void take(std::uint32_t ms) {
        now += ms;
        fakes::simulated_timer::now += ms;
    }
    void start(std::size_t key, std::uint32_t interval, std::uint32_t flags, bool replace) {
        const auto call = [this, key] { on_fire(key); };
        timer.start(&handles[key], call, interval, flags, replace);
    }
    bool stop(std::size_t key, bool force) { return cl::stop(&handles[key], true, force); }
    std::optional<std::int64_t> pass() {
        const std::uint32_t wait = timer.run_pass();
        // Without a deadline the engine takes the time of its last sweep off its largest time-out.
        return wait > cl::os::no_limit - 10000 ? std::nullopt : std::optional<std::int64_t>(wait);
    }
};

// Returns the number of callbacks.
inline std::size_t timer_round(choices& numbers) {
    fakes::simulated_timer::now =
        numbers.once_in(2) ? 0u - numbers.below(1000u) : numbers.any<std::uint32_t>();
    real_timer real;
    naive_timer naive;
    using history = std::vector<std::int64_t>; // keys and times of calls, results of stops, waits
    const auto span = [](choices& c) {
        return c.once_in(10)  ? c.between(3599999u, 3600001u)
               : c.once_in(9) ? c.between(1u, 0x40000000u)
                              : c.between(1u, 60u);
    };
    // An action is a seed, from which both timers draw the same; 0 is none.
    constexpr std::uint64_t actions = 65536;
    const auto act = [&](auto& timer, history& h, std::uint64_t seed) {
        choices c(seed);
        const std::size_t key = c.below(timer_keys);
        const int what = seed != 0 ? c.below(9) : 9;
        if (what < 4) {
            const std::uint32_t flags = c.below(4u), interval = span(c);
            const bool at_once = (flags & cl::timer_once) != 0 && c.once_in(8);
            timer.start(key, at_once ? 0 : interval, flags, c.once_in(2));
        } else if (what < 6) {
            h.push_back(timer.stop(key, what == 4));
        } else if (what < 8) {
            timer.take(c.below(200u));
        }
    };
    std::vector<std::uint64_t> script; // of a pass's callbacks; the timer that gets there first draws it
    const auto pass = [&](auto& timer, history& h) {
        std::size_t calls = 0;
        timer.on_fire = [&](std::size_t key) {
            h.insert(h.end(), {static_cast<std::int64_t>(key), timer.now});
            if (calls == script.size()) // a pass ends only if its callbacks leave it the time to catch up
                script.push_back(calls > 40 ? 0 : numbers.below(actions));
            act(timer, h, script[calls++]);
        };
        h.push_back(timer.pass().value_or(-1));
        return calls;
    };
    std::size_t calls = 0;
    for (int step = 0; step < 30 && !numbers.spent() && !testing::Test::HasFailure(); ++step) {
        history by_real, by_naive;
        for (int n = numbers.below(4); n != 0; --n) {
            const auto seed = numbers.below(actions);
            act(real, by_real, seed);
            act(naive, by_naive, seed);
        }
        const std::uint32_t ahead = numbers.once_in(8) ? span(numbers) : numbers.below(50u);
        real.take(ahead);
        naive.take(ahead);
        script.clear();
        calls += pass(real, by_real);
        pass(naive, by_naive);
        EXPECT_EQ(by_real, by_naive);
        EXPECT_EQ(real.now, naive.now);
        for (std::size_t k = 0; k < timer_keys; ++k)
            EXPECT_EQ(real.handles[k] != nullptr, naive.armed[k]);
    }
    return calls;
}
