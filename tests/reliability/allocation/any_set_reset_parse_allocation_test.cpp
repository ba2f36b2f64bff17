// set<T>, reset and parse. A failed set<T> leaves the Any empty; reset<T> frees first, so a failure
// leaves it empty too, while reset(const char*) makes the new string before letting go and keeps
// the old value; parse makes its stream and storage before changing anything, so a failure there
// leaves the value as it was, and one in the type's read leaves the new type holding what was
// read so far (and is thrown, never absorbed by the stream).

#include "freshtypes.h"
#include "injectionharness.h"
#include "testvalues.h"
#include "valuechecks.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Reliability;
using Tessel::Base::NotImplemented;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyType;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::AnyUnknownTypeException;
using Tessel::Dictionary::BindValue;
using Tessel::Dictionary::Dictionary;
using Tessel::Dictionary::TypeAtom;
using Tessel::Dictionary::gTypeLabelDictionary;
using Tessel::Dictionary::gTypeLabelInt32;
using Tessel::Dictionary::gTypeLabelString;

const AnyType& typeLabelled(const TypeAtom& label) {
    return *AnyTypeRegistry::typeByLabel(label);
}

// --- set<T> ------------------------------------------------------------------------------------------

template <class T>
struct Setting {
    explicit Setting(const T& value_) : value(value_) {}
    const T value;
    Any target;
};

template <class T>
InjectionCount injectSet(const std::string& operation, const T& value) {
    Scenario<Setting<T>> scenario;
    scenario.operation = operation;
    scenario.make = [value] { return std::make_unique<Setting<T>>(value); };
    scenario.run = [](Setting<T>& f) { f.target.set(f.value); };
    scenario.checkFailed = [](Setting<T>& f) { expectEmpty(f.target); };
    scenario.checkCompleted = [](Setting<T>& f) {
        ASSERT_FALSE(f.target.isEmpty());
        EXPECT_TRUE(f.target.template ref<T>() == f.value);
    };
    return injectEachAllocation(scenario);
}

TEST(AnySetAllocation, RegisteredTypes) {
    EXPECT_GT(injectSet("Any::set<std::string>", longText("set")).points, 0);
    EXPECT_GT(injectSet("Any::set<Dictionary>", richDictionary()).points, 0);
    EXPECT_GT(injectSet("Any::set<std::vector<Any>>", richVector()).points, 0);
}

struct SettingUnregistered {
    Any target;
    FreshType type = nextFreshType();
    bool rejected = false;
};

