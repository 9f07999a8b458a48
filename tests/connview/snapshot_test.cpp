#include "connview/snapshot_round.hpp"

namespace {

using fakes::snapshot_builder;

TEST(snapshot, agrees_with_the_straightforward_decoder) {
    run_seeds(200, fakes::snapshot_round);
}

TEST(snapshot, puts_the_time_into_the_block) {
    snapshot_builder b;
    b.header.clock_and_flags = 0xAAAAAAAAAAAAAAAB;
    std::string block = b.build();
    EXPECT_TRUE(vfl::put_snapshot_time(block, 5'000'000'000));
    b.header.clock_and_flags = (5'000'000'000u << 1) | 1;
    EXPECT_EQ(block, b.build());
    for (const std::string& broken : {"x" + block, block.substr(0, 63)}) {
        block = broken;
        EXPECT_FALSE(vfl::put_snapshot_time(block, 1));
        EXPECT_EQ(block, broken);
    }
}

// Neither texts that nobody uses nor ids that were chosen to meet in a simple hash cost more than others.
TEST(snapshot, hostile_blocks_cost_what_their_records_use) {
    snapshot_builder b;
    b.add(1).hostname = 999'999;
    b.narrow_pool.assign(4'000'000, '\0');
    b.narrow_count = 1'000'000;
    vfl::connection_map map;
    const std::string empty_texts = b.build();
    const std::size_t before = fakes::allocated_bytes();
    EXPECT_EQ(vfl::apply_snapshot(map, empty_texts, false, nullptr), 64 + 112 + 4'000'000);
    EXPECT_LT(fakes::allocated_bytes() - before, 100'000u);

    // Multiples of the golden ratio's inverse: with it as the only factor all of them would begin at one
    // place, and this test would take minutes.
    b = {};
    for (std::uint64_t i = 0; i < 200'000; ++i)
        b.add(i * 0xF1DE83E19937733D);
    // In order: the checked containers look through the whole heap of late entries for each of them.
    std::sort(b.records.begin(), b.records.end(), [](const auto& x, const auto& y) { return x.id < y.id; });
    const std::string meeting = b.build();
    vfl::apply_snapshot(map, meeting, true, nullptr);
    EXPECT_EQ(map.size(), 200'000u);
}

} // namespace
