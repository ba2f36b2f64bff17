// Fuzz target: Any::parse of arbitrary text as each of the sixteen built-in types, into an empty
// value, an owning value (of the same or another type) and a value bound to a host variable.
//
// Input: label to parse as, starting state, starting label and value, then the text (the rest).
//
// Invariants (each follows from the documented design):
// - parse never changes a bound variable, and afterwards the value owns a value of the given type;
// - the parsed value is exactly what the type's documented read gives on a value-initialised host
//   value, or on the value kept when the Any already owned that type (the scalar and string
//   types read with `is >> value`; a time base reads two unsigned int fields around one separator,
//   a failed field being 0); a second parse of the same text reuses the storage and reads the same;
// - the dictionary and vector types throw NotImplemented from their read, and the Any then holds
//   that type with an empty container (or the container it already owned);
// - a copy has the same type and signature, and compares equal unless it holds a NaN;
// - the signature is the documented byte feed of the value;
// - text round trips where the text form allows it: bool and integers of 16 bits and more read
//   back their own text; an 8-bit character type reads back its character unless it is whitespace
//   (extraction skips it); a string without whitespace reads back whole; a time base whose fields
//   fit in 32 bits reads back both fields; a finite float or double does not keep its value at the
//   default six digits, but its text read back and written again is the same text.

#include "tsfuzzsupport.h"

#include <foundation/tsexception.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>

namespace {

using namespace TsFuzz;

/// What parse must give: `start` read from a default input stream over `text`.
template <class T>
T expectedParse(const std::string& text, T start) {
    std::istringstream stream(text, std::ios_base::in);
    documentedRead(stream, start);
    return start;
}

/// The documented signature feed of a scalar, string or time-base value.
template <class T>
Digest documentedSignature(const T& value) {
    if constexpr (std::is_same_v<T, std::string>) {
        return digestOfBytes(value.data(), value.size());
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        unsigned char bytes[16];
        for (int i = 0; i < 8; ++i) {
            bytes[i] = static_cast<unsigned char>(value.numerator >> (8 * i));
            bytes[8 + i] = static_cast<unsigned char>(value.denominator >> (8 * i));
        }
        return digestOfBytes(bytes, sizeof bytes);
    } else {
        return digestOfBytes(&value, sizeof value);
    }
}

/// Parses `text` into a new Any as `type`.
Any parsedFresh(const std::string& text, const AnyType& type) {
    Any any;
    any.parse(text, type);
    return any;
}

/// The round trips the text form of T allows (see the file comment).
template <class T>
void checkRoundTrip(const T& value, const AnyType& type) {
    Any holder;
    holder.set(value);
    const std::string written = textOf(holder);
    Any back = parsedFresh(written, type);
    const T& reread = back.ref<T>();
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isfinite(value)) {
            TSFUZZ_CHECK(textOf(back) == written, "float text " + escaped(written) + " rewrites as " +
                                                      escaped(textOf(back)));
        }
    } else if constexpr (sizeof(T) == 1 && !std::is_same_v<T, bool>) {
        if (!isStreamSpace(static_cast<char>(value))) {
            TSFUZZ_CHECK(sameBits(reread, value), "character " + show(value) + " reads back as " + show(reread));
        }
    } else if constexpr (std::is_same_v<T, std::string>) {
        if (!containsStreamSpace(value)) {
            TSFUZZ_CHECK(reread == value, "string " + escaped(value) + " reads back as " + escaped(reread));
        }
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        if (value.numerator <= UINT_MAX && value.denominator <= UINT_MAX) {
            TSFUZZ_CHECK(sameBits(reread, value), "time base " + written + " reads back as " + reread.fractionText());
        }
    } else {
        TSFUZZ_CHECK(sameBits(reread, value), "text " + escaped(written) + " reads back as " + show(reread));
    }
}

/// Checks a successful parse of a scalar, string or time-base type.
template <class T>
void checkParsedValue(const Any& any, const AnyType& type, const T& expected, const std::string& text) {
    TSFUZZ_CHECK(any.type() == &type && !any.isEmpty());
    const T& got = any.ref<T>();
    TSFUZZ_CHECK(sameBits(got, expected), "parse of " + escaped(text) + " as " + type.label().getString() +
                                              " gave " + show(got) + ", expected " + show(expected));
    TSFUZZ_CHECK(signatureOf(any) == documentedSignature(got));

    const Any copy(any);
    TSFUZZ_CHECK(copy.type() == any.type() && signatureOf(copy) == signatureOf(any));
    if (!holdsNaN(any)) {
        TSFUZZ_CHECK(copy == any && !(copy != any));
    } else {
        TSFUZZ_CHECK(!(copy == any) && copy != any, "NaN must be unequal to its copy");
    }
    checkRoundTrip(got, type);
}

