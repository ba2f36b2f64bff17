// Facts about a fresh process: this executable runs nothing else before the test.

#include <dictionary/tsany.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using KeyAtom = Tessel::Base::NameAtom<Any>;

struct KeyTable : KeyAtom {
    static std::ptrdiff_t lastIndex() { return getManager().lastIndex(); }
};

TEST(FreshProcess, LabelsAreInternedAtLoadAndSharedWithTheHost) {
    // The library interned the sixteen labels during its static initialisation, in table order.
    const std::vector<const TypeAtom*> labels = {
        &gTypeLabelBool,        &gTypeLabelChar,         &gTypeLabelInt8,          &gTypeLabelUnsignedInt8,
        &gTypeLabelInt16,       &gTypeLabelUnsignedInt16, &gTypeLabelInt32,        &gTypeLabelUnsignedInt32,
        &gTypeLabelInt64,       &gTypeLabelUnsignedInt64, &gTypeLabelFloat,        &gTypeLabelDouble,
        &gTypeLabelString,      &gTypeLabelDictionary,   &gTypeLabelVector,        &gTypeLabelTimeBase};
    for (std::size_t i = 0; i < labels.size(); ++i) {
        EXPECT_EQ(labels[i]->getIndex(), i + 1) << labels[i]->getString();
    }
    // An atom made here, in the host executable, shares the library's numbering.
    EXPECT_EQ(TypeAtom("bool").getIndex(), 1U);
    EXPECT_EQ(TypeAtom("timebase"), gTypeLabelTimeBase);

    // Nothing interned dictionary keys before us: the first new key text gets 1, the next 2.
    EXPECT_EQ(KeyTable::lastIndex(), 0);
    EXPECT_EQ(KeyAtom("first-key").getIndex(), 1U);
    EXPECT_EQ(KeyAtom("second-key").getIndex(), 2U);
    EXPECT_EQ(KeyAtom("first-key").getIndex(), 1U);
    // Each tag counts on its own: the same text under the type tag is a new, unrelated entry.
    EXPECT_EQ(TypeAtom("first-key").getIndex(), 17U);

    // Using the registry later does not renumber anything.
    Any value;
    value.set(1);
    EXPECT_EQ(value.type()->label(), gTypeLabelInt32);
    EXPECT_EQ(gTypeLabelInt32.getIndex(), 7U);
}

} // namespace
