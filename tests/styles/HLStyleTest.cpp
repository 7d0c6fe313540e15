// Styles: cascade look-up, registered defaults, undo and redo with the owner's hooks,
// whole-style changes, property-list forms.
#include <gtest/gtest.h>

#include "Platform/color/LRColor.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/plist/KSPropertyList.h"
#include "Platform/styles/HLNamedStyle.h"
#include "Platform/styles/HLNamedStyleList.h"
#include "Platform/styles/HLStyleAttributeRegistry.h"
#include "Platform/styles/HLStyleContext.h"
#include "tests/styles/StyleTestSupport.h"

namespace kestrum {
namespace {

const char* const kFill = "test-fill-color";
const char* const kIndent = "test-indentation";

class StyleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        auto& registry = HLStyleAttributeRegistry::sharedRegistry();
        registry.registerAttribute(
            {kFill,
             HLStyleAttributeType::Color,
             KSValue(LRColor::colorWithRedGreenBlueAlpha(0.45, 0.615, 0.9, 1.0)),
             "base color",
             {"gantt bar", "gantt colors"}});
        registry.registerAttribute({kIndent, HLStyleAttributeType::Real, KSValue(0), "indent", {}});
    }

    void SetUp() override {
        undoManager = std::make_shared<KSUndoManager>();
        owner = std::make_shared<test::RecordingStyleOwner>();
        context =
            HLStyleContext::styleContextWithUndoManager(undoManager, owner.get(), "namedStyles");
        base = HLStyle::styleWithContextCascadeStyles(context);
        standard = HLStyle::styleWithContextCascadeStyles(context, {base});
        overdue = HLStyle::styleWithContextCascadeStyles(context, {standard});
    }

    void endEvent() { KSRunLoop::current().runOnce(); }

    std::shared_ptr<KSUndoManager> undoManager;
    std::shared_ptr<test::RecordingStyleOwner> owner;
    std::shared_ptr<HLStyleContext> context;
    std::shared_ptr<HLStyle> base, standard, overdue;
};

TEST_F(StyleTest, LooksUpOwnThenNamedThenCascadeThenDefault) {
    auto red = LRColor::redColor();
    auto blue = LRColor::blueColor();
    // Registered default when nothing sets it.
    EXPECT_EQ(KSValue(overdue->colorForAttribute(kFill)),
              KSValue(LRColor::colorWithRedGreenBlueAlpha(0.45, 0.615, 0.9, 1.0)));
    EXPECT_EQ(overdue->valueForAttribute(HLFontSizeStyleAttribute), KSValue(12.0));
    EXPECT_TRUE(overdue->valueForAttribute("never-registered").isNull());

    base->setValueForAttribute(KSValue(red), kFill);
    EXPECT_EQ(overdue->valueForAttribute(kFill), KSValue(red));  // through two cascades
    standard->setValueForAttribute(KSValue(blue), kFill);
    EXPECT_EQ(overdue->valueForAttribute(kFill), KSValue(blue));  // nearer cascade first

    auto highlight =
        context->namedStyleList()->addNamedStyleIdentifierInsertAtIndex("Highlight", "", false, 0);
    highlight->setValueForAttribute(KSValue(LRColor::yellowColor()), kFill);
    overdue->addInheritedNamedStyle(highlight);
    EXPECT_EQ(overdue->valueForAttribute(kFill),
              KSValue(LRColor::yellowColor()));  // named before cascade

    overdue->setValueForAttribute(KSValue(LRColor::greenColor()), kFill);
    EXPECT_EQ(overdue->valueForAttribute(kFill), KSValue(LRColor::greenColor()));
    EXPECT_EQ(overdue->inheritedValueForAttribute(kFill), KSValue(LRColor::yellowColor()));
    EXPECT_EQ(overdue->localValueForAttribute(kFill), KSValue(LRColor::greenColor()));
    EXPECT_FALSE(standard->hasLocalValueForAttribute(HLBoldStyleAttribute));
}

