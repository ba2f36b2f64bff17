// Cost of interning and reading name atoms.

#include <foundation/tsnameatom.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using KeyAtom = Tessel::Base::NameAtom<Tessel::Dictionary::Any>;

// A table of about 1,000 texts, the size of a large dictionary's key set.
const std::vector<std::string>& thousandTexts() {
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 1000; ++i) {
            made.push_back("key" + std::to_string(i * 7919 % 1000));
            KeyAtom atom(made.back());
        }
        return made;
    }();
    return texts;
}

void BM_InternKnownText(benchmark::State& state) {
    const auto& texts = thousandTexts();
    std::size_t i = 0;
    for (auto _ : state) {
        KeyAtom atom(texts[i].c_str());
        benchmark::DoNotOptimize(atom);
        i = (i + 1) % texts.size();
    }
}
BENCHMARK(BM_InternKnownText);

void BM_InternKnownStdString(benchmark::State& state) {
    const auto& texts = thousandTexts();
    std::size_t i = 0;
    for (auto _ : state) {
        KeyAtom atom(texts[i]);
        benchmark::DoNotOptimize(atom);
        i = (i + 1) % texts.size();
    }
}
BENCHMARK(BM_InternKnownStdString);

void BM_GetString(benchmark::State& state) {
    const KeyAtom atom(thousandTexts()[500]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(&atom.getString());
    }
}
BENCHMARK(BM_GetString);

void BM_EmptyText(benchmark::State& state) {
    for (auto _ : state) {
        KeyAtom atom("");
        benchmark::DoNotOptimize(atom);
    }
}
BENCHMARK(BM_EmptyText);

void BM_NullText(benchmark::State& state) {
    const char* volatile text = nullptr;
    for (auto _ : state) {
        KeyAtom atom(text);
        benchmark::DoNotOptimize(atom);
    }
}
BENCHMARK(BM_NullText);

void BM_CompareAtoms(benchmark::State& state) {
    const KeyAtom a(thousandTexts()[1]);
    const KeyAtom b(thousandTexts()[2]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(a < b);
    }
}
BENCHMARK(BM_CompareAtoms);

} // namespace
