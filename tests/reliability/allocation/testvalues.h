#ifndef TESSEL_RELIABILITY_TESTVALUES_H
#define TESSEL_RELIABILITY_TESTVALUES_H

// Values whose copies allocate many times: long strings (past the inline buffer of a string) and
// dictionaries and vectors nested in each other.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>

#include <string>
#include <typeinfo>
#include <vector>

namespace Tessel::Reliability {

/// `stem` followed by enough text to need a heap buffer.
std::string longText(const std::string& stem);
/// A long text that nothing in the process has used before.
std::string freshText(const std::string& stem);

/// An Any owning a copy of `value`.
template <class T>
Dictionary::Any holding(const T& value) {
    Dictionary::Any any;
    any.set(value);
    return any;
}

/// Long strings, a number, an empty entry, and a vector and a dictionary with containers inside.
Dictionary::Dictionary richDictionary();
/// Another dictionary of the same shape with other values, and a key richDictionary() lacks.
Dictionary::Dictionary otherDictionary();
/// A long string, a dictionary holding a vector, a vector of a string and a number, a number.
std::vector<Dictionary::Any> richVector();

/// True when `any` refers to `variable` itself rather than owning a copy of it.
template <class T>
bool isBoundTo(const Dictionary::Any& any, const T& variable) {
    return any.type() != nullptr && any.type()->matchesType(typeid(T)) && &any.ref<T>() == &variable;
}

} // namespace Tessel::Reliability

#endif
