#include "Model/worktime/KSScheduledDay.h"

#include <algorithm>
#include <cmath>

#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/core/KSUndoableSetter.h"

namespace kestrum {

const KSClassInfo& KSScheduledDay::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSScheduledDay>(
        "KSScheduledDay", &BKObject::staticClassInfo(), [](KSClassBuilder<KSScheduledDay>& b) {
            b.readOnly("totalDuration", &KSScheduledDay::totalDuration);
            b.readOnly("dayNumber", &KSScheduledDay::dayNumber);
            b.readOnly("date", &KSScheduledDay::date);
            b.custom(
                "timeSpansString", KSValue::Type::String,
                [](const KSScheduledDay& d) { return KSValue(d.timeSpansString()); },
                [](KSScheduledDay& d, const KSValue& v) {
                    if (!v.isString()) return false;
                    d.setTimeSpansString(v.asString());
                    return true;
                });
        });
    return info;
}

KSScheduledDay::KSScheduledDay(KSSchedule* schedule) : nonretainedSchedule_(schedule) {}

KSScheduledDay::~KSScheduledDay() = default;

std::shared_ptr<KSScheduledDay> KSScheduledDay::dayForSchedule(KSSchedule* schedule) {
    return std::make_shared<KSScheduledDay>(schedule);
}

std::shared_ptr<KSScheduledDay> KSScheduledDay::dayWithArchive(const KSDictionary& archive,
                                                               KSSchedule* schedule) {
    auto day = dayForSchedule(schedule);
    day->loadFromArchive(archive);
    return day;
}

const std::shared_ptr<KSScheduledDay>& KSScheduledDay::sharedNonWorkingDay() {
    static const std::shared_ptr<KSScheduledDay>* day =
        new std::shared_ptr<KSScheduledDay>(std::make_shared<KSScheduledDay>(nullptr));
    return *day;
}

