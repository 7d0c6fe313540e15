#include "Platform/core/KSClassInfo.h"

#include <algorithm>
#include <unordered_set>

namespace kestrum {

KSClassInfo::KSClassInfo(std::string name, const KSClassInfo* superclass)
    : name_(std::move(name)), superclass_(superclass) {
    // Inherit the superclass's flattened tables; own entries override them.
    if (superclass_) {
        attributes_ = superclass_->attributes_;
        keyOrder_ = superclass_->keyOrder_;
        affecting_ = superclass_->affecting_;
        // A class made without a builder never calls finish(): it keeps the inverse too.
        affectedBy_ = superclass_->affectedBy_;
    }
}

bool KSClassInfo::isKindOf(const KSClassInfo& other) const {
    for (const KSClassInfo* c = this; c; c = c->superclass_) {
        if (c == &other) return true;
    }
    return false;
}

const KSAttribute* KSClassInfo::attributeForKey(std::string_view key) const {
    auto it = attributes_.find(key);
    return it == attributes_.end() ? nullptr : &it->second;
}

const std::vector<std::string>& KSClassInfo::keyPathsForValuesAffectingValueForKey(
    std::string_view key) const {
    static const std::vector<std::string> none;
    auto it = affecting_.find(key);
    return it == affecting_.end() ? none : it->second;
}

const std::vector<std::string>& KSClassInfo::keysAffectedByKey(std::string_view key) const {
    static const std::vector<std::string> none;
    auto it = affectedBy_.find(key);
    return it == affectedBy_.end() ? none : it->second;
}

void KSClassInfo::addAttribute(KSAttribute attribute) {
    std::string key = attribute.key;
    if (attributes_.find(key) == attributes_.end()) keyOrder_.push_back(key);
    attributes_[key] = std::move(attribute);
}

void KSClassInfo::addDependentKeys(std::string key, std::vector<std::string> dependsOn) {
    auto& list = affecting_[key];
    for (auto& k : dependsOn) {
        if (std::find(list.begin(), list.end(), k) == list.end()) list.push_back(std::move(k));
    }
}

void KSClassInfo::finish() {
    // Invert the dependency relation transitively: if a depends on b and b on c, a change
    // of c affects b and a, in that order (nearest first). Cycles are cut.
    affectedBy_.clear();
    KeyLists direct;
    for (const auto& [key, dependsOn] : affecting_) {
        for (const auto& source : dependsOn)
            direct[source].push_back(key);
    }
    for (auto& [source, dependents] : direct)
        std::sort(dependents.begin(), dependents.end());
    for (const auto& [source, ignored] : direct) {
        std::vector<std::string> result;
        std::unordered_set<std::string> seen{source};
        std::vector<std::string> frontier{source};
        while (!frontier.empty()) {
            std::vector<std::string> next;
            for (const auto& k : frontier) {
                auto it = direct.find(k);
                if (it == direct.end()) continue;
                for (const auto& d : it->second) {
                    if (seen.insert(d).second) {
                        result.push_back(d);
                        next.push_back(d);
                    }
                }
            }
            frontier = std::move(next);
        }
        affectedBy_[source] = std::move(result);
    }
}

}  // namespace kestrum