TEST_F(StyleTest, CascadeOrderDecidesBetweenSiblings) {
    auto resourceStyle = HLStyle::styleWithContextCascadeStyles(context);
    resourceStyle->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    resourceStyle->setValueForAttribute(KSValue(3.0), kIndent);
    standard->setValueForAttribute(KSValue(5.0), kIndent);
    auto task = HLStyle::styleWithContextCascadeStyles(context, {standard, resourceStyle});
    EXPECT_EQ(task->valueForAttribute(kIndent), KSValue(5.0));
    EXPECT_EQ(task->valueForAttribute(HLBoldStyleAttribute), KSValue(true));
    task->setCascadeStyles({resourceStyle, standard});
    EXPECT_EQ(task->valueForAttribute(kIndent), KSValue(3.0));
}

TEST_F(StyleTest, LoopsAreRefusedAndLookupsStayFinite) {
    KSLogCapture capture;
    auto a = context->namedStyleList()->addNamedStyleIdentifierInsertAtIndex("A", "a", false, 0);
    auto b = context->namedStyleList()->addNamedStyleIdentifierInsertAtIndex("B", "b", false, 0);
    a->addInheritedNamedStyle(b);
    b->addInheritedNamedStyle(a);
    EXPECT_TRUE(b->inheritedNamedStyles().empty());
    EXPECT_TRUE(capture.contains("cannot inherit from itself"));
    base->setCascadeStyles({overdue});
    EXPECT_TRUE(base->cascadeStyles().empty());
    EXPECT_EQ(overdue->valueForAttribute(HLFontSizeStyleAttribute), KSValue(12.0));
}

TEST_F(StyleTest, RegistryKeepsOrderGroupsAndTypes) {
    auto& registry = HLStyleAttributeRegistry::sharedRegistry();
    auto keys = registry.attributeKeysInGroup("gantt colors");
    EXPECT_EQ(keys, std::vector<std::string>{kFill});
    const auto* description = registry.attributeForKey(kFill);
    ASSERT_TRUE(description);
    EXPECT_EQ(description->displayName, "base color");
    // The Real default given as an integer is stored as a real.
    EXPECT_TRUE(registry.defaultValueForAttribute(kIndent).isDouble());
    // Values are coerced by type when read from property lists.
    EXPECT_EQ(registry.valueFromPropertyList(KSValue("2.5"), kIndent), KSValue(2.5));
    EXPECT_EQ(registry.valueFromPropertyList(KSValue("YES"), HLBoldStyleAttribute), KSValue(true));
    EXPECT_TRUE(registry.valueFromPropertyList(KSValue("not a colour"), kFill).isNull());
    // Registering again replaces the description and keeps the place.
    auto before = registry.registeredAttributeKeys();
    registry.registerAttribute(
        {kIndent, HLStyleAttributeType::Real, KSValue(5.0), "child indentation", {}});
    EXPECT_EQ(registry.registeredAttributeKeys(), before);
    EXPECT_EQ(base->valueForAttribute(kIndent), KSValue(5.0));
    registry.registerAttribute({kIndent, HLStyleAttributeType::Real, KSValue(0.0), "indent", {}});
}

TEST_F(StyleTest, UndoAndRedoAnAttributeChangeWithTheOwnersHooks) {
    standard->setOwnerContainerKey(owner.get(), "standardTaskStyle");
    standard->enableUndo();
    standard->setValueForAttribute(KSValue(LRColor::redColor()), kFill);
    undoManager->setActionName("Gantt Background Color");
    endEvent();

    ASSERT_EQ(owner->events.size(), 2u);
    EXPECT_EQ(owner->events[0].hook, "will");
    EXPECT_EQ(owner->events[0].containerKey, "standardTaskStyle");
    EXPECT_EQ(owner->events[0].attributeKey, kFill);
    EXPECT_TRUE(owner->events[0].valueSeen.isNull());  // will comes before the store
    EXPECT_EQ(owner->events[1].hook, "did");
    EXPECT_EQ(owner->events[1].valueSeen, KSValue(LRColor::redColor()));
    EXPECT_EQ(undoManager->undoActionName(), "Gantt Background Color");

    owner->events.clear();
    undoManager->undo();
    EXPECT_FALSE(standard->hasLocalValueForAttribute(kFill));
    EXPECT_EQ(overdue->colorForAttribute(kFill)->redComponent(), 0.45);
    ASSERT_EQ(owner->events.size(), 2u);  // undo goes through the same hooks
    EXPECT_EQ(owner->events[0].valueSeen, KSValue(LRColor::redColor()));
    EXPECT_TRUE(owner->events[1].valueSeen.isNull());

    undoManager->redo();
    EXPECT_EQ(overdue->valueForAttribute(kFill), KSValue(LRColor::redColor()));
    EXPECT_EQ(owner->events.size(), 4u);
}