std::optional<KSDate> KSScheduledDay::dateFromPlistValue(const KSValue& value) {
    if (value.isDate()) return value.asDate();
    if (!value.isString()) return std::nullopt;
    const std::string& text = value.asString();
    if (text.size() != 8 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    int year = KSIntValueOfString(std::string_view(text).substr(0, 4));
    int month = KSIntValueOfString(std::string_view(text).substr(4, 2));
    int day = KSIntValueOfString(std::string_view(text).substr(6, 2));
    if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    return KSLocalCalendar::dateFromComponents({year, month, day, 0, 0, 0});
}

double KSScheduledDay::nextTransitionTimeAfterTimeInDays(
    double t, std::span<const KSScheduledDay* const> days) {
    double next = 86400.0;
    for (const KSScheduledDay* day : days) {
        for (const KSTimeSpan& span : day->timeSpans_) {
            if (span.startTime() > t) {
                next = std::min(next, span.startTime());
                break;
            }
            if (span.endTime() > t) {
                next = std::min(next, span.endTime());
                break;
            }
        }
    }
    return next;
}

double KSScheduledDay::previousTransitionTimeBeforeTimeInDays(
    double t, std::span<const KSScheduledDay* const> days) {
    double previous = 0.0;
    for (const KSScheduledDay* day : days) {
        double candidate = 0.0;
        for (const KSTimeSpan& span : day->timeSpans_) {
            if (span.endTime() < t) {
                candidate = span.endTime();
            } else if (span.startTime() < t) {
                candidate = span.startTime();
                break;
            }
        }
        previous = std::max(previous, candidate);
    }
    return previous;
}

std::shared_ptr<KSScheduledDay> KSScheduledDay::copy() const {
    auto day = std::make_shared<KSScheduledDay>(nonretainedSchedule_);
    day->dayNumber_ = dayNumber_;
    day->timeSpans_ = timeSpans_;
    day->totalDuration_ = totalDuration_;
    day->lengthOfDay_ = lengthOfDay_;
    return day;
}

bool KSScheduledDay::isNormalDay() const {
    if (dayNumber_ != 0 || !nonretainedSchedule_) return false;
    for (int w = 0; w < 7; ++w) {
        if (nonretainedSchedule_->normalScheduleForDayOfTheWeek(w).get() == this) return true;
    }
    return false;
}

int KSScheduledDay::dayOfTheWeek() const {
    if (dayNumber_ == 0 && nonretainedSchedule_) {
        for (int w = 0; w < 7; ++w) {
            if (nonretainedSchedule_->scheduledDayAtDayInWeek(w).get() == this) return w;
        }
    }
    return date().weekday();
}

KSUndoManager* KSScheduledDay::undoManagerForScheduledDay() const {
    if (!isNormalDay()) return nullptr;
    return nonretainedSchedule_->undoManager();
}

void KSScheduledDay::reportChange() {
    if (batchChanges_) {
        haveChanges_ = true;
        return;
    }
    if (!nonretainedSchedule_) return;
    // The schedule may drop this day from its lists; stay alive until the call returns.
    auto keepAlive = weak_from_this().lock();
    nonretainedSchedule_->scheduleDidChangeForDay(this);
}

void KSScheduledDay::endBatchingChanges() {
    batchChanges_ = false;
    haveChanges_ = false;
    if (!nonretainedSchedule_) return;
    auto keepAlive = weak_from_this().lock();
    nonretainedSchedule_->scheduleDidChangeForDay(this);
}

void KSScheduledDay::sortSpans() {
    std::stable_sort(
        timeSpans_.begin(), timeSpans_.end(),
        [](const KSTimeSpan& a, const KSTimeSpan& b) { return a.startTime() < b.startTime(); });
}

void KSScheduledDay::addSpanFromStartToEnd(double s, double e) {
    if (!(s < e)) return;
    double newStart = s;
    double newEnd = e;
    // Up to the cursor the new stretch is already accounted for.
    double cursor = s;
    auto addedStretch = [this](double from, double to) {
        KSRegisterUndo(undoManagerForScheduledDay(), *this,
                       [from, to](KSScheduledDay& day) { day.removeSpanFromStartToEnd(from, to); });
        totalDuration_ += to - from;
    };
    for (std::size_t i = 0; i < timeSpans_.size();) {
        const KSTimeSpan span = timeSpans_[i];
        if (span.startTime() > newEnd) break;
        if (span.endTime() < newStart) {
            ++i;
            continue;
        }
        if (span.startTime() > newStart) {
            addedStretch(cursor, span.startTime());
        } else {
            newStart = span.startTime();
        }
        newEnd = std::max(newEnd, span.endTime());
        if (newStart == span.startTime() && newEnd == span.endTime()) return;
        timeSpans_.erase(timeSpans_.begin() + static_cast<std::ptrdiff_t>(i));
        cursor = span.endTime();
    }
    if (newEnd > cursor) addedStretch(cursor, newEnd);
    timeSpans_.emplace_back(newStart, newEnd);
    sortSpans();
    reportChange();
}

void KSScheduledDay::removeSpanFromStartToEnd(double s, double e) {
    if (s == e) return;
    bool changed = false;
    auto removedStretch = [&](double from, double to) {
        KSRegisterUndo(undoManagerForScheduledDay(), *this,
                       [from, to](KSScheduledDay& day) { day.addSpanFromStartToEnd(from, to); });
        totalDuration_ -= to - from;
        changed = true;
    };
    for (std::size_t i = 0; i < timeSpans_.size();) {
        KSTimeSpan& span = timeSpans_[i];
        if (span.startTime() >= e) break;
        if (span.endTime() <= s) {
            ++i;
            continue;
        }
        double start = span.startTime();
        double end = span.endTime();
        if (start >= s && end <= e) {
            removedStretch(start, end);
            timeSpans_.erase(timeSpans_.begin() + static_cast<std::ptrdiff_t>(i));
            continue;
        }
        if (start >= s) {
            removedStretch(start, e);
            span.setStartTime(e);
        } else if (end <= e) {
            removedStretch(s, end);
            span.setEndTime(s);
        } else {
            removedStretch(s, e);
            span.setEndTime(s);
            timeSpans_.insert(timeSpans_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                              KSTimeSpan(e, end));
        }
        ++i;
    }
    sortSpans();
    if (changed) reportChange();
}

void KSScheduledDay::copySpansFromDay(const KSScheduledDay& other) {
    timeSpans_ = other.timeSpans_;
    totalDuration_ = other.totalDuration_;
    reportChange();
}

void KSScheduledDay::clearTimeSpans() {
    removeSpanFromStartToEnd(0.0, lengthOfDay_);
    totalDuration_ = 0.0;
}

std::string KSScheduledDay::timeSpansString() const {
    std::string text;
    for (const KSTimeSpan& span : timeSpans_) {
        if (!text.empty()) text += ',';
        text += KSStringWithFormat("%d,%d", static_cast<int>(span.startTime()),
                                   static_cast<int>(span.endTime()));
    }
    return text;
}

void KSScheduledDay::setTimeSpansString(std::string_view text) {
    // One report for the whole replacement: the intermediate states (an emptied day) must
    // not make the schedule drop this day half-way.
    bool wasBatching = batchChanges_;
    batchChanges_ = true;
    clearTimeSpans();
    if (!text.empty()) {
        std::vector<float> values;
        std::size_t position = 0;
        while (position <= text.size()) {
            std::size_t comma = std::min(text.find(',', position), text.size());
            values.push_back(KSFloatValueOfString(text.substr(position, comma - position)));
            position = comma + 1;
        }
        for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
            addSpanFromStartToEnd(values[i], values[i + 1]);
        }
    }
    if (wasBatching) return;
    endBatchingChanges();
}

