// The timer's bookkeeping by the number of its entries, and with --lateness how late a worker wakes.
#include "bench_case.hpp"
#include "cl/time/passive_timer.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <string_view>

namespace {

// A timer without a worker, whose clock stands still.
struct still_timer final : cl::base_timer {
    still_timer() : base_timer("bench", false, [] { return std::uint32_t{0}; }) {}
    std::uint32_t run_pass() { return pass(handles); }

private:
    void wake() override {}
    void wait_due_known(cl::mutex_auto&) override {}
    std::vector<cl::os::event_handle> handles;
};

constexpr std::size_t batch = 100;
constexpr std::uint64_t minute = 60000;

// A timer with n armed entries, and as many handles more as a batch needs.
struct fixture {
    explicit fixture(std::size_t n) : armed(n), spare(batch) { arm(armed); }

    void arm(std::vector<cl::timer_handle>& handles) {
        for (cl::timer_handle& h : handles)
            timer.start(&h, callback, minute, cl::timer_once, false);
    }
    void stop(std::vector<cl::timer_handle>& handles) {
        for (cl::timer_handle& h : handles)
            cl::stop(&h, true, false);
    }
    // A batch of entries that are spread over the list.
    void start_again(bool replace) {
        for (std::size_t i = 0; i < batch; ++i)
            timer.start(&armed[i * 7919 % armed.size()], callback, minute, cl::timer_once, replace);
    }

    std::function<void()> callback = [this] { ++fired; };
    std::vector<cl::timer_handle> armed, spare;
    std::size_t fired = 0;
    still_timer timer;
};

// How late one-shot entries with delays of 1 to 30 ms fire, the next armed when the last has fired.
int print_lateness() {
    using clock = std::chrono::steady_clock;
    constexpr int count = 2000;
    std::vector<double> late_us;
    cl::passive_timer timer("bench");
    std::mt19937 random(1);
    for (int n = 0; n < count; ++n) {
        cl::timer_handle key{nullptr};
        cl::event fired;
        const auto delay = random() % 30 + 1;
        clock::time_point end;
        const clock::time_point begin = clock::now();
        timer.start(
            &key,
            [&] {
                end = clock::now();
                fired.set();
            },
            delay, cl::timer_once, false);
        fired.wait();
        cl::stop(&key, true, false);
        late_us.push_back(std::chrono::duration<double, std::micro>(end - begin).count() -
                          static_cast<double>(delay) * 1000);
    }
    std::sort(late_us.begin(), late_us.end());
    std::puts("lateness of one-shot entries of 1 to 30 ms, in microseconds");
    for (const auto& [name, share] :
         {std::pair{"min", 0.0}, {"50 %", 0.5}, {"90 %", 0.9}, {"99 %", 0.99}, {"max", 1.0}})
        std::printf("%5s %9.0f\n", name, late_us[static_cast<std::size_t>(share * (count - 1))]);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && argv[1] == std::string_view("--lateness"))
        return print_lateness();

    std::vector<std::unique_ptr<fixture>> fixtures;
    std::vector<bench_case> cases;
    for (const std::size_t n : {10u, 1'000u, 100'000u}) {
        fixture& f = *fixtures.emplace_back(std::make_unique<fixture>(n));
        const std::string tail = std::string("/").append(std::to_string(n));
        const auto settle = [&f] { f.timer.run_pass(); };
        cases.push_back({"start_armed_x100" + tail, {}, [&f] { f.start_again(false); }});
        cases.push_back({"replace_x100" + tail, {}, [&f] { f.start_again(true); }});
        cases.push_back({"arm_and_stop_x100" + tail, settle, [&f] {
                             f.arm(f.spare);
                             f.stop(f.spare);
                         }});
        cases.push_back({"sweep" + tail, settle, [&f] { f.timer.run_pass(); }});
        cases.push_back({"arm_all_and_stop_all" + tail, {}, [n] {
                             fixture all(n);
                             all.stop(all.armed);
                         }});
    }
    return run_bench(argc, argv, cases);
}
