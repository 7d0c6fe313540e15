#include "Platform/core/KSRunLoop.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "Platform/core/KSClock.h"

namespace kestrum {

KSRunLoop& KSRunLoop::current() {
    static thread_local KSRunLoop loop;
    return loop;
}

KSRunLoop::KSRunLoop() = default;
KSRunLoop::~KSRunLoop() = default;

KSRunLoop::Token KSRunLoop::performAfterDelay(std::shared_ptr<void> target,
                                              std::function<void()> call, double delay) {
    Token token = nextToken_++;
    KSDate due = delay > 0 ? KSClock::now().dateByAddingTimeInterval(delay) : KSDate{-1e300};
    pending_.push_back(Pending{token, std::move(target), std::move(call), due, sequence_++});
    return token;
}

void KSRunLoop::cancelPerformRequest(Token token) {
    pending_.erase(std::remove_if(pending_.begin(), pending_.end(),
                                  [&](const Pending& p) { return p.token == token; }),
                   pending_.end());
}

void KSRunLoop::cancelPerformRequestsWithTarget(const void* target) {
    pending_.erase(std::remove_if(pending_.begin(), pending_.end(),
                                  [&](const Pending& p) { return p.target.get() == target; }),
                   pending_.end());
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
    bool didWork = false;
    KSDate now = KSClock::now();

    // Deferred calls due now, in the order they were requested. Calls requested while
    // these run are left for the next pass.
    std::vector<Pending> due;
    std::vector<Pending> later;
    for (auto& p : pending_) {
        if (p.due <= now) {
            due.push_back(std::move(p));
        } else {
            later.push_back(std::move(p));
        }
    }
    pending_ = std::move(later);
    std::stable_sort(due.begin(), due.end(), [](const Pending& a, const Pending& b) {
        return a.due < b.due || (a.due == b.due && a.sequence < b.sequence);
    });
    for (auto& p : due) {
        didWork = true;
        p.call();
    }
    due.clear();  // releases the targets

    // Timers due now; a repeating timer fires once per pass and moves on past now.
    std::vector<std::shared_ptr<Timer>> timers = timers_;
    for (auto& timer : timers) {
        if (timer->invalid || timer->due > now) continue;
        didWork = true;
        if (timer->repeats && timer->interval > 0) {
            while (timer->due <= now)
                timer->due = timer->due.dateByAddingTimeInterval(timer->interval);
        } else {
            timer->invalid = true;
        }
        timer->call();
    }
    timers_.erase(
        std::remove_if(timers_.begin(), timers_.end(), [](const auto& t) { return t->invalid; }),
        timers_.end());

    // End-of-pass observers, including ones added during this pass.
    for (std::size_t i = 0; i < observers_.size(); ++i) {
        if (observers_[i].removed) continue;
        auto call = observers_[i].call;  // the vector may grow during the call
        call();
    }
    observers_.erase(std::remove_if(observers_.begin(), observers_.end(),
                                    [](const Observer& o) { return o.removed; }),
                     observers_.end());
    inPass_ = false;
    return didWork;
}

int KSRunLoop::runUntilIdle(int maxPasses) {
    int passes = 0;
    for (int i = 0; i < maxPasses; ++i) {
        KSDate now = KSClock::now();
        bool anyDue = std::any_of(pending_.begin(), pending_.end(),
                                  [&](const Pending& p) { return p.due <= now; }) ||
                      std::any_of(timers_.begin(), timers_.end(),
                                  [&](const auto& t) { return !t->invalid && t->due <= now; });
        if (!runOnce()) {
            if (!anyDue) break;
        } else {
            ++passes;
        }
    }
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
    if (found && out) *out = best;
    return found;
}

}  // namespace kestrum
