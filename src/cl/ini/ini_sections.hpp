// What the settings cache holds of an INI file: its sections and their lines in file order, each with flags
// that show how it differs from the file. Plain values without a lock and without a file.
//
// Names are trimmed before they are searched, and found by their first match without regard to case. Sections
// and lines that are to be deleted stay in the lists until the commit.
#pragma once

#include "cl/ini/first_of_name.hpp"
#include "cl/ini/ini_text.hpp"

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cl {

// One line of a section that isn't blank. Its text is kept as it is written to a file: "key=value", or the
// whole line of a raw entry.
struct ini_entry {
    std::wstring line;
    std::size_t key_length = 0; // 0 for a raw entry
    bool modified : 1 = {};     // differs from the file; a flush has to write it
    bool in_file : 1 = {};      // known to stand in the file; cleared by a change
    bool deleted : 1 = {};      // to be removed from the file; lookups don't see it
    bool raw : 1 = {};          // a comment, or a line that is no key line

    // In its own spelling; empty for a raw entry.
    std::wstring_view key() const { return std::wstring_view(line).substr(0, key_length); }
    // For a raw entry the whole line.
    std::wstring_view value() const { return std::wstring_view(line).substr(raw ? 0 : key_length + 1); }
    void set(std::wstring_view key, std::wstring_view value);
    // Takes a line that stands in a file or is to stand there. Blanks around a raw one go.
    void parse(std::wstring_view text);
};

inline std::wstring_view key_of(const ini_entry& entry) {
    return entry.key();
}

struct ini_section {
    std::wstring name; // trimmed, in its own spelling; empty for the lines in front of the first header
    std::list<ini_entry> entries;
    bool deleted : 1 = {};  // to be removed from the file
    bool replaced : 1 = {}; // the whole body is to be rewritten, not merged line by line
    bool in_file : 1 = {};  // came from the file; set by loading only
    bool changed : 1 = {};  // holds something to write; nothing clears it
    bool done : 1 = {};     // a merge has met it in the file; without meaning in the cache itself

    first_of_name<ini_entry, key_of> by_key;

    // The first entry with this key, or null. Lookups see no `deleted` entry, edits do.
    const ini_entry* find_visible(std::wstring_view key) const;
    ini_entry* find(std::wstring_view key);
    void add(ini_entry entry);
    // Characters of the lines that a file gets at most from it, with line ends.
    std::size_t length() const;
};

inline std::wstring_view name_of(const ini_section& section) {
    return section.name;
}

class ini_sections {
public:
    // Replaces all by what a file holds. Of sections with equal names the first alone is kept.
    void load(const next_line& next);
    void clear() {
        list_.clear();
        by_name_.clear();
    }

    // `deleted` sections count.
    bool exists(std::wstring_view section) const { return find(section) != nullptr; }

    // False, with `value` untouched, if there is no such key. An empty key finds the first raw entry.
    bool value(std::wstring_view section, std::wstring_view key, std::wstring& value) const;

    // Key lines as "key=value"; comments if bit 0 of `flags` is set, other lines if bit 1 is. False, with
    // `lines` untouched, if there is no such section or it is deleted.
    bool lines(std::wstring_view section, std::vector<std::wstring>& lines, std::uint32_t flags) const;

    // The key lines alone, under the same rules.
    bool pairs(std::wstring_view section, std::vector<std::pair<std::wstring, std::wstring>>& pairs) const;

    void names(std::vector<std::wstring>& names) const;

    // The edits, which change nothing if memory runs out. The last two answer whether there is now something
    // to write.
    void write_value(std::wstring_view section, std::wstring_view key, const std::wstring& value);
    void write_section(std::wstring_view section, const std::vector<std::wstring>& lines);
    bool delete_value(std::wstring_view section, std::wstring_view key);
    bool delete_section(std::wstring_view section);

    // Hands out a copy of all changed sections for a merge and counts everything as written.
    [[nodiscard]] std::list<ini_section> commit();
    // Takes a commit back that could not be written: what it handed out waits for the next one again, as far
    // as no later edit has replaced it.
    void restore(std::list<ini_section> snapshot) noexcept;

private:
    const ini_section* find(std::wstring_view name) const;
    ini_section* find(std::wstring_view name);
    ini_section& find_or_make(std::wstring_view name, std::list<ini_section>& fresh);
    void insert(std::list<ini_section>& fresh);

    static void restore(ini_section& target, ini_section& section) noexcept;

    std::list<ini_section> list_;
    first_of_name<ini_section, name_of> by_name_;
};

} // namespace cl
