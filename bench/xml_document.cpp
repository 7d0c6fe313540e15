// Throughput and memory of the XML layer on a plan-sized document (about 10 MB; 100 kB
// under KESTRUM_BENCH_SMOKE; KESTRUM_BENCH_XML_BYTES asks for another size, e.g. a small
// one to run under a profiler).
//
//   BM_BuildAndWrite        builds a plan-like document through the document API and writes
//                           it. The texts a writer already holds (ids, titles) are made
//                           before timing; every call into the layer and the writing are
//                           timed.
//   BM_ParseAndWalk         parses a copy of the written bytes and visits every node with
//                           the cursor, reading texts and the usual attributes.
//   BM_ParseInPlaceAndWalk  the same, handing the bytes over to the document (no copy).
//   BM_Pugixml...           the same work done with pugixml directly: the floor that the
//                           layer stands on.
//
// bytes_per_second (document bytes) is worked out from CPU time, which says more than wall
// time on a shared machine; run with --benchmark_repetitions and compare with the pugixml
// variants of the same run. Further counters: doc_MB; peak_MB, the most heap memory held
// at once while the benchmark's work ran (everything allocated through operator new and
// pugixml's allocator, the bytes being parsed included); peak_ratio, that against the
// document's size.
#include <benchmark/benchmark.h>

#include <malloc.h>
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLFunctions.h"

// --- Counting heap memory ------------------------------------------------------------------
// Every block carries its size in front of it. The benchmarks run on one thread; relaxed
// loads and stores keep the counting cheap.
namespace {

std::atomic<std::size_t> gCurrent{0};
std::atomic<std::size_t> gPeak{0};
constexpr std::size_t kHeader = alignof(std::max_align_t);

// Out of line, so that the compiler does not see a block from operator new reach free().
[[gnu::noinline]] void* countingAllocate(std::size_t size) {
    auto* block = static_cast<char*>(std::malloc(size + kHeader));
    if (!block) return nullptr;
    *reinterpret_cast<std::size_t*>(block) = size;
    std::size_t now = gCurrent.load(std::memory_order_relaxed) + size;
    gCurrent.store(now, std::memory_order_relaxed);
    if (now > gPeak.load(std::memory_order_relaxed)) gPeak.store(now, std::memory_order_relaxed);
    return block + kHeader;
}

[[gnu::noinline]] void countingDeallocate(void* pointer) {
    if (!pointer) return;
    char* block = static_cast<char*>(pointer) - kHeader;
    gCurrent.store(
        gCurrent.load(std::memory_order_relaxed) - *reinterpret_cast<std::size_t*>(block),
        std::memory_order_relaxed);
    std::free(block);
}

const bool gCountingPugixml = [] {
    pugi::set_memory_management_functions(countingAllocate, countingDeallocate);
    return true;
}();

// Measures the peak of heap memory over a stretch of work, from the memory held when it
// starts.
class PeakMeter {
public:
    PeakMeter() : base_(gCurrent.load(std::memory_order_relaxed)) {
        gPeak.store(base_, std::memory_order_relaxed);
    }
    std::size_t peak() const { return gPeak.load(std::memory_order_relaxed) - base_; }

private:
    std::size_t base_;
};

}  // namespace

