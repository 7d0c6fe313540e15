// KSNotificationCenter: synchronous notifications by name.
//
// Observers register a callback for a name (or every name, with an empty name) and
// optionally a sender; post() calls the matching callbacks at once, in registration
// order. An observer removed during a post is not called afterwards; one added during
// a post is called from the next post on. Observers are identified by the token that
// addObserver answers, or by an owner pointer given at registration.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSBaseObject;

struct KSNotification {
    std::string name;
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
    Token addObserver(const void* owner, std::string_view name, const void* sender,
                      Callback callback);
    void removeObserver(Token token);
    // Removes every registration of `owner`.
    void removeObserver(const void* owner);
    // Removes the registrations of `owner` for `name` (empty: any) and `sender` (null: any).
    void removeObserver(const void* owner, std::string_view name, const void* sender);

    void post(const KSNotification& notification);
    void postNotificationName(std::string_view name, KSBaseObject* object,
                              KSDictionary userInfo = {});

    std::size_t observerCount() const;

private:
    // Shared with the posts under way, which skip a callback removed meanwhile.
    struct Live {
        Callback callback;
        bool removed = false;
    };
    struct Registration {
        Token token;
        const void* owner;
        std::string name;
        const void* sender;
        std::shared_ptr<Live> live;
    };
    void compact();

    std::vector<Registration> registrations_;
    Token nextToken_ = 1;
    int postDepth_ = 0;
    bool needsCompaction_ = false;
};

}  // namespace kestrum
