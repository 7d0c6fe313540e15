// KSProject: the user-data key lists (adding, renaming and removing keys project-wide).
#include <algorithm>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSNotificationCenter.h"

namespace kestrum {

const KSNotificationName KSCustomKeyValueChangeNotification("Custom Key/Value Change Notification");
const char* const KSOldKeyNameKey = "Old Key Name";
const char* const KSNewKeyNameKey = "New Key Name";
const char* const KSTypeNameKey = "Type Name";

namespace {
void fillSet(std::unordered_set<std::string>& set, const std::vector<std::string>& keys) {
    set.clear();
    set.insert(keys.begin(), keys.end());
}
}  // namespace

void KSProject::setTaskUserDataKeys(std::vector<std::string> keys) {
    taskUserDataKeys_ = std::move(keys);
    fillSet(taskKeySet_, taskUserDataKeys_);
}

void KSProject::setResourceUserDataKeys(std::vector<std::string> keys) {
    resourceUserDataKeys_ = std::move(keys);
    fillSet(resourceKeySet_, resourceUserDataKeys_);
}

void KSProject::setProjectUserDataKeys(std::vector<std::string> keys) {
    projectUserDataKeys_ = std::move(keys);
    fillSet(projectKeySet_, projectUserDataKeys_);
}

std::vector<std::string>* KSProject::keyArrayMatching(const std::vector<std::string>& array,
                                                      std::unordered_set<std::string>** set,
                                                      std::string* typeName) {
    if (&array == &taskUserDataKeys_) {
        *set = &taskKeySet_;
        *typeName = "Task";
        return &taskUserDataKeys_;
    }
    if (&array == &resourceUserDataKeys_) {
        *set = &resourceKeySet_;
        *typeName = "Resource";
        return &resourceUserDataKeys_;
    }
    if (&array == &projectUserDataKeys_) {
        *set = &projectKeySet_;
        *typeName = "Scenario";
        return &projectUserDataKeys_;
    }
    return nullptr;
}

void KSProject::changeUserInfoKeyFromToInArray(const std::optional<std::string>& oldKey,
                                               const std::optional<std::string>& newKey,
                                               const std::vector<std::string>& array) {
    std::unordered_set<std::string>* set = nullptr;
    std::string typeName;
    std::vector<std::string>* keys = keyArrayMatching(array, &set, &typeName);
    if (!keys || (!oldKey && !newKey)) return;

    if (oldKey) {
        // Every scenario holds values under the key, baselines too: read them now.
        for (const auto& holder : KSScenarioPlaceholderList(scenarios_)) {
            KSScenario* scenario = holder->scenarioInProject(*this);
            if (!scenario) continue;
            if (keys == &taskUserDataKeys_) {
                if (scenario->rootTask())
                    scenario->rootTask()->userDataChangedKeyFromTo(*oldKey, newKey);
            } else if (keys == &resourceUserDataKeys_) {
                if (scenario->rootResource())
                    scenario->rootResource()->userDataChangedKeyFromTo(*oldKey, newKey);
            } else {
                scenario->userDataChangedKeyFromTo(*oldKey, newKey);
            }
        }
    }
    if (oldKey) set->erase(*oldKey);
    if (newKey) set->insert(*newKey);

    const std::string listKey = typeName == "Task"       ? "taskUserDataKeys"
                                : typeName == "Resource" ? "resourceUserDataKeys"
                                                         : "projectUserDataKeys";
    willChangeValueForKey(listKey);
    _changeUserInfoKeyFromToForTypeInArray(oldKey, newKey, typeName, *keys);
    didChangeValueForKey(listKey);
}

void KSProject::_changeUserInfoKeyFromToForTypeInArray(const std::optional<std::string>& oldKey,
                                                       const std::optional<std::string>& newKey,
                                                       const std::string& typeName,
                                                       const std::vector<std::string>& array) {
    std::unordered_set<std::string>* set = nullptr;
    std::string ignored;
    std::vector<std::string>* keys = keyArrayMatching(array, &set, &ignored);
    if (!keys) return;

    // Undoing puts the list back exactly: a rename back in place, a re-added key at the
    // position it had, an addition removed.
    auto oldPosition = oldKey ? std::find(keys->begin(), keys->end(), *oldKey) : keys->end();
    std::ptrdiff_t oldIndex = oldPosition - keys->begin();
    registerUndo<KSProject>([oldKey, newKey, typeName, keys, oldIndex](KSProject& p) {
        p._changeUserInfoKeyFromToForTypeInArray(newKey, oldKey, typeName, *keys);
        if (oldKey && !newKey) {
            auto it = std::find(keys->begin(), keys->end(), *oldKey);
            if (it != keys->end() && it - keys->begin() != oldIndex) {
                keys->erase(it);
                keys->insert(
                    keys->begin() + std::min<std::ptrdiff_t>(
                                        oldIndex, static_cast<std::ptrdiff_t>(keys->size())),
                    *oldKey);
            }
        }
    });

    if (oldPosition != keys->end()) {
        if (newKey) {
            *oldPosition = *newKey;
        } else {
            keys->erase(oldPosition);
        }
    } else if (newKey) {
        keys->push_back(*newKey);
    }
    // The set follows the list, also when undo replays this change alone.
    fillSet(*set, *keys);

    KSDictionary info;
    if (oldKey) info.setObjectForKey(KSOldKeyNameKey, KSValue(*oldKey));
    if (newKey) info.setObjectForKey(KSNewKeyNameKey, KSValue(*newKey));
    info.setObjectForKey(KSTypeNameKey, KSValue(typeName));
    KSNotificationCenter::defaultCenter().postNotificationName(KSCustomKeyValueChangeNotification,
                                                               this, std::move(info));
}

}  // namespace kestrum
