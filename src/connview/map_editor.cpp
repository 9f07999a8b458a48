#include "connview/map_editor.hpp"

#include <algorithm>
#include <bit>

namespace vfl {

namespace {

constexpr std::size_t chunk_slots = 64; // slots to an allocation
constexpr std::size_t first_links = 64;

constexpr auto by_id = [](const auto& a, const auto& b) { return a.id < b.id; };
constexpr auto heap_order = [](const auto& a, const auto& b) { return a.id > b.id; };

template <class T>
void enlarge(std::vector<T>& v, std::size_t more) {
    v.reserve(std::max({v.capacity() * 2, v.size() + more, first_links}));
}

template <class T>
inline void make_room(std::vector<T>& v, std::size_t more) {
    if (v.capacity() - v.size() < more)
        enlarge(v, more);
}

} // namespace

void connection_map::editor::expect(std::size_t more) {
    make_room(map_.order_, late_.size() + more);
    const std::size_t links = std::bit_ceil((map_.count_ + more) * 2);
    if (links > map_.table_.size())
        grow(std::max(links, first_links));
}

connection_map::slot& connection_map::editor::create(std::uint64_t id) {
    auto& order = map_.order_;
    // Everything that may fail comes first. The order gets room for the late ones as well: settle() can't ask
    // for it.
    if ((map_.count_ + 1) * 2 > map_.table_.size())
        grow(std::max(map_.table_.size() * 2, first_links));
    make_room(order, late_.size() + 1);
    const bool late = !order.empty() && order.back().id >= id;
    if (late)
        make_room(late_, 1);
    if (!first_)
        first_ = find_first(); // may free a slot
    slot& s = *free_slot();
    const bool is_first = !first_ || id < first_->entry.id;
    if (!is_first && !first_->entry.history_1.empty()) {
        std::vector<float> history_1(first_->entry.history_1.size(), -1.0f), history_2(history_1);
        s.entry.history_1.swap(history_1);
        s.entry.history_2.swap(history_2);
    }

    map_.free_ = s.next_free;
    s.live = true;
    s.entry.id = id;
    if (late) {
        late_.push_back({id, &s});
        std::push_heap(late_.begin(), late_.end(), heap_order);
        unsettled_ = true;
    } else {
        order.push_back({id, &s});
    }
    put({id, &s});
    ++map_.count_;
    if (is_first)
        first_ = &s;
    if (last_)
        last_->follower = &s;
    return *(last_ = &s);
}

void connection_map::editor::erase(slot& s) {
    remove(s.entry.id);
    s.live = false;
    unsettled_ = true;
    --map_.count_;
    if (first_ == &s)
        first_ = nullptr;
}

connection_map::slot* connection_map::editor::find_first() {
    const auto& order = map_.order_;
    while (dead_front_ < order.size() && !order[dead_front_].at->live)
        ++dead_front_;
    while (!late_.empty() && !late_.front().at->live) {
        release(*late_.front().at);
        std::pop_heap(late_.begin(), late_.end(), heap_order);
        late_.pop_back();
    }
    if (dead_front_ == order.size())
        return late_.empty() ? nullptr : late_.front().at;
    const link& front = order[dead_front_];
    return late_.empty() || front.id < late_.front().id ? front.at : late_.front().at;
}

void connection_map::editor::settle() noexcept {
    const auto dead = [this](const link& l) {
        if (l.at->live)
            return false;
        release(*l.at);
        return true;
    };
    auto& order = map_.order_;
    std::erase_if(order, dead);
    std::erase_if(late_, dead);
    std::sort(late_.begin(), late_.end(), by_id);
    // Merged from the back, in the room that create() has made.
    std::size_t old = order.size(), late = late_.size();
    order.resize(old + late);
    for (std::size_t to = order.size(); late > 0;)
        order[--to] = old > 0 && order[old - 1].id > late_[late - 1].id ? order[--old] : late_[--late];
}

// A slot without a user. What it held goes at once, so that the free ones need no preparation.
void connection_map::editor::release(slot& s) noexcept {
    s.entry = {};
    s.follower = nullptr;
    s.seen = 0;
    s.next_free = map_.free_;
    map_.free_ = &s;
}

// Stays on the list of the free ones.
connection_map::slot* connection_map::editor::free_slot() {
    if (!map_.free_) {
        slot* const chunk = map_.chunks_.emplace_back(std::make_unique<slot[]>(chunk_slots)).get();
        for (std::size_t i = chunk_slots; i-- > 0;) {
            chunk[i].next_free = map_.free_;
            map_.free_ = chunk + i;
        }
    }
    return map_.free_;
}

void connection_map::editor::grow(std::size_t links) {
    std::vector<link> old(links);
    map_.shift_ = static_cast<unsigned>(std::countl_zero(links)) + 1;
    old.swap(map_.table_);
    for (const link& l : old)
        if (l.at)
            put(l);
}

void connection_map::editor::put(link l) noexcept {
    const std::size_t mask = map_.table_.size() - 1;
    std::size_t i = map_.home(l.id);
    while (map_.table_[i].at)
        i = (i + 1) & mask;
    map_.table_[i] = l;
}

// Closes the gap with later links that may stand there, so that no search ends too early.
void connection_map::editor::remove(std::uint64_t id) noexcept {
    auto& table = map_.table_;
    const std::size_t mask = table.size() - 1;
    std::size_t gap = map_.home(id);
    while (table[gap].id != id || !table[gap].at)
        gap = (gap + 1) & mask;
    for (std::size_t i = (gap + 1) & mask; table[i].at; i = (i + 1) & mask) {
        if (((i - map_.home(table[i].id)) & mask) >= ((i - gap) & mask)) {
            table[gap] = table[i];
            gap = i;
        }
    }
    table[gap] = {};
}

} // namespace vfl
