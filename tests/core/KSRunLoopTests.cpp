// KSRunLoop and KSClock: deferred calls on the next pass, coalescing, timers on the
// injectable clock, end-of-pass observers and cancellation.
#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "Platform/core/KSClock.h"
#include "Platform/core/KSRunLoop.h"

namespace kestrum {
namespace {

class KSRunLoopTest : public ::testing::Test {
protected:
    void SetUp() override { KSClock::setFixedNow(KSDate{1000}); }
    void TearDown() override { KSClock::useSystemClock(); }

    KSRunLoop loop;
    std::vector<std::string> trace;
};

TEST_F(KSRunLoopTest, ADeferredCallRunsOnceOnTheNextPass) {
    int runs = 0;
    loop.performAfterDelay(nullptr, [&] { ++runs; });
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(loop.hasPendingWork());
    EXPECT_TRUE(loop.runOnce());
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(loop.runOnce());
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(loop.hasPendingWork());
}

TEST_F(KSRunLoopTest, CallsRequestedDuringAPassWaitForTheNextPass) {
    loop.performAfterDelay(nullptr, [&] {
        trace.push_back("first");
        loop.performAfterDelay(nullptr, [&] { trace.push_back("requested by first"); });
    });
    loop.performAfterDelay(nullptr, [&] { trace.push_back("second"); });
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"first", "second"}));
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"first", "second", "requested by first"}));
}

TEST_F(KSRunLoopTest, ADeferredCallNeverRunsReEntrantly) {
    int depth = 0;
    int maxDepth = 0;
    std::function<void()> call = [&] {
        ++depth;
        maxDepth = std::max(maxDepth, depth);
        loop.performAfterDelay(nullptr, call);
        EXPECT_FALSE(loop.runOnce());  // a pass inside a pass does nothing
        --depth;
    };
    loop.performAfterDelay(nullptr, call);
    loop.runOnce();
    EXPECT_EQ(maxDepth, 1);
    EXPECT_EQ(loop.pendingCallCount(), 1u);
    loop.runOnce();
    EXPECT_EQ(maxDepth, 1);
    loop.cancelPerformRequestsWithTarget(nullptr);
}

// The model's coalescing: a flag set on the first request makes later ones free, and the
// call clears it.
class KSCoalescer {
public:
    explicit KSCoalescer(KSRunLoop& loop) : loop_(loop) {}
    void projectDidChange() {
        if (pending_) return;
        pending_ = true;
        loop_.performAfterDelay(nullptr, [this] { performProjectChanges(); });
    }
    void performProjectChanges() {
        if (!pending_) return;
        pending_ = false;
        ++posts;
    }
    int posts = 0;

private:
    KSRunLoop& loop_;
    bool pending_ = false;
};

TEST_F(KSRunLoopTest, SeveralRequestsCoalesceIntoOneCallByAFlag) {
    KSCoalescer coalescer(loop);
    for (int i = 0; i < 5; ++i)
        coalescer.projectDidChange();
    EXPECT_EQ(loop.pendingCallCount(), 1u);
    loop.runOnce();
    EXPECT_EQ(coalescer.posts, 1);
    loop.runOnce();
    EXPECT_EQ(coalescer.posts, 1);
    // After the call, the next request asks again.
    coalescer.projectDidChange();
    coalescer.projectDidChange();
    loop.runUntilIdle();
    EXPECT_EQ(coalescer.posts, 2);
    // A call that finds the flag already cleared does nothing.
    coalescer.projectDidChange();
    coalescer.performProjectChanges();
    loop.runOnce();
    EXPECT_EQ(coalescer.posts, 3);
}

TEST_F(KSRunLoopTest, DelayedCallsWaitForTheClock) {
    loop.performAfterDelay(
        nullptr, [&] { trace.push_back("later"); }, 10.0);
    loop.performAfterDelay(
        nullptr, [&] { trace.push_back("soon"); }, 5.0);
    loop.performAfterDelay(nullptr, [&] { trace.push_back("now"); });
    KSDate next;
    ASSERT_TRUE(loop.nextFireDate(&next));
    EXPECT_LE(next.timeIntervalSinceReferenceDate, 1000.0);
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"now"}));
    ASSERT_TRUE(loop.nextFireDate(&next));
    EXPECT_EQ(next, KSDate{1005});
    KSClock::advance(20);
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"now", "soon", "later"}));
    EXPECT_FALSE(loop.nextFireDate(&next));
}

