#include "Model/worktime/KSTimeVaryingValue.h"

#include <algorithm>
#include <map>

namespace kestrum {

const KSClassInfo& KSTimeVaryingValue::staticClassInfo() {
    using V = KSTimeVaryingValue;
    static const KSClassInfo info =
        KSClassInfo::make<V>("KSTimeVaryingValue", &BKObject::staticClassInfo(), [](auto& b) {
            b.custom(
                "initialValue", KSValue::Type::Null, [](const V& v) { return v.initialValue(); },
                [](V& v, const KSValue& value) {
                    v.setInitialValue(value);
                    return true;
                });
            b.custom("allSubsequentValues", KSValue::Type::Array,
                     [](const V& v) { return KSValue(v.allSubsequentValues()); });
            b.custom("minimumValue", KSValue::Type::Null,
                     [](const V& v) { return v.minimumValue(); });
            b.custom("maximumValue", KSValue::Type::Null,
                     [](const V& v) { return v.maximumValue(); });
        });
    return info;
}

KSTimeVaryingValue::KSTimeVaryingValue(KSValue initialValue)
    : initialValue_(std::move(initialValue)) {}

KSTimeVaryingValue::~KSTimeVaryingValue() = default;

int KSTimeVaryingValue::compareValues(const KSValue& a, const KSValue& b) {
    if (a.isNumber() && b.isNumber()) {
        if (a.isInteger() && b.isInteger())
            return a.asInteger() < b.asInteger() ? -1 : (a.asInteger() > b.asInteger() ? 1 : 0);
        const double x = a.doubleValue();
        const double y = b.doubleValue();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a.isString() && b.isString()) {
        const int order = a.asString().compare(b.asString());
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }
    if (a.isDate() && b.isDate()) {
        return a.asDate() < b.asDate() ? -1 : (b.asDate() < a.asDate() ? 1 : 0);
    }
    return 0;
}

std::size_t KSTimeVaryingValue::indexOfDayNumber(std::int64_t dayNumber) const {
    return static_cast<std::size_t>(
        std::lower_bound(dayNumbers_.begin(), dayNumbers_.end(), dayNumber) - dayNumbers_.begin());
}

void KSTimeVaryingValue::setInitialValue(const KSValue& value) {
    initialValue_ = value;
}

KSValue KSTimeVaryingValue::valueOnDayNumber(std::int64_t dayNumber) const {
    if (dayNumbers_.empty()) return initialValue_;
    const std::size_t i = indexOfDayNumber(dayNumber);
    if (i == dayNumbers_.size()) return values_.back();
    if (dayNumbers_[i] == dayNumber) return values_[i];
    return i == 0 ? initialValue_ : values_[i - 1];
}

KSValue KSTimeVaryingValue::valueOnDate(const KSDateTime& date) const {
    return date.isNull() ? initialValue_ : valueOnDayNumber(date.dayNumber());
}

void KSTimeVaryingValue::setValueOnDayNumber(const KSValue& value, std::int64_t dayNumber) {
    const std::size_t i = indexOfDayNumber(dayNumber);
    if (i == dayNumbers_.size()) {
        // At the end a value equal to the last one is not stored again.
        const KSValue& last = values_.empty() ? initialValue_ : values_.back();
        if (value == last) return;
        dayNumbers_.push_back(dayNumber);
        values_.push_back(value);
        return;
    }
    // A value equal to the next change leaves that change where it is, even on a later
    // day, and the value before it unconsidered.
    if (value == values_[i]) return;
    if (dayNumbers_[i] == dayNumber) {
        values_[i] = value;
        return;
    }
    dayNumbers_.insert(dayNumbers_.begin() + static_cast<std::ptrdiff_t>(i), dayNumber);
    values_.insert(values_.begin() + static_cast<std::ptrdiff_t>(i), value);
}

void KSTimeVaryingValue::setValueOnDate(const KSValue& value, const KSDateTime& date) {
    if (!date.isNull()) setValueOnDayNumber(value, date.dayNumber());
}

KSValue KSTimeVaryingValue::extremeValue(int wanted) const {
    KSValue extreme = initialValue_;
    for (auto it = values_.rbegin(); it != values_.rend(); ++it) {
        if (it->isNull()) continue;
        if (extreme.isNull() || compareValues(*it, extreme) == wanted) extreme = *it;
    }
    return extreme;
}

KSValue KSTimeVaryingValue::minimumValue() const {
    return extremeValue(-1);
}

KSValue KSTimeVaryingValue::maximumValue() const {
    return extremeValue(1);
}

KSDateTime KSTimeVaryingValue::lastDate() const {
    if (dayNumbers_.empty()) return {};
    return KSDateTime(dayNumbers_.back(), 0.0);
}

KSDictionary KSTimeVaryingValue::archiveDictionary() const {
    KSArray days;
    days.reserve(dayNumbers_.size());
    for (std::int64_t day : dayNumbers_)
        days.emplace_back(static_cast<long long>(day));
    KSDictionary archive;
    archive.setObjectForKey("initial", initialValue_.isNull() ? KSValue(0.0) : initialValue_);
    archive.setObjectForKey("days", KSValue(std::move(days)));
    archive.setObjectForKey("values", KSValue(values_));
    return archive;
}

std::shared_ptr<KSTimeVaryingValue> KSTimeVaryingValue::timeVaryingValueFromArchiveDictionary(
    const KSDictionary& archive) {
    auto value = std::make_shared<KSTimeVaryingValue>(archive.objectForKey("initial"));
    const KSValue days = archive.objectForKey("days");
    const KSValue values = archive.objectForKey("values");
    if (!days.isArray() || !values.isArray()) return value;
    // Sorted by day, the later of two entries for one day winning.
    std::map<std::int64_t, KSValue> changes;
    const std::size_t count = std::min(days.asArray().size(), values.asArray().size());
    for (std::size_t i = 0; i < count; ++i)
        changes[days.asArray()[i].integerValue()] = values.asArray()[i];
    for (auto& [day, change] : changes) {
        value->dayNumbers_.push_back(day);
        value->values_.push_back(std::move(change));
    }
    return value;
}

}  // namespace kestrum
