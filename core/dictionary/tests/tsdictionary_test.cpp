// The container of named values: lookups, order, copies, comparison, text and signature.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <cstdint>
#include <initializer_list>
#include <ios>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Testing::holding;
using Testing::item;
using Tessel::Base::Exception;
using Tessel::Base::NotImplemented;
using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Key = Dictionary::Key;
using Bytes = std::vector<unsigned char>;

// A key text that no other code in this process has interned yet: order tests depend on when a
// text is first interned, and all tests may share one process.
std::string freshText(const std::string& stem) {
    static unsigned counter = 0;
    return "dictionary-test." + stem + "#" + std::to_string(++counter);
}

// Exposes the shared empty entry that const lookups of missing keys return.
struct NullEntry : Dictionary {
    static const Any& address() { return kNullEntry; }
};

std::vector<Key> keysInOrder(const Dictionary& dictionary) {
    std::vector<Key> keys;
    for (const auto& entry : dictionary) {
        keys.push_back(entry.first);
    }
    return keys;
}

// Builders of the exact byte sequence a signature should feed.
void append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}
void append(Bytes& bytes, std::initializer_list<unsigned char> raw) {
    bytes.insert(bytes.end(), raw.begin(), raw.end());
}

Digest digestOf(const Bytes& bytes) {
    Engine engine;
    engine.update(bytes.data(), bytes.size());
    return engine.digest();
}

Digest signatureOf(const Dictionary& dictionary) {
    Engine engine;
    EXPECT_EQ(&dictionary.signature(engine), &engine);
    return engine.digest();
}

// --- a value type whose copies can be made to fail ------------------------------------------------

bool gFragileCopiesFail = false;

struct Fragile {
    int value = 0;
    Fragile() = default;
    Fragile(const Fragile&) = default;
    Fragile& operator=(const Fragile& other) {
        if (gFragileCopiesFail) {
            throw std::runtime_error("copy refused");
        }
        value = other.value;
        return *this;
    }
    bool operator==(const Fragile& other) const { return value == other.value; }
};

class FragileType : public Impl::CopyTemplateAnyType<Fragile> {
public:
    explicit FragileType(const TypeAtom& label) : CopyTemplateAnyType<Fragile>(label) {}
    void write(std::ostream& os, const Any& any) const override { os << valueOf(any).value; }
    void read(std::istream& is, Any& any) const override { is >> valueOf(any).value; }
};

void registerFragile() {
    static const bool registered =
        AnyTypeRegistry::addType(new FragileType(TypeAtom("dictionary-test-fragile")));
    ASSERT_TRUE(registered);
}

// Makes copies of Fragile values fail while it lives.
struct FailingCopies {
    FailingCopies() { gFragileCopiesFail = true; }
    ~FailingCopies() { gFragileCopiesFail = false; }
    FailingCopies(const FailingCopies&) = delete;
    FailingCopies& operator=(const FailingCopies&) = delete;
};

// --- a new dictionary and lookups -------------------------------------------------------------------

TEST(DictionaryLookup, NewDictionaryIsEmpty) {
    Dictionary dictionary;
    const Dictionary& view = dictionary;
    const Key key(freshText("absent"));
    EXPECT_EQ(dictionary.size(), 0U);
    EXPECT_TRUE(dictionary.empty());
    EXPECT_TRUE(dictionary.begin() == dictionary.end());
    EXPECT_TRUE(view.begin() == view.end());
    EXPECT_EQ(dictionary.find(key), nullptr);
    EXPECT_EQ(view.find(key), nullptr);
    EXPECT_FALSE(dictionary.hasEntry(key));
    EXPECT_FALSE(dictionary.erase(key));
    EXPECT_EQ(&view[key], &NullEntry::address());
    EXPECT_TRUE(view[key].isEmpty());
    EXPECT_TRUE(dictionary.empty());
}

