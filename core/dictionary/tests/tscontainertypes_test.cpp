// The "dictionary" and "vector" value types: text operations, signature, comparison, copies.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;
using Testing::item;
using Tessel::Base::Exception;
using Tessel::Base::NotImplemented;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Key = Dictionary::Key;
using Elements = std::vector<Any>;
using Bytes = std::vector<unsigned char>;

constexpr const char* kImplementationFile = "core/dictionary/src/tsanytypeimplementations.cpp";

const AnyType& labelled(const TypeAtom& label) {
    const AnyType* type = AnyTypeRegistry::typeByLabel(label);
    if (type == nullptr) {
        throw std::logic_error("a built-in type is missing");
    }
    return *type;
}

const AnyType& dictionaryType() {
    return labelled(gTypeLabelDictionary);
}

const AnyType& vectorType() {
    return labelled(gTypeLabelVector);
}

Any holdingInts(std::initializer_list<int> values) {
    Elements elements;
    for (const int value : values) {
        elements.push_back(holding(value));
    }
    return holding(elements);
}

Digest digestOf(const Bytes& bytes) {
    Engine engine;
    engine.update(bytes.data(), bytes.size());
    return engine.digest();
}

Digest signatureOf(const Any& any) {
    Engine engine;
    any.signature(engine);
    return engine.digest();
}

void expectThrowSite(const NotImplemented& e, const char* function, const char* file) {
    EXPECT_EQ(item(e, "ThrowFunction"), function);
    EXPECT_EQ(item(e, "ThrowFile"), file);
    EXPECT_EQ(item(e, "ExceptionClass"), "Tessel::Base::NotImplemented");
    EXPECT_EQ(e.userMessage(), "Unimplemented code path.");
    EXPECT_NE(e.getValue<int>("ThrowLine"), nullptr);
}

// --- descriptors ------------------------------------------------------------------------------------

TEST(ContainerTypes, DescribeTheirHostTypes) {
    EXPECT_TRUE(dictionaryType().typeInfo() == typeid(Dictionary));
    EXPECT_TRUE(vectorType().typeInfo() == typeid(Elements));
    EXPECT_NE(dynamic_cast<const Impl::DictionaryType*>(&dictionaryType()), nullptr);
    EXPECT_NE(dynamic_cast<const Impl::VectorType*>(&vectorType()), nullptr);
    EXPECT_EQ(holding(Dictionary()).type(), &dictionaryType());
    EXPECT_EQ(holding(Elements()).type(), &vectorType());
}

TEST(ContainerTypes, NewValuesAreEmptyAndNullIsIgnoredOnDelete) {
    void* table = dictionaryType().newValue();
    EXPECT_TRUE(static_cast<Dictionary*>(table)->empty());
    dictionaryType().deleteValue(table);
    void* list = vectorType().newValue();
    EXPECT_TRUE(static_cast<Elements*>(list)->empty());
    vectorType().deleteValue(list);
    dictionaryType().deleteValue(nullptr);
    vectorType().deleteValue(nullptr);
}

// --- text -----------------------------------------------------------------------------------------

TEST(ContainerText, VectorWriteThrowsAndWritesNothing) {
    for (const Any& list : {holding(Elements()), holdingInts({1, 2})}) {
        std::ostringstream os;
        os << "pre";
        try {
            list.write(os);
            ADD_FAILURE() << "write of a vector did not throw";
        } catch (const NotImplemented& e) {
            expectThrowSite(e, "Tessel::Dictionary::Impl::VectorType::write", kImplementationFile);
        }
        EXPECT_EQ(os.str(), "pre");
        EXPECT_EQ(os.rdstate(), std::ios_base::goodbit);
    }
}

TEST(ContainerText, DictionaryWriteThrowsFromTheDictionary) {
    Any table = holding(Dictionary());
    table["entry"].set(1);
    std::ostringstream os;
    try {
        table.write(os);
        ADD_FAILURE() << "write of a dictionary did not throw";
    } catch (const NotImplemented& e) {
        expectThrowSite(e, "Tessel::Dictionary::Dictionary::write", "core/dictionary/src/tsdictionary.cpp");
    }
    EXPECT_EQ(os.str(), "");
    // The slot itself, called directly, throws the same.
    try {
        dictionaryType().write(os, table);
        ADD_FAILURE() << "DictionaryType::write did not throw";
    } catch (const NotImplemented& e) {
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Dictionary::write");
    }
    EXPECT_EQ(os.str(), "");
}

