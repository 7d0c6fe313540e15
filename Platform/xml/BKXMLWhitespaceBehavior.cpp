#include "Platform/xml/BKXMLWhitespaceBehavior.h"

#include <algorithm>

namespace kestrum {

BKXMLWhitespaceBehavior::BKXMLWhitespaceBehavior() = default;

BKXMLWhitespaceBehavior::BKXMLWhitespaceBehavior(BKXMLWhitespaceHandling defaultHandling) {
    setDefaultBehavior(defaultHandling);
}

std::shared_ptr<const BKXMLWhitespaceBehavior> BKXMLWhitespaceBehavior::ignoreWhitespaceBehavior() {
    static const auto shared =
        std::make_shared<const BKXMLWhitespaceBehavior>(BKXMLWhitespaceIgnore);
    return shared;
}

void BKXMLWhitespaceBehavior::setBehaviorForElementName(BKXMLWhitespaceHandling behavior,
                                                        std::string_view elementName) {
    auto it = std::find_if(rules_.begin(), rules_.end(),
                           [&](const Rule& rule) { return rule.name == elementName; });
    if (behavior != BKXMLWhitespaceIgnore && behavior != BKXMLWhitespacePreserve) {
        if (it != rules_.end()) rules_.erase(it);
        return;
    }
    if (it != rules_.end()) {
        it->handling = behavior;
    } else {
        rules_.push_back(Rule{std::string(elementName), behavior});
    }
}

BKXMLWhitespaceHandling BKXMLWhitespaceBehavior::behaviorForElementName(
    std::string_view elementName) const {
    for (const Rule& rule : rules_) {
        if (rule.name == elementName) return rule.handling;
    }
    return BKXMLWhitespaceInherit;
}

void BKXMLWhitespaceBehavior::setDefaultBehavior(BKXMLWhitespaceHandling behavior) {
    // Inherit makes no sense at the top of the tree: keep text, as XML does by default.
    default_ = behavior == BKXMLWhitespaceIgnore ? BKXMLWhitespaceIgnore : BKXMLWhitespacePreserve;
}

bool BKXMLWhitespaceBehavior::usesHandling(BKXMLWhitespaceHandling handling) const {
    if (default_ == handling) return true;
    return std::any_of(rules_.begin(), rules_.end(),
                       [&](const Rule& rule) { return rule.handling == handling; });
}

}  // namespace kestrum
