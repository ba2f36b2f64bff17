// Typed views, container views and indexing, comparison, text and signature of Any.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsreadabletypename.h>
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
using Tessel::Base::NameAtom;
using Tessel::Base::NotImplemented;
using Tessel::Base::readableTypeName;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;

constexpr const char* kHeaderPath = "core/dictionary/include/dictionary/tsany.h";

const AnyType& labelled(const TypeAtom& label) {
    const AnyType* type = AnyTypeRegistry::typeByLabel(label);
    if (type == nullptr) {
        throw std::logic_error("a built-in type is missing");
    }
    return *type;
}

Any holdingDictionary() {
    return holding(Dictionary());
}

Any holdingVector(std::initializer_list<int> values) {
    std::vector<Any> elements;
    for (const int value : values) {
        elements.push_back(holding(value));
    }
    return holding(elements);
}

// Exposes the shared empty entry, so that const lookups can be checked to return that object.
struct NullEntry : Dictionary {
    static const Any& address() { return kNullEntry; }
};

// The digest of exactly `bytes`, to compare with what a signature fed.
Digest digestOf(std::initializer_list<unsigned char> bytes) {
    const std::vector<unsigned char> data(bytes);
    Engine engine;
    engine.update(data.data(), data.size());
    return engine.digest();
}

Digest signatureOf(const Any& any) {
    Engine engine;
    any.signature(engine);
    return engine.digest();
}

// Checks the items every throw of a typed view records.
void expectRefSite(const Exception& e, const char* exceptionClass) {
    EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Any::ref");
    EXPECT_EQ(item(e, "ThrowFile"), kHeaderPath);
    EXPECT_EQ(item(e, "ExceptionClass"), exceptionClass);
    EXPECT_NE(e.getValue<int>("ThrowLine"), nullptr);
}

// Calls `access` on `any`, expects AnyNullException from a typed view, and that the Any is
// still empty afterwards.
template <class Access>
void expectNullFromView(Any& any, Access access, const char* what) {
    SCOPED_TRACE(what);
    try {
        access(any);
        ADD_FAILURE() << "no exception";
    } catch (const AnyNullException& e) {
        expectRefSite(e, "Tessel::Dictionary::AnyNullException");
        EXPECT_EQ(e.userMessage(), "Attempted to access an empty dictionary entry.");
    }
    EXPECT_TRUE(any.isEmpty());
    EXPECT_EQ(any.type(), nullptr);
}

// Calls `access`, expects AnyDereferenceException naming the two types.
template <class Access>
void expectDereference(Access access, const std::string& fromType, const std::string& toType,
                       const char* what) {
    SCOPED_TRACE(what);
    try {
        access();
        ADD_FAILURE() << "no exception";
    } catch (const AnyDereferenceException& e) {
        expectRefSite(e, "Tessel::Dictionary::AnyDereferenceException");
        EXPECT_EQ(item(e, "FromType"), fromType);
        EXPECT_EQ(item(e, "ToType"), toType);
        EXPECT_EQ(e.userMessage(), "Can't make dictionary entry of type '" + fromType + "' be of type '" +
                                       toType + "'.");
    }
}

// --- ref<T> -------------------------------------------------------------------------------------

TEST(AnyRef, NonConstFormAcceptsTheHostTypeAndItsAlias) {
    Any any = holding(5LL);
    ASSERT_EQ(any.type(), &labelled(gTypeLabelInt64));
    EXPECT_EQ(any.ref<long long>(), 5);
    // On LP64 `long` is an alias of the 64-bit type: the same object, viewed as long.
    long& viewed = any.ref<long>();
    EXPECT_EQ(static_cast<const void*>(&viewed), static_cast<const void*>(&any.ref<long long>()));
    viewed = -7;
    EXPECT_EQ(any.ref<long long>(), -7);
    EXPECT_EQ(any.as<long long>(), -7);
}

TEST(AnyRef, ConstFormAcceptsOnlyTheExactHostType) {
    Any any = holding(9LL);
    const Any& view = any;
    EXPECT_EQ(view.ref<long long>(), 9);
    expectDereference([&] { static_cast<void>(view.ref<long>()); }, "long long", "long",
                      "const ref<long> on int64");
    EXPECT_EQ(view.ref<long long>(), 9);
}

