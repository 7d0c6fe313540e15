// The style context: named styles in order with undo, the owner's container key,
// application-defined styles and invalidation.
#include <gtest/gtest.h>

#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLNamedStyle.h"
#include "Platform/styles/HLNamedStyleList.h"
#include "Platform/styles/HLStyleAttributeRegistry.h"
#include "Platform/styles/HLStyleContext.h"
#include "Platform/styles/HLStyleContextSource.h"
#include "tests/styles/StyleTestSupport.h"

namespace kestrum {
namespace {

class StyleContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        undoManager = std::make_shared<KSUndoManager>();
        owner = std::make_shared<test::RecordingStyleOwner>();
        context =
            HLStyleContext::styleContextWithUndoManager(undoManager, owner.get(), "namedStyles");
        list = context->namedStyleList();
    }

    std::vector<std::string> names() const {
        std::vector<std::string> out;
        for (const auto& style : context->namedStyles())
            out.push_back(style->name());
        return out;
    }

    void endEvent() { KSRunLoop::current().runOnce(); }

    std::shared_ptr<KSUndoManager> undoManager;
    std::shared_ptr<test::RecordingStyleOwner> owner;
    std::shared_ptr<HLStyleContext> context;
    std::shared_ptr<HLNamedStyleList> list;
};

using Names = std::vector<std::string>;

TEST_F(StyleContextTest, NamedStylesKeepTheirOrder) {
    auto a = list->addNamedStyleIdentifierInsertAtIndex("A", "id-a", false, 0);
    list->addNamedStyleIdentifierInsertAtIndex("B", "id-b", false, 99);
    list->addNamedStyleIdentifierInsertAtIndex("C", "id-c", true, 0);
    list->addNamedStyleIdentifierInsertAtIndex("D", "", true, 99);  // clamped to the end
    EXPECT_EQ(names(), (Names{"C", "A", "B", "D"}));
    EXPECT_EQ(list->styleWithUniqueIdentifier("id-a"), a);
    EXPECT_EQ(list->namedStyleWithName("D")->uniqueIdentifier().size(), 36u);  // a UUID
    // An identifier already listed answers that style and adds nothing.
    EXPECT_EQ(list->addNamedStyleIdentifierInsertAtIndex("A again", "id-a", true, 0), a);
    EXPECT_EQ(list->countOfNamedStyles(), 4u);

    list->moveNamedStylesToIndex({list->namedStyleWithName("D"), a}, 0);
    EXPECT_EQ(names(), (Names{"D", "A", "C", "B"}));
    list->moveNamedStylesToIndex({a}, 3);
    EXPECT_EQ(names(), (Names{"D", "C", "B", "A"}));
    list->removeFromNamedStylesAtIndex(1);
    list->removeFromNamedStylesAtIndex(17);  // out of range: nothing
    EXPECT_EQ(names(), (Names{"D", "B", "A"}));
    EXPECT_EQ(list->indexOfNamedStyle(*a), 2);
}

TEST_F(StyleContextTest, ListChangesAreUndoableAndAnnouncedToTheOwner) {
    auto a = list->addNamedStyleIdentifierInsertAtIndex("A", "id-a", false, 0);
    endEvent();
    auto b = list->addNamedStyleIdentifierInsertAtIndex("B", "id-b", false, 0);
    endEvent();
    EXPECT_EQ(owner->namedStylesWillChange, 2);
    EXPECT_EQ(owner->namedStylesDidChange, 2);
    list->moveNamedStylesToIndex({b}, 0);
    endEvent();
    list->removeFromNamedStylesAtIndex(1);
    endEvent();
    EXPECT_EQ(names(), (Names{"B"}));

    undoManager->undo();
    EXPECT_EQ(names(), (Names{"B", "A"}));
    EXPECT_EQ(list->styleWithUniqueIdentifier("id-a"), a);  // the same style comes back
    undoManager->undo();
    EXPECT_EQ(names(), (Names{"A", "B"}));
    undoManager->redo();
    EXPECT_EQ(names(), (Names{"B", "A"}));
    EXPECT_EQ(owner->namedStylesWillChange, owner->namedStylesDidChange);
}

TEST_F(StyleContextTest, NamedStylesReportToTheContextOwnerAndRenameUndoably) {
    auto a = list->addNamedStyleIdentifierInsertAtIndex("Highlight", "id-a", false, 0);
    endEvent();
    EXPECT_EQ(a->owner(), owner.get());
    EXPECT_TRUE(a->isUndoEnabled());
    a->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    ASSERT_FALSE(owner->events.empty());
    EXPECT_EQ(owner->events.back().containerKey, "namedStyles");
    endEvent();
    a->setName("Review");
    EXPECT_EQ(a->selectionRelativeName(), "Review");
    endEvent();
    undoManager->undo();
    EXPECT_EQ(a->name(), "Highlight");
    undoManager->undo();
    EXPECT_FALSE(a->hasLocalValueForAttribute(HLBoldStyleAttribute));
}

