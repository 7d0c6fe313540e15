// KSUndoManager: grouping by event and explicit nesting, action names, the group
// notifications (also while undoing and redoing), registration switch and target removal.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {
namespace {

// A document value with an undoable setter in the model's order: return if unchanged,
// record the reverse call, name the action, store. Like a model object it reaches the
// document's undo manager without owning it (the recorded calls own the cell).
class KSTestCell : public KSBaseObject {
public:
    KSTestCell(KSUndoManager* undoManager, std::vector<std::string>* journal)
        : undoManager_(undoManager), journal_(journal) {}

    int value() const { return value_; }
    void setValue(int value) {
        if (value == value_) return;
        int old = value_;
        undoManager_->registerUndoWithTarget(sharedFromThis<KSTestCell>(),
                                             [old](KSTestCell& cell) { cell.setValue(old); });
        undoManager_->setActionName("Set Value");
        if (journal_) journal_->push_back("set " + std::to_string(value));
        value_ = value;
    }

private:
    KSUndoManager* undoManager_;
    std::vector<std::string>* journal_;
    int value_ = 0;
};

class KSUndoManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        // Drain what earlier tests may have left on this thread's loop.
        KSRunLoop::current().runUntilIdle();
        for (KSNotificationName name :
             {KSUndoManagerDidOpenUndoGroupNotification,
              KSUndoManagerWillCloseUndoGroupNotification, KSUndoManagerWillUndoChangeNotification,
              KSUndoManagerDidUndoChangeNotification, KSUndoManagerWillRedoChangeNotification,
              KSUndoManagerDidRedoChangeNotification}) {
            KSNotificationCenter::defaultCenter().addObserver(
                this, name, undo.get(), [this](const KSNotification& n) { record(n.name.str()); });
        }
    }
    void TearDown() override { KSNotificationCenter::defaultCenter().removeObserver(this); }

    void record(const std::string& name) {
        std::string shortName = name.substr(std::string("KSUndoManager").size());
        shortName.resize(shortName.size() - std::string("Notification").size());
        if (undo->isUndoing()) shortName += "(undoing)";
        if (undo->isRedoing()) shortName += "(redoing)";
        events.push_back(shortName);
    }
    std::shared_ptr<KSTestCell> makeCell() {
        return std::make_shared<KSTestCell>(undo.get(), &journal);
    }
    void endPass() { KSRunLoop::current().runOnce(); }

    std::shared_ptr<KSUndoManager> undo = std::make_shared<KSUndoManager>();
    std::vector<std::string> events;
    std::vector<std::string> journal;
};

TEST_F(KSUndoManagerTest, RegistrationsOfOnePassFormOneGroupClosedAtTheEndOfThePass) {
    auto cell = makeCell();
    cell->setValue(1);
    EXPECT_EQ(undo->groupingLevel(), 1);
    cell->setValue(2);
    EXPECT_EQ(events, (std::vector<std::string>{"DidOpenUndoGroup"}));
    endPass();
    EXPECT_EQ(undo->groupingLevel(), 0);
    EXPECT_EQ(events, (std::vector<std::string>{"DidOpenUndoGroup", "WillCloseUndoGroup"}));
    EXPECT_EQ(undo->undoCount(), 1u);
    EXPECT_EQ(undo->undoActionName(), "Set Value");

    undo->undo();
    EXPECT_EQ(cell->value(), 0);
    EXPECT_EQ(journal, (std::vector<std::string>{"set 1", "set 2", "set 1", "set 0"}));
    EXPECT_TRUE(undo->canRedo());
    EXPECT_FALSE(undo->canUndo());
    undo->redo();
    EXPECT_EQ(cell->value(), 2);
    EXPECT_TRUE(undo->canUndo());
    EXPECT_FALSE(undo->canRedo());
}

TEST_F(KSUndoManagerTest, EachPassIsItsOwnUndoStep) {
    auto cell = makeCell();
    cell->setValue(1);
    endPass();
    cell->setValue(2);
    endPass();
    cell->setValue(3);
    endPass();
    EXPECT_EQ(undo->undoCount(), 3u);
    undo->undo();
    EXPECT_EQ(cell->value(), 2);
    undo->undo();
    EXPECT_EQ(cell->value(), 1);
    undo->redo();
    EXPECT_EQ(cell->value(), 2);
    undo->undo();
    undo->undo();
    EXPECT_EQ(cell->value(), 0);
    EXPECT_FALSE(undo->canUndo());
    undo->undo();  // nothing left: no effect
    EXPECT_EQ(cell->value(), 0);
    EXPECT_EQ(undo->redoCount(), 3u);
}

