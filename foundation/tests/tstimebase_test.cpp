// TimeBase: construction, the rate-to-fraction choice, text forms, comparison and the frame
// conversions, including hostile field values, floats and texts.

#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using Tessel::Base::TimeBase;

constexpr unsigned long long kMax = std::numeric_limits<unsigned long long>::max();
constexpr long long kMin64 = std::numeric_limits<long long>::min();
constexpr long long kMax64 = std::numeric_limits<long long>::max();
constexpr unsigned long long kTwo32 = 1ULL << 32;
constexpr float kInf = std::numeric_limits<float>::infinity();

TimeBase fraction(unsigned long long num, unsigned long long den) {
    TimeBase value;
    value.set(num, den);
    return value;
}

// gtest prints both operands of a failed EXPECT_EQ as "num/den".
::testing::AssertionResult holds(const TimeBase& value, unsigned long long num, unsigned long long den) {
    if (value.numerator == num && value.denominator == den) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "holds " << value.fractionText() << ", expected " << num << "/"
                                         << den;
}

float floatFromBits(std::uint32_t bits) {
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Field values that stress the arithmetic: zero, one, the NTSC denominators, powers of two whose
// products wrap to 0, and the ends of the signed and unsigned ranges.
const std::vector<unsigned long long>& hostileFields() {
    static const std::vector<unsigned long long> fields = {
        0, 1, 2, 24, 25, 100, 1001, 24000, 30000, 60000, kTwo32 - 1, kTwo32, kTwo32 + 1,
        1ULL << 63, (1ULL << 63) - 1, (1ULL << 63) + 1, kMax - 1, kMax};
    return fields;
}

// --- construction ---------------------------------------------------------------------------------

TEST(TimeBaseConstruction, DefaultIsInvalidZeroOverZero) {
    const TimeBase value;
    EXPECT_TRUE(holds(value, 0, 0));
    EXPECT_EQ(value.rate(), 0.0f);
    EXPECT_EQ(value.roundedRate(), 0);
    EXPECT_EQ(value.rateText(), "Invalid");
    EXPECT_EQ(value.fractionText(), "0/0");
}

TEST(TimeBaseConstruction, StandardRatesAndUnknownCodes) {
    EXPECT_TRUE(holds(TimeBase(TimeBase::k24), 24, 1));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k25), 25, 1));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k30), 30, 1));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k50), 50, 1));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k60), 60, 1));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k23_976), 24000, 1001));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k29_97), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(TimeBase::k59_94), 60000, 1001));
    for (int code : {8, -1, 100, INT_MAX, INT_MIN}) {
        EXPECT_TRUE(holds(TimeBase(static_cast<TimeBase::StandardRate>(code)), 0, 0)) << code;
    }
}

TEST(TimeBaseConstruction, IntegerRateWithNtscFlag) {
    EXPECT_TRUE(holds(TimeBase(30, true), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(30, false), 30, 1));
    EXPECT_TRUE(holds(TimeBase(0, true), 0, 0));
    EXPECT_TRUE(holds(TimeBase(0, false), 0, 0));
    EXPECT_TRUE(holds(TimeBase(24u, true), 24000, 1001));
    EXPECT_TRUE(holds(TimeBase(60LL, true), 60000, 1001));
    EXPECT_TRUE(holds(TimeBase(25ULL, false), 25, 1));
    // Signed rates are widened with their sign, unsigned ones with zeros; the NTSC product wraps.
    EXPECT_TRUE(holds(TimeBase(-1, false), kMax, 1));
    EXPECT_TRUE(holds(TimeBase(-1LL, false), kMax, 1));
    EXPECT_TRUE(holds(TimeBase(4294967295u, false), 4294967295ULL, 1));
    EXPECT_TRUE(holds(TimeBase(-1, true), kMax - 999, 1001));
    EXPECT_TRUE(holds(TimeBase(kMax, true), kMax - 999, 1001));

    TimeBase value(25, 1);
    value.set(0ULL, true);
    EXPECT_TRUE(holds(value, 0, 0));
    value.set(50ULL, false);
    EXPECT_TRUE(holds(value, 50, 1));
}

