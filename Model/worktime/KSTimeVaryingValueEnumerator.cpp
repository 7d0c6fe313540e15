#include "Model/worktime/KSTimeVaryingValueEnumerator.h"

#include "Model/worktime/KSTimeVaryingValue.h"

namespace kestrum {

KSTimeVaryingValueEnumerator::KSTimeVaryingValueEnumerator(
    std::shared_ptr<KSTimeVaryingValue> value)
    : value_(std::move(value)) {}

KSDateTime KSTimeVaryingValueEnumerator::currentDate() const {
    if (currentIndex_ == -1) return KSDateTime::distantPast();
    if (currentIndex_ == KSTimeVaryingValueEnumeratorEnd) return KSDateTime::distantFuture();
    if (!value_ || currentIndex_ < 0 || static_cast<std::size_t>(currentIndex_) >= value_->count())
        return {};
    return KSDateTime(value_->dayNumbers()[static_cast<std::size_t>(currentIndex_)], 0.0);
}

KSValue KSTimeVaryingValueEnumerator::currentValue() const {
    if (!value_) return {};
    if (currentIndex_ == -1) return value_->initialValue();
    const KSArray& values = value_->allSubsequentValues();
    if (currentIndex_ == KSTimeVaryingValueEnumeratorEnd)
        return values.empty() ? KSValue() : values.back();
    if (currentIndex_ < 0 || static_cast<std::size_t>(currentIndex_) >= values.size()) return {};
    return values[static_cast<std::size_t>(currentIndex_)];
}

void KSTimeVaryingValueEnumerator::moveToNextValue() {
    if (currentIndex_ == KSTimeVaryingValueEnumeratorEnd) return;
    ++currentIndex_;
    // The count is compared with the low 32 bits of the index.
    const std::size_t count = value_ ? value_->count() : 0;
    if (static_cast<std::uint32_t>(currentIndex_) == count)
        currentIndex_ = KSTimeVaryingValueEnumeratorEnd;
}

void KSTimeVaryingValueEnumerator::moveToPreviousValue() {
    if (currentIndex_ != -1) --currentIndex_;
}

void KSTimeVaryingValueEnumerator::moveToValueBeforeDate(const KSDateTime& date) {
    if (!value_ || date.isNull()) return;
    const std::size_t count = value_->count();
    const std::size_t i = value_->indexOfDayNumber(date.dayNumber());
    if (i < count) {
        currentIndex_ = static_cast<std::int64_t>(i);
        if (value_->dayNumbers()[i] == date.dayNumber()) --currentIndex_;
    } else {
        currentIndex_ = static_cast<std::int64_t>(count) - 1;
    }
}

void KSTimeVaryingValueEnumerator::moveToValueAfterDate(const KSDateTime& date) {
    if (!value_ || date.isNull()) return;
    const std::size_t i = value_->indexOfDayNumber(date.dayNumber());
    currentIndex_ =
        i < value_->count() ? static_cast<std::int64_t>(i) : KSTimeVaryingValueEnumeratorEnd;
}

}  // namespace kestrum
