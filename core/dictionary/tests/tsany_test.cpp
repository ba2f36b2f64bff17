#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <cmath>
#include <limits>
#include <string>

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;
using Testing::item;
using Tessel::Base::Exception;

const AnyType* labelled(const TypeAtom& label) {
    return AnyTypeRegistry::typeByLabel(label);
}

// A type with no registered value type.
struct Unregistered {};

// --- states ---------------------------------------------------------------------------------------

TEST(AnyStates, DefaultIsEmpty) {
    Any any;
    EXPECT_TRUE(any.isEmpty());
    EXPECT_EQ(any.type(), nullptr);
    Any copy(any);
    EXPECT_TRUE(copy.isEmpty());
    any.clear();
    EXPECT_TRUE(any.isEmpty());
}

TEST(AnyStates, SetOwnsACopyOfTheRegisteredType) {
    int source = 1920;
    Any any = holding(source);
    EXPECT_EQ(any.type(), labelled(gTypeLabelInt32));
    source = 1;
    EXPECT_EQ(any.as<int>(), 1920);
}

TEST(AnyStates, SetOfAnUnknownTypeThrowsAndStaysEmpty) {
    Any any;
    try {
        any.set(Unregistered{});
        FAIL() << "set of an unregistered type did not throw";
    } catch (const AnyUnknownTypeException& e) {
        EXPECT_EQ(item(e, "Type"), Tessel::Base::readableTypeName(typeid(Unregistered)));
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Any::set");
        EXPECT_EQ(item(e, "ThrowFile"), "core/dictionary/include/dictionary/tsany.h");
        EXPECT_EQ(item(e, "ExceptionClass"), "Tessel::Dictionary::AnyUnknownTypeException");
        EXPECT_EQ(e.userMessage(),
                  "Don't know how to handle type '" + Tessel::Base::readableTypeName<Unregistered>() +
                      "' in a Dictionary.");
    }
    EXPECT_TRUE(any.isEmpty());
}

TEST(AnyStates, TextConstructionAndResetOwnAString) {
    const char* nullText = nullptr;
    Any fromNull(nullText);
    EXPECT_EQ(fromNull.type(), labelled(gTypeLabelString));
    EXPECT_EQ(fromNull.as<std::string>(), "");

    Any any = holding(5);
    any.reset("hello");
    EXPECT_EQ(any.type(), labelled(gTypeLabelString));
    EXPECT_EQ(any.as<std::string>(), "hello");
    any.reset(nullText);
    EXPECT_EQ(any.as<std::string>(), "");
}

TEST(AnyStates, TextThatAliasesTheHeldStringIsReadBeforeItChanges) {
    std::string variable = "a text long enough to live outside the small-string buffer";
    Any bound{BindValue(variable)};
    bound = variable.c_str() + 2; // assigns a suffix of the string to the string itself
    EXPECT_EQ(variable, "text long enough to live outside the small-string buffer");
    bound.reset(variable.c_str());
    EXPECT_EQ(bound.as<std::string>(), variable);
}

TEST(AnyStates, ResetTemplateChangesTheType) {
    Any any("text");
    any.reset(2.5);
    EXPECT_EQ(any.type(), labelled(gTypeLabelDouble));
    EXPECT_EQ(any.as<double>(), 2.5);
}

// --- copies ---------------------------------------------------------------------------------------

TEST(AnyCopy, CopyOfABoundValueOwnsASnapshot) {
    int variable = 3;
    Any bound{BindValue(variable)};
    Any copy(bound);
    variable = 4;
    EXPECT_EQ(copy.as<int>(), 3);
    EXPECT_EQ(bound.as<int>(), 4);
    copy = holding(9);
    EXPECT_EQ(variable, 4);
}

TEST(AnyCopy, AssigningIntoAnEmptyValueCopiesTypeAndValue) {
    int variable = 11;
    Any bound{BindValue(variable)};
    Any target;
    target = bound;
    EXPECT_EQ(target.type(), bound.type());
    variable = 12;
    EXPECT_EQ(target.as<int>(), 11);

    Any empty;
    target.clear();
    target = empty;
    EXPECT_TRUE(target.isEmpty());
}

// --- assignment -----------------------------------------------------------------------------------

