// The built-in value types' text forms (their signature bytes are in the Any table), the built-in
// casts at their edges, and the element-wise assignment of vectors.

#include <dictionary/tsanytypeimplementations.h>

#include "tstestsupport.h"

#include <climits>
#include <cfloat>
#include <cmath>
#include <cstring>

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Dictionary::Testing;
using namespace std::string_literals;
using Tessel::Base::TimeBase;

Any timeBase(unsigned long long num, unsigned long long den) {
    TimeBase value;
    value.set(num, den);
    return holding(value);
}

TEST(BuiltinTypes, WriteThenParseRestoresEveryScalarType) {
    const Any samples[] = {holding(true), holding('x'), holding(static_cast<signed char>(-5)),
                           holding(static_cast<unsigned char>(200)), holding(short{-12345}),
                           holding(static_cast<unsigned short>(65535)), holding(INT_MIN), holding(4000000000U),
                           holding(LLONG_MIN), holding(ULLONG_MAX), holding(2.5F), holding(-1.5), Any("word"),
                           timeBase(30000, 1001)};
    for (const Any& sample : samples) {
        std::ostringstream text, again;
        sample.write(text);
        Any back;
        back.parse(text.str(), *sample.type());
        back.write(again);
        EXPECT_TRUE(back == sample && again.str() == text.str()) << show(sample);
    }
}

TEST(BuiltinTypes, TextFormsAreTheTypesOwn) {
    const auto parsed = [](const char* label, const char* text) {
        Any a;
        a.parse(text, typeLabelled(label));
        return show(a);
    };
    check({
        {"bool is a digit", [] { return show(holding(true)); }, "bool:1"},
        {"8-bit integers are characters", [] { return show(holding(static_cast<signed char>(65))); }, "int8:A"},
        {"floating point, six digits", [] { return show(holding(1234567.0)); }, "double:1.23457e+06"},
        {"a time base as signed decimals", [] { return show(timeBase(~0ULL, 1001)); }, "timebase:-1/1001"},
        {"a string reads one word", [&] { return parsed("string", "  two words"); }, "string:two"},
        {"a time base skips blanks", [&] { return parsed("timebase", " 24000 / 1001"); }, "timebase:24000/1001"},
        {"any separator will do", [&] { return parsed("timebase", "25:1"); }, "timebase:25/1"},
        {"a missing field is 0", [&] { return parsed("timebase", "25"); }, "timebase:25/0"},
        {"so is one beyond 32 bits", [&] { return parsed("timebase", "4294967296/1"); }, "timebase:0/0"},
        {"reading leaves skipws set", [] {
             Any a = timeBase(0, 0); std::istringstream is("1/2"); a.read(is >> std::noskipws);
             return std::to_string((is.flags() & std::ios_base::skipws) != 0) + show(a); }, "1timebase:1/2"},
    });
}

// The registered cast from From to To applied to `value`, over a target that held `previous`.
template <class To, class From>
To cast(From value, To previous = To{}) {
    const TypeAtom from(typeid(From).name()), to(typeid(To).name());
    AnyTypeRegistry::fromCasts(from)->at(to)->convert(&value, &previous);
    return previous;
}

