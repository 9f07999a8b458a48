// A log beside the naive one: texts of random size, others that write during a flush, faults of the disk,
// growth, new limits, rotation and the end. After each step the bytes on the disk are the model's.
#pragma once

#include "choices.hpp"
#include "cl/log/trace_model.hpp"
#include "cl/log/trace_rig.hpp"

class log_round {
public:
    static void run(choices& numbers, trace_model* result = nullptr) {
        log_round round(numbers);
        for (int i = 0; i < 200 && !numbers.spent() && round.agrees(); ++i)
            round.step();
        if (round.agrees())
            round.end();
        round.agrees();
        EXPECT_EQ(fakes::disk::open_handles(), 0);
        if (result)
            *result = round.model;
    }

private:
    struct either_ending : cl::file_trace {
        using file_trace::file_trace;
        using file_trace::set_crlf;
    };

    explicit log_round(choices& from) : numbers(from) {
        model.crlf = below(4) != 0;
        rig.trace.set_crlf(model.crlf);
        set_time();
        fakes::disk::on_call([this](const fakes::file_call& call) {
            if (call.op == fakes::file_op::open)
                write_meanwhile();
        });
    }
    ~log_round() { fakes::disk::on_call(nullptr); }

    bool agrees() const {
        EXPECT_EQ(rig.log(), model.log);
        EXPECT_EQ(rig.old_log(), model.old);
        EXPECT_TRUE(model.meanwhile.empty());
        return !testing::Test::HasFailure();
    }

    std::size_t below(std::size_t n) { return numbers.below(n); }

    std::string text() {
        std::string s(below(20) == 0 ? below(6000) : below(120), ' ');
        const std::size_t kind = below(8);
        for (std::size_t i = 0; i < s.size(); ++i)
            s[i] = kind == 0 ? "abcdefgh\r\n\n"[below(11)] : static_cast<char>('a' + i % 26);
        return kind < 2 ? s : s + "\n";
    }

    // Nothing but writing has an effect during a flush.
    void write_meanwhile() {
        std::vector<std::string> texts(below(8) == 0 ? below(4) : 0);
        for (std::string& s : texts) {
            s = text();
            rig.trace.write(s.c_str(), true);
            rig.trace.flush(true);
            rig.trace.discard(false);
            rig.trace.rotate_if_larger(0);
        }
        model.meanwhile.push_back(texts);
    }

    void set_faults() {
        fakes::disk::clear_faults();
        const std::size_t fault = below(8);
        model.open_fails = fault == 0;
        model.space = std::string::npos;
        if (fault == 0)
            fakes::disk::refuse(rig.path, cl::os::error_sharing);
        else if (fault < 3)
            fakes::disk::set_space(model.space = below(2) * below(3000));
    }

    void set_limits() {
        const auto min = static_cast<std::int32_t>(64 + below(4096)),
                   at = static_cast<std::int32_t>(1 + below(8192)),
                   max = below(10) ? min + static_cast<std::int32_t>(below(20000)) : 0;
        rig.trace.set_buffer(min, max, at, true);
        model.set_buffer(min, max, at);
    }

    void set_paths() {
        model.has_path = true;
        model.has_old = below(4) != 0;
        // Often just what the next flush makes of it.
        model.limit = below(2) ? below(20000) : model.log.size() + model.held.size() - below(2);
        rig.trace.set_path(rig.path);
        rig.trace.set_old_path(model.has_old ? rig.old_path : L"", model.limit);
        model.failed.reset();
    }

    void set_time() {
        const auto part = [this](std::size_t n) {
            return static_cast<std::uint16_t>(below(4) ? 9 : below(n));
        };
        model.time = {2026, 11, 22, part(24), part(60), part(60), part(1000)};
        fakes::clock::set_local(model.time);
        if (below(2))
            return;
        model.with_time = below(8) != 0;
        model.with_ms = below(4) != 0;
        rig.trace.set_stamps(model.with_time, model.with_ms);
    }

    void step() {
        const std::size_t what = below(40);
        const bool flag = below(4) != 0;
        if (what == 0) {
            set_faults();
        } else if (what == 1) {
            set_limits();
        } else if (what == 2) {
            rig.trace.discard(flag);
            model.discard(flag);
        } else if (what == 3) {
            model.write_through = !flag;
            model.failed.reset();
            rig.trace.set_write_through(!flag);
        } else if (what == 4) {
            set_paths();
        } else if (what < 7) {
            rig.trace.flush(flag);
            model.flush(flag);
        } else if (what < 9) {
            const std::size_t ms = below(2) ? below(3) : below(1100);
            rig.pass_time(static_cast<std::uint32_t>(ms));
            model.pass_time(ms);
        } else if (what == 9) {
            const std::size_t limit = model.log.size() + below(3) - 1;
            rig.trace.rotate_if_larger(static_cast<std::uint32_t>(limit));
            model.rotate_if_larger(limit);
        } else if (what == 10) {
            set_time();
        } else {
            const std::string s = text();
            const bool flush = flag || below(2);
            rig.trace.write(s.c_str(), flush);
            model.write(s, flush);
        }
    }

    // As a process ends: perhaps nobody shuts the log down, and then the last resort does.
    void end() {
        set_paths();
        fakes::disk::clear_faults();
        model.open_fails = false;
        model.space = std::string::npos;
        if (below(2)) {
            rig.trace.finish();
            model.flush(true);
        }
        if (below(2) && !model.held.empty())
            rig.trace.close_now();
        else
            rig.trace.shut_down();
        model.closed = true;
        model.flush(false);
        rig.trace.write("refused\n", true);
        rig.trace.flush(true);
        rig.trace.close_now();
        rig.pass_time(5000);
    }

    choices& numbers;
    trace_model model;
    trace_rig<either_ending> rig;
};
