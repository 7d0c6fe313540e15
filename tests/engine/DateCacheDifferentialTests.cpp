// Every cached date, limit and slack of every task equals a computation from scratch
// after every edit, with nothing flushed between edits: random plans, random edits.
//
// Each test case runs a block of seeds; a failure names the seed, the plan and edits as
// applied and the first values that differ. To run one seed again:
//   bench_date_cache_differential --seed <seed> --shrink
#include <cstdint>
#include <set>

#include <gtest/gtest.h>

#include "support/RandomPlan.h"

namespace kestrum::test {
namespace {

struct SeedBlock {
    int block;
    int seeds;
    int minimumTasks;
    int maximumTasks;
    int edits;
};

// Small plans take most seeds; larger ones read through longer chains (and so through
// the evaluation's work list).
constexpr int kSmallBlocks = 36;
constexpr int kLargeBlocks = 4;

SeedBlock blockFor(int index) {
    if (index < kSmallBlocks) return {index, 100, 4, 14, 30};
    return {index, 25, 24, 40, 30};
}

class DateCacheDifferentialTest : public ::testing::TestWithParam<int> {};

TEST_P(DateCacheDifferentialTest, EveryCacheEqualsAFreshComputationAfterEveryEdit) {
    const SeedBlock block = blockFor(GetParam());
    int failures = 0;
    long long compared = 0;
    for (int i = 0; i < block.seeds && failures < 2; ++i) {
        DateCacheCase test;
        test.seed = static_cast<std::uint64_t>(block.block) * 1000 + static_cast<std::uint64_t>(i);
        test.minimumTasks = block.minimumTasks;
        test.maximumTasks = block.maximumTasks;
        test.edits = block.edits;
        DateCacheOutcome outcome = runDateCacheCase(test);
        compared += outcome.valuesCompared;
        if (outcome.failed) {
            ++failures;
            ADD_FAILURE() << outcome.report << "\n" << shrinkDateCacheCase(test);
        }
    }
    // Every seed compared every value of its plan after each of its edits.
    EXPECT_GT(compared, static_cast<long long>(block.seeds) * block.edits * 4 * 12);
}

// Cases that once failed, shrunk to the steps they need (bench_date_cache_differential
// --seed S --edits E --steps ... replays one; the report lists its plan and edits).
struct ShrunkCase {
    const char* fault;
    std::uint64_t seed;
    int edits;
    std::set<std::uint64_t> steps;
};

const ShrunkCase kShrunkCases[] = {
    // T6, the end prerequisite of hammock H13, is split: H13's end limit kept T6's end
    // of before.
    {"a hammock's end limit follows its end prerequisite",
     90,
     1,
     {100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 1003, 2000, 3008, 1000001}},
};

TEST(DateCacheShrunkCases, EveryCacheEqualsAFreshComputation) {
    for (const ShrunkCase& shrunk : kShrunkCases) {
        DateCacheCase test;
        test.seed = shrunk.seed;
        test.edits = shrunk.edits;
        test.onlySteps = shrunk.steps;
        DateCacheOutcome outcome = runDateCacheCase(test);
        EXPECT_FALSE(outcome.failed) << shrunk.fault << "\n" << outcome.report;
        EXPECT_EQ(outcome.edits, shrunk.edits) << shrunk.fault;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DateCacheDifferentialTest,
                         ::testing::Range(0, kSmallBlocks + kLargeBlocks));

}  // namespace
}  // namespace kestrum::test
