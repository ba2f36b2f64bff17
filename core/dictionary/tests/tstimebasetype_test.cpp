// The "timebase" value type (text form, signature, comparison) and the casts between TimeBase and
// numbers. The slots are exercised on a type object of the test's own, which Any::parse can give
// values without registering it; the casts are called directly.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <ios>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using Tessel::Base::TimeBase;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyType;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::TypeAtom;
namespace Impl = Tessel::Dictionary::Impl;

constexpr unsigned long long kMax = std::numeric_limits<unsigned long long>::max();

TimeBase fraction(unsigned long long num, unsigned long long den) {
    TimeBase value;
    value.set(num, den);
    return value;
}

::testing::AssertionResult holds(const TimeBase& value, unsigned long long num, unsigned long long den) {
    if (value.numerator == num && value.denominator == den) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "holds " << value.fractionText() << ", expected " << num << "/"
                                         << den;
}

// The test's own type object: never registered, alive for the whole run.
const Impl::TimeBaseType& ownType() {
    static const Impl::TimeBaseType* const type = new Impl::TimeBaseType(TypeAtom("timebase-test-label"));
    return *type;
}

// An Any owning `value` as `type`.
Any holding(const AnyType& type, const TimeBase& value) {
    Any any;
    any.parse("", type);
    any.ref<TimeBase>() = value;
    return any;
}

template <class Prepare>
std::string writtenWith(const AnyType& type, const TimeBase& value, Prepare prepare) {
    const Any any = holding(type, value);
    std::ostringstream out;
    prepare(out);
    type.write(out, any);
    return out.str();
}

std::string written(const AnyType& type, const TimeBase& value) {
    return writtenWith(type, value, [](std::ostream&) {});
}

// What read makes of `text`, starting from a value that is not 0/0.
TimeBase readFrom(const AnyType& type, const std::string& text) {
    Any any = holding(type, fraction(7, 7));
    std::istringstream in(text);
    type.read(in, any);
    return any.ref<TimeBase>();
}

Digest signatureOf(const AnyType& type, const TimeBase& value) {
    Engine engine;
    type.signature(engine, holding(type, value));
    return engine.digest();
}

Digest digestOfBytes(const std::vector<unsigned char>& bytes) {
    return Engine().update(bytes.data(), bytes.size()).digest();
}

template <class From, class Cast>
TimeBase convertedToTimeBase(const Cast& cast, From source) {
    TimeBase target = fraction(7, 7);
    cast.convert(&source, &target);
    return target;
}

template <class To>
To convertedFrom(const TimeBase& source) {
    const Impl::GenericAnyCast<TimeBase, To> cast;
    To target{};
    cast.convert(&source, &target);
    return target;
}

// --- the value type -------------------------------------------------------------------------------

TEST(TimeBaseType, DescribesTimeBaseAndStartsAtZeroOverZero) {
    const Impl::TimeBaseType& type = ownType();
    EXPECT_EQ(type.typeInfo(), typeid(TimeBase));
    EXPECT_EQ(type.label(), TypeAtom("timebase-test-label"));
    void* value = type.newValue();
    EXPECT_TRUE(holds(*static_cast<TimeBase*>(value), 0, 0));
    type.deleteValue(value);

    TimeBase target = fraction(1, 2);
    const TimeBase source = fraction(kMax, 1001);
    type.copyValue(&source, &target);
    EXPECT_TRUE(holds(target, kMax, 1001));
}

TEST(TimeBaseType, WritesSignedDecimalsUnderTheStreamState) {
    const AnyType& type = ownType();
    EXPECT_EQ(written(type, fraction(30000, 1001)), "30000/1001");
    EXPECT_EQ(written(type, fraction(25, 1)), "25/1");
    EXPECT_EQ(written(type, fraction(0, 0)), "0/0");
    EXPECT_EQ(written(type, fraction(kMax, kMax - 1)), "-1/-2");
    EXPECT_EQ(written(type, fraction(1ULL << 63, 1)), "-9223372036854775808/1");
    EXPECT_EQ(writtenWith(type, fraction(30000, 1001), [](std::ostream& os) { os << std::hex; }), "7530/3e9");
    EXPECT_EQ(writtenWith(type, fraction(25, 1), [](std::ostream& os) { os << std::showpos; }), "+25/+1");
    EXPECT_EQ(writtenWith(type, fraction(25, 1), [](std::ostream& os) { os << std::setw(5) << std::setfill('.'); }),
              "...25/1");
}

