// KSDependenciesFormatter: the links of a task as the comma-separated text of its
// prerequisites or dependents cell ("3, 5SS+1d, 7FF-10%"), and such text back as a list
// of ghost links.
//
// Each link goes through a KSDependencyFormatter that this formatter owns. Reading never
// fails: a piece that names no task, or cannot be read otherwise, is left out and the
// other pieces stay, so that one mistyped number does not lose the rest of the cell.
//
//   KSDependenciesFormatter formatter;
//   formatter.setScenario(scenario.get());
//   KSValue links;
//   formatter.getObjectValueForString(&links, "3, 5SS+1d", nullptr);  // two ghosts
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Model/formatters/KSDependencyFormatter.h"

namespace kestrum {

class KSDependenciesFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    KSDependenciesFormatter();
    ~KSDependenciesFormatter() override;

    // The formatter of each link.
    KSDependencyFormatter& depFormatter() const { return *depFormatter_; }
    // The plan whose tasks the text names (not retained; may be null); also the link
    // formatter's.
    KSScenario* scenario() const { return nonretainedScenario_; }
    void setScenario(KSScenario* scenario);
    // Whether the links name their dependents rather than their prerequisites (the link
    // formatter's setting).
    bool showingDependents() const { return depFormatter_->showingDependents(); }
    void setShowingDependents(bool flag) { depFormatter_->setShowingDependents(flag); }

    // A list of KSDependency objects, each as the link formatter prints it, joined with
    // ", "; "" for an empty list and for anything that is not a list.
    std::string stringForObjectValue(const KSValue& value) override;
    // A list of ghosts from the pieces between commas; unreadable pieces are left out.
    // Always true.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // The ghosts read from `text`, as getObjectValueForString makes them.
    KSDependency::List dependenciesForString(std::string_view text) const;

private:
    std::shared_ptr<KSDependencyFormatter> depFormatter_;
    KSScenario* nonretainedScenario_ = nullptr;
};

}  // namespace kestrum
