// Exact assignment and cast kinds: refused conversions leave the target as it was, exact ones
// store the source's number, vectors are all or nothing, and every numeric cast's kind and
// per-value verdict agree with an independent oracle (long double holds every value exactly).

#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tscanonicalsignature.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using Vec = std::vector<Any>;

template <class T>
Any of(const T& value) {
    Any any;
    any.set(value);
    return any;
}
using uchar = unsigned char;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// A host type with one cast that does not say its kind and one that declares itself exact.
struct Meters {
    int value = 0;
    bool operator==(const Meters& other) const { return value == other.value; }
};
std::ostream& operator<<(std::ostream& os, const Meters& m) { return os << m.value; }
std::istream& operator>>(std::istream& is, Meters& m) { return is >> m.value; }
template <class To, CastKind kKind>
struct MetersCast : AnyCast {
    MetersCast() : AnyCast(typeid(Meters), typeid(To)) {}
    void convert(const void* from, void* to) const override {
        *static_cast<To*>(to) = static_cast<To>(static_cast<const Meters*>(from)->value);
    }
    CastKind kind() const noexcept override { return kKind; }
};

TEST(AssignExact, RefusesEveryChangeAndKeepsTheTarget) {
    AnyTypeRegistry::addCast(new MetersCast<int, CastKind::Checked>());
    AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Meters>("meters"));
    const struct { Any target; Any source; const char* why; } rows[] = {
        {of(0U), of(-3), "negative into unsigned wraps"},
        {of(uchar(0)), of(300), "out of range wraps"},
        {of(0), of(2048.7), "a fraction dropped"},
        {of(0), of(1e300), "saturated"},
        {of(0), of(kNaN), "NaN into an integer"},
        {of(0LL), of(-kInf), "infinity into an integer"},
        {of(0LL), of(9223372036854775808.0), "just past the int64 range"},
        {of(0.0F), of(0.1), "a double that float rounds"},
        {of(0.0F), of(1e39), "a double beyond float"},
        {of(0.0F), of(16777217), "an int that float cannot hold"},
        {of(0.0), of((1LL << 53) + 1), "an int64 that double cannot hold"},
        {of(0.0), of(~0ULL), "uint64 max rounds up in double"},
        {of(false), of(2), "only 0 or 1 into bool"},
        {of(false), of(0.5), "a fraction into bool"},
        {of(0), of(4294967295U), "uint32 max into int32"},
        {of(TimeBase()), of(-1), "a negative rate wraps"},
        {of(TimeBase()), of(29.97), "29.97 becomes 30000/1001"},
        {of(0), of(TimeBase(30000U, 1001U)), "an NTSC rate rounds"},
        {of(0), of(TimeBase(16777217U, 1U)), "the rate goes through float"},
        {of(0.0), of(TimeBase(1U, 3U)), "a third in single precision"},
        {of(false), of(TimeBase()), "an invalid time base has no value"},
        {of(0), of(Meters{3}), "a host cast that does not say it is exact"},
        {of(Vec{of(1), of(2)}), of(Vec{of(1.0), of(2.5)}), "one inexact element refuses all"},
        {of(Vec{of(1), of(Vec{of(2)})}), of(Vec{of(1.0), of(Vec{of(2.5)})}), "nested elements are checked"},
    };
    for (const auto& row : rows) {
        Any target = row.target;
        EXPECT_THROW(target.assignExact(row.source), AnyInexactConversionException) << row.why;
        EXPECT_EQ(canonicalSignature(target), canonicalSignature(row.target)) << row.why;
    }
}

TEST(AssignExact, StoresTheSourceNumberWhenItSurvives) {
    AnyTypeRegistry::addCast(new MetersCast<double, CastKind::Exact>());
    AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Meters>("meters"));
    const struct { Any target; Any source; Any expected; const char* why; } rows[] = {
        {of(0), of(2048.0), of(2048), "a whole double"},
        {of(0.0), of(std::numeric_limits<float>::quiet_NaN()), of(kNaN), "NaN counts as NaN"},
        {of(0), of(-0.0), of(0), "-0.0 is zero"},
        {of(0LL), of(-9223372036854775808.0), of(std::numeric_limits<long long>::min()), "int64 minimum"},
        {of(short(0)), of(uchar(200)), of(short(200)), "widening"},
        {of(0.0F), of(16777216), of(16777216.0F), "2^24 fits a float"},
        {of(false), of(1), of(true), "1 into bool"},
        {of(TimeBase()), of(12.5), of(TimeBase(1250U, 100U)), "12.5 is 1250/100"},
        {of(TimeBase()), of(25), of(TimeBase(25U, 1U)), "a whole rate"},
        {of(0), of(TimeBase(50U, 2U)), of(25), "50/2 is 25"},
        {of(0.0), of(TimeBase(1U, 2U)), of(0.5), "1/2 is 0.5"},
        {of(std::string("old")), of(std::string("new")), of(std::string("new")), "same type"},
        {of(TimeBase(1U, 1U)), of(TimeBase(50U, 2U)), of(TimeBase(50U, 2U)), "same type keeps the fraction"},
        {Any(), of(2.5), of(2.5), "an empty target takes a copy"},
        {of(0.0), of(Meters{3}), of(3.0), "a host cast that says it is exact"},
        {of(Vec{of(1), of(2), of(3)}), of(Vec{of(1.0), of(2.0)}), of(Vec{of(1), of(2)}), "elements converted in place"},
        {of(Vec{of(1)}), of(Vec{of(2.5), of(3.5)}), of(Vec{of(2.5), of(3.5)}), "no room: replaced by copies"},
    };
    for (const auto& row : rows) {
        Any target = row.target;
        target.assignExact(row.source);
        EXPECT_EQ(canonicalSignature(target), canonicalSignature(row.expected)) << row.why;
    }
}

