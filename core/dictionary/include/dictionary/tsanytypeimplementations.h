#ifndef TESSEL_DICTIONARY_TSANYTYPEIMPLEMENTATIONS_H
#define TESSEL_DICTIONARY_TSANYTYPEIMPLEMENTATIONS_H

/// @file
/// The implementations of the built-in types and casts, public so that a host can register a
/// value type of its own from any T with `<<`, `>>` and `==`, and casts to and from it.
///
///     struct Point { int x, y; bool operator==(const Point&) const; };  // plus << and >>: "3,-4"
///     AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Point>(TypeAtom("point")));
///     Any p = Point{3, -4};                   // a "point"
///     std::string text = p.exactText();       // "3,-4", its text form
///     bool same = p == Any(Point{3, -4});     // true, by Point's ==

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <cmath>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Tessel::Dictionary::Impl {

/// True when `os << value` compiles for T.
template <class T, class = void>
struct IsStreamable : std::false_type {};
template <class T>
struct IsStreamable<T, std::void_t<decltype(std::declval<std::ostream&>() << std::declval<const T&>())>>
    : std::true_type {};

/// The bytes a value of host type T feeds to a signature: the stored bytes of arithmetic values
/// and of types without padding, the characters of a string, otherwise the value's text form
/// written to a stream in its default state. A type with none of these feeds nothing and must
/// override AnyType::signature itself.
template <class T>
void feedSignature(Base::SkeinHash::Engine& engine, const T& value) {
    if constexpr (std::is_arithmetic_v<T> || std::has_unique_object_representations_v<T>) {
        engine.update(&value, sizeof(T));
    } else if constexpr (IsStreamable<T>::value) {
        std::ostringstream text;
        text << value;
        const std::string bytes = text.str();
        engine.update(bytes.data(), bytes.size());
    }
}

/// A string feeds its size() bytes: no length, no terminator.
inline void feedSignature(Base::SkeinHash::Engine& engine, const std::string& value) {
    engine.update(value.data(), value.size());
}

/// Value handling shared by every type held by value: make, free, copy, compare and sign a T.
/// Text forms are left to the derived class. A host may derive from it for a type of its own.
template <class T>
class CopyTemplateAnyType : public AnyType {
public:
    /// Describes typeid(T) under `label`.
    explicit CopyTemplateAnyType(const TypeAtom& label) : AnyType(typeid(T), label) {}

    /// A new value-initialised T (zero for scalars, empty for strings).
    void* newValue() const override { return new T(); }
    /// Destroys and frees a value made by newValue(); null is ignored.
    void deleteValue(void* value) const override { delete static_cast<T*>(value); }
    /// Feeds the value (see feedSignature).
    void signature(Base::SkeinHash::Engine& engine, const Any& any) const override {
        feedSignature(engine, valueOf(any));
    }
    /// `*to = *from` by T's assignment (self-assignment is harmless).
    void copyValue(const void* from, void* to) const override {
        if (from != to) {
            *static_cast<T*>(to) = *static_cast<const T*>(from);
        }
    }
    /// `value(a) == value(b)` by T's equality.
    bool equal(const Any& a, const Any& b) const override {
        return static_cast<bool>(valueOf(a) == valueOf(b));
    }

protected:
    /// The T held by `any` (which holds this type).
    static const T& valueOf(const Any& any) noexcept {
        return *static_cast<const T*>(getValuePointer(any));
    }
    /// The T held by `any` (which holds this type).
    static T& valueOf(Any& any) noexcept { return *static_cast<T*>(getValuePointer(any)); }
};

/// A value type for any T with stream insertion and extraction and ==: the text form is `os <<
/// value` and `is >> value` under the stream's own state, nothing added. This is how the
/// built-in scalar and string types are made, and how a host registers a type of its own.
template <class T>
class TemplatedAnyType : public CopyTemplateAnyType<T> {
public:
    /// Describes typeid(T) under `label`.
    explicit TemplatedAnyType(const TypeAtom& label) : CopyTemplateAnyType<T>(label) {}

    /// `os << value`. Failures show only in the stream's state.
    void write(std::ostream& os, const Any& any) const override { os << this->valueOf(any); }
    /// `is >> value`, in place. Failures show only in the stream's state.
    void read(std::istream& is, Any& any) const override { is >> this->valueOf(any); }
};

/// The "dictionary" type: a nested Dictionary, copied deeply, compared entry by entry and signed
/// with its framed feed. It has no text form.
class TS_API DictionaryType : public CopyTemplateAnyType<Dictionary> {
public:
    /// Describes Dictionary under `label` ("dictionary" for the built-in type).
    explicit DictionaryType(const TypeAtom& label);
    /// Nothing of its own to free.
    ~DictionaryType() override;
    /// Throws NotImplemented from Dictionary::write; nothing is written.
    void write(std::ostream& os, const Any& any) const override;
    /// Throws NotImplemented; nothing is read.
    void read(std::istream& is, Any& any) const override;
    /// Dictionary::signature of the value.
    void signature(Base::SkeinHash::Engine& engine, const Any& any) const override;
};

/// The "vector" type: a std::vector<Any>, assigned element by element, compared by position and
/// signed as (4-byte little-endian index, element feed) per element. It has no text form.
class TS_API VectorType : public CopyTemplateAnyType<std::vector<Any>> {
public:
    /// Describes std::vector<Any> under `label` ("vector" for the built-in type).
    explicit VectorType(const TypeAtom& label);
    /// Nothing of its own to free.
    ~VectorType() override;
    /// Throws NotImplemented; nothing is written.
    void write(std::ostream& os, const Any& any) const override;
    /// Throws NotImplemented; nothing is read.
    void read(std::istream& is, Any& any) const override;
    /// Per element: its index as 4 bytes little-endian, then the element's own feed.
    void signature(Base::SkeinHash::Engine& engine, const Any& any) const override;
    /// The vector's copy assignment (elements assigned by Any::operator=, surplus dropped, the rest
    /// appended as copies). A source nested inside the target is copied first. Nested vectors are
    /// assigned the same way at any depth; an element whose assignment throws stops it half-way.
    void copyValue(const void* from, void* to) const override;
    /// Same length and elements equal by Any::operator==, position by position.
    bool equal(const Any& a, const Any& b) const override;
};

/// The value conversion of the numeric cast matrix: static_cast, except that a floating-point
/// source outside an integer target's range saturates to the target's minimum or maximum and NaN
/// gives 0, so that no input is undefined behaviour.
template <class To, class From>
To convertNumber(From value) noexcept {
    if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To> &&
                  !std::is_same_v<To, bool>) {
        if (std::isnan(value)) {
            return To(0);
        }
        // Both bounds are powers of two (or zero) and so exact in every floating-point type:
        // [lowest, limit) is exactly the range whose truncation fits in To.
        constexpr From lowest = static_cast<From>(std::numeric_limits<To>::min());
        constexpr From limit = static_cast<From>(std::numeric_limits<To>::max() / 2 + 1) * From(2);
        if (value <= lowest) {
            return std::numeric_limits<To>::min();
        }
        if (value >= limit) {
            return std::numeric_limits<To>::max();
        }
        return static_cast<To>(value);
    } else {
        return static_cast<To>(value);
    }
}

