// The JSON parser on feed lines: a typical headline line, and one object with very many members
// (the duplicate-name check must stay linear in the number of members).
#include <string>

#include <benchmark/benchmark.h>

#include "embedded_backend/json.h"

namespace embedded::bench {
namespace {

std::string objectWithMembers(std::int64_t members) {
    std::string line = "{";
    for (std::int64_t i = 0; i < members; ++i) {
        line += (i > 0 ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
    }
    return line + "}";
}

void BM_JsonManyMembers(benchmark::State& state) {
    const std::string line = objectWithMembers(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseJson(line));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(line.size()));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_JsonManyMembers)->RangeMultiplier(4)->Range(16, 40000)->Unit(benchmark::kMicrosecond)->Complexity();

void BM_JsonHeadlineLine(benchmark::State& state) {
    const std::string line = R"({"at":12.5,"event":"headline","service":16,"seq":7,"category":3,"categoryName":"營收",)"
                             R"("title":"台積電(2330)3月營收2,000億元","symbols":[{"code":"2330","name":"台積電"}],)"
                             R"("story":"台積電今日公告…@@@@本資料僅供參考。"})";
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseJson(line));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(line.size()));
}
BENCHMARK(BM_JsonHeadlineLine);

} // namespace
} // namespace embedded::bench
