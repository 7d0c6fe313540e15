#include "Model/worktime/KSScheduledDayEnumerator.h"

#include <algorithm>

#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSScheduledDay.h"
#include "Model/worktime/KSWeirdScheduledDay.h"
#include "Platform/core/KSAssert.h"

namespace kestrum {

KSScheduledDayEnumerator::KSScheduledDayEnumerator(KSSchedule* schedule, bool backwards)
    : nonretainedSchedule_(schedule), backwards_(backwards) {}

KSScheduledDayEnumerator::~KSScheduledDayEnumerator() = default;

void KSScheduledDayEnumerator::failNestedWalk() const {
    KS_FAIL(
        "schedule operations must not nest: a second one would reset the %@ walk of the "
        "first",
        backwards_ ? "backward" : "forward");
}

bool KSScheduledDayEnumerator::haveMoreScheduledDaysInEnumerators(
    std::span<const KSScheduledDayEnumerator* const> enumerators) {
    return std::any_of(enumerators.begin(), enumerators.end(),
                       [](const KSScheduledDayEnumerator* e) { return e->hasMoreScheduledDays(); });
}

void KSScheduledDayEnumerator::setStartDate(const KSDateTime& date) {
    int weekday = date.weekday();
    if (backwards_) {
        currentDayNumber_ = date.dayNumber() + 1;
        currentDayOfTheWeek_ = (weekday + 1) % 7;
    } else {
        currentDayNumber_ = date.dayNumber() - 1;
        currentDayOfTheWeek_ = (weekday + 6) % 7;
    }
    nonretainedNextExceptionDay_ = nullptr;

    const auto& exceptions = nonretainedSchedule_->exceptions();
    auto place = std::lower_bound(exceptions.begin(), exceptions.end(), currentDayNumber_,
                                  [](const std::shared_ptr<KSScheduledDay>& day, std::int64_t n) {
                                      return day->dayNumber() < n;
                                  });
    std::size_t index = static_cast<std::size_t>(place - exceptions.begin());
    if (backwards_) {
        // The exception at or before the current day; also when every exception lies
        // before it (the index is then past the end of the list).
        if (index < exceptions.size() && exceptions[index]->dayNumber() == currentDayNumber_) {
            nonretainedNextExceptionDay_ = exceptions[index].get();
        } else if (index > 0) {
            --index;
            nonretainedNextExceptionDay_ = exceptions[index].get();
        }
    } else if (index < exceptions.size()) {
        if (exceptions[index]->dayNumber() == currentDayNumber_) ++index;
        if (index < exceptions.size()) nonretainedNextExceptionDay_ = exceptions[index].get();
    }
    nextExceptionIndex_ = index;

    nextWeirdDay_ = backwards_ ? KSWeirdDay::previousWeirdDayOnOrBeforeDay(currentDayNumber_)
                               : KSWeirdDay::nextWeirdDayOnOrAfterDay(currentDayNumber_);

    if (nonretainedSchedule_->hasNoWork()) {
        firstDayNumber_ = currentDayNumber_ + 1;
        lastDayNumber_ = currentDayNumber_ - 1;
        normalWeekIsEmpty_ = true;
        return;
    }
    KSDateTime start = nonretainedSchedule_->startOfSchedule();
    KSDateTime end = nonretainedSchedule_->endOfSchedule();
    firstDayNumber_ = (start.isNull() ? KSDateTime::distantPast() : start).dayNumber();
    lastDayNumber_ = (end.isNull() ? KSDateTime::distantFuture() : end).dayNumber();
    normalWeekIsEmpty_ = nonretainedSchedule_->totalDurationForNormalWeek() == 0.0;
}

KSScheduledDay* KSScheduledDayEnumerator::nextObject() {
    if (backwards_) {
        --currentDayNumber_;
        currentDayOfTheWeek_ = (currentDayOfTheWeek_ + 6) % 7;
    } else {
        ++currentDayNumber_;
        currentDayOfTheWeek_ = (currentDayOfTheWeek_ + 1) % 7;
    }
    bringUpToDate();
    return currentDay();
}

void KSScheduledDayEnumerator::bringUpToDate() {
    const auto& exceptions = nonretainedSchedule_->exceptions();
    if (backwards_) {
        while (nonretainedNextExceptionDay_ &&
               nonretainedNextExceptionDay_->dayNumber() > currentDayNumber_) {
            if (nextExceptionIndex_ == 0 || nextExceptionIndex_ > exceptions.size()) {
                nonretainedNextExceptionDay_ = nullptr;
            } else {
                nonretainedNextExceptionDay_ = exceptions[--nextExceptionIndex_].get();
            }
        }
        if (nextWeirdDay_ && nextWeirdDay_->dayNumber() > currentDayNumber_) {
            nextWeirdDay_ = KSWeirdDay::previousWeirdDayOnOrBeforeDay(currentDayNumber_);
        }
        return;
    }
    while (nonretainedNextExceptionDay_ &&
           nonretainedNextExceptionDay_->dayNumber() < currentDayNumber_) {
        ++nextExceptionIndex_;
        nonretainedNextExceptionDay_ = nextExceptionIndex_ < exceptions.size()
                                           ? exceptions[nextExceptionIndex_].get()
                                           : nullptr;
    }
    if (nextWeirdDay_ && nextWeirdDay_->dayNumber() < currentDayNumber_) {
        nextWeirdDay_ = KSWeirdDay::nextWeirdDayOnOrAfterDay(currentDayNumber_);
    }
}

KSScheduledDay* KSScheduledDayEnumerator::currentDay() {
    if (currentDayNumber_ < firstDayNumber_ || currentDayNumber_ > lastDayNumber_) {
        return KSScheduledDay::sharedNonWorkingDay().get();
    }
    KSScheduledDay* day =
        nonretainedNextExceptionDay_ &&
                nonretainedNextExceptionDay_->dayNumber() == currentDayNumber_
            ? nonretainedNextExceptionDay_
            : nonretainedSchedule_->normalScheduleForDayOfTheWeek(currentDayOfTheWeek_).get();
    if (nextWeirdDay_ && nextWeirdDay_->dayNumber() == currentDayNumber_) {
        // An exception on an irregular day is stretched or squeezed as well.
        if (!weirdDay_) weirdDay_ = std::make_shared<KSWeirdScheduledDay>();
        nextWeirdDay_->fillScheduledDayForNormalDay(*day, *weirdDay_);
        return weirdDay_.get();
    }
    return day;
}

bool KSScheduledDayEnumerator::hasMoreScheduledDays() const {
    if (backwards_ ? currentDayNumber_ < firstDayNumber_ : currentDayNumber_ > lastDayNumber_) {
        return false;
    }
    return nonretainedNextExceptionDay_ != nullptr || !normalWeekIsEmpty_;
}

std::int64_t KSScheduledDayEnumerator::daysUntilNextExceptionalDay() const {
    if (backwards_) {
        // Bounded by the last day, not the first: kept as it is, nothing relies on it.
        std::int64_t m = lastDayNumber_;
        if (nextWeirdDay_) m = std::max(m, nextWeirdDay_->dayNumber());
        if (nonretainedNextExceptionDay_)
            m = std::max(m, nonretainedNextExceptionDay_->dayNumber());
        return std::max<std::int64_t>(currentDayNumber_ - m - 1, 0);
    }
    // Days before the schedule's first day hold no work and must not be skipped as weeks.
    if (currentDayNumber_ < firstDayNumber_) return 0;
    std::int64_t m = lastDayNumber_;
    if (nextWeirdDay_) m = std::min(m, nextWeirdDay_->dayNumber());
    if (nonretainedNextExceptionDay_) m = std::min(m, nonretainedNextExceptionDay_->dayNumber());
    return std::max<std::int64_t>(m - currentDayNumber_ - 1, 0);
}

std::int64_t KSScheduledDayEnumerator::plainDaysAhead() const {
    if (!backwards_) return daysUntilNextExceptionalDay();
    if (currentDayNumber_ > lastDayNumber_) return 0;
    std::int64_t m = firstDayNumber_;
    if (nextWeirdDay_) m = std::max(m, nextWeirdDay_->dayNumber());
    if (nonretainedNextExceptionDay_) m = std::max(m, nonretainedNextExceptionDay_->dayNumber());
    return std::max<std::int64_t>(currentDayNumber_ - m - 1, 0);
}

void KSScheduledDayEnumerator::skipDays(std::int64_t n) {
    int shift = static_cast<int>(n % 7);
    if (backwards_) {
        currentDayNumber_ -= n;
        currentDayOfTheWeek_ = (currentDayOfTheWeek_ - shift + 7) % 7;
    } else {
        currentDayNumber_ += n;
        currentDayOfTheWeek_ = (currentDayOfTheWeek_ + shift) % 7;
    }
    bringUpToDate();
}

}  // namespace kestrum
