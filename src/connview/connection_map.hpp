// The connections that the driver has reported, in ascending order of their ids, as apply_snapshot keeps them
// up to date. One thread at a time, copies of its entries included: they share texts with the map.
#pragma once

#include "connview/connection_entry.hpp"
#include "connview/text_pool.hpp"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

namespace vfl {

// Owns the entries. An entry stays at its address until it is erased. Readers get constant entries; changes
// go through an editor.
class connection_map {
    // An entry and what the map needs to know of it.
    struct slot {
        connection_entry entry;
        slot* next_free = nullptr;
        slot* follower = nullptr; // the entry that an earlier block named after this one; may be dead
        std::uint32_t seen = 0;   // the complete block that named it last
        bool live = false;
    };
    // An id and its slot, side by side, so that ordering and searching don't touch the entries.
    struct link {
        std::uint64_t id = 0;
        slot* at = nullptr;
    };

public:
    class editor; // connview/map_editor.hpp

    class const_iterator {
    public:
        using value_type = connection_entry;
        using difference_type = std::ptrdiff_t;
        using reference = const connection_entry&;
        using pointer = const connection_entry*;
        using iterator_category = std::forward_iterator_tag;

        const_iterator() = default;
        explicit const_iterator(const link* at) : at_(at) {}
        reference operator*() const { return at_->at->entry; }
        pointer operator->() const { return &at_->at->entry; }
        const_iterator& operator++() { return ++at_, *this; }
        const_iterator operator++(int) { return const_iterator(at_++); }
        bool operator==(const const_iterator&) const = default;

    private:
        const link* at_ = nullptr;
    };
    using iterator = const_iterator;

    connection_map();
    connection_map(const connection_map&) = delete;
    connection_map& operator=(const connection_map&) = delete;

    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }

    // Ascending by id. apply_snapshot invalidates iterators.
    [[nodiscard]] const_iterator begin() const { return const_iterator(order_.data()); }
    [[nodiscard]] const_iterator end() const { return const_iterator(order_.data() + order_.size()); }

    // Null when there is no such connection.
    [[nodiscard]] const connection_entry* find(std::uint64_t id) const;

private:
    [[nodiscard]] slot* search(std::uint64_t id) const;
    [[nodiscard]] std::size_t home(std::uint64_t id) const;

    std::size_t count_ = 0;
    std::vector<link> order_; // ascending by id

    std::vector<link> table_; // open addressing with linear probing, a power of two, at most half full
    unsigned shift_ = 64;     // 64 less the table's bits
    std::uint64_t seed_;      // of the hash, so that no driver knows which ids collide

    std::vector<std::unique_ptr<slot[]>> chunks_;
    slot* free_ = nullptr;

    fold_memory memory_;
};

} // namespace vfl
