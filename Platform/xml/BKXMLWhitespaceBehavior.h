// BKXMLWhitespaceBehavior: how a parsed document treats whitespace-only text, by element.
//
// A behaviour is a small table from element names to a handling. A rule applies to the
// element of that name and everything below it, until an element with a rule of its own.
// Elements without a ruled ancestor get the behaviour's default. Rules take effect when
// a document is parsed; building a document is not affected.
//
//   auto behavior = std::make_shared<BKXMLWhitespaceBehavior>();
//   behavior->setBehaviorForElementName(BKXMLWhitespaceIgnore, "scenario");
//   behavior->setBehaviorForElementName(BKXMLWhitespacePreserve, "literal-string");
//
// A behaviour is shared by the documents parsed with it (one per kind of file per process).
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrum {

// What happens to text in an element.
enum BKXMLWhitespaceHandling : int {
    // No rule of its own: the element handles text as its parent does.
    BKXMLWhitespaceInherit = 0,
    // Structure: text made only of blanks and line breaks is layout and is dropped.
    BKXMLWhitespaceIgnore = 1,
    // Content: all text is kept exactly as it stands.
    BKXMLWhitespacePreserve = 2,
};

class BKXMLWhitespaceBehavior {
public:
    // A behaviour without rules whose default keeps all text (Preserve).
    BKXMLWhitespaceBehavior();
    explicit BKXMLWhitespaceBehavior(BKXMLWhitespaceHandling defaultHandling);

    // The shared behaviour that treats every element as structure (default Ignore).
    static std::shared_ptr<const BKXMLWhitespaceBehavior> ignoreWhitespaceBehavior();

    // Sets the handling of elements named `elementName` and their descendants;
    // BKXMLWhitespaceInherit removes the rule.
    void setBehaviorForElementName(BKXMLWhitespaceHandling behavior, std::string_view elementName);
    // The rule for an element name, or BKXMLWhitespaceInherit when there is none.
    BKXMLWhitespaceHandling behaviorForElementName(std::string_view elementName) const;
    // The handling of elements with no ruled ancestor (Ignore or Preserve).
    BKXMLWhitespaceHandling defaultBehavior() const { return default_; }
    void setDefaultBehavior(BKXMLWhitespaceHandling behavior);

    // Whether any element can end up with the given handling (the default or a rule).
    bool usesHandling(BKXMLWhitespaceHandling handling) const;
    bool hasRules() const { return !rules_.empty(); }

private:
    struct Rule {
        std::string name;
        BKXMLWhitespaceHandling handling;
    };
    // A handful of rules at most: a linear scan beats hashing every element name.
    std::vector<Rule> rules_;
    BKXMLWhitespaceHandling default_ = BKXMLWhitespacePreserve;
};

}  // namespace kestrum
