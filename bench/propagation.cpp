// Date propagation over a large plan: 10,000 tasks in groups of 50, each task waiting for
// two earlier tasks (about 20,000 finish-to-start links, one in eight with a lead time of
// 2 to 24 working hours), on the standard week. Two shapes of plan:
//
//   spread   the two prerequisites lie anywhere among the fifty tasks before, across
//            groups, so that every task lies downstream of the first ones
//   local    the two prerequisites lie among the ten tasks before in the same group:
//            groups are independent work packages
//
//   FirstFullRecompute   every date of the plan computed from empty caches
//   EditEarlyTask        one early task's effort changed, then the plan recomputed
//   ChainOfTenThousand   10,000 tasks in one chain: recompute, then an edit of the head
//   CriticalPath         the project's critical path worked out again over a recomputed
//                        plan: the share that the end of every recompute adds
//
// A change of effort reaches the root through the task's earliest end and latest start,
// and the root's limits are walked down to every task: whatever the shape, the edit
// recomputes the whole plan, and its cost is that of a full recompute plus the walks.
//
// Goals: the first full recompute under 10 ms, the edit under 5 ms with no allocation that
// grows with the plan, the chain completes. allocs_per_task and allocs_per_edit count heap
// allocations.
// KESTRUM_BENCH_SMOKE=1 runs 500 tasks and a chain of 500.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>

#include "BenchSupport.h"
#include "Model/engine/KSCriticalPath.h"
#include "Model/tasks/KSDependency.h"

using namespace kestrum;
using namespace kestrum::bench;

namespace {

int planSize() {
    return smoke() ? 500 : 10000;
}

std::shared_ptr<KSTask> newTask(double hours) {
    auto task = std::make_shared<KSTask>();
    task->setEffort(hours * kHour);
    return task;
}

// Groups are filled before they join the plan, and links are made from the last
// dependent back, so that each loop check meets only tasks without prerequisites yet.
enum Shape { kSpread = 0, kLocal = 1 };

std::unique_ptr<Plan> makeGroupedPlan(int count, int groupSize, Shape shape) {
    auto plan = std::make_unique<Plan>();
    std::mt19937 random(20240226);
    std::uniform_int_distribution<int> hours(2, 24);
    for (int first = 0; first < count; first += groupSize) {
        auto group = std::make_shared<KSTask>();
        group->setIsGroup(true);
        for (int i = first; i < std::min(count, first + groupSize); ++i) {
            auto task = newTask(hours(random));
            group->addChildTask(task);
            plan->tasks.push_back(task);
        }
        plan->root().addChildTask(group);
    }
    std::uniform_int_distribution<int> back(1, shape == kLocal ? 10 : 50);
    std::uniform_int_distribution<int> eighth(0, 7);
    for (int i = count - 1; i > 0; --i) {
        int first = back(random);
        int second = back(random);
        // In the local plan a link never leaves its group.
        const int reach = shape == kLocal ? i % groupSize : i;
        for (int distance : {first, second == first ? first + 1 : second}) {
            if (distance > reach) continue;
            auto link = KSDependency::dependencyWithPrerequisiteAndDependent(
                plan->tasks[i - distance].get(), plan->tasks[i].get());
            if (eighth(random) == 0) link->setLeadTime(hours(random) * kHour);
        }
    }
    return plan;
}

std::unique_ptr<Plan> makeChain(int count) {
    auto plan = std::make_unique<Plan>();
    auto group = std::make_shared<KSTask>();
    group->setIsGroup(true);
    for (int i = 0; i < count; ++i) {
        auto task = newTask(4);
        group->addChildTask(task);
        plan->tasks.push_back(task);
    }
    for (int i = count - 1; i > 0; --i)
        KSDependency::dependencyWithPrerequisiteAndDependent(plan->tasks[i - 1].get(),
                                                             plan->tasks[i].get());
    plan->root().addChildTask(group);
    return plan;
}

void BM_FirstFullRecompute(benchmark::State& state) {
    auto plan = makeGroupedPlan(planSize(), 50, static_cast<Shape>(state.range(0)));
    bool first = true;
    std::size_t allocations = 0;
    for (auto _ : state) {
        if (!first) {
            // Every cache emptied again: the same work as the very first recompute.
            state.PauseTiming();
            plan->root().invalidateAllDates();
            state.ResumeTiming();
        }
        first = false;
        const std::size_t before = allocationCount();
        plan->recompute();
        allocations += allocationCount() - before;
    }
    state.counters["tasks"] = static_cast<double>(plan->tasks.size());
    state.counters["allocs_per_task"] = static_cast<double>(allocations) /
                                        static_cast<double>(plan->tasks.size()) /
                                        static_cast<double>(state.iterations());
    state.counters["end day"] = static_cast<double>(plan->root().endDate().dayNumber() - 8456);
}
BENCHMARK(BM_FirstFullRecompute)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("local")
    ->Arg(kSpread)
    ->Arg(kLocal);

void BM_EditEarlyTask(benchmark::State& state) {
    auto plan = makeGroupedPlan(planSize(), 50, static_cast<Shape>(state.range(0)));
    plan->recompute();
    KSTask& early = *plan->tasks[2];
    double hours = 8;
    std::size_t allocations = 0;
    for (auto _ : state) {
        hours = hours == 8 ? 12 : 8;
        const std::size_t before = allocationCount();
        early.setEffort(hours * kHour);
        plan->recompute();
        allocations += allocationCount() - before;
    }
    // Allocations of one edit; the goal is none that grows with the plan.
    state.counters["allocs_per_edit"] =
        static_cast<double>(allocations) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_EditEarlyTask)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("local")
    ->Arg(kSpread)
    ->Arg(kLocal);

void BM_ChainOfTenThousand(benchmark::State& state) {
    const int count = smoke() ? 500 : 10000;
    for (auto _ : state) {
        state.PauseTiming();
        auto plan = makeChain(count);
        state.ResumeTiming();
        plan->recompute();
        plan->tasks.front()->setEffort(8 * kHour);
        plan->recompute();
        benchmark::DoNotOptimize(plan->tasks.back()->endDate());
        state.PauseTiming();
        plan.reset();
        state.ResumeTiming();
    }
}
void BM_CriticalPath(benchmark::State& state) {
    auto plan = makeGroupedPlan(planSize(), 50, static_cast<Shape>(state.range(0)));
    plan->recompute();
    KSCriticalPath& path = *plan->root().criticalPathRoot();
    std::size_t onPath = 0;
    for (auto _ : state) {
        path.recalculatePath();
        onPath = path.pathContents().size();
    }
    state.counters["on_path"] = static_cast<double>(onPath);
}
BENCHMARK(BM_CriticalPath)->Unit(benchmark::kMillisecond)->Arg(kSpread)->Arg(kLocal);

BENCHMARK(BM_ChainOfTenThousand)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
