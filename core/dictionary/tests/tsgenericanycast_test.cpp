// The numeric cast matrix and the C-string cast, exercised through the casts the registry holds.
//
// Besides the named cases, every ordered pair of the fourteen numeric host types is run over a
// set of boundary values and compared with a reference model that works on bit patterns only:
// integers as 64-bit two's complement patterns, floating-point values decoded into sign,
// integer significand and binary exponent and rounded by hand. The model never converts between
// arithmetic types with the language's conversions, so it cannot share a fault with the casts.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <foundation/tsreadabletypename.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace {

using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyCast;
using Tessel::Dictionary::AnyCastTable;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::TypeAtom;

// --- the registered casts -----------------------------------------------------------------------

template <class T>
TypeAtom hostName() {
    return TypeAtom(typeid(T).name());
}

template <class T>
std::string readable() {
    return Tessel::Base::readableTypeName(typeid(T));
}

// The cast the registry holds from S to T, or null.
template <class S, class T>
const AnyCast* registeredCast() {
    const AnyCastTable* table = AnyTypeRegistry::fromCasts(hostName<S>());
    if (table == nullptr) {
        return nullptr;
    }
    const auto found = table->find(hostName<T>());
    return found == table->end() ? nullptr : found->second;
}

// Converts `value` with the registered cast into a target that holds `previous` beforehand.
template <class T, class S>
T convertFrom(const S& value, const T& previous = T{}) {
    const AnyCast* cast = registeredCast<S, T>();
    if (cast == nullptr) {
        ADD_FAILURE() << "no cast " << readable<S>() << " -> " << readable<T>();
        return previous;
    }
    T target = previous;
    cast->convert(&value, &target);
    return target;
}

template <class T>
std::uint64_t bitsOf(const T& value) {
    static_assert(sizeof(T) <= 8);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(T));
    return bits;
}

template <class T>
T fromBits(std::uint64_t bits) {
    static_assert(sizeof(T) <= 8);
    T value;
    std::memcpy(&value, &bits, sizeof(T));
    return value;
}

// --- the fourteen host types --------------------------------------------------------------------

template <class T>
struct Tag {
    using Type = T;
};

// Calls `visit(Tag<T>{})` for each numeric host type of the matrix.
template <class Visit>
void forEachNumericType(Visit visit) {
    visit(Tag<bool>{});
    visit(Tag<char>{});
    visit(Tag<unsigned char>{});
    visit(Tag<signed char>{});
    visit(Tag<short>{});
    visit(Tag<unsigned short>{});
    visit(Tag<int>{});
    visit(Tag<unsigned int>{});
    visit(Tag<long>{});
    visit(Tag<unsigned long>{});
    visit(Tag<long long>{});
    visit(Tag<unsigned long long>{});
    visit(Tag<float>{});
    visit(Tag<double>{});
}

template <class Visit>
void forEachPair(Visit visit) {
    forEachNumericType([&](auto source) {
        forEachNumericType([&](auto target) { visit(source, target); });
    });
}

// --- reference model ----------------------------------------------------------------------------

// A number as the model sees it: NaN, an infinity, or (-1)^negative * significand * 2^exponent.
struct Exact {
    enum class Kind { Finite, Infinite, NotANumber };
    Kind kind = Kind::Finite;
    bool negative = false;
    std::uint64_t significand = 0;
    int exponent = 0;
    bool fromFloatingPoint = false; // decides wrap-around or saturation for integer targets
};

// Layout of an IEEE binary format.
template <class F>
struct Format;
template <>
struct Format<float> {
    static constexpr int kFractionBits = 23;
    static constexpr int kExponentMask = 0xFF;
    static constexpr int kBias = 127;
};
template <>
struct Format<double> {
    static constexpr int kFractionBits = 52;
    static constexpr int kExponentMask = 0x7FF;
    static constexpr int kBias = 1023;
};

template <class F>
Exact decodeFloat(F value) {
    using Fm = Format<F>;
    const std::uint64_t bits = bitsOf(value);
    constexpr int kWidth = int(sizeof(F) * 8);
    Exact exact;
    exact.fromFloatingPoint = true;
    exact.negative = ((bits >> (kWidth - 1)) & 1U) != 0;
    const int biased = int((bits >> Fm::kFractionBits) & std::uint64_t(Fm::kExponentMask));
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << Fm::kFractionBits) - 1);
    if (biased == Fm::kExponentMask) {
        exact.kind = fraction == 0 ? Exact::Kind::Infinite : Exact::Kind::NotANumber;
    } else if (biased == 0) {
        exact.significand = fraction;
        exact.exponent = 1 - Fm::kBias - Fm::kFractionBits;
    } else {
        exact.significand = fraction | (std::uint64_t{1} << Fm::kFractionBits);
        exact.exponent = biased - Fm::kBias - Fm::kFractionBits;
    }
    return exact;
}

