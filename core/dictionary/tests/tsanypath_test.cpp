// Key paths through nested dictionaries and vectors, and the "KeyPath" item on every error.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;

// "KeyPath|user message" of the exception that `read` throws.
template <class Read>
std::string failureOf(const Read& read) {
    try {
        read();
    } catch (const AnyException& e) {
        const std::string* keyPath = e.getValue<std::string>("KeyPath");
        return (keyPath == nullptr ? "<missing>" : *keyPath) + "|" + e.userMessage();
    }
    return "<nothing thrown>";
}

Dictionary document() {
    const Dictionary camera{{"fps", TimeBase(TimeBase::k25)}, {"iso", 800}};
    return Dictionary{{"shots", std::vector<Any>{1, Dictionary{{"camera", camera}}, Any()}},
                      {"a/b~c", 2},
                      {"", Dictionary{{"x", 3}}}};
}

TEST(KeyPaths, ResolveOrNameTheFailingSegment) {
    struct { const char* path; const char* found; const char* keyPath; const char* reason; } rows[] = {
        {"shots/1/camera/fps", "25/1", "", ""},  // dictionaries and vectors nest
        {"a~1b~0c", "2", "", ""},                // ~1 and ~0 stand for / and ~
        {"/x", "3", "", ""},                     // the empty key is a segment
        {"shots/1/lens/fps", nullptr, "shots/1/lens", "no entry 'lens'"},
        {"shots/3", nullptr, "shots/3", "past the end of a vector of 3"},
        {"shots/01", nullptr, "shots/01", "no index"},
        {"shots/99999999999999999999999", nullptr, "shots/99999999999999999999999", "no index"},
        {"shots/0/x", nullptr, "shots/0/x", "type 'int32' holds no entries"},
        {"shots/2/x", nullptr, "shots/2/x", "an empty value holds no entries"},
        {"a~2b/c", nullptr, "a~2b", "must be followed by 0 or 1"},
        {"", nullptr, "", "names the dictionary itself"},
    };
    const Any root(document());
    for (const auto& row : rows) {
        const Any* found = root.dict().findPath(row.path);
        EXPECT_TRUE(!*row.path || found == root.findPath(row.path)) << row.path << ": as from the Any holding it";
        EXPECT_EQ(found ? found->exactText() : "null", row.found ? row.found : "null") << row.path;
        const std::string failure = failureOf([&] { EXPECT_EQ(&root.dict().atPath(row.path), found); });
        EXPECT_EQ(failure.substr(0, failure.find('|')), row.found ? "<nothing thrown>" : row.keyPath) << row.path;
        EXPECT_NE(failure.find(row.reason), std::string::npos) << failure;
    }
    EXPECT_EQ(root.findPath(""), &root) << "the empty path names an Any itself";
}

TEST(KeyPaths, ReadsConvertWritesGoThroughAndNothingIsInterned) {
    Dictionary doc = document();
    *doc.findPath("shots/1/camera/iso") = 1600.9;
    EXPECT_EQ(doc.valueAtPath<double>("shots/1/camera/iso") + doc.valueAtPath<int>("shots/1/camera/fps"), 1625.0);
    const Any root(doc);
    struct { const char* path; const char* keyPath; } failures[] = {
        {"shots/1/camera", "shots/1/camera"}, {"shots/2", "shots/2"}, {"shots/9/never-interned-key", "shots/9"}};
    for (const auto& row : failures) {
        const std::string keyPath = std::string(row.keyPath) + "|";
        EXPECT_EQ(failureOf([&] { doc.valueAtPath<int>(row.path); }).rfind(keyPath, 0), 0U) << "cast, null, path";
        EXPECT_EQ(failureOf([&] { root.valueAtPath<int>(row.path); }).rfind(keyPath, 0), 0U) << row.path;
    }
    EXPECT_FALSE(Dictionary::Key::find("never-interned-key"));
}

} // namespace
