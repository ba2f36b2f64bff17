// TimeBase from any text, float, fields and standard-rate code, its queries, and conversions of
// any frame and position between those rates. Invariants, besides no undefined behaviour: fields
// that fit an int read back from their fraction text; rateText is "Invalid" exactly for a zero
// denominator; roundedRate fits 32 bits; == is symmetric; equal rates keep the frame; 2:3
// pulldown from 24 to 30 and back returns the frame.
// Input: a text, a float, four 64-bit fields, an NTSC flag, a code, a frame and a position.

#include "tsfuzzsupport.h"

#include <foundation/tstimebase.h>

#include <climits>

using namespace TsFuzz;
using Tessel::Base::TimeBase;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    TimeBase rates[] = {TimeBase(in.text()), TimeBase(in.bits<float>()), TimeBase(), TimeBase(), TimeBase()};
    const auto numerator = in.bits<unsigned long long>();
    rates[2].set(numerator, in.bits<unsigned long long>());
    rates[3].set(in.bits<unsigned long long>(), in.byte() % 2 == 1);
    const int code = in.bits<int>();
    rates[4] = TimeBase(static_cast<TimeBase::StandardRate>(code));
    TSFUZZ_CHECK((code >= 0 && code < 8) == (rates[4].denominator != 0));
    const auto frame = in.bits<long long>();
    const auto position = in.bits<double>();
    for (const TimeBase& from : rates) {
        TSFUZZ_CHECK((from.rateText() == "Invalid") == (from.denominator == 0));
        TSFUZZ_CHECK(from.roundedRate() >= INT_MIN && from.roundedRate() <= INT_MAX);
        const TimeBase back(from.fractionText());
        TSFUZZ_CHECK(from.numerator > INT_MAX || from.denominator > INT_MAX ||
                     (back.numerator == from.numerator && back.denominator == from.denominator));
        TSFUZZ_CHECK(TimeBase::convertFrame(frame, from, from) == frame);
        for (const TimeBase& to : rates) {
            TSFUZZ_CHECK((from == to) == (to == from) && (from != to) == !(from == to));
            (void)TimeBase::convertFrame(frame, from, to);
            (void)TimeBase::convertFramePulldown(frame, from, to);
            (void)TimeBase::convertPosition(position, from, to);
        }
    }
    const TimeBase film(TimeBase::k24), video(TimeBase::k30);
    const long long pulled = TimeBase::convertFramePulldown(frame, film, video);
    const long long back = TimeBase::convertFramePulldown(pulled, video, film);
    TSFUZZ_CHECK(frame < -(1LL << 60) || frame > (1LL << 60) || back == frame);
    return 0;
}
