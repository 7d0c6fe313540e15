// Observing: options, dependent keys, set mutations, unbalanced pairs and removal while
// notifications are under way.
#include <gtest/gtest.h>

#include "CoreTestObjects.h"

namespace kestrum {
namespace {

using testing::KSTestItem;
using testing::KSTestObserver;
using testing::KSTestSubItem;

constexpr unsigned kNewOld = KSKeyValueObservingOptionNew | KSKeyValueObservingOptionOld;
constexpr unsigned kAll = kNewOld | KSKeyValueObservingOptionPrior;
const int kContextA = 0;
const int kContextB = 0;

class KSObservingTest : public ::testing::Test {
protected:
    void TearDown() override { item->removeObserver(&observer); }

    std::shared_ptr<KSTestItem> item = std::make_shared<KSTestItem>();
    KSTestObserver observer;
};

TEST_F(KSObservingTest, DidChangeCarriesOldAndNewValues) {
    item->setTitle("old");
    item->addObserverForKeyPathOptionsContext(&observer, "title", kNewOld, &kContextA);
    item->setTitle("new");
    ASSERT_EQ(observer.seen.size(), 1u);
    const auto& seen = observer.seen[0];
    EXPECT_EQ(seen.keyPath, "title");
    EXPECT_EQ(seen.object, item.get());
    EXPECT_EQ(seen.context, &kContextA);
    EXPECT_EQ(seen.change.kind, KSKeyValueChangeKind::Setting);
    EXPECT_EQ(seen.change.oldValue, KSValue("old"));
    EXPECT_EQ(seen.change.newValue, KSValue("new"));
    EXPECT_FALSE(seen.change.isPrior);
    // Other keys are not reported.
    item->setCount(2);
    EXPECT_EQ(observer.seen.size(), 1u);
}

TEST_F(KSObservingTest, OptionsSelectWhatTheChangeCarries) {
    item->setCount(1);
    item->addObserverForKeyPathOptionsContext(&observer, "count", 0, nullptr);
    item->setCount(2);
    ASSERT_EQ(observer.seen.size(), 1u);
    EXPECT_TRUE(observer.seen[0].change.oldValue.isNull());
    EXPECT_TRUE(observer.seen[0].change.newValue.isNull());
}

TEST_F(KSObservingTest, PriorNotificationComesBeforeTheChangeWithTheOldValue) {
    item->setCount(1);
    std::vector<int> valuesSeen;
    observer.onObserve = [&](const KSTestObserver::Seen&) { valuesSeen.push_back(item->count()); };
    item->addObserverForKeyPathOptionsContext(&observer, "count", kAll, nullptr);
    item->setCount(2);
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"prior:count", "count"}));
    EXPECT_EQ(valuesSeen, (std::vector<int>{1, 2}));
    EXPECT_EQ(observer.seen[0].change.oldValue, KSValue(1));
    EXPECT_TRUE(observer.seen[0].change.newValue.isNull());
    EXPECT_EQ(observer.seen[1].change.oldValue, KSValue(1));
    EXPECT_EQ(observer.seen[1].change.newValue, KSValue(2));
}

TEST_F(KSObservingTest, InitialOptionReportsAtRegistration) {
    item->setTitle("now");
    item->addObserverForKeyPathOptionsContext(
        &observer, "title", KSKeyValueObservingOptionInitial | KSKeyValueObservingOptionNew,
        nullptr);
    ASSERT_EQ(observer.seen.size(), 1u);
    EXPECT_EQ(observer.seen[0].change.newValue, KSValue("now"));
}

TEST_F(KSObservingTest, DependentKeysFireWillAndDidForTheDependentAttribute) {
    item->addObserverForKeyPathOptionsContext(&observer, "hasNote", kAll, nullptr);
    item->setNotes("a note");
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"prior:hasNote", "hasNote"}));
    EXPECT_EQ(observer.seen[0].change.oldValue, KSValue(false));
    EXPECT_EQ(observer.seen[1].change.oldValue, KSValue(false));
    EXPECT_EQ(observer.seen[1].change.newValue, KSValue(true));
    // The overridable hooks see the source key only; the dependent key goes to observers.
    EXPECT_EQ(item->hookCalls, (std::vector<std::string>{"will:notes", "did:notes"}));
}

