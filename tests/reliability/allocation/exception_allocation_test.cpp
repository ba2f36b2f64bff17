// Exceptions: adding an item, chaining an earlier exception and copying build everything aside and
// swap it in, so a failure leaves the exception exactly as it was, and a failed copy constructs
// nothing.

#include "injectionharness.h"
#include "testvalues.h"

#include <dictionary/tsanyexception.h>
#include <foundation/tsexception.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <typeinfo>

namespace {

using namespace Tessel::Reliability;
using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using Tessel::Base::ExceptionInfo;
using Tessel::Dictionary::AnyCastException;
using Tessel::Dictionary::AnyNullException;

// Every item (key, dynamic type, value), then every earlier decoration in the same form.
std::string contentsOf(const ExceptionDecoration& decoration) {
    std::ostringstream text;
    for (const auto& [key, item] : decoration.items()) {
        text << key << " [" << typeid(*item).name() << "] = ";
        item->writeValue(text) << '\n';
    }
    return text.str();
}

std::string contentsOf(const Exception& exception) {
    std::string text = contentsOf(static_cast<const ExceptionDecoration&>(exception));
    for (const ExceptionDecoration& earlier : exception.previous()) {
        text += "-- earlier --\n" + contentsOf(earlier);
    }
    return text;
}

AnyCastException castError(const std::string& stem) {
    AnyCastException error;
    error << ExceptionInfo<std::string>("FromType", longText(stem + " from"))
          << ExceptionInfo<std::string>("ToType", longText(stem + " to")) << ExceptionInfo<int>("ThrowLine", 12);
    return error;
}

// An exception with all four user texts and one earlier exception of its own.
AnyNullException chainedError() {
    AnyNullException error;
    error << ExceptionInfo<std::string>("UserSummary", longText("summary of %%(Detail)%%"))
          << ExceptionInfo<std::string>("UserDetail", longText("detail"))
          << ExceptionInfo<std::string>("UserTitle", longText("title"))
          << ExceptionInfo<std::string>("Detail", longText("filled in"));
    error.addPrevious(castError("earliest"));
    return error;
}

// --- adding items ------------------------------------------------------------------------------------

struct Adding {
    explicit Adding(const char* key) : item(key, longText("added item")) {}
    AnyCastException exception = castError("adding");
    const std::string before = contentsOf(exception);
    const ExceptionInfo<std::string> item;
};

Scenario<Adding> addingScenario(const std::string& operation, const char* key) {
    Scenario<Adding> scenario;
    scenario.operation = operation;
    scenario.make = [key] { return std::make_unique<Adding>(key); };
    scenario.run = [](Adding& f) { f.exception << f.item; };
    scenario.checkFailed = [](Adding& f) { EXPECT_EQ(contentsOf(f.exception), f.before); };
    scenario.checkCompleted = [key](Adding& f) {
        const std::string* value = f.exception.getValue<std::string>(key);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(*value, longText("added item"));
    };
    return scenario;
}

TEST(ExceptionAllocation, AddingAnItem) {
    EXPECT_GT(injectEachAllocation(addingScenario("ExceptionDecoration << a new key", "ThrowFunction")).points, 0);
    EXPECT_GT(injectEachAllocation(addingScenario("ExceptionDecoration << a key it has", "FromType")).points, 0);
}

// --- chaining ----------------------------------------------------------------------------------------

struct Chaining {
    AnyCastException exception = castError("later");
    const std::string before = contentsOf(exception);
    const AnyNullException earlier = chainedError();
};

TEST(ExceptionAllocation, AddPreviousOfAChain) {
    Scenario<Chaining> scenario;
    scenario.operation = "Exception::addPrevious of a chained exception";
    scenario.make = [] { return std::make_unique<Chaining>(); };
    scenario.run = [](Chaining& f) { f.exception.addPrevious(f.earlier); };
    scenario.checkFailed = [](Chaining& f) { EXPECT_EQ(contentsOf(f.exception), f.before); };
    scenario.checkCompleted = [](Chaining& f) {
        ASSERT_EQ(f.exception.previous().size(), 2U);
        const ExceptionDecoration& recorded = f.exception.previous().front();
        ASSERT_NE(recorded.getValue<std::string>("FilledUserSummary"), nullptr);
        EXPECT_EQ(*recorded.getValue<std::string>("FilledUserSummary"), f.earlier.userSummary());
        ASSERT_NE(recorded.getValue<std::string>("FilledUserMessage"), nullptr);
        EXPECT_EQ(*recorded.getValue<std::string>("FilledUserMessage"), f.earlier.userMessage());
        EXPECT_EQ(contentsOf(f.exception.previous().back()), contentsOf(f.earlier.previous().front()));
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct ChainingItself {
    AnyNullException exception = chainedError();
    const std::string before = contentsOf(exception);
};

TEST(ExceptionAllocation, AddPreviousOfItself) {
    Scenario<ChainingItself> scenario;
    scenario.operation = "Exception::addPrevious of itself";
    scenario.make = [] { return std::make_unique<ChainingItself>(); };
    scenario.run = [](ChainingItself& f) { f.exception.addPrevious(f.exception); };
    scenario.checkFailed = [](ChainingItself& f) { EXPECT_EQ(contentsOf(f.exception), f.before); };
    scenario.checkCompleted = [](ChainingItself& f) {
        ASSERT_EQ(f.exception.previous().size(), 2U);
        EXPECT_EQ(contentsOf(f.exception.previous().back()), contentsOf(chainedError().previous().front()));
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

// --- copying -----------------------------------------------------------------------------------------

struct CopyConstructing {
    const AnyNullException source = chainedError();
    std::optional<AnyNullException> copy;
};

TEST(ExceptionAllocation, CopyConstruction) {
    Scenario<CopyConstructing> scenario;
    scenario.operation = "Exception copy construction";
    scenario.make = [] { return std::make_unique<CopyConstructing>(); };
    scenario.run = [](CopyConstructing& f) { f.copy.emplace(f.source); };
    scenario.checkFailed = [](CopyConstructing& f) {
        EXPECT_FALSE(f.copy.has_value());
        EXPECT_EQ(contentsOf(f.source), contentsOf(chainedError()));
    };
    scenario.checkCompleted = [](CopyConstructing& f) {
        ASSERT_TRUE(f.copy.has_value());
        EXPECT_EQ(contentsOf(*f.copy), contentsOf(f.source));
    };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

struct CopyAssigning {
    AnyNullException target;
    const std::string before = contentsOf(target);
    const AnyNullException source = chainedError();
};

TEST(ExceptionAllocation, CopyAssignment) {
    Scenario<CopyAssigning> scenario;
    scenario.operation = "Exception copy assignment";
    scenario.make = [] { return std::make_unique<CopyAssigning>(); };
    scenario.run = [](CopyAssigning& f) { f.target = f.source; };
    scenario.checkFailed = [](CopyAssigning& f) { EXPECT_EQ(contentsOf(f.target), f.before); };
    scenario.checkCompleted = [](CopyAssigning& f) { EXPECT_EQ(contentsOf(f.target), contentsOf(f.source)); };
    EXPECT_GT(injectEachAllocation(scenario).points, 0);
}

} // namespace
