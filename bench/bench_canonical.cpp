// The canonical signature against the designed signature of the same dictionary: 1,000 "int32"
// entries whose keys were interned in an order unlike their text order, so that the canonical
// encoding has to sort them. Also a deep value (nested vectors), which the canonical signature
// walks without recursion.

#include <dictionary/tsany.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::Dictionary;

// Parameter-like keys interned in a scrambled order.
Dictionary int32Entries(int count) {
    Dictionary dictionary;
    for (int i = 0; i < count; ++i) {
        const Tessel::Base::NameAtom<Any> key("param." + std::to_string((i * 7919) % count) + ".value");
        dictionary[key].reset(i);
    }
    return dictionary;
}

void BM_DesignedSignature_1000Int32(benchmark::State& state) {
    const Dictionary dictionary = int32Entries(1000);
    for (auto _ : state) {
        Tessel::Base::SkeinHash::Engine engine;
        benchmark::DoNotOptimize(dictionary.signature(engine).digest());
    }
}
BENCHMARK(BM_DesignedSignature_1000Int32);

void BM_CanonicalSignature_1000Int32(benchmark::State& state) {
    const Dictionary dictionary = int32Entries(1000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Tessel::Dictionary::canonicalSignature(dictionary));
    }
}
BENCHMARK(BM_CanonicalSignature_1000Int32);

// A chain of vectors of one element, `depth` levels deep. Built and torn down level by level.
void BM_CanonicalSignature_NestedVectors(benchmark::State& state) {
    Any root;
    Any* node = &root;
    for (auto level = state.range(0); level > 0; --level) {
        node->set(std::vector<Any>(1));
        node = &node->vec()[0];
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(Tessel::Dictionary::canonicalSignature(root));
    }
    std::vector<Any> holder;
    holder.swap(root.vec());
    while (!holder.empty()) {
        std::vector<Any> next;
        if (holder[0].type() != nullptr) {
            next.swap(holder[0].vec());
        }
        holder.swap(next);
    }
}
BENCHMARK(BM_CanonicalSignature_NestedVectors)->Arg(1000)->Arg(100000);

} // namespace
