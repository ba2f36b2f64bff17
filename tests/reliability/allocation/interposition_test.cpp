// The replaced allocation functions must also serve the shared library, or no failure injected
// here would ever reach its code.

#include "failinjection.h"
#include "testvalues.h"

#include <dictionary/tsany.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <new>
#include <string>

namespace {

using namespace Tessel::Reliability;
using Tessel::Dictionary::Any;

// The file name of the loaded object that holds `address`.
std::string objectHolding(const void* address) {
    Dl_info info{};
    if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
        return "<unknown>";
    }
    return info.dli_fname;
}

TEST(AllocationReplacement, ServesTheSharedLibrary) {
    // Any's copy constructor and the value type's newValue() are compiled into the library.
    const Any source = holding(7);
    const long before = allocationsOnThisThread();
    { const Any copy(source); }
    EXPECT_EQ(allocationsOnThisThread() - before, 1);

    {
        const ArmedAllocationFailure armed(1);
        EXPECT_THROW(const Any copy(source), std::bad_alloc);
    }
    EXPECT_TRUE(allocationFailed());
    EXPECT_NE(objectHolding(failedAllocationCaller()).find("libTsDictionary.so"), std::string::npos)
        << "the failed allocation was asked for by " << objectHolding(failedAllocationCaller());
}

TEST(AllocationReplacement, IsDisarmedUnlessArmedAndFailsOnce) {
    const Any source(longText("source").c_str());
    const long before = allocationsOnThisThread();
    const Any working(source);
    EXPECT_EQ(allocationsOnThisThread() - before, 2); // the string object and its text buffer
    EXPECT_EQ(working, source);

    {
        const ArmedAllocationFailure armed(2);
        EXPECT_THROW(const Any copy(source), std::bad_alloc);
        EXPECT_TRUE(allocationFailed());
        const Any afterTheFailure(source); // one failure only: the next allocations work
        EXPECT_EQ(afterTheFailure, source);
    }
    int* plain = new (std::nothrow) int(1);
    ASSERT_NE(plain, nullptr);
    delete plain;
    {
        const ArmedAllocationFailure armed(1);
        EXPECT_EQ(new (std::nothrow) int(2), nullptr);
    }
}

} // namespace
