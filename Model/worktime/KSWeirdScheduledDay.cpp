#include "Model/worktime/KSWeirdScheduledDay.h"

namespace kestrum {

const KSClassInfo& KSWeirdScheduledDay::staticClassInfo() {
    static const KSClassInfo info("KSWeirdScheduledDay", &KSScheduledDay::staticClassInfo());
    return info;
}

KSWeirdScheduledDay::KSWeirdScheduledDay() : KSScheduledDay(nullptr) {}

KSWeirdScheduledDay::~KSWeirdScheduledDay() = default;

void KSWeirdScheduledDay::addSpan(const KSTimeSpan& span) {
    timeSpans_.push_back(span);
    totalDuration_ += span.totalDuration();
}

void KSWeirdScheduledDay::resetForDay(std::int64_t dayNumber, float length) {
    timeSpans_.clear();
    totalDuration_ = 0.0;
    dayNumber_ = dayNumber;
    setLengthOfDay(length);
}

}  // namespace kestrum
