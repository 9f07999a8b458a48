// The seed text of the system that the test runs on.
#include "cl/sys/entropy.hpp"

#include "cl/file/random_gen.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "this_program.hpp"

#include <algorithm>
#include <set>
#include <windows.h>

namespace {

void start() {
    cl::fill_os_info(cl::read_os_facts());
    cl::create_libraries(cl::windows_modules);
    cl::fill_cpu_info();
}

TEST(entropy, stable_and_varying_parts) {
    start();
    const std::string first = cl::entropy_text(false), second = cl::entropy_text(false);
    const auto apart = static_cast<std::size_t>(std::ranges::mismatch(first, second).in1 - first.begin());
    // Seven items from the records, six or more from the system; the clocks stand behind them.
    EXPECT_GE(std::count(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(apart), ';'), 9);
    EXPECT_LT(apart, first.size());
    for (const std::string& text : {first, second})
        EXPECT_TRUE(text.ends_with("; "));

    char user[64] = {};
    DWORD size = 64;
    GetUserNameA(user, &size);
    EXPECT_NE(first.substr(0, apart).find(std::string("; ") + user + "; "), std::string::npos);
    EXPECT_NE(first.substr(0, apart).find("; S-1-5-21-"), std::string::npos) << "the machine's identifier";

    const std::string third = cl::entropy_text(true);
    EXPECT_LT(std::ranges::mismatch(first, third).in1 - first.begin(), static_cast<std::ptrdiff_t>(apart))
        << "a refresh takes a fresh identifier";
    std::set<std::uint64_t> seeds;
    for (int i = 0; i < 20; ++i)
        seeds.insert(cl::new_seed());
    EXPECT_EQ(seeds.size(), 20u);
}

TEST(entropy, DISABLED_seed_as_exit_code) {
    start();
    cl::backoff_rng.seed(cl::new_seed());
    ExitProcess(cl::backoff_rng.next());
}

// Two of four starts may agree by chance, once in 100000 runs; all four never.
TEST(entropy, processes_started_at_the_same_moment_differ) {
    this_program others[] = {this_program("*seed_as_exit_code"), this_program("*seed_as_exit_code"),
                             this_program("*seed_as_exit_code"), this_program("*seed_as_exit_code")};
    std::set<int> codes;
    for (this_program& other : others)
        codes.insert(other.end());
    EXPECT_GE(codes.size(), 3u);
}

} // namespace
