#include "cl/format/format.hpp"
#include "ctl/command_table.hpp"
#include "ctl/commands.hpp"
#include "version.h"

#include <iterator>
#include <vector>

namespace vfl::ctl {

namespace {

struct entry {
    std::wstring_view name;
    int (*run)(const arguments&, output&);
};

// In the order of the table.
constexpr entry entries[] = {
    {L"doctor", run_doctor}, {L"log", run_log},         {L"explain", run_explain},
    {L"ini", run_ini},       {L"service", run_service},
};

constexpr bool agree() {
    if (std::size(entries) != std::size(command_table))
        return false;
    for (std::size_t i = 0; i < std::size(entries); ++i)
        if (entries[i].name != command_table[i].name)
            return false;
    return true;
}
static_assert(agree(), "a command that is offered has to be there, and the other way round");

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
    } catch (const vfl::ctl::output_lost& lost) {
        out.put(vfl::ctl::stream::err,
                L"vflctl: the output can't be written (error " + std::to_wstring(lost.error) + L")\n",
                vfl::ctl::colour::normal);
        return vfl::ctl::exit_failed;
    }
}
