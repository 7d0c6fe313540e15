#include "Model/worktime/KSStringAdditions.h"

#include <algorithm>

#include "Platform/core/KSNumberText.h"

namespace kestrum {

KSUniquedName KSSplitUniquedName(std::string_view name) {
    KSUniquedName split{std::string(name), 0};
    std::size_t blank = name.rfind(' ');
    if (blank == std::string_view::npos) return split;
    std::string_view digits = name.substr(blank + 1);
    if (digits.empty() ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return split;
    }
    std::int64_t number = KSIntegerValueOfString(digits);
    if (number == 0) return split;
    split.base = std::string(name.substr(0, blank));
    split.number = number;
    return split;
}

std::optional<std::string> KSBaseNameForUniquedName(std::string_view name) {
    std::size_t blank = name.rfind(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    if (KSIntegerValueOfString(name.substr(blank + 1)) < 1) return std::nullopt;
    return std::string(name.substr(0, blank + 1)) + "1";
}

int KSComparePositionalIDStrings(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (true) {
        bool aDone = i > a.size();
        bool bDone = j > b.size();
        if (aDone || bDone) {
            if (aDone && bDone) return 0;
            return aDone ? -1 : 1;
        }
        std::size_t aEnd = std::min(a.find('.', i), a.size());
        std::size_t bEnd = std::min(b.find('.', j), b.size());
        std::int64_t x = KSIntegerValueOfString(a.substr(i, aEnd - i));
        std::int64_t y = KSIntegerValueOfString(b.substr(j, bEnd - j));
        if (x != y) return x < y ? -1 : 1;
        i = aEnd + 1;
        j = bEnd + 1;
    }
}

}  // namespace kestrum
