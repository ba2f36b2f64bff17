// Any: assignment and binding, converting reads, typed views and subscripts, comparison, text, the
// signature feed of every built-in type, and the throw site of every error of the value layer.

#include <dictionary/tsany.h>
#include <foundation/tsreadabletypename.h>

#include "tstestsupport.h"

#include <cmath>

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Dictionary::Testing;
using namespace std::string_literals;
using Key = Dictionary::Key;

TEST(Any, AssignmentCopiesOrConvertsIntoTheHeldType) {
    const char* const null = nullptr;
    Any a;
    a = holding(2.5);
    const Any copy(a);
    a = holding(7);
    EXPECT_EQ(show(a) + " " + show(copy), "double:7 double:2.5") << "an empty target takes the type; copies own";
    EXPECT_EQ(attempt([&] { a = Any(); }, &a), "AnyNullException double:7") << "an empty source changes nothing";
    EXPECT_EQ(attempt([&] { a = Any("9"); }, &a), "AnyCastException double:7") << "no cast turns text into a number";
    EXPECT_EQ(attempt([&] { a = "9"; }, &a), "AnyCastException double:7") << "nor a C string";
    const Any& self = a;
    a = self;
    a.reset("a text");
    a.reset(a.ref<std::string>().c_str() + 2);
    EXPECT_EQ(show(a), "string:text") << "reset replaces any type, reading text inside the value it replaces";
    a = null;
    EXPECT_EQ(show(a) + show(Any(null)), "string:string:") << "a null text is the empty string";
    a.clear();
    a = "made";
    EXPECT_EQ(show(a), "string:made") << "text makes a string";
    a.reset(-3);
    std::string kept = "kept";
    EXPECT_EQ(attempt([&] { a.get(kept); }), "AnyCastException");
    EXPECT_EQ(Any("x").as<std::string>() + kept + std::to_string(a.as<long>() + a.as<unsigned char>()), "xkept250")
        << "a converting read copies the held type or converts through a cast, or leaves the variable";
}

TEST(Any, ABoundValueIsTheCallersVariable) {
    int number = 0;
    Any bound{BindValue(number)};
    bound = holding(2.9);
    const Any snapshot(bound);
    number += 1;
    EXPECT_EQ(show(bound) + show(snapshot) + std::to_string(bound.isEmpty()), "int32:3int32:20")
        << "assignments write through; a copy is a snapshot";
    bound.ref<int>() = 8;
    bound.clear();
    EXPECT_EQ(std::to_string(number) + show(bound), "8empty") << "a view is the variable; clear() leaves it";
    long wide = 5;
    bound = BindValue(wide);
    bound = holding(-6);
    EXPECT_EQ(show(bound) + std::to_string(wide), "int64:-6-6") << "a long binds to int64 through its alias";
    std::string text = "a";
    bound = BindValue(text);
    bound = "after";
    bound.reset("new");
    EXPECT_EQ(text + show(bound), "afterstring:new") << "rebinding drops the old; text goes in place; reset detaches";
    struct Unregistered {} unregistered;
    EXPECT_EQ(attempt([&] { bound = BindValue(unregistered); }, &bound), "AnyUnknownTypeException empty");
    bound = holding(1);
    EXPECT_EQ(attempt([&] { bound = BindValue(nullptr, typeid(int)); }, &bound), "AnyUnknownTypeException empty");
}

TEST(Any, TypedViewsAndSubscriptsCheckBeforeTheyTouch) {
    Any wide = holding(5LL), empty, vector = vectorOf(10, 20, 30), table = holding(Dictionary());
    const Any &wideView = wide, &emptyView = empty, &vectorView = vector, &tableView = table;
    wide.ref<long>() = -7;
    EXPECT_EQ(attempt([&] { (void)wideView.ref<long>(); }, &wide), "AnyDereferenceException int64:-7")
        << "the non-const view accepts an alias, the const view does not";
    for (const auto& view : std::initializer_list<std::function<void()>>{
             [&] { empty.dict(); }, [&] { emptyView.dict(); }, [&] { empty.vec(); }, [&] { emptyView.vec(); },
             [&] { empty["k"]; }, [&] { emptyView["k"]; }, [&] { empty[Key("k")]; }, [&] { emptyView[Key("k")]; },
             [&] { empty[0]; }, [&] { emptyView[0]; }, [&] { empty[0u]; }, [&] { emptyView[0u]; }}) {
        EXPECT_EQ(attempt(view, &empty), "AnyNullException empty") << "no view of an empty value creates anything";
    }
    for (const auto& view : std::initializer_list<std::function<void()>>{
             [&] { vector.dict(); }, [&] { vector["k"]; }, [&] { vectorView[Key("k")]; }, [&] { table.vec(); },
             [&] { table[0]; }, [&] { tableView[1u]; }}) {
        const std::string outcome = attempt(view);
        EXPECT_EQ(outcome + show(vector) + show(table), "AnyDereferenceExceptionvector:[3]dictionary:[0]")
            << "a view as the other container changes nothing";
    }
    table["k"];
    table[Key("k")];
    EXPECT_EQ(show(table) + show(tableView["k"]) + std::to_string(&tableView["x"] == &tableView[Key("y")]),
              "dictionary:[1]empty1")
        << "a name subscript inserts once; the const one returns one shared empty entry";
    vector[1] = holding(2.5);
    vector[2u] = holding(31);
    EXPECT_EQ(show(vectorView[0]) + show(vectorView[1]) + show(vectorView[2u]), "int32:10int32:2int32:31");
}

