// Compares a connection_map with the straightforward decoder's entries.
#pragma once

#include "fakes/naive_snapshot.hpp"

#include <algorithm>

namespace fakes {

// Whether both hold the same entries in the same order, and the map finds each of them.
inline bool same_entries(const vfl::connection_map& map, const naive_snapshot& naive) {
    return map.size() == naive.entries.size() &&
           std::equal(map.begin(), map.end(), naive.entries.begin(), naive.entries.end(),
                      [&](const vfl::connection_entry& a, const auto& b) {
                          return a.id == b.first && same_entry(a, b.second) && map.find(a.id) == &a;
                      });
}

} // namespace fakes
