#include "cl/ini/ini_merge.hpp"

#include "cl/text/string_util.hpp"

#include <algorithm>

namespace cl {

bool ini_merge::operator()(const next_line& next) {
    bool first = true;
    std::wstring line;
    const auto next_to_merge = [&] {
        if (pass_ && !front_ && !skip_)
            all_written_ = pass_() && all_written_;
        return next(line);
    };
    while (next_to_merge()) {
        if (!line.empty() && line[0] <= L' ')
            trim_left(line);
        if (first && !line.empty() && utf8_mark_)
            write(std::wstring());
        first = false;
        merge_line(line);
    }
    if (first && utf8_mark_)
        write(std::wstring());
    finish_section();
    write_missing_sections();
    return all_written_;
}

void ini_merge::merge_line(const std::wstring& line) {
    const bool header = parse_section_line(line, name_);
    // The first line that is neither blank nor a header opens the section without a name.
    const bool opens = header || (front_ && !line.empty());
    if (opens) {
        front_ = false;
        finish_section();
        skip_ = merge_section();
    }
    // What opened a section is its header, except for the first line of the section without a name, which is
    // merged like a body line when that section is merged key by key.
    if (!skip_)
        write(line);
    else if (!opens || (by_key_ && name_.empty()))
        merge_body_line(line);
}

// Answers whether the section's lines need more than copying; its header has been written then.
bool ini_merge::merge_section() {
    const auto found = std::find_if(snapshot_.begin(), snapshot_.end(),
                                    [&](const ini_section& s) { return equal_ci(s.name, name_); });
    if (found == snapshot_.end() || found->done)
        return false;
    found->done = true;
    if (found->replaced) {
        if (!found->deleted && !found->name.empty())
            write(make_section_line(found->name));
        for (const ini_entry& entry : found->entries)
            write(entry.line);
        return true;
    }
    for (const ini_entry& entry : found->entries) {
        if (entry.modified && !entry.raw)
            pending_[lower_copy(std::wstring(entry.key()))] = &entry;
    }
    by_key_ = !pending_.empty();
    if (by_key_ && !name_.empty())
        write(make_section_line(found->name));
    return by_key_;
}

void ini_merge::merge_body_line(const std::wstring& line) {
    if (!by_key_)
        return; // the section is replaced
    if (!parse_ini_line(line, key_, value_))
        return write(line);
    const auto found = pending_.find(to_lower_ascii(key_));
    if (found == pending_.end())
        return write(line); // another writer's change may stand here
    // A deleted key stays pending, so that its repeats go too; a repeat of a written key is copied.
    if (found->second->deleted)
        return;
    write(found->second->line);
    pending_.erase(found);
}

void ini_merge::finish_section() {
    for (const auto& [key, entry] : pending_) {
        if (!entry->deleted)
            write(entry->line);
    }
    pending_.clear();
    by_key_ = false;
}

// The sections that the file doesn't have go to its end. So do the lines of one without a name, which then
// read as part of the last section; this is deliberate.
void ini_merge::write_missing_sections() {
    for (const ini_section& section : snapshot_) {
        if (section.done || section.deleted)
            continue;
        if (!section.name.empty())
            write(make_section_line(section.name));
        for (const ini_entry& entry : section.entries) {
            if (!entry.deleted)
                write(entry.line);
        }
    }
}

void ini_merge::write(const std::wstring& line) {
    all_written_ = put_(line) && all_written_;
}

} // namespace cl
