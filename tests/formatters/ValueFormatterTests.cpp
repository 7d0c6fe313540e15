// The small formatters of cells and the assignment text, in the en_US locale:
// percentages that never read 100% too early, assigned amounts, costs that read whatever
// they can, and resource names kept free of the assignment text's marks.
#include <gtest/gtest.h>

#include <unicode/locid.h>

#include "Model/formatters/KSAssignedAmountFormatter.h"
#include "Model/formatters/KSCostFormatter.h"
#include "Model/formatters/KSPercentageFormatter.h"
#include "Model/formatters/KSResourceNameFormatter.h"
#include "Model/resources/KSAssignedUnitsValue.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum::test {
namespace {

// Runs each test in a locale and puts the one before back afterwards.
class LocaleTest : public ::testing::Test {
protected:
    void useLocale(const char* identifier) {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(identifier), status);
    }
    void SetUp() override {
        saved_ = icu::Locale::getDefault();
        useLocale("en_US");
    }
    void TearDown() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(saved_, status);
    }

private:
    icu::Locale saved_;
};

std::string read(KSFormatter& formatter, const std::string& text) {
    KSValue value;
    std::string error;
    if (!formatter.getObjectValueForString(&value, text, &error)) return "error: " + error;
    if (auto units = value.asObjectOfType<KSAssignedUnitsValue>())
        return units->description() + (units->asPercentage() ? " (%)" : "");
    return value.description();
}

using PercentageFormatterTest = LocaleTest;

TEST_F(PercentageFormatterTest, TheEdgesNeverReadAsDoneOrUntouched) {
    KSPercentageFormatter f;
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.995)), "> 99%");
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.005)), "< 1%");
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.0)), "0%");
    EXPECT_EQ(f.stringForObjectValue(KSValue(1.0)), "100%");
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.5)), "50%");
    EXPECT_EQ(f.editingStringForObjectValue(KSValue(0.995)), "100%");
    EXPECT_EQ(f.stringForObjectValue(KSValue()), "");
}

TEST_F(PercentageFormatterTest, TypedNumbersReadAsFractionsOrPercents) {
    KSPercentageFormatter f;
    EXPECT_EQ(read(f, "5"), "0.05");
    EXPECT_EQ(read(f, "0.5"), "0.5");
    EXPECT_EQ(read(f, "50"), "0.5");
    EXPECT_EQ(read(f, "50%"), "0.5");
    EXPECT_EQ(read(f, "1"), "0.01");
    EXPECT_EQ(read(f, "-25 %"), "0.25");
    EXPECT_EQ(read(f, "half"), "error: Invalid percentage");
    f.setMinValue(1.0f);
    EXPECT_EQ(read(f, "50%"), "error: Units must be at least 100%");
    EXPECT_EQ(read(f, "150%"), "1.5");
}

TEST_F(PercentageFormatterTest, StepsStayWithinNothingAndAll) {
    KSPercentageFormatter f;
    EXPECT_DOUBLE_EQ(f.stepUpValue(KSValue(0.95)).doubleValue(), 1.0);
    EXPECT_DOUBLE_EQ(f.stepDownValue(KSValue(0.05)).doubleValue(), 0.0);
    EXPECT_DOUBLE_EQ(f.stepUpValue(KSValue(0.5)).doubleValue(), 0.6);
    EXPECT_EQ(f.largeStepUpValue(KSValue(0.2)).doubleValue(), 1.0);
    EXPECT_EQ(f.largeStepDownValue(KSValue(0.2)).doubleValue(), 0.0);
}

using AssignedAmountFormatterTest = LocaleTest;

TEST_F(AssignedAmountFormatterTest, UnitsPrintAsPercentagesOrAmountsWithTheirTotal) {
    KSAssignedAmountFormatter f;
    auto value = [](double units, double total, bool percent) {
        return KSValue(
            KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(units, total, percent));
    };
    EXPECT_EQ(f.stringForObjectValue(value(0.5, 2.0, true)), "50% of 200%");
    EXPECT_EQ(f.stringForObjectValue(value(1.5, 0.0, true)), "150%");
    EXPECT_EQ(f.stringForObjectValue(value(3.0, 12.0, false)), "3 of 12");
    EXPECT_FALSE(f.editingAsPercentage());
    EXPECT_EQ(f.editingStringForObjectValue(value(2.5, 12.0, false)), "2.5");
    EXPECT_EQ(f.editingStringForObjectValue(value(0.995, 1.0, true)), "> 99%");
    // Another value prints as a percentage and switches the reading to percent.
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.25)), "25%");
    EXPECT_TRUE(f.editingAsPercentage());
}

