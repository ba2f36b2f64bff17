// Key paths through nested dictionaries and vectors, from an Any and from a Dictionary, and the
// "KeyPath" item on every error.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;

std::string itemOf(const Tessel::Base::ExceptionDecoration& e, const char* key) {
    const std::string* value = e.getValue<std::string>(key);
    return value == nullptr ? "<missing>" : *value;
}

Dictionary document() {
    const Dictionary camera{{"fps", TimeBase(TimeBase::k25)}, {"iso", 800}};
    return Dictionary{{"shots", std::vector<Any>{1, Dictionary{{"camera", camera}}, Any()}},
                      {"a/b~c", 2},
                      {"", Dictionary{{"x", 3}}}};
}

TEST(KeyPaths, ResolveOrNameTheFailingSegment) {
    struct Row { const char* path; const char* found; const char* keyPath; const char* reason; };
    const Row rows[] = {
        {"shots/1/camera/fps", "25/1", "", "dictionaries and vectors nest"},
        {"a~1b~0c", "2", "", "~1 and ~0 stand for / and ~"},
        {"/x", "3", "", "the empty key is a segment"},
        {"shots/1/lens/fps", nullptr, "shots/1/lens", "no entry 'lens'"},
        {"shots/3", nullptr, "shots/3", "past the end of a vector of 3"},
        {"shots/01", nullptr, "shots/01", "no index"},
        {"shots/99999999999999999999999", nullptr, "shots/99999999999999999999999", "no index"},
        {"shots/0/x", nullptr, "shots/0/x", "type 'int32' holds no entries"},
        {"shots/2/x", nullptr, "shots/2/x", "an empty value holds no entries"},
        {"a~2b/c", nullptr, "a~2b", "must be followed by 0 or 1"},
        {"", nullptr, "", "names the dictionary itself"},
    };
    Any root(document());
    const Dictionary& dictionary = root.dict();
    for (const Row& row : rows) {
        const Any* found = dictionary.findPath(row.path);
        if (*row.path != '\0') {
            EXPECT_EQ(found, root.findPath(row.path)) << row.path << ": a dictionary resolves as its Any does";
        }
        if (row.found != nullptr) {
            ASSERT_NE(found, nullptr) << row.path;
            EXPECT_EQ(found->exactText(), row.found) << row.path;
            EXPECT_EQ(&dictionary.atPath(row.path), found) << row.path;
            continue;
        }
        EXPECT_EQ(found, nullptr) << row.path;
        try {
            dictionary.atPath(row.path);
            ADD_FAILURE() << row.path << " resolved";
        } catch (const AnyPathException& e) {
            EXPECT_EQ(itemOf(e, "KeyPath"), row.keyPath) << row.path;
            EXPECT_NE(e.userMessage().find(row.reason), std::string::npos) << e.userMessage();
        }
    }
    EXPECT_EQ(root.findPath(""), &root) << "the empty path names an Any itself";
}

TEST(KeyPaths, ReadsConvertWritesGoThroughAndNothingIsInterned) {
    Dictionary doc = document();
    EXPECT_EQ(doc.valueAtPath<int>("shots/1/camera/fps"), 25);
    EXPECT_EQ(doc.valueAtPath<double>("shots/1/camera/iso"), 800.0);
    *doc.findPath("shots/1/camera/iso") = 1600.9;
    EXPECT_EQ(Any(doc).valueAtPath<int>("shots/1/camera/iso"), 1600);

    struct Failure { const char* path; const char* keyPath; const char* why; };
    const Failure failures[] = {
        {"shots/1/camera", "shots/1/camera", "no cast from a dictionary to int"},
        {"shots/2", "shots/2", "an empty value has nothing to read"},
        {"shots/9/never-interned-path-key", "shots/9", "the path does not resolve"},
    };
    const Any root(doc);
    for (const Failure& row : failures) {
        for (const std::function<void()>& read : {std::function<void()>([&] { doc.valueAtPath<int>(row.path); }),
                                                   std::function<void()>([&] { root.valueAtPath<int>(row.path); })}) {
            try {
                read();
                ADD_FAILURE() << row.path << " was read";
            } catch (const AnyException& e) {
                EXPECT_EQ(itemOf(e, "KeyPath"), row.keyPath) << row.why;
            }
        }
    }
    EXPECT_FALSE(Dictionary::Key::find("never-interned-path-key"));
}

} // namespace
