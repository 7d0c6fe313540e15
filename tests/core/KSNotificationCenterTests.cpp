// KSNotificationCenter: synchronous delivery by name and sender, user info, and removal
// (also while a post is under way).
#include <gtest/gtest.h>

#include <chrono>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSNotificationCenter.h"
#include "core/AllocationCounter.h"

namespace kestrum {
namespace {

class KSNotificationCenterTest : public ::testing::Test {
protected:
    KSNotificationCenter center;
    std::vector<std::string> trace;
    std::shared_ptr<KSBaseObject> sender = std::make_shared<KSBaseObject>();
    std::shared_ptr<KSBaseObject> otherSender = std::make_shared<KSBaseObject>();
    int ownerA = 0;
    int ownerB = 0;
};

TEST_F(KSNotificationCenterTest, PostsReachMatchingObserversInRegistrationOrder) {
    center.addObserver(&ownerA, "Changed", nullptr,
                       [&](const KSNotification& n) { trace.push_back("A " + n.name.str()); });
    center.addObserver(&ownerB, "Changed", sender.get(), [&](const KSNotification& n) {
        trace.push_back("B " + n.userInfo.objectForKey("what").stringValue());
        EXPECT_EQ(n.object, sender.get());
    });
    center.addObserver(&ownerB, "", nullptr,
                       [&](const KSNotification& n) { trace.push_back("any " + n.name.str()); });
    center.addObserver(&ownerA, "Other", nullptr,
                       [&](const KSNotification&) { trace.push_back("other"); });

    center.postNotificationName("Changed", sender.get(), KSDictionary{{"what", "dates"}});
    EXPECT_EQ(trace, (std::vector<std::string>{"A Changed", "B dates", "any Changed"}));
    trace.clear();
    // Another sender does not reach the observer that named a sender.
    center.postNotificationName("Changed", otherSender.get());
    EXPECT_EQ(trace, (std::vector<std::string>{"A Changed", "any Changed"}));
    trace.clear();
    center.post(KSNotification{"Unknown", nullptr, {}});
    EXPECT_EQ(trace, (std::vector<std::string>{"any Unknown"}));
}

TEST_F(KSNotificationCenterTest, ObserversAreRemovedByTokenOwnerOrOwnerNameAndSender) {
    auto t1 = center.addObserver(&ownerA, "N", nullptr,
                                 [&](const KSNotification&) { trace.push_back("a1"); });
    center.addObserver(&ownerA, "N", sender.get(),
                       [&](const KSNotification&) { trace.push_back("a2"); });
    center.addObserver(&ownerA, "M", nullptr,
                       [&](const KSNotification&) { trace.push_back("a3"); });
    center.addObserver(&ownerB, "N", nullptr,
                       [&](const KSNotification&) { trace.push_back("b1"); });
    EXPECT_EQ(center.observerCount(), 4u);
    center.removeObserver(t1);
    center.postNotificationName("N", sender.get());
    EXPECT_EQ(trace, (std::vector<std::string>{"a2", "b1"}));
    center.removeObserver(&ownerA, "N", sender.get());
    center.removeObserver(&ownerA, "N", otherSender.get());  // matches nothing
    trace.clear();
    center.postNotificationName("N", sender.get());
    center.postNotificationName("M", sender.get());
    EXPECT_EQ(trace, (std::vector<std::string>{"b1", "a3"}));
    center.removeObserver(static_cast<const void*>(&ownerA));
    EXPECT_EQ(center.observerCount(), 1u);
    center.removeObserver(static_cast<const void*>(nullptr));  // null owner: nothing
    EXPECT_EQ(center.observerCount(), 1u);
}

TEST_F(KSNotificationCenterTest, RemovalDuringAPostStopsLaterDeliveryAndAdditionsWait) {
    KSNotificationCenter::Token second = 0;
    center.addObserver(&ownerA, "N", nullptr, [&](const KSNotification&) {
        trace.push_back("first");
        center.removeObserver(second);
        center.addObserver(&ownerA, "N", nullptr,
                           [&](const KSNotification&) { trace.push_back("added"); });
    });
    second = center.addObserver(&ownerB, "N", nullptr,
                                [&](const KSNotification&) { trace.push_back("second"); });
    center.postNotificationName("N", nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"first"}));
    EXPECT_EQ(center.observerCount(), 2u);
    trace.clear();
    center.removeObserver(static_cast<const void*>(&ownerA));
    EXPECT_EQ(center.observerCount(), 0u);
}

