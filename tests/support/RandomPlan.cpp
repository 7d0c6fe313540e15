// Random plans and edits for the date-cache differential test (see RandomPlan.h).
#include "support/RandomPlan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {

namespace {

// The plan's dates stay within a few weeks of these.
const KSDateTime kPlanStart = at(2024, 1, 8, 8);  // a Monday
const KSDateTime kPlanEnd = at(2024, 2, 9, 17);   // a Friday

std::string hoursText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%gh", seconds / kHour);
    return text;
}

const char* kindText(KSDependencyKind kind) {
    static const char* const names[] = {"SS", "SF", "FS", "FF"};
    return kind >= 0 && kind <= 3 ? names[kind] : "?";
}

const char* typeText(KSTaskType type) {
    static const char* const names[] = {"task", "milestone", "group", "hammock"};
    return type >= 0 && type <= 3 ? names[type] : "?";
}

// What kind of task a value belongs to, for the signature of a failure.
const char* kindOf(const KSTask& t) {
    if (!t.parent()) return "root";
    if (t.isSplitChunk()) return "chunk";
    if (t.isSplitTask()) return "split";
    if (t.isGroup()) return "group";
    return typeText(t.storedTaskType());
}

bool isPlainLeaf(const KSTask& t) {
    return !t.children() && !t.isSplitChunk() && t.storedTaskType() == taskTypeTask;
}
bool hasWork(const KSTask& t) {
    return !t.children() && !t.isMilestone();
}
bool isAnyTask(const KSTask&) {
    return true;
}
bool isNotChunk(const KSTask& t) {
    return !t.isSplitChunk();
}
bool isNotGroup(const KSTask& t) {
    return !t.isGroup();
}
bool isSplit(const KSTask& t) {
    return t.isSplitTask();
}
bool isChunk(const KSTask& t) {
    return t.isSplitChunk();
}

}  // namespace

struct RandomPlan::Reading {
    KSDateTime date;
    double number = 0.0;
    bool isNumber = false;

    bool operator==(const Reading& other) const {
        return isNumber == other.isNumber && number == other.number &&
               date.isIdenticalTo(other.date);
    }
};

const char* RandomPlan::quantityName(Quantity quantity) {
    static const char* const names[kQuantityCount] = {
        "startDate",           "endDate",
        "currentStartLimit",   "currentStartLimit excluding opposite",
        "currentEndLimit",     "currentEndLimit excluding opposite",
        "absoluteStartLimit",  "absoluteEndLimit",
        "earliestPossibleEnd", "latestPossibleStart",
        "levelingStartLimit",  "levelingEndLimit",
        "freeSlack",           "totalSlack",
        "uncompletedStartDate"};
    return names[static_cast<int>(quantity)];
}

RandomPlan::RandomPlan(std::uint64_t seed, std::set<std::uint64_t> skipped)
    : seed_(seed), skipped_(std::move(skipped)), random_(seed) {
    project_ = std::make_shared<KSProject>(&document_);
    scenario_ = std::make_shared<KSScenario>();
    project_->addScenario(scenario_);
    builder_.buildInto(*scenario_);
    endOfEvent();
}

RandomPlan::~RandomPlan() {
    project_->invalidate();
    endOfEvent();
}

void RandomPlan::endOfEvent() {
    KSRunLoop::current().runUntilIdle();
    KSRunLoop::current().runOnce();
}

// --- Random choices ---------------------------------------------------------------------------

bool RandomPlan::beginStep(std::uint64_t step) {
    // A stream of its own for every step (splitmix64 of the seed and the step).
    std::uint64_t z = seed_ * 0x9E3779B97F4A7C15ull + step + 0x632BE59BD9B4E019ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    random_.seed(z ^ (z >> 31));
    if (skipped_.count(step)) return false;
    if (step != 0 && !kept_.empty() && !kept_.count(step)) return false;
    applied_.push_back(step);
    log("[" + std::to_string(step) + "]");
    return true;
}

KSDateTime RandomPlan::randomDate() {
    // Mostly working hours of working days; now and then a weekend or an odd minute.
    static const int hours[] = {8, 10, 12, 13, 15, 17};
    KSDateTime day = kPlanStart.dateByAddingDays(below(36) - 6);
    if (chance(10)) return KSDateTime(day.dayNumber(), below(24 * 60) * 60.0);
    return KSDateTime(day.dayNumber(), hours[below(6)] * kHour);
}

double RandomPlan::randomHours() {
    static const double hours[] = {1, 2, 4, 6, 8, 8, 12, 16, 24, 40};
    if (chance(3)) return 0.0;
    return hours[below(10)] * kHour;
}