TEST(Any, EqualityIsTheSameTypeAndAnEqualValue) {
    int four = 4;
    struct Case { const char* reason; Any a, b; bool equal; } const cases[] = {
        {"same type and value", holding(5), holding(5), true},
        {"uint32 5 is not int32 5", holding(5), holding(5u), false},
        {"two empty values", Any(), Any(), true},
        {"empty and a value", Any(), holding(5), false},
        {"a bound value and an owned one", Any(BindValue(four)), holding(4), true},
        {"NaN is not equal to itself", holding(std::nan("")), holding(std::nan("")), false},
        {"vectors by position", vectorOf(1, 2), vectorOf(2, 1), false},
        {"dictionaries whatever the insertion order", holding(dictOf({{"eq.a", holding(5)}, {"eq.b", Any()}})),
         holding(dictOf({{"eq.b", Any()}, {"eq.a", holding(5)}})), true},
        {"another value type", holding(dictOf({{"eq.a", holding(5)}})), holding(dictOf({{"eq.a", holding(5LL)}})),
         false},
        {"one more entry", holding(dictOf({{"eq.a", Any()}})), holding(dictOf({{"eq.a", Any()}, {"eq.b", Any()}})),
         false},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE((c.a == c.b) == c.equal && (c.b == c.a) == c.equal && (c.a != c.b) != c.equal) << c.reason;
    }
}

TEST(Any, TextIsTheTypesOwnAndParseMakesAnOwnedValue) {
    const AnyType& int32 = typeLabelled("int32");
    std::ostringstream os;
    holding(42).write(os);
    Any().write(os);
    const std::string dictionary = attempt([&] { holding(dictOf({{"k", holding(1)}})).write(os); });
    EXPECT_EQ(dictionary + attempt([&] { vectorOf(1).write(os); }) + os.str(), "NotImplementedNotImplemented42")
        << "write adds nothing; empty values and containers write nothing";
    int number = 0;
    Any bound{BindValue(number)}, empty;
    std::istringstream is("9 8");
    bound.read(is);
    empty.read(is);
    EXPECT_EQ(std::to_string(number) + show(empty) + is.str().substr(is.tellg()), "9empty 8")
        << "read fills a bound variable in place; an empty value reads nothing";
    bound.parse("17", int32);
    bound.ref<int>() += 1;
    const int* storage = &bound.ref<int>();
    bound.parse(std::to_string(bound.ref<int>() + 5), int32);
    EXPECT_EQ(std::to_string(number) + show(bound) + std::to_string(&bound.ref<int>() == storage), "9int32:231")
        << "parse detaches a bound value, then keeps the storage of a value of its type";
    Any text("17");
    text.parse(text.ref<std::string>(), int32);
    EXPECT_EQ(show(text), "int32:17") << "parse replaces another type, reading its text first";
    EXPECT_EQ(attempt([&] { text.parse("[1]", typeLabelled("vector")); }, &text), "NotImplemented vector:[0]");
}

