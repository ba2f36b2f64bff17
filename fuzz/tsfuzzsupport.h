#ifndef TESSEL_FUZZ_TSFUZZSUPPORT_H
#define TESSEL_FUZZ_TSFUZZSUPPORT_H

// Helpers shared by the fuzz targets: a front-to-back reader of the input bytes (so that seed
// files read like the calls they drive), invariant checks that abort with a message, the sixteen
// built-in types by label index with their host types, and byte-exact comparisons of values.

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace TsFuzz {

using Tessel::Base::TimeBase;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyType;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::Dictionary;
using AnyVector = std::vector<Any>;

// --- failing loudly --------------------------------------------------------------------------------

/// Reports a broken invariant and aborts, so that libFuzzer records the input as a crash.
[[noreturn]] inline void failInvariant(const char* file, int line, const char* condition,
                                       const std::string& detail) {
    std::fprintf(stderr, "\n*** INVARIANT BROKEN at %s:%d: %s\n", file, line, condition);
    if (!detail.empty()) {
        std::fprintf(stderr, "*** %s\n", detail.c_str());
    }
    std::fflush(stderr);
    std::abort();
}

} // namespace TsFuzz

/// Aborts with the condition's text, and an optional detail string that is only built when the
/// condition fails: TSFUZZ_CHECK(condition) or TSFUZZ_CHECK(condition, detail).
#define TSFUZZ_CHECK(...) TSFUZZ_PICK(__VA_ARGS__, TSFUZZ_CHECK_DETAIL, TSFUZZ_CHECK_PLAIN, unused)(__VA_ARGS__)
#define TSFUZZ_PICK(first, second, macro, ...) macro
#define TSFUZZ_CHECK_PLAIN(condition) TSFUZZ_CHECK_DETAIL(condition, std::string())
#define TSFUZZ_CHECK_DETAIL(condition, detail)                                                    \
    do {                                                                                          \
        if (!(condition)) {                                                                       \
            ::TsFuzz::failInvariant(__FILE__, __LINE__, #condition, detail);                       \
        }                                                                                         \
    } while (false)

namespace TsFuzz {

/// Bytes shown as C-escaped text, for messages.
inline std::string escaped(const std::string& bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x20 && u < 0x7F && c != '\\') {
            out += c;
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", u);
            out += hex;
        }
    }
    return "'" + out + "'";
}

// --- reading the input -----------------------------------------------------------------------------

/// Reads the fuzz input from front to back. Past the end every read gives zeros or empty text, so
/// any input, even an empty one, describes a complete run.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) noexcept : mData(data), mSize(size) {}

    bool exhausted() const noexcept { return mPosition >= mSize; }
    std::size_t remaining() const noexcept { return exhausted() ? 0 : mSize - mPosition; }

    /// The next byte, or 0.
    std::uint8_t byte() noexcept { return exhausted() ? 0 : mData[mPosition++]; }
    /// A number below `count` (count > 0) taken from one byte, or two when count exceeds 256.
    std::size_t below(std::size_t count) noexcept {
        std::size_t value = byte();
        if (count > 256) {
            value = value << 8 | byte();
        }
        return value % count;
    }
    bool flag() noexcept { return (byte() & 1) != 0; }

    /// The bit pattern of a T from the next sizeof(T) bytes (zeros past the end). A bool is made
    /// from the low bit only, since other byte values are no bool.
    template <class T>
    T bits() noexcept {
        static_assert(std::is_arithmetic_v<T>, "arithmetic types only");
        if constexpr (std::is_same_v<T, bool>) {
            return flag();
        } else {
            unsigned char raw[sizeof(T)] = {};
            for (unsigned char& b : raw) {
                b = byte();
            }
            T value;
            std::memcpy(&value, raw, sizeof(T));
            return value;
        }
    }

    /// A text of up to 255 bytes: a length byte, then that many bytes (fewer at the end).
    std::string text() {
        const std::size_t length = byte();
        return take(length);
    }
    /// Everything not read yet.
    std::string rest() { return take(remaining()); }

private:
    std::string take(std::size_t length) {
        length = length < remaining() ? length : remaining();
        std::string result(reinterpret_cast<const char*>(mData) + mPosition, length);
        mPosition += length;
        return result;
    }

    const std::uint8_t* mData;
    std::size_t mSize;
    std::size_t mPosition = 0;
};

// --- the built-in types by label index ---------------------------------------------------------------

