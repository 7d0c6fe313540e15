#include "Model/worktime/KSTimeSpan.h"

#include "Model/worktime/KSLocalCalendar.h"
#include "Platform/core/KSFormat.h"

namespace kestrum {

namespace {

// Minutes of the day folded onto a 12-hour clock: 0:xx reads 12:xx, 13:00 on reads 1:00.
struct TwelveHourTime {
    int hour;
    int minute;
    bool am;
};

TwelveHourTime twelveHourTime(double seconds) {
    int m = static_cast<int>(seconds / 60.0);
    bool am = m < 720;
    if (m < 60) {
        m += 720;
    } else if (m >= 780) {
        m -= 720;
    }
    return {m / 60, m % 60, am};
}

std::string shortEnd(double seconds) {
    TwelveHourTime t = twelveHourTime(seconds);
    if (t.minute == 0) return KSStringWithFormat("%2d", t.hour);
    return KSStringWithFormat("%d:%02d", t.hour, t.minute);
}

}  // namespace

KSTimeSpan KSTimeSpan::irregularSpan(KSDate startDate, KSDate endDate) {
    double end = KSLocalCalendar::timeOfDay(endDate);
    KSTimeSpan span(KSLocalCalendar::timeOfDay(startDate), end == 0.0 ? 86400.0 : end);
    span.startDate_ = startDate;
    span.endDate_ = endDate;
    span.irregular_ = true;
    return span;
}

double KSTimeSpan::irregularDurationFromStartTo(double t) const {
    return KSLocalCalendar::dateWithTimeOnSameDay(startDate_, t).timeIntervalSinceDate(startDate_);
}

double KSTimeSpan::irregularTimeAfterStart(double d) const {
    // The span's own end keeps its 86400: the instant is midnight of the next day, whose
    // wall-clock time would read 0.
    if (d >= totalDuration()) return endTime_;
    return KSLocalCalendar::timeOfDay(startDate_.dateByAddingTimeInterval(d));
}

double KSTimeSpan::irregularDurationToEndFrom(double t) const {
    return endDate_.timeIntervalSinceDate(KSLocalCalendar::dateWithTimeOnSameDay(startDate_, t));
}

double KSTimeSpan::irregularTimeBeforeEnd(double d) const {
    if (d <= 0.0) return endTime_;
    return KSLocalCalendar::timeOfDay(endDate_.dateByAddingTimeInterval(-d));
}

std::string KSTimeSpan::description() const {
    TwelveHourTime s = twelveHourTime(startTime_);
    TwelveHourTime e = twelveHourTime(endTime_);
    return KSStringWithFormat("%d:%02d%@-%d:%02d%@", s.hour, s.minute, s.am ? "am" : "pm", e.hour,
                              e.minute, e.am ? "am" : "pm");
}

std::string KSTimeSpan::localizedShortDescription() const {
    return KSStringWithFormat("%@\u2013%@", shortEnd(startTime_), shortEnd(endTime_));
}

KSDictionary KSTimeSpan::archiveDictionary() const {
    return KSDictionary{{"startTime", KSValue(startTime_)}, {"endTime", KSValue(endTime_)}};
}

void KSTimeSpan::loadFromArchive(const KSDictionary& archive) {
    *this = KSTimeSpan(static_cast<double>(archive.objectForKey("startTime").floatValue()),
                       static_cast<double>(archive.objectForKey("endTime").floatValue()));
}

KSArray KSTimeSpan::archiveForTimeSpans(const std::vector<KSTimeSpan>& spans) {
    KSArray archive;
    archive.reserve(spans.size());
    for (const KSTimeSpan& span : spans)
        archive.emplace_back(span.archiveDictionary());
    return archive;
}

std::vector<KSTimeSpan> KSTimeSpan::loadTimeSpansFromArchive(const KSArray& archive) {
    std::vector<KSTimeSpan> spans;
    spans.reserve(archive.size());
    for (const KSValue& item : archive) {
        if (!item.isDictionary()) continue;
        KSTimeSpan span;
        span.loadFromArchive(item.asDictionary());
        spans.push_back(span);
    }
    return spans;
}

}  // namespace kestrum