TEST(TimeBaseConstruction, NumeratorDenominatorPairs) {
    EXPECT_TRUE(holds(TimeBase(30000, 1001), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(-1, -2), kMax, kMax - 1));
    EXPECT_TRUE(holds(TimeBase(4294967295u, -1), 4294967295ULL, kMax));
    EXPECT_TRUE(holds(TimeBase(4294967295u, 4294967295u), 4294967295ULL, 4294967295ULL));
    EXPECT_TRUE(holds(TimeBase(25, 0), 25, 0));
    EXPECT_TRUE(holds(fraction(kMax, 0), kMax, 0)); // set() keeps a zero denominator
}

TEST(TimeBaseConstruction, GetReturnsFieldsOrTheirLow32Bits) {
    const TimeBase value = fraction(kTwo32 + 5, (7ULL << 40) | 1001);
    unsigned long long num64 = 0;
    unsigned long long den64 = 0;
    value.get(num64, den64);
    EXPECT_EQ(num64, kTwo32 + 5);
    EXPECT_EQ(den64, (7ULL << 40) | 1001);
    unsigned int num32 = 0;
    unsigned int den32 = 0;
    value.get(num32, den32);
    EXPECT_EQ(num32, 5u);
    EXPECT_EQ(den32, 1001u);
}

// --- rate to fraction --------------------------------------------------------------------------------

TEST(TimeBaseSetRate, ExamplesOfEachBranch) {
    EXPECT_TRUE(holds(TimeBase(0.0f), 0, 1));
    EXPECT_TRUE(holds(TimeBase(0.00009f), 0, 1));
    EXPECT_TRUE(holds(TimeBase(-0.00009f), 0, 1));
    EXPECT_TRUE(holds(TimeBase(25.0f), 25, 1));
    EXPECT_TRUE(holds(TimeBase(25.00001f), 25, 1));
    EXPECT_TRUE(holds(TimeBase(24.99999f), 25, 1));
    EXPECT_TRUE(holds(TimeBase(23.976f), 24000, 1001));
    EXPECT_TRUE(holds(TimeBase(29.97f), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(29.98f), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(29.96f), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(59.94f), 60000, 1001));
    EXPECT_TRUE(holds(TimeBase(29.9f), 2990, 100));
    EXPECT_TRUE(holds(TimeBase(23.96f), 2396, 100)); // just outside the 0.011 window
    EXPECT_TRUE(holds(TimeBase(12.5f), 1250, 100));
    EXPECT_TRUE(holds(TimeBase(0.0001f), 0, 100)); // not below the zero threshold, rounds to 0
}

TEST(TimeBaseSetRate, NegativeRatesKeepTheirTwosComplementPattern) {
    EXPECT_TRUE(holds(TimeBase(-25.0f), kMax - 24, 1));
    EXPECT_TRUE(holds(TimeBase(-12.5f), static_cast<unsigned long long>(-1250LL), 100));
    EXPECT_TRUE(holds(TimeBase(-29.97f), static_cast<unsigned long long>(-2997LL), 100));
}

TEST(TimeBaseSetRate, LargeFloatsRoundExactlyOrSaturate) {
    // Odd integers above 2^23: the half must not push them to the next even float.
    EXPECT_TRUE(holds(TimeBase(8388609.0f), 8388609, 1));
    EXPECT_TRUE(holds(TimeBase(2147483520.0f), 2147483520ULL, 1));
    // 2^31 saturates the 32-bit rounding at INT32_MAX, whose float is again 2^31.
    EXPECT_TRUE(holds(TimeBase(2147483648.0f), 2147483648ULL, 1));
    // Beyond that the 32-bit rounding is far off, so hundredths are taken.
    EXPECT_TRUE(holds(TimeBase(3.0e9f), 300000000000ULL, 100));
    EXPECT_TRUE(holds(TimeBase(-3.0e9f), static_cast<unsigned long long>(-300000000000LL), 100));
    // Hundredths beyond the signed 64-bit range saturate.
    EXPECT_TRUE(holds(TimeBase(1.0e30f), static_cast<unsigned long long>(kMax64), 100));
    EXPECT_TRUE(holds(TimeBase(-1.0e30f), static_cast<unsigned long long>(kMin64), 100));
    EXPECT_TRUE(holds(TimeBase(std::numeric_limits<float>::max()), static_cast<unsigned long long>(kMax64), 100));
}