bool KSScheduledDay::hasHoursBetweenStartAndEnd(double s, double e) const {
    for (const KSTimeSpan& span : timeSpans_) {
        if (span.endTime() > s) return span.startTime() < e;
    }
    return false;
}

double KSScheduledDay::remainingHoursAfterDate(const KSDateTime& date) const {
    double t = date.timeOfDay();
    double left = totalDuration_;
    for (const KSTimeSpan& span : timeSpans_) {
        if (span.startTime() >= t) return left;
        if (span.endTime() >= t) return left - span.durationFromStartTimeToTime(t);
        left -= span.totalDuration();
    }
    return left;
}

double KSScheduledDay::remainingHoursBeforeDate(const KSDateTime& date) const {
    double t = date.timeOfDay();
    double left = totalDuration_;
    for (auto it = timeSpans_.rbegin(); it != timeSpans_.rend(); ++it) {
        if (t >= it->endTime()) return left;
        if (t >= it->startTime()) return left - it->durationFromEndTimeBackToTime(t);
        left -= it->totalDuration();
    }
    return left;
}

KSDateTime KSScheduledDay::dateForDurationAfterStartOnDate(double d, const KSDateTime& date) const {
    for (const KSTimeSpan& span : timeSpans_) {
        double length = span.totalDuration();
        if (length >= d) return date.dateWithTimeOnSameDay(span.timeForStartTimePlusDuration(d));
        d -= length;
    }
    return date.dateWithTimeOnSameDay(0.0);
}

KSDateTime KSScheduledDay::dateForDurationBeforeEndOnDate(double d, const KSDateTime& date) const {
    for (auto it = timeSpans_.rbegin(); it != timeSpans_.rend(); ++it) {
        double length = it->totalDuration();
        if (length >= d) return date.dateWithTimeOnSameDay(it->timeForEndTimeMinusDuration(d));
        d -= length;
    }
    return date.dateWithTimeOnSameDay(0.0);
}

KSDateTime KSScheduledDay::adjustDateForUseAsStartDateWithGranularity(const KSDateTime& date,
                                                                      int granularity) const {
    if (timeSpans_.empty() || date.isNull()) return {};
    double t = date.timeOfDay();
    if (granularity == 1) {
        t = std::ceil(t / 3600.0) * 3600.0;
    } else if (granularity == 2) {
        // A day already under way offers no start.
        double first = timeSpans_.front().startTime();
        return first >= t ? date.dateWithTimeOnSameDay(first) : KSDateTime();
    }
    // A time exactly at a span's end is not usable as a start: it moves to the next span.
    for (std::size_t i = timeSpans_.size(); i-- > 0;) {
        const KSTimeSpan& span = timeSpans_[i];
        if (t >= span.endTime()) {
            if (i + 1 == timeSpans_.size()) return {};
            return date.dateWithTimeOnSameDay(timeSpans_[i + 1].startTime());
        }
        if (t >= span.startTime()) return date.dateWithTimeOnSameDay(t);
        if (i == 0) return date.dateWithTimeOnSameDay(span.startTime());
    }
    return {};
}

