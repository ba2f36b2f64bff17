// Each allocation of an operation fails in turn, on a fresh set-up every time: the failure must
// reach the caller as std::bad_alloc, leave the state the row promises (as it was, or the state
// it names) and leak nothing. A row also bounds the allocations its operation makes, so
// "allocates nothing" is a row too. Names an operation needs are interned by its warm-up run.

#include "tscountingallocator.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <utility>

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Testing;
using Tessel::Base::Exception;
using Tessel::Base::ExceptionInfo;
using Tessel::Base::NameAtom;
using Tessel::Base::NameAtomManager;

using Op = std::function<void()>;
using State = std::function<std::string()>;
// Runs `op` with the armed failure; after a failure `state` must read `after` (as before if empty).
using Trial = std::function<void(const Op& op, const State& state, const std::string& after)>;
struct Row {
    const char* operation;
    std::function<void(const Trial&)> setUp;
    long minAllocations = 1, maxAllocations = 1L << 20;
    bool keepsAllocations = false; // the registry keeps what it made; its row's state says what
};

void inject(const Row& row) {
    SCOPED_TRACE(row.operation);
    for (long nth = 0;; ++nth) { // 0: a warm-up in which nothing fails
        const long live = liveAllocations();
        bool failed = false;
        row.setUp([&](const Op& op, const State& state, const std::string& after) {
            const std::string before = state();
            bool threw = false;
            failAllocation(nth);
            try {
                op();
            } catch (const std::bad_alloc&) {
                threw = true;
            } catch (const Exception&) { // the operation's own failure is a result like any other
            }
            failed = allocationFailed();
            failAllocation(0);
            ASSERT_EQ(threw, failed) << "allocation " << nth << (failed ? " failed unreported" : ": bad_alloc");
            if (failed) {
                EXPECT_EQ(state(), after.empty() ? before : after) << "after allocation " << nth << " failed";
            }
        });
        if (failed && !row.keepsAllocations && !::testing::Test::HasFailure()) { // a failure's record stays
            EXPECT_EQ(liveAllocations(), live) << "leaked after allocation " << nth << " failed";
        }
        if (!failed && nth > 0) {
            std::printf("[ injected ] %s: %ld allocations\n", row.operation, nth - 1);
            EXPECT_GE(nth - 1, row.minAllocations);
            EXPECT_LE(nth - 1, row.maxAllocations);
            return;
        }
    }
}

// --- set-ups -----------------------------------------------------------------------------------

const std::string kWord = "a-word-too-long-for-the-inline-buffer";
// Long strings, a number, an empty entry, and a vector and a dictionary nested in each other.
Any nested() {
    const Dictionary inner{{"text", kWord.c_str()}, {"empty", Any()}};
    Dictionary outer = inner;
    outer["list"] = std::vector<Any>{kWord.c_str(), inner, 2.5};
    outer["inner"] = inner;
    return Any(outer);
}
const Any& nestedSource() {
    static const Any source = nested();
    return source;
}
Exception chained() {
    Exception earlier;
    earlier << ExceptionInfo<std::string>("UserMessage", kWord + "%%(Detail)%%");
    earlier << ExceptionInfo<int>("Detail", 7);
    AnyCastException later;
    later.addPrevious(earlier);
    later << ExceptionInfo<std::string>("FromType", kWord);
    return later;
}
struct OwnTable {
    mutable NameAtomManager table; // its lookups lock
};
struct Unregistered {} gUnregistered;
int gTexts = 0;
std::string show(const std::string&) { // a new text: what leaks and what reaches the caller count
    return {};
}

// A value: its labels and content, as its canonical signature tells them.
std::string show(const Any& any) {
    std::ostringstream text;
    text << canonicalSignature(any);
    return text.str();
}
std::string show(const Exception& exception) { // every item, and those of the earlier exceptions
    return exception.report();
}
std::string show(const OwnTable& own) { // each text found maps back to itself
    for (int i = 0; i < 200; ++i) {
        const std::uint32_t index = own.table.findIndex(std::to_string(i));
        if (index != 0 && own.table.getString(index) != std::to_string(i)) {
            return "a half-made entry";
        }
    }
    return {};
}

