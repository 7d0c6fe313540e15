// KSWeirdDay: a day whose clock length is not 86400 seconds (a daylight-saving day).
//
// The class keeps one process-wide, ascending list of such days in the local time zone,
// found lazily by comparing the absolute time between midnights with whole days, 100 days
// at a time, bisecting where they disagree. The searched stretch grows at either end as
// lookups ask for days outside it. In a zone without shifts the search gives up after
// 10000 days and every lookup answers none from then on.
//
// The list is plain process state without a lock; a time zone change while the process
// runs is not noticed. Lookups are binary searches once the stretch covers the day.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kestrum {

class KSScheduledDay;
class KSWeirdScheduledDay;

class KSWeirdDay {
public:
    KSWeirdDay(std::int64_t dayNumber, float length) : dayNumber_(dayNumber), dayLength_(length) {}

    std::int64_t dayNumber() const { return dayNumber_; }
    // The true length in seconds, such as 82800 or 90000.
    float dayLength() const { return dayLength_; }
    // -1, 0 or 1 by day number.
    int compare(const KSWeirdDay& other) const {
        return dayNumber_ < other.dayNumber_ ? -1 : (dayNumber_ > other.dayNumber_ ? 1 : 0);
    }

    // The irregular day on day n, or none.
    static std::optional<KSWeirdDay> weirdDayOnDayNumber(std::int64_t n);
    // The first irregular day on or after n, or none.
    static std::optional<KSWeirdDay> nextWeirdDayOnOrAfterDay(std::int64_t n);
    // The last irregular day on or before n, or none.
    static std::optional<KSWeirdDay> previousWeirdDayOnOrBeforeDay(std::int64_t n);

    // A new day with this day's number and length whose spans are the normal day's spans
    // measured in absolute time.
    std::shared_ptr<KSWeirdScheduledDay> scheduledDayForNormalDay(const KSScheduledDay& day) const;
    // The same, refilling `into` instead of making a new day (no allocation once warm).
    void fillScheduledDayForNormalDay(const KSScheduledDay& day, KSWeirdScheduledDay& into) const;

    // The irregular days in [a, b), ascending.
    static std::vector<KSWeirdDay> _findWeirdDaysBetweenNumberAndNumber(std::int64_t a,
                                                                        std::int64_t b);
    // The place of day n in the found list, growing the searched stretch first (see the
    // source for the exact answers after growing).
    static std::size_t _indexOfWeirdDayNearDayNumber(std::int64_t n);
    // Forgets everything found; for tests that switch the time zone.
    static void _resetSearch();

private:
    std::int64_t dayNumber_;
    float dayLength_;
};

}  // namespace kestrum
