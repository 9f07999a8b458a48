// An INI file that is read and edited directly: each call opens the file, streams it line by line and closes
// it again. An edit writes the whole new text into a temporary file in the same folder and copies that over
// the source, which keeps its identity, attributes and rights. Space for both is set aside first, where the
// file system can do that, so that a full disk shows before anything is touched.
//
// Results are bools. An open that fails says so on trace_err, except for a missing file; nothing else is
// reported, and nothing is tried again. An out parameter is untouched where the file could not be opened.
//
// There is no lock. Threads and processes are kept apart by the file itself: whoever reads or edits it
// refuses writers, so an edit shuts out all others while it lasts. The order of the slots is fixed, and
// subclasses override single ones.
#pragma once

#include "cl/ini/ini_rewrite.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cl {

class uni_file;

class ini_file {
public:
    bool unicode =
        false; // encoding of a new file, and of one that had no mark once it is rewritten: UTF-8 or ANSI
    std::wstring path;

    // The lookups with "current" in their name first see to it that what they show is what the file holds;
    // those with "unlocked" are for a caller that holds the lock. There is no difference without a cache.
    virtual bool get_value_unlocked(const std::wstring& section, const std::wstring& key,
                                    std::wstring& value);
    virtual bool get_value(const std::wstring& section, const std::wstring& key, std::wstring& value);
    virtual bool get_value_current(const std::wstring& section, const std::wstring& key, std::wstring& value);
    virtual void set_file(const std::wstring& file_path, bool as_unicode);
    // Key lines in normal form; with bit 0 of `flags` comments too, with bit 1 all other lines that aren't
    // blank. True if the section was found.
    virtual bool get_section(const std::wstring& section, std::vector<std::wstring>& lines,
                             std::uint32_t flags);
    // True if the file could be read.
    virtual bool get_section_names(std::vector<std::wstring>& names);
    virtual bool get_section_current(const std::wstring& section, std::vector<std::wstring>& lines,
                                     std::uint32_t flags);
    virtual bool get_section_names_current(std::vector<std::wstring>& names);
    // Deliberate: a section without any line doesn't count.
    virtual bool section_exists(const std::wstring& section);
    virtual bool section_exists_current(const std::wstring& section);

    // Nothing that a caller gives is refused, and nothing quoted: a name of a section ends at its first "]",
    // a key at its first "=", a key with ";" or "[" in front reads as a comment or a header, a line end in a
    // value begins a line of its own, and the value as read is trimmed. An empty section name gives the
    // header
    // "[]"; see cached_ini for what it does there.
    //
    // The edits; see ini_rewrite for what each does to the lines. All create a missing file. True once the
    // temporary file is there, whether or not there was anything to change or the writes succeeded. A source
    // that can't be read to its end stays as it is. `schedule` is for a cache.
    virtual bool write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value,
                             bool schedule);
    virtual bool delete_value(const std::wstring& section, const std::wstring& key);
    virtual bool write_section(const std::wstring& section, const std::vector<std::wstring>& lines);
    virtual bool delete_section(const std::wstring& section);
    virtual ~ini_file() = default;

    // Without effect where there is no cache; the first two then answer true.
    virtual bool flush();
    virtual bool reload();
    virtual void close();

    // Number of names of get_section_names; 0 if that fails.
    virtual std::size_t section_count();
    // Deliberate: no subclass checks the file first.
    virtual std::size_t section_count_current();

    // Opens the file for reading, or for an edit, which creates it. Others may read it, none may write.
    bool open_ini(uni_file& file, bool read_only, bool report) const;
    // Creates the temporary file of an edit, with the encoding that the edited file is to have. It is
    // exclusive and goes when it is closed. `name`, if not null, is its name then, and empty on failure.
    bool make_temp(const uni_file& source, uni_file& temp, std::wstring* name) const;
    // Sets disk space aside for a new text of the source with at most `added` characters more than it has,
    // in temp, before it is written. False with error_not_supported in temp's last_error if nothing can be
    // known about the space there, with any other number if it isn't there.
    static bool reserve_temp(uni_file& source, uni_file& temp, std::size_t added);
    // The same in source for all of temp, before that is copied over it. True if nothing can be known.
    static bool reserve_copy(uni_file& temp, uni_file& source);
    // Copies all of temp over source, and closes temp if that succeeded.
    static bool copy_back(uni_file& temp, uni_file& source);
    // Say on trace_err that the file could not be opened, or not be read to its end.
    void report_open_error(std::uint32_t error) const;
    void report_read_error(std::uint32_t error) const;

private:
    // `added`: characters that the new text has at most more than the old one.
    template <class Edit>
    bool rewrite(std::size_t added, Edit edit);
};

} // namespace cl
