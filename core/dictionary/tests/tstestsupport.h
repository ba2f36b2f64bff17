#ifndef TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H
#define TESSEL_DICTIONARY_TESTS_TSTESTSUPPORT_H

// Small helpers shared by the dictionary-layer tests.

#include <dictionary/tsany.h>
#include <foundation/tsexception.h>

#include <string>

namespace Tessel::Dictionary::Testing {

/// An Any owning a copy of `value` as the type registered for T.
template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

/// The string item `key` of a caught exception, or "<missing>".
inline std::string item(const Base::ExceptionDecoration& e, const char* key) {
    const std::string* value = e.getValue<std::string>(key);
    return value == nullptr ? std::string("<missing>") : *value;
}

} // namespace Tessel::Dictionary::Testing

#endif
