// What a log line costs: suppressed, formatted only, and written to a file.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Common/utils/Logging.h"

namespace quillmore {
namespace {

void suppressedLine(benchmark::State& state) {
    for (auto _ : state) logDetail("Checking %@ \"%@\"...", "Bundle", "QuillmoreFS");
}
BENCHMARK(suppressedLine);

void formattedText(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::format("Install check: %@ \"%@\" is \"%@\" (%d)",
                                                  "Bundle", "QuillmoreFS", "OK", 7));
    }
}
BENCHMARK(formattedText);

void lineToAFile(benchmark::State& state) {
    const std::string path = "/tmp/quillmore-bench-" + std::to_string(::getpid()) + ".log";
    initLogging(kLogLevelVerbose, kLogLevelError, path);
    for (auto _ : state)
        logVerbose("Install check: %@ \"%@\" is \"%@\"", "Bundle", "QuillmoreFS", "OK");
    std::remove(path.c_str());
}
BENCHMARK(lineToAFile);

}  // namespace
}  // namespace quillmore
