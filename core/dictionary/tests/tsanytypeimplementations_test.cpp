// The time-base text form, the built-in casts at their edges, and the element-wise assignment of
// vectors, level by level (the signature bytes of every type are in the Any table).

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

TEST(BuiltinTypes, ATimeBaseIsWrittenAndReadAsAFraction) {
    const auto parsed = [](const char* text) {
        Any value;
        value.parse(text, typeLabelled("timebase"));
        return show(value);
    };
    EXPECT_EQ(show(holding(TimeBase(-1, 1001))), "timebase:-1/1001") << "2^64 - 1 written as signed decimals";
    EXPECT_EQ(parsed(" 24000 / 1001"), "timebase:24000/1001") << "blanks are skipped";
    EXPECT_EQ(parsed("25:1"), "timebase:25/1") << "any separator will do";
    EXPECT_EQ(parsed("25"), "timebase:25/0") << "a missing field is 0";
    EXPECT_EQ(parsed("4294967296/1"), "timebase:0/0") << "so is one beyond 32 bits";
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
    EXPECT_EQ(cast<TimeBase>(25U).fractionText() + " " + cast<TimeBase>(23.976).fractionText(), "25/1 24000/1001")
        << "a double is rounded to float first";
    EXPECT_TRUE(!cast<bool>(TimeBase()) && cast<bool>(TimeBase(1, 2))) << "a rate that rounds to 0 is false";
    EXPECT_TRUE(cast<int>(TimeBase(24000, 1001)) == 24 && cast<unsigned>(TimeBase(30000, 1001)) == 30);
    EXPECT_EQ(cast<double>(TimeBase(30000, 1001)), 29.970029830932617) << "single precision";

    char text[] = "abc";
    EXPECT_EQ(cast<std::string>(static_cast<char*>(text), "zzzz"s), "abc");
    EXPECT_EQ(cast<std::string>(static_cast<char*>(nullptr), "zz"s), "") << "null is the empty text";
    std::string target = "self text";
    char* inside = &target[5];
    Impl::GenericAnyCast<char*, std::string>().convert(&inside, &target);
    EXPECT_EQ(target, "text") << "text inside the target is measured before it changes";
}

TEST(ContainerTypes, VectorsAssignElementByElement) {
    // Each level assigns in place, then drops or appends: targets hold int32s, sources doubles, so
    // an element assigned in place truncates and an appended one stays a double. `room` is
    // reserved in the target and its first element, so that appending need not reallocate.
    struct { Any target; std::size_t room; Any source; Any expected; const char* error; const char* reason; } rows[] = {
        {vectorOf(vectorOf(1, 2), 3), 0, vectorOf(vectorOf(4.5), 6.5), vectorOf(vectorOf(4), 6), nullptr,
         "the inner surplus is dropped, then the next outer element assigned"},
        {vectorOf(vectorOf(1), 2), 3, vectorOf(vectorOf(4.5, 5.5), 6.5, 7.5), vectorOf(vectorOf(4, 5.5), 6, 7.5), nullptr,
         "appending happens in the inner vector and, after it, in the outer one"},
        {vectorOf(vectorOf(1, 2), 3), 0, vectorOf(vectorOf(4.5, "x"), 6.5), vectorOf(vectorOf(4, 2), 3),
         "AnyCastException", "an inner element that cannot convert stops every level there"},
    };
    for (auto& row : rows) {
        Any& target = row.target;
        target.vec().reserve(row.room);
        target[0].vec().reserve(row.room);
        EXPECT_EQ(attempt([&] { target = row.source; }), row.error ? row.error : "ok") << row.reason;
        EXPECT_TRUE(target == row.expected) << row.reason;
    }
    Any target = vectorOf(Any(), 1);
    target = vectorOf(5, 6);
    EXPECT_EQ(show(target[0]), "int32:5") << "an empty element takes a copy";

    target.clear();
    target = vectorOf(vectorOf(vectorOf(1, 2, 3), 9), 0, 0);
    target = target[0];
    EXPECT_EQ(show(target) + show(target[0]) + show(target[1]), "vector:[2]vector:[3]int32:9")
        << "a source nested in the target is copied first";
    target.clear();
    target = vectorOf(holding(dictOf({{"inner", vectorOf(holding(Dictionary()), 5)}})), 0);
    target = target[0]["inner"];
    EXPECT_EQ(show(target[0]) + show(target[1]), "dictionary:[0]int32:5") << "also inside a dictionary element";

    std::vector<Any> variable{holding(1)};
    const Any* first = &variable[0];
    Any bound{BindValue(variable)};
    bound = Any(BindValue(variable));
    EXPECT_EQ(show(bound) + std::to_string(first == &variable[0]), "vector:[1]1") << "two values bound to one vector";
}

} // namespace