TEST(TimeBaseSetRate, InfinityAndNanAreDefined) {
    EXPECT_TRUE(holds(TimeBase(kInf), static_cast<unsigned long long>(kMax64), 100));
    EXPECT_TRUE(holds(TimeBase(-kInf), static_cast<unsigned long long>(kMin64), 100));
    EXPECT_TRUE(holds(TimeBase(std::numeric_limits<float>::quiet_NaN()), 0, 100));
    EXPECT_TRUE(holds(TimeBase(-std::numeric_limits<float>::quiet_NaN()), 0, 100));
    EXPECT_TRUE(holds(TimeBase(floatFromBits(0x7f800001u)), 0, 100)); // signalling NaN
}

// Every float (sampled over all bit patterns) gives one of the three denominators, and 1001 only
// with one of the three NTSC numerators.
TEST(TimeBaseSetRate, SweepOfFloatBitPatternsGivesKnownDenominators) {
    for (std::uint64_t bits = 0; bits <= 0xffffffffULL; bits += 65521) {
        const float rate = floatFromBits(static_cast<std::uint32_t>(bits));
        const TimeBase value(rate);
        ASSERT_TRUE(value.denominator == 1 || value.denominator == 100 || value.denominator == 1001)
            << "bits " << bits << " gave " << value.fractionText();
        if (value.denominator == 1001) {
            ASSERT_TRUE(value.numerator == 24000 || value.numerator == 30000 || value.numerator == 60000);
        }
    }
}

// --- queries ------------------------------------------------------------------------------------------

TEST(TimeBaseQueries, RateIsSinglePrecision) {
    EXPECT_EQ(static_cast<double>(fraction(30000, 1001).rate()), 29.970029830932617);
    EXPECT_EQ(fraction(25, 1).rate(), 25.0f);
    EXPECT_EQ(fraction(0, 5).rate(), 0.0f);
    EXPECT_EQ(fraction(5, 0).rate(), 0.0f);
    EXPECT_EQ(fraction(kMax, 1).rate(), 18446744073709551616.0f);
    EXPECT_EQ(fraction(kMax, kMax).rate(), 1.0f);
    EXPECT_GT(fraction(1, kMax).rate(), 0.0f);
}

TEST(TimeBaseQueries, RoundedRateRoundsHalfAwayAndSaturates) {
    EXPECT_EQ(fraction(24000, 1001).roundedRate(), 24);
    EXPECT_EQ(fraction(30000, 1001).roundedRate(), 30);
    EXPECT_EQ(fraction(25, 2).roundedRate(), 13);
    EXPECT_EQ(fraction(1, 2).roundedRate(), 1);
    EXPECT_EQ(fraction(49, 100).roundedRate(), 0);
    EXPECT_EQ(fraction(7, 0).roundedRate(), 0);
    EXPECT_EQ(fraction(4294967295ULL, 1).roundedRate(), 2147483647);
    EXPECT_EQ(fraction(kMax, 1).roundedRate(), 2147483647);
}

TEST(TimeBaseQueries, NtscAndDropFrameRates) {
    for (const auto& [num, den] : std::vector<std::pair<unsigned long long, unsigned long long>>{
             {30000, 1001}, {60000, 1001}, {2997, 100}, {5994, 100}}) {
        EXPECT_TRUE(fraction(num, den).isNtscRate()) << num << "/" << den;
        EXPECT_TRUE(fraction(num, den).isDropFrameRate()) << num << "/" << den;
    }
    EXPECT_TRUE(fraction(24000, 1001).isNtscRate());
    EXPECT_FALSE(fraction(24000, 1001).isDropFrameRate());
    EXPECT_TRUE(fraction(23966, 1000).isNtscRate());  // 0.010 away
    EXPECT_FALSE(fraction(23964, 1000).isNtscRate()); // 0.012 away
    for (const TimeBase& plain : {fraction(24, 1), fraction(25, 1), fraction(30, 1), fraction(60, 1),
                                  fraction(0, 0), fraction(0, 1)}) {
        EXPECT_FALSE(plain.isNtscRate()) << plain.fractionText();
        EXPECT_FALSE(plain.isDropFrameRate()) << plain.fractionText();
    }
}

