// Fuzz target: TimeBase from text, every constructor with arbitrary fields and float bits, the
// queries on arbitrary fields, and convertFrame, convertPosition and convertFramePulldown with
// arbitrary 64-bit frames.
//
// Input: a text (length byte, then the text), then the bits of the constructor arguments, of two
// arbitrary rates, of a frame count and of a position.
//
// Invariants (each follows from the documented design):
// - nothing throws and no input is undefined behaviour (the sanitizers check the latter);
// - text with a "/" gives the two integers before and after the first "/" as atoi reads them
//   (leading whitespace, a sign, decimal digits, stopping at the first other character or a NUL),
//   clamped to the int range and widened with their sign; text without one gives setRate of the
//   text read as by atof and rounded to float;
// - the integer constructors store exactly the documented fields (rate 0 gives 0/0; an NTSC rate
//   is rate * 1000 wrapping in 64 bits over 1001; signed arguments are widened with their sign);
//   a standard code outside 0..7 gives 0/0;
// - setRate chooses a denominator of 1, 100 or 1001 (1001 only for 24000, 30000 and 60000), gives
//   0/1 near zero, 0/100 for NaN, saturates for infinities, and for moderate rates lands within the
//   NTSC tolerance (plus float rounding) of the rate asked for, a negative rate read as the
//   signed pattern its numerator keeps;
// - rate() is 0 for an invalid value, roundedRate() lies in the 32-bit range and within one half of
//   rate(); a drop-frame rate is an NTSC rate; == is reflexive and symmetric and != is its negation;
//   fractionText is both unsigned decimals; rateText is "Invalid" exactly for invalid values, else
//   the rounded rate or a fixed two-decimal number (always the latter for NTSC rates); a value whose
//   fields fit in int reads back from its fractionText unchanged;
// - convertFrame returns the frame when a field of either rate is 0 or the rates are equal, and
//   otherwise, where the 64-bit products cannot wrap, lies within one frame of the exact rescaled
//   count (one and a half for negative counts, which truncate toward zero); convertFramePulldown follows the 2:3 cadence (a period of 4 frames becomes 5 and back),
//   with floor division for negative frames, and equals convertFrame for other rate pairs;
// - convertPosition returns the position when a denominator or the source numerator is 0, and is
//   otherwise the documented product and quotient.

#include "tsfuzzsupport.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

using namespace TsFuzz;

using u64 = unsigned long long;
using i64 = long long;

void checkFields(const TimeBase& t, u64 numerator, u64 denominator, const char* what) {
    TSFUZZ_CHECK(t.numerator == numerator && t.denominator == denominator,
                 std::string(what) + ": got " + t.fractionText() + ", expected " + std::to_string(numerator) +
                     "/" + std::to_string(denominator));
}

/// atoi as the design reads it, clamped to the int range: the C-string prefix from `text`.
i64 clampedAtoi(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        ++text;
    }
    bool negative = false;
    if (*text == '+' || *text == '-') {
        negative = *text == '-';
        ++text;
    }
    __int128 value = 0;
    while (*text >= '0' && *text <= '9') {
        value = value * 10 + (*text - '0');
        if (value > static_cast<__int128>(INT_MAX) + 1) {
            value = static_cast<__int128>(INT_MAX) + 1; // only whether it exceeds the range matters
        }
        ++text;
    }
    if (negative) {
        value = -value;
    }
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<i64>(value);
}

