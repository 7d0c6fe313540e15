// KSSortedArrays: searches and walks over vectors kept sorted by an accessor's value.
//
// rangeWithValue finds the run of elements whose accessor value equals a value by binary
// search; the next/previous forms give the run of equal values from an index. Values are
// compared with their compare() member when they have one (KSDateTime's tolerant order),
// else with < and ==.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace kestrum {

// A run of elements: `location` is the first index, `length` the count.
struct KSRange {
    std::size_t location = 0;
    std::size_t length = 0;
    friend bool operator==(const KSRange&, const KSRange&) = default;
};

namespace detail {
template <class T, class = void>
struct HasCompare : std::false_type {};
template <class T>
struct HasCompare<T,
                  std::void_t<decltype(std::declval<const T&>().compare(std::declval<const T&>()))>>
    : std::true_type {};

template <class T>
int compareValues(const T& a, const T& b) {
    if constexpr (HasCompare<T>::value) {
        return a.compare(b);
    } else {
        return a < b ? -1 : (b < a ? 1 : 0);
    }
}
}  // namespace detail

// rangeOfNextValueOfAccessorSelector:fromIndex: the run of values equal to the one at
// `index`, going forward; an index at or past the end gives {count, 0}.
template <class T, class Accessor>
KSRange KSRangeOfNextValue(const std::vector<T>& array, Accessor accessor, std::size_t index) {
    if (index >= array.size()) return {array.size(), 0};
    auto value = accessor(array[index]);
    std::size_t end = index + 1;
    while (end < array.size() && accessor(array[end]) == value)
        ++end;
    return {index, end - index};
}

// rangeOfPreviousValueOfAccessorSelector:fromIndex: the run of equal values that ends at
// `index`, going backward; the location is the run's first index.
template <class T, class Accessor>
KSRange KSRangeOfPreviousValue(const std::vector<T>& array, Accessor accessor, std::size_t index) {
    if (index >= array.size()) return {array.size(), 0};
    auto value = accessor(array[index]);
    std::size_t first = index;
    while (first > 0 && accessor(array[first - 1]) == value)
        --first;
    return {first, index - first + 1};
}

// rangeWithValue:ofAccessorSelector: the run of elements whose accessor value equals
// `value`, or {insertion point, 0} when none does.
template <class T, class Accessor, class V>
KSRange KSRangeWithValue(const std::vector<T>& array, const V& value, Accessor accessor) {
    // Probe by halving a power of two above the count: `low` is the last index known to
    // hold a value below the searched one, plus one.
    std::size_t step = 1;
    while (step <= array.size())
        step <<= 1;
    std::size_t low = 0;
    for (; step > 0; step >>= 1) {
        std::size_t probe = low + step - 1;
        if (probe >= array.size()) continue;
        int order = detail::compareValues<V>(value, accessor(array[probe]));
        if (order > 0) {
            low = probe + 1;
        } else if (order == 0) {
            KSRange before = KSRangeOfPreviousValue(array, accessor, probe);
            KSRange after = KSRangeOfNextValue(array, accessor, probe);
            return {before.location, before.length + after.length - 1};
        }
    }
    return {low, 0};
}

// isSortedBySelector: true unless some element compares as 1 with the one behind it.
template <class T, class Compare>
bool KSIsSortedBy(const std::vector<T>& array, Compare compare) {
    for (std::size_t i = 1; i < array.size(); ++i) {
        if (compare(array[i - 1], array[i]) > 0) return false;
    }
    return true;
}

// removeObjectsUsingSelector: calls `detach` on each element from the last to the first,
// keeping the element alive through the call; `detach` is expected to take it out.
template <class T, class Detach>
void KSRemoveObjectsUsing(std::vector<std::shared_ptr<T>>& array, Detach detach) {
    for (std::size_t i = array.size(); i-- > 0;) {
        if (i >= array.size()) continue;
        std::shared_ptr<T> keep = array[i];
        detach(*keep);
    }
}

}  // namespace kestrum
