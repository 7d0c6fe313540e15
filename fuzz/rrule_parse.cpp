// Fuzz target of repetition rules (RRULE text): reads arbitrary bytes as a rule, with a
// start date in 1990 to 2029 chosen by the first two bytes, and checks that
//   - a rule is either read or refused with a message in the calendar layer's domain;
//   - a rule that is read writes text that reads back to the same text;
//   - a walk gives instances in order, one a day at most, each on a date that exists,
//     with indexes counting up from 0, and answers the same when walked again;
//   - the instance at or after an instance's own moment is that instance.
// Rules that never match cost libical a bounded search; run with -timeout=30 or more.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>

#include "FuzzSupport.h"
#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSLog.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("rrule_parse", what, text);
}

// Instances walked at most, so that each input stays quick.
constexpr int kWalk = 40;

auto dayOf(const ANCalRepetitionInstance& i) {
    return std::make_tuple(i.year, i.month, i.day);
}

void walk(ANCalRepetition& repetition, const std::string& text) {
    ANCalRepetitionInstance first = repetition.firstRepetitionInstance();
    ANCalRepetitionInstance previous;
    int count = 0;
    for (ANCalRepetitionInstance i = first; i.isValid && count < kWalk;
         i = repetition.nextRepetitionInstance(i), ++count) {
        if (i.index != count) fail("instances out of count", text);
        if (i.month < 1 || i.month > 12 || i.day < 1 || i.day > 31 || i.hour > 23)
            fail("an instance on a date that does not exist", text);
        if (previous.isValid && !(dayOf(previous) < dayOf(i)))
            fail("two instances on one day or out of order", text);
        if (previous.isValid &&
            !(ANCalRepetition::dateForInstance(previous) < ANCalRepetition::dateForInstance(i)))
            fail("instance dates out of order", text);
        if (count % 7 == 3) {
            ANCalRepetitionInstance again =
                repetition.repetitionInstanceAtOrAfterDate(ANCalRepetition::dateForInstance(i));
            if (!again.isValid || again.index != i.index)
                fail("the instance at an instance's date is another", text);
        }
        previous = i;
    }
    // Walked again from the start, the first instance is the same.
    ANCalRepetitionInstance again = repetition.firstRepetitionInstance();
    if (again.isValid != first.isValid || (first.isValid && dayOf(again) != dayOf(first)))
        fail("a second walk starts elsewhere", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = [] {
        KSSetLogHook([](const std::string&) {});
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
        return true;
    }();
    (void)ready;
    if (size < 2) return 0;
    const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
    KSError error;
    auto repetition = ANCalRepetition::repetitionWithRRule(text, &error);
    if (!repetition) {
        if (error.domain() != ANCalErrorDomain || error.localizedDescription().empty())
            fail("a refusal without a message", text);
        return 0;
    }
    auto again = ANCalRepetition::repetitionWithRRule(repetition->rrule(), &error);
    if (!again) fail("the written rule is refused", repetition->rrule());
    if (again->rrule() != repetition->rrule())
        fail("the written rule changes", repetition->rrule());
    // 1990 to 2029, at a time of day from the second byte.
    std::tm start{};
    start.tm_year = 90 + data[0] % 40;
    start.tm_mday = 1 + data[0] / 40 % 28;
    start.tm_mon = data[1] % 12;
    start.tm_hour = data[1] / 12 % 24;
    start.tm_isdst = -1;
    repetition->setStartDate(
        KSDate::dateWithTimeIntervalSince1970(static_cast<double>(std::mktime(&start))));
    walk(*repetition, text);
    return 0;
}
