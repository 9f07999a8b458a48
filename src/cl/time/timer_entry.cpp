#include "cl/time/timer_entry.hpp"

#include <utility>

namespace cl {

std::size_t timer_entries::bucket_of(const timer_handle* key) const {
    // Fibonacci hashing: the top bits of the product depend on all bits of the address.
    const std::uint64_t mixed = reinterpret_cast<std::uintptr_t>(key) * std::uint64_t{0x9E3779B97F4A7C15};
    return static_cast<std::size_t>(mixed >> 32) & (buckets_.size() - 1);
}

timer_entry* timer_entries::find(const timer_handle* key) const {
    if (buckets_.empty())
        return nullptr;
    timer_entry* e = buckets_[bucket_of(key)];
    while (e && e->key != key)
        e = e->same_bucket;
    return e;
}

void timer_entries::grow() {
    std::vector<timer_entry*> old(buckets_.empty() ? 16 : buckets_.size() * 2);
    old.swap(buckets_);
    for (timer_entry* e : old)
        while (e) {
            timer_entry*& bucket = buckets_[bucket_of(e->key)];
            timer_entry* const next = std::exchange(e->same_bucket, bucket);
            bucket = std::exchange(e, next);
        }
}

timer_entry& timer_entries::add(timer_handle* key) {
    auto fresh = std::make_unique<timer_entry>();
    fresh->key = key;
    if (indexed_ == buckets_.size())
        grow();
    timer_entry*& bucket = buckets_[bucket_of(key)];
    fresh->same_bucket = bucket;
    bucket = fresh.get();
    ++indexed_;
    (last_ ? last_->next : first_) = fresh.get();
    last_ = fresh.get();
    ++size_;
    return *fresh.release();
}

void timer_entries::bury(timer_entry& e) {
    if (std::exchange(e.state, entry_state::dead) == entry_state::dead)
        return;
    timer_entry** place = &buckets_[bucket_of(e.key)];
    while (*place != &e)
        place = &(*place)->same_bucket;
    *place = e.same_bucket;
    --indexed_;
}

timer_entry* timer_entries::unlink(timer_entry* previous, timer_entry& e) {
    (previous ? previous->next : first_) = e.next;
    if (last_ == &e)
        last_ = previous;
    --size_;
    e.next = nullptr;
    return &e;
}

} // namespace cl
