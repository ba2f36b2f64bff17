// Checked text: parseExact takes exactly one value or throws without changing anything, and
// exactText reads back to the same value.

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>

#include "tstestsupport.h"

#include <string>

namespace {

using namespace Tessel::Dictionary;
using Testing::typeLabelled;

TEST(ParseExact, TakesWholeValuesAndRefusesEverythingElse) {
    struct { const char* label; const char* text; const char* exact; } rows[] = {  // exact null: refused
        {"int32", " \t-7\t ", "-7"}, {"int32", "2147483648", nullptr}, {"int32", "12abc", nullptr},
        {"int32", "abc", nullptr}, {"int32", "+5", nullptr}, {"int32", "", nullptr}, {"int32", "1 2", nullptr},
        {"int8", "100", "100"}, {"int8", "-129", nullptr}, {"uint8", "255", "255"}, {"uint8", "-1", nullptr},
        {"uint64", "18446744073709551615", "18446744073709551615"}, {"uint64", "18446744073709551616", nullptr},
        {"bool", " true ", "true"}, {"bool", "0", "false"}, {"bool", "True", nullptr}, {"bool", "2", nullptr},
        {"char", " ", " "}, {"char", "ab", nullptr}, {"char", "", nullptr},
        {"float", "0.1", "0.1"}, {"float", "-inf", "-inf"}, {"float", "nan", "nan"}, {"float", "1e39", nullptr},
        {"float", "1e-50", nullptr}, {"float", "0x10", nullptr}, {"double", "1e308", "1e+308"},
        {"double", "1e309", nullptr}, {"double", "1/3", nullptr},
        {"timebase", "25", "25/1"}, {"timebase", " 29.97 ", "30000/1001"}, {"timebase", "0/0", "0/0"},
        {"timebase", "18446744073709551615/7", "18446744073709551615/7"}, {"timebase", "25/", nullptr},
        {"timebase", "-25", nullptr}, {"timebase", "25 / 1", nullptr}, {"timebase", "1e3", nullptr},
        {"timebase", "18446744073709551616/1", nullptr}, {"string", " two words\t", " two words\t"},
        {"dictionary", "", nullptr}, {"vector", "[]", nullptr}, {"float", "0.33333334", "0.33333334"},
        {"double", "0.30000000000000004", "0.30000000000000004"}, {"double", "-0", "-0"}, {"char", "\n", "\n"},
        {"double", "4.9e-324", "5e-324"}, {"int8", "-128", "-128"}, {"double", "-nan", "-nan"},
        {"int64", "-9223372036854775808", "-9223372036854775808"}, {"float", "3.4028235e38", "3.4028235e+38"},
    };
    for (const auto& row : rows) {
        Any any(3.5);
        try {
            any.parseExact(row.text, typeLabelled(row.label));
            EXPECT_NE(row.exact, nullptr) << row.label << " took '" << row.text << "'";
            EXPECT_EQ(any.type(), &typeLabelled(row.label));
            EXPECT_EQ(any.exactText(), row.exact ? row.exact : "") << row.label << " '" << row.text << "'";
            Any back;
            back.parseExact(any.exactText(), typeLabelled(row.label));
            EXPECT_EQ(back.exactText(), any.exactText()) << "the exact text reads back";
        } catch (const AnyParseException& e) {
            EXPECT_EQ(row.exact, nullptr) << row.label << " refused '" << row.text << "': " << e.userMessage();
            EXPECT_EQ(*e.getValue<std::string>("Text") + "|" + *e.getValue<std::string>("Type"),
                      std::string(row.text) + "|" + row.label);
            EXPECT_EQ(any, Any(3.5)) << "a refused text changes nothing";
        }
    }
}

TEST(ParseExact, WritesInPlaceOnlyIntoItsOwnType) {
    int variable = 3;
    Any bound = BindValue(variable);
    bound.parseExact("17", typeLabelled("int32"));
    EXPECT_THROW(bound.parseExact("x", typeLabelled("int32")), AnyParseException);
    variable += 1;
    EXPECT_EQ(bound.as<int>(), 18) << "written through, and still bound after a refusal";
    bound.parseExact("5", typeLabelled("int64"));
    EXPECT_EQ(bound.exactText() + "/" + std::to_string(variable), "5/18") << "another type detaches as parse does";
    EXPECT_THROW(Any().exactText(), AnyNullException);
    EXPECT_THROW(Any(Dictionary()).exactText(), Tessel::Base::NotImplemented);
}

} // namespace
