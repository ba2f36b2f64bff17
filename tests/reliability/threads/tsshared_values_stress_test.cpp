// Const use of SHARED values from several threads at once, after the registry's first use has
// finished on the main thread: lookups (which may intern key texts), typed reads, conversions,
// comparisons, text, signatures, deep copies and failed reads. Every thread must get exactly what
// the same operation gave on the main thread before the threads started.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
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
using Key = Dictionary::Key;

constexpr int kRounds = 500;

template <class T>
Any holding(const T& value) {
    Any any;
    any.set(value);
    return any;
}

Digest signatureOf(const Any& any) {
    Engine engine;
    any.signature(engine);
    return engine.digest();
}

std::string textOf(const Any& any) {
    std::ostringstream os;
    any.write(os);
    return os.str();
}

// Settings of a clip with every kind of entry: scalars, a string, a time base, an empty entry,
// a nested dictionary holding a vector that holds a dictionary, and a vector of numbers.
Dictionary clipSettings() {
    Dictionary clip;
    clip["width"].set(1920);
    clip["ratio"].set(16.0 / 9.0);
    clip["title"] = "Clip One";
    clip["rate"].set(TimeBase(30, true));
    clip["enabled"].set(true);
    clip["frames64"].set(1234567890123LL);
    clip["unset"];
    Dictionary deep;
    deep["deep"].set(3.5);
    std::vector<Any> list{holding(1), Any("two"), holding(deep)};
    Dictionary nested;
    nested["inner"].set(7);
    nested["list"].set(list);
    clip["nested"].set(nested);
    std::vector<Any> frames;
    for (int i = 0; i < 16; ++i) {
        frames.push_back(holding(i * i));
    }
    clip["frames"].set(frames);
    return clip;
}

// A host variable that a shared Any is bound to; nothing writes it while the threads run.
int gBoundWidth = 1920;

// What every thread reads, and what the main thread read from it first.
struct Shared {
    Shared() {
        // The registry's first use must complete on one thread before any other uses it.
        AnyTypeRegistry::get();
        clip.set(clipSettings());
        copy = clip;
        bound = BindValue(gBoundWidth);
        const Dictionary& entries = clip.dict();
        for (const auto& [key, value] : entries) {
            keys.push_back(key.getString());
            entryDigests.push_back(signatureOf(value));
            // Containers have no text form; an empty value writes nothing.
            const bool container = value.type() != nullptr && (value.type()->label() == gTypeLabelDictionary ||
                                                               value.type()->label() == gTypeLabelVector);
            entryTexts.push_back(container ? std::string() : textOf(value));
        }
        clipDigest = signatureOf(clip);
        widthAsDouble = clip["width"].as<double>();
        ratioAsInt = clip["ratio"].as<int>();
        rateAsDouble = clip["rate"].as<double>();
        rateAsUnsigned = clip["rate"].as<unsigned int>();
        enabledAsInt = clip["enabled"].as<int>();
        frames64AsFloat = clip["frames64"].as<float>();
    }

    Any clip;
    Any copy;
    Any bound;
    std::vector<std::string> keys;
    std::vector<Digest> entryDigests;
    std::vector<std::string> entryTexts;
    Digest clipDigest;
    double widthAsDouble = 0;
    int ratioAsInt = 0;
    double rateAsDouble = 0;
    unsigned int rateAsUnsigned = 0;
    int enabledAsInt = 0;
    float frames64AsFloat = 0;
};

const Shared& shared() {
    static const Shared instance;
    return instance;
}

// Counts the failed checks of one thread and remembers the first.
struct Checks {
    int failures = 0;
    std::string first;
    void expect(bool ok, const char* what) {
        if (!ok && failures++ == 0) {
            first = what;
        }
    }
};

template <class Exception, class Read>
bool throwsOnly(const Read& read) {
    try {
        read();
    } catch (const Exception&) {
        return true;
    } catch (...) {
        return false;
    }
    return false;
}

class SharedValues : public ::testing::Test {
protected:
    // Built here, on the main thread, before any test starts threads.
    void SetUp() override { shared(); }

    static void expectAllPassed(const std::vector<Checks>& checks) {
        for (std::size_t t = 0; t < checks.size(); ++t) {
            EXPECT_EQ(checks[t].failures, 0) << "thread " << t << ", first failure: " << checks[t].first;
        }
    }
};

