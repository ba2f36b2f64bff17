// Whole-value operations on values that nest: deep copy, comparison, signature, element-wise
// vector assignment and teardown. Shapes: a flat dictionary of 1000 numbers, a project-like
// vector of 200 shot dictionaries (numbers, a name, a small vector each) and a chain of nested
// containers 10,000 levels deep.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::Dictionary;
using Key = Tessel::Base::NameAtom<Any>;
using Elements = std::vector<Any>;

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

Any flatDictionary() {
    Any value = holding(Dictionary());
    for (int i = 0; i < 1000; ++i) {
        value.dict()[Key("flat." + std::to_string(i))] = holding(i);
    }
    return value;
}

Any shots() {
    const Key width("width");
    const Key height("height");
    const Key name("name");
    const Key marks("marks");
    Any value = holding(Elements());
    for (int i = 0; i < 200; ++i) {
        Any shot = holding(Dictionary());
        shot[width] = holding(1920 + i);
        shot[height] = holding(1080.0);
        shot[name] = ("shot " + std::to_string(i)).c_str();
        shot[marks] = holding(Elements{holding(i), holding(i + 1), holding(i + 2)});
        value.vec().push_back(shot);
    }
    return value;
}

// Dictionaries and vectors alternating, 10,001 levels, a number at the bottom.
Any chain() {
    const Key inner("inner");
    Any root = holding(Dictionary());
    Any* level = &root;
    for (int depth = 1; depth <= 10000; ++depth) {
        if (depth % 2 == 1) {
            Any& next = (*level)[inner];
            next.set(Elements(1));
            level = &next;
        } else {
            Any& next = (*level)[0];
            next.set(Dictionary());
            level = &next;
        }
    }
    (*level)[inner] = holding(1);
    return root;
}

using Shape = Any (*)();

void copyAndDestroy(benchmark::State& state, Shape shape) {
    const Any source = shape();
    for (auto _ : state) {
        Any copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void compare(benchmark::State& state, Shape shape) {
    const Any a = shape();
    const Any b(a);
    for (auto _ : state) {
        benchmark::DoNotOptimize(a == b);
    }
}

void sign(benchmark::State& state, Shape shape) {
    const Any value = shape();
    for (auto _ : state) {
        Tessel::Base::SkeinHash::Engine engine;
        value.signature(engine);
        benchmark::DoNotOptimize(engine);
    }
}

// Same-type assignment: element by element into an equal-shaped target.
void assign(benchmark::State& state, Shape shape) {
    const Any source = shape();
    Any target(source);
    for (auto _ : state) {
        target = source;
        benchmark::DoNotOptimize(target);
    }
}

BENCHMARK_CAPTURE(copyAndDestroy, flat1000, flatDictionary);
BENCHMARK_CAPTURE(copyAndDestroy, shots200, shots);
BENCHMARK_CAPTURE(copyAndDestroy, chain10000, chain);
BENCHMARK_CAPTURE(compare, flat1000, flatDictionary);
BENCHMARK_CAPTURE(compare, shots200, shots);
BENCHMARK_CAPTURE(compare, chain10000, chain);
BENCHMARK_CAPTURE(sign, flat1000, flatDictionary);
BENCHMARK_CAPTURE(sign, shots200, shots);
BENCHMARK_CAPTURE(sign, chain10000, chain);
BENCHMARK_CAPTURE(assign, shots200, shots);
BENCHMARK_CAPTURE(assign, chain10000, chain);

} // namespace