double RandomPlan::randomLead(bool* share) {
    static const double hours[] = {-8, -4, -2, 1, 2, 4, 8, 16};
    static const double shares[] = {-0.5, -0.25, 0.25, 0.5, 1.0};
    *share = false;
    const int roll = below(100);
    if (roll < 50) return 0.0;
    if (roll < 78) return hours[below(8)] * kHour;
    *share = true;
    return shares[below(5)];
}

// --- Picking ------------------------------------------------------------------------------------

std::vector<std::shared_ptr<KSTask>> RandomPlan::liveTasks() const {
    return scenario_->rootTask()->allTasksButSelf();
}

std::shared_ptr<KSTask> RandomPlan::pickTask(bool (*filter)(const KSTask&)) {
    std::vector<std::shared_ptr<KSTask>> candidates;
    for (const auto& t : liveTasks()) {
        if (filter(*t)) candidates.push_back(t);
    }
    if (candidates.empty()) return nullptr;
    return candidates[static_cast<std::size_t>(below(static_cast<int>(candidates.size())))];
}

std::shared_ptr<KSTask> RandomPlan::pickParent(bool allowPlainTasks) {
    // The root half of the time; otherwise a group, or a plain task that becomes one.
    if (chance(50)) return scenario_->rootTask();
    std::vector<std::shared_ptr<KSTask>> candidates;
    for (const auto& t : liveTasks()) {
        if (t->isGroup() || (allowPlainTasks && isPlainLeaf(*t))) candidates.push_back(t);
    }
    if (candidates.empty()) return scenario_->rootTask();
    return candidates[static_cast<std::size_t>(below(static_cast<int>(candidates.size())))];
}

std::vector<std::shared_ptr<KSDependency>> RandomPlan::liveLinks() const {
    std::vector<std::shared_ptr<KSDependency>> links;
    for (const auto& t : liveTasks()) {
        for (const auto& link : t->prerequisites())
            links.push_back(link);
    }
    return links;
}

std::string RandomPlan::name(const KSTask& task) const {
    if (&task == scenario_->rootTask().get()) return "root";
    return task.title().value_or("?");
}

std::string RandomPlan::newTitle(const char* prefix) {
    return prefix + std::to_string(++titles_);
}

void RandomPlan::log(std::string line) {
    // KESTRUM_RANDOM_PLAN_TRACE=1 prints every step as it is taken: for a case that hangs
    // or crashes before it can report.
    static const bool trace = [] {
        const char* flag = std::getenv("KESTRUM_RANDOM_PLAN_TRACE");
        return flag && *flag && *flag != '0';
    }();
    if (trace)
        std::fprintf(stderr, "seed %llu: %s\n", static_cast<unsigned long long>(seed_),
                     line.c_str());
    log_.push_back(std::move(line));
}

// --- Building -----------------------------------------------------------------------------------

std::shared_ptr<KSTask> RandomPlan::addRandomItem(const std::shared_ptr<KSTask>& parent) {
    const std::shared_ptr<KSTask> into =
        parent == scenario_->rootTask() ? std::shared_ptr<KSTask>() : parent;
    const std::string where = " in " + name(parent ? *parent : *scenario_->rootTask());
    const int roll = below(100);
    std::shared_ptr<KSTask> made;
    if (roll < 55) {
        const double hours = randomHours();
        const std::string title = newTitle("T");
        log("task " + title + " " + hoursText(hours) + where);
        made = builder_.task(title, hours / kHour, into);
    } else if (roll < 70) {
        const std::string title = newTitle("G");
        log("group " + title + where);
        made = builder_.group(title, into);
    } else if (roll < 82) {
        const std::string title = newTitle("M");
        log("milestone " + title + where);
        made = builder_.milestone(title, into);
    } else {
        const std::string title = newTitle("S");
        std::vector<double> hours;
        std::vector<KSDateTime> resumes;
        std::string line = "split " + title + where + " chunks";
        const int chunks = 2 + below(2);
        for (int i = 0; i < chunks; ++i) {
            double h = randomHours();
            if (h == 0.0) h = 4 * kHour;
            hours.push_back(h / kHour);
            line += " " + hoursText(h);
            if (i > 0) {
                // Now and then a chunk against the one before: they rejoin when the group
                // closes.
                KSDateTime resume = chance(20) ? KSDateTime() : randomDate();
                resumes.push_back(resume);
                line += "@" + iso(resume);
            }
        }
        log(line);
        made = builder_.split(title, hours, resumes, into);
    }
    everyTask_.push_back(made);
    if (made->children()) {
        for (const auto& chunk : *made->children())
            everyTask_.push_back(std::static_pointer_cast<KSTask>(chunk));
    }
    return made;
}

