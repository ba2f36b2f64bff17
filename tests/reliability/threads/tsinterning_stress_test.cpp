// Interning from several threads at once, under both atom tags: every thread must see one index
// per text, the table must grow by exactly the number of new texts, and texts handed out earlier
// must stay valid while the table grows.

#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include "tsconcurrently.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Tessel::Base::NameAtom;
using Tessel::Testing::AtomTable;
using Tessel::Testing::kStressThreads;
using Tessel::Testing::runConcurrently;

constexpr int kTextsPerRun = 1000;

std::vector<std::string> numberedTexts(const std::string& prefix, int count) {
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        texts.push_back(prefix + std::to_string(i));
    }
    return texts;
}

// The tags themselves are incomplete types, which the typed-test machinery cannot name.
struct KeyTag {
    using Tag = Tessel::Dictionary::Any;
};
struct TypeTag {
    using Tag = Tessel::Dictionary::AnyType;
};
struct TagNames {
    template <class T>
    static std::string GetName(int) {
        return std::is_same_v<T, KeyTag> ? "KeyAtoms" : "TypeAtoms";
    }
};

template <class TagHolder>
class ConcurrentInterning : public ::testing::Test {
protected:
    using Atom = NameAtom<typename TagHolder::Tag>;
    static Tessel::Base::NameAtomManager& table() { return AtomTable<typename TagHolder::Tag>::manager(); }
};

using BothTags = ::testing::Types<KeyTag, TypeTag>;
TYPED_TEST_SUITE(ConcurrentInterning, BothTags, TagNames);

TYPED_TEST(ConcurrentInterning, SameNewTextsGetOneIndexEach) {
    using Atom = typename TestFixture::Atom;
    const std::vector<std::string> texts = numberedTexts("stress-same-", kTextsPerRun);
    const std::ptrdiff_t before = TestFixture::table().lastIndex();

    // indices[t][i]: what thread t got for texts[i]. Each thread starts at another place in the
    // list and alternates the two constructors, so first internings collide from all sides.
    std::vector<std::vector<std::uint32_t>> indices(kStressThreads, std::vector<std::uint32_t>(texts.size()));
    std::vector<int> wrongTexts(kStressThreads, 0);
    runConcurrently(kStressThreads, [&](int t) {
        for (std::size_t n = 0; n < texts.size(); ++n) {
            const std::size_t i = (n + static_cast<std::size_t>(t) * texts.size() / kStressThreads) % texts.size();
            const Atom atom = (n % 2 == 0) ? Atom(texts[i]) : Atom(texts[i].c_str());
            indices[t][i] = atom.getIndex();
            if (atom.getString() != texts[i]) {
                ++wrongTexts[t];
            }
        }
    });

    EXPECT_EQ(TestFixture::table().lastIndex(), before + kTextsPerRun);
    std::set<std::uint32_t> issued;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        for (int t = 1; t < kStressThreads; ++t) {
            EXPECT_EQ(indices[t][i], indices[0][i]) << "thread " << t << " text " << texts[i];
        }
        issued.insert(indices[0][i]);
        EXPECT_EQ(TestFixture::table().findIndex(texts[i]), indices[0][i]);
    }
    // The new entries are exactly the next kTextsPerRun indices, each issued once.
    ASSERT_EQ(issued.size(), texts.size());
    EXPECT_EQ(static_cast<std::ptrdiff_t>(*issued.begin()), before + 1);
    EXPECT_EQ(static_cast<std::ptrdiff_t>(*issued.rbegin()), before + kTextsPerRun);
    EXPECT_EQ(wrongTexts, std::vector<int>(kStressThreads, 0));
}

