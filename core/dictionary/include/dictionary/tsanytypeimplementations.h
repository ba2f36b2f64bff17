#ifndef TESSEL_DICTIONARY_TSANYTYPEIMPLEMENTATIONS_H
#define TESSEL_DICTIONARY_TSANYTYPEIMPLEMENTATIONS_H

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
    explicit DictionaryType(const TypeAtom& label);
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
    explicit VectorType(const TypeAtom& label);
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
};

/// The C-string cast: the target string takes a copy of the text up to its NUL; a null pointer
/// gives the empty string.
template <>
class TS_API GenericAnyCast<char*, std::string> : public AnyCast {
public:
    GenericAnyCast();
    ~GenericAnyCast() override;
    void convert(const void* from, void* to) const override;
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
};

// --- end of TimeBase ------------------------------------------------------------------------------

} // namespace Tessel::Dictionary::Impl

#endif
