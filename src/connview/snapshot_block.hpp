// A driver's connection snapshot (contracts/protocol.h) as it lies in memory. Every count and length is
// checked before it is used; nothing is copied but the numbers that are asked for.
#pragma once

#include "contracts/protocol.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vfl {

// The block's integers are copied out as they stand.
static_assert(std::endian::native == std::endian::little);

// A text of a pool. Valid as long as the block.
class block_text {
public:
    explicit block_text(const std::uint8_t* at) : at_(at) {}

    [[nodiscard]] std::uint32_t bytes() const { return load<std::uint32_t>(at_); }
    [[nodiscard]] std::string_view narrow() const {
        return {reinterpret_cast<const char*>(at_ + 4), bytes()};
    }
    // In UTF-16: the number of units, and the one at i.
    [[nodiscard]] std::size_t units() const { return bytes() / 2; }
    [[nodiscard]] std::uint16_t unit(std::size_t i) const { return load<std::uint16_t>(at_ + 4 + i * 2); }

    template <class T>
    static T load(const std::uint8_t* p) {
        T value;
        std::memcpy(&value, p, sizeof value);
        return value;
    }

private:
    const std::uint8_t* at_; // the length; the bytes follow it
};

class snapshot_block {
public:
    static constexpr int too_short = -1; // for what it announces
    static constexpr int unknown = -2;   // another magic or version

    explicit snapshot_block(std::string_view bytes)
        : bytes_(reinterpret_cast<const std::uint8_t*>(bytes.data())),
          size_(static_cast<std::int64_t>(bytes.size())) {
        if (bytes.size() < sizeof header_)
            return;
        header_ = block_text::load<vfl_snapshot_header>(bytes_);
        if (header_.magic != VFL_SNAPSHOT_MAGIC || header_.version != VFL_SNAPSHOT_VERSION)
            fault_ = unknown;
        else if (size_ >= pools())
            fault_ = 0;
    }

    // 0 when header and records lie in the block, else too_short or unknown. Without them only size() may be
    // asked.
    [[nodiscard]] int fault() const { return fault_; }

    [[nodiscard]] const vfl_snapshot_header& header() const { return header_; }
    [[nodiscard]] bool partial() const { return (header_.clock_and_flags & VFL_SNAPSHOT_PARTIAL) != 0; }

    // i is below record_count.
    [[nodiscard]] vfl_connection_record record(std::uint32_t i) const {
        return block_text::load<vfl_connection_record>(record_at(i));
    }
    [[nodiscard]] std::uint64_t id(std::uint32_t i) const {
        return block_text::load<std::uint64_t>(record_at(i) + offsetof(vfl_connection_record, id));
    }

    // Where the narrow pool starts: after the records.
    [[nodiscard]] std::int64_t pools() const {
        return std::int64_t{sizeof header_} +
               static_cast<std::int64_t>(header_.record_count) * std::int64_t{sizeof(vfl_connection_record)};
    }

    // Calls keep(block_text) for each of the `count` texts of the pool that starts at `at`. Returns the end
    // of the pool with the padding of its last text, which may be missing from the block, or too_short when a
    // text doesn't lie in the block; some have been kept then.
    template <class Keep>
    std::int64_t walk(std::int64_t at, std::uint32_t count, Keep&& keep) const {
        if (!may_hold(at, count))
            return too_short;
        for (; count > 0; --count) {
            if (size_ - at < 4)
                return too_short;
            const block_text text(bytes_ + at);
            const std::int64_t length = text.bytes();
            if (size_ - at - 4 < length)
                return too_short;
            keep(text);
            at += 4 + (length + 3) / 4 * 4;
        }
        return at;
    }

    // False when `count` texts can't lie there. Asked before memory is taken for them.
    [[nodiscard]] bool may_hold(std::int64_t at, std::uint32_t count) const {
        return count == 0 || (size_ - at) / 4 >= count;
    }

    // The bytes that the block's parts take up by its own counts, at most 3 more than it has; negative:
    // too_short or unknown. Walks the pools.
    [[nodiscard]] std::int64_t size() const {
        const auto skip = [](block_text) {};
        const std::int64_t wide = fault_ ? fault_ : walk(pools(), header_.narrow_count, skip);
        return wide < 0 ? wide : walk(wide, header_.wide_count, skip);
    }

private:
    [[nodiscard]] const std::uint8_t* record_at(std::uint32_t i) const {
        return bytes_ + sizeof header_ + std::size_t{i} * sizeof(vfl_connection_record);
    }

    const std::uint8_t* bytes_;
    std::int64_t size_;
    vfl_snapshot_header header_{};
    int fault_ = too_short;
};

} // namespace vfl