TEST(AnyAssignment, SameTypeCopiesIntoTheValue) {
    Any target = holding(std::string("old"));
    target = holding(std::string("new"));
    EXPECT_EQ(target.as<std::string>(), "new");
}

TEST(AnyAssignment, OtherTypeConvertsAndKeepsTheType) {
    Any target = holding(7);
    target = holding(2.75);
    EXPECT_EQ(target.type(), labelled(gTypeLabelInt32));
    EXPECT_EQ(target.as<int>(), 2);
    target = holding(true);
    EXPECT_EQ(target.as<int>(), 1);
}

TEST(AnyAssignment, EmptySourceThrowsAndLeavesTheTarget) {
    Any target = holding(5);
    try {
        target = Any();
        FAIL() << "assigning an empty value did not throw";
    } catch (const AnyNullException& e) {
        EXPECT_EQ(e.userMessage(), "Attempted to access an empty dictionary entry.");
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Any::operator =");
        EXPECT_EQ(item(e, "ThrowFile"), "core/dictionary/src/tsany.cpp");
        EXPECT_NE(e.getValue<int>("ThrowLine"), nullptr);
    }
    EXPECT_EQ(target.as<int>(), 5);
}

TEST(AnyAssignment, MissingCastThrowsAndLeavesTheTarget) {
    Any text = holding(std::string("keep"));
    try {
        text = holding(5);
        FAIL() << "int to string converted";
    } catch (const AnyCastException& e) {
        EXPECT_EQ(item(e, "FromType"), "int");
        EXPECT_EQ(item(e, "ToType"), Tessel::Base::readableTypeName<std::string>());
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::AnyType::castToMine");
        EXPECT_EQ(item(e, "ThrowFile"), "core/dictionary/src/tsanytypemanagement.cpp");
        EXPECT_EQ(e.userMessage(), "Don't know how to cast dictionary entry from type 'int' to type '" +
                                       Tessel::Base::readableTypeName<std::string>() + "'.");
    }
    EXPECT_EQ(text.as<std::string>(), "keep");

    Any number = holding(8);
    EXPECT_THROW(number = holding(std::string("9")), AnyCastException);
    EXPECT_EQ(number.as<int>(), 8);
    EXPECT_EQ(number.type(), labelled(gTypeLabelInt32));
}

TEST(AnyAssignment, SelfAssignmentChangesNothing) {
    Any owning = holding(std::string("same"));
    const Any& alias = owning;
    owning = alias;
    EXPECT_EQ(owning.as<std::string>(), "same");

    std::string variable = "bound";
    Any bound{BindValue(variable)};
    const Any& boundAlias = bound;
    bound = boundAlias;
    EXPECT_EQ(variable, "bound");

    // Two values bound to the same variable: the copy goes onto itself.
    Any second{BindValue(variable)};
    bound = second;
    EXPECT_EQ(variable, "bound");
}

TEST(AnyAssignment, TextAssignment) {
    Any empty;
    empty = "made";
    EXPECT_EQ(empty.type(), labelled(gTypeLabelString));
    EXPECT_EQ(empty.as<std::string>(), "made");

    empty = "replaced";
    EXPECT_EQ(empty.as<std::string>(), "replaced");
    const char* nullText = nullptr;
    empty = nullText;
    EXPECT_EQ(empty.as<std::string>(), "");

    Any number = holding(4);
    try {
        number = "12";
        FAIL() << "text converted into a number";
    } catch (const AnyCastException& e) {
        EXPECT_EQ(item(e, "FromType"), Tessel::Base::readableTypeName<char*>());
        EXPECT_EQ(item(e, "ToType"), "int");
    }
    EXPECT_EQ(number.as<int>(), 4);
}

// --- binding --------------------------------------------------------------------------------------

TEST(AnyBinding, AssignmentsWriteThroughToTheVariable) {
    int variable = 0;
    Any bound{BindValue(variable)};
    EXPECT_FALSE(bound.isEmpty());
    bound = holding(7);
    EXPECT_EQ(variable, 7);
    bound = holding(2.9);
    EXPECT_EQ(variable, 2);
    bound.clear();
    EXPECT_TRUE(bound.isEmpty());
    EXPECT_EQ(variable, 2);
}

