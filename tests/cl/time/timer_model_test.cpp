#include "cl/time/timer_model.hpp"
#include "fakes/simulated_timer.hpp"

#include <gtest/gtest.h>
#include <random>

using namespace cl;
using fakes::simulated_timer;

namespace {

constexpr int keys = 6;

// One call in a schedule, done to the engine and to the model alike.
struct action {
    enum { start, stop, forced_stop, take_time, nothing } what;
    int key;
    std::uint32_t ms; // interval, or how long it takes
    bool once, fixed, replace;
};

struct generator {
    std::mt19937 random;
    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); }

    std::uint32_t interval() {
        const std::uint32_t kind = below(10);
        return kind == 0 ? 3600000 + below(3) - 1 : kind == 1 ? below(0x40000000) + 1 : below(60) + 1;
    }

    action next() {
        const std::uint32_t what = below(10);
        const auto kind = what < 4   ? action::start
                          : what < 5 ? action::stop
                          : what < 6 ? action::forced_stop
                          : what < 8 ? action::take_time
                                     : action::nothing;
        action a{kind,
                 static_cast<int>(below(keys)),
                 kind == action::take_time ? below(200) : interval(),
                 below(2) == 0,
                 below(2) == 0,
                 below(2) == 0};
        if (kind == action::start && a.once && below(8) == 0)
            a.ms = 0;
        return a;
    }
};

struct firing {
    int key;
    std::int64_t at; // ms from the start of the schedule
    bool operator==(const firing&) const = default;
};

struct schedule_run {
    explicit schedule_run(unsigned seed)
        : random{std::mt19937(seed)},
          begin(simulated_timer::now = random.below(2) ? 0u - random.below(1000) : random.below(0xFFFFFFFF)),
          model(keys) {
        model.on_fire = [this](int key) {
            fired(key, model.now, model_log, [this](const action& a) { to_model(a); });
        };
    }

    // What the n-th call of a pass does is drawn when the first of both sides gets there.
    template <class F>
    void fired(int key, std::int64_t at, std::vector<firing>& log, F perform) {
        const std::size_t n = log.size();
        log.push_back({key, at});
        if (n == script.size()) {
            script.push_back(random.next());
            // A pass ends only if its calls leave it the time to catch up.
            if (n > 40)
                script.back().what = action::nothing;
        }
        perform(script[n]);
    }

    void to_engine(const action& a) {
        timer_handle& key = handles[a.key];
        const auto call = [this, k = a.key] {
            const auto at = model_now + static_cast<std::int32_t>(simulated_timer::now - engine_base);
            fired(k, at, engine_log, [this](const action& b) { to_engine(b); });
        };
        if (a.what == action::start)
            timer.start(&key, call, a.ms, (a.once ? timer_once : 0) | (a.fixed ? timer_fixed : 0), a.replace);
        else if (a.what == action::stop || a.what == action::forced_stop)
            engine_stops.push_back(stop(&key, true, a.what == action::forced_stop));
        else if (a.what == action::take_time)
            simulated_timer::now += a.ms;
    }

    void to_model(const action& a) {
        if (a.what == action::start)
            model.start(a.key, a.ms, a.once, a.fixed, a.replace);
        else if (a.what == action::stop || a.what == action::forced_stop)
            model_stops.push_back(model.stop(a.key, a.what == action::forced_stop));
        else if (a.what == action::take_time)
            model.now += a.ms;
    }

    void step() {
        for (std::uint32_t n = random.below(4); n != 0; --n) {
            const action a = random.next();
            to_engine(a);
            to_model(a);
        }
        const std::uint32_t ahead = random.below(8) == 0 ? random.interval() : random.below(50);
        simulated_timer::now += ahead;
        model.now += ahead;
        script.clear();
        engine_log.clear();
        model_log.clear();
        model_now = model.now;
        engine_base = simulated_timer::now;
        const std::uint32_t engine_wait = timer.run_pass();
        const std::uint32_t engine_spent = simulated_timer::now - engine_base;
        const auto model_wait = model.pass();
        EXPECT_EQ(engine_log, model_log);
        EXPECT_EQ(engine_stops, model_stops);
        EXPECT_EQ(engine_spent, model.now - model_now);
        // Without a deadline the engine takes the time of its last sweep off its largest time-out.
        if (model_wait)
            EXPECT_EQ(engine_wait, *model_wait);
        else
            EXPECT_GT(engine_wait, os::no_limit - 10000);
        for (int k = 0; k < keys; ++k)
            EXPECT_EQ(handles[k] != nullptr, model.armed[static_cast<std::size_t>(k)]);
        calls += engine_log.size();
    }

    generator random;
    std::uint32_t begin;
    timer_handle handles[keys]{};
    simulated_timer timer;
    timer_model model;
    std::vector<action> script;
    std::vector<firing> engine_log, model_log;
    std::vector<bool> engine_stops, model_stops;
    std::int64_t model_now = 0;
    std::uint32_t engine_base = 0;
    std::size_t calls = 0;
};

} // namespace

TEST(timer_pass, thousands_of_schedules_go_as_in_the_model) {
    std::size_t calls = 0;
    for (unsigned seed = 0; seed < 2000 && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        schedule_run run(seed);
        for (int n = 0; n < 30; ++n)
            run.step();
        calls += run.calls;
    }
    EXPECT_GT(calls, 50000u); // the schedules are not idle
}