TEST(DictionaryLookup, SubscriptInsertsOneEmptyEntryOnce) {
    Dictionary dictionary;
    const Key key(freshText("inserted"));
    Any& entry = dictionary[key];
    EXPECT_TRUE(entry.isEmpty());
    EXPECT_EQ(dictionary.size(), 1U);
    EXPECT_FALSE(dictionary.empty());
    EXPECT_TRUE(dictionary.hasEntry(key));
    EXPECT_EQ(dictionary.find(key), &entry);
    EXPECT_EQ(static_cast<const Dictionary&>(dictionary).find(key), &entry);
    EXPECT_EQ(&static_cast<const Dictionary&>(dictionary)[key], &entry);
    EXPECT_EQ(&dictionary[key], &entry);
    EXPECT_EQ(dictionary.size(), 1U);
}

TEST(DictionaryLookup, ConstSubscriptInsertsNothing) {
    Dictionary dictionary;
    dictionary[Key(freshText("present"))].set(1);
    const Dictionary& view = dictionary;
    const Any& first = view[Key(freshText("missing"))];
    const Any& second = view[Key(freshText("missing"))];
    EXPECT_EQ(&first, &NullEntry::address());
    EXPECT_EQ(&second, &first);
    EXPECT_EQ(dictionary.size(), 1U);
}

TEST(DictionaryLookup, EntriesStayInPlaceWhileOthersComeAndGo) {
    Dictionary dictionary;
    const Key kept(freshText("kept"));
    dictionary[kept].set(1);
    const Any* address = dictionary.find(kept);
    for (int i = 0; i < 50; ++i) {
        dictionary[Key(freshText("filler"))].set(i);
    }
    EXPECT_EQ(dictionary.find(kept), address);
    EXPECT_EQ(address->ref<int>(), 1);
}

TEST(DictionaryLookup, EraseRemovesOnce) {
    Dictionary dictionary;
    const Key first(freshText("erase-a"));
    const Key second(freshText("erase-b"));
    dictionary[first].set(1);
    dictionary[second].set(2);
    const Any* secondAddress = dictionary.find(second);
    EXPECT_TRUE(dictionary.erase(first));
    EXPECT_EQ(dictionary.size(), 1U);
    EXPECT_FALSE(dictionary.hasEntry(first));
    EXPECT_FALSE(dictionary.erase(first));
    EXPECT_EQ(dictionary.size(), 1U);
    EXPECT_EQ(dictionary.find(second), secondAddress);
    EXPECT_EQ(secondAddress->ref<int>(), 2);
}

TEST(DictionaryLookup, AnEmptyValueIsStillAnEntry) {
    Dictionary dictionary;
    const Key key(freshText("empty-value"));
    static_cast<void>(dictionary[key]);
    EXPECT_TRUE(dictionary.hasEntry(key));
    ASSERT_NE(dictionary.find(key), nullptr);
    EXPECT_TRUE(dictionary.find(key)->isEmpty());
    EXPECT_TRUE(dictionary.erase(key));
}

TEST(DictionaryLookup, TheEmptyNameIsAKeyLikeAnyOther) {
    Dictionary dictionary;
    dictionary[Key()].set(3);
    EXPECT_TRUE(dictionary.hasEntry(Key("")));
    EXPECT_EQ(dictionary[Key(static_cast<const char*>(nullptr))].ref<int>(), 3);
    EXPECT_EQ(dictionary.size(), 1U);
}

// --- order --------------------------------------------------------------------------------------

TEST(DictionaryOrder, FollowsFirstInterningNotTextOrInsertion) {
    // "a" interned before "b": a, b whatever the insertion order.
    const std::string aText = freshText("order-a");
    const std::string bText = freshText("order-b");
    const Key a1(aText);
    const Key b1(bText);
    Dictionary first;
    first[b1].set(1);
    first[a1].set(2);
    EXPECT_EQ(keysInOrder(first), (std::vector<Key>{a1, b1}));

    // "b" interned before "a": b comes first, against both the alphabet and the insertion order.
    const std::string laterA = freshText("order-a");
    const std::string laterB = freshText("order-b");
    const Key b2(laterB);
    const Key a2(laterA);
    Dictionary second;
    second[a2].set(1);
    second[b2].set(2);
    EXPECT_EQ(keysInOrder(second), (std::vector<Key>{b2, a2}));
    EXPECT_EQ(second.begin()->first.getString(), laterB);
}

