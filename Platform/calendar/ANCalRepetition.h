// ANCalRepetition: the repetition rule of a calendar event, an iCalendar RRULE, over
// libical.
//
// A repetition reads and writes RRULE text ("FREQ=WEEKLY;BYDAY=FR;UNTIL=20191231") and
// walks the instances of its rule from a start date, in local wall-clock time. Instances
// are small records handed out strictly in order (a moment that libical gives twice, as
// for BYDAY=MO,FR,FR, comes once); the walk goes on from the last one it gave without
// starting over, and remembers where it ran dry.
//
// Limits, so that no rule can stall its caller:
//   - a rule repeats at most once a day: its frequency is DAILY or longer, and BYHOUR,
//     BYMINUTE and BYSECOND hold at most one value each. An event's hours come from the
//     event, so a finer rule would add instances and nothing else, and libical can search
//     a sub-daily rule that never matches for hours;
//   - a walk gives at most kMaximumInstances instances;
//   - a rule that never matches costs libical one bounded search (it gives up after the
//     year 2582), once per start date.
//
//   KSError error;
//   auto fridays = ANCalRepetition::repetitionWithRRule("FREQ=WEEKLY;BYDAY=FR", &error);
//   fridays->setStartDate(start);
//   for (auto i = fridays->firstRepetitionInstance(); i.isValid && i.year < 2020;
//        i = fridays->nextRepetitionInstance(i))
//       use(ANCalRepetition::dateForInstance(i));
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "Platform/core/KSError.h"
#include "Platform/core/KSValue.h"

struct icalrecur_iterator_impl;

namespace kestrum {

// One instance of a repetition: its place in the walk and its local date and time.
struct ANCalRepetitionInstance {
    bool isValid = false;     // false: the walk has ended
    std::int32_t index = -1;  // 0 for the first instance of the walk from the start date
    std::int32_t year = 0;    // wall-clock year, month (1-12), day (1-31) and time
    std::int32_t month = 0;
    std::int32_t day = 0;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
};
static_assert(std::is_trivially_copyable_v<ANCalRepetitionInstance>);

class ANCalRepetition {
public:
    // The most instances one walk from the start date gives.
    static constexpr std::int32_t kMaximumInstances = 100000;

    // initWithRRule: the rule of RRULE text (without the "RRULE:" name). Null, with
    // `error` in ANCalErrorDomain, for text that is not a rule or a rule refused above.
    static std::shared_ptr<ANCalRepetition> repetitionWithRRule(std::string_view rrule,
                                                                KSError* error = nullptr);
    ~ANCalRepetition();
    ANCalRepetition(const ANCalRepetition&) = delete;
    ANCalRepetition& operator=(const ANCalRepetition&) = delete;

    // The rule as libical writes it; it reads back to the same text.
    const std::string& rrule() const { return rrule_; }

    // The first moment of the rule (DTSTART). Setting another date starts the walk over.
    void setStartDate(KSDate date);
    KSDate startDate() const { return startDate_; }
    // The first instance from the start date; invalid without a start date.
    ANCalRepetitionInstance firstRepetitionInstance();
    // The first instance whose moment is at or after `date`.
    ANCalRepetitionInstance repetitionInstanceAtOrAfterDate(KSDate date);
    // The instance after `instance` (one of this repetition's); invalid at the end.
    ANCalRepetitionInstance nextRepetitionInstance(const ANCalRepetitionInstance& instance);
    // The platform date of an instance's local date and time; the reference date (1
    // January 2001, 0:00 UTC) for an invalid instance.
    static KSDate dateForInstance(const ANCalRepetitionInstance& instance);

private:
    struct Rule;
    explicit ANCalRepetition(std::unique_ptr<Rule> rule, std::string rrule);
    ANCalRepetitionInstance instanceAtIndex(std::int32_t index);
    bool restartWalk();
    void dropWalk();

    std::unique_ptr<Rule> rule_;
    std::string rrule_;
    KSDate startDate_;
    bool hasStartDate_ = false;
    // The walk: libical's iterator stands after `current_`, the instance at `position_`.
    icalrecur_iterator_impl* iterator_ = nullptr;
    std::int32_t position_ = -1;
    ANCalRepetitionInstance current_;
    // The first index that the walk from this start date does not reach.
    std::int32_t dryFrom_ = kMaximumInstances;
    // Instances libical gave in this walk, repeated ones included.
    std::int32_t callsInWalk_ = 0;
};

}  // namespace kestrum
