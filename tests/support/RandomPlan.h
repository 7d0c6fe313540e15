// Random plans and random edits, to check the task date caches against a computation
// from scratch.
//
// A RandomPlan owns a document, a project and one scenario. From its seed it builds a
// small plan through PlanBuilder (groups, milestones, hammocks, split tasks, links of the
// four kinds with leads in working time and as shares of effort, both schedule types,
// locks and constraints on either end, anchored at the plan's start or end) and then
// edits it through the public setters, logging each call as it goes. After an edit,
// compareWithFreshComputation() reads every cached date, limit and slack of every task as
// it stands (nothing flushed), then clears every cache, computes everything again and
// reports the first value that differs.
//
//   RandomPlan plan(seed);
//   plan.build(4, 14);
//   for (int i = 0; i < 40; ++i) {
//       plan.edit();
//       if (auto difference = plan.compareWithFreshComputation(); !difference.empty())
//           FAIL() << plan.report(difference);
//   }
//
// The same seed gives the same plan and edits wherever it runs (the generator does its
// own arithmetic on a 64-bit Mersenne twister, no standard distributions).
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/PlanBuilder.h"
#include "support/TestDocument.h"

namespace kestrum {
class KSProject;
class KSScenario;
}  // namespace kestrum

namespace kestrum::test {

class RandomPlan {
public:
    // Values compared for every task, in the order a fresh computation reads them.
    enum class Quantity : std::uint8_t {
        Start,
        End,
        CurrentStartLimit,
        CurrentStartLimitExcludingOpposite,
        CurrentEndLimit,
        CurrentEndLimitExcludingOpposite,
        AbsoluteStartLimit,
        AbsoluteEndLimit,
        EarliestPossibleEnd,
        LatestPossibleStart,
        LevelingStartLimit,
        LevelingEndLimit,
        FreeSlack,
        TotalSlack,
        UncompletedStart,
    };
    static constexpr int kQuantityCount = 15;
    static const char* quantityName(Quantity quantity);

    // Every step of building and every edit draws from its own stream, derived from the
    // seed and the step's number, so that a step can be left out (`skipped`) and the
    // others still do what they did: the way a failing case is shrunk.
    explicit RandomPlan(std::uint64_t seed, std::set<std::uint64_t> skipped = {});
    // Whether plans and edits make hammocks (by default they do).
    void setHammocks(bool flag) { hammocks_ = flag; }
    // Leaves out every step but those in `steps` (step 0, the plan's size, always runs).
    void keepOnly(std::set<std::uint64_t> steps) { kept_ = std::move(steps); }
    ~RandomPlan();
    RandomPlan(const RandomPlan&) = delete;
    RandomPlan& operator=(const RandomPlan&) = delete;

    // Builds a plan of `minimumTasks` to `maximumTasks` top-level items and links (split
    // tasks and groups bring more tasks with them).
    void build(int minimumTasks, int maximumTasks);
    // One random edit (or a burst of a few with partial reads between them, or the end of
    // an event, or an undo or redo); nothing when this edit's step is skipped.
    void edit();
    // The numbers of the steps applied so far, building and edits, in order.
    const std::vector<std::uint64_t>& appliedSteps() const { return applied_; }

    // Reads every value of every task as cached, then from scratch; an empty string when
    // all agree, else the first differences.
    std::string compareWithFreshComputation();
    // The seed, the plan and the edits as applied, and `difference`.
    std::string report(const std::string& difference) const;
    // The name of the first value that differed in the last comparison.
    const std::string& signature() const { return signature_; }

    std::uint64_t seed() const { return seed_; }
    int editCount() const { return edits_; }
    long long valuesCompared() const { return valuesCompared_; }
    // Leveling limits left out of the comparison after edits that clear all dates of a
    // task (see compareWithFreshComputation).
    long long levelingValuesSkipped() const { return levelingValuesSkipped_; }
    // Values that differed in comparisons where a computation from scratch read a date
    // while computing it, and so depends on the order of reads (only with hammocks; see
    // compareWithFreshComputation).
    long long orderDependentValuesSkipped() const { return orderDependentValuesSkipped_; }
    KSScenario& scenario() const { return *scenario_; }
    const PlanBuilder& builder() const { return builder_; }

    // Runs the event loop until nothing is left, as after one event of an application.
    static void endOfEvent();

private:
    struct Reading;
    using Snapshot = std::vector<std::vector<Reading>>;

