// Dictionary: a failed copy construction constructs nothing; a failed assignment leaves the
// target empty; a failed insertion by the non-const subscript leaves the dictionary as it was.

#include "injectionharness.h"
#include "testvalues.h"
#include "valuechecks.h"

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace {

using namespace Tessel::Reliability;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::Dictionary;
using Key = Dictionary::Key;

// --- insertion ---------------------------------------------------------------------------------------

struct Inserting {
    Dictionary dictionary = richDictionary();
    const Dictionary before = dictionary;
    Key key{"entry inserted by the subscript"};
    Any* inserted = nullptr;
};

TEST(DictionaryAllocation, InsertionBySubscript) {
    Scenario<Inserting> scenario;
    scenario.operation = "Dictionary::operator[] inserting a key";
    scenario.make = [] { return std::make_unique<Inserting>(); };
    scenario.run = [](Inserting& f) { f.inserted = &f.dictionary[f.key]; };
    scenario.checkFailed = [](Inserting& f) {
        EXPECT_FALSE(f.dictionary.hasEntry(f.key));
        EXPECT_TRUE(f.dictionary == f.before);
    };
    scenario.checkCompleted = [](Inserting& f) {
        EXPECT_EQ(f.dictionary.size(), f.before.size() + 1);
        EXPECT_EQ(f.inserted, f.dictionary.find(f.key));
        expectEmpty(*f.inserted);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct InsertingByName {
    Any holder = holding(richDictionary());
    const Any before = holder;
    std::string name = freshText("inserted by name");
    Any* inserted = nullptr;
};

TEST(DictionaryAllocation, InsertionByANewNameThroughAny) {
    Scenario<InsertingByName> scenario;
    scenario.operation = "Any::operator[](const char*) inserting a new name";
    scenario.internsNewNames = true;
    scenario.make = [] { return std::make_unique<InsertingByName>(); };
    scenario.run = [](InsertingByName& f) { f.inserted = &f.holder[f.name.c_str()]; };
    // The name may be interned before the insertion fails; the name-table check covers that.
    scenario.checkFailed = [](InsertingByName& f) { expectSameValue(f.holder, f.before); };
    scenario.checkCompleted = [](InsertingByName& f) {
        EXPECT_EQ(f.holder.dict().size(), f.before.dict().size() + 1);
        EXPECT_EQ(f.inserted, f.holder.dict().find(Key(f.name)));
        expectEmpty(*f.inserted);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

// --- copying -----------------------------------------------------------------------------------------

struct CopyConstructing {
    const Dictionary source = richDictionary();
    std::optional<Dictionary> copy;
};

TEST(DictionaryAllocation, CopyConstruction) {
    Scenario<CopyConstructing> scenario;
    scenario.operation = "Dictionary(const Dictionary&)";
    scenario.make = [] { return std::make_unique<CopyConstructing>(); };
    scenario.run = [](CopyConstructing& f) { f.copy.emplace(f.source); };
    scenario.checkFailed = [](CopyConstructing& f) {
        EXPECT_FALSE(f.copy.has_value());
        EXPECT_TRUE(f.source == richDictionary());
    };
    scenario.checkCompleted = [](CopyConstructing& f) {
        ASSERT_TRUE(f.copy.has_value());
        EXPECT_TRUE(*f.copy == f.source);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct Assigning {
    Dictionary target = otherDictionary();
    const Dictionary source = richDictionary();
};

TEST(DictionaryAllocation, AssignmentLeavesTheTargetEmptyOnFailure) {
    Scenario<Assigning> scenario;
    scenario.operation = "Dictionary = Dictionary";
    scenario.make = [] { return std::make_unique<Assigning>(); };
    scenario.run = [](Assigning& f) { f.target = f.source; };
    scenario.checkFailed = [](Assigning& f) {
        EXPECT_TRUE(f.target.empty()) << "a failed assignment must leave the target empty";
        EXPECT_TRUE(f.source == richDictionary());
    };
    scenario.checkCompleted = [](Assigning& f) { EXPECT_TRUE(f.target == f.source); };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct AssigningNested {
    AssigningNested() { target["inner"] = holding(richDictionary()); }
    Dictionary target = otherDictionary();
};

TEST(DictionaryAllocation, AssignmentFromADictionaryNestedInTheTarget) {
    Scenario<AssigningNested> scenario;
    scenario.operation = "Dictionary = a dictionary nested in it";
    scenario.make = [] { return std::make_unique<AssigningNested>(); };
    scenario.run = [](AssigningNested& f) { f.target = f.target["inner"].dict(); };
    scenario.checkFailed = [](AssigningNested& f) {
        EXPECT_TRUE(f.target.empty()) << "a failed assignment must leave the target empty";
    };
    scenario.checkCompleted = [](AssigningNested& f) { EXPECT_TRUE(f.target == richDictionary()); };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

} // namespace