TEST(BuiltinCasts, ConvertAtTheEdgesWithoutUndefinedBehaviour) {
    EXPECT_TRUE(cast<int>(3.99) == 3 && cast<int>(-3.99) == -3) << "truncates toward zero";
    EXPECT_EQ(cast<int>(std::nan(""), 5), 0) << "NaN gives 0";
    EXPECT_TRUE(cast<int>(1e300) == INT_MAX && cast<short>(-INFINITY) == SHRT_MIN && cast<unsigned>(-1.0F, 7U) == 0)
        << "out of range saturates";
    EXPECT_EQ(cast<long long>(0x1p63), LLONG_MAX) << "2^63 is just out of range";
    EXPECT_EQ(cast<unsigned long long>(0x1.fffffffffffffp63), 18446744073709549568ULL) << "just in range";
    EXPECT_TRUE(cast<bool>(std::nanf("")) && !cast<bool>(-0.0F, true)) << "only zero is false";
    EXPECT_TRUE(cast<bool>(256) && cast<unsigned char>(256) == 0 && cast<unsigned short>(-1) == 65535) << "low bits";
    EXPECT_EQ(cast<unsigned long long>(static_cast<char>(-128)), 18446744073709551488ULL) << "char is signed";
    EXPECT_EQ(cast<short>(static_cast<unsigned char>(128)), 128);
    EXPECT_TRUE(cast<float>(4294967295U) == 4294967296.0F && cast<double>(true) == 1.0 && cast<float>(1e300) > FLT_MAX);
    double identity = 0;
    std::memcpy(&identity, "\x01\0\0\0\0\0\xF8\xFF", 8); // a negative NaN with a payload
    const double copied = cast<double>(identity);
    EXPECT_EQ(std::memcmp(&copied, &identity, 8), 0) << "an identity cast copies every bit";

    EXPECT_EQ(cast<TimeBase>(-1).fractionText(), "4294967295/1") << "an integer's bits over 1";
    EXPECT_EQ(cast<TimeBase>(25U).fractionText() + " " + cast<TimeBase>(29.97F).fractionText() + " " +
                  cast<TimeBase>(23.976).fractionText(),
              "25/1 30000/1001 24000/1001");
    EXPECT_EQ(cast<TimeBase>(1e300).fractionText(), "9223372036854775807/100") << "a double beyond float is infinite";
    EXPECT_TRUE(!cast<bool>(TimeBase()) && cast<bool>(TimeBase(1, 2))) << "a rate that rounds to 0 is false";
    EXPECT_TRUE(cast<int>(TimeBase(24000, 1001)) == 24 && cast<unsigned>(TimeBase(30000, 1001)) == 30);
    EXPECT_EQ(cast<double>(TimeBase(30000, 1001)), 29.970029830932617) << "single precision";

    char text[] = "abc";
    EXPECT_EQ(cast<std::string>(static_cast<char*>(text), "zzzz"s), "abc");
    EXPECT_EQ(cast<std::string>(static_cast<char*>(nullptr), "zz"s), "") << "null is the empty text";
    std::string target = "self text";
    char* inside = &target[5];
    AnyTypeRegistry::toCasts(TypeAtom(typeid(std::string).name()))->begin()->second->convert(&inside, &target);
    EXPECT_EQ(target, "text") << "text inside the target is measured before it changes";
}

TEST(ContainerTypes, VectorsAssignElementByElement) {
    check({
        {"elements keep their types; the surplus goes", [] {
             Any t = ints({0, 1, 2}); t = vectorOf({holding(7), holding(2.75)});
             return show(t) + show(t[0]) + show(t[1]); }, "vector:[2]int32:7int32:2"},
        {"an empty element takes a copy",
         [] { Any t = vectorOf({Any(), holding(1)}); t = ints({5, 6}); return show(t[0]); }, "int32:5"},
        {"a failed element assignment throws",
         [] { Any t = ints({1}); return attempt([&] { t = vectorOf({Any("x")}); }, &t[0]); },
         "AnyCastException int32:1"},
        {"a source nested in the target is copied first", [] {
             Any t = vectorOf({vectorOf({ints({1, 2, 3}), holding(9)}), holding(0), holding(0)});
             t = t[0]; return show(t) + show(t[0]) + show(t[1]); }, "vector:[2]vector:[3]int32:9"},
        {"also inside a dictionary element", [] {
             const Any inner = vectorOf({holding(Dictionary()), holding(5)});
             Any t = vectorOf({holding(dictOf({{"inner", inner}})), holding(0)});
             t = t[0]["inner"]; return show(t[0]) + show(t[1]); }, "dictionary:[0]int32:5"},
        {"a copy shares no storage", [] {
             const Any s = holding(dictOf({{"list", ints({1, 2})}})); Any c(s); c["list"][0] = holding(100);
             return show(s["list"][0]) + std::to_string(c == s); }, "int32:10"},
        {"two values bound to one vector", [] {
             std::vector<Any> v{holding(1)}; const Any* e = &v[0]; Any a{BindValue(v)}; a = Any(BindValue(v));
             return std::to_string(e == &v[0]) + show(a); }, "1vector:[1]"},
    });
}

} // namespace