TEST_F(KSUndoManagerTest, UndoClosesTheOpenEventGroupFirst) {
    auto cell = makeCell();
    cell->setValue(5);
    EXPECT_TRUE(undo->canUndo());
    EXPECT_EQ(undo->undoActionName(), "Set Value");
    undo->undo();
    EXPECT_EQ(cell->value(), 0);
    EXPECT_EQ(undo->groupingLevel(), 0);
}

TEST_F(KSUndoManagerTest, NestedGroupsUndoAsOneStepInReverseOrder) {
    std::vector<std::string> calls;
    auto target = std::make_shared<int>(0);
    auto note = [&](const char* text) {
        undo->registerUndoWithTarget(target, [&calls, text](int&) { calls.push_back(text); });
    };
    undo->beginUndoGrouping();
    note("first");
    undo->beginUndoGrouping();
    EXPECT_EQ(undo->groupingLevel(), 2);
    note("inner 1");
    note("inner 2");
    undo->setActionName("Move Tasks");
    undo->endUndoGrouping();
    note("last");
    undo->beginUndoGrouping();  // an empty nested group leaves no trace
    undo->endUndoGrouping();
    undo->endUndoGrouping();
    EXPECT_EQ(undo->groupingLevel(), 0);
    EXPECT_EQ(undo->undoCount(), 1u);
    EXPECT_EQ(undo->undoActionName(), "Move Tasks");
    EXPECT_EQ(events, (std::vector<std::string>{"DidOpenUndoGroup", "DidOpenUndoGroup",
                                                "WillCloseUndoGroup", "DidOpenUndoGroup",
                                                "WillCloseUndoGroup", "WillCloseUndoGroup"}));
    undo->undo();
    EXPECT_EQ(calls, (std::vector<std::string>{"last", "inner 2", "inner 1", "first"}));
}

TEST_F(KSUndoManagerTest, UndoAndRedoPostTheGroupNotificationsWhileUndoingAndRedoing) {
    auto cell = makeCell();
    cell->setValue(1);
    endPass();
    events.clear();
    undo->undo();
    EXPECT_EQ(events, (std::vector<std::string>{"WillUndoChange", "DidOpenUndoGroup(undoing)",
                                                "WillCloseUndoGroup(undoing)", "DidUndoChange"}));
    events.clear();
    undo->redo();
    EXPECT_EQ(events, (std::vector<std::string>{"WillRedoChange", "DidOpenUndoGroup(redoing)",
                                                "WillCloseUndoGroup(redoing)", "DidRedoChange"}));
    EXPECT_FALSE(undo->isUndoingOrRedoing());
}

TEST_F(KSUndoManagerTest, ActionNamesFollowTheGroupsAcrossUndoAndRedo) {
    auto cell = makeCell();
    cell->setValue(1);
    undo->setActionName("Set Effort");
    endPass();
    cell->setValue(2);
    undo->setActionName("Set Title");
    endPass();
    EXPECT_EQ(undo->undoActionName(), "Set Title");
    EXPECT_EQ(undo->redoActionName(), "");
    undo->undo();
    EXPECT_EQ(undo->undoActionName(), "Set Effort");
    EXPECT_EQ(undo->redoActionName(), "Set Title");
    undo->undo();
    EXPECT_EQ(undo->undoActionName(), "");
    EXPECT_EQ(undo->redoActionName(), "Set Effort");
    undo->redo();
    EXPECT_EQ(undo->undoActionName(), "Set Effort");
    EXPECT_EQ(undo->redoActionName(), "Set Title");
    // Outside any group the name goes to the last group on the stack.
    undo->setActionName("Renamed");
    EXPECT_EQ(undo->undoActionName(), "Renamed");
    EXPECT_EQ(undo->valueForKey("undoActionName"), KSValue("Renamed"));
}

