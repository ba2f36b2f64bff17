// Rates and timecodes: TimeBase from any text, float, fields and standard-rate code, conversions
// of any frame and position between those rates, and timecode labels at those rates.
// Invariants: fields that fit an int read back from their fraction text; rateText is "Invalid"
// exactly for a zero denominator; roundedRate fits 32 bits; == is symmetric; equal rates keep the
// frame; 2:3 pulldown from 24 to 30 and back returns the frame; timecode functions throw only
// TimecodeException; a written label reads back as the frame modulo a day and writes back alike;
// an accepted label is a frame of the day that writes back as exactly that text.
// Input: a text, a float, four 64-bit fields, an NTSC flag, a code, a frame, a position, the rate
// for the timecode (mod 8), a drop-frame flag, then the label.

#include "tsfuzzsupport.h"

#include <foundation/tstimebase.h>
#include <foundation/tstimecode.h>

#include <climits>

using namespace TsFuzz;
using namespace Tessel::Base;

namespace {
/// The frame of the last label of a day, or -1 when this rate and flag have no labels.
long long lastOfDay(const TimeBase& rate, bool dropFrame) {
    try {
        return timecodeFrame(timecodeText(-1, rate, dropFrame), rate);
    } catch (const TimecodeException&) {
        return -1;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    TimeBase rates[] = {TimeBase(in.text()), TimeBase(in.bits<float>()), TimeBase(), TimeBase(), TimeBase(),
                        TimeBase(), TimeBase(30000, 1001), TimeBase(2997, 100)};
    const auto numerator = in.bits<unsigned long long>();
    rates[2].set(numerator, in.bits<unsigned long long>());
    rates[3].set(in.bits<unsigned long long>(), in.byte() % 2 == 1);
    const int code = in.bits<int>();
    rates[4] = TimeBase(static_cast<TimeBase::StandardRate>(code));
    rates[5] = TimeBase(static_cast<TimeBase::StandardRate>(code & 7));
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
    const long long pulled = TimeBase::convertFramePulldown(frame, TimeBase(TimeBase::k24), TimeBase(TimeBase::k30));
    const long long back = TimeBase::convertFramePulldown(pulled, TimeBase(TimeBase::k30), TimeBase(TimeBase::k24));
    TSFUZZ_CHECK(frame < -(1LL << 60) || frame > (1LL << 60) || back == frame);

    const TimeBase& rate = rates[in.byte() % 8];
    const bool dropFrame = in.byte() % 2 == 1;
    const long long perDay = lastOfDay(rate, dropFrame) + 1;
    try {
        const std::string label = timecodeText(frame, rate, dropFrame);
        const long long parsed = timecodeFrame(label, rate);
        TSFUZZ_CHECK(perDay > 0 && (frame % perDay + perDay) % perDay == parsed);
        TSFUZZ_CHECK(timecodeText(parsed, rate, dropFrame) == label);
    } catch (const TimecodeException&) {
        TSFUZZ_CHECK(perDay == 0);
    }
    const std::string text = in.rest();
    try {
        const long long parsed = timecodeFrame(text, rate);
        const bool textDropFrame = text.find(';') != std::string::npos;
        TSFUZZ_CHECK(parsed >= 0 && parsed <= lastOfDay(rate, textDropFrame));
        TSFUZZ_CHECK(timecodeText(parsed, rate, textDropFrame) == text);
    } catch (const TimecodeException&) {
    }
    return 0;
}