TEST_F(KSObservingTest, DependentKeysChainTransitivelyAndNestInsideTheSourceKey) {
    item->addObserverForKeyPathOptionsContext(&observer, "noteBadge", kAll, nullptr);
    item->addObserverForKeyPathOptionsContext(&observer, "notes", kAll, nullptr);
    item->addObserverForKeyPathOptionsContext(&observer, "hasNote", kAll, nullptr);
    item->setNotes("x");
    EXPECT_EQ(observer.summary(),
              (std::vector<std::string>{"prior:notes", "prior:hasNote", "prior:noteBadge",
                                        "noteBadge", "hasNote", "notes"}));
    EXPECT_EQ(observer.seen[3].change.oldValue, KSValue(""));
    EXPECT_EQ(observer.seen[3].change.newValue, KSValue("N"));
}

TEST_F(KSObservingTest, SubclassDependenciesApplyToSubclassInstances) {
    auto sub = std::make_shared<KSTestSubItem>();
    sub->addObserverForKeyPathOptionsContext(&observer, "code", kNewOld, nullptr);
    sub->setTitle("t");
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"code"}));
    sub->removeObserver(&observer);
    // A plain item has no such dependency.
    item->addObserverForKeyPathOptionsContext(&observer, "code", kNewOld, nullptr);
    item->setTitle("t");
    EXPECT_EQ(observer.seen.size(), 1u);
}

TEST_F(KSObservingTest, UnbalancedPairsAreTolerated) {
    item->addObserverForKeyPathOptionsContext(&observer, "count", kAll, nullptr);
    // A did-change without a will-change reports no old value.
    item->didChangeValueForKey("count");
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"count"}));
    EXPECT_TRUE(observer.seen[0].change.oldValue.isNull());
    EXPECT_EQ(observer.seen[0].change.newValue, KSValue(0));
    // A will-change never closed is replaced by the next one for its key.
    observer.seen.clear();
    item->willChangeValueForKey("count");
    item->setCount(5);
    EXPECT_EQ(observer.summary(),
              (std::vector<std::string>{"prior:count", "prior:count", "count"}));
    EXPECT_EQ(observer.seen.back().change.oldValue, KSValue(0));
    // A stray will-change for another key does not disturb later changes.
    observer.seen.clear();
    item->willChangeValueForKey("title");
    item->setCount(6);
    EXPECT_EQ(observer.seen.back().change.oldValue, KSValue(5));
    EXPECT_EQ(observer.seen.back().change.newValue, KSValue(6));
}

TEST_F(KSObservingTest, SetMutationsReportTheirKindAndObjects) {
    EXPECT_EQ(static_cast<int>(KSKeyValueSetMutationKind::Union), 1);
    EXPECT_EQ(static_cast<int>(KSKeyValueSetMutationKind::Minus), 2);
    EXPECT_EQ(static_cast<int>(KSKeyValueSetMutationKind::Set), 4);
    item->addObserverForKeyPathOptionsContext(&observer, "notes", kAll, nullptr);
    item->addObserverForKeyPathOptionsContext(&observer, "hasNote", KSKeyValueObservingOptionNew,
                                              nullptr);
    const KSArray added{KSValue("a"), KSValue("b")};
    item->willChangeValueForKeyWithSetMutationUsingObjects("notes",
                                                           KSKeyValueSetMutationKind::Union, added);
    item->didChangeValueForKeyWithSetMutationUsingObjects("notes", KSKeyValueSetMutationKind::Union,
                                                          added);
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"prior:notes", "hasNote", "notes"}));
    EXPECT_EQ(observer.seen[0].change.kind, KSKeyValueChangeKind::Insertion);
    EXPECT_EQ(observer.seen[0].change.objects, added);
    EXPECT_EQ(observer.seen[2].change.kind, KSKeyValueChangeKind::Insertion);
    EXPECT_EQ(observer.seen[2].change.objects, added);
    // The dependent key hears a plain setting.
    EXPECT_EQ(observer.seen[1].change.kind, KSKeyValueChangeKind::Setting);

    struct Case {
        KSKeyValueSetMutationKind mutation;
        KSKeyValueChangeKind kind;
    };
    for (const Case& c :
         {Case{KSKeyValueSetMutationKind::Minus, KSKeyValueChangeKind::Removal},
          Case{KSKeyValueSetMutationKind::Intersect, KSKeyValueChangeKind::Removal},
          Case{KSKeyValueSetMutationKind::Set, KSKeyValueChangeKind::Replacement}}) {
        observer.seen.clear();
        item->willChangeValueForKeyWithSetMutationUsingObjects("notes", c.mutation, added);
        item->didChangeValueForKeyWithSetMutationUsingObjects("notes", c.mutation, added);
        ASSERT_FALSE(observer.seen.empty());
        EXPECT_EQ(observer.seen.back().change.kind, c.kind);
    }
}

