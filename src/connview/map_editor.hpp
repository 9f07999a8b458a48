// The one way to change a connection_map: apply_snapshot's, while it folds a block in.
#pragma once

#include "connview/connection_map.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vfl {

// One editor at a time. While it lives, erased entries stay in the map's order and entries whose ids come too
// low for its end wait beside it, so the map can't be iterated. The destructor ends that state and allocates
// nothing. After an exception the map holds all entries that were made before it.
class connection_map::editor {
public:
    using slot = connection_map::slot;

    explicit editor(connection_map& map) : map_(map) {}
    ~editor() {
        if (unsettled_)
            settle();
    }
    editor(const editor&) = delete;
    editor& operator=(const editor&) = delete;

    [[nodiscard]] std::size_t size() const { return map_.count_; }
    fold_memory& memory() { return map_.memory_; }

    // Null when there is no such connection. Blocks name their connections in the same order most of the
    // time: the entry that came next the last time is tried before the hash.
    slot* find(std::uint64_t id) {
        slot* s = last_ ? last_->follower : nullptr;
        if (!s || !s->live || s->entry.id != id) {
            s = map_.search(id);
            if (!s)
                return s;
            if (last_)
                last_->follower = s;
        }
        return last_ = s;
    }
    // The next find begins a walk through the block.
    void rewind() { last_ = nullptr; }

    // Makes room for that many more entries at once.
    void expect(std::size_t more);
    // Makes the entry, which isn't in the map yet, with histories as long as those of the first entry.
    slot& create(std::uint64_t id);
    void erase(slot& s);

    // Calls act(slot&) for each entry, in order; it may erase it. Before the first create.
    template <class Act>
    void each(const Act& act) {
        for (const link& l : map_.order_)
            act(*l.at);
    }

private:
    slot* find_first(); // the entry with the smallest id, null when there is none
    void settle() noexcept;
    void release(slot& s) noexcept;
    slot* free_slot();
    void grow(std::size_t links);
    void put(link l) noexcept;
    void remove(std::uint64_t id) noexcept;

    connection_map& map_;
    slot* last_ = nullptr;       // found or made last
    std::vector<link> late_;     // a heap, smallest id on top
    std::size_t dead_front_ = 0; // erased slots at the start of the order that find_first() has passed
    slot* first_ = nullptr;      // what find_first() finds, if it is known
    bool unsettled_ = false;
};

} // namespace vfl
