#ifndef TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H
#define TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H

// Helpers of the dictionary-layer tables: values in one expression, a value shown as
// "label:text", the class of what an operation threw, and signature digests.

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Dictionary::Testing {

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

inline Any vectorOf(std::initializer_list<Any> elements) {
    return holding(std::vector<Any>(elements));
}

inline Any ints(std::initializer_list<int> values) {
    std::vector<Any> elements;
    for (const int value : values) {
        elements.push_back(holding(value));
    }
    return holding(elements);
}

inline Dictionary dictOf(std::initializer_list<std::pair<const char*, Any>> entries) {
    Dictionary dictionary;
    for (const auto& [key, value] : entries) {
        dictionary[Dictionary::Key(key)] = value;
    }
    return dictionary;
}

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

// One row of a behaviour table: what it shows, how to get the result as text, and that text.
struct Row {
    const char* reason;
    std::function<std::string()> run;
    std::string expected;
};

inline void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(row.run(), row.expected) << row.reason;
    }
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
