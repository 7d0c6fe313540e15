#include "Model/project/KSTextStorage.h"

namespace kestrum {

const KSClassInfo& KSTextStorage::staticClassInfo() {
    static const KSClassInfo info("KSTextStorage", &TWTextStorage::staticClassInfo());
    return info;
}

KSTextStorage::KSTextStorage() = default;

KSTextStorage::KSTextStorage(std::string string, std::shared_ptr<const KSBaseObject> baseStyle)
    : TWTextStorage(std::move(string), std::move(baseStyle)) {}

KSTextStorage::KSTextStorage(const TWTextStorage& other,
                             std::shared_ptr<const KSBaseObject> baseStyle)
    : TWTextStorage(other, std::move(baseStyle)) {}

KSTextStorage::~KSTextStorage() = default;

void KSTextStorage::setDelegate(KSTextStorageDelegate* delegate) {
    delegate_ = delegate;
    TWTextStorage::setDelegate(delegate);
}

void KSTextStorage::beginEditing() {
    if (delegate_) delegate_->willBeginEditing(*this);
    TWTextStorage::beginEditing();
}

void KSTextStorage::replaceCharactersInRangeWithString(TWTextRange range,
                                                       const std::string& string) {
    if (delegate_) delegate_->willBeginEditing(*this);
    TWTextStorage::replaceCharactersInRangeWithString(range, string);
}

}  // namespace kestrum
