// Logging with its capture hook, assertions that name the source path, raised exceptions
// and KSError.
#include <gtest/gtest.h>

#include <unistd.h>

#include "Platform/core/KSAssert.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSLog.h"

namespace kestrum {
namespace {

TEST(KSLogTest, CaptureCollectsFormattedLinesAndNestsCleanly) {
    KSLogCapture outer;
    KSLog("test-request %d status: %ld", 3, 404);
    {
        KSLogCapture inner;
        KSLog("ignoring duplicate task id %d", 7);
        EXPECT_EQ(inner.lines(), (std::vector<std::string>{"ignoring duplicate task id 7"}));
    }
    KSLogString("plain line");
    EXPECT_EQ(outer.lines(),
              (std::vector<std::string>{"test-request 3 status: 404", "plain line"}));
    EXPECT_TRUE(outer.contains("status: 404"));
    EXPECT_FALSE(outer.contains("duplicate"));
    outer.clear();
    EXPECT_TRUE(outer.lines().empty());
}

TEST(KSLogTest, WithoutCaptureLinesGoToStandardErrorWithDateAndProcess) {
    ::testing::internal::CaptureStderr();
    KSLog("simulation in %f: %@", 0.5, "done");
    std::string text = ::testing::internal::GetCapturedStderr();
    std::string tag = " kestrum[" + std::to_string(getpid()) + "] simulation in 0.500000: done\n";
    ASSERT_GE(text.size(), tag.size() + 19);
    EXPECT_EQ(text.substr(19), tag) << text;
    EXPECT_EQ(text[4], '-');
    EXPECT_EQ(text[13], ':');
}

using KSAssertDeathTest = ::testing::Test;

TEST_F(KSAssertDeathTest, AFailedAssertionNamesTheSourcePathAndAborts) {
    EXPECT_DEATH(KS_ASSERT(1 + 1 == 3, "bad sum %d for %@", 2, "plan"),
                 "Assertion failure in .*, .*tests/core/KSLogAssertErrorTests\\.cpp:[0-9]+: "
                 "bad sum 2 for plan");
}

TEST_F(KSAssertDeathTest, AnAssertionWithoutAMessageNamesItsCondition) {
    int tasks = 0;
    EXPECT_DEATH(KS_ASSERT(tasks > 0), "KSLogAssertErrorTests\\.cpp:[0-9]+: tasks > 0");
}

TEST_F(KSAssertDeathTest, AFailedAssertionReachesStandardErrorEvenUnderACapture) {
    EXPECT_DEATH(
        {
            KSLogCapture capture;
            KS_FAIL("subclassLocalizedTypeForUndo must be overridden by %@", "KSThing");
        },
        "KSLogAssertErrorTests\\.cpp:[0-9]+: subclassLocalizedTypeForUndo must be overridden by "
        "KSThing");
}

TEST(KSAssertTest, APassingAssertionDoesNotEvaluateItsMessage) {
    int evaluated = 0;
    auto message = [&] {
        ++evaluated;
        return std::string("never");
    };
    KS_ASSERT(true, "%@", message());
    EXPECT_EQ(evaluated, 0);
}

TEST(KSAssertTest, KSRaiseThrowsANamedExceptionWithAFormattedReason) {
    try {
        KSRaise(KSInternalInconsistencyException, "bad index %ld of %ld", 5, 3);
        FAIL() << "KSRaise must throw";
    } catch (const KSException& e) {
        EXPECT_EQ(e.name(), "KSInternalInconsistencyException");
        EXPECT_EQ(e.reason(), "bad index 5 of 3");
        EXPECT_STREQ(e.what(), "KSInternalInconsistencyException: bad index 5 of 3");
    }
}

TEST(KSErrorTest, CarriesDomainCodeDescriptionAndUserInfo) {
    KSError error = KSError::errorWithDescription("Kestrum", 1, "The plan could not be read.");
    EXPECT_TRUE(error.isSet());
    EXPECT_EQ(error.domain(), "Kestrum");
    EXPECT_EQ(error.code(), 1);
    EXPECT_EQ(error.localizedDescription(), "The plan could not be read.");
    EXPECT_EQ(error.description(), "Error Domain=Kestrum Code=1 \"The plan could not be read.\"");
    EXPECT_EQ(error, KSError("Kestrum", 1));

    KSError bare("Changelogging", 7,
                 KSDictionary{{KSLocalizedFailureReasonErrorKey, "conflict"},
                              {KSFilePathErrorKey, "/tmp/x"}});
    EXPECT_EQ(bare.localizedDescription(),
              "The operation couldn't be completed. (Changelogging error 7.)");
    EXPECT_EQ(bare.localizedFailureReason(), "conflict");
    EXPECT_EQ(bare.userInfo().objectForKey(KSFilePathErrorKey), KSValue("/tmp/x"));
    EXPECT_EQ(bare.underlyingError(), nullptr);
    bare.setUnderlyingError(error);
    ASSERT_NE(bare.underlyingError(), nullptr);
    EXPECT_EQ(bare.underlyingError()->code(), 1);
    EXPECT_FALSE(KSError().isSet());

    KSSetError(nullptr, error);  // a null out-parameter is fine
    KSError out;
    KSSetError(&out, bare);
    EXPECT_EQ(out.domain(), "Changelogging");
}

}  // namespace
}  // namespace kestrum
