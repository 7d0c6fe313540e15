#include "Model/worktime/KSWeirdDay.h"

#include <algorithm>

#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSWeirdScheduledDay.h"

namespace kestrum {

namespace {

constexpr std::int64_t kProbeDays = 100;
constexpr std::int64_t kGiveUpDays = 10000;

// The process-wide search state.
struct SearchState {
    std::int64_t firstSearchedDay = 0;   // inclusive
    std::int64_t endOfSearchedDays = 0;  // exclusive; equal to the first: nothing searched
    bool givenUp = false;
    std::vector<KSWeirdDay> found;  // ascending by day number
};

SearchState& state() {
    static SearchState* s = new SearchState();
    return *s;
}

double absoluteTimeOfDay(std::int64_t dayNumber) {
    return KSLocalCalendar::dateWithDayNumber(dayNumber).timeIntervalSinceReferenceDate;
}

}  // namespace

std::vector<KSWeirdDay> KSWeirdDay::_findWeirdDaysBetweenNumberAndNumber(std::int64_t a,
                                                                         std::int64_t b) {
    std::vector<KSWeirdDay> result;
    if (a >= b) return result;
    std::int64_t cur = a;
    double start = absoluteTimeOfDay(cur);
    std::int64_t probe = std::min(cur + kProbeDays, b);
    while (cur < b) {
        double t = absoluteTimeOfDay(probe);
        double delta = t - start;
        double expected = static_cast<double>(probe - cur) * 24 * 60 * 60;
        if (delta == expected) {
            // Nothing irregular in this stretch (two shifts that cancel pass unseen).
            cur = probe;
            start = t;
            probe = std::min(cur + kProbeDays, b);
        } else if (probe == cur + 1) {
            result.emplace_back(cur, static_cast<float>(delta));
            probe = std::min(cur + kProbeDays + 1, b);
            cur = cur + 1;
            start = t;
        } else {
            probe = cur + (probe - cur + 1) / 2;
        }
    }
    return result;
}

std::size_t KSWeirdDay::_indexOfWeirdDayNearDayNumber(std::int64_t n) {
    SearchState& s = state();
    if (s.firstSearchedDay == s.endOfSearchedDays) {
        s.firstSearchedDay = n;
        s.endOfSearchedDays = n + 1;
        s.found = _findWeirdDaysBetweenNumberAndNumber(n, n + 1);
        return 0;
    }
    if (n < s.firstSearchedDay) {
        std::int64_t newFirst = std::min(s.firstSearchedDay - kProbeDays, n);
        std::vector<KSWeirdDay> earlier =
            _findWeirdDaysBetweenNumberAndNumber(newFirst, s.firstSearchedDay);
        s.firstSearchedDay = newFirst;
        s.found.insert(s.found.begin(), earlier.begin(), earlier.end());
        return 0;
    }
    if (n < s.endOfSearchedDays) {
        auto place = std::lower_bound(
            s.found.begin(), s.found.end(), n,
            [](const KSWeirdDay& day, std::int64_t number) { return day.dayNumber() < number; });
        return static_cast<std::size_t>(place - s.found.begin());
    }
    std::int64_t to = std::max(s.endOfSearchedDays + kProbeDays, n);
    std::vector<KSWeirdDay> later =
        _findWeirdDaysBetweenNumberAndNumber(s.endOfSearchedDays, to + 1);
    s.endOfSearchedDays = to + 1;
    s.found.insert(s.found.end(), later.begin(), later.end());
    // The first answer after growing points past the list unless the last day found is the
    // new limit; callers ask again and then get the exact place.
    if (!later.empty() && later.back().dayNumber() == to) return s.found.size() - 1;
    return s.found.size();
}

void KSWeirdDay::_resetSearch() {
    state() = SearchState();
}

std::optional<KSWeirdDay> KSWeirdDay::weirdDayOnDayNumber(std::int64_t n) {
    SearchState& s = state();
    if (s.givenUp) return std::nullopt;
    std::size_t i = _indexOfWeirdDayNearDayNumber(n);
    if (i < s.found.size() && s.found[i].dayNumber() == n) return s.found[i];
    return std::nullopt;
}

std::optional<KSWeirdDay> KSWeirdDay::nextWeirdDayOnOrAfterDay(std::int64_t n) {
    SearchState& s = state();
    if (s.givenUp) return std::nullopt;
    std::size_t i = _indexOfWeirdDayNearDayNumber(n);
    if (i < s.found.size()) return s.found[i];
    for (std::int64_t probe = n + kProbeDays;; probe += kProbeDays) {
        if (_indexOfWeirdDayNearDayNumber(probe) != i) break;
        if (s.endOfSearchedDays - s.firstSearchedDay >= kGiveUpDays) {
            s.givenUp = true;
            return std::nullopt;
        }
    }
    if (i < s.found.size()) return s.found[i];
    return std::nullopt;
}

std::optional<KSWeirdDay> KSWeirdDay::previousWeirdDayOnOrBeforeDay(std::int64_t n) {
    SearchState& s = state();
    if (s.givenUp) return std::nullopt;
    std::size_t i = _indexOfWeirdDayNearDayNumber(n);
    if (i < s.found.size() && s.found[i].dayNumber() == n) return s.found[i];
    if (i != 0 && !s.found.empty()) return s.found[std::min(i, s.found.size()) - 1];
    std::size_t oldCount = s.found.size();
    for (std::int64_t probe = n - kProbeDays; s.found.size() == oldCount; probe -= kProbeDays) {
        if (s.endOfSearchedDays - s.firstSearchedDay >= kGiveUpDays) {
            s.givenUp = true;
            return std::nullopt;
        }
        _indexOfWeirdDayNearDayNumber(probe);
    }
    // The days found lie before the old list: the last of them is the answer.
    return s.found[s.found.size() - oldCount - 1];
}

std::shared_ptr<KSWeirdScheduledDay> KSWeirdDay::scheduledDayForNormalDay(
    const KSScheduledDay& day) const {
    auto weird = std::make_shared<KSWeirdScheduledDay>();
    fillScheduledDayForNormalDay(day, *weird);
    return weird;
}

void KSWeirdDay::fillScheduledDayForNormalDay(const KSScheduledDay& day,
                                              KSWeirdScheduledDay& into) const {
    into.resetForDay(dayNumber_, dayLength_);
    KSDate midnight = KSLocalCalendar::dateWithDayNumber(dayNumber_);
    for (const KSTimeSpan& span : day.timeSpans()) {
        KSDate start = KSLocalCalendar::dateWithTimeOnSameDay(midnight, span.startTime());
        double endTime = span.endTime();
        KSDate end = (endTime == 0.0 || endTime >= 86400.0)
                         ? KSLocalCalendar::dateWithBeginningOfNextDay(midnight)
                         : KSLocalCalendar::dateWithTimeOnSameDay(midnight, endTime);
        into.addSpan(KSTimeSpan::irregularSpan(start, end));
    }
}

}  // namespace kestrum