// An integer source, from its own bit pattern: sign-extended when its type is signed.
template <class S>
Exact decodeInteger(S value) {
    std::uint64_t pattern = bitsOf(value);
    constexpr int kWidth = int(sizeof(S) * 8);
    const bool signBit = ((pattern >> (kWidth - 1)) & 1U) != 0;
    Exact exact;
    if (std::is_same_v<S, bool>) {
        exact.significand = pattern & 1U;
    } else if (std::is_signed_v<S> && signBit) {
        if constexpr (kWidth < 64) {
            pattern |= ~std::uint64_t{0} << kWidth;
        }
        exact.negative = true;
        exact.significand = ~pattern + 1; // magnitude; 2^63 for the most negative 64-bit value
    } else {
        exact.significand = pattern;
    }
    return exact;
}

template <class S>
Exact decode(S value) {
    if constexpr (std::is_floating_point_v<S>) {
        return decodeFloat(value);
    } else {
        return decodeInteger(value);
    }
}

int highestBit(std::uint64_t value) {
    int bit = 63;
    while (((value >> bit) & 1U) == 0) {
        --bit;
    }
    return bit;
}

// The floating-point value nearest to `exact`, ties to even, infinity beyond the largest finite
// value, built directly as a bit pattern.
template <class F>
F roundToFloat(const Exact& exact) {
    using Fm = Format<F>;
    constexpr int kWidth = int(sizeof(F) * 8);
    constexpr int kPrecision = Fm::kFractionBits + 1;
    constexpr int kSmallestQuantum = 1 - Fm::kBias - Fm::kFractionBits;
    const std::uint64_t sign = exact.negative ? std::uint64_t{1} << (kWidth - 1) : 0;
    const std::uint64_t infinity = std::uint64_t(Fm::kExponentMask) << Fm::kFractionBits;
    if (exact.kind == Exact::Kind::NotANumber) {
        return fromBits<F>(infinity | (std::uint64_t{1} << (Fm::kFractionBits - 1)));
    }
    if (exact.kind == Exact::Kind::Infinite) {
        return fromBits<F>(sign | infinity);
    }
    if (exact.significand == 0) {
        return fromBits<F>(sign);
    }
    const int top = highestBit(exact.significand) + exact.exponent; // value in [2^top, 2^(top+1))
    int quantum = top - (kPrecision - 1);
    if (quantum < kSmallestQuantum) {
        quantum = kSmallestQuantum;
    }
    const int shift = quantum - exact.exponent;
    std::uint64_t kept = 0;
    if (shift <= 0) {
        kept = exact.significand << -shift; // fits: at most kPrecision bits
    } else {
        std::uint64_t rest = 0;
        std::uint64_t half = 0;
        bool restBelowHalf = false;
        if (shift >= 65) {
            restBelowHalf = true; // the whole significand is below 2^64 <= half
        } else if (shift == 64) {
            rest = exact.significand;
            half = std::uint64_t{1} << 63;
        } else {
            kept = exact.significand >> shift;
            rest = exact.significand & ((std::uint64_t{1} << shift) - 1);
            half = std::uint64_t{1} << (shift - 1);
        }
        if (!restBelowHalf && (rest > half || (rest == half && (kept & 1U) != 0))) {
            ++kept;
        }
    }
    if (kept == std::uint64_t{1} << kPrecision) {
        kept >>= 1;
        ++quantum;
    }
    if (kept < std::uint64_t{1} << (kPrecision - 1)) {
        return fromBits<F>(sign | kept); // subnormal (or zero after rounding down)
    }
    const int biased = quantum + Fm::kFractionBits + Fm::kBias;
    if (biased >= Fm::kExponentMask) {
        return fromBits<F>(sign | infinity);
    }
    const std::uint64_t fraction = kept & ((std::uint64_t{1} << Fm::kFractionBits) - 1);
    return fromBits<F>(sign | (std::uint64_t(biased) << Fm::kFractionBits) | fraction);
}

