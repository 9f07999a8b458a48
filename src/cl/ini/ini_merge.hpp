// The merge of a flush: lays the changed sections of the cache over a file as it is now, line by line. Only
// the lines of changed keys, and the bodies of replaced or deleted sections, differ afterwards; every other
// line, and the order of all, stays.
#pragma once

#include "cl/ini/ini_sections.hpp"

#include <functional>
#include <list>
#include <map>
#include <string>

namespace cl {

class ini_merge {
public:
    // `snapshot` is what a commit handed out; the merge marks in it what it has met. `utf8_mark` means that
    // the source begins with the UTF-8 mark, after which the first line is kept blank. `pass`, if there is
    // one, moves lines from here on that are to be copied as they are, as many as it likes, but no header;
    // false if they could not be written.
    ini_merge(std::list<ini_section>& snapshot, put_line put, bool utf8_mark, std::function<bool()> pass = {})
        : snapshot_(snapshot), put_(std::move(put)), pass_(std::move(pass)), utf8_mark_(utf8_mark) {}

    // Reads the source to its end and writes the merged text. False if a line could not be written; the rest
    // is written all the same. To be called once.
    [[nodiscard]] bool operator()(const next_line& next);

private:
    void merge_line(const std::wstring& line);
    bool merge_section();
    void merge_body_line(const std::wstring& line);
    void finish_section();
    void write_missing_sections();

    void write(const std::wstring& line);

    std::list<ini_section>& snapshot_;
    put_line put_;
    std::function<bool()> pass_;
    const bool utf8_mark_;

    bool all_written_ = true;
    bool front_ = true;                                // nothing but blank lines so far
    bool skip_ = false;                                // lines of this section aren't simply copied
    bool by_key_ = false;                              // the section is merged key by key, with `pending_`
    std::wstring name_;                                // of the section that the pass is in
    std::wstring key_, value_;                         // of the line at hand
    std::map<std::wstring, const ini_entry*> pending_; // changed keys, lower case, not yet met in the file
};

} // namespace cl
