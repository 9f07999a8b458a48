// Random edits of a settings cache, with names that collide, repeat and differ in case only, and the means to
// run them on a real cache and on the naive one and to compare what can be seen of both.
#pragma once

#include "cl/ini/naive_cache.hpp"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace ini_script {

// One byte is one code unit.
inline std::wstring wide(const std::string& s) {
    std::wstring w;
    for (const char c : s)
        w += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return w;
}
inline std::string narrow(const std::wstring& w) {
    std::string s;
    for (const wchar_t c : w)
        s += static_cast<char>(c);
    return s;
}
template <class Out, class In, class Convert>
std::vector<Out> each(const std::vector<In>& in, Convert convert) {
    std::vector<Out> out;
    for (const In& x : in)
        out.push_back(convert(x));
    return out;
}
inline std::vector<std::wstring> wide(const naive::text& t) {
    return each<std::wstring>(t, [](const std::string& s) { return wide(s); });
}

// Cuts at line feeds; a last line without one counts.
inline naive::text lines_of(const std::string& s) {
    naive::text lines;
    for (std::size_t at = 0; at < s.size();) {
        const std::size_t end = std::min(s.find('\n', at), s.size());
        lines.push_back(s.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

struct edit {
    enum kind { write_value, delete_value, write_section, delete_section } what;
    std::string section, key, value;
    naive::text lines;

    void apply(naive::cache& cache) const {
        switch (what) {
        case write_value:
            return cache.write_value(section, key, value);
        case delete_value:
            return cache.delete_value(section, key);
        case write_section:
            return cache.write_section(section, lines);
        case delete_section:
            return cache.delete_section(section);
        }
    }
};

// Makes everything out of a function that gives numbers below a limit: a random generator, or a fuzzer's
// bytes.
struct generator {
    std::function<unsigned(unsigned limit)> below;

    std::string pick(std::initializer_list<const char*> of) const {
        return of.begin()[below(static_cast<unsigned>(of.size()))];
    }
    std::string section() const { return pick({"a", "A", " a\t", "b", "bb", "", "c x", "B"}); }
    std::string key() const { return pick({"k", "K", " k", "l", "m", "", "k\tk", "k k", "n", ";c"}); }
    std::string value() const { return pick({"", "1", "2", " 3 ", "v=w", "4;", "[5]", "6\t6", "7"}); }
    std::string line() const {
        switch (below(8)) {
        case 0:
            return pick({"", "  ", "; comment ", "\t;k=1", "other ", "=5", "[]"});
        case 1:
            return pick({"", " "}) + "[" + section() + pick({"]", "] tail", "", "]k=1"});
        case 2:
            return " " + key() + " = " + value() + " ";
        default:
            return key() + "=" + value();
        }
    }
    naive::text text(unsigned most) const {
        naive::text t(below(most + 1));
        for (std::string& s : t)
            s = below(4) ? line() : pick({"[a]", "[b]", "[A]", "", "[c x]"});
        return t;
    }
    edit next_edit() const {
        const unsigned k = below(10);
        edit e{k < 5   ? edit::write_value
               : k < 8 ? edit::delete_value
               : k < 9 ? edit::write_section
                       : edit::delete_section,
               section(),
               key(),
               value(),
               {}};
        if (e.what == edit::write_section)
            e.lines = text(4);
        return e;
    }
};

inline generator random_generator(std::mt19937& engine) {
    return {[&engine](unsigned limit) { return static_cast<unsigned>(engine() % limit); }};
}

// All that the lookups of a cache show, as one text. Shown(name) writes down what one name gives.
inline const std::vector<std::string>& all_sections() {
    static const std::vector<std::string> names = {"a", " B", "bb", "", "c x", "zz"};
    return names;
}
inline const std::vector<std::string>& all_keys() {
    static const std::vector<std::string> names = {"k ", "L", "m", "", "k k", "k\tk", "n", ";c", "zz"};
    return names;
}

} // namespace ini_script
