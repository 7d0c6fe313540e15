// The format engine of the library's "%@"-style format strings.
//
// Supported: "%@" (a value's or object's description), positional arguments ("%1$@",
// "%2$d"), "%d", "%i", "%ld", "%lld", "%u", "%lu", "%x", "%X", "%o", "%f", "%e", "%g"
// with flags (-, +, space, 0, #), width and precision ("%.2f", "%+d", "%05.1f"), "%c"
// (a character code, as a Unicode scalar), "%s" (text) and "%%". An argument of the
// wrong kind is converted the way the platform's keyed values convert (a string given
// to "%d" is read as a number). A missing argument prints nothing; an unknown
// conversion is copied as it stands; widths, precisions and positions stop at 10000.
// Output is UTF-8 and does not depend on the C locale.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSBaseObject;

// One argument of a format: a value, or the text of an object's description.
class KSFormatArgument {
public:
    KSFormatArgument(const KSValue& value) : value_(value) {}
    template <class T, std::enable_if_t<std::is_constructible_v<KSValue, const T&> &&
                                            !std::is_same_v<T, KSValue> && !std::is_pointer_v<T>,
                                        int> = 0>
    KSFormatArgument(const T& value) : value_(KSValue(value)) {}
    KSFormatArgument(const char* text) : value_(text ? KSValue(text) : KSValue()) {}
    // Enumerations print as their number ("%d" of a kind).
    template <class T, std::enable_if_t<std::is_enum_v<T>, int> = 0>
    KSFormatArgument(T value) : value_(KSValue(static_cast<long long>(value))) {}
    KSFormatArgument(const KSBaseObject* object);
    KSFormatArgument(const KSBaseObject& object) : KSFormatArgument(&object) {}
    // Anything else with a description() (KSError, KSDateTime, ...).
    template <
        class T,
        std::enable_if_t<!std::is_constructible_v<KSValue, const T&> &&
                             !std::is_base_of_v<KSBaseObject, T> &&
                             std::is_convertible_v<decltype(std::declval<const T&>().description()),
                                                   std::string>,
                         int> = 0>
    KSFormatArgument(const T& value) : value_(KSValue(std::string(value.description()))) {}

    const KSValue& value() const { return value_; }

private:
    KSValue value_;
};

std::string KSStringWithFormatArguments(std::string_view format,
                                        const std::vector<KSFormatArgument>& arguments);

template <class... Args>
std::string KSStringWithFormat(std::string_view format, const Args&... args) {
    return KSStringWithFormatArguments(format,
                                       std::vector<KSFormatArgument>{KSFormatArgument(args)...});
}

}  // namespace kestrum
