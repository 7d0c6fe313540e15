// KSFilter: a named predicate over tasks or resources, kept by the project.
//
// Views and publish actions choose rows with a filter; the project keeps its filters by
// `filterId`. A new filter takes a fresh identifier, and its name is that identifier
// until it is named.
//
//   auto filter = KSFilter::filterWithPredicate(
//       KSPredicate::predicateWithFormat("title CONTAINS[cd] %@", {KSValue("revue")}));
//   filter->setName("Reviews");
//   project->addFilter(filter);
//   bool shown = filter->predicate()->evaluateWithObject(KSValue(task));
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSBaseObject.h"
#include "Platform/predicate/KSPredicate.h"

namespace kestrum {

class KSFilter : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // A filter with a new identifier, named by it, with no predicate.
    KSFilter();
    ~KSFilter() override;
    // A new filter with `predicate`.
    static std::shared_ptr<KSFilter> filterWithPredicate(KSPredicatePtr predicate);

    // The identifier the project keys the filter by.
    const std::string& filterId() const { return filterId_; }
    void setFilterId(std::string filterId);
    // The name shown; the identifier until set.
    const std::string& name() const { return name_; }
    void setName(std::string name);
    // The condition; null matches nothing in particular and is the caller's to treat.
    const KSPredicatePtr& predicate() const { return predicate_; }
    void setPredicate(KSPredicatePtr predicate);
    // Whether matches show as a flat list rather than in their outline; false.
    bool displayFlatLeaves() const { return displayFlatLeaves_; }
    void setDisplayFlatLeaves(bool flag);

    // Whether the predicate holds for `object`; false without a predicate.
    bool matchesObject(const KSValue& object) const;
    // Plain comparison of the names (-1, 0, 1).
    int compareName(const KSFilter& other) const;

private:
    std::string filterId_;
    std::string name_;
    KSPredicatePtr predicate_;
    bool displayFlatLeaves_ = false;
};

}  // namespace kestrum
