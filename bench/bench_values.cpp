// Moves against copies: handing a large dictionary on, and growing a std::vector<Any>, whose
// elements are moved (constant time each) rather than deep-copied. The copy rows show what the
// same work costs without move operations.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsnameatom.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::Dictionary;

// One dictionary per size, built once: a million keys take seconds to intern and fill.
Dictionary& dictionaryOf(std::int64_t keys) {
    static std::map<std::int64_t, std::unique_ptr<Dictionary>> built;
    std::unique_ptr<Dictionary>& slot = built[keys];
    if (!slot) {
        slot = std::make_unique<Dictionary>();
        for (std::int64_t i = 0; i < keys; ++i) {
            (*slot)[Dictionary::Key("clip." + std::to_string(i))] = static_cast<int>(i);
        }
    }
    return *slot;
}

// Two moves per iteration, there and back, so that the dictionary is whole for the next one.
void BM_DictionaryMove(benchmark::State& state) {
    Dictionary& source = dictionaryOf(state.range(0));
    for (auto _ : state) {
        Dictionary moved(std::move(source));
        source = std::move(moved);
        benchmark::DoNotOptimize(source);
    }
    state.counters["keys"] = static_cast<double>(source.size());
}
BENCHMARK(BM_DictionaryMove)->RangeMultiplier(32)->Range(1 << 10, 1 << 20);

void BM_DictionaryCopy(benchmark::State& state) {
    const Dictionary& source = dictionaryOf(state.range(0));
    for (auto _ : state) {
        Dictionary copy(source);
        benchmark::DoNotOptimize(copy);
    }
    state.counters["keys"] = static_cast<double>(source.size());
}
BENCHMARK(BM_DictionaryCopy)->RangeMultiplier(32)->Range(1 << 10, 1 << 20)->Unit(benchmark::kMillisecond);

// An element whose type declares copies only, so that vector growth copies it: what a
// std::vector<Any> did before Any could be moved.
struct CopiedOnGrowth {
    Any value;
    explicit CopiedOnGrowth(Any v) : value(std::move(v)) {}
    CopiedOnGrowth(const CopiedOnGrowth&) = default;
    CopiedOnGrowth& operator=(const CopiedOnGrowth&) = default;
    ~CopiedOnGrowth() = default;
};

// Each element holds a small dictionary, so that a deep copy has real work to do.
template <class Element>
void growVector(benchmark::State& state) {
    const Dictionary entry{{"width", 1920}, {"height", 1080}, {"name", "shot"}};
    const auto count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        std::vector<Element> elements;
        for (std::size_t i = 0; i < count; ++i) {
            elements.emplace_back(Any(entry));
        }
        benchmark::DoNotOptimize(elements.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_VectorGrowthMoves(benchmark::State& state) {
    growVector<Any>(state);
}
BENCHMARK(BM_VectorGrowthMoves)->RangeMultiplier(16)->Range(1 << 8, 1 << 16);

void BM_VectorGrowthCopies(benchmark::State& state) {
    growVector<CopiedOnGrowth>(state);
}
BENCHMARK(BM_VectorGrowthCopies)->RangeMultiplier(16)->Range(1 << 8, 1 << 16);

} // namespace
