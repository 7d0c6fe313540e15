// KSResourceType: the kind of a resource: staff, equipment, material or group.
//
// There are exactly four types, made once and shared; a resource points at one of them.
// The rank is the type's number in files and change logs (0 staff, 1 equipment,
// 2 material, 3 group), the name its untranslated word and the table key of its
// localized names.
//
//   const auto& type = KSResourceType::material();
//   if (type->isMaterial()) ...;
//   KSResourceType::resourceTypeWithRank(3) == KSResourceType::group();   // true
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

// Ranks of the resource types.
inline constexpr std::int32_t KSResourceTypeRankStaff = 0;
inline constexpr std::int32_t KSResourceTypeRankEquipment = 1;
inline constexpr std::int32_t KSResourceTypeRankMaterial = 2;
inline constexpr std::int32_t KSResourceTypeRankGroup = 3;

class KSResourceType : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Use the four shared types; this is public only for std::make_shared.
    KSResourceType(std::string name, std::string localizedName, std::string localizedPluralName,
                   std::int32_t rank);
    ~KSResourceType() override;

    // The four shared types.
    static const std::shared_ptr<KSResourceType>& staff();
    static const std::shared_ptr<KSResourceType>& equipment();
    static const std::shared_ptr<KSResourceType>& material();
    static const std::shared_ptr<KSResourceType>& group();
    // All four, in rank order.
    static const std::vector<std::shared_ptr<KSResourceType>>& resourceTypesSet();
    // The type with exactly that name ("Staff", "Equipment", "Material", "Group"), or null.
    static std::shared_ptr<KSResourceType> resourceTypeNamed(std::string_view name);
    // The type of that rank, or null.
    static std::shared_ptr<KSResourceType> resourceTypeWithRank(std::int32_t rank);

    // The untranslated name, the key of the localized names.
    const std::string& name() const { return name_; }
    const std::string& localizedName() const { return localizedName_; }
    const std::string& localizedPluralName() const { return localizedPluralName_; }
    std::int32_t rank() const { return rank_; }

    bool isStaff() const { return rank_ == KSResourceTypeRankStaff; }
    bool isEquipment() const { return rank_ == KSResourceTypeRankEquipment; }
    bool isMaterial() const { return rank_ == KSResourceTypeRankMaterial; }
    bool isGroup() const { return rank_ == KSResourceTypeRankGroup; }
    bool isStaffOrGroup() const { return isStaff() || isGroup(); }

    // The localized name.
    std::string description() const override { return localizedName_; }

private:
    std::string name_;
    std::string localizedName_;
    std::string localizedPluralName_;
    std::int32_t rank_;
};

}  // namespace kestrum
