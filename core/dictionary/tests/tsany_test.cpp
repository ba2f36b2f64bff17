// Any: states, assignment and binding, converting reads, typed access and indexing, comparison,
// text, the signature feed of every built-in type, and the throw site of every error.

#include <dictionary/tsany.h>
#include <foundation/tsreadabletypename.h>

#include "tstestsupport.h"

#include <cmath>
#include <set>

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Dictionary::Testing;
using namespace std::string_literals;
using Key = Dictionary::Key;

struct Unregistered {};

// The one outcome that all `operations` share, or "mixed".
std::string outcomes(std::initializer_list<std::function<void()>> operations) {
    std::set<std::string> seen;
    for (const auto& operation : operations) {
        seen.insert(attempt(operation));
    }
    return seen.size() == 1 ? *seen.begin() : "mixed";
}

TEST(Any, StatesAssignmentAndBinding) {
    const char* const null = nullptr;
    check({
        {"a copy owns its value",
         [] { int v = 7; Any a = holding(v); const Any c(a); v = 1; a = holding(8); return show(c); }, "int32:7"},
        {"reset replaces any type", [] {
             Any a = holding(5); a.reset("hi"); const auto s = show(a); a.reset(2.5); return s + show(a); },
         "string:hidouble:2.5"},
        {"reset reads text inside the value it replaces",
         [] { Any a("a text"); a.reset(a.ref<std::string>().c_str() + 2); return show(a); }, "string:text"},
        {"an empty target takes the source's type", [] { Any a; a = holding(2.5); return show(a); }, "double:2.5"},
        {"another type converts; the type stays", [] { Any a = holding(7); a = holding(2.75); return show(a); },
         "int32:2"},
        {"an empty source changes nothing", [] { Any a = holding(5); return attempt([&] { a = Any(); }, &a); },
         "AnyNullException int32:5"},
        {"no cast turns a string or a C string into a number",
         [] {
             Any a = holding(8); const auto r = attempt([&] { a = Any("9"); });
             return r + attempt([&] { a = "1"; }, &a); }, "AnyCastExceptionAnyCastException int32:8"},
        {"text makes a string; null text is empty",
         [=] { Any a; a = "made"; const auto s = show(a) + show(Any(null)); a = null; return s + show(a); },
         "string:madestring:string:"},
        {"a bound value is written through and left by clear()", [] {
             int v = 0; Any b{BindValue(v)}; b = holding(2.9); const auto s = show(b) + std::to_string(b.isEmpty());
             b.clear(); return s + std::to_string(v) + show(b); }, "int32:202empty"},
        {"a copy of a bound value is a snapshot",
         [] { int v = 3; const Any b{BindValue(v)}; const Any c(b); v = 4; return show(c) + show(b); },
         "int32:3int32:4"},
        {"a long binds to int64 through its alias",
         [] { long v = 5; Any b{BindValue(v)}; b = holding(-6); return show(b) + std::to_string(v); }, "int64:-6-6"},
        {"rebinding drops what was held", [] {
             int first = 1; double second = 2.5; Any a("x"); a = BindValue(first); a = BindValue(second);
             a = holding(4); return std::to_string(first) + show(a); }, "1double:4"},
        {"a bound string takes text in place; reset detaches",
         [] { std::string v = "a"; Any b{BindValue(v)}; b = "after"; b.reset("new"); return v + show(b); },
         "afterstring:new"},
        {"neither an unregistered host type nor a null address binds", [] {
             Unregistered u; Any a = holding(1); const auto r = attempt([&] { a = BindValue(u); }, &a);
             return r + attempt([&] { a = BindValue(nullptr, typeid(int)); }, &a); },
         "AnyUnknownTypeException emptyAnyUnknownTypeException empty"},
        {"a converting read copies the held type", [] { return Any("x").as<std::string>(); }, "x"},
        {"or converts through a cast",
         [] { const Any a = holding(-3); return std::to_string(a.as<long>() + a.as<unsigned char>()); }, "250"},
        {"a failed converting read leaves the variable",
         [] { std::string v = "kept"; const auto r = attempt([&] { holding(5).get(v); }); return r + v; },
         "AnyCastExceptionkept"},
    });
}

