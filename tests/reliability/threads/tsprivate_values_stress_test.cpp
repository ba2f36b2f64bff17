// Each thread builds and changes values of its own while the others do the same: every step that
// looks a type up in the shared registry (set, bind, parse, typed views through an alias, casts,
// the unknown-type failure) runs on all threads at once. The result of each build must be the
// value the same build gave on the main thread.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include "tsconcurrently.h"

#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Tessel::Testing::kStressThreads;
using Tessel::Testing::runConcurrently;

constexpr int kRounds = 200;
constexpr int kVariants = 5;

// A host type that no value type is registered for.
struct UnregisteredHostType {
    int field = 0;
};

const AnyType& labelled(const TypeAtom& label) {
    return *AnyTypeRegistry::typeByLabel(label);
}

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

// Builds a dictionary from `seed` through every way of giving an Any its value.
Any build(int seed) {
    Any result;
    result.set(Dictionary());

    long aliased = seed * 3L; // `long` is an alias of "int64"
    Any bound(BindValue{aliased});
    bound.ref<long>() += 1; // a typed view through the alias, written through to the variable
    result["alias"] = bound;
    result["aliasVariable"].set(static_cast<long long>(aliased));

    int host = 0;
    Any boundInt(BindValue{host});
    std::istringstream nine("9");
    boundInt.read(nine);
    boundInt = holding(seed + 0.75); // double to int cast into the variable
    result["readAndCast"].set(host);

    Any parsed;
    parsed.parse(std::to_string(seed * 7), labelled(gTypeLabelInt32));
    result["parsed"] = parsed;
    Any rate("placeholder");
    rate.parse("24000/1001", labelled(gTypeLabelTimeBase));
    result["rate"] = rate;
    result["rateAsInt"].set(rate.as<int>());

    Any text("x");
    text.reset(std::to_string(seed).c_str());
    text = ("seed " + text.ref<std::string>()).c_str();
    result["text"] = text;

    Any reassigned;
    reassigned.reset(1.5f);
    reassigned.reset(static_cast<unsigned short>(seed));
    result["reassigned"] = reassigned;

    std::vector<Any> list{holding(seed), Any("two"), holding(TimeBase(25, false))};
    result["list"].set(list);
    result["list"][0] = holding(static_cast<long long>(seed) * 10); // int64 into an int32 element

    UnregisteredHostType unknown;
    try {
        Any never(BindValue{unknown});
        result["unknown"] = "not thrown";
    } catch (const AnyUnknownTypeException& e) {
        const std::string* type = e.getValue<std::string>("Type");
        result["unknown"] = type == nullptr ? "no type item" : type->c_str();
    }
    return result;
}

Digest signatureOf(const Any& any) {
    Engine engine;
    any.signature(engine);
    return engine.digest();
}

TEST(PrivateValues, BuildsOnAllThreadsMatchTheSingleThreadedBuild) {
    // The registry's first use completes here, on the main thread, before the threads start.
    AnyTypeRegistry::get();
    std::vector<std::vector<Digest>> expected(kStressThreads);
    std::vector<std::vector<Any>> expectedValues(kStressThreads);
    for (int t = 0; t < kStressThreads; ++t) {
        for (int v = 0; v < kVariants; ++v) {
            expectedValues[t].push_back(build(t * 100 + v));
            expected[t].push_back(signatureOf(expectedValues[t].back()));
        }
    }
    // The builds differ from one another, so a mixed-up result cannot pass.
    ASSERT_NE(expected[0][0], expected[0][1]);
    ASSERT_EQ(expectedValues[0][0]["readAndCast"].ref<int>(), 0);
    ASSERT_EQ(expectedValues[0][0]["unknown"].ref<std::string>().find("UnregisteredHostType") == std::string::npos,
              false);

    std::vector<int> mismatches(kStressThreads, 0);
    runConcurrently(kStressThreads, [&](int t) {
        for (int round = 0; round < kRounds; ++round) {
            const int v = round % kVariants;
            const Any built = build(t * 100 + v);
            if (signatureOf(built) != expected[t][v] || built != expectedValues[t][v]) {
                ++mismatches[t];
            }
        }
    });
    EXPECT_EQ(mismatches, std::vector<int>(kStressThreads, 0));
}

} // namespace
