#include "cl/ini/ini_sections.hpp"

#include <unordered_set>
#include <utility>

namespace cl {

void ini_entry::set(std::wstring_view key, std::wstring_view value) {
    line = raw ? std::wstring(value) : make_ini_line(key, value);
    key_length = raw ? 0 : key.size();
}

void ini_entry::parse(std::wstring_view text) {
    raw = !normalize_ini_line(text, line, key_length);
    if (raw)
        set({}, trim_both(text));
}

const ini_entry* ini_section::find_visible(std::wstring_view key) const {
    key = trim_both(key);
    for (const ini_entry& entry : entries) {
        if (equal_ci(entry.key(), key) && !entry.deleted)
            return &entry;
    }
    return nullptr;
}

ini_entry* ini_section::find(std::wstring_view key) {
    key = trim_both(key);
    for (ini_entry& entry : entries) {
        if (equal_ci(entry.key(), key))
            return &entry;
    }
    return nullptr;
}

void ini_sections::load(const next_line& next) {
    std::list<ini_section> read;
    std::unordered_set<std::wstring_view, hash_ci, equal_ci_to> seen; // names that live in `read`
    ini_section* current = nullptr;
    std::wstring name;
    std::wstring text;
    while (next(text)) {
        const std::wstring_view line = trim_front(text);
        if (line.empty())
            continue;
        const bool header = parse_section_line(line, name);
        if (header || !current) {
            current = nullptr;
            if (seen.contains(name))
                continue;
            current = &read.emplace_back();
            current->name = name;
            current->in_file = current->done = true;
            seen.insert(current->name);
            if (!name.empty())
                continue;
            // A line in front of all headers belongs to the section that it opens. So does the text of a
            // header
            // "[]", which is deliberate.
        }
        ini_entry& entry = current->entries.emplace_back();
        entry.in_file = true;
        entry.parse(line);
        if (line[0] == L';')
            entry.line = line; // a comment keeps the blanks at its end
    }
    list_ = std::move(read);
}

const ini_section* ini_sections::find(std::wstring_view name) const {
    name = trim_both(name);
    for (const ini_section& section : list_) {
        if (equal_ci(section.name, name))
            return &section;
    }
    return nullptr;
}

ini_section* ini_sections::find(std::wstring_view name) {
    return const_cast<ini_section*>(std::as_const(*this).find(name));
}

ini_section& ini_sections::find_or_make(std::wstring_view name) {
    if (ini_section* found = find(name))
        return *found;
    name = trim_both(name);
    ini_section& made = name.empty() ? list_.emplace_front() : list_.emplace_back();
    made.name = name;
    made.done = true;
    return made;
}

bool ini_sections::value(std::wstring_view section, std::wstring_view key, std::wstring& value) const {
    const ini_section* const found = find(section);
    const ini_entry* const entry = found ? found->find_visible(key) : nullptr;
    if (!entry)
        return false;
    value = entry->value();
    return true;
}

bool ini_sections::lines(std::wstring_view section, std::vector<std::wstring>& lines,
                         std::uint32_t flags) const {
    const ini_section* const found = find(section);
    if (!found || found->deleted)
        return false;
    lines.clear();
    for (const ini_entry& entry : found->entries) {
        if (entry.deleted)
            continue;
        if (!entry.raw || flags & (entry.line.starts_with(L';') ? 1U : 2U))
            lines.push_back(entry.line);
    }
    return true;
}

bool ini_sections::pairs(std::wstring_view section,
                         std::vector<std::pair<std::wstring, std::wstring>>& pairs) const {
    const ini_section* const found = find(section);
    if (!found || found->deleted)
        return false;
    pairs.clear();
    for (const ini_entry& entry : found->entries) {
        if (!entry.deleted && !entry.raw)
            pairs.emplace_back(entry.key(), entry.value());
    }
    return true;
}

void ini_sections::names(std::vector<std::wstring>& names) const {
    names.clear();
    for (const ini_section& section : list_) {
        if (!section.deleted)
            names.push_back(section.name);
    }
}

void ini_sections::write_value(std::wstring_view section, std::wstring_view key, const std::wstring& value) {
    ini_section& target = find_or_make(section);
    key = trim_both(key);
    ini_entry* entry = target.find(key);
    // An emptied, deleted entry that is given an empty value finds no difference and stays deleted:
    // deliberate.
    if (entry && entry->value() == value && entry->key() == key)
        return;
    if (!entry)
        entry = &target.entries.emplace_back();
    entry->set(key, value);
    entry->modified = true;
    // Without in_file a deletion before the next flush leaves no trace, and the file keeps the old line.
    // Deliberate.
    entry->in_file = entry->deleted = false;
    target.deleted = false;
    target.changed = true;
}

void ini_sections::write_section(std::wstring_view section, const std::vector<std::wstring>& lines) {
    ini_section& target = find_or_make(section);
    target.name = trim_both(section);
    target.deleted = false;
    target.replaced = target.changed = true;
    target.entries.clear();
    for (const std::wstring& line : lines) {
        ini_entry& entry = target.entries.emplace_back();
        entry.modified = true;
        entry.parse(line);
    }
}

bool ini_sections::delete_value(std::wstring_view section, std::wstring_view key) {
    ini_section* const found = find(section);
    ini_entry* const entry = found ? found->find(key) : nullptr;
    if (!entry)
        return false;
    if (entry->in_file) {
        entry->set(entry->key(), {});
        entry->deleted = entry->modified = true;
    } else {
        found->entries.remove_if([entry](const ini_entry& e) { return &e == entry; });
    }
    found->changed = true;
    return true;
}

bool ini_sections::delete_section(std::wstring_view section) {
    ini_section* const found = find(section);
    if (!found)
        return false;
    if (!found->in_file) {
        list_.remove_if([found](const ini_section& s) { return &s == found; });
        return false;
    }
    found->deleted = found->replaced = found->changed = true;
    found->entries.clear();
    return true;
}

std::list<ini_section> ini_sections::commit() {
    std::list<ini_section> snapshot;
    for (const ini_section& section : list_) {
        if (section.changed)
            snapshot.emplace_back(section).done = false;
    }
    list_.remove_if([](const ini_section& section) { return section.deleted; });
    for (ini_section& section : list_) {
        section.replaced = false;
        section.entries.remove_if([](const ini_entry& entry) { return entry.deleted; });
        for (ini_entry& entry : section.entries) {
            entry.modified = false;
            entry.in_file = true;
        }
    }
    return snapshot;
}

} // namespace cl
