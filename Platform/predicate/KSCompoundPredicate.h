// KSCompoundPredicate: AND, OR or NOT of other predicates.
//
// AND holds when every subpredicate holds (an empty AND is true), OR when one holds
// (an empty OR is false), NOT when its one subpredicate does not. Evaluation stops at the
// first subpredicate that decides the result.
//
// Text form: subpredicates joined by " AND " or " OR "; a subpredicate that is itself an
// AND or an OR is put in parentheses, so that the text keeps the tree's nesting; NOT is
// written "NOT " before its subpredicate. An empty AND prints as TRUEPREDICATE, an empty
// OR as FALSEPREDICATE, and an AND or OR of one subpredicate as that subpredicate.
#pragma once

#include <memory>
#include <vector>

#include "Platform/predicate/KSPredicate.h"

namespace kestrum {

enum class KSCompoundPredicateType { Not, And, Or };

class KSCompoundPredicate : public KSPredicate {
    KS_DECLARE_CLASS()
public:
    // AND, OR of a list, NOT of one predicate.
    static std::shared_ptr<const KSCompoundPredicate> andPredicateWithSubpredicates(
        std::vector<KSPredicatePtr> subpredicates);
    static std::shared_ptr<const KSCompoundPredicate> orPredicateWithSubpredicates(
        std::vector<KSPredicatePtr> subpredicates);
    static std::shared_ptr<const KSCompoundPredicate> notPredicateWithSubpredicate(
        KSPredicatePtr subpredicate);

    // Public for std::make_shared; use the factories. Null subpredicates are dropped.
    KSCompoundPredicate(KSCompoundPredicateType type, std::vector<KSPredicatePtr> subpredicates);

    // The type and the operands in order.
    KSCompoundPredicateType compoundPredicateType() const { return type_; }
    const std::vector<KSPredicatePtr>& subpredicates() const { return subpredicates_; }

    // KSPredicate's operations (see there).
    Kind predicateKind() const override { return Kind::Compound; }
    bool evaluateWithObject(const KSValue& object) const override;
    std::string predicateFormat() const override;
    bool isEqual(const KSBaseObject& other) const override;
    std::size_t hash() const override;

private:
    KSCompoundPredicateType type_;
    std::vector<KSPredicatePtr> subpredicates_;
};

}  // namespace kestrum
