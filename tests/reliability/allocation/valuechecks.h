#ifndef TESSEL_RELIABILITY_VALUECHECKS_H
#define TESSEL_RELIABILITY_VALUECHECKS_H

// gtest checks of what a failed operation left in a value.

#include <dictionary/tsany.h>

#include <gtest/gtest.h>

namespace Tessel::Reliability {

/// Expects `actual` to hold the very type object of `expected` and an equal value (two empty
/// values are the same).
inline void expectSameValue(const Dictionary::Any& actual, const Dictionary::Any& expected) {
    EXPECT_EQ(actual.type(), expected.type()) << "the type changed";
    EXPECT_TRUE(actual == expected) << "the value changed";
}

/// Expects `any` to hold nothing.
inline void expectEmpty(const Dictionary::Any& any) {
    EXPECT_TRUE(any.isEmpty()) << "the value is not empty";
    EXPECT_EQ(any.type(), nullptr) << "an empty value has a type";
}

} // namespace Tessel::Reliability

#endif