// The integer result as a 64-bit two's complement pattern; the target keeps its low bytes.
template <class T>
T integerFromPattern(std::uint64_t pattern) {
    return fromBits<T>(pattern);
}

template <class T>
T roundToInteger(const Exact& exact) {
    constexpr int kWidth = int(sizeof(T) * 8);
    constexpr bool kSigned = std::is_signed_v<T>;
    const std::uint64_t allOnes = ~std::uint64_t{0};
    // Largest magnitude on each side, as patterns.
    std::uint64_t maxPattern = allOnes;
    if constexpr (kSigned) {
        maxPattern = (std::uint64_t{1} << (kWidth - 1)) - 1;
    } else if constexpr (kWidth < 64) {
        maxPattern = (std::uint64_t{1} << kWidth) - 1;
    }
    const std::uint64_t minMagnitude = kSigned ? std::uint64_t{1} << (kWidth - 1) : 0;
    const std::uint64_t minPattern = kSigned ? ~minMagnitude + 1 : 0;

    if (!exact.fromFloatingPoint) {
        // Wrap-around: the low bits of the source's two's complement pattern.
        const std::uint64_t pattern = exact.negative ? ~exact.significand + 1 : exact.significand;
        return integerFromPattern<T>(pattern);
    }
    if (exact.kind == Exact::Kind::NotANumber) {
        return integerFromPattern<T>(0);
    }
    // Truncated magnitude, or "at least 2^64".
    bool huge = exact.kind == Exact::Kind::Infinite;
    std::uint64_t magnitude = 0;
    if (!huge && exact.significand != 0) {
        if (exact.exponent >= 0) {
            huge = highestBit(exact.significand) + exact.exponent >= 64;
            magnitude = huge ? 0 : exact.significand << exact.exponent;
        } else {
            magnitude = -exact.exponent >= 64 ? 0 : exact.significand >> -exact.exponent;
        }
    }
    if (magnitude == 0 && !huge) {
        return integerFromPattern<T>(0); // includes -0.9 into any type
    }
    if (!exact.negative) {
        return integerFromPattern<T>(huge || magnitude > maxPattern ? maxPattern : magnitude);
    }
    if (huge || magnitude > minMagnitude) {
        return integerFromPattern<T>(minPattern);
    }
    return integerFromPattern<T>(~magnitude + 1);
}

// What converting the source value `value` of type S into T must give.
template <class T, class S>
T expectedConversion(const S& value) {
    if constexpr (std::is_same_v<S, T>) {
        return fromBits<T>(bitsOf(value)); // the value unchanged, bit for bit
    } else {
        const Exact exact = decode(value);
        if constexpr (std::is_same_v<T, bool>) {
            return exact.kind != Exact::Kind::Finite || exact.significand != 0;
        } else if constexpr (std::is_floating_point_v<T>) {
            return roundToFloat<T>(exact);
        } else {
            return roundToInteger<T>(exact);
        }
    }
}

// --- source values ------------------------------------------------------------------------------

// Integer candidates as (negative, magnitude); those a type cannot hold are skipped.
struct IntegerCandidate {
    bool negative;
    std::uint64_t magnitude;
};

std::vector<IntegerCandidate> integerCandidates() {
    std::vector<IntegerCandidate> out;
    const std::uint64_t one = 1;
    for (int bit = 0; bit < 64; ++bit) {
        const std::uint64_t power = one << bit;
        for (const std::uint64_t magnitude : {power - 1, power, power + 1}) {
            out.push_back({false, magnitude});
            out.push_back({true, magnitude});
        }
    }
    for (const std::uint64_t magnitude :
         {std::uint64_t{44}, std::uint64_t{300}, std::uint64_t{12345}, (one << 24) + 3,
          (one << 53) + 1, (one << 53) + 3, (one << 63) - 1, ~std::uint64_t{0}, ~std::uint64_t{0} - 1,
          std::uint64_t{0x0123456789ABCDEF}, (one << 32) - (one << 7), (one << 32) - (one << 8) + 128,
          (one << 32) - (one << 8) + 129}) {
        out.push_back({false, magnitude});
        out.push_back({true, magnitude});
    }
    return out;
}

