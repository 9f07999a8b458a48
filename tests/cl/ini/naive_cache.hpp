// The settings cache written a second time, naively, in plain ASCII. Random scripts compare the real one with
// it after each step.
#pragma once

#include "cl/ini/naive_merge.hpp"

#include <utility>

namespace naive {

struct cache {
    std::vector<section> sections;
    bool dirty = false;

    section* find(const std::string& name) {
        const std::string wanted = trim(name);
        for (section& s : sections)
            if (same(s.name, wanted))
                return &s;
        return nullptr;
    }
    section& make(const std::string& name) {
        if (section* s = find(name))
            return *s;
        return *sections.insert(trim(name).empty() ? sections.begin() : sections.end(),
                                section{trim(name), {}});
    }
    entry* find(section* s, const std::string& key, bool visible) {
        const std::string wanted = trim(key);
        for (std::size_t i = 0; s && i < s->entries.size(); ++i)
            if (same(s->entries[i].key, wanted) && !(visible && s->entries[i].deleted))
                return &s->entries[i];
        return nullptr;
    }

    void load(const text& file) {
        text front;
        std::set<std::string> seen;
        sections.clear();
        for (block& b : cut(file, front)) {
            if (!seen.insert(lower(b.name)).second)
                continue;
            if (b.has_header && b.name.empty())
                b.lines.insert(b.lines.begin(), b.header);
            section& s = sections.emplace_back(section{b.name, {}, false, false, true});
            for (const std::string& line : b.lines)
                if (!line.empty())
                    s.entries.emplace_back(entry::parse(line)).in_file = true;
        }
    }
    void write_value(const std::string& name, const std::string& key, const std::string& value) {
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
    void write_section(const std::string& name, const text& lines) {
        section& s = make(name);
        s = {trim(name), {}, false, true, s.in_file, true};
        for (const std::string& line : lines) {
            entry& e = s.entries.emplace_back(line.empty() ? entry{"", "", true, false, false, true}
                                                           : entry::parse(line));
            e.modified = true;
            if (e.raw)
                e.value = trim(e.value);
        }
        dirty = true;
    }
    // These two answer whether a flush is to be scheduled.
    bool delete_value(const std::string& name, const std::string& key) {
        section* s = find(name);
        entry* e = find(s, key, false);
        if (!e)
            return false;
        if (e->in_file)
            *e = {e->key, "", true, true, true, e->raw};
        else
            s->entries.erase(s->entries.begin() + (e - s->entries.data()));
        return s->changed = dirty = true;
    }
    bool delete_section(const std::string& name) {
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
    // What the file becomes; what it was if there is nothing to write.
    text flush(const text& file, bool utf8_mark) {
        if (!std::exchange(dirty, false))
            return file;
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
        return changed.empty() ? file : merge(changed, file, utf8_mark);
    }
};

} // namespace naive
