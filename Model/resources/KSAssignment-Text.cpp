// KSAssignment: the text form of a task's assignments and the change-log form.
#include "Model/resources/KSAssignment.h"

#include <cmath>
#include <functional>

#include "Model/formatters/KSAssignedAmountFormatter.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignedUnitsValue.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

constexpr std::string_view kDelimiters = "[]{};";

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string trimmed(std::string_view text) {
    std::size_t from = 0;
    std::size_t to = text.size();
    while (from < to && isSpace(text[from]))
        ++from;
    while (to > from && isSpace(text[to - 1]))
        --to;
    return std::string(text.substr(from, to - from));
}

// A scanner over the text that skips white space and newlines before each token.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}
    bool atEnd() {
        skipSpace();
        return at_ >= text_.size();
    }
    // The text up to the next delimiter; empty when none comes first.
    std::string upToDelimiter() {
        skipSpace();
        std::size_t from = at_;
        while (at_ < text_.size() && kDelimiters.find(text_[at_]) == std::string_view::npos)
            ++at_;
        return std::string(text_.substr(from, at_ - from));
    }
    // The text up to `mark`, or everything left.
    std::string upTo(char mark) {
        skipSpace();
        std::size_t from = at_;
        while (at_ < text_.size() && text_[at_] != mark)
            ++at_;
        return std::string(text_.substr(from, at_ - from));
    }
    // Takes `mark` when it comes next.
    bool scan(char mark) {
        skipSpace();
        if (at_ >= text_.size() || text_[at_] != mark) return false;
        ++at_;
        return true;
    }

private:
    void skipSpace() {
        while (at_ < text_.size() && isSpace(text_[at_]))
            ++at_;
    }
    std::string_view text_;
    std::size_t at_ = 0;
};

// One item of a text form: a name or id, an optional amount and optional specifics.
struct Item {
    std::string token;
    std::optional<std::string> amount;
    std::optional<std::string> specifics;
};

// Reads items until the text ends or stops parsing; `each` gets every complete item.
void scanItems(std::string_view text, const std::function<void(const Item&)>& each) {
    Scanner scanner(text);
    while (!scanner.atEnd()) {
        Item item;
        item.token = trimmed(scanner.upToDelimiter());
        if (item.token.empty()) return;
        if (scanner.scan('{')) {
            item.amount = scanner.upTo('}');
            if (!scanner.scan('}')) return;
        }
        if (scanner.scan('[')) {
            // No nesting: the first "]" closes the specifics.
            item.specifics = scanner.upTo(']');
            if (!scanner.scan(']')) return;
        }
        scanner.scan(';');
        each(item);
    }
}

// The tasks an assignment text applies to: a group's or split task's leaves, else itself.
KSTaskList targetsOfTask(KSTask* task) {
    KSTaskList targets;
    if (task->isGroup() || task->isSplitTask()) {
        task->addLeafTasksToArray(targets);
    } else {
        targets.push_back(task->sharedFromThis<KSTask>());
    }
    return targets;
}

std::string amountText(KSAssignedAmountFormatter& formatter, double units, double total,
                       bool asPercentage) {
    return formatter.stringForObjectValue(KSValue(
        KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(units, total, asPercentage)));
}

using Maker = std::function<std::shared_ptr<KSAssignment>(KSTask*, double, KSResource*)>;

// Makes the assignments of one item on every target, last target first.
void assignItem(const KSTaskList& targets, KSResource* resource, double units,
                const std::optional<std::string>& specifics, bool instantiate,
                const std::function<KSAssignmentList(std::string_view, KSTask*)>& readSpecifics,
                KSAssignmentList& result) {
    for (auto it = targets.rbegin(); it != targets.rend(); ++it) {
        KSTask* target = it->get();
        auto assignment =
            instantiate
                ? KSAssignment::assignmentWithTaskAndUnitsOfResource(target, units, resource)
                : KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(target, units, resource);
        if (!assignment) continue;
        result.push_back(assignment);
        if (!specifics) continue;
        KSAssignmentList made = readSpecifics(*specifics, target);
        assignment->setSpecificAssignments(made);
        result.insert(result.end(), made.begin(), made.end());
    }
}

}  // namespace

// --- The text form ---------------------------------------------------------------------------

std::string KSAssignment::stringForAssignments(const KSAssignmentList& assignments) {
    KSAssignedAmountFormatter formatter;
    std::string text;
    for (const auto& assignment : assignments) {
        KSResource* resource = assignment->resource();
        if (!resource) continue;
        if (!text.empty()) text += "; ";
        std::string name = resource->name().value_or("");
        if (assignment->unitsAssigned() == 1.0) {
            text += name;
        } else {
            // The amount is shown against what the resource has ("50% of 200%"), as the
            // assigned-amount formatter prints any value with a total.
            bool material = resource->isMaterial();
            text += KSStringWithFormat(
                "%@ {%@}", name,
                amountText(formatter, assignment->unitsAssigned(),
                           material ? 0.0 : resource->unitsAvailable(), !material));
        }
        if (assignment->specificAssignments()) {
            text += KSStringWithFormat(" [%@]",
                                       stringForAssignments(*assignment->specificAssignments()));
        }
    }
    return text;
}

