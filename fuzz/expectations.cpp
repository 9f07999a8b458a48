// An expectation that fails in a round is a finding: it prints what it saw and ends the program.
#include <gtest/gtest.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    GTEST_FLAG_SET(throw_on_failure, true);
    return 0;
}
