// The JSON bridge: exact typed round trips, the plain form, the reading rules and every refusal.

#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <boost/thread/thread.hpp>

#include <cfloat>
#include <climits>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using namespace Testing;

// A host type with a text form of its own.
struct Point {
    int x = 0, y = 0;
    bool operator==(const Point& other) const { return x == other.x && y == other.y; }
};
std::ostream& operator<<(std::ostream& os, const Point& p) { return os << p.x << ',' << p.y; }
std::istream& operator>>(std::istream& is, Point& p) {
    char comma = 0;
    return is >> p.x >> comma >> p.y;
}

void registerPoint() {
    static const bool registered = AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Point>("point"));
    static_cast<void>(registered);
}

const JsonOptions kPlain{JsonForm::Plain};

// The JSON exception that `action` throws, or a failure and an exception without items.
template <class Action>
JsonException refusal(Action action) {
    try {
        action();
    } catch (const JsonException& e) {
        return e;
    }
    ADD_FAILURE() << "no JsonException";
    return JsonException();
}

// The item `key` of `e` as text ("" when missing).
std::string item(const JsonException& e, const char* key) {
    std::ostringstream text;
    if (const auto* info = e.getInfo(key)) {
        info->writeValue(text);
    }
    return text.str();
}

TEST(Json, EachLabelWritesItsFormsAndReadsBackExactly) {
    registerPoint();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    // value, typed form, plain form (null: refused), why
    const std::tuple<Any, const char*, const char*, const char*> rows[] = {
        {Any(), "null", "null", "an empty value"},
        {holding(true), "true", "true", "bool is natural"},
        {holding('A'), R"({"!char":"A"})", R"("A")", "a printable char as text"},
        {holding(char(-23)), R"({"!char":-23})", "-23", "any other char as its number"},
        {holding(static_cast<signed char>(-128)), R"({"!int8":-128})", "-128", "int8 minimum"},
        {holding(static_cast<unsigned char>(255)), R"({"!uint8":255})", "255", "uint8 maximum"},
        {holding(short(-32768)), R"({"!int16":-32768})", "-32768", "int16 minimum"},
        {holding(static_cast<unsigned short>(65535)), R"({"!uint16":65535})", "65535", "uint16 maximum"},
        {holding(INT_MIN), R"({"!int32":-2147483648})", "-2147483648", "int32 minimum"},
        {holding(UINT_MAX), R"({"!uint32":4294967295})", "4294967295", "uint32 maximum"},
        {holding(LLONG_MIN), "-9223372036854775808", "-9223372036854775808", "int64 is natural"},
        {holding(5ULL), R"({"!uint64":5})", "5", "a uint64 that would read as int64"},
        {holding(ULLONG_MAX), "18446744073709551615", "18446744073709551615", "above int64: natural"},
        {holding(0.1F), R"({"!float":0.1})", "0.1", "float, shortest text"},
        {holding(FLT_TRUE_MIN), R"({"!float":1e-45})", "1e-45", "smallest subnormal float"},
        {holding(-infinity), R"({"!float":"-Infinity"})", nullptr, "plain JSON has no infinity"},
        {holding(0.1), "0.1", "0.1", "double, shortest text"},
        {holding(1e300), "1e+300", "1e+300", "exponent form"},
        {holding(2.0), "2.0", "2.0", "an integral double keeps a fraction"},
        {holding(-0.0), "-0.0", "-0.0", "negative zero"},
        {holding(nan), R"({"!double":"NaN"})", nullptr, "plain JSON has no NaN"},
        {holding(std::string("q\"\\\x01\n\xC3\xA9\0", 8)), R"("q\"\\\u0001\né\u0000")", R"("q\"\\\u0001\né\u0000")",
         "escapes, UTF-8 and NUL"},
        {holding(TimeBase(50U, 2U)), R"({"!timebase":"50/2"})", R"("50/2")", "the stored fraction, unreduced"},
        {holding(TimeBase()), R"({"!timebase":"0/0"})", R"("0/0")", "the invalid time base"},
        {holding(Point{3, -4}), R"({"!point":"3,-4"})", R"("3,-4")", "a host type's own text"},
        {vectorOf(Any(), 1, vectorOf()), R"([null,{"!int32":1},[]])", "[null,1,[]]", "a vector"},
        {holding(dictOf({{"", holding(Dictionary())}, {"json-b", Any()}, {"!x", holding(1LL)}})),
         R"({"":{},"json-b":null,"!!x":1})", R"({"":{},"json-b":null,"!x":1})", "key order, empty key, escaped tag mark"},
    };
    for (const auto& [value, typed, plainText, why] : rows) {
        SCOPED_TRACE(why);
        EXPECT_EQ(toJson(value), typed);
        EXPECT_EQ(canonicalSignature(fromJson(typed)), canonicalSignature(value));
        if (plainText != nullptr) {
            EXPECT_EQ(toJson(value, kPlain), plainText);
        } else {
            EXPECT_THROW(toJson(value, kPlain), JsonException);
        }
    }
    JsonOptions indented;
    indented.indent = 2;
    EXPECT_EQ(toJson(holding(dictOf({{"json-i", vectorOf(1, Any())}, {"json-e", vectorOf()}})), indented),
              "{\n  \"json-i\": [\n    {\"!int32\": 1},\n    null\n  ],\n  \"json-e\": []\n}");
}

