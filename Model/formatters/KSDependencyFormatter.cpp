#include "Model/formatters/KSDependencyFormatter.h"

#include <array>
#include <cmath>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::size_t skipSpaces(std::string_view text, std::size_t pos) {
    while (pos < text.size() && isSpace(text[pos]))
        ++pos;
    return pos;
}

std::string_view trimmed(std::string_view text) {
    std::size_t begin = skipSpaces(text, 0);
    std::size_t end = text.size();
    while (end > begin && isSpace(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
        char y = b[i] >= 'A' && b[i] <= 'Z' ? static_cast<char>(b[i] - 'A' + 'a') : b[i];
        if (x != y) return false;
    }
    return true;
}

// The effort units of a lead: the project's, or the defaults outside a project.
KSTimeSpanFormatter& effortFormatterOf(const KSScenario* scenario) {
    if (scenario && scenario->project()) {
        if (const auto& shared = scenario->project()->sharedEffortFormatter()) return *shared;
    }
    static const std::shared_ptr<KSTimeSpanFormatter> fallback =
        std::make_shared<KSTimeSpanFormatter>();
    return *fallback;
}

}  // namespace

const KSClassInfo& KSDependencyFormatter::staticClassInfo() {
    using F = KSDependencyFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "KSDependencyFormatter", &KSFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("showingDependents", &F::showingDependents, &F::setShowingDependents);
        });
    return info;
}

KSDependencyFormatter::KSDependencyFormatter() = default;
KSDependencyFormatter::~KSDependencyFormatter() = default;

const std::string& KSDependencyFormatter::localizedInitialsForDependencyKind(
    KSDependencyKind kind) {
    static const std::array<std::string, 4> initials = {
        KSLocalizedString("SS (initials of Start-to-Start)", "SS"),
        KSLocalizedString("SF (initials of Start-to-Finish)", "SF"),
        KSLocalizedString("FS (initials of Finish-to-Start)", "FS"),
        KSLocalizedString("FF (initials of Finish-to-Finish)", "FF"),
    };
    static const std::string none;
    if (kind < KSDependencyStartToStart || kind > KSDependencyFinishToFinish) return none;
    return initials[static_cast<std::size_t>(kind)];
}

bool KSDependencyFormatter::usesFlatNumbering() const {
    return nonretainedScenario_ && nonretainedScenario_->project() &&
           nonretainedScenario_->project()->useFlatNumbering();
}

// --- Printing ------------------------------------------------------------------------------

std::string KSDependencyFormatter::stringForObjectValue(const KSValue& value) {
    auto dependency = value.asObjectOfType<KSDependency>();
    return dependency ? stringForDependency(*dependency) : std::string();
}

std::string KSDependencyFormatter::stringForDependency(const KSDependency& dependency) const {
    const KSTask* task = showingDependents_ ? dependency.dependent() : dependency.prerequisite();
    std::string text;
    if (task) {
        text = usesFlatNumbering() ? KSStringWithFormat("%d", task->numericalOrder())
                                   : task->positionalIDString();
    }
    if (dependency.dependencyKind() != KSDependencyFinishToStart)
        text += localizedInitialsForDependencyKind(dependency.dependencyKind());
    const double lead = dependency.leadTime();
    if (lead == 0.0) return text;
    if (dependency.leadTimeIsPercentage())
        return text +
               KSStringWithFormat("%+d%%", static_cast<long long>(std::lround(lead * 100.0)));
    std::string amount =
        effortFormatterOf(nonretainedScenario_).stringForTimeInterval(std::fabs(lead));
    return text +
           KSStringWithFormat("%c%@", static_cast<long long>(lead < 0.0 ? '-' : '+'), amount);
}

// --- Parsing -------------------------------------------------------------------------------

KSTask* KSDependencyFormatter::taskFromIDString(std::string_view idString) const {
    if (!nonretainedScenario_) return nullptr;
    std::shared_ptr<KSTask> task =
        usesFlatNumbering()
            ? nonretainedScenario_->taskFromNumericalOrder(KSIntValueOfString(idString))
            : nonretainedScenario_->taskFromPositionalID(idString);
    // Number 0 is the invisible root, which no link may name.
    if (!task || task == nonretainedScenario_->rootTask()) return nullptr;
    return task.get();
}