// A row on one fixture of type T, whose state is what show() tells of it.
template <class T>
Row row(const char* operation, T (*make)(), void (*op)(T&), const std::string& after = {},
        std::string (*state)(const T&) = [](const T& value) { return show(value); }) {
    return {operation, [=](const Trial& trial) {
                T value = make();
                trial([&] { op(value); }, [&] { return state(value); }, after);
            }};
}
Row bounded(Row row, long minAllocations, long maxAllocations) {
    row.minAllocations = minAllocations;
    row.maxAllocations = maxAllocations;
    return row;
}

// Registry rows need a host type no one registered yet, and descriptors that count deletion.
template <int N>
struct Fresh {};
template <std::size_t... N>
const std::type_info& freshType(std::index_sequence<N...>) {
    static const std::type_info* const pool[] = {&typeid(Fresh<N>)...};
    static std::size_t used = 0;
    return *pool[used++ % sizeof...(N)];
}
int gDeleted = 0;
struct CountedType : AnyType {
    using AnyType::AnyType;
    ~CountedType() override { ++gDeleted; }
    void write(std::ostream&, const Any&) const override {}
    void read(std::istream&, Any&) const override {}
    void* newValue() const override { return nullptr; }
    void deleteValue(void*) const override {}
    void signature(Tessel::Base::SkeinHash::Engine&, const Any&) const override {}
    void copyValue(const void*, void*) const override {}
    bool equal(const Any&, const Any&) const override { return true; }
};
struct CountedCast : AnyCast {
    using AnyCast::AnyCast;
    ~CountedCast() override { ++gDeleted; }
    void convert(const void*, void*) const override {}
};
const AnyCast* castIn(const AnyCastTable* table, const TypeAtom& key) {
    return table == nullptr || table->count(key) == 0 ? nullptr : table->at(key);
}
const auto kFresh = std::make_index_sequence<24>();