TEST(Json, UntaggedValuesFollowThePlainRules) {
    const std::pair<const char*, Any> rows[] = {
        {"7", holding(7LL)},
        {"-0", holding(0LL)},
        {"9223372036854775808", holding(9223372036854775808ULL)},
        {"1e2", holding(100.0)},
        {" [1.5 ,\"\\ud83d\\ude00\"]\r\n", vectorOf(1.5, std::string("\xF0\x9F\x98\x80"))},
        {R"({"json-z":{"!!":false},"json-a":null})",
         holding(dictOf({{"json-z", holding(dictOf({{"!", holding(false)}}))}, {"json-a", Any()}}))},
        {R"({"!int64":3})", holding(3LL)},
        {R"({"!double":3})", holding(3.0)},
        {R"({"!vector":[]})", vectorOf()},
    };
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(canonicalSignature(fromJson(text)), canonicalSignature(expected));
    }
    // Keys new to the process iterate in document order.
    const Any read = fromJson(R"({"json-order-2":1,"json-order-1":2})");
    EXPECT_EQ(read.dict().begin()->first.getString(), "json-order-2");
}

TEST(Json, RefusesEveryBadDocumentWithItsPlace) {
    registerPoint();
    // text, line, column, key path, a part of the reason
    const std::tuple<std::string, int, int, const char*, const char*> rows[] = {
        {"", 1, 1, "", "unexpected end of input"},
        {"[1,", 1, 4, "0", "unexpected end of input"},
        {"[1]x", 1, 4, "", "expected end of input"},
        {std::string("[1]\0x", 5), 1, 4, "", "NUL"},
        {std::string("[1,\0]", 5), 1, 4, "0", "NUL"},
        {R"(["\x"])", 1, 4, "", "invalid string"},
        {"\"\xC3\x28\"", 1, 3, "", "ill-formed UTF-8"},
        {R"("\ud800")", 1, 8, "", "surrogate"},
        {"1e400", 1, 5, "", "number overflow"},
        {"-99999999999999999999", 1, 21, "", "outside the 64-bit range"},
        {"{\"a\":1,\n\"a\":2}", 2, 3, "a", "repeated"},
        {"{\"a/b\":{\"~\":[{\"!int8\":300}]}}", 1, 26, "a~1b/~0/0", "integer from -128 to 127"},
        {R"({"!uint8":-1})", 1, 13, "", "integer from 0 to 255"},
        {R"({"!no-such-label":1})", 1, 17, "", "unknown label"},
        {R"({"!char":"ab"})", 1, 14, "", "one-character"},
        {R"({"!float":1e39})", 1, 15, "", "float range"},
        {R"({"!float":null})", 1, 15, "", "float range"},
        {R"({"!timebase":"1/-1"})", 1, 20, "", "numerator/denominator"},
        {R"({"!bool":1})", 1, 11, "", "true or false"},
        {R"({"!int8":1,"b":2})", 1, 14, "", "only member"},
        {R"({"a":1,"!int8":2})", 1, 14, "!int8", "only member"},
        {R"({"!vector":{"!int8":1}})", 1, 19, "", "another tag"},
        {R"({"!point":1})", 1, 12, "", "a string"},
    };
    for (const auto& [text, line, column, keyPath, reason] : rows) {
        SCOPED_TRACE(text);
        const JsonException e = refusal([&document = text] { fromJson(document); });
        EXPECT_EQ(item(e, "Line") + ":" + item(e, "Column"), std::to_string(line) + ":" + std::to_string(column));
        EXPECT_EQ(item(e, "KeyPath"), keyPath);
        EXPECT_NE(item(e, "Reason").find(reason), std::string::npos) << e.userMessage();
        EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::fromJson");
    }
}

