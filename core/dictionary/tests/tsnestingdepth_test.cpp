// Values nested far deeper than a recursion could follow: signature, copy, comparison, assignment,
// text and destruction of chains a million levels deep on the main thread and 100,000 levels on a
// thread with a 256 KiB stack; and element-wise assignment of nested vectors, level by level.

#include <dictionary/tsany.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Testing::holding;
using Key = Tessel::Base::NameAtom<Any>;
using Elements = std::vector<Any>;

// A host value that counts its live copies: one sits in every vector level of a chain. Not
// trivially copyable, so its signature feed is its text form.
struct Probe {
    Probe() { ++live; }
    Probe(const Probe& other) : id(other.id) { ++live; }
    Probe& operator=(const Probe&) = default;
    ~Probe() { --live; }
    bool operator==(const Probe& other) const { return id == other.id; }
    int id = 5;
    static inline std::atomic<long> live{0};
};
std::ostream& operator<<(std::ostream& os, const Probe& probe) { return os << probe.id; }
std::istream& operator>>(std::istream& is, Probe& probe) { return is >> probe.id; }

// Keys interned in this order, so that every dictionary feeds "nest" before "tail".
const Key& nestKey() {
    static const Key key("depth.nest");
    return key;
}
const Key& tailKey() {
    nestKey(); // interned first
    static const Key key("depth.tail");
    return key;
}

enum class Shape { Mixed, Vectors };

// A dictionary level is {nest: next level, tail: int32 7}; a vector level [next level, Probe 5].
// Mixed chains alternate, starting with a dictionary; the bottom is the int32 1.
bool dictionaryLevel(Shape shape, long level) {
    return shape == Shape::Mixed && level % 2 == 0;
}

Any& below(Any& level, Shape shape, long index) {
    return dictionaryLevel(shape, index) ? level[nestKey()] : level[0];
}

void build(Any& root, Shape shape, long depth) {
    static const bool registered = AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Probe>(TypeAtom("depth.probe")));
    ASSERT_TRUE(registered);
    Any* level = &root;
    for (long i = 0; i < depth; ++i) {
        if (dictionaryLevel(shape, i)) {
            level->set(Dictionary());
            (*level)[tailKey()].set(7);
        } else {
            level->set(Elements(2));
            (*level)[1].set(Probe());
        }
        level = &below(*level, shape, i);
    }
    level->set(1);
}

Any& bottomOf(Any& root, Shape shape, long depth) {
    Any* level = &root;
    for (long i = 0; i < depth; ++i) {
        level = &below(*level, shape, i);
    }
    return *level;
}

// The designed feed of a chain, level by level: what each level feeds before its nested value,
// the bottom, then what each level feeds after it, innermost first.
Digest expectedSignature(Shape shape, long depth) {
    const auto bytes = [](std::initializer_list<int> values) { return std::string(values.begin(), values.end()); };
    const auto labelAt = [&](long level) -> std::string {
        if (level == depth) {
            return "int32";
        }
        return dictionaryLevel(shape, level) ? "dictionary" : "vector";
    };
    std::string feed;
    for (long i = 0; i < depth; ++i) {
        feed += dictionaryLevel(shape, i) ? "(depth.nest" + labelAt(i + 1) : bytes({0, 0, 0, 0});
    }
    feed += bytes({1, 0, 0, 0});
    for (long i = depth - 1; i >= 0; --i) {
        feed += dictionaryLevel(shape, i) ? "|depth.tailint32" + bytes({7, 0, 0, 0}) + "|)" : bytes({1, 0, 0, 0}) + "5";
    }
    Engine engine;
    engine.update(feed.data(), feed.size());
    return engine.digest();
}

Digest signatureOf(const Any& value) {
    Engine engine;
    return value.signature(engine).digest();
}

// Every whole-value operation on one chain; reports through gtest from whichever thread runs it.
void exerciseChain(Shape shape, long depth) {
    const long probes = shape == Shape::Vectors ? depth : depth / 2;
    Any root;
    build(root, shape, depth);
    ASSERT_EQ(Probe::live.load(), probes);
    EXPECT_EQ(signatureOf(root), expectedSignature(shape, depth)) << "signature";
    {
        Any copy(root);
        EXPECT_EQ(Probe::live.load(), 2 * probes) << "copy";
        EXPECT_TRUE(copy == root) << "copy, comparison";
        bottomOf(copy, shape, depth).ref<int>() = 2;
        EXPECT_FALSE(copy == root) << "comparison";
        EXPECT_NE(signatureOf(copy), signatureOf(root)) << "signature";
        copy = root;
        EXPECT_EQ(bottomOf(copy, shape, depth).ref<int>(), 1) << "assignment";
        EXPECT_EQ(Probe::live.load(), 2 * probes) << "assignment";
    }
    EXPECT_EQ(Probe::live.load(), probes) << "destruction of the copy";
    std::ostringstream text;
    EXPECT_THROW(root.write(text), Tessel::Base::NotImplemented) << "text";
    EXPECT_TRUE(text.str().empty()) << "text";
    root.clear();
    EXPECT_EQ(Probe::live.load(), 0) << "destruction";
}

