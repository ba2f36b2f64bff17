#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Tessel::Base::NameAtom;
using Tessel::Base::NameAtomManager;
using KeyAtom = NameAtom<Tessel::Dictionary::Any>;
using TypeAtom = NameAtom<Tessel::Dictionary::AnyType>;

// Reaches the protected manager of a tag.
template <class Tag>
struct ManagerAccess : NameAtom<Tag> {
    static NameAtomManager& manager() { return NameAtom<Tag>::getManager(); }
};
NameAtomManager& keyManager() { return ManagerAccess<Tessel::Dictionary::Any>::manager(); }

TEST(NameAtom, EmptyNullAndDefaultAtomsAreIndexZero) {
    const char* nullText = nullptr;
    const KeyAtom fromEmptyText("");
    const KeyAtom fromEmptyString{std::string()};
    const KeyAtom fromNull(nullText);
    const KeyAtom byDefault;
    for (const KeyAtom& atom : {fromEmptyText, fromEmptyString, fromNull, byDefault}) {
        EXPECT_EQ(atom.getIndex(), 0U);
        EXPECT_EQ(atom.getString(), "");
    }
    EXPECT_EQ(keyManager().getString(0), "");
}

TEST(NameAtom, InterningIsIdempotentAndGrowsByOne) {
    const auto before = keyManager().lastIndex();
    const KeyAtom first("nameatom-test-unique-1");
    EXPECT_EQ(keyManager().lastIndex(), before + 1);
    EXPECT_EQ(static_cast<std::ptrdiff_t>(first.getIndex()), before + 1);
    const KeyAtom again(std::string("nameatom-test-unique-1"));
    EXPECT_EQ(again, first);
    EXPECT_EQ(keyManager().lastIndex(), before + 1);
    const KeyAtom second("nameatom-test-unique-2");
    EXPECT_EQ(second.getIndex(), first.getIndex() + 1);
    EXPECT_EQ(second.getString(), "nameatom-test-unique-2");
}

TEST(NameAtom, OrderIsFirstInterningNotAlphabetical) {
    const KeyAtom zeta("order-zeta");
    const KeyAtom alpha("order-alpha");
    EXPECT_TRUE(zeta < alpha);
    EXPECT_FALSE(alpha < zeta);
    std::map<KeyAtom, int> byAtom{{alpha, 1}, {zeta, 2}};
    EXPECT_EQ(byAtom.begin()->first.getString(), "order-zeta");
}

TEST(NameAtom, TextsAreComparedExactly) {
    EXPECT_NE(KeyAtom("Key"), KeyAtom("key"));
    const std::string withZero("ab\0cd", 5);
    const KeyAtom whole(withZero);
    const KeyAtom prefix(withZero.c_str()); // a C string stops at the zero byte
    EXPECT_NE(whole, prefix);
    EXPECT_EQ(prefix.getString(), "ab");
    EXPECT_EQ(whole.getString(), withZero);
    EXPECT_EQ(whole.getString().size(), 5U);
}

TEST(NameAtom, TagsCountSeparately) {
    // The two tables are distinct objects with their own entries.
    NameAtomManager& types = ManagerAccess<Tessel::Dictionary::AnyType>::manager();
    EXPECT_NE(&types, &keyManager());
    const auto typesBefore = types.lastIndex();
    const KeyAtom key("only-in-the-key-table");
    EXPECT_EQ(types.lastIndex(), typesBefore);
    EXPECT_EQ(types.findIndex("only-in-the-key-table"), 0U);
    EXPECT_EQ(keyManager().findIndex("only-in-the-key-table"), key.getIndex());
}

TEST(NameAtomManager, UnknownIndexGivesEmptyText) {
    EXPECT_EQ(keyManager().getString(0xFFFFFFFFU), "");
    const auto past = static_cast<std::uint32_t>(keyManager().lastIndex() + 1);
    EXPECT_EQ(keyManager().getString(past), "");
}

TEST(NameAtomManager, FindIndexNeverAdds) {
    const auto before = keyManager().lastIndex();
    EXPECT_EQ(keyManager().findIndex("never-interned-text"), 0U);
    EXPECT_EQ(keyManager().findIndex(""), 0U);
    EXPECT_EQ(keyManager().lastIndex(), before);
    const KeyAtom interned("never-interned-text");
    EXPECT_EQ(keyManager().findIndex("never-interned-text"), interned.getIndex());
}

TEST(NameAtomManager, StandaloneManagerStartsWithTheEmptyText) {
    NameAtomManager manager;
    EXPECT_EQ(manager.lastIndex(), 0);
    EXPECT_EQ(manager.getIndex(""), 0U);
    EXPECT_EQ(manager.getIndex("a"), 1U);
    EXPECT_EQ(manager.getIndex("b"), 2U);
    EXPECT_EQ(manager.getIndex("a"), 1U);
    EXPECT_EQ(manager.lastIndex(), 2);
    const std::string& text = manager.getString(1);
    for (int i = 0; i < 1000; ++i) {
        manager.getIndex("grow-" + std::to_string(i));
    }
    // References stay valid while the table grows.
    EXPECT_EQ(text, "a");
    EXPECT_EQ(&text, &manager.getString(1));
}

TEST(NameAtom, StreamsItsText) {
    std::ostringstream out;
    out << KeyAtom("streamed") << '|' << KeyAtom();
    EXPECT_EQ(out.str(), "streamed|");
}

TEST(NameAtom, ConcurrentInterningOfOneNewTextGivesOneIndex) {
    const auto before = keyManager().lastIndex();
    constexpr int kThreads = 8;
    std::vector<std::uint32_t> indices(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&indices, t] {
            for (int round = 0; round < 200; ++round) {
                indices[t] = KeyAtom("raced-text").getIndex();
                KeyAtom("raced-text-" + std::to_string(round % 10));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<std::uint32_t>(indices.begin(), indices.end()).size(), 1U);
    EXPECT_EQ(keyManager().lastIndex(), before + 11);
    EXPECT_EQ(keyManager().getString(indices[0]), "raced-text");
}

} // namespace