    // --- Random choices ---
    // Starts the stream of step `step`; false when the step is skipped.
    bool beginStep(std::uint64_t step);
    std::uint64_t next() { return random_(); }
    int below(int n) {
        return n <= 0 ? 0 : static_cast<int>(next() % static_cast<std::uint64_t>(n));
    }
    bool chance(int percent) { return below(100) < percent; }
    KSDateTime randomDate();
    double randomHours();
    double randomLead(bool* share);
    KSDependencyKind randomKind() { return static_cast<KSDependencyKind>(below(4)); }

    // --- Picking tasks of the plan as it is now ---
    std::vector<std::shared_ptr<KSTask>> liveTasks() const;
    std::shared_ptr<KSTask> pickTask(bool (*filter)(const KSTask&));
    std::shared_ptr<KSTask> pickParent(bool allowPlainTasks);
    std::vector<std::shared_ptr<KSDependency>> liveLinks() const;
    std::string name(const KSTask& task) const;
    std::string newTitle(const char* prefix);

    // --- Building ---
    std::shared_ptr<KSTask> addRandomItem(const std::shared_ptr<KSTask>& parent);
    // A schedule type, lock or constraint, each now and then.
    void decorate(const std::shared_ptr<KSTask>& task);
    void addRandomLink();
    void log(std::string line);

    // --- Edits; each answers whether it may clear all dates of a task at once ---
    bool applyEdit(int kind);
    bool editEffort();
    bool editCompletion();
    bool editTaskType();
    bool editAddLink();
    bool editChangeLink();
    bool editRemoveLink();
    bool editLock();
    bool editConstraint();
    bool editScheduleType();
    bool editMove();
    bool editDelete();
    bool editAddTask();
    bool editSplit();
    bool editAnchor();
    bool editDateSetter();
    bool editDuration();
    bool editUndoRedo(bool undo);
    bool editBurst();
    void readSome();

    // --- Comparing ---
    static Reading read(KSTask& task, Quantity quantity);
    static std::string text(const Reading& reading);
    enum class ReadOrder { Outline, Reversed, Shuffled, ThisFirst };
    // Reads every value of `tasks`: in outline order and the order of Quantity, the
    // reverse, a random order, or `first` before the outline order.
    Snapshot readAll(const std::vector<std::shared_ptr<KSTask>>& tasks, ReadOrder order,
                     std::pair<std::size_t, int> first = {});
    void clearAllCaches(const std::vector<std::shared_ptr<KSTask>>& tasks);

    std::uint64_t seed_;
    std::set<std::uint64_t> skipped_;
    std::set<std::uint64_t> kept_;
    std::vector<std::uint64_t> applied_;
    std::mt19937_64 random_;
    TestDocument document_;
    std::shared_ptr<KSProject> project_;
    std::shared_ptr<KSScenario> scenario_;
    PlanBuilder builder_;
    // Every task ever made, so that an undo can bring a deleted one back.
    std::vector<std::shared_ptr<KSTask>> everyTask_;
    std::vector<std::string> log_;
    int titles_ = 0;
    int edits_ = 0;
    bool clearsAllDates_ = false;
    std::string signature_;
    long long valuesCompared_ = 0;
    long long levelingValuesSkipped_ = 0;
    long long orderDependentValuesSkipped_ = 0;
    bool hammocks_ = true;
};

// One seeded case of the differential test: a plan of `minimumTasks` to `maximumTasks`
// items and links, then `edits` edits, compared after building and after each edit.
struct DateCacheCase {
    std::uint64_t seed = 0;
    int minimumTasks = 4;
    int maximumTasks = 14;
    int edits = 30;
    // Whether the plan and its edits make hammocks.
    bool hammocks = true;
    // Whether every date a rule reads is computed through the evaluation's work list
    // (rather than by recursion up to its usual depth); with the date read check on
    // (debug builds), a date it computes that reads an unlisted date fails the case.
    bool throughWorkList = false;
    // When not empty, the only steps run (see RandomPlan::keepOnly).
    std::set<std::uint64_t> onlySteps;
};

struct DateCacheOutcome {
    bool failed = false;
    // On failure: the seed, the first differences, the plan and edits as applied.
    std::string report;
    // The name of the first differing value: what a shrunk case must still show.
    std::string signature;
    int edits = 0;
    int steps = 0;
    long long valuesCompared = 0;
    long long levelingValuesSkipped = 0;
    long long orderDependentValuesSkipped = 0;
};

// Runs `test` with the steps in `skipped` left out; stops at the first difference.
DateCacheOutcome runDateCacheCase(const DateCacheCase& test,
                                  const std::set<std::uint64_t>& skipped = {});
// For a failing case: leaves out every step (building or edit) without which it still
// fails, one at a time until none can go, and answers the report of what is left; empty
// when the case does not fail.
std::string shrinkDateCacheCase(const DateCacheCase& test);

}  // namespace kestrum::test
