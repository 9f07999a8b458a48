// One settings file and nine processes: eight that change their own keys at the same time and one that reads.
// The others are this executable again, in tests that are disabled otherwise and take their orders from
// standard input.
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <vector>

namespace {

constexpr int writers = 8, keys = 1000;

std::wstring key_of(int writer, int i) {
    return L"k" + std::to_wstring(i) + L"_" + std::to_wstring(writer);
}
std::wstring old_value(int i) {
    return L"old " + std::to_wstring(i);
}
std::wstring new_value(int i) {
    return L"new " + std::to_wstring(i * i);
}

// Its orders: the number of the writer (the reader is one more), the path of the file.
TEST(ini_other_process, DISABLED_serve) {
    int number = 0;
    std::string path;
    std::cin >> number >> std::ws;
    std::getline(std::cin, path);
    cl::passive_timer timer("other");
    cl::cached_ini ini(timer);
    ini.flush_delay = 100;
    ini.set_file(std::wstring(path.begin(), path.end()), true);
    std::mt19937 random(static_cast<unsigned>(number));
    if (number < writers) {
        for (int i = 0; i < keys; ++i) {
            ini.write_value(L"shared", key_of(number, i), new_value(i), true);
            if (random() % 200 == 0)
                cl::os::sleep_ms(static_cast<std::uint32_t>(random() % 100));
        }
        while (!ini.flush())
            cl::os::sleep_ms(10);
        return;
    }
    // The reader sees an old value or a new one, and never an old one again. Where it can't load, it sees
    // what it has seen before; at first that may be nothing.
    int wrong = 0, seen_new = 0;
    std::vector<bool> changed(std::size_t{writers} * keys);
    while (!std::ifstream(path + ".stop")) {
        for (int n = 0; n < 2000; ++n) {
            const std::size_t at = random() % changed.size();
            const int writer = static_cast<int>(at) % writers, i = static_cast<int>(at) / writers;
            std::wstring value;
            const bool found = n == 0 ? ini.get_value_current(L"shared", key_of(writer, i), value)
                                      : ini.get_value(L"shared", key_of(writer, i), value);
            const bool is_new = found && value == new_value(i);
            wrong += !is_new && (changed[at] || !found || value != old_value(i));
            changed[at] = changed[at] || is_new;
            seen_new += is_new;
        }
        cl::os::sleep_ms(30);
    }
    std::ofstream(path + ".seen") << wrong << ' ' << seen_new;
}

TEST(ini_processes, no_key_of_any_is_lost) {
    const temp_folder folder;
    const std::string path = (folder.folder / "global.ini").string();
    {
        std::ofstream file(path, std::ios::binary);
        file << "; made by hand\r\n[shared]\r\n";
        for (int i = 0; i < keys; ++i)
            for (int writer = 0; writer < writers; ++writer)
                file << "k" << i << "_" << writer << " = old " << i << " \r\n";
        file << "; the end\r\n";
    }
    std::vector<FILE*> others;
    for (int number = 0; number <= writers; ++number) {
        const std::string command =
            '"' + testing::internal::GetArgvs()[0] +
            "\" --gtest_also_run_disabled_tests --gtest_filter=ini_other_process.*" VFL_QUIET;
        others.push_back(VFL_POPEN(command.c_str(), "w"));
        ASSERT_NE(others.back(), nullptr);
        std::fprintf(others.back(), "%d %s\n", number, path.c_str());
        std::fflush(others.back());
    }
    for (int number = 0; number < writers; ++number)
        EXPECT_EQ(VFL_PCLOSE(others[static_cast<std::size_t>(number)]), 0);
    std::ofstream(path + ".stop") << "stop";
    EXPECT_EQ(VFL_PCLOSE(others.back()), 0);

    int wrong = -1, seen_new = 0;
    std::ifstream(path + ".seen") >> wrong >> seen_new;
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(seen_new, 0);
    cl::ini_file file;
    file.set_file(folder / L"global.ini", true);
    std::vector<std::wstring> lines;
    ASSERT_TRUE(file.get_section(L"shared", lines, 3));
    ASSERT_EQ(lines.size(),
              std::size_t{writers} * keys + 1); // each key in its place, and the comment at the end
    for (std::size_t at = 0; at + 1 < lines.size(); ++at) {
        const int writer = static_cast<int>(at) % writers, i = static_cast<int>(at) / writers;
        ASSERT_EQ(lines[at], key_of(writer, i) + L"=" + new_value(i));
    }
    EXPECT_EQ(lines.back(), L"; the end");
}

} // namespace
