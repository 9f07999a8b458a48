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

TEST(snapshot, rejected_block_changes_nothing) {
    using edit = std::function<void(snapshot_builder&)>;
    constexpr std::uint32_t huge = 0xFFFFFFFF;
    const struct {
        const char* name;
        edit change;
        std::size_t size; // the block is cut to this; 0: not at all
        std::int64_t result;
    } rows[] = {
        {"empty", [](auto&) {}, 1, -1},
        {"header short", [](auto&) {}, 63, -1},
        {"short and wrong magic", [](auto& b) { b.header.magic = 0; }, 63, -1},
        {"wrong magic", [](auto& b) { b.header.magic ^= 1; }, 64, -2},
        {"wrong version", [](auto& b) { b.header.version = 2; }, 0, -2},
        {"wrong magic before wrong counts",
         [](auto& b) {
             b.header = {};
             b.header.record_count = huge;
         },
         0, -2},
        {"records cut", [](auto&) {}, 64 + 223, -1},
        {"too many records", [](auto& b) { b.header.record_count = 1; }, 0, -1},
        {"as many records as there are numbers", [](auto& b) { b.header.record_count = huge - 2; }, 0, -1},
        {"records times 112 is 0 modulo 2^32", [](auto& b) { b.header.record_count = 0x20000000 - 2; }, 0,
         -1},
        {"narrow count", [](auto& b) { b.header.narrow_count = huge - 1; }, 0, -1},
        {"wide count", [](auto& b) { b.header.wide_count = huge - 1; }, 0, -1},
        {"one wide text too many", [](auto& b) { b.header.wide_count = 1; }, 0, -1},
        {"narrow length cut", [](auto&) {}, 64 + 224 + 3, -1},
        {"narrow text cut", [](auto&) {}, 64 + 224 + 8, -1},
        {"wide length cut", [](auto&) {}, 64 + 224 + 12 + 3, -1},
        {"wide text cut", [](auto&) {}, 64 + 224 + 12 + 9, -1},
        {"narrow length wraps", [](auto& b) { b.narrow_pool.replace(0, 4, 4, '\xFF'); }, 0, -1},
        {"narrow length wraps with its padding",
         [](auto& b) { b.narrow_pool.replace(0, 4, "\xFD\xFF\xFF\xFF"); }, 0, -1},
        {"wide length wraps", [](auto& b) { b.wide_pool.replace(0, 4, 4, '\xFF'); }, 0, -1},
        // Four texts of 1 byte count 20 bytes of the 32 that they take: by the count alone the fifth text
        // would still fit, but it lies behind the end.
        {"padding moves the last text out",
         [](auto& b) {
             b.narrow_pool.clear(), b.wide_pool.clear();
             b.narrow_count = 0, b.header.wide_count = -1u;
             for (int i = 0; i < 4; ++i)
                 b.narrow("x");
             b.header.narrow_count = 1;
         },
         0, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        connection_map map;
        snapshot_builder before;
        before.add(1);
        before.add(7);
        ASSERT_EQ(fold(map, before.build()), 64 + 224);
        const std::vector<connection_entry> kept(map.begin(), map.end());

        snapshot_builder b = two_records();
        row.change(b);
        std::string block = b.build();
        if (row.size > 0)
            block.resize(row.size == 1 ? 0 : row.size);
        EXPECT_EQ(fold(map, block), row.result);
        EXPECT_EQ(std::vector<connection_entry>(map.begin(), map.end()), kept);
    }
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

TEST(snapshot, decodes_every_field) {
    snapshot_builder b;
    b.header.header_word = 0xCAFEBABE;
    b.header.rate_scale = 1u << 19;
    b.header.driver_time = 100'999;
    b.header.tx_line_rate = 3000;
    b.header.rx_line_rate = 400;
    b.header.clock_and_flags = (5'000'000'000u << 1) | VFL_SNAPSHOT_PARTIAL;
    vfl_connection_record& r = b.add(0xFEDCBA9876543210);
    for (std::uint8_t i = 0; i < 16; ++i) {
        r.remote_address[i] = i;
        r.local_address[i] = static_cast<std::uint8_t>(0xF0 + i);
    }
    r.remote_port = 443;
    r.local_port = 65535;
    r.protocol = 0x80 | 0x7F;
    r.state = 0xFE; // all but the closed bit
    r.tx_bytes = 1ull << 63;
    r.rx_bytes = 77;
    r.tx_rate = (0xABCull << 44) | 600; // the top 20 bits are lost
    r.rx_rate = 100;
    r.start_time = 98'000;
    r.rtt = 12345;
    b.narrow("no");
    b.wide(L"no");
    r.data = b.narrow(std::string_view("a\0b", 3));
    r.hostname = b.narrow("\xE4.example");
    r.program = b.wide(L"b\x00E4\x4E2D\xD83D\xDE00.exe");
    r.class_now = b.wide(L"bulk");
    // An odd byte at the end of a wide text doesn't count.
    r.class_other = b.wide_count++;
    b.wide_pool += std::string_view("\x03\0\0\0h\0i\xEE", 8);

    connection_map map;
    ASSERT_GT(fold(map, b.build()), 0);
    connection_entry want;
    for (std::uint8_t i = 0; i < 16; ++i) {
        want.remote_address[i] = i;
        want.local_address[i] = static_cast<std::uint8_t>(0xF0 + i);
    }
    want.remote_port = 443;
    want.local_port = 65535;
    want.l7_protocol = 127;
    want.is_tcp = true;
    want.id = 0xFEDCBA9876543210;
    want.tx_bytes = 1ull << 63;
    want.rx_bytes = 77;
    want.tx_cps = 1200;
    want.rx_cps = 200;
    want.tx_percent = 40.0f;
    want.rx_percent = 50.0f;
    want.started = 5'000'000'000 - 2; // 2.999 s, rounded down
    want.tx_line_rate = 3000;
    want.rx_line_rate = 400;
    want.rtt = 12345;
    want.header_word = 0xCAFEBABE;
    want.program = wide_text(L"b\x00E4\x4E2D\xD83D\xDE00.exe");
    want.data = narrow_text(std::string("a\0b", 3));
    want.class_now = wide_text(L"bulk");
    want.class_other = wide_text(L"h");
    want.hostname = narrow_text("\xE4.example");
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(*map.begin(), want);
    EXPECT_EQ(map.find(0xFEDCBA9876543210), &*map.begin());
}

TEST(snapshot, update_keeps_what_was_set_at_creation) {
    connection_map map;
    snapshot_builder b;
    vfl_connection_record& first = b.add(5);
    first.protocol = 0x80 | 3;
    first.remote_address[0] = 1;
    first.local_port = 80;
    first.program = b.wide(L"old");
    first.data = first.hostname = b.narrow("old");
    first.class_now = first.class_other = first.program;
    fold(map, b.build());
    const connection_entry old = *map.begin();
    const connection_entry* at = &*map.begin();

    snapshot_builder c;
    c.header.clock_and_flags = 9999 << 1;
    vfl_connection_record& second = c.add(5);
    second.protocol = 9;
    second.remote_address[0] = second.local_address[0] = 9;
    second.remote_port = second.local_port = 9;
    second.rx_rate = second.tx_rate = second.rx_bytes = second.start_time = 9;
    second.program = c.wide(L"a new and longer one");
    second.class_now = c.wide(L"old");
    second.class_other = c.wide(L"Old");
    second.data = c.narrow("old");
    second.hostname = c.narrow("");
    fold(map, c.build());

    connection_entry want = old;
    want.l7_protocol = 9;
    want.rx_bytes = want.rx_cps = want.tx_cps = 9;
    want.rx_percent = want.tx_percent = 9 * 100.0f / 1000;
    want.program = wide_text(L"a new and longer one");
    want.class_other = wide_text(L"Old");
    want.hostname = narrow_text("");
    EXPECT_EQ(*map.begin(), want);
    EXPECT_EQ(&*map.begin(), at);
}

TEST(snapshot, opens_closes_and_erases) {
    struct block {
        bool partial;
        std::vector<std::int64_t> records; // ids, negative: closed
    };
    const struct {
        const char* name;
        bool remove_closed;
        std::vector<block> blocks;
        const char* want;
    } rows[] = {
        {"ascending whatever the order of records",
         false,
         {{false, {5, 1, 9, 3}}, {true, {2, 10, 4}}},
         "1 2 3 4 5 9 10"},
        {"a complete block closes what it leaves out", false, {{false, {1, 2, 3}}, {false, {2}}}, "1x 2 3x"},
        {"or erases it", true, {{false, {1, 2, 3}}, {false, {2}}}, "2"},
        {"an empty complete block closes all", false, {{false, {1, 2}}, {false, {}}}, "1x 2x"},
        {"a partial one leaves them", true, {{false, {1, 2, 3}}, {true, {2}}}, "1 2 3"},
        {"closed before it was seen", false, {{false, {-1, 2}}, {true, {-3}}}, "2"},
        {"closed record", false, {{false, {1, 2}}, {true, {-2}}}, "1 2x"},
        {"closed record with removal", true, {{false, {1, 2, 3}}, {true, {-2, -9}}}, "1 3"},
        {"opened again", false, {{false, {1, 2}}, {false, {}}, {true, {2}}}, "1x 2"},
        {"twice in a block, the last one counts", false, {{false, {1, 1, -1, 2, -2, 2}}}, "1x 2"},
        {"erased and made anew in a block",
         true,
         {{false, {4, 2}}, {true, {-2, 3, 2, -4, 1, -1, 1}}},
         "1 2 3"},
        {"extreme ids", false, {{false, {0, 1, INT64_MAX}}}, "0 1 9223372036854775807"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        connection_map map;
        for (const block& one : row.blocks) {
            snapshot_builder b;
            if (one.partial)
                b.partial();
            for (const std::int64_t id : one.records) {
                vfl_connection_record& r = b.add(static_cast<std::uint64_t>(std::abs(id)), id < 0);
                r.tx_rate = r.rx_rate = r.tx_bytes = 50;
            }
            fold(map, b.build(), row.remove_closed);
        }
        EXPECT_EQ(ids(map), row.want);
        for (const connection_entry& e : map) {
            EXPECT_EQ(e.tx_cps, e.closed ? 0u : 50u);
            EXPECT_EQ(e.rx_percent, e.closed ? -1.0f : 5.0f);
            EXPECT_EQ(e.tx_bytes, 50u);
        }
    }
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

TEST(snapshot, new_histories_are_as_long_as_the_first_entrys) {
    connection_map map;
    snapshot_builder b;
    b.add(5);
    b.add(6);
    fold(map, b.build());
    map.find(5)->history_1 = {1, 2, 3};
    map.find(6)->history_1 = {1};
    snapshot_builder c;
    c.partial();
    for (const std::uint64_t id : {7u, 2u, 8u})
        c.add(id);
    fold(map, c.build());
    // 7 follows 5; 2 comes to stand first and gets its own length of 0, which 8 then follows.
    EXPECT_EQ(map.find(7)->history_1, std::vector<float>(3, -1.0f));
    EXPECT_EQ(map.find(7)->history_2, std::vector<float>(3, -1.0f));
    EXPECT_EQ(map.find(2)->history_1, std::vector<float>());
    EXPECT_EQ(map.find(8)->history_1, std::vector<float>());
    EXPECT_EQ(map.find(5)->history_1, (std::vector<float>{1, 2, 3}));
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
