#include "Platform/predicate/KSComparisonPredicate.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "Platform/predicate/KSPredicateRegex.h"

namespace kestrum {

namespace {

bool isNumeric(const KSValue& v) {
    return v.isNumber() || v.isBool();
}

double numericValue(const KSValue& v) {
    return v.isBool() ? (v.asBool() ? 1.0 : 0.0) : v.doubleValue();
}

bool valuesEqual(const KSValue& a, const KSValue& b, unsigned options) {
    if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
    if (isNumeric(a) && isNumeric(b)) return numericValue(a) == numericValue(b);
    if (a.isString() && b.isString()) {
        if (!options) return a.asString() == b.asString();
        return KSPredicateFoldString(a.asString(), options) ==
               KSPredicateFoldString(b.asString(), options);
    }
    if (a.isArray() && b.isArray()) {
        const KSArray& x = a.asArray();
        const KSArray& y = b.asArray();
        return std::equal(
            x.begin(), x.end(), y.begin(), y.end(),
            [options](const KSValue& p, const KSValue& q) { return valuesEqual(p, q, options); });
    }
    return a == b;
}

// -1, 0 or 1; nothing when the two do not order (null, mixed types, NaN).
std::optional<int> orderValues(const KSValue& a, const KSValue& b, unsigned options) {
    auto sign = [](auto x, auto y) { return x < y ? -1 : (y < x ? 1 : 0); };
    if (isNumeric(a) && isNumeric(b)) {
        double x = numericValue(a), y = numericValue(b);
        if (std::isnan(x) || std::isnan(y)) return std::nullopt;
        return sign(x, y);
    }
    if (a.isString() && b.isString()) {
        // Code-point order (UTF-8 byte order), after folding when asked.
        return sign(KSPredicateFoldString(a.asString(), options),
                    KSPredicateFoldString(b.asString(), options));
    }
    if (a.isDate() && b.isDate()) return sign(a.asDate(), b.asDate());
    return std::nullopt;
}

bool collectionContains(const KSValue& collection, const KSValue& value, unsigned options) {
    if (collection.isArray()) {
        const KSArray& items = collection.asArray();
        return std::any_of(items.begin(), items.end(),
                           [&](const KSValue& item) { return valuesEqual(item, value, options); });
    }
    if (collection.isDictionary()) {
        for (const auto& [key, item] : collection.asDictionary()) {
            if (valuesEqual(item, value, options)) return true;
        }
        return false;
    }
    if (collection.isString() && value.isString()) {
        return KSPredicateFoldString(collection.asString(), options)
                   .find(KSPredicateFoldString(value.asString(), options)) != std::string::npos;
    }
    return false;
}

}  // namespace

const KSClassInfo& KSComparisonPredicate::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSComparisonPredicate>(
        "KSComparisonPredicate", &KSPredicate::staticClassInfo(), nullptr);
    return info;
}

std::shared_ptr<const KSComparisonPredicate>
KSComparisonPredicate::predicateWithLeftExpressionRightExpression(
    KSExpressionPtr left, KSExpressionPtr right, KSComparisonPredicateModifier modifier,
    KSPredicateOperatorType type, unsigned options) {
    return std::make_shared<KSComparisonPredicate>(std::move(left), std::move(right), modifier,
                                                   type, options);
}

KSComparisonPredicate::KSComparisonPredicate(KSExpressionPtr left, KSExpressionPtr right,
                                             KSComparisonPredicateModifier modifier,
                                             KSPredicateOperatorType type, unsigned options)
    : left_(left ? std::move(left) : KSExpression::expressionForConstantValue(KSValue())),
      right_(right ? std::move(right) : KSExpression::expressionForConstantValue(KSValue())),
      modifier_(modifier),
      type_(type),
      options_(options &
               (KSCaseInsensitivePredicateOption | KSDiacriticInsensitivePredicateOption)) {
    if (type_ == KSPredicateOperatorType::Matches &&
        right_->expressionType() == KSExpression::Type::ConstantValue &&
        right_->constantValue().isString()) {
        constantRegex_ = KSPredicateRegex::compile(right_->constantValue().asString(), options_);
    }
}

const char* KSComparisonPredicate::operatorText(KSPredicateOperatorType type) {
    switch (type) {
        case KSPredicateOperatorType::LessThan:
            return "<";
        case KSPredicateOperatorType::LessThanOrEqualTo:
            return "<=";
        case KSPredicateOperatorType::GreaterThan:
            return ">";
        case KSPredicateOperatorType::GreaterThanOrEqualTo:
            return ">=";
        case KSPredicateOperatorType::EqualTo:
            return "==";
        case KSPredicateOperatorType::NotEqualTo:
            return "!=";
        case KSPredicateOperatorType::Matches:
            return "MATCHES";
        case KSPredicateOperatorType::Like:
            return "LIKE";
        case KSPredicateOperatorType::BeginsWith:
            return "BEGINSWITH";
        case KSPredicateOperatorType::EndsWith:
            return "ENDSWITH";
        case KSPredicateOperatorType::In:
            return "IN";
        case KSPredicateOperatorType::Contains:
            return "CONTAINS";
        case KSPredicateOperatorType::Between:
            return "BETWEEN";
    }
    return "==";
}

