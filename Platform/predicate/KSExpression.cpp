#include "Platform/predicate/KSExpression.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

constexpr std::array<std::string_view, 25> kReservedWords = {
    "AND",        "OR",       "NOT",      "IN",      "LIKE",          "MATCHES",
    "BEGINSWITH", "ENDSWITH", "CONTAINS", "BETWEEN", "TRUEPREDICATE", "FALSEPREDICATE",
    "YES",        "NO",       "TRUE",     "FALSE",   "NULL",          "NIL",
    "SELF",       "ANY",      "ALL",      "SOME",    "NONE",          "CAST",
    "FUNCTION"};

bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(a[i])) !=
            std::toupper(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    static const char* digits = "0123456789abcdef";
                    out += "\\u00";
                    out += digits[(c >> 4) & 0xf];
                    out += digits[c & 0xf];
                } else {
                    out += c;
                }
        }
    }
    out += '"';
    return out;
}

std::string formatComponent(const std::string& component) {
    if (!component.empty() && component[0] == '@' &&
        KSExpression::isPlainIdentifier(std::string_view(component).substr(1))) {
        return component;  // a collection operator
    }
    if (!KSExpression::isPlainIdentifier(component)) return "#" + quoted(component);
    if (KSExpression::isReservedWord(component)) return "#" + component;
    return component;
}

// The value of one key for one value on the walk.
KSValue valueForKeyOfValue(const KSValue& current, const std::string& key) {
    switch (current.type()) {
        case KSValue::Type::Object:
            return current.asObject()->valueForKey(key);
        case KSValue::Type::Dictionary:
            return current.asDictionary().objectForKey(key);
        case KSValue::Type::Array: {
            KSArray values;
            values.reserve(current.asArray().size());
            for (const auto& element : current.asArray()) {
                values.push_back(valueForKeyOfValue(element, key));
            }
            return KSValue(std::move(values));
        }
        default:
            return KSValue();
    }
}

KSValue valueForComponents(KSValue current, const std::vector<std::string>& components,
                           std::size_t first);

// @count, @sum, @avg, @min, @max over the list reached so far.
KSValue applyCollectionOperator(const KSValue& current, const std::string& op,
                                const std::vector<std::string>& components, std::size_t rest) {
    if (!current.isArray()) return KSValue();
    if (op == "@count") return KSValue(static_cast<long long>(current.asArray().size()));
    KSArray values;
    for (const auto& element : current.asArray()) {
        KSValue value =
            rest < components.size() ? valueForComponents(element, components, rest) : element;
        if (!value.isNull()) values.push_back(std::move(value));
    }
    if (op == "@sum" || op == "@avg") {
        double sum = 0.0;
        bool allIntegers = true;
        for (const auto& v : values) {
            sum += v.doubleValue();
            allIntegers = allIntegers && v.isInteger();
        }
        if (op == "@avg") return values.empty() ? KSValue() : KSValue(sum / values.size());
        return allIntegers ? KSValue(static_cast<long long>(sum)) : KSValue(sum);
    }
    if (op == "@min" || op == "@max") {
        const KSValue* best = nullptr;
        for (const auto& v : values) {
            if (!best) {
                best = &v;
                continue;
            }
            bool less = false;
            if (v.isNumber() && best->isNumber()) {
                less = v.doubleValue() < best->doubleValue();
            } else if (v.isDate() && best->isDate()) {
                less = v.asDate() < best->asDate();
            } else if (v.isString() && best->isString()) {
                less = v.asString() < best->asString();
            }
            if ((op == "@min") == less) best = &v;
        }
        return best ? *best : KSValue();
    }
    return KSValue();
}

KSValue valueForComponents(KSValue current, const std::vector<std::string>& components,
                           std::size_t first) {
    for (std::size_t i = first; i < components.size(); ++i) {
        const std::string& key = components[i];
        if (!key.empty() && key[0] == '@') {
            return applyCollectionOperator(current, key, components, i + 1);
        }
        current = valueForKeyOfValue(current, key);
        if (current.isNull()) return current;
    }
    return current;
}

}  // namespace

KSExpressionPtr KSExpression::expressionForConstantValue(KSValue value) {
    auto expression = std::make_shared<KSExpression>(Type::ConstantValue);
    expression->constant_ = std::move(value);
    return expression;
}

KSExpressionPtr KSExpression::expressionForEvaluatedObject() {
    static const KSExpressionPtr self = std::make_shared<KSExpression>(Type::EvaluatedObject);
    return self;
}

KSExpressionPtr KSExpression::expressionForKeyPath(std::string_view keyPath) {
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= keyPath.size()) {
        std::size_t dot = keyPath.find('.', start);
        if (dot == std::string_view::npos) dot = keyPath.size();
        if (dot > start) components.emplace_back(keyPath.substr(start, dot - start));
        start = dot + 1;
    }
    return expressionForKeyPathComponents(std::move(components));
}

