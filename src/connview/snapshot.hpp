// The driver's connection snapshot (contracts/protocol.h) and its folding into a connection_map.
#pragma once

#include "connview/connection_map.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace vfl {

// Restricts apply_snapshot to the records that pass all three tests.
struct connection_filter {
    std::uint64_t id = 0;           // 0 matches any
    std::uint8_t l7_protocol = 255; // 255 matches any
    std::wstring program{};         // exact; empty matches any
};

// Folds one block into the map. Returns the number of bytes that the block's parts take up by its own counts,
// which may be 3 more than it has, because the last padding may be missing; -1 when the block is too short
// for what it announces, -2 when magic or version is wrong. A rejected block leaves the map as it was.
//
// The block may be longer than its parts. It must carry the reader's time in bits 1 to 63 of clock_and_flags,
// in seconds since 1970 (put_snapshot_time). It is read in place and not needed after the call.
//
// A complete block closes the entries that it doesn't name; with remove_closed they, and those that the block
// calls closed, are erased instead. `filter` may be null. It picks among the records of the block, but has no
// say in which entries are missing from it.
//
// What no driver should send does no harm: a text index outside its pool reads as an empty text, and a
// rate_scale of 0 gives rates of 0.
std::int64_t apply_snapshot(connection_map& map, std::string_view block, bool remove_closed,
                            const connection_filter* filter);

// Puts `now` (seconds since 1970) into the block's clock, and keeps its partial bit. False, and nothing done,
// when the block is no snapshot of the known version.
bool put_snapshot_time(std::string& block, std::int64_t now);

} // namespace vfl