void RandomPlan::addRandomLink() {
    auto before = pickTask(isNotChunk);
    auto after = pickTask(isNotChunk);
    if (!before || !after) return;
    const KSDependencyKind kind = randomKind();
    bool share = false;
    const double lead = randomLead(&share);
    log("link " + name(*before) + " -> " + name(*after) + " " + kindText(kind) +
        (lead == 0.0 ? std::string()
         : share     ? " " + std::to_string(lead * 100) + "% of effort"
                     : " lead " + hoursText(lead)));
    if (share) {
        builder_.linkByShare(before, after, kind, lead);
    } else {
        builder_.link(before, after, kind, lead);
    }
}

// Step numbers: 1 the anchor; 100 + i the items; 1000 + i the links; 2000 + i the hammocks;
// 3000 + i the schedule type, lock and constraint of the i-th task; 1000000 + i edit i.
void RandomPlan::build(int minimumTasks, int maximumTasks) {
    beginStep(0);
    const bool anchoredAtEnd = chance(30);
    const int count = minimumTasks + below(maximumTasks - minimumTasks + 1);
    const int links = below(count + 3);
    const int hammocks = hammocks_ ? below(3) : 0;
    applied_.clear();
    log_.clear();
    if (beginStep(1)) {
        if (anchoredAtEnd) {
            log("anchor end " + iso(kPlanEnd));
            builder_.anchorEnd(kPlanEnd);
        } else {
            log("anchor start " + iso(kPlanStart));
            builder_.anchorStart(kPlanStart);
        }
    }
    for (int i = 0; i < count; ++i) {
        if (beginStep(100 + static_cast<std::uint64_t>(i))) addRandomItem(pickParent(false));
    }
    for (int i = 0; i < links; ++i) {
        if (beginStep(1000 + static_cast<std::uint64_t>(i))) addRandomLink();
    }
    // Hammocks: between two tasks of the plan.
    for (int i = 0; i < hammocks; ++i) {
        if (!beginStep(2000 + static_cast<std::uint64_t>(i))) continue;
        auto from = pickTask(isNotChunk);
        auto to = pickTask(isNotChunk);
        if (!from || !to) continue;
        const std::string title = newTitle("H");
        log("hammock " + title + " from " + name(*from) + " to " + name(*to));
        auto parent = pickParent(false);
        everyTask_.push_back(
            builder_.hammock(title, from, to, parent == scenario_->rootTask() ? nullptr : parent));
    }
    const auto tasks = liveTasks();
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        if (beginStep(3000 + i)) decorate(tasks[i]);
    }
}

void RandomPlan::decorate(const std::shared_ptr<KSTask>& t) {
    if (chance(20)) {
        log("ALAP " + name(*t));
        t->setScheduleType(scheduleTypeALAP);
    }
    // A split task's locks stand on its chunks: its lock setters pass them on, and a lock
    // date set on the split task itself would make its dates and its chunks' read each
    // other. Such a task is locked where it stands, as a user locks it.
    if (!chance(8) || t->isGroup()) {
        // No lock.
    } else if (t->isSplitTask()) {
        const bool start = chance(50);
        log(std::string(start ? "setIsStartDateLocked " : "setIsEndDateLocked ") + name(*t) +
            " true");
        if (start) {
            t->setIsStartDateLocked(true);
        } else {
            t->setIsEndDateLocked(true);
        }
    } else {
        KSDateTime date = randomDate();
        const bool start = chance(50);
        log(std::string(start ? "lock start " : "lock end ") + name(*t) + " " + iso(date));
        if (start) {
            builder_.lockStart(t, date);
        } else {
            builder_.lockEnd(t, date);
        }
    }
    if (chance(25)) {
        static const char* const names[] = {"start no earlier than", "end no earlier than",
                                            "start no later than", "end no later than"};
        auto kind = static_cast<PlanBuilder::Constraint>(below(4));
        KSDateTime date = randomDate();
        log(std::string(names[kind]) + " " + name(*t) + " " + iso(date));
        builder_.constrain(t, kind, date);
    }
}

// --- Edits --------------------------------------------------------------------------------------

void RandomPlan::edit() {
    ++edits_;
    clearsAllDates_ = false;
    if (!beginStep(1000000 + static_cast<std::uint64_t>(edits_))) return;
    // The weights of the edit kinds, in the order of applyEdit's cases.
    static const int weights[] = {12, 4, 6, 10, 8, 5, 6, 8, 6, 6, 3, 5, 4, 3, 5, 2, 5, 3, 6, 6};
    int total = 0;
    for (int w : weights)
        total += w;
    int roll = below(total);
    int kind = 0;
    while (roll >= weights[kind]) {
        roll -= weights[kind];
        ++kind;
    }
    clearsAllDates_ = applyEdit(kind);
}

