// The edit cycle always ends: a plan whose hammocks feed each other's length (two hammocks
// linked finish to finish) stops after a bounded number of rounds with a log line, rather
// than hang the application.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "support/RandomPlan.h"

namespace kestrum::test {
namespace {

TEST(EditCycleSettling, HammocksThatFeedEachOtherStopAfterBoundedRounds) {
    // Seed 214 links hammock H13 to hammock H12 finish to finish in its sixth edit; from
    // the end of that event each pass lengthened the other by 16 hours, for ever.
    KSLogCapture log;
    DateCacheCase test;
    test.seed = 214;
    test.edits = 8;
    const DateCacheOutcome outcome = runDateCacheCase(test);
    EXPECT_TRUE(log.contains("scheduling did not settle after"));
    EXPECT_GE(outcome.edits, 6);
}

TEST(EditCycleSettling, PlansThatSettleNeverMeetTheBound) {
    KSLogCapture log;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        DateCacheCase test;
        test.seed = seed;
        test.edits = 10;
        test.hammocks = false;
        runDateCacheCase(test);
    }
    EXPECT_FALSE(log.contains("scheduling did not settle"));
}

}  // namespace
}  // namespace kestrum::test