TEST(DictionaryOrder, IteratesByAscendingIndex) {
    Dictionary dictionary;
    std::vector<Key> keys;
    for (int i = 0; i < 8; ++i) {
        keys.emplace_back(freshText("ascending"));
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        dictionary[*key].set(1);
    }
    EXPECT_EQ(keysInOrder(dictionary), keys);
    std::uint32_t previous = 0;
    for (const auto& entry : dictionary) {
        EXPECT_LT(previous, entry.first.getIndex());
        previous = entry.first.getIndex();
    }
}

TEST(DictionaryIteration, VisitsEveryEntryAndAllowsChangingValues) {
    Dictionary dictionary;
    for (int i = 0; i < 4; ++i) {
        dictionary[Key(freshText("iterate"))].set(i);
    }
    int visited = 0;
    for (auto& entry : dictionary) {
        entry.second.ref<int>() += 10;
        ++visited;
    }
    EXPECT_EQ(visited, 4);
    int sum = 0;
    const Dictionary& view = dictionary;
    for (auto entry = view.begin(); entry != view.end(); ++entry) {
        sum += entry->second.ref<int>();
    }
    EXPECT_EQ(sum, 10 + 11 + 12 + 13);
}

// --- clear and swap ---------------------------------------------------------------------------------

TEST(DictionaryClearAndSwap, ClearRemovesEveryEntryAndLeavesBoundVariables) {
    int variable = 5;
    Dictionary dictionary;
    dictionary[Key(freshText("bound"))] = BindValue(variable);
    dictionary[Key(freshText("owned"))] = "text";
    dictionary.clear();
    EXPECT_TRUE(dictionary.empty());
    EXPECT_TRUE(dictionary.begin() == dictionary.end());
    EXPECT_EQ(variable, 5);
}

TEST(DictionaryClearAndSwap, SwapExchangesEntriesWithoutCopying) {
    const Key a(freshText("swap-a"));
    const Key b(freshText("swap-b"));
    const Key c(freshText("swap-c"));
    Dictionary left;
    left[a].set(1);
    Dictionary right;
    right[b].set(2);
    right[c] = "three";
    const Any* aAddress = left.find(a);
    const Any* bAddress = right.find(b);

    left.swap(right);
    EXPECT_EQ(left.size(), 2U);
    EXPECT_EQ(right.size(), 1U);
    EXPECT_EQ(left.find(b), bAddress);
    EXPECT_EQ(right.find(a), aAddress);

    swap(left, right);
    EXPECT_EQ(left.find(a), aAddress);
    EXPECT_EQ(right.find(b), bAddress);

    Dictionary& same = left;
    left.swap(same);
    EXPECT_EQ(left.size(), 1U);
    EXPECT_EQ(left.find(a), aAddress);
    EXPECT_EQ(aAddress->ref<int>(), 1);
}

// --- copies and assignment -----------------------------------------------------------------------------

TEST(DictionaryCopy, CopyOwnsASnapshotOfBoundEntries) {
    int variable = 1;
    const Key key(freshText("snapshot"));
    Dictionary source;
    source[key] = BindValue(variable);
    source[Key(freshText("other"))] = "text";

    const Dictionary copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_NE(&copy[key].ref<int>(), &variable);
    variable = 2;
    EXPECT_EQ(source[key].ref<int>(), 2);
    EXPECT_EQ(copy[key].ref<int>(), 1);
    EXPECT_TRUE(copy != source);

    Dictionary assigned;
    assigned[Key(freshText("replaced"))].set(9);
    assigned = source;
    EXPECT_EQ(assigned.size(), 2U);
    EXPECT_NE(&assigned[key].ref<int>(), &variable);
    variable = 3;
    EXPECT_EQ(assigned[key].ref<int>(), 2);
}

