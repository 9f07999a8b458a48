#include "connview/connection_view.hpp"

#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"
#include "driver/channel/hex_dump.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/snapshot_builder.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

namespace {

using fakes::device;
using fakes::snapshot_builder;

constexpr std::int64_t now = 1'767'323'045;

void put_address(std::uint8_t (&to)[16], std::initializer_list<int> last_bytes) {
    std::transform(last_bytes.begin(), last_bytes.end(), std::end(to) - last_bytes.size(),
                   [](int b) { return static_cast<std::uint8_t>(b); });
}

// Three connections on a driver whose clock stands at 10,000 s.
snapshot_builder sample() {
    snapshot_builder b;
    b.header.driver_time = 10'000'000;
    const std::uint32_t empty = b.narrow(""), web = b.wide(L"web"), bulk = b.wide(L"bulk");
    vfl_connection_record r = b.add(1234567890123);
    r.protocol = 0x80 | 7;
    put_address(r.local_address, {0xFF, 0xFF, 192, 168, 1, 20});
    r.local_port = 50123;
    put_address(r.remote_address, {0xFF, 0xFF, 8, 8, 8, 8});
    r.remote_port = 443;
    r.hostname = b.narrow("h\xE9te.example");
    r.data = b.narrow("first\x80");
    r.rx_bytes = 123456789;
    r.rx_rate = 54321;
    r.rtt = 12500;
    r.start_time = 10'000'000 - 3'665'000;
    r.program = b.wide(L"b\x00E4\x4E2D.exe");
    r.class_now = web;
    r.class_other = bulk;
    b.records[0] = r;
    r = b.add(7);
    put_address(r.local_address, {1});
    r.local_port = 80;
    put_address(r.remote_address, {0});
    r.hostname = r.data = empty;
    r.start_time = 10'000'000 - 5'000;
    r.tx_bytes = 9;
    r.program = b.wide(std::wstring_view(L"zero\0inside", 11));
    r.class_now = r.class_other = web;
    b.records[1] = r;
    return b;
}

// The zero in the program's name doesn't end the table.
const char* const sample_table = "           id prot local              remote      hostname     l7-prot    "
                                 "rx vol tx vol rx cps tx cps    "
                                 "time  rtt program     class data\n"
                                 "            7 udp  [::1]:80           [::]:0                         0     "
                                 "    0      9      0      0       "
                                 "5    0 zero inside web\n"
                                 "1234567890123 tcp  192.168.1.20:50123 8.8.8.8:443 h\xC3\xA9te.example      "
                                 " 7 123456789      0  54321      "
                                 "0 1:01:05 12.5 b\xC3\xA4\xE4\xB8\xAD.exe     web*  first\xE2\x82\xAC\n";

struct connection_view : testing::Test {
    connection_view() {
        device::instance() = {};
        fakes::clock::reset();
        fakes::clock::set_unix(now);
    }
    ~connection_view() override {
        device::instance() = {};
        fakes::clock::reset();
    }

    // Every request gets the next answer, the last one again and again.
    static void answer(std::vector<device::answer> answers) {
        device::instance().act = [answers = std::move(answers), i = std::size_t{0}](const auto&) mutable {
            return answers[std::min(i++, answers.size() - 1)];
        };
    }

