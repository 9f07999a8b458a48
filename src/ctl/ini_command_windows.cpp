#include "ctl/ini_command.hpp"

#include "ctl/commands.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"

namespace vfl::ctl {

int run_ini(const arguments& args, output& out) {
    const auto given = args.value(L"--file");
    return run_ini_on(given ? *given : data_folder(product_word) + settings_file_name, args, out);
}

} // namespace vfl::ctl
