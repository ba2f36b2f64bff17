// Whole-value operations on chains a million levels deep (100,000 on a 256 KiB stack).

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Testing::signatureOf;
using Key = Tessel::Base::NameAtom<Any>;
using Elements = std::vector<Any>;

// Interned in this order, so that every dictionary feeds "nest" before "tail".
const Key kNest("depth.nest");
const Key kTail("depth.tail");

// A dictionary level is {nest: next level, tail: int32 7}, a vector level [next level, int32 7];
// mixed chains alternate, starting with a dictionary. Returns the bottom, an int32 1.
Any& build(Any& root, bool mixed, long depth) {
    Any* level = &root;
    for (long i = 0; i < depth; ++i) {
        if (mixed && i % 2 == 0) {
            level->set(Dictionary());
            (*level)[kTail].set(7);
            level = &(*level)[kNest];
        } else {
            level->set(Elements(2));
            (*level)[1].set(7);
            level = &(*level)[0];
        }
    }
    level->set(1);
    return *level;
}

// The designed feed of a chain: each level's bytes before its nested value, the bottom, then each
// level's bytes after it, innermost first.
Digest expectedSignature(bool mixed, long depth) {
    const std::string zeros(3, '\0');
    std::string feed;
    for (long i = 0; i < depth; ++i) {
        const char* next = i + 1 == depth ? "int32" : "vector";
        feed += mixed && i % 2 == 0 ? "(depth.nest" + std::string(next) : '\0' + zeros;
    }
    feed += '\1' + zeros;
    for (long i = depth - 1; i >= 0; --i) {
        feed += mixed && i % 2 == 0 ? "|depth.tailint32\7" + zeros + "|)" : '\1' + zeros + '\7' + zeros;
    }
    Engine engine;
    engine.update(feed.data(), feed.size());
    return engine.digest();
}

// Every whole-value operation on one chain; reports through gtest from whichever thread runs it.
// A destruction that leaks levels is the sanitizer and memcheck runs' to find.
void exerciseChain(bool mixed, long depth) {
    Any root;
    Any& bottom = build(root, mixed, depth);
    EXPECT_EQ(signatureOf(root), expectedSignature(mixed, depth)) << "signature";
    {
        Any copy(root);
        EXPECT_TRUE(copy == root) << "copy, comparison";
        bottom.ref<int>() = 2;
        EXPECT_FALSE(copy == root) << "comparison";
        copy = root;
        EXPECT_TRUE(copy == root) << "assignment";
    }
    std::ostringstream text;
    EXPECT_THROW(root.write(text), Tessel::Base::NotImplemented) << "text";
}

TEST(NestingDepth, WholeValueOperationsKeepTheStackFlat) {
    // Memcheck runs the suite unoptimised and some fifty times slower (scripts/run-valgrind.sh
    // sets TSD_VALGRIND): there the chains are a hundredth as long.
    const long scale = std::getenv("TSD_VALGRIND") != nullptr ? 100 : 1;
    const struct { bool mixed; long depth; bool smallStack; const char* reason; } rows[] = {
        {true, 1000000, false, "dictionaries and vectors alternating, main thread"},
        {false, 1000000, false, "vectors only: every assignment level is element-wise"},
        {true, 100000, true, "alternating, on a 256 KiB stack"},
        {false, 100000, true, "vectors only, on a 256 KiB stack"},
    };
    for (const auto& row : rows) {
        const auto run = [&row, scale] {
            SCOPED_TRACE(row.reason); // traces belong to the thread that made them
            exerciseChain(row.mixed, row.depth / scale);
        };
        if (row.smallStack) {
            boost::thread::attributes attributes;
            attributes.set_stack_size(256 * 1024);
            boost::thread(attributes, run).join();
        } else {
            run();
        }
    }
}

} // namespace
