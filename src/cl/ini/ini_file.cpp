#include "cl/ini/ini_file.hpp"

#include "cl/file/uni_file.hpp"
#include "cl/text/string_util.hpp"
#include "cl/trace/say.hpp"

namespace cl {

namespace {

constexpr std::uint32_t read_flags = open_read | open_sequential;
constexpr std::uint32_t edit_flags = open_read_write | open_sequential | open_create;
constexpr std::uint32_t temp_flags = open_read_write | open_sequential; // open_temp adds the rest

std::uint32_t default_encoding(bool unicode) {
    return unicode ? encoding_utf8 : encoding_ansi;
}

// The most bytes that a character and a line end take in any encoding.
constexpr std::int64_t max_char_bytes = 4;
// The mark, the blank line after it, and the end of a last line that has none.
constexpr std::int64_t max_frame_bytes = 5 * max_char_bytes;

next_line lines_of(uni_file& file) {
    return [&file](std::wstring& line) { return file.read_line(line); };
}

} // namespace

bool ini_file::open_ini(uni_file& file, bool read_only, bool report) const {
    if (file.open_as(path, read_only ? read_flags : edit_flags, default_encoding(unicode), share_deny_write))
        return true;
    if (report && !file.was_not_found())
        report_open_error(file.last_error);
    return false;
}

void ini_file::report_open_error(std::uint32_t error) const {
    say(trace_err, "file '%?' open error %u\n", path, error);
}

void ini_file::report_read_error(std::uint32_t error) const {
    say(trace_err, "file '%?' read error %u\n", path, error);
}

bool ini_file::make_temp(const uni_file& source, uni_file& temp, std::wstring* name) const {
    if (name)
        name->clear();
    std::wstring temp_path;
    if (!temp.open_temp(dir_of(path) + L"ini", temp_flags, &temp_path))
        return false;
    const std::uint32_t encoding =
        source.encoding != encoding_ansi ? source.encoding : default_encoding(unicode);
    if (!temp.set_encoding(encoding, false) || !temp.write_bom() || !temp.set_end())
        return false;
    if (name)
        *name = std::move(temp_path);
    return true;
}

bool ini_file::reserve_temp(uni_file& source, uni_file& temp, std::size_t added) {
    // Each unit may be a line end that becomes CR LF, each byte of an ANSI text three of UTF-8.
    const std::int64_t growth = source.encoding == temp.encoding ? 2 : 3;
    return temp.reserve(source.size() * growth + static_cast<std::int64_t>(added) * max_char_bytes +
                        max_frame_bytes);
}

bool ini_file::reserve_copy(uni_file& temp, uni_file& source) {
    const std::int64_t size = temp.size();
    return size <= source.size() || source.reserve(size) || source.last_error == os::error_not_supported;
}

bool ini_file::copy_back(uni_file& temp, uni_file& source) {
    if (!temp.copy_to(source, true))
        return false;
    temp.close();
    return true;
}

bool ini_file::get_value_unlocked(const std::wstring& section, const std::wstring& key, std::wstring& value) {
    uni_file file;
    return open_ini(file, true, true) && find_ini_value(lines_of(file), section, key, value);
}

bool ini_file::get_value(const std::wstring& section, const std::wstring& key, std::wstring& value) {
    return get_value_unlocked(section, key, value);
}

bool ini_file::get_value_current(const std::wstring& section, const std::wstring& key, std::wstring& value) {
    return get_value_unlocked(section, key, value);
}

void ini_file::set_file(const std::wstring& file_path, bool as_unicode) {
    path = file_path;
    unicode = as_unicode;
}

bool ini_file::get_section(const std::wstring& section, std::vector<std::wstring>& lines,
                           std::uint32_t flags) {
    uni_file file;
    return open_ini(file, true, true) && list_ini_section(lines_of(file), section, lines, flags);
}

bool ini_file::get_section_names(std::vector<std::wstring>& names) {
    uni_file file;
    if (!open_ini(file, true, true))
        return false;
    list_ini_section_names(lines_of(file), names);
    return true;
}

bool ini_file::get_section_current(const std::wstring& section, std::vector<std::wstring>& lines,
                                   std::uint32_t flags) {
    return get_section(section, lines, flags);
}

bool ini_file::get_section_names_current(std::vector<std::wstring>& names) {
    return get_section_names(names);
}

bool ini_file::section_exists(const std::wstring& section) {
    std::vector<std::wstring> lines;
    return get_section(section, lines, 3) && !lines.empty();
}

bool ini_file::section_exists_current(const std::wstring& section) {
    return section_exists(section);
}

template <class Edit>
bool ini_file::rewrite(std::size_t added, Edit edit) {
    uni_file source, temp;
    if (!open_ini(source, false, true) || !make_temp(source, temp, nullptr))
        return false;
    const bool reserved = reserve_temp(source, temp, added);
    if (!reserved && temp.last_error != os::error_not_supported)
        return false;
    if (source.size() == 0)
        source.last_error = 0; // its mark may have failed to go out; no read did
    const next_line next = lines_of(source);
    const put_line put = [&temp](const std::wstring& line) { return temp.write_line(line); };
    edit(ini_rewrite{next, put, source.encoding != encoding_ansi});
    // Deliberate: what a failed write lost is missing from the copy too. Only where no space could be set
    // aside does the file stay as it is.
    if (source.last_error != 0)
        report_read_error(source.last_error);
    else if ((temp.sync() || reserved) && temp.set_end() && reserve_copy(temp, source))
        copy_back(temp, source);
    return true;
}

bool ini_file::write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value,
                           bool) {
    return rewrite(section.size() + key.size() + value.size() + 7,
                   [&](const ini_rewrite& lines) { lines.write_value(section, key, value); });
}

bool ini_file::delete_value(const std::wstring& section, const std::wstring& key) {
    return rewrite(0, [&](const ini_rewrite& lines) { lines.delete_value(section, key); });
}

bool ini_file::write_section(const std::wstring& section, const std::vector<std::wstring>& section_lines) {
    std::size_t added = section.size() + 4;
    for (const std::wstring& line : section_lines)
        added += line.size() + 2;
    return rewrite(added, [&](const ini_rewrite& lines) { lines.write_section(section, section_lines); });
}

bool ini_file::delete_section(const std::wstring& section) {
    return rewrite(0, [&](const ini_rewrite& lines) { lines.delete_section(section); });
}

bool ini_file::flush() {
    return true;
}

bool ini_file::reload() {
    return true;
}

void ini_file::close() {}

std::size_t ini_file::section_count() {
    std::vector<std::wstring> names;
    return get_section_names(names) ? names.size() : 0;
}

std::size_t ini_file::section_count_current() {
    return section_count();
}

} // namespace cl
