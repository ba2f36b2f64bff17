// Values written as they are in C++: value construction and assignment, moves, initializer lists
// and lookups by text that intern nothing.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include "tstestsupport.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using Testing::show;

TEST(AnyValues, ConstructionAndAssignmentFollowTheRuleOfAssignment) {
    int bound = 3;
    const std::function<void(Any&)> keep = [](Any&) {};
    struct { Any value; std::function<void(Any&)> assign; const char* result; const char* why; } rows[] = {
        {Any(0), keep, "int32:0", "the literal 0 is an int32, not a null C string"},
        {Any(nullptr), keep, "string:", "nullptr stays the designed null C string"},
        {Any("lit"), [](Any& a) { a = std::string_view("view"); }, "string:view", "text is a string"},
        {Any(), [](Any& a) { a = 1920; }, "int32:1920", "an empty target takes T's type"},
        {Any(7), [](Any& a) { a = 2048.7; }, "int32:2048", "a typed target converts"},
        {Any(7LL), [](Any& a) { a = 5L; }, "int64:5", "an alias host type copies"},
        {Any(BindValue(bound)), [](Any& a) { a = 9.5f; }, "int32:9", "a bound target writes through"},
        {Any(TimeBase(TimeBase::k25)), [](Any& a) { a = 30; }, "timebase:30/1", "registered casts apply"},
        {Any(7), [](Any& a) { EXPECT_THROW(a = std::string("x"), AnyCastException); }, "int32:7", "no cast"},
        {Any(7), [](Any& a) { EXPECT_THROW(a = std::vector<int>{}, AnyUnknownTypeException); }, "int32:7", "unknown"},
    };
    for (auto& row : rows) {
        row.assign(row.value);
        EXPECT_EQ(show(row.value), row.result) << row.why;
    }
    EXPECT_EQ(bound, 9);
    EXPECT_THROW(Any(std::vector<int>{}), AnyUnknownTypeException);
    Dictionary d;
    d["count"] = 0;
    d["w"] = 1920;
    const std::vector<Any> mixed{1, 2.5, "x"};
    EXPECT_EQ(show(d["count"]) + show(d["w"]) + show(mixed[0]) + show(mixed[1]) + show(mixed[2]),
              "int32:0int32:1920int32:1double:2.5string:x");
}

TEST(AnyValues, MovesTransferStorageAndKeepBindings) {
    Any owned(std::string("payload"));
    const std::string* storage = &owned.ref<std::string>();
    const Any taken(std::move(owned));
    EXPECT_TRUE(&taken.ref<std::string>() == storage && owned.isEmpty()) << "moved without a copy, source empty";

    int variable = 1;
    Any target;
    target = Any(BindValue(variable));
    variable = 4;
    EXPECT_EQ(target.as<int>(), 4) << "a bound value stays bound";

    Any typed(2.0);
    Any source(7);
    Any& alias = typed;
    typed = std::move(source);
    typed = std::move(alias);
    EXPECT_EQ(show(typed) + show(source), "double:7int32:7") << "into a typed target: a copy";

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
    EXPECT_TRUE(moved.erase(moved.begin()) == moved.end() && moved.empty());
}

} // namespace