TEST(Json, RefusesValuesWithNoJsonFormAtTheirKeyPathWritingNothing) {
    const std::pair<Any, const char*> rows[] = {
        {holding(dictOf({{"a", vectorOf(1, std::string("\xED\xA0\x80"))}})), "a/1"}, // an encoded surrogate
        {vectorOf(holding(dictOf({{"\xC0\xAF", Any()}}))), "0/\xC0\xAF"},                    // an overlong key
        {holding(dictOf({{"json-nan", holding(std::nan(""))}})), "json-nan"},                      // only in the plain form
    };
    for (const auto& [value, keyPath] : rows) {
        std::ostringstream out;
        EXPECT_EQ(item(refusal([&out, &held = value] { writeJson(out, held, kPlain); }), "KeyPath"), keyPath);
        EXPECT_EQ(out.str(), "") << "a refused value writes nothing";
    }
}

TEST(Json, NestingStopsAtTheLimitOnASmallStack) {
    const auto brackets = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    const auto objects = [](std::size_t depth) {
        std::string text;
        while (text.size() < 5 * depth) {
            text += "{\"k\":";
        }
        return text + "null" + std::string(depth, '}');
    };
    // gtest's assertions report from any thread; refusal() fails the test unless JsonException comes.
    boost::thread::attributes smallStack;
    smallStack.set_stack_size(256 * 1024);
    boost::thread(smallStack, [&] {
        for (const std::string& atTheLimit : {brackets(1000), objects(1000)}) {
            EXPECT_NO_THROW(EXPECT_EQ(toJson(fromJson(atTheLimit)), atTheLimit));
        }
        const std::pair<std::string, int> tooDeep[] = {{brackets(1001), 1001}, {objects(1001), 5001},
                                                       {brackets(1000000), 1001}};
        for (const auto& [text, column] : tooDeep) {
            EXPECT_EQ(item(refusal([&document = text] { fromJson(document); }), "Column"), std::to_string(column));
        }
        JsonOptions shallow;
        shallow.maxDepth = 999;
        EXPECT_THROW(toJson(fromJson(brackets(1000)), shallow), JsonException);
        shallow.maxDepth = 1;
        EXPECT_THROW(toJson(vectorOf(1), shallow), JsonException); // the tag is a level too
        EXPECT_THROW(fromJson(R"([{"!int32":1}])", shallow), JsonException);
    }).join();
}

TEST(Json, StreamsReadToTheEnd) {
    std::istringstream in(" {\"json-s\": [1, 2]} ");
    in.exceptions(std::ios::failbit | std::ios::badbit);
    EXPECT_EQ(canonicalSignature(readJson(in)), canonicalSignature(dictOf({{"json-s", vectorOf(1LL, 2LL)}})));
    EXPECT_TRUE(in.eof() && !in.fail());
    std::istringstream bad("[");
    const JsonException e = refusal([&] { readJson(bad); });
    EXPECT_EQ(item(e, "ThrowFunction"), "Tessel::Dictionary::readJson");
    EXPECT_EQ(e.userMessage().rfind("JSON error at line 1, column 2: ", 0), 0U) << e.userMessage();
}

} // namespace
