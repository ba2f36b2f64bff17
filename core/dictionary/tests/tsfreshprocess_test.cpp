// Facts about a fresh process: this executable runs nothing else before the test.

#include <dictionary/tsany.h>
#include <dictionary/tstypelabels.h>

#include "tstestsupport.h"

#include <cstdint>

namespace {

using namespace Tessel::Dictionary;

TEST(FreshProcess, LabelsAreInternedAtLoadAndSharedWithTheHost) {
    // The library interned the sixteen labels during its static initialisation, in table order.
    std::uint32_t index = 0;
    for (const TypeAtom* label : Testing::kBuiltinLabels) {
        EXPECT_EQ(label->getIndex(), ++index) << label->getString();
    }
    // An atom made here, in the host executable, shares the library's numbering, which the first use
    // of the registry then continues without renumbering anything.
    EXPECT_TRUE(TypeAtom("bool").getIndex() == 1U && TypeAtom("first new text").getIndex() == 17U);
    Any value;
    value.set(1);
    EXPECT_TRUE(value.type()->label() == gTypeLabelInt32 && gTypeLabelInt32.getIndex() == 7U);
}

} // namespace