/// True when two arithmetic values are the same number, compared mathematically whatever their
/// types (int -3 is not uint32 4294967293; 2048.0 is int 2048; bool counts as 0 or 1). A NaN
/// equals a NaN; -0.0 equals 0.
template <class A, class B>
bool sameNumber(A a, B b) noexcept {
    static_assert(std::is_arithmetic_v<A> && std::is_arithmetic_v<B>, "numbers are required");
    if constexpr (std::is_floating_point_v<A> && std::is_floating_point_v<B>) {
        if (std::isnan(a) || std::isnan(b)) {
            return std::isnan(a) && std::isnan(b);
        }
        return static_cast<long double>(a) == static_cast<long double>(b);
    } else if constexpr (std::is_floating_point_v<A>) {
        return sameNumber(b, a);
    } else if constexpr (std::is_floating_point_v<B>) {
        // An integer and a floating-point value: the latter must be a whole number in range.
        // 2^63 and 2^64 are exact in every floating-point type, so the bounds are exact too.
        if (!std::isfinite(b) || std::trunc(b) != b) {
            return false;
        }
        if (b < B(0)) {
            if constexpr (std::is_signed_v<A>) {
                return a < 0 && b >= -B(9223372036854775808.0) &&
                       static_cast<long long>(b) == static_cast<long long>(a);
            } else {
                return false;
            }
        }
        if constexpr (std::is_signed_v<A>) {
            if (a < 0) {
                return false;
            }
        }
        return b < B(18446744073709551616.0) &&
               static_cast<unsigned long long>(b) == static_cast<unsigned long long>(a);
    } else {
        if constexpr (std::is_signed_v<A>) {
            if (a < 0) {
                if constexpr (std::is_signed_v<B>) {
                    return static_cast<long long>(a) == static_cast<long long>(b);
                } else {
                    return false;
                }
            }
        }
        if constexpr (std::is_signed_v<B>) {
            if (b < 0) {
                return false;
            }
        }
        return static_cast<unsigned long long>(a) == static_cast<unsigned long long>(b);
    }
}

