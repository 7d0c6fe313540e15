// Keyed access fallbacks, user data, notes and the change hooks of the object base.
#include <gtest/gtest.h>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSAttachment.h"
#include "Platform/core/KSUserDefaults.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

// Counts the notices sent for each key it observes.
struct KeyCounter : KSBaseObject {
    void observeValueForKeyPathOfObjectChangeContext(std::string_view key, KSBaseObject*,
                                                     const KSKeyValueChange& change,
                                                     const void*) override {
        notices.push_back(std::string(change.isPrior ? "will:" : "did:") + std::string(key));
    }
    std::vector<std::string> notices;
};

class ObjectTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        project->setTaskUserDataKeys({"Owner", "Code"});
        task = add<RecordingTask>("T");
        drain();
        // Joining the plan is itself recorded; each test starts from a clean change set.
        scenario->taskDifferenceEngine()->discardChanges();
    }
    // What the task engine was told about `task` since the last discard.
    std::vector<TMDifferenceEngine::EventKind> engineEvents() {
        std::vector<TMDifferenceEngine::EventKind> kinds;
        for (const auto& e : scenario->taskDifferenceEngine()->currentEvents()) {
            if (e.object.lock() == task) kinds.push_back(e.kind);
        }
        return kinds;
    }
    std::shared_ptr<RecordingTask> task;
};

using Kind = TMDifferenceEngine::EventKind;

TEST_F(ObjectTest, UserDataForAMissingKeyIsEmptyNotNull) {
    EXPECT_EQ(task->userDataForKey("Owner"), "");
    EXPECT_EQ(task->valueForKey("Owner"), KSValue(""));
    EXPECT_FALSE(task->userData().has_value());
}

TEST_F(ObjectTest, SettingUserDataIsUndoableAndNotifies) {
    KeyCounter counter;
    task->addObserverForKeyPathOptionsContext(&counter, "Owner", KSKeyValueObservingOptionPrior,
                                              nullptr);
    task->setUserDataForKey("ann", "Owner");
    EXPECT_EQ(task->userDataForKey("Owner"), "ann");
    EXPECT_EQ(undo().undoActionName(), "Set User Data");
    EXPECT_EQ(counter.notices, (std::vector<std::string>{"will:Owner", "did:Owner"}));
    // "userData" itself is not tracked; the user-data key is.
    EXPECT_EQ(engineEvents(), (std::vector<Kind>{Kind::WillChange, Kind::DidChange}));
    drain();
    undo().undo();
    EXPECT_EQ(task->userDataForKey("Owner"), "");
    undo().redo();
    EXPECT_EQ(task->userDataForKey("Owner"), "ann");
    task->removeObserver(&counter);
}

TEST_F(ObjectTest, NullOnAMissingKeyRecordsNothingButEmptyStringDoes) {
    std::size_t before = undo().undoCount();
    task->setUserDataForKey(std::nullopt, "Owner");
    EXPECT_EQ(undo().groupingLevel(), 0);
    EXPECT_TRUE(engineEvents().empty());
    task->setUserDataForKey(std::string(), "Owner");
    EXPECT_EQ(undo().groupingLevel(), 1);
    EXPECT_FALSE(engineEvents().empty());
    ASSERT_TRUE(task->userData().has_value());
    EXPECT_TRUE(task->userData()->empty());
    drain();
    EXPECT_EQ(undo().undoCount(), before + 1);
}

TEST_F(ObjectTest, KeyedAccessFallsBackOnUserDataAndNotes) {
    task->setValueForKey(KSValue("B-7"), "Code");
    EXPECT_EQ(task->userDataForKey("Code"), "B-7");
    task->setValueForKey(KSValue(42), "Code");  // user data takes strings only
    EXPECT_EQ(task->userDataForKey("Code"), "B-7");
    EXPECT_TRUE(task->valueForKey("NoSuchKey").isNull());
    EXPECT_TRUE(task->valueForUndefinedKey("").isNull());
    task->setValueForKey(KSValue(7), "NoSuchKey");  // wrong class: dropped in silence
    EXPECT_THROW(task->setValueForKey(KSValue("x"), "NoSuchKey"), KSUndefinedKeyException);

    task->setValueForKey(KSValue("plain"), "NoteContents");  // needs rich text: dropped
    task->setValueForKey(KSValue("plain"), "Notes");         // a number column: dropped
    EXPECT_FALSE(task->hasNote());
    task->setValueForKey(KSValue("via hasNote"), "hasNote");
    EXPECT_EQ(task->valueForKey("Notes"), KSValue("via hasNote"));
    task->setValueForKey(KSValue(std::make_shared<TWTextStorage>("rich")), "NoteContents");
    EXPECT_EQ(task->valueForKey("NoteContents"), KSValue("rich"));
}

TEST_F(ObjectTest, WholeUserDataReplacementIsUndoableWithoutNotices) {
    KeyCounter counter;
    task->addObserverForKeyPathOptionsContext(&counter, "userData", 0, nullptr);
    task->setUserData(KSDictionary{{"Owner", KSValue("bo")}});
    EXPECT_TRUE(counter.notices.empty());
    EXPECT_EQ(task->userDataForKey("Owner"), "bo");
    drain();
    undo().undo();
    EXPECT_FALSE(task->userData().has_value());
    task->removeObserver(&counter);
}

