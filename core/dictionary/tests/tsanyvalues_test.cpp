// Values written as they are in C++: value construction and assignment, moves, initializer lists
// and lookups by text that intern nothing.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;

std::string labelOf(const Any& any) {
    return any.isEmpty() ? "empty" : any.type()->label().getString();
}

TEST(AnyValues, ConstructionAndAssignmentPickTypesByTheRuleOfAssignment) {
    int bound = 3;
    struct Row {
        std::function<Any()> make;
        std::function<void(Any&)> assign;
        const char* label;
        const char* text;
        const char* why;
    };
    const auto keep = [](Any&) {};
    const Row rows[] = {
        {[] { return Any(0); }, keep, "int32", "0", "the literal 0 is an int32, not a null C string"},
        {[] { return Any(nullptr); }, keep, "string", "", "nullptr stays the designed null C string"},
        {[] { return Any("lit"); }, [](Any& a) { a = std::string_view("view"); }, "string", "view", "text is a string"},
        {[] { return Any(); }, [](Any& a) { a = 1920; }, "int32", "1920", "an empty target takes T's type"},
        {[] { return Any(7); }, [](Any& a) { a = 2048.7; }, "int32", "2048", "a typed target converts"},
        {[] { return Any(7LL); }, [](Any& a) { a = 5L; }, "int64", "5", "an alias host type copies"},
        {[&] { return Any(BindValue(bound)); }, [](Any& a) { a = 9.5f; }, "int32", "9", "a bound target writes through"},
        {[] { return Any(TimeBase(TimeBase::k25)); }, [](Any& a) { a = 30; }, "timebase", "30/1", "casts apply"},
    };
    for (const Row& row : rows) {
        Any any = row.make();
        row.assign(any);
        EXPECT_EQ(labelOf(any), row.label) << row.why;
        EXPECT_EQ(any.exactText(), row.text) << row.why;
    }
    EXPECT_EQ(bound, 9);
    Dictionary d;
    d["count"] = 0;
    d["w"] = 1920;
    EXPECT_EQ(labelOf(d["count"]) + d["count"].exactText() + d["w"].exactText(), "int3201920");
    const std::vector<Any> mixed{1, 2.5, "x"};
    EXPECT_EQ(labelOf(mixed[0]) + labelOf(mixed[1]) + labelOf(mixed[2]), "int32doublestring");
}

TEST(AnyValues, FailedValueAssignmentsChangeNothing) {
    Any number(7);
    EXPECT_THROW(number = std::string("x"), AnyCastException);
    EXPECT_THROW(number = std::vector<int>{1}, AnyUnknownTypeException);
    EXPECT_EQ(number, Any(7));
    EXPECT_THROW(Any(std::vector<int>{}), AnyUnknownTypeException);
}

TEST(AnyValues, MovesTransferStorageAndLeaveTheSourceEmpty) {
    Any owned(std::string("payload"));
    const std::string* storage = &owned.ref<std::string>();
    Any taken(std::move(owned));
    EXPECT_TRUE(owned.isEmpty());
    EXPECT_EQ(&taken.ref<std::string>(), storage) << "the owned value moves without a copy";

    int variable = 1;
    Any target;
    target = Any(BindValue(variable));
    variable = 4;
    EXPECT_EQ(target.as<int>(), 4) << "a bound value stays bound after a move";

    Any typed(2.0);
    Any source(7);
    typed = std::move(source);
    EXPECT_EQ(labelOf(typed) + labelOf(source), "doubleint32") << "into a typed target a move is a copy";
    Any& alias = typed;
    typed = std::move(alias);
    EXPECT_EQ(typed.as<double>(), 7.0) << "a self-move changes nothing";

    std::vector<Any> grown{Any(Dictionary{{"k", 1}})};
    const Dictionary* nested = &grown[0].dict();
    grown.resize(grown.capacity() + 1);
    EXPECT_EQ(&grown[0].dict(), nested) << "vector growth moves elements instead of deep copies";
}

TEST(DictionaryValues, MovesListsAndLookupsByText) {
    Dictionary clip{{"width", 1920}, {"fps", TimeBase(TimeBase::k29_97)}, {"width", 1}};
    EXPECT_EQ(clip.size(), 2U);
    EXPECT_EQ(clip.find("width")->as<int>(), 1920) << "a key given twice keeps its first value";
    const Any* width = clip.find(std::string("width"));
    Dictionary moved = std::move(clip);
    EXPECT_TRUE(clip.empty());
    EXPECT_EQ(moved.find(std::string_view("width")), width) << "a move keeps every entry in place";

    moved["inner"] = Dictionary{{"x", 1}};
    moved = std::move(moved["inner"].dict());
    EXPECT_EQ(moved, (Dictionary{{"x", 1}})) << "the source may live inside the target";

    const std::string untrusted = "values-test.never-interned";
    EXPECT_FALSE(moved.contains(untrusted) || moved.contains(untrusted.c_str()) || moved.find(untrusted));
    EXPECT_FALSE(Dictionary::Key::find(untrusted)) << "lookups by text intern nothing";
    EXPECT_TRUE(moved.contains("x") && moved.contains(Dictionary::Key("x")));
    EXPECT_EQ(moved.erase(moved.begin()), moved.end());
    EXPECT_TRUE(moved.empty());
}

} // namespace
