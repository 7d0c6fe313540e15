// HLStyleContextSource: where a style context finds the styles an application defines.
//
// The application (a project, for its document) lists its own styles in a fixed order
// for inspectors and style pickers, and says whether users may edit styles and whether
// styles keep a synchronisation state. The context does not retain its source.
#pragma once

#include <cstddef>
#include <memory>

namespace kestrum {

class HLStyle;
class HLStyleContext;

class HLStyleContextSource {
public:
    virtual ~HLStyleContextSource() = default;
    // How many application-defined styles there are.
    virtual std::size_t applicationDefinedStyleCountForStyleContext(HLStyleContext& context) = 0;
    // The style at an index (0 to the count - 1).
    virtual std::shared_ptr<HLStyle> styleContextApplicationDefinedStyleAtIndex(
        HLStyleContext& context, std::size_t index) = 0;
    // Whether users may edit styles; true unless overridden.
    virtual bool styleContextShouldAllowUserEdits(HLStyleContext&) { return true; }
    // Whether styles keep a synchronisation state; false unless overridden.
    virtual bool styleContextShouldMaintainSyncState(HLStyleContext&) { return false; }
};

}  // namespace kestrum