TEST(Any, TypedAccessAndIndexing) {
    check({
        {"the non-const view accepts an alias", [] { Any a = holding(5LL); a.ref<long>() = -7; return show(a); },
         "int64:-7"},
        {"the const view does not", [] { const Any a = holding(9LL); return attempt([&] { (void)a.ref<long>(); }); },
         "AnyDereferenceException"},
        {"a view of a bound value is the variable",
         [] { int v = 3; Any a{BindValue(v)}; a.ref<int>() = 8; return std::to_string(v); }, "8"},
        {"every view of an empty value throws and creates nothing", [] {
             Any a; const Any& c = a;
             return outcomes({[&] { a.dict(); }, [&] { a.vec(); }, [&] { c.dict(); }, [&] { c.vec(); }, [&] { a["k"]; },
                              [&] { c[Key("k")]; }, [&] { a[0]; }, [&] { c[0u]; }}) + show(a); },
         "AnyNullExceptionempty"},
        {"a view as another container throws and changes nothing", [] {
             Any v = ints({1}), d = holding(Dictionary()), n = holding(6); const Any& c = d;
             return outcomes({[&] { v.dict(); }, [&] { v["k"]; }, [&] { d.vec(); }, [&] { d[0]; }, [&] { c[1u]; },
                              [&] { n["k"]; }}) + show(v) + show(d) + show(n); },
         "AnyDereferenceExceptionvector:[1]dictionary:[0]int32:6"},
        {"a name subscript inserts an empty entry once",
         [] { Any a = holding(Dictionary()); a["k"]; a[Key("k")]; return show(a) + show(a["k"]); },
         "dictionary:[1]empty"},
        {"the const name subscript inserts nothing and returns one shared empty entry", [] {
             const Any a = holding(Dictionary()), b = holding(Dictionary());
             return std::to_string(&a["k"] == &b[Key("other")]) + show(a["k"]) + show(a); }, "1emptydictionary:[0]"},
        {"integer subscripts reach the elements, which keep their types", [] {
             Any a = ints({10, 20, 30}); const Any& c = a; a[1] = holding(2.5); a[2u] = holding(31);
             return show(c[0]) + show(c[1]) + show(c[2u]); }, "int32:10int32:2int32:31"},
    });
}

TEST(Any, EqualityIsTheSameTypeAndAnEqualValue) {
    int four = 4;
    const Any a5 = holding(dictOf({{"eq.a", holding(5)}}));
    struct Case {
        const char* reason;
        Any a, b;
        bool equal;
    } const cases[] = {
        {"same type and value", holding(5), holding(5), true},
        {"uint32 5 is not int32 5", holding(5), holding(5u), false},
        {"int64 5 is not int32 5", holding(5), holding(5LL), false},
        {"two empty values", Any(), Any(), true},
        {"empty and a value", Any(), holding(5), false},
        {"a bound value and an owned one", Any(BindValue(four)), holding(4), true},
        {"NaN is not equal to itself", holding(std::nan("")), holding(std::nan("")), false},
        {"vectors by position", ints({1, 2}), ints({2, 1}), false},
        {"vectors by length", ints({1}), ints({1, 2}), false},
        {"dictionaries whatever the insertion order", holding(dictOf({{"eq.a", holding(5)}, {"eq.b", Any()}})),
         holding(dictOf({{"eq.b", Any()}, {"eq.a", holding(5)}})), true},
        {"another value type", a5, holding(dictOf({{"eq.a", holding(5LL)}})), false},
        {"another key", a5, holding(dictOf({{"eq.b", holding(5)}})), false},
        {"one more entry", a5, holding(dictOf({{"eq.a", holding(5)}, {"eq.b", Any()}})), false},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE((c.a == c.b) == c.equal && (c.b == c.a) == c.equal && (c.a != c.b) != c.equal) << c.reason;
    }
}