TEST(Any, SignatureFeedsTheTypesBytesAndNothingElse) {
    struct Case { const char* reason; Any value; std::string bytes; } const cases[] = {
        {"an empty value feeds nothing", Any(), ""},
        {"an int32 its bytes, little-endian; a uint32 the same", holding(5u), "\x05\0\0\0"s},
        {"a string its bytes, no length, no terminator", holding("a\0bc"s), "a\0bc"s},
        {"a time base 8 + 8 bytes", holding(Tessel::Base::TimeBase(30000U, 1001U)),
         "\x30\x75\0\0\0\0\0\0\xE9\x03\0\0\0\0\0\0"s},
        {"a vector each index, then the element", vectorOf(7, 8), "\0\0\0\0\x07\0\0\0\x01\0\0\0\x08\0\0\0"s},
        {"an empty element only its index", vectorOf(Any()), "\0\0\0\0"s},
        {"an empty dictionary its frame", holding(Dictionary()), "()"},
        {"an entry its key, label, value, separator", holding(dictOf({{"a", holding(5)}})), "(aint32\x05\0\0\0|)"s},
        {"an empty value no label and no bytes", holding(dictOf({{"sig.empty", Any()}})), "(sig.empty|)"},
        {"entries in interning order", holding(dictOf({{"sig.2", Any("xy")}, {"sig.1", holding(short{0x0102})}})),
         "(sig.2stringxy|sig.1int16\x02\x01|)"},
        {"nested containers their own frames", holding(dictOf({{"n", holding(dictOf({{"v", vectorOf(7)}}))}})),
         "(ndictionary(vvector\0\0\0\0\x07\0\0\0|)|)"s},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(signatureOf(c.value), digestOf(c.bytes)) << c.reason;
    }
}

// "Class Function File: message" of the exception `operation` throws, without the prefixes that the
// sites share (a site without them shows in full).
std::string site(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const Tessel::Base::Exception& e) {
        std::string where;
        for (const std::string key : {"ExceptionClass", "ThrowFunction", "ThrowFile"}) {
            const std::string* value = e.getValue<std::string>(key);
            std::string text = value == nullptr ? "<missing>" : *value;
            for (const std::string shared : {"Tessel::Dictionary::", "core/dictionary/"}) {
                text = text.rfind(shared, 0) == 0 ? text.substr(shared.size()) : text;
            }
            where += text + (key == "ThrowFile" ? ": " : " ");
        }
        return where + e.userMessage();
    }
    return "nothing thrown";
}

TEST(Any, EveryThrowSiteRecordsWhereAndWhy) {
    const std::string empty = "Attempted to access an empty dictionary entry.", nyi = ": Unimplemented code path.";
    const std::string unknown = "AnyUnknownTypeException Any::", known = "Don't know how to handle type '";
    const std::string toText = "src/tsanytypemanagement.cpp: Don't know how to cast dictionary entry from type "
                               "'int' to type '" + Tessel::Base::readableTypeName<std::string>() + "'.";
    const std::string header = "include/dictionary/tsany.h: ", implementations = " src/tsanytypeimplementations.cpp";
    const std::string base = "Tessel::Base::NotImplemented ";
    std::ostringstream os;
    const std::pair<std::function<void()>, std::string> sites[] = {
        {[] { holding(1) = Any(); }, "AnyNullException Any::operator = src/tsany.cpp: " + empty},
        {[] { Any a{BindValue(nullptr, typeid(int))}; },
         unknown + "bind src/tsany.cpp: " + known + "int' in a Dictionary."},
        {[] { holding(0.5L); }, unknown + "set " + header + known + "long double' in a Dictionary."},
        {[] { (void)Any().ref<int>(); }, "AnyNullException Any::ref " + header + empty},
        {[] { holding(1).dict(); }, "AnyDereferenceException Any::ref " + header + "Can't make dictionary entry of "
                                    "type 'int' be of type 'Tessel::Dictionary::Dictionary'."},
        {[] { Any().as<int>(); }, "AnyNullException Any::get " + header + empty},
        {[] { Any("x") = holding(5); }, "AnyCastException AnyType::castToMine " + toText},
        {[] { holding(5).as<std::string>(); }, "AnyCastException AnyType::castFromMine " + toText},
        {[&] { Dictionary().write(os); }, base + "Dictionary::write src/tsdictionary.cpp" + nyi},
        {[] { std::istringstream is; Dictionary().read(is); }, base + "Dictionary::read src/tsdictionary.cpp" + nyi},
        {[&] { vectorOf().write(os); }, base + "Impl::VectorType::write" + implementations + nyi},
        {[] { Any().parse("", typeLabelled("vector")); }, base + "Impl::VectorType::read" + implementations + nyi},
        {[] { Any().parse("", typeLabelled("dictionary")); },
         base + "Impl::DictionaryType::read" + implementations + nyi},
    };
    for (const auto& [operation, expected] : sites) {
        EXPECT_EQ(site(operation), expected);
    }
}

} // namespace
