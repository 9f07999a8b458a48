// The log as the settings file tells it to be.
#include "host/configuration.hpp"

#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "host/host_state.hpp"
#include "rows.hpp"
#include "temp_folder.hpp"

#include <fstream>

namespace fs = std::filesystem;

TEST(configuration, the_log) {
    cl::trace_list* const lists[] = {&cl::trace_err, &cl::trace_out, &cl::trace_log};
    for_rows("configuration.tsv", [&](const row& r) {
        const temp_folder folder;
        vfl::data_dir = (folder.folder / "").wstring();
        const fs::path log = folder.folder / "trace.txt", old = folder.folder / "trace_old.txt";
        std::ofstream(folder.folder / "global.ini", std::ios::binary) << r.text("settings");
        if (r.number("size"))
            std::ofstream(log, std::ios::binary)
                << std::string(static_cast<std::size_t>(r.number("size")), 'x');
        cl::trace_file.set_path({});
        for (cl::trace_list* list : lists)
            cl::trace_add(list, &cl::trace_file);
        vfl::configure_host();
        cl::trace_log(std::string(99, 'y') + "\n");
        for (cl::trace_list* list : lists)
            EXPECT_EQ(cl::trace_remove(list, &cl::trace_file), r.number("logged") == 1);
        const auto size = [](const fs::path& file) { return fs::exists(file) ? fs::file_size(file) : 0; };
        EXPECT_EQ(size(log), r.number("log"));
        EXPECT_EQ(size(old), r.number("old"));
        cl::trace_file.discard(true);
        cl::trace_file.set_path({});
        cl::global_ini.close();
    });
    EXPECT_EQ(cl::global_ini.check_interval, 2000u);
    EXPECT_TRUE(cl::global_ini.unicode);
}
