// LRColor: an immutable colour value in device RGB with alpha.
//
// Colours are shared objects (a std::shared_ptr<LRColor> travels in KSValue object
// references and in style attributes) but behave as values: equality and hash go by the
// four components. A colour is made from red, green, blue and alpha, from hue,
// saturation and brightness, or from a grey level; every component is a fraction from
// 0.0 to 1.0 and is clamped into that range on construction.
//
// Property-list form: a dictionary { red = r; green = g; blue = b; alpha = a; } with real
// numbers. Reading also accepts numbers given as strings (old-style text property lists
// have no numbers) and a missing alpha as 1.0.
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class LRColor : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Use the factories; public for std::make_shared.
    LRColor(double red, double green, double blue, double alpha);

    // A colour from red, green, blue and alpha fractions.
    static std::shared_ptr<LRColor> colorWithRedGreenBlueAlpha(double red, double green,
                                                               double blue, double alpha);
    // A colour from hue (a fraction of the circle, 0.0 red, 1/3 green, 2/3 blue),
    // saturation, brightness and alpha fractions.
    static std::shared_ptr<LRColor> colorWithHueSaturationBrightnessAlpha(double hue,
                                                                          double saturation,
                                                                          double brightness,
                                                                          double alpha);
    // A grey: red, green and blue all `white`.
    static std::shared_ptr<LRColor> colorWithWhiteAlpha(double white, double alpha);

    // Named colours (shared instances).
    static const std::shared_ptr<LRColor>& clearColor();      // black with alpha 0
    static const std::shared_ptr<LRColor>& blackColor();      // 0, 0, 0, 1
    static const std::shared_ptr<LRColor>& whiteColor();      // 1, 1, 1, 1
    static const std::shared_ptr<LRColor>& grayColor();       // white 0.5
    static const std::shared_ptr<LRColor>& lightGrayColor();  // white 2/3
    static const std::shared_ptr<LRColor>& darkGrayColor();   // white 1/3
    static const std::shared_ptr<LRColor>& redColor();        // 1, 0, 0, 1
    static const std::shared_ptr<LRColor>& greenColor();      // 0, 1, 0, 1
    static const std::shared_ptr<LRColor>& blueColor();       // 0, 0, 1, 1
    static const std::shared_ptr<LRColor>& yellowColor();     // 1, 1, 0, 1
    static const std::shared_ptr<LRColor>& orangeColor();     // 1, 0.5, 0, 1

    // The components as fractions.
    double redComponent() const { return red_; }
    double greenComponent() const { return green_; }
    double blueComponent() const { return blue_; }
    double alphaComponent() const { return alpha_; }
    // Hue as a fraction of the circle in [0, 1); 0 for greys.
    double hueComponent() const;
    // Saturation fraction; 0 for greys and black.
    double saturationComponent() const;
    // Brightness: the largest of red, green and blue.
    double brightnessComponent() const;
    // The grey level with the same perceived lightness (Rec. 601 luma weights).
    double whiteComponent() const;
    // A fully transparent colour: alpha is 0, whatever the other components.
    bool isClear() const { return alpha_ == 0.0; }

    // The same colour with another alpha.
    std::shared_ptr<LRColor> colorWithAlphaComponent(double alpha) const;
    // Mixes `fraction` (0..1) of `other` into this colour, alpha included.
    std::shared_ptr<LRColor> blendedColorWithFractionOfColor(double fraction,
                                                             const LRColor& other) const;

    // The dictionary form described above.
    KSValue propertyList() const;
    // Reads the dictionary form; null (and no colour) when the value is not a dictionary
    // or lacks one of red, green and blue.
    static std::shared_ptr<LRColor> colorFromPropertyList(const KSValue& propertyList);
    // Whether a property list has the shape of a colour's dictionary form.
    static bool isColorPropertyList(const KSValue& propertyList);

    // "LRColor r g b a" with the shortest decimal texts of the components; equality and
    // hash by the four components.
    std::string description() const override;
    bool isEqual(const KSBaseObject& other) const override;
    std::size_t hash() const override;
    friend bool operator==(const LRColor& a, const LRColor& b) { return a.isEqual(b); }

private:
    double red_;
    double green_;
    double blue_;
    double alpha_;
};

// Equality of two optional colours: both null, or both set and equal.
bool LRColorsEqual(const std::shared_ptr<LRColor>& a, const std::shared_ptr<LRColor>& b);

}  // namespace kestrum