void checkSetRate(float f) {
    TimeBase t;
    t.setRate(f);
    const TimeBase made(f);
    checkFields(made, t.numerator, t.denominator, "TimeBase(float) and setRate differ");

    const u64 den = t.denominator;
    TSFUZZ_CHECK(den == 1 || den == 100 || den == 1001, "setRate chose " + t.fractionText());
    if (den == 1001) {
        TSFUZZ_CHECK(t.numerator == 24000 || t.numerator == 30000 || t.numerator == 60000);
        TSFUZZ_CHECK(t.isNtscRate());
    }
    if (std::isnan(f)) {
        checkFields(t, 0, 100, "NaN");
        return;
    }
    if (std::fabs(f) < 0.0001f) {
        checkFields(t, 0, 1, "near zero");
        return;
    }
    const auto num = static_cast<i64>(t.numerator);
    if (std::isinf(f)) {
        checkFields(t, static_cast<u64>(f > 0 ? LLONG_MAX : LLONG_MIN), 100, "infinity saturates");
        return;
    }
    TSFUZZ_CHECK((f > 0 && num >= 0) || (f < 0 && num <= 0), "sign lost: " + show(f) + " gave " + t.fractionText());
    const double wanted = f;
    if (std::fabs(wanted) <= 1e6) {
        // A negative rate keeps its two's-complement pattern, so it is compared as signed.
        const double got = static_cast<double>(num) / static_cast<double>(den);
        const double slack = 0.0111 + 2.5e-7 * std::fabs(wanted);
        TSFUZZ_CHECK(std::fabs(got - wanted) <= slack, "rate " + show(f) + " gave " + t.fractionText());
        if (f > 0) {
            TSFUZZ_CHECK(std::fabs(static_cast<double>(t.rate()) - wanted) <= slack,
                         "rate " + show(f) + " reads back as " + show(t.rate()));
        }
        if (den == 1) {
            TSFUZZ_CHECK(std::fabs(static_cast<double>(num) - wanted) < 0.0001 + 1.2e-7 * std::fabs(wanted),
                         "integral rate " + show(f) + " gave " + t.fractionText());
        }
    }
}

void checkTextConstructor(const std::string& text) {
    const TimeBase t(text);
    const std::string::size_type slash = text.find('/');
    if (slash == std::string::npos) {
        TimeBase expected;
        expected.setRate(static_cast<float>(std::strtod(text.c_str(), nullptr)));
        checkFields(t, expected.numerator, expected.denominator, "rate text");
        return;
    }
    const i64 num = clampedAtoi(text.c_str());
    const i64 den = clampedAtoi(text.c_str() + slash + 1);
    checkFields(t, static_cast<u64>(num), static_cast<u64>(den), ("fraction text " + escaped(text)).c_str());
}

void checkRateConstructors(FuzzInput& in) {
    const u64 rate = in.bits<u64>();
    const bool ntsc = in.flag();
    const auto expectedFor = [ntsc](u64 r) {
        TimeBase t;
        if (r == 0) {
            return t;
        }
        t.numerator = ntsc ? r * 1000ULL : r;
        t.denominator = ntsc ? 1001 : 1;
        return t;
    };
    const auto check = [&](const TimeBase& got, u64 widened, const char* what) {
        const TimeBase expected = expectedFor(widened);
        checkFields(got, expected.numerator, expected.denominator, what);
    };
    check(TimeBase(rate, ntsc), rate, "TimeBase(unsigned long long, bool)");
    check(TimeBase(static_cast<i64>(rate), ntsc), rate, "TimeBase(long long, bool)");
    const auto low = static_cast<unsigned int>(rate);
    check(TimeBase(low, ntsc), low, "TimeBase(unsigned int, bool)");
    const auto signedLow = static_cast<int>(low);
    check(TimeBase(signedLow, ntsc), static_cast<u64>(static_cast<i64>(signedLow)), "TimeBase(int, bool)");
    TimeBase viaSet;
    viaSet.set(rate, ntsc);
    check(viaSet, rate, "set(unsigned long long, bool)");

    const auto a = in.bits<unsigned int>();
    const auto b = in.bits<unsigned int>();
    const auto sa = static_cast<int>(a);
    const auto sb = static_cast<int>(b);
    checkFields(TimeBase(a, b), a, b, "TimeBase(unsigned, unsigned)");
    checkFields(TimeBase(a, sb), a, static_cast<u64>(static_cast<i64>(sb)), "TimeBase(unsigned, int)");
    checkFields(TimeBase(sa, sb), static_cast<u64>(static_cast<i64>(sa)), static_cast<u64>(static_cast<i64>(sb)),
                "TimeBase(int, int)");

    const int code = in.bits<int>();
    const TimeBase standard(static_cast<TimeBase::StandardRate>(code));
    static const u64 table[8][2] = {{24, 1},    {25, 1},       {30, 1},       {50, 1},
                                    {60, 1},    {24000, 1001}, {30000, 1001}, {60000, 1001}};
    if (code >= 0 && code < 8) {
        checkFields(standard, table[code][0], table[code][1], "standard rate");
    } else {
        checkFields(standard, 0, 0, "unknown standard code");
    }
}