bool RandomPlan::applyEdit(int kind) {
    switch (kind) {
        case 0:
            return editEffort();
        case 1:
            return editCompletion();
        case 2:
            return editTaskType();
        case 3:
            return editAddLink();
        case 4:
            return editChangeLink();
        case 5:
            return editRemoveLink();
        case 6:
            return editLock();
        case 7:
            return editConstraint();
        case 8:
            return editScheduleType();
        case 9:
            return editMove();
        case 10:
            return editDelete();
        case 11:
            return editAddTask();
        case 12:
            return editSplit();
        case 13:
            return editAnchor();
        case 14:
            return editDateSetter();
        case 15:
            return editDuration();
        case 16:
            return editUndoRedo(true);
        case 17:
            return editUndoRedo(false);
        case 18:
            log("end of event");
            endOfEvent();
            // Rejoining chunks may turn a split task whole again.
            return true;
        default:
            return editBurst();
    }
}

bool RandomPlan::editEffort() {
    auto t = pickTask(hasWork);
    if (!t) return editAddTask();
    const double hours = randomHours();
    log("setEffort " + name(*t) + " " + hoursText(hours));
    t->setEffort(hours);
    return false;
}

bool RandomPlan::editCompletion() {
    auto t = pickTask(isNotGroup);
    if (!t) return editAddTask();
    static const double fractions[] = {0.0, 0.25, 0.5, 1.0};
    const double fraction = fractions[below(4)];
    log("setCompleted " + name(*t) + " " + std::to_string(fraction));
    t->setCompleted(fraction);
    return false;
}

bool RandomPlan::editTaskType() {
    auto t =
        pickTask([](const KSTask& task) { return !task.isSplitChunk() && !task.isSplitTask(); });
    if (!t) return editAddTask();
    auto type = static_cast<KSTaskType>(below(4));
    if (type == taskTypeHammock && !hammocks_) type = taskTypeTask;
    log("setTaskType " + name(*t) + " " + typeText(type));
    t->setTaskType(type);
    return true;
}

bool RandomPlan::editAddLink() {
    addRandomLink();
    return false;
}

bool RandomPlan::editChangeLink() {
    auto links = liveLinks();
    if (links.empty()) return editAddLink();
    auto link = links[static_cast<std::size_t>(below(static_cast<int>(links.size())))];
    const std::string which = name(*link->prerequisite()) + " -> " + name(*link->dependent());
    switch (below(4)) {
        case 0: {
            const KSDependencyKind kind = randomKind();
            log("setDependencyKind " + which + " " + kindText(kind));
            link->setDependencyKind(kind);
            break;
        }
        case 1: {
            bool share = false;
            double lead = randomLead(&share);
            if (link->leadTimeIsPercentage() || share) lead = share ? lead : 0.25;
            log("setLeadTime " + which + " " + std::to_string(lead));
            link->setLeadTime(lead);
            break;
        }
        case 2:
            log("setLeadTimeIsPercentage " + which + " " +
                (link->leadTimeIsPercentage() ? "false" : "true"));
            link->setLeadTimeIsPercentage(!link->leadTimeIsPercentage());
            break;
        default:
            log("setLeadTime " + which + " 0");
            link->setLeadTime(0.0);
            break;
    }
    return false;
}

bool RandomPlan::editRemoveLink() {
    auto links = liveLinks();
    if (links.empty()) return editAddLink();
    auto link = links[static_cast<std::size_t>(below(static_cast<int>(links.size())))];
    log("remove link " + name(*link->prerequisite()) + " -> " + name(*link->dependent()));
    link->remove();
    return false;
}

bool RandomPlan::editLock() {
    auto t = pickTask(isNotGroup);
    if (!t) return editAddTask();
    // A split task is locked through its chunks (see decorate).
    switch (t->isSplitTask() ? below(2) : below(4)) {
        case 0:
            log(std::string("setIsStartDateLocked ") + name(*t) + " " +
                (t->isStartDateLocked() ? "false" : "true"));
            t->setIsStartDateLocked(!t->isStartDateLocked());
            break;
        case 1:
            log(std::string("setIsEndDateLocked ") + name(*t) + " " +
                (t->isEndDateLocked() ? "false" : "true"));
            t->setIsEndDateLocked(!t->isEndDateLocked());
            break;
        case 2: {
            KSDateTime date = chance(25) ? KSDateTime() : randomDate();
            log("setStartLockedDate " + name(*t) + " " + iso(date));
            t->setStartLockedDate(date);
            break;
        }
        default: {
            KSDateTime date = chance(25) ? KSDateTime() : randomDate();
            log("setEndLockedDate " + name(*t) + " " + iso(date));
            t->setEndLockedDate(date);
            break;
        }
    }
    return false;
}

