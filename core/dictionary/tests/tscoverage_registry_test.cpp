// The type registry when an allocation fails inside addType or addCast, at each allocation in
// turn: the failure propagates, the object handed over is deleted unless it ended up registered,
// and the indexes never disagree (no type under its label but not its name, no cast in one
// direction only).

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>

#include <gtest/gtest.h>

#include "tsfailingallocation.h"

#include <functional>
#include <iosfwd>
#include <new>
#include <typeinfo>

namespace {

using namespace Tessel::Dictionary;
using Testing::allocationFailed;
using Testing::failAllocation;

template <class T>
TypeAtom nameOf() {
    return TypeAtom(typeid(T).name());
}

int gTypesDestroyed = 0;
int gCastsDestroyed = 0;

template <class T>
struct CountedType : Impl::CopyTemplateAnyType<T> {
    using Impl::CopyTemplateAnyType<T>::CopyTemplateAnyType;
    ~CountedType() override { ++gTypesDestroyed; }
    void write(std::ostream&, const Any&) const override {}
    void read(std::istream&, Any&) const override {}
};

struct CountedCast : AnyCast {
    CountedCast(const std::type_info& from, const std::type_info& to) : AnyCast(from, to) {}
    ~CountedCast() override { ++gCastsDestroyed; }
    void convert(const void*, void*) const override {}
};

enum class Outcome { Failed, ThrewWithoutFailure, Completed };

// Runs `operation` with the `count`-th allocation failing. Failed: that allocation was reached
// and std::bad_alloc came out; Completed: the operation ran to its end before it.
Outcome runFailing(long count, const std::function<void()>& operation) {
    bool threw = false;
    failAllocation(count);
    try {
        operation();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    const bool failed = allocationFailed();
    failAllocation(0);
    if (failed) {
        return threw ? Outcome::Failed : Outcome::ThrewWithoutFailure;
    }
    return threw ? Outcome::ThrewWithoutFailure : Outcome::Completed;
}

// The cast registered for (from, to) in the by-source and in the by-target index; a slot that
// exists but holds null counts as no cast, as it does for conversions.
const AnyCast* castBySource(const TypeAtom& from, const TypeAtom& to) {
    const AnyCastTable* table = AnyTypeRegistry::fromCasts(from);
    const auto found = table == nullptr ? AnyCastTable::const_iterator() : table->find(to);
    return table == nullptr || found == table->end() ? nullptr : found->second;
}
const AnyCast* castByTarget(const TypeAtom& from, const TypeAtom& to) {
    const AnyCastTable* table = AnyTypeRegistry::toCasts(to);
    const auto found = table == nullptr ? AnyCastTable::const_iterator() : table->find(from);
    return table == nullptr || found == table->end() ? nullptr : found->second;
}

class RegistryAllocationFailure : public ::testing::Test {
protected:
    void SetUp() override { AnyTypeRegistry::get(); }
};

TEST_F(RegistryAllocationFailure, AddTypeEitherRegistersFullyOrDeletesTheType) {
    struct Host {
        int value = 0;
        bool operator==(const Host& other) const { return value == other.value; }
    };
    const TypeAtom label("registry-failure-host");
    int failures = 0;
    for (long count = 1;; ++count) {
        auto* type = new CountedType<Host>(label);
        const int destroyedBefore = gTypesDestroyed;
        const Outcome outcome = runFailing(count, [type] { AnyTypeRegistry::addType(type); });
        ASSERT_NE(outcome, Outcome::ThrewWithoutFailure) << "allocation " << count;
        if (outcome == Outcome::Completed) {
            EXPECT_EQ(AnyTypeRegistry::typeByLabel(label), type);
            EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<Host>()), type);
            break;
        }
        ++failures;
        EXPECT_EQ(gTypesDestroyed, destroyedBefore + 1) << "allocation " << count;
        EXPECT_EQ(AnyTypeRegistry::typeByLabel(label), nullptr) << "allocation " << count;
        EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<Host>()), nullptr) << "allocation " << count;
    }
    // One entry under the label, one under the name.
    EXPECT_EQ(failures, 2);
}

