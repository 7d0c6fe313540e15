// Building a plan through the public API: tasks, groups and links, no recomputation. The
// plan is that of bench/propagation.cpp: 10,000 tasks in groups of 50, each task waiting
// for two earlier tasks (about 20,000 finish-to-start links, one in eight with a lead).
//
//   BM_BuildGroupedPlan     groups join the plan first; each task is appended to its group
//                           and linked to its two prerequisites at once, as a user or an
//                           importer builds a plan from the top down
//   BM_BuildGroupedPlanWithALoop  the same, with the first two tasks waiting for each
//                           other: from then on the plan holds a loop error
//   BM_BuildFilledGroups    as bench/propagation.cpp builds it: each group is filled before
//                           it joins the plan, and the links are made afterwards, from the
//                           last dependent back
//   BM_BuildChain           10,000 tasks in one group linked in a chain, the links made
//                           from the first pair on (front_to_back:1), or from the last pair
//                           back (front_to_back:0)
//
// The shape argument is that of bench/propagation.cpp: spread (prerequisites anywhere
// among the fifty tasks before) or local (among the ten before, in the same group).
// Every link goes through the loop check, and every change of the tree through the
// dependency recheck; both must stay linear in the plan's size.
//
// Counters: tasks, links, and allocs_per_task, the heap allocations of one build divided
// by the number of tasks. Goal: each build of the 10,000-task plan under 50 ms.
// KESTRUM_BENCH_SMOKE=1 builds 500 tasks and a chain of 500; KESTRUM_BENCH_PLAN_TASKS=n
// builds n tasks and a chain of n.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "Model/tasks/KSDependency.h"

using namespace kestrum;
using namespace kestrum::bench;

