// KSExpression: one side of a comparison in a predicate.
//
// An expression is a constant value, the evaluated object itself (SELF), a key path
// read from the evaluated object by keyed access, or an aggregate ({a, b}) of other
// expressions. Expressions are immutable and shared; a predicate holds them by
// std::shared_ptr<const KSExpression>.
//
// Key paths are walked one component at a time: an object answers valueForKey, a
// dictionary its entry, an array the list of its elements' values (so "tags.name" of a
// list of tags is the list of their names), anything else null. The collection
// operators @count, @sum, @avg, @min and @max apply to the list reached so far
// ("children.@count", "children.@sum.effort").
//
// Text form (expressionFormat): constants as predicate literals, key paths as dotted
// identifiers; a component that is a reserved word is escaped with '#' (#IN), and a
// component that is no identifier at all (a key with blanks or dashes) is written as
// '#' followed by a quoted string (#"Custom Key"). Dates are written as
// CAST(<seconds since 1 January 2001 UTC>, "NSDate").
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSExpression;
using KSExpressionPtr = std::shared_ptr<const KSExpression>;

class KSExpression {
public:
    enum class Type { ConstantValue, EvaluatedObject, KeyPath, Aggregate };

    // A constant. An array constant prints as an aggregate of literals.
    static KSExpressionPtr expressionForConstantValue(KSValue value);
    // SELF: the evaluated object.
    static KSExpressionPtr expressionForEvaluatedObject();
    // A key path given as dotted text ("project.title"); empty components are dropped.
    static KSExpressionPtr expressionForKeyPath(std::string_view keyPath);
    // A key path given as its components, which may hold any text (dots included).
    static KSExpressionPtr expressionForKeyPathComponents(std::vector<std::string> components);
    // An aggregate; when every element is a constant it becomes one array constant, so
    // that {1, 2} and a substituted array argument are the same expression.
    static KSExpressionPtr expressionForAggregate(std::vector<KSExpressionPtr> elements);

    // The kind of expression.
    Type expressionType() const { return type_; }
    // The constant (ConstantValue only; null otherwise).
    const KSValue& constantValue() const { return constant_; }
    // The key path's components (KeyPath only).
    const std::vector<std::string>& keyPathComponents() const { return components_; }
    // The components joined with dots.
    std::string keyPath() const;
    // The elements (Aggregate only).
    const std::vector<KSExpressionPtr>& collection() const { return elements_; }

    // The expression's value for an evaluated object (an object reference, a
    // dictionary or any value).
    KSValue expressionValueWithObject(const KSValue& object) const;

    // The canonical text, which parses back to an equal expression.
    std::string expressionFormat() const;
    // The literal text of a constant value (see the header comment).
    static std::string formatConstant(const KSValue& value);
    // Whether a key-path component can be written bare.
    static bool isPlainIdentifier(std::string_view component);
    // Whether a word is reserved in the predicate language (any case).
    static bool isReservedWord(std::string_view word);

    // Structural equality; numbers compare by value.
    bool isEqual(const KSExpression& other) const;
    std::size_t hash() const;
    friend bool operator==(const KSExpression& a, const KSExpression& b) { return a.isEqual(b); }

    // Public for std::make_shared; use the factories.
    explicit KSExpression(Type type) : type_(type) {}

private:
    Type type_;
    KSValue constant_;
    std::vector<std::string> components_;
    std::vector<KSExpressionPtr> elements_;
};

}  // namespace kestrum