/// Label indices in the order of the label constants.
enum Label : int {
    kBool, kChar, kInt8, kUInt8, kInt16, kUInt16, kInt32, kUInt32, kInt64, kUInt64,
    kFloat, kDouble, kString, kDictionary, kVector, kTimeBase, kLabelCount
};

inline const Tessel::Dictionary::TypeAtom& labelAtom(int label) {
    using namespace Tessel::Dictionary;
    static const TypeAtom* const atoms[kLabelCount] = {
        &gTypeLabelBool,  &gTypeLabelChar,   &gTypeLabelInt8,         &gTypeLabelUnsignedInt8,
        &gTypeLabelInt16, &gTypeLabelUnsignedInt16, &gTypeLabelInt32, &gTypeLabelUnsignedInt32,
        &gTypeLabelInt64, &gTypeLabelUnsignedInt64, &gTypeLabelFloat, &gTypeLabelDouble,
        &gTypeLabelString, &gTypeLabelDictionary, &gTypeLabelVector, &gTypeLabelTimeBase};
    return *atoms[label];
}

/// The registered type of a label index; aborts if the registry lacks it.
inline const AnyType& typeOf(int label) {
    const AnyType* type = AnyTypeRegistry::typeByLabel(labelAtom(label));
    TSFUZZ_CHECK(type != nullptr, "no type under label " + labelAtom(label).getString());
    return *type;
}

/// The label index of a registered type, or -1.
inline int labelOf(const AnyType* type) {
    for (int label = 0; label < kLabelCount; ++label) {
        if (type == &typeOf(label)) {
            return label;
        }
    }
    return -1;
}

template <class T>
struct Tag {
    using type = T;
};

/// Calls `f(Tag<T>{})` with the host type T of a label index.
template <class F>
decltype(auto) withHostType(int label, F&& f) {
    switch (label) {
    case kBool: return f(Tag<bool>{});
    case kChar: return f(Tag<char>{});
    case kInt8: return f(Tag<signed char>{});
    case kUInt8: return f(Tag<unsigned char>{});
    case kInt16: return f(Tag<short>{});
    case kUInt16: return f(Tag<unsigned short>{});
    case kInt32: return f(Tag<int>{});
    case kUInt32: return f(Tag<unsigned int>{});
    case kInt64: return f(Tag<long long>{});
    case kUInt64: return f(Tag<unsigned long long>{});
    case kFloat: return f(Tag<float>{});
    case kDouble: return f(Tag<double>{});
    case kString: return f(Tag<std::string>{});
    case kDictionary: return f(Tag<Dictionary>{});
    case kVector: return f(Tag<AnyVector>{});
    default: return f(Tag<TimeBase>{});
    }
}

/// True for the host types of the scalar labels (bool to double).
template <class T>
constexpr bool kIsScalar = std::is_arithmetic_v<T>;

/// One host variable of every built-in host type, plus `long` and `unsigned long`, which bind as
/// aliases of the 64-bit types on this platform. Declare it before the values bound to it.
struct HostVariables {
    bool b = false;
    char c = 0;
    signed char sc = 0;
    unsigned char uc = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int ui = 0;
    long long ll = 0;
    unsigned long long ull = 0;
    long l = 0;
    unsigned long ul = 0;
    float f = 0;
    double d = 0;
    std::string text;
    Dictionary dictionary;
    AnyVector vector;
    TimeBase timeBase;

    template <class T>
    T& of() {
        if constexpr (std::is_same_v<T, bool>) return b;
        else if constexpr (std::is_same_v<T, char>) return c;
        else if constexpr (std::is_same_v<T, signed char>) return sc;
        else if constexpr (std::is_same_v<T, unsigned char>) return uc;
        else if constexpr (std::is_same_v<T, short>) return s;
        else if constexpr (std::is_same_v<T, unsigned short>) return us;
        else if constexpr (std::is_same_v<T, int>) return i;
        else if constexpr (std::is_same_v<T, unsigned int>) return ui;
        else if constexpr (std::is_same_v<T, long long>) return ll;
        else if constexpr (std::is_same_v<T, unsigned long long>) return ull;
        else if constexpr (std::is_same_v<T, long>) return l;
        else if constexpr (std::is_same_v<T, unsigned long>) return ul;
        else if constexpr (std::is_same_v<T, float>) return f;
        else if constexpr (std::is_same_v<T, double>) return d;
        else if constexpr (std::is_same_v<T, std::string>) return text;
        else if constexpr (std::is_same_v<T, Dictionary>) return dictionary;
        else if constexpr (std::is_same_v<T, AnyVector>) return vector;
        else return timeBase;
    }
};

