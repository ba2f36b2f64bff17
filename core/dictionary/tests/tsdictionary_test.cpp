// Dictionary: lookups, order and copies (equality, the signature frame and the text errors are in the
// tables of tsany_test.cpp).

#include <dictionary/tsdictionary.h>

#include "tstestsupport.h"

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Dictionary::Testing;
using Key = Dictionary::Key;

TEST(Dictionary, OnlyTheNonConstSubscriptInserts) {
    Dictionary d;
    const Dictionary& view = d;
    const Key key("lookup.key");
    EXPECT_TRUE(d.empty() && d.begin() == d.end() && d.find(key) == nullptr && view.find(key) == nullptr);
    EXPECT_FALSE(d.hasEntry(key) || d.erase(key));
    const Any& missing = view[key];
    EXPECT_EQ(&view[Key("lookup.other")], &missing) << "one shared empty entry";
    Any& entry = d[key];
    EXPECT_TRUE(&d[key] == &entry && d.size() == 1 && missing.isEmpty()) << "inserted once";
    EXPECT_TRUE(d.hasEntry(key)) << "an empty value is still an entry";
    EXPECT_TRUE(view.find(key) == &entry && &view[key] == &entry);
    EXPECT_TRUE(d.erase(key));
    EXPECT_FALSE(d.erase(key));
}

TEST(Dictionary, IteratesInTheOrderKeysWereFirstInterned) {
    const Key a("order.a"), z("order.z"), zero("order.0"); // "0" interned last, first in the alphabet
    Dictionary d = dictOf({{"order.0", holding(0)}, {"order.z", holding(26)}, {"order.a", holding(1)}});
    std::string order;
    for (const auto& [key, value] : d) {
        order += key.getString().back();
    }
    EXPECT_EQ(order, "az0");
    Dictionary other = dictOf({{"order.z", holding(2)}});
    d.swap(d);
    swap(d, other);
    EXPECT_EQ(show(*other.find(zero)) + show(d[z]) + std::to_string(d.size()), "int32:0int32:21");
}

TEST(Dictionary, CopiesAreDeepAndAssignmentReplacesEveryEntry) {
    int variable = 1;
    const Key bound("copy.bound"), nested("copy.nested");
    Dictionary source = dictOf({{"copy.nested", holding(dictOf({{"copy.leaf", holding(1)}}))}});
    source[bound] = BindValue(variable);
    Dictionary copy(source), assigned = dictOf({{"copy.replaced", holding(9)}, {"copy.bound", holding(2.5)}});
    assigned = source;
    EXPECT_TRUE(copy == source && assigned == source && !assigned.hasEntry(Key("copy.replaced")));
    variable = 2;
    copy[nested]["copy.leaf"] = holding(3);
    EXPECT_EQ(show(copy[bound]) + show(assigned[bound]) + show(source[nested]["copy.leaf"]), "int32:1int32:1int32:1")
        << "copies own snapshots of bound and nested values";

    const Any* entry = source.find(bound);
    source = static_cast<const Dictionary&>(source);
    Any viaBinding{BindValue(source)};
    viaBinding = Any(BindValue(source));
    EXPECT_TRUE(source.find(bound) == entry && &source[bound].ref<int>() == &variable)
        << "self-assignment keeps every entry";
    source = source[nested].dict();
    EXPECT_EQ(show(source[Key("copy.leaf")]) + std::to_string(source.size()), "int32:11")
        << "from its own nested dictionary";
}

} // namespace
