// Exact assignment: the designed assignment, refused where a conversion would change the value;
// the fraction checks of the time-base casts; the registry's list of casts.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using Base::ExceptionInfo;

constexpr const char kAssignExact[] = "Tessel::Dictionary::Any::assignExact";

const AnyCast* findCast(const AnyCastTable* table, const TypeAtom& key) {
    if (table == nullptr) {
        return nullptr;
    }
    auto found = table->find(key);
    return found == table->end() ? nullptr : found->second;
}

// The value as the exception's "Value" item: numbers in full precision, the 8-bit types as
// numbers rather than as characters.
std::string valueText(const Any& value) {
    const AnyType& type = *value.type();
    std::ostringstream text;
    text.precision(type.matchesType(typeid(float)) ? std::numeric_limits<float>::max_digits10
                                                   : std::numeric_limits<double>::max_digits10);
    if (type.matchesType(typeid(char))) {
        text << static_cast<int>(value.ref<char>());
    } else if (type.matchesType(typeid(signed char))) {
        text << static_cast<int>(value.ref<signed char>());
    } else if (type.matchesType(typeid(unsigned char))) {
        text << static_cast<int>(value.ref<unsigned char>());
    } else {
        try {
            value.write(text);
        } catch (const Base::Exception&) {
            return "(no text form)";
        }
    }
    return text.str();
}

} // namespace

// Every check runs before anything is written: the first reason why `*this = other` would not
// store exactly what `other` holds is thrown with nothing changed. Nested vectors are walked with
// an explicit stack, since values may nest far deeper than the call stack allows.
Any& Any::assignExact(const Any& other) {
    if (&other == this) {
        return *this;
    }
    std::vector<std::pair<const Any*, const Any*>> pending{{this, &other}};
    while (!pending.empty()) {
        const auto [target, from] = pending.back();
        pending.pop_back();
        if (target == from || target->mType == nullptr) {
            continue; // an empty target takes a copy of whatever comes
        }
        if (from->mType == target->mType) {
            if (!target->mType->matchesType(typeid(std::vector<Any>))) {
                continue; // one type: copied as it is
            }
            // The vector's copy assignment assigns element by element only while the target has
            // room for the whole source; otherwise every element is replaced by a copy.
            const auto& to = *static_cast<const std::vector<Any>*>(target->mValue);
            const auto& elements = *static_cast<const std::vector<Any>*>(from->mValue);
            if (to.capacity() >= elements.size()) {
                for (std::size_t i = 0; i < to.size() && i < elements.size(); ++i) {
                    pending.emplace_back(&to[i], &elements[i]);
                }
            }
            continue;
        }
        if (from->mType == nullptr) {
            TS_THROW(AnyNullException, kAssignExact);
        }
        const AnyCast* cast = findCast(target->mType->mCastsTo, from->mType->name());
        const ExceptionInfo<std::string> fromType("FromType", Base::readableTypeName(from->mType->name().getString()));
        const ExceptionInfo<std::string> toType("ToType", Base::readableTypeName(target->mType->name().getString()));
        if (cast == nullptr) {
            TS_THROW(AnyCastException, kAssignExact, fromType, toType);
        }
        if (!cast->preserves(from->mValue)) {
            const ExceptionInfo<std::string> value("Value", valueText(*from));
            TS_THROW(AnyInexactConversionException, kAssignExact, fromType, toType, value);
        }
    }
    return *this = other;
}

AnyInexactConversionException::AnyInexactConversionException() {
    *this << ExceptionInfo<std::string>("UserMessage", "Can't store the value '%%(Value)%%' of type '%%(FromType)%%' "
                                                       "as type '%%(ToType)%%' without changing it.");
}
AnyInexactConversionException::~AnyInexactConversionException() = default;

std::vector<const AnyCast*> AnyTypeRegistry::casts() {
    const AnyTypeRegistry& registry = get();
    std::vector<const AnyCast*> all;
    for (const auto& bySource : registry.castsBySource) {
        for (const auto& byTarget : bySource.second) {
            if (byTarget.second != nullptr) {
                all.push_back(byTarget.second);
            }
        }
    }
    return all;
}

// --- fraction checks of the time-base casts -------------------------------------------------------

bool Impl::fractionEqualsNumber(unsigned long long numerator, unsigned long long denominator,
                                double value) noexcept {
    if (denominator == 0 || !std::isfinite(value) || value < 0.0) {
        return false;
    }
    if (value == 0.0) {
        return numerator == 0;
    }
    // value = odd * 2^exponent with `odd` an odd integer; in lowest terms the fraction must be
    // odd * 2^exponent over 1, or odd over 2^-exponent.
    int exponent = 0;
    const double mantissa = std::frexp(value, &exponent);
    auto odd = static_cast<unsigned long long>(std::ldexp(mantissa, std::numeric_limits<double>::digits));
    exponent -= std::numeric_limits<double>::digits;
    while ((odd & 1U) == 0) {
        odd >>= 1U;
        ++exponent;
    }
    const unsigned long long divisor = std::gcd(numerator, denominator);
    const unsigned long long reducedNumerator = numerator / divisor;
    const unsigned long long reducedDenominator = denominator / divisor;
    if (exponent >= 0) {
        return reducedDenominator == 1 && exponent < 64 &&
               odd <= (std::numeric_limits<unsigned long long>::max() >> exponent) &&
               reducedNumerator == (odd << exponent);
    }
    return reducedNumerator == odd && -exponent < 64 && reducedDenominator == (1ULL << -exponent);
}

bool Impl::fractionEqualsInteger(unsigned long long numerator, unsigned long long denominator,
                                 long long value) noexcept {
    return denominator != 0 && value >= 0 && numerator % denominator == 0 &&
           numerator / denominator == static_cast<unsigned long long>(value);
}

} // namespace Tessel::Dictionary