bool RandomPlan::editConstraint() {
    auto t = pickTask(isAnyTask);
    if (!t) return editAddTask();
    const int roll = below(10);
    if (roll < 8) {
        static const char* const names[] = {"setStartAfter", "setEndAfter", "setStartBefore",
                                            "setEndBefore"};
        auto kind = static_cast<PlanBuilder::Constraint>(roll % 4);
        KSDateTime date = roll >= 6 && chance(50) ? KSDateTime() : randomDate();
        log(std::string(names[kind]) + " " + name(*t) + " " + iso(date));
        builder_.constrain(t, kind, date);
    } else if (roll == 8) {
        auto end = t->noEarlierThanConstrainedTaskEnd() == KSConstrainedTaskEndStart
                       ? KSConstrainedTaskEndEnd
                       : KSConstrainedTaskEndStart;
        log("setNoEarlierThanConstrainedTaskEnd " + name(*t) + " " + std::to_string(end));
        t->setNoEarlierThanConstrainedTaskEnd(end);
    } else {
        auto end = t->noLaterThanConstrainedTaskEnd() == KSConstrainedTaskEndStart
                       ? KSConstrainedTaskEndEnd
                       : KSConstrainedTaskEndStart;
        log("setNoLaterThanConstrainedTaskEnd " + name(*t) + " " + std::to_string(end));
        t->setNoLaterThanConstrainedTaskEnd(end);
    }
    return false;
}

bool RandomPlan::editScheduleType() {
    auto t = pickTask(isAnyTask);
    if (!t) return editAddTask();
    const auto type = chance(50) ? scheduleTypeALAP : scheduleTypeASAP;
    log(std::string("setScheduleType ") + name(*t) +
        (type == scheduleTypeALAP ? " ALAP" : " ASAP"));
    t->setScheduleType(type);
    return false;
}

bool RandomPlan::editMove() {
    auto t = pickTask(isNotChunk);
    if (!t) return editAddTask();
    KSTask* parent = t->parentTask();
    std::shared_ptr<KSTask> into;
    std::size_t index = 0;
    const int roll = below(10);
    const std::size_t rank = parent ? *parent->indexOfChild(*t) : 0;
    if (roll < 3 && parent && rank > 0) {
        // Indent: under the task above it.
        into = parent->childTaskAtIndex(rank - 1);
        index = into->countOfChildren();
    } else if (roll < 5 && parent && parent->parentTask()) {
        // Outdent: after its parent.
        KSTask* grand = parent->parentTask();
        into = grand->sharedFromThis<KSTask>();
        index = *grand->indexOfChild(*parent) + 1;
    } else {
        into = pickParent(true);
        index = static_cast<std::size_t>(below(static_cast<int>(into->countOfChildren()) + 1));
    }
    if (!into || into.get() == t.get() || into->isSplitTask() || into->isSplitChunk() ||
        t->isAncestor(*into) || into->isMilestone() || into->isHammockTask()) {
        log("move " + name(*t) + ": no place");
        return false;
    }
    log("move " + name(*t) + " into " + name(*into) + " at " + std::to_string(index));
    into->insertChildTaskAtIndex(t, index);
    return true;
}

bool RandomPlan::editDelete() {
    auto t = pickTask(isAnyTask);
    if (!t) return editAddTask();
    log("deleteSelf " + name(*t));
    t->deleteSelf();
    return false;
}

bool RandomPlan::editAddTask() {
    auto parent = pickParent(true);
    if (parent->isMilestone() || parent->isHammockTask()) parent = scenario_->rootTask();
    addRandomItem(parent);
    // A plain task that takes a child becomes a group, and a new group is made from a
    // plain task too: a change of type, which clears all dates of the task.
    return true;
}

bool RandomPlan::editSplit() {
    const int roll = below(3);
    if (roll == 0) {
        auto t = pickTask(isSplit);
        if (t) {
            log("setTaskTypeSplitTask " + name(*t) + " task, not split");
            t->setTaskTypeSplitTask(taskTypeTask, false);
            return true;
        }
    } else if (roll == 1) {
        auto chunk = pickTask(isChunk);
        if (chunk) {
            KSDateTime date = randomDate();
            log("setStartAfter " + name(*chunk) + " " + iso(date));
            chunk->setStartAfter(date);
            return false;
        }
    }
    // A locked task is not split: the split task would keep the lock itself (see
    // decorate), not its chunks.
    auto t = pickTask([](const KSTask& task) {
        return isPlainLeaf(task) && !task.isStartDateLocked() && !task.isEndDateLocked();
    });
    if (!t) return editAddTask();
    KSTaskList chunks;
    std::string line = "split " + name(*t) + " into";
    for (int i = 2 + below(2); i > 0; --i) {
        auto chunk = std::make_shared<KSTask>();
        double hours = randomHours();
        if (hours == 0.0) hours = 2 * kHour;
        chunk->setEffort(hours);
        line += " " + hoursText(hours);
        if (!chunks.empty() && chance(80)) {
            KSDateTime resume = randomDate();
            chunk->setStartAfter(resume);
            line += "@" + iso(resume);
        }
        chunks.push_back(chunk);
        everyTask_.push_back(chunk);
    }
    log(line);
    t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, chunks);
    return true;
}

