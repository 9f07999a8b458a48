// apply_snapshot on any sequence of blocks, beside the straightforward decoder: results and entries must
// agree after each block.
//
// Input, for each block: a byte of options, a 16-bit little-endian size, the block (the last one may be
// shorter).
#include "connview/snapshot.hpp"
#include "contracts/protocol.h"
#include "fakes/snapshot_compare.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

enum option : std::uint8_t {
    remove_closed = 1,
    conforming = 2, // has magic and version, and ids below 16, so that blocks meet each other's connections
    histories = 4,  // the connection that the size names gets a history first
    by_id = 8,
    by_protocol = 16,
    by_program = 32,
};

void make_conforming(char* block, std::size_t size) {
    if (size < sizeof(vfl_snapshot_header))
        return;
    vfl_snapshot_header header;
    std::memcpy(&header, block, sizeof header);
    header.magic = VFL_SNAPSHOT_MAGIC;
    header.version = VFL_SNAPSHOT_VERSION;
    std::memcpy(block, &header, sizeof header);
    const std::size_t records =
        std::min<std::size_t>(header.record_count, (size - sizeof header) / sizeof(vfl_connection_record));
    for (std::size_t i = 0; i < records; ++i) {
        char* const id =
            block + sizeof header + i * sizeof(vfl_connection_record) + offsetof(vfl_connection_record, id);
        id[0] = static_cast<char>(id[0] & 15);
        std::memset(id + 1, 0, 7);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vfl::connection_map map;
    fakes::naive_snapshot naive;
    while (size >= 3) {
        const std::uint8_t options = data[0];
        const unsigned named = data[1] + 256u * data[2];
        const std::size_t block_size = std::min<std::size_t>(named, size - 3);
        // An exact copy, so that a read past the end shows.
        const std::unique_ptr<char[]> block(new char[block_size]);
        std::memcpy(block.get(), data + 3, block_size);
        data += 3 + block_size;
        size -= 3 + block_size;

        if (options & conforming)
            make_conforming(block.get(), block_size);
        if (options & histories) {
            if (vfl::connection_entry* e = map.find(named % 16)) {
                e->history_1.resize(named % 3);
                naive.entries.at(e->id).history_1.resize(named % 3);
            }
        }
        vfl::connection_filter filter;
        if (options & by_id)
            filter.id = named % 16;
        if (options & by_protocol)
            filter.l7_protocol = static_cast<std::uint8_t>(named % 4);
        if (options & by_program)
            filter.program = L"ab";
        const vfl::connection_filter* const by =
            options & (by_id | by_protocol | by_program) ? &filter : nullptr;
        const bool removing = (options & remove_closed) != 0;
        const std::string_view bytes(block.get(), block_size);
        if (apply_snapshot(map, bytes, removing, by) != naive.apply(bytes, removing, by) ||
            !fakes::same_entries(map, naive))
            std::abort();
    }
    return 0;
}
