// An owner for styles in tests: a keyed object that records the style hooks it hears,
// with the attribute value it saw at each hook, and counts the named-style list changes
// announced under its container key.
#pragma once

#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/styles/HLStyle.h"
#include "Platform/styles/HLStyleOwner.h"

namespace kestrum::test {

class RecordingStyleOwner : public KSBaseObject, public HLStyleOwner {
    KS_DECLARE_CLASS()
public:
    struct Event {
        std::string hook;  // "will" or "did"
        std::string containerKey;
        std::string attributeKey;
        KSValue valueSeen;  // the style's own value of the attribute at the hook
    };

    void styleWillChange(HLStyle& style, const HLStyleChange& change) override {
        events.push_back({"will", change.containerKey, change.attributeKey,
                          style.localValueForAttribute(change.attributeKey)});
    }
    void styleDidChange(HLStyle& style, const HLStyleChange& change) override {
        events.push_back({"did", change.containerKey, change.attributeKey,
                          style.localValueForAttribute(change.attributeKey)});
    }
    void willChangeValueForKey(std::string_view key) override {
        if (key == "namedStyles") ++namedStylesWillChange;
        KSBaseObject::willChangeValueForKey(key);
    }
    void didChangeValueForKey(std::string_view key) override {
        if (key == "namedStyles") ++namedStylesDidChange;
        KSBaseObject::didChangeValueForKey(key);
    }

    std::vector<Event> events;
    int namedStylesWillChange = 0;
    int namedStylesDidChange = 0;
};

inline const KSClassInfo& RecordingStyleOwner::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<RecordingStyleOwner>(
        "RecordingStyleOwner", &KSBaseObject::staticClassInfo(), nullptr);
    return info;
}

}  // namespace kestrum::test
