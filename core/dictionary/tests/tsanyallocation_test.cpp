// Counts heap allocations to check the operations that must not allocate.

#include <dictionary/tsany.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

namespace {
std::atomic<long> gAllocations{0};
} // namespace

void* operator new(std::size_t size) {
    ++gAllocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;

long allocationsDuring(const std::function<void()>& operation) {
    const long before = gAllocations.load();
    operation();
    return gAllocations.load() - before;
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
