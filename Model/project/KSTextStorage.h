// KSTextStorage: the rich text of a note, which tells its owner before each edit.
//
// A note's owner (a task, resource or scenario) is its delegate. Before the text
// changes the owner hears willBeginEditing and sends its will-change notices; when the
// edit has been processed it hears textStorageDidProcessEditing and sends the matching
// did-change notices. A single edit may announce itself twice (once from beginEditing,
// once from the replacement); observers tolerate the unbalanced pair.
#pragma once

#include "Platform/text/TWTextStorage.h"

namespace kestrum {

class KSTextStorage;

// The owner of a note.
class KSTextStorageDelegate : public TWTextStorageDelegate {
public:
    // Called before an edit begins.
    virtual void willBeginEditing(KSTextStorage& storage) = 0;
};

class KSTextStorage : public TWTextStorage {
    KS_DECLARE_CLASS()
public:
    KSTextStorage();
    // `string` with no attributes under `baseStyle` (may be null).
    explicit KSTextStorage(std::string string,
                           std::shared_ptr<const KSBaseObject> baseStyle = nullptr);
    // A copy of `other`'s text and attributes under `baseStyle` (may be null).
    KSTextStorage(const TWTextStorage& other, std::shared_ptr<const KSBaseObject> baseStyle);
    ~KSTextStorage() override;

    void beginEditing() override;
    void replaceCharactersInRangeWithString(TWTextRange range, const std::string& string) override;

    // The owner (not retained), or null.
    KSTextStorageDelegate* delegate() const { return delegate_; }
    void setDelegate(KSTextStorageDelegate* delegate);

private:
    KSTextStorageDelegate* delegate_ = nullptr;
};

}  // namespace kestrum
