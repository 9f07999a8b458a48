#include "connview/snapshot.hpp"

#include "fakes/snapshot_builder.hpp"
#include "fakes/snapshot_compare.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>

namespace {

using fakes::snapshot_builder;
using vfl::apply_snapshot;
using vfl::connection_entry;
using vfl::connection_map;
using narrow_text = vfl::shared_text<char>;
using wide_text = vfl::shared_text<wchar_t>;

// Applies a copy of the block that ends where its memory ends, so that a sanitizer sees any read behind it.
std::int64_t fold(connection_map& map, const std::string& block, bool remove_closed = false,
                  const vfl::connection_filter* filter = nullptr) {
    const auto exact = std::make_unique<char[]>(block.size());
    std::memcpy(exact.get(), block.data(), block.size());
    return apply_snapshot(map, {exact.get(), block.size()}, remove_closed, filter);
}

std::string ids(const connection_map& map) {
    std::string text;
    for (const connection_entry& e : map)
        text += (text.empty() ? "" : " ") + std::to_string(e.id) + (e.closed ? "x" : "");
    return text;
}

// Two records and one text in each pool; the texts are of 5 and of 6 bytes, so 12 bytes each.
snapshot_builder two_records() {
    snapshot_builder b;
    b.add(1);
    b.add(2);
    b.narrow("hello");
    b.wide(L"abc");
    return b;
}

TEST(snapshot, returns_the_size_of_the_parts) {
    connection_map map;
    EXPECT_EQ(fold(map, snapshot_builder().build()), 64);
    EXPECT_EQ(fold(map, two_records().build()), 64 + 224 + 12 + 12);
    EXPECT_EQ(fold(map, two_records().build() + std::string(1000, 'x')), 64 + 224 + 12 + 12);
    // The last padding may be missing, whichever pool comes last.
    std::string block = two_records().build();
    block.resize(block.size() - 2);
    EXPECT_EQ(fold(map, block), 64 + 224 + 12 + 12);
    snapshot_builder narrow_only;
    narrow_only.narrow("hello");
    block = narrow_only.build();
    block.resize(block.size() - 3);
    EXPECT_EQ(fold(map, block), 64 + 12);
}

TEST(snapshot, filter_picks_records_but_not_what_is_missing) {
    const struct {
        const char* name;
        vfl::connection_filter filter;
        const char* want; // 8 and 9 are known before; the block names 9
    } rows[] = {
        {"any", {}, "1 2 3 8x 9"},
        {"id", {.id = 2}, "2 8x 9"},
        {"protocol", {.l7_protocol = 6}, "2 3 8x 9"},
        {"protocol without the TCP bit", {.l7_protocol = 134}, "8x 9"},
        {"program", {.program = L"two"}, "2 8x 9"},
        {"program is exact", {.program = L"tw"}, "8x 9"},
        {"all three", {.id = 3, .l7_protocol = 6, .program = L"three"}, "3 8x 9"},
        {"one of three fails", {.id = 3, .l7_protocol = 5, .program = L"three"}, "8x 9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        connection_map map;
        snapshot_builder known;
        known.add(8);
        known.add(9);
        fold(map, known.build());
        snapshot_builder b;
        for (const wchar_t* program : {L"one", L"two", L"three"}) {
            const std::uint32_t text = b.wide(program);
            vfl_connection_record& r = b.add(text + 1);
            r.program = text;
            r.protocol = static_cast<std::uint8_t>(text == 0 ? 5 : 0x80 | 6);
        }
        b.add(9).program = 99;
        fold(map, b.build(), false, &row.filter);
        EXPECT_EQ(ids(map), row.want);
    }
}

TEST(snapshot, what_no_driver_should_send_does_no_harm) {
    connection_map map;
    snapshot_builder b;
    b.header.rate_scale = 0;
    b.header.tx_line_rate = 0;
    vfl_connection_record& r = b.add(1);
    r.tx_rate = r.rx_rate = ~0ull;
    r.start_time = 1; // later than the driver's time
    r.data = b.narrow("x");
    r.hostname = 1;
    r.program = r.class_now = r.class_other = 0xFFFFFFFF;
    fold(map, b.build());
    const connection_entry& e = *map.begin();
    EXPECT_EQ(e.tx_cps, 0u);
    EXPECT_EQ(e.rx_percent, 0.0f);
    EXPECT_TRUE(std::isnan(e.tx_percent));
    EXPECT_EQ(e.started, 1000 - 18446744073709551);
    EXPECT_TRUE(e.data == "x");
    EXPECT_TRUE(e.hostname.empty() && e.program.empty() && e.class_now.empty() && e.class_other.empty());

    b.header.rate_scale = 1;
    fold(map, b.build());
    EXPECT_TRUE(std::isinf(e.tx_percent));
    EXPECT_EQ(e.rx_cps, 0xFFFFFFFFFFF00000u);
}

TEST(snapshot, puts_the_time_into_the_block) {
    snapshot_builder b;
    for (const std::uint64_t flag : {0u, 1u}) {
        b.header.clock_and_flags = 0xAAAAAAAAAAAAAAAA | flag;
        std::string block = b.build();
        EXPECT_TRUE(vfl::put_snapshot_time(block, 5'000'000'000));
        b.header.clock_and_flags = (5'000'000'000u << 1) | flag;
        EXPECT_EQ(block, b.build());
    }
    b.header.version = 0;
    for (std::string block : {b.build(), snapshot_builder().build().substr(0, 63), std::string()}) {
        const std::string before = block;
        EXPECT_FALSE(vfl::put_snapshot_time(block, 1));
        EXPECT_EQ(block, before);
    }
}

// Random sequences of blocks, some of them damaged, against the straightforward decoder.
TEST(snapshot, agrees_with_the_straightforward_decoder) {
    for (unsigned seed = 0; seed < 120; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto below = [&](unsigned n) { return static_cast<std::uint32_t>(random() % n); };
        connection_map map;
        fakes::naive_snapshot naive;
        const bool remove_closed = below(2) == 1;
        const unsigned id_range = below(3) == 0 ? 1000 : 12;
        for (int step = 0; step < 25; ++step) {
            snapshot_builder b;
            b.header.rate_scale = below(8) << 18;
            b.header.rx_line_rate = below(3);
            b.header.clock_and_flags = random();
            for (unsigned i = below(4); i > 0; --i) {
                b.narrow(std::string(below(40), static_cast<char>('a' + below(2))));
                b.wide(std::wstring(below(20), static_cast<wchar_t>(0x100 + below(2))));
            }
            for (unsigned i = below(id_range == 12 ? 10 : 200); i > 0; --i) {
                vfl_connection_record& r = b.add(below(id_range), below(3) == 0);
                r.protocol = static_cast<std::uint8_t>(random());
                r.tx_rate = random() % 3;
                r.start_time = random();
                for (std::uint32_t* text : {&r.program, &r.data, &r.class_now, &r.class_other, &r.hostname})
                    *text = below(5);
            }
            std::string block = b.build();
            if (below(8) == 0)
                block.resize(below(static_cast<unsigned>(block.size()) + 1));
            for (unsigned i = below(8) == 0 ? 2 : 0; i > 0 && !block.empty(); --i)
                block[below(static_cast<unsigned>(block.size()))] = static_cast<char>(random());
            if (connection_entry* e = map.find(below(id_range))) {
                e->history_1.resize(below(3), 2.0f);
                naive.entries[e->id].history_1 = e->history_1;
            }
            const vfl::connection_filter filter{.l7_protocol = static_cast<std::uint8_t>(random() | 0x7C),
                                                .program = L""};
            const vfl::connection_filter* by = below(4) == 0 ? &filter : nullptr;
            ASSERT_EQ(fold(map, block, remove_closed, by), naive.apply(block, remove_closed, by));
            ASSERT_TRUE(fakes::same_entries(map, naive)) << "after block " << step;
        }
    }
}

} // namespace
