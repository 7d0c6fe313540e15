// KSStringAdditions: the name and position-string helpers the model shares.
//
// Unique names: a wanted name such as "Task" becomes "Task 5" when "Task" and "Task 4"
// are taken; a name's number is the decimal text behind its last blank (0 means none).
// Positional ids are dotted strings such as "1.10.2", compared component by component.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrum {

// A name split at its last blank: base "Task" and number 4 for "Task 4"; the whole name
// and 0 when the text behind the blank is not a non-zero decimal number.
struct KSUniquedName {
    std::string base;
    std::int64_t number = 0;
};
KSUniquedName KSSplitUniquedName(std::string_view name);

// uniquifyNameWithObjects:andNameSelector:startingAt: `name` unchanged when no object's
// name has its base and number; otherwise "<base> <highest + 1>", where highest starts at
// start - 1. `nameOf(object)` gives an object's name.
template <class Range, class NameOf>
std::string KSUniquifyName(std::string_view name, const Range& objects, NameOf nameOf,
                           std::int64_t start = 1) {
    KSUniquedName wanted = KSSplitUniquedName(name);
    std::int64_t highest = start - 1;
    bool conflict = false;
    for (auto it = std::rbegin(objects); it != std::rend(objects); ++it) {
        KSUniquedName taken = KSSplitUniquedName(nameOf(*it));
        if (taken.base != wanted.base) continue;
        if (taken.number > highest) highest = taken.number;
        if (taken.number == wanted.number) conflict = true;
    }
    if (!conflict) return std::string(name);
    return wanted.base + " " + std::to_string(highest + 1);
}

// baseNameForUniquedName: "Ann 1" for "Ann 3"; none when there is no blank or the
// number behind the last blank is below 1.
std::optional<std::string> KSBaseNameForUniquedName(std::string_view name);

// comparePositionalIDStrings: -1, 0 or 1; a shorter string that runs out first is earlier.
int KSComparePositionalIDStrings(std::string_view a, std::string_view b);

}  // namespace kestrum
