#include "cl/ini/ini_rewrite.hpp"

#include "cl/text/string_util.hpp"

namespace cl {

namespace {

// Whether a line, trimmed at the left, that is neither blank nor a comment nor a header holds the trimmed
// key. The white space inside the key of the line is taken as it stands.
bool has_key(std::wstring_view line, std::wstring_view key) {
    const std::size_t equals = line.find(L'=');
    return equals != line.npos && equal_ci(trim_both(line.substr(0, equals)), key);
}

bool is_comment(std::wstring_view line) {
    return line.starts_with(L';');
}

} // namespace

bool find_ini_value(const next_line& next, const std::wstring& section, const std::wstring& key,
                    std::wstring& value) {
    // Copies: the caller may have given one string for both.
    const std::wstring wanted_section(trim_both(section));
    const std::wstring wanted_key(trim_both(key));
    bool in_section = false;
    std::wstring text;
    std::wstring name;
    while (next(text)) {
        const std::wstring_view line = trim_front(text);
        if (line.empty() || is_comment(line))
            continue;
        if (parse_section_line(line, name)) {
            in_section = equal_ci(name, wanted_section);
        } else if (in_section && has_key(line, wanted_key)) {
            value = normal_form(line.substr(line.find(L'=') + 1));
            return true;
        }
    }
    return false;
}

bool list_ini_section(const next_line& next, const std::wstring& section, std::vector<std::wstring>& lines,
                      std::uint32_t flags) {
    const std::wstring wanted(trim_both(section)); // a copy: it may be one of `lines`
    bool in_section = false;
    std::wstring text, name, key, value;
    lines.clear();
    while (next(text)) {
        const std::wstring_view line = trim_front(text);
        if (line.empty())
            continue;
        if (parse_section_line(line, name)) {
            if (in_section)
                break;
            in_section = equal_ci(name, wanted);
        } else if (!in_section) {
            continue;
        } else if (is_comment(line)) {
            if (flags & 1U)
                lines.emplace_back(line);
        } else if (parse_ini_line(line, key, value)) {
            lines.push_back(make_ini_line(key, value));
        } else if (flags & 2U) {
            lines.emplace_back(trim_back(line));
        }
    }
    return in_section;
}

void list_ini_section_names(const next_line& next, std::vector<std::wstring>& names) {
    std::wstring text, name;
    names.clear();
    while (next(text)) {
        if (parse_section_line(trim_front(text), name))
            names.push_back(name);
    }
}

template <class Rule>
void ini_rewrite::for_each_line(Rule rule) const {
    bool first = true;
    std::wstring line, name;
    while (next(line)) {
        trim_left(line);
        if (first && !line.empty() && marked)
            put(std::wstring());
        first = false;
        rule(line, parse_section_line(line, name) ? &name : nullptr);
    }
}

void ini_rewrite::write_value(const std::wstring& section, const std::wstring& key,
                              const std::wstring& value) const {
    const std::wstring_view wanted_section = trim_both(section);
    const std::wstring_view wanted_key = trim_both(key);
    const std::wstring own = make_ini_line(key, value);
    bool in_section = false;
    bool done = false;
    for_each_line([&](const std::wstring& line, const std::wstring* header) {
        if (header) {
            if (in_section && !done) {
                put(own);
                done = true;
            }
            in_section = equal_ci(*header, wanted_section);
            put(line);
        } else if (in_section && !is_comment(line) && has_key(line, wanted_key)) {
            // Done isn't asked: a later section of the same name that holds the key gets the value as well.
            put(own);
            in_section = false;
            done = true;
        } else {
            put(line);
        }
    });
    if (done)
        return;
    if (!in_section)
        put(make_section_line(section));
    put(own);
}

void ini_rewrite::delete_value(const std::wstring& section, const std::wstring& key) const {
    const std::wstring_view wanted_section = trim_both(section);
    const std::wstring_view wanted_key = trim_both(key);
    bool in_section = false;
    for_each_line([&](const std::wstring& line, const std::wstring* header) {
        if (header) {
            in_section = equal_ci(*header, wanted_section);
        } else if (in_section && !is_comment(line) && has_key(line, wanted_key)) {
            in_section = false;
            return;
        }
        put(line);
    });
}

void ini_rewrite::write_section(const std::wstring& section, const std::vector<std::wstring>& lines) const {
    const std::wstring_view wanted = trim_both(section);
    bool in_section = false;
    bool done = false;
    const auto put_all = [&] {
        for (const std::wstring& line : lines)
            put(line);
    };
    for_each_line([&](const std::wstring& line, const std::wstring* header) {
        if (header) {
            in_section = equal_ci(*header, wanted);
            put(line);
            if (in_section && !done) {
                put_all();
                done = true;
            }
        } else if (!in_section) {
            put(line);
        }
    });
    if (done)
        return;
    put(make_section_line(section));
    put_all();
}

void ini_rewrite::delete_section(const std::wstring& section) const {
    const std::wstring_view wanted = trim_both(section);
    bool in_section = false;
    for_each_line([&](const std::wstring& line, const std::wstring* header) {
        if (header)
            in_section = equal_ci(*header, wanted);
        if (!in_section)
            put(line);
    });
}

} // namespace cl