TEST(TimeBaseQueries, RateText) {
    EXPECT_EQ(fraction(0, 0).rateText(), "Invalid");
    EXPECT_EQ(fraction(25, 0).rateText(), "Invalid");
    EXPECT_EQ(fraction(25, 1).rateText(), "25");
    EXPECT_EQ(fraction(50, 2).rateText(), "25");
    EXPECT_EQ(fraction(2500001, 100000).rateText(), "25"); // within 0.0001 of an integer
    EXPECT_EQ(fraction(30000, 1001).rateText(), "29.97");
    EXPECT_EQ(fraction(24000, 1001).rateText(), "23.98");
    EXPECT_EQ(fraction(60000, 1001).rateText(), "59.94");
    EXPECT_EQ(fraction(2997, 100).rateText(), "29.97");
    EXPECT_EQ(fraction(25, 2).rateText(), "12.50");
    EXPECT_EQ(fraction(1, 3).rateText(), "0.33");
    EXPECT_EQ(fraction(0, 1).rateText(), "0");
    EXPECT_EQ(fraction(1, kMax).rateText(), "0");
    EXPECT_EQ(fraction(1001, 1001).rateText(), "1.00");   // denominator 1001 always shows decimals
    EXPECT_EQ(fraction(25025, 1001).rateText(), "25.00");
    EXPECT_EQ(fraction(kMax, 1).rateText(), "18446744073709551616.00"); // beyond the 32-bit rounding
}

TEST(TimeBaseQueries, FractionTextIsUnsigned) {
    EXPECT_EQ(fraction(30000, 1001).fractionText(), "30000/1001");
    EXPECT_EQ(fraction(kMax, kMax).fractionText(), "18446744073709551615/18446744073709551615");
    EXPECT_EQ(TimeBase(-1, 1).fractionText(), "18446744073709551615/1");
}

// --- comparison -----------------------------------------------------------------------------------------

TEST(TimeBaseComparison, EqualRatesWithinTolerance) {
    EXPECT_TRUE(fraction(25, 1) == fraction(50, 2));
    EXPECT_TRUE(fraction(30000, 1001) == fraction(2997, 100));
    EXPECT_TRUE(fraction(2500009, 100000) == fraction(25, 1));  // 0.00009 apart
    EXPECT_FALSE(fraction(2500011, 100000) == fraction(25, 1)); // 0.00011 apart
    EXPECT_FALSE(fraction(25, 1) == fraction(26, 1));
    EXPECT_TRUE(fraction(25, 1) != fraction(26, 1));
    EXPECT_FALSE(fraction(25, 1) != fraction(50, 2));
}

TEST(TimeBaseComparison, ValidityDecidesFirst) {
    EXPECT_TRUE(fraction(0, 0) == fraction(0, 0));
    EXPECT_TRUE(fraction(0, 0) == fraction(25, 0)); // two invalid values are equal
    EXPECT_FALSE(fraction(0, 0) == fraction(0, 1)); // same rate 0.0, but only one is valid
    EXPECT_FALSE(fraction(0, 1) == fraction(0, 0));
    EXPECT_TRUE(fraction(0, 0) != fraction(0, 1));
}

// --- text parse -----------------------------------------------------------------------------------------

TEST(TimeBaseTextParse, RatesWithoutSlash) {
    EXPECT_TRUE(holds(TimeBase(std::string("25")), 25, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("29.97")), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(std::string("12.5")), 1250, 100));
    EXPECT_TRUE(holds(TimeBase(std::string("  24  ")), 24, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("25fps")), 25, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("0x18")), 24, 1)); // hexadecimal, as atof reads it
    EXPECT_TRUE(holds(TimeBase(std::string("")), 0, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("abc")), 0, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("-25")), kMax - 24, 1));
}

TEST(TimeBaseTextParse, HugeOrNonFiniteRates) {
    const auto saturatedUp = static_cast<unsigned long long>(kMax64);
    const auto saturatedDown = static_cast<unsigned long long>(kMin64);
    EXPECT_TRUE(holds(TimeBase(std::string("1e400")), saturatedUp, 100));  // beyond double
    EXPECT_TRUE(holds(TimeBase(std::string("-1e400")), saturatedDown, 100));
    EXPECT_TRUE(holds(TimeBase(std::string("1e39")), saturatedUp, 100));   // beyond float only
    EXPECT_TRUE(holds(TimeBase(std::string("1e30")), saturatedUp, 100));
    EXPECT_TRUE(holds(TimeBase(std::string("inf")), saturatedUp, 100));
    EXPECT_TRUE(holds(TimeBase(std::string("nan")), 0, 100));
    EXPECT_TRUE(holds(TimeBase(std::string("1e-400")), 0, 1));
    EXPECT_TRUE(holds(TimeBase(std::string(4000, '9')), saturatedUp, 100));
}

