#include <benchmark/benchmark.h>
static void BM_placeholder(benchmark::State& s) { for (auto _ : s) {} }
BENCHMARK(BM_placeholder);
