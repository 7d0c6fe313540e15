// KSNotificationCenter: synchronous notifications by name.
//
// Observers register a callback for a name (or every name, with the empty name) and
// optionally a sender; a post calls the matching callbacks at once, in registration
// order. An observer removed during a post is not called afterwards; one added during
// a post is called from the next post on. Observers are identified by the token that
// addObserver answers, or by an owner pointer given at registration.
//
// Names are interned (KSNotificationName) and registrations are indexed by name and
// sender, so that a post that nobody observes returns after a few comparisons, with no
// allocation: the model posts on every invalidated task.
//
//   const KSNotificationName KSThingDidChangeNotification("KSThingDidChangeNotification");
//   center.addObserver(this, KSThingDidChangeNotification, thing, [](auto& n) { ... });
//   center.postNotificationName(KSThingDidChangeNotification, thing);
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Platform/core/KSNotificationName.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

class KSBaseObject;

struct KSNotification {
    KSNotificationName name;
    // The sender; not retained by the notification.
    KSBaseObject* object = nullptr;
    KSDictionary userInfo;
};

class KSNotificationCenter {
public:
    using Token = std::uint64_t;
    using Callback = std::function<void(const KSNotification&)>;

    // The calling thread's centre: the model runs on one thread, and each thread that
    // uses the library has its own centre, as it has its own event loop.
    static KSNotificationCenter& defaultCenter();

    KSNotificationCenter();
    ~KSNotificationCenter();
    KSNotificationCenter(const KSNotificationCenter&) = delete;
    KSNotificationCenter& operator=(const KSNotificationCenter&) = delete;

    // Registers `callback` for notifications named `name` (empty: any name) from
    // `sender` (null: any sender). `owner` (may be null) groups registrations for
    // removeObserver(owner).
    Token addObserver(const void* owner, KSNotificationName name, const void* sender,
                      Callback callback);
    void removeObserver(Token token);
    // Removes every registration of `owner`.
    void removeObserver(const void* owner);
    // Removes the registrations of `owner` for `name` (empty: any) and `sender` (null: any).
    void removeObserver(const void* owner, KSNotificationName name, const void* sender);

    void post(const KSNotification& notification);
    // Posts unless nobody observes `name` from `object`; then it only looks.
    void postNotificationName(KSNotificationName name, KSBaseObject* object,
                              KSDictionary userInfo = {});
    // The same for a name given as text: a text never interned has no observer by name.
    void postNotificationName(std::string_view name, KSBaseObject* object,
                              KSDictionary userInfo = {});
    void postNotificationName(const char* name, KSBaseObject* object, KSDictionary userInfo = {}) {
        postNotificationName(std::string_view(name), object, std::move(userInfo));
    }

    // Whether a post of `name` from `sender` would reach anyone.
    bool hasObserversForNameAndSender(KSNotificationName name, const void* sender) const;
    std::size_t observerCount() const;

private:
    struct Registration {
        Token token;
        const void* owner;
        KSNotificationName name;
        const void* sender;
        Callback callback;
        bool removed = false;
    };
    using Ref = std::shared_ptr<Registration>;
    // The registrations of one name: those for any sender, and those for one sender.
    struct Bucket {
        std::vector<Ref> anySender;
        std::unordered_map<const void*, std::vector<Ref>> bySender;
        bool empty() const { return anySender.empty() && bySender.empty(); }
    };

    const Bucket* bucket(KSNotificationName name) const;
    // Removes the registrations that `matches` accepts among `candidates`.
    template <class Match>
    void removeMatching(const std::vector<Ref>& candidates, Match matches);

    std::vector<Bucket> buckets_;  // by name id; 0 holds the observers of any name
    std::unordered_map<Token, Ref> byToken_;
    std::unordered_map<const void*, std::vector<Ref>> byOwner_;
    Token nextToken_ = 1;
};

}  // namespace kestrum
