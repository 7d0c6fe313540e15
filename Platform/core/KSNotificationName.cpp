#include "Platform/core/KSNotificationName.h"

#include <deque>
#include <mutex>
#include <ostream>
#include <type_traits>
#include <unordered_map>

namespace kestrum {

static_assert(std::is_trivially_copyable_v<KSNotificationName>);

namespace {

// The texts of all interned names, shared by every thread. Names are made at start-up
// and when observers register; posts by handle never come here.
struct NameTable {
    std::mutex mutex;
    std::deque<std::string> texts{std::string()};  // id 0 is the empty name
    std::unordered_map<std::string_view, std::uint32_t> ids{{std::string_view(), 0}};

    static NameTable& shared() {
        static NameTable* table = new NameTable;  // used by statics; never destroyed
        return *table;
    }
};

}  // namespace

KSNotificationName::KSNotificationName(std::string_view text) {
    if (text.empty()) return;
    NameTable& table = NameTable::shared();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto found = table.ids.find(text);
    if (found != table.ids.end()) {
        id_ = found->second;
        return;
    }
    id_ = static_cast<std::uint32_t>(table.texts.size());
    const std::string& stored = table.texts.emplace_back(text);
    table.ids.emplace(std::string_view(stored), id_);
}

KSNotificationName KSNotificationName::existingName(std::string_view text) {
    KSNotificationName name;
    NameTable& table = NameTable::shared();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto found = table.ids.find(text);
    if (found != table.ids.end()) name.id_ = found->second;
    return name;
}

const std::string& KSNotificationName::str() const {
    NameTable& table = NameTable::shared();
    // A deque never moves its elements, and an id is only handed out once its text is in.
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.texts[id_];
}

std::ostream& operator<<(std::ostream& stream, KSNotificationName name) {
    return stream << name.str();
}

}  // namespace kestrum