TEST_F(KSRunLoopTest, TargetsStayAliveUntilTheCallHasRunOrIsCancelled) {
    auto kept = std::make_shared<int>(1);
    std::weak_ptr<int> weakKept = kept;
    loop.performAfterDelay(kept, [] {});
    auto cancelled = std::make_shared<int>(2);
    std::weak_ptr<int> weakCancelled = cancelled;
    loop.performAfterDelay(cancelled, [] {});
    kept.reset();
    cancelled.reset();
    EXPECT_FALSE(weakKept.expired());
    loop.cancelPerformRequestsWithTarget(weakCancelled.lock().get());
    EXPECT_TRUE(weakCancelled.expired());
    loop.runOnce();
    EXPECT_TRUE(weakKept.expired());
}

TEST_F(KSRunLoopTest, ACallCancelledByAnEarlierCallOfTheSamePassDoesNotRun) {
    KSRunLoop::Token second = 0;
    auto target = std::make_shared<int>(0);
    loop.performAfterDelay(nullptr, [&] {
        trace.push_back("first");
        loop.cancelPerformRequest(second);
        loop.cancelPerformRequestsWithTarget(target.get());
    });
    second = loop.performAfterDelay(nullptr, [&] { trace.push_back("second"); });
    loop.performAfterDelay(target, [&] { trace.push_back("third"); });
    loop.performAfterDelay(nullptr, [&] { trace.push_back("fourth"); });
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"first", "fourth"}));
}

TEST_F(KSRunLoopTest, AThrowingCallLeavesTheLoopUsable) {
    loop.performAfterDelay(nullptr, [&] { throw std::runtime_error("boom"); });
    loop.performAfterDelay(nullptr, [&] { trace.push_back("after"); });
    EXPECT_THROW(loop.runOnce(), std::runtime_error);
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"after"}));
    loop.performAfterDelay(nullptr, [&] { trace.push_back("again"); });
    EXPECT_TRUE(loop.runOnce());
    EXPECT_EQ(trace.back(), "again");
}

TEST_F(KSRunLoopTest, TimersFireOnTheInjectedClock) {
    int repeating = 0;
    int once = 0;
    auto repeatingToken = loop.scheduleTimer(60, true, [&] { ++repeating; });
    loop.scheduleTimer(90, false, [&] { ++once; });
    loop.runOnce();
    EXPECT_EQ(repeating, 0);
    KSClock::advance(60);
    loop.runOnce();
    EXPECT_EQ(repeating, 1);
    EXPECT_EQ(once, 0);
    KSClock::advance(30);
    loop.runOnce();
    EXPECT_EQ(once, 1);
    // A repeating timer fires once per pass however far the clock moved.
    KSClock::advance(600);
    loop.runOnce();
    EXPECT_EQ(repeating, 2);
    loop.runOnce();
    EXPECT_EQ(repeating, 2);
    loop.invalidateTimer(repeatingToken);
    KSClock::advance(600);
    loop.runOnce();
    EXPECT_EQ(repeating, 2);
    EXPECT_EQ(once, 1);
    EXPECT_FALSE(loop.hasPendingWork());
}

TEST_F(KSRunLoopTest, AFastTimerAfterALongPauseCatchesUpAtOnce) {
    int fired = 0;
    loop.scheduleTimer(1e-6, true, [&] { ++fired; });
    KSClock::advance(1e7);
    auto start = std::chrono::steady_clock::now();
    loop.runOnce();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(fired, 1);
    KSDate next;
    ASSERT_TRUE(loop.nextFireDate(&next));
    EXPECT_GT(next, KSClock::now());
}

