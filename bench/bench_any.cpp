// Cost of the value core: copies, assignments, conversions and binding.

#include <dictionary/tsany.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::BindValue;

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

void BM_CopyOwningInt(benchmark::State& state) {
    const Any source = holding(42);
    for (auto _ : state) {
        Any copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_CopyOwningInt);

void BM_CopyOwningString32(benchmark::State& state) {
    const Any source = holding(std::string(32, 's'));
    for (auto _ : state) {
        Any copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_CopyOwningString32);

void BM_AssignSameTypeInt(benchmark::State& state) {
    Any target = holding(1);
    const Any source = holding(2);
    for (auto _ : state) {
        target = source;
        benchmark::DoNotOptimize(target);
    }
}
BENCHMARK(BM_AssignSameTypeInt);

void BM_AssignSameTypeString32(benchmark::State& state) {
    Any target = holding(std::string(32, 't'));
    const Any source = holding(std::string(32, 's'));
    for (auto _ : state) {
        target = source;
        benchmark::DoNotOptimize(target);
    }
}
BENCHMARK(BM_AssignSameTypeString32);

void BM_AssignConvertingDoubleToInt(benchmark::State& state) {
    Any target = holding(1);
    const Any source = holding(2048.7);
    for (auto _ : state) {
        target = source;
        benchmark::DoNotOptimize(target);
    }
}
BENCHMARK(BM_AssignConvertingDoubleToInt);

void BM_BindVariable(benchmark::State& state) {
    int variable = 0;
    Any any;
    for (auto _ : state) {
        any = BindValue(variable);
        benchmark::DoNotOptimize(any);
    }
}
BENCHMARK(BM_BindVariable);

void BM_SetInt(benchmark::State& state) {
    for (auto _ : state) {
        Any any;
        any.set(7);
        benchmark::DoNotOptimize(any);
    }
}
BENCHMARK(BM_SetInt);

void BM_ConvertingReadIntAsDouble(benchmark::State& state) {
    const Any source = holding(5);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source.as<double>());
    }
}
BENCHMARK(BM_ConvertingReadIntAsDouble);

} // namespace
