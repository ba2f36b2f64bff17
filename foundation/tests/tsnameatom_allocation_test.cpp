// Counts heap allocations made while interning: each new text costs its map node, and the index
// of texts grows geometrically rather than once per text.

#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include "tscountingallocator.h"

#include <string>
#include <vector>

namespace {

TEST(NameAtomAllocation, InterningManyNewTextsDoesNotReallocateTheIndexEachTime) {
    Tessel::Base::NameAtomManager manager;
    constexpr int kTexts = 4000;
    std::vector<std::string> texts;
    texts.reserve(kTexts);
    for (int i = 0; i < kTexts; ++i) {
        texts.push_back("t" + std::to_string(i)); // short: no heap buffer of its own
    }
    const long before = Tessel::Testing::allocationCount();
    for (const std::string& text : texts) {
        manager.getIndex(text);
    }
    const long allocations = Tessel::Testing::allocationCount() - before;
    // One map node per text, plus a logarithmic number of index growths.
    EXPECT_LT(allocations, kTexts + 64);
    EXPECT_EQ(manager.lastIndex(), kTexts);
}

TEST(NameAtomAllocation, KnownTextsAndLookupsDoNotAllocate) {
    Tessel::Base::NameAtomManager manager;
    manager.getIndex("known-text-beyond-the-small-buffer");
    const std::string known = "known-text-beyond-the-small-buffer";
    const long before = Tessel::Testing::allocationCount();
    EXPECT_EQ(manager.intern(known), 1U);
    EXPECT_EQ(manager.getString(1), known);
    EXPECT_EQ(Tessel::Testing::allocationCount() - before, 0);
}

} // namespace