TEST(DictionaryCopy, NestedDictionariesAreCopiedDeeply) {
    const Key child(freshText("child"));
    const Key leaf(freshText("leaf"));
    Dictionary source;
    source[child].set(Dictionary());
    source[child][leaf].set(1);

    Dictionary copy(source);
    EXPECT_NE(&copy[child].dict(), &source[child].dict());
    copy[child][leaf].ref<int>() = 2;
    EXPECT_EQ(source[child][leaf].ref<int>(), 1);
    EXPECT_TRUE(copy != source);
}

TEST(DictionaryCopy, AssignmentReplacesEntriesWithoutConverting) {
    const Key key(freshText("retyped"));
    const Key gone(freshText("gone"));
    Dictionary target;
    target[key].set(1);
    target[gone].set(2);
    Dictionary source;
    source[key].set(2.5);

    target = source;
    EXPECT_EQ(target.size(), 1U);
    EXPECT_FALSE(target.hasEntry(gone));
    EXPECT_EQ(target[key].type(), source[key].type());
    EXPECT_EQ(target[key].ref<double>(), 2.5);
}

TEST(DictionaryCopy, SelfAssignmentLeavesEveryEntryInPlace) {
    const Key key(freshText("self"));
    Dictionary dictionary;
    dictionary[key].set(4);
    dictionary[Key(freshText("self-other"))] = "x";
    const Any* address = dictionary.find(key);

    const Dictionary& alias = dictionary;
    dictionary = alias;
    EXPECT_EQ(dictionary.size(), 2U);
    EXPECT_EQ(dictionary.find(key), address);
    EXPECT_EQ(address->ref<int>(), 4);

    // The same through two values bound to the one variable.
    Any first{BindValue(dictionary)};
    const Any second{BindValue(dictionary)};
    first = second;
    EXPECT_EQ(dictionary.size(), 2U);
    EXPECT_EQ(dictionary.find(key), address);
    EXPECT_EQ(address->ref<int>(), 4);
}

TEST(DictionaryCopy, AssigningFromOwnNestedDictionaryIsSafe) {
    const Key child(freshText("nested-child"));
    const Key x(freshText("nested-x"));
    const Key y(freshText("nested-y"));
    const Key other(freshText("nested-other"));
    Dictionary dictionary;
    dictionary[other].set(1);
    dictionary[child].set(Dictionary());
    dictionary[child][x].set(2);
    dictionary[child][y] = "why";

    dictionary = dictionary[child].dict();
    EXPECT_EQ(dictionary.size(), 2U);
    EXPECT_FALSE(dictionary.hasEntry(child));
    EXPECT_FALSE(dictionary.hasEntry(other));
    EXPECT_EQ(dictionary[x].ref<int>(), 2);
    EXPECT_EQ(dictionary[y].ref<std::string>(), "why");

    // The same through an Any that holds the dictionary.
    Any any;
    any.set(Dictionary());
    any[child].set(Dictionary());
    any[child][x].set(3);
    any = any[child];
    EXPECT_EQ(any.dict().size(), 1U);
    EXPECT_EQ(any[x].ref<int>(), 3);
}

TEST(DictionaryCopy, FailedCopyConstructsNothingAndFailedAssignmentLeavesTheTargetEmpty) {
    registerFragile();
    Dictionary source;
    source[Key(freshText("fragile-int"))].set(1);
    source[Key(freshText("fragile"))].set(Fragile{});
    source[Key(freshText("fragile-text"))] = "t";
    Dictionary target;
    target[Key(freshText("fragile-target"))].set(7);

    const FailingCopies failing;
    EXPECT_THROW(Dictionary{source}, std::runtime_error);
    EXPECT_THROW(target = source, std::runtime_error);
    EXPECT_TRUE(target.empty());
    EXPECT_EQ(source.size(), 3U);
}

