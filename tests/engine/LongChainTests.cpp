// Chains of 10,000 tasks, one per link kind, in plans anchored at their start and at their
// end. Every date of every task is read (the last task first, so that one read reaches
// down the whole chain), then the head of the chain is edited and everything read again;
// all of it on a thread with a 256 KB stack, which a read recursing along the chain would
// overflow.
#include <pthread.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

constexpr int kChainLength = 10000;
constexpr std::size_t kSmallStack = 256 * 1024;

// Runs `work` on a new thread with a small stack and waits for it.
void runOnSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
    pthread_t thread;
    auto body = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, const_cast<std::function<void()>*>(&work)),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

struct ChainShape {
    const char* name;
    KSDependencyKind kind;
    // Lead in working hours: with it each kind puts task i on working day i, as one
    // finish-to-start link does (a start-to-finish link needs two days: the dependent
    // ends one day after the prerequisite's start plus its own day).
    double leadHours;
    bool anchoredAtEnd;
};

class LongChainTest : public ScheduleTest, public ::testing::WithParamInterface<ChainShape> {
protected:
    // 10,000 tasks of 8h in one group; links made from the last dependent back, so that
    // each loop check meets only tasks without prerequisites yet.
    void buildChain() {
        auto g = std::make_shared<KSTask>();
        g->setIsGroup(true);
        g->setTitle(std::string("Chain"));
        for (int i = 0; i < kChainLength; ++i) {
            auto t = std::make_shared<KSTask>();
            t->setEffort(8 * kHour);
            g->addChildTask(t);
            chain.push_back(t);
        }
        root().addChildTask(g);
        for (int i = kChainLength - 1; i > 0; --i)
            link(chain[static_cast<std::size_t>(i - 1)], chain[static_cast<std::size_t>(i)],
                 GetParam().kind, GetParam().leadHours * kHour);
    }

    // Reads every date, limit and slack of every task, the last task first; answers how
    // many tasks had a start and an end.
    int readEverything() {
        int dated = 0;
        chain.back()->endDate();
        chain.back()->totalSlack();
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            KSTask& t = **it;
            t.currentStartLimit();
            t.currentEndLimit();
            t.absoluteStartLimit();
            t.absoluteEndLimit();
            t.earliestPossibleEnd();
            t.latestPossibleStart();
            t.levelingStartLimit();
            t.levelingEndLimit();
            t.freeSlack();
            t.totalSlack();
            t.uncompletedStartDate();
            if (!t.startDate().isNull() && !t.endDate().isNull()) ++dated;
        }
        return dated;
    }

    std::vector<std::shared_ptr<KSTask>> chain;
};

// Working day n of the plan (0 is Monday 8 January 2024) at `hour`.
KSDateTime workingDay(int n, int hour) {
    return at(2024, 1, 8, hour).dateByAddingDays(n / 5 * 7 + n % 5);
}

TEST_P(LongChainTest, EveryDateIsReadOnASmallStackBeforeAndAfterAnEditOfTheHead) {
    const ChainShape shape = GetParam();
    // Task i works on working day i (day 0 is Monday 8 January 2024).
    const KSDateTime lastEnd = workingDay(kChainLength - 1, 17);
    if (shape.anchoredAtEnd) anchorEnd(lastEnd);
    buildChain();
    // A head of 16h instead of 8h pushes the chain a day on where the next task waits
    // for its end (finish-to-start, finish-to-finish); where it waits for its start, the
    // chain stays. Anchored at the end, the head starts a day earlier instead.
    const bool followsEnd =
        shape.kind == KSDependencyFinishToStart || shape.kind == KSDependencyFinishToFinish;

    const std::uint64_t uncachedReads = KSTask::_uncachedWorkListReads();
    int datedBefore = 0;
    int datedAfter = 0;
    KSDateTime headStart, lastEndBefore, headStartAfter, lastEndAfter;
    std::uint64_t uncachedReadsOnThread = 0;
    runOnSmallStack([&] {
        datedBefore = readEverything();
        headStart = chain.front()->startDate();
        lastEndBefore = chain.back()->endDate();
        chain.front()->setEffort(16 * kHour);
        datedAfter = readEverything();
        headStartAfter = chain.front()->startDate();
        lastEndAfter = chain.back()->endDate();
        // With the date read check compiled in: the work list prepared every read.
        uncachedReadsOnThread = KSTask::_uncachedWorkListReads();
    });
    EXPECT_EQ(uncachedReadsOnThread, 0u) << KSTask::_lastUncachedWorkListRead();
    EXPECT_EQ(KSTask::_uncachedWorkListReads(), uncachedReads);
    EXPECT_EQ(datedBefore, kChainLength);
    EXPECT_EQ(datedAfter, kChainLength);
    EXPECT_EQ(iso(headStart), "2024-01-08T08:00");
    EXPECT_EQ(iso(lastEndBefore), iso(lastEnd));
    EXPECT_EQ(iso(chain[5000]->startDate()),
              iso(workingDay(followsEnd && !shape.anchoredAtEnd ? 5001 : 5000, 8)));
    if (shape.anchoredAtEnd) {
        EXPECT_EQ(iso(headStartAfter), followsEnd ? "2024-01-05T08:00" : "2024-01-08T08:00");
        EXPECT_EQ(iso(lastEndAfter), iso(lastEnd));
    } else {
        EXPECT_EQ(iso(headStartAfter), "2024-01-08T08:00");
        EXPECT_EQ(iso(lastEndAfter),
                  iso(workingDay(followsEnd ? kChainLength : kChainLength - 1, 17)));
    }
    EXPECT_EQ(chain.back()->totalSlack(), 0.0);
}

INSTANTIATE_TEST_SUITE_P(
    KindsAndAnchors, LongChainTest,
    ::testing::Values(ChainShape{"StartToStart", KSDependencyStartToStart, 8, false},
                      ChainShape{"StartToFinish", KSDependencyStartToFinish, 16, false},
                      ChainShape{"FinishToStart", KSDependencyFinishToStart, 0, false},
                      ChainShape{"FinishToFinish", KSDependencyFinishToFinish, 8, false},
                      ChainShape{"StartToStartAtEnd", KSDependencyStartToStart, 8, true},
                      ChainShape{"StartToFinishAtEnd", KSDependencyStartToFinish, 16, true},
                      ChainShape{"FinishToStartAtEnd", KSDependencyFinishToStart, 0, true},
                      ChainShape{"FinishToFinishAtEnd", KSDependencyFinishToFinish, 8, true}),
    [](const ::testing::TestParamInfo<ChainShape>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kestrum::test