TEST_F(KSNotificationCenterTest, AnObserverMayRemoveItselfAndPostAgain) {
    KSNotificationCenter::Token self = 0;
    int depth = 0;
    self = center.addObserver(&ownerA, "N", nullptr, [&](const KSNotification&) {
        trace.push_back("outer " + std::to_string(depth));
        if (depth++ == 0) center.postNotificationName("N", nullptr);
        center.removeObserver(self);
    });
    center.addObserver(&ownerB, "N", nullptr, [&](const KSNotification&) { trace.push_back("b"); });
    center.postNotificationName("N", nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"outer 0", "outer 1", "b", "b"}));
    trace.clear();
    center.postNotificationName("N", nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"b"}));
}

TEST_F(KSNotificationCenterTest, ManyObserversArePostedToInLinearTime) {
    int calls = 0;
    for (int i = 0; i < 20000; ++i) {
        center.addObserver(&ownerA, "N", nullptr, [&](const KSNotification&) { ++calls; });
    }
    auto start = std::chrono::steady_clock::now();
    center.postNotificationName("N", nullptr);
    EXPECT_EQ(calls, 20000);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(KSNotificationCenterTest, APostNobodyObservesAllocatesNothing) {
    const KSNotificationName busy("Busy");
    const KSNotificationName quiet("A notification that nobody here observes");
    // Observers of another name, and of this name from another sender only.
    center.addObserver(&ownerA, busy, nullptr,
                       [&](const KSNotification&) { trace.push_back("busy"); });
    center.addObserver(&ownerB, quiet, otherSender.get(),
                       [&](const KSNotification&) { trace.push_back("quiet"); });
    test::AllocationCount allocations;
    for (int i = 0; i < 1000; ++i) {
        center.postNotificationName(quiet, sender.get());
        center.postNotificationName(KSNotificationName(), nullptr);
    }
    EXPECT_EQ(allocations.count(), 0);
    EXPECT_TRUE(trace.empty());
    EXPECT_FALSE(center.hasObserversForNameAndSender(quiet, sender.get()));
    EXPECT_TRUE(center.hasObserversForNameAndSender(quiet, otherSender.get()));
    center.postNotificationName(quiet, otherSender.get());
    EXPECT_EQ(trace, (std::vector<std::string>{"quiet"}));
}

TEST_F(KSNotificationCenterTest, NamesAreInternedAndTextNamesStillMatch) {
    KSNotificationName a("Interned name");
    KSNotificationName b(std::string("Interned name"));
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.id(), b.id());
    EXPECT_EQ(a.str(), "Interned name");
    EXPECT_TRUE(KSNotificationName().empty());
    EXPECT_TRUE(KSNotificationName::existingName("Never made anywhere").empty());
    EXPECT_EQ(KSNotificationName::existingName("Interned name"), a);

    // A text name reaches the observers of that name and of any name; a text never
    // interned reaches only the observers of any name.
    center.addObserver(&ownerA, a, nullptr,
                       [&](const KSNotification& n) { trace.push_back("named " + n.name.str()); });
    center.postNotificationName("Interned name", nullptr);
    center.postNotificationName("Brand new text", nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"named Interned name"}));
    trace.clear();
    center.addObserver(&ownerB, KSNotificationName(), nullptr,
                       [&](const KSNotification& n) { trace.push_back("any " + n.name.str()); });
    center.postNotificationName("Another new text", nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"any Another new text"}));
}

TEST_F(KSNotificationCenterTest, ManyObserversOfOneOwnerAreRemovedAtOnce) {
    std::vector<std::shared_ptr<KSBaseObject>> senders;
    for (int i = 0; i < 20000; ++i) {
        senders.push_back(std::make_shared<KSBaseObject>());
        center.addObserver(&ownerA, "N", senders.back().get(), [](const KSNotification&) {});
        center.addObserver(&ownerA, "N", nullptr, [](const KSNotification&) {});
    }
    center.addObserver(&ownerB, "N", nullptr, [&](const KSNotification&) { trace.push_back("b"); });
    EXPECT_EQ(center.observerCount(), 40001u);
    center.removeObserver(static_cast<const void*>(&ownerA));
    EXPECT_EQ(center.observerCount(), 1u);
    center.postNotificationName("N", senders[7].get());
    EXPECT_EQ(trace, (std::vector<std::string>{"b"}));
}

}  // namespace
}  // namespace kestrum
