// Compares a connection_map with the straightforward decoder's entries.
#pragma once

#include "fakes/naive_snapshot.hpp"

#include <cmath>

namespace fakes {

// Whether both hold the same entries in the same order. NaN equals NaN.
inline bool same_entries(const vfl::connection_map& map, const naive_snapshot& naive) {
    auto it = naive.entries.begin();
    for (vfl::connection_entry e : map) {
        if (it == naive.entries.end())
            return false;
        vfl::connection_entry f = it++->second;
        for (float vfl::connection_entry::*percent :
             {&vfl::connection_entry::rx_percent, &vfl::connection_entry::tx_percent})
            if (std::isnan(e.*percent) && std::isnan(f.*percent))
                e.*percent = f.*percent = 0;
        if (!(e == f))
            return false;
    }
    return it == naive.entries.end() && map.size() == naive.entries.size();
}

} // namespace fakes
