#include "bench/BenchSessions.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/Files.h"

#include <benchmark/benchmark.h>

#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace corvane {
namespace {

// ---- the measure: the XML library alone, read and written as the engine reads and writes

int appendTo(void *text, const char *bytes, int count) {
    static_cast<std::string *>(text)->append(bytes, static_cast<std::size_t>(count));
    return count;
}

xmlDocPtr bareLoad(const std::filesystem::path &file) {
    const Bytes bytes = readFile(file);
    return xmlReadMemory(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()),
                         nullptr, nullptr,
                         XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_COMPACT | XML_PARSE_NOBLANKS);
}

void bareLoadAndSave(const std::filesystem::path &file) {
    const xmlDocPtr document = bareLoad(file);
    std::string text;
    const xmlSaveCtxtPtr save =
        xmlSaveToIO(appendTo, nullptr, &text, "UTF-8", XML_SAVE_FORMAT | XML_SAVE_AS_XML);
    xmlSaveDoc(save, document);
    xmlSaveClose(save);
    xmlFreeDoc(document);
    std::ofstream(file, std::ios::binary) << text;
}

// ---- one of each, on a session of so many tracks and megabytes

BenchSession &sessionOf(const benchmark::State &state) {
    return BenchSession::of(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

void describe(benchmark::State &state, const BenchSession &session) {
    state.counters["MB"] = static_cast<double>(session.size()) / 1e6;
    state.counters["peak MB"] = session.peakMegabytes;
}

/// The most memory that one run takes in a process of its own, which says so itself: what the system keeps
/// for the parent of a process counts the parent's pages as well.
double peakMegabytes(const char *operation, const BenchSession &session) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = "'" + program + "' --once " + operation + " " +
                                std::to_string(session.tracks) + " " + std::to_string(session.megabytes) +
                                " '" + session.folder().parent_path().string() + "'";
    std::FILE *const output = popen(command.c_str(), "r");
    double kilobytes = 0;
    if (output == nullptr || std::fscanf(output, "%lf", &kilobytes) != 1)
        std::fprintf(stderr, "no answer from %s\n", command.c_str());
    if (output != nullptr)
        pclose(output);
    return kilobytes / 1e3;
}

void printPeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            std::printf("%s\n", line.substr(6).c_str());
}

template <class Operation>
void measure(benchmark::State &state, const char *name, Operation operation) {
    BenchSession &session = sessionOf(state);
    session.peakMegabytes = peakMegabytes(name, session);
    for (auto _ : state)
        operation(session);
    describe(state, session);
}

void loadOnly(BenchSession &session) {
    xmlFreeDoc(bareLoad(session.file()));
}
void loadAndSave(BenchSession &session) {
    bareLoadAndSave(session.file());
}
void signature(BenchSession &session) {
    benchmark::DoNotOptimize(LiveTraxGenerator::sessionPatchSignature(session.folder()));
}
/// Every name changes with every run.
void update(BenchSession &session) {
    LiveTraxGenerator::update(session.platform(), session.folder(), session.nextChannels());
}
void generate(BenchSession &session) {
    const auto made = LiveTraxGenerator::generate(session.platform(), "New", session.folder().parent_path(),
                                                  session.nextChannels());
    benchmark::DoNotOptimize(made);
}

void bareLoadOnly(benchmark::State &state) {
    measure(state, "load", loadOnly);
}
void bareLoadSave(benchmark::State &state) {
    measure(state, "loadsave", loadAndSave);
}
void engineSignature(benchmark::State &state) {
    measure(state, "signature", signature);
}
void engineUpdate(benchmark::State &state) {
    measure(state, "update", update);
}
void engineGenerate(benchmark::State &state) {
    measure(state, "generate", generate);
}

/// The same number of runs for all rows: the first one finds a heap without holes and may take half the time.
constexpr int runs = 6;

void shapes(benchmark::internal::Benchmark *rows) {
    rows->ArgNames({"tracks", "MB"})->Unit(benchmark::kMillisecond)->Iterations(runs);
    for (const int tracks : {64, 256, 1024, 2600})
        rows->Args({tracks, 0}); // as large as the tracks make it
    for (const int megabytes : {1, 10, 100})
        rows->Args({24, megabytes});
}

void trackShapes(benchmark::internal::Benchmark *rows) {
    rows->ArgNames({"tracks", "MB"})->Unit(benchmark::kMillisecond)->Iterations(runs);
    for (const int tracks : {64, 256, 1024, 2600})
        rows->Args({tracks, 0});
}

BENCHMARK(bareLoadOnly)->Apply(shapes);
BENCHMARK(engineSignature)->Apply(shapes);
BENCHMARK(bareLoadSave)->Apply(shapes);
BENCHMARK(engineUpdate)->Apply(shapes);
BENCHMARK(engineGenerate)->Apply(trackShapes);

/// For peakMegabytes: one operation on a session that the parent has made.
int runOnce(const std::string &operation, int tracks, int megabytes, const char *folder) {
    BenchSession session(folder, tracks, megabytes);
    if (operation == "load")
        loadOnly(session);
    else if (operation == "loadsave")
        loadAndSave(session);
    else if (operation == "signature")
        signature(session);
    else if (operation == "update")
        update(session);
    else if (operation == "generate")
        generate(session);
    printPeakMemory();
    return 0;
}

} // namespace
} // namespace corvane

int main(int argc, char **argv) {
    if (argc == 6 && std::string(argv[1]) == "--once")
        return corvane::runOnce(argv[2], std::atoi(argv[3]), std::atoi(argv[4]), argv[5]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
