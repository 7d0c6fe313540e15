#include "Platform/predicate/KSCompoundPredicate.h"

#include <algorithm>

namespace kestrum {

namespace {

bool isAndOr(const KSPredicate& predicate) {
    const auto* compound = dynamic_cast<const KSCompoundPredicate*>(&predicate);
    return compound && compound->compoundPredicateType() != KSCompoundPredicateType::Not;
}

std::string formatOperand(const KSPredicate& predicate) {
    std::string text = predicate.predicateFormat();
    return isAndOr(predicate) ? "(" + text + ")" : text;
}

}  // namespace

const KSClassInfo& KSCompoundPredicate::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSCompoundPredicate>(
        "KSCompoundPredicate", &KSPredicate::staticClassInfo(), nullptr);
    return info;
}

KSCompoundPredicate::KSCompoundPredicate(KSCompoundPredicateType type,
                                         std::vector<KSPredicatePtr> subpredicates)
    : type_(type) {
    for (auto& p : subpredicates) {
        if (p) subpredicates_.push_back(std::move(p));
    }
    // NOT takes exactly one operand; a missing one reads as NOT TRUEPREDICATE.
    if (type_ == KSCompoundPredicateType::Not) {
        if (subpredicates_.empty()) subpredicates_.push_back(KSPredicate::truePredicate());
        subpredicates_.resize(1);
    }
}

std::shared_ptr<const KSCompoundPredicate> KSCompoundPredicate::andPredicateWithSubpredicates(
    std::vector<KSPredicatePtr> subpredicates) {
    return std::make_shared<KSCompoundPredicate>(KSCompoundPredicateType::And,
                                                 std::move(subpredicates));
}

std::shared_ptr<const KSCompoundPredicate> KSCompoundPredicate::orPredicateWithSubpredicates(
    std::vector<KSPredicatePtr> subpredicates) {
    return std::make_shared<KSCompoundPredicate>(KSCompoundPredicateType::Or,
                                                 std::move(subpredicates));
}

std::shared_ptr<const KSCompoundPredicate> KSCompoundPredicate::notPredicateWithSubpredicate(
    KSPredicatePtr subpredicate) {
    return std::make_shared<KSCompoundPredicate>(
        KSCompoundPredicateType::Not, std::vector<KSPredicatePtr>{std::move(subpredicate)});
}

bool KSCompoundPredicate::evaluateWithObject(const KSValue& object) const {
    auto holds = [&](const KSPredicatePtr& p) { return p->evaluateWithObject(object); };
    switch (type_) {
        case KSCompoundPredicateType::Not:
            return !holds(subpredicates_.front());
        case KSCompoundPredicateType::And:
            return std::all_of(subpredicates_.begin(), subpredicates_.end(), holds);
        case KSCompoundPredicateType::Or:
            return std::any_of(subpredicates_.begin(), subpredicates_.end(), holds);
    }
    return false;
}

std::string KSCompoundPredicate::predicateFormat() const {
    if (type_ == KSCompoundPredicateType::Not) {
        return "NOT " + formatOperand(*subpredicates_.front());
    }
    if (subpredicates_.empty()) {
        return type_ == KSCompoundPredicateType::And ? "TRUEPREDICATE" : "FALSEPREDICATE";
    }
    if (subpredicates_.size() == 1) return subpredicates_.front()->predicateFormat();
    const char* joiner = type_ == KSCompoundPredicateType::And ? " AND " : " OR ";
    std::string out;
    for (std::size_t i = 0; i < subpredicates_.size(); ++i) {
        if (i) out += joiner;
        out += formatOperand(*subpredicates_[i]);
    }
    return out;
}

bool KSCompoundPredicate::isEqual(const KSBaseObject& other) const {
    if (this == &other) return true;
    const auto* p = dynamic_cast<const KSCompoundPredicate*>(&other);
    return p && type_ == p->type_ &&
           std::equal(subpredicates_.begin(), subpredicates_.end(), p->subpredicates_.begin(),
                      p->subpredicates_.end(),
                      [](const auto& a, const auto& b) { return a->isEqual(*b); });
}

std::size_t KSCompoundPredicate::hash() const {
    std::size_t h = 0x51ed27u + static_cast<std::size_t>(type_);
    for (const auto& p : subpredicates_)
        h = h * 31 + p->hash();
    return h;
}

}  // namespace kestrum
