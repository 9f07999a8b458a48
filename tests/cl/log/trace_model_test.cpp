#include "cl/log/log_round.hpp"

TEST(trace_model, random_texts_faults_and_limits) {
    std::size_t marks = 0, rotations = 0, refused = 0, cut = 0;
    run_seeds(40, [&](choices& numbers) {
        trace_model result;
        log_round::run(numbers, &result);
        marks += result.marks;
        rotations += !result.old.empty();
        refused += result.refused;
        cut += result.cut;
    });
    // The steps reach what they are for.
    EXPECT_GT(marks, 100u);
    EXPECT_GT(refused, 0u);
    EXPECT_GT(cut, 5u);
    EXPECT_GT(rotations, 5u);
}