TEST(Any, TextIsTheTypesOwnAndParseMakesAnOwnedValue) {
    const AnyType& int32 = typeLabelled("int32");
    check({
        {"write adds nothing; an empty value writes nothing",
         [] { std::ostringstream os; holding(42).write(os); Any().write(os); return os.str(); }, "42"},
        {"containers have no text form", [] {
             std::ostringstream os; const Any d = holding(dictOf({{"k", holding(1)}}));
             return outcomes({[&] { d.write(os); }, [&] { ints({1}).write(os); }}) + os.str(); }, "NotImplemented"},
        {"read fills a bound variable in place; an empty value reads nothing", [] {
             int v = 0; Any a{BindValue(v)}, e; std::istringstream is("9 8"); a.read(is); e.read(is);
             return std::to_string(v) + show(e) + is.str().substr(is.tellg()); }, "9empty 8"},
        {"parse replaces a value of another type, reading its text first",
         [&] { Any a("17"); a.parse(a.ref<std::string>(), int32); return show(a); }, "int32:17"},
        {"parse detaches a bound value", [&] {
             int v = 3; Any a{BindValue(v)}; a.parse("17", int32); a.ref<int>() += 1;
             return std::to_string(v) + show(a); },
         "3int32:18"},
        {"parse keeps the storage of a value of its type", [&] {
             Any a = holding(1); const int* p = &a.ref<int>(); a.parse("23", int32);
             return std::to_string(p == &a.ref<int>()) + show(a); }, "1int32:23"},
        {"parse as a container throws and leaves it held",
         [] { Any a = holding(5); return attempt([&] { a.parse("[1]", typeLabelled("vector")); }, &a); },
         "NotImplemented vector:[0]"},
    });
}

TEST(Any, SignatureFeedsTheTypesBytesAndNothingElse) {
    int variable = 0x01020304;
    struct Case {
        const char* reason;
        Any value;
        std::string bytes;
    } const cases[] = {
        {"an empty value feeds nothing", Any(), ""},
        {"an int32 its bytes, little-endian", holding(5), "\x05\0\0\0"s},
        {"a uint32 the same bytes", holding(5u), "\x05\0\0\0"s},
        {"a bound variable its current value", Any(BindValue(variable)), "\x04\x03\x02\x01"},
        {"a double the IEEE bits", holding(1.0), "\0\0\0\0\0\0\xF0\x3F"s},
        {"-0.0, equal to 0.0, feeds its sign", holding(-0.0F), "\0\0\0\x80"s},
        {"a string its bytes, no length, no terminator", holding("a\0bc"s), "a\0bc"s},
        {"an empty string nothing", Any(""), ""},
        {"a time base 8 + 8 bytes", holding(Tessel::Base::TimeBase(30000U, 1001U)),
         "\x30\x75\0\0\0\0\0\0\xE9\x03\0\0\0\0\0\0"s},
        {"a vector each index, then the element", ints({7, 8}), "\0\0\0\0\x07\0\0\0\x01\0\0\0\x08\0\0\0"s},
        {"an empty element only its index", holding(std::vector<Any>(1)), "\0\0\0\0"s},
        {"an empty dictionary its frame", holding(Dictionary()), "()"},
        {"an entry its key, label, value, separator", holding(dictOf({{"a", holding(5)}})), "(aint32\x05\0\0\0|)"s},
        {"an empty value no label and no bytes", holding(dictOf({{"sig.empty", Any()}})), "(sig.empty|)"},
        {"entries in interning order", holding(dictOf({{"sig.2", Any("xy")}, {"sig.1", holding(short{0x0102})}})),
         "(sig.2stringxy|sig.1int16\x02\x01|)"},
        {"nested containers their own frames", holding(dictOf({{"n", holding(dictOf({{"v", ints({7})}}))}})),
         "(ndictionary(vvector\0\0\0\0\x07\0\0\0|)|)"s},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(signatureOf(c.value), digestOf(c.bytes)) << c.reason;
    }
}

