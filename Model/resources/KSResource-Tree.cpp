// KSResource: the resource tree, its searches and merges, order and links.
#include <algorithm>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSURL.h"

namespace kestrum {

std::vector<std::shared_ptr<KSResource>> KSResource::childResources() const {
    std::vector<std::shared_ptr<KSResource>> resources;
    if (!children()) return resources;
    resources.reserve(children()->size());
    for (const auto& child : *children()) {
        if (auto resource = std::dynamic_pointer_cast<KSResource>(child))
            resources.push_back(resource);
    }
    return resources;
}

void KSResource::_addLeavesToArray(std::vector<std::shared_ptr<KSResource>>& leaves) const {
    // An explicit stack keeps deep trees off the call stack; children go in order.
    std::vector<const KSResource*> stack{this};
    while (!stack.empty()) {
        const KSResource* resource = stack.back();
        stack.pop_back();
        if (resource->countOfChildren() == 0) {
            leaves.push_back(
                std::const_pointer_cast<KSResource>(resource->sharedFromThis<KSResource>()));
            continue;
        }
        const auto& kids = *resource->children();
        for (auto it = kids.rbegin(); it != kids.rend(); ++it) {
            if (auto* child = dynamic_cast<const KSResource*>(it->get())) stack.push_back(child);
        }
    }
}

std::vector<std::shared_ptr<KSResource>> KSResource::leafResources() const {
    std::vector<std::shared_ptr<KSResource>> leaves;
    _addLeavesToArray(leaves);
    return leaves;
}

std::shared_ptr<KSResource> KSResource::childResourceWithName(const std::string& name) const {
    for (const auto& child : childResources()) {
        if (child->name() == name) return child;
    }
    return nullptr;
}

std::shared_ptr<KSResource> KSResource::findResourceWithName(const std::string& name) const {
    // The root has no parent and is never found by name.
    if (parent() && name_ == name)
        return std::const_pointer_cast<KSResource>(sharedFromThis<KSResource>());
    for (const auto& child : childResources()) {
        if (auto found = child->findResourceWithName(name)) return found;
    }
    return nullptr;
}

bool KSResource::isDescendentOfResource(const KSResource& resource) const {
    return isAncestor(resource);
}

std::vector<std::shared_ptr<KSResource>> KSResource::allResourcesButSelf() const {
    std::vector<std::shared_ptr<KSResource>> resources;
    for (const auto& item : allItemsButSelf()) {
        if (auto resource = std::dynamic_pointer_cast<KSResource>(item))
            resources.push_back(resource);
    }
    return resources;
}

std::vector<std::shared_ptr<KSResource>> KSResource::allResourcesToIncludeInLeveling() const {
    std::vector<std::shared_ptr<KSResource>> resources;
    addDescendentsToIncludeInLevelingToArray(resources);
    return resources;
}

void KSResource::addDescendentsToIncludeInLevelingToArray(
    std::vector<std::shared_ptr<KSResource>>& array) const {
    auto self = std::const_pointer_cast<KSResource>(sharedFromThis<KSResource>());
    if (isGroupResource()) {
        std::size_t before = array.size();
        for (const auto& child : childResources())
            child->addDescendentsToIncludeInLevelingToArray(array);
        if (array.size() > before && parent()) array.push_back(self);
        return;
    }
    if (isMaterial()) return;
    if (unitsAvailable() != 0.0) array.push_back(self);
}

std::shared_ptr<KSResource> KSResource::discardDuplicateResourceUpdateMapping(
    const std::shared_ptr<KSResource>& other,
    std::vector<std::pair<std::string, std::shared_ptr<KSResource>>>* mapping) {
    if (!other || !other->name()) return nullptr;
    std::shared_ptr<KSResource> found = childResourceWithName(*other->name());
    if (!found) return nullptr;
    if (mapping) {
        for (auto& entry : *mapping) {
            if (entry.second == other) entry.second = found;
        }
    }
    if (other->isGroupResource()) {
        for (const auto& child : other->childResources()) {
            if (!found->discardDuplicateResourceUpdateMapping(child, mapping))
                found->insertObjectInChildrenAtIndex(child, found->countOfChildren());
        }
    }
    other->deleteSelf();
    return found;
}

void KSResource::insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                               std::size_t index) {
    childWillChangeSummaryValue();
    KSProjectItem::insertObjectInChildrenAtIndex(item, index);
    childDidChangeSummaryValue();
}

void KSResource::removeObjectFromChildrenAtIndex(std::size_t index) {
    childWillChangeSummaryValue();
    KSProjectItem::removeObjectFromChildrenAtIndex(index);
    childDidChangeSummaryValue();
}

void KSResource::replaceObjectInChildrenAtIndexWithObject(
    std::size_t index, const std::shared_ptr<KSProjectItem>& item) {
    childWillChangeSummaryValue();
    KSProjectItem::replaceObjectInChildrenAtIndexWithObject(index, item);
    childDidChangeSummaryValue();
}

// --- Order and links ---------------------------------------------------------------------------

int KSResource::compareByName(const KSResource& other) const {
    int result = name_.value_or("").compare(other.name_.value_or(""));
    return result < 0 ? -1 : result > 0 ? 1 : 0;
}

int KSResource::compareByEfficiency(const KSResource& other) const {
    return efficiency_ < other.efficiency_ ? -1 : efficiency_ > other.efficiency_ ? 1 : 0;
}

int KSResource::compareByUnitsAvailable(const KSResource& other) const {
    return unitsAvailable_ < other.unitsAvailable_   ? -1
           : unitsAvailable_ > other.unitsAvailable_ ? 1
                                                     : 0;
}

std::optional<std::string> KSResource::urlForResources(const KSResourceList& resources) {
    if (resources.empty() || !resources.back()) return std::nullopt;
    KSProject* project = resources.back()->project();
    KSDocumentProtocol* document = project ? project->document() : nullptr;
    std::optional<std::string> fileURL = document ? document->fileURL() : std::nullopt;
    if (!fileURL || fileURL->empty()) return std::nullopt;
    std::string path = KSPathFromFileURLString(*fileURL);
    std::string ids;
    for (const auto& resource : resources) {
        if (!resource) continue;
        if (!ids.empty()) ids += ",";
        ids += std::to_string(resource->objectId());
    }
    return KSPercentEscapedString(
        KSStringWithFormat("kestrum://localhost%@/resource/%@", path, ids), "/,:");
}

std::optional<std::string> KSResource::url() const {
    return urlForResources({std::const_pointer_cast<KSResource>(sharedFromThis<KSResource>())});
}

}  // namespace kestrum