namespace {

constexpr int kGroupSize = 50;

// KESTRUM_BENCH_PLAN_TASKS asks for another size, e.g. a small one to run under a profiler.
int planSize() {
    if (const char* tasks = std::getenv("KESTRUM_BENCH_PLAN_TASKS")) {
        return std::max(2, std::atoi(tasks));
    }
    return smoke() ? 500 : 10000;
}

enum Shape { kSpread = 0, kLocal = 1 };

// What the plan is made of, drawn before timing: each task's effort, and for each
// dependent its prerequisites (by index) with the lead of each link.
struct Blueprint {
    struct Link {
        int prerequisite;
        int dependent;
        double lead;
    };
    std::vector<double> hours;
    std::vector<Link> links;  // by dependent, first to last
};

Blueprint drawBlueprint(int count, Shape shape) {
    Blueprint blueprint;
    std::mt19937 random(20240226);
    std::uniform_int_distribution<int> hours(2, 24);
    for (int i = 0; i < count; ++i)
        blueprint.hours.push_back(hours(random));
    std::uniform_int_distribution<int> back(1, shape == kLocal ? 10 : 50);
    std::uniform_int_distribution<int> eighth(0, 7);
    for (int i = 1; i < count; ++i) {
        int first = back(random);
        int second = back(random);
        // In the local plan a link never leaves its group.
        const int reach = shape == kLocal ? i % kGroupSize : i;
        for (int distance : {first, second == first ? first + 1 : second}) {
            if (distance > reach) continue;
            double lead = eighth(random) == 0 ? hours(random) * kHour : 0.0;
            blueprint.links.push_back({i - distance, i, lead});
        }
    }
    return blueprint;
}

std::shared_ptr<KSTask> newTask(double hours) {
    auto task = std::make_shared<KSTask>();
    task->setEffort(hours * kHour);
    return task;
}

void makeLink(Plan& plan, const Blueprint::Link& link) {
    auto made = KSDependency::dependencyWithPrerequisiteAndDependent(
        plan.tasks[link.prerequisite].get(), plan.tasks[link.dependent].get());
    if (link.lead != 0.0) made->setLeadTime(link.lead);
}

// Groups join the plan first; each task is appended and linked at once. With `loop`, the
// first two tasks also wait for each other, so that the plan holds an error from then on.
void buildTopDown(Plan& plan, const Blueprint& blueprint, bool loop = false) {
    const int count = static_cast<int>(blueprint.hours.size());
    std::shared_ptr<KSTask> group;
    std::size_t next = 0;
    for (int i = 0; i < count; ++i) {
        if (i % kGroupSize == 0) {
            group = std::make_shared<KSTask>();
            plan.root().addChildTask(group);
            group->setIsGroup(true);
        }
        auto task = newTask(blueprint.hours[i]);
        group->addChildTask(task);
        plan.tasks.push_back(task);
        for (; next < blueprint.links.size() && blueprint.links[next].dependent == i; ++next)
            makeLink(plan, blueprint.links[next]);
        if (loop && i == 1) {
            makeLink(plan, {0, 1, 0.0});
            makeLink(plan, {1, 0, 0.0});
        }
    }
}

// Groups are filled before they join the plan; the links come last, last dependent first.
void buildFilledGroups(Plan& plan, const Blueprint& blueprint) {
    const int count = static_cast<int>(blueprint.hours.size());
    for (int first = 0; first < count; first += kGroupSize) {
        auto group = std::make_shared<KSTask>();
        group->setIsGroup(true);
        for (int i = first; i < std::min(count, first + kGroupSize); ++i) {
            auto task = newTask(blueprint.hours[i]);
            group->addChildTask(task);
            plan.tasks.push_back(task);
        }
        plan.root().addChildTask(group);
    }
    for (auto it = blueprint.links.rbegin(); it != blueprint.links.rend(); ++it)
        makeLink(plan, *it);
}

void report(benchmark::State& state, const Plan& plan, std::size_t allocations, std::size_t links) {
    const double tasks = static_cast<double>(plan.tasks.size());
    state.counters["tasks"] = tasks;
    state.counters["links"] = static_cast<double>(links);
    state.counters["allocs_per_task"] =
        static_cast<double>(allocations) / tasks / static_cast<double>(state.iterations());
}

template <class Build>
void runBuild(benchmark::State& state, const Blueprint& blueprint, Build build) {
    std::size_t allocations = 0;
    std::unique_ptr<Plan> plan;
    for (auto _ : state) {
        state.PauseTiming();
        plan.reset();
        plan = std::make_unique<Plan>();
        const std::size_t before = allocationCount();
        state.ResumeTiming();
        build(*plan, blueprint);
        allocations += allocationCount() - before;
    }
    report(state, *plan, allocations, blueprint.links.size());
    plan.reset();
}

void BM_BuildGroupedPlan(benchmark::State& state) {
    Blueprint blueprint = drawBlueprint(planSize(), static_cast<Shape>(state.range(0)));
    runBuild(state, blueprint, [](Plan& plan, const Blueprint& b) { buildTopDown(plan, b); });
}
BENCHMARK(BM_BuildGroupedPlan)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("local")
    ->Arg(kSpread)
    ->Arg(kLocal);

// The same, with a loop closed in the first group at once: the plan holds an error from
// then on, and every recheck also tries to turn the link back on.
void BM_BuildGroupedPlanWithALoop(benchmark::State& state) {
    Blueprint blueprint = drawBlueprint(planSize(), static_cast<Shape>(state.range(0)));
    runBuild(state, blueprint, [](Plan& plan, const Blueprint& b) { buildTopDown(plan, b, true); });
}
BENCHMARK(BM_BuildGroupedPlanWithALoop)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("local")
    ->Arg(kSpread);

void BM_BuildFilledGroups(benchmark::State& state) {
    Blueprint blueprint = drawBlueprint(planSize(), static_cast<Shape>(state.range(0)));
    runBuild(state, blueprint, buildFilledGroups);
}
BENCHMARK(BM_BuildFilledGroups)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("local")
    ->Arg(kSpread)
    ->Arg(kLocal);

void BM_BuildChain(benchmark::State& state) {
    const bool frontToBack = state.range(0) != 0;
    Blueprint blueprint;
    const int count = planSize();
    blueprint.hours.assign(count, 4.0);
    for (int i = 1; i < count; ++i)
        blueprint.links.push_back({i - 1, i, 0.0});
    runBuild(state, blueprint, [frontToBack](Plan& plan, const Blueprint& chain) {
        auto group = std::make_shared<KSTask>();
        plan.root().addChildTask(group);
        group->setIsGroup(true);
        for (double hours : chain.hours) {
            auto task = newTask(hours);
            group->addChildTask(task);
            plan.tasks.push_back(task);
        }
        if (frontToBack) {
            for (const auto& link : chain.links)
                makeLink(plan, link);
        } else {
            for (auto it = chain.links.rbegin(); it != chain.links.rend(); ++it)
                makeLink(plan, *it);
        }
    });
}
BENCHMARK(BM_BuildChain)->Unit(benchmark::kMillisecond)->ArgName("front_to_back")->Arg(1)->Arg(0);

}  // namespace

BENCHMARK_MAIN();
