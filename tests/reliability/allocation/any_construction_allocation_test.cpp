// Constructors of Any: one that fails constructs nothing (and leaks nothing) and leaves its
// source as it was.

#include "freshtypes.h"
#include "injectionharness.h"
#include "testvalues.h"
#include "valuechecks.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Reliability;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyUnknownTypeException;
using Tessel::Dictionary::BindValue;
using Tessel::Dictionary::Dictionary;

// --- copy construction -------------------------------------------------------------------------

struct Copying {
    explicit Copying(const Any& value) : source(value), before(value) {}
    Any source;
    const Any before;
    std::optional<Any> copy;
};

Scenario<Copying> copyingScenario(const std::string& operation, const Any& value) {
    Scenario<Copying> scenario;
    scenario.operation = operation;
    scenario.make = [value] { return std::make_unique<Copying>(value); };
    scenario.run = [](Copying& f) { f.copy.emplace(f.source); };
    scenario.checkFailed = [](Copying& f) {
        EXPECT_FALSE(f.copy.has_value());
        expectSameValue(f.source, f.before);
    };
    scenario.checkCompleted = [](Copying& f) {
        ASSERT_TRUE(f.copy.has_value());
        expectSameValue(*f.copy, f.source);
    };
    return scenario;
}

TEST(AnyConstructionAllocation, CopyOfNestedValues) {
    EXPECT_GT(injectEachAllocation(copyingScenario("Any(const Any&) of a nested dictionary",
                                                   holding(richDictionary())))
                  .points,
              0);
    EXPECT_GT(injectEachAllocation(copyingScenario("Any(const Any&) of a nested vector", holding(richVector())))
                  .points,
              0);
    EXPECT_GT(injectEachAllocation(copyingScenario("Any(const Any&) of a long string",
                                                   Any(longText("copied").c_str())))
                  .points,
              0);
}

struct CopyingBound {
    CopyingBound() : variable(richDictionary()), before(variable), source(BindValue(variable)) {}
    Dictionary variable;
    const Dictionary before;
    Any source;
    std::optional<Any> copy;
};

TEST(AnyConstructionAllocation, CopyOfABoundValue) {
    Scenario<CopyingBound> scenario;
    scenario.operation = "Any(const Any&) of a bound dictionary";
    scenario.make = [] { return std::make_unique<CopyingBound>(); };
    scenario.run = [](CopyingBound& f) { f.copy.emplace(f.source); };
    scenario.checkFailed = [](CopyingBound& f) {
        EXPECT_FALSE(f.copy.has_value());
        EXPECT_TRUE(isBoundTo(f.source, f.variable));
        EXPECT_TRUE(f.variable == f.before);
    };
    scenario.checkCompleted = [](CopyingBound& f) {
        ASSERT_TRUE(f.copy.has_value());
        EXPECT_FALSE(isBoundTo(*f.copy, f.variable)) << "a copy of a bound value must own its value";
        EXPECT_TRUE(f.copy->dict() == f.before);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

// --- construction from a BindValue ---------------------------------------------------------------

struct Binding {
    FreshType type{};
    int storage = 0;
    std::string text = longText("bound");
    void* address = nullptr;
    std::optional<Any> bound;
    bool rejected = false;
};

void bindInto(Binding& f, const std::type_info& type) {
    try {
        f.bound.emplace(BindValue(f.address, type));
    } catch (const AnyUnknownTypeException&) {
        f.rejected = true;
    }
}

TEST(AnyConstructionAllocation, BindingAnUnregisteredType) {
    Scenario<Binding> scenario;
    scenario.operation = "Any(const BindValue&) of an unregistered type";
    scenario.internsNewNames = true; // the type's name is new on every run
    scenario.make = [] {
        auto f = std::make_unique<Binding>();
        f->type = nextFreshType();
        f->address = &f->storage;
        return f;
    };
    scenario.run = [](Binding& f) { bindInto(f, *f.type.info); };
    scenario.checkFailed = [](Binding& f) {
        EXPECT_FALSE(f.bound.has_value());
        EXPECT_FALSE(f.rejected) << "AnyUnknownTypeException although its construction failed";
        EXPECT_EQ(f.storage, 0);
    };
    scenario.checkCompleted = [](Binding& f) {
        EXPECT_TRUE(f.rejected);
        EXPECT_FALSE(f.bound.has_value());
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyConstructionAllocation, BindingANullAddress) {
    Scenario<Binding> scenario;
    scenario.operation = "Any(const BindValue&) of a null address";
    scenario.make = [] { return std::make_unique<Binding>(); };
    scenario.run = [](Binding& f) { bindInto(f, typeid(std::string)); };
    scenario.checkFailed = [](Binding& f) {
        EXPECT_FALSE(f.bound.has_value());
        EXPECT_FALSE(f.rejected);
    };
    scenario.checkCompleted = [](Binding& f) {
        EXPECT_TRUE(f.rejected);
        EXPECT_FALSE(f.bound.has_value());
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyConstructionAllocation, BindingARegisteredTypeAllocatesNothing) {
    Scenario<Binding> scenario;
    scenario.operation = "Any(const BindValue&) of a registered type";
    scenario.make = [] {
        auto f = std::make_unique<Binding>();
        f->address = &f->text;
        return f;
    };
    scenario.run = [](Binding& f) { bindInto(f, typeid(std::string)); };
    scenario.checkFailed = [](Binding&) { ADD_FAILURE() << "binding allocated"; };
    scenario.checkCompleted = [](Binding& f) {
        ASSERT_TRUE(f.bound.has_value());
        EXPECT_TRUE(isBoundTo(*f.bound, f.text));
    };
    EXPECT_EQ(injectEachAllocation(scenario).points, 0);
}

// --- construction from a text --------------------------------------------------------------------

struct FromText {
    std::string text = longText("constructed");
    std::optional<Any> made;
};

TEST(AnyConstructionAllocation, FromALongText) {
    Scenario<FromText> scenario;
    scenario.operation = "Any(const char*)";
    scenario.make = [] { return std::make_unique<FromText>(); };
    scenario.run = [](FromText& f) { f.made.emplace(f.text.c_str()); };
    scenario.checkFailed = [](FromText& f) { EXPECT_FALSE(f.made.has_value()); };
    scenario.checkCompleted = [](FromText& f) {
        ASSERT_TRUE(f.made.has_value());
        expectSameValue(*f.made, holding(f.text));
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

} // namespace
