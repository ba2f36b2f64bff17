// Cost of SMPTE timecode in both directions, at 29.97 drop-frame (the most arithmetic), at 25 and
// at 120 frames a second (three frame digits), and the cost of a refusal.

#include <foundation/tstimecode.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using Tessel::Base::TimeBase;
using Tessel::Base::TimecodeException;
using Tessel::Base::timecodeFrame;
using Tessel::Base::timecodeText;

// Rate by benchmark argument: 0 = 29.97 drop-frame, 1 = 25, 2 = 120.
struct RateCase {
    TimeBase rate;
    bool dropFrame;
};

RateCase rateCase(long long index) {
    TimeBase rate(TimeBase::k29_97);
    if (index == 1) {
        rate = TimeBase(TimeBase::k25);
    } else if (index == 2) {
        rate.set(120ULL, 1ULL);
    }
    return {rate, index == 0};
}

// Frames spread over the day, so that every branch of the arithmetic is taken.
constexpr long long kFrameStep = 104729;

void BM_TimecodeText(benchmark::State& state) {
    const RateCase c = rateCase(state.range(0));
    long long frame = 0;
    for (auto _ : state) {
        std::string text = timecodeText(frame, c.rate, c.dropFrame);
        benchmark::DoNotOptimize(text);
        frame += kFrameStep;
    }
}
BENCHMARK(BM_TimecodeText)->Arg(0)->Arg(1)->Arg(2);

void BM_TimecodeFrame(benchmark::State& state) {
    const RateCase c = rateCase(state.range(0));
    std::vector<std::string> labels;
    for (long long i = 0; i < 1024; ++i) {
        labels.push_back(timecodeText(i * kFrameStep, c.rate, c.dropFrame));
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(timecodeFrame(labels[i], c.rate));
        i = (i + 1) % labels.size();
    }
}
BENCHMARK(BM_TimecodeFrame)->Arg(0)->Arg(1)->Arg(2);

// A refused label: builds and throws a TimecodeException with its items (an error path).
void BM_TimecodeRefusal(benchmark::State& state) {
    const TimeBase rate(TimeBase::k29_97);
    const std::string skipped = "00:01:00;00";
    for (auto _ : state) {
        try {
            benchmark::DoNotOptimize(timecodeFrame(skipped, rate));
        } catch (const TimecodeException& refusal) {
            benchmark::DoNotOptimize(&refusal);
        }
    }
}
BENCHMARK(BM_TimecodeRefusal);

} // namespace
