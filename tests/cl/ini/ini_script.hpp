// Random edits of a settings cache, with names that collide, repeat and differ in case only, and the means to
// run them on a real cache and on the naive one and to compare what can be seen of both.
#pragma once

#include "cl/ini/naive_cache.hpp"

#include <functional>
#include <initializer_list>

namespace ini_script {

using naive::string, naive::text;

// Cuts at line feeds; a last line without one counts.
inline text lines_of(const string& s) {
    text lines;
    for (std::size_t at = 0, end = 0; at < s.size(); at = end + 1) {
        end = std::min(s.find('\n', at), s.size());
        lines.push_back(s.substr(at, end - at));
    }
    return lines;
}

struct edit {
    enum kind { write_value, delete_value, write_section, delete_section } what;
    string section, key, value;
    text lines;

    static edit set(string s, string k, string v) { return {write_value, s, k, v, {}}; }
    static edit drop(string s, string k) { return {delete_value, s, k, {}, {}}; }
    static edit replace(string s, text t) { return {write_section, s, {}, {}, t}; }
    static edit remove(string s) { return {delete_section, s, {}, {}, {}}; }
    template <class Ini>
    bool apply(Ini& ini, bool schedule = true) const {
        return what == write_value     ? ini.write_value(section, key, value, schedule)
               : what == delete_value  ? ini.delete_value(section, key)
               : what == write_section ? ini.write_section(section, lines)
                                       : ini.delete_section(section);
    }
};

// Makes everything out of a function that gives numbers below a limit: a random generator, or a fuzzer's
// bytes.
struct generator {
    std::function<unsigned(unsigned limit)> below;

    string pick(std::initializer_list<const wchar_t*> of) const {
        return of.begin()[below(static_cast<unsigned>(of.size()))];
    }
    string section() const { return pick({L"a", L"A", L" a\t", L"b", L"bb", L"", L"c x", L"B"}); }
    string key() const { return pick({L"k", L"K", L" k", L"l", L"m", L"", L"k\tk", L"k k", L"n", L";c"}); }
    string value() const {
        return pick({L"", L"", L"1", L"2", L" 3 ", L"v=w", L"4;", L"[5]", L"6\t6", L"7"});
    }
    string line() const {
        switch (below(8)) {
        case 0:
            return pick({L"", L"  ", L"; comment ", L"\t;k=1", L"other ", L"=5", L" \t=6", L"[]"});
        case 1:
            return pick({L"", L" "}) + L"[" + section() + pick({L"]", L"] tail", L"", L"]k=1"});
        case 2:
            return L" " + key() + L" = " + value() + L" ";
        default:
            return key() + L"=" + value();
        }
    }
    text lines(unsigned most) const {
        text t(below(most + 1));
        for (string& s : t)
            s = below(4) ? line() : pick({L"[a]", L"[b]", L"[A]", L"", L"[c x]"});
        return t;
    }
    edit next_edit() const {
        const unsigned k = below(10);
        const auto what = k < 5   ? edit::write_value
                          : k < 8 ? edit::delete_value
                          : k < 9 ? edit::write_section
                                  : edit::delete_section;
        edit e{what, section(), key(), value(), {}};
        if (what == edit::write_section)
            e.lines = lines(4);
        return e;
    }
};

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
    add(ini.get_section_names(names), names);
    for (const wchar_t* section : {L"a", L" B", L"bb", L"", L"c x", L"zz"}) {
        add(ini.section_exists(section), {});
        for (unsigned flags = 0; flags < 4; ++flags) {
            text lines{L"untouched"};
            add(ini.get_section(section, lines, flags), lines);
        }
        std::vector<std::pair<string, string>> pairs;
        add(ini.get_section_pairs(section, pairs), {});
        for (const auto& [key, value] : pairs)
            add(true, {key, value});
        for (const wchar_t* key : {L"k ", L"L", L"", L"k k", L"k\tk", L"zz"}) {
            string value = L"untouched";
            add(ini.get_value(section, key, value), {value});
        }
    }
    return all;
}

} // namespace ini_script
