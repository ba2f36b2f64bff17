#include <foundation/tsskeinhash.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;

std::vector<std::uint8_t> makeMessage(std::size_t length) {
    std::vector<std::uint8_t> message(length);
    for (std::size_t i = 0; i < length; ++i)
        message[i] = static_cast<std::uint8_t>(i * 7 + 3);
    return message;
}

// A whole message per iteration: fresh engine, one feed, digest.
void BM_SkeinMessage(benchmark::State& state) {
    const std::vector<std::uint8_t> message = makeMessage(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(message.data());
        Digest digest = Engine().update(message.data(), message.size()).digest();
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_SkeinMessage)->Arg(16)->Arg(64)->Arg(1024)->Arg(64 * 1024)->Arg(1024 * 1024);

// Cost of one 1-byte feed into a long-running engine (amortises a block every 32 feeds).
void BM_SkeinOneByteFeeds(benchmark::State& state) {
    Engine engine;
    std::uint8_t byte = 0;
    for (auto _ : state) {
        engine.update(&byte, 1);
        ++byte;
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(engine.digest());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_SkeinOneByteFeeds);

// The shape of a dictionary signature: per entry "(", a 5-byte key, a 5-byte label, 4 value
// bytes and "|", 1000 entries, then the digest.
void BM_SkeinSignatureShapedFeeds(benchmark::State& state) {
    const char key[] = "width";
    const char label[] = "int32";
    for (auto _ : state) {
        Engine engine;
        for (std::uint32_t entry = 0; entry < 1000; ++entry) {
            engine.update("(", 1);
            engine.update(key, 5);
            engine.update(label, 5);
            engine.update(&entry, sizeof entry);
            engine.update("|", 1);
        }
        Digest digest = engine.digest();
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * 1000 * 16);
    // Seconds per feed (shown in ns by the reporter's unit scaling).
    state.counters["per_feed"] = benchmark::Counter(
        5000, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SkeinSignatureShapedFeeds);

} // namespace
