// The shared time-span formatters' settings: units, their clamping and derivation, the
// archive form and the change announcements.
#include <gtest/gtest.h>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {
namespace {

// Counts did-change notices of one key.
class KeyCounter : public KSBaseObject {
public:
    KeyCounter(KSBaseObject& object, const char* key) : object_(object), key_(key) {
        object_.addObserverForKeyPathOptionsContext(this, key, 0, nullptr);
    }
    ~KeyCounter() override { object_.removeObserver(this); }
    void observeValueForKeyPathOfObjectChangeContext(std::string_view, KSBaseObject*,
                                                     const KSKeyValueChange& change,
                                                     const void*) override {
        if (!change.isPrior) ++count;
    }
    int count = 0;

private:
    KSBaseObject& object_;
    const char* key_;
};

TEST(TimeSpanFormatterTest, DefaultsAreAnEightHourDayOfAFiveDayWeek) {
    KSTimeSpanFormatter formatter;
    EXPECT_EQ(formatter.hoursPerDay(), 8.0f);
    EXPECT_EQ(formatter.hoursPerWeek(), 40.0f);
    EXPECT_EQ(formatter.hoursPerMonth(), 160.0f);
    EXPECT_EQ(formatter.hoursPerYear(), 1920.0f);
    EXPECT_TRUE(formatter.displayHours());
    EXPECT_TRUE(formatter.displayDays());
    EXPECT_TRUE(formatter.displayWeeks());
    EXPECT_FALSE(formatter.displaySeconds());
    EXPECT_FALSE(formatter.shouldReturnNumber());
}

TEST(TimeSpanFormatterTest, ADaySetsTheOtherUnitsAndNothingGoesToZero) {
    KSTimeSpanFormatter formatter;
    formatter.setHoursPerDay(7.5f);
    EXPECT_EQ(formatter.hoursPerWeek(), 37.5f);
    EXPECT_EQ(formatter.hoursPerMonth(), 150.0f);
    EXPECT_EQ(formatter.hoursPerYear(), 1800.0f);
    formatter.setHoursPerWeek(40.0f);  // other ratios are set after the day
    EXPECT_EQ(formatter.hoursPerDay(), 7.5f);
    formatter.setHoursPerDay(0.0f);
    EXPECT_EQ(formatter.hoursPerDay(), 0.1f);
    EXPECT_EQ(formatter.hoursPerWeek(), 5.0f * 0.1f);
    for (auto setter :
         {&KSTimeSpanFormatter::setHoursPerWeek, &KSTimeSpanFormatter::setHoursPerMonth,
          &KSTimeSpanFormatter::setHoursPerYear}) {
        (formatter.*setter)(-3.0f);
    }
    EXPECT_EQ(formatter.hoursPerWeek(), 0.1f);
    EXPECT_EQ(formatter.hoursPerMonth(), 0.1f);
    EXPECT_EQ(formatter.hoursPerYear(), 0.1f);
}

TEST(TimeSpanFormatterTest, TimeIntervalsAreSecondsAndTheMonthReadsTheWeek) {
    KSTimeSpanFormatter formatter;
    formatter.setHoursPerDay(8.0f);
    EXPECT_EQ(formatter.timeIntervalPerDay(), 28800.0f);
    EXPECT_EQ(formatter.timeIntervalPerWeek(), 144000.0f);
    EXPECT_EQ(formatter.timeIntervalPerMonth(), formatter.timeIntervalPerWeek());
    EXPECT_EQ(formatter.timeIntervalPerYear(), 1920.0f * 3600.0f);
    formatter.setTimeIntervalPerMonth(3600.0f * 170.0f);
    EXPECT_EQ(formatter.hoursPerMonth(), 170.0f);
    EXPECT_EQ(formatter.timeIntervalPerMonth(), 144000.0f);  // still the week
    formatter.setTimeIntervalPerDay(6.0f * 3600.0f);
    EXPECT_EQ(formatter.hoursPerDay(), 6.0f);
    EXPECT_EQ(formatter.hoursPerWeek(), 30.0f);
    formatter.setStandardCalendarTime();
    EXPECT_EQ(formatter.hoursPerWeek(), 168.0f);
    EXPECT_EQ(formatter.hoursPerMonth(), 720.0f);
    EXPECT_EQ(formatter.hoursPerYear(), 8760.0f);
}

TEST(TimeSpanFormatterTest, TheArchiveRoundTripsAndTheDayIsReadFirst) {
    KSTimeSpanFormatter formatter;
    formatter.setHoursPerDay(7.5f);
    formatter.setHoursPerYear(1700.0f);
    formatter.setDisplayMinutes(true);
    formatter.setDisplayWeeks(false);
    KSDictionary archive = formatter.archiveDictionary();
    EXPECT_EQ(
        archive.allKeys(),
        (std::vector<std::string>{"hoursPerDay", "hoursPerWeek", "hoursPerMonth", "hoursPerYear",
                                  "displaySeconds", "displayMinutes", "displayHours", "displayDays",
                                  "displayWeeks", "displayMonths", "displayYears"}));
    KSTimeSpanFormatter read;
    read.loadFromArchiveDictionary(archive);
    EXPECT_EQ(read.hoursPerDay(), 7.5f);
    EXPECT_EQ(read.hoursPerWeek(), 37.5f);
    EXPECT_EQ(read.hoursPerYear(), 1700.0f);  // not the day's derived 1800
    EXPECT_TRUE(read.displayMinutes());
    EXPECT_FALSE(read.displayWeeks());
    EXPECT_EQ(read.archiveDictionary(), archive);
}

TEST(TimeSpanFormatterTest, OldTextArchivesAndMissingKeysAreTolerated) {
    KSTimeSpanFormatter formatter;
    formatter.loadFromArchiveDictionary(
        {{"hoursPerDay", KSValue("6")}, {"displaySeconds", KSValue("YES")}});
    EXPECT_EQ(formatter.hoursPerDay(), 6.0f);
    EXPECT_EQ(formatter.hoursPerWeek(), 30.0f);
    EXPECT_TRUE(formatter.displaySeconds());
    EXPECT_TRUE(formatter.displayDays());  // untouched
}

TEST(TimeSpanFormatterTest, EverySettingAnnouncesAnything) {
    auto formatter = std::make_shared<KSTimeSpanFormatter>();
    KeyCounter anything(*formatter, KSTimeSpanFormatterAnythingKey);
    KeyCounter month(*formatter, "timeIntervalPerMonth");
    formatter->setDisplayYears(true);
    formatter->setHoursPerWeek(45.0f);
    formatter->setShouldReturnNumber(true);
    formatter->setDisplayYears(true);  // unchanged
    EXPECT_EQ(anything.count, 3);
    EXPECT_EQ(month.count, 1);  // follows the week
}

TEST(TimeSpanFormatterTest, ANullSetByKeyChangesNothingAndIsAnnouncedLater) {
    auto formatter = std::make_shared<KSTimeSpanFormatter>();
    KeyCounter day(*formatter, "hoursPerDay");
    formatter->setValueForKey(KSValue(), "hoursPerDay");
    EXPECT_EQ(formatter->hoursPerDay(), 8.0f);
    EXPECT_EQ(day.count, 0);
    KSRunLoop::current().runUntilIdle();
    EXPECT_EQ(day.count, 1);
    EXPECT_EQ(formatter->hoursPerDay(), 8.0f);
}

class SilentDocument : public KSDocumentProtocol {
public:
    KSUndoManager* undoManager() override { return undo.get(); }
    std::optional<std::string> fileURL() const override { return std::nullopt; }
    std::optional<std::string> savingToURL() const override { return std::nullopt; }
    void presentError(const KSError&) override {}
    void setShowHeadingNumbers(bool) override {}
    void resourceLoadSubscriptionFlagDidChange() override {}
    std::shared_ptr<KSUndoManager> undo = std::make_shared<KSUndoManager>();
};

TEST(TimeSpanFormatterTest, LoadingDisablesTheProjectsUndoRegistrationOnlyMeanwhile) {
    SilentDocument document;
    auto project = std::make_shared<KSProject>(&document);
    auto formatter = project->sharedEffortFormatter();
    struct Probe : KSBaseObject {
        KSUndoManager* um = nullptr;
        bool enabledDuringLoad = true;
        void observeValueForKeyPathOfObjectChangeContext(std::string_view, KSBaseObject*,
                                                         const KSKeyValueChange&,
                                                         const void*) override {
            enabledDuringLoad = um->isUndoRegistrationEnabled();
        }
    } probe;
    probe.um = document.undo.get();
    formatter->addObserverForKeyPathOptionsContext(&probe, "hoursPerDay", 0, nullptr);
    formatter->loadFromArchiveDictionary({{"hoursPerDay", KSValue(6.0)}});
    formatter->removeObserver(&probe);
    EXPECT_FALSE(probe.enabledDuringLoad);
    EXPECT_TRUE(document.undo->isUndoRegistrationEnabled());
    project->invalidate();
}

}  // namespace
}  // namespace kestrum::test
