// This executable again, for one test that is disabled otherwise: it takes its orders from standard input.
// What gtest prints there is thrown away.
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <utility>

class this_program {
public:
    // `exe` may be a copy of this executable.
    explicit this_program(const std::string& test,
                          const std::string& exe = testing::internal::GetArgvs()[0]) {
        const std::string words = "\" --gtest_also_run_disabled_tests --gtest_filter=" + test + VFL_QUIET;
        input = VFL_POPEN(('"' + exe + words).c_str(), "w");
        EXPECT_NE(input, nullptr);
    }
    ~this_program() {
        if (input)
            end();
    }
    this_program(this_program&& other) noexcept : input(std::exchange(other.input, nullptr)) {}

    void tell(const std::string& line) {
        std::fprintf(input, "%s\n", line.c_str());
        std::fflush(input);
    }
    // Closes its input and waits for its end: 0 if the test passed, and on Windows the exit code else.
    int end() { return VFL_PCLOSE(std::exchange(input, nullptr)); }

private:
    FILE* input = nullptr;
};
