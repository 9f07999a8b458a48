// A sequence of blocks, some of them damaged, with numbers and indexes that no driver should send, beside the
// straightforward decoder. Of the last block every allocation fails in turn.
#pragma once

#include "choices.hpp"
#include "connview/map_editor.hpp"
#include "connview/naive_snapshot.hpp"
#include "connview/snapshot_builder.hpp"
#include "fakes/fake_heap.hpp"

#include <new>

namespace fakes {

inline std::string any_block(choices& c, std::uint64_t ids) {
    snapshot_builder b;
    b.header.rate_scale = c.below(8u) << 18;
    b.header.rx_line_rate = c.below(3u);
    b.header.clock_and_flags = c.any<std::uint64_t>();
    b.header.driver_time = c.any<std::uint32_t>();
    for (unsigned i = c.pick({0u, 1u, 3u, 4u, c.once_in(8) ? 500u : 2u}); i > 0; --i) {
        b.narrow(std::string(c.below(40u), c.pick("ab")));
        b.wide(std::wstring(c.below(20u), c.pick(L"\x100\x101")));
    }
    for (unsigned i = c.below(ids > 16 ? 200u : 10u); i > 0; --i) {
        vfl_connection_record& r = b.add(c.below(ids), c.below(3u) == 0);
        r.protocol = c.any<std::uint8_t>();
        r.tx_rate = c.below(3u);
        r.rx_rate = c.below(4u) ? c.below(3u) : ~0ull;
        r.start_time = c.any<std::uint32_t>();
        for (std::uint32_t* text : {&r.program, &r.data, &r.class_now, &r.class_other, &r.hostname})
            *text = c.below(20u) ? c.below(c.below(4u) ? 5u : 501u) : ~0u;
    }
    std::string block = b.build();
    if (c.once_in(8)) // often no more than the last padding
        block.resize(block.size() - c.below(c.once_in(2) ? 4 : block.size() + 1));
    else if (c.once_in(8))
        block += c.bytes(300);
    for (unsigned i = c.once_in(8) ? 2 : 0; i > 0 && !block.empty(); --i)
        block[c.below(c.once_in(2) ? block.size() : std::min<std::size_t>(block.size(), 64))] =
            static_cast<char>(c.any<std::uint8_t>());
    return block;
}

inline void snapshot_round(choices& c) {
    struct step {
        std::vector<char> bytes; // no more memory than that, so that a sanitizer sees any read past the end
        vfl::connection_filter filter;
        bool filtered;
        std::uint64_t history_of;
        std::size_t history;
    };
    const bool remove_closed = c.once_in(2);
    const std::uint64_t ids = c.once_in(3) ? 1000 : 12;
    const auto fold = [&](auto& map, const step& s) {
        if (auto* const found = vfl::connection_map::editor(map).find(s.history_of))
            found->entry.history_1.assign(s.history, 2.0f);
        return vfl::apply_snapshot(map, {s.bytes.data(), s.bytes.size()}, remove_closed,
                                   s.filtered ? &s.filter : nullptr);
    };
    vfl::connection_map map;
    naive_snapshot naive;
    std::vector<step> steps;
    for (unsigned left = c.below(25u); left > 0 && !c.spent(); --left) {
        const std::string block = any_block(c, ids);
        const step& s = steps.emplace_back(
            step{{block.begin(), block.end()},
                 {c.once_in(2) ? c.below(ids) : 0, c.pick({c.any<std::uint8_t>(), std::uint8_t{255}}),
                  std::wstring(c.below(4u), c.pick(L"\x100\x101"))},
                 c.once_in(4),
                 c.below(ids),
                 c.below(3u)});
        if (const auto found = naive.entries.find(s.history_of); found != naive.entries.end())
            found->second.history_1.assign(s.history, 2.0f);
        ASSERT_EQ(fold(map, s), naive.apply(block, remove_closed, s.filtered ? &s.filter : nullptr));
        ASSERT_TRUE(naive.same_as(map)) << "after block " << steps.size();
    }
    bool failed = c.once_in(4) && !steps.empty();
    for (long n = 0; failed; ++n) {
        vfl::connection_map other;
        for (std::size_t i = 0; i + 1 < steps.size(); ++i)
            fold(other, steps[i]);
        failed = false;
        fail_allocation_after(n);
        try {
            fold(other, steps.back());
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        fail_allocation_after(-1);
        ASSERT_EQ(static_cast<std::size_t>(std::distance(other.begin(), other.end())), other.size());
        for (const vfl::connection_entry& e : other)
            ASSERT_EQ(other.find(e.id), &e);
        fold(other, steps.back()); // what was begun can be ended
        ASSERT_TRUE(
            std::equal(other.begin(), other.end(), map.begin(), map.end(),
                       [](const auto& a, const auto& b) { return a.id == b.id && a.data == b.data; }));
    }
}

} // namespace fakes
