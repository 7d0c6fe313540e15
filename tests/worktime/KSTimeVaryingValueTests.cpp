// Time-varying values: a value by day with its changes, the setter's economies (equal
// values are not stored again), extremes, the archive form and the enumerator's steps.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "Model/worktime/KSTimeVaryingValue.h"
#include "Model/worktime/KSTimeVaryingValueEnumerator.h"

namespace kestrum::test {
namespace {

using Days = std::vector<std::int64_t>;

// Remaining effort of a sprint task: 5 from the start, 3 from day 100.
class TimeVaryingValueTest : public ::testing::Test {
protected:
    void SetUp() override { value->setValueOnDayNumber(KSValue(3), 100); }
    std::shared_ptr<KSTimeVaryingValue> value = std::make_shared<KSTimeVaryingValue>(KSValue(5));
};

TEST_F(TimeVaryingValueTest, AValueHoldsFromItsDayOn) {
    EXPECT_EQ(value->valueOnDayNumber(99), KSValue(5));
    EXPECT_EQ(value->valueOnDayNumber(100), KSValue(3));
    EXPECT_EQ(value->valueOnDayNumber(101), KSValue(3));
    EXPECT_EQ(value->valueOnDate(KSDateTime(100, 86399.0)), KSValue(3));  // the whole day
    EXPECT_EQ(value->valueOnDate(KSDateTime(99, 86400.0)), KSValue(5));
    EXPECT_EQ(value->valueOnDate(KSDateTime()), KSValue(5));
    EXPECT_EQ(value->lastDate(), KSDateTime(100, 0.0));
}

TEST_F(TimeVaryingValueTest, EqualValuesAreNotStoredAgain) {
    value->setValueOnDayNumber(KSValue(3), 200);  // equal to the last: nothing
    EXPECT_EQ(value->dayNumbers(), (Days{100}));
    value->setValueOnDayNumber(KSValue(3.0), 50);  // equal to the next change: nothing at all
    EXPECT_EQ(value->dayNumbers(), (Days{100}));
    EXPECT_EQ(value->valueOnDayNumber(60), KSValue(5));
    KSTimeVaryingValue constant(KSValue(7));
    constant.setValueOnDayNumber(KSValue(7), 10);  // equal to the initial value
    EXPECT_TRUE(constant.dayNumbers().empty());
}

TEST_F(TimeVaryingValueTest, ChangesAreInsertedReplacedOrAppended) {
    value->setValueOnDayNumber(KSValue(4), 50);   // before the change: inserted
    value->setValueOnDayNumber(KSValue(1), 200);  // after it: appended
    value->setValueOnDayNumber(KSValue(2), 100);  // on it: replaced
    EXPECT_EQ(value->dayNumbers(), (Days{50, 100, 200}));
    EXPECT_EQ(value->allSubsequentValues(), (KSArray{KSValue(4), KSValue(2), KSValue(1)}));
    EXPECT_EQ(value->valueOnDayNumber(49), KSValue(5));
    EXPECT_EQ(value->valueOnDayNumber(75), KSValue(4));
    EXPECT_EQ(value->valueOnDayNumber(150), KSValue(2));
    EXPECT_EQ(value->valueOnDayNumber(1000), KSValue(1));
}

TEST_F(TimeVaryingValueTest, AnInsertMayRepeatItsPredecessor) {
    value->setValueOnDayNumber(KSValue(5), 80);  // equals the initial value, still stored
    EXPECT_EQ(value->dayNumbers(), (Days{80, 100}));
    value->setValueOnDate(KSValue(9), KSDateTime(90, 43200.0));
    EXPECT_EQ(value->dayNumbers(), (Days{80, 90, 100}));
    value->setValueOnDate(KSValue(8), KSDateTime());  // no day: nothing
    EXPECT_EQ(value->count(), 3u);
}

TEST_F(TimeVaryingValueTest, ExtremesIncludeTheInitialValue) {
    EXPECT_EQ(value->minimumValue(), KSValue(3));
    EXPECT_EQ(value->maximumValue(), KSValue(5));
    value->setValueOnDayNumber(KSValue(8.5), 200);
    value->setValueOnDayNumber(KSValue(-1), 300);
    EXPECT_EQ(value->minimumValue(), KSValue(-1));
    EXPECT_EQ(value->maximumValue(), KSValue(8.5));
    KSTimeVaryingValue unchanged(KSValue(4));
    EXPECT_EQ(unchanged.minimumValue(), KSValue(4));
    EXPECT_EQ(unchanged.maximumValue(), KSValue(4));
    EXPECT_TRUE(unchanged.lastDate().isNull());
    KSTimeVaryingValue fromNull;  // a null initial value gives way to the first change
    fromNull.setValueOnDayNumber(KSValue(2), 1);
    EXPECT_EQ(fromNull.minimumValue(), KSValue(2));
}

TEST_F(TimeVaryingValueTest, TheArchiveRoundTripsAndANullInitialValueIsZero) {
    value->setValueOnDayNumber(KSValue(1), 200);
    const KSDictionary archive = value->archiveDictionary();
    EXPECT_EQ(archive.allKeys(), (std::vector<std::string>{"initial", "days", "values"}));
    auto read = KSTimeVaryingValue::timeVaryingValueFromArchiveDictionary(archive);
    EXPECT_EQ(read->initialValue(), KSValue(5));
    EXPECT_EQ(read->dayNumbers(), (Days{100, 200}));
    EXPECT_EQ(read->allSubsequentValues(), value->allSubsequentValues());
    KSTimeVaryingValue empty;
    EXPECT_EQ(empty.archiveDictionary().objectForKey("initial"), KSValue(0.0));
}

TEST_F(TimeVaryingValueTest, AnArchiveOutOfOrderIsReadInOrder) {
    auto read = KSTimeVaryingValue::timeVaryingValueFromArchiveDictionary(
        {{"initial", KSValue(1)},
         {"days", KSValue::array({KSValue(30), KSValue(10), KSValue(30), KSValue(99)})},
         {"values", KSValue::array({KSValue(3), KSValue(2), KSValue(4)})}});
    EXPECT_EQ(read->dayNumbers(), (Days{10, 30}));  // day 99 has no value
    EXPECT_EQ(read->allSubsequentValues(), (KSArray{KSValue(2), KSValue(4)}));
    auto junk = KSTimeVaryingValue::timeVaryingValueFromArchiveDictionary(
        {{"days", KSValue("10")}, {"values", KSValue(3)}});
    EXPECT_TRUE(junk->dayNumbers().empty());
    EXPECT_TRUE(junk->initialValue().isNull());
}

class TimeVaryingValueEnumeratorTest : public TimeVaryingValueTest {
protected:
    void SetUp() override {
        value->setValueOnDayNumber(KSValue(3), 100);
        value->setValueOnDayNumber(KSValue(1), 200);
    }
    KSTimeVaryingValueEnumerator cursor{value};
};

TEST_F(TimeVaryingValueEnumeratorTest, WalksFromTheInitialValueToTheEnd) {
    EXPECT_EQ(cursor.currentIndex(), -1);
    EXPECT_EQ(cursor.currentDate(), KSDateTime::distantPast());
    EXPECT_EQ(cursor.currentValue(), KSValue(5));
    cursor.moveToNextValue();
    EXPECT_EQ(cursor.currentDate(), KSDateTime(100, 0.0));
    EXPECT_EQ(cursor.currentValue(), KSValue(3));
    cursor.moveToNextValue();
    EXPECT_EQ(cursor.currentValue(), KSValue(1));
    cursor.moveToNextValue();
    EXPECT_EQ(cursor.currentIndex(), KSTimeVaryingValueEnumeratorEnd);
    EXPECT_EQ(cursor.currentDate(), KSDateTime::distantFuture());
    EXPECT_EQ(cursor.currentValue(), KSValue(1));
    cursor.moveToNextValue();  // no effect at the end
    EXPECT_EQ(cursor.currentIndex(), KSTimeVaryingValueEnumeratorEnd);
}

TEST_F(TimeVaryingValueEnumeratorTest, SteppingBackFromTheEndIsNotTheLastChange) {
    cursor.moveToValueAfterDate(KSDateTime(500, 0.0));
    EXPECT_EQ(cursor.currentIndex(), KSTimeVaryingValueEnumeratorEnd);
    cursor.moveToPreviousValue();
    EXPECT_EQ(cursor.currentIndex(), KSTimeVaryingValueEnumeratorEnd - 1);
    EXPECT_TRUE(cursor.currentDate().isNull());  // names no change
    EXPECT_TRUE(cursor.currentValue().isNull());
    cursor.moveToValueAfterDate(KSDateTime(1, 0.0));
    cursor.moveToPreviousValue();
    cursor.moveToPreviousValue();  // stays before the first change
    EXPECT_EQ(cursor.currentIndex(), -1);
}

TEST_F(TimeVaryingValueEnumeratorTest, MovesAroundADate) {
    cursor.moveToValueAfterDate(KSDateTime(100, 3600.0));
    EXPECT_EQ(cursor.currentIndex(), 0);
    cursor.moveToValueAfterDate(KSDateTime(150, 0.0));
    EXPECT_EQ(cursor.currentIndex(), 1);
    // Before a date: a change on the date's own day is excluded ...
    cursor.moveToValueBeforeDate(KSDateTime(200, 0.0));
    EXPECT_EQ(cursor.currentIndex(), 0);
    cursor.moveToValueBeforeDate(KSDateTime(100, 0.0));
    EXPECT_EQ(cursor.currentIndex(), -1);
    // ... but without one on that day the cursor stands on the next change after it.
    cursor.moveToValueBeforeDate(KSDateTime(150, 0.0));
    EXPECT_EQ(cursor.currentIndex(), 1);
    EXPECT_EQ(cursor.currentValue(), KSValue(1));
    cursor.moveToValueBeforeDate(KSDateTime(900, 0.0));
    EXPECT_EQ(cursor.currentIndex(), 1);
}

}  // namespace
}  // namespace kestrum::test
