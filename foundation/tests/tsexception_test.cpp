// Exceptions: keyed items, user-text templates, the throw procedure, descriptions, reports and
// chains of earlier exceptions.

#include <foundation/tsexception.h>

#include <boost/exception_ptr.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using StringItem = Tessel::Base::ExceptionInfo<std::string>;
using IntItem = Tessel::Base::ExceptionInfo<int>;

static_assert(!std::is_base_of_v<std::exception, Exception>, "hosts tell library errors apart by their base");

template <class... Items>
Exception with(const Items&... items) {
    Exception exception;
    static_cast<void>((exception << ... << items));
    return exception;
}

// The value of the item of type T under `key` as text, or "<none>".
template <class T = std::string>
std::string valueOf(const ExceptionDecoration& decoration, const std::string& key) {
    std::ostringstream text;
    if (const T* value = decoration.getValue<T>(key)) {
        text << *value;
        return text.str();
    }
    return "<none>";
}

TEST(ExceptionDecoration, ItemsAreKeyedTypedAndCopiedDeep) {
    auto original = std::make_unique<Exception>(
        with(StringItem("Name", "first"), IntItem("Count", -7), StringItem("Name", "last"), StringItem(nullptr, "x")));
    *original << *original->getInfo("Name"); // re-adding the stored item itself
    original->addPrevious(with(StringItem("UserMessage", "cause")));
    const Exception copy(*original);
    Exception assigned = with(StringItem("OnlyHere", "y"));
    assigned = copy;
    original.reset();
    for (const Exception* survivor : {&copy, static_cast<const Exception*>(&assigned)}) {
        EXPECT_EQ(survivor->items().size(), 3U) << "one item per key";
        EXPECT_EQ(valueOf(*survivor, "Name") + valueOf(*survivor, ""), "lastx") << "the last addition wins; null key";
        EXPECT_EQ(valueOf<int>(*survivor, "Count") + valueOf(*survivor, "Count"), "-7<none>") << "typed items";
        EXPECT_EQ(valueOf(survivor->previous().front(), "FilledUserMessage"), "cause");
    }
}

TEST(ExceptionDecoration, UserTextsFillTheirPlaceholders) {
    struct Row { const char* text; const char* expected; const char* reason; };
    const Row rows[] = {
        {"from '%%(From)%%' to '%%(To)%%'.", "from 'int' to 'double'.", "two placeholders"},
        {"to '%%(Missing)%%'", "to '(Missing unknown)'", "an unknown key"},
        {"[%%()%%]", "[( unknown)]", "an empty key"},
        {"N=%%(N)%%", "N=42", "an int item in decimal"},
        {"%%(From)%% then %%(To", "int then %%(To", "an unterminated placeholder stays"},
        {")%% %%(%%(From)%%", ")%% (%%(From unknown)", "a lone close marker stays; the first open one counts"},
        {"%%(Nested)%%", "%%(From)%%", "values are not scanned again"},
    };
    Exception exception = with(StringItem("From", "int"), StringItem("To", "double"), IntItem("N", 42),
                               StringItem("Nested", "%%(From)%%"), StringItem("UserSummary", "s %%(N)%%"),
                               StringItem("UserDetail", "d"), StringItem("UserTitle", "t"));
    for (const Row& row : rows) {
        EXPECT_EQ((exception << StringItem("UserMessage", row.text)).userMessage(), row.expected) << row.reason;
    }
    EXPECT_EQ(exception.userSummary() + exception.userDetail() + exception.userTitle(), "s 42dt");
    EXPECT_EQ((exception << IntItem("UserMessage", 5)).userMessage(), "") << "an int item is no template";
}

TEST(ExceptionThrow, RecordsTheSiteAndCopiesFaithfully) {
    const int line = __LINE__ + 2;
    try {
        TS_THROW(Tessel::Base::NotImplemented, "T::site", StringItem("Type", "int"), StringItem("ThrowLine", "x"));
    } catch (const ExceptionDecoration& caught) {
        EXPECT_EQ(caught.userMessage() + valueOf(caught, "Type"), "Unimplemented code path.int");
        EXPECT_EQ(valueOf(caught, "ThrowFile") + valueOf<int>(caught, "ThrowLine"), __FILE__ + std::to_string(line));
        EXPECT_EQ(valueOf(caught, "ThrowFunction") + valueOf(caught, "ExceptionClass"), "T::siteTessel::Base::NotImplemented");
        try {
            boost::rethrow_exception(boost::current_exception());
        } catch (const Tessel::Base::NotImplemented& copy) {
            EXPECT_EQ(copy.report(), dynamic_cast<const Exception&>(caught).report());
            return;
        }
    }
    FAIL() << "not thrown, or not rethrown as its class";
}

