// Name atoms: which texts make which atoms, their order, and the manager's table.

#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using Tessel::Base::NameAtomManager;
using KeyAtom = Tessel::Base::NameAtom<Tessel::Dictionary::Any>;

// Reaches the protected manager of the type-label tag.
struct TypeAtoms : Tessel::Base::NameAtom<Tessel::Dictionary::AnyType> {
    static NameAtomManager& manager() { return getManager(); }
};

TEST(NameAtom, EqualExactlyWhenTheTextsAreEqual) {
    const std::string withNul("ab\0cd", 5);
    struct Row { KeyAtom atom; std::string text; const char* reason; };
    const Row rows[] = {
        {KeyAtom(), "", "the default atom is the empty name"},
        {KeyAtom(static_cast<const char*>(nullptr)), "", "a null pointer is the empty name"},
        {KeyAtom(std::string()), "", "an empty string is the empty name"},
        {KeyAtom(withNul), withNul, "a std::string keeps an embedded NUL"},
        {KeyAtom(withNul.c_str()), "ab", "a C string stops at the NUL"},
        {KeyAtom("Key"), "Key", "case counts"},
        {KeyAtom("key"), "key", "case counts"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.atom.getString(), row.text) << row.reason;
        EXPECT_EQ(row.atom.getIndex() == 0, row.text.empty()) << row.reason;
        for (const Row& other : rows) {
            EXPECT_EQ(row.atom == other.atom, row.text == other.text) << row.reason << " / " << other.reason;
            EXPECT_NE(row.atom == other.atom, row.atom != other.atom);
        }
    }
    std::ostringstream out;
    out << KeyAtom("streamed") << '|' << KeyAtom();
    EXPECT_EQ(out.str(), "streamed|");
}

TEST(NameAtom, OrderIsFirstInterningAndEachTagCountsAlone) {
    const KeyAtom zeta("nameatom-order-zeta");
    const KeyAtom alpha("nameatom-order-alpha");
    EXPECT_TRUE(zeta < alpha && !(alpha < zeta)) << "not alphabetical";
    EXPECT_EQ(TypeAtoms::manager().findIndex("nameatom-order-zeta"), 0U) << "a key is unknown to the type tag";
}

TEST(NameAtomManager, IssuesIndicesInOrderAndNeverForgetsThem) {
    NameAtomManager manager;
    struct Row { const char* text; std::uint32_t index; std::ptrdiff_t lastIndex; const char* reason; };
    const Row rows[] = {
        {"", 0, 0, "a new table holds the empty text as 0"},
        {"a", 1, 1, "the first new text gets 1"},
        {"b", 2, 2, "the next new text gets the next index"},
        {"a", 1, 2, "a known text keeps its index and adds nothing"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(manager.getIndex(row.text), row.index) << row.reason;
        EXPECT_EQ(manager.lastIndex(), row.lastIndex) << row.reason;
        EXPECT_EQ(manager.findIndex(row.text), row.index) << row.reason;
    }
    EXPECT_EQ(manager.findIndex("unknown") + manager.lastIndex(), 2) << "findIndex finds nothing and adds nothing";
    EXPECT_EQ(manager.getString(3) + manager.getString(0xFFFFFFFFU), "") << "indices never issued";
}

} // namespace