template <class S>
bool fits(const IntegerCandidate& candidate) {
    constexpr int kWidth = int(sizeof(S) * 8);
    if (std::is_same_v<S, bool>) {
        return !candidate.negative && candidate.magnitude <= 1;
    }
    if (candidate.negative && candidate.magnitude == 0) {
        return false; // same as +0
    }
    if constexpr (!std::is_signed_v<S>) {
        if constexpr (kWidth == 64) {
            return !candidate.negative;
        } else {
            return !candidate.negative && candidate.magnitude < (std::uint64_t{1} << kWidth);
        }
    }
    const std::uint64_t half = std::uint64_t{1} << (kWidth - 1);
    return candidate.negative ? candidate.magnitude <= half : candidate.magnitude < half;
}

template <class S>
std::vector<S> integerSources() {
    std::vector<S> out;
    for (const IntegerCandidate& candidate : integerCandidates()) {
        if (fits<S>(candidate)) {
            const std::uint64_t pattern =
                candidate.negative ? ~candidate.magnitude + 1 : candidate.magnitude;
            out.push_back(fromBits<S>(pattern));
        }
    }
    return out;
}

std::vector<double> doubleSources() {
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> out = {
        0.0, -0.0, 0.1, -0.1, 0.5, -0.5, 0.9, -0.9, 1.0, -1.0, 2.5, 2.9, -2.9, 3.99, -3.99,
        127.5, 127.9, 128.0, -128.0, -128.9, -129.0, 255.9, 256.0, 300.7, -300.7,
        32767.9, 32768.0, -32768.9, -32769.0, 65535.9, 65536.0, -65535.0,
        2147483647.5, 2147483648.0, -2147483648.9, -2147483649.0, 4294967295.9, 4294967296.0,
        -4294967296.0, 16777217.0, 9007199254740993.0, 1e15 + 0.5,
        0x1p63, -0x1p63, 0x1p64, -0x1p64, 0x1.fffffffffffffp63, -0x1.fffffffffffffp63,
        0x1.fffffffffffffp62, 0x1p65, 1e19, 1e300, -1e300, DBL_MAX, -DBL_MAX, DBL_MIN, -DBL_MIN,
        0x1p-1074, 1.0 / 3.0, inf, -inf, std::numeric_limits<double>::quiet_NaN(),
        // Around the float range and its rounding boundaries.
        static_cast<double>(FLT_MAX), 0x1.ffffffp127, 0x1.fffffefffffffp127, 0x1p128, -0x1.ffffffp127,
        0x1p-126, 0x1p-149, 0x1p-150, 0x1.8p-150, 0x1.0000000000001p-150, 0x1.8p-149, 0x1p-200,
        1.0000000596046448, 1.0000001788139343, -16777219.0,
    };
    for (const std::uint64_t bits :
         {0x7FF8000000000ABCULL, 0xFFF8000000000001ULL, 0x7FF0000000000123ULL, 0x8000000000000001ULL,
          0x000FFFFFFFFFFFFFULL, 0x7FEFFFFFFFFFFFFFULL}) {
        out.push_back(fromBits<double>(bits));
    }
    return out;
}

std::vector<float> floatSources() {
    const float inf = std::numeric_limits<float>::infinity();
    std::vector<float> out = {
        0.0F, -0.0F, 0.1F, -0.1F, 0.5F, -0.5F, 0.9F, -0.9F, 1.0F, -1.0F, 2.9F, -2.9F, 3.99F, -3.99F,
        127.5F, 128.0F, -128.5F, -129.0F, 255.5F, 256.0F, 32767.5F, 32768.0F, -32768.5F, -32769.0F,
        65535.5F, 65536.0F, 0x1p31F, -0x1p31F, 0x1.fffffep30F, 0x1p32F, 0x1.fffffep31F,
        0x1p63F, -0x1p63F, 0x1.fffffep62F, 0x1p64F, 0x1.fffffep63F, -0x1.fffffep63F, 0x1p100F,
        1e20F, -1e20F, FLT_MAX, -FLT_MAX, FLT_MIN, 0x1p-149F, 16777216.0F, 16777218.0F,
        inf, -inf, std::numeric_limits<float>::quiet_NaN(),
    };
    for (const std::uint32_t bits : {0x7FC00123U, 0xFFC00001U, 0x7F800001U, 0x007FFFFFU}) {
        out.push_back(fromBits<float>(bits));
    }
    return out;
}

