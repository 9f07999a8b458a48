// The settings cache and its merge on any text at the load, any text at the flush and any edits between: it
// shows and writes what the naive one does, and whatever the merge is told to write, the lines of unchanged
// keys and of foreign sections survive in their order.
//
// Input: a byte (bit 0: the file has the UTF-8 mark), the text at the load up to a zero, that at the flush up
// to a zero (empty: the same), then the edits. One byte is one character.
#include "cl/ini/ini_merge.hpp"
#include "cl/ini/ini_script.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace ini_script;

void check(bool right, const char* what) {
    if (right)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

cl::next_line reader(const naive::text& text) {
    return [text, i = std::size_t{0}](std::wstring& line) mutable {
        if (i == text.size())
            return false;
        line = text[i++];
        return true;
    };
}

// The memory under the names of the lookups of a cache.
struct memory {
    cl::ini_sections sections;

    bool get_section_names(std::vector<std::wstring>& names) const { return sections.names(names), true; }
    bool section_exists(const std::wstring& name) const { return sections.exists(name); }
    bool get_section(const std::wstring& name, std::vector<std::wstring>& lines, std::uint32_t flags) const {
        return sections.lines(name, lines, flags);
    }
    template <class Pairs>
    bool get_section_pairs(const std::wstring& name, Pairs& pairs) const {
        return sections.pairs(name, pairs);
    }
    bool get_value(const std::wstring& section, const std::wstring& key, std::wstring& value) const {
        return sections.value(section, key, value);
    }
    // The edits, whose answers are not compared.
    bool write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value, bool) {
        return sections.write_value(section, key, value), true;
    }
    bool delete_value(const std::wstring& section, const std::wstring& key) {
        return sections.delete_value(section, key);
    }
    bool write_section(const std::wstring& section, const std::vector<std::wstring>& lines) {
        return sections.write_section(section, lines), true;
    }
    bool delete_section(const std::wstring& section) { return sections.delete_section(section); }
};

// The lines of the file that no edit was about.
naive::text untouched_lines(const naive::text& file, const std::vector<edit>& edits) {
    naive::text lines, front;
    for (const naive::block& b : naive::cut(file, front)) {
        bool edited = false, whole = false;
        std::set<string> keys;
        for (const edit& e : edits) {
            if (naive::lower(naive::trim(e.section)) != naive::lower(b.name))
                continue;
            edited = true;
            whole = whole || e.what == edit::write_section || e.what == edit::delete_section;
            keys.insert(naive::lower(naive::trim(e.key)));
        }
        if (b.has_header && !edited)
            lines.push_back(b.header);
        for (const string& line : b.lines) {
            const naive::entry entry = naive::entry::parse(line);
            if (!whole && (entry.raw || !keys.contains(naive::lower(entry.key))))
                lines.push_back(line);
        }
    }
    return lines;
}

bool holds_in_order(const naive::text& all, const naive::text& wanted) {
    std::size_t next = 0;
    for (const string& line : all)
        next += next < wanted.size() && line == wanted[next];
    return next == wanted.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string input(reinterpret_cast<const char*>(data), size);
    if (input.empty())
        return 0;
    const bool mark = input[0] & 1;
    std::size_t at = 1;
    const auto text = [&] {
        const std::size_t end = std::min(input.find('\0', at), input.size());
        const naive::text lines = lines_of(string(data + at, data + end)); // unsigned
        at = std::min(end + 1, input.size());
        return lines;
    };
    const naive::text at_load = text();
    naive::text at_flush = text();
    if (at_flush.empty())
        at_flush = at_load;

    memory real;
    naive::cache expected;
    real.sections.load(reader(at_load));
    expected.load(at_load);
    // Names that the texts hold are edited as often as those that collide with each other.
    const generator random{[&](unsigned limit) {
        return at < input.size() ? static_cast<unsigned char>(input[at++]) % limit : 0U;
    }};
    std::vector<edit> edits;
    for (int i = 0; i < 20 && at < input.size(); ++i) {
        edit e = random.next_edit();
        if (!expected.sections.empty() && random.below(2)) {
            const naive::section& s = expected.sections[random.below(unsigned(expected.sections.size()))];
            e.section = s.name;
            if (!s.entries.empty())
                e.key = s.entries[random.below(unsigned(s.entries.size()))].key;
        }
        e.apply(real);
        e.apply(expected);
        edits.push_back(std::move(e));
    }
    check(shown(real) == shown(expected), "the lookups differ");

    std::list<cl::ini_section> snapshot = real.sections.commit();
    naive::text merged;
    const bool any = !snapshot.empty();
    cl::ini_merge merge(
        snapshot, [&](const std::wstring& line) { return merged.push_back(line), true; }, mark);
    check(!any || merge(reader(at_flush)), "a write failed");
    const auto naively = expected.flush(at_flush, mark);
    check(naively ? merged == *naively : !any, "the merged texts differ");
    check(!any || holds_in_order(merged, untouched_lines(at_flush, edits)), "a foreign line is lost");
    check(shown(real) == shown(expected), "the lookups differ after the flush");
    return 0;
}
