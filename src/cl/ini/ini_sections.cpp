#include "cl/ini/ini_sections.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace cl {

namespace {

// What a commit leaves of a section that stays.
void count_as_written(ini_section& section) {
    section.replaced = false;
    if (section.entries.remove_if([](const ini_entry& entry) { return entry.deleted; }))
        section.by_key.clear();
    for (ini_entry& entry : section.entries) {
        entry.modified = false;
        entry.in_file = true;
    }
}

} // namespace

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
    auto at = by_key.find(entries, trim_both(key));
    while (at != entries.end() && at->deleted)
        at = by_key.find_next(entries, at);
    return at == entries.end() ? nullptr : &*at;
}

ini_entry* ini_section::find(std::wstring_view key) {
    const auto at = by_key.find(entries, trim_both(key));
    return at == entries.end() ? nullptr : const_cast<ini_entry*>(&*at);
}

void ini_section::add(ini_entry entry) {
    std::list<ini_entry> one;
    one.push_back(std::move(entry));
    by_key.add(entries, entries.end(), one);
}

std::size_t ini_section::length() const {
    std::size_t n = name.size() + 4;
    for (const ini_entry& entry : entries)
        n += entry.line.size() + 2;
    return n;
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
    by_name_.clear();
}

const ini_section* ini_sections::find(std::wstring_view name) const {
    const auto at = by_name_.find(list_, trim_both(name));
    return at == list_.end() ? nullptr : &*at;
}

ini_section* ini_sections::find(std::wstring_view name) {
    return const_cast<ini_section*>(std::as_const(*this).find(name));
}

// A section that isn't there yet is made in `fresh`, from where `insert` takes it once it is complete.
ini_section& ini_sections::find_or_make(std::wstring_view name, std::list<ini_section>& fresh) {
    if (ini_section* found = find(name))
        return *found;
    ini_section& made = fresh.emplace_back();
    made.name = trim_both(name);
    made.done = true;
    return made;
}

void ini_sections::insert(std::list<ini_section>& fresh) {
    if (!fresh.empty())
        by_name_.add(list_, fresh.front().name.empty() ? list_.begin() : list_.end(), fresh);
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
    std::list<ini_section> fresh;
    ini_section& target = find_or_make(section, fresh);
    key = trim_both(key);
    ini_entry* entry = target.find(key);
    // An emptied, deleted entry that is given an empty value finds no difference and stays deleted:
    // deliberate.
    if (entry && entry->value() == value && entry->key() == key)
        return;
    if (entry) {
        entry->set(key, value);
        entry->modified = true;
        // Without in_file a deletion before the next flush leaves no trace, and the file keeps the old line.
        // Deliberate.
        entry->in_file = entry->deleted = false;
    } else {
        ini_entry made;
        made.set(key, value);
        made.modified = true;
        target.add(std::move(made));
    }
    target.deleted = false;
    target.changed = true;
    insert(fresh);
}

void ini_sections::write_section(std::wstring_view section, const std::vector<std::wstring>& lines) {
    std::wstring name(trim_both(section));
    std::list<ini_entry> entries;
    for (const std::wstring& line : lines) {
        ini_entry& entry = entries.emplace_back();
        entry.modified = true;
        entry.parse(line);
    }
    std::list<ini_section> fresh;
    ini_section& target = find_or_make(name, fresh);
    target.name = std::move(name);
    target.deleted = false;
    target.replaced = target.changed = true;
    target.entries = std::move(entries);
    target.by_key.clear();
    insert(fresh);
}

bool ini_sections::delete_value(std::wstring_view section, std::wstring_view key) {
    ini_section* const found = find(section);
    if (!found)
        return false;
    const auto at = found->by_key.find(found->entries, trim_both(key));
    if (at == found->entries.end())
        return false;
    if (at->in_file) {
        auto& entry = const_cast<ini_entry&>(*at);
        entry.set(entry.key(), {});
        entry.deleted = entry.modified = true;
    } else {
        found->by_key.remove(found->entries, at);
    }
    found->changed = true;
    return true;
}

bool ini_sections::delete_section(std::wstring_view section) {
    const auto at = by_name_.find(list_, trim_both(section));
    if (at == list_.end())
        return false;
    if (!at->in_file) {
        by_name_.remove(list_, at);
        return false;
    }
    auto& found = const_cast<ini_section&>(*at);
    found.deleted = found.replaced = found.changed = true;
    found.entries.clear();
    found.by_key.clear();
    return true;
}

std::list<ini_section> ini_sections::commit() {
    std::list<ini_section> snapshot;
    for (const ini_section& section : list_) {
        if (section.changed)
            snapshot.emplace_back(section).done = false;
    }
    for (auto at = list_.begin(); at != list_.end();) {
        ini_section& section = *at++;
        if (section.deleted)
            by_name_.remove(list_, std::prev(at));
        else if (section.changed)
            count_as_written(section);
    }
    return snapshot;
}

void ini_sections::restore(std::list<ini_section> snapshot) noexcept {
    while (!snapshot.empty()) {
        ini_section& section = snapshot.front();
        // A search by name may take memory.
        const auto target = std::find_if(
            list_.begin(), list_.end(), [&](const ini_section& s) { return equal_ci(s.name, section.name); });
        if (target == list_.end() && section.deleted) {
            list_.splice(list_.end(), snapshot, snapshot.begin());
            by_name_.clear();
            continue;
        }
        if (target != list_.end())
            restore(*target, section);
        snapshot.pop_front();
    }
}

// The entries of both stand in the same order, apart from those that were added or removed since.
void ini_sections::restore(ini_section& target, ini_section& section) noexcept {
    target.changed = true;
    target.in_file = target.in_file || section.in_file;
    target.replaced = target.replaced || section.replaced;
    if (target.replaced) {
        // All of it is written, as it is now; none of its lines stands in the file.
        target.by_key.clear();
        target.entries.remove_if([](const ini_entry& entry) { return entry.deleted; });
        for (ini_entry& entry : target.entries) {
            entry.modified = true;
            entry.in_file = false;
        }
        return;
    }
    auto from = target.entries.begin();
    for (auto next = section.entries.begin(); next != section.entries.end();) {
        const auto entry = next++;
        const auto same = [&](const ini_entry& e) {
            return e.raw == entry->raw && equal_ci(e.key(), entry->key());
        };
        const auto found = std::find_if(from, target.entries.end(), same);
        if (entry->deleted) {
            // Where it stood, in front of a repeat of its key, unless the key has been written since.
            if (std::none_of(from, target.entries.end(),
                             [&](const ini_entry& e) { return e.modified && same(e); })) {
                target.entries.splice(from, section.entries, entry);
                target.by_key.clear();
            }
        } else if (found != target.entries.end()) {
            if (entry->modified && !found->modified) {
                found->modified = true;
                found->in_file = entry->in_file;
            }
            from = std::next(found);
        }
    }
}

} // namespace cl
