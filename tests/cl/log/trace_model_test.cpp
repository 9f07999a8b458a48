// The log beside a naive model: texts of random size, others that write during a flush, faults of the disk,
// growth, new limits and rotation. After each step the bytes on the disk are the model's.
#include "cl/log/trace_model.hpp"
#include "cl/log/trace_rig.hpp"

#include <gtest/gtest.h>
#include <random>

namespace {

using fakes::disk;

struct either_ending : cl::file_trace {
    static inline bool feeds_alone = false;
    explicit either_ending(cl::passive_timer* host) : file_trace(host) { crlf = !feeds_alone; }
};

struct compared {
    explicit compared(unsigned seed) : random(seed) {
        model.crlf = !either_ending::feeds_alone;
        set_time();
        disk::on_call([this](const fakes::file_call& call) {
            if (call.op == fakes::file_op::open)
                write_meanwhile();
        });
    }
    ~compared() { disk::on_call(nullptr); }

    std::size_t below(std::size_t n) { return random() % n; }

    std::string text() {
        std::string s(below(20) == 0 ? below(6000) : below(120), ' ');
        for (char& c : s)
            c = "abcdefgh\r\n\n"[below(11)];
        return s;
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
        disk::clear_faults();
        const std::size_t fault = below(8);
        model.open_fails = fault == 0;
        model.space = std::string::npos;
        if (fault == 0)
            disk::refuse(rig.path, 32);
        else if (fault < 3)
            disk::set_space(model.space = below(2) * below(3000));
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
            rig.trace.set_write_through(!flag);
        } else if (what == 4) {
            set_paths();
        } else if (what < 7) {
            rig.trace.flush(flag);
            model.flush(flag);
        } else if (what < 9) {
            const auto ms = static_cast<std::uint32_t>(below(2) ? below(3) : below(1100));
            rig.pass_time(ms);
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
        disk::clear_faults();
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
        EXPECT_FALSE(rig.trace.is_async());
        rig.trace.write("refused\n", true);
        rig.trace.flush(true);
        rig.trace.close_now();
        rig.pass_time(5000);
    }

    std::mt19937 random;
    trace_model model;
    trace_rig<either_ending> rig;
};

} // namespace

TEST(trace_model, random_texts_faults_and_limits) {
    std::size_t marks = 0, rotations = 0, lost = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        either_ending::feeds_alone = seed % 4 == 0;
        compared c(seed);
        for (int i = 0; i <= 200; ++i) {
            i < 200 ? c.step() : c.end();
            ASSERT_EQ(c.rig.log(), c.model.log) << "seed " << seed << ", step " << i;
            ASSERT_EQ(c.rig.old_log(), c.model.old) << "seed " << seed << ", step " << i;
            ASSERT_TRUE(c.model.meanwhile.empty()) << "seed " << seed << ", step " << i;
        }
        EXPECT_EQ(disk::open_handles(), 0);
        marks += c.model.marks;
        rotations += !c.model.old.empty();
        lost += c.model.lost;
    }
    // The steps reach what they are for.
    EXPECT_GT(marks, 100u);
    EXPECT_GT(lost, 10u);
    EXPECT_GT(rotations, 5u);
}
