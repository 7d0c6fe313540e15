#include "Platform/styles/HLNamedStyle.h"

#include "Platform/core/KSUUID.h"

namespace kestrum {

const KSClassInfo& HLNamedStyle::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<HLNamedStyle>(
        "HLNamedStyle", &HLStyle::staticClassInfo(), [](KSClassBuilder<HLNamedStyle>& b) {
            b.attribute("name", &HLNamedStyle::name, &HLNamedStyle::setName);
            b.readOnly("uniqueIdentifier", &HLNamedStyle::uniqueIdentifier);
        });
    return info;
}

HLNamedStyle::HLNamedStyle(const std::shared_ptr<HLStyleContext>& context, std::string name,
                           std::string uniqueIdentifier)
    : HLStyle(context, {}),
      name_(std::move(name)),
      uniqueIdentifier_(uniqueIdentifier.empty() ? KSUUIDString() : std::move(uniqueIdentifier)) {
    setSelectionRelativeName(name_);
}

std::shared_ptr<HLNamedStyle> HLNamedStyle::namedStyleWithContext(
    const std::shared_ptr<HLStyleContext>& context, std::string name,
    std::string uniqueIdentifier) {
    return std::make_shared<HLNamedStyle>(context, std::move(name), std::move(uniqueIdentifier));
}

void HLNamedStyle::setName(std::string name) {
    if (name == name_) return;
    std::string old = name_;
    _registerUndo([old](HLStyle& style) { static_cast<HLNamedStyle&>(style).setName(old); });
    willChangeValueForKey("name");
    name_ = std::move(name);
    didChangeValueForKey("name");
    setSelectionRelativeName(name_);
}

std::string HLNamedStyle::description() const {
    return "<HLNamedStyle \"" + name_ + "\" " + uniqueIdentifier_ + " " +
           KSValue(locallyDefinedAttributes()).description() + ">";
}

}  // namespace kestrum