/// Parses as a container type: NotImplemented from the type's read, the type already taken.
void checkContainerParse(Any& any, const AnyType& type, int label, bool keptContainer, const Digest& keptSignature,
                         const std::string& text) {
    bool thrown = false;
    try {
        any.parse(text, type);
    } catch (const Tessel::Base::NotImplemented& e) {
        thrown = true;
        const std::string* function = e.getValue<std::string>("ThrowFunction");
        const char* expected = label == kDictionary ? "Tessel::Dictionary::Impl::DictionaryType::read"
                                                    : "Tessel::Dictionary::Impl::VectorType::read";
        TSFUZZ_CHECK(function != nullptr && *function == expected);
        TSFUZZ_CHECK(e.userMessage() == "Unimplemented code path.");
    }
    TSFUZZ_CHECK(thrown, "parse as a container must throw NotImplemented");
    TSFUZZ_CHECK(any.type() == &type && !any.isEmpty());
    if (keptContainer) {
        TSFUZZ_CHECK(signatureOf(any) == keptSignature, "the owned container must be kept");
    } else if (label == kDictionary) {
        TSFUZZ_CHECK(any.dict().empty());
    } else {
        TSFUZZ_CHECK(any.vec().empty());
    }
}

enum Start { kEmpty, kOwning, kBound, kOwnText, kStartCount };

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    const int label = static_cast<int>(in.below(kLabelCount));
    const int start = static_cast<int>(in.below(kStartCount));
    const int startLabel = static_cast<int>(in.below(kLabelCount));
    const bool useAlias = in.flag();

    // Declared before the Any, so the bound variables outlive it.
    HostVariables variables;
    Any any;
    // Set when the Any is bound: checks that the variable still holds its starting value.
    std::function<void()> checkBoundUntouched = [] {};

    const auto bindTo = [&](auto& variable, auto value) {
        using V = std::decay_t<decltype(variable)>;
        variable = static_cast<V>(value);
        any = Tessel::Dictionary::BindValue(variable);
        checkBoundUntouched = [&variable, saved = variable] {
            if constexpr (std::is_same_v<V, Dictionary> || std::is_same_v<V, AnyVector>) {
                TSFUZZ_CHECK(variable == saved, "parse changed a bound container");
            } else {
                TSFUZZ_CHECK(sameBits(variable, saved), "parse wrote into a bound variable");
            }
        };
    };

    switch (start) {
    case kOwning:
        any = makeOwned(startLabel, in);
        break;
    case kBound:
        withHostType(startLabel, [&](auto tag) {
            using T = typename decltype(tag)::type;
            // long and unsigned long are aliases of the 64-bit types on this platform.
            if constexpr (std::is_same_v<T, long long>) {
                if (useAlias) {
                    return bindTo(variables.l, in.bits<long long>());
                }
            } else if constexpr (std::is_same_v<T, unsigned long long>) {
                if (useAlias) {
                    return bindTo(variables.ul, in.bits<unsigned long long>());
                }
            }
            bindTo(variables.of<T>(), makeValue<T>(in));
        });
        TSFUZZ_CHECK(!any.isEmpty() && any.type() == &typeOf(startLabel));
        break;
    case kOwnText:
        any = Any(in.text().c_str()); // up to the first NUL, as a C string
        break;
    default:
        break;
    }

    const std::string text = start == kOwnText ? any.ref<std::string>() : in.rest();
    const AnyType& type = typeOf(label);
    const bool ownsSameType = start != kBound && any.type() == &type;

    if (label == kDictionary || label == kVector) {
        const Digest kept = ownsSameType ? signatureOf(any) : Digest{};
        checkContainerParse(any, type, label, ownsSameType, kept, text);
        checkBoundUntouched();
        return 0;
    }

    withHostType(label, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (!std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
            const T expected = expectedParse(text, ownsSameType ? any.ref<T>() : T());
            if (start == kOwnText) {
                // The text lives in the value that parse replaces.
                any.parse(any.ref<std::string>(), type);
            } else {
                any.parse(text, type);
            }
            checkBoundUntouched();
            checkParsedValue(any, type, expected, text);

            // A second parse keeps the storage and reads over the first result.
            const T again = expectedParse(text, any.ref<T>());
            any.parse(text, type);
            checkParsedValue(any, type, again, text);
            checkBoundUntouched();
        }
    });
    return 0;
}
