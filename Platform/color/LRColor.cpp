#include "Platform/color/LRColor.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

double clampUnit(double value) {
    if (std::isnan(value)) return 0.0;
    return std::clamp(value, 0.0, 1.0);
}

const char* const kRedKey = "red";
const char* const kGreenKey = "green";
const char* const kBlueKey = "blue";
const char* const kAlphaKey = "alpha";

bool isComponentValue(const KSValue& value) {
    return value.isNumber() || value.isString() || value.isBool();
}

}  // namespace

const KSClassInfo& LRColor::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<LRColor>(
        "LRColor", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<LRColor>& b) {
            b.readOnly("redComponent", &LRColor::redComponent);
            b.readOnly("greenComponent", &LRColor::greenComponent);
            b.readOnly("blueComponent", &LRColor::blueComponent);
            b.readOnly("alphaComponent", &LRColor::alphaComponent);
            b.readOnly("hueComponent", &LRColor::hueComponent);
            b.readOnly("saturationComponent", &LRColor::saturationComponent);
            b.readOnly("brightnessComponent", &LRColor::brightnessComponent);
            b.readOnly("isClear", &LRColor::isClear);
        });
    return info;
}

LRColor::LRColor(double red, double green, double blue, double alpha)
    : red_(clampUnit(red)),
      green_(clampUnit(green)),
      blue_(clampUnit(blue)),
      alpha_(clampUnit(alpha)) {}

std::shared_ptr<LRColor> LRColor::colorWithRedGreenBlueAlpha(double red, double green, double blue,
                                                             double alpha) {
    return std::make_shared<LRColor>(red, green, blue, alpha);
}

std::shared_ptr<LRColor> LRColor::colorWithHueSaturationBrightnessAlpha(double hue,
                                                                        double saturation,
                                                                        double brightness,
                                                                        double alpha) {
    double s = clampUnit(saturation);
    double v = clampUnit(brightness);
    if (s == 0.0) return colorWithRedGreenBlueAlpha(v, v, v, alpha);
    // Hue wraps around the circle: 1.2 is 0.2 and -0.1 is 0.9.
    double h = std::isnan(hue) ? 0.0 : hue - std::floor(hue);
    double sector = h * 6.0;
    int index = static_cast<int>(std::floor(sector)) % 6;
    double f = sector - std::floor(sector);
    double p = v * (1.0 - s);
    double q = v * (1.0 - s * f);
    double t = v * (1.0 - s * (1.0 - f));
    switch (index) {
        case 0:
            return colorWithRedGreenBlueAlpha(v, t, p, alpha);
        case 1:
            return colorWithRedGreenBlueAlpha(q, v, p, alpha);
        case 2:
            return colorWithRedGreenBlueAlpha(p, v, t, alpha);
        case 3:
            return colorWithRedGreenBlueAlpha(p, q, v, alpha);
        case 4:
            return colorWithRedGreenBlueAlpha(t, p, v, alpha);
        default:
            return colorWithRedGreenBlueAlpha(v, p, q, alpha);
    }
}

std::shared_ptr<LRColor> LRColor::colorWithWhiteAlpha(double white, double alpha) {
    return colorWithRedGreenBlueAlpha(white, white, white, alpha);
}

#define LR_NAMED_COLOR(name, r, g, b, a)                     \
    const std::shared_ptr<LRColor>& LRColor::name() {        \
        static const std::shared_ptr<LRColor> color =        \
            LRColor::colorWithRedGreenBlueAlpha(r, g, b, a); \
        return color;                                        \
    }

LR_NAMED_COLOR(clearColor, 0.0, 0.0, 0.0, 0.0)
LR_NAMED_COLOR(blackColor, 0.0, 0.0, 0.0, 1.0)
LR_NAMED_COLOR(whiteColor, 1.0, 1.0, 1.0, 1.0)
LR_NAMED_COLOR(grayColor, 0.5, 0.5, 0.5, 1.0)
LR_NAMED_COLOR(lightGrayColor, 2.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0, 1.0)
LR_NAMED_COLOR(darkGrayColor, 1.0 / 3.0, 1.0 / 3.0, 1.0 / 3.0, 1.0)
LR_NAMED_COLOR(redColor, 1.0, 0.0, 0.0, 1.0)
LR_NAMED_COLOR(greenColor, 0.0, 1.0, 0.0, 1.0)
LR_NAMED_COLOR(blueColor, 0.0, 0.0, 1.0, 1.0)
LR_NAMED_COLOR(yellowColor, 1.0, 1.0, 0.0, 1.0)
LR_NAMED_COLOR(orangeColor, 1.0, 0.5, 0.0, 1.0)