/// Exact when every From value survives convertNumber<To> (int8 to int32, float to double,
/// int32 to double, anything from bool); Checked otherwise (int64 to int32, double to float,
/// int32 to float, uint32 to int32, anything to bool, any floating point to an integer).
template <class From, class To>
constexpr CastKind numberCastKind() noexcept {
    using FromLimits = std::numeric_limits<From>;
    using ToLimits = std::numeric_limits<To>;
    if constexpr (std::is_same_v<From, To> || std::is_same_v<From, bool>) {
        return CastKind::Exact;
    } else if constexpr (std::is_same_v<To, bool> || (!FromLimits::is_integer && ToLimits::is_integer)) {
        return CastKind::Checked;
    } else {
        // digits counts the bits of magnitude; a signed source also needs a signed target.
        const bool signFits = !(FromLimits::is_integer && ToLimits::is_integer) || !FromLimits::is_signed ||
                              ToLimits::is_signed;
        return signFits && FromLimits::digits <= ToLimits::digits ? CastKind::Exact : CastKind::Checked;
    }
}

/// True when numerator/denominator is exactly `value`: never for a zero denominator, a NaN, an
/// infinity or a negative value (but -0.0 equals 0/1).
TS_API bool fractionEqualsNumber(unsigned long long numerator, unsigned long long denominator,
                                 double value) noexcept;
/// True when numerator/denominator is exactly the whole number `value`.
TS_API bool fractionEqualsInteger(unsigned long long numerator, unsigned long long denominator,
                                  long long value) noexcept;

/// The built-in conversion between two host types: convertNumber for the numeric matrix.
/// Stateless; one object serves every conversion of its pair.
template <class From, class To>
class GenericAnyCast : public AnyCast {
public:
    GenericAnyCast() : AnyCast(typeid(From), typeid(To)) {}

    /// `*to = convertNumber<To>(*from)`.
    void convert(const void* from, void* to) const override {
        *static_cast<To*>(to) = convertNumber<To>(*static_cast<const From*>(from));
    }
    /// See numberCastKind.
    CastKind kind() const noexcept override { return numberCastKind<From, To>(); }
    /// True when the converted number equals the source (see sameNumber).
    bool preserves(const void* from) const override {
        const From value = *static_cast<const From*>(from);
        return sameNumber(value, convertNumber<To>(value));
    }
};

/// The C-string cast: the target string takes a copy of the text up to its NUL; a null pointer
/// gives the empty string.
template <>
class TS_API GenericAnyCast<char*, std::string> : public AnyCast {
public:
    GenericAnyCast();
    ~GenericAnyCast() override;
    void convert(const void* from, void* to) const override;
    /// Exact: the string holds the very text.
    CastKind kind() const noexcept override { return CastKind::Exact; }
};

// --- TimeBase: value type and casts to and from numbers -------------------------------------------

/// The "timebase" type: a Base::TimeBase, written and read as "numerator/denominator", compared
/// by TimeBase::operator== and signed with its 16 stored bytes.
class TS_API TimeBaseType : public CopyTemplateAnyType<Base::TimeBase> {
public:
    /// Describes typeid(Base::TimeBase) under `label`.
    explicit TimeBaseType(const TypeAtom& label);
    ~TimeBaseType() override;
    /// Inserts the numerator and the denominator as signed 64-bit decimals joined by "/", under
    /// the stream's formatting state: '30000/1001', '0/0'.
    void write(std::ostream& os, const Any& any) const override;
    /// Extracts an unsigned int numerator, one separator character and an unsigned int
    /// denominator (skipws is set before each of the last two and stays set), then stores both.
    /// A field whose extraction fails is 0; neither the separator nor the stream is checked:
    /// '25:1' reads as 25/1, '25' as 25/0.
    void read(std::istream& is, Any& any) const override;
    /// Feeds the numerator, then the denominator, each as 8 bytes little-endian.
    void signature(Base::SkeinHash::Engine& engine, const Any& any) const override;
};