/// A value of host type T made from the input: scalar bits, a text, both fields of a rate;
/// containers start empty.
template <class T>
T makeValue(FuzzInput& in) {
    if constexpr (std::is_arithmetic_v<T>) {
        return in.bits<T>();
    } else if constexpr (std::is_same_v<T, std::string>) {
        return in.text();
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        TimeBase value;
        value.numerator = in.bits<unsigned long long>();
        value.denominator = in.bits<unsigned long long>();
        return value;
    } else {
        return T();
    }
}

/// An Any owning a value of `label` made from the input.
inline Any makeOwned(int label, FuzzInput& in) {
    return withHostType(label, [&](auto tag) {
        using T = typename decltype(tag)::type;
        Any any;
        any.set(makeValue<T>(in));
        return any;
    });
}

// --- comparing values byte for byte -------------------------------------------------------------------

/// Digest of raw bytes.
inline Digest digestOfBytes(const void* data, std::size_t size) {
    Engine engine;
    engine.update(data, size);
    return engine.digest();
}

/// Digest of an Any's signature feed.
inline Digest signatureOf(const Any& any) {
    Engine engine;
    any.signature(engine);
    return engine.digest();
}

inline Digest signatureOf(const Dictionary& dictionary) {
    Engine engine;
    dictionary.signature(engine);
    return engine.digest();
}

/// Same stored bytes (floats by bits, so NaN equals itself here), same text, same fields.
template <class T>
bool sameBits(const T& a, const T& b) {
    if constexpr (std::is_arithmetic_v<T>) {
        return std::memcmp(&a, &b, sizeof(T)) == 0;
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        return a.numerator == b.numerator && a.denominator == b.denominator;
    } else {
        return a == b;
    }
}

/// The host value as readable text, for messages.
template <class T>
std::string show(const T& value) {
    std::ostringstream text;
    if constexpr (std::is_same_v<T, bool>) {
        text << (value ? "true" : "false");
    } else if constexpr (std::is_integral_v<T>) {
        text << static_cast<long long>(value) << " (0x" << std::hex
             << static_cast<unsigned long long>(static_cast<std::make_unsigned_t<T>>(value)) << ")";
    } else if constexpr (std::is_floating_point_v<T>) {
        text.precision(std::numeric_limits<T>::max_digits10);
        text << value;
    } else if constexpr (std::is_same_v<T, std::string>) {
        return escaped(value);
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        return value.fractionText();
    } else {
        text << "<container>";
    }
    return text.str();
}

/// True when any value in the tree of `any` is a NaN, which by design is unequal to itself.
inline bool holdsNaN(const Any& any, int depth = 0) {
    if (any.isEmpty() || depth > 64) {
        return false;
    }
    const int label = labelOf(any.type());
    if (label == kFloat) {
        return std::isnan(any.ref<float>());
    }
    if (label == kDouble) {
        return std::isnan(any.ref<double>());
    }
    if (label == kDictionary) {
        for (const auto& entry : any.dict()) {
            if (holdsNaN(entry.second, depth + 1)) {
                return true;
            }
        }
    }
    if (label == kVector) {
        for (const Any& element : any.vec()) {
            if (holdsNaN(element, depth + 1)) {
                return true;
            }
        }
    }
    return false;
}

/// Whitespace as the stream's locale classifies it (what formatted extraction skips).
inline bool isStreamSpace(char c, const std::locale& locale = std::locale()) {
    return std::use_facet<std::ctype<char>>(locale).is(std::ctype_base::space, c);
}

inline bool containsStreamSpace(const std::string& text) {
    for (const char c : text) {
        if (isStreamSpace(c)) {
            return true;
        }
    }
    return false;
}

/// The text an Any writes into a stream in its default state.
inline std::string textOf(const Any& any) {
    std::ostringstream text;
    any.write(text);
    return text.str();
}

/// The documented read of a host value from a stream: `is >> value`, except for a time base,
/// which reads an unsigned numerator, one separator character and an unsigned denominator.
template <class T>
void documentedRead(std::istream& is, T& value) {
    if constexpr (std::is_same_v<T, TimeBase>) {
        unsigned int num = 0;
        if (!(is >> num)) {
            num = 0;
        }
        char separator = 0;
        is >> std::skipws >> separator;
        is >> std::skipws;
        unsigned int den = 0;
        if (!(is >> den)) {
            den = 0;
        }
        value.set(static_cast<unsigned long long>(num), static_cast<unsigned long long>(den));
    } else {
        is >> value;
    }
}

} // namespace TsFuzz

#endif
