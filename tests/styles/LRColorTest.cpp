// Colour values: components, hue/saturation/brightness, property lists, equality.
#include <gtest/gtest.h>

#include "Platform/color/LRColor.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {
namespace {

TEST(LRColor, HueSaturationBrightnessRoundTrip) {
    // The critical-path hues cycle through 0.2, 0.4, 0.6 and 0.8 at saturation 0.5 and
    // brightness 0.8.
    for (double hue : {0.2, 0.4, 0.6, 0.8}) {
        auto color = LRColor::colorWithHueSaturationBrightnessAlpha(hue, 0.5, 0.8, 1.0);
        EXPECT_NEAR(color->hueComponent(), hue, 1e-12);
        EXPECT_NEAR(color->saturationComponent(), 0.5, 1e-12);
        EXPECT_NEAR(color->brightnessComponent(), 0.8, 1e-12);
        EXPECT_EQ(color->alphaComponent(), 1.0);
    }
    auto green = LRColor::colorWithHueSaturationBrightnessAlpha(1.0 / 3.0, 1.0, 1.0, 1.0);
    EXPECT_NEAR(green->redComponent(), 0.0, 1e-12);
    EXPECT_NEAR(green->greenComponent(), 1.0, 1e-12);
    EXPECT_NEAR(green->blueComponent(), 0.0, 1e-12);
    // Hue wraps around; a grey has hue and saturation 0.
    EXPECT_NEAR(LRColor::colorWithHueSaturationBrightnessAlpha(1.2, 0.5, 0.8, 1)->hueComponent(),
                0.2, 1e-12);
    auto grey = LRColor::colorWithWhiteAlpha(0.85, 1.0);
    EXPECT_EQ(grey->hueComponent(), 0.0);
    EXPECT_EQ(grey->saturationComponent(), 0.0);
    EXPECT_NEAR(grey->whiteComponent(), 0.85, 1e-12);
}

TEST(LRColor, ComponentsAreClampedAndClearMeansNoAlpha) {
    auto color = LRColor::colorWithRedGreenBlueAlpha(1.5, -0.2, 0.5, 2.0);
    EXPECT_EQ(color->redComponent(), 1.0);
    EXPECT_EQ(color->greenComponent(), 0.0);
    EXPECT_EQ(color->alphaComponent(), 1.0);
    EXPECT_TRUE(LRColor::clearColor()->isClear());
    EXPECT_TRUE(LRColor::whiteColor()->colorWithAlphaComponent(0.0)->isClear());
    EXPECT_FALSE(LRColor::colorWithRedGreenBlueAlpha(0.83, 0.9, 0.98, 0.5)->isClear());
    auto mixed =
        LRColor::blackColor()->blendedColorWithFractionOfColor(0.25, *LRColor::whiteColor());
    EXPECT_EQ(*mixed, *LRColor::colorWithWhiteAlpha(0.25, 1.0));
}

TEST(LRColor, EqualityAndHashGoByComponents) {
    auto a = LRColor::colorWithRedGreenBlueAlpha(0.45, 0.615, 0.9, 1.0);
    auto b = LRColor::colorWithRedGreenBlueAlpha(0.45, 0.615, 0.9, 1.0);
    EXPECT_EQ(*a, *b);
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_EQ(KSValue(a), KSValue(b));  // through keyed values too
    EXPECT_FALSE(*a == *a->colorWithAlphaComponent(0.5));
    EXPECT_TRUE(LRColorsEqual(nullptr, nullptr));
    EXPECT_FALSE(LRColorsEqual(a, nullptr));
}

TEST(LRColor, PropertyListRoundTripsInEveryEncoding) {
    auto color = LRColor::colorWithRedGreenBlueAlpha(0.2, 0.2, 0.2, 1.0);
    for (auto format : {KSPropertyListFormat::Binary, KSPropertyListFormat::XML}) {
        KSData data = KSPropertyList::dataFromPropertyList(color->propertyList(), format);
        auto reread = LRColor::colorFromPropertyList(KSPropertyList::propertyListFromData(data));
        ASSERT_TRUE(reread);
        EXPECT_EQ(*reread, *color);
    }
    // Old-style text has no numbers: components come back as strings and still read.
    std::string text = KSPropertyList::openStepString(color->propertyList());
    auto fromText = LRColor::colorFromPropertyList(KSPropertyList::propertyListFromString(text));
    ASSERT_TRUE(fromText);
    EXPECT_EQ(*fromText, *color);
    // Alpha may be missing; other dictionaries are no colours.
    auto opaque = LRColor::colorFromPropertyList(
        KSValue(KSDictionary{{"red", KSValue(1)}, {"green", KSValue(0)}, {"blue", KSValue(0)}}));
    ASSERT_TRUE(opaque);
    EXPECT_EQ(*opaque, *LRColor::redColor());
    EXPECT_FALSE(LRColor::colorFromPropertyList(KSValue(KSDictionary{{"red", KSValue(1)}})));
    EXPECT_FALSE(LRColor::colorFromPropertyList(KSValue("red")));
    EXPECT_FALSE(LRColor::colorFromPropertyList(KSValue(KSDictionary{{"red", KSValue(1)},
                                                                     {"green", KSValue(0)},
                                                                     {"blue", KSValue(0)},
                                                                     {"name", KSValue("x")}})));
}

}  // namespace
}  // namespace kestrum