TEST(TimeBaseType, ReadsNumeratorSeparatorDenominator) {
    const AnyType& type = ownType();
    EXPECT_TRUE(holds(readFrom(type, "30000/1001"), 30000, 1001));
    EXPECT_TRUE(holds(readFrom(type, " 24000 / 1001"), 24000, 1001));
    EXPECT_TRUE(holds(readFrom(type, "25:1"), 25, 1)); // the separator is not checked
    EXPECT_TRUE(holds(readFrom(type, "1 2 3"), 1, 3)); // '2' is the separator
    EXPECT_TRUE(holds(readFrom(type, "4294967295/4294967295"), 4294967295ULL, 4294967295ULL));
}

TEST(TimeBaseType, ReadFailuresLeaveFieldsZero) {
    const AnyType& type = ownType();
    EXPECT_TRUE(holds(readFrom(type, "25"), 25, 0));
    EXPECT_TRUE(holds(readFrom(type, "25/"), 25, 0));
    EXPECT_TRUE(holds(readFrom(type, "25/x"), 25, 0));
    EXPECT_TRUE(holds(readFrom(type, ""), 0, 0));
    EXPECT_TRUE(holds(readFrom(type, "abc"), 0, 0));
    EXPECT_TRUE(holds(readFrom(type, "/25"), 0, 0)); // the failed numerator fails the stream
    // Beyond the unsigned int range the extraction fails: 0, not the stream's saturated maximum.
    EXPECT_TRUE(holds(readFrom(type, "4294967296/1"), 0, 0));
    EXPECT_TRUE(holds(readFrom(type, "25/99999999999999999999"), 25, 0));
}

TEST(TimeBaseType, ReadLeavesSkipwsSet) {
    const AnyType& type = ownType();
    Any any = holding(type, TimeBase());
    std::istringstream in("24000 / 1001");
    in >> std::noskipws;
    type.read(in, any);
    EXPECT_TRUE(holds(any.ref<TimeBase>(), 24000, 1001));
    EXPECT_TRUE(in.flags() & std::ios_base::skipws);

    // Already failed on entry: nothing is extracted, skipws is set all the same.
    std::istringstream failed("25/1");
    failed.setstate(std::ios_base::failbit);
    failed >> std::noskipws;
    type.read(failed, any);
    EXPECT_TRUE(holds(any.ref<TimeBase>(), 0, 0));
    EXPECT_TRUE(failed.flags() & std::ios_base::skipws);
}

TEST(TimeBaseType, WrittenTextReadsBack) {
    const AnyType& type = ownType();
    for (const TimeBase& value : {fraction(30000, 1001), fraction(0, 0), fraction(25, 0), fraction(4294967295ULL, 1)}) {
        EXPECT_TRUE(holds(readFrom(type, written(type, value)), value.numerator, value.denominator));
    }
}