void* operator new(std::size_t size) {
    if (void* p = countingAllocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return countingAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return countingAllocate(size);
}
void operator delete(void* pointer) noexcept {
    countingDeallocate(pointer);
}
void operator delete[](void* pointer) noexcept {
    countingDeallocate(pointer);
}
void operator delete(void* pointer, std::size_t) noexcept {
    countingDeallocate(pointer);
}
void operator delete[](void* pointer, std::size_t) noexcept {
    countingDeallocate(pointer);
}

namespace {

using namespace kestrum;

// --- A plan-like document -------------------------------------------------------------------
std::size_t targetBytes() {
    if (const char* bytes = std::getenv("KESTRUM_BENCH_XML_BYTES")) {
        return std::max<std::size_t>(1024, std::strtoull(bytes, nullptr, 10));
    }
    return std::getenv("KESTRUM_BENCH_SMOKE") ? 100 * 1024 : 10 * 1024 * 1024;
}

std::shared_ptr<BKXMLWhitespaceBehavior> scenarioBehavior() {
    auto behavior = std::make_shared<BKXMLWhitespaceBehavior>();
    behavior->setBehaviorForElementName(BKXMLWhitespaceIgnore, "scenario");
    behavior->setBehaviorForElementName(BKXMLWhitespacePreserve, "literal-string");
    return behavior;
}

constexpr const char* kNamespace = "http://kestrum.invalid/namespace/Kestrum/v2";
constexpr const char* kNote = "Check the estimate with the team.\n  Keep the layout.";

// What a writer holds for a task before writing it: its id, title and the ids it refers to.
struct TaskTexts {
    std::string id;
    std::string title;
    std::string resourceRef;
    std::string previousRef;
    std::string childRef;
};

// `prefix` followed by the decimal number (appended, which keeps GCC 12's -Wrestrict quiet).
std::string numbered(const char* prefix, int number, const char* suffix = "") {
    std::string text(prefix);
    text += std::to_string(number);
    text += suffix;
    return text;
}

std::vector<TaskTexts> makeTaskTexts(int count) {
    std::vector<TaskTexts> tasks;
    tasks.reserve(static_cast<std::size_t>(count));
    for (int id = 1; id <= count; ++id) {
        tasks.push_back({numbered("t", id), numbered("Task number ", id, " of the release plan"),
                         numbered("r", id % 50), numbered("t", id - 1), numbered("t", id * 2)});
    }
    return tasks;
}

double effortOf(int id) {
    return 28800.0 * (1 + id % 5);
}
double durationOf(int id) {
    return 3600.0 * (id % 40);
}
KSDate startOf(int id) {
    return KSDate{8.0e8 + id * 3600.0};
}
KSDate endOf(int id) {
    return KSDate{8.0e8 + id * 3600.0 + 86400.0};
}

void writeTask(BKXMLDocument& document, const TaskTexts& task, int id) {
    document.pushElement("task");
    document.setAttributeString("id", task.id);
    document.appendElementContainingString("title", task.title);
    if (id % 7 == 0) document.appendElementContainingString("type", "milestone");
    document.appendElementContainingDouble("effort", effortOf(id));
    document.appendElementContainingDouble("duration", durationOf(id));
    document.appendElementContainingDate("start-date", startOf(id));
    document.appendElementContainingDate("end-date", endOf(id));
    if (id % 3 == 0) {
        document.pushElement("note");
        document.appendElementContainingString("literal-string", kNote);
        document.popElement();
    }
    BKXMLElement assignment = document.appendElement("assignment");
    assignment.setAttributeString("idref", task.resourceRef);
    assignment.setAttributeDouble("units", 0.5);
    if (id > 1) {
        BKXMLElement link = document.appendElement("prerequisite-task");
        link.setAttributeString("idref", task.previousRef);
        if (id % 4 == 0) link.setAttributeString("kind", "SS");
    }
    document.appendElement("child-task").setAttributeString("idref", task.childRef);
    document.popElement();
}

std::unique_ptr<BKXMLDocument> buildTasks(const std::vector<TaskTexts>& tasks) {
    auto document = BKXMLDocument::documentWithRootElementName(
        "scenario", kNamespace, scenarioBehavior(), BKXMLStringEncodingUTF8, nullptr);
    document->setAttributeString("xmlns", document->namespaceURL());
    for (std::size_t i = 0; i < tasks.size(); ++i)
        writeTask(*document, tasks[i], static_cast<int>(i) + 1);
    return document;
}

// The texts of as many tasks as make a document of about the target size, measured on a
// sample.
const std::vector<TaskTexts>& sampleTasks() {
    static const std::vector<TaskTexts> tasks = [] {
        const int sample = 1000;
        double perTask =
            static_cast<double>(buildTasks(makeTaskTexts(sample))->xmlData(nullptr)->size()) /
            sample;
        return makeTaskTexts(
            std::max(1, static_cast<int>(static_cast<double>(targetBytes()) / perTask)));
    }();
    return tasks;
}

const KSData& sampleData() {
    static const KSData data = *buildTasks(sampleTasks())->xmlData(nullptr);
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

void reportSizes(benchmark::State& state, std::size_t documentBytes, std::size_t peak) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * documentBytes));
    state.counters["doc_MB"] = static_cast<double>(documentBytes) / 1e6;
    state.counters["peak_MB"] = static_cast<double>(peak) / 1e6;
    state.counters["peak_ratio"] = static_cast<double>(peak) / static_cast<double>(documentBytes);
}

// --- The layer --------------------------------------------------------------------------------
void BM_BuildAndWrite(benchmark::State& state) {
    const std::vector<TaskTexts>& tasks = sampleTasks();
    std::size_t written = 0;
    std::size_t peak = 0;
    for (auto _ : state) {
        PeakMeter meter;
        {
            auto document = buildTasks(tasks);
            std::optional<KSData> data = document->xmlData(nullptr);
            written = data->size();
            benchmark::DoNotOptimize(data->data());
        }
        peak = std::max(peak, meter.peak());
    }
    reportSizes(state, written, peak);
}
BENCHMARK(BM_BuildAndWrite)->Unit(benchmark::kMillisecond);

void BM_ParseAndWalk(benchmark::State& state) {
    const KSData& data = sampleData();
    std::size_t peak = 0;
    for (auto _ : state) {
        PeakMeter meter;
        {
            auto document = BKXMLDocument::documentWithData(data, scenarioBehavior(), nullptr);
            benchmark::DoNotOptimize(walk(*document));
        }
        peak = std::max(peak, meter.peak());
    }
    // The caller's bytes are held all along.
    reportSizes(state, data.size(), peak + data.size());
}
BENCHMARK(BM_ParseAndWalk)->Unit(benchmark::kMillisecond);