#undef LR_NAMED_COLOR

double LRColor::hueComponent() const {
    double maxValue = std::max({red_, green_, blue_});
    double minValue = std::min({red_, green_, blue_});
    double delta = maxValue - minValue;
    if (delta == 0.0) return 0.0;
    double hue;
    if (maxValue == red_) {
        hue = (green_ - blue_) / delta;
    } else if (maxValue == green_) {
        hue = 2.0 + (blue_ - red_) / delta;
    } else {
        hue = 4.0 + (red_ - green_) / delta;
    }
    hue /= 6.0;
    if (hue < 0.0) hue += 1.0;
    return hue >= 1.0 ? 0.0 : hue;
}

double LRColor::saturationComponent() const {
    double maxValue = std::max({red_, green_, blue_});
    if (maxValue == 0.0) return 0.0;
    double minValue = std::min({red_, green_, blue_});
    return (maxValue - minValue) / maxValue;
}

double LRColor::brightnessComponent() const {
    return std::max({red_, green_, blue_});
}

double LRColor::whiteComponent() const {
    return 0.299 * red_ + 0.587 * green_ + 0.114 * blue_;
}

std::shared_ptr<LRColor> LRColor::colorWithAlphaComponent(double alpha) const {
    return colorWithRedGreenBlueAlpha(red_, green_, blue_, alpha);
}

std::shared_ptr<LRColor> LRColor::blendedColorWithFractionOfColor(double fraction,
                                                                  const LRColor& other) const {
    double f = clampUnit(fraction);
    auto mix = [f](double a, double b) { return a + (b - a) * f; };
    return colorWithRedGreenBlueAlpha(mix(red_, other.red_), mix(green_, other.green_),
                                      mix(blue_, other.blue_), mix(alpha_, other.alpha_));
}

KSValue LRColor::propertyList() const {
    return KSDictionary{
        {kRedKey, red_}, {kGreenKey, green_}, {kBlueKey, blue_}, {kAlphaKey, alpha_}};
}

bool LRColor::isColorPropertyList(const KSValue& propertyList) {
    if (!propertyList.isDictionary()) return false;
    const KSDictionary& dictionary = propertyList.asDictionary();
    for (const char* key : {kRedKey, kGreenKey, kBlueKey}) {
        const KSValue* value = dictionary.find(key);
        if (!value || !isComponentValue(*value)) return false;
    }
    const KSValue* alpha = dictionary.find(kAlphaKey);
    if (alpha && !isComponentValue(*alpha)) return false;
    // Anything beyond the four components means this is some other dictionary.
    return dictionary.size() == (alpha ? 4u : 3u);
}

std::shared_ptr<LRColor> LRColor::colorFromPropertyList(const KSValue& propertyList) {
    if (!isColorPropertyList(propertyList)) return nullptr;
    const KSDictionary& dictionary = propertyList.asDictionary();
    const KSValue* alpha = dictionary.find(kAlphaKey);
    return colorWithRedGreenBlueAlpha(dictionary.objectForKey(kRedKey).doubleValue(),
                                      dictionary.objectForKey(kGreenKey).doubleValue(),
                                      dictionary.objectForKey(kBlueKey).doubleValue(),
                                      alpha ? alpha->doubleValue() : 1.0);
}

std::string LRColor::description() const {
    return "LRColor " + KSStringFromDouble(red_) + " " + KSStringFromDouble(green_) + " " +
           KSStringFromDouble(blue_) + " " + KSStringFromDouble(alpha_);
}

bool LRColor::isEqual(const KSBaseObject& other) const {
    if (this == &other) return true;
    const auto* color = dynamic_cast<const LRColor*>(&other);
    return color && red_ == color->red_ && green_ == color->green_ && blue_ == color->blue_ &&
           alpha_ == color->alpha_;
}

std::size_t LRColor::hash() const {
    std::size_t seed = 0;
    for (double component : {red_, green_, blue_, alpha_}) {
        // +0.0 folds -0.0, which clamping never produces but keeps the hash honest.
        seed = seed * 1000003u ^ std::hash<double>()(component + 0.0);
    }
    return seed;
}

bool LRColorsEqual(const std::shared_ptr<LRColor>& a, const std::shared_ptr<LRColor>& b) {
    if (!a || !b) return !a && !b;
    return a->isEqual(*b);
}

}  // namespace kestrum