KSAssignmentList KSAssignment::assignmentsForStringOnTaskInstantiate(std::string_view text,
                                                                     KSTask* task,
                                                                     bool instantiate) {
    KSAssignmentList result;
    if (!task) return result;
    KSScenario* scenario = task->scenario();
    KSTaskList targets = targetsOfTask(task);
    KSAssignedAmountFormatter formatter;
    if (task->isMilestone()) formatter.setMinValue(1.0f);
    auto readSpecifics = [](std::string_view specifics, KSTask* target) {
        return assignmentsForStringOnTaskInstantiate(specifics, target, false);
    };
    scanItems(text, [&](const Item& item) {
        if (!scenario) return;
        std::shared_ptr<KSResource> resource = scenario->resourceWithName(item.token);
        if (!resource) {
            // An unknown name makes a resource of that name, even for ghosts.
            resource = std::make_shared<KSResource>();
            resource->setName(item.token);
            KSResource& root = *scenario->rootResource();
            root.insertObjectInChildrenAtIndex(resource, root.countOfChildren());
        }
        double units = 1.0;
        if (item.amount) {
            formatter.setEditingAsPercentage(!resource->isMaterial());
            KSValue value;
            std::string error;
            if (formatter.getObjectValueForString(&value, *item.amount, &error)) {
                // An amount such as "nan" or "inf" reads as no number: no assignment.
                if (auto parsed = value.asObjectOfType<KSAssignedUnitsValue>())
                    units = std::isfinite(parsed->units()) ? parsed->units() : 0.0;
            }
        }
        assignItem(targets, resource.get(), units, item.specifics, instantiate, readSpecifics,
                   result);
    });
    return result;
}

// --- The change-log form ---------------------------------------------------------------------

std::string KSAssignment::changeLogStringForAssignments(const KSAssignmentList& assignments) {
    std::string text;
    for (const auto& assignment : assignments) {
        KSResource* resource = assignment->resource();
        if (!resource) continue;
        if (!text.empty()) text += "; ";
        std::string id = KSStringWithFormat("%ld", static_cast<long>(resource->objectId()));
        if (assignment->unitsAssigned() == 1.0) {
            text += id;
        } else {
            text += KSStringWithFormat(
                "%@ {%d}", id, static_cast<int>(std::lround(assignment->unitsAssigned() * 100.0)));
        }
        if (assignment->specificAssignments()) {
            text += KSStringWithFormat(
                " [%@]", changeLogStringForAssignments(*assignment->specificAssignments()));
        }
    }
    return text;
}

namespace {

// "0.5" is a fraction; "50" is a whole percent.
double changeLogUnits(const std::optional<std::string>& amount) {
    if (!amount) return 1.0;
    if (amount->find('.') != std::string::npos) return KSDoubleValueOfString(*amount);
    return static_cast<double>(KSIntValueOfString(*amount)) / 100.0;
}

}  // namespace

KSAssignmentList KSAssignment::assignmentsForChangelogStringOnTaskInstantiate(std::string_view text,
                                                                              KSTask* task,
                                                                              bool instantiate) {
    KSAssignmentList result;
    if (!task || !task->scenario()) return result;
    KSScenario* scenario = task->scenario();
    KSTaskList targets = targetsOfTask(task);
    auto readSpecifics = [](std::string_view specifics, KSTask* target) {
        return assignmentsForChangelogStringOnTaskInstantiate(specifics, target, false);
    };
    scanItems(text, [&](const Item& item) {
        auto resource = scenario->resourceWithIdentifier(KSIntegerValueOfString(item.token));
        if (!resource) return;
        assignItem(targets, resource.get(), changeLogUnits(item.amount), item.specifics,
                   instantiate, readSpecifics, result);
    });
    return result;
}

std::string KSAssignment::assignmentStringForChangelogStringOnTask(std::string_view text,
                                                                   KSTask* task) {
    KSScenario* scenario = task ? task->scenario() : nullptr;
    KSAssignedAmountFormatter formatter;
    std::string out;
    scanItems(text, [&](const Item& item) {
        if (!out.empty()) out += "; ";
        std::int64_t id = KSIntegerValueOfString(item.token);
        auto resource = scenario ? scenario->resourceWithIdentifier(id) : nullptr;
        double units = changeLogUnits(item.amount);
        out += resource ? resource->name().value_or("")
                        : KSStringWithFormat("<deleted resource id %d>", static_cast<int>(id));
        if (units != 1.0) {
            std::string amount =
                resource ? amountText(formatter, units,
                                      resource->isMaterial() ? 0.0 : resource->unitsAvailable(),
                                      !resource->isMaterial())
                         : amountText(formatter, units, units, true);
            out += KSStringWithFormat(" {%@}", amount);
        }
        if (item.specifics) {
            out += KSStringWithFormat(
                "[%@]", assignmentStringForChangelogStringOnTask(*item.specifics, task));
        }
    });
    return out;
}

std::string KSAssignment::translateResourceIdFromToForChangelogString(std::int64_t from,
                                                                      std::int64_t to,
                                                                      std::string_view text) {
    if (text.find(KSStringFromInteger(from)) == std::string_view::npos) return std::string(text);
    // The rebuilt string keeps each item's separator and translated specifics only: the
    // replaced id stays in a local value and is never written. Carried over as it is.
    std::string out;
    bool first = true;
    scanItems(text, [&](const Item& item) {
        std::int64_t id = KSIntegerValueOfString(item.token);
        if (id == from) id = to;
        (void)id;
        if (!first) out += "; ";
        first = false;
        if (item.specifics) {
            out += KSStringWithFormat(
                "[%@]", translateResourceIdFromToForChangelogString(from, to, *item.specifics));
        }
    });
    return out;
}

}  // namespace kestrum