TEST(ContainerText, ReadThrowsConsumesNothingAndKeepsTheValue) {
    Any table = holding(Dictionary());
    table["entry"].set(1);
    const Any tableBefore(table);
    Any list = holdingInts({4});
    const Any listBefore(list);
    struct Case {
        Any* any;
        const char* function;
    };
    for (const Case& c : {Case{&table, "Tessel::Dictionary::Impl::DictionaryType::read"},
                          Case{&list, "Tessel::Dictionary::Impl::VectorType::read"}}) {
        std::istringstream is("1 2 3");
        try {
            c.any->read(is);
            ADD_FAILURE() << "read did not throw";
        } catch (const NotImplemented& e) {
            expectThrowSite(e, c.function, kImplementationFile);
        }
        EXPECT_EQ(std::streamoff(is.tellg()), 0);
        EXPECT_EQ(is.rdstate(), std::ios_base::goodbit);
    }
    EXPECT_TRUE(table == tableBefore);
    EXPECT_TRUE(list == listBefore);
}

TEST(ContainerText, ParsingAnyTextAsAContainerThrowsFromItsRead) {
    for (const char* text : {"", "()", "[1, 2]", "17"}) {
        Any any;
        try {
            any.parse(text, vectorType());
            ADD_FAILURE() << "parse as vector did not throw for " << text;
        } catch (const NotImplemented& e) {
            expectThrowSite(e, "Tessel::Dictionary::Impl::VectorType::read", kImplementationFile);
        }
        try {
            any.parse(text, dictionaryType());
            ADD_FAILURE() << "parse as dictionary did not throw for " << text;
        } catch (const NotImplemented& e) {
            expectThrowSite(e, "Tessel::Dictionary::Impl::DictionaryType::read", kImplementationFile);
        }
        EXPECT_EQ(any.type(), &dictionaryType());
    }
}

// --- vector signature --------------------------------------------------------------------------------

TEST(VectorSignature, IndexThenElementPerElement) {
    EXPECT_EQ(signatureOf(holdingInts({7})), digestOf({0, 0, 0, 0, 0x07, 0, 0, 0}));
    EXPECT_EQ(signatureOf(holding(Elements(1))), digestOf({0, 0, 0, 0}));
    EXPECT_EQ(signatureOf(holding(Elements())), digestOf({}));

    Elements mixed;
    mixed.push_back(holding(1));
    mixed.emplace_back();
    mixed.emplace_back("x");
    mixed.push_back(holding(Dictionary()));
    EXPECT_EQ(signatureOf(holding(mixed)),
              digestOf({0, 0, 0, 0, 0x01, 0, 0, 0, 0x01, 0, 0, 0, 0x02, 0, 0, 0, 'x', 0x03, 0, 0, 0, '(', ')'}));
}

TEST(VectorSignature, IndexIsLittleEndianOverAllFourBytes) {
    Elements elements(0x102);
    Bytes expected;
    for (unsigned i = 0; i < elements.size(); ++i) {
        expected.insert(expected.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(i >> 8), 0, 0});
    }
    EXPECT_EQ(signatureOf(holding(elements)), digestOf(expected));
}

TEST(VectorSignature, NestedVectorsAddNoLabelOrCount) {
    Elements inner(1, holding(7));
    Elements outer(1, holding(inner));
    EXPECT_EQ(signatureOf(holding(outer)), digestOf({0, 0, 0, 0, 0, 0, 0, 0, 0x07, 0, 0, 0}));
    // The element position is what tells [[7]] from [7] and from [[], 7]...
    EXPECT_NE(signatureOf(holding(outer)), signatureOf(holdingInts({7})));
}

// --- comparison -----------------------------------------------------------------------------------

TEST(VectorEquality, ByLengthPositionTypeAndValue) {
    EXPECT_TRUE(holding(Elements()) == holding(Elements()));
    EXPECT_TRUE(vectorType().equal(holding(Elements()), holding(Elements())));
    EXPECT_TRUE(holdingInts({1, 2}) == holdingInts({1, 2}));
    EXPECT_FALSE(holdingInts({1, 2}) == holdingInts({2, 1}));
    EXPECT_FALSE(vectorType().equal(holdingInts({1, 2}), holdingInts({2, 1})));
    EXPECT_FALSE(holdingInts({1, 2}) == holdingInts({1, 2, 3}));
    EXPECT_FALSE(holdingInts({1}) == holding(Elements(1, holding(1LL))));
    EXPECT_TRUE(holding(Elements(2)) == holding(Elements(2)));
    EXPECT_FALSE(holding(Elements(1)) == holdingInts({0}));
    EXPECT_TRUE(holdingInts({1, 2}) != holdingInts({2, 1}));
}

