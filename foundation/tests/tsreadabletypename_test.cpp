#include <foundation/tsreadabletypename.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using Tessel::Base::readableTypeName;
using Tessel::Base::readableTypeNameOf;

struct Shape {
    virtual ~Shape() = default;
};
struct Circle : Shape {};

} // namespace

namespace Tessel::Test {
class Widget {};
template <class A, class B>
struct Pair {};
} // namespace Tessel::Test

// Plain readable texts are not valid mangled names, so only the replacement rule applies.
TEST(ReadableTypeNameRule, TextNames) {
    const std::pair<const char*, const char*> cases[] = {
        {"class Tessel::Dictionary::AnyCastException", "Tessel::Dictionary::AnyCastException"},
        {"struct Foo", "struct Foo"},
        {"class std::map<class A,class B>", "std::map<class A, class B>"},
        {"class Outer<class Inner>", "Outer<class Inner>"},
        {"Tessel::Xclass Y", "Tessel::Xclass Y"},
        {" class X", " class X"},
        {"classX", "classX"},
        {"class class X", "class X"},
        {"char*", "char *"},
        {"char**", "char * *"},
        {"char *", "char  *"},
        {"class A*,class B*", "A *, class B *"},
        {"a, b", "a,  b"},
        {",,", ", , "},
        {"class ", ""},
        {"Tessel::X", "Tessel::X"},
    };
    for (const auto& [raw, expected] : cases) {
        EXPECT_EQ(readableTypeName(raw), expected) << "raw name: " << raw;
        EXPECT_EQ(readableTypeName(std::string(raw)), expected) << "raw name: " << raw;
    }
}

TEST(ReadableTypeNameRule, EmptyAndNullInput) {
    EXPECT_EQ(readableTypeName(static_cast<const char*>(nullptr)), "");
    EXPECT_EQ(readableTypeName(""), "");
    EXPECT_EQ(readableTypeName(std::string()), "");
}

TEST(ReadableTypeNameDemangling, MangledTextsAreDemangledFirst) {
    EXPECT_EQ(readableTypeName("i"), "int");
    EXPECT_EQ(readableTypeName(std::string("i")), "int");
    EXPECT_EQ(readableTypeName("PKc"), "char const *");
    EXPECT_EQ(readableTypeName("N6Tessel4Base9ExceptionE"), "Tessel::Base::Exception");
    // Symbol names are not type names: taken as given.
    EXPECT_EQ(readableTypeName("_Z3foov"), "_Z3foov");
    // A NUL inside a string would hide the rest of the text from the demangler.
    const std::string withNul("i\0x", 3);
    EXPECT_EQ(readableTypeName(withNul), withNul);
}

TEST(ReadableTypeNameDemangling, TypeInfoAndItsNameAgree) {
    const std::type_info* types[] = {
        &typeid(int),
        &typeid(const char*),
        &typeid(std::map<int, int>),
        &typeid(std::vector<std::string>),
        &typeid(Tessel::Test::Widget),
        &typeid(Tessel::Test::Pair<Tessel::Test::Widget, int**>),
        &typeid(Circle),
    };
    for (const std::type_info* type : types) {
        EXPECT_EQ(readableTypeName(*type), readableTypeName(type->name())) << type->name();
        EXPECT_EQ(readableTypeName(*type), readableTypeName(std::string(type->name())));
    }
}

// The exact texts of this platform: demangled names already have ", " between arguments, so
// the rule gives them a second blank, and "*" gets a blank in front.
TEST(ReadableTypeNameDemangling, PlatformTexts) {
    EXPECT_EQ(readableTypeName<int>(), "int");
    EXPECT_EQ(readableTypeName<Tessel::Test::Widget>(), "Tessel::Test::Widget");
    EXPECT_EQ((readableTypeName<std::map<int, int>>()),
              "std::map<int,  int,  std::less<int>,  std::allocator<std::pair<int const,  int> > >");
    EXPECT_EQ((readableTypeName<Tessel::Test::Pair<Tessel::Test::Widget, int**>>()),
              "Tessel::Test::Pair<Tessel::Test::Widget,  int * *>");
    EXPECT_EQ(readableTypeName<Circle>(), "(anonymous namespace)::Circle");
}

TEST(ReadableTypeNameDemangling, DynamicTypeOfObject) {
    const Circle circle;
    const Shape& shape = circle;
    EXPECT_EQ(readableTypeNameOf(shape), readableTypeName<Circle>());
    EXPECT_EQ(readableTypeNameOf(42), "int");
}

// Long and deeply nested inputs get a defined result (the demangler refuses oversized input).
TEST(ReadableTypeNameDemangling, LongInputs) {
    const std::string nested = std::string(1000, 'P') + "i";
    std::string expected = "int";
    for (int i = 0; i < 1000; ++i) {
        expected += " *";
    }
    EXPECT_EQ(readableTypeName(nested), expected);

    const std::string huge = std::string(1 << 20, 'P') + "i";
    const std::string result = readableTypeName(huge);
    EXPECT_TRUE(result == huge || (result.size() == 3 + 2 * (std::size_t{1} << 20) &&
                                   result.compare(0, 5, "int *") == 0));
}
