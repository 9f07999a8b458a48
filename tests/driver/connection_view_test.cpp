#include "driver/connection_view.hpp"

#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"
#include "driver/hex_dump.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/snapshot_builder.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using fakes::device;
using fakes::snapshot_builder;

// Two connections on a driver whose clock stands at 10,000 s.
snapshot_builder sample() {
    snapshot_builder b;
    b.header.driver_time = 10'000'000;
    const std::uint32_t empty = b.narrow(""), web = b.wide(L"web"), bulk = b.wide(L"bulk");
    vfl_connection_record r = b.add(1234567890123);
    r.protocol = 0x80 | 7;
    std::memcpy(r.local_address + 10, "\xFF\xFF\xC0\xA8\x01\x14", 6);
    r.local_port = 50123;
    std::memcpy(r.remote_address + 10, "\xFF\xFF\x08\x08\x08\x08", 6);
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
    r.local_address[15] = 1;
    r.local_port = 80;
    r.protocol = 6;
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
                                 "            7 udp  [::1]:80           [::]:0                         6     "
                                 "    0      9      0      0       "
                                 "5    0 zero inside web\n"
                                 "1234567890123 tcp  192.168.1.20:50123 8.8.8.8:443 h\xC3\xA9te.example      "
                                 " 7 123456789      0  54321      "
                                 "0 1:01:05 12.5 b\xC3\xA4\xE4\xB8\xAD.exe     web*  first\xE2\x82\xAC\n";

struct connection_view : testing::Test {
    connection_view() {
        device::instance() = {};
        fakes::clock::reset();
        fakes::clock::set_unix(1'767'323'045);
    }
    ~connection_view() override { device::instance() = {}; }

    fakes::trace_capture trace;
};

TEST_F(connection_view, reply_grows_and_is_read_whole) {
    // The driver counts fewer bytes than it wrote: the block's own counts decide.
    device::instance().act = [](const auto& request) {
        return request.out_size < 0x80000 ? device::answer{122} : device::answer{0, sample().build(), 1};
    };
    EXPECT_EQ(vfl::run_connection_view(7, false, false, false), 0);
    EXPECT_EQ(trace.out.text, sample_table);
    EXPECT_EQ(device::instance().requests.back().out_size, 0x80000u);
}

TEST_F(connection_view, dump_stops_at_the_end_of_the_buffer) {
    device::instance().act = [](const auto&) { return device::answer{5, "", 0xFFFFFFFF}; };
    EXPECT_EQ(vfl::run_connection_view(7, false, true, false), 1);
    const std::string zeros(0x40000, '\0');
    EXPECT_EQ(trace.out.text, vfl::hex_dump(zeros.data(), 0x40000, "") + "error 5\n");
}

TEST_F(connection_view, age_never_runs_backwards) {
    vfl::connection_map map;
    snapshot_builder b; // at 1000 s
    b.add(1);
    vfl::apply_snapshot(map, b.build(), false, nullptr);
    const std::wstring same = vfl::connection_table(map, 1000);
    EXPECT_TRUE(vfl::connection_table(map, 999) == same);
    EXPECT_TRUE(vfl::connection_table(map, INT64_MIN) == same);
    EXPECT_FALSE(vfl::connection_table(map, 1001) == same);
}

} // namespace