TEST(TimeBaseTextParse, FractionsAsAtoi) {
    EXPECT_TRUE(holds(TimeBase(std::string("30000/1001")), 30000, 1001));
    EXPECT_TRUE(holds(TimeBase(std::string(" 24 / 2")), 24, 2));
    EXPECT_TRUE(holds(TimeBase(std::string("25/1/2")), 25, 1)); // the first slash splits
    EXPECT_TRUE(holds(TimeBase(std::string("-5/-2")), kMax - 4, kMax - 1));
    EXPECT_TRUE(holds(TimeBase(std::string("x/y")), 0, 0));
    EXPECT_TRUE(holds(TimeBase(std::string("/")), 0, 0));
    EXPECT_TRUE(holds(TimeBase(std::string("25/")), 25, 0));
    EXPECT_TRUE(holds(TimeBase(std::string("/25")), 0, 25));
    EXPECT_TRUE(holds(TimeBase(std::string("2.9/1.5")), 2, 1)); // integers only
    EXPECT_TRUE(holds(TimeBase(std::string("2\0/5", 4)), 2, 5)); // text before a NUL only
}

TEST(TimeBaseTextParse, OutOfRangeIntegersClampToInt) {
    EXPECT_TRUE(holds(TimeBase(std::string("99999999999999999999/3")), 2147483647ULL, 3));
    EXPECT_TRUE(holds(TimeBase(std::string("3000000000/1")), 2147483647ULL, 1));
    EXPECT_TRUE(holds(TimeBase(std::string("-99999999999999999999/3")),
                      static_cast<unsigned long long>(static_cast<long long>(INT_MIN)), 3));
    EXPECT_TRUE(holds(TimeBase(std::string("1/-3000000000")), 1,
                      static_cast<unsigned long long>(static_cast<long long>(INT_MIN))));
    EXPECT_TRUE(holds(TimeBase(std::string("2147483647/-2147483648")), 2147483647ULL,
                      static_cast<unsigned long long>(static_cast<long long>(INT_MIN))));
}

// --- frame conversions ------------------------------------------------------------------------------------

TEST(TimeBaseConvertFrame, RoundsToNearestWithHalfDown) {
    const TimeBase r24 = fraction(24, 1);
    const TimeBase r25 = fraction(25, 1);
    EXPECT_EQ(TimeBase::convertFrame(12, r24, r25), 12); // 12.5
    EXPECT_EQ(TimeBase::convertFrame(13, r24, r25), 14); // 13.54
    EXPECT_EQ(TimeBase::convertFrame(24, r24, r25), 25);
    EXPECT_EQ(TimeBase::convertFrame(48, r24, r25), 50);
    EXPECT_EQ(TimeBase::convertFrame(25, r25, r24), 24);
    EXPECT_EQ(TimeBase::convertFrame(0, r24, r25), 0);
    EXPECT_EQ(TimeBase::convertFrame(5, fraction(30000, 1001), fraction(24000, 1001)), 4);
    // Negative counts follow the same formula with truncating division.
    EXPECT_EQ(TimeBase::convertFrame(-12, r24, r25), -12);
    EXPECT_EQ(TimeBase::convertFrame(-13, r24, r25), -13);
}

TEST(TimeBaseConvertFrame, UnchangedForInvalidZeroOrEqualRates) {
    const TimeBase r25 = fraction(25, 1);
    EXPECT_EQ(TimeBase::convertFrame(7, r25, r25), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, r25, fraction(50, 2)), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, fraction(0, 0), r25), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, r25, fraction(0, 0)), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, fraction(0, 1), r25), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, r25, fraction(0, 1)), 7);
    EXPECT_EQ(TimeBase::convertFrame(7, fraction(24, 0), r25), 7);
}

TEST(TimeBaseConvertFrame, WrappingArithmeticIsDefined) {
    const TimeBase r24 = fraction(24, 1);
    const TimeBase r25 = fraction(25, 1);
    EXPECT_EQ(TimeBase::convertFrame(kMin64, r24, r25), -384307168202282324LL);
    EXPECT_EQ(TimeBase::convertFrame(kMax64, r24, r25), 384307168202282324LL);
    // The divisor to.denominator * from.numerator = 2^64 wraps to 0: the frame is returned.
    EXPECT_EQ(TimeBase::convertFrame(123, fraction(kTwo32, 1), fraction(1, kTwo32)), 123);
    EXPECT_EQ(TimeBase::convertFrame(kMin64, fraction(kTwo32, 1), fraction(1, kTwo32)), kMin64);
    // The divisor -1 (all bits set): INT64_MIN / -1 is pinned to INT64_MIN, others negate.
    const TimeBase one = fraction(1, 1);
    const TimeBase tiny = fraction(1, kMax);
    EXPECT_EQ(TimeBase::convertFrame(kMin64 + 1, one, tiny), kMin64);
    EXPECT_EQ(TimeBase::convertFrame(5, one, tiny), -4);
}

