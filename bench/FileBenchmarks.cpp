// Reading what every start reads: a catalogue and a string table.
#include <benchmark/benchmark.h>

#include <string>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Formats/StringTable.h"

namespace quillmore::platform {
namespace {

std::string catalogue(std::int64_t items) {
    Array entries;
    for (std::int64_t i = 0; i < items; ++i) {
        entries.emplace_back(
            Dictionary{{"Type", "QMTool"},
                       {"Name", "tool" + std::to_string(i)},
                       {"Resource", "tool"},
                       {"Signature", "tool.sig"},
                       {"InstallPath", "/Library/Application Support/Quillmore/tool"}});
    }
    return writePropertyList(Dictionary{{"RequiredItems", entries}});
}

void readCatalogue(benchmark::State& state) {
    const std::string bytes = catalogue(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(parsePropertyList(bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(readCatalogue)->Arg(8)->Arg(1000);

void readStrings(benchmark::State& state) {
    std::string bytes;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        bytes += "/* a comment */\n\"key " + std::to_string(i) +
                 "\" = \"A text with an \\\"escape\\\".\";\n";
    }
    for (auto _ : state) benchmark::DoNotOptimize(parseStringTable(bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(readStrings)->Arg(40)->Arg(10000);

}  // namespace
}  // namespace quillmore::platform