void checkQueries(const TimeBase& t, const TimeBase& other) {
    const float rate = t.rate();
    if (t.denominator == 0) {
        TSFUZZ_CHECK(rate == 0.0f && t.roundedRate() == 0 && t.rateText() == "Invalid");
    } else {
        TSFUZZ_CHECK(sameBits(rate, static_cast<float>(t.numerator) / static_cast<float>(t.denominator)));
    }
    const i64 rounded = t.roundedRate();
    TSFUZZ_CHECK(rounded >= INT_MIN && rounded <= INT_MAX);
    if (std::fabs(rate) < 2.0e9f) {
        TSFUZZ_CHECK(std::fabs(static_cast<double>(rounded) - static_cast<double>(rate)) <= 0.5,
                     t.fractionText() + " rounds to " + std::to_string(rounded));
    }
    TSFUZZ_CHECK(!t.isDropFrameRate() || t.isNtscRate());

    u64 num = 0;
    u64 den = 0;
    t.get(num, den);
    TSFUZZ_CHECK(num == t.numerator && den == t.denominator);
    unsigned int num32 = 0;
    unsigned int den32 = 0;
    t.get(num32, den32);
    TSFUZZ_CHECK(num32 == static_cast<unsigned int>(t.numerator) && den32 == static_cast<unsigned int>(t.denominator));

    const TimeBase copy = t;
    TSFUZZ_CHECK(copy == t && !(copy != t));
    TSFUZZ_CHECK((t == other) == (other == t) && (t != other) == !(t == other));

    TSFUZZ_CHECK(t.fractionText() == std::to_string(t.numerator) + "/" + std::to_string(t.denominator));
    if (t.denominator != 0) {
        const std::string text = t.rateText();
        const auto point = text.find('.');
        if (point == std::string::npos) {
            TSFUZZ_CHECK(!t.isNtscRate() && text == std::to_string(rounded), "rateText " + text);
        } else {
            TSFUZZ_CHECK(point + 3 == text.size() && std::isdigit(static_cast<unsigned char>(text[point + 1])) &&
                             std::isdigit(static_cast<unsigned char>(text[point + 2])),
                         "rateText " + text);
        }
        if (t.isNtscRate()) {
            TSFUZZ_CHECK(point != std::string::npos, "an NTSC rate is written with two decimals: " + text);
        }
    }
    if (t.numerator <= INT_MAX && t.denominator <= INT_MAX) {
        checkFields(TimeBase(t.fractionText()), t.numerator, t.denominator, "fractionText read back");
    }
}

/// floor(frame / period) and the remainder in [0, period), exactly.
void floorSplit(i64 frame, i64 period, i64& quotient, i64& remainder) {
    remainder = ((frame % period) + period) % period;
    quotient = static_cast<i64>((static_cast<__int128>(frame) - remainder) / period);
}

