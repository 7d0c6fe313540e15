// The document's styles: the project styles and their cascade, the styles listed to the
// style context, gantt colours with their fall-backs, and the styles of items and notes.
#include <gtest/gtest.h>

#include "Model/changes/KSDifferenceEngine.h"
#include "Platform/color/LRColor.h"
#include "Platform/difference/TMDifferenceEngine.h"
#include "Platform/styles/HLStyle.h"
#include "Platform/styles/HLStyleAttributeRegistry.h"
#include "Platform/styles/HLStyleContext.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

using StylesTest = ProjectTest;

std::shared_ptr<LRColor> rgba(double r, double g, double b, double a) {
    return LRColor::colorWithRedGreenBlueAlpha(r, g, b, a);
}

TEST_F(StylesTest, ProjectStylesAreMadeOnceWithTheirCascadeNameAndOwner) {
    auto base = project->baseStyle();
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(project->baseStyle(), base);
    EXPECT_TRUE(base->cascadeStyles().empty());
    EXPECT_EQ(base->selectionRelativeName(), "Whole Document");
    EXPECT_EQ(base->owner(), static_cast<HLStyleOwner*>(project.get()));
    EXPECT_EQ(base->containerKey(), "baseStyle");
    EXPECT_TRUE(base->isUndoEnabled());

    auto overdue = project->overdueTaskStyle();
    ASSERT_EQ(overdue->cascadeStyles().size(), 1u);
    EXPECT_EQ(overdue->cascadeStyles()[0], project->standardTaskStyle());
    EXPECT_EQ(project->completedTaskStyle()->cascadeStyles()[0], project->standardTaskStyle());
    EXPECT_EQ(project->standardTaskStyle()->cascadeStyles()[0], base);
    EXPECT_EQ(project->notEditableStyle()->cascadeStyles()[0], base);
    EXPECT_EQ(project->milestoneTaskStyle()->selectionRelativeName(), "Milestones");
    EXPECT_EQ(project->styleForKey("noteStyle"), project->noteStyle());
    EXPECT_EQ(project->styleForKey("nonsense"), nullptr);
}

TEST_F(StylesTest, AStyleIsLookedUpThroughItsCascade) {
    project->baseStyle()->setValueForAttribute(KSValue(14.0), HLFontSizeStyleAttribute);
    project->standardTaskStyle()->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    auto overdue = project->overdueTaskStyle();
    EXPECT_EQ(overdue->valueForAttribute(HLFontSizeStyleAttribute), KSValue(14.0));  // base
    EXPECT_EQ(overdue->valueForAttribute(HLBoldStyleAttribute), KSValue(true));      // standard
    EXPECT_EQ(overdue->valueForAttribute(HLItalicStyleAttribute), KSValue(false));   // default
    overdue->setValueForAttribute(KSValue(10.0), HLFontSizeStyleAttribute);
    EXPECT_EQ(overdue->valueForAttribute(HLFontSizeStyleAttribute), KSValue(10.0));
    EXPECT_EQ(project->completedTaskStyle()->valueForAttribute(HLFontSizeStyleAttribute),
              KSValue(14.0));
}

TEST_F(StylesTest, ChangingAProjectStyleIsAnUndoableTrackedChange) {
    auto* engine = scenario->metadataDifferenceEngine();
    engine->discardChanges();
    project->resourceStyle()->setValueForAttribute(KSValue(true), HLItalicStyleAttribute);
    EXPECT_TRUE(engine->hasCurrentDifferencesForId(1));
    drain();
    undo().undo();
    EXPECT_FALSE(project->resourceStyle()->hasLocalValueForAttribute(HLItalicStyleAttribute));
}

TEST_F(StylesTest, TheContextSeesNineApplicationStylesInTheirOrder) {
    auto& context = *project->styleContext();
    EXPECT_EQ(project->applicationDefinedStyleCountForStyleContext(context), 9u);
    HLStyleList listed = context.applicationDefinedStyles();
    HLStyleList expected = {
        project->baseStyle(),         project->columnTitleStyle(),   project->noteStyle(),
        project->standardTaskStyle(), project->completedTaskStyle(), project->overdueTaskStyle(),
        project->groupTaskStyle(),    project->milestoneTaskStyle(), project->resourceStyle()};
    EXPECT_EQ(listed, expected);
    EXPECT_EQ(project->styleContextApplicationDefinedStyleAtIndex(context, 9),
              project->baseStyle());
    EXPECT_TRUE(context.allowsUserEdits());
    EXPECT_FALSE(context.maintainsSyncState());
    EXPECT_EQ(context.owner(), project.get());
    EXPECT_EQ(context.containerKey(), "namedStyles");
}

TEST_F(StylesTest, GanttColoursAreRegisteredWithTheirDefaultsAndGroups) {
    auto& registry = HLStyleAttributeRegistry::sharedRegistry();
    auto keys = registry.attributeKeysInGroup("gantt colors");
    EXPECT_EQ(keys.size(), 10u);
    const auto* fill = registry.attributeForKey(KSGanttFillColorStyleAttribute);
    ASSERT_NE(fill, nullptr);
    EXPECT_EQ(fill->displayName, "base color");
    EXPECT_TRUE(
        LRColorsEqual(fill->defaultValue.asObjectOfType<LRColor>(), rgba(0.45, 0.615, 0.9, 1.0)));
}

