#ifndef TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H
#define TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H

// Helpers of the dictionary-layer tests: values made in one expression, a value shown as
// "label:text", the class of what an operation threw, and signature digests.

#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tessel::Dictionary::Testing {

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

// A vector of these elements, each converted as Any's value constructors do.
template <class... T>
Any vectorOf(const T&... elements) {
    return holding(std::vector<Any>{Any(elements)...});
}

inline Dictionary dictOf(std::initializer_list<std::pair<const char*, Any>> entries) {
    Dictionary dictionary;
    for (const auto& [key, value] : entries) {
        dictionary[Dictionary::Key(key)] = value;
    }
    return dictionary;
}

// The sixteen built-in labels in the order the library interns them when it loads.
inline const TypeAtom* const kBuiltinLabels[] = {
    &gTypeLabelBool,  &gTypeLabelChar,          &gTypeLabelInt8,   &gTypeLabelUnsignedInt8,  &gTypeLabelInt16,
    &gTypeLabelUnsignedInt16, &gTypeLabelInt32, &gTypeLabelUnsignedInt32, &gTypeLabelInt64, &gTypeLabelUnsignedInt64,
    &gTypeLabelFloat, &gTypeLabelDouble,        &gTypeLabelString, &gTypeLabelDictionary,    &gTypeLabelVector,
    &gTypeLabelTimeBase};

inline const AnyType& typeLabelled(const char* label) {
    if (const AnyType* type = AnyTypeRegistry::typeByLabel(TypeAtom(label))) {
        return *type;
    }
    throw std::logic_error(std::string("no type is registered under ") + label);
}

// "empty", or the label and the text form ("int32:42"); containers show their size ("vector:[3]").
inline std::string show(const Any& any) {
    if (any.isEmpty()) {
        return "empty";
    }
    std::ostringstream text;
    text << any.type()->label().getString() << ':';
    if (any.type()->label() == gTypeLabelDictionary) {
        text << '[' << any.dict().size() << ']';
    } else if (any.type()->label() == gTypeLabelVector) {
        text << '[' << any.vec().size() << ']';
    } else {
        any.write(text);
    }
    return text.str();
}

// The class (without namespace) of the library exception `operation` throws, or "ok"; then, if
// given, what `after` holds once the operation is over.
inline std::string attempt(const std::function<void()>& operation, const Any* after = nullptr) {
    std::string outcome = "ok";
    try {
        operation();
    } catch (const Base::Exception& e) {
        const std::string* name = e.getValue<std::string>("ExceptionClass");
        outcome = name == nullptr ? "unnamed" : name->substr(name->rfind(':') + 1);
    }
    return after == nullptr ? outcome : outcome + " " + show(*after);
}

inline Base::SkeinHash::Digest digestOf(const std::string& bytes) {
    return Base::SkeinHash::Engine().update(bytes.data(), bytes.size()).digest();
}

template <class Value>
Base::SkeinHash::Digest signatureOf(const Value& value) {
    Base::SkeinHash::Engine engine;
    return value.signature(engine).digest();
}

} // namespace Tessel::Dictionary::Testing

#endif
