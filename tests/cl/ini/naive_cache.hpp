// The settings cache written a second time, naively. Random scripts compare the real one with it after each
// step.
#pragma once

#include "cl/ini/naive_merge.hpp"

#include <optional>
#include <utility>

namespace naive {

struct cache {
    std::vector<section> sections;
    bool dirty = false;

    section* find(const string& name) {
        const string wanted = lower(trim(name));
        for (section& s : sections)
            if (lower(s.name) == wanted)
                return &s;
        return nullptr;
    }
    section& make(const string& name) {
        if (section* s = find(name))
            return *s;
        return *sections.insert(trim(name).empty() ? sections.begin() : sections.end(),
                                section{trim(name), {}});
    }
    static entry* find(section* s, const string& key, bool visible) {
        const string wanted = lower(trim(key));
        for (std::size_t i = 0; s && i < s->entries.size(); ++i)
            if (lower(s->entries[i].key) == wanted && !(visible && s->entries[i].deleted))
                return &s->entries[i];
        return nullptr;
    }

    // The lookups, as in the real one.
    bool names(text& names) const {
        names.clear();
        for (const section& s : sections)
            if (!s.deleted)
                names.push_back(s.name);
        return true;
    }
    bool exists(const string& name) { return find(name) != nullptr; }
    bool lines(const string& name, text& lines, unsigned flags) {
        const section* const s = find(name);
        if (!s || s->deleted)
            return false;
        lines.clear();
        for (const entry& e : s->entries)
            if (!e.deleted && (!e.raw || (flags & (e.value.starts_with(L';') ? 1U : 2U))))
                lines.push_back(e.line());
        return true;
    }
    bool pairs(const string& name, std::vector<std::pair<string, string>>& pairs) {
        const section* const s = find(name);
        if (!s || s->deleted)
            return false;
        for (const entry& e : s->entries)
            if (!e.deleted && !e.raw)
                pairs.emplace_back(e.key, e.value);
        return true;
    }
    bool value(const string& name, const string& key, string& value) {
        const entry* const e = find(find(name), key, true);
        if (e)
            value = e->value;
        return e != nullptr;
    }

    void load(const text& file) {
        text front;
        std::set<string> seen;
        sections.clear();
        for (block& b : cut(file, front)) {
            if (!seen.insert(lower(b.name)).second)
                continue;
            if (b.has_header && b.name.empty())
                b.lines.insert(b.lines.begin(), b.header);
            section& s = sections.emplace_back(section{b.name, {}, false, false, true});
            for (const string& line : b.lines)
                if (!line.empty())
                    s.entries.emplace_back(entry::parse(line)).in_file = true;
        }
    }

    void write_value(const string& name, const string& key, const string& value) {
        section& s = make(name);
        entry* e = find(&s, key, false);
        dirty = true;
        if (e && e->key == trim(key) && e->value == value)
            return;
        if (!e)
            e = &s.entries.emplace_back();
        *e = {trim(key), value, true, false, false, e->raw};
        s.deleted = false;
        s.changed = true;
    }
    bool write_section(const string& name, const text& lines) {
        section& s = make(name);
        s = {trim(name), {}, false, true, s.in_file, true};
        for (const string& line : lines) {
            entry& e = s.entries.emplace_back(line.empty() ? entry{L"", L"", true, false, false, true}
                                                           : entry::parse(line));
            e.modified = true;
            if (e.raw)
                e.value = trim(e.value);
        }
        return dirty = true;
    }
    bool delete_value(const string& name, const string& key) {
        section* s = find(name);
        entry* e = find(s, key, false);
        if (!e)
            return false;
        if (e->in_file)
            *e = {e->key, L"", true, true, true, e->raw};
        else
            s->entries.erase(s->entries.begin() + (e - s->entries.data()));
        return s->changed = dirty = true;
    }
    bool delete_section(const string& name) {
        section* s = find(name);
        if (!s)
            return false;
        if (!s->in_file) {
            sections.erase(sections.begin() + (s - sections.data()));
            return false;
        }
        *s = {s->name, {}, true, true, true, true};
        return dirty = true;
    }

    // What the file becomes; nothing if it isn't touched.
    std::optional<text> flush(const text& file, bool utf8_mark) {
        dirty = false;
        std::vector<section> changed;
        for (const section& s : sections)
            if (s.changed)
                changed.push_back(s);
        std::erase_if(sections, [](const section& s) { return s.deleted; });
        for (section& s : sections) {
            s.replaced = false;
            std::erase_if(s.entries, [](const entry& e) { return e.deleted; });
            for (entry& e : s.entries)
                e.modified = false, e.in_file = true;
        }
        return changed.empty() ? std::nullopt : std::optional(merge(changed, file, utf8_mark));
    }
};

} // namespace naive