TEST(AssignExact, ReportsAndFailsLikeAssignment) {
    int variable = 1;
    Any bound{BindValue(variable)};
    try {
        bound.assignExact(2048.7);
        FAIL() << "no exception";
    } catch (const AnyInexactConversionException& e) {
        EXPECT_EQ(e.userMessage(), "Can't store the value '2048.6999999999998' of type 'double' as type 'int' "
                                   "without changing it.");
        EXPECT_EQ(*e.getValue<std::string>("ThrowFile"), "core/dictionary/src/tsanyexact.cpp");
    }
    EXPECT_EQ(variable, 1);
    Any vector = of(Vec{of(1), of(2)});
    EXPECT_THROW(vector.assignExact(of(Vec{of(5), Any()})), AnyNullException);
    EXPECT_THROW(vector.assignExact(of(Vec{of(5), of(std::string())})), AnyCastException);
    EXPECT_EQ(vector, of(Vec{of(1), of(2)})) << "checked before the first element is written";
}

// --- cast kinds against an oracle --------------------------------------------------------------

template <class... Ts>
struct Types {};
using Numbers = Types<bool, char, signed char, unsigned char, short, unsigned short, int, unsigned int, long,
                      unsigned long, long long, unsigned long long, float, double>;

template <class F, class... Ts>
bool dispatch(const std::type_info& type, Types<Ts...>, F&& f) {
    return ((type == typeid(Ts) ? (f(Ts{}), true) : false) || ...);
}

template <class T>
bool isNaN(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::isnan(value);
    }
    return false;
}

template <class T>
std::vector<T> samples() {
    const long double raw[] = {0, 1, -1, 2, 0.5L, -0.0L, 128, 255, 256, 65536, 16777217, 2147483648.0L,
                               4294967296.0L, 9007199254740993.0L, -9223372036854775808.0L, 0.1L,
                               INFINITY, NAN};
    std::vector<T> out{std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()};
    for (long double r : raw) {
        if (std::is_floating_point_v<T> || (std::trunc(r) == r && r >= std::numeric_limits<T>::lowest() &&
                                            r <= std::numeric_limits<T>::max())) {
            out.push_back(static_cast<T>(r));
        }
    }
    return out;
}

TEST(CastKind, EveryNumericCastAgreesWithTheOracle) {
    int numeric = 0;
    for (const AnyCast* cast : AnyTypeRegistry::casts()) {
        dispatch(cast->fromTypeInfo(), Numbers{}, [&](auto from) {
            dispatch(cast->toTypeInfo(), Numbers{}, [&](auto to) {
                ++numeric;
                bool allSurvive = true;
                for (decltype(from) value : samples<decltype(from)>()) {
                    decltype(to) result{};
                    cast->convert(&value, &result);
                    const bool same = isNaN(value) ? isNaN(result)
                                                   : static_cast<long double>(value) == static_cast<long double>(result);
                    EXPECT_EQ(cast->preserves(&value), same) << cast->fromName() << " -> " << cast->toName() << ": " << +value;
                    allSurvive = allSurvive && same;
                }
                EXPECT_EQ(cast->kind() == CastKind::Exact, allSurvive) << cast->fromName() << " -> " << cast->toName();
            });
        });
    }
    EXPECT_EQ(numeric, 196);
    const struct { const std::type_info& from; const std::type_info& to; CastKind kind; } rows[] = {
        {typeid(signed char), typeid(int), CastKind::Exact},      {typeid(float), typeid(double), CastKind::Exact},
        {typeid(long long), typeid(int), CastKind::Checked},      {typeid(double), typeid(float), CastKind::Checked},
        {typeid(unsigned int), typeid(TimeBase), CastKind::Exact}, {typeid(int), typeid(TimeBase), CastKind::Checked},
        {typeid(TimeBase), typeid(double), CastKind::Checked},    {typeid(char*), typeid(std::string), CastKind::Exact},
    };
    for (const auto& row : rows) {
        const AnyCast* cast = AnyTypeRegistry::fromCasts(TypeAtom(row.from.name()))->at(TypeAtom(row.to.name()));
        EXPECT_EQ(cast->kind(), row.kind) << row.from.name() << " -> " << row.to.name();
    }
}

} // namespace
