// KSComparisonPredicate: compares a left and a right expression with one operator.
//
// Operators: ==, !=, <, <=, >, >= on numbers (booleans count as 0 and 1), strings and
// dates; BEGINSWITH, ENDSWITH, CONTAINS, LIKE and MATCHES on strings; CONTAINS also
// asks whether a list on the left holds the right value; IN asks whether the left value
// is in the list on the right (or, for two strings, a substring of it); BETWEEN asks
// whether the left value lies within the two-element list {low, high}, ends included.
// The [c] and [d] options fold case and diacritics for every string comparison.
//
// Nulls: x == nil holds for a null x, and nil equals nothing else; ordering and string
// operators are false when either side is null or the types do not compare (a string
// and a number are never equal: "5" == 5 is false).
//
// The ANY (or SOME) modifier holds when the operator holds for one element of the list
// on the left, ALL when it holds for every element (ALL of an empty list is true); a
// left value that is no list counts as a list of one. NONE is written as NOT ANY.
#pragma once

#include <memory>

#include "Platform/predicate/KSExpression.h"
#include "Platform/predicate/KSPredicate.h"
#include "Platform/predicate/KSPredicateStrings.h"

namespace kestrum {

enum class KSPredicateOperatorType {
    LessThan,
    LessThanOrEqualTo,
    GreaterThan,
    GreaterThanOrEqualTo,
    EqualTo,
    NotEqualTo,
    Matches,
    Like,
    BeginsWith,
    EndsWith,
    In,
    Contains,
    Between,
};

enum class KSComparisonPredicateModifier { Direct, All, Any };

class KSPredicateRegex;

class KSComparisonPredicate : public KSPredicate {
    KS_DECLARE_CLASS()
public:
    // A comparison; `options` are KSComparisonPredicateOptions bits.
    static std::shared_ptr<const KSComparisonPredicate> predicateWithLeftExpressionRightExpression(
        KSExpressionPtr left, KSExpressionPtr right, KSComparisonPredicateModifier modifier,
        KSPredicateOperatorType type, unsigned options = 0);

    // Public for std::make_shared; use the factory.
    KSComparisonPredicate(KSExpressionPtr left, KSExpressionPtr right,
                          KSComparisonPredicateModifier modifier, KSPredicateOperatorType type,
                          unsigned options);

    // The two sides, the modifier, the operator and the option bits.
    const KSExpressionPtr& leftExpression() const { return left_; }
    const KSExpressionPtr& rightExpression() const { return right_; }
    KSComparisonPredicateModifier comparisonPredicateModifier() const { return modifier_; }
    KSPredicateOperatorType predicateOperatorType() const { return type_; }
    unsigned options() const { return options_; }

    // The operator's canonical text ("==", "BEGINSWITH", ...).
    static const char* operatorText(KSPredicateOperatorType type);

    // KSPredicate's operations (see there).
    Kind predicateKind() const override { return Kind::Comparison; }
    bool evaluateWithObject(const KSValue& object) const override;
    std::string predicateFormat() const override;
    bool isEqual(const KSBaseObject& other) const override;
    std::size_t hash() const override;

private:
    bool compareValues(const KSValue& left, const KSValue& right) const;
    bool matchesRegex(const std::string& text, const KSValue& pattern) const;

    KSExpressionPtr left_;
    KSExpressionPtr right_;
    KSComparisonPredicateModifier modifier_;
    KSPredicateOperatorType type_;
    unsigned options_;
    // MATCHES against a constant pattern compiles it once, at construction.
    std::shared_ptr<KSPredicateRegex> constantRegex_;
};

}  // namespace kestrum
