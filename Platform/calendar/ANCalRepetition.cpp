#include "Platform/calendar/ANCalRepetition.h"

#include <libical/ical.h>

#include <cmath>
#include <mutex>
#include <tuple>

#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalPrivate.h"
#include "Platform/core/KSFormat.h"
#include "Platform/formatters/BKCivilDateTime.h"

namespace kestrum {

namespace ancal {

void prepareLibical() {
    static std::once_flag once;
    std::call_once(once, [] { icalerror_set_errors_are_fatal(0); });
}

std::tm localTimeOfDate(KSDate date) {
    static std::once_flag zone;
    std::call_once(zone, [] { tzset(); });
    auto seconds = static_cast<std::time_t>(std::floor(date.timeIntervalSince1970()));
    std::tm tm{};
    localtime_r(&seconds, &tm);
    return tm;
}

KSDate dateOfLocalTime(int year, int month, int day, int hour, int minute, int second) {
    return BKCivilDateTime{year, month, day, hour, minute, second}.date();
}

}  // namespace ancal

namespace {

// libical keeps an unused slot of a BY list at this mark; the list ends at the first.
int countOfValues(const short* values, int size) {
    int count = 0;
    while (count < size && values[count] != ICAL_RECURRENCE_ARRAY_MAX)
        ++count;
    return count;
}

icaltimetype floatingTime(const std::tm& tm) {
    icaltimetype time = icaltime_null_time();
    time.year = tm.tm_year + 1900;
    time.month = tm.tm_mon + 1;
    time.day = tm.tm_mday;
    time.hour = tm.tm_hour;
    time.minute = tm.tm_min;
    time.second = tm.tm_sec;
    return time;
}

std::string upperCase(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

// Whether libical's instance is a moment that exists; anything else ends a walk.
bool isRealMoment(const ANCalRepetitionInstance& i) {
    return i.month >= 1 && i.month <= 12 && i.day >= 1 && i.day <= 31 && i.hour >= 0 &&
           i.hour <= 23 && i.minute >= 0 && i.minute <= 59 && i.second >= 0 && i.second <= 60;
}

bool isLater(const ANCalRepetitionInstance& a, const ANCalRepetitionInstance& b) {
    return std::tie(a.year, a.month, a.day, a.hour, a.minute, a.second) >
           std::tie(b.year, b.month, b.day, b.hour, b.minute, b.second);
}

std::string quoted(std::string_view rrule) {
    return "\u201c" + std::string(rrule.substr(0, 200)) + "\u201d";
}

}  // namespace

// libical's rule, with the name of its calendar scale (RSCALE) kept here, where the rule
// points to it.
struct ANCalRepetition::Rule {
    icalrecurrencetype recurrence;
    std::string scale;
};

ANCalRepetition::ANCalRepetition(std::unique_ptr<Rule> rule, std::string rrule)
    : rule_(std::move(rule)), rrule_(std::move(rrule)) {}

ANCalRepetition::~ANCalRepetition() {
    dropWalk();
}

std::shared_ptr<ANCalRepetition> ANCalRepetition::repetitionWithRRule(std::string_view text,
                                                                      KSError* error) {
    ancal::prepareLibical();
    auto refuse = [&](const char* format) {
        KSSetError(error, ANCalRuleError(KSStringWithFormat(format, quoted(text))));
        return nullptr;
    };
    if (text.find('\0') != std::string_view::npos)
        return refuse("The repetition rule %@ holds a NUL character.");
    const std::string source(text);
    icalerror_clear_errno();
    auto rule = std::make_unique<Rule>();
    rule->recurrence = icalrecurrencetype_from_string(source.c_str());
    if (rule->recurrence.rscale) {
        // libical hands the name over in a buffer of its own, which nothing else frees.
        rule->scale = rule->recurrence.rscale;
        icalmemory_free_buffer(rule->recurrence.rscale);
        rule->recurrence.rscale = rule->scale.data();
    }
    if (rule->recurrence.freq == ICAL_NO_RECURRENCE || icalerrno != ICAL_NO_ERROR) {
        icalerror_clear_errno();
        return refuse("The repetition rule %@ cannot be read as an RRULE.");
    }
    const icalrecurrencetype& r = rule->recurrence;
    if (r.freq < ICAL_DAILY_RECURRENCE)
        return refuse("The repetition rule %@ repeats more often than once a day.");
    if (rule->scale.empty() || upperCase(rule->scale) == "GREGORIAN") {
        // libical walks a Gregorian leap month into dates that do not exist.
        for (int i = 0; i < countOfValues(r.by_month, ICAL_BY_MONTH_SIZE); ++i) {
            if (icalrecurrencetype_month_is_leap(r.by_month[i]))
                return refuse(
                    "The repetition rule %@ names a leap month, which the Gregorian "
                    "calendar does not have.");
        }
    }
    if (countOfValues(r.by_hour, ICAL_BY_HOUR_SIZE) > 1 ||
        countOfValues(r.by_minute, ICAL_BY_MINUTE_SIZE) > 1 ||
        countOfValues(r.by_second, ICAL_BY_SECOND_SIZE) > 1) {
        return refuse("The repetition rule %@ repeats more than once on one day.");
    }
    // libical checks the combinations of the rule's parts when it makes an iterator.
    std::tm reference{};
    reference.tm_year = 101;
    reference.tm_mday = 1;
    icalrecur_iterator* probe = icalrecur_iterator_new(rule->recurrence, floatingTime(reference));
    icalerror_clear_errno();
    if (!probe) return refuse("The repetition rule %@ combines parts that cannot go together.");
    icalrecur_iterator_free(probe);
    char* written = icalrecurrencetype_as_string_r(&rule->recurrence);
    if (!written) return refuse("The repetition rule %@ cannot be written back.");
    std::string canonical(written);
    icalmemory_free_buffer(written);
    return std::shared_ptr<ANCalRepetition>(
        new ANCalRepetition(std::move(rule), std::move(canonical)));
}

void ANCalRepetition::dropWalk() {
    if (iterator_) icalrecur_iterator_free(iterator_);
    iterator_ = nullptr;
    position_ = -1;
    current_ = {};
    callsInWalk_ = 0;
}

void ANCalRepetition::setStartDate(KSDate date) {
    if (hasStartDate_ && date == startDate_) return;
    dropWalk();
    startDate_ = date;
    hasStartDate_ = true;
    dryFrom_ = kMaximumInstances;
}

bool ANCalRepetition::restartWalk() {
    dropWalk();
    iterator_ =
        icalrecur_iterator_new(rule_->recurrence, floatingTime(ancal::localTimeOfDate(startDate_)));
    icalerror_clear_errno();
    if (!iterator_) dryFrom_ = 0;
    return iterator_ != nullptr;
}

ANCalRepetitionInstance ANCalRepetition::instanceAtIndex(std::int32_t index) {
    if (!hasStartDate_ || index < 0 || index >= dryFrom_) return {};
    if (iterator_ && position_ == index) return current_;
    // The walk only goes forward: an earlier instance starts it over.
    if ((!iterator_ || position_ > index) && !restartWalk()) return {};
    while (position_ < index) {
        icaltimetype next = icalrecur_iterator_next(iterator_);
        if (icaltime_is_null_time(next) || ++callsInWalk_ > 2 * kMaximumInstances) {
            icalerror_clear_errno();
            dryFrom_ = position_ + 1;
            return {};
        }
        ANCalRepetitionInstance instance = {true,
                                            position_ + 1,
                                            next.year,
                                            next.month,
                                            next.day,
                                            next.is_date ? 0 : next.hour,
                                            next.is_date ? 0 : next.minute,
                                            next.is_date ? 0 : next.second};
        if (!isRealMoment(instance)) {
            dryFrom_ = position_ + 1;
            return {};
        }
        // libical gives a moment twice when the rule names it twice (BYDAY=MO,FR,FR).
        if (current_.isValid && !isLater(instance, current_)) continue;
        ++position_;
        current_ = instance;
    }
    return current_;
}

ANCalRepetitionInstance ANCalRepetition::firstRepetitionInstance() {
    return instanceAtIndex(0);
}

ANCalRepetitionInstance ANCalRepetition::nextRepetitionInstance(
    const ANCalRepetitionInstance& instance) {
    if (!instance.isValid) return {};
    return instanceAtIndex(instance.index + 1);
}

ANCalRepetitionInstance ANCalRepetition::repetitionInstanceAtOrAfterDate(KSDate date) {
    // Go on from where the walk stands when that is still before the date.
    ANCalRepetitionInstance instance =
        current_.isValid && dateForInstance(current_) < date ? current_ : firstRepetitionInstance();
    while (instance.isValid && dateForInstance(instance) < date)
        instance = nextRepetitionInstance(instance);
    return instance;
}

KSDate ANCalRepetition::dateForInstance(const ANCalRepetitionInstance& instance) {
    if (!instance.isValid) return KSDate{};
    return ancal::dateOfLocalTime(instance.year, instance.month, instance.day, instance.hour,
                                  instance.minute, instance.second);
}

}  // namespace kestrum