TEST_F(StyleTest, UnchangedValuesAndStylesWithoutUndoRecordNothing) {
    base->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);  // undo not enabled
    endEvent();
    EXPECT_FALSE(undoManager->canUndo());
    base->enableUndo();
    base->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);  // unchanged
    endEvent();
    EXPECT_FALSE(undoManager->canUndo());
    // A style whose context is gone still works, without undo.
    auto orphan = HLStyle::styleWithContextCascadeStyles(
        HLStyleContext::styleContextWithUndoManager(undoManager, nullptr, "x"));
    orphan->enableUndo();
    orphan->setValueForAttribute(KSValue(2.0), kIndent);
    EXPECT_EQ(orphan->valueForAttribute(kIndent), KSValue(2.0));
    endEvent();
    EXPECT_FALSE(undoManager->canUndo());
}

TEST_F(StyleTest, WholeStyleChangesAreOneUndoableStep) {
    auto highlight =
        context->namedStyleList()->addNamedStyleIdentifierInsertAtIndex("Highlight", "h", false, 0);
    endEvent();
    undoManager->removeAllActions();
    standard->enableUndo();
    standard->setOwnerContainerKey(owner.get(), "style");
    auto source = HLStyle::styleWithContextCascadeStyles(context);
    source->setValueForAttribute(KSValue(true), HLItalicStyleAttribute);
    source->setValueForAttribute(KSValue(7.0), kIndent);
    source->addInheritedNamedStyle(highlight);
    standard->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    endEvent();

    standard->setStyle(*source);
    endEvent();
    EXPECT_EQ(standard->locallyDefinedAttributes(), source->locallyDefinedAttributes());
    EXPECT_EQ(standard->inheritedNamedStyles().size(), 1u);
    EXPECT_EQ(standard->cascadeStyles(), HLStyleList{base});  // the cascade stays
    EXPECT_EQ(owner->events.back().attributeKey, "");

    standard->removeLocallyDefinedAttributesAndInheritedNamedStyles();
    endEvent();
    EXPECT_TRUE(standard->isEmpty());
    undoManager->undo();
    EXPECT_EQ(standard->valueForAttribute(kIndent), KSValue(7.0));
    EXPECT_EQ(standard->inheritedNamedStyles().front(), highlight);
    undoManager->undo();
    EXPECT_EQ(standard->locallyDefinedAttributes(),
              (KSDictionary{{HLBoldStyleAttribute, KSValue(true)}}));
    EXPECT_TRUE(standard->inheritedNamedStyles().empty());
}

