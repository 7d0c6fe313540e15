// The long run of the date-cache differential test: random plans and random edits, every
// cached date, limit and slack compared with a computation from scratch after every edit
// (tests/support/RandomPlan.h). Prints the seeds, edits and values covered per second.
//
//   bench_date_cache_differential                       # 60 s of seeds from 1000000
//   bench_date_cache_differential --minutes 10 --first 5000000
//   bench_date_cache_differential --seed 1234 --shrink  # one seed, shrunk if it fails
//
// Options: --first N (first seed), --seeds N (how many; default: until the time is up),
// --seconds S / --minutes M (time budget), --seed N (just that one), --edits N (per seed,
// default 30), --tasks MIN MAX (plan size, default 4 14), --verbose, --failures N (stop after N
// failing seeds, default 10), --shrink (a failing seed is shrunk to the steps it needs, see
// shrinkDateCacheCase), --steps 100,1000004 (only these steps, as a shrunk report lists them),
// --no-hammocks (plans without hammocks, where no rule may read a date it is computing). Under
// KESTRUM_BENCH_SMOKE=1 it runs 20 seeds. The exit status is 1 when a seed failed, 3
// when a seed did not finish within --hang S seconds (default 30: its edit cycle never
// settled); that seed is printed, to be replayed with KESTRUM_RANDOM_PLAN_TRACE=1.
#include <unistd.h>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "support/RandomPlan.h"

namespace {

struct Options {
    std::uint64_t first = 1000000;
    long long seeds = -1;
    double seconds = 60.0;
    int edits = 30;
    int minimumTasks = 4;
    int maximumTasks = 14;
    bool verbose = false;
    bool shrink = false;
    bool hammocks = true;
    bool throughWorkList = false;
    double hang = 30.0;
    int maximumFailures = 10;
    std::set<std::uint64_t> steps;
};

// The seed being run, for the watchdog; and how many seeds have finished.
std::atomic<std::uint64_t> gCurrentSeed{0};
std::atomic<long long> gFinishedSeeds{0};

// Ends the program when one seed runs longer than `seconds`: an edit cycle that never
// settles would otherwise hold the long run for ever.
void watch(double seconds) {
    std::thread([seconds] {
        long long seen = -1;
        auto since = std::chrono::steady_clock::now();
        for (;;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            const long long finished = gFinishedSeeds.load();
            const auto now = std::chrono::steady_clock::now();
            if (finished != seen) {
                seen = finished;
                since = now;
            } else if (std::chrono::duration<double>(now - since).count() > seconds) {
                std::printf("HUNG seed %llu: no end after %.0f s (%lld seeds finished)\n",
                            static_cast<unsigned long long>(gCurrentSeed.load()), seconds,
                            finished);
                std::fflush(stdout);
                _exit(3);
            }
        }
    }).detach();
}

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](double* out) {
            if (i + 1 >= argc) return false;
            *out = std::strtod(argv[++i], nullptr);
            return true;
        };
        double number = 0.0;
        if (arg == "--first" && value(&number)) {
            options.first = static_cast<std::uint64_t>(number);
        } else if (arg == "--seeds" && value(&number)) {
            options.seeds = static_cast<long long>(number);
        } else if (arg == "--seconds" && value(&number)) {
            options.seconds = number;
        } else if (arg == "--minutes" && value(&number)) {
            options.seconds = number * 60.0;
        } else if (arg == "--seed" && value(&number)) {
            options.first = static_cast<std::uint64_t>(number);
            options.seeds = 1;
        } else if (arg == "--edits" && value(&number)) {
            options.edits = static_cast<int>(number);
        } else if (arg == "--tasks" && value(&number)) {
            options.minimumTasks = static_cast<int>(number);
            if (!value(&number)) return false;
            options.maximumTasks = static_cast<int>(number);
        } else if (arg == "--verbose") {
            options.verbose = true;
        } else if (arg == "--shrink") {
            options.shrink = true;
        } else if (arg == "--failures" && value(&number)) {
            options.maximumFailures = static_cast<int>(number);
        } else if (arg == "--hang" && value(&number)) {
            options.hang = number;
        } else if (arg == "--work-list") {
            options.throughWorkList = true;
        } else if (arg == "--no-hammocks") {
            options.hammocks = false;
        } else if (arg == "--steps" && i + 1 < argc) {
            // "100,101,1000004": only these steps of building and editing.
            for (const char* p = argv[++i]; *p;) {
                char* end = nullptr;
                options.steps.insert(std::strtoull(p, &end, 10));
                p = *end ? end + 1 : end;
            }
        } else if (arg.rfind("--benchmark", 0) == 0) {
            // The CTest smoke run passes Google Benchmark's flags; they mean nothing here.
        } else {
            std::fprintf(stderr, "unknown or incomplete option: %s\n", arg.c_str());
            return false;
        }
    }
    if (options.minimumTasks < 1 || options.maximumTasks < options.minimumTasks) return false;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(
            stderr,
            "usage: %s [--first N] [--seeds N] [--seconds S | --minutes M] [--seed N]"
            " [--edits N] [--tasks MIN MAX] [--verbose] [--shrink] [--no-hammocks] [--hang S]"
            " [--steps A,B,...] [--work-list] [--failures N]\n",
            argv[0]);
        return 2;
    }
    const char* smoke = std::getenv("KESTRUM_BENCH_SMOKE");
    if (smoke && *smoke && *smoke != '0') options.seeds = 20;

    watch(options.hang);
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const auto deadline = begin + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(options.seconds));
    long long seeds = 0;
    long long edits = 0;
    long long values = 0;
    long long skipped = 0;
    long long ordered = 0;
    int failures = 0;
    for (std::uint64_t seed = options.first;; ++seed) {
        if (options.seeds >= 0 ? seeds >= options.seeds : Clock::now() >= deadline) break;
        kestrum::test::DateCacheCase test;
        test.seed = seed;
        test.minimumTasks = options.minimumTasks;
        test.maximumTasks = options.maximumTasks;
        test.edits = options.edits;
        test.onlySteps = options.steps;
        test.hammocks = options.hammocks;
        test.throughWorkList = options.throughWorkList;
        gCurrentSeed = seed;
        kestrum::test::DateCacheOutcome outcome = kestrum::test::runDateCacheCase(test);
        ++gFinishedSeeds;
        ++seeds;
        edits += outcome.edits;
        values += outcome.valuesCompared;
        skipped += outcome.levelingValuesSkipped;
        ordered += outcome.orderDependentValuesSkipped;
        if (outcome.failed) {
            ++failures;
            std::printf("FAILED %s\n", outcome.report.c_str());
            if (options.shrink)
                std::printf("%s\n", kestrum::test::shrinkDateCacheCase(test).c_str());
            std::fflush(stdout);
            if (failures >= options.maximumFailures) break;
        } else if (options.verbose) {
            std::printf("seed %llu: no difference\n", static_cast<unsigned long long>(seed));
        }
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
    std::printf(
        "date cache differential: %lld seeds from %llu, %lld edits, %lld values compared "
        "(left out: %lld leveling limits after edits that clear all dates, %lld values "
        "whose fresh computation depends on the order of reads), %d failed, %.1f s, "
        "%.0f edits/s\n",
        seeds, static_cast<unsigned long long>(options.first), edits, values, skipped, ordered,
        failures, elapsed, elapsed > 0.0 ? static_cast<double>(edits) / elapsed : 0.0);
    return failures == 0 ? 0 : 1;
}