bool RandomPlan::editAnchor() {
    KSDateTime date = chance(50) ? kPlanStart.dateByAddingDays(below(15) - 7)
                                 : kPlanEnd.dateByAddingDays(below(15) - 7);
    if (chance(50)) {
        log("scenario setStartDate " + iso(date));
        scenario_->setStartDate(date);
    } else {
        log("scenario setEndDate " + iso(date));
        scenario_->setEndDate(date);
    }
    return true;
}

bool RandomPlan::editDateSetter() {
    auto t = pickTask(isNotGroup);
    if (!t) return editAddTask();
    KSDateTime date = randomDate();
    switch (below(3)) {
        case 0:
            log("setStartDate " + name(*t) + " " + iso(date));
            t->setStartDate(date);
            break;
        case 1:
            log("setEndDate " + name(*t) + " " + iso(date));
            t->setEndDate(date);
            break;
        default:
            log("setDesiredStartDate " + name(*t) + " " + iso(date));
            t->setDesiredStartDate(date);
            break;
    }
    return false;
}

bool RandomPlan::editDuration() {
    auto t = pickTask(isPlainLeaf);
    if (!t) return editAddTask();
    const double hours = randomHours();
    log("setDuration " + name(*t) + " " + hoursText(hours));
    t->setDuration(hours);
    return false;
}

bool RandomPlan::editUndoRedo(bool undo) {
    KSUndoManager& manager = *document_.undo;
    if (undo ? !manager.canUndo() : !manager.canRedo()) {
        log(undo ? "undo: nothing" : "redo: nothing");
        return false;
    }
    log(undo ? "undo" : "redo");
    if (undo) {
        manager.undo();
    } else {
        manager.redo();
    }
    return true;
}

bool RandomPlan::editBurst() {
    // A few edits in one event with some values read between them: reads that fill some
    // caches and leave others empty, as a window that shows part of the plan does.
    bool clears = false;
    for (int i = 2 + below(3); i > 0; --i) {
        clears = applyEdit(below(16)) || clears;
        readSome();
    }
    return clears;
}

void RandomPlan::readSome() {
    auto tasks = scenario_->allTasks();
    const int reads = below(static_cast<int>(tasks.size()) * kQuantityCount / 2 + 1);
    std::string line = "read";
    for (int i = 0; i < reads; ++i) {
        auto& t = *tasks[static_cast<std::size_t>(below(static_cast<int>(tasks.size())))];
        auto q = static_cast<Quantity>(below(kQuantityCount));
        if (i < 12) line += std::string(" ") + name(t) + "." + quantityName(q);
        read(t, q);
    }
    if (reads > 12) line += " ...";
    log(line);
}

// --- Comparing ----------------------------------------------------------------------------------

RandomPlan::Reading RandomPlan::read(KSTask& task, Quantity quantity) {
    Reading r;
    switch (quantity) {
        case Quantity::Start:
            r.date = task.startDate();
            break;
        case Quantity::End:
            r.date = task.endDate();
            break;
        case Quantity::CurrentStartLimit:
            r.date = task.currentStartLimit();
            break;
        case Quantity::CurrentStartLimitExcludingOpposite:
            r.date = task._computeCurrentStartLimitIncludingOppositeScheduling(false);
            break;
        case Quantity::CurrentEndLimit:
            r.date = task.currentEndLimit();
            break;
        case Quantity::CurrentEndLimitExcludingOpposite:
            r.date = task._computeCurrentEndLimitIncludingOppositeScheduling(false);
            break;
        case Quantity::AbsoluteStartLimit:
            r.date = task.absoluteStartLimit();
            break;
        case Quantity::AbsoluteEndLimit:
            r.date = task.absoluteEndLimit();
            break;
        case Quantity::EarliestPossibleEnd:
            r.date = task.earliestPossibleEnd();
            break;
        case Quantity::LatestPossibleStart:
            r.date = task.latestPossibleStart();
            break;
        case Quantity::LevelingStartLimit:
            r.date = task.levelingStartLimit();
            break;
        case Quantity::LevelingEndLimit:
            r.date = task.levelingEndLimit();
            break;
        case Quantity::FreeSlack:
            r.isNumber = true;
            r.number = task.freeSlack();
            break;
        case Quantity::TotalSlack:
            r.isNumber = true;
            r.number = task.totalSlack();
            break;
        case Quantity::UncompletedStart:
            r.date = task.uncompletedStartDate();
            break;
    }
    return r;
}