TEST_F(SharedValues, LookupsAndTypedReads) {
    const Shared& s = shared();
    const Any& clip = s.clip;
    const Key widthKey("width");
    std::vector<Checks> checks(kStressThreads);
    runConcurrently(kStressThreads, [&](int t) {
        Checks& c = checks[t];
        for (int round = 0; round < kRounds; ++round) {
            const Dictionary& entries = clip.dict();
            const Any* width = entries.find(widthKey);
            c.expect(width != nullptr && width->ref<int>() == 1920, "find and ref");
            c.expect(entries.hasEntry("unset") && entries["unset"].isEmpty(), "empty entry");
            c.expect(clip["title"].ref<std::string>() == "Clip One", "string by name");
            c.expect(clip["rate"].ref<TimeBase>().numerator == 30000, "time base");
            c.expect(clip["nested"]["inner"].ref<int>() == 7, "nested dictionary");
            const Any& list = clip["nested"]["list"];
            c.expect(list.vec().size() == 3 && list[0].ref<int>() == 1, "vector by int");
            c.expect(list[1u].ref<std::string>() == "two", "vector by unsigned");
            c.expect(list[2]["deep"].ref<double>() == 3.5, "dictionary in a vector");
            c.expect(clip["frames"][15].ref<int>() == 225, "vector of numbers");
            c.expect(s.bound.ref<int>() == 1920, "bound variable");
            // A key nobody stored: interned anew by this thread, found nowhere, nothing inserted.
            const std::string missing = "shared-missing-" + std::to_string(t) + "-" + std::to_string(round);
            c.expect(clip[missing.c_str()].isEmpty() && entries.find(Key(missing)) == nullptr, "missing key");
            std::size_t position = 0;
            bool inOrder = entries.size() == s.keys.size();
            for (const auto& entry : entries) {
                inOrder = inOrder && position < s.keys.size() && entry.first.getString() == s.keys[position++];
            }
            c.expect(inOrder, "iteration order");
        }
    });
    expectAllPassed(checks);
    EXPECT_EQ(clip.dict().size(), s.keys.size());
}

TEST_F(SharedValues, ConversionsAndFailedReads) {
    const Shared& s = shared();
    const Any& clip = s.clip;
    std::vector<Checks> checks(kStressThreads);
    runConcurrently(kStressThreads, [&](int t) {
        Checks& c = checks[t];
        for (int round = 0; round < kRounds; ++round) {
            c.expect(clip["width"].as<double>() == s.widthAsDouble, "int32 as double");
            c.expect(clip["ratio"].as<int>() == s.ratioAsInt, "double as int");
            c.expect(clip["rate"].as<double>() == s.rateAsDouble, "time base as double");
            c.expect(clip["rate"].as<unsigned int>() == s.rateAsUnsigned, "time base as unsigned");
            c.expect(clip["enabled"].as<int>() == s.enabledAsInt, "bool as int");
            c.expect(clip["frames64"].as<float>() == s.frames64AsFloat, "int64 as float");
            long long widened = 0;
            s.bound.get(widened);
            c.expect(widened == 1920, "bound int as long long");
            c.expect(clip["title"].as<std::string>() == "Clip One", "string as itself");
            c.expect(throwsOnly<AnyCastException>([&] { (void)clip["title"].as<int>(); }), "string as int");
            c.expect(throwsOnly<AnyDereferenceException>([&] { (void)clip["width"].dict(); }), "int as dictionary");
            c.expect(throwsOnly<AnyNullException>([&] { (void)clip["unset"].as<int>(); }), "empty as int");
            c.expect(throwsOnly<AnyDereferenceException>([&] { (void)clip["frames64"].ref<long>(); }),
                     "alias through a const view");
        }
    });
    expectAllPassed(checks);
}

TEST_F(SharedValues, ComparisonsTextsAndSignatures) {
    const Shared& s = shared();
    const Any& clip = s.clip;
    std::vector<Checks> checks(kStressThreads);
    runConcurrently(kStressThreads, [&](int t) {
        Checks& c = checks[t];
        for (int round = 0; round < kRounds; ++round) {
            c.expect(clip == s.copy && !(clip != s.copy), "equal to the copy");
            c.expect(clip["width"] != clip["frames64"], "different types");
            c.expect(clip["nested"] == s.copy["nested"], "nested equal");
            c.expect(clip["unset"] == s.copy["unset"], "two empty values");
            c.expect(signatureOf(clip) == s.clipDigest, "whole signature");
            std::size_t i = 0;
            for (const auto& entry : clip.dict()) {
                c.expect(signatureOf(entry.second) == s.entryDigests[i], "entry signature");
                if (!s.entryTexts[i].empty()) {
                    c.expect(textOf(entry.second) == s.entryTexts[i], "entry text");
                }
                ++i;
            }
            c.expect(throwsOnly<Tessel::Base::NotImplemented>([&] { (void)textOf(clip); }), "dictionary text");
        }
        (void)t;
    });
    expectAllPassed(checks);
}

TEST_F(SharedValues, DeepCopiesChangeOnlyThemselves) {
    const Shared& s = shared();
    std::vector<Checks> checks(kStressThreads);
    runConcurrently(kStressThreads, [&](int t) {
        Checks& c = checks[t];
        for (int round = 0; round < kRounds; ++round) {
            Any mine(s.clip);
            c.expect(mine == s.clip, "copy equals source");
            mine["nested"]["inner"] = holding(t * 1000 + round);
            mine["nested"]["list"][0] = holding(2.9); // converts into the int element
            mine["title"] = "changed";
            c.expect(mine["nested"]["list"][0].ref<int>() == 2, "conversion into a copy");
            c.expect(mine != s.clip && signatureOf(mine) != s.clipDigest, "copy differs after change");
            Dictionary entries(s.clip.dict());
            entries.erase("width");
            c.expect(entries.size() + 1 == s.keys.size(), "erase from a copied dictionary");
        }
    });
    expectAllPassed(checks);
    // The source is exactly as it was.
    EXPECT_EQ(signatureOf(s.clip), s.clipDigest);
    EXPECT_EQ(s.clip, s.copy);
}

} // namespace