TEST(TimeBaseType, SignatureFeedsSixteenLittleEndianBytes) {
    const AnyType& type = ownType();
    EXPECT_EQ(signatureOf(type, fraction(30000, 1001)),
              digestOfBytes({0x30, 0x75, 0, 0, 0, 0, 0, 0, 0xe9, 0x03, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(signatureOf(type, fraction(0x0102030405060708ULL, kMax)),
              digestOfBytes({8, 7, 6, 5, 4, 3, 2, 1, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
    EXPECT_EQ(signatureOf(type, fraction(0, 0)), digestOfBytes(std::vector<unsigned char>(16, 0)));
    // Equal values with different fractions sign differently.
    EXPECT_NE(signatureOf(type, fraction(30000, 1001)), signatureOf(type, fraction(2997, 100)));
}

TEST(TimeBaseType, EqualIsTimeBaseComparison) {
    const AnyType& type = ownType();
    const auto equal = [&type](const TimeBase& a, const TimeBase& b) {
        return type.equal(holding(type, a), holding(type, b));
    };
    EXPECT_TRUE(equal(fraction(30000, 1001), fraction(2997, 100)));
    EXPECT_TRUE(equal(fraction(25, 1), fraction(50, 2)));
    EXPECT_TRUE(equal(fraction(0, 0), fraction(9, 0)));
    EXPECT_FALSE(equal(fraction(0, 0), fraction(0, 1)));
    EXPECT_FALSE(equal(fraction(25, 1), fraction(24, 1)));
}

// The built-in type registered under "timebase" behaves as the test's own object.
TEST(TimeBaseType, RegisteredTypeAndCastsThroughAny) {
    const AnyType* type = AnyTypeRegistry::typeByLabel(Tessel::Dictionary::gTypeLabelTimeBase);
    if (type == nullptr) {
        GTEST_SKIP() << "timebase type not registered yet";
    }
    EXPECT_NE(dynamic_cast<const Impl::TimeBaseType*>(type), nullptr);
    EXPECT_EQ(type->typeInfo(), typeid(TimeBase));

    Any ntsc;
    ntsc.set(fraction(30000, 1001));
    EXPECT_EQ(ntsc.type(), type);
    std::ostringstream out;
    ntsc.write(out);
    EXPECT_EQ(out.str(), "30000/1001");
    Any same;
    same.set(fraction(2997, 100));
    EXPECT_TRUE(ntsc == same);
    Engine engine;
    EXPECT_EQ(ntsc.signature(engine).digest(),
              digestOfBytes({0x30, 0x75, 0, 0, 0, 0, 0, 0, 0xe9, 0x03, 0, 0, 0, 0, 0, 0}));

    EXPECT_EQ(ntsc.as<int>(), 30);
    EXPECT_EQ(ntsc.as<unsigned int>(), 30u);
    EXPECT_TRUE(ntsc.as<bool>());
    EXPECT_EQ(ntsc.as<double>(), 29.970029830932617);
    Any minusOne;
    minusOne.set(-1);
    Any target;
    target.set(TimeBase());
    target = minusOne;
    EXPECT_TRUE(holds(target.ref<TimeBase>(), 4294967295ULL, 1));
    Any rate;
    rate.set(23.976);
    target = rate;
    EXPECT_TRUE(holds(target.ref<TimeBase>(), 24000, 1001));
}

// --- casts into TimeBase ------------------------------------------------------------------------------

TEST(TimeBaseCasts, IntegersBecomeRateOverOne) {
    const Impl::IntegralToTimeBaseCast<int> fromInt;
    EXPECT_EQ(fromInt.fromTypeInfo(), typeid(int));
    EXPECT_EQ(fromInt.toTypeInfo(), typeid(TimeBase));
    EXPECT_TRUE(holds(convertedToTimeBase(fromInt, 25), 25, 1));
    EXPECT_TRUE(holds(convertedToTimeBase(fromInt, -1), 4294967295ULL, 1));
    EXPECT_TRUE(holds(convertedToTimeBase(fromInt, INT_MIN), 2147483648ULL, 1));
    EXPECT_TRUE(holds(convertedToTimeBase(fromInt, 0), 0, 1)); // set(0, 1), not the 0/0 of TimeBase(0, false)

    const Impl::IntegralToTimeBaseCast<unsigned int> fromUnsigned;
    EXPECT_EQ(fromUnsigned.fromTypeInfo(), typeid(unsigned int));
    EXPECT_TRUE(holds(convertedToTimeBase(fromUnsigned, 25u), 25, 1));
    EXPECT_TRUE(holds(convertedToTimeBase(fromUnsigned, UINT_MAX), 4294967295ULL, 1));
}

TEST(TimeBaseCasts, FloatsChooseAFraction) {
    const Impl::FloatToTimeBaseCast<float> fromFloat;
    EXPECT_EQ(fromFloat.fromTypeInfo(), typeid(float));
    EXPECT_EQ(fromFloat.toTypeInfo(), typeid(TimeBase));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, 25.0f), 25, 1));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, 29.97f), 30000, 1001));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, 12.5f), 1250, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, 0.0f), 0, 1));

    const Impl::FloatToTimeBaseCast<double> fromDouble;
    EXPECT_EQ(fromDouble.fromTypeInfo(), typeid(double));
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, 23.976), 24000, 1001));
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, 25.0000000001), 25, 1));
}

