// The INI format and the merge written a second time, naively: whole texts as vectors of lines, cut into
// blocks.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace naive {

using string = std::wstring;
using text = std::vector<string>;

inline string trim(string s, bool right = true) {
    const wchar_t* const blanks = L" \t\n\v\f\r";
    s.erase(0, s.find_first_not_of(blanks));
    return right ? s.substr(0, s.find_last_not_of(blanks) + 1) : s;
}
inline string lower(string s) {
    for (wchar_t& c : s)
        c = c >= L'A' && c <= L'Z' ? wchar_t(c + 32) : c;
    return s;
}
inline string normal(const string& s) {
    string t = trim(s);
    for (wchar_t& c : t)
        c = c >= 9 && c <= 13 ? L' ' : c;
    return t;
}

struct entry {
    string key, value;
    bool modified = false, in_file = false, deleted = false, raw = false;

    string line() const { return raw ? value : key + L"=" + value; }
    static entry parse(const string& s) {
        const std::size_t at = s.find('=');
        if (at == s.npos || s[0] == ';' || trim(s.substr(0, at)).empty())
            return {L"", s[0] == ';' ? s : trim(s), false, false, false, true};
        return {normal(s.substr(0, at)), normal(s.substr(at + 1))};
    }
};

struct section {
    string name;
    std::vector<entry> entries;
    bool deleted = false, replaced = false, in_file = false, changed = false;
};

// A header with the lines up to the next one. Only the first block may have no header.
struct block {
    string name, header;
    text lines;
    bool has_header = false;
};

// `front` gets the blank lines in front of everything.
inline std::vector<block> cut(const text& file, text& front) {
    std::vector<block> blocks;
    for (const string& untrimmed : file) {
        const string line = trim(untrimmed, false);
        if (line.empty() && blocks.empty())
            front.push_back(line);
        else if (line.starts_with(L'['))
            blocks.push_back({trim(line.substr(1, line.find(']') - 1)), line, {}, true});
        else if (blocks.empty())
            blocks.push_back({L"", L"", {line}});
        else
            blocks.back().lines.push_back(line);
    }
    return blocks;
}

// What a file becomes when the changed sections are laid over it.
inline text merge(std::vector<section> changed, const text& file, bool utf8_mark) {
    text out;
    const std::vector<block> blocks = cut(file, out);
    if (utf8_mark && out.empty())
        out.emplace_back();
    for (const block& b : blocks) {
        const auto s = std::find_if(changed.begin(), changed.end(),
                                    [&](const section& c) { return lower(c.name) == lower(b.name); });
        text body = b.lines;
        if (b.has_header && b.name.empty())
            body.insert(body.begin(), b.header);
        std::map<string, const entry*> wanted;
        const bool met = s != changed.end(), replaced = met && s->replaced;
        if (met && !replaced)
            for (const entry& e : s->entries)
                if (e.modified && !e.raw)
                    wanted[lower(e.key)] = &e;
        const bool touched = replaced || !wanted.empty();
        if (!b.name.empty() && !(touched && s->deleted))
            out.push_back(touched ? L"[" + s->name + L"]" : b.header);
        if (replaced)
            body.clear();
        for (const string& line : body) {
            const entry e = entry::parse(line);
            const auto w = e.raw ? wanted.end() : wanted.find(lower(e.key));
            if (w == wanted.end()) {
                out.push_back(line);
            } else if (!w->second->deleted) {
                out.push_back(w->second->line());
                wanted.erase(w);
            }
        }
        for (const auto& [key, e] : wanted)
            if (!e->deleted)
                out.push_back(e->line());
        if (replaced)
            for (const entry& e : s->entries)
                out.push_back(e.line());
        if (met) // a repeat of the section in the file is left alone
            changed.erase(s);
    }
    for (const section& s : changed) {
        if (s.deleted)
            continue;
        if (!s.name.empty())
            out.push_back(L"[" + s.name + L"]");
        for (const entry& e : s.entries)
            if (!e.deleted)
                out.push_back(e.line());
    }
    return out;
}

} // namespace naive
