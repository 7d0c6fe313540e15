#include "Platform/text/TWTextStorage.h"

#include <algorithm>

namespace kestrum {

const KSClassInfo& TWTextStorage::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<TWTextStorage>(
        "TWTextStorage", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<TWTextStorage>& b) {
            b.custom("string", KSValue::Type::String,
                     [](const TWTextStorage& t) { return KSValue(t.string()); });
        });
    return info;
}

TWTextStorage::TWTextStorage() = default;

TWTextStorage::TWTextStorage(std::string string, std::shared_ptr<const KSBaseObject> baseStyle)
    : text_(std::move(string)), baseStyle_(std::move(baseStyle)) {
    if (!text_.empty()) runs_.push_back(Run{text_.size(), {}});
}

TWTextStorage::TWTextStorage(const TWTextStorage& other,
                             std::shared_ptr<const KSBaseObject> baseStyle)
    : text_(other.text_), runs_(other.runs_), baseStyle_(std::move(baseStyle)) {}

TWTextStorage::~TWTextStorage() = default;

TWTextRange TWTextStorage::clamp(TWTextRange range) const {
    range.location = std::min(range.location, text_.size());
    range.length = std::min(range.length, text_.size() - range.location);
    return range;
}

KSDictionary TWTextStorage::attributesAtIndex(std::size_t index,
                                              TWTextRange* effectiveRange) const {
    std::size_t start = 0;
    for (const Run& run : runs_) {
        if (index < start + run.length) {
            if (effectiveRange) *effectiveRange = TWTextRange{start, run.length};
            return run.attributes;
        }
        start += run.length;
    }
    if (effectiveRange) *effectiveRange = TWTextRange{text_.size(), 0};
    return {};
}

// Makes a run boundary at `position` and answers the index of the run starting there.
std::size_t TWTextStorage::splitRunsAt(std::size_t position) {
    std::size_t start = 0;
    for (std::size_t i = 0; i < runs_.size(); ++i) {
        if (position == start) return i;
        if (position < start + runs_[i].length) {
            Run tail{start + runs_[i].length - position, runs_[i].attributes};
            runs_[i].length = position - start;
            runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(tail));
            return i + 1;
        }
        start += runs_[i].length;
    }
    return runs_.size();
}

void TWTextStorage::mergeRuns() {
    std::vector<Run> merged;
    for (Run& run : runs_) {
        if (run.length == 0) continue;
        if (!merged.empty() && merged.back().attributes == run.attributes) {
            merged.back().length += run.length;
        } else {
            merged.push_back(std::move(run));
        }
    }
    runs_ = std::move(merged);
}

void TWTextStorage::setAttributesRange(const KSDictionary& attributes, TWTextRange range) {
    range = clamp(range);
    if (range.length == 0) return;
    beginEditing();
    std::size_t first = splitRunsAt(range.location);
    std::size_t last = splitRunsAt(range.end());
    runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(first),
                runs_.begin() + static_cast<std::ptrdiff_t>(last));
    runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(first), Run{range.length, attributes});
    mergeRuns();
    edited_ = true;
    endEditing();
}

void TWTextStorage::beginEditing() {
    ++editingDepth_;
}

void TWTextStorage::endEditing() {
    if (editingDepth_ == 0) return;
    if (--editingDepth_ == 0 && edited_) processEditing();
}

void TWTextStorage::replaceCharactersInRangeWithString(TWTextRange range,
                                                       const std::string& string) {
    range = clamp(range);
    KSDictionary attributes;
    if (range.length > 0 || range.location < text_.size()) {
        attributes = attributesAtIndex(range.location);
    } else if (range.location > 0) {
        attributes = attributesAtIndex(range.location - 1);
    }
    std::size_t first = splitRunsAt(range.location);
    std::size_t last = splitRunsAt(range.end());
    runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(first),
                runs_.begin() + static_cast<std::ptrdiff_t>(last));
    runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(first),
                 Run{string.size(), std::move(attributes)});
    text_.replace(range.location, range.length, string);
    mergeRuns();
    edited_ = true;
    if (editingDepth_ == 0) processEditing();
}

void TWTextStorage::setString(const std::string& string) {
    replaceCharactersInRangeWithString(TWTextRange{0, text_.size()}, string);
}

void TWTextStorage::processEditing() {
    edited_ = false;
    if (delegate_) delegate_->textStorageWillProcessEditing(*this);
    if (delegate_) delegate_->textStorageDidProcessEditing(*this);
}

bool TWTextStorage::isEqual(const KSBaseObject& other) const {
    auto* text = dynamic_cast<const TWTextStorage*>(&other);
    if (!text) return false;
    if (text_ != text->text_ || runs_.size() != text->runs_.size()) return false;
    for (std::size_t i = 0; i < runs_.size(); ++i) {
        if (runs_[i].length != text->runs_[i].length ||
            !(runs_[i].attributes == text->runs_[i].attributes)) {
            return false;
        }
    }
    return true;
}

}  // namespace kestrum
