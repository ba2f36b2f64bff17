// Copy assignment of vectors of Any, through an Any that holds one. It assigns element by element
// with Any::operator= and then drops the surplus or appends copies, or rebuilds the vector when it
// has no room: a failure can leave a partial result, but only this one: the vector keeps its
// length, a prefix of elements is assigned, at most the next element is partly assigned (by its
// own type's rule: a dictionary left empty, a vector partly assigned in turn), the rest as it was.

#include "injectionharness.h"
#include "testvalues.h"
#include "valuechecks.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Reliability;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::BindValue;
using Tessel::Dictionary::Dictionary;
using Elements = std::vector<Any>;

bool isPartialVector(const Elements& after, const Elements& before, const Elements& source);

// What a failed Any::operator=(source) may leave in an element that held `before`.
bool isPartialElement(const Any& after, const Any& before, const Any& source) {
    if (after == before || after == source) {
        return true;
    }
    if (after.type() != before.type() || after.type() == nullptr) {
        return false;
    }
    if (after.type() == AnyTypeRegistry::typeByLabel(Tessel::Dictionary::gTypeLabelDictionary)) {
        return after.dict().empty();
    }
    if (after.type() == AnyTypeRegistry::typeByLabel(Tessel::Dictionary::gTypeLabelVector) &&
        source.type() == after.type()) {
        return isPartialVector(after.vec(), before.vec(), source.vec());
    }
    return false;
}

bool isPartialVector(const Elements& after, const Elements& before, const Elements& source) {
    if (after.size() != before.size()) {
        return false;
    }
    std::size_t index = 0;
    while (index < after.size() && index < source.size() && after[index] == source[index]) {
        ++index;
    }
    if (index < after.size() && index < source.size()) {
        if (!isPartialElement(after[index], before[index], source[index])) {
            return false;
        }
        ++index;
    }
    for (; index < after.size(); ++index) {
        if (!(after[index] == before[index])) {
            return false;
        }
    }
    return true;
}

struct AssigningVector {
    AssigningVector(const Elements& target_, std::size_t capacity) : target(holding(target_)), before(target) {
        target.vec().reserve(capacity);
    }
    Any target;
    const Any before;
    const Any source = holding(richVector());
};

// The first `count` of: elements of the same types as richVector()'s with other values, then a
// surplus long string.
Elements targetElements(std::size_t count) {
    Dictionary dictionary = otherDictionary();
    Elements all;
    all.emplace_back("short");
    all.push_back(holding(dictionary));
    all.push_back(holding(Elements{Any("inner")}));
    all.push_back(holding(1));
    all.emplace_back(longText("surplus").c_str());
    all.resize(count);
    return all;
}

InjectionCount injectVectorAssignment(const std::string& operation, std::size_t elements, std::size_t capacity) {
    Scenario<AssigningVector> scenario;
    scenario.operation = operation;
    scenario.make = [elements, capacity] {
        return std::make_unique<AssigningVector>(targetElements(elements), capacity);
    };
    scenario.run = [](AssigningVector& f) { f.target = f.source; };
    scenario.checkFailed = [](AssigningVector& f) {
        EXPECT_EQ(f.target.type(), f.before.type());
        EXPECT_TRUE(isPartialVector(f.target.vec(), f.before.vec(), f.source.vec()))
            << "not a partial element-wise assignment";
    };
    scenario.checkCompleted = [](AssigningVector& f) { expectSameValue(f.target, f.source); };
    return injectEachAllocation(scenario);
}

TEST(VectorAllocation, LongerTargetAssignsAndDropsTheSurplus) {
    EXPECT_GT(injectVectorAssignment("vector<Any> = vector<Any>, longer target", 5, 5).points, 0);
}

TEST(VectorAllocation, ShorterTargetWithRoomAssignsAndAppends) {
    EXPECT_GT(injectVectorAssignment("vector<Any> = vector<Any>, shorter target with room", 2, 8).points, 0);
}

TEST(VectorAllocation, TargetWithoutRoomIsRebuilt) {
    EXPECT_GT(injectVectorAssignment("vector<Any> = vector<Any>, target without room", 1, 1).points, 0);
}

struct AssigningBoundVector {
    AssigningBoundVector() { target = BindValue(variable); }
    Elements variable = targetElements(5);
    const Elements before = variable;
    Any target;
    const Any source = holding(richVector());
};

TEST(VectorAllocation, IntoABoundVector) {
    Scenario<AssigningBoundVector> scenario;
    scenario.operation = "vector<Any> = vector<Any>, into a bound vector";
    scenario.make = [] { return std::make_unique<AssigningBoundVector>(); };
    scenario.run = [](AssigningBoundVector& f) { f.target = f.source; };
    scenario.checkFailed = [](AssigningBoundVector& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(isPartialVector(f.variable, f.before, f.source.vec()));
    };
    scenario.checkCompleted = [](AssigningBoundVector& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(f.variable == f.source.vec());
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

} // namespace
