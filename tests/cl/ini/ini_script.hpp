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

    // Both answer whether a flush is to be scheduled; a real ini_file always succeeds instead.
    bool apply(naive::cache& cache) const {
        if (what == write_value)
            cache.write_value(section, key, value);
        else if (what == write_section)
            cache.write_section(section, lines);
        return what == delete_value     ? cache.delete_value(section, key)
               : what == delete_section ? cache.delete_section(section)
                                        : true;
    }
    template <class Ini>
    bool apply(Ini& ini, bool schedule) const {
        return what == write_value     ? ini.write_value(wide(section), wide(key), wide(value), schedule)
               : what == delete_value  ? ini.delete_value(wide(section), wide(key))
               : what == write_section ? ini.write_section(wide(section), wide(lines))
                                       : ini.delete_section(wide(section));
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

// All that the lookups show, as one text: of the naive cache, and of a real one by its plain slots.
struct view {
    std::string text;

    void add(const char* what, const std::string& name, bool found, const naive::text& lines) {
        text += std::string(what) + "(" + name + ")" + (found ? "" : " none");
        for (const std::string& line : lines)
            text += " <" + line + ">";
        text += "\n";
    }
    template <class Look>
    void add_all(Look look) {
        look.names(*this);
        for (const char* section : {"a", " B", "bb", "", "c x", "zz"})
            look.section(*this, section);
        for (const char* section : {" A", "", "zz"})
            for (const char* key : {"k ", "L", "", "k k", "k\tk", "zz"})
                look.value(*this, section, key);
    }
};

struct naive_look {
    naive::cache& cache;

    void names(view& v) const {
        naive::text names;
        for (const naive::section& s : cache.sections)
            if (!s.deleted)
                names.push_back(s.name);
        v.add("names", "", true, names);
    }
    void section(view& v, const std::string& name) const {
        const naive::section* const s = cache.find(name);
        v.add("exists", name, s != nullptr, {});
        naive::text lines[4], pairs;
        for (std::size_t i = 0; s && i < s->entries.size(); ++i) {
            const naive::entry& e = s->entries[i];
            for (unsigned flags = 0; flags < 4 && !e.deleted; ++flags)
                if (!e.raw || (flags & (e.value.starts_with(";") ? 1U : 2U)))
                    lines[flags].push_back(e.line());
            if (!e.deleted && !e.raw)
                pairs.push_back(e.line());
        }
        for (const naive::text& l : lines)
            v.add("lines", name, s && !s->deleted, l);
        v.add("pairs", name, s && !s->deleted, pairs);
    }
    void value(view& v, const std::string& section, const std::string& key) const {
        const naive::entry* const e = cache.find(cache.find(section), key, true);
        v.add("value", key, e != nullptr, {e ? e->value : "untouched"});
    }
};

template <class Ini>
struct ini_look {
    Ini& ini;

    static naive::text narrowed(const std::vector<std::wstring>& t) {
        return each<std::string>(t, [](const std::wstring& w) { return narrow(w); });
    }
    void names(view& v) const {
        std::vector<std::wstring> names{L"untouched"};
        const bool found = ini.get_section_names(names);
        v.add("names", "", found, narrowed(names));
    }
    void section(view& v, const std::string& name) const {
        v.add("exists", name, ini.section_exists(wide(name)), {});
        for (unsigned flags = 0; flags < 4; ++flags) {
            std::vector<std::wstring> lines;
            const bool found = ini.get_section(wide(name), lines, flags);
            v.add("lines", name, found, narrowed(lines));
        }
        std::vector<std::pair<std::wstring, std::wstring>> pairs;
        const bool found = ini.get_section_pairs(wide(name), pairs);
        v.add("pairs", name, found, each<std::string>(pairs, [](const auto& p) {
                  return narrow(p.first) + "=" + narrow(p.second);
              }));
    }
    void value(view& v, const std::string& section, const std::string& key) const {
        std::wstring value = L"untouched";
        const bool found = ini.get_value(wide(section), wide(key), value);
        v.add("value", key, found, {narrow(value)});
    }
};

inline std::string shown(naive::cache& cache) {
    view v;
    v.add_all(naive_look{cache});
    return v.text;
}
template <class Ini>
std::string shown(Ini& ini) {
    view v;
    v.add_all(ini_look<Ini>{ini});
    return v.text;
}

} // namespace ini_script
