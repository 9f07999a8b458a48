// Finds the first element of each name in a list, as a walk from its front does, but at once. Names compare
// as in compare_ci. A short list is walked, and so is any for the empty name; the table of a longer one is
// made by the first search and kept up to date from then on.
//
// It belongs to one list, which it is given with each call, and takes no part in a copy or a move of what
// holds the two. An allocation that fails leaves list and table as they were.
#pragma once

#include "cl/ini/ini_text.hpp"

#include <iterator>
#include <list>
#include <string_view>
#include <unordered_set>

namespace cl {

// `name_of(element)` gives the name, a view that stays valid as long as the element keeps it.
template <class Element, std::wstring_view (*name_of)(const Element&)>
class first_of_name {
public:
    using list = std::list<Element>;
    using position = typename list::const_iterator;

    first_of_name() = default;
    first_of_name(const first_of_name& /*other*/) noexcept {}
    first_of_name& operator=(const first_of_name& /*other*/) noexcept {
        clear();
        return *this;
    }
    ~first_of_name() = default;

    // To be called when the list changes in any other way than by add and remove.
    void clear() noexcept {
        table_.clear();
        named_ = 0;
    }

    // The end of the list if there is none.
    position find(const list& all, std::wstring_view name) const {
        if (all.size() <= longest_walk || name.empty())
            return find_from(all, all.begin(), name);
        if (named_ == 0)
            build(all);
        const auto found = table_.find(name);
        return found == table_.end() ? all.end() : *found;
    }

    // The next one of that name after `at`, by a walk.
    static position find_next(const list& all, position at) {
        return find_from(all, std::next(at), name_of(*at));
    }

    // Moves the element of `one` into the list, after all others of its name.
    void add(list& all, position before, list& one) {
        if (named_ != 0 && !name_of(one.front()).empty()) {
            table_.insert(one.cbegin());
            ++named_;
        }
        all.splice(before, one);
    }

    void remove(list& all, position at) {
        if (const auto found = named_ ? table_.find(name_of(*at)) : table_.end(); found != table_.end()) {
            // Only repeats make a search for the next one worth while.
            const bool repeats = table_.size() < named_;
            --named_;
            if (*found == at) {
                auto node = table_.extract(found);
                node.value() = repeats ? find_next(all, at) : all.cend();
                if (node.value() != all.cend())
                    table_.insert(std::move(node));
            }
        }
        all.erase(at);
    }

private:
    static constexpr std::size_t longest_walk = 16;

    struct hash : hash_ci {
        using is_transparent = void;
        using hash_ci::operator();
        std::size_t operator()(position at) const { return (*this)(name_of(*at)); }
    };
    struct equal {
        using is_transparent = void;
        bool operator()(position a, position b) const { return equal_ci(name_of(*a), name_of(*b)); }
        bool operator()(position a, std::wstring_view b) const { return equal_ci(name_of(*a), b); }
        bool operator()(std::wstring_view a, position b) const { return equal_ci(a, name_of(*b)); }
    };

    static position find_from(const list& all, position at, std::wstring_view name) {
        while (at != all.end() && !equal_ci(name_of(*at), name))
            ++at;
        return at;
    }

    void build(const list& all) const {
        std::unordered_set<position, hash, equal> table;
        table.reserve(all.size());
        std::size_t named = 0;
        for (position at = all.begin(); at != all.end(); ++at) {
            if (name_of(*at).empty())
                continue;
            table.insert(at); // does nothing for a name that is there
            ++named;
        }
        table_ = std::move(table);
        named_ = named;
    }

    mutable std::unordered_set<position, hash, equal> table_;
    mutable std::size_t named_ = 0; // elements with a name, repeats included; 0 while there is no table
};

} // namespace cl
