// Interning a new text: a failed allocation propagates with the table's lock released, and both
// of its tables stay in step (the text is either fully added or not at all).

#include "injectionharness.h"
#include "nametables.h"
#include "testvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

using namespace Tessel::Reliability;
using Tessel::Base::NameAtom;
using Tessel::Base::NameAtomManager;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyType;

struct Interning {
    std::string text;
    std::ptrdiff_t lastBefore = 0;
    std::uint32_t index = 0;
};

// After a failure, `text` is either unknown and the table as it was, or it was added whole as
// the next index.
void expectAddedWholeOrNotAtAll(NameAtomManager& table, const Interning& interning) {
    const std::ptrdiff_t last = table.lastIndex();
    if (last == interning.lastBefore) {
        EXPECT_EQ(table.findIndex(interning.text), 0U) << "a text that was not added is found";
    } else {
        ASSERT_EQ(last, interning.lastBefore + 1);
        const auto added = static_cast<std::uint32_t>(last);
        EXPECT_EQ(table.getString(added), interning.text);
        EXPECT_EQ(table.findIndex(interning.text), added);
    }
}

template <class Tag>
InjectionCount injectInterning(const std::string& operation, bool fromStdString) {
    Scenario<Interning> scenario;
    scenario.operation = operation;
    scenario.internsNewNames = true;
    scenario.make = [fromStdString] {
        auto interning = std::make_unique<Interning>();
        interning->text = freshText("interned");
        if (fromStdString) {
            interning->text += std::string(1, '\0') + "after a zero byte";
        }
        interning->lastBefore = nameTable<Tag>().lastIndex();
        return interning;
    };
    scenario.run = [fromStdString](Interning& interning) {
        interning.index = fromStdString ? NameAtom<Tag>(interning.text).getIndex()
                                        : NameAtom<Tag>(interning.text.c_str()).getIndex();
    };
    scenario.checkFailed = [](Interning& interning) {
        expectAddedWholeOrNotAtAll(nameTable<Tag>(), interning);
    };
    scenario.checkCompleted = [fromStdString](Interning& interning) {
        NameAtomManager& table = nameTable<Tag>();
        EXPECT_EQ(interning.index, static_cast<std::uint32_t>(interning.lastBefore + 1));
        EXPECT_EQ(table.lastIndex(), interning.lastBefore + 1);
        const std::string expected =
            fromStdString ? interning.text : std::string(interning.text.c_str()); // stops at a zero
        EXPECT_EQ(table.getString(interning.index), expected);
        EXPECT_EQ(table.findIndex(expected), interning.index);
        EXPECT_EQ(NameAtom<Tag>(expected).getIndex(), interning.index);
    };
    return injectEachAllocation(scenario);
}

TEST(NameAtomAllocation, InterningANewKeyText) {
    EXPECT_GT(injectInterning<Any>("NameAtom<Any>(const char*) of a new text", false).points, 0);
    EXPECT_GT(injectInterning<Any>("NameAtom<Any>(const std::string&) of a new text", true).points, 0);
}

TEST(NameAtomAllocation, InterningANewTypeName) {
    EXPECT_GT(injectInterning<AnyType>("NameAtom<AnyType>(const char*) of a new text", false).points, 0);
    EXPECT_GT(injectInterning<AnyType>("NameAtom<AnyType>(const std::string&) of a new text", true).points, 0);
}

} // namespace