std::shared_ptr<KSDependency> KSDependencyFormatter::dependencyForString(
    std::string_view text, std::string* errorDescription) const {
    auto fail = [&](const std::string& message) -> std::shared_ptr<KSDependency> {
        if (errorDescription) *errorDescription = message;
        return nullptr;
    };
    // 1. The task's number: the longest run of digits and dots.
    std::size_t pos = skipSpaces(text, 0);
    std::size_t idEnd = text.find_first_not_of(".1234567890", pos);
    if (idEnd == std::string_view::npos) idEnd = text.size();
    if (idEnd == pos) {
        return fail(KSStringWithFormat(
            KSLocalizedString("\"%@\" names no task: a link starts with the task's number."),
            std::string(text)));
    }
    std::string_view idString = text.substr(pos, idEnd - pos);
    KSTask* task = taskFromIDString(idString);
    if (!task) {
        return fail(KSStringWithFormat(KSLocalizedString("There is no task %@ in this plan."),
                                       std::string(idString)));
    }
    // 2. A ghost with the task at the end this formatter shows.
    auto ghost = showingDependents_
                     ? KSDependency::ghostDependencyWithPrerequisiteAndDependent(nullptr, task)
                     : KSDependency::ghostDependencyWithPrerequisiteAndDependent(task, nullptr);
    pos = skipSpaces(text, idEnd);
    if (pos == text.size()) return ghost;
    // 3. The kind, tried from the last initials to the first.
    for (int kind = KSDependencyFinishToFinish; kind >= KSDependencyStartToStart; --kind) {
        const std::string& initials =
            localizedInitialsForDependencyKind(static_cast<KSDependencyKind>(kind));
        if (!initials.empty() &&
            equalsIgnoringASCIICase(text.substr(pos, initials.size()), initials)) {
            ghost->setDependencyKind(static_cast<KSDependencyKind>(kind));
            pos = skipSpaces(text, pos + initials.size());
            break;
        }
    }
    if (pos == text.size()) return ghost;
    // 4. A sign starts the lead; anything else ends the link as it stands.
    if (text[pos] != '-' && text[pos] != '+') return ghost;
    const bool negative = text[pos] == '-';
    std::string_view leadText = trimmed(text.substr(pos + 1));
    if (leadText.empty()) return ghost;
    double lead = 0.0;
    bool percentage = false;
    if (leadText.back() == '%') {
        lead = KSFloatValueOfString(leadText) / 100.0f;
        percentage = true;
    } else {
        KSValue amount;
        std::string leadError;
        if (!effortFormatterOf(nonretainedScenario_)
                 .getObjectValueForString(&amount, leadText, &leadError)) {
            return fail(KSStringWithFormat(
                KSLocalizedString("The lead of the link \"%@\" cannot be read: %@"),
                std::string(text), leadError));
        }
        if (auto span = amount.asObjectOfType<BKTimeSpan>()) {
            lead = span->floatValue();
        } else {
            lead = amount.doubleValue();
        }
    }
    if (!std::isfinite(lead)) {
        return fail(KSStringWithFormat(
            KSLocalizedString("The lead of the link \"%@\" is too large."), std::string(text)));
    }
    ghost->setLeadTimeIsPercentage(percentage);
    ghost->setLeadTime(negative ? -lead : lead);
    return ghost;
}

bool KSDependencyFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                    std::string* errorDescription) {
    std::shared_ptr<KSDependency> ghost = dependencyForString(text, errorDescription);
    if (!ghost) return false;
    if (out) *out = KSValue(ghost);
    return true;
}

bool KSDependencyFormatter::isPartialStringValidNewEditingString(std::string_view partialString,
                                                                 std::string*,
                                                                 std::string* errorDescription) {
    return dependencyForString(partialString, errorDescription) != nullptr;
}

bool KSDependencyFormatter::isPartialStringValidProposedSelectedRange(
    std::string* partialString, TWTextRange*, std::string_view, TWTextRange,
    std::string* errorDescription) {
    return partialString && dependencyForString(*partialString, errorDescription) != nullptr;
}

}  // namespace kestrum