TEST(AnySetAllocation, AnUnregisteredTypeLeavesItEmpty) {
    Scenario<SettingUnregistered> scenario;
    scenario.operation = "Any::set<T> of an unregistered type";
    scenario.internsNewNames = true;
    scenario.make = [] { return std::make_unique<SettingUnregistered>(); };
    scenario.run = [](SettingUnregistered& f) {
        try {
            f.type.setInto(f.target);
        } catch (const AnyUnknownTypeException&) {
            f.rejected = true;
        }
    };
    scenario.checkFailed = [](SettingUnregistered& f) {
        EXPECT_FALSE(f.rejected);
        expectEmpty(f.target);
    };
    scenario.checkCompleted = [](SettingUnregistered& f) {
        EXPECT_TRUE(f.rejected);
        expectEmpty(f.target);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

// --- reset -------------------------------------------------------------------------------------------

struct Resetting {
    explicit Resetting(const Any& target_) : target(target_), before(target_) {}
    Any target;
    const Any before;
    std::string text = longText("reset");
};

TEST(AnyResetAllocation, FromATextKeepsTheOldValue) {
    Scenario<Resetting> scenario;
    scenario.operation = "Any::reset(const char*) of a dictionary";
    scenario.make = [] { return std::make_unique<Resetting>(holding(richDictionary())); };
    scenario.run = [](Resetting& f) { f.target.reset(f.text.c_str()); };
    scenario.checkFailed = [](Resetting& f) { expectSameValue(f.target, f.before); };
    scenario.checkCompleted = [](Resetting& f) { expectSameValue(f.target, holding(f.text)); };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct ResettingBound {
    ResettingBound() { target = BindValue(variable); }
    Dictionary variable = richDictionary();
    const Dictionary before = variable;
    Any target;
    std::string text = longText("reset bound");
    const Dictionary replacement = otherDictionary();
};

TEST(AnyResetAllocation, FromATextKeepsTheBinding) {
    Scenario<ResettingBound> scenario;
    scenario.operation = "Any::reset(const char*) of a bound dictionary";
    scenario.make = [] { return std::make_unique<ResettingBound>(); };
    scenario.run = [](ResettingBound& f) { f.target.reset(f.text.c_str()); };
    scenario.checkFailed = [](ResettingBound& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(f.variable == f.before);
    };
    scenario.checkCompleted = [](ResettingBound& f) {
        expectSameValue(f.target, holding(f.text));
        EXPECT_TRUE(f.variable == f.before) << "reset must not touch the variable it was bound to";
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyResetAllocation, TypedFreesFirstAndIsEmptyAfterAFailure) {
    Scenario<Resetting> owned;
    owned.operation = "Any::reset<std::string> of a dictionary";
    owned.make = [] { return std::make_unique<Resetting>(holding(richDictionary())); };
    owned.run = [](Resetting& f) { f.target.reset(f.text); };
    owned.checkFailed = [](Resetting& f) { expectEmpty(f.target); };
    owned.checkCompleted = [](Resetting& f) { expectSameValue(f.target, holding(f.text)); };
    EXPECT_GT(injectEachAllocation(owned).points, 0);

    Scenario<ResettingBound> bound;
    bound.operation = "Any::reset<Dictionary> of a bound dictionary";
    bound.make = [] { return std::make_unique<ResettingBound>(); };
    bound.run = [](ResettingBound& f) { f.target.reset(f.replacement); };
    bound.checkFailed = [](ResettingBound& f) {
        expectEmpty(f.target);
        EXPECT_TRUE(f.variable == f.before);
    };
    bound.checkCompleted = [](ResettingBound& f) {
        EXPECT_FALSE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(f.target.dict() == f.replacement);
        EXPECT_TRUE(f.variable == f.before);
    };
    EXPECT_GT(injectEachAllocation(bound).points, 0);
}

// --- parse -------------------------------------------------------------------------------------------

// A text that reads back whole as a string: one word, long enough for a heap buffer.
const std::string& parsedWord() {
    static const std::string word = "parsed-word-long-enough-to-live-on-the-heap";
    return word;
}

struct Parsing {
    explicit Parsing(const Any& target_) : target(target_), before(target_) {}
    Any target;
    const Any before;
    std::string text = parsedWord();
    bool notImplemented = false;
};

// What a parse that failed in the read leaves: the string type, holding the part read so far.
void expectPartlyRead(const Any& target, const std::string& text) {
    ASSERT_EQ(target.type(), &typeLabelled(gTypeLabelString));
    const std::string& value = target.ref<std::string>();
    EXPECT_EQ(text.compare(0, value.size(), value), 0) << "not a prefix of the text: " << value;
}

// Parsing `text` as a string into `target`.
Scenario<Parsing> parseStringScenario(const std::string& operation, const Any& target) {
    Scenario<Parsing> scenario;
    scenario.operation = operation;
    scenario.make = [target] { return std::make_unique<Parsing>(target); };
    scenario.run = [](Parsing& f) { f.target.parse(f.text, typeLabelled(gTypeLabelString)); };
    scenario.checkFailed = [](Parsing& f) {
        if (!(f.target.type() == f.before.type() && f.target == f.before)) {
            expectPartlyRead(f.target, f.text);
        }
    };
    scenario.checkCompleted = [](Parsing& f) { expectSameValue(f.target, holding(f.text)); };
    return scenario;
}

TEST(AnyParseAllocation, AStringIntoEmptyOwnedAndOtherValues) {
    EXPECT_GT(injectEachAllocation(parseStringScenario("Any::parse as string, into an empty value", Any())).points,
              0);
    EXPECT_GT(injectEachAllocation(parseStringScenario("Any::parse as string, reusing a string value",
                                                       Any(longText("old").c_str())))
                  .points,
              0);
    EXPECT_GT(injectEachAllocation(parseStringScenario("Any::parse as string, replacing a dictionary",
                                                       holding(richDictionary())))
                  .points,
              0);
}

struct ParsingBound {
    ParsingBound() { target = BindValue(variable); }
    std::string variable = longText("bound before parsing");
    const std::string before = variable;
    Any target;
    std::string text = parsedWord();
};

TEST(AnyParseAllocation, AStringIntoABoundValue) {
    Scenario<ParsingBound> scenario;
    scenario.operation = "Any::parse as string, into a bound string";
    scenario.make = [] { return std::make_unique<ParsingBound>(); };
    scenario.run = [](ParsingBound& f) { f.target.parse(f.text, typeLabelled(gTypeLabelString)); };
    scenario.checkFailed = [](ParsingBound& f) {
        EXPECT_EQ(f.variable, f.before) << "parse must never write into the bound variable";
        if (!isBoundTo(f.target, f.variable)) {
            expectPartlyRead(f.target, f.text);
        }
    };
    scenario.checkCompleted = [](ParsingBound& f) {
        EXPECT_FALSE(isBoundTo(f.target, f.variable));
        EXPECT_EQ(f.variable, f.before);
        expectSameValue(f.target, holding(f.text));
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyParseAllocation, ANumberReplacingADictionary) {
    Scenario<Parsing> scenario;
    scenario.operation = "Any::parse as int32, replacing a dictionary";
    scenario.make = [] {
        auto f = std::make_unique<Parsing>(holding(richDictionary()));
        f->text = "17";
        return f;
    };
    scenario.run = [](Parsing& f) { f.target.parse(f.text, typeLabelled(gTypeLabelInt32)); };
    scenario.checkFailed = [](Parsing& f) { expectSameValue(f.target, f.before); };
    scenario.checkCompleted = [](Parsing& f) { expectSameValue(f.target, holding(17)); };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyParseAllocation, AsADictionaryThrowsNotImplemented) {
    Scenario<Parsing> scenario;
    scenario.operation = "Any::parse as dictionary (NotImplemented), replacing a string";
    scenario.make = [] { return std::make_unique<Parsing>(Any(longText("replaced").c_str())); };
    scenario.run = [](Parsing& f) {
        try {
            f.target.parse(f.text, typeLabelled(gTypeLabelDictionary));
        } catch (const NotImplemented&) {
            f.notImplemented = true;
        }
    };
    // The read that throws comes after the new storage is in place: a failure while building the
    // exception leaves the new, empty dictionary; an earlier one leaves the old value.
    scenario.checkFailed = [](Parsing& f) {
        EXPECT_FALSE(f.notImplemented);
        if (f.target.type() == f.before.type()) {
            expectSameValue(f.target, f.before);
        } else {
            EXPECT_EQ(f.target.type(), &typeLabelled(gTypeLabelDictionary));
            EXPECT_TRUE(f.target.dict().empty());
        }
    };
    scenario.checkCompleted = [](Parsing& f) {
        EXPECT_TRUE(f.notImplemented);
        EXPECT_EQ(f.target.type(), &typeLabelled(gTypeLabelDictionary));
        EXPECT_TRUE(f.target.dict().empty());
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

} // namespace