TYPED_TEST(ConcurrentInterning, DistinctTextsGetDistinctIndicesWhileOldTextsStayValid) {
    using Atom = typename TestFixture::Atom;
    // Texts interned before the threads start; references to them must survive the growth.
    const std::vector<std::string> anchors = numberedTexts("stress-anchor-", 32);
    std::vector<Atom> anchorAtoms;
    std::vector<const std::string*> anchorTexts;
    for (const std::string& text : anchors) {
        anchorAtoms.emplace_back(text);
        anchorTexts.push_back(&anchorAtoms.back().getString());
    }
    const std::ptrdiff_t before = TestFixture::table().lastIndex();

    std::vector<std::vector<std::string>> ownTexts;
    for (int t = 0; t < kStressThreads; ++t) {
        ownTexts.push_back(numberedTexts("stress-own-" + std::to_string(t) + "-", kTextsPerRun));
    }
    std::vector<std::vector<std::uint32_t>> indices(kStressThreads);
    std::vector<int> faults(kStressThreads, 0);
    runConcurrently(kStressThreads, [&](int t) {
        const std::vector<std::string>& mine = ownTexts[t];
        const std::vector<std::string>& neighbours = ownTexts[(t + 1) % kStressThreads];
        for (std::size_t i = 0; i < mine.size(); ++i) {
            indices[t].push_back(Atom(mine[i]).getIndex());
            // Reads between the insertions: old texts, by atom and by kept reference, and a
            // lookup of a neighbour's text that may or may not be interned yet.
            const std::size_t a = i % anchors.size();
            if (anchorAtoms[a].getString() != anchors[a] || *anchorTexts[a] != anchors[a]) {
                ++faults[t];
            }
            const std::uint32_t found = TestFixture::table().findIndex(neighbours[i]);
            if (found != 0 && TestFixture::table().getString(found) != neighbours[i]) {
                ++faults[t];
            }
        }
    });

    EXPECT_EQ(faults, std::vector<int>(kStressThreads, 0));
    EXPECT_EQ(TestFixture::table().lastIndex(), before + kStressThreads * kTextsPerRun);
    std::set<std::uint32_t> issued;
    for (int t = 0; t < kStressThreads; ++t) {
        for (std::size_t i = 0; i < ownTexts[t].size(); ++i) {
            issued.insert(indices[t][i]);
            EXPECT_EQ(Atom(ownTexts[t][i]).getIndex(), indices[t][i]);
            EXPECT_EQ(TestFixture::table().getString(indices[t][i]), ownTexts[t][i]);
        }
    }
    ASSERT_EQ(issued.size(), static_cast<std::size_t>(kStressThreads * kTextsPerRun));
    EXPECT_EQ(static_cast<std::ptrdiff_t>(*issued.begin()), before + 1);
    EXPECT_EQ(static_cast<std::ptrdiff_t>(*issued.rbegin()), before + kStressThreads * kTextsPerRun);
}

TEST(ConcurrentInterningAcrossTags, EachTagCountsOnItsOwn) {
    using KeyAtom = NameAtom<Tessel::Dictionary::Any>;
    using TypeAtom = NameAtom<Tessel::Dictionary::AnyType>;
    const std::vector<std::string> texts = numberedTexts("stress-both-tags-", kTextsPerRun);
    const std::ptrdiff_t keysBefore = AtomTable<Tessel::Dictionary::Any>::manager().lastIndex();
    const std::ptrdiff_t typesBefore = AtomTable<Tessel::Dictionary::AnyType>::manager().lastIndex();

    // Half the threads intern each text as a key first, the other half as a type name first.
    std::vector<std::vector<std::uint32_t>> keyIndices(kStressThreads, std::vector<std::uint32_t>(texts.size()));
    std::vector<std::vector<std::uint32_t>> typeIndices(kStressThreads, std::vector<std::uint32_t>(texts.size()));
    runConcurrently(kStressThreads, [&](int t) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (t % 2 == 0) {
                keyIndices[t][i] = KeyAtom(texts[i]).getIndex();
                typeIndices[t][i] = TypeAtom(texts[i]).getIndex();
            } else {
                typeIndices[t][i] = TypeAtom(texts[i]).getIndex();
                keyIndices[t][i] = KeyAtom(texts[i]).getIndex();
            }
        }
    });

    EXPECT_EQ(AtomTable<Tessel::Dictionary::Any>::manager().lastIndex(), keysBefore + kTextsPerRun);
    EXPECT_EQ(AtomTable<Tessel::Dictionary::AnyType>::manager().lastIndex(), typesBefore + kTextsPerRun);
    for (int t = 1; t < kStressThreads; ++t) {
        EXPECT_EQ(keyIndices[t], keyIndices[0]) << "thread " << t;
        EXPECT_EQ(typeIndices[t], typeIndices[0]) << "thread " << t;
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(KeyAtom(texts[i]).getString(), texts[i]);
        EXPECT_EQ(TypeAtom(texts[i]).getString(), texts[i]);
    }
}

} // namespace
