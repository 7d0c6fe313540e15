// KSDependencyFormatter: one link as the short text of a prerequisites or dependents
// cell, and such text back as a ghost link.
//
// The text names the task at the other end by the number the plan shows (the flat number
// with flat numbering, else the outline position such as 3.1), then the kind's initials
// unless the link is finish to start, then the lead: "12", "12FF+2d", "3.1SS", "7SS-10%".
// A lead in time is written in the project's effort units; a percentage as a whole
// number of percent. Reading gives a ghost (KSDependency in no list) with the named task
// at the end this formatter shows and no task at the other end, for the cell to complete
// and instantiate.
//
//   KSDependencyFormatter formatter;
//   formatter.setScenario(scenario.get());
//   KSValue link;
//   formatter.getObjectValueForString(&link, "5ss+1d", &error);   // SS, one day's lead
//
// Grammar of the text: the longest run of ".0123456789" names the task; then, optionally
// and without regard to case, a kind's initials; then "+" or "-" and the lead. Anything
// after the task or the kind that starts with neither sign is ignored: "5x" is a plain
// link to task 5. A part with no initials is finish to start.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Model/tasks/KSDependency.h"
#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

class KSScenario;
class KSTask;

class KSDependencyFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    KSDependencyFormatter();
    ~KSDependencyFormatter() override;

    // The plan whose tasks the text names (not retained; may be null).
    KSScenario* scenario() const { return nonretainedScenario_; }
    void setScenario(KSScenario* scenario) { nonretainedScenario_ = scenario; }
    // True: the text names a link's dependent (a dependents cell); false: its
    // prerequisite (a prerequisites cell, the default).
    bool showingDependents() const { return showingDependents_; }
    void setShowingDependents(bool flag) { showingDependents_ = flag; }

    // "SS", "SF", "FS", "FF" for the kinds 0 to 3, localized once; "" out of range.
    static const std::string& localizedInitialsForDependencyKind(KSDependencyKind kind);

    // The text of a KSDependency object; "" for anything else.
    std::string stringForObjectValue(const KSValue& value) override;
    // The text of one link.
    std::string stringForDependency(const KSDependency& dependency) const;
    // A ghost KSDependency read from `text`, or false with a description of the problem.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // The ghost read from `text`, or null with a description of the problem.
    std::shared_ptr<KSDependency> dependencyForString(std::string_view text,
                                                      std::string* errorDescription) const;
    // Whether the text reads as a link.
    bool isPartialStringValidNewEditingString(std::string_view partialString,
                                              std::string* newString,
                                              std::string* errorDescription) override;
    bool isPartialStringValidProposedSelectedRange(std::string* partialString,
                                                   TWTextRange* proposedSelectedRange,
                                                   std::string_view originalString,
                                                   TWTextRange originalSelectedRange,
                                                   std::string* errorDescription) override;

    // The task a number names: the flat number with flat numbering, else the outline
    // position. The root task is no answer; null when nothing is found.
    KSTask* taskFromIDString(std::string_view idString) const;

private:
    bool usesFlatNumbering() const;

    KSScenario* nonretainedScenario_ = nullptr;
    bool showingDependents_ = false;
};

}  // namespace kestrum
