// KSRunLoop: the caller's event loop, driven explicitly.
//
// Deferred calls (performAfterDelay with delay 0) run on the next pass, never inside
// the pass or call that requested them. Timers fire on the injectable clock (KSClock).
// End-of-pass observers run after the deferred calls and timers of every pass; the undo
// manager closes its event group there.
//
// A pass (runOnce): run the deferred calls that were due when the pass began, in the
// order they were requested; fire the timers that are due; run the end-of-pass
// observers. Calls requested during the pass wait for the next pass; a call cancelled by
// an earlier call of the same pass does not run. A call that throws ends the pass: the
// exception reaches the caller of runOnce, and the calls not yet run wait for the next.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSRunLoop {
public:
    using Token = std::uint64_t;

    // The loop of the calling thread.
    static KSRunLoop& current();
    // The loop of the calling thread, or null once it has been destroyed at thread or
    // process exit (for objects that may outlive it, such as an undo manager in a static).
    static KSRunLoop* currentIfAlive();

    KSRunLoop();
    ~KSRunLoop();
    KSRunLoop(const KSRunLoop&) = delete;
    KSRunLoop& operator=(const KSRunLoop&) = delete;

    // Runs `call` on a later pass, `delay` seconds from now on the clock (0: the next
    // pass). `target` is kept alive until the call has run or been cancelled, and keys
    // cancelPerformRequestsWithTarget.
    Token performAfterDelay(std::shared_ptr<void> target, std::function<void()> call,
                            double delay = 0.0);
    void cancelPerformRequest(Token token);
    void cancelPerformRequestsWithTarget(const void* target);

    // A timer firing every `interval` seconds when `repeats`, else once after `interval`.
    Token scheduleTimer(double interval, bool repeats, std::function<void()> call);
    void invalidateTimer(Token token);

    // Observers run at the end of every pass, in registration order.
    Token addEndOfPassObserver(std::function<void()> observer);
    void removeEndOfPassObserver(Token token);

    // One pass. Answers whether it ran any deferred call or timer.
    bool runOnce();
    // Passes until nothing is due (timers in the future are left), at most `maxPasses`.
    // Answers the number of passes that did work.
    int runUntilIdle(int maxPasses = 1000);
    // Runs passes, sleeping on the system clock for the next timer, until `stop` answers
    // true or nothing remains to be done.
    void run(const std::function<bool()>& stop = nullptr);

    // Whether deferred calls or timers are waiting.
    bool hasPendingWork() const;
    std::size_t pendingCallCount() const;
    // The time of the next due deferred call or timer, or null when there is none.
    bool nextFireDate(KSDate* out) const;

private:
    struct Pending {
        Token token;
        std::shared_ptr<void> target;
        std::function<void()> call;
        KSDate due;
        std::uint64_t sequence;
    };
    struct Timer {
        Token token;
        double interval;
        bool repeats;
        std::function<void()> call;
        KSDate due;
        bool invalid = false;
    };
    struct Observer {
        Token token;
        std::function<void()> call;
        bool removed = false;
    };

    bool runDeferredCalls(KSDate now);
    bool fireTimers(KSDate now);
    void finishPass();
    void cancelPendingMatching(const std::function<bool(const Pending&)>& matches);

    std::vector<Pending> pending_;
    // The deferred calls of the pass under way, and the index of the next one to run.
    std::vector<Pending> running_;
    std::size_t runningNext_ = 0;
    std::vector<std::shared_ptr<Timer>> timers_;
    std::vector<Observer> observers_;
    Token nextToken_ = 1;
    std::uint64_t sequence_ = 0;
    bool inPass_ = false;
};

}  // namespace kestrum
