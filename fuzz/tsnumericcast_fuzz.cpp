// Fuzz target: conversions of arbitrary bit patterns between every pair of value types, through
// Any assignment (owning and bound targets, owning and bound sources, the long and unsigned long
// aliases included), the typed reads get<T> and as<T> into every numeric host type, TimeBase and
// std::string, and assignment of C strings.
//
// Input: source label, target label, modes (empty, owning, bound; alias or not), the two starting
// values, a C string (length byte, then text).
//
// Invariants (each follows from the documented design):
// - a conversion gives exactly the documented value, computed here independently: identity for
//   the same type; zero or not for bool (NaN is true, -0.0 false); wrap-around to the target's low
//   bits between integers, sign- or zero-extended by the source's signedness; the nearest value for
//   integer to floating point; truncation toward zero for floating point to integer, saturating at
//   the target's minimum or maximum and 0 for NaN; IEEE rounding (infinity beyond range) for double
//   to float; int and unsigned int to TimeBase as the unsigned 32 bits over 1; float and double to
//   TimeBase as TimeBase(float); TimeBase to bool, int, unsigned int, float and double as
//   roundedRate() != 0, roundedRate() narrowed, rate();
// - where no cast exists (strings and numbers, containers, other pairs with TimeBase) the operation
//   throws AnyCastException naming both types from castToMine or castFromMine and leaves the target
//   value (or the caller's variable) untouched; an empty source throws AnyNullException, leaving the
//   target untouched, or makes an empty target stay empty;
// - an empty target takes an owned copy of the source's type and value; a typed target keeps its
//   type, and a bound target stays bound to the same variable, which receives the value;
// - get<T> and as<T> agree; a copy of the result signs as its stored bytes and compares equal to it
//   unless it is a NaN;
// - a conversion into a type that holds every source value and back again gives the source value
//   (NaN stays NaN).

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>
#include <foundation/tsreadabletypename.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace {

using namespace TsFuzz;
using Tessel::Dictionary::AnyCastException;
using Tessel::Dictionary::AnyNullException;
using Tessel::Dictionary::BindValue;

/// The documented numeric conversion, written independently of the library's.
template <class To, class From>
To expectedNumber(From value) {
    if constexpr (std::is_same_v<To, From>) {
        return value;
    } else if constexpr (std::is_same_v<To, bool>) {
        return value != 0; // NaN compares unequal to 0, so it is true
    } else if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        if (std::isnan(value)) {
            return To(0);
        }
        const long double truncated = std::trunc(static_cast<long double>(value));
        if (truncated < static_cast<long double>(std::numeric_limits<To>::min())) {
            return std::numeric_limits<To>::min();
        }
        if (truncated > static_cast<long double>(std::numeric_limits<To>::max())) {
            return std::numeric_limits<To>::max();
        }
        return static_cast<To>(truncated);
    } else {
        return static_cast<To>(value);
    }
}

template <class T, class... Candidates>
constexpr bool kIsOneOf = (std::is_same_v<T, Candidates> || ...);

/// The documented result of converting `value` to To, or nothing when no cast is registered.
template <class To, class From>
std::optional<To> expectedCast(const From& value) {
    if constexpr (std::is_same_v<To, From>) {
        return value;
    } else if constexpr (std::is_arithmetic_v<To> && std::is_arithmetic_v<From>) {
        return expectedNumber<To>(value);
    } else if constexpr (std::is_same_v<To, TimeBase> && kIsOneOf<From, int, unsigned int>) {
        TimeBase t;
        t.set(static_cast<unsigned long long>(static_cast<unsigned int>(value)), 1ULL);
        return t;
    } else if constexpr (std::is_same_v<To, TimeBase> && std::is_floating_point_v<From>) {
        return TimeBase(static_cast<float>(value));
    } else if constexpr (std::is_same_v<From, TimeBase> && std::is_same_v<To, bool>) {
        return value.roundedRate() != 0;
    } else if constexpr (std::is_same_v<From, TimeBase> && kIsOneOf<To, int, unsigned int>) {
        return static_cast<To>(value.roundedRate());
    } else if constexpr (std::is_same_v<From, TimeBase> && std::is_floating_point_v<To>) {
        return static_cast<To>(value.rate());
    } else {
        return std::nullopt;
    }
}

/// Compares as stored bytes; a NaN matches any NaN (conversions may quiet a signalling one).
template <class T>
bool sameValue(const T& a, const T& b) {
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(a) || std::isnan(b)) {
            return std::isnan(a) && std::isnan(b);
        }
    }
    return sameBits(a, b);
}

/// Checks that a failed conversion threw the documented exception.
void checkCastException(const AnyCastException& e, const char* function, const std::string& from,
                        const std::string& to) {
    const std::string* where = e.getValue<std::string>("ThrowFunction");
    TSFUZZ_CHECK(where != nullptr && *where == function);
    const std::string* fromType = e.getValue<std::string>("FromType");
    const std::string* toType = e.getValue<std::string>("ToType");
    TSFUZZ_CHECK(fromType != nullptr && *fromType == from, "FromType " + (fromType ? *fromType : "missing"));
    TSFUZZ_CHECK(toType != nullptr && *toType == to, "ToType " + (toType ? *toType : "missing"));
}