// The bracket protocol of a document's edit cycle: a call recorded when a group opens and
// one recorded when it closes frame the group's own calls in both directions.
TEST_F(KSUndoManagerTest, CallsRecordedAtGroupOpenAndCloseBracketTheGroupOnUndoAndRedo) {
    std::vector<std::string> trace;
    auto scenario = std::make_shared<int>(0);
    std::function<void()> didOpenWithTasks;
    std::function<void()> willCloseWithTasks;
    didOpenWithTasks = [&] {
        trace.push_back(std::string("didOpen") + (undo->isUndoingOrRedoing() ? "*" : ""));
        undo->registerUndoWithTarget(scenario, [&](int&) { willCloseWithTasks(); });
    };
    willCloseWithTasks = [&] {
        trace.push_back(std::string("willClose") + (undo->isUndoingOrRedoing() ? "*" : ""));
        undo->registerUndoWithTarget(scenario, [&](int&) { didOpenWithTasks(); });
    };
    auto& center = KSNotificationCenter::defaultCenter();
    bool groupHasSet = false;
    center.addObserver(this, KSUndoManagerDidOpenUndoGroupNotification, undo.get(),
                       [&](const KSNotification&) {
                           if (groupHasSet || undo->isUndoingOrRedoing()) return;
                           groupHasSet = true;
                           didOpenWithTasks();
                       });
    center.addObserver(
        this, KSUndoManagerWillCloseUndoGroupNotification, undo.get(), [&](const KSNotification&) {
            trace.push_back(std::string("recompute") + (undo->isUndoingOrRedoing() ? "*" : ""));
            if (!groupHasSet || undo->isUndoingOrRedoing()) return;
            willCloseWithTasks();
            groupHasSet = false;
        });
    auto cell = std::make_shared<KSTestCell>(undo.get(), &trace);
    cell->setValue(7);
    endPass();
    EXPECT_EQ(trace, (std::vector<std::string>{"didOpen", "set 7", "recompute", "willClose"}));
    EXPECT_EQ(undo->undoCount(), 1u);

    trace.clear();
    undo->undo();
    EXPECT_EQ(cell->value(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"didOpen*", "set 0", "willClose*", "recompute*"}));
    trace.clear();
    undo->redo();
    EXPECT_EQ(cell->value(), 7);
    EXPECT_EQ(trace, (std::vector<std::string>{"didOpen*", "set 7", "willClose*", "recompute*"}));
    trace.clear();
    undo->undo();
    EXPECT_EQ(cell->value(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"didOpen*", "set 0", "willClose*", "recompute*"}));
}

TEST_F(KSUndoManagerTest, RecordedCallsKnowWhetherTheyRunForUndoOrRedo) {
    auto target = std::make_shared<int>(0);
    std::vector<std::string> states;
    std::function<void(int&)> flip = [&](int&) {
        states.push_back(undo->isUndoing() ? "undoing" : undo->isRedoing() ? "redoing" : "idle");
        undo->registerUndoWithTarget(target, flip);
    };
    undo->registerUndoWithTarget(target, flip);
    endPass();
    undo->undo();
    undo->redo();
    undo->undo();
    EXPECT_EQ(states, (std::vector<std::string>{"undoing", "redoing", "undoing"}));
}

TEST_F(KSUndoManagerTest, ANewChangeClearsTheRedoStackButRedoingDoesNot) {
    auto cell = makeCell();
    cell->setValue(1);
    endPass();
    cell->setValue(2);
    endPass();
    undo->undo();
    undo->undo();
    EXPECT_EQ(undo->redoCount(), 2u);
    undo->redo();
    EXPECT_EQ(undo->redoCount(), 1u);
    EXPECT_EQ(undo->undoCount(), 1u);
    cell->setValue(9);
    EXPECT_FALSE(undo->canRedo());
    endPass();
    undo->redo();  // nothing to redo
    EXPECT_EQ(cell->value(), 9);
}

TEST_F(KSUndoManagerTest, RegistrationSwitchIsACounter) {
    auto cell = makeCell();
    undo->disableUndoRegistration();
    undo->disableUndoRegistration();
    cell->setValue(1);
    undo->enableUndoRegistration();
    EXPECT_FALSE(undo->isUndoRegistrationEnabled());
    cell->setValue(2);
    undo->enableUndoRegistration();
    EXPECT_TRUE(undo->isUndoRegistrationEnabled());
    endPass();
    EXPECT_FALSE(undo->canUndo());
    EXPECT_TRUE(events.empty());
    cell->setValue(3);
    endPass();
    undo->undo();
    EXPECT_EQ(cell->value(), 2);

    KSLogCapture log;
    undo->enableUndoRegistration();  // unbalanced: logged, the counter stays at zero
    EXPECT_TRUE(log.contains("enableUndoRegistration without a matching disable"));
    undo->disableUndoRegistration();
    EXPECT_FALSE(undo->isUndoRegistrationEnabled());
    undo->enableUndoRegistration();
}

TEST_F(KSUndoManagerTest, RecordedCallsKeepTheirTargetAlive) {
    std::weak_ptr<KSTestCell> weak;
    {
        auto cell = makeCell();
        weak = cell;
        cell->setValue(4);
        endPass();
    }
    ASSERT_FALSE(weak.expired());  // a deleted object can come back on undo
    undo->undo();
    ASSERT_FALSE(weak.expired());  // now the redo keeps it
    EXPECT_EQ(weak.lock()->value(), 0);
    undo->removeAllActions();
    EXPECT_TRUE(weak.expired());
}

