// Throughput and memory of the XML layer on a plan-sized document (about 10 MB; 100 kB
// under KESTRUM_BENCH_SMOKE): building and writing one through the document API, and
// parsing one and walking every node with the cursor.
//
// Counters: bytes_per_second (document bytes), doc_MB, and for parsing peak_MB / peak_ratio:
// the most memory the parsed document held at once (parser allocations plus the bytes it
// parses), against the document's size.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>
#include <string>

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLFunctions.h"

namespace {

using namespace kestrum;

// --- Counting the parser's memory ---------------------------------------------------------
std::atomic<std::size_t> gCurrent{0};
std::atomic<std::size_t> gPeak{0};

void* countingAllocate(std::size_t size) {
    auto* block = static_cast<std::size_t*>(std::malloc(size + sizeof(std::max_align_t)));
    if (!block) return nullptr;
    *block = size;
    std::size_t now = gCurrent += size;
    std::size_t peak = gPeak.load();
    while (now > peak && !gPeak.compare_exchange_weak(peak, now)) {
    }
    return reinterpret_cast<char*>(block) + sizeof(std::max_align_t);
}

void countingDeallocate(void* pointer) {
    if (!pointer) return;
    auto* block =
        reinterpret_cast<std::size_t*>(static_cast<char*>(pointer) - sizeof(std::max_align_t));
    gCurrent -= *block;
    std::free(block);
}

const bool gCounting = [] {
    pugi::set_memory_management_functions(countingAllocate, countingDeallocate);
    return true;
}();

// --- A plan-like document -------------------------------------------------------------------
std::size_t targetBytes() {
    return std::getenv("KESTRUM_BENCH_SMOKE") ? 100 * 1024 : 10 * 1024 * 1024;
}

std::shared_ptr<BKXMLWhitespaceBehavior> scenarioBehavior() {
    auto behavior = std::make_shared<BKXMLWhitespaceBehavior>();
    behavior->setBehaviorForElementName(BKXMLWhitespaceIgnore, "scenario");
    behavior->setBehaviorForElementName(BKXMLWhitespacePreserve, "literal-string");
    return behavior;
}

void writeTask(BKXMLDocument& document, int id) {
    document.pushElement("task");
    document.setAttributeString("id", "t" + std::to_string(id));
    document.appendElementContainingString(
        "title", "Task number " + std::to_string(id) + " of the release plan");
    if (id % 7 == 0) document.appendElementContainingString("type", "milestone");
    document.appendElementContainingDouble("effort", 28800.0 * (1 + id % 5));
    document.appendElementContainingDouble("duration", 3600.0 * (id % 40));
    document.appendElementContainingDate("start-date", KSDate{8.0e8 + id * 3600.0});
    document.appendElementContainingDate("end-date", KSDate{8.0e8 + id * 3600.0 + 86400.0});
    if (id % 3 == 0) {
        document.pushElement("note");
        document.appendElementContainingString(
            "literal-string", "Check the estimate with the team.\n  Keep the layout.");
        document.popElement();
    }
    BKXMLElement assignment = document.appendElement("assignment");
    assignment.setAttributeString("idref", "r" + std::to_string(id % 50));
    assignment.setAttributeDouble("units", 0.5);
    if (id > 1) {
        BKXMLElement link = document.appendElement("prerequisite-task");
        link.setAttributeString("idref", "t" + std::to_string(id - 1));
        if (id % 4 == 0) link.setAttributeString("kind", "SS");
    }
    document.appendElement("child-task").setAttributeString("idref", "t" + std::to_string(id * 2));
    document.popElement();
}

std::unique_ptr<BKXMLDocument> buildTasks(int count) {
    auto document = BKXMLDocument::documentWithRootElementName(
        "scenario", "http://kestrum.invalid/namespace/Kestrum/v2", scenarioBehavior(),
        BKXMLStringEncodingUTF8, nullptr);
    document->setAttributeString("xmlns", document->namespaceURL());
    for (int id = 1; id <= count; ++id)
        writeTask(*document, id);
    return document;
}

// The number of tasks that makes a document of about `bytes`, measured on a sample.
int taskCountForBytes(std::size_t bytes) {
    static const double perTask = [] {
        const int sample = 1000;
        return static_cast<double>(buildTasks(sample)->xmlData(nullptr)->size()) / sample;
    }();
    return std::max(1, static_cast<int>(static_cast<double>(bytes) / perTask));
}

std::unique_ptr<BKXMLDocument> buildDocument(std::size_t bytes) {
    return buildTasks(taskCountForBytes(bytes));
}

const KSData& sampleData() {
    static const KSData data = *buildDocument(targetBytes())->xmlData(nullptr);
    return data;
}

// Visits every node through the cursor, reading texts and the usual attributes.
std::size_t walk(const BKXMLDocument& document) {
    BKXMLCursor cursor = document.cursor();
    std::size_t seen = 0;
    for (;;) {
        BKXMLNode node = cursor.nextChild();
        if (node.isNull()) {
            if (!cursor.closeElement()) break;
            continue;
        }
        if (node.isText()) {
            seen += node.string().size();
        } else if (node.isElement()) {
            cursor.openElement();
            if (auto id = cursor.attributeNamed("id")) seen += id->size();
            if (auto idref = cursor.attributeNamed("idref")) seen += idref->size();
        }
    }
    return seen;
}

void BM_BuildAndWrite(benchmark::State& state) {
    std::size_t written = 0;
    for (auto _ : state) {
        auto document = buildDocument(targetBytes());
        std::optional<KSData> data = document->xmlData(nullptr);
        written = data->size();
        benchmark::DoNotOptimize(data->data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * written));
    state.counters["doc_MB"] = static_cast<double>(written) / 1e6;
}
BENCHMARK(BM_BuildAndWrite)->Unit(benchmark::kMillisecond);

void BM_ParseAndWalk(benchmark::State& state) {
    const KSData& data = sampleData();
    gPeak = gCurrent.load();
    std::size_t base = gCurrent.load();
    for (auto _ : state) {
        auto document = BKXMLDocument::documentWithData(data, scenarioBehavior(), nullptr);
        benchmark::DoNotOptimize(walk(*document));
    }
    double peak = static_cast<double>(gPeak.load() - base);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
    state.counters["doc_MB"] = static_cast<double>(data.size()) / 1e6;
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_ratio"] = peak / static_cast<double>(data.size());
}
BENCHMARK(BM_ParseAndWalk)->Unit(benchmark::kMillisecond);

// The same, parsing a buffer handed over to the document (no copy).
void BM_ParseInPlaceAndWalk(benchmark::State& state) {
    const KSData& data = sampleData();
    gPeak = gCurrent.load();
    std::size_t base = gCurrent.load();
    for (auto _ : state) {
        state.PauseTiming();
        KSData bytes = data;
        state.ResumeTiming();
        auto document =
            BKXMLDocument::documentWithData(std::move(bytes), scenarioBehavior(), nullptr);
        benchmark::DoNotOptimize(walk(*document));
    }
    double peak = static_cast<double>(gPeak.load() - base) + static_cast<double>(data.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
    state.counters["doc_MB"] = static_cast<double>(data.size()) / 1e6;
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_ratio"] = peak / static_cast<double>(data.size());
}
BENCHMARK(BM_ParseInPlaceAndWalk)->Unit(benchmark::kMillisecond);

// Building alone holds the whole tree in memory; this reports its peak against the size
// of what it writes.
void BM_BuildMemory(benchmark::State& state) {
    std::size_t written = 0;
    double peak = 0;
    for (auto _ : state) {
        std::size_t base = gCurrent.load();
        gPeak = base;
        auto document = buildDocument(targetBytes());
        std::optional<KSData> data = document->xmlData(nullptr);
        written = data->size();
        peak = static_cast<double>(gPeak.load() - base) + static_cast<double>(data->capacity());
    }
    state.counters["doc_MB"] = static_cast<double>(written) / 1e6;
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_ratio"] = peak / static_cast<double>(written);
}
BENCHMARK(BM_BuildMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
