#include "ctl/ini_command.hpp"

#include "cl/ini/cached_ini.hpp"
#include "cl/ini/ini_text.hpp"
#include "cl/os/error.hpp"
#include "cl/os/file.hpp"
#include "ctl/commands.hpp"
#include "ctl/settings_check.hpp"
#include "product/names.hpp"

#include <vector>

namespace vfl::ctl {

namespace {

// The cache wants a timer for flushes that it delays; this program flushes each change itself.
class unused_timer final : public cl::base_timer {
public:
    unused_timer() : base_timer("unused", false) {}

private:
    void wake() override {}
    void wait_due_known(cl::mutex_auto&) override {}
};

int fail(output& out, const std::wstring& text, int code) {
    out.put(stream::err, L"vflctl: " + text + L"\n");
    return code;
}

// The error with which the file can't be opened for that access, or 0.
std::uint32_t open_error(const std::wstring& path, std::uint32_t access) {
    cl::os::file_handle file = cl::os::invalid_file;
    const std::uint32_t error = cl::os::open_file(
        path.c_str(), {access, cl::os::share_read | cl::os::share_write | cl::os::share_delete}, file);
    if (error == 0)
        cl::os::close_file(file);
    return error;
}

int fail_to_open(output& out, const std::wstring& path, std::uint32_t error) {
    std::wstring text = L"can't open " + shown(path) + L" (error " + std::to_wstring(error) + L")";
    if (error == cl::os::error_access_denied)
        text += L"; it needs an administrator's console";
    else if (error == cl::os::error_not_found || error == cl::os::error_path_not_found)
        text += L"; it isn't there";
    else if (error == cl::os::error_sharing)
        text += L"; another program holds it";
    return fail(out, text, exit_failed);
}

int list(cl::ini_file& file, const arguments& args, output& out) {
    std::vector<std::wstring> lines;
    const bool whole = args.words.size() == 1;
    const bool found = whole ? file.get_section_names(lines) : file.get_section(args.words[1], lines, 0);
    for (const std::wstring& line : lines)
        out.put(stream::out, shown(line) + L"\n");
    return found ? exit_done : exit_failed;
}

int change(const std::wstring& path, const arguments& args, output& out) {
    const std::wstring &section = args.words[1], &key = args.words[2];
    const bool sets = args.words[0] == L"set";
    const std::wstring value = sets ? args.words[3] : std::wstring();
    for (const std::wstring& reason :
         {why_not_a_section(section), why_not_a_key(key), sets ? why_not_a_value(value) : std::wstring()})
        if (!reason.empty())
            return fail(out, reason, exit_usage);

    unused_timer timer;
    cl::cached_ini settings(timer);
    settings.set_file(path, true);
    if (sets)
        settings.write_value(section, key, value, false);
    else
        settings.delete_value(section, key);
    // A flush that answers true may still have failed to copy: only the file itself knows.
    const bool flushed = settings.flush();
    cl::ini_file file;
    file.set_file(path, true);
    std::wstring now;
    const bool there = file.get_value(section, key, now);
    if (!flushed || there != sets || (sets && now != value)) {
        if (const std::uint32_t error = open_error(path, cl::os::access_write))
            return fail_to_open(out, path, error);
        return fail(out, L"the change did not reach " + shown(path), exit_failed);
    }
    if (cl::equal_ci(section, host_section) &&
        (cl::equal_ci(key, trace_key) || cl::equal_ci(key, max_trace_size_key)))
        out.put(stream::err, L"It takes effect when the service starts next.\n");
    return exit_done;
}

// What in the file doesn't mean what its author thinks.
int check(const std::wstring& path, output& out) {
    cl::os::file_handle file = cl::os::invalid_file;
    constexpr std::uint32_t share_all = cl::os::share_read | cl::os::share_write | cl::os::share_delete;
    std::uint32_t error = cl::os::open_file(path.c_str(), {cl::os::access_read, share_all}, file);
    std::string bytes;
    char piece[4096];
    for (std::uint32_t count = 1; error == 0 && count != 0; bytes.append(piece, count))
        error = cl::os::read_file(file, piece, sizeof piece, count);
    if (file != cl::os::invalid_file)
        cl::os::close_file(file);
    if (error != 0)
        return fail_to_open(out, path, error);
    const std::vector<std::wstring> findings = check_settings(bytes);
    for (const std::wstring& finding : findings)
        out.put(stream::out, shown(finding) + L"\n");
    return findings.empty() ? exit_done : exit_failed;
}

bool has_break(std::wstring_view text) {
    return text.find_first_of(L"\r\n\t\v\f") != text.npos || text.find(L'\0') != text.npos;
}

std::wstring why_not_in_a_line(std::wstring_view what, std::wstring_view text) {
    const std::wstring name(what);
    if (has_break(text))
        return name + L" can't hold line breaks or tabs";
    if (text != cl::trim_both(text))
        return name + L" can't begin or end with a blank";
    return {};
}

} // namespace

std::wstring why_not_a_section(std::wstring_view name) {
    if (name.empty())
        return L"a section needs a name";
    if (name.find(L']') != name.npos)
        return L"a section's name can't hold \"]\"";
    return why_not_in_a_line(L"a section's name", name);
}

std::wstring why_not_a_key(std::wstring_view key) {
    if (key.empty())
        return L"a key needs a name";
    if (key.find(L'=') != key.npos)
        return L"a key can't hold \"=\"";
    if (key[0] == L';' || key[0] == L'[')
        return L"a key can't begin with \";\" or \"[\"";
    return why_not_in_a_line(L"a key", key);
}

std::wstring why_not_a_value(std::wstring_view value) {
    return why_not_in_a_line(L"a value", value);
}

int run_ini_on(const std::wstring& path, const arguments& args, output& out) {
    struct form {
        std::wstring_view verb;
        std::size_t least, most;
        std::wstring_view usage;
    };
    static constexpr form forms[] = {{L"list", 1, 2, L"ini list [SECTION]"},
                                     {L"get", 3, 3, L"ini get SECTION KEY"},
                                     {L"set", 4, 4, L"ini set SECTION KEY VALUE"},
                                     {L"unset", 3, 3, L"ini unset SECTION KEY"},
                                     {L"check", 1, 1, L"ini check"}};
    const form* asked = nullptr;
    for (const form& f : forms)
        if (f.verb == args.words[0])
            asked = &f;
    if (!asked)
        return out.put(stream::err, unknown_word(args.words[0], {L"list", L"get", L"set", L"unset", L"check"},
                                                 *args.command)),
               exit_usage;
    if (args.words.size() < asked->least || args.words.size() > asked->most)
        return fail(out, L"it is: vflctl " + std::wstring(asked->usage) + L". See vflctl ini --help",
                    exit_usage);
    if (asked->verb == L"check")
        return check(path, out);
    if (asked->least > 2 && asked->verb != L"get")
        return change(path, args, out);

    if (const std::uint32_t error = open_error(path, cl::os::access_read))
        return fail_to_open(out, path, error);
    cl::ini_file file;
    file.set_file(path, true);
    if (asked->verb == L"list")
        return list(file, args, out);
    std::wstring value;
    if (!file.get_value(args.words[1], args.words[2], value))
        return exit_failed;
    out.put(stream::out, shown(value) + L"\n");
    return exit_done;
}

} // namespace vfl::ctl