template <class S>
std::vector<S> sources() {
    if constexpr (std::is_same_v<S, float>) {
        return floatSources();
    } else if constexpr (std::is_same_v<S, double>) {
        return doubleSources();
    } else {
        return integerSources<S>();
    }
}

template <class T>
std::string describe(const T& value) {
    std::ostringstream text;
    if constexpr (std::is_floating_point_v<T>) {
        text << std::setprecision(std::numeric_limits<T>::max_digits10) << value << " ("
             << std::hexfloat << value << ", bits 0x" << std::hex << bitsOf(value) << ")";
    } else if constexpr (std::is_same_v<T, bool>) {
        text << (value ? "true" : "false");
    } else {
        text << +value << " (bits 0x" << std::hex << bitsOf(value) << ")";
    }
    return text.str();
}

// The result matches when it has the expected bits, or both are NaN (a NaN's payload is kept
// only by the identity casts, which the model expects bit for bit).
template <class T, class S>
bool matches(const T& result, const T& expected) {
    if constexpr (std::is_floating_point_v<T> && !std::is_same_v<S, T>) {
        if (std::isnan(expected)) {
            return std::isnan(result);
        }
    }
    return bitsOf(result) == bitsOf(expected);
}

// --- the matrix ---------------------------------------------------------------------------------

TEST(GenericAnyCastMatrix, EveryOrderedPairIsRegistered) {
    int pairs = 0;
    forEachPair([&](auto source, auto target) {
        using S = typename decltype(source)::Type;
        using T = typename decltype(target)::Type;
        const AnyCast* cast = registeredCast<S, T>();
        ASSERT_NE(cast, nullptr) << readable<S>() << " -> " << readable<T>();
        EXPECT_TRUE(cast->fromTypeInfo() == typeid(S)) << readable<S>() << " -> " << readable<T>();
        EXPECT_TRUE(cast->toTypeInfo() == typeid(T)) << readable<S>() << " -> " << readable<T>();
        EXPECT_EQ(cast->fromName(), hostName<S>());
        EXPECT_EQ(cast->toName(), hostName<T>());
        const AnyCastTable* into = AnyTypeRegistry::toCasts(hostName<T>());
        ASSERT_NE(into, nullptr);
        const auto found = into->find(hostName<S>());
        ASSERT_NE(found, into->end());
        EXPECT_EQ(found->second, cast) << "both indexes hold the same cast";
        ++pairs;
    });
    EXPECT_EQ(pairs, 196);
}

TEST(GenericAnyCastMatrix, LongTypesAreKeyedByTheirOwnNames) {
    // On LP64 long and long long have the same width but distinct names: both rows exist.
    ASSERT_NE(hostName<long>(), hostName<long long>());
    ASSERT_NE(hostName<unsigned long>(), hostName<unsigned long long>());
    const AnyCast* fromLong = registeredCast<long, long long>();
    const AnyCast* fromLongLong = registeredCast<long long, long long>();
    ASSERT_NE(fromLong, nullptr);
    EXPECT_NE(fromLong, fromLongLong);
    EXPECT_TRUE(fromLong->fromTypeInfo() == typeid(long));
    const AnyCast* toUnsignedLong = registeredCast<int, unsigned long>();
    const AnyCast* toUnsignedLongLong = registeredCast<int, unsigned long long>();
    ASSERT_NE(toUnsignedLong, nullptr);
    EXPECT_NE(toUnsignedLong, toUnsignedLongLong);
    EXPECT_TRUE(toUnsignedLong->toTypeInfo() == typeid(unsigned long));
}

TEST(GenericAnyCastMatrix, EveryPairAgreesWithTheReferenceModel) {
    int checked = 0;
    forEachPair([&](auto source, auto target) {
        using S = typename decltype(source)::Type;
        using T = typename decltype(target)::Type;
        for (const S& value : sources<S>()) {
            // A target that starts out with different bits, so an untouched target shows.
            const T previous = std::is_same_v<T, bool> ? fromBits<T>(1) : fromBits<T>(0x5A5A5A5A5A5A5A5AULL);
            const T result = convertFrom<T>(value, previous);
            const T expected = expectedConversion<T>(value);
            EXPECT_TRUE((matches<T, S>(result, expected)))
                << readable<S>() << " " << describe(value) << " -> " << readable<T>() << ": got "
                << describe(result) << ", expected " << describe(expected);
            ++checked;
        }
    });
    // Every source list is non-trivial.
    EXPECT_GT(checked, 196 * 2);
}