bool KSComparisonPredicate::matchesRegex(const std::string& text, const KSValue& pattern) const {
    if (constantRegex_) return constantRegex_->matches(text);
    if (!pattern.isString()) return false;
    // A pattern from a key path is compiled per evaluation; an invalid one never matches.
    auto regex = KSPredicateRegex::compile(pattern.asString(), options_);
    return regex && regex->matches(text);
}

bool KSComparisonPredicate::compareValues(const KSValue& left, const KSValue& right) const {
    using Op = KSPredicateOperatorType;
    switch (type_) {
        case Op::EqualTo:
            return valuesEqual(left, right, options_);
        case Op::NotEqualTo:
            return !valuesEqual(left, right, options_);
        case Op::LessThan:
        case Op::LessThanOrEqualTo:
        case Op::GreaterThan:
        case Op::GreaterThanOrEqualTo: {
            auto order = orderValues(left, right, options_);
            if (!order) return false;
            if (type_ == Op::LessThan) return *order < 0;
            if (type_ == Op::LessThanOrEqualTo) return *order <= 0;
            if (type_ == Op::GreaterThan) return *order > 0;
            return *order >= 0;
        }
        case Op::Contains:
            return collectionContains(left, right, options_);
        case Op::In:
            return collectionContains(right, left, options_);
        case Op::Between: {
            if (!right.isArray() || right.asArray().size() != 2) return false;
            auto low = orderValues(left, right.asArray()[0], options_);
            auto high = orderValues(left, right.asArray()[1], options_);
            return low && high && *low >= 0 && *high <= 0;
        }
        default:
            break;
    }
    // The string operators.
    if (!left.isString()) return false;
    if (type_ == Op::Matches) return matchesRegex(left.asString(), right);
    if (!right.isString()) return false;
    if (type_ == Op::Like)
        return KSPredicateLikeMatches(left.asString(), right.asString(), options_);
    std::string text = KSPredicateFoldString(left.asString(), options_);
    std::string part = KSPredicateFoldString(right.asString(), options_);
    if (type_ == Op::BeginsWith) return std::string_view(text).starts_with(part);
    return std::string_view(text).ends_with(part);
}

bool KSComparisonPredicate::evaluateWithObject(const KSValue& object) const {
    KSValue left = left_->expressionValueWithObject(object);
    KSValue right = right_->expressionValueWithObject(object);
    if (modifier_ == KSComparisonPredicateModifier::Direct) return compareValues(left, right);
    KSArray single;
    const KSArray* items = &single;
    if (left.isArray()) {
        items = &left.asArray();
    } else {
        single.push_back(left);
    }
    auto test = [&](const KSValue& item) { return compareValues(item, right); };
    if (modifier_ == KSComparisonPredicateModifier::All) {
        return std::all_of(items->begin(), items->end(), test);
    }
    return std::any_of(items->begin(), items->end(), test);
}

std::string KSComparisonPredicate::predicateFormat() const {
    std::string out;
    if (modifier_ == KSComparisonPredicateModifier::Any) out = "ANY ";
    if (modifier_ == KSComparisonPredicateModifier::All) out = "ALL ";
    out += left_->expressionFormat();
    out += ' ';
    out += operatorText(type_);
    if (options_) {
        out += '[';
        if (options_ & KSCaseInsensitivePredicateOption) out += 'c';
        if (options_ & KSDiacriticInsensitivePredicateOption) out += 'd';
        out += ']';
    }
    out += ' ';
    out += right_->expressionFormat();
    return out;
}

bool KSComparisonPredicate::isEqual(const KSBaseObject& other) const {
    if (this == &other) return true;
    const auto* p = dynamic_cast<const KSComparisonPredicate*>(&other);
    return p && type_ == p->type_ && modifier_ == p->modifier_ && options_ == p->options_ &&
           left_->isEqual(*p->left_) && right_->isEqual(*p->right_);
}

std::size_t KSComparisonPredicate::hash() const {
    std::size_t h =
        static_cast<std::size_t>(type_) * 131 + static_cast<std::size_t>(modifier_) * 7 + options_;
    return (h * 31 + left_->hash()) * 31 + right_->hash();
}

}  // namespace kestrum