KSExpressionPtr KSExpression::expressionForKeyPathComponents(std::vector<std::string> components) {
    if (components.empty()) return expressionForEvaluatedObject();
    auto expression = std::make_shared<KSExpression>(Type::KeyPath);
    expression->components_ = std::move(components);
    return expression;
}

KSExpressionPtr KSExpression::expressionForAggregate(std::vector<KSExpressionPtr> elements) {
    bool allConstant = std::all_of(elements.begin(), elements.end(), [](const auto& e) {
        return e->expressionType() == Type::ConstantValue;
    });
    if (allConstant) {
        KSArray values;
        values.reserve(elements.size());
        for (const auto& e : elements)
            values.push_back(e->constantValue());
        return expressionForConstantValue(KSValue(std::move(values)));
    }
    auto expression = std::make_shared<KSExpression>(Type::Aggregate);
    expression->elements_ = std::move(elements);
    return expression;
}

std::string KSExpression::keyPath() const {
    std::string path;
    for (const auto& component : components_) {
        if (!path.empty()) path += '.';
        path += component;
    }
    return path;
}

KSValue KSExpression::expressionValueWithObject(const KSValue& object) const {
    switch (type_) {
        case Type::ConstantValue:
            return constant_;
        case Type::EvaluatedObject:
            return object;
        case Type::KeyPath:
            return valueForComponents(object, components_, 0);
        case Type::Aggregate: {
            KSArray values;
            values.reserve(elements_.size());
            for (const auto& e : elements_)
                values.push_back(e->expressionValueWithObject(object));
            return KSValue(std::move(values));
        }
    }
    return KSValue();
}

bool KSExpression::isPlainIdentifier(std::string_view component) {
    if (component.empty()) return false;
    auto isStart = [](unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; };
    if (!isStart(static_cast<unsigned char>(component[0]))) return false;
    return std::all_of(component.begin() + 1, component.end(), [&](char ch) {
        auto c = static_cast<unsigned char>(ch);
        return isStart(c) || std::isdigit(c);
    });
}

bool KSExpression::isReservedWord(std::string_view word) {
    return std::any_of(kReservedWords.begin(), kReservedWords.end(),
                       [&](std::string_view r) { return equalsIgnoringASCIICase(word, r); });
}

std::string KSExpression::formatConstant(const KSValue& value) {
    switch (value.type()) {
        case KSValue::Type::Null:
            return "nil";
        case KSValue::Type::Bool:
            return value.asBool() ? "YES" : "NO";
        case KSValue::Type::Integer:
            return KSStringFromInteger(value.asInteger());
        case KSValue::Type::Double:
            return KSStringFromDouble(value.asDouble());
        case KSValue::Type::String:
            return quoted(value.asString());
        case KSValue::Type::Date:
            return "CAST(" + KSStringFromDouble(value.asDate().timeIntervalSinceReferenceDate) +
                   ", \"NSDate\")";
        case KSValue::Type::Array: {
            std::string out = "{";
            bool first = true;
            for (const auto& element : value.asArray()) {
                if (!first) out += ", ";
                first = false;
                out += formatConstant(element);
            }
            return out + "}";
        }
        default:
            // Data, dictionaries and objects have no literal form: their description is
            // shown for people, and archiving refuses such predicates.
            return quoted(value.description());
    }
}

std::string KSExpression::expressionFormat() const {
    switch (type_) {
        case Type::ConstantValue:
            return formatConstant(constant_);
        case Type::EvaluatedObject:
            return "SELF";
        case Type::KeyPath: {
            std::string out;
            for (const auto& component : components_) {
                if (!out.empty()) out += '.';
                out += formatComponent(component);
            }
            return out;
        }
        case Type::Aggregate: {
            std::string out = "{";
            for (std::size_t i = 0; i < elements_.size(); ++i) {
                if (i) out += ", ";
                out += elements_[i]->expressionFormat();
            }
            return out + "}";
        }
    }
    return {};
}

bool KSExpression::isEqual(const KSExpression& other) const {
    if (this == &other) return true;
    if (type_ != other.type_) return false;
    switch (type_) {
        case Type::ConstantValue:
            return constant_ == other.constant_;
        case Type::EvaluatedObject:
            return true;
        case Type::KeyPath:
            return components_ == other.components_;
        case Type::Aggregate:
            return std::equal(elements_.begin(), elements_.end(), other.elements_.begin(),
                              other.elements_.end(),
                              [](const auto& a, const auto& b) { return a->isEqual(*b); });
    }
    return false;
}

std::size_t KSExpression::hash() const {
    std::size_t h = static_cast<std::size_t>(type_) * 0x9e3779b9u;
    switch (type_) {
        case Type::ConstantValue:
            return h ^ constant_.hash();
        case Type::EvaluatedObject:
            return h;
        case Type::KeyPath:
            for (const auto& c : components_)
                h = h * 31 + std::hash<std::string>()(c);
            return h;
        case Type::Aggregate:
            for (const auto& e : elements_)
                h = h * 31 + e->hash();
            return h;
    }
    return h;
}

}  // namespace kestrum