TEST_F(StyleTest, PropertyListRoundTripWithInheritedStyles) {
    auto highlight = context->namedStyleList()->addNamedStyleIdentifierInsertAtIndex(
        "Highlight", "H-1", false, 0);
    standard->setValueForAttribute(KSValue(LRColor::colorWithWhiteAlpha(0.85, 1.0)), kFill);
    standard->setValueForAttribute(KSValue(4.5), kIndent);
    standard->setValueForAttribute(KSValue(true), HLUnderlineStyleAttribute);
    standard->setValueForAttribute(KSValue("Serif"), HLFontNameStyleAttribute);
    standard->addInheritedNamedStyle(highlight);

    KSValue plist = standard->newPropertyListRepresentationIncludingInheritedStyles(true);
    EXPECT_EQ(plist.asDictionary().objectForKey(HLStyleInheritedStylesPropertyListKey),
              KSValue::array({KSValue("H-1")}));
    EXPECT_FALSE(standard->newPropertyListRepresentationIncludingInheritedStyles(false)
                     .asDictionary()
                     .contains(HLStyleInheritedStylesPropertyListKey));

    for (auto format : {KSPropertyListFormat::Binary, KSPropertyListFormat::OpenStep}) {
        KSData data = format == KSPropertyListFormat::OpenStep
                          ? [&] {
                                std::string text = KSPropertyList::openStepString(plist);
                                return KSData(text.begin(), text.end());
                            }()
                          : KSPropertyList::dataFromPropertyList(plist, format);
        KSError error;
        auto reread = HLStyle::styleWithPropertyListRepresentation(
            KSPropertyList::propertyListFromData(data), context, {base}, true, &error);
        ASSERT_TRUE(reread) << error.localizedDescription();
        EXPECT_EQ(reread->locallyDefinedAttributes(), standard->locallyDefinedAttributes());
        EXPECT_EQ(reread->inheritedNamedStyles(), standard->inheritedNamedStyles());
        EXPECT_EQ(reread->cascadeStyles(), HLStyleList{base});
    }
}

TEST_F(StyleTest, ReadingDropsRedundantValuesUnlessAllowedAndRefusesGarbage) {
    base->setValueForAttribute(KSValue(3.0), kIndent);
    KSValue plist(KSDictionary{
        {HLStyleAttributesPropertyListKey,
         KSValue(KSDictionary{{kIndent, KSValue(3.0)},
                              {HLFontSizeStyleAttribute, KSValue(12.0)},
                              {HLBoldStyleAttribute, KSValue(true)}})},
        {HLStyleInheritedStylesPropertyListKey, KSValue::array({KSValue("unknown-id")})}});
    KSLogCapture capture;
    auto strict = HLStyle::styleWithPropertyListRepresentation(plist, context, {base}, false);
    ASSERT_TRUE(strict);
    EXPECT_EQ(strict->locallyDefinedAttributes(),
              (KSDictionary{{HLBoldStyleAttribute, KSValue(true)}}));
    EXPECT_TRUE(strict->inheritedNamedStyles().empty());
    EXPECT_TRUE(capture.contains("unknown-id"));
    auto loose = HLStyle::styleWithPropertyListRepresentation(plist, context, {base}, true);
    EXPECT_EQ(loose->locallyDefinedAttributes().size(), 3u);

    KSError error;
    EXPECT_FALSE(
        HLStyle::styleWithPropertyListRepresentation(KSValue("x"), context, {}, true, &error));
    EXPECT_TRUE(error.isSet());
    EXPECT_FALSE(HLStyle::styleWithPropertyListRepresentation(
        KSValue(KSDictionary{{HLStyleAttributesPropertyListKey, KSValue(3)}}), context, {}, true,
        &error));
    // An empty style has an empty property list.
    EXPECT_TRUE(HLStyle::styleWithContextCascadeStyles(context)
                    ->newPropertyListRepresentationIncludingInheritedStyles(true)
                    .asDictionary()
                    .empty());
}

TEST_F(StyleTest, KeyedAccessReachesAttributesAndNames) {
    base->setValueForKey(KSValue(2.0), kIndent);
    EXPECT_EQ(overdue->valueForKey(kIndent), KSValue(2.0));
    overdue->setSelectionRelativeName("Overdue Tasks");
    EXPECT_EQ(overdue->valueForKey("selectionRelativeName"), KSValue("Overdue Tasks"));
    auto copy = overdue->copy();
    EXPECT_NE(copy, overdue);
    EXPECT_EQ(copy->valueForAttribute(kIndent), KSValue(2.0));
    EXPECT_EQ(copy->owner(), nullptr);
    EXPECT_FALSE(copy->isUndoEnabled());
}

}  // namespace
}  // namespace kestrum
