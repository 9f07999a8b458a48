// The direct operations on an INI file, as passes over its lines: what a lookup finds, and which lines an
// edit copies, replaces, drops and adds. Each reads the source to its end, unless it says otherwise; an edit
// writes the whole new text. Section and key are trimmed for matching, and written as the caller spelled
// them.
#pragma once

#include "cl/ini/ini_text.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace cl {

// Stops at the first line of that key, in any section of that name. Returns false, with `value` untouched, if
// there is none. An empty key matches a line "=value".
bool find_ini_value(const next_line& next, const std::wstring& section, const std::wstring& key,
                    std::wstring& value);

// The lines of the first section of that name, key lines in normal form; comments if bit 0 of `flags` is set,
// other lines if bit 1 is; never blank ones. Returns whether the section was met.
bool list_ini_section(const next_line& next, const std::wstring& section, std::vector<std::wstring>& lines,
                      std::uint32_t flags);

// The name of every header, repeats and empty names included.
void list_ini_section_names(const next_line& next, std::vector<std::wstring>& names);

// The edits. The result of `put` is not looked at. `marked` means that the source begins with a byte order
// mark, after which the first line is kept blank.
struct ini_rewrite {
    const next_line& next;
    const put_line& put;
    bool marked;

    // Replaces the first line of the key, or adds it at the end of the first section of that name, or adds
    // both at the end of the file. A key that an earlier section of the name lacks is added there and
    // replaced too.
    void write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value) const;

    // Drops the first line of the key in each section of that name.
    void delete_value(const std::wstring& section, const std::wstring& key) const;

    // Puts `lines` below the first header of that name and drops the lines of all sections of that name.
    void write_section(const std::wstring& section, const std::vector<std::wstring>& lines) const;

    // Drops every section of that name, up to the next header.
    void delete_section(const std::wstring& section) const;

private:
    // Calls rule(line, header name or null) for each line.
    template <class Rule>
    void for_each_line(Rule rule) const;
};

} // namespace cl
