// KSDependency: comparing, copying, the string form of a task's prerequisites and the
// archive dictionary.
#include <algorithm>
#include <cctype>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (true) {
        std::size_t comma = text.find(',', begin);
        parts.push_back(text.substr(begin, comma - begin));
        if (comma == std::string::npos) break;
        begin = comma + 1;
    }
    return parts;
}

// The length of the leading integer of `part` (an optional sign and digits).
std::size_t leadingIntegerLength(std::string_view part) {
    std::size_t i = 0;
    while (i < part.size() && std::isspace(static_cast<unsigned char>(part[i])))
        ++i;
    if (i < part.size() && (part[i] == '-' || part[i] == '+')) ++i;
    while (i < part.size() && std::isdigit(static_cast<unsigned char>(part[i])))
        ++i;
    return i;
}

KSTask* taskWithId(KSScenario* scenario, std::int64_t id) {
    if (!scenario) return nullptr;
    std::shared_ptr<KSTask> found = scenario->taskWithIdentifier(static_cast<TMObjectId>(id));
    return found ? found.get() : nullptr;
}

}  // namespace

// --- Comparing and copying --------------------------------------------------------------------

bool KSDependency::operator==(const KSDependency& other) const {
    if (!nonretainedPrerequisite_ || !nonretainedDependent_ || !other.nonretainedPrerequisite_ ||
        !other.nonretainedDependent_)
        return this == &other;
    return nonretainedPrerequisite_->objectId() == other.nonretainedPrerequisite_->objectId() &&
           nonretainedDependent_->objectId() == other.nonretainedDependent_->objectId() &&
           dependencyKind() == other.dependencyKind() && leadTime_ == other.leadTime_ &&
           leadTimeIsPercentage() == other.leadTimeIsPercentage();
}

bool KSDependency::isEqual(const KSBaseObject& other) const {
    const auto* link = dynamic_cast<const KSDependency*>(&other);
    return link && *this == *link;
}

std::size_t KSDependency::hash() const {
    return reinterpret_cast<std::uintptr_t>(nonretainedPrerequisite_) ^
           reinterpret_cast<std::uintptr_t>(nonretainedDependent_);
}

std::shared_ptr<KSDependency> KSDependency::copy() const {
    auto link = std::make_shared<KSDependency>(nonretainedPrerequisite_, nonretainedDependent_,
                                               dependencyKind());
    // Tasks and flags are copied as they stand, without touching any list.
    link->nonretainedPrerequisite_ = nonretainedPrerequisite_;
    link->nonretainedDependent_ = nonretainedDependent_;
    link->leadTime_ = leadTime_;
    link->flags_ = flags_;
    return link;
}

int KSDependency::compare(const KSDependency& other) const {
    double mine = _durationChangeForLeadTime();
    double theirs = other._durationChangeForLeadTime();
    return mine < theirs ? -1 : (mine > theirs ? 1 : 0);
}

int KSDependency::comparePrerequisiteObjectIds(const KSDependency& other) const {
    if (!nonretainedPrerequisite_ || !other.nonretainedPrerequisite_) return 0;
    return nonretainedPrerequisite_->compareObjectIds(*other.nonretainedPrerequisite_);
}

std::string KSDependency::description() const {
    return internalStringRepresentation();
}

// --- String form ---------------------------------------------------------------------------------

std::string KSDependency::internalStringRepresentation() const {
    long long id = nonretainedPrerequisite_ ? nonretainedPrerequisite_->objectId() : 0;
    std::string text =
        KSStringWithFormat("%ld%@", id, KSDependencyKindArchiveString(dependencyKind()));
    if (leadTime_ != 0.0) text += KSStringWithFormat("%+g", leadTime_);
    if (leadTimeIsPercentage()) text += "%";
    return text;
}

std::optional<std::string> KSDependency::internalStringRepresentationForDependencies(
    const List& dependencies) {
    if (dependencies.empty()) return std::nullopt;
    List sorted = dependencies;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a->comparePrerequisiteObjectIds(*b) < 0;
    });
    std::string text;
    for (const auto& link : sorted) {
        if (!text.empty()) text += ",";
        text += link->internalStringRepresentation();
    }
    return text;
}

