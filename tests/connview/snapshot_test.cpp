#include "connview/snapshot.hpp"

#include "fakes/snapshot_builder.hpp"
#include "fakes/snapshot_compare.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace {

using fakes::snapshot_builder;
using vfl::connection_entry;

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

// Random sequences of blocks, some of them damaged, with numbers and indexes that no driver should send,
// against the straightforward decoder.
TEST(snapshot, agrees_with_the_straightforward_decoder) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto below = [&](unsigned n) { return static_cast<std::uint32_t>(random() % n); };
        vfl::connection_map map;
        fakes::naive_snapshot naive;
        const bool remove_closed = below(2) == 1;
        const unsigned id_range = below(3) == 0 ? 1000 : 12;
        for (int step = 0; step < 25; ++step) {
            snapshot_builder b;
            b.header.rate_scale = below(8) << 18;
            b.header.rx_line_rate = below(3);
            b.header.clock_and_flags = random();
            b.header.driver_time = random();
            for (unsigned i = below(4); i > 0; --i) {
                b.narrow(std::string(below(40), static_cast<char>('a' + below(2))));
                b.wide(std::wstring(below(20), static_cast<wchar_t>(0x100 + below(2))));
            }
            for (unsigned i = below(id_range == 12 ? 10 : 200); i > 0; --i) {
                vfl_connection_record& r = b.add(below(id_range), below(3) == 0);
                r.protocol = static_cast<std::uint8_t>(random());
                r.tx_rate = random() % 3;
                r.rx_rate = below(4) ? random() % 3 : ~0ull;
                r.start_time = random();
                for (std::uint32_t* text : {&r.program, &r.data, &r.class_now, &r.class_other, &r.hostname})
                    *text = below(20) ? below(5) : ~0u;
            }
            std::string block = b.build();
            if (below(8) == 0) // often no more than the last padding
                block.resize(block.size() - below(below(2) ? 4 : static_cast<unsigned>(block.size()) + 1));
            else if (below(8) == 0)
                block += "more";
            for (unsigned i = below(8) == 0 ? 2 : 0; i > 0 && !block.empty(); --i)
                block[below(below(2) ? 64 : static_cast<unsigned>(block.size())) % block.size()] =
                    static_cast<char>(random());
            if (connection_entry* e = map.find(below(id_range))) {
                e->history_1.resize(below(3), 2.0f);
                naive.entries[e->id].history_1 = e->history_1;
            }
            const vfl::connection_filter filter{
                .id = below(2) ? below(id_range) : 0,
                .l7_protocol = static_cast<std::uint8_t>(below(2) ? random() : 255),
                .program = std::wstring(below(4), static_cast<wchar_t>(0x100 + below(2))),
            };
            const vfl::connection_filter* by = below(4) == 0 ? &filter : nullptr;
            // The copy ends where its memory ends, so that a sanitizer sees any read behind it.
            const auto exact = std::make_unique<char[]>(block.size());
            std::memcpy(exact.get(), block.data(), block.size());
            ASSERT_EQ(vfl::apply_snapshot(map, {exact.get(), block.size()}, remove_closed, by),
                      naive.apply(block, remove_closed, by));
            ASSERT_TRUE(fakes::same_entries(map, naive)) << "after block " << step;
        }
    }
}

} // namespace
