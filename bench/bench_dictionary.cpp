// Dictionary lookups and updates by prepared atom, side by side with the standard containers
// keyed by text, and the cost of a dictionary's signature against feeding the same bytes.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <benchmark/benchmark.h>

#include <any>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::Dictionary;
using Key = Tessel::Base::NameAtom<Any>;

// Key texts shaped like real parameter names, interned in a scrambled order so that the atom
// order is not the text order.
std::vector<std::string> keyTexts(std::int64_t count) {
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        texts.push_back("param." + std::to_string((i * 7919) % count) + ".value");
    }
    return texts;
}

// Visits every key in a fixed pseudo-random order so that lookups do not walk the tree in order.
std::vector<std::size_t> probeOrder(std::size_t count) {
    std::vector<std::size_t> order(count);
    std::uint64_t state = 0x9E3779B97F4A7C15ULL;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        order[i] = static_cast<std::size_t>(state >> 33) % count;
    }
    return order;
}

struct Fixture {
    explicit Fixture(std::int64_t count) : texts(keyTexts(count)), order(probeOrder(texts.size())) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            atoms.emplace_back(texts[i]);
            dictionary[atoms.back()].reset(static_cast<int>(i));
            byText.emplace(texts[i], static_cast<int>(i));
            byHash.emplace(texts[i], static_cast<int>(i));
            byIndex.emplace(atoms.back().getIndex(), static_cast<int>(i));
        }
    }
    std::vector<std::string> texts;
    std::vector<std::size_t> order;
    std::vector<Key> atoms;
    Dictionary dictionary;
    std::map<std::string, std::any> byText;
    std::unordered_map<std::string, std::any> byHash;
    std::map<std::uint32_t, int> byIndex;
};

// --- get: lookup plus typed read -------------------------------------------------------------------

void BM_Get_Dictionary(benchmark::State& state) {
    const Fixture f(state.range(0));
    const Dictionary& dictionary = f.dictionary;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(dictionary[f.atoms[f.order[i]]].ref<int>());
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
}

void BM_Get_StdMapStringAny(benchmark::State& state) {
    const Fixture f(state.range(0));
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::any_cast<int>(f.byText.find(f.texts[f.order[i]])->second));
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
}

void BM_Get_StdUnorderedMapStringAny(benchmark::State& state) {
    const Fixture f(state.range(0));
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::any_cast<int>(f.byHash.find(f.texts[f.order[i]])->second));
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
}

// --- set: assign a new value of the same type ------------------------------------------------------

void BM_Set_Dictionary(benchmark::State& state) {
    Fixture f(state.range(0));
    Any value;
    value.set(42);
    std::size_t i = 0;
    for (auto _ : state) {
        f.dictionary[f.atoms[f.order[i]]] = value;
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(f.dictionary);
}

void BM_Set_StdMapStringAny(benchmark::State& state) {
    Fixture f(state.range(0));
    const std::any value(42);
    std::size_t i = 0;
    for (auto _ : state) {
        f.byText[f.texts[f.order[i]]] = value;
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(f.byText);
}

void BM_Set_StdUnorderedMapStringAny(benchmark::State& state) {
    Fixture f(state.range(0));
    const std::any value(42);
    std::size_t i = 0;
    for (auto _ : state) {
        f.byHash[f.texts[f.order[i]]] = value;
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(f.byHash);
}

// --- overwrite in place through a typed reference --------------------------------------------------

void BM_Overwrite_DictionaryRef(benchmark::State& state) {
    Fixture f(state.range(0));
    std::size_t i = 0;
    int next = 0;
    for (auto _ : state) {
        f.dictionary[f.atoms[f.order[i]]].ref<int>() = ++next;
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(f.dictionary);
}

void BM_Overwrite_StdMapUint32Int(benchmark::State& state) {
    Fixture f(state.range(0));
    std::size_t i = 0;
    int next = 0;
    for (auto _ : state) {
        f.byIndex[f.atoms[f.order[i]].getIndex()] = ++next;
        i = (i + 1 == f.order.size()) ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(f.byIndex);
}

#define TSD_SIZES Arg(10)->Arg(1000)->Arg(100000)
BENCHMARK(BM_Get_Dictionary)->TSD_SIZES;
BENCHMARK(BM_Get_StdMapStringAny)->TSD_SIZES;
BENCHMARK(BM_Get_StdUnorderedMapStringAny)->TSD_SIZES;
BENCHMARK(BM_Set_Dictionary)->TSD_SIZES;
BENCHMARK(BM_Set_StdMapStringAny)->TSD_SIZES;
BENCHMARK(BM_Set_StdUnorderedMapStringAny)->TSD_SIZES;
BENCHMARK(BM_Overwrite_DictionaryRef)->TSD_SIZES;
BENCHMARK(BM_Overwrite_StdMapUint32Int)->TSD_SIZES;

// --- signature -------------------------------------------------------------------------------------

void BM_Signature_Dictionary1000Int32(benchmark::State& state) {
    const Fixture f(1000);
    for (auto _ : state) {
        Tessel::Base::SkeinHash::Engine engine;
        f.dictionary.signature(engine);
        benchmark::DoNotOptimize(engine.digest());
    }
}
BENCHMARK(BM_Signature_Dictionary1000Int32);

// The same byte pieces, prepared beforehand and fed straight to an engine.
void BM_Signature_SamePiecesFedDirectly(benchmark::State& state) {
    const Fixture f(1000);
    struct Piece {
        const std::string* key;
        int value;
    };
    std::vector<Piece> pieces;
    for (const auto& entry : f.dictionary) {
        pieces.push_back({&entry.first.getString(), entry.second.ref<int>()});
    }
    const std::string label = Tessel::Dictionary::gTypeLabelInt32.getString();
    for (auto _ : state) {
        Tessel::Base::SkeinHash::Engine engine;
        engine.update("(", 1);
        for (const Piece& piece : pieces) {
            engine.update(piece.key->data(), piece.key->size());
            engine.update(label.data(), label.size());
            engine.update(&piece.value, sizeof piece.value);
            engine.update("|", 1);
        }
        engine.update(")", 1);
        benchmark::DoNotOptimize(engine.digest());
    }
}
BENCHMARK(BM_Signature_SamePiecesFedDirectly);

} // namespace