void BM_ParseInPlaceAndWalk(benchmark::State& state) {
    const KSData& data = sampleData();
    std::size_t peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        PeakMeter meter;
        KSData bytes = data;
        state.ResumeTiming();
        {
            auto document =
                BKXMLDocument::documentWithData(std::move(bytes), scenarioBehavior(), nullptr);
            benchmark::DoNotOptimize(walk(*document));
        }
        peak = std::max(peak, meter.peak());
    }
    reportSizes(state, data.size(), peak);
}
BENCHMARK(BM_ParseInPlaceAndWalk)->Unit(benchmark::kMillisecond);

// --- pugixml alone, for comparison ------------------------------------------------------------
void setText(pugi::xml_node element, const char* text) {
    element.append_child(pugi::node_pcdata).set_value(text);
}

void setNumber(pugi::xml_node element, double value) {
    char buffer[32];
    auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    element.append_child(pugi::node_pcdata)
        .set_value(buffer, static_cast<std::size_t>(end - buffer));
}

void writePugixmlTask(pugi::xml_node scenario, const TaskTexts& task, int id) {
    pugi::xml_node node = scenario.append_child("task");
    node.append_attribute("id").set_value(task.id.c_str());
    setText(node.append_child("title"), task.title.c_str());
    if (id % 7 == 0) setText(node.append_child("type"), "milestone");
    setNumber(node.append_child("effort"), effortOf(id));
    setNumber(node.append_child("duration"), durationOf(id));
    setText(node.append_child("start-date"), startOf(id).xmlString().c_str());
    setText(node.append_child("end-date"), endOf(id).xmlString().c_str());
    if (id % 3 == 0) setText(node.append_child("note").append_child("literal-string"), kNote);
    pugi::xml_node assignment = node.append_child("assignment");
    assignment.append_attribute("idref").set_value(task.resourceRef.c_str());
    char units[32];
    *std::to_chars(units, units + sizeof units - 1, 0.5).ptr = 0;
    assignment.append_attribute("units").set_value(units);
    if (id > 1) {
        pugi::xml_node link = node.append_child("prerequisite-task");
        link.append_attribute("idref").set_value(task.previousRef.c_str());
        if (id % 4 == 0) link.append_attribute("kind").set_value("SS");
    }
    node.append_child("child-task").append_attribute("idref").set_value(task.childRef.c_str());
}

class VectorWriter : public pugi::xml_writer {
public:
    explicit VectorWriter(KSData& out) : out_(out) {}
    void write(const void* data, size_t size) override {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        out_.insert(out_.end(), bytes, bytes + size);
    }

private:
    KSData& out_;
};

void BM_PugixmlBuildAndWrite(benchmark::State& state) {
    const std::vector<TaskTexts>& tasks = sampleTasks();
    std::size_t written = 0;
    std::size_t peak = 0;
    for (auto _ : state) {
        PeakMeter meter;
        {
            pugi::xml_document document;
            pugi::xml_node scenario = document.append_child("scenario");
            scenario.append_attribute("xmlns").set_value(kNamespace);
            for (std::size_t i = 0; i < tasks.size(); ++i)
                writePugixmlTask(scenario, tasks[i], static_cast<int>(i) + 1);
            KSData data;
            VectorWriter writer(data);
            document.save(writer, "", pugi::format_raw, pugi::encoding_utf8);
            written = data.size();
            benchmark::DoNotOptimize(data.data());
        }
        peak = std::max(peak, meter.peak());
    }
    reportSizes(state, written, peak);
}
BENCHMARK(BM_PugixmlBuildAndWrite)->Unit(benchmark::kMillisecond);

std::size_t walkPugixml(pugi::xml_node element) {
    std::size_t seen = element.value()[0] ? std::strlen(element.value()) : 0;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_pcdata) {
            seen += std::strlen(child.value());
        } else if (child.type() == pugi::node_element) {
            seen += std::strlen(child.attribute("id").value());
            seen += std::strlen(child.attribute("idref").value());
            seen += walkPugixml(child);
        }
    }
    return seen;
}

void BM_PugixmlParseInPlaceAndWalk(benchmark::State& state) {
    const KSData& data = sampleData();
    std::size_t peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        PeakMeter meter;
        KSData bytes = data;
        state.ResumeTiming();
        {
            pugi::xml_document document;
            document.load_buffer_inplace(
                bytes.data(), bytes.size(),
                pugi::parse_default | pugi::parse_embed_pcdata | pugi::parse_ws_pcdata,
                pugi::encoding_utf8);
            benchmark::DoNotOptimize(walkPugixml(document.document_element()));
        }
        peak = std::max(peak, meter.peak());
    }
    reportSizes(state, data.size(), peak);
}
BENCHMARK(BM_PugixmlParseInPlaceAndWalk)->Unit(benchmark::kMillisecond);

}  // namespace

// The sample texts and bytes are made before any benchmark runs, so that a profiler
// that follows one benchmark function sees only its work.
//
// glibc's malloc adapts its thresholds to the history of the heap and may hand the freed
// tree back to the kernel between iterations; the next iteration then spends about as
// long in page faults as in its own work, and how often that happens depends on what ran
// before. Fixed thresholds keep freed memory in the process, so that every benchmark
// measures its own work in the steady state.
int main(int argc, char** argv) {
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::DoNotOptimize(sampleData().data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
