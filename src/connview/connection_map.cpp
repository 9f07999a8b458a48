#include "connview/connection_map.hpp"

#include <algorithm>

namespace vfl {

namespace {

constexpr auto by_id = [](const auto& a, const auto& b) { return a.id < b.id; };
constexpr auto heap_order = [](const auto& a, const auto& b) { return a.id > b.id; };

} // namespace

connection_entry* connection_map::find(std::uint64_t id) {
    slot* s = search(id);
    return s ? &s->entry : nullptr;
}

const connection_entry* connection_map::find(std::uint64_t id) const {
    const slot* s = search(id);
    return s ? &s->entry : nullptr;
}

connection_map::slot& connection_map::create(std::uint64_t id) {
    slot& s = take_slot();
    s.live = true;
    s.entry.id = id;
    if (order_.empty() || order_.back().id < id) {
        order_.push_back({id, &s});
    } else {
        late_.push_back({id, &s});
        std::push_heap(late_.begin(), late_.end(), heap_order);
        unsettled_ = true;
    }
    put({id, &s});
    ++count_;
    return s;
}

void connection_map::erase(slot& s) {
    remove(s.entry.id);
    s.live = false;
    unsettled_ = true;
    --count_;
}

connection_map::slot* connection_map::first() {
    while (dead_front_ < order_.size() && !order_[dead_front_].at->live)
        ++dead_front_;
    while (!late_.empty() && !late_.front().at->live) {
        free_.push_back(late_.front().at);
        std::pop_heap(late_.begin(), late_.end(), heap_order);
        late_.pop_back();
    }
    if (dead_front_ == order_.size())
        return late_.empty() ? nullptr : late_.front().at;
    const link& front = order_[dead_front_];
    return late_.empty() || front.id < late_.front().id ? front.at : late_.front().at;
}

void connection_map::settle() {
    if (!unsettled_)
        return;
    std::erase_if(order_, [this](const link& l) {
        if (!l.at->live)
            free_.push_back(l.at);
        return !l.at->live;
    });
    std::erase_if(late_, [this](const link& l) {
        if (!l.at->live)
            free_.push_back(l.at);
        return !l.at->live;
    });
    std::sort(late_.begin(), late_.end(), by_id);
    const auto middle = static_cast<std::ptrdiff_t>(order_.size());
    order_.insert(order_.end(), late_.begin(), late_.end());
    std::inplace_merge(order_.begin(), order_.begin() + middle, order_.end(), by_id);
    late_.clear();
    dead_front_ = 0;
    unsettled_ = false;
}

std::size_t connection_map::home(std::uint64_t id) const {
    // 2^64 divided by the golden ratio: neighbouring ids land far apart.
    return static_cast<std::size_t>((id * 0x9E3779B97F4A7C15u) >> shift_);
}

connection_map::slot* connection_map::search(std::uint64_t id) const {
    if (table_.empty())
        return nullptr;
    const std::size_t mask = table_.size() - 1;
    for (std::size_t i = home(id);; i = (i + 1) & mask) {
        const link& l = table_[i];
        if (!l.at || l.id == id)
            return l.at;
    }
}

void connection_map::put(link l) {
    if ((count_ + 1) * 2 > table_.size())
        grow();
    const std::size_t mask = table_.size() - 1;
    std::size_t i = home(l.id);
    while (table_[i].at)
        i = (i + 1) & mask;
    table_[i] = l;
}

void connection_map::grow() {
    std::vector<link> old(table_.empty() ? 64 : table_.size() * 2);
    old.swap(table_);
    shift_ = old.empty() ? 58 : shift_ - 1;
    const std::size_t mask = table_.size() - 1;
    for (const link& l : old) {
        if (!l.at)
            continue;
        std::size_t i = home(l.id);
        while (table_[i].at)
            i = (i + 1) & mask;
        table_[i] = l;
    }
}

// Closes the gap with the links behind it that may stand there, so that no search ends too early.
void connection_map::remove(std::uint64_t id) {
    const std::size_t mask = table_.size() - 1;
    std::size_t gap = home(id);
    while (table_[gap].id != id || !table_[gap].at)
        gap = (gap + 1) & mask;
    for (std::size_t i = (gap + 1) & mask; table_[i].at; i = (i + 1) & mask) {
        if (((i - home(table_[i].id)) & mask) >= ((i - gap) & mask)) {
            table_[gap] = table_[i];
            gap = i;
        }
    }
    table_[gap] = {};
}

connection_map::slot& connection_map::take_slot() {
    if (!free_.empty()) {
        slot* s = free_.back();
        free_.pop_back();
        *s = {};
        return *s;
    }
    if (fresh_ == 0) {
        chunks_.push_back(std::make_unique<slot[]>(chunk_slots));
        fresh_ = chunk_slots;
    }
    return chunks_.back()[chunk_slots - fresh_--];
}

} // namespace vfl
