// KSResourceNameFormatter: keeps resource names free of the assignment text's marks.
//
// In the text form of a task's assignments ("Ann {50%}; Testers [Bob; Cid]") braces,
// brackets and semicolons have a meaning, so a resource name must not hold them: they
// become "(", ")" and ",". Typing is refused while the text holds one, with the cleaned
// text proposed instead.
//
//   KSResourceNameFormatter::replaceUnwantedCharacters("Ann {lead}; QA");   // "Ann (lead), QA"
#pragma once

#include <string>
#include <string_view>

#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

class KSResourceNameFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    KSResourceNameFormatter();
    ~KSResourceNameFormatter() override;

    // A copy of `text` with "{" and "[" as "(", "}" and "]" as ")", and ";" as ",".
    static std::string replaceUnwantedCharacters(std::string_view text);

    // Strings as they are; the empty string for anything else.
    std::string stringForObjectValue(const KSValue& value) override;
    // The cleaned text; never fails.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // Refuses text that cleaning would change, proposing the cleaned text.
    bool isPartialStringValidNewEditingString(std::string_view partialString,
                                              std::string* newString,
                                              std::string* errorDescription) override;
    // Whether an input method is composing text; no check is made meanwhile.
    bool hasMarkedText() const { return hasMarkedText_; }
    void setHasMarkedText(bool flag) { hasMarkedText_ = flag; }

private:
    bool hasMarkedText_ = false;
};

}  // namespace kestrum