// --- comparison ---------------------------------------------------------------------------------

TEST(DictionaryEquality, SameKeysAndValuesWhateverTheInsertionOrder) {
    const Key a(freshText("eq-a"));
    const Key b(freshText("eq-b"));
    Dictionary first;
    first[a].set(5);
    first[b] = "text";
    Dictionary second;
    second[b] = "text";
    second[a].set(5);
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(first != second);
    EXPECT_TRUE(Dictionary() == Dictionary());
}

TEST(DictionaryEquality, AnotherValueTypeKeyOrSizeMakesThemUnequal) {
    const Key a(freshText("ne-a"));
    const Key b(freshText("ne-b"));
    Dictionary base;
    base[a].set(5);

    Dictionary wider;
    wider[a].set(5LL);
    EXPECT_FALSE(base == wider);
    EXPECT_TRUE(base != wider);

    Dictionary otherKey;
    otherKey[b].set(5);
    EXPECT_FALSE(base == otherKey);

    Dictionary more(base);
    more[b].set(5);
    EXPECT_FALSE(base == more);
    EXPECT_FALSE(more == base);
    EXPECT_TRUE(more != base);

    Dictionary otherValue;
    otherValue[a].set(6);
    EXPECT_FALSE(base == otherValue);
}

TEST(DictionaryEquality, EmptyValuesUnderTheSameKey) {
    const Key key(freshText("eq-empty"));
    Dictionary first;
    static_cast<void>(first[key]);
    Dictionary second;
    static_cast<void>(second[key]);
    EXPECT_TRUE(first == second);
    second[key].set(0);
    EXPECT_FALSE(first == second);
    EXPECT_FALSE(second == first);
}

// --- text -----------------------------------------------------------------------------------------

void expectNotImplementedSite(const NotImplemented& e, const char* function) {
    EXPECT_EQ(item(e, "ThrowFunction"), function);
    EXPECT_EQ(item(e, "ThrowFile"), "core/dictionary/src/tsdictionary.cpp");
    EXPECT_EQ(item(e, "ExceptionClass"), "Tessel::Base::NotImplemented");
    EXPECT_EQ(e.userMessage(), "Unimplemented code path.");
    EXPECT_NE(e.getValue<int>("ThrowLine"), nullptr);
}

TEST(DictionaryText, WriteThrowsBeforeTouchingTheStream) {
    Dictionary full;
    full[Key(freshText("write"))].set(1);
    const Dictionary empty;
    for (const Dictionary* subject : std::initializer_list<const Dictionary*>{&full, &empty}) {
        std::ostringstream os;
        os << "pre";
        const std::streampos position = os.tellp();
        try {
            subject->write(os);
            ADD_FAILURE() << "write did not throw";
        } catch (const NotImplemented& e) {
            expectNotImplementedSite(e, "Tessel::Dictionary::Dictionary::write");
        }
        EXPECT_EQ(os.str(), "pre");
        EXPECT_EQ(std::streamoff(os.tellp()), std::streamoff(position));
        EXPECT_EQ(os.rdstate(), std::ios_base::goodbit);
    }
}

TEST(DictionaryText, ReadThrowsBeforeTouchingStreamOrDictionary) {
    const Key key(freshText("read"));
    Dictionary full;
    full[key].set(1);
    const Dictionary fullBefore(full);
    Dictionary empty;
    for (Dictionary* dictionary : {&full, &empty}) {
        std::istringstream is("(a int32 1|)");
        try {
            dictionary->read(is);
            ADD_FAILURE() << "read did not throw";
        } catch (const NotImplemented& e) {
            expectNotImplementedSite(e, "Tessel::Dictionary::Dictionary::read");
        }
        EXPECT_EQ(std::streamoff(is.tellg()), 0);
        EXPECT_EQ(is.rdstate(), std::ios_base::goodbit);
    }
    EXPECT_TRUE(full == fullBefore);
    EXPECT_TRUE(empty.empty());

    // Flags already set stay as they were.
    std::istringstream exhausted("");
    exhausted.setstate(std::ios_base::eofbit);
    EXPECT_THROW(empty.read(exhausted), NotImplemented);
    EXPECT_EQ(exhausted.rdstate(), std::ios_base::eofbit);
}