std::string RandomPlan::text(const Reading& reading) {
    if (!reading.isNumber) return iso(reading.date);
    return hoursText(reading.number);
}

RandomPlan::Snapshot RandomPlan::readAll(const std::vector<std::shared_ptr<KSTask>>& tasks,
                                         ReadOrder order, std::pair<std::size_t, int> first) {
    Snapshot snapshot(tasks.size(), std::vector<Reading>(kQuantityCount));
    std::vector<std::pair<std::size_t, int>> pairs;
    pairs.reserve(tasks.size() * kQuantityCount + 1);
    if (order == ReadOrder::ThisFirst) pairs.push_back(first);
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        for (int q = 0; q < kQuantityCount; ++q)
            pairs.emplace_back(i, q);
    }
    if (order == ReadOrder::Shuffled) {
        for (std::size_t i = pairs.size(); i > 1; --i)
            std::swap(pairs[i - 1], pairs[static_cast<std::size_t>(below(static_cast<int>(i)))]);
    }
    if (order == ReadOrder::Reversed) std::reverse(pairs.begin(), pairs.end());
    for (const auto& [i, q] : pairs)
        snapshot[i][static_cast<std::size_t>(q)] = read(*tasks[i], static_cast<Quantity>(q));
    return snapshot;
}

void RandomPlan::clearAllCaches(const std::vector<std::shared_ptr<KSTask>>& tasks) {
    scenario_->rootTask()->invalidateAllDates();
    // A wide invalidation keeps a valid leveling limit valid (it then reads null); the
    // narrow ones clear the validity, and with the absolute limits already empty they stop
    // at once.
    for (const auto& t : tasks) {
        t->invalidateAbsoluteStartLimit();
        t->invalidateAbsoluteEndLimit();
    }
}

std::string RandomPlan::compareWithFreshComputation() {
    const auto tasks = scenario_->allTasks();
    const Snapshot cached = readAll(tasks, ReadOrder::Shuffled);
    clearAllCaches(tasks);
    const std::uint64_t cyclicReadsBefore = KSTask::_cyclicDateReads();
    const Snapshot fresh = readAll(tasks, ReadOrder::Outline);
    const bool cyclic = KSTask::_cyclicDateReads() != cyclicReadsBefore;

    // The values that differ; leveling limits after an edit that clears all dates of a
    // task at once (a move, a split, the anchor, an undo...) are left out: that task's
    // leveling limits then read null by design until a narrower invalidation, and the
    // limits read through them follow. They are compared again from the next edit on.
    std::vector<std::pair<std::size_t, int>> differing;
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        for (int q = 0; q < kQuantityCount; ++q) {
            const auto quantity = static_cast<Quantity>(q);
            const bool leveling =
                quantity == Quantity::LevelingStartLimit || quantity == Quantity::LevelingEndLimit;
            if (leveling && clearsAllDates_) {
                ++levelingValuesSkipped_;
                continue;
            }
            ++valuesCompared_;
            const auto index = static_cast<std::size_t>(q);
            if (!(cached[i][index] == fresh[i][index])) differing.emplace_back(i, q);
        }
    }
    if (differing.empty()) return {};
    // Where the rules read a date while computing it, the value read is the empty cache
    // and what a computation gives depends on the order of reads. A hammock has no length
    // of its own, and its conversions between its ends answer with its own dates, which
    // may be what is being computed (through a constraint bound to its other end, a group
    // around it, a link joined to its end, or the plan's start in a plan anchored at its
    // end, which reads every latest start). A split task that holds a lock of its own
    // (setting the date of a split task whose last chunk is locked locks the split task
    // itself) reads its dates from its chunks, whose limits read its own. Then no cache can
    // be right or wrong: the values that differ are left out of this comparison.
    if (cyclic) {
        orderDependentValuesSkipped_ += static_cast<long long>(differing.size());
        return {};
    }
    // Reading in another order must not change a value either: a value that changes is
    // reported as such.
    std::vector<Snapshot> others;
    for (int order = 0; order < 4; ++order) {
        clearAllCaches(tasks);
        others.push_back(readAll(tasks, order == 0 ? ReadOrder::Reversed : ReadOrder::Shuffled));
    }
    for (std::size_t k = 0; k < differing.size() && k < 4; ++k) {
        clearAllCaches(tasks);
        others.push_back(readAll(tasks, ReadOrder::ThisFirst, differing[k]));
    }
    std::string differences;
    int count = 0;
    for (const auto& [i, q] : differing) {
        const auto index = static_cast<std::size_t>(q);
        std::string orders;
        for (const auto& other : others) {
            if (!(other[i][index] == fresh[i][index])) orders += " or " + text(other[i][index]);
        }
        const auto quantity = static_cast<Quantity>(q);
        if (count == 0) signature_ = kindOf(*tasks[i]) + std::string(".") + quantityName(quantity);
        if (++count <= 6) {
            differences += name(*tasks[i]) + "." + quantityName(quantity) + " is " +
                           text(cached[i][index]) + " as cached, " + text(fresh[i][index]) +
                           orders + " when computed afresh\n";
        }
    }
    if (count > 6) differences += "... " + std::to_string(count) + " values differ in all\n";

    return differences;
}

