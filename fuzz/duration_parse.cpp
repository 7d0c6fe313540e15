// Fuzz target of duration text: reads arbitrary bytes with the project's time-span
// formatter and a plain one, in units chosen by the first byte, and checks that
//   - a reading either succeeds with a finite duration, at or above zero for the project's
//     formatter, or fails with a message;
//   - printing is stable: the printed text of a read value reads back and prints the same
//     (within the durations single precision holds to the second);
//   - stepping a read value never gives a negative one on the way down.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Platform/core/KSLog.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("duration_parse", what, text);
}

double secondsOf(const KSValue& value) {
    if (auto span = value.asObjectOfType<BKTimeSpan>()) return span->floatValue();
    return value.isNull() ? 0.0 : value.doubleValue();
}

// The units and the shown units from one byte.
void configure(KSTimeSpanFormatter& formatter, std::uint8_t settings) {
    static const float kHoursPerDay[] = {8.0f, 7.5f, 24.0f, 0.1f};
    formatter.setHoursPerDay(kHoursPerDay[settings & 3]);
    formatter.setDisplayMinutes(settings & 4);
    formatter.setDisplayHours(settings & 8);
    formatter.setDisplayWeeks(settings & 16);
    formatter.setDisplayMonths(settings & 32);
    formatter.setDisplayYears(settings & 64);
    formatter.setUseVerboseFormat(settings & 128);
}

void checkProjectFormatter(KSTimeSpanFormatter& formatter, const std::string& text) {
    KSValue value;
    std::string error;
    if (!formatter.getObjectValueForString(&value, text, &error)) {
        if (error.empty()) fail("a refusal without a message", text);
        return;
    }
    const double seconds = secondsOf(value);
    if (!std::isfinite(seconds) || seconds < 0.0) fail("a negative or endless duration", text);
    for (auto step :
         {&KSTimeSpanFormatter::stepDownValue, &KSTimeSpanFormatter::largeStepDownValue}) {
        if (secondsOf((formatter.*step)(value)) < 0.0) fail("a step down went below zero", text);
    }
    (void)formatter.stepUpValue(value);
    (void)formatter.largeStepUpValue(value);
    const std::string printed = formatter.stringForObjectValue(value);
    // Durations are single precision: past some ten million seconds a second is lost, and
    // printed text may read back a step away.
    if (seconds >= 1e7) return;
    KSValue again;
    if (!formatter.getObjectValueForString(&again, printed, &error))
        fail("printed text does not read back", printed);
    if (formatter.stringForObjectValue(again) != printed) fail("printing is not stable", printed);
}

void checkPlainFormatter(BKTimeSpanFormatter& formatter, const std::string& text) {
    std::shared_ptr<BKTimeSpan> span;
    std::string error;
    if (!formatter.parseTimeSpan(text, &span, &error)) {
        if (error.empty()) fail("a refusal without a message", text);
        return;
    }
    if (span && !std::isfinite(span->floatValue())) fail("an endless span", text);
    if (span) (void)formatter.stringForTimeInterval(span->floatValue());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        KSSetLogHook([](const std::string&) {});
        return true;
    }();
    (void)quiet;
    if (size == 0) return 0;
    static auto project = [] {
        auto formatter = std::make_shared<KSTimeSpanFormatter>();
        formatter->setRoundingInterval(0.25);
        return formatter;
    }();
    static auto plain = [] {
        auto formatter = std::make_shared<BKTimeSpanFormatter>();
        formatter->setStandardCalendarTime();
        return formatter;
    }();
    configure(*project, data[0]);
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    checkProjectFormatter(*project, text);
    checkPlainFormatter(*plain, text);
    return 0;
}
