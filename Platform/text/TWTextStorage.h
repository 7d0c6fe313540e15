// TWTextStorage: rich text held as a string with attribute runs over a base style.
//
// The text is UTF-8; ranges and indexes count bytes. Attribute runs cover the whole
// text: each run is a length and a dictionary of attributes (font, colour... as plain
// values). The base style is an opaque object that the owner supplies (a note style)
// and under which unattributed text shows.
//
// Edits go through replaceCharactersInRangeWithString, alone or bracketed by
// beginEditing / endEditing. When the outermost edit ends, the delegate hears
// textStorageWillProcessEditing and then textStorageDidProcessEditing, once per batch.
//
//   auto text = std::make_shared<TWTextStorage>("Hello");
//   text->replaceCharactersInRangeWithString({5, 0}, " world");
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class TWTextStorage;

// A span of text: `location` and `length` in bytes.
struct TWTextRange {
    std::size_t location = 0;
    std::size_t length = 0;
    std::size_t end() const { return location + length; }
};

// Told around the processing of each batch of edits.
class TWTextStorageDelegate {
public:
    virtual ~TWTextStorageDelegate() = default;
    virtual void textStorageWillProcessEditing(TWTextStorage& storage) = 0;
    virtual void textStorageDidProcessEditing(TWTextStorage& storage) = 0;
};

class TWTextStorage : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Empty text with no base style.
    TWTextStorage();
    // `string` with no attributes under `baseStyle` (may be null).
    explicit TWTextStorage(std::string string,
                           std::shared_ptr<const KSBaseObject> baseStyle = nullptr);
    // A copy of the text and runs of `other` under `baseStyle` (may be null).
    TWTextStorage(const TWTextStorage& other, std::shared_ptr<const KSBaseObject> baseStyle);
    ~TWTextStorage() override;

    // The plain text.
    const std::string& string() const { return text_; }
    // The length in bytes.
    std::size_t length() const { return text_.size(); }
    const std::shared_ptr<const KSBaseObject>& baseStyle() const { return baseStyle_; }

    // The attributes at `index` (empty past the end); `effectiveRange`, when given,
    // receives the run that holds them.
    KSDictionary attributesAtIndex(std::size_t index, TWTextRange* effectiveRange = nullptr) const;
    // Replaces the attributes over `range` (clamped to the text).
    void setAttributesRange(const KSDictionary& attributes, TWTextRange range);
    // The number of attribute runs.
    std::size_t runCount() const { return runs_.size(); }

    // --- Editing ---------------------------------------------------------------------
    // Opens a batch of edits; batches nest.
    virtual void beginEditing();
    // Closes a batch; the outermost close processes the edits.
    virtual void endEditing();
    // Replaces the text in `range` (clamped to the text) by `string`, which takes the
    // attributes of the first replaced character (or of the one before an insertion).
    virtual void replaceCharactersInRangeWithString(TWTextRange range, const std::string& string);
    // Replaces the whole text.
    void setString(const std::string& string);

    TWTextStorageDelegate* delegate() const { return delegate_; }
    void setDelegate(TWTextStorageDelegate* delegate) { delegate_ = delegate; }

    // The plain text.
    std::string description() const override { return text_; }
    // Same text and same runs.
    bool isEqual(const KSBaseObject& other) const override;

private:
    struct Run {
        std::size_t length;
        KSDictionary attributes;
    };
    TWTextRange clamp(TWTextRange range) const;
    std::size_t splitRunsAt(std::size_t position);
    void mergeRuns();
    void processEditing();

    std::string text_;
    std::vector<Run> runs_;
    std::shared_ptr<const KSBaseObject> baseStyle_;
    TWTextStorageDelegate* delegate_ = nullptr;
    int editingDepth_ = 0;
    bool edited_ = false;
};

}  // namespace kestrum