KSDateTime KSScheduledDay::adjustDateForUseAsEndDateWithGranularity(const KSDateTime& date,
                                                                    int granularity) const {
    if (timeSpans_.empty() || date.isNull()) return {};
    double t = date.timeOfDay();
    if (timeSpans_.front().startTime() >= t) return {};
    // Rounding goes up here too: an end date rounds to a later hour.
    if (granularity == 1) {
        t = std::ceil(t / 3600.0) * 3600.0;
    } else if (granularity == 2) {
        return date.dateWithTimeOnSameDay(timeSpans_.back().endTime());
    }
    // A time exactly at a span's end stays: as an end it is usable.
    for (std::size_t i = 0; i < timeSpans_.size(); ++i) {
        const KSTimeSpan& span = timeSpans_[i];
        if (span.startTime() >= t) {
            return date.dateWithTimeOnSameDay(timeSpans_[i == 0 ? 0 : i - 1].endTime());
        }
        if (span.endTime() >= t) return date.dateWithTimeOnSameDay(t);
    }
    return date.dateWithTimeOnSameDay(timeSpans_.back().endTime());
}

KSDateTime KSScheduledDay::adjustDateToEndOfSchedule(const KSDateTime& date) const {
    if (timeSpans_.empty()) return date;
    return date.dateWithTimeOnSameDay(std::max(date.timeOfDay(), timeSpans_.back().endTime()));
}

KSDateTime KSScheduledDay::startOfNextTimeSpanAfterDate(const KSDateTime& date) const {
    for (const KSTimeSpan& span : timeSpans_) {
        if (span.startTime() >= date.timeOfDay()) {
            return date.dateWithTimeOnSameDay(span.startTime());
        }
    }
    return {};
}

KSDateTime KSScheduledDay::endOfTimeSpanDuringDate(const KSDateTime& date) const {
    for (auto it = timeSpans_.rbegin(); it != timeSpans_.rend(); ++it) {
        if (it->startTime() <= date.timeOfDay()) return date.dateWithTimeOnSameDay(it->endTime());
    }
    return {};
}

std::string KSScheduledDay::description() const {
    std::string text;
    for (const KSTimeSpan& span : timeSpans_) {
        if (!text.empty()) text += ',';
        text += span.description();
    }
    return text;
}

std::string KSScheduledDay::localizedShortDescription() const {
    std::string text;
    for (const KSTimeSpan& span : timeSpans_) {
        if (!text.empty()) text += ';';
        text += span.localizedShortDescription();
    }
    return text;
}

KSDictionary KSScheduledDay::archiveDictionary() const {
    KSDictionary archive;
    if (!timeSpans_.empty()) {
        archive.setObjectForKey("spans", KSTimeSpan::archiveForTimeSpans(timeSpans_));
    }
    if (dayNumber_ != 0) {
        KSLocalDateComponents c = KSLocalCalendar::civilDateOfDayNumber(dayNumber_);
        archive.setObjectForKey("date", KSStringWithFormat("%04d%02d%02d", c.year, c.month, c.day));
    }
    return archive;
}

void KSScheduledDay::loadFromArchive(const KSDictionary& archive) {
    clearTimeSpans();
    timeSpans_ = KSTimeSpan::loadTimeSpansFromArchive(archive.objectForKey("spans").asArray());
    sortSpans();
    totalDuration_ = 0.0;
    for (const KSTimeSpan& span : timeSpans_)
        totalDuration_ += span.totalDuration();
    if (std::optional<KSDate> date = dateFromPlistValue(archive.objectForKey("date"))) {
        dayNumber_ = KSLocalCalendar::dayNumberOfDate(*date);
    }
}

KSArray KSScheduledDay::archiveForScheduledDays(
    const std::vector<std::shared_ptr<KSScheduledDay>>& days) {
    KSArray archive;
    archive.reserve(days.size());
    for (const auto& day : days)
        archive.emplace_back(day->archiveDictionary());
    return archive;
}

std::vector<std::shared_ptr<KSScheduledDay>>
KSScheduledDay::loadScheduledDaysFromArchiveWithSchedule(const KSArray& archive,
                                                         KSSchedule* schedule) {
    std::vector<std::shared_ptr<KSScheduledDay>> days;
    for (const KSValue& item : archive) {
        if (item.isDictionary()) days.push_back(dayWithArchive(item.asDictionary(), schedule));
    }
    return days;
}

}  // namespace kestrum
