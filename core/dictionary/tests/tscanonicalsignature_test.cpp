// Canonical signatures: golden digests from the independent model (canonical_model.py), content
// told apart where the designed signature confuses it, content kept together where operator==
// would not, host types by their feed, and nesting far deeper than the call stack.

#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Vec = std::vector<Any>;

template <class T>
Any of(const T& value) {
    Any any;
    any.set(value);
    return any;
}
Any dict(std::initializer_list<std::pair<const char*, Any>> entries) {
    Any any = of(Dictionary());
    for (const auto& [key, value] : entries) {
        any[key] = value;
    }
    return any;
}
Digest designed(const Any& value) {
    Engine engine;
    return value.signature(engine).digest();
}
Digest ofHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    Engine engine;
    return engine.update(bytes.data(), bytes.size()).digest();
}

const float kNaNf = std::numeric_limits<float>::quiet_NaN();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(CanonicalSignature, MatchesTheIndependentModel) {
    const Tessel::Base::NameAtom<Any> widthFirst("width"); // interned before "height": atom order is not text order
    const std::string x200(200, 'x');
    std::string x200hex;
    for (int i = 0; i < 200; ++i) {
        x200hex += "78";
    }
    const struct { const char* name; std::string hex; std::function<Any()> build; } rows[] = {
        {"frame_size", "010e0206686569676874070438040000057769647468070480070000",
         [] { return dict({{"width", of(1920)}, {"height", of(1080)}}); }},
        {"one_key_text", "010e01016b0d0a767c6b32737472696e67", [] { return dict({{"k", of(std::string("v|k2string"))}}); }},
        {"two_keys", "010e02016b0d0176026b320d00", [] { return dict({{"k", of(std::string("v"))}, {"k2", of(std::string())}}); }},
        {"int32_one", "010f01070401000000", [] { return of(Vec{of(1)}); }},
        {"uint32_one", "010f01080401000000", [] { return of(Vec{of(1U)}); }},
        {"bytes_one", "010f010d0401000000", [] { return of(Vec{of(std::string("\x01\0\0\0", 4))}); }},
        {"a_b", "010f020d01610d0162", [] { return of(Vec{of(std::string("a")), of(std::string("b"))}); }},
        {"a_joined_b", "010f010d06610100000062", [] { return of(Vec{of(std::string("a\x01\0\0\0b", 6))}); }},
        {"scalars", "010f0d0101010201410301ff0401c80502feff0602ffff0908fbffffffffffffff0a08ffffffffffffffff0b040000"
                    "00800b040000c07f0c08000000000000f83f0c08000000000000f87f00",
         [] { return of(Vec{of(true), of('A'), of(static_cast<signed char>(-1)), of(static_cast<unsigned char>(200)),
                            of(static_cast<short>(-2)), of(static_cast<unsigned short>(65535)), of(-5LL), of(~0ULL),
                            of(-0.0F), of(kNaNf), of(1.5), of(kNaN), Any()}); }},
        {"rates", "010f0310103075000000000000e9030000000000001010320000000000000002000000000000001010000000000000"
                  "00000000000000000000",
         [] { return of(Vec{of(TimeBase(30000U, 1001U)), of(TimeBase(50U, 2U)), of(TimeBase())}); }},
        {"nested", "010e0401610e000261620f00017a0f02000e010162101019000000000000000100000000000000" "02c3a90dc801" + x200hex,
         [&] { return dict({{"z", of(Vec{Any(), dict({{"b", of(TimeBase(25U, 1U))}})})}, {"\xc3\xa9", of(x200)},
                            {"a", of(Dictionary())}, {"ab", of(Vec{})}}); }},
        {"empty", "0100", [] { return Any(); }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(canonicalSignature(row.build()), ofHex(row.hex)) << row.name;
    }
    EXPECT_EQ(canonicalSignature(rows[0].build().dict()), ofHex(rows[0].hex)) << "a Dictionary signs as its Any";
}

TEST(CanonicalSignature, ContentDecidesNotEqualityNorTheDesignedFeed) {
    Dictionary inOrder;
    Dictionary reversed;
    inOrder["p"] = of(1);
    inOrder["q"] = of(2.5);
    reversed["q"] = of(2.5);
    reversed["p"] = of(1);
    float payloadNaN = kNaNf;
    reinterpret_cast<unsigned char*>(&payloadNaN)[0] = 0x5A;
    int bound = 7;
    const struct { Any a; Any b; bool same; const char* why; } rows[] = {
        {dict({{"k", of(std::string("v|k2string"))}}), dict({{"k", of(std::string("v"))}, {"k2", of(std::string())}}), false, "designed feed collides"},
        {of(Vec{of(1)}), of(Vec{of(1U)}), false, "int32 and uint32 with the same bytes"},
        {of(Vec{of(1)}), of(Vec{of(std::string("\x01\0\0\0", 4))}), false, "int32 and its bytes as a string"},
        {of(Vec{of(std::string("a")), of(std::string("b"))}), of(Vec{of(std::string("a\x01\0\0\0b", 6))}), false, "two strings and one"},
        {of(TimeBase(25U, 1U)), of(TimeBase(50U, 2U)), false, "equal rates, different fractions"},
        {of(0.0), of(-0.0), false, "equal zeros, different signs"},
        {Any(), of(std::string()), false, "empty value and empty string"},
        {dict({{"k", Any()}}), dict({}), false, "an empty entry counts"},
        {of(Vec{Any()}), of(Vec{}), false, "an empty element counts"},
        {of(kNaN), of(-kNaN), true, "NaNs are unequal but one content"},
        {of(kNaNf), of(payloadNaN), true, "every float NaN signs alike"},
        {of(inOrder), of(reversed), true, "insertion order does not count"},
        {Any(BindValue(bound)), of(7), true, "a bound value signs as its content"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(canonicalSignature(row.a) == canonicalSignature(row.b), row.same) << row.why;
    }
    EXPECT_EQ(designed(rows[0].a), designed(rows[0].b)) << "the gap the canonical signature closes";
    EXPECT_EQ(designed(rows[3].a), designed(rows[3].b)) << "the gap the canonical signature closes";
}

// A host type whose feed is its text form, which keeps six digits.
struct Gauge {
    double level = 0;
    bool operator==(const Gauge& other) const { return level == other.level; }
};
std::ostream& operator<<(std::ostream& os, const Gauge& g) { return os << g.level; }
std::istream& operator>>(std::istream& is, Gauge& g) { return is >> g.level; }

TEST(CanonicalSignature, HostTypesSignByLabelAndFeed) {
    AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Gauge>("gauge"));
    const struct { Any a; Any b; bool same; const char* why; } rows[] = {
        {of(Gauge{1.5}), of(Gauge{1.5}), true, "same feed"},
        {of(Gauge{1.5}), of(Gauge{2.5}), false, "different feed"},
        {of(Gauge{1.0000001}), of(Gauge{1.0000002}), true, "no finer than the six digits it feeds"},
        {of(Gauge{1.5}), of(std::string("1.5")), false, "the label frames the feed"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(canonicalSignature(row.a) == canonicalSignature(row.b), row.same) << row.why;
    }
}

TEST(CanonicalSignature, SignsAMillionLevelsWithoutRecursion) {
    constexpr int kDepth = 1000000;
    Any root;
    Any* node = &root;
    Engine expected;
    expected.update("\x01", 1);
    for (int level = 0; level < kDepth; ++level) { // alternately a vector of one and {"d": ...}
        if (level % 2 == 0) {
            node->set(Vec(1));
            node = &node->vec()[0];
            expected.update("\x0f\x01", 2);
        } else {
            node->set(Dictionary());
            node = &(*node)["d"];
            expected.update("\x0e\x01\x01" "d", 4);
        }
    }
    EXPECT_EQ(canonicalSignature(root), expected.update("\0", 1).digest());
    // Taken apart level by level: destroying it whole would recurse.
    Vec vecHolder;
    Dictionary dictHolder;
    for (node = &root; node->type() != nullptr;) {
        Vec vecNext;
        Dictionary dictNext;
        if (node->type()->label() == gTypeLabelVector) {
            vecNext.swap(node->vec());
            node = &vecNext[0];
        } else {
            dictNext.swap(node->dict());
            node = &dictNext.begin()->second;
        }
        vecHolder.swap(vecNext);
        dictHolder.swap(dictNext);
    }
}

} // namespace