TEST(TimeBaseConvertPosition, RescalesWithoutRounding) {
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(12.0, fraction(24, 1), fraction(25, 1)), 12.5);
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(1.0, fraction(30000, 1001), fraction(24000, 1001)), 0.8);
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(-2.5, fraction(25, 1), fraction(50, 1)), -5.0);
    // Fields are read as signed 64-bit values.
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(2.0, fraction(1, 1), fraction(kMax, 1)), -2.0);
    // A zero target numerator is not a guard: the position scales to zero.
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(5.0, fraction(24, 1), fraction(0, 1)), 0.0);
}

TEST(TimeBaseConvertPosition, UnchangedWhenADivisorIsZero) {
    const TimeBase r25 = fraction(25, 1);
    EXPECT_EQ(TimeBase::convertPosition(3.5, fraction(25, 0), r25), 3.5);
    EXPECT_EQ(TimeBase::convertPosition(3.5, r25, fraction(25, 0)), 3.5);
    EXPECT_EQ(TimeBase::convertPosition(3.5, fraction(0, 1), r25), 3.5);
    EXPECT_EQ(TimeBase::convertPosition(3.5, fraction(kTwo32, 1), fraction(1, kTwo32)), 3.5); // wraps to 0
    EXPECT_TRUE(std::isnan(TimeBase::convertPosition(std::nan(""), fraction(24, 1), r25)));
    EXPECT_EQ(TimeBase::convertPosition(HUGE_VAL, fraction(24, 1), r25), HUGE_VAL);
}

TEST(TimeBaseConvertFramePulldown, CadenceBetween24And30) {
    const TimeBase r24 = fraction(24, 1);
    const TimeBase r30 = fraction(30, 1);
    const std::vector<long long> up = {0, 1, 3, 4, 5, 6, 8, 9, 10};
    for (long long frame = 0; frame < static_cast<long long>(up.size()); ++frame) {
        EXPECT_EQ(TimeBase::convertFramePulldown(frame, r24, r30), up[frame]) << frame;
    }
    EXPECT_EQ(TimeBase::convertFramePulldown(10, r24, r30), 13);
    const std::vector<long long> down = {0, 1, 1, 2, 3, 4, 5, 5, 6, 7, 8};
    for (long long frame = 0; frame < static_cast<long long>(down.size()); ++frame) {
        EXPECT_EQ(TimeBase::convertFramePulldown(frame, r30, r24), down[frame]) << frame;
    }
    EXPECT_EQ(TimeBase::convertFramePulldown(13, r30, r24), 10);
}

TEST(TimeBaseConvertFramePulldown, NtscRatesCountAsTheirRoundedRates) {
    EXPECT_EQ(TimeBase::convertFramePulldown(2, fraction(24000, 1001), fraction(30000, 1001)), 3);
    EXPECT_EQ(TimeBase::convertFramePulldown(2, fraction(24000, 1001), fraction(30, 1)), 3);
    EXPECT_EQ(TimeBase::convertFramePulldown(3, fraction(30000, 1001), fraction(24, 1)), 2);
}

TEST(TimeBaseConvertFramePulldown, OtherRatesUseConvertFrame) {
    EXPECT_EQ(TimeBase::convertFramePulldown(48, fraction(24, 1), fraction(25, 1)), 50);
    EXPECT_EQ(TimeBase::convertFramePulldown(7, fraction(30, 1), fraction(30, 1)), 7);
    EXPECT_EQ(TimeBase::convertFramePulldown(7, fraction(0, 0), fraction(30, 1)), 7);
}