TEST_F(ObjectTest, NotesAreUndoableAndAnEmptyNoteGoesAway) {
    task->setNotes(KSValue("first"));
    ASSERT_NE(task->notes(), nullptr);
    EXPECT_EQ(task->notes()->string(), "first");
    EXPECT_EQ(task->notes()->delegate(), task.get());
    EXPECT_EQ(undo().undoActionName(), "Set Note");
    EXPECT_NE(task->notesAllowingNil(), nullptr);
    drain();
    task->setNotes(KSValue(""));
    EXPECT_FALSE(task->hasNote());
    EXPECT_EQ(task->notesAllowingNil(), nullptr);
    auto fresh = task->notes();
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->length(), 0u);
    drain();
    undo().undo();
    EXPECT_EQ(task->noteString(), "first");
    undo().undo();
    EXPECT_FALSE(task->hasNote());
}

TEST_F(ObjectTest, ANoteSetOutsideAProjectIsConvertedOnJoining) {
    auto loose = std::make_shared<RecordingTask>();
    loose->setNotes(KSValue("draft"));
    EXPECT_TRUE(loose->hasNote());
    EXPECT_EQ(loose->notes(), nullptr);
    EXPECT_EQ(undo().groupingLevel(), 0);
    root().insertObjectInChildrenAtIndex(loose, 0);
    ASSERT_NE(loose->notes(), nullptr);
    EXPECT_EQ(loose->notes()->string(), "draft");
    EXPECT_EQ(loose->notes()->delegate(), loose.get());
}

TEST_F(ObjectTest, EditingANoteBracketsTheEditWithNoticesAndTracking) {
    task->setNotes(KSValue("abc"));
    drain();
    scenario->taskDifferenceEngine()->discardChanges();
    KeyCounter counter;
    task->addObserverForKeyPathOptionsContext(&counter, "NoteContents",
                                              KSKeyValueObservingOptionPrior, nullptr);
    task->notes()->replaceCharactersInRangeWithString({3, 0}, "def");
    EXPECT_EQ(task->noteString(), "abcdef");
    EXPECT_EQ(counter.notices, (std::vector<std::string>{"will:NoteContents", "did:NoteContents"}));
    EXPECT_FALSE(engineEvents().empty());
    EXPECT_TRUE(task->hasTrackedChanges());
    task->removeObserver(&counter);
}

TEST_F(ObjectTest, OnlyTrackedKeysReachTheEngine) {
    scenario->taskDifferenceEngine()->discardChanges();
    task->willChangeValueForKey("somethingUntracked");
    task->didChangeValueForKey("somethingUntracked");
    EXPECT_TRUE(engineEvents().empty());
    EXPECT_FALSE(task->hasTrackedChanges());
    task->setIsGroup(true);
    EXPECT_EQ(engineEvents(), (std::vector<Kind>{Kind::WillChange, Kind::DidChange}));
    KSKeySet keys = task->changeTrackedKeysSet();
    for (const char* key : {"isGroup", "notesAllowingNil", "styleDict", "attachmentDict",
                            "childrenSet", "hasNote", "NoteContents", "attachments"}) {
        EXPECT_TRUE(keys.count(key)) << key;
    }
}

TEST_F(ObjectTest, AttachmentsAreUndoableAndArchive) {
    document.file = "/plans/demo/plan.kestrum";
    auto attachment =
        KSAttachment::attachmentWithArchive(KSDictionary{{"externalPath", KSValue("docs/a.pdf")}});
    task->addAttachment(attachment);
    EXPECT_EQ(attachment->attachee(), task.get());
    EXPECT_EQ(undo().undoActionName(), "Add Attachment");
    KSValue dict = task->attachmentDict();
    ASSERT_TRUE(dict.isDictionary());
    EXPECT_EQ(dict.asDictionary().objectForKey("a").asArray().size(), 1u);
    drain();
    undo().undo();
    EXPECT_TRUE(task->attachments().empty());
    EXPECT_TRUE(task->attachmentDict().isNull());
    undo().redo();
    ASSERT_EQ(task->attachments().size(), 1u);

    auto other = std::make_shared<RecordingTask>();
    root().insertObjectInChildrenAtIndex(other, 0);
    other->setAttachmentDict(dict);
    ASSERT_EQ(other->attachments().size(), 1u);
    EXPECT_EQ(other->attachments()[0]->externalPath(), "docs/a.pdf");
    task->gibberize();
    EXPECT_TRUE(task->attachments().empty());
}

TEST_F(ObjectTest, ClassDefaultsAndMarkers) {
    EXPECT_FALSE(
        KSUserDefaults::standardUserDefaults().stringForKey("KSLastAttachmentDirectory").empty());
    auto plain = std::make_shared<KSObject>();
    EXPECT_EQ(plain->idPrefix(), "BAD-KSObject");
    EXPECT_EQ(plain->xmlElementName(), "BAD-KSObject");
    EXPECT_EQ(plain->attachmentSubdirectoryName(), "unknown");
    EXPECT_FALSE(plain->objectDescription().has_value());
    EXPECT_EQ(task->idPrefix(), "t");
    EXPECT_EQ(scenario->attachmentSubdirectoryName(), "plan");
}

TEST(ObjectDeathTest, ATypeWordIsRequiredOfEverySubclass) {
    auto plain = std::make_shared<KSObject>();
    EXPECT_DEATH(plain->subclassLocalizedTypeForUndo(), "must override");
}

TEST(GibberizeTest, KeepsShapeAndHidesText) {
    EXPECT_EQ(KSObject::gibberizedString("Hello, World 2026!"), "Xxxxx, Xxxxx xxxx!");
    EXPECT_EQ(KSObject::gibberizedString("Ärger über\tÖl."), "Xxxxx xxxx\tXx.");
    EXPECT_EQ(KSObject::gibberizedString(""), "");
}

}  // namespace
}  // namespace kestrum::test
