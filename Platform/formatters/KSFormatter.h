// KSFormatter: the base of the objects that turn values into text and text into values.
//
// A formatter serves a cell or a field: stringForObjectValue prints a value,
// editingStringForObjectValue gives the text to edit, and getObjectValueForString reads
// typed text back, answering false with a description of what is wrong when it cannot.
// The partial-string checks let an editor accept or refuse text while it is typed.
// Formatters keep settings, so printing and parsing are not const.
//
//   KSValue value;
//   std::string error;
//   if (!formatter.getObjectValueForString(&value, "2d 3h", &error)) show(error);
//   std::string text = formatter.stringForObjectValue(value);
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSError;
class TWTextStorage;
struct TWTextRange;

// The domain and code of the errors formatters hand back (KSCocoaErrorDomain).
extern const long KSFormattingError;  // 2048

class KSFormatter : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    KSFormatter();
    ~KSFormatter() override;

    // The text of a value; the empty string for what the formatter cannot print.
    virtual std::string stringForObjectValue(const KSValue& value) = 0;
    // The text to edit; the printed text by default.
    virtual std::string editingStringForObjectValue(const KSValue& value);
    // The printed text carrying `attributes` over its whole length.
    virtual std::shared_ptr<TWTextStorage> attributedStringForObjectValueWithDefaultAttributes(
        const KSValue& value, const KSDictionary& attributes);

    // Reads `text`: true with the value in `out`, or false with a description of the
    // problem in `errorDescription` (when given); `out` is left alone on failure.
    virtual bool getObjectValueForString(KSValue* out, std::string_view text,
                                         std::string* errorDescription) = 0;
    // Whether a text being typed may stand; `newString` may receive a replacement text
    // (left alone when the text stands as typed). Accepts everything by default.
    virtual bool isPartialStringValidNewEditingString(std::string_view partialString,
                                                      std::string* newString,
                                                      std::string* errorDescription);
    // The same check for an edit of `originalString` into `*partialString`, with the
    // selections before and after; the two may be changed. Accepts everything by default.
    virtual bool isPartialStringValidProposedSelectedRange(std::string* partialString,
                                                           TWTextRange* proposedSelectedRange,
                                                           std::string_view originalString,
                                                           TWTextRange originalSelectedRange,
                                                           std::string* errorDescription);

    // A formatting error (KSCocoaErrorDomain, KSFormattingError) with `description`.
    static KSError formattingError(const std::string& description);
};

}  // namespace kestrum
