// The seed text of the system that the test runs on.
#include "cl/sys/entropy.hpp"

#include "cl/sys/cpu_info.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <windows.h>

namespace {

TEST(entropy, stable_and_varying_parts) {
    cl::fill_os_info(cl::read_os_facts());
    cl::create_libraries(cl::windows_modules);
    cl::fill_cpu_info();
    const std::string first = cl::entropy_text(false), second = cl::entropy_text(false);
    const auto apart = static_cast<std::size_t>(std::ranges::mismatch(first, second).in1 - first.begin());
    const std::string stable = first.substr(0, apart);
    // Seven items from the records, six or more from the system; the clocks stand behind them.
    EXPECT_GE(std::ranges::count(stable, ';'), 9);
    EXPECT_TRUE(apart < first.size() && first.ends_with("; ") && second.ends_with("; "));
    char user[64] = {};
    DWORD size = 64;
    GetUserNameA(user, &size);
    EXPECT_NE(stable.find(std::string("; ") + user + "; "), std::string::npos);
    EXPECT_NE(stable.find("; S-1-5-21-"), std::string::npos) << "the machine's identifier";
    EXPECT_FALSE(cl::entropy_text(true).starts_with(stable)) << "a refresh takes a fresh identifier";
    std::set<std::uint64_t> seeds;
    for (int i = 0; i < 20; ++i)
        seeds.insert(cl::new_seed());
    EXPECT_EQ(seeds.size(), 20u);
}

} // namespace
