// KSNotificationName: the interned name of a notification.
//
// Equal texts share one handle, compared by a small number, so that the notification
// centre finds a name's observers without hashing text. Names that a program posts are
// kept as constants:
//
//   const KSNotificationName KSThingDidChangeNotification("KSThingDidChangeNotification");
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace kestrum {

// An interned notification name: equal texts share one handle, compared by number. The
// empty name (the default) stands for any name when observing. Making a handle from text
// takes a lock and a hash; keep handles of the names a program posts often.
class KSNotificationName {
public:
    KSNotificationName() = default;
    KSNotificationName(const char* text) : KSNotificationName(std::string_view(text)) {}
    KSNotificationName(const std::string& text) : KSNotificationName(std::string_view(text)) {}
    KSNotificationName(std::string_view text);

    // The handle of `text` if some handle of it was made already; else the empty name.
    static KSNotificationName existingName(std::string_view text);

    const std::string& str() const;
    // A small number unique to the text; 0 for the empty name.
    std::uint32_t id() const { return id_; }
    bool empty() const { return id_ == 0; }

    friend bool operator==(KSNotificationName a, KSNotificationName b) { return a.id_ == b.id_; }
    friend bool operator==(KSNotificationName a, std::string_view text) { return a.str() == text; }

private:
    std::uint32_t id_ = 0;
};

std::ostream& operator<<(std::ostream& stream, KSNotificationName name);

}  // namespace kestrum
