// KSTimeSpan: one stretch of working time within a day, from startTime up to endTime.
//
// Times are wall-clock seconds since the start of the day; 86400 is midnight at the end
// of the day. A span is a plain 40-byte value held in a KSScheduledDay's list.
//
// An irregular span (made by irregularSpan, for a daylight-saving day) also carries the
// absolute start and end instants and measures durations in absolute seconds, so that a
// span over the spring shift holds an hour less than its times of day say. All day
// arithmetic goes through totalDuration and the four duration/time operations below,
// which branch on that flag instead of dispatching virtually.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSTimeSpan {
public:
    // 8:00 to 12:00.
    KSTimeSpan() = default;
    KSTimeSpan(double startTime, double endTime) : startTime_(startTime), endTime_(endTime) {}
    // KSWeirdTimeSpan's initWithStartDate:endDate: times of day from the two instants (an
    // end at 0:00 counts as 86400), durations in absolute seconds between them.
    static KSTimeSpan irregularSpan(KSDate startDate, KSDate endDate);

    double startTime() const { return startTime_; }
    double endTime() const { return endTime_; }
    void setStartTime(double t) { startTime_ = t; }
    void setEndTime(double t) { endTime_ = t; }
    bool isIrregular() const { return irregular_; }
    // The absolute instants of an irregular span (zero for a plain one).
    KSDate startDate() const { return startDate_; }
    KSDate endDate() const { return endDate_; }

    // Seconds of work in the span.
    double totalDuration() const {
        return irregular_ ? endDate_.timeIntervalSinceDate(startDate_) : endTime_ - startTime_;
    }
    // Work from the span's start to time t.
    double durationFromStartTimeToTime(double t) const {
        return irregular_ ? irregularDurationFromStartTo(t) : t - startTime_;
    }
    // The time of day reached after d seconds of work from the span's start.
    double timeForStartTimePlusDuration(double d) const {
        return irregular_ ? irregularTimeAfterStart(d) : startTime_ + d;
    }
    // Work from time t to the span's end.
    double durationFromEndTimeBackToTime(double t) const {
        return irregular_ ? irregularDurationToEndFrom(t) : endTime_ - t;
    }
    // The time of day d seconds of work before the span's end.
    double timeForEndTimeMinusDuration(double d) const {
        return irregular_ ? irregularTimeBeforeEnd(d) : endTime_ - d;
    }

    // -1, 0 or 1.
    int compareByStartTime(const KSTimeSpan& other) const {
        return startTime_ < other.startTime_ ? -1 : (startTime_ > other.startTime_ ? 1 : 0);
    }
    int compareByEndTime(const KSTimeSpan& other) const {
        return endTime_ < other.endTime_ ? -1 : (endTime_ > other.endTime_ ? 1 : 0);
    }
    // Both times exactly equal.
    friend bool operator==(const KSTimeSpan& a, const KSTimeSpan& b) {
        return a.startTime_ == b.startTime_ && a.endTime_ == b.endTime_;
    }

    // "8:00am-12:00pm", on a 12-hour clock.
    std::string description() const;
    // " 8– 12" or "8:30–5:00": each end as its hour when on the hour, else h:mm.
    std::string localizedShortDescription() const;

    // { startTime = ...; endTime = ...; }
    KSDictionary archiveDictionary() const;
    // Reads both times as 32-bit floats, as the archive stores them.
    void loadFromArchive(const KSDictionary& archive);
    static KSArray archiveForTimeSpans(const std::vector<KSTimeSpan>& spans);
    // Spans in list order; entries that are not dictionaries are skipped.
    static std::vector<KSTimeSpan> loadTimeSpansFromArchive(const KSArray& archive);

private:
    double irregularDurationFromStartTo(double t) const;
    double irregularTimeAfterStart(double d) const;
    double irregularDurationToEndFrom(double t) const;
    double irregularTimeBeforeEnd(double d) const;

    double startTime_ = 28800.0;
    double endTime_ = 43200.0;
    KSDate startDate_{};
    KSDate endDate_{};
    bool irregular_ = false;
};

static_assert(std::is_trivially_copyable_v<KSTimeSpan>);

}  // namespace kestrum
