// Facts about a fresh process: this executable runs nothing else before the test.

#include <dictionary/tsany.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace Tessel::Dictionary;

TEST(FreshProcess, LabelsAreInternedAtLoadAndSharedWithTheHost) {
    // The library interned the sixteen labels during its static initialisation, in table order.
    const TypeAtom* labels[] = {&gTypeLabelBool,  &gTypeLabelChar,   &gTypeLabelInt8,         &gTypeLabelUnsignedInt8,
                                &gTypeLabelInt16, &gTypeLabelUnsignedInt16, &gTypeLabelInt32, &gTypeLabelUnsignedInt32,
                                &gTypeLabelInt64, &gTypeLabelUnsignedInt64, &gTypeLabelFloat, &gTypeLabelDouble,
                                &gTypeLabelString, &gTypeLabelDictionary, &gTypeLabelVector, &gTypeLabelTimeBase};
    for (std::uint32_t i = 0; i < 16; ++i) {
        EXPECT_EQ(labels[i]->getIndex(), i + 1) << labels[i]->getString();
    }
    // An atom made here, in the host executable, shares the library's numbering, which the first use
    // of the registry then continues without renumbering anything.
    EXPECT_TRUE(TypeAtom("bool").getIndex() == 1U && TypeAtom("first new text").getIndex() == 17U);
    Any value;
    value.set(1);
    EXPECT_TRUE(value.type()->label() == gTypeLabelInt32 && gTypeLabelInt32.getIndex() == 7U);
}

} // namespace