// --- the rules, case by case --------------------------------------------------------------------

TEST(GenericAnyCastRules, IdentityCopiesBitForBit) {
    const double nanWithPayload = fromBits<double>(0x7FF8000000000ABCULL);
    EXPECT_EQ(bitsOf(convertFrom<double>(nanWithPayload)), 0x7FF8000000000ABCULL);
    const double negativeNaN = fromBits<double>(0xFFF8000000000001ULL);
    EXPECT_EQ(bitsOf(convertFrom<double>(negativeNaN)), 0xFFF8000000000001ULL);
    const float floatNaN = fromBits<float>(0x7FC00123U);
    EXPECT_EQ(bitsOf(convertFrom<float>(floatNaN)), 0x7FC00123U);
    EXPECT_EQ(bitsOf(convertFrom<double>(-0.0)), 0x8000000000000000ULL);
    EXPECT_EQ(convertFrom<long long>(LLONG_MIN), LLONG_MIN);
    EXPECT_EQ(convertFrom<unsigned long>(ULONG_MAX), ULONG_MAX);
    EXPECT_EQ(convertFrom<char>('\x80'), '\x80');
}

TEST(GenericAnyCastRules, ToBoolIsFalseOnlyForZero) {
    EXPECT_FALSE(convertFrom<bool>(0, true));
    EXPECT_TRUE(convertFrom<bool>(256));
    EXPECT_TRUE(convertFrom<bool>(-1));
    EXPECT_TRUE(convertFrom<bool>(static_cast<unsigned long long>(1) << 63));
    EXPECT_FALSE(convertFrom<bool>(-0.0, true));
    EXPECT_FALSE(convertFrom<bool>(-0.0F, true));
    EXPECT_TRUE(convertFrom<bool>(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_TRUE(convertFrom<bool>(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(convertFrom<bool>(0x1p-1074));
    EXPECT_TRUE(convertFrom<bool>(-std::numeric_limits<double>::infinity()));
}

TEST(GenericAnyCastRules, FromBoolIsZeroOrOne) {
    EXPECT_EQ(convertFrom<double>(true), 1.0);
    EXPECT_EQ(convertFrom<float>(false, 9.0F), 0.0F);
    EXPECT_EQ(convertFrom<unsigned long long>(true), 1ULL);
    EXPECT_EQ(convertFrom<signed char>(true), 1);
    EXPECT_EQ(convertFrom<int>(false, 7), 0);
}

TEST(GenericAnyCastRules, NarrowingKeepsTheLowBits) {
    EXPECT_EQ(convertFrom<unsigned short>(-1), 65535);
    EXPECT_EQ(convertFrom<unsigned char>(300U), 44);
    EXPECT_EQ(convertFrom<unsigned char>(256), 0);
    EXPECT_EQ(convertFrom<signed char>(200), -56);
    EXPECT_EQ(convertFrom<short>(0x12348000LL), -32768);
    EXPECT_EQ(convertFrom<int>(0xFFFFFFFF00000005ULL), 5);
    EXPECT_EQ(convertFrom<long long>(ULLONG_MAX), -1);
    EXPECT_EQ(convertFrom<unsigned long>(LLONG_MIN), 0x8000000000000000UL);
}

TEST(GenericAnyCastRules, WideningExtendsBySourceSignedness) {
    EXPECT_EQ(convertFrom<unsigned int>(static_cast<char>(-1)), 4294967295U);
    EXPECT_EQ(convertFrom<unsigned long long>(static_cast<char>(-128)), 18446744073709551488ULL);
    EXPECT_EQ(convertFrom<short>(static_cast<unsigned char>(255)), 255);
    EXPECT_EQ(convertFrom<short>(static_cast<unsigned char>(128)), 128);
    EXPECT_EQ(convertFrom<long long>(4294967295U), 4294967295LL);
    EXPECT_EQ(convertFrom<unsigned long>(static_cast<short>(-2)), 0xFFFFFFFFFFFFFFFEUL);
    EXPECT_EQ(convertFrom<long>(static_cast<unsigned short>(65535)), 65535L);
}

TEST(GenericAnyCastRules, IntegerToFloatingPointRoundsToNearestEven) {
    EXPECT_EQ(convertFrom<float>(4294967295U), 4294967296.0F);
    EXPECT_EQ(convertFrom<double>(ULLONG_MAX), 1.8446744073709552e19);
    EXPECT_EQ(convertFrom<float>(16777217), 16777216.0F) << "tie, to even";
    EXPECT_EQ(convertFrom<float>(16777219), 16777220.0F) << "tie, to even";
    EXPECT_EQ(convertFrom<double>(9007199254740993LL), 9007199254740992.0);
    EXPECT_EQ(convertFrom<double>(LLONG_MIN), -0x1p63);
    EXPECT_EQ(convertFrom<float>(-1), -1.0F);
    EXPECT_EQ(bitsOf(convertFrom<double>(0)), 0U) << "zero is +0.0";
}

TEST(GenericAnyCastRules, FloatingPointToIntegerTruncates) {
    EXPECT_EQ(convertFrom<int>(3.99), 3);
    EXPECT_EQ(convertFrom<int>(-3.99), -3);
    EXPECT_EQ(convertFrom<int>(2.9), 2);
    EXPECT_EQ(convertFrom<int>(-2.9F), -2);
    EXPECT_EQ(convertFrom<unsigned char>(255.9), 255);
    EXPECT_EQ(convertFrom<long long>(-0x1p62), -(1LL << 62));
    EXPECT_EQ(convertFrom<unsigned long long>(0x1.fffffffffffffp63), 18446744073709549568ULL)
        << "the largest double below 2^64 converts exactly";
    EXPECT_EQ(convertFrom<unsigned long>(0x1.fffffep63F), 18446742974197923840UL)
        << "the largest float below 2^64 converts exactly";
    EXPECT_EQ(convertFrom<long long>(0x1.fffffffffffffp62), 9223372036854774784LL);
}

TEST(GenericAnyCastRules, FloatingPointToIntegerSaturates) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(convertFrom<int>(nan, 5), 0);
    EXPECT_EQ(convertFrom<unsigned long long>(std::numeric_limits<float>::quiet_NaN(), 5ULL), 0ULL);
    EXPECT_EQ(convertFrom<int>(inf), INT_MAX);
    EXPECT_EQ(convertFrom<int>(-inf), INT_MIN);
    EXPECT_EQ(convertFrom<int>(1e300), INT_MAX);
    EXPECT_EQ(convertFrom<int>(-1e300), INT_MIN);
    EXPECT_EQ(convertFrom<int>(0x1p31), INT_MAX) << "exactly 2^31";
    EXPECT_EQ(convertFrom<int>(2147483647.5), INT_MAX);
    EXPECT_EQ(convertFrom<int>(-2147483648.9), INT_MIN);
    EXPECT_EQ(convertFrom<int>(-2147483649.0), INT_MIN);
    EXPECT_EQ(convertFrom<unsigned int>(-0.9, 7U), 0U);
    EXPECT_EQ(convertFrom<unsigned int>(-1.0, 7U), 0U);
    EXPECT_EQ(convertFrom<unsigned short>(-inf, 7), 0);
    EXPECT_EQ(convertFrom<unsigned long long>(0x1p64), ULLONG_MAX);
    EXPECT_EQ(convertFrom<unsigned long>(0x1p64F), ULONG_MAX);
    EXPECT_EQ(convertFrom<long long>(0x1p63), LLONG_MAX);
    EXPECT_EQ(convertFrom<long>(-0x1p63), LONG_MIN);
    EXPECT_EQ(convertFrom<long>(-1e19F), LONG_MIN);
    EXPECT_EQ(convertFrom<char>(128.0), CHAR_MAX);
    EXPECT_EQ(convertFrom<char>(-129.0F), CHAR_MIN);
    EXPECT_EQ(convertFrom<signed char>(1e10), SCHAR_MAX);
    EXPECT_EQ(convertFrom<unsigned char>(256.0F), UCHAR_MAX);
    EXPECT_EQ(convertFrom<short>(-32769.0), SHRT_MIN);
    EXPECT_EQ(convertFrom<unsigned short>(65536.0), USHRT_MAX);
    EXPECT_EQ(convertFrom<unsigned int>(0x1p32F), UINT_MAX);
    EXPECT_EQ(convertFrom<unsigned int>(FLT_MAX), UINT_MAX);
}

TEST(GenericAnyCastRules, DoubleToFloatRoundsAndOverflowsToInfinity) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(convertFrom<float>(1e300), inf);
    EXPECT_EQ(convertFrom<float>(DBL_MAX), inf);
    EXPECT_EQ(convertFrom<float>(-1e300), -inf);
    EXPECT_EQ(convertFrom<float>(0x1.ffffffp127), inf) << "halfway above FLT_MAX, to even";
    EXPECT_EQ(convertFrom<float>(0x1.fffffefffffffp127), FLT_MAX);
    EXPECT_EQ(convertFrom<float>(0.1), 0.1F);
    EXPECT_EQ(convertFrom<float>(1.0000000596046448), 1.0F) << "tie, to even";
    EXPECT_EQ(convertFrom<float>(0x1p-150), 0.0F) << "tie below the smallest subnormal, to even";
    EXPECT_EQ(convertFrom<float>(0x1.8p-150), 0x1p-149F);
    EXPECT_EQ(bitsOf(convertFrom<float>(-0x1p-200)), 0x80000000U) << "underflow keeps the sign";
    EXPECT_TRUE(std::isnan(convertFrom<float>(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(convertFrom<double>(0x1p-149F), 0x1p-149) << "float to double is exact";
    EXPECT_EQ(convertFrom<double>(FLT_MAX), 0x1.fffffep127);
}

// --- through Any --------------------------------------------------------------------------------

TEST(GenericAnyCastThroughAny, ConvertingReadsAndAssignmentsUseTheMatrix) {
    Any real;
    real.set(3.99);
    EXPECT_EQ(real.as<int>(), 3);
    EXPECT_EQ(real.as<long>(), 3L);
    EXPECT_EQ(real.as<bool>(), true);
    EXPECT_EQ(real.as<float>(), 3.99F);

    Any big;
    big.set(1e300);
    EXPECT_EQ(big.as<unsigned long>(), ULONG_MAX);
    EXPECT_EQ(big.as<short>(), SHRT_MAX);

    Any small;
    small.set(static_cast<unsigned char>(0));
    small = big;
    EXPECT_EQ(small.as<unsigned char>(), 255);

    Any wide;
    wide.set(0LL);
    Any character;
    character.set(static_cast<char>(-128));
    wide = character;
    EXPECT_EQ(wide.as<long long>(), -128);
    EXPECT_EQ(character.as<unsigned long long>(), 18446744073709551488ULL);
}

// --- the C-string cast --------------------------------------------------------------------------

TEST(CharPointerToStringCast, IsRegisteredForCharPointer) {
    const AnyCast* cast = registeredCast<char*, std::string>();
    ASSERT_NE(cast, nullptr);
    EXPECT_TRUE(cast->fromTypeInfo() == typeid(char*));
    EXPECT_TRUE(cast->toTypeInfo() == typeid(std::string));
    const AnyCastTable* into = AnyTypeRegistry::toCasts(hostName<std::string>());
    ASSERT_NE(into, nullptr);
    const auto found = into->find(hostName<char*>());
    ASSERT_NE(found, into->end());
    EXPECT_EQ(found->second, cast);
}

TEST(CharPointerToStringCast, CopiesTheTextUpToItsTerminator) {
    const AnyCast* cast = registeredCast<char*, std::string>();
    ASSERT_NE(cast, nullptr);
    auto convert = [cast](const char* text, std::string previous) {
        char* source = const_cast<char*>(text); // the cast reads through a char*, never writes
        cast->convert(&source, &previous);
        return previous;
    };
    EXPECT_EQ(convert("abc", ""), "abc");
    EXPECT_EQ(convert("", "not empty"), "");
    EXPECT_EQ(convert(nullptr, "not empty"), "") << "a null text reads as empty";
    const std::string longer(100, 'x');
    const std::string result = convert("abc", longer);
    EXPECT_EQ(result, "abc");
    EXPECT_EQ(result.size(), 3U) << "the previous longer value leaves nothing behind";
    EXPECT_EQ(convert("a\0b", "zz"), "a") << "stops at the first NUL";
    EXPECT_EQ(convert("\xff\x80 tail", ""), "\xff\x80 tail");
}

TEST(CharPointerToStringCast, ConvertsIntoTheSameStringItWasTakenFrom) {
    // The text is measured before the target changes, so a source inside the target works.
    const AnyCast* cast = registeredCast<char*, std::string>();
    ASSERT_NE(cast, nullptr);
    std::string target = "self text";
    char* source = &target[5];
    cast->convert(&source, &target);
    EXPECT_EQ(target, "text");
}

} // namespace