TEST_F(StylesTest, GanttGettersFallBackOnNullOrClear) {
    EXPECT_TRUE(LRColorsEqual(project->ganttViewBackgroundColor(), LRColor::whiteColor()));
    EXPECT_TRUE(project->ganttViewAlternateColor()->isClear());
    // The registered default answers first; only a clear colour falls back on white 0.9.
    EXPECT_TRUE(
        LRColorsEqual(project->ganttViewTimeOffColor(), LRColor::colorWithWhiteAlpha(0.85, 1.0)));
    project->setGanttViewTimeOffColor(LRColor::clearColor());
    EXPECT_TRUE(
        LRColorsEqual(project->ganttViewTimeOffColor(), LRColor::colorWithWhiteAlpha(0.9, 1.0)));
    project->setGanttViewCriticalBarColor(LRColor::clearColor());
    EXPECT_TRUE(LRColorsEqual(project->ganttViewCriticalBarColor(), rgba(1.0, 0.8, 0.6, 1.0)));
    project->setGanttViewAlternateColor(LRColor::clearColor());
    EXPECT_TRUE(project->ganttViewAlternateColor()->isClear());
    EXPECT_TRUE(LRColorsEqual(project->ganttViewSeparatorColor(), rgba(0.81, 0.81, 0.81, 1.0)));
}

TEST_F(StylesTest, GanttSettersAreUndoableWithTheirActionNames) {
    ChangeCounter changes(scenario.get());
    project->setGanttViewTodayBackgroundColor(LRColor::redColor());
    EXPECT_EQ(undo().undoActionName(), "Gantt Today Background Color");
    EXPECT_TRUE(LRColorsEqual(project->ganttViewTodayBackgroundColor(), LRColor::redColor()));
    drain();
    EXPECT_EQ(changes.count, 1);
    project->setGanttViewResourceDependencyLineColor(LRColor::blueColor());
    EXPECT_EQ(undo().undoActionName(), "Task Dependency Line Color");
    drain();
    undo().undo();
    undo().undo();
    EXPECT_TRUE(
        LRColorsEqual(project->ganttViewTodayBackgroundColor(), rgba(0.83, 0.9, 0.98, 0.5)));
    EXPECT_FALSE(project->baseStyle()->hasLocalValueForAttribute(
        KSGanttResourceDependencyLineColorStyleAttribute));
    EXPECT_FALSE(undo().canUndo());  // one undo step per setter, none from the style
}

TEST_F(StylesTest, AnItemStyleCascadesFromTheBaseAndIsOwnedUnderStyle) {
    auto task = add<RecordingTask>("Survey");
    auto style = task->style();
    ASSERT_NE(style, nullptr);
    EXPECT_EQ(task->style(), style);
    // A plain task cascades from the standard task style, which itself cascades from the base.
    EXPECT_EQ(style->cascadeStyles(), HLStyleList{project->standardTaskStyle()});
    EXPECT_EQ(style->owner(), static_cast<HLStyleOwner*>(task.get()));
    EXPECT_EQ(style->containerKey(), "style");
    EXPECT_EQ(style->selectionRelativeName(), "Survey");
    project->baseStyle()->setValueForAttribute(KSValue(LRColor::redColor()),
                                               HLTextColorStyleAttribute);
    EXPECT_TRUE(
        LRColorsEqual(style->colorForAttribute(HLTextColorStyleAttribute), LRColor::redColor()));
    task->setTitle(std::string("Site survey"));
    EXPECT_EQ(style->selectionRelativeName(), "Site survey");
    EXPECT_EQ(std::make_shared<KSTask>()->style(), nullptr);  // no project, no style
}

TEST_F(StylesTest, TheRootStyleIndentsChildrenAndHasNoOwner) {
    auto style = root().style();
    ASSERT_NE(style, nullptr);
    EXPECT_EQ(style->owner(), nullptr);
    EXPECT_FALSE(style->isUndoEnabled());
    EXPECT_EQ(style->valueForAttribute(TWItemChildIndentationStyleAttribute), KSValue(5.0));
    ASSERT_EQ(style->cascadeStyles().size(), 2u);
    EXPECT_EQ(style->cascadeStyles()[0], project->baseStyle());
}

TEST_F(StylesTest, StyleDictRoundTripsAndIsAnUndoableChangeOfTheItem) {
    auto task = add<RecordingTask>("Survey");
    drain();
    EXPECT_TRUE(task->styleDict().isNull());
    task->style()->setValueForAttribute(KSValue(true), HLBoldStyleAttribute);
    KSValue dict = task->styleDict();
    ASSERT_TRUE(dict.isDictionary());
    drain();

    auto other = add<RecordingTask>("Audit");
    other->setStyleDict(dict);
    EXPECT_EQ(other->style()->localValueForAttribute(HLBoldStyleAttribute), KSValue(true));
    EXPECT_EQ(other->valueForKey("styleDict"), dict);
    drain();
    other->setStyleDict(KSValue());
    EXPECT_TRUE(other->styleDict().isNull());
    drain();
    undo().undo();
    EXPECT_EQ(other->style()->localValueForAttribute(HLBoldStyleAttribute), KSValue(true));
    other->setStyleDict(KSValue("not a style"));  // unreadable: left as it is
    EXPECT_EQ(other->styleDict(), dict);
}

TEST_F(StylesTest, ItemStyleChangesReachTheTaskEngine) {
    auto task = add<RecordingTask>("Survey");
    drain();
    scenario->taskDifferenceEngine()->discardChanges();
    task->style()->setValueForAttribute(KSValue(true), HLItalicStyleAttribute);
    EXPECT_TRUE(scenario->taskDifferenceEngine()->hasCurrentDifferencesForId(task->objectId()));
}

TEST_F(StylesTest, NotesAreMadeUnderTheProjectsNoteStyle) {
    auto task = add<RecordingTask>("Survey");
    auto note = task->notes();
    ASSERT_NE(note, nullptr);
    EXPECT_EQ(note->baseStyle(), project->noteStyle());
}

}  // namespace
}  // namespace kestrum::test
