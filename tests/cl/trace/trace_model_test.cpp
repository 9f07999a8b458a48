// The log beside a naive model: texts of random size, faults of the disk, growth, new limits and rotation.
// After each step the bytes on the disk are the model's.
#include "cl/trace/trace_model.hpp"
#include "cl/trace/trace_rig.hpp"

#include <gtest/gtest.h>
#include <random>

using fakes::disk;
using fakes::file_op;

namespace {

struct compared {
    explicit compared(unsigned seed) : random(seed) { model.stamp = "235907-042 "; }

    std::size_t below(std::size_t n) { return random() % n; }

    std::string text() {
        std::string s(below(20) == 0 ? below(6000) : below(120), ' ');
        for (char& c : s)
            c = "abcdefgh\r\n\n"[below(11)];
        return s;
    }

    void set_faults() {
        disk::clear_faults();
        model.open_fails = false;
        model.space = std::string::npos;
        switch (below(8)) {
        case 0:
            model.open_fails = true;
            disk::refuse(rig.path, 32);
            break;
        case 1:
        case 2:
            model.space = below(2) * below(3000);
            disk::set_space(model.space);
            break;
        default:
            break;
        }
    }

    void set_limits() {
        const std::size_t min = 64 + below(4096), max = below(10) ? min + below(20000) : 0,
                          at = 1 + below(8192);
        model.set_buffer(static_cast<std::int64_t>(min), static_cast<std::int64_t>(max),
                         static_cast<std::int64_t>(at));
        rig.trace.set_buffer(static_cast<std::int32_t>(min), static_cast<std::int32_t>(max),
                             static_cast<std::int32_t>(at), true);
    }

    void step() {
        switch (below(40)) {
        case 0:
            set_faults();
            break;
        case 1:
            set_limits();
            break;
        case 2: {
            const bool force = below(2);
            model.discard(force);
            rig.trace.discard(force);
            break;
        }
        case 3:
            model.write_through = below(4) == 0;
            rig.trace.set_write_through(model.write_through);
            break;
        case 4:
            model.has_path = true;
            model.has_old = below(4) != 0;
            model.limit = below(20000);
            rig.trace.set_path(rig.path);
            rig.trace.set_old_path(model.has_old ? rig.old_path : L"", model.limit);
            break;
        case 5:
        case 6: {
            const bool again = below(4) != 0;
            model.flush(again);
            rig.trace.flush(again);
            break;
        }
        case 7:
        case 8: {
            const auto ms = static_cast<std::uint32_t>(below(2) ? below(3) : below(1100));
            model.pass_time(ms);
            rig.pass_time(ms);
            break;
        }
        default: {
            const std::string s = text();
            const bool flush = below(8) != 0;
            model.write(s, flush);
            rig.trace.write(s.c_str(), flush);
            break;
        }
        }
    }

    std::mt19937 random;
    trace_model model;
    trace_rig<> rig;
};

} // namespace

TEST(trace_model, random_texts_faults_and_limits) {
    std::size_t marks = 0, rotations = 0;
    for (unsigned seed = 1; seed <= 12; ++seed) {
        compared c(seed);
        for (int i = 0; i < 500; ++i) {
            c.step();
            ASSERT_EQ(c.rig.log(), c.model.log) << "seed " << seed << ", step " << i;
            ASSERT_EQ(c.rig.old_log(), c.model.old) << "seed " << seed << ", step " << i;
        }
        EXPECT_EQ(disk::open_handles(), 0);
        marks += c.model.marks;
        rotations += !c.model.old.empty();
    }
    // The steps reach what they are for.
    EXPECT_GT(marks, 100u);
    EXPECT_GT(rotations, 5u);
}