TEST(DictionaryTypeEquality, ByKeysAndValues) {
    Any first = holding(Dictionary());
    first["k"].set(1);
    Any second = holding(Dictionary());
    second["k"].set(1);
    EXPECT_TRUE(dictionaryType().equal(first, second));
    second["k"].ref<int>() = 2;
    EXPECT_FALSE(dictionaryType().equal(first, second));
    EXPECT_FALSE(holding(Dictionary()) == holding(Elements()));
}

// --- vector copy assignment -------------------------------------------------------------------------

TEST(VectorAssignment, LongerTargetAssignsElementsAndDropsTheSurplus) {
    Any target = holdingInts({0, 1, 2, 3, 4});
    const Any* firstElement = &target.vec()[0];
    Elements source;
    source.push_back(holding(10));
    source.push_back(holding(2.75));
    target = holding(source);

    ASSERT_EQ(target.vec().size(), 2U);
    EXPECT_EQ(&target.vec()[0], firstElement);
    EXPECT_EQ(target[0].ref<int>(), 10);
    // Assigned by Any::operator=: the int32 element converts the double and stays an int32.
    EXPECT_EQ(target[1].type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(target[1].ref<int>(), 2);
}

TEST(VectorAssignment, ShorterTargetWithRoomAssignsThenAppendsCopies) {
    Any target = holdingInts({0});
    target.vec().reserve(8);
    const Any* storage = target.vec().data();

    int variable = 6;
    Elements source;
    source.push_back(holding(1.9));
    source.emplace_back("text");
    source.emplace_back(BindValue(variable));
    target = holding(source);

    ASSERT_EQ(target.vec().size(), 3U);
    EXPECT_EQ(target.vec().data(), storage);
    EXPECT_EQ(target[0].type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(target[0].ref<int>(), 1);
    EXPECT_EQ(target[1].ref<std::string>(), "text");
    EXPECT_EQ(target[2].ref<int>(), 6);
}

TEST(VectorAssignment, ShorterTargetWithoutRoomIsRebuiltFromCopies) {
    Any target = holdingInts({0});
    target.vec().shrink_to_fit();
    Elements source;
    source.push_back(holding(2.5));
    source.emplace_back("text");
    ASSERT_LT(target.vec().capacity(), source.size());

    target = holding(source);
    ASSERT_EQ(target.vec().size(), 2U);
    // Rebuilt: the first element is a copy, with the source's type.
    EXPECT_EQ(target[0].type(), &labelled(gTypeLabelDouble));
    EXPECT_EQ(target[0].ref<double>(), 2.5);
    EXPECT_EQ(target[1].ref<std::string>(), "text");
}

TEST(VectorAssignment, CopiedElementsOwnTheirValues) {
    int variable = 1;
    Elements source;
    source.emplace_back(BindValue(variable));
    Any target = holding(Elements());
    Any sourceAny{BindValue(source)};
    target = sourceAny;
    variable = 2;
    EXPECT_EQ(target[0].ref<int>(), 1);
    EXPECT_NE(&target[0].ref<int>(), &variable);
}

TEST(VectorAssignment, BoundTargetVariableIsAssigned) {
    Elements variable(5, holding(0));
    Any target{BindValue(variable)};
    target = holdingInts({8, 9});
    ASSERT_EQ(variable.size(), 2U);
    EXPECT_EQ(variable[1].ref<int>(), 9);
}

TEST(VectorAssignment, AnElementWithoutACastPropagatesTheCastFailure) {
    Any target = holdingInts({1});
    Elements source;
    source.emplace_back("not a number");
    EXPECT_THROW(target = holding(source), AnyCastException);
    EXPECT_EQ(target.vec().size(), 1U);
    EXPECT_EQ(target[0].ref<int>(), 1);
}

// A vector holding [[1, 2, 3], 9]: its first element's vector is longer than the vector itself, so
// assigning that element in place reallocates the outer vector.
Elements outgrowingPair() {
    Elements pair;
    pair.push_back(holdingInts({1, 2, 3}));
    pair.push_back(holding(9));
    return pair;
}

TEST(VectorAssignment, FromAVectorNestedInTheTargetWithRoom) {
    Any target = holding(Elements());
    target.vec().reserve(4);
    target.vec().push_back(holding(outgrowingPair()));

    target = target[0];
    ASSERT_EQ(target.vec().size(), 2U);
    EXPECT_TRUE(target[0] == holdingInts({1, 2, 3}));
    EXPECT_EQ(target[1].ref<int>(), 9);
}

TEST(VectorAssignment, FromAVectorNestedInALongerTarget) {
    Any target = holding(Elements());
    target.vec().push_back(holding(outgrowingPair()));
    target.vec().push_back(holding(0));
    target.vec().push_back(holding(0));

    target = target[0];
    ASSERT_EQ(target.vec().size(), 2U);
    EXPECT_TRUE(target[0] == holdingInts({1, 2, 3}));
    EXPECT_EQ(target[1].ref<int>(), 9);
}

TEST(VectorAssignment, IntoAVectorNestedInTheSource) {
    Any source = holding(Elements());
    source.vec().push_back(holding(Elements(1, holding(Elements()))));
    source.vec().push_back(holding(5));
    source[0].vec().reserve(4);

    // [[[]], 5] assigned into its own first element: that element takes [[]] into its empty
    // vector and appends 5.
    source[0] = source;
    Any expected = holding(Elements());
    expected.vec().push_back(holding(Elements(1, holding(Elements(1, holding(Elements()))))));
    expected.vec().push_back(holding(5));
    expected[0].vec().push_back(holding(5));
    EXPECT_TRUE(source == expected);
}

// --- deep copies and nesting ------------------------------------------------------------------------

TEST(ContainerCopy, DictionaryWithANestedVectorSharesNoStorage) {
    Any source = holding(Dictionary());
    source["list"] = holdingInts({1, 2});
    source["name"] = "n";

    Any copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_TRUE(dictionaryType().equal(copy, source));
    EXPECT_NE(&copy.dict(), &source.dict());
    EXPECT_NE(&copy["list"].vec(), &source["list"].vec());
    EXPECT_NE(&copy["list"][0].ref<int>(), &source["list"][0].ref<int>());

    copy["list"][0].ref<int>() = 100;
    copy["list"].vec().push_back(holding(3));
    EXPECT_EQ(source["list"][0].ref<int>(), 1);
    EXPECT_EQ(source["list"].vec().size(), 2U);
    EXPECT_TRUE(copy != source);
}

TEST(ContainerCopy, DictionaryTypeCopyValueReplacesTheEntries) {
    Dictionary from;
    from[Key("copy-kept")].set(1.5);
    Dictionary to;
    to[Key("copy-kept")].set(1);
    to[Key("copy-dropped")].set(2);
    dictionaryType().copyValue(&from, &to);
    EXPECT_TRUE(to == from);
    EXPECT_EQ(to.size(), 1U);

    Elements list = {holding(3)};
    Elements listTarget;
    vectorType().copyValue(&list, &listTarget);
    ASSERT_EQ(listTarget.size(), 1U);
    EXPECT_EQ(listTarget[0].ref<int>(), 3);
}

// Builds a chain of `depth` containers, alternating dictionaries and vectors, ending in `leaf`.
Any nested(int depth, int leaf) {
    Any value = holding(leaf);
    for (int level = 0; level < depth; ++level) {
        Any outer;
        if (level % 2 == 0) {
            outer.set(Dictionary());
            outer["inner"] = value;
        } else {
            outer.set(Elements(1, value));
        }
        value.clear();
        value = outer;
    }
    return value;
}

// The leaf at the bottom of a chain made by nested().
Any& leafOf(Any& value, int depth) {
    Any* current = &value;
    for (int level = depth - 1; level >= 0; --level) {
        current = level % 2 == 0 ? &(*current)["inner"] : &(*current)[0];
    }
    return *current;
}

TEST(ContainerCopy, NestingToDepth) {
    constexpr int kDepth = 64;
    Any source = nested(kDepth, 1);
    Any copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_EQ(signatureOf(copy), signatureOf(source));
    EXPECT_EQ(leafOf(source, kDepth).ref<int>(), 1);

    leafOf(copy, kDepth).ref<int>() = 2;
    EXPECT_EQ(leafOf(source, kDepth).ref<int>(), 1);
    EXPECT_TRUE(copy != source);
    EXPECT_NE(signatureOf(copy), signatureOf(source));
    EXPECT_TRUE(copy == nested(kDepth, 2));
}

} // namespace