TEST_F(KSUndoManagerTest, RemoveAllActionsWithTargetDropsOnlyThatTargetsCalls) {
    auto a = makeCell();
    auto b = makeCell();
    std::weak_ptr<KSTestCell> weakA = a;
    a->setValue(1);
    b->setValue(1);
    endPass();
    a->setValue(2);
    endPass();
    b->setValue(2);
    undo->beginUndoGrouping();
    a->setValue(3);
    undo->endUndoGrouping();
    endPass();
    undo->undo();  // b back to 1, a back to 2; redo holds both
    EXPECT_EQ(a->value(), 2);
    undo->removeAllActionsWithTarget(a.get());
    a.reset();
    EXPECT_TRUE(weakA.expired());
    // The group that only held a's call is gone; the mixed group keeps b's.
    EXPECT_EQ(undo->undoCount(), 1u);
    undo->undo();
    EXPECT_EQ(b->value(), 0);
    EXPECT_FALSE(undo->canUndo());
    undo->redo();
    EXPECT_EQ(b->value(), 1);
    undo->redo();
    EXPECT_EQ(b->value(), 2);
}

TEST_F(KSUndoManagerTest, EmptyGroupsAreDropped) {
    undo->beginUndoGrouping();
    undo->endUndoGrouping();
    EXPECT_FALSE(undo->canUndo());
    EXPECT_EQ(undo->undoCount(), 0u);
    // An undo that records nothing leaves nothing to redo.
    auto target = std::make_shared<int>(0);
    undo->registerUndoWithTarget(target, [](int& v) { ++v; });
    endPass();
    undo->undo();
    EXPECT_EQ(*target, 1);
    EXPECT_FALSE(undo->canRedo());
}

TEST_F(KSUndoManagerTest, LevelsOfUndoKeepsTheNewestGroups) {
    auto cell = makeCell();
    undo->setLevelsOfUndo(2);
    for (int v = 1; v <= 4; ++v) {
        cell->setValue(v);
        endPass();
    }
    EXPECT_EQ(undo->undoCount(), 2u);
    undo->undo();
    undo->undo();
    EXPECT_EQ(cell->value(), 2);
    EXPECT_FALSE(undo->canUndo());
}

TEST_F(KSUndoManagerTest, MisuseIsLoggedAndIgnored) {
    KSLogCapture log;
    undo->endUndoGrouping();
    EXPECT_TRUE(log.contains("endUndoGrouping called with no open group"));

    undo->beginUndoGrouping();
    auto target = std::make_shared<int>(0);
    undo->registerUndoWithTarget(target, [](int& v) { ++v; });
    undo->beginUndoGrouping();
    undo->undoNestedGroup();  // groups are open: refused
    EXPECT_TRUE(log.contains("undo was called with 2 open undo groups"));
    EXPECT_EQ(*target, 0);
    undo->endUndoGrouping();
    undo->endUndoGrouping();

    undo->registerUndoWithTarget(std::shared_ptr<int>(), [](int& v) { v += 100; });
    EXPECT_TRUE(log.contains("ignoring an undo registration with a null target"));

    undo->setGroupsByEvent(false);
    undo->registerUndoWithTarget(target, [](int& v) { v += 10; });
    EXPECT_TRUE(log.contains("must begin a group before registering undo"));
    EXPECT_EQ(undo->undoCount(), 1u);
    undo->undo();
    EXPECT_EQ(*target, 1);
}

TEST_F(KSUndoManagerTest, WithoutGroupingByEventTheEndOfAPassClosesNothing) {
    undo->setGroupsByEvent(false);
    auto target = std::make_shared<int>(0);
    undo->beginUndoGrouping();
    undo->registerUndoWithTarget(target, [](int& v) { ++v; });
    endPass();
    EXPECT_EQ(undo->groupingLevel(), 1);
    undo->endUndoGrouping();
    undo->undo();
    EXPECT_EQ(*target, 1);
}

TEST_F(KSUndoManagerTest, AnUndoManagerThatIsGoneNoLongerHearsTheLoop) {
    auto target = std::make_shared<int>(0);
    undo->registerUndoWithTarget(target, [](int& v) { ++v; });
    undo.reset();
    endPass();  // must not reach the destroyed manager
    EXPECT_EQ(target.use_count(), 1);
}

// Objects held in statics are destroyed after the thread's loop and centre have gone.
TEST(KSCoreAtExitDeathTest, ObjectsInStaticsOutliveTheLoopAndTheCentreSafely) {
    EXPECT_EXIT(
        {
            static auto undo = std::make_shared<KSUndoManager>();
            static struct Remover {
                ~Remover() { KSNotificationCenter::defaultCenter().removeObserver(this); }
            } remover;
            KSNotificationCenter::defaultCenter().addObserver(&remover, "N", nullptr,
                                                              [](const KSNotification&) {});
            auto target = std::make_shared<int>(0);
            undo->registerUndoWithTarget(target, [](int&) {});
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kestrum
