// What the settings cache holds in memory, and its merge, beside the naive ones: any text at the load, any
// text at each flush, any edits between, with names that collide, repeat and differ in case only. Both show
// and write the same, and a flush that fails or an edit that runs out of memory changes nothing.
#pragma once

#include "choices.hpp"
#include "cl/ini/ini_merge.hpp"
#include "cl/ini/naive_cache.hpp"
#include "fakes/fake_heap.hpp"

#include <new>

namespace ini_round_parts {

using naive::string, naive::text;

inline string any_section(choices& c) {
    return c.pick<const wchar_t*>({L"a", L"A", L" a\t", L"b", L"bb", L"", L"c x", L"B"});
}
inline string any_key(choices& c) {
    if (c.once_in(3)) // enough of them for a table
        return L"k" + std::to_wstring(c.below(40));
    return c.pick<const wchar_t*>({L"k", L"K", L" k", L"l", L"m", L"", L"k\tk", L"k k", L"n", L";c"});
}
inline string any_value(choices& c) {
    return c.pick<const wchar_t*>({L"", L"1", L"2", L" 3 ", L"v=w", L"4;", L"[5]", L"6\t6", L"7"});
}
inline string any_line(choices& c) {
    switch (c.below(8)) {
    case 0:
        return c.pick<const wchar_t*>(
            {L"", L"  ", L"; comment ", L"\t;k=1", L"other ", L"=5", L" \t=6", L"[]"});
    case 1:
        return L"[" + any_section(c) + c.pick<const wchar_t*>({L"]", L"] tail", L"", L"]k=1"});
    case 2:
        return L" " + any_key(c) + L" = " + any_value(c) + L" ";
    default:
        return any_key(c) + L"=" + any_value(c);
    }
}
inline text any_lines(choices& c, std::size_t most) {
    text lines(c.below(most + 1));
    for (string& line : lines)
        line = any_line(c);
    return lines;
}

inline cl::next_line reader(const text& lines) {
    return [lines, i = std::size_t{0}](string& line) mutable {
        if (i == lines.size())
            return false;
        line = lines[i++];
        return true;
    };
}

// All that the lookups show, as one text.
template <class Ini>
string shown(Ini& ini) {
    string all;
    const auto add = [&all](bool found, const text& lines) {
        all += found ? L"|" : L"!";
        for (const string& line : lines)
            all += line + L"\n";
    };
    text names{L"untouched"};
    ini.names(names);
    add(true, names);
    for (const wchar_t* const section : {L"a", L" B", L"bb", L"", L"c x", L"zz"}) {
        add(ini.exists(section), {});
        for (unsigned flags = 0; flags < 4; ++flags) {
            text lines{L"untouched"};
            add(ini.lines(section, lines, flags), lines);
        }
        std::vector<std::pair<string, string>> pairs;
        add(ini.pairs(section, pairs), {});
        for (const auto& [key, value] : pairs)
            add(true, {key, value});
        for (const wchar_t* const key : {L"k ", L"L", L"", L"k k", L"k\tk", L"K7", L"k31"}) {
            string value = L"untouched";
            add(ini.value(section, key, value), {value});
        }
    }
    return all;
}

template <class Ini>
void edit(Ini& ini, unsigned what, const string& section, const string& key, const string& value,
          const text& lines) {
    if (what < 5)
        ini.write_value(section, key, value);
    else if (what < 8)
        ini.delete_value(section, key);
    else if (what < 9)
        ini.write_section(section, lines);
    else
        ini.delete_section(section);
}

} // namespace ini_round_parts

inline void ini_round(choices& c) {
    using namespace ini_round_parts;
    cl::ini_sections real;
    naive::cache expected;
    text file = any_lines(c, c.once_in(4) ? 60 : 12);
    const bool mark = c.once_in(2);
    real.load(reader(file));
    expected.load(file);
    for (int step = 0; step < 30 && !c.spent(); ++step) {
        const unsigned what = c.below(14U);
        const string section = any_section(c), key = any_key(c), value = any_value(c);
        const text lines = what == 8 ? any_lines(c, 4) : text();
        if (what < 10) {
            // In some steps each of its allocations fails in turn.
            const string before = c.once_in(4) ? shown(real) : string();
            for (long n = before.empty() ? -1 : 0;; ++n) {
                fakes::fail_allocation_after(n);
                try {
                    edit(real, what, section, key, value, lines);
                    break;
                } catch (const std::bad_alloc&) {
                    ASSERT_EQ(shown(real), before);
                }
            }
            fakes::fail_allocation_after(-1);
            edit(expected, what, section, key, value, lines);
        } else if (what < 12) {
            if (c.once_in(2)) // a foreign change, which the merge lets stand
                for (const string& line : any_lines(c, 4))
                    file.insert(file.begin() + static_cast<std::ptrdiff_t>(c.below(file.size() + 1)), line);
            std::list<cl::ini_section> snapshot = real.commit();
            text merged;
            const bool any = !snapshot.empty();
            cl::ini_merge merge(
                snapshot, [&](const string& line) { return merged.push_back(line), true; }, mark);
            EXPECT_TRUE(!any || merge(reader(file)));
            const auto naively = expected.flush(file, mark);
            ASSERT_EQ(any, naively.has_value());
            if (!any)
                continue;
            ASSERT_EQ(merged, *naively);
            file = merged;
        } else if (what < 13) { // a flush that fails
            const string before = shown(real);
            real.restore(real.commit());
            ASSERT_EQ(shown(real), before);
            // A deleted section isn't in the list meanwhile, and comes back at its end.
            std::stable_partition(expected.sections.begin(), expected.sections.end(),
                                  [](const naive::section& s) { return !s.deleted; });
        } else if (!expected.dirty) {
            real.load(reader(file));
            expected.load(file);
        }
        ASSERT_EQ(shown(real), shown(expected));
    }
}
