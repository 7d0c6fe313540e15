// An observer that logs the change notices of the keys it observes, in order:
// "will:<key>" and "did:<key>".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum::test {

class NoticeRecorder : public KSBaseObject {
public:
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject*,
                                                     const KSKeyValueChange& change,
                                                     const void*) override {
        notices.push_back((change.isPrior ? "will:" : "did:") + std::string(keyPath));
    }
    std::vector<std::string> notices;
};

}  // namespace kestrum::test
