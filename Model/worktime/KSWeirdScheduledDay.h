// KSWeirdScheduledDay: a scheduled day for a daylight-saving day (23 or 25 hours long).
//
// Its spans are irregular KSTimeSpan values that measure absolute seconds, and its
// lengthOfDay is the day's true length, so the plain day arithmetic of KSScheduledDay
// serves unchanged. It is made by KSWeirdDay from a normal day, belongs to no schedule
// and is never stored: the day enumerator refills one of its own for each such day.
#pragma once

#include "Model/worktime/KSScheduledDay.h"

namespace kestrum {

class KSWeirdScheduledDay : public KSScheduledDay {
    KS_DECLARE_CLASS()
public:
    KSWeirdScheduledDay();
    ~KSWeirdScheduledDay() override;

    // The day's true length in seconds.
    void setLengthOfDay(float length) { lengthOfDay_ = static_cast<double>(length); }
    // Appends the span as it is, with no merging and no report, adding its duration.
    void addSpan(const KSTimeSpan& span);
    // Empties the day and gives it a new day number and length, for reuse.
    void resetForDay(std::int64_t dayNumber, float length);
};

}  // namespace kestrum
