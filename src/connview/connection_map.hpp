// The connections that the driver has reported, in ascending order of their ids, as apply_snapshot keeps them
// up to date. One thread at a time.
#pragma once

#include "connview/shared_text.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

namespace vfl {

// One connection. Addresses, ports, is_tcp, id, started and the histories are set when the entry is made; all
// other fields follow every block that names the connection.
struct connection_entry {
    std::array<std::uint8_t, 16> remote_address{}; // IPv6, network order; IPv4 as mapped address
    std::array<std::uint8_t, 16> local_address{};  // the same
    std::uint16_t remote_port = 0;
    std::uint16_t local_port = 0;
    std::uint8_t l7_protocol = 0; // 0 to 127, the driver's own numbers
    bool closed = false;
    bool is_tcp = false; // else UDP
    std::uint64_t id = 0;
    std::uint64_t tx_bytes = 0; // volumes
    std::uint64_t rx_bytes = 0;
    std::uint64_t tx_cps = 0; // rates; 0 when closed
    std::uint64_t rx_cps = 0;
    float rx_percent = 0; // rate in percent of the line rate, infinite or NaN when that is 0; -1 when closed
    float tx_percent = 0;
    std::int64_t started = 0; // seconds since 1970
    std::uint64_t rx_line_rate = 0;
    std::uint64_t tx_line_rate = 0;
    std::uint32_t rtt = 0;            // thousandths of the unit that is shown
    std::uint32_t header_word = 0;    // of the last block that named the connection
    shared_text<wchar_t> program;     // that owns the connection
    shared_text<char> data;           // free text; bytes of the ANSI code page
    shared_text<wchar_t> class_now;   // traffic class
    shared_text<wchar_t> class_other; // a second class text
    shared_text<char> hostname;       // of the remote host; bytes of the ANSI code page
    std::vector<float> history_1;     // padded with -1 to the length that the first entry's history_1 has
    std::vector<float> history_2;

    bool operator==(const connection_entry&) const = default;
};

// Owns the entries. An entry stays at its address until it is erased.
class connection_map {
    // An entry and what the map needs to know of it.
    struct slot {
        connection_entry entry;
        std::uint32_t seen = 0; // the complete block that named it last
        bool live = false;
    };
    // An id and its slot, side by side, so that ordering and searching don't touch the entries.
    struct link {
        std::uint64_t id = 0;
        slot* at = nullptr;
    };

    // A text of the block that is being read, and the copy of it that entries share, once there is one.
    template <class Ch>
    struct pool_text {
        const std::uint8_t* at; // its length, and its bytes behind that
        shared_text<Ch> copy;
    };

    template <class Entry>
    class walker {
    public:
        using value_type = connection_entry;
        using difference_type = std::ptrdiff_t;
        using reference = Entry&;
        using pointer = Entry*;
        using iterator_category = std::forward_iterator_tag;

        walker() = default;
        explicit walker(const link* at) : at_(at) {}
        reference operator*() const { return at_->at->entry; }
        pointer operator->() const { return &at_->at->entry; }
        walker& operator++() { return ++at_, *this; }
        walker operator++(int) { return walker(at_++); }
        bool operator==(const walker&) const = default;

    private:
        const link* at_ = nullptr;
    };

public:
    using iterator = walker<connection_entry>;
    using const_iterator = walker<const connection_entry>;

    connection_map() = default;
    connection_map(const connection_map&) = delete;
    connection_map& operator=(const connection_map&) = delete;

    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }

    // Ascending by id. apply_snapshot invalidates iterators.
    iterator begin() { return iterator(order_.data()); }
    iterator end() { return iterator(order_.data() + order_.size()); }
    [[nodiscard]] const_iterator begin() const { return const_iterator(order_.data()); }
    [[nodiscard]] const_iterator end() const { return const_iterator(order_.data() + order_.size()); }

    // Null when there is no such connection.
    connection_entry* find(std::uint64_t id);
    [[nodiscard]] const connection_entry* find(std::uint64_t id) const;

private:
    friend class snapshot_reader;

    // While a block is folded in, erased slots stay in order_, and entries whose ids come too low for its end
    // wait in late_; settle() ends that state.
    slot& create(std::uint64_t id);
    void erase(slot& s);
    slot* first(); // the live entry with the smallest id, null when there is none
    void settle();

    slot* search(std::uint64_t id) const;
    [[nodiscard]] std::size_t home(std::uint64_t id) const;
    void put(link l);
    void remove(std::uint64_t id);
    void grow();
    slot& take_slot();

    static constexpr std::size_t chunk_slots = 64; // slots to an allocation

    std::size_t count_ = 0;
    std::vector<link> order_;
    std::vector<link> late_;     // a heap, smallest id on top
    std::size_t dead_front_ = 0; // erased slots at the start of order_ that first() has passed
    bool unsettled_ = false;

    std::vector<link> table_; // open addressing with linear probing, a power of two, at most half full
    unsigned shift_ = 64;     // 64 less the table's bits

    std::vector<std::unique_ptr<slot[]>> chunks_;
    std::size_t fresh_ = 0; // slots of the last chunk that were never used
    std::vector<slot*> free_;

    // What snapshot_reader keeps from block to block: the number of complete blocks, and the memory of its
    // pools.
    std::uint32_t blocks_ = 0;
    std::vector<pool_text<char>> narrow_pool_;
    std::vector<pool_text<wchar_t>> wide_pool_;
};

} // namespace vfl
