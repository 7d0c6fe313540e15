#include "Platform/formatters/BKTimeSpan.h"

#include <vector>

#include "Platform/core/KSFormat.h"
#include "Platform/formatters/BKTimeSpanFormatter.h"

namespace kestrum {

const KSClassInfo& BKTimeSpan::staticClassInfo() {
    using S = BKTimeSpan;
    static const KSClassInfo info =
        KSClassInfo::make<S>("BKTimeSpan", &KSBaseObject::staticClassInfo(), [](auto& b) {
            b.attribute("seconds", &S::seconds, &S::setSeconds);
            b.attribute("minutes", &S::minutes, &S::setMinutes);
            b.attribute("hours", &S::hours, &S::setHours);
            b.attribute("days", &S::days, &S::setDays);
            b.attribute("weeks", &S::weeks, &S::setWeeks);
            b.attribute("months", &S::months, &S::setMonths);
            b.attribute("years", &S::years, &S::setYears);
            b.readOnly("floatValue", &S::floatValue);
        });
    return info;
}

BKTimeSpanUnitSeconds BKTimeSpan::standardCalendarUnitSeconds() {
    constexpr float hour = 3600.0f;
    return {1.0f, 60.0f, hour, 24.0f * hour, 168.0f * hour, 720.0f * hour, 8760.0f * hour};
}

BKTimeSpan::BKTimeSpan() : unitSeconds_(standardCalendarUnitSeconds()) {}

BKTimeSpan::BKTimeSpan(const BKTimeSpanFormatter& formatter)
    : unitSeconds_(formatter.unitSeconds()) {}

BKTimeSpan::BKTimeSpan(const BKTimeSpanUnitSeconds& unitSeconds) : unitSeconds_(unitSeconds) {}

BKTimeSpan::~BKTimeSpan() = default;

float BKTimeSpan::floatValue() const {
    // Summed in double so that the parts do not lose each other's low bits.
    double total = 0.0;
    for (int i = 0; i < BKTimeSpanUnitCount; ++i)
        total += static_cast<double>(parts_[i]) * static_cast<double>(unitSeconds_[i]);
    return static_cast<float>(total);
}

std::shared_ptr<BKTimeSpan> BKTimeSpan::copy() const {
    auto span = std::make_shared<BKTimeSpan>(unitSeconds_);
    span->parts_ = parts_;
    return span;
}

bool BKTimeSpan::isEqual(const KSBaseObject& other) const {
    const auto* span = dynamic_cast<const BKTimeSpan*>(&other);
    return span && span->parts_ == parts_ && span->unitSeconds_ == unitSeconds_;
}

std::string BKTimeSpan::description() const {
    std::vector<KSFormatArgument> terms;
    std::string format;
    for (int i = BKTimeSpanUnitCount - 1; i >= 0; --i) {
        if (parts_[i] == 0.0f) continue;
        format.append(format.empty() ? "%g%@" : " %g%@");
        terms.emplace_back(static_cast<double>(parts_[i]));
        terms.emplace_back(
            BKTimeSpanFormatter::abbreviationForUnit(static_cast<BKTimeSpanUnit>(i)));
    }
    std::string parts =
        terms.empty() ? std::string("0") : KSStringWithFormatArguments(format, terms);
    return KSStringWithFormat("<BKTimeSpan: %@ = %gs>", parts, static_cast<double>(floatValue()));
}

}  // namespace kestrum