TEST_F(RegistryAllocationFailure, AFailedAliasEntryLeavesTheTypeRegisteredWithoutIt) {
    struct Host {
        int value = 0;
        bool operator==(const Host& other) const { return value == other.value; }
    };
    struct AliasHost {};
    const TypeAtom label("registry-failure-aliased");
    const TypeAtom alias = nameOf<AliasHost>();
    // The label and name entries are the first two allocations (see the test above).
    auto* type = new CountedType<Host>(label);
    type->addAlias(alias);
    const int destroyedBefore = gTypesDestroyed;
    ASSERT_EQ(runFailing(3, [type] { AnyTypeRegistry::addType(type); }), Outcome::Failed);
    // Registered and owned by the registry: not deleted, found by label and name, not by alias.
    EXPECT_EQ(gTypesDestroyed, destroyedBefore);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(label), type);
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<Host>()), type);
    EXPECT_EQ(AnyTypeRegistry::typeByName(alias), nullptr);
}

// Host types that no cast mentions yet, one pair per attempt, so that every attempt starts from
// the same state: no table for either name.
template <int N>
struct Source {};
template <int N>
struct Target {};
const std::type_info* const kSources[] = {&typeid(Source<0>), &typeid(Source<1>), &typeid(Source<2>),
                                          &typeid(Source<3>), &typeid(Source<4>), &typeid(Source<5>)};
const std::type_info* const kTargets[] = {&typeid(Target<0>), &typeid(Target<1>), &typeid(Target<2>),
                                          &typeid(Target<3>), &typeid(Target<4>), &typeid(Target<5>)};

TEST_F(RegistryAllocationFailure, AddCastEitherRegistersInBothIndexesOrInNeither) {
    int failures = 0;
    for (long count = 1;; ++count) {
        ASSERT_LE(count, 6) << "more allocations than fresh host types";
        const std::type_info& fromType = *kSources[count - 1];
        const std::type_info& toType = *kTargets[count - 1];
        const TypeAtom from(fromType.name());
        const TypeAtom to(toType.name());
        auto* cast = new CountedCast(fromType, toType);
        const int destroyedBefore = gCastsDestroyed;
        const Outcome outcome = runFailing(count, [cast] { AnyTypeRegistry::addCast(cast); });
        ASSERT_NE(outcome, Outcome::ThrewWithoutFailure) << "allocation " << count;
        if (outcome == Outcome::Completed) {
            EXPECT_EQ(castBySource(from, to), cast);
            EXPECT_EQ(castByTarget(from, to), cast);
            break;
        }
        ++failures;
        EXPECT_EQ(gCastsDestroyed, destroyedBefore + 1) << "allocation " << count;
        EXPECT_EQ(castBySource(from, to), nullptr) << "allocation " << count;
        EXPECT_EQ(castByTarget(from, to), nullptr) << "allocation " << count;
    }
    // A table and a slot in each of the two indexes.
    EXPECT_EQ(failures, 4);
}

TEST_F(RegistryAllocationFailure, AFailedAdditionLeavesTheOtherCastsOfItsSource) {
    struct From {};
    struct To {};
    struct Other {};
    const TypeAtom from = nameOf<From>();
    const TypeAtom to = nameOf<To>();
    auto* earlier = new CountedCast(typeid(From), typeid(To));
    ASSERT_TRUE(AnyTypeRegistry::addCast(earlier));
    // A cast for a new target from the same source: its by-source slot is new, its by-target
    // table is new. Whatever allocation fails, the pair (From, To) is untouched. What an earlier
    // attempt made (an empty table, a null slot) stays, so later attempts allocate less.
    for (long count = 1;; ++count) {
        auto* cast = new CountedCast(typeid(From), typeid(Other));
        const Outcome outcome = runFailing(count, [cast] { AnyTypeRegistry::addCast(cast); });
        ASSERT_NE(outcome, Outcome::ThrewWithoutFailure) << "allocation " << count;
        EXPECT_EQ(castBySource(from, to), earlier) << "allocation " << count;
        EXPECT_EQ(castByTarget(from, to), earlier) << "allocation " << count;
        if (outcome == Outcome::Completed) {
            EXPECT_EQ(castBySource(from, nameOf<Other>()), cast);
            EXPECT_EQ(castByTarget(from, nameOf<Other>()), cast);
            break;
        }
        EXPECT_EQ(castBySource(from, nameOf<Other>()), nullptr) << "allocation " << count;
        EXPECT_EQ(castByTarget(from, nameOf<Other>()), nullptr) << "allocation " << count;
    }
}

TEST_F(RegistryAllocationFailure, NullObjectsAreRefusedWithoutAnAllocation) {
    EXPECT_EQ(runFailing(1, [] { EXPECT_FALSE(AnyTypeRegistry::addType(nullptr)); }), Outcome::Completed);
    EXPECT_EQ(runFailing(1, [] { EXPECT_FALSE(AnyTypeRegistry::addCast(nullptr)); }), Outcome::Completed);
}

} // namespace