TEST(TimeBaseConvertFramePulldown, NegativeFramesRepeatTheCadence) {
    const TimeBase r24 = fraction(24, 1);
    const TimeBase r30 = fraction(30, 1);
    EXPECT_EQ(TimeBase::convertFramePulldown(-1, r24, r30), -1);
    EXPECT_EQ(TimeBase::convertFramePulldown(-2, r24, r30), -2);
    EXPECT_EQ(TimeBase::convertFramePulldown(-3, r24, r30), -4);
    EXPECT_EQ(TimeBase::convertFramePulldown(-4, r24, r30), -5);
    EXPECT_EQ(TimeBase::convertFramePulldown(-5, r24, r30), -6);
    EXPECT_EQ(TimeBase::convertFramePulldown(-1, r30, r24), -1);
    EXPECT_EQ(TimeBase::convertFramePulldown(-2, r30, r24), -2);
    EXPECT_EQ(TimeBase::convertFramePulldown(-3, r30, r24), -3);
    EXPECT_EQ(TimeBase::convertFramePulldown(-4, r30, r24), -3);
    EXPECT_EQ(TimeBase::convertFramePulldown(-5, r30, r24), -4);
    // Each period of the source maps onto a period of the target, also across zero.
    for (long long frame = -40; frame < 40; ++frame) {
        EXPECT_EQ(TimeBase::convertFramePulldown(frame + 4, r24, r30),
                  TimeBase::convertFramePulldown(frame, r24, r30) + 5)
            << frame;
        EXPECT_EQ(TimeBase::convertFramePulldown(frame + 5, r30, r24),
                  TimeBase::convertFramePulldown(frame, r30, r24) + 4)
            << frame;
    }
}

TEST(TimeBaseConvertFramePulldown, ExtremeFramesWrap) {
    const TimeBase r24 = fraction(24, 1);
    const TimeBase r30 = fraction(30, 1);
    EXPECT_EQ(TimeBase::convertFramePulldown(kMax64, r24, r30), -6917529027641081857LL);
    EXPECT_EQ(TimeBase::convertFramePulldown(kMin64, r24, r30), 6917529027641081856LL);
    EXPECT_EQ(TimeBase::convertFramePulldown(kMax64, r30, r24), 7378697629483820645LL);
    EXPECT_EQ(TimeBase::convertFramePulldown(kMin64, r30, r24), -7378697629483820647LL);
}

// --- hostile fields everywhere ----------------------------------------------------------------------------

// Every pair of stressing field values goes through every query and conversion; besides being
// defined (the sanitizer build checks that), the results keep the invariants below.
TEST(TimeBaseHostileFields, AllOperationsKeepTheirInvariants) {
    const std::vector<long long> frames = {0, 1, -1, 25, kMin64, kMin64 + 1, kMax64};
    for (unsigned long long num : hostileFields()) {
        for (unsigned long long den : hostileFields()) {
            const TimeBase a = fraction(num, den);
            SCOPED_TRACE(a.fractionText());
            EXPECT_TRUE(a == a);
            EXPECT_FALSE(a != a);
            EXPECT_FALSE(a.rateText().empty());
            EXPECT_TRUE(a.rate() >= 0.0f && std::isfinite(a.rate()));
            EXPECT_LE(a.roundedRate(), INT_MAX);
            EXPECT_GE(a.roundedRate(), 0);
            EXPECT_TRUE(!a.isDropFrameRate() || a.isNtscRate());
            for (long long frame : frames) {
                EXPECT_EQ(TimeBase::convertFrame(frame, a, a), frame);
            }
            for (unsigned long long num2 : {0ULL, 1ULL, 24ULL, kTwo32, 1ULL << 63, kMax}) {
                for (unsigned long long den2 : {0ULL, 1ULL, 1001ULL, kTwo32, kMax}) {
                    const TimeBase b = fraction(num2, den2);
                    EXPECT_EQ(a == b, b == a);
                    const bool anyZeroField = num == 0 || den == 0 || num2 == 0 || den2 == 0;
                    for (long long frame : frames) {
                        const long long converted = TimeBase::convertFrame(frame, a, b);
                        if (anyZeroField) {
                            EXPECT_EQ(converted, frame);
                        }
                        const long long pulled = TimeBase::convertFramePulldown(frame, a, b);
                        if (a.roundedRate() != 24 && a.roundedRate() != 30) {
                            EXPECT_EQ(pulled, converted);
                        }
                        const double position = static_cast<double>(frame);
                        if (den == 0 || den2 == 0 || num == 0) {
                            EXPECT_EQ(TimeBase::convertPosition(position, a, b), position);
                        }
                    }
                }
            }
        }
    }
}

} // namespace
