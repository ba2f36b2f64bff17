// Checked text: parseExact takes exactly one value or throws without changing anything, and
// exactText reads back to an equal value.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;

const AnyType& typeOf(const char* label) {
    return *AnyTypeRegistry::typeByLabel(TypeAtom(label));
}

TEST(ParseExact, TakesWholeValuesAndRefusesEverythingElse) {
    struct Row { const char* label; const char* text; const char* exact; };  // exact null: refused
    const Row rows[] = {
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
        {"dictionary", "", nullptr}, {"vector", "[]", nullptr},
    };
    for (const Row& row : rows) {
        Any any(3.5);
        try {
            any.parseExact(row.text, typeOf(row.label));
            EXPECT_NE(row.exact, nullptr) << row.label << " took '" << row.text << "'";
            EXPECT_EQ(any.type(), &typeOf(row.label));
            EXPECT_EQ(any.exactText(), row.exact ? row.exact : "") << row.label << " '" << row.text << "'";
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
    Any bound{BindValue(variable)};
    bound.parseExact("17", typeOf("int32"));
    EXPECT_THROW(bound.parseExact("x", typeOf("int32")), AnyParseException);
    variable += 1;
    EXPECT_EQ(bound.as<int>(), 18) << "written through, and still bound after a refusal";
    bound.parseExact("5", typeOf("int64"));
    EXPECT_EQ(bound.exactText() + "/" + std::to_string(variable), "5/18") << "another type detaches as parse does";
}

TEST(ExactText, ReadsBackToTheSameValue) {
    const std::vector<Any> values{1.0f / 3, 0.1 + 0.2, -0.0, std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<float>::max(), std::nan(""),
                                  std::numeric_limits<long long>::min(), static_cast<signed char>(-128), '\n',
                                  std::string(" a\tb "), TimeBase(30000U, 1001U), false};
    for (const Any& value : values) {
        const std::string text = value.exactText();
        Any back;
        back.parseExact(text, *value.type());
        EXPECT_EQ(back.exactText(), text);
        EXPECT_TRUE(back == value || std::isnan(back.as<double>())) << text;
    }
    EXPECT_THROW(Any().exactText(), AnyNullException);
    EXPECT_THROW(Any(Dictionary()).exactText(), Tessel::Base::NotImplemented);
}

} // namespace