TEST_F(KSRunLoopTest, ATimerCanInvalidateItselfAndOthers) {
    KSRunLoop::Token self = 0, other = 0;
    int selfRuns = 0, otherRuns = 0;
    self = loop.scheduleTimer(1, true, [&] {
        ++selfRuns;
        loop.invalidateTimer(self);
        loop.invalidateTimer(other);
    });
    other = loop.scheduleTimer(1, true, [&] { ++otherRuns; });
    KSClock::advance(1);
    loop.runOnce();
    KSClock::advance(1);
    loop.runOnce();
    EXPECT_EQ(selfRuns, 1);
    EXPECT_EQ(otherRuns, 0);
}

TEST_F(KSRunLoopTest, EndOfPassObserversRunAfterTheCallsOfEveryPass) {
    auto first = loop.addEndOfPassObserver([&] { trace.push_back("end 1"); });
    loop.addEndOfPassObserver([&] { trace.push_back("end 2"); });
    loop.performAfterDelay(nullptr, [&] { trace.push_back("call"); });
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"call", "end 1", "end 2"}));
    trace.clear();
    loop.runOnce();  // a pass with no work still ends
    EXPECT_EQ(trace, (std::vector<std::string>{"end 1", "end 2"}));
    trace.clear();
    loop.removeEndOfPassObserver(first);
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"end 2"}));
}

TEST_F(KSRunLoopTest, EndOfPassObserversMayRemoveThemselvesOrAddOthers) {
    KSRunLoop::Token self = 0;
    self = loop.addEndOfPassObserver([&] {
        trace.push_back("once");
        loop.removeEndOfPassObserver(self);
        loop.addEndOfPassObserver([&] { trace.push_back("added"); });
    });
    loop.runOnce();
    loop.runOnce();
    EXPECT_EQ(trace, (std::vector<std::string>{"once", "added", "added"}));
}

TEST_F(KSRunLoopTest, RunUntilIdleFollowsChainsOfCalls) {
    int remaining = 5;
    std::function<void()> step = [&] {
        if (--remaining > 0) loop.performAfterDelay(nullptr, step);
    };
    loop.performAfterDelay(nullptr, step);
    loop.performAfterDelay(
        nullptr, [] {}, 3600);  // not due: left alone
    EXPECT_EQ(loop.runUntilIdle(), 5);
    EXPECT_EQ(remaining, 0);
    EXPECT_EQ(loop.pendingCallCount(), 1u);
}

TEST_F(KSRunLoopTest, RunWithAFixedClockJumpsToTheNextEvent) {
    loop.performAfterDelay(
        nullptr, [&] { trace.push_back("in an hour"); }, 3600);
    loop.run();
    EXPECT_EQ(trace, (std::vector<std::string>{"in an hour"}));
    EXPECT_EQ(KSClock::now(), KSDate{4600});
    int ticks = 0;
    loop.scheduleTimer(10, true, [&] { ++ticks; });
    loop.run([&] { return ticks == 3; });
    EXPECT_EQ(ticks, 3);
}

TEST(KSRunLoopCurrent, EachThreadHasItsOwnLoop) {
    KSRunLoop* main = &KSRunLoop::current();
    KSRunLoop* other = nullptr;
    std::thread([&] { other = &KSRunLoop::current(); }).join();
    EXPECT_NE(main, other);
    EXPECT_EQ(main, &KSRunLoop::current());
}

TEST(KSClockTest, FixedAndSystemTime) {
    KSClock::setFixedNow(KSDate{50});
    EXPECT_TRUE(KSClock::isFixed());
    EXPECT_EQ(KSDate::now(), KSDate{50});
    KSClock::advance(2.5);
    EXPECT_EQ(KSClock::now(), KSDate{52.5});
    KSClock::useSystemClock();
    EXPECT_FALSE(KSClock::isFixed());
    // The system clock is well past 2020 (reference seconds of 2020-01-01).
    EXPECT_GT(KSClock::now().timeIntervalSinceReferenceDate, 599616000.0);
    KSDate before = KSClock::now();
    KSClock::advance(10);  // fixes the clock at the real now first
    EXPECT_TRUE(KSClock::isFixed());
    EXPECT_GE(KSClock::now().timeIntervalSinceDate(before), 10.0);
    KSClock::useSystemClock();
}

}  // namespace
}  // namespace kestrum
