// Readable type names: demangling first, then ", " after commas, one leading "class " dropped
// and a blank before every "*".

#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using Tessel::Base::readableTypeName;

TEST(ReadableTypeName, RawAndHostTypeNames) {
    const Tessel::Base::Exception& base = Tessel::Base::NotImplemented();
    struct Row { std::string actual; std::string expected; const char* reason; };
    const Row rows[] = {
        {readableTypeName("class Tessel::X"), "Tessel::X", "the leading class key goes"},
        {readableTypeName("struct Foo"), "struct Foo", "no other class key goes"},
        {readableTypeName("class M<class A,class B>"), "M<class A, class B>", "a bare comma gets a blank"},
        {readableTypeName("Tessel::Xclass Y"), "Tessel::Xclass Y", "class inside the name stays"},
        {readableTypeName("a, b"), "a,  b", "a comma with a blank gets a second one"},
        {readableTypeName("char *"), "char  *", "each star gets a blank, also after one"},
        {readableTypeName("PKc"), "char const *", "a mangled type name is demangled first"},
        {readableTypeName("_Z3foov"), "_Z3foov", "a symbol name is no type name"},
        {readableTypeName("_GLOBAL__sub_I_main"), "_GLOBAL__sub_I_main", "nor is a special name"},
        {readableTypeName(std::string("i\0x", 3)), std::string("i\0x", 3), "a text with a NUL is not demangled"},
        {readableTypeName(static_cast<const char*>(nullptr)), "", "a null pointer"},
        {Tessel::Base::readableTypeNameOf(base), "Tessel::Base::NotImplemented", "an object's most derived class"},
        {readableTypeName<std::pair<int, char**>>(), "std::pair<int,  char * *>", "demangled commas have a blank"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.actual, row.expected) << row.reason;
    }
}

} // namespace