TEST(AnyBinding, BoundStringTakesText) {
    std::string variable = "before";
    Any bound{BindValue(variable)};
    bound = "after";
    EXPECT_EQ(variable, "after");
    bound.reset("detached");
    EXPECT_EQ(variable, "after");
    EXPECT_EQ(bound.as<std::string>(), "detached");
}

TEST(AnyBinding, LongBindsThroughItsAlias) {
    long variable = 5;
    Any bound{BindValue(variable)};
    // On LP64 `long` is an alias of the 64-bit signed type.
    EXPECT_EQ(bound.type(), labelled(gTypeLabelInt64));
    bound = holding(-6);
    EXPECT_EQ(variable, -6);
    unsigned long unsignedVariable = 1;
    Any unsignedBound{BindValue(unsignedVariable)};
    EXPECT_EQ(unsignedBound.type(), labelled(gTypeLabelUnsignedInt64));
}

TEST(AnyBinding, UnknownTypeOrNullAddressThrowsAndLeavesEmpty) {
    Unregistered variable;
    try {
        Any bound{BindValue(variable)};
        FAIL() << "bound an unregistered type";
    } catch (const AnyUnknownTypeException& e) {
        EXPECT_EQ(item(e, "Type"), Tessel::Base::readableTypeName<Unregistered>());
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Any::bind");
        EXPECT_EQ(item(e, "ThrowFile"), "core/dictionary/src/tsany.cpp");
    }
    Any any = holding(1.5);
    try {
        any = BindValue(nullptr, typeid(int));
        FAIL() << "bound a null address";
    } catch (const AnyUnknownTypeException& e) {
        EXPECT_EQ(item(e, "Type"), "int");
    }
    EXPECT_TRUE(any.isEmpty());
}

TEST(AnyBinding, RebindingReplacesWhateverWasHeld) {
    int first = 1;
    double second = 2.5;
    Any any("owned text");
    any = BindValue(first);
    EXPECT_EQ(any.type(), labelled(gTypeLabelInt32));
    any = BindValue(second);
    EXPECT_EQ(any.type(), labelled(gTypeLabelDouble));
    any = holding(4);
    EXPECT_EQ(second, 4.0);
    EXPECT_EQ(first, 1);
}

TEST(AnyBinding, BindValueFromAddressAndType) {
    short variable = 3;
    const BindValue byHand(&variable, typeid(short));
    EXPECT_EQ(byHand.address(), &variable);
    EXPECT_EQ(byHand.typeInfo(), typeid(short));
    Any bound(byHand);
    bound = holding(40000); // wraps into 16 bits
    EXPECT_EQ(variable, static_cast<short>(40000 - 65536));
}

// --- converting reads -----------------------------------------------------------------------------

TEST(AnyGet, ExactTypeCopiesOtherTypesConvert) {
    Any any = holding(-3);
    EXPECT_EQ(any.as<int>(), -3);
    EXPECT_EQ(any.as<long>(), -3L);
    EXPECT_EQ(any.as<double>(), -3.0);
    EXPECT_EQ(any.as<unsigned char>(), 253);
    EXPECT_TRUE(any.as<bool>());
}

TEST(AnyGet, EmptyAndMissingCastThrow) {
    Any empty;
    int variable = 5;
    try {
        empty.get(variable);
        FAIL() << "read from an empty value";
    } catch (const AnyNullException& e) {
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Any::get");
    }
    Any number = holding(5);
    std::string text = "unchanged";
    try {
        number.get(text);
        FAIL() << "int read as a string";
    } catch (const AnyCastException& e) {
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::AnyType::castFromMine");
        EXPECT_EQ(item(e, "FromType"), "int");
        EXPECT_EQ(item(e, "ToType"), Tessel::Base::readableTypeName<std::string>());
    }
    EXPECT_EQ(text, "unchanged");
}

TEST(AnyGet, SaturatesOutOfRangeFloatingPoint) {
    EXPECT_EQ(holding(1e300).as<int>(), std::numeric_limits<int>::max());
    EXPECT_EQ(holding(-1e300).as<short>(), std::numeric_limits<short>::min());
    EXPECT_EQ(holding(std::nan("")).as<long long>(), 0);
    EXPECT_EQ(holding(-1.0f).as<unsigned int>(), 0U);
}

} // namespace
