#ifndef TESSEL_TESTS_SUPPORT_TSEXACTEQUAL_H
#define TESSEL_TESTS_SUPPORT_TSEXACTEQUAL_H

// Exact equality of two values for round-trip checks, where Any::operator== is too loose (25/1
// equals 50/2) and too strict (NaN differs from itself).

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <cmath>
#include <vector>

namespace Tessel::Testing {

template <class T>
bool sameFloating(T a, T b) {
    return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
}

/// Same label and same content: NaN equals NaN, -0.0 differs from 0.0, a time base compares its
/// numerator and denominator, dictionaries compare key by key in order, empty values are equal.
inline bool exactlyEqual(const Dictionary::Any& a, const Dictionary::Any& b) {
    using Dictionary::Any;
    if (a.isEmpty() || b.isEmpty()) {
        return a.isEmpty() && b.isEmpty();
    }
    if (a.type() != b.type()) {
        return false;
    }
    const Dictionary::AnyType& type = *a.type();
    if (type.matchesType(typeid(float))) {
        return sameFloating(a.ref<float>(), b.ref<float>());
    }
    if (type.matchesType(typeid(double))) {
        return sameFloating(a.ref<double>(), b.ref<double>());
    }
    if (type.matchesType(typeid(Base::TimeBase))) {
        const Base::TimeBase& x = a.ref<Base::TimeBase>();
        const Base::TimeBase& y = b.ref<Base::TimeBase>();
        return x.numerator == y.numerator && x.denominator == y.denominator;
    }
    if (type.matchesType(typeid(std::vector<Any>))) {
        const std::vector<Any>& x = a.vec();
        const std::vector<Any>& y = b.vec();
        for (std::size_t i = 0; i < x.size() && x.size() == y.size(); ++i) {
            if (!exactlyEqual(x[i], y[i])) {
                return false;
            }
        }
        return x.size() == y.size();
    }
    if (type.matchesType(typeid(Dictionary::Dictionary))) {
        const Dictionary::Dictionary& x = a.dict();
        const Dictionary::Dictionary& y = b.dict();
        if (x.size() != y.size()) {
            return false;
        }
        for (auto i = x.begin(), j = y.begin(); i != x.end(); ++i, ++j) {
            if (i->first != j->first || !exactlyEqual(i->second, j->second)) {
                return false;
            }
        }
        return true;
    }
    return a == b; // the other built-in types, and host types, compare exactly by their own ==
}

} // namespace Tessel::Testing

#endif
