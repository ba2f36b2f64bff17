// Regression: AnyTypeRegistry::addType entered the type under its label outside the guard that
// deletes the type on failure. When that first map entry could not be allocated, the type, which
// the registry owns from the call on, was neither registered nor deleted: it leaked.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>

#include <gtest/gtest.h>

#include "tsfailingallocation.h"

#include <iosfwd>
#include <new>
#include <typeinfo>

namespace {

using namespace Tessel::Dictionary;
using Testing::allocationFailed;
using Testing::failAllocation;

struct Tile {
    int value = 0;
    bool operator==(const Tile& other) const { return value == other.value; }
};

int gTileTypesDestroyed = 0;

struct TileType : Impl::CopyTemplateAnyType<Tile> {
    using Impl::CopyTemplateAnyType<Tile>::CopyTemplateAnyType;
    ~TileType() override { ++gTileTypesDestroyed; }
    void write(std::ostream&, const Any&) const override {}
    void read(std::istream&, Any&) const override {}
};

TEST(AnyTypeRegistryRegression, AddTypeDeletesTheTypeWhenItsFirstEntryCannotBeMade) {
    AnyTypeRegistry::get();
    const TypeAtom label("tile-regression");
    const TypeAtom name(typeid(Tile).name());
    auto* type = new TileType(label);
    const int destroyedBefore = gTileTypesDestroyed;

    bool threw = false;
    failAllocation(1); // the label entry, the first allocation addType makes
    try {
        AnyTypeRegistry::addType(type);
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    const bool failed = allocationFailed();
    failAllocation(0);

    ASSERT_TRUE(failed);
    EXPECT_TRUE(threw);
    EXPECT_EQ(gTileTypesDestroyed, destroyedBefore + 1);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(label), nullptr);
    EXPECT_EQ(AnyTypeRegistry::typeByName(name), nullptr);
}

} // namespace
