#include "Model/resources/KSResourceType.h"

#include <utility>

#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {

std::shared_ptr<KSResourceType> makeType(const char* name, const char* pluralKey,
                                         std::int32_t rank) {
    return std::make_shared<KSResourceType>(name, KSLocalizedString(name, name),
                                            KSLocalizedString(pluralKey, pluralKey), rank);
}

}  // namespace

const KSClassInfo& KSResourceType::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSResourceType>(
        "KSResourceType", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSResourceType>& b) {
            b.readOnly("name", &KSResourceType::name);
            b.readOnly("localizedName", &KSResourceType::localizedName);
            b.readOnly("localizedPluralName", &KSResourceType::localizedPluralName);
            b.readOnly("rank", &KSResourceType::rank);
        });
    return info;
}

KSResourceType::KSResourceType(std::string name, std::string localizedName,
                               std::string localizedPluralName, std::int32_t rank)
    : name_(std::move(name)),
      localizedName_(std::move(localizedName)),
      localizedPluralName_(std::move(localizedPluralName)),
      rank_(rank) {}

KSResourceType::~KSResourceType() = default;

const std::vector<std::shared_ptr<KSResourceType>>& KSResourceType::resourceTypesSet() {
    // Made once, on first use, and never released.
    static const std::vector<std::shared_ptr<KSResourceType>> types{
        makeType("Staff", "Staff", KSResourceTypeRankStaff),
        makeType("Equipment", "Equipment", KSResourceTypeRankEquipment),
        makeType("Material", "Materials", KSResourceTypeRankMaterial),
        makeType("Group", "Groups", KSResourceTypeRankGroup),
    };
    return types;
}

const std::shared_ptr<KSResourceType>& KSResourceType::staff() {
    return resourceTypesSet()[KSResourceTypeRankStaff];
}
const std::shared_ptr<KSResourceType>& KSResourceType::equipment() {
    return resourceTypesSet()[KSResourceTypeRankEquipment];
}
const std::shared_ptr<KSResourceType>& KSResourceType::material() {
    return resourceTypesSet()[KSResourceTypeRankMaterial];
}
const std::shared_ptr<KSResourceType>& KSResourceType::group() {
    return resourceTypesSet()[KSResourceTypeRankGroup];
}

std::shared_ptr<KSResourceType> KSResourceType::resourceTypeNamed(std::string_view name) {
    for (const auto& type : resourceTypesSet()) {
        if (type->name() == name) return type;
    }
    return nullptr;
}

std::shared_ptr<KSResourceType> KSResourceType::resourceTypeWithRank(std::int32_t rank) {
    if (rank < KSResourceTypeRankStaff || rank > KSResourceTypeRankGroup) return nullptr;
    return resourceTypesSet()[rank];
}

}  // namespace kestrum
