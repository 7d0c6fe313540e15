// KSUndoableSetter: the steps of an undoable setter in their order, the equality and
// naming policies, undo and redo through the recorded setter, and objects that record
// nothing (no manager, not held by a shared_ptr).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSUndoManager.h"
#include "Platform/core/KSUndoableSetter.h"

namespace kestrum {
namespace {

// A value a test can compare by identity, by moment, or plainly, like a date.
struct Moment {
    int when = 0;
    bool null = false;
    bool isIdenticalTo(const Moment& other) const {
        return null == other.null && when == other.when;
    }
    bool isEqualToDate(const Moment& other) const {
        return !null && !other.null && when == other.when;
    }
    friend bool operator==(const Moment& a, const Moment& b) {
        if (a.null || b.null) return a.null && b.null;
        return a.when == b.when;
    }
};

// Journals every announcement and step, so that a test reads the order of a set.
class Cell : public KSBaseObject {
public:
    explicit Cell(KSUndoManager* undo) : undo_(undo) {}

    void willChangeValueForKey(std::string_view key) override {
        journal.push_back("will " + std::string(key));
        KSBaseObject::willChangeValueForKey(key);
    }
    void didChangeValueForKey(std::string_view key) override {
        journal.push_back("did " + std::string(key));
        KSBaseObject::didChangeValueForKey(key);
    }

    void setNumber(const int& number) {
        KSUndoableSetter(*this, undo_)
            .key("number")
            .action("Set Number")
            .before([this] { journal.push_back("before"); })
            .after([this] { journal.push_back("after " + std::to_string(number_)); })
            .set(number_, number, &Cell::setNumber);
    }
    bool setMoment(const Moment& moment, KSSetterEquality equality) {
        return KSUndoableSetter(*this, undo_)
            .key("moment")
            .comparedBy(equality)
            .set(moment_, moment,
                 [equality](Cell& cell, const Moment& old) { cell.setMoment(old, equality); });
    }
    void setNamed(int value, KSActionNaming naming) {
        KSUndoableSetter(*this, undo_)
            .action("Set Named", naming)
            .set(number_, value,
                 [naming](Cell& cell, const int& old) { cell.setNamed(old, naming); });
    }
    // A value kept in a bit field, stored through a function.
    void setFlag(bool flag) {
        KSUndoableSetter(*this, undo_)
            .key("flag")
            .setWith(
                static_cast<bool>(flag_), flag, [this](bool f) { flag_ = f; }, &Cell::setFlag);
    }

    int number_ = 0;
    Moment moment_;
    unsigned flag_ : 1 = 0;
    std::vector<std::string> journal;

private:
    KSUndoManager* undo_;
};

class KSUndoableSetterTest : public ::testing::Test {
protected:
    void SetUp() override { undo.setGroupsByEvent(false); }
    // Runs `edit` as one undo group.
    template <class F>
    void group(F&& edit) {
        undo.beginUndoGrouping();
        edit();
        undo.endUndoGrouping();
    }

    KSUndoManager undo;
    std::shared_ptr<Cell> cell = std::make_shared<Cell>(&undo);
};

TEST_F(KSUndoableSetterTest, RunsTheStepsInOrderAndUndoAndRedoRestoreThroughTheSetter) {
    group([&] { cell->setNumber(4); });
    EXPECT_EQ(cell->journal,
              (std::vector<std::string>{"will number", "before", "after 4", "did number"}));
    EXPECT_EQ(undo.undoActionName(), "Set Number");

    cell->journal.clear();
    undo.undo();
    EXPECT_EQ(cell->number_, 0);
    EXPECT_EQ(cell->journal,
              (std::vector<std::string>{"will number", "before", "after 0", "did number"}));
    EXPECT_EQ(undo.redoActionName(), "Set Number");
    undo.redo();
    EXPECT_EQ(cell->number_, 4);
}

TEST_F(KSUndoableSetterTest, AnUnchangedValueRecordsAndAnnouncesNothing) {
    group([&] { cell->setNumber(0); });
    EXPECT_TRUE(cell->journal.empty());
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(KSUndoableSetterTest, EqualityPoliciesTellAnUnchangedValueTheirOwnWay) {
    // Two nulls are equal and identical, but not the same moment.
    const Moment null{0, true};
    cell->moment_ = null;
    EXPECT_FALSE(cell->setMoment(null, KSSetterEquality::Equal));
    EXPECT_FALSE(cell->setMoment(null, KSSetterEquality::Identical));
    EXPECT_TRUE(cell->setMoment(null, KSSetterEquality::SameMoment));
    EXPECT_TRUE(cell->setMoment(null, KSSetterEquality::Never));

    cell->moment_ = Moment{5, false};
    EXPECT_FALSE(cell->setMoment(Moment{5, false}, KSSetterEquality::SameMoment));
    EXPECT_FALSE(cell->setMoment(Moment{5, false}, KSSetterEquality::Equal));
    EXPECT_TRUE(cell->setMoment(Moment{6, false}, KSSetterEquality::Equal));
    EXPECT_EQ(cell->moment_.when, 6);
}

TEST_F(KSUndoableSetterTest, NamingPoliciesNameOnlyWhereTheyShould) {
    // Outside any group the inside-group policy leaves the last group's name alone, where
    // the plain policy renames it.
    group([&] {
        cell->setNumber(1);
        undo.setActionName("First");
    });
    cell->setNamed(2, KSActionNaming::InsideGroup);
    EXPECT_EQ(undo.undoActionName(), "First");
    cell->setNamed(3, KSActionNaming::Always);
    EXPECT_EQ(undo.undoActionName(), "Set Named");

    group([&] {
        undo.setActionName("Outer");
        undo.beginUndoGrouping();
        // A step of a larger action leaves the outer name alone.
        cell->setNamed(5, KSActionNaming::Outermost);
        undo.endUndoGrouping();
    });
    EXPECT_EQ(undo.undoActionName(), "Outer");

    group([&] {
        undo.setActionName("Outer");
        cell->setNamed(6, KSActionNaming::Outermost);
    });
    EXPECT_EQ(undo.undoActionName(), "Set Named");
}

TEST_F(KSUndoableSetterTest, AValueStoredThroughAFunctionIsUndoneThroughTheSetter) {
    group([&] { cell->setFlag(true); });
    EXPECT_TRUE(cell->flag_);
    EXPECT_EQ(cell->journal, (std::vector<std::string>{"will flag", "did flag"}));
    undo.undo();
    EXPECT_FALSE(cell->flag_);
}

TEST_F(KSUndoableSetterTest, WithoutAManagerOrOwnerTheValueIsStoredAndNothingRecorded) {
    auto alone = std::make_shared<Cell>(nullptr);
    alone->setNumber(3);
    EXPECT_EQ(alone->number_, 3);
    EXPECT_EQ(alone->journal.size(), 4u);

    // Not held by a shared_ptr: no target to record against.
    Cell onStack(&undo);
    group([&] { onStack.setNumber(7); });
    EXPECT_EQ(onStack.number_, 7);
    EXPECT_FALSE(undo.canUndo());
}

}  // namespace
}  // namespace kestrum
