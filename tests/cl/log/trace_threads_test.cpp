// Many threads write while the log rotates and its disk fails now and then. The hook of the disk keeps what
// rotation removes; it runs on the one thread that flushes, and so may set up faults.
#include "cl/log/trace_rig.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace cl;
using fakes::disk;
using fakes::file_op;

namespace {

constexpr int writers = 4, texts_each = 1500;

struct outcome {
    std::vector<std::vector<int>> numbers{writers}; // of each writer's lines, as the log has them
    std::size_t marks = 0, torn = 0, rotations = 0;
};

// "w 17 ............\n": which writer, which line.
std::string line(int writer, int number) {
    const std::string head =
        std::string(1, static_cast<char>('a' + writer)) + " " + std::to_string(number) + " ";
    return head + std::string(static_cast<std::size_t>(number % 50), '.') + "\n";
}

outcome parse(const std::string& log) {
    outcome o;
    std::istringstream in(log);
    for (std::string s; std::getline(in, s);) {
        if (s == "buffer overflow\r") {
            ++o.marks;
            continue;
        }
        if (s == "\r")
            continue;
        int number = -1;
        char writer = 0;
        if (s.size() > 11 && std::istringstream(s.substr(11)) >> writer >> number && writer >= 'a' &&
            writer < 'a' + writers && number >= 0 &&
            s == "235907-042 " +
                     line(writer - 'a', number).replace(line(writer - 'a', number).size() - 1, 1, "\r"))
            o.numbers[static_cast<std::size_t>(writer - 'a')].push_back(number);
        else
            ++o.torn;
    }
    return o;
}

outcome run(std::int32_t min, std::int32_t max, std::int32_t flush_at) {
    trace_rig<> r;
    r.trace.set_buffer(min, max, flush_at, true);
    r.trace.set_path(r.path);
    r.trace.set_old_path(r.old_path, 20000);
    std::string kept;
    std::size_t rotations = 0;
    std::mt19937 random(1);
    disk::on_call([&](const fakes::file_call& call) {
        if (call.op == file_op::remove && call.path == r.old_path) {
            kept += r.old_log();
            ++rotations;
        } else if (call.op == file_op::open && random() % 8 == 0)
            disk::refuse(call.path, os::error_sharing, 1);
        else if (call.op == file_op::write && random() % 4 == 0)
            disk::cut_write(random() % 500);
    });

    std::atomic<bool> done{false};
    std::thread clock([&] {
        while (!done)
            r.pass_time(100);
    });
    std::thread visitor([&] {
        while (!done) {
            r.trace.flush(true);
            r.trace.rotate_if_larger(15000);
            r.trace.set_path(r.path);
            r.trace.set_old_path(r.old_path, 20000);
            r.trace.set_stamps(true, true);
            r.trace.set_buffer(min, max, flush_at, true);
            r.trace.discard(false);
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> threads;
    for (int w = 0; w < writers; ++w)
        threads.emplace_back([&r, w] {
            for (int i = 0; i < texts_each; ++i)
                r.trace.write((line(w, 2 * i) + line(w, 2 * i + 1)).c_str(), true);
        });
    for (auto& t : threads)
        t.join();
    done = true;
    visitor.join();
    clock.join();
    disk::on_call(nullptr);
    disk::clear_faults();
    r.trace.set_old_path(L"", 0);
    r.trace.finish();
    outcome o = parse(kept + r.old_log() + r.log());
    o.rotations = rotations;
    return o;
}

} // namespace

TEST(trace_threads, every_line_once_whole_and_in_order) {
    const outcome o = run(1 << 20, 1 << 20, 4096); // takes it all
    EXPECT_EQ(o.marks, 0u);
    EXPECT_EQ(o.torn, 0u);
    EXPECT_GT(o.rotations, 0u);
    for (const auto& numbers : o.numbers) {
        ASSERT_EQ(numbers.size(), 2u * texts_each);
        for (int i = 0; i < 2 * texts_each; ++i)
            ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i);
    }
}

TEST(trace_threads, a_ring_that_is_too_small_loses_lines_but_keeps_the_order_and_leaves_marks) {
    const outcome o = run(512, 2048, 1024);
    std::size_t found = 0;
    for (const auto& numbers : o.numbers) {
        found += numbers.size();
        for (std::size_t i = 1; i < numbers.size(); ++i)
            ASSERT_LT(numbers[i - 1], numbers[i]);
    }
    EXPECT_LT(found, 2u * writers * texts_each);
    EXPECT_GT(o.marks, 0u);
}
