#include "connview/connection_map.hpp"

#include "cl/os/clock.hpp"

namespace vfl {

// Different in each process: the places of stack and heap differ, and the time.
connection_map::connection_map() : seed_(reinterpret_cast<std::uintptr_t>(this)) {
    for (const std::uint64_t more :
         {static_cast<std::uint64_t>(cl::os::unix_time()), std::uint64_t{cl::os::tick_count()}}) {
        seed_ = (seed_ ^ more) * 0x9E3779B97F4A7C15u;
        seed_ ^= seed_ >> 29;
    }
}

const connection_entry* connection_map::find(std::uint64_t id) const {
    const slot* s = search(id);
    return s ? &s->entry : nullptr;
}

// Two multiplications spread every bit of the id over those at the top, which choose the place.
std::size_t connection_map::home(std::uint64_t id) const {
    std::uint64_t mixed = (id ^ seed_) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 31)) * (seed_ | 1);
    return static_cast<std::size_t>(mixed >> shift_);
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

} // namespace vfl