void checkConversions(i64 frame, const TimeBase& from, const TimeBase& to, double position) {
    const i64 converted = TimeBase::convertFrame(frame, from, to);
    const bool trivial = from.numerator == 0 || from.denominator == 0 || to.numerator == 0 || to.denominator == 0 ||
                         from == to;
    if (trivial) {
        TSFUZZ_CHECK(converted == frame, "a trivial conversion must keep the frame");
    } else {
        const unsigned __int128 n = static_cast<unsigned __int128>(to.numerator) * from.denominator *
                                    static_cast<unsigned __int128>(frame < 0 ? -static_cast<__int128>(frame) : frame);
        const unsigned __int128 d = static_cast<unsigned __int128>(to.denominator) * from.numerator;
        const unsigned __int128 limit = static_cast<unsigned __int128>(1) << 62;
        if (n < limit && d < limit) {
            // No product wraps: within one frame of the exact count.
            const __int128 exact = frame < 0 ? -static_cast<__int128>(n) : static_cast<__int128>(n);
            const __int128 error = static_cast<__int128>(converted) * static_cast<__int128>(d) - exact;
            // A positive count rounds to within one frame; truncation toward zero can move a
            // negative one by up to one and a half.
            const __int128 allowed = static_cast<__int128>(frame < 0 ? d + d / 2 : d);
            TSFUZZ_CHECK(error <= allowed && -error <= allowed,
                         "frame " + std::to_string(frame) + " from " + from.fractionText() + " to " +
                             to.fractionText() + " gave " + std::to_string(converted));
        }
    }

    const i64 pulled = TimeBase::convertFramePulldown(frame, from, to);
    const i64 fromRate = from.roundedRate();
    const i64 toRate = to.roundedRate();
    i64 quotient = 0;
    i64 remainder = 0;
    if (fromRate == 24 && toRate == 30) {
        static const i64 cadence[4] = {0, 1, 3, 4};
        floorSplit(frame, 4, quotient, remainder);
        const u64 expected = static_cast<u64>(cadence[remainder]) + 5ULL * static_cast<u64>(quotient);
        TSFUZZ_CHECK(pulled == static_cast<i64>(expected), "24 to 30 cadence of " + std::to_string(frame));
    } else if (fromRate == 30 && toRate == 24) {
        static const i64 cadence[5] = {0, 1, 1, 2, 3};
        floorSplit(frame, 5, quotient, remainder);
        const u64 expected = static_cast<u64>(cadence[remainder]) + 4ULL * static_cast<u64>(quotient);
        TSFUZZ_CHECK(pulled == static_cast<i64>(expected), "30 to 24 cadence of " + std::to_string(frame));
    } else {
        TSFUZZ_CHECK(pulled == converted, "pulldown between other rates is convertFrame");
    }

    const double moved = TimeBase::convertPosition(position, from, to);
    if (from.denominator == 0 || to.denominator == 0 || from.numerator == 0) {
        TSFUZZ_CHECK(sameBits(moved, position), "a trivial position conversion must keep the position");
    } else {
        const auto divisor = static_cast<i64>(from.numerator * to.denominator);
        if (divisor == 0) {
            TSFUZZ_CHECK(sameBits(moved, position));
        } else {
            const double expected = static_cast<double>(static_cast<i64>(to.numerator)) * position *
                                    static_cast<double>(static_cast<i64>(from.denominator)) /
                                    static_cast<double>(divisor);
            TSFUZZ_CHECK(sameBits(moved, expected) || (std::isnan(moved) && std::isnan(expected)));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    const std::string text = in.text();
    checkTextConstructor(text);
    checkSetRate(static_cast<float>(std::strtod(text.c_str(), nullptr)));
    checkSetRate(in.bits<float>());
    checkRateConstructors(in);

    TimeBase a;
    a.set(in.bits<u64>(), in.bits<u64>());
    TimeBase b;
    b.set(in.bits<u64>(), in.bits<u64>());
    // Small fields are where the interesting rates live: let one byte pick either form.
    const std::uint8_t narrow = in.byte();
    if ((narrow & 1) != 0) {
        a.set(a.numerator % 100000, a.denominator % 2000);
    }
    if ((narrow & 2) != 0) {
        b.set(b.numerator % 100000, b.denominator % 2000);
    }
    checkQueries(a, b);
    checkQueries(b, a);

    const i64 frame = in.bits<i64>();
    const double position = in.bits<double>();
    checkConversions(frame, a, b, position);
    checkConversions(frame, b, a, position);
    checkConversions(frame % 1000, a, b, position);
    return 0;
}
