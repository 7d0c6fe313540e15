// Irregular days in a zone without shifts (the suite runs under UTC).
#include <gtest/gtest.h>

#include "Model/worktime/KSWeirdDay.h"

namespace kestrum {
namespace {

TEST(KSWeirdDay, AZoneWithoutShiftsGivesUpOnceAndAnswersNone) {
    KSWeirdDay::_resetSearch();
    EXPECT_TRUE(KSWeirdDay::_findWeirdDaysBetweenNumberAndNumber(0, 3000).empty());
    EXPECT_FALSE(KSWeirdDay::weirdDayOnDayNumber(8490));
    EXPECT_FALSE(KSWeirdDay::nextWeirdDayOnOrAfterDay(8490));
    EXPECT_FALSE(KSWeirdDay::previousWeirdDayOnOrBeforeDay(8490));
    EXPECT_FALSE(KSWeirdDay::nextWeirdDayOnOrAfterDay(-5000));
}

TEST(KSWeirdDay, GrowingTheSearchForwardAnswersPastTheList) {
    KSWeirdDay::_resetSearch();
    EXPECT_EQ(KSWeirdDay::_indexOfWeirdDayNearDayNumber(10), 0u);
    EXPECT_EQ(KSWeirdDay::_indexOfWeirdDayNearDayNumber(500), 0u);
    EXPECT_EQ(KSWeirdDay::_indexOfWeirdDayNearDayNumber(5), 0u);
    EXPECT_EQ(KSWeirdDay::_indexOfWeirdDayNearDayNumber(300), 0u);
    EXPECT_EQ(KSWeirdDay(3, 82800.0f).compare(KSWeirdDay(4, 90000.0f)), -1);
}

}  // namespace
}  // namespace kestrum
