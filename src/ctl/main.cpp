#include "cl/format/format.hpp"
#include "ctl/commands.hpp"
#include "version.h"

#include <vector>

namespace vfl::ctl {

namespace {

struct entry {
    std::wstring_view name;
    int (*run)(const arguments&, output&);
};

constexpr entry entries[] = {
    {L"doctor", run_doctor}, {L"explain", run_explain}, {L"ini", run_ini},
    {L"log", run_log},       {L"service", run_service},
};

int run(const std::vector<std::wstring_view>& words, standard_output& out) {
    const parsed_line line = parse_command_line(words);
    if (!line.error.empty()) {
        out.put(stream::err, line.error, colour::normal);
        return exit_usage;
    }
    redirected_utf8 = line.args.has(L"--utf8");
    if (line.args.has(L"--version")) {
        out.put(stream::out, L"vflctl " VFL_WIDE_VERSION L"\n", colour::normal);
        return exit_done;
    }
    if (line.args.has(L"--help")) {
        out.put(stream::out, help_text(line.args.command), colour::normal);
        return exit_done;
    }
    for (const entry& e : entries)
        if (e.name == line.args.command->name)
            return e.run(line.args, out);
    return exit_usage;
}

} // namespace

} // namespace vfl::ctl

int wmain(int argc, wchar_t** argv) {
    const std::vector<std::wstring_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    vfl::ctl::standard_output out;
    try {
        return vfl::ctl::run(words, out);
    } catch (const vfl::ctl::reader_gone&) {
        return vfl::ctl::exit_done;
    }
}
