// Fuzz target of date text: reads arbitrary bytes with the date formatter of a plan with
// real dates, of a plan with generic dates, and of a plan-less formatter in a locale
// chosen by the first byte, and checks that
//   - an ordinary reading either succeeds with a date between the years 1 and 9999 (a
//     plan's dates kept within a century of it) or fails with a message;
//   - a plan with generic dates reads any text, as a date no earlier than a century
//     before its start;
//   - a read date prints as text that reads back to the same date (within the years that
//     two-digit years reach);
//   - free text and times of day read or fail without harm.
// The clock is fixed, so that every run reads the same. Built with libFuzzer under the
// "fuzz" preset, and with the replay driver for the smoke run of the normal test suite.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "FuzzSupport.h"
#include "Model/formatters/KSDateFormatter.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSClock.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/formatters/BKCivilDateTime.h"
#include "Platform/formatters/BKNaturalLanguageDateParser.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("date_parse", what, text);
}

using Document = fuzz::Document;

const KSDate kNow = BKCivilDateTime{2026, 3, 11, 10, 30, 0}.date();
const char* const kLocales[] = {"en_US", "de_DE", "en_GB", "fr_FR", "ja_JP", "ar_EG", "", "ko_KR"};

// Two plans: one from Monday 2 March 2026, one with generic dates.
struct Plans {
    Document document;
    std::shared_ptr<KSProject> project = std::make_shared<KSProject>(&document);
    std::shared_ptr<KSScenario> real = std::make_shared<KSScenario>();
    std::shared_ptr<KSScenario> generic = std::make_shared<KSScenario>();
    // One plan-less formatter per locale of kLocales.
    std::shared_ptr<KSDateFormatter> plain[8];
    Plans() {
        project->addScenario(real);
        project->addScenario(generic);
        real->setStoredFixedDate(KSDateTime(BKCivilDateTime{2026, 3, 2, 0, 0, 0}.date()));
        real->sharedDateFormatter()->setConstrainRange(true);
        generic->sharedDateFormatter()->setConstrainRange(true);
        for (int i = 0; i < 8; ++i) {
            plain[i] = std::make_shared<KSDateFormatter>();
            plain[i]->setLocaleIdentifier(kLocales[i]);
        }
        KSRunLoop::current().runUntilIdle();
    }
};

int yearOf(KSDate date) {
    return BKCivilDateTime::fromDate(date).year;
}

void checkOrdinary(KSDateFormatter& formatter, const std::string& text, int lowest, int highest) {
    KSValue value;
    std::string error;
    if (!formatter.getObjectValueForString(&value, text, &error)) {
        if (error.empty()) fail("a refusal without a message", text);
        return;
    }
    if (value.isNull()) return;
    if (!value.isDate() || !std::isfinite(value.asDate().timeIntervalSinceReferenceDate))
        fail("a reading that is no date", text);
    const int year = yearOf(value.asDate());
    if (year < lowest || year > highest) fail("a year out of range", text);
    // Two-digit years come back within 80 years before and 20 after now.
    if (year < 1947 || year > 2045) return;
    const std::string printed = formatter.stringForObjectValue(value);
    KSValue again;
    if (!formatter.getObjectValueForString(&again, printed, &error))
        fail("printed text does not read back", printed);
    if (formatter.stringForObjectValue(again) != printed) fail("printing is not stable", printed);
}

void checkGeneric(KSDateFormatter& formatter, const std::string& text) {
    KSValue value;
    if (!formatter.getObjectValueForString(&value, text, nullptr)) fail("a generic refusal", text);
    if (!value.isNull() && yearOf(value.asDate()) < 1901) fail("a generic date too early", text);
    (void)formatter.stringForObjectValue(value);
    (void)formatter.stepDownValue(value);
    (void)formatter.largeStepDownValue(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool once = [] {
        // Every run reads in the same zone, with no daylight-saving gaps in the way.
        setenv("TZ", "UTC", 1);
        tzset();
        KSSetLogHook([](const std::string&) {});
        KSClock::setFixedNow(kNow);
        return true;
    }();
    (void)once;
    if (size == 0) return 0;
    static Plans* plans = new Plans();
    const std::string locale = kLocales[data[0] & 7];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    plans->project->setDisplaySeconds(data[0] & 8);
    plans->real->sharedDateFormatter()->setDefaultTimeSetting((data[0] >> 4) % 3);
    checkOrdinary(*plans->real->sharedDateFormatter(), text, 1926, 2126);
    checkOrdinary(*plans->plain[data[0] & 7], text, 1, 9999);
    checkGeneric(*plans->generic->sharedDateFormatter(), text);

    auto parser = BKRelativeDateFormatter::naturalLanguageParserForLocale(locale);
    BKCivilDateTime moment;
    if (parser->parse(text, BKCivilDateTime::fromDate(kNow), 1 + (data[0] >> 5), &moment,
                      nullptr) &&
        !moment.isValid())
        fail("free text read as a day that does not exist", text);
    int hour = 0, minute = 0, second = 0;
    if (parser->parseTimeOfDay(text, &hour, &minute, &second) &&
        (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59))
        fail("a time of day that does not exist", text);
    // The settings changed above ask for a deferred notice; an application's event loop
    // would run it after the event.
    KSRunLoop::current().runUntilIdle();
    return 0;
}
