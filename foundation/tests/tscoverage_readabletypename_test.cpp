// Texts that the demangler would accept but that are no type names: symbol names are given back
// as they are, not turned into descriptions of functions or static initialisers.

#include <foundation/tsreadabletypename.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using Tessel::Base::readableTypeName;

TEST(ReadableTypeNameOfSymbols, SymbolNamesAreGivenAsTheyAre) {
    // A function symbol and the special names of static initialisation and anonymous namespaces.
    EXPECT_EQ(readableTypeName("_Z3fooi"), "_Z3fooi");
    EXPECT_EQ(readableTypeName("_GLOBAL__sub_I_main"), "_GLOBAL__sub_I_main");
    EXPECT_EQ(readableTypeName(std::string("_GLOBAL__N_1")), "_GLOBAL__N_1");
    // A type name that merely contains such a text is still demangled.
    EXPECT_EQ(readableTypeName("N12_GLOBAL__N_14NodeE"), "(anonymous namespace)::Node");
}

} // namespace
