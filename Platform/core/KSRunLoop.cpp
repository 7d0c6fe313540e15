#include "Platform/core/KSRunLoop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <thread>

#include "Platform/core/KSClock.h"

namespace kestrum {

namespace {

// The thread's loop, and whether it has been destroyed already (thread-local objects of
// a thread go before its static ones, and objects held in statics may outlive the loop).
// Both are trivially destructible, so they stay readable to the end.
thread_local KSRunLoop* tThreadLoop = nullptr;
thread_local bool tThreadLoopGone = false;

}  // namespace

KSRunLoop& KSRunLoop::current() {
    static thread_local KSRunLoop loop;
    tThreadLoop = &loop;
    return loop;
}

KSRunLoop* KSRunLoop::currentIfAlive() {
    return tThreadLoopGone ? nullptr : &current();
}

KSRunLoop::KSRunLoop() = default;

KSRunLoop::~KSRunLoop() {
    if (this == tThreadLoop) tThreadLoopGone = true;
}

KSRunLoop::Token KSRunLoop::performAfterDelay(std::shared_ptr<void> target,
                                              std::function<void()> call, double delay) {
    Token token = nextToken_++;
    KSDate due = delay > 0 ? KSClock::now().dateByAddingTimeInterval(delay) : KSDate{-1e300};
    pending_.push_back(Pending{token, std::move(target), std::move(call), due, sequence_++});
    return token;
}

void KSRunLoop::cancelPendingMatching(const std::function<bool(const Pending&)>& matches) {
    pending_.erase(std::remove_if(pending_.begin(), pending_.end(), matches), pending_.end());
    // Calls already taken into the running pass but not yet run are cancelled too.
    for (std::size_t i = runningNext_; i < running_.size(); ++i) {
        if (running_[i].call && matches(running_[i])) {
            running_[i].call = nullptr;
            running_[i].target.reset();
        }
    }
}

void KSRunLoop::cancelPerformRequest(Token token) {
    cancelPendingMatching([&](const Pending& p) { return p.token == token; });
}

void KSRunLoop::cancelPerformRequestsWithTarget(const void* target) {
    cancelPendingMatching([&](const Pending& p) { return p.target.get() == target; });
}

KSRunLoop::Token KSRunLoop::scheduleTimer(double interval, bool repeats,
                                          std::function<void()> call) {
    Token token = nextToken_++;
    auto timer = std::make_shared<Timer>();
    timer->token = token;
    timer->interval = interval;
    timer->repeats = repeats;
    timer->call = std::move(call);
    timer->due = KSClock::now().dateByAddingTimeInterval(interval);
    timers_.push_back(std::move(timer));
    return token;
}

void KSRunLoop::invalidateTimer(Token token) {
    for (auto& timer : timers_) {
        if (timer->token == token) timer->invalid = true;
    }
    if (!inPass_) {
        timers_.erase(std::remove_if(timers_.begin(), timers_.end(),
                                     [](const auto& t) { return t->invalid; }),
                      timers_.end());
    }
}

KSRunLoop::Token KSRunLoop::addEndOfPassObserver(std::function<void()> observer) {
    Token token = nextToken_++;
    observers_.push_back(Observer{token, std::move(observer)});
    return token;
}

void KSRunLoop::removeEndOfPassObserver(Token token) {
    for (auto& o : observers_) {
        if (o.token == token) o.removed = true;
    }
    if (!inPass_) {
        observers_.erase(std::remove_if(observers_.begin(), observers_.end(),
                                        [](const Observer& o) { return o.removed; }),
                         observers_.end());
    }
}

bool KSRunLoop::runOnce() {
    if (inPass_) return false;  // never re-entrant
    inPass_ = true;
    // A call that throws ends the pass early; the loop stays usable and the calls that
    // had not run yet wait for the next pass.
    struct PassGuard {
        KSRunLoop* loop;
        ~PassGuard() { loop->finishPass(); }
    } guard{this};
    KSDate now = KSClock::now();
    bool didWork = runDeferredCalls(now);
    didWork |= fireTimers(now);
    // End-of-pass observers, including ones added during this pass.
    for (std::size_t i = 0; i < observers_.size(); ++i) {
        if (observers_[i].removed) continue;
        auto call = observers_[i].call;  // the vector may grow during the call
        call();
    }
    return didWork;
}

bool KSRunLoop::runDeferredCalls(KSDate now) {
    // The calls due now, in the order they were requested. Calls requested while these
    // run are left for the next pass.
    auto firstLater = std::stable_partition(pending_.begin(), pending_.end(),
                                            [&](const Pending& p) { return p.due <= now; });
    running_.assign(std::make_move_iterator(pending_.begin()), std::make_move_iterator(firstLater));
    pending_.erase(pending_.begin(), firstLater);
    std::stable_sort(running_.begin(), running_.end(), [](const Pending& a, const Pending& b) {
        return a.due < b.due || (a.due == b.due && a.sequence < b.sequence);
    });
    bool didWork = false;
    for (runningNext_ = 0; runningNext_ < running_.size();) {
        // Move the call out first: it may cancel later calls of this pass meanwhile.
        Pending entry = std::move(running_[runningNext_++]);
        if (!entry.call) continue;
        didWork = true;
        entry.call();
    }
    running_.clear();  // releases the targets
    runningNext_ = 0;
    return didWork;
}

bool KSRunLoop::fireTimers(KSDate now) {
    bool didWork = false;
    // A repeating timer fires once per pass and moves on past now.
    std::vector<std::shared_ptr<Timer>> timers = timers_;
    for (auto& timer : timers) {
        if (timer->invalid || timer->due > now) continue;
        didWork = true;
        if (timer->repeats && timer->interval > 0) {
            double behind = now.timeIntervalSinceDate(timer->due);
            double periods = std::floor(behind / timer->interval) + 1;
            timer->due = timer->due.dateByAddingTimeInterval(periods * timer->interval);
            if (timer->due <= now) timer->due = now.dateByAddingTimeInterval(timer->interval);
        } else {
            timer->invalid = true;
        }
        timer->call();
    }
    return didWork;
}

void KSRunLoop::finishPass() {
    // Calls of an interrupted pass go back to the front of the queue.
    if (runningNext_ < running_.size()) {
        std::vector<Pending> rest;
        for (std::size_t i = runningNext_; i < running_.size(); ++i) {
            if (running_[i].call) rest.push_back(std::move(running_[i]));
        }
        pending_.insert(pending_.begin(), std::make_move_iterator(rest.begin()),
                        std::make_move_iterator(rest.end()));
    }
    running_.clear();
    runningNext_ = 0;
    timers_.erase(
        std::remove_if(timers_.begin(), timers_.end(), [](const auto& t) { return t->invalid; }),
        timers_.end());
    observers_.erase(std::remove_if(observers_.begin(), observers_.end(),
                                    [](const Observer& o) { return o.removed; }),
                     observers_.end());
    inPass_ = false;
}

int KSRunLoop::runUntilIdle(int maxPasses) {
    // Inside a pass nothing can run; a pass that finds nothing due ends the loop.
    int passes = 0;
    while (passes < maxPasses && runOnce())
        ++passes;
    return passes;
}

void KSRunLoop::run(const std::function<bool()>& stop) {
    for (;;) {
        if (stop && stop()) return;
        runOnce();
        if (stop && stop()) return;
        KSDate next;
        if (!nextFireDate(&next)) return;
        double wait = next.timeIntervalSinceDate(KSClock::now());
        if (wait > 0) {
            if (KSClock::isFixed()) {
                KSClock::advance(wait);  // a fixed clock jumps to the next event
            } else {
                std::this_thread::sleep_for(std::chrono::duration<double>(std::min(wait, 1.0)));
            }
        }
    }
}

bool KSRunLoop::hasPendingWork() const {
    return !pending_.empty() ||
           std::any_of(timers_.begin(), timers_.end(), [](const auto& t) { return !t->invalid; });
}

std::size_t KSRunLoop::pendingCallCount() const {
    return pending_.size();
}

bool KSRunLoop::nextFireDate(KSDate* out) const {
    bool found = false;
    KSDate best{};
    for (const auto& p : pending_) {
        if (!found || p.due < best) best = p.due;
        found = true;
    }
    for (const auto& t : timers_) {
        if (t->invalid) continue;
        if (!found || t->due < best) best = t->due;
        found = true;
    }
    // Calls due in the past (the zero-delay ones among them) are due now.
    KSDate now = KSClock::now();
    if (found && best < now) best = now;
    if (found && out) *out = best;
    return found;
}

}  // namespace kestrum
