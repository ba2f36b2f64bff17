// Checked text: parseExact reads a text as exactly one value of a type or throws
// AnyParseException without changing anything; exactText writes the text that reads back.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tstimebase.h>

#include <charconv>
#include <cstddef>
#include <istream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using Base::ExceptionInfo;
using Base::TimeBase;

template <class T>
struct HostTag {
    using type = T;
};

// Calls `visit(HostTag<T>{})` for the built-in host type T of `type` and returns true; false for
// any other type. The host type, not the label, decides: it is what the type's storage holds.
template <class Visit>
bool visitBuiltIn(const AnyType& type, Visit&& visit) {
    const auto is = [&type](auto tag) { return type.matchesType(typeid(typename decltype(tag)::type)); };
    const auto tryEach = [&](auto... tags) { return ((is(tags) && (visit(tags), true)) || ...); };
    return tryEach(HostTag<int>{}, HostTag<double>{}, HostTag<std::string>{}, HostTag<bool>{},
                   HostTag<long long>{}, HostTag<unsigned long long>{}, HostTag<unsigned int>{},
                   HostTag<float>{}, HostTag<TimeBase>{}, HostTag<short>{}, HostTag<unsigned short>{},
                   HostTag<signed char>{}, HostTag<unsigned char>{}, HostTag<char>{});
}

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The readers below give null on success, otherwise why the text is not a value.

template <class T>
std::string rangeReason() {
    return "it is outside the range " + std::to_string(std::numeric_limits<T>::min()) + " to " +
           std::to_string(std::numeric_limits<T>::max());
}

// Whole text as one number of type T (an integer in decimal, or a floating-point number in
// decimal or scientific notation, nan or inf). from_chars takes no "+", no blanks, no hex
// prefix and no locale, and reports values beyond T's range.
template <class T>
std::string readNumber(std::string_view text, T& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc::result_out_of_range && stop == end) {
        if constexpr (std::is_integral_v<T>) {
            return rangeReason<T>();
        } else {
            return "its magnitude is beyond what the type holds, or too small to tell from zero";
        }
    }
    if (error != std::errc() || stop != end) {
        return std::is_integral_v<T> ? "it is not a decimal integer" : "it is not a decimal number";
    }
    return {};
}

std::string readBool(std::string_view text, bool& value) {
    if (text == "true" || text == "1") {
        value = true;
    } else if (text == "false" || text == "0") {
        value = false;
    } else {
        return "it is none of true, false, 1 and 0";
    }
    return {};
}

bool allDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// "num/den" with unsigned 64-bit integers, an integer rate "25" (exactly 25/1), or a decimal rate
// "29.97", given to TimeBase(float), which picks the fraction (30000/1001).
std::string readTimeBase(std::string_view text, TimeBase& value) {
    static const std::string kForms = "it is none of a rate such as 25 or 29.97 and a fraction num/den";
    const std::size_t slash = text.find('/');
    if (slash != std::string_view::npos) {
        const std::string_view num = text.substr(0, slash);
        const std::string_view den = text.substr(slash + 1);
        if (!allDigits(num) || !allDigits(den)) {
            return kForms;
        }
        unsigned long long n = 0;
        unsigned long long d = 0;
        if (!readNumber(num, n).empty() || !readNumber(den, d).empty()) {
            return "a field is outside the range 0 to " + std::to_string(std::numeric_limits<unsigned long long>::max());
        }
        value.set(n, d);
        return {};
    }
    if (allDigits(text)) {
        unsigned long long rate = 0;
        std::string reason = readNumber(text, rate);
        if (reason.empty()) {
            value.set(rate, 1ULL);
        }
        return reason;
    }
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos || !allDigits(text.substr(0, point)) || !allDigits(text.substr(point + 1))) {
        return kForms;
    }
    float rate = 0;
    std::string reason = readNumber(text, rate);
    if (reason.empty()) {
        value = TimeBase(rate);
    }
    return reason;
}

// The whole text through a host type's own read, under the classic locale.
std::string readWithType(std::string_view text, const AnyType& type, Any& value) {
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    type.read(stream, value);
    if (stream.fail() || stream.peek() != std::istringstream::traits_type::eof()) {
        return "the type's read does not take it as one whole value";
    }
    return {};
}

} // namespace

void Any::parseExact(const std::string& text, const AnyType& type) {
    // The value is read into storage of its own first, so that a failure changes nothing.
    Any parsed;
    parsed.mValue = type.newValue();
    parsed.mOwned = parsed.mValue;
    parsed.mType = &type;

    std::string reason;
    const bool builtIn = visitBuiltIn(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T& value = *static_cast<T*>(parsed.mValue);
        if constexpr (std::is_same_v<T, std::string>) {
            value = text;
        } else if constexpr (std::is_same_v<T, char>) {
            if (text.size() == 1) {
                value = text[0];
            } else {
                reason = "it is not exactly one character";
            }
        } else if constexpr (std::is_same_v<T, bool>) {
            reason = readBool(withoutBlanks(text), value);
        } else if constexpr (std::is_same_v<T, TimeBase>) {
            reason = readTimeBase(withoutBlanks(text), value);
        } else {
            reason = readNumber(withoutBlanks(text), value);
        }
    });
    if (!builtIn) {
        if (type.matchesType(typeid(Dictionary)) || type.matchesType(typeid(std::vector<Any>))) {
            reason = "values of this type have no text form";
        } else {
            reason = readWithType(withoutBlanks(text), type, parsed);
        }
    }
    if (!reason.empty()) {
        const ExceptionInfo<std::string> textItem("Text", text);
        const ExceptionInfo<std::string> typeItem("Type", type.label().getString());
        const ExceptionInfo<std::string> reasonItem("Reason", reason);
        TS_THROW(AnyParseException, "Tessel::Dictionary::Any::parseExact", textItem, typeItem, reasonItem);
    }

    if (mType == &type) {
        // In place, through to a bound variable.
        type.copyValue(parsed.mValue, mValue);
        return;
    }
    clear();
    mType = parsed.mType;
    mValue = parsed.mValue;
    mOwned = parsed.mOwned;
    parsed.mType = nullptr;
    parsed.mValue = nullptr;
    parsed.mOwned = nullptr;
}

std::string Any::exactText() const {
    if (mType == nullptr) {
        TS_THROW(AnyNullException, "Tessel::Dictionary::Any::exactText");
    }
    std::string text;
    const bool builtIn = visitBuiltIn(*mType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T& value = *static_cast<const T*>(mValue);
        if constexpr (std::is_same_v<T, std::string>) {
            text = value;
        } else if constexpr (std::is_same_v<T, char>) {
            text.assign(1, value);
        } else if constexpr (std::is_same_v<T, bool>) {
            text = value ? "true" : "false";
        } else if constexpr (std::is_same_v<T, TimeBase>) {
            text = value.fractionText();
        } else {
            // Integers in decimal; floating point with the shortest digits that read back exactly.
            char digits[64];
            const auto written = std::to_chars(digits, digits + sizeof digits, value);
            text.assign(digits, written.ptr);
        }
    });
    if (builtIn) {
        return text;
    }
    if (mType->matchesType(typeid(Dictionary)) || mType->matchesType(typeid(std::vector<Any>))) {
        TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Any::exactText");
    }
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    write(stream);
    return stream.str();
}

AnyParseException::AnyParseException() {
    *this << ExceptionInfo<std::string>("UserMessage", "Can't read '%%(Text)%%' as %%(Type)%%: %%(Reason)%%.");
}
AnyParseException::~AnyParseException() = default;

} // namespace Tessel::Dictionary