/// Signature and copy of a value that holds a T.
template <class T>
void checkHeld(const Any& any, const T& expected) {
    const T& held = any.ref<T>();
    TSFUZZ_CHECK(sameValue(held, expected), "holds " + show(held) + ", expected " + show(expected));
    if constexpr (std::is_arithmetic_v<T>) {
        TSFUZZ_CHECK(signatureOf(any) == digestOfBytes(&held, sizeof held));
    }
    const Any copy(any);
    TSFUZZ_CHECK(signatureOf(copy) == signatureOf(any));
    TSFUZZ_CHECK((copy == any) == !holdsNaN(any));
}

/// Reads `source` (holding S) as every host type with get<T> and as<T>.
template <class S>
void checkTypedReads(const Any& source, const S& value, FuzzInput& in) {
    const auto readAs = [&](auto tag) {
        using T = typename decltype(tag)::type;
        T start{};
        if constexpr (std::is_arithmetic_v<T>) {
            start = in.bits<T>();
        }
        T variable = start;
        const std::optional<T> expected = expectedCast<T>(value);
        bool thrown = false;
        try {
            source.get(variable);
        } catch (const AnyCastException& e) {
            thrown = true;
            checkCastException(e, "Tessel::Dictionary::AnyType::castFromMine",
                               Tessel::Base::readableTypeName(source.type()->name().getString()),
                               Tessel::Base::readableTypeName(typeid(T)));
        }
        if (!expected) {
            TSFUZZ_CHECK(thrown, "get<" + Tessel::Base::readableTypeName(typeid(T)) + "> from " +
                                     source.type()->label().getString() + " needs no cast?");
            TSFUZZ_CHECK(sameBits(variable, start), "a failed get must leave the variable untouched");
            return;
        }
        TSFUZZ_CHECK(!thrown);
        TSFUZZ_CHECK(sameValue(variable, *expected), "get<" + Tessel::Base::readableTypeName(typeid(T)) + "> of " +
                                                          show(value) + " gave " + show(variable) + ", expected " +
                                                          show(*expected));
        const T viaAs = source.as<T>();
        TSFUZZ_CHECK(sameBits(viaAs, variable), "as<T> and get<T> differ");
    };
    readAs(Tag<bool>{});
    readAs(Tag<char>{});
    readAs(Tag<signed char>{});
    readAs(Tag<unsigned char>{});
    readAs(Tag<short>{});
    readAs(Tag<unsigned short>{});
    readAs(Tag<int>{});
    readAs(Tag<unsigned int>{});
    readAs(Tag<long>{});
    readAs(Tag<unsigned long>{});
    readAs(Tag<long long>{});
    readAs(Tag<unsigned long long>{});
    readAs(Tag<float>{});
    readAs(Tag<double>{});
    readAs(Tag<TimeBase>{});
    readAs(Tag<std::string>{});
}

/// True when every value of From survives a trip through To and back.
template <class From, class To>
constexpr bool losslessThrough() {
    if constexpr (std::is_same_v<From, To>) {
        return true;
    } else if constexpr (std::is_same_v<From, bool>) {
        return std::is_arithmetic_v<To>;
    } else if constexpr (std::is_integral_v<From> && std::is_integral_v<To> && !std::is_same_v<To, bool>) {
        return std::is_signed_v<From> == std::is_signed_v<To> ? sizeof(To) >= sizeof(From)
                                                                : !std::is_signed_v<From> && sizeof(To) > sizeof(From);
    } else if constexpr (std::is_integral_v<From> && std::is_floating_point_v<To>) {
        return std::numeric_limits<To>::digits >= static_cast<int>(sizeof(From) * CHAR_BIT);
    } else if constexpr (std::is_same_v<From, float> && std::is_same_v<To, double>) {
        return true;
    } else {
        return false;
    }
}

enum Mode { kEmpty, kOwned, kBound };

