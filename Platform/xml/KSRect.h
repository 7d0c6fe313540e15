// KSRect: a rectangle in points (origin and size), as windows and views store frames.
#pragma once

#include <type_traits>

namespace kestrum {

struct KSRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    friend bool operator==(const KSRect&, const KSRect&) = default;
};
static_assert(std::is_trivially_copyable_v<KSRect>);

}  // namespace kestrum