TEST_F(KSObservingTest, RemovalMatchesObserverKeyAndContext) {
    item->addObserverForKeyPathOptionsContext(&observer, "count", 0, &kContextA);
    item->addObserverForKeyPathOptionsContext(&observer, "count", 0, &kContextB);
    EXPECT_EQ(item->observationCount(), 2u);
    item->setCount(1);
    EXPECT_EQ(observer.seen.size(), 2u);
    item->removeObserverForKeyPathContext(&observer, "count", &kContextA);
    observer.seen.clear();
    item->setCount(2);
    ASSERT_EQ(observer.seen.size(), 1u);
    EXPECT_EQ(observer.seen[0].context, &kContextB);
    // Removing what is not registered does nothing.
    item->removeObserverForKeyPathContext(&observer, "count", &kContextA);
    item->removeObserverForKeyPathContext(&observer, "title");
    EXPECT_EQ(item->observationCount(), 1u);
    // Without a context, any registration of the key goes.
    item->removeObserverForKeyPathContext(&observer, "count");
    EXPECT_FALSE(item->hasObserversForKey("count"));
    observer.seen.clear();
    item->setCount(3);
    EXPECT_TRUE(observer.seen.empty());
}

TEST_F(KSObservingTest, ObserversRemovedDuringANotificationAreNotCalledAgain) {
    KSTestObserver second;
    observer.onObserve = [&](const KSTestObserver::Seen&) { item->removeObserver(&second); };
    item->addObserverForKeyPathOptionsContext(&observer, "count", 0, nullptr);
    item->addObserverForKeyPathOptionsContext(&second, "count", 0, nullptr);
    item->setCount(1);
    EXPECT_EQ(observer.seen.size(), 1u);
    EXPECT_TRUE(second.seen.empty());

    // An observer that removes itself while being told of a prior change.
    KSTestObserver selfRemoving;
    selfRemoving.onObserve = [&](const KSTestObserver::Seen&) {
        item->removeObserver(&selfRemoving);
    };
    item->addObserverForKeyPathOptionsContext(&selfRemoving, "count", kAll, nullptr);
    item->setCount(2);
    EXPECT_EQ(selfRemoving.summary(), (std::vector<std::string>{"prior:count"}));
}

TEST_F(KSObservingTest, ObservingIsPerObject) {
    auto other = std::make_shared<KSTestItem>();
    item->addObserverForKeyPathOptionsContext(&observer, "count", 0, nullptr);
    other->setCount(9);
    EXPECT_TRUE(observer.seen.empty());
    EXPECT_FALSE(other->hasObserversForKey("count"));
    EXPECT_TRUE(item->hasObserversForKey("count"));
}

TEST_F(KSObservingTest, ManyKeysObservedOnOneObjectStayIndependent) {
    // The model registers an object on itself for every tracked key.
    std::vector<std::string> keys;
    for (int i = 0; i < 200; ++i)
        keys.push_back("key" + std::to_string(i));
    for (const auto& key : keys)
        item->addObserverForKeyPathOptionsContext(&observer, key, 0, nullptr);
    item->addObserverForKeyPathOptionsContext(&observer, "title", kNewOld, nullptr);
    item->setTitle("x");
    ASSERT_EQ(observer.summary(), (std::vector<std::string>{"title"}));
    item->didChangeValueForKey("key150");
    EXPECT_EQ(observer.seen.back().keyPath, "key150");
    item->removeObserverForKeyPathContext(&observer, "key150");
    EXPECT_FALSE(item->hasObserversForKey("key150"));
    EXPECT_TRUE(item->hasObserversForKey("key151"));
    EXPECT_EQ(item->observationCount(), 200u);
}

}  // namespace
}  // namespace kestrum