    fakes::trace_capture trace;
};

TEST_F(connection_view, one_pass) {
    snapshot_builder broken = sample();
    broken.header.record_count = 1'000'000;
    const std::string block = sample().build();
    std::string stamped = block;
    vfl::put_snapshot_time(stamped, now);
    const std::string failure = "ioctl_bin_command(0x8000202c) returned error 5, ret=";
    const struct {
        const char* name;
        device::answer answer;
        bool hex;
        int result;
        std::string out, err;
    } rows[] = {
        {"table", {0, block}, false, 0, sample_table, ""},
        {"no connections", {0, snapshot_builder().build()}, false, 0, "", ""},
        {"closed before it was seen",
         {0,
          [] {
              snapshot_builder b;
              b.add(1, true);
              return b.build();
          }()},
         false,
         0,
         "",
         ""},
        {"nothing came back", {0, ""}, true, 0, "", ""},
        {"rejected block", {0, broken.build()}, false, 0, "", ""},
        {"dump above the table",
         {0, block},
         true,
         0,
         vfl::hex_dump(block.data(), static_cast<std::uint32_t>(block.size()), "") + sample_table,
         ""},
        {"failure", {5, ""}, false, 1, "error 5\n", failure + "0\n"},
        {"failure with bytes",
         {5, "AB", 2},
         true,
         1,
         vfl::hex_dump("AB", 2, "") + "error 5\n",
         failure + "2\n"},
        {"failure with a whole block", {5, block}, false, 1, "error 5\n", failure + "0\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        trace.out.text.clear();
        trace.err.text.clear();
        device::instance().requests.clear();
        answer({row.answer});
        EXPECT_EQ(vfl::run_connection_view(7, false, row.hex, false), row.result);
        EXPECT_EQ(trace.out.text, row.out);
        EXPECT_EQ(trace.err.text, row.err);
        ASSERT_EQ(device::instance().requests.size(), 1u);
        const fakes::device_request& request = device::instance().requests[0];
        EXPECT_EQ(request.code, 0x8000202Cu);
        EXPECT_EQ(request.out_size, 0x40000u);
        EXPECT_EQ(request.in, std::string("\x67\xE6\x09\x6A\1\0\0\0\xFF\xFF\xFF\xFF\5\0\0\0\0\0\0\0", 20));
        EXPECT_EQ(fakes::clock::slept_ms(), 0u);
    }
}

TEST_F(connection_view, reply_grows_and_is_read_whole) {
    // The driver counts fewer bytes than it wrote: the block's own counts decide.
    answer({{122}, {0, sample().build(), 1}});
    EXPECT_EQ(vfl::run_connection_view(7, false, false, false), 0);
    EXPECT_EQ(trace.out.text, sample_table);
    EXPECT_EQ(device::instance().requests.back().out_size, 0x80000u);
}

TEST_F(connection_view, dump_stops_at_the_end_of_the_buffer) {
    answer({{5, "", 0xFFFFFFFF}});
    EXPECT_EQ(vfl::run_connection_view(7, false, true, false), 1);
    const std::string zeros(0x40000, '\0');
    EXPECT_EQ(trace.out.text, vfl::hex_dump(zeros.data(), 0x40000, "") + "error 5\n");
}

TEST_F(connection_view, ever_repeats_and_keeps_what_it_knows) {
    const auto block = [](bool partial, std::uint64_t id) {
        snapshot_builder b;
        if (partial)
            b.partial();
        b.add(id).rx_rate = 50;
        return device::answer{0, b.build()};
    };
    answer({block(false, 1), block(true, 2), {31}, {0, "rubbish"}, block(false, 2)});
    struct stop {};
    std::vector<std::string> passes;
    fakes::clock::on_sleep([&](std::uint32_t ms) {
        EXPECT_EQ(ms, 1000u);
        fakes::clock::set_unix(now + static_cast<std::int64_t>(passes.size()) + 1);
        passes.push_back(std::exchange(trace.out.text, ""));
        if (passes.size() == 5)
            throw stop();
    });
    EXPECT_THROW(vfl::run_connection_view(7, true, false, false), stop);
    for (const fakes::device_request& r : device::instance().requests)
        EXPECT_EQ(r.in.substr(12), std::string("\5\0\0\0\1\0\0\0", 8));

    const std::string header =
        "id prot local  remote hostname l7-prot rx vol tx vol rx cps tx cps time rtt program class data\n";
    const auto line = [](int id, int cps, int seconds) {
        return " " + std::to_string(id) + " udp  [::]:0 [::]:0                0      0      0     " +
               (cps < 10 ? " " : "") + std::to_string(cps) + "      0    " + std::to_string(seconds) +
               "   0\n";
    };
    EXPECT_EQ(passes[0], header + line(1, 50, 0));
    EXPECT_EQ(passes[1], header + line(1, 50, 1) + line(2, 50, 0));
    EXPECT_EQ(passes[2], "error 31\n");
    EXPECT_EQ(passes[3], header + line(1, 50, 3) + line(2, 50, 2));
    EXPECT_EQ(passes[4], header + line(1, 0, 4) + line(2, 50, 3));
}

TEST_F(connection_view, age_never_runs_backwards) {
    vfl::connection_map map;
    snapshot_builder b;
    b.header.clock_and_flags = 1000u << 1;
    b.add(1);
    vfl::apply_snapshot(map, b.build(), false, nullptr);
    const std::wstring same = vfl::connection_table(map, 1000);
    EXPECT_TRUE(vfl::connection_table(map, 999) == same);
    EXPECT_TRUE(vfl::connection_table(map, INT64_MIN) == same);
    EXPECT_FALSE(vfl::connection_table(map, 1001) == same);
}

} // namespace
