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
/// numerator and denominator, containers compare element by element and key by key in order.
inline bool exactlyEqual(const Dictionary::Any& a, const Dictionary::Any& b) {
    if (a.isEmpty() || b.isEmpty() || a.type() != b.type()) {
        return a.isEmpty() && b.isEmpty();
    }
    const Dictionary::AnyType& type = *a.type();
    if (type.matchesType(typeid(float)) || type.matchesType(typeid(double))) {
        return type.matchesType(typeid(float)) ? sameFloating(a.ref<float>(), b.ref<float>())
                                               : sameFloating(a.ref<double>(), b.ref<double>());
    }
    if (type.matchesType(typeid(Base::TimeBase))) {
        const Base::TimeBase &x = a.ref<Base::TimeBase>(), &y = b.ref<Base::TimeBase>();
        return x.numerator == y.numerator && x.denominator == y.denominator;
    }
    if (type.matchesType(typeid(std::vector<Dictionary::Any>))) {
        const auto &x = a.vec(), &y = b.vec();
        bool same = x.size() == y.size();
        for (std::size_t i = 0; same && i < x.size(); ++i) {
            same = exactlyEqual(x[i], y[i]);
        }
        return same;
    }
    if (type.matchesType(typeid(Dictionary::Dictionary))) {
        const auto &x = a.dict(), &y = b.dict();
        bool same = x.size() == y.size();
        for (auto i = x.begin(), j = y.begin(); same && i != x.end(); ++i, ++j) {
            same = i->first == j->first && exactlyEqual(i->second, j->second);
        }
        return same;
    }
    return a == b; // the other built-in types, and host types, compare exactly by their own ==
}

} // namespace Tessel::Testing

#endif
