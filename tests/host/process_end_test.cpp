// The order of start and end of the process-wide objects, from outside: a program that links the product's
// own file of them ends in one of many ways, and leaves its log.
#include "temp_folder.hpp"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <process.h>

namespace fs = std::filesystem;

TEST(process_end, what_is_left) {
    const struct {
        const wchar_t* way;
        int lines; // of the main thread, numbered from 0 on
        bool more; // later ones may have got out
    } rows[] = {
        {L"return", 1000, false},        {L"exit_elsewhere", 1000, false}, {L"during_flush", 522, false},
        {L"among_writers", 1000, false}, {L"terminated", 1000, true},      {L"exit_process", 1000, true},
        {L"without_path", 0, false},
    };
    const fs::path exe = fs::path(testing::internal::GetArgvs()[0]).parent_path() / "ending_process.exe";
    for (const auto& row : rows) {
        SCOPED_TRACE(fs::path(row.way).string());
        const temp_folder folder;
        const std::wstring quoted = L"\"" + folder.folder.wstring() + L"\"";
        EXPECT_EQ(_wspawnl(_P_WAIT, exe.c_str(), L"ending_process", row.way, quoted.c_str(), nullptr), 7);
        std::ifstream log(folder.folder / "trace.txt", std::ios::binary);
        EXPECT_EQ(log.is_open(), row.lines > 0);
        std::string line;
        // The banner of the start comes first, although there was no path yet.
        EXPECT_EQ(std::getline(log, line) && line.find(" srv: ------ VexaFlow (x64) service v") == 10 &&
                      line.ends_with(" starting ------\r"),
                  row.lines > 0)
            << line;
        std::map<char, int> lines; // of each writer, all of them whole and in order
        while (std::getline(log, line)) {
            char writer = 0;
            int number = -1; // "235907-042 a 17\r"; a longer text follows in one case
            ASSERT_TRUE(line.size() > 12 && line.back() == '\r' && line[10] == ' ' &&
                        std::sscanf(line.c_str() + 11, "%c %d", &writer, &number) == 2 &&
                        number == lines[writer]++)
                << line.substr(0, 100);
        }
        EXPECT_TRUE(lines['a'] == row.lines || (row.more && lines['a'] > row.lines)) << lines['a'];
        std::ifstream settings(folder.folder / "global.ini");
        const std::string text{std::istreambuf_iterator<char>(settings), {}};
        EXPECT_EQ(text.find("last=unwritten") != text.npos, row.way == std::wstring(L"return"));
    }
}
