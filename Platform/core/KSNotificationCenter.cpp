#include "Platform/core/KSNotificationCenter.h"

#include <algorithm>

namespace kestrum {

KSNotificationCenter& KSNotificationCenter::defaultCenter() {
    static thread_local KSNotificationCenter center;
    return center;
}

KSNotificationCenter::KSNotificationCenter() = default;
KSNotificationCenter::~KSNotificationCenter() = default;

KSNotificationCenter::Token KSNotificationCenter::addObserver(const void* owner,
                                                              std::string_view name,
                                                              const void* sender,
                                                              Callback callback) {
    Token token = nextToken_++;
    registrations_.push_back(Registration{token, owner, std::string(name), sender,
                                          std::make_shared<Callback>(std::move(callback))});
    return token;
}

void KSNotificationCenter::compact() {
    if (postDepth_ > 0) {
        needsCompaction_ = true;
        return;
    }
    registrations_.erase(std::remove_if(registrations_.begin(), registrations_.end(),
                                        [](const Registration& r) { return r.removed; }),
                         registrations_.end());
    needsCompaction_ = false;
}

void KSNotificationCenter::removeObserver(Token token) {
    for (auto& r : registrations_) {
        if (r.token == token) r.removed = true;
    }
    compact();
}

void KSNotificationCenter::removeObserver(const void* owner) {
    if (!owner) return;
    for (auto& r : registrations_) {
        if (r.owner == owner) r.removed = true;
    }
    compact();
}

void KSNotificationCenter::removeObserver(const void* owner, std::string_view name,
                                          const void* sender) {
    if (!owner) return;
    for (auto& r : registrations_) {
        if (r.owner == owner && (name.empty() || r.name == name) &&
            (sender == nullptr || r.sender == sender)) {
            r.removed = true;
        }
    }
    compact();
}

void KSNotificationCenter::post(const KSNotification& notification) {
    // Match against the registrations that exist now; later ones wait for the next post.
    std::vector<std::pair<Token, std::shared_ptr<Callback>>> matching;
    for (const auto& r : registrations_) {
        if (r.removed) continue;
        if (!r.name.empty() && r.name != notification.name) continue;
        if (r.sender && r.sender != notification.object) continue;
        matching.emplace_back(r.token, r.callback);
    }
    ++postDepth_;
    struct DepthGuard {
        KSNotificationCenter* center;
        ~DepthGuard() {
            if (--center->postDepth_ == 0 && center->needsCompaction_) center->compact();
        }
    } guard{this};
    for (const auto& [token, callback] : matching) {
        // Skip those removed by an earlier callback of this post.
        bool live = false;
        for (const auto& r : registrations_) {
            if (r.token == token) {
                live = !r.removed;
                break;
            }
        }
        if (live) (*callback)(notification);
    }
}

void KSNotificationCenter::postNotificationName(std::string_view name, KSBaseObject* object,
                                                KSDictionary userInfo) {
    post(KSNotification{std::string(name), object, std::move(userInfo)});
}

std::size_t KSNotificationCenter::observerCount() const {
    return static_cast<std::size_t>(std::count_if(registrations_.begin(), registrations_.end(),
                                                  [](const auto& r) { return !r.removed; }));
}

}  // namespace kestrum