TEST(ExceptionReport, DescriptionsFallBackForEachMissingSiteItem) {
    const std::string none = " unknown source file at unknown line in unknown function\n";
    struct Row { Exception exception; int indentation; std::string expected; const char* reason; };
    const Row rows[] = {
        {with(StringItem("ThrowFile", "a.cpp")), 3,
         "   Threw exception of type unknown type\n   From a.cpp at unknown line in unknown function\n", "a file only"},
        {with(IntItem("ThrowLine", 12), StringItem("ThrowFunction", "f")), 1,
         " Threw exception of type unknown type\n unknown source file:12 in 'f'\n", "no file: no indentation"},
        {with(IntItem("ExceptionClass", 1), IntItem("ThrowFile", 2), StringItem("ThrowLine", "3"), IntItem("ThrowFunction", 4)),
         0, "Threw exception of type unknown type\n" + none, "wrongly typed site items are missing and unlisted"},
        {with(StringItem("b", "1"), StringItem("Z", "2"), IntItem("B", -3), StringItem("ExceptionClass", "X")), 1,
         " Threw exception of type X\n" + none + " Decoration is...\n   [B] = -3\n   [Z] = 2\n   [b] = 1\n",
         "other items in byte order of their keys"},
    };
    for (const Row& row : rows) {
        std::ostringstream text;
        row.exception.describe(text, row.indentation);
        EXPECT_EQ(text.str(), row.expected) << row.reason;
    }
    const std::string frame(80, '+');
    EXPECT_EQ(with(StringItem("UserMessage", "to %%(ToType)%%"), StringItem("ToType", "int")).report(),
              frame + "\nEXCEPTION REPORT\n  User message is 'to int'\n  Threw exception of type unknown type\n" + none +
                  "  Decoration is...\n    [ToType] = int\n    [UserMessage] = to %%(ToType)%%\n" + frame + "\n");
}

TEST(ExceptionChain, RecordsFilledTextsAndNestsTwoBlanksDeeperEach) {
    Exception b = with(StringItem("ExceptionClass", "B"), StringItem("What", "disk"),
                       StringItem("UserMessage", "%%(What)%% full"), StringItem("UserSummary", "s"), StringItem("UserDetail", ""));
    Exception a = with(StringItem("ExceptionClass", "A"), StringItem("UserTitle", "t"), StringItem("UserDetail", "d"));
    b.addPrevious(with(StringItem("ExceptionClass", "C")));
    a.addPrevious(with(StringItem("ExceptionClass", "Replaced")));
    a.addPrevious(b); // replaces what the first call recorded
    a.addPrevious(a); // a goes in front of its own chain
    ASSERT_EQ(a.previous().size(), 3U);
    const ExceptionDecoration& recordedA = a.previous().front();
    const ExceptionDecoration& recordedB = *std::next(a.previous().begin());
    EXPECT_EQ(valueOf(recordedA, "FilledUserMessage") + valueOf(recordedA, "FilledUserTitle") + valueOf(recordedA, "FilledUserDetail"),
              "td") << "the message is recorded even when empty";
    EXPECT_EQ(valueOf(recordedB, "FilledUserMessage") + valueOf(recordedB, "FilledUserSummary"), "disk fulls");
    EXPECT_EQ(valueOf(recordedB, "FilledUserDetail") + valueOf(b, "FilledUserMessage"), "<none><none>")
        << "an empty text is not recorded; the earlier exception itself is untouched";
    std::ostringstream report;
    a.report(report);
    std::string::size_type position = 0;
    for (const char* section : {"\n\n    -------\n    PREVIOUSLY THREW\n    Threw exception of type A\n",
                                "\n      -------\n      PREVIOUSLY THREW\n      Threw exception of type B\n",
                                "\n        PREVIOUSLY THREW\n        Threw exception of type C\n", "        -------\n+"}) {
        position = report.str().find(section, position);
        ASSERT_NE(position, std::string::npos) << "next in order: " << section << "\nreport:\n" << report.str();
    }
}

} // namespace
