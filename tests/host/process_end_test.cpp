// The order of start and end of the process-wide objects, from outside: a program that links the product's
// own file of them is run, ends in one of many ways, and leaves its log.
#include "temp_folder.hpp"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <process.h>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct outcome {
    std::intptr_t code = 0;
    std::string first_line;
    std::map<char, int> lines; // how many of each writer, in order from 0 on
    int torn = 0;              // lines that are not whole or out of order
    bool has_log = false;
    std::string settings;
};

std::string bytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

outcome run(const wchar_t* way) {
    const temp_folder folder;
    const std::wstring exe =
        (fs::path(testing::internal::GetArgvs()[0]).parent_path() / "ending_process.exe").wstring();
    const std::wstring quoted =
        L"\"" + folder.folder.wstring() + L"\\\\\""; // a backslash ahead of a quote is doubled
    outcome o;
    o.code = _wspawnl(_P_WAIT, exe.c_str(), L"ending_process", way, quoted.c_str(), nullptr);
    o.has_log = fs::exists(folder.folder / "trace.txt");
    o.settings = bytes(folder.folder / "global.ini");
    std::ifstream in(folder.folder / "trace.txt", std::ios::binary);
    std::getline(in, o.first_line);
    for (std::string line; std::getline(in, line);) {
        char writer = 0;
        int number = -1;
        // "235907-042 a 17\r"; a longer text follows in one case
        if (line.size() < 12 || line.back() != '\r' || line[10] != ' ' ||
            std::sscanf(line.c_str() + 11, "%c %d", &writer, &number) != 2 || number != o.lines[writer])
            ++o.torn;
        ++o.lines[writer];
    }
    return o;
}

} // namespace

TEST(process_end, what_the_log_holds) {
    const struct {
        const wchar_t* way;
        int lines; // of the main thread
        bool more; // later ones may have got out
    } rows[] = {
        {L"return", 1000, false},        {L"exit_elsewhere", 1000, false}, {L"during_flush", 522, false},
        {L"among_writers", 1000, false}, {L"terminated", 1000, true},      {L"exit_process", 1000, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(fs::path(row.way).string());
        const outcome o = run(row.way);
        EXPECT_EQ(o.code, 7);
        // The banner of the start stands first, whatever came ahead of the path.
        EXPECT_NE(o.first_line.find(" srv: ------ VexaFlow (x64) service v"), std::string::npos)
            << o.first_line;
        EXPECT_NE(o.first_line.find(" starting ------\r"), std::string::npos);
        EXPECT_EQ(o.torn, 0);
        const int found = o.lines.count('a') ? o.lines.at('a') : 0;
        EXPECT_TRUE(found == row.lines || (row.more && found > row.lines)) << found;
    }
}

TEST(process_end, settings_are_written_and_a_log_without_a_path_leaves_nothing) {
    EXPECT_NE(run(L"return").settings.find("last=unwritten"), std::string::npos);
    const outcome o = run(L"without_path");
    EXPECT_EQ(o.code, 7);
    EXPECT_FALSE(o.has_log);
}