TEST(AllocationFailure, EachOperationKeepsItsPromise) {
    const std::string emptied = show(Any(Dictionary()));
    const Row rows[] = {
        row<Any>("Any(const Any&) of nested containers", nested, [](Any& source) { Any copy(source); }),
        bounded(row<Any>("Any(const Any&) of an int", [] { return Any(7); }, [](Any& a) { Any copy(a); }), 1, 1),
        row<Any>("Any = Any(const char*) without a cast", [] { return Any(5); }, [](Any& a) { a = Any(kWord.c_str()); }),
        row<Any>("Any = Any into a dictionary leaves it empty", nested, [](Any& a) { a = nestedSource(); }, emptied),
        row<Any>("Any = BindValue of an unregistered type leaves it empty", nested,
                 [](Any& a) { a = BindValue(gUnregistered); }, show(Any())),
        row<Any>("Any::reset(const char*) keeps the old value", nested, [](Any& a) { a.reset(kWord.c_str()); }),
        row<Any>("Any::reset<std::string> frees first", nested, [](Any& a) { a.reset(kWord); }, show(Any())),
        row<Any>("Any::parse of a word as string replacing a dictionary", nested,
                 [](Any& a) { a.parse(kWord, *AnyTypeRegistry::typeByLabel(gTypeLabelString)); }, "old or prefix",
                 [](const Any& a) {
                     const bool string = a.type()->label() == gTypeLabelString;
                     const bool prefix = string && kWord.rfind(a.ref<std::string>(), 0) == 0;
                     return prefix || show(a) == show(nested()) ? std::string("old or prefix") : show(a);
                 }),
        row<Any>("Any::parse as int32 replacing a dictionary", nested,
                 [](Any& a) { a.parse("17", *AnyTypeRegistry::typeByLabel(gTypeLabelInt32)); }),
        row<Any>("Any[] inserting a name", nested, [](Any& a) { a["inserted"]; }),
        row<std::string>("NameAtom of a new text", [] { return kWord + std::to_string(++gTexts); },
                         [](std::string& text) { (void)NameAtom<Any>(text); }),
        row<Any>("Dictionary = a dictionary nested in it", nested, [](Any& a) { a.dict() = a["inner"].dict(); },
                 emptied),
        row<Any>("vector<Any> = vector<Any> element by element",
                 [] { return Any(std::vector<Any>{Any("x"), Any(Dictionary()), Any(1), Any(), Any()}); },
                 [](Any& a) { a = nestedSource()["list"]; }, "5 elements",
                 [](const Any& a) { return std::to_string(a.vec().size()) + " elements"; }),
        row<Exception>("Exception << an item under a key it has", chained,
                       [](Exception& e) { e << ExceptionInfo<std::string>("FromType", kWord + "!"); }),
        row<Exception>("Exception << an item under a new key", chained,
                       [](Exception& e) { e << ExceptionInfo<std::string>("ToType", kWord); }),
        row<Exception>("Exception::addPrevious", chained, [](Exception& e) { e.addPrevious(chained()); }),
        row<Exception>("Exception = Exception", [] { return Exception(); }, [](Exception& e) { e = chained(); }),
        row<Exception>("Exception::report(), filling the user message", chained, [](Exception& e) { (void)e.report(); }),
        bounded(row<OwnTable>("interning 200 new texts grows the index geometrically", [] { return OwnTable(); },
                              [](OwnTable& own) {
                                  for (int i = 0; i < 200; ++i) {
                                      own.table.intern(std::to_string(i)); // short: no buffer of its own
                                  }
                              }),
                200, 210),
        {"AnyTypeRegistry::addType registers fully or deletes the type", [](const Trial& trial) {
             const std::type_info& host = freshType(kFresh);
             const TypeAtom label(kWord + host.name()), name(host.name());
             AnyType* type = new CountedType(host, label);
             type->addAlias(TypeAtom(kWord + " alias of " + host.name()));
             const int deleted = gDeleted;
             trial([&] { (void)AnyTypeRegistry::addType(type); }, [&] {
                 const bool byLabel = AnyTypeRegistry::typeByLabel(label) == type;
                 const bool whole = byLabel && AnyTypeRegistry::typeByName(name) == type;
                 return std::string(whole || (!byLabel && gDeleted > deleted) ? "whole or deleted" : "half");
             }, "whole or deleted");
         }, 3, 3, true},
        {"AnyTypeRegistry::addCast registers in both indexes or neither", [](const Trial& trial) {
             const std::type_info& from = freshType(kFresh);
             const std::type_info& to = freshType(kFresh);
             AnyCast* cast = new CountedCast(from, to);
             const int deleted = gDeleted;
             trial([&] { (void)AnyTypeRegistry::addCast(cast); }, [&] {
                 const TypeAtom source(from.name()), target(to.name());
             return std::to_string(gDeleted - deleted) + " deleted, " +
                    std::to_string(castIn(AnyTypeRegistry::fromCasts(source), target) == cast) +
                    std::to_string(castIn(AnyTypeRegistry::toCasts(target), source) == cast);
             }, "1 deleted, 00");
         }, 4, 4, true},
        {"known names, binding and assignments that fit the target", [](const Trial& trial) {
             Any number(1), text(std::string(32, 'x')), bound;
             const Any other(2.5), otherText(std::string(32, 'y'));
             int variable = 0;
             trial([&] {
                 number = other;
                 text = otherText;
                 bound = BindValue(variable);
                 bound = other;
                 (void)NameAtom<Any>("text");
                 (void)AnyTypeRegistry::addType(nullptr);
                 (void)AnyTypeRegistry::addCast(nullptr);
             }, [&] { return show(number) + show(text) + show(bound); }, {});
         }, 0, 0},
    };
    for (const Row& r : rows) {
        inject(r);
    }
}

} // namespace
