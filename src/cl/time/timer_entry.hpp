// The entries of a timer, in the order of their arming, and an index of them by key. Not thread-safe: the
// timer's lock guards all of it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace cl {

class base_timer;

// A member of a timer's user: null while nothing is armed, otherwise the timer on which the user's entry
// lives. Its address is the entry's key, so an object with two handles has two independent timers. The engine
// writes it; users test it for null and pass its address.
using timer_handle = std::atomic<base_timer*>;

enum class entry_state : std::uint32_t {
    periodic = 0,       // fires every `interval`, keeping the phase: missed firings are caught up
    once = 1,           // fires once
    periodic_fixed = 2, // fires a full `interval` after each firing: no catching up
    finishing = 3,      // a `once` entry in its callback, or a running entry that was stopped: fires no more
    dead = 4,           // to be removed by the next sweep
};

struct timer_entry {
    std::uint32_t total_ms = 0; // time spent in the callback since the arming
    std::uint32_t calls = 0;    // calls of the callback since the arming
    timer_handle* key = nullptr;
    std::uint64_t interval = 0; // ms; for an event-driven entry the address of its event_base
    std::int32_t remaining = 0; // ms from the timer's last pass to the next firing; due at 0 and below
    std::function<void()> callback;
    std::uint64_t running_thread = 0; // id of the thread in the callback, or 0
    entry_state state = entry_state::periodic;
    bool event_driven = false;

    timer_entry* next_due = nullptr; // in the due list of the sweep under way
    timer_entry* next = nullptr;     // in the order of arming, or among removed entries
    timer_entry* same_bucket = nullptr;
};

// A chain of entries through `next`; destroys them.
struct timer_entry_deleter {
    void operator()(timer_entry* first) const {
        while (first)
            delete std::exchange(first, first->next);
    }
};
using timer_entry_chain = std::unique_ptr<timer_entry, timer_entry_deleter>;

class timer_entries {
public:
    timer_entries() = default;
    ~timer_entries() { timer_entry_chain(first_).reset(); }
    timer_entries(const timer_entries&) = delete;
    timer_entries& operator=(const timer_entries&) = delete;

    std::size_t size() const { return size_; }
    timer_entry* first() const { return first_; }

    // The entry of the key that isn't dead, or null. There is never more than one.
    timer_entry* find(const timer_handle* key) const;
    // Adds an entry at the end. The key must have none but dead ones.
    timer_entry& add(timer_handle* key);
    // Makes an entry dead. It stays in the list, and find doesn't see it any more.
    void bury(timer_entry& e);
    // Takes an entry that is dead out of the list; `previous` stands before it, null for the first. The
    // caller owns it then.
    timer_entry* unlink(timer_entry* previous, timer_entry& e);

private:
    std::size_t bucket_of(const timer_handle* key) const;
    void grow();

    timer_entry* first_ = nullptr;
    timer_entry* last_ = nullptr;
    std::size_t size_ = 0;
    std::size_t indexed_ = 0;           // entries that are not dead
    std::vector<timer_entry*> buckets_; // a power of two of them, chained through same_bucket; empty at first
};

} // namespace cl