TEST_F(AssignedAmountFormatterTest, TextReadsInTheModeLastSet) {
    KSAssignedAmountFormatter f;
    f.setEditingAsPercentage(true);
    EXPECT_EQ(read(f, "50%"), "0.5 (%)");
    f.setMinValue(1.0f);
    EXPECT_EQ(read(f, "50"), "error: Units must be at least 100%");
    f.setEditingAsPercentage(false);
    EXPECT_EQ(read(f, "3.5 bags"), "3.5");
    EXPECT_EQ(read(f, "bags"), "0");
    // Steps: 1% or one unit, ten of them for a large step, without limits.
    auto stepped = f.stepUpValue(
        KSValue(KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(3.0, 0.0, false)));
    EXPECT_EQ(stepped.asObjectOfType<KSAssignedUnitsValue>()->units(), 4.0);
    f.setEditingAsPercentage(true);
    stepped = f.largeStepDownValue(KSValue(0.05));
    EXPECT_DOUBLE_EQ(stepped.asObjectOfType<KSAssignedUnitsValue>()->units(), -0.05);
}

TEST(AssignedUnitsValue, EqualByUnitsAlone) {
    auto a = KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(0.5, 2.0, true);
    auto b = KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(0.5, 0.0, false);
    auto c = KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(0.75, 2.0, true);
    EXPECT_TRUE(a->isEqual(*b));
    EXPECT_FALSE(a->isEqual(*c));
    EXPECT_EQ(a->compare(*c), -1);
    EXPECT_EQ(a->copy(), a);
    EXPECT_TRUE(a->hasTotal());
    EXPECT_FALSE(b->hasTotal());
}

using CostFormatterTest = LocaleTest;

TEST_F(CostFormatterTest, SymbolsStandApartAndTheSignOutside) {
    KSCostFormatter f;
    f.setDecimalStyle(",", ".", 2);
    f.setPrefix(std::string("$"));
    f.setZeroSymbol(std::string("-"));
    EXPECT_EQ(f.stringForObjectValue(KSValue(1234.5)), "$1,234.50");
    EXPECT_EQ(f.stringForObjectValue(KSValue(-1234.5)), "-$1,234.50");
    EXPECT_EQ(f.stringForObjectValue(KSValue(0.0)), "-");
    EXPECT_EQ(f.stringForObjectValue(KSValue()), "-");
    EXPECT_EQ(f.attributedStringForObjectValueWithDefaultAttributes(KSValue(0.0), {})->string(),
              "-");
    f.setZeroSymbol(std::nullopt);
    EXPECT_EQ(f.attributedStringForObjectValueWithDefaultAttributes(KSValue(0.0), {})->string(),
              " ");
}

TEST_F(CostFormatterTest, ReadingTakesWhateverItCan) {
    KSCostFormatter f;
    f.setDecimalStyle(",", ".", 2);
    f.setPrefix(std::string("$"));
    EXPECT_EQ(read(f, "$1,234.50"), "1234.5");
    EXPECT_EQ(read(f, "1 234.50"), "1234.5");
    EXPECT_EQ(read(f, "(1,234.50)"), "-1234.5");
    EXPECT_EQ(read(f, "USD 99"), "99");
    EXPECT_EQ(read(f, "lots"), "0");
    EXPECT_EQ(read(f, ""), "0");
}

TEST(ResourceNameFormatter, TheAssignmentTextsMarksBecomePlainPunctuation) {
    KSResourceNameFormatter f;
    EXPECT_EQ(read(f, "Ann {lead}; QA [2]"), "Ann (lead), QA (2)");
    std::string proposal;
    EXPECT_FALSE(f.isPartialStringValidNewEditingString("Ann {", &proposal, nullptr));
    EXPECT_EQ(proposal, "Ann (");
    EXPECT_TRUE(f.isPartialStringValidNewEditingString("Ann", nullptr, nullptr));
    f.setHasMarkedText(true);
    EXPECT_TRUE(f.isPartialStringValidNewEditingString("Ann {", nullptr, nullptr));
    EXPECT_EQ(f.stringForObjectValue(KSValue(3)), "");
}

}  // namespace
}  // namespace kestrum::test
