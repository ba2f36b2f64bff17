// TimeBase: the fraction each constructor chooses and what it reports, comparison, and the frame
// conversions.

#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using Tessel::Base::TimeBase;

constexpr unsigned long long kTwo32 = 1ULL << 32;

TimeBase fraction(unsigned long long num, unsigned long long den) {
    TimeBase value;
    value.set(num, den);
    return value;
}

TEST(TimeBase, ConstructorsChooseTheFractionAndQueriesReportIt) {
    struct Row { TimeBase value; const char* fraction; const char* text; long long rounded; bool ntsc, drop; const char* reason; };
    const Row rows[] = {
        {TimeBase(), "0/0", "Invalid", 0, false, false, "the default is invalid"},
        {TimeBase(30, true), "30000/1001", "29.97", 30, true, true, "an NTSC rate"},
        {TimeBase(0, true), "0/0", "Invalid", 0, false, false, "rate 0 is invalid, NTSC or not"},
        {TimeBase(-1, -2), "18446744073709551615/18446744073709551614", "1", 1, false, false, "signed fields widen"},
        {TimeBase(0.0f), "0/1", "0", 0, false, false, "a zero float rate is valid"},
        {TimeBase(25.00001f), "25/1", "25", 25, false, false, "a near-integer rate"},
        {TimeBase(23.976f), "24000/1001", "23.98", 24, true, false, "NTSC film is no drop-frame rate"},
        {TimeBase(59.94f), "60000/1001", "59.94", 60, true, true, "NTSC double rate"},
        {TimeBase(29.9f), "2990/100", "29.90", 30, false, false, "0.07 from NTSC: hundredths"},
        {TimeBase(12.5f), "1250/100", "12.50", 13, false, false, "halves round away from zero"},
        {TimeBase(-3.0e9f), "18446743773709551616/100", "184467436613926912.00", 2147483647, false, false,
         "beyond the 32-bit rounding: hundredths, a negative rate kept as its pattern"},
        {TimeBase(std::nanf("")), "0/100", "0", 0, false, false, "NaN"},
        {TimeBase(std::string("29.97")), "30000/1001", "29.97", 30, true, true, "text without a slash is a rate"},
        {TimeBase(std::string("")), "0/1", "0", 0, false, false, "empty text is rate 0"},
        {TimeBase(std::string("2997/100")), "2997/100", "29.97", 30, true, true, "text with a slash is a fraction"},
        {TimeBase(std::string("1001/1001")), "1001/1001", "1.00", 1, false, false, "1001 always shows decimals"},
        {TimeBase(std::string("x/y")), "0/0", "Invalid", 0, false, false, "fields that are no numbers read as 0"},
        {TimeBase(std::string("9999999999/-9999999999")), "2147483647/18446744071562067968", "0", 0, false, false,
         "fields clamp to the int range"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        EXPECT_EQ(row.value.fractionText(), row.fraction);
        EXPECT_EQ(row.value.rateText(), row.text);
        EXPECT_EQ(row.value.roundedRate(), row.rounded);
        EXPECT_EQ(row.value.isNtscRate(), row.ntsc);
        EXPECT_EQ(row.value.isDropFrameRate(), row.drop);
    }
    const char* standard[] = {"24/1", "25/1", "30/1", "50/1", "60/1", "24000/1001", "30000/1001", "60000/1001", "0/0"};
    for (int code = 0; code <= 8; ++code) {
        EXPECT_EQ(TimeBase(static_cast<TimeBase::StandardRate>(code)).fractionText(), standard[code]) << code;
    }
    EXPECT_EQ(static_cast<double>(TimeBase(30, true).rate()), 29.970029830932617) << "single precision";
}

TEST(TimeBase, EqualWhenBothInvalidOrRatesWithinATenThousandth) {
    struct Row { TimeBase a, b; bool equal; const char* reason; };
    const Row rows[] = {
        {fraction(30000, 1001), fraction(2997, 100), true, "rates 0.00003 apart"},
        {fraction(2500011, 100000), fraction(25, 1), false, "rates 0.00011 apart"},
        {fraction(0, 0), fraction(25, 0), true, "two invalid values"},
        {fraction(0, 0), fraction(0, 1), false, "invalid and valid differ, though both rates are 0"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.a == row.b, row.equal) << row.reason;
        EXPECT_EQ(row.b != row.a, !row.equal) << row.reason;
    }
}

TEST(TimeBase, FrameConversions) {
    using Convert = long long (*)(long long, const TimeBase&, const TimeBase&);
    const Convert rescale = &TimeBase::convertFrame;
    const Convert pulldown = &TimeBase::convertFramePulldown;
    const TimeBase r24(24, false), r25(25, false), r30(30, false);
    struct Row { Convert convert; long long frame; TimeBase from, to; long long expected; const char* reason; };
    const Row rows[] = {
        {rescale, 12, r24, r25, 12, "an exact half rounds down"},
        {rescale, 13, r24, r25, 14, "13.54 rounds up"},
        {rescale, 7, r25, fraction(50, 2), 7, "equal rates"},
        {rescale, 7, fraction(0, 0), r25, 7, "an invalid rate"},
        {rescale, 123, fraction(kTwo32, 1), fraction(1, kTwo32), 123, "a divisor that wraps to 0"},
        {rescale, -0x7FFFFFFFFFFFFFFF, fraction(1, 1), fraction(1, ~0ULL), -0x7FFFFFFFFFFFFFFF - 1,
         "the one quotient beyond the range"},
        {pulldown, 2, r24, r30, 3, "2:3 cadence within a period"},
        {pulldown, 8, r24, r30, 10, "2:3 cadence, whole periods"},
        {pulldown, -4, r24, r30, -5, "2:3 cadence, a negative whole period"},
        {pulldown, -1, r24, r30, -1, "negative frames continue the cadence"},
        {pulldown, 13, r30, r24, 10, "3:2 cadence, periods and rest"},
        {pulldown, -5, r30, r24, -4, "3:2 cadence, a negative whole period"},
        {pulldown, 2, TimeBase(TimeBase::k23_976), TimeBase(TimeBase::k29_97), 3, "NTSC rates count as rounded"},
        {pulldown, 48, r24, r25, 50, "other rates rescale"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.convert(row.frame, row.from, row.to), row.expected) << row.reason;
    }
    EXPECT_DOUBLE_EQ(TimeBase::convertPosition(1.0, TimeBase(TimeBase::k29_97), TimeBase(TimeBase::k23_976)), 0.8);
    EXPECT_EQ(TimeBase::convertPosition(3.5, fraction(25, 0), r25), 3.5) << "an invalid rate";
    EXPECT_EQ(TimeBase::convertPosition(3.5, fraction(kTwo32, 1), fraction(1, kTwo32)), 3.5) << "a wrapped divisor";
}

} // namespace
