// Counts heap allocations made while interning: each new text costs its map node, and the index
// of texts grows geometrically rather than once per text.

#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

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

TEST(NameAtomAllocation, InterningManyNewTextsDoesNotReallocateTheIndexEachTime) {
    Tessel::Base::NameAtomManager manager;
    constexpr int kTexts = 4000;
    std::vector<std::string> texts;
    texts.reserve(kTexts);
    for (int i = 0; i < kTexts; ++i) {
        texts.push_back("t" + std::to_string(i)); // short: no heap buffer of its own
    }
    const long before = gAllocations.load();
    for (const std::string& text : texts) {
        manager.getIndex(text);
    }
    const long allocations = gAllocations.load() - before;
    // One map node per text, plus a logarithmic number of index growths.
    EXPECT_LT(allocations, kTexts + 64);
    EXPECT_EQ(manager.lastIndex(), kTexts);
}

TEST(NameAtomAllocation, KnownTextsAndLookupsDoNotAllocate) {
    Tessel::Base::NameAtomManager manager;
    manager.getIndex("known-text-beyond-the-small-buffer");
    const std::string known = "known-text-beyond-the-small-buffer";
    const long before = gAllocations.load();
    EXPECT_EQ(manager.intern(known), 1U);
    EXPECT_EQ(manager.getString(1), known);
    EXPECT_EQ(gAllocations.load() - before, 0);
}

} // namespace