TEST_F(StyleContextTest, ApplicationDefinedStylesComeFromTheSource) {
    struct Source : HLStyleContextSource {
        HLStyleList styles;
        std::size_t applicationDefinedStyleCountForStyleContext(HLStyleContext&) override {
            return styles.size();
        }
        std::shared_ptr<HLStyle> styleContextApplicationDefinedStyleAtIndex(
            HLStyleContext&, std::size_t i) override {
            return i < styles.size() ? styles[i] : styles.front();
        }
        bool styleContextShouldMaintainSyncState(HLStyleContext&) override { return false; }
    } source;
    auto base = HLStyle::styleWithContextCascadeStyles(context);
    auto notes = HLStyle::styleWithContextCascadeStyles(context, {base});
    source.styles = {base, notes};
    EXPECT_TRUE(context->applicationDefinedStyles().empty());
    context->setApplicationStyleSource(&source);
    EXPECT_EQ(context->applicationDefinedStyles(), (HLStyleList{base, notes}));
    EXPECT_TRUE(context->allowsUserEdits());
    EXPECT_FALSE(context->maintainsSyncState());
}

TEST_F(StyleContextTest, InvalidationDetachesUndoAndOwner) {
    auto a = list->addNamedStyleIdentifierInsertAtIndex("A", "id-a", false, 0);
    context->invalidate();
    EXPECT_TRUE(context->isInvalidated());
    EXPECT_EQ(context->undoManager(), nullptr);
    EXPECT_EQ(context->owner(), nullptr);
    endEvent();
    EXPECT_FALSE(undoManager->canUndo());
    list->removeFromNamedStylesAtIndex(0);  // still works, with no undo and no owner
    EXPECT_TRUE(context->namedStyles().empty());
    // Styles that outlive the context keep their values.
    auto style = HLStyle::styleWithContextCascadeStyles(context);
    style->addInheritedNamedStyle(a);
    a->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    context.reset();
    EXPECT_EQ(style->context(), nullptr);
    EXPECT_EQ(style->valueForAttribute(HLBoldStyleAttribute), KSValue(true));
}

// A change log carries the named styles as a dictionary of names by identifier with an
// "_order" list, and one property list per style; the receiving side rebuilds its list
// with the list operations. This drives that exchange between two contexts.
TEST_F(StyleContextTest, NamedStyleSnapshotAppliesToAnotherContextInOrder) {
    auto a = list->addNamedStyleIdentifierInsertAtIndex("Alpha", "id-a", false, 0);
    auto b = list->addNamedStyleIdentifierInsertAtIndex("Beta", "id-b", false, 0);
    auto c = list->addNamedStyleIdentifierInsertAtIndex("Gamma", "id-c", false, 0);
    b->setValueForAttribute(KSValue(true), HLItalicStyleAttribute);
    c->addInheritedNamedStyle(b);
    list->moveNamedStylesToIndex({c}, 0);

    KSDictionary props;
    KSArray order;
    KSDictionary stylePlists;
    for (const auto& style : context->namedStyles()) {
        props.setObjectForKey(style->uniqueIdentifier(), KSValue(style->name()));
        order.emplace_back(style->uniqueIdentifier());
        stylePlists.setObjectForKey(
            style->uniqueIdentifier(),
            style->newPropertyListRepresentationIncludingInheritedStyles(true));
    }
    props.setObjectForKey("_order", KSValue(order));

    // The other side has Beta under an old name, a style of its own, and Alpha missing.
    auto other = HLStyleContext::styleContextWithUndoManager(nullptr, nullptr, "namedStyles");
    auto otherList = other->namedStyleList();
    otherList->addNamedStyleIdentifierInsertAtIndex("Old Beta", "id-b", false, 0);
    otherList->addNamedStyleIdentifierInsertAtIndex("Local", "id-local", false, 0);

    std::vector<std::string> leftOver;
    for (const auto& style : other->namedStyles())
        leftOver.push_back(style->uniqueIdentifier());
    const KSArray& wanted = props.objectForKey("_order").asArray();
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        std::string id = wanted[i].asString();
        std::string name = props.objectForKey(id).asString();
        if (auto existing = otherList->styleWithUniqueIdentifier(id)) {
            existing->setName(name);
            otherList->moveNamedStylesToIndex({existing}, i);
            std::erase(leftOver, id);
        } else {
            otherList->addNamedStyleIdentifierInsertAtIndex(name, id, true, i);
        }
    }
    for (const auto& id : leftOver) {
        otherList->removeFromNamedStylesAtIndex(static_cast<std::size_t>(
            otherList->indexOfNamedStyle(*otherList->styleWithUniqueIdentifier(id))));
    }
    for (const auto& [id, plist] : stylePlists) {
        auto incoming = HLStyle::styleWithPropertyListRepresentation(plist, other, {}, false);
        ASSERT_TRUE(incoming);
        otherList->styleWithUniqueIdentifier(id)->setStyle(*incoming);
    }

    std::vector<std::string> otherNames;
    for (const auto& style : other->namedStyles())
        otherNames.push_back(style->name());
    EXPECT_EQ(otherNames, (Names{"Gamma", "Alpha", "Beta"}));
    auto otherGamma = otherList->styleWithUniqueIdentifier("id-c");
    ASSERT_EQ(otherGamma->inheritedNamedStyles().size(), 1u);
    EXPECT_EQ(otherGamma->inheritedNamedStyles().front(),
              otherList->styleWithUniqueIdentifier("id-b"));
    EXPECT_EQ(otherGamma->valueForAttribute(HLItalicStyleAttribute), KSValue(true));
    EXPECT_EQ(a->name(), "Alpha");
}

}  // namespace
}  // namespace kestrum