std::string RandomPlan::report(const std::string& difference) const {
    std::string text = "seed " + std::to_string(seed_) + ", after edit " + std::to_string(edits_) +
                       ":\n" + difference + "plan and edits:\n";
    for (const auto& line : log_)
        text += "  " + line + "\n";
    return text;
}

namespace {

// Sets the read depth for one case and puts the usual one back.
class ReadDepth {
public:
    explicit ReadDepth(bool throughWorkList) {
        if (throughWorkList) KSTask::_setMaximumDirectReadDepth(1);
    }
    ~ReadDepth() { KSTask::_setMaximumDirectReadDepth(-1); }
    ReadDepth(const ReadDepth&) = delete;
    ReadDepth& operator=(const ReadDepth&) = delete;
};

// A date computed from the work list that read a date the list had not prepared.
std::string uncachedReadSince(std::uint64_t before) {
    if (KSTask::_uncachedWorkListReads() == before) return {};
    return "the work list left unprepared a date that a rule read: " +
           KSTask::_lastUncachedWorkListRead() + "\n";
}

}  // namespace

DateCacheOutcome runDateCacheCase(const DateCacheCase& test,
                                  const std::set<std::uint64_t>& skipped) {
    DateCacheOutcome outcome;
    ReadDepth depth(test.throughWorkList);
    const std::uint64_t uncachedBefore = KSTask::_uncachedWorkListReads();
    RandomPlan plan(test.seed, skipped);
    plan.keepOnly(test.onlySteps);
    plan.setHammocks(test.hammocks);
    plan.build(test.minimumTasks, test.maximumTasks);
    std::string difference = plan.compareWithFreshComputation() + uncachedReadSince(uncachedBefore);
    for (int e = 0; e < test.edits && difference.empty(); ++e) {
        plan.edit();
        difference = plan.compareWithFreshComputation() + uncachedReadSince(uncachedBefore);
    }
    outcome.failed = !difference.empty();
    if (outcome.failed) {
        outcome.report = plan.report(difference);
        outcome.signature = plan.signature();
    }
    outcome.steps = static_cast<int>(plan.appliedSteps().size());
    outcome.edits = plan.editCount();
    outcome.valuesCompared = plan.valuesCompared();
    outcome.levelingValuesSkipped = plan.levelingValuesSkipped();
    outcome.orderDependentValuesSkipped = plan.orderDependentValuesSkipped();
    return outcome;
}

std::string shrinkDateCacheCase(const DateCacheCase& test) {
    DateCacheOutcome outcome = runDateCacheCase(test);
    if (!outcome.failed) return {};
    // The steps applied up to the failure; the steps after it never ran.
    std::vector<std::uint64_t> steps;
    {
        ReadDepth depth(test.throughWorkList);
        RandomPlan plan(test.seed);
        plan.keepOnly(test.onlySteps);
        plan.setHammocks(test.hammocks);
        plan.build(test.minimumTasks, test.maximumTasks);
        std::string difference = plan.compareWithFreshComputation();
        for (int e = 0; e < test.edits && difference.empty(); ++e) {
            plan.edit();
            difference = plan.compareWithFreshComputation();
        }
        steps = plan.appliedSteps();
    }
    std::set<std::uint64_t> skipped;
    bool shrunk = true;
    while (shrunk) {
        shrunk = false;
        // Latest first: an edit that depends on an earlier one goes before it.
        for (auto it = steps.rbegin(); it != steps.rend(); ++it) {
            if (skipped.count(*it)) continue;
            skipped.insert(*it);
            DateCacheOutcome attempt = runDateCacheCase(test, skipped);
            if (attempt.failed && attempt.signature == outcome.signature) {
                outcome = attempt;
                shrunk = true;
            } else {
                skipped.erase(*it);
            }
        }
    }
    return "shrunk to " + std::to_string(outcome.steps) + " of " + std::to_string(steps.size()) +
           " steps: " + outcome.report;
}

}  // namespace kestrum::test