KSDependency::List KSDependency::ghostDependenciesWithInternalStringRepresentationForDependentTask(
    const std::string& text, KSTask* dependent) {
    List ghosts;
    if (!dependent) return ghosts;
    for (const std::string& part : splitAtCommas(text)) {
        std::size_t idLength = leadingIntegerLength(part);
        if (idLength == 0) continue;
        KSTask* prerequisite =
            taskWithId(dependent->scenario(), KSIntegerValueOfString(part.substr(0, idLength)));
        if (!prerequisite) continue;
        std::size_t s = part.find('S');
        std::size_t f = part.find('F');
        KSDependencyKind kind;
        std::size_t leadStart;
        if (s == std::string::npos) {
            // No "S" is finish to finish, also with no "F" at all ("12" alone). Without an
            // "F" there is no place for a lead to follow, so such a part has none.
            kind = KSDependencyFinishToFinish;
            leadStart = f == std::string::npos ? part.size() : f + 2;
        } else if (f == std::string::npos) {
            kind = KSDependencyStartToStart;
            leadStart = s + 2;
        } else {
            kind = s < f ? KSDependencyStartToFinish : KSDependencyFinishToStart;
            leadStart = std::max(s, f) + 1;
        }
        auto ghost =
            ghostDependencyWithPrerequisiteAndDependentAndKind(prerequisite, dependent, kind);
        if (leadStart < part.size()) {
            std::string lead = part.substr(leadStart);
            ghost->setLeadTime(KSDoubleValueOfString(lead));
            if (!lead.empty() && lead.back() == '%') ghost->setLeadTimeIsPercentage(true);
        }
        ghosts.push_back(ghost);
    }
    return ghosts;
}

std::string KSDependency::translateTaskIdFromToForInternalStringRepresentation(
    std::int64_t from, std::int64_t to, const std::string& text) {
    const std::string fromText = std::to_string(from);
    if (text.find(fromText) == std::string::npos) return text;
    std::string result;
    bool first = true;
    for (const std::string& part : splitAtCommas(text)) {
        if (!first) result += ",";
        first = false;
        std::size_t idLength = leadingIntegerLength(part);
        if (idLength > 0 && KSIntegerValueOfString(part.substr(0, idLength)) == from) {
            result += std::to_string(to) + part.substr(idLength);
        } else {
            result += part;
        }
    }
    return result;
}

// --- Archive dictionary ------------------------------------------------------------------------

KSDictionary KSDependency::archiveDictionary() const {
    KSDictionary dictionary;
    long long id = nonretainedPrerequisite_ ? nonretainedPrerequisite_->objectId() : 0;
    dictionary.setObjectForKey("id", KSValue(id));
    dictionary.setObjectForKey("kind", KSValue(static_cast<long long>(dependencyKind())));
    if (leadTime_ != 0.0) {
        dictionary.setObjectForKey("leadTime", KSValue(leadTime_ / 3600.0));
        dictionary.setObjectForKey("leadTimeSeconds", KSValue(leadTime_));
        dictionary.setObjectForKey("leadPercentage",
                                   KSValue(leadTimeIsPercentage() ? "YES" : "NO"));
    }
    return dictionary;
}

void KSDependency::loadFromArchiveDictionary(const KSDictionary& dictionary) {
    if (const KSValue* kind = dictionary.find("kind"))
        setDependencyKind(static_cast<KSDependencyKind>(kind->intValue()));
    if (const KSValue* percentage = dictionary.find("leadPercentage"))
        setLeadTimeIsPercentage(percentage->isString() ? percentage->asString() == "YES"
                                                       : percentage->boolValue());
    // Both forms are read at single precision, as files have always carried them.
    if (const KSValue* seconds = dictionary.find("leadTimeSeconds")) {
        setLeadTime(seconds->floatValue());
    } else if (const KSValue* hours = dictionary.find("leadTime")) {
        setLeadTime(hours->floatValue() * 3600.0f);
    }
}

}  // namespace kestrum
