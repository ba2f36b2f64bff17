// Counts heap allocations to check the operations that must not allocate.

#include <dictionary/tsany.h>

#include <gtest/gtest.h>

#include "tscountingallocator.h"

#include "tstestsupport.h"

#include <functional>
#include <string>

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;

long allocationsDuring(const std::function<void()>& operation) {
    const long before = Tessel::Testing::allocationCount();
    operation();
    return Tessel::Testing::allocationCount() - before;
}

TEST(AnyAllocation, SameTypeAssignmentDoesNotAllocate) {
    Any target = holding(1);
    const Any source = holding(2);
    EXPECT_EQ(allocationsDuring([&] { target = source; }), 0);
    EXPECT_EQ(target.as<int>(), 2);

    const std::string longText(32, 'x');
    Any text = holding(longText);
    const Any otherText = holding(std::string(32, 'y'));
    // The string already has the capacity, so its own copy does not allocate either.
    EXPECT_EQ(allocationsDuring([&] { text = otherText; }), 0);
}

TEST(AnyAllocation, ConvertingAssignmentAndBindingDoNotAllocate) {
    Any target = holding(1);
    const Any source = holding(2.5);
    target = source; // warm: the name of `double` is interned by now
    EXPECT_EQ(allocationsDuring([&] { target = source; }), 0);

    int variable = 0;
    Any bound{BindValue(variable)};
    EXPECT_EQ(allocationsDuring([&] { bound = BindValue(variable); }), 0);
    EXPECT_EQ(allocationsDuring([&] { bound = source; }), 0);
    EXPECT_EQ(variable, 2);
}

TEST(AnyAllocation, OwningCopyAllocatesOnce) {
    const Any source = holding(7);
    EXPECT_EQ(allocationsDuring([&] { Any copy(source); }), 1);
}

} // namespace
