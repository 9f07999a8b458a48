// The texts of one pool of a block while the block is folded into a map, each with the copy that entries
// share.
#pragma once

#include "connview/shared_text.hpp"
#include "connview/snapshot_block.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vfl {

// What a pool costs is bounded by the records: of one that is far larger than they can use, only the texts
// that they do use are kept.
template <class Ch>
class text_pool {
public:
    struct item {
        block_text text;
        shared_text<Ch> copy{}; // empty until an entry has or needs it
    };

    // Reads the block's pool of `count` texts, which starts at `at`, for records that name texts in `fields`.
    // Returns the pool's end, or a negative result as snapshot_block::walk does.
    template <std::size_t n>
    std::int64_t read(const snapshot_block& block, std::int64_t at, std::uint32_t count,
                      std::uint32_t vfl_connection_record::*const (&fields)[n]) {
        clear();
        if (!block.may_hold(at, count))
            return snapshot_block::too_short;
        const std::uint32_t records = block.header().record_count;
        if (count / texts_per_record <= std::size_t{records} + spare_records) {
            items_.reserve(count);
            return block.walk(at, count, [this](block_text text) { items_.push_back({text}); });
        }
        sparse_ = true;
        used_.reserve(records * n);
        for (std::uint32_t i = 0; i < records; ++i) {
            const vfl_connection_record record = block.record(i);
            for (const auto field : fields)
                used_.push_back(record.*field);
        }
        std::sort(used_.begin(), used_.end());
        used_.erase(std::unique(used_.begin(), used_.end()), used_.end());
        items_.reserve(used_.size());
        std::uint32_t index = 0;
        return block.walk(at, count, [this, &index](block_text text) {
            if (items_.size() < used_.size() && used_[items_.size()] == index++)
                items_.push_back({text});
        });
    }

    // Whether a record's indexes have to go through place().
    [[nodiscard]] bool sparse() const { return sparse_; }
    // Where the text at `index` of the block's pool is kept here.
    [[nodiscard]] std::uint32_t place(std::uint32_t index) const {
        return !sparse_ ? index
                        : static_cast<std::uint32_t>(std::lower_bound(used_.begin(), used_.end(), index) -
                                                     used_.begin());
    }

    // Null outside the pool.
    item* at(std::uint32_t place) { return place < items_.size() ? &items_[place] : nullptr; }
    [[nodiscard]] const item* at(std::uint32_t place) const {
        return place < items_.size() ? &items_[place] : nullptr;
    }

    // The block goes away. The memory stays, unless a block of a size that no driver sends has swollen it.
    void clear() noexcept {
        items_.clear();
        used_.clear();
        sparse_ = false;
        if (items_.capacity() > kept_texts)
            std::vector<item>().swap(items_);
        if (used_.capacity() > kept_texts)
            std::vector<std::uint32_t>().swap(used_);
    }

private:
    // A pool is kept whole while it has no more texts than that for each record, and for a few records more.
    static constexpr std::uint32_t texts_per_record = 4, spare_records = 64;
    static constexpr std::size_t kept_texts = 1'000'000;

    std::vector<item> items_;
    std::vector<std::uint32_t> used_; // of a sparse pool: ascending
    bool sparse_ = false;
};

// What a map keeps from block to block for those that are folded into it.
struct fold_memory {
    std::uint32_t complete_blocks = 0;
    text_pool<char> narrow;
    text_pool<wchar_t> wide;
};

} // namespace vfl
