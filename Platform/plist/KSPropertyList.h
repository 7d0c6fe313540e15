// Property lists: the platform's serialisation of KSValue trees.
//
// Binary and XML forms go through libplist. The old-style text form ("{ key = value; }")
// is what KSValue::description gives for a collection, and propertyListFromString reads
// it back (the counterpart of the platform's string-to-property-list conversion); the
// strings-table form ("key" = "value"; without braces) is read by the same parser.
//
// Integers, doubles, booleans, strings, dates, data, arrays and dictionaries map both
// ways. The old-style text has no types other than strings, data, arrays and
// dictionaries: numbers and dates come back as strings, as on the platform. Limits of
// libplist: dates are kept between 1933 and 2069 (32-bit seconds from 2001), to the
// microsecond in the binary form and to the second in XML; XML writes -0.0 as 0.
#pragma once

#include <string>
#include <string_view>

#include "Platform/core/KSError.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

enum class KSPropertyListFormat {
    OpenStep = 1,  // old-style text
    XML = 100,     // XML, version 1.0
    Binary = 200,  // binary, version 00
};

class KSPropertyList {
public:
    // Serialises `value` (which must not contain null or object references) in `format`.
    // Answers an empty KSData and fills `error` when the value cannot be represented.
    static KSData dataFromPropertyList(const KSValue& value, KSPropertyListFormat format,
                                       KSError* error = nullptr);
    // Reads binary, XML or old-style text data; `format` receives what was found.
    // Answers null and fills `error` on malformed data.
    static KSValue propertyListFromData(const KSData& data, KSPropertyListFormat* format = nullptr,
                                        KSError* error = nullptr);
    // Whether `value` can be written as a binary or XML property list.
    static bool isValidPropertyList(const KSValue& value);

    // The old-style text form (as KSValue::description gives it for collections).
    static std::string openStepString(const KSValue& value);
    // Parses old-style text: a string, data (<0fbd77>), array or dictionary. Null and
    // `error` on malformed text.
    static KSValue propertyListFromString(std::string_view text, KSError* error = nullptr);
    // Parses a strings table: "key" = "value"; pairs without braces, with comments.
    static KSDictionary stringsTableFromString(std::string_view text, KSError* error = nullptr);
};

}  // namespace kestrum
