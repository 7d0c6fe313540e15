// The recording difference engine, the project-backed id counter and change-set order.
#include <gtest/gtest.h>

#include "Model/changes/KSChangeSet.h"
#include "Model/changes/KSDifferenceEngine.h"
#include "Platform/difference/TMChangeSet.h"
#include "Platform/difference/TMDifferenceEngine.h"

namespace kestrum {
namespace {

using Kind = TMDifferenceEngine::EventKind;

// An object holding an id counter under the key "nextTaskId", as the project does.
class Holder : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    std::int64_t next() const { return next_; }
    void setNext(std::int64_t n) { next_ = n; }
    std::int64_t next_ = 40;
};

const KSClassInfo& Holder::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<Holder>(
        "Holder", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<Holder>& b) {
            b.attribute("nextTaskId", &Holder::next, &Holder::setNext);
        });
    return info;
}

std::shared_ptr<TMObject> objectWithId(TMObjectId id) {
    auto object = std::make_shared<TMObject>();
    object->setObjectId(id);
    return object;
}

TEST(DifferenceEngineTest, LoadingRegistersObjectsButRecordsNoChange) {
    TMDifferenceEngine engine(true);
    auto object = objectWithId(3);
    engine.setIsLoading(true);
    engine.objectDidInsert(*object);
    engine.objectWillChange(*object);
    engine.objectDidChange(*object);
    EXPECT_TRUE(engine.currentEvents().empty());
    EXPECT_EQ(engine.objectWithId(3), object);
    EXPECT_FALSE(engine.hasCurrentDifferencesForId(3));
    engine.setIsLoading(false);
    engine.objectWillChange(*object);
    engine.objectDidChange(*object);
    engine.objectWillDelete(*object);
    ASSERT_EQ(engine.currentEvents().size(), 3u);
    EXPECT_EQ(engine.currentEvents()[2].kind, Kind::WillDelete);
    EXPECT_TRUE(engine.hasCurrentDifferencesForId(3));
    engine.discardChanges();
    EXPECT_FALSE(engine.hasCurrentDifferencesForId(3));
    EXPECT_EQ(engine.objectWithId(3), object);
    engine.forgetAllObjects();
    EXPECT_EQ(engine.objectWithId(3), nullptr);
}

TEST(DifferenceEngineTest, WillChangeIsHeededOnlyWithSupportForIt) {
    TMDifferenceEngine engine(false);
    auto object = objectWithId(1);
    engine.objectWillChange(*object);
    engine.objectDidChange(*object);
    ASSERT_EQ(engine.currentEvents().size(), 1u);
    EXPECT_EQ(engine.currentEvents()[0].kind, Kind::DidChange);
}

TEST(DifferenceEngineTest, ObjectsAreNotKeptAliveByTheEngine) {
    TMDifferenceEngine engine(true);
    {
        auto object = objectWithId(9);
        engine.objectDidInsert(*object);
        EXPECT_EQ(engine.objectEnumerator().size(), 1u);
    }
    EXPECT_EQ(engine.objectWithId(9), nullptr);
    EXPECT_TRUE(engine.objectEnumerator().empty());
    EXPECT_TRUE(engine.currentEvents()[0].object.expired());
}

TEST(DifferenceEngineTest, DeletedIdsStayKnownUntilTheObjectComesBack) {
    TMDifferenceEngine engine(true);
    auto object = objectWithId(5);
    engine.objectDidInsert(*object);
    EXPECT_TRUE(engine.deletedObjectIds().empty());
    engine.objectWillDelete(*object);
    // Still registered, as undo may bring it back, but marked as deleted.
    EXPECT_EQ(engine.objectWithId(5), object);
    EXPECT_EQ(engine.deletedObjectIds().count(5), 1u);
    engine.objectDidInsert(*object);
    EXPECT_TRUE(engine.deletedObjectIds().empty());
    engine.objectWillDelete(*object);
    engine.forgetAllObjects();
    EXPECT_TRUE(engine.deletedObjectIds().empty());
}

TEST(DifferenceEngineTest, IdHandlersAreKeptByAttribute) {
    TMDifferenceEngine engine(true);
    engine.registerHandlerForIdChangesToAttribute(
        [](const KSValue& v, TMObjectId from, TMObjectId to) {
            return v == KSValue(from) ? KSValue(to) : v;
        },
        "links");
    const TMIdChangeHandler* handler = engine.handlerForIdChangesToAttribute("links");
    ASSERT_NE(handler, nullptr);
    EXPECT_EQ((*handler)(KSValue(4), 4, 7), KSValue(7));
    EXPECT_EQ(engine.handlerForIdChangesToAttribute("other"), nullptr);
}

TEST(DifferenceEngineTest, TheModelEngineKeepsItsCounterOnAnotherObject) {
    Holder holder;
    KSDifferenceEngine engine("nextTaskId", &holder);
    EXPECT_TRUE(engine.supportsWillChange());
    EXPECT_EQ(engine.keyPath(), "nextTaskId");
    EXPECT_EQ(engine.nextObjectId(), 40);
    engine.setNextObjectId(41);
    EXPECT_EQ(holder.next_, 41);
    engine.setObject(nullptr);
    EXPECT_EQ(engine.nextObjectId(), 0);
    engine.setNextObjectId(50);  // no object: nothing to store into
    EXPECT_EQ(holder.next_, 41);
}

TEST(ChangeSetTest, SetsOfOneMomentApplyMetadataResourcesTasks) {
    KSChangeSet tasks(nullptr, KSChangeSetPriorityTasks);
    KSChangeSet resources(nullptr, KSChangeSetPriorityResources);
    KSChangeSet later(nullptr, KSChangeSetPriorityMetadata);
    KSDate moment = KSDate::dateWithTimeIntervalSinceReferenceDate(1000);
    tasks.setUserAndDate("ann", moment);
    resources.setUserAndDate("ann", moment);
    later.setUserAndDate("bob", moment.dateByAddingTimeInterval(60));
    EXPECT_EQ(resources.compareByDateAndPriority(tasks), -1);
    EXPECT_EQ(tasks.compareByDateAndPriority(resources), 1);
    EXPECT_EQ(tasks.compareByDateAndPriority(later), -1);
    EXPECT_EQ(tasks.compareByDateAndPriority(tasks), 0);
}

TEST(ChangeSetTest, StampsTheCurrentUserAndHoldsDifferences) {
    TMChangeSet::setCurrentUserName("carol");
    TMChangeSet set;
    EXPECT_FALSE(set.date().has_value());
    set.stampWithDate(KSDate::dateWithTimeIntervalSinceReferenceDate(5));
    EXPECT_EQ(set.user(), "carol");
    set.addDifference(TMDifference::attributeDifference(3, "title", KSValue("a"), KSValue("b")));
    set.addDifferences({TMDifference::moveDifference(3, 1, 2),
                        TMDifference::insertDifference(4, {{"title", KSValue("n")}}, true),
                        nullptr});
    ASSERT_EQ(set.differences().size(), 3u);
    EXPECT_TRUE(set.differences()[0]->isAttributeDifference());
    EXPECT_EQ(set.differences()[0]->replacementValue(), KSValue("b"));
    EXPECT_EQ(set.differences()[1]->newParentId(), 2);
    EXPECT_TRUE(set.differences()[2]->isDeletion());
    EXPECT_EQ(set.differences()[2]->insertionValueForAttributeKey("title"), KSValue("n"));
    TMChangeSet::setCurrentUserName("");
}

}  // namespace
}  // namespace kestrum
