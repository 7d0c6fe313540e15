#include "Model/resources/KSAssignmentError.h"

#include "Model/formatters/KSAssignedAmountFormatter.h"
#include "Model/resources/KSAssignedUnitsValue.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSAssignmentError::staticClassInfo() {
    static const KSClassInfo info =
        KSClassInfo::make<KSAssignmentError>("KSAssignmentError", &KSIssue::staticClassInfo(),
                                             [](KSClassBuilder<KSAssignmentError>&) {});
    return info;
}

KSAssignmentError::KSAssignmentError(KSTask* task, KSResource* resource)
    : KSIssue(task), nonretainedResource_(resource) {}

KSAssignmentError::~KSAssignmentError() = default;

std::string KSAssignmentError::shortDescription() const {
    return KSLocalizedString("More resources assigned than are available");
}

std::string KSAssignmentError::resultHTMLStringForRawHTMLString(const std::string& rawHTML) const {
    if (!nonretainedResource_ || !task()) return rawHTML;
    KSAssignedAmountFormatter formatter;
    bool percent = !nonretainedResource_->isMaterial();
    auto text = [&](double units) {
        return formatter.stringForObjectValue(
            KSValue(KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(units, 0.0, percent)));
    };
    double required = nonretainedResource_->countOfChildren() > 0
                          ? task()->totalRequirementForResource(*nonretainedResource_)
                          : 0.0;
    if (auto assignment = task()->specificAssignmentForResource(nonretainedResource_)) {
        if (nonretainedResource_->countOfChildren() == 0) required = assignment->unitsAssigned();
    }
    return KSStringWithFormat(rawHTML, nonretainedResource_->name().value_or(""), text(required),
                              text(nonretainedResource_->unitsAvailable()));
}

}  // namespace kestrum