TEST(AnyRef, Int32HasNoAliasOnThisPlatform) {
    Any any = holding(3);
    const Any& view = any;
    EXPECT_EQ(any.ref<int>(), 3);
    EXPECT_EQ(view.ref<int>(), 3);
    expectDereference([&] { static_cast<void>(any.ref<long>()); }, "int", "long", "ref<long> on int32");
    expectDereference([&] { static_cast<void>(any.ref<unsigned int>()); }, "int", "unsigned int",
                      "ref<unsigned int> on int32");
    expectDereference([&] { static_cast<void>(view.ref<double>()); }, "int", "double",
                      "const ref<double> on int32");
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(any.ref<int>(), 3);
}

TEST(AnyRef, ViewsTheBoundVariableItself) {
    int variable = 3;
    Any any{BindValue(variable)};
    EXPECT_EQ(&any.ref<int>(), &variable);
    EXPECT_EQ(&static_cast<const Any&>(any).ref<int>(), &variable);
    any.ref<int>() = 8;
    EXPECT_EQ(variable, 8);
    variable = 11;
    EXPECT_EQ(static_cast<const Any&>(any).ref<int>(), 11);
}

TEST(AnyRef, EmptyThrowsNullInBothForms) {
    Any any;
    expectNullFromView(any, [](Any& a) { static_cast<void>(a.ref<int>()); }, "ref<int>");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a).ref<int>()); },
                       "ref<int> const");
}

TEST(AnyRef, WrongTypeNamesHeldAndWantedTypes) {
    Any any = holding(1);
    expectDereference([&] { static_cast<void>(any.dict()); }, "int",
                      readableTypeName<Dictionary>(), "dict() on int32");
    EXPECT_EQ(readableTypeName<Dictionary>(), "Tessel::Dictionary::Dictionary");
    expectDereference([&] { static_cast<void>(any.ref<std::string>()); }, "int",
                      readableTypeName<std::string>(), "ref<std::string> on int32");
    Any text("words");
    expectDereference([&] { static_cast<void>(text.ref<int>()); }, readableTypeName<std::string>(), "int",
                      "ref<int> on string");
}

// --- container views and indexing ---------------------------------------------------------------

TEST(AnyContainerViews, EveryViewOfAnEmptyValueThrowsNullAndCreatesNothing) {
    Any any;
    const NameAtom<Any> key("access-test.empty-key");
    expectNullFromView(any, [](Any& a) { static_cast<void>(a.dict()); }, "dict()");
    expectNullFromView(any, [](Any& a) { static_cast<void>(a.vec()); }, "vec()");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a).dict()); },
                       "dict() const");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a).vec()); },
                       "vec() const");
    expectNullFromView(any, [](Any& a) { static_cast<void>(a["name"]); }, "[const char*]");
    expectNullFromView(any, [&](Any& a) { static_cast<void>(a[key]); }, "[NameAtom]");
    expectNullFromView(any, [](Any& a) { static_cast<void>(a[0]); }, "[int]");
    expectNullFromView(any, [](Any& a) { static_cast<void>(a[0u]); }, "[unsigned int]");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a)["name"]); },
                       "[const char*] const");
    expectNullFromView(any, [&](Any& a) { static_cast<void>(static_cast<const Any&>(a)[key]); },
                       "[NameAtom] const");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a)[0]); }, "[int] const");
    expectNullFromView(any, [](Any& a) { static_cast<void>(static_cast<const Any&>(a)[0u]); },
                       "[unsigned int] const");
}

TEST(AnyContainerViews, TheOtherContainerThrowsDereferenceAndChangesNothing) {
    const std::string dictionaryName = readableTypeName<Dictionary>();
    const std::string vectorName = readableTypeName<std::vector<Any>>();

    Any list = holdingVector({1, 2});
    const Any listBefore(list);
    const Any& listView = list;
    expectDereference([&] { static_cast<void>(list.dict()); }, vectorName, dictionaryName, "dict() on vector");
    expectDereference([&] { static_cast<void>(listView.dict()); }, vectorName, dictionaryName,
                      "dict() const on vector");
    expectDereference([&] { static_cast<void>(list["key"]); }, vectorName, dictionaryName, "[name] on vector");
    expectDereference([&] { static_cast<void>(listView[NameAtom<Any>("key")]); }, vectorName, dictionaryName,
                      "[NameAtom] const on vector");
    EXPECT_EQ(list.vec().size(), 2U);
    EXPECT_TRUE(list == listBefore);

    Any table = holdingDictionary();
    table["entry"].set(4);
    const Any tableBefore(table);
    const Any& tableView = table;
    expectDereference([&] { static_cast<void>(table.vec()); }, dictionaryName, vectorName, "vec() on dictionary");
    expectDereference([&] { static_cast<void>(tableView.vec()); }, dictionaryName, vectorName,
                      "vec() const on dictionary");
    expectDereference([&] { static_cast<void>(table[0]); }, dictionaryName, vectorName, "[int] on dictionary");
    expectDereference([&] { static_cast<void>(tableView[1u]); }, dictionaryName, vectorName,
                      "[unsigned] const on dictionary");
    EXPECT_EQ(table.dict().size(), 1U);
    EXPECT_TRUE(table == tableBefore);
}