/// An integer to TimeBase: the source's bits read as unsigned and widened with zeros, over 1.
/// int -1 gives 4294967295/1.
template <class T>
class IntegralToTimeBaseCast : public AnyCast {
    static_assert(std::is_integral_v<T> && !std::is_same_v<T, bool>, "an integer source is required");

public:
    IntegralToTimeBaseCast() : AnyCast(typeid(T), typeid(Base::TimeBase)) {}

    /// `to->set(unsigned bits of *from, 1)`.
    void convert(const void* from, void* to) const override {
        const auto bits = static_cast<std::make_unsigned_t<T>>(*static_cast<const T*>(from));
        static_cast<Base::TimeBase*>(to)->set(static_cast<unsigned long long>(bits), 1ULL);
    }
    /// Exact from an unsigned source; a signed one wraps its negative values.
    CastKind kind() const noexcept override {
        return std::is_signed_v<T> ? CastKind::Checked : CastKind::Exact;
    }
    /// True unless the source is negative.
    bool preserves(const void* from) const override {
        return !(*static_cast<const T*>(from) < T(0));
    }
};

/// A float or double to TimeBase: the source rounded to float, then TimeBase(float). A double
/// beyond the float range becomes an infinity, as IEEE 754 defines; setRate handles those and NaN.
template <class T>
class FloatToTimeBaseCast : public AnyCast {
    static_assert(std::is_floating_point_v<T> && std::numeric_limits<T>::is_iec559 &&
                      std::numeric_limits<float>::is_iec559,
                  "an IEEE 754 floating-point source is required");

public:
    FloatToTimeBaseCast() : AnyCast(typeid(T), typeid(Base::TimeBase)) {}

    /// `*to = TimeBase(float(*from))`.
    void convert(const void* from, void* to) const override {
        const float rate = static_cast<float>(*static_cast<const T*>(from));
        *static_cast<Base::TimeBase*>(to) = Base::TimeBase(rate);
    }
    /// Checked: the rate is rounded to a float and then to a fraction (29.97 gives 30000/1001).
    CastKind kind() const noexcept override { return CastKind::Checked; }
    /// True when the source is a float and the fraction chosen for it is exactly that float
    /// (25.0 gives 25/1 and 12.5 gives 1250/100; 29.97 and negative rates are refused).
    bool preserves(const void* from) const override {
        const T value = *static_cast<const T*>(from);
        const float rate = static_cast<float>(value);
        if (!sameNumber(value, rate)) {
            return false;
        }
        const Base::TimeBase result(rate);
        return fractionEqualsNumber(result.numerator, result.denominator, static_cast<double>(rate));
    }
};

/// TimeBase to a number: a bool is roundedRate() != 0, an integer roundedRate() narrowed to it
/// (modulo 2^N), a floating-point target rate() (single precision, also in a double).
template <class To>
class GenericAnyCast<Base::TimeBase, To> : public AnyCast {
    static_assert(std::is_arithmetic_v<To>, "a numeric target is required");

public:
    GenericAnyCast() : AnyCast(typeid(Base::TimeBase), typeid(To)) {}

    /// Assigns the number described above to `*to`.
    void convert(const void* from, void* to) const override {
        const auto& timeBase = *static_cast<const Base::TimeBase*>(from);
        auto& target = *static_cast<To*>(to);
        if constexpr (std::is_same_v<To, bool>) {
            target = timeBase.roundedRate() != 0;
        } else if constexpr (std::is_integral_v<To>) {
            target = static_cast<To>(timeBase.roundedRate());
        } else {
            target = static_cast<To>(timeBase.rate());
        }
    }
    /// Checked: the rate goes through single precision and is rounded for an integer target.
    CastKind kind() const noexcept override { return CastKind::Checked; }
    /// True when the number stored is exactly the fraction; an invalid time base (0 denominator)
    /// has no value and is refused.
    bool preserves(const void* from) const override {
        const auto& timeBase = *static_cast<const Base::TimeBase*>(from);
        To result{};
        convert(from, &result);
        if constexpr (std::is_floating_point_v<To>) {
            return fractionEqualsNumber(timeBase.numerator, timeBase.denominator, static_cast<double>(result));
        } else {
            return fractionEqualsInteger(timeBase.numerator, timeBase.denominator, static_cast<long long>(result));
        }
    }
};

// --- end of TimeBase ------------------------------------------------------------------------------

} // namespace Tessel::Dictionary::Impl

#endif
