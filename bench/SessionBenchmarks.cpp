#include "bench/BenchSessions.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/Files.h"

#include <benchmark/benchmark.h>

#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
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

void loadOnly(BenchSession &session) {
    xmlFreeDoc(bareLoad(session.file()));
}
void loadAndSave(BenchSession &session) {
    bareLoadAndSave(session.file());
}
void signature(BenchSession &session) {
    benchmark::DoNotOptimize(LiveTraxGenerator::sessionPatchSignature(session.folder()));
}
/// Every name changes with every round.
void update(BenchSession &session) {
    LiveTraxGenerator::update(session.platform(), session.folder(), session.channels());
}
void generate(BenchSession &session) {
    const auto made = LiveTraxGenerator::generate(session.platform(), "New", session.folder().parent_path(),
                                                  session.channels());
    benchmark::DoNotOptimize(made);
}

struct Operation {
    const char *name;
    void (*run)(BenchSession &session);
};
constexpr Operation bareLoadOnly{"load", loadOnly};
constexpr Operation bareLoadSave{"loadsave", loadAndSave};
constexpr Operation engineSignature{"signature", signature};
constexpr Operation engineUpdate{"update", update};
constexpr Operation engineGenerate{"generate", generate};

// ---- each run in a process of its own: none finds the heap that another one left, and its memory is its own

struct Measured {
    double seconds = 0;
    double kilobytes = 0;
};

/// What the system keeps for the parent of a process counts the parent's pages as well; this does not.
double peakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::stod(line.substr(6));
    return 0;
}

/// In the process of its own. The arguments: operation, tracks, megabytes, round, the sessions' folder.
int runOnce(char **arguments) {
    BenchSession session(arguments[4], std::atoi(arguments[1]), std::atoi(arguments[2]),
                         std::atoi(arguments[3]));
    for (const Operation &operation :
         {bareLoadOnly, bareLoadSave, engineSignature, engineUpdate, engineGenerate}) {
        if (std::string(arguments[0]) != operation.name)
            continue;
        using Clock = std::chrono::steady_clock;
        const auto before = Clock::now();
        operation.run(session);
        const double seconds = std::chrono::duration<double>(Clock::now() - before).count();
        std::printf("%.9f %.0f\n", seconds, peakKilobytes());
        return 0;
    }
    return 2;
}

Measured inProcessOfItsOwn(const Operation &operation, const BenchSession &session, int round) {
    static const auto program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = "'" + program + "' --once " + operation.name + " " +
                                std::to_string(session.tracks) + " " + std::to_string(session.megabytes) +
                                " " + std::to_string(round) + " '" + session.folder().parent_path().string() +
                                "'";
    std::FILE *const output = popen(command.c_str(), "r");
    Measured measured;
    const bool answered =
        output != nullptr && std::fscanf(output, "%lf %lf", &measured.seconds, &measured.kilobytes) == 2;
    if (output == nullptr || pclose(output) != 0 || !answered)
        throw std::runtime_error("no answer from " + command);
    return measured;
}

void row(benchmark::State &state, const Operation &operation) {
    static int round = 0;
    const BenchSession &session =
        BenchSession::of(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    double peak = 0;
    for (auto _ : state) {
        const Measured measured = inProcessOfItsOwn(operation, session, round++);
        state.SetIterationTime(measured.seconds);
        peak = measured.kilobytes / 1e3;
    }
    state.counters["MB"] = static_cast<double>(session.size()) / 1e6;
    state.counters["peak MB"] = peak;
}

/// As large as so many tracks make it.
void trackShapes(benchmark::internal::Benchmark *rows) {
    rows->ArgNames({"tracks", "MB"})->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
    for (const int tracks : {64, 256, 1024, 2600})
        rows->Args({tracks, 0});
}

void shapes(benchmark::internal::Benchmark *rows) {
    trackShapes(rows);
    for (const int megabytes : {1, 10, 100})
        rows->Args({24, megabytes});
}

BENCHMARK_CAPTURE(row, load, bareLoadOnly)->Apply(shapes);
BENCHMARK_CAPTURE(row, signature, engineSignature)->Apply(shapes);
BENCHMARK_CAPTURE(row, loadsave, bareLoadSave)->Apply(shapes);
BENCHMARK_CAPTURE(row, update, engineUpdate)->Apply(shapes);
BENCHMARK_CAPTURE(row, generate, engineGenerate)->Apply(trackShapes);

} // namespace
} // namespace corvane

int main(int argc, char **argv) {
    if (argc == 7 && std::string(argv[1]) == "--once")
        return corvane::runOnce(argv + 2);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