TEST(AnyContainerViews, NameSubscriptOnAScalarInsertsNothingAnywhere) {
    Any number = holding(6);
    expectDereference([&] { static_cast<void>(number["scalar-key"]); }, "int", readableTypeName<Dictionary>(),
                      "[name] on int32");
    EXPECT_EQ(number.type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(number.ref<int>(), 6);
}

TEST(AnyIndexing, NonConstNameSubscriptInsertsAnEmptyEntryOnce) {
    Any any = holdingDictionary();
    Any& entry = any["a"];
    EXPECT_TRUE(entry.isEmpty());
    EXPECT_EQ(any.dict().size(), 1U);
    EXPECT_TRUE(any.dict().hasEntry(NameAtom<Any>("a")));
    EXPECT_EQ(&any["a"], &entry);
    EXPECT_EQ(&any[NameAtom<Any>("a")], &entry);
    EXPECT_EQ(any.dict().size(), 1U);

    entry.set(12);
    EXPECT_EQ(any.dict().find(NameAtom<Any>("a"))->ref<int>(), 12);
}

TEST(AnyIndexing, ConstNameSubscriptReturnsTheSharedEmptyEntry) {
    Any any = holdingDictionary();
    const Any& view = any;
    const Any& missing = view["a"];
    EXPECT_TRUE(missing.isEmpty());
    EXPECT_EQ(&missing, &NullEntry::address());
    EXPECT_EQ(&view[NameAtom<Any>("access-test.other-missing")], &missing);
    EXPECT_EQ(any.dict().size(), 0U);

    // Another dictionary's missing entry is the very same object.
    const Any other = holdingDictionary();
    EXPECT_EQ(&other["a"], &missing);

    // A present key gives its entry, not the shared one.
    any["present"].set(1);
    EXPECT_EQ(&view["present"], any.dict().find(NameAtom<Any>("present")));
    EXPECT_EQ(any.dict().size(), 1U);
}

TEST(AnyIndexing, NameSubscriptOfABoundDictionaryChangesTheVariable) {
    Dictionary variable;
    Any any{BindValue(variable)};
    any["bound-key"].set(2.5);
    ASSERT_TRUE(variable.hasEntry(NameAtom<Any>("bound-key")));
    EXPECT_EQ(variable[NameAtom<Any>("bound-key")].ref<double>(), 2.5);
}

TEST(AnyIndexing, IntegerSubscriptsReachTheElements) {
    Any any = holdingVector({10, 20, 30});
    const Any& view = any;
    EXPECT_EQ(&any[0], &any.vec().front());
    EXPECT_EQ(&any[2u], &any.vec().back());
    EXPECT_EQ(&view[1], &any.vec()[1]);
    EXPECT_EQ(&view[2u], &any.vec()[2]);
    EXPECT_EQ(any[0].ref<int>(), 10);
    EXPECT_EQ(view[2u].ref<int>(), 30);

    any[1] = holding(21);
    EXPECT_EQ(any.vec()[1].ref<int>(), 21);
    // Assigning into an element keeps the element's type.
    any[2u] = holding(3.75);
    EXPECT_EQ(any.vec()[2].type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(any.vec()[2].ref<int>(), 3);
}

// --- comparison ---------------------------------------------------------------------------------

TEST(AnyComparison, EqualOnlyForTheSameTypeAndValue) {
    const Any five = holding(5);
    const Any otherFive = holding(5);
    const Any six = holding(6);
    const Any unsignedFive = holding(5u);
    const Any wideFive = holding(5LL);

    EXPECT_TRUE(five == otherFive);
    EXPECT_FALSE(five != otherFive);
    EXPECT_FALSE(five == six);
    EXPECT_TRUE(five != six);
    EXPECT_FALSE(five == unsignedFive);
    EXPECT_TRUE(five != unsignedFive);
    EXPECT_FALSE(unsignedFive == five);
    EXPECT_FALSE(five == wideFive);
    EXPECT_TRUE(wideFive != five);
}

TEST(AnyComparison, EmptyValues) {
    const Any empty;
    const Any otherEmpty;
    const Any five = holding(5);
    EXPECT_TRUE(empty == otherEmpty);
    EXPECT_FALSE(empty != otherEmpty);
    EXPECT_TRUE(empty == empty);
    EXPECT_FALSE(empty == five);
    EXPECT_FALSE(five == empty);
    EXPECT_TRUE(empty != five);
    EXPECT_TRUE(five != empty);
}

TEST(AnyComparison, BoundAndOwnedCompareByValue) {
    int variable = 4;
    const Any bound{BindValue(variable)};
    EXPECT_TRUE(bound == holding(4));
    variable = 5;
    EXPECT_TRUE(bound != holding(4));
    EXPECT_TRUE(Any(bound) == bound);
    EXPECT_TRUE(Any("text") == Any("text"));
    EXPECT_TRUE(Any("text") != Any("texts"));
}

// --- text ---------------------------------------------------------------------------------------

TEST(AnyWrite, EmptyWritesNothingAndSetsNoFlag) {
    std::ostringstream os;
    os << "before";
    Any().write(os);
    EXPECT_EQ(os.str(), "before");
    EXPECT_EQ(os.rdstate(), std::ios_base::goodbit);
}

TEST(AnyWrite, WritesOnlyTheTypesText) {
    std::ostringstream os;
    holding(42).write(os);
    EXPECT_EQ(os.str(), "42");
    std::ostringstream text;
    Any("two words").write(text);
    EXPECT_EQ(text.str(), "two words");
}

TEST(AnyWrite, ContainersThrowAndWriteNothing) {
    Any table = holdingDictionary();
    table["k"].set(1);
    const Any list = holdingVector({1});
    for (const Any* any : std::initializer_list<const Any*>{&table, &list}) {
        std::ostringstream os;
        os << "x";
        EXPECT_THROW(any->write(os), NotImplemented);
        EXPECT_EQ(os.str(), "x");
        EXPECT_EQ(os.rdstate(), std::ios_base::goodbit);
    }
    EXPECT_EQ(table.dict().size(), 1U);
    EXPECT_EQ(list.vec().size(), 1U);
}

TEST(AnyRead, ReadsIntoTheBoundVariable) {
    int variable = 0;
    Any any{BindValue(variable)};
    std::istringstream is("9");
    any.read(is);
    EXPECT_EQ(variable, 9);
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
}

TEST(AnyRead, ReadsInPlaceAsTheExistingType) {
    Any any = holding(0.0);
    const double* storage = &any.ref<double>();
    std::istringstream is(" 2.5 rest");
    any.read(is);
    EXPECT_EQ(any.ref<double>(), 2.5);
    EXPECT_EQ(&any.ref<double>(), storage);
    std::string rest;
    is >> rest;
    EXPECT_EQ(rest, "rest");
}

TEST(AnyRead, AFailedExtractionShowsOnlyInTheStream) {
    Any any = holding(1);
    std::istringstream is("word");
    any.read(is);
    EXPECT_TRUE(is.fail());
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
}

TEST(AnyRead, EmptyReadsNothing) {
    Any any;
    std::istringstream is("9");
    any.read(is);
    EXPECT_TRUE(any.isEmpty());
    EXPECT_EQ(is.rdstate(), std::ios_base::goodbit);
    EXPECT_EQ(std::streamoff(is.tellg()), 0);
    int next = 0;
    is >> next;
    EXPECT_EQ(next, 9);
}

TEST(AnyParse, IntoAnEmptyValue) {
    Any any;
    any.parse("17", labelled(gTypeLabelInt32));
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(any.ref<int>(), 17);
}

TEST(AnyParse, ReplacesAnOwnedValueOfAnotherType) {
    Any any("previous text");
    any.parse("17", labelled(gTypeLabelInt32));
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(any.ref<int>(), 17);
}

TEST(AnyParse, DetachesABoundValue) {
    int variable = 3;
    Any any{BindValue(variable)};
    any.parse("17", labelled(gTypeLabelInt32));
    EXPECT_EQ(variable, 3);
    EXPECT_EQ(any.ref<int>(), 17);
    EXPECT_NE(&any.ref<int>(), &variable);
    any.ref<int>() = 5;
    EXPECT_EQ(variable, 3);
}

TEST(AnyParse, KeepsTheStorageOfAnOwnedValueOfTheSameType) {
    Any any = holding(1);
    const int* storage = &any.ref<int>();
    any.parse("23", labelled(gTypeLabelInt32));
    EXPECT_EQ(&any.ref<int>(), storage);
    EXPECT_EQ(any.ref<int>(), 23);
}

TEST(AnyParse, TextMayBeTheValueItReplaces) {
    // The text lives in the value that parsing frees: it must be read before it goes.
    Any any("17");
    any.parse(any.ref<std::string>(), labelled(gTypeLabelInt32));
    EXPECT_EQ(any.type(), &labelled(gTypeLabelInt32));
    EXPECT_EQ(any.ref<int>(), 17);

    Any word("same");
    word.parse(word.ref<std::string>(), labelled(gTypeLabelString));
    EXPECT_EQ(word.ref<std::string>(), "same");
}

TEST(AnyParse, ContainerTypesThrowFromTheirReadAndAreHeldAfterwards) {
    Any table = holding(5);
    try {
        table.parse("(a|b)", labelled(gTypeLabelDictionary));
        ADD_FAILURE() << "parse as a dictionary did not throw";
    } catch (const NotImplemented& e) {
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Impl::DictionaryType::read");
    }
    EXPECT_EQ(table.type(), &labelled(gTypeLabelDictionary));
    EXPECT_TRUE(table.dict().empty());

    Dictionary variable;
    variable[NameAtom<Any>("kept")].set(1);
    Any bound{BindValue(variable)};
    Any list = holding(std::string("x"));
    for (Any* any : {&bound, &list}) {
        try {
            any->parse("[1, 2]", labelled(gTypeLabelVector));
            ADD_FAILURE() << "parse as a vector did not throw";
        } catch (const NotImplemented& e) {
            EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::Impl::VectorType::read");
        }
        EXPECT_EQ(any->type(), &labelled(gTypeLabelVector));
        EXPECT_TRUE(any->vec().empty());
    }
    // The bound dictionary was detached, not changed.
    EXPECT_EQ(variable.size(), 1U);
}

// --- signature ----------------------------------------------------------------------------------

TEST(AnySignature, EmptyFeedsNothing) {
    Engine engine;
    engine.update("abc", 3);
    const Digest before = engine.digest();
    EXPECT_EQ(&Any().signature(engine), &engine);
    EXPECT_EQ(engine.digest(), before);
}

TEST(AnySignature, FeedsTheTypesBytesOnly) {
    EXPECT_EQ(signatureOf(holding(5)), digestOf({0x05, 0x00, 0x00, 0x00}));
    EXPECT_EQ(signatureOf(holding(5u)), signatureOf(holding(5)));
    EXPECT_EQ(signatureOf(holding(5LL)), digestOf({0x05, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(signatureOf(Any("ab")), digestOf({'a', 'b'}));
    EXPECT_EQ(signatureOf(holdingVector({7})), digestOf({0, 0, 0, 0, 0x07, 0, 0, 0}));
    EXPECT_EQ(signatureOf(holdingDictionary()), digestOf({'(', ')'}));
}

TEST(AnySignature, BoundValueFeedsTheVariablesCurrentValue) {
    int variable = 1;
    const Any any{BindValue(variable)};
    variable = 0x01020304;
    EXPECT_EQ(signatureOf(any), digestOf({0x04, 0x03, 0x02, 0x01}));
}

// --- what survives --------------------------------------------------------------------------------

TEST(AnyFailures, ThrowingOperationsLeaveEveryValueAsItWas) {
    int variable = 7;
    Any bound{BindValue(variable)};
    Any table = holdingDictionary();
    table["first"].set(1);
    Any list = holdingVector({1, 2, 3});
    const Any tableCopy(table);
    const Any listCopy(list);
    const std::vector<Any>* listStorage = &list.vec();
    const Dictionary* tableStorage = &table.dict();

    EXPECT_THROW(static_cast<void>(bound.ref<double>()), AnyDereferenceException);
    EXPECT_THROW(static_cast<void>(bound.dict()), AnyDereferenceException);
    EXPECT_THROW(static_cast<void>(bound["k"]), AnyDereferenceException);
    EXPECT_THROW(static_cast<void>(bound[0]), AnyDereferenceException);
    EXPECT_THROW(static_cast<void>(table.vec()), AnyDereferenceException);
    EXPECT_THROW(static_cast<void>(list["k"]), AnyDereferenceException);
    std::ostringstream os;
    EXPECT_THROW(table.write(os), NotImplemented);
    EXPECT_THROW(list.write(os), NotImplemented);
    EXPECT_EQ(os.str(), "");

    EXPECT_EQ(&bound.ref<int>(), &variable);
    EXPECT_EQ(variable, 7);
    EXPECT_EQ(&table.dict(), tableStorage);
    EXPECT_EQ(&list.vec(), listStorage);
    EXPECT_TRUE(table == tableCopy);
    EXPECT_TRUE(list == listCopy);
}

} // namespace