// --- signature ------------------------------------------------------------------------------------

TEST(DictionarySignature, EmptyDictionaryFeedsTheTwoBrackets) {
    EXPECT_EQ(signatureOf(Dictionary()), digestOf({0x28, 0x29}));
}

TEST(DictionarySignature, KeyLabelValueAndSeparatorPerEntry) {
    Dictionary dictionary;
    dictionary[Key("a")].set(5);
    EXPECT_EQ(signatureOf(dictionary),
              digestOf({0x28, 0x61, 0x69, 0x6E, 0x74, 0x33, 0x32, 0x05, 0x00, 0x00, 0x00, 0x7C, 0x29}));
}

TEST(DictionarySignature, AnEmptyValueFeedsOnlyItsKeyAndTheSeparator) {
    const std::string text = freshText("sig-empty");
    Dictionary dictionary;
    static_cast<void>(dictionary[Key(text)]);
    Bytes expected{'('};
    append(expected, text);
    append(expected, {'|', ')'});
    EXPECT_EQ(signatureOf(dictionary), digestOf(expected));
}

TEST(DictionarySignature, EntriesFollowKeyOrder) {
    const std::string first = freshText("sig-first");
    const std::string second = freshText("sig-second");
    const Key firstKey(first);
    const Key secondKey(second);
    Dictionary dictionary;
    dictionary[secondKey] = "xy";
    dictionary[firstKey].set(static_cast<unsigned short>(0x0102));

    Bytes expected{'('};
    append(expected, first);
    append(expected, "uint16");
    append(expected, {0x02, 0x01, '|'});
    append(expected, second);
    append(expected, "string");
    append(expected, "xy|)");
    EXPECT_EQ(signatureOf(dictionary), digestOf(expected));
}

TEST(DictionarySignature, NestedContainersFeedTheirOwnFrames) {
    const std::string outer = freshText("sig-outer");
    const std::string inner = freshText("sig-inner");
    const std::string list = freshText("sig-list");
    Dictionary dictionary;
    dictionary[Key(outer)].set(Dictionary());
    dictionary[Key(outer)][Key(inner)].set(7);
    dictionary[Key(list)].set(std::vector<Any>(1, holding(1)));

    Bytes expected{'('};
    append(expected, outer);
    append(expected, "dictionary(");
    append(expected, inner);
    append(expected, "int32");
    append(expected, {0x07, 0, 0, 0, '|', ')', '|'});
    append(expected, list);
    append(expected, "vector");
    append(expected, {0, 0, 0, 0, 0x01, 0, 0, 0, '|', ')'});
    EXPECT_EQ(signatureOf(dictionary), digestOf(expected));

    // An Any holding the dictionary adds nothing around the frame.
    Any any;
    any.set(dictionary);
    Engine engine;
    any.signature(engine);
    EXPECT_EQ(engine.digest(), digestOf(expected));
}

TEST(DictionarySignature, BoundEntryFeedsTheVariablesCurrentValue) {
    const std::string text = freshText("sig-bound");
    double variable = 0.0;
    Dictionary dictionary;
    dictionary[Key(text)] = BindValue(variable);
    variable = 1.0;
    Bytes expected{'('};
    append(expected, text);
    append(expected, "double");
    append(expected, {0, 0, 0, 0, 0, 0, 0xF0, 0x3F, '|', ')'});
    EXPECT_EQ(signatureOf(dictionary), digestOf(expected));
}

} // namespace