/// Binds `any` to the variable of label `label` in `variables` (or its alias), set to `value`.
template <class T>
void bindVariable(Any& any, HostVariables& variables, const T& value, bool alias) {
    if constexpr (std::is_same_v<T, long long>) {
        if (alias) {
            variables.l = static_cast<long>(value);
            any = BindValue(variables.l);
            return;
        }
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        if (alias) {
            variables.ul = static_cast<unsigned long>(value);
            any = BindValue(variables.ul);
            return;
        }
    }
    variables.of<T>() = value;
    any = BindValue(variables.of<T>());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    // Mostly the twelve numeric labels; the others show where no cast exists.
    const auto pickLabel = [&in] {
        const std::size_t choice = in.below(32);
        return static_cast<int>(choice < 24 ? choice % 12 : kString + (choice - 24) % 4);
    };
    const int sourceLabel = pickLabel();
    const int targetLabel = pickLabel();
    const std::uint8_t modes = in.byte();
    const int sourceMode = (modes & 3) % 3;
    const int targetMode = ((modes >> 2) & 3) % 3;
    const bool sourceAlias = (modes & 16) != 0;
    const bool targetAlias = (modes & 32) != 0;

    // Variables first: they outlive the values bound to them.
    HostVariables sourceVariables;
    HostVariables targetVariables;
    Any source;
    Any target;

    withHostType(sourceLabel, [&](auto tag) {
        using S = typename decltype(tag)::type;
        const S value = makeValue<S>(in);
        if (sourceMode == kOwned) {
            source.set(value);
        } else if (sourceMode == kBound) {
            bindVariable(source, sourceVariables, value, sourceAlias);
        }
    });
    withHostType(targetLabel, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T value = makeValue<T>(in);
        if (targetMode == kOwned) {
            target.set(value);
        } else if (targetMode == kBound) {
            bindVariable(target, targetVariables, value, targetAlias);
        }
    });
    const std::string text = in.text();

    // --- typed reads out of the source ---
    if (!source.isEmpty()) {
        withHostType(sourceLabel, [&](auto tag) {
            using S = typename decltype(tag)::type;
            if constexpr (!std::is_same_v<S, Dictionary> && !std::is_same_v<S, AnyVector>) {
                checkTypedReads(source, source.ref<S>(), in);
            }
        });
    } else {
        bool thrown = false;
        try {
            (void)source.as<int>();
        } catch (const AnyNullException&) {
            thrown = true;
        }
        TSFUZZ_CHECK(thrown, "get from an empty value must throw AnyNullException");
    }

    // --- assignment of the source into the target ---
    const Digest targetBefore = signatureOf(target);
    const AnyType* targetType = target.type();
    if (target.isEmpty()) {
        target = source;
        TSFUZZ_CHECK(target.type() == source.type(), "an empty target takes the source's type");
        if (!source.isEmpty()) {
            TSFUZZ_CHECK(signatureOf(target) == signatureOf(source));
            TSFUZZ_CHECK((target == source) == !holdsNaN(source));
        }
        return 0;
    }
    if (source.isEmpty()) {
        bool thrown = false;
        try {
            target = source;
        } catch (const AnyNullException&) {
            thrown = true;
        }
        TSFUZZ_CHECK(thrown && target.type() == targetType && signatureOf(target) == targetBefore,
                     "assigning an empty value must throw and leave the target");
        return 0;
    }

    withHostType(sourceLabel, [&](auto sourceTag) {
        using S = typename decltype(sourceTag)::type;
        withHostType(targetLabel, [&](auto targetTag) {
            using T = typename decltype(targetTag)::type;
            if constexpr (!std::is_same_v<S, Dictionary> && !std::is_same_v<S, AnyVector> &&
                          !std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
                const S value = source.ref<S>();
                const T* heldAddress = &target.ref<T>();
                const std::optional<T> expected = expectedCast<T>(value);
                bool thrown = false;
                try {
                    target = source;
                } catch (const AnyCastException& e) {
                    thrown = true;
                    checkCastException(e, "Tessel::Dictionary::AnyType::castToMine",
                                       Tessel::Base::readableTypeName(source.type()->name().getString()),
                                       Tessel::Base::readableTypeName(target.type()->name().getString()));
                }
                TSFUZZ_CHECK(target.type() == targetType && &target.ref<T>() == heldAddress,
                             "an assignment must keep the target's type and storage");
                if (!expected) {
                    TSFUZZ_CHECK(thrown, "no cast from " + source.type()->label().getString() + " to " +
                                             target.type()->label().getString() + " was expected");
                    TSFUZZ_CHECK(signatureOf(target) == targetBefore, "a failed assignment must leave the target");
                    return;
                }
                TSFUZZ_CHECK(!thrown);
                checkHeld(target, *expected);

                // Back again where the target type holds every source value.
                if constexpr (std::is_arithmetic_v<S> && std::is_arithmetic_v<T>) {
                    if constexpr (losslessThrough<S, T>()) {
                        Any back;
                        back.set(S());
                        back = target;
                        TSFUZZ_CHECK(sameValue(back.ref<S>(), value),
                                     show(value) + " came back as " + show(back.ref<S>()));
                    }
                }
            } else {
                // Containers take no conversions: only the same container type assigns.
                bool thrown = false;
                try {
                    target = source;
                } catch (const AnyCastException&) {
                    thrown = true;
                }
                TSFUZZ_CHECK(thrown == (source.type() != target.type()));
                TSFUZZ_CHECK(target.type() == targetType);
                if (thrown) {
                    TSFUZZ_CHECK(signatureOf(target) == targetBefore);
                }
            }
        });
    });

    // --- C-string assignment: only a string target takes text ---
    const Digest beforeText = signatureOf(target);
    bool thrown = false;
    try {
        target = text.c_str();
    } catch (const AnyCastException&) {
        thrown = true;
    }
    if (target.type() == &typeOf(kString)) {
        TSFUZZ_CHECK(!thrown && target.ref<std::string>() == std::string(text.c_str()));
    } else {
        TSFUZZ_CHECK(thrown && signatureOf(target) == beforeText, "text must not convert to a number");
    }
    return 0;
}