// Runs `work` on a new thread whose whole stack is `stackBytes`.
void runWithStack(std::size_t stackBytes, const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackBytes), 0);
    pthread_t thread;
    auto* task = new std::function<void()>(work);
    const int created = pthread_create(
        &thread, &attributes,
        [](void* argument) -> void* {
            auto* body = static_cast<std::function<void()>*>(argument);
            (*body)();
            delete body;
            return nullptr;
        },
        task);
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(created, 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
}

// Memcheck runs the suite unoptimised and some fifty times slower (scripts/run-valgrind.sh sets
// TSD_VALGRIND): there the chains are a hundredth as long. The release and sanitizer builds run
// the full depths.
long scaled(long depth) {
    return std::getenv("TSD_VALGRIND") != nullptr ? depth / 100 : depth;
}

TEST(NestingDepth, WholeValueOperationsKeepTheStackFlat) {
    constexpr std::size_t kSmallStack = 256 * 1024;
    const struct {
        Shape shape;
        long depth;
        bool smallStack;
        const char* reason;
    } rows[] = {
        {Shape::Mixed, 1000000, false, "dictionaries and vectors alternating, main thread"},
        {Shape::Vectors, 1000000, false, "vectors only: every assignment level is element-wise"},
        {Shape::Mixed, 100000, true, "alternating, on a 256 KiB stack"},
        {Shape::Vectors, 100000, true, "vectors only, on a 256 KiB stack"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const long depth = scaled(row.depth);
        if (row.smallStack) {
            runWithStack(kSmallStack, [&] {
                SCOPED_TRACE(row.reason); // traces belong to the thread that made them
                exerciseChain(row.shape, depth);
            });
        } else {
            exerciseChain(row.shape, depth);
        }
    }
}

// --- element-wise assignment of nested vectors ----------------------------------------------------

Any ints(std::initializer_list<int> values) {
    Any any = holding(Elements());
    for (int value : values) {
        any.vec().push_back(holding(value));
    }
    return any;
}

Any list(std::initializer_list<Any> elements) {
    Any any = holding(Elements());
    any.vec().insert(any.vec().end(), elements.begin(), elements.end());
    return any;
}

TEST(NestedVectorAssignment, EachLevelAssignsInPlaceThenDropsOrAppends) {
    // Targets hold int32s, sources doubles: an element assigned in place keeps its int32 type and
    // truncates; an element appended or rebuilt is a copy and stays a double. `room` is reserved
    // in the target and in its first element before the assignment.
    struct {
        Any target;
        std::size_t room;
        Any source;
        Any expected;
        bool throws;
        const char* reason;
    } rows[] = {
        {list({ints({1, 2}), holding(3)}), 0, list({list({holding(4.5)}), holding(6.5)}), list({ints({4}), holding(6)}),
         false, "the inner surplus is dropped, then the next outer element assigned"},
        {list({ints({1}), holding(2)}), 3, list({list({holding(4.5), holding(5.5)}), holding(6.5), holding(7.5)}),
         list({list({holding(4), holding(5.5)}), holding(6), holding(7.5)}), false,
         "appending happens in the inner vector and, after it, in the outer one"},
        {list({ints({1}), holding(2)}), 0, list({list({holding(4.5), holding(5.5)}), holding(6.5)}),
         list({list({holding(4.5), holding(5.5)}), holding(6)}), false,
         "an inner vector without room is rebuilt from copies; the outer one goes on in place"},
        {list({list({ints({1, 2})}), holding(3)}), 0, list({list({list({holding(4.5)})}), holding(6.5)}),
         list({list({ints({4})}), holding(6)}), false, "three levels deep, back up level by level"},
        {list({ints({1, 2}), holding(3)}), 0, list({list({holding(4.5), Any("x")}), holding(6.5)}),
         list({ints({4, 2}), holding(3)}), true, "an inner element that cannot convert stops every level there"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.reason);
        Any& target = row.target;
        target.vec().reserve(row.room);
        target[0].vec().reserve(row.room);
        if (row.throws) {
            EXPECT_THROW(target = row.source, AnyCastException);
        } else {
            target = row.source;
        }
        EXPECT_TRUE(target == row.expected);
    }
}

} // namespace
