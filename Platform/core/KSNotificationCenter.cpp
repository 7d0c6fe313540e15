#include "Platform/core/KSNotificationCenter.h"

#include <unistd.h>

#include <algorithm>

namespace kestrum {

namespace {

// A thread's centre. The pointer is trivially destructible, so it stays readable while the
// thread's other thread-local objects are destroyed. The main thread's centre is never
// freed: its thread-local objects go before the process's statics, and an object held in a
// static may still remove its observers while it is destroyed. Other threads free theirs
// when they end.
thread_local KSNotificationCenter* tCenter = nullptr;

struct KSCenterReaper {
    ~KSCenterReaper() {
        if (gettid() == getpid()) return;
        delete tCenter;
        tCenter = nullptr;
    }
};

}  // namespace

KSNotificationCenter& KSNotificationCenter::defaultCenter() {
    if (!tCenter) {
        tCenter = new KSNotificationCenter;
        static thread_local KSCenterReaper reaper;
    }
    return *tCenter;
}

KSNotificationCenter::KSNotificationCenter() = default;
KSNotificationCenter::~KSNotificationCenter() = default;

KSNotificationCenter::Token KSNotificationCenter::addObserver(const void* owner,
                                                              std::string_view name,
                                                              const void* sender,
                                                              Callback callback) {
    Token token = nextToken_++;
    registrations_.push_back(Registration{token, owner, std::string(name), sender,
                                          std::make_shared<Live>(Live{std::move(callback)})});
    return token;
}

void KSNotificationCenter::compact() {
    if (postDepth_ > 0) {
        needsCompaction_ = true;
        return;
    }
    registrations_.erase(std::remove_if(registrations_.begin(), registrations_.end(),
                                        [](const Registration& r) { return r.live->removed; }),
                         registrations_.end());
    needsCompaction_ = false;
}

void KSNotificationCenter::removeObserver(Token token) {
    for (auto& r : registrations_) {
        if (r.token == token) r.live->removed = true;
    }
    compact();
}

void KSNotificationCenter::removeObserver(const void* owner) {
    if (!owner) return;
    for (auto& r : registrations_) {
        if (r.owner == owner) r.live->removed = true;
    }
    compact();
}

void KSNotificationCenter::removeObserver(const void* owner, std::string_view name,
                                          const void* sender) {
    if (!owner) return;
    for (auto& r : registrations_) {
        if (r.owner == owner && (name.empty() || r.name == name) &&
            (sender == nullptr || r.sender == sender)) {
            r.live->removed = true;
        }
    }
    compact();
}

void KSNotificationCenter::post(const KSNotification& notification) {
    // Match against the registrations that exist now; later ones wait for the next post.
    std::vector<std::shared_ptr<Live>> matching;
    for (const auto& r : registrations_) {
        if (r.live->removed) continue;
        if (!r.name.empty() && r.name != notification.name) continue;
        if (r.sender && r.sender != notification.object) continue;
        matching.push_back(r.live);
    }
    ++postDepth_;
    struct DepthGuard {
        KSNotificationCenter* center;
        ~DepthGuard() {
            if (--center->postDepth_ == 0 && center->needsCompaction_) center->compact();
        }
    } guard{this};
    for (const auto& live : matching) {
        // Skip those removed by an earlier callback of this post.
        if (!live->removed) live->callback(notification);
    }
}

void KSNotificationCenter::postNotificationName(std::string_view name, KSBaseObject* object,
                                                KSDictionary userInfo) {
    post(KSNotification{std::string(name), object, std::move(userInfo)});
}

std::size_t KSNotificationCenter::observerCount() const {
    return static_cast<std::size_t>(std::count_if(registrations_.begin(), registrations_.end(),
                                                  [](const auto& r) { return !r.live->removed; }));
}

}  // namespace kestrum
