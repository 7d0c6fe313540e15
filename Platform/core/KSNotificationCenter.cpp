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

// --- The centre -------------------------------------------------------------------------

KSNotificationCenter& KSNotificationCenter::defaultCenter() {
    if (!tCenter) {
        tCenter = new KSNotificationCenter;
        static thread_local KSCenterReaper reaper;
    }
    return *tCenter;
}

KSNotificationCenter::KSNotificationCenter() : buckets_(1) {}
KSNotificationCenter::~KSNotificationCenter() = default;

KSNotificationCenter::Token KSNotificationCenter::addObserver(const void* owner,
                                                              KSNotificationName name,
                                                              const void* sender,
                                                              Callback callback) {
    Token token = nextToken_++;
    auto registration = std::make_shared<Registration>(
        Registration{token, owner, name, sender, std::move(callback)});
    if (name.id() >= buckets_.size()) buckets_.resize(name.id() + 1);
    Bucket& bucket = buckets_[name.id()];
    (sender ? bucket.bySender[sender] : bucket.anySender).push_back(registration);
    byToken_.emplace(token, registration);
    if (owner) byOwner_[owner].push_back(registration);
    return token;
}

template <class Match>
void KSNotificationCenter::removeMatching(const std::vector<Ref>& candidates, Match matches) {
    // Mark first, then sweep each list that held one: a post under way keeps its own list
    // of whom to call and skips what is marked.
    std::vector<Ref> removed;
    for (const Ref& r : candidates) {
        if (!r->removed && matches(*r)) {
            r->removed = true;
            removed.push_back(r);
        }
    }
    auto sweep = [](std::vector<Ref>& list) {
        list.erase(
            std::remove_if(list.begin(), list.end(), [](const Ref& r) { return r->removed; }),
            list.end());
    };
    for (const Ref& r : removed) {
        byToken_.erase(r->token);
        Bucket& bucket = buckets_[r->name.id()];
        if (r->sender) {
            auto it = bucket.bySender.find(r->sender);
            if (it != bucket.bySender.end()) {
                sweep(it->second);
                if (it->second.empty()) bucket.bySender.erase(it);
            }
        } else {
            sweep(bucket.anySender);
        }
        if (r->owner) {
            auto it = byOwner_.find(r->owner);
            if (it != byOwner_.end()) {
                sweep(it->second);
                if (it->second.empty()) byOwner_.erase(it);
            }
        }
    }
}

void KSNotificationCenter::removeObserver(Token token) {
    auto it = byToken_.find(token);
    if (it == byToken_.end()) return;
    removeMatching({it->second}, [](const Registration&) { return true; });
}

void KSNotificationCenter::removeObserver(const void* owner) {
    if (!owner) return;
    auto it = byOwner_.find(owner);
    if (it == byOwner_.end()) return;
    removeMatching(std::vector<Ref>(it->second), [](const Registration&) { return true; });
}

void KSNotificationCenter::removeObserver(const void* owner, KSNotificationName name,
                                          const void* sender) {
    if (!owner) return;
    auto it = byOwner_.find(owner);
    if (it == byOwner_.end()) return;
    removeMatching(std::vector<Ref>(it->second), [&](const Registration& r) {
        return (name.empty() || r.name == name) && (sender == nullptr || r.sender == sender);
    });
}

const KSNotificationCenter::Bucket* KSNotificationCenter::bucket(KSNotificationName name) const {
    return name.id() < buckets_.size() ? &buckets_[name.id()] : nullptr;
}

bool KSNotificationCenter::hasObserversForNameAndSender(KSNotificationName name,
                                                        const void* sender) const {
    const Bucket* any = name.empty() ? nullptr : &buckets_[0];
    for (const Bucket* b : {bucket(name), any}) {
        if (!b || b->empty()) continue;
        if (!b->anySender.empty()) return true;
        if (sender && b->bySender.count(sender)) return true;
    }
    return false;
}

void KSNotificationCenter::post(const KSNotification& notification) {
    if (!hasObserversForNameAndSender(notification.name, notification.object)) return;
    // Match against the registrations that exist now; later ones wait for the next post.
    std::vector<Ref> matching;
    const Bucket* any = &buckets_[0];
    for (const Bucket* b : {bucket(notification.name), any}) {
        if (!b || b->empty()) continue;
        matching.insert(matching.end(), b->anySender.begin(), b->anySender.end());
        if (notification.object) {
            auto it = b->bySender.find(notification.object);
            if (it != b->bySender.end())
                matching.insert(matching.end(), it->second.begin(), it->second.end());
        }
        if (notification.name.empty()) break;
    }
    std::sort(matching.begin(), matching.end(),
              [](const Ref& a, const Ref& b) { return a->token < b->token; });
    for (const Ref& r : matching) {
        // Skip those removed by an earlier callback of this post.
        if (!r->removed) r->callback(notification);
    }
}

void KSNotificationCenter::postNotificationName(KSNotificationName name, KSBaseObject* object,
                                                KSDictionary userInfo) {
    if (!hasObserversForNameAndSender(name, object)) return;
    post(KSNotification{name, object, std::move(userInfo)});
}

void KSNotificationCenter::postNotificationName(std::string_view name, KSBaseObject* object,
                                                KSDictionary userInfo) {
    KSNotificationName interned = KSNotificationName::existingName(name);
    // A name nobody ever registered for can still reach the observers of any name.
    if (interned.empty() && !name.empty()) {
        if (buckets_[0].empty()) return;
        interned = KSNotificationName(name);
    }
    postNotificationName(interned, object, std::move(userInfo));
}

std::size_t KSNotificationCenter::observerCount() const {
    return byToken_.size();
}

}  // namespace kestrum