TEST(TimeBaseCasts, HostileFloatsAreDefined) {
    const auto up = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    const auto down = static_cast<unsigned long long>(std::numeric_limits<long long>::min());
    const Impl::FloatToTimeBaseCast<float> fromFloat;
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, std::numeric_limits<float>::quiet_NaN()), 0, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, std::numeric_limits<float>::infinity()), up, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, -std::numeric_limits<float>::infinity()), down, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromFloat, 1.0e30f), up, 100));

    const Impl::FloatToTimeBaseCast<double> fromDouble;
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, 1.0e300), up, 100)); // beyond float: infinity
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, -1.0e300), down, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, std::numeric_limits<double>::max()), up, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, std::numeric_limits<double>::quiet_NaN()), 0, 100));
    EXPECT_TRUE(holds(convertedToTimeBase(fromDouble, 1.0e-300), 0, 1));
}

// --- casts out of TimeBase --------------------------------------------------------------------------------

TEST(TimeBaseCasts, ToBoolIsANonZeroRoundedRate) {
    EXPECT_EQ((Impl::GenericAnyCast<TimeBase, bool>().fromTypeInfo()), typeid(TimeBase));
    EXPECT_EQ((Impl::GenericAnyCast<TimeBase, bool>().toTypeInfo()), typeid(bool));
    EXPECT_FALSE(convertedFrom<bool>(fraction(0, 0)));
    EXPECT_FALSE(convertedFrom<bool>(fraction(1, 3)));  // 0.33 rounds to 0
    EXPECT_FALSE(convertedFrom<bool>(fraction(49, 100)));
    EXPECT_TRUE(convertedFrom<bool>(fraction(1, 2)));   // 0.5 rounds away from zero
    EXPECT_TRUE(convertedFrom<bool>(fraction(25, 1)));
    EXPECT_TRUE(convertedFrom<bool>(fraction(kMax, 1)));
}

TEST(TimeBaseCasts, ToIntegersIsTheRoundedRate) {
    EXPECT_EQ(convertedFrom<int>(fraction(24000, 1001)), 24);
    EXPECT_EQ(convertedFrom<int>(fraction(25, 2)), 13);
    EXPECT_EQ(convertedFrom<int>(fraction(0, 0)), 0);
    EXPECT_EQ(convertedFrom<int>(fraction(kMax, 1)), INT_MAX); // saturated rounding
    EXPECT_EQ(convertedFrom<unsigned int>(fraction(30000, 1001)), 30u);
    EXPECT_EQ(convertedFrom<unsigned int>(fraction(0, 0)), 0u);
    EXPECT_EQ(convertedFrom<unsigned int>(fraction(kMax, 1)), 2147483647u);
}

TEST(TimeBaseCasts, ToFloatingPointIsTheSinglePrecisionRate) {
    EXPECT_EQ(convertedFrom<float>(fraction(0, 0)), 0.0f);
    EXPECT_EQ(convertedFrom<float>(fraction(25, 2)), 12.5f);
    EXPECT_EQ(convertedFrom<float>(fraction(30000, 1001)), 30000.0f / 1001.0f);
    EXPECT_EQ(convertedFrom<double>(fraction(30000, 1001)), 29.970029830932617);
    EXPECT_EQ(convertedFrom<double>(fraction(0, 0)), 0.0);
    EXPECT_EQ(convertedFrom<double>(fraction(kMax, 1)), 18446744073709551616.0);
}

} // namespace
