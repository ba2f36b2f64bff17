// Assignments to an Any. A throwing assignment from another Any or from a text leaves the target
// as it was (type, value, binding); where the target holds a dictionary, the dictionary's own rule
// applies and a failed copy leaves it empty. Rebinding that fails leaves the Any empty.

#include "freshtypes.h"
#include "injectionharness.h"
#include "testvalues.h"
#include "valuechecks.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>

#include <gtest/gtest.h>

#include <istream>
#include <memory>
#include <ostream>
#include <string>

namespace {

using namespace Tessel::Reliability;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyCast;
using Tessel::Dictionary::AnyCastException;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::AnyUnknownTypeException;
using Tessel::Dictionary::BindValue;
using Tessel::Dictionary::Dictionary;
using Tessel::Dictionary::TypeAtom;

// --- a host type with a converter into strings that allocates --------------------------------------

struct Caption {
    std::string text;
};
bool operator==(const Caption& a, const Caption& b) {
    return a.text == b.text;
}
std::ostream& operator<<(std::ostream& os, const Caption& caption) {
    return os << caption.text;
}
std::istream& operator>>(std::istream& is, Caption& caption) {
    return is >> caption.text;
}

class CaptionToString : public AnyCast {
public:
    CaptionToString() : AnyCast(typeid(Caption), typeid(std::string)) {}
    void convert(const void* from, void* to) const override {
        *static_cast<std::string*>(to) = static_cast<const Caption*>(from)->text;
    }
};

void registerCaption() {
    static const bool registered = [] {
        AnyTypeRegistry::addCast(new CaptionToString());
        return AnyTypeRegistry::addType(
            new Tessel::Dictionary::Impl::TemplatedAnyType<Caption>(TypeAtom("allocation-test caption")));
    }();
    ASSERT_TRUE(registered);
}

// --- assignment from another Any -------------------------------------------------------------------

// An owned target and a source, both given.
struct Assigning {
    Assigning(const Any& target_, const Any& source_) : target(target_), before(target_), source(source_) {}
    Any target;
    const Any before;
    Any source;
    bool castFailed = false;
};

Scenario<Assigning> assigningScenario(const std::string& operation, const Any& target, const Any& source) {
    Scenario<Assigning> scenario;
    scenario.operation = operation;
    scenario.make = [target, source] { return std::make_unique<Assigning>(target, source); };
    scenario.run = [](Assigning& f) {
        try {
            f.target = f.source;
        } catch (const AnyCastException&) {
            f.castFailed = true;
        }
    };
    scenario.checkFailed = [](Assigning& f) {
        EXPECT_FALSE(f.castFailed);
        expectSameValue(f.target, f.before);
    };
    scenario.checkCompleted = [](Assigning& f) {
        EXPECT_FALSE(f.castFailed);
        expectSameValue(f.target, f.source);
    };
    return scenario;
}

TEST(AnyAssignmentAllocation, SameTypeAndIntoAnEmptyValue) {
    const Any longString(longText("assigned").c_str());
    EXPECT_GT(injectEachAllocation(
                  assigningScenario("Any = Any, string into a shorter string", Any("short"), longString))
                  .points,
              0);
    EXPECT_GT(injectEachAllocation(assigningScenario("Any = Any, nested dictionary into an empty value", Any(),
                                                     holding(richDictionary())))
                  .points,
              0);
    EXPECT_GT(injectEachAllocation(
                  assigningScenario("Any = Any, long string into an empty value", Any(), longString))
                  .points,
              0);
}

TEST(AnyAssignmentAllocation, ConvertingAssignment) {
    registerCaption();
    Scenario<Assigning> captionToString = assigningScenario(
        "Any = Any, converting a caption into a string", Any("short"), holding(Caption{longText("caption")}));
    captionToString.checkCompleted = [](Assigning& f) {
        EXPECT_FALSE(f.castFailed);
        EXPECT_EQ(f.target.type(), f.before.type());
        EXPECT_EQ(f.target.as<std::string>(), longText("caption"));
    };
    EXPECT_GT(injectEachAllocation(captionToString).points, 0);

    // Numbers convert in place, without allocating.
    Scenario<Assigning> doubleToInt =
        assigningScenario("Any = Any, converting a double into an int", holding(1), holding(2.75));
    doubleToInt.checkCompleted = [](Assigning& f) { expectSameValue(f.target, holding(2)); };
    EXPECT_EQ(injectEachAllocation(doubleToInt).points, 0);

    // Without a cast the result is AnyCastException; building it allocates.
    Scenario<Assigning> noCast = assigningScenario("Any = Any, with no cast (AnyCastException)", holding(5),
                                                   Any(longText("not a number").c_str()));
    noCast.checkCompleted = [](Assigning& f) {
        EXPECT_TRUE(f.castFailed);
        expectSameValue(f.target, f.before);
    };
    EXPECT_GT(injectEachAllocation(noCast).points, 0);
}

TEST(AnyAssignmentAllocation, IntoADictionaryLeavesItEmptyOnFailure) {
    Scenario<Assigning> scenario = assigningScenario("Any = Any, nested dictionary into a dictionary",
                                                     holding(otherDictionary()), holding(richDictionary()));
    scenario.checkFailed = [](Assigning& f) {
        EXPECT_EQ(f.target.type(), f.before.type());
        EXPECT_TRUE(f.target.dict().empty()) << "a failed dictionary assignment must leave it empty";
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

// A target bound to a variable of the caller.
template <class T>
struct AssigningBound {
    AssigningBound(const T& value, const Any& source_) : variable(value), before(value), source(source_) {
        target = BindValue(variable);
    }
    T variable;
    const T before;
    Any target;
    Any source;
    const std::string text = longText("bound text");
};

TEST(AnyAssignmentAllocation, IntoABoundVariable) {
    Scenario<AssigningBound<std::string>> intoString;
    intoString.operation = "Any = Any, long string into a bound string";
    intoString.make = [] {
        return std::make_unique<AssigningBound<std::string>>("short", Any(longText("into bound").c_str()));
    };
    intoString.run = [](AssigningBound<std::string>& f) { f.target = f.source; };
    intoString.checkFailed = [](AssigningBound<std::string>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_EQ(f.variable, f.before);
    };
    intoString.checkCompleted = [](AssigningBound<std::string>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_EQ(f.variable, longText("into bound"));
    };
    EXPECT_GT(injectEachAllocation(intoString).points, 0);

    Scenario<AssigningBound<Dictionary>> intoDictionary;
    intoDictionary.operation = "Any = Any, nested dictionary into a bound dictionary";
    intoDictionary.make = [] {
        return std::make_unique<AssigningBound<Dictionary>>(otherDictionary(), holding(richDictionary()));
    };
    intoDictionary.run = [](AssigningBound<Dictionary>& f) { f.target = f.source; };
    intoDictionary.checkFailed = [](AssigningBound<Dictionary>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(f.variable.empty()) << "a failed dictionary assignment must leave it empty";
    };
    intoDictionary.checkCompleted = [](AssigningBound<Dictionary>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_TRUE(f.variable == richDictionary());
    };
    EXPECT_GT(injectEachAllocation(intoDictionary).points, 0);
}

// --- assignment from a text ------------------------------------------------------------------------

struct AssigningText {
    explicit AssigningText(const Any& target_) : target(target_), before(target_) {}
    Any target;
    const Any before;
    std::string text = longText("assigned text");
    bool castFailed = false;
};

Scenario<AssigningText> textScenario(const std::string& operation, const Any& target) {
    Scenario<AssigningText> scenario;
    scenario.operation = operation;
    scenario.make = [target] { return std::make_unique<AssigningText>(target); };
    scenario.run = [](AssigningText& f) {
        try {
            f.target = f.text.c_str();
        } catch (const AnyCastException&) {
            f.castFailed = true;
        }
    };
    scenario.checkFailed = [](AssigningText& f) {
        EXPECT_FALSE(f.castFailed);
        expectSameValue(f.target, f.before);
    };
    scenario.checkCompleted = [](AssigningText& f) {
        EXPECT_FALSE(f.castFailed);
        expectSameValue(f.target, holding(f.text));
    };
    return scenario;
}

TEST(AnyAssignmentAllocation, FromAText) {
    EXPECT_GT(injectEachAllocation(textScenario("Any = const char*, into an empty value", Any())).points, 0);
    EXPECT_GT(injectEachAllocation(textScenario("Any = const char*, into a short string", Any("short"))).points,
              0);
    Scenario<AssigningText> intoNumber = textScenario("Any = const char*, into an int (AnyCastException)",
                                                      holding(3));
    intoNumber.checkCompleted = [](AssigningText& f) {
        EXPECT_TRUE(f.castFailed);
        expectSameValue(f.target, f.before);
    };
    EXPECT_GT(injectEachAllocation(intoNumber).points, 0);

    Scenario<AssigningBound<std::string>> intoBound;
    intoBound.operation = "Any = const char*, into a bound string";
    intoBound.make = [] { return std::make_unique<AssigningBound<std::string>>("short", Any()); };
    intoBound.run = [](AssigningBound<std::string>& f) { f.target = f.text.c_str(); };
    intoBound.checkFailed = [](AssigningBound<std::string>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_EQ(f.variable, f.before);
    };
    intoBound.checkCompleted = [](AssigningBound<std::string>& f) {
        EXPECT_TRUE(isBoundTo(f.target, f.variable));
        EXPECT_EQ(f.variable, f.text);
    };
    EXPECT_GT(injectEachAllocation(intoBound).points, 0);
}

// --- rebinding -------------------------------------------------------------------------------------

struct Rebinding {
    Any target = holding(richDictionary());
    std::string variable = longText("rebound");
    FreshType unregistered{};
    bool rejected = false;
};

TEST(AnyAssignmentAllocation, RebindingToAnUnregisteredTypeLeavesItEmpty) {
    Scenario<Rebinding> scenario;
    scenario.operation = "Any = BindValue of an unregistered type";
    scenario.internsNewNames = true;
    scenario.make = [] {
        auto f = std::make_unique<Rebinding>();
        f->unregistered = nextFreshType();
        return f;
    };
    scenario.run = [](Rebinding& f) {
        try {
            f.target = BindValue(&f.variable, *f.unregistered.info);
        } catch (const AnyUnknownTypeException&) {
            f.rejected = true;
        }
    };
    scenario.checkFailed = [](Rebinding& f) {
        EXPECT_FALSE(f.rejected);
        expectEmpty(f.target);
    };
    scenario.checkCompleted = [](Rebinding& f) {
        EXPECT_TRUE(f.rejected);
        expectEmpty(f.target);
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

TEST(AnyAssignmentAllocation, RebindingToARegisteredTypeAllocatesNothing) {
    Scenario<Rebinding> scenario;
    scenario.operation = "Any = BindValue of a registered type";
    scenario.make = [] { return std::make_unique<Rebinding>(); };
    scenario.run = [](Rebinding& f) { f.target = BindValue(f.variable); };
    scenario.checkFailed = [](Rebinding&) { ADD_FAILURE() << "rebinding allocated"; };
    // The harness's leak check shows that the dictionary owned before is freed.
    scenario.checkCompleted = [](Rebinding& f) { EXPECT_TRUE(isBoundTo(f.target, f.variable)); };
    EXPECT_EQ(injectEachAllocation(scenario).points, 0);
}

} // namespace
