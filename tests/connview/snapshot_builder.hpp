// Builds connection snapshots as a driver would, and broken ones.
#pragma once

#include "contracts/protocol.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

struct snapshot_builder {
    // A complete block at 1000 s of the reader's clock, with a rate_scale that leaves rates as they are. Its
    // counts are added to those of what is in the block.
    vfl_snapshot_header header{
        VFL_SNAPSHOT_MAGIC, VFL_SNAPSHOT_VERSION, 0, 0, 1u << 20, 0, 0, 0, 0, 1000, 1000, 2000};
    std::vector<vfl_connection_record> records;

    // Both return the text's index in its pool. wide() takes one UTF-16 unit from each wchar_t.
    std::uint32_t narrow(std::string_view text) { return add_text(narrow_pool, narrow_count, text); }
    std::uint32_t wide(std::wstring_view text) {
        std::string bytes;
        for (const wchar_t c : text)
            bytes.append({static_cast<char>(c & 0xFF), static_cast<char>(c >> 8 & 0xFF)});
        return add_text(wide_pool, wide_count, bytes);
    }

    // A record with all numbers 0 but the id, and the texts 0 of the pools. Valid until the next call.
    vfl_connection_record& add(std::uint64_t id, bool closed = false) {
        vfl_connection_record& r = records.emplace_back();
        std::memset(&r, 0, sizeof r);
        r.id = id;
        r.state = closed ? VFL_STATE_CLOSED : 0;
        return r;
    }

    [[nodiscard]] std::string build() const {
        vfl_snapshot_header h = header;
        h.record_count += static_cast<std::uint32_t>(records.size());
        h.narrow_count += narrow_count;
        h.wide_count += wide_count;
        std::string block(reinterpret_cast<const char*>(&h), sizeof h);
        if (!records.empty())
            block.append(reinterpret_cast<const char*>(records.data()), records.size() * sizeof records[0]);
        return block + narrow_pool + wide_pool;
    }

    std::string narrow_pool, wide_pool;
    std::uint32_t narrow_count = 0, wide_count = 0;

private:
    static std::uint32_t add_text(std::string& pool, std::uint32_t& count, std::string_view bytes) {
        const auto length = static_cast<std::uint32_t>(bytes.size());
        pool.append(reinterpret_cast<const char*>(&length), sizeof length).append(bytes);
        pool.append((4 - length % 4) % 4, '\xEE');
        return count++;
    }
};

} // namespace fakes
