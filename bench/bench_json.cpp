// The JSON bridge against nlohmann::json on the same ~10 MB document: reading into an Any versus
// nlohmann::json::parse building its DOM, and writing an Any versus dump() of the equivalent DOM,
// for the typed and the plain form. Throughput is reported as MB/s (10^6 bytes of JSON text).
// A read is timed with the destruction of what it built, on both sides: the allocator defers
// part of the cost of frees to the next large allocation, which would otherwise land on one side.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

// One clip record: nested dictionaries, vectors, integers, doubles, strings and a few values that
// the typed form has to tag (an int32 and a float).
Any makeRecord(std::mt19937_64& random, long long id) {
    static const char* const kWords[] = {"intro", "scène", "take", "wide", "close-up", "b-roll", "\"quoted\"",
                                         "night", "day", "tab\there"};
    const auto word = [&] { return std::string(kWords[random() % 10]); };
    Any record = holding(Dictionary());
    record["id"] = holding(id);
    record["name"] = holding(word() + " " + word() + " " + std::to_string(random() % 1000));
    record["duration"] = holding(static_cast<double>(random() % 100000) / 97.0);
    record["enabled"] = holding(random() % 2 == 0);
    record["rate"] = holding(static_cast<int>(24 + random() % 37));
    record["gain"] = holding(static_cast<float>(random() % 1000) / 7.0F);
    Any tags = holding(std::vector<Any>());
    for (std::uint64_t i = 0, n = random() % 5; i < n; ++i) {
        tags.vec().push_back(holding(word()));
    }
    record["tags"] = tags;
    Any position = holding(Dictionary());
    position["x"] = holding(static_cast<double>(random() % 4096) * 0.25);
    position["y"] = holding(static_cast<double>(random() % 2160) * 0.25);
    position["layer"] = holding(static_cast<long long>(random() % 16));
    record["position"] = position;
    Any frames = holding(std::vector<Any>());
    for (int i = 0; i < 8; ++i) {
        frames.vec().push_back(holding(static_cast<long long>(random() % 1000000)));
    }
    record["frames"] = frames;
    return record;
}

// A dictionary of vectors of records, grown until its typed text reaches about 10 MB. The value
// that the writers start from is read back from that text, as nlohmann's DOM is, so that both
// walk memory laid out by a parse.
struct Document {
    std::string typed;
    std::string plain;
    std::unique_ptr<Any> value;

    Document() {
        std::mt19937_64 random(13);
        Any generated = holding(Dictionary());
        generated["title"] = holding(std::string("benchmark project"));
        Any& clips = generated["clips"];
        clips = holding(std::vector<Any>());
        long long id = 0;
        while (typed.size() < 10'000'000) {
            Any batch = holding(std::vector<Any>());
            for (int i = 0; i < 1000; ++i) {
                batch.vec().push_back(makeRecord(random, id++));
            }
            clips.vec().push_back(batch);
            typed = toJson(generated);
        }
        JsonOptions plainOptions;
        plainOptions.form = JsonForm::Plain;
        plain = toJson(generated, plainOptions);
        value.reset(new Any(fromJson(typed)));
        if (toJson(*value) != typed) {
            std::fprintf(stderr, "the benchmark document does not read back as written\n");
            std::abort();
        }
    }
};

const Document& document() {
    static const Document instance;
    return instance;
}

void reportThroughput(benchmark::State& state, std::size_t bytes) {
    state.counters["MB/s"] = benchmark::Counter(static_cast<double>(bytes) * static_cast<double>(state.iterations()) / 1e6,
                                                benchmark::Counter::kIsRate);
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

const std::string& textOf(bool typed) {
    return typed ? document().typed : document().plain;
}

void BM_FromJson(benchmark::State& state) {
    const std::string& text = textOf(state.range(0) != 0);
    for (auto _ : state) {
        Any value = fromJson(text);
        benchmark::DoNotOptimize(value);
    }
    reportThroughput(state, text.size());
}

void BM_NlohmannParse(benchmark::State& state) {
    const std::string& text = textOf(state.range(0) != 0);
    for (auto _ : state) {
        nlohmann::json dom = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(dom);
    }
    reportThroughput(state, text.size());
}

void BM_ToJson(benchmark::State& state) {
    JsonOptions options;
    options.form = state.range(0) != 0 ? JsonForm::Typed : JsonForm::Plain;
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text = toJson(*document().value, options);
        bytes = text.size();
        benchmark::DoNotOptimize(text);
    }
    reportThroughput(state, bytes);
}

void BM_NlohmannDump(benchmark::State& state) {
    const nlohmann::json dom = nlohmann::json::parse(textOf(state.range(0) != 0));
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text = dom.dump();
        bytes = text.size();
        benchmark::DoNotOptimize(text);
    }
    reportThroughput(state, bytes);
}

// Argument 1: the typed form; 0: the plain form.
BENCHMARK(BM_FromJson)->ArgName("typed")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NlohmannParse)->ArgName("typed")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToJson)->ArgName("typed")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NlohmannDump)->ArgName("typed")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

} // namespace