// "Class Function File" recorded by the exception `operation` throws, without the prefixes that every site
// shares (a site without them shows in full), and its filled message.
std::string site(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const Tessel::Base::Exception& e) {
        const std::pair<const char*, std::string> parts[] = {
            {"ExceptionClass", "Tessel::"}, {"ThrowFunction", "Tessel::Dictionary::"},
            {"ThrowFile", "core/dictionary/"}};
        std::string where;
        for (const auto& [key, shared] : parts) {
            const std::string* value = e.getValue<std::string>(key);
            const std::string text = value == nullptr ? "<missing>" : *value;
            where += (text.rfind(shared, 0) == 0 ? text.substr(shared.size()) : text) + " ";
        }
        return where + e.userMessage();
    }
    return "nothing thrown";
}

TEST(Any, EveryThrowSiteRecordsWhereAndWhy) {
    const std::string empty = "Attempted to access an empty dictionary entry.", nyi = "Unimplemented code path.";
    const std::string intToText = "Don't know how to cast dictionary entry from type 'int' to type '" +
                                  Tessel::Base::readableTypeName<std::string>() + "'.";
    const std::string impl = " src/tsanytypeimplementations.cpp ";
    std::ostringstream os;
    const std::pair<std::function<void()>, std::string> sites[] = {
        {[] { holding(1) = Any(); }, "Dictionary::AnyNullException Any::operator = src/tsany.cpp " + empty},
        {[] { Any a{BindValue(nullptr, typeid(int))}; },
         "Dictionary::AnyUnknownTypeException Any::bind src/tsany.cpp "
         "Don't know how to handle type 'int' in a Dictionary."},
        {[] { holding(0.5L); }, "Dictionary::AnyUnknownTypeException Any::set include/dictionary/tsany.h "
                                "Don't know how to handle type 'long double' in a Dictionary."},
        {[] { (void)Any().ref<int>(); }, "Dictionary::AnyNullException Any::ref include/dictionary/tsany.h " + empty},
        {[] { holding(1).dict(); }, "Dictionary::AnyDereferenceException Any::ref include/dictionary/tsany.h Can't "
                                    "make dictionary entry of type 'int' be of type 'Tessel::Dictionary::Dictionary'."},
        {[] { Any().as<int>(); }, "Dictionary::AnyNullException Any::get include/dictionary/tsany.h " + empty},
        {[] { Any("x") = holding(5); },
         "Dictionary::AnyCastException AnyType::castToMine src/tsanytypemanagement.cpp " + intToText},
        {[] { holding(5).as<std::string>(); },
         "Dictionary::AnyCastException AnyType::castFromMine src/tsanytypemanagement.cpp " + intToText},
        {[&] { Dictionary().write(os); }, "Base::NotImplemented Dictionary::write src/tsdictionary.cpp " + nyi},
        {[] { std::istringstream is; Dictionary().read(is); },
         "Base::NotImplemented Dictionary::read src/tsdictionary.cpp " + nyi},
        {[&] { ints({}).write(os); }, "Base::NotImplemented Impl::VectorType::write" + impl + nyi},
        {[] { Any().parse("", typeLabelled("vector")); }, "Base::NotImplemented Impl::VectorType::read" + impl + nyi},
        {[] { Any().parse("", typeLabelled("dictionary")); },
         "Base::NotImplemented Impl::DictionaryType::read" + impl + nyi},
    };
    for (const auto& [operation, expected] : sites) {
        EXPECT_EQ(site(operation), expected);
    }
}

} // namespace
