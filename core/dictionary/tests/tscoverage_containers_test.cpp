// Cases the other container tests leave out: a vector assigned from inside a dictionary nested in
// the target, a target with an empty element, two values bound to one vector variable, a second
// registration of the container kinds, and the C-string cast used on its own.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <string>
#include <typeinfo>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;
using Elements = std::vector<Any>;

Dictionary oneEntry(const char* key, int value) {
    Dictionary dictionary;
    dictionary[key].set(value);
    return dictionary;
}

TEST(VectorAssignmentAliasing, FromAVectorInsideADictionaryElementOfTheTarget) {
    // target = [ {inner: [ {k: 1}, 5 ]}, 0 ]; then target = target[0]["inner"]. Assigning the
    // first element replaces the dictionary that holds the source, so the source must have been
    // copied before: the second element then still reads 5.
    Dictionary holder;
    holder["inner"].set(Elements{holding(oneEntry("k", 1)), holding(5)});
    Any target = holding(Elements{holding(holder), holding(0)});
    const Any& nested = target[0]["inner"];
    target = nested;

    ASSERT_EQ(target.vec().size(), 2U);
    EXPECT_EQ(target[0].dict(), oneEntry("k", 1));
    EXPECT_EQ(target[1].ref<int>(), 5);
}

TEST(VectorAssignmentAliasing, AnEmptyElementOfTheTargetTakesAnOwnedCopy) {
    Any target = holding(Elements{Any(), holding(1)});
    const Any source = holding(Elements{holding(5), holding(6)});
    target = source;
    ASSERT_EQ(target.vec().size(), 2U);
    EXPECT_EQ(target[0].type()->label(), gTypeLabelInt32);
    EXPECT_EQ(target[0].ref<int>(), 5);
    EXPECT_EQ(target[1].ref<int>(), 6);
    EXPECT_EQ(target, source);
}

TEST(VectorAssignmentAliasing, TwoValuesBoundToOneVectorLeaveItAsItWas) {
    Elements variable{holding(1), Any("two")};
    const Any* firstElement = &variable[0];
    Any a{BindValue(variable)};
    const Any b{BindValue(variable)};
    a = b;
    ASSERT_EQ(variable.size(), 2U);
    EXPECT_EQ(&variable[0], firstElement); // not even reassigned in place
    EXPECT_EQ(variable[0].ref<int>(), 1);
    EXPECT_EQ(variable[1].ref<std::string>(), "two");
}

TEST(ContainerTypeRegistration, ASecondDictionaryOrVectorTypeIsRejected) {
    AnyTypeRegistry::get();
    // Under new labels, but for host types whose names the built-ins hold: refused and deleted.
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::DictionaryType(TypeAtom("dictionary-again"))));
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::VectorType(TypeAtom("vector-again"))));
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(TypeAtom("dictionary-again")), nullptr);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(TypeAtom("vector-again")), nullptr);
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(Dictionary).name()))->label(), gTypeLabelDictionary);
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(Elements).name()))->label(), gTypeLabelVector);
}

TEST(CStringCast, ConvertsATextAndTreatsNullAsEmpty) {
    const Impl::GenericAnyCast<char*, std::string> cast;
    EXPECT_EQ(cast.fromTypeInfo(), typeid(char*));
    EXPECT_EQ(cast.toTypeInfo(), typeid(std::string));
    EXPECT_EQ(cast.fromName(), TypeAtom(typeid(char*).name()));

    std::string target = "before";
    const char* text = "clip";
    cast.convert(&text, &target);
    EXPECT_EQ(target, "clip");
    const char* null = nullptr;
    cast.convert(&null, &target);
    EXPECT_EQ(target, "");
}

} // namespace
