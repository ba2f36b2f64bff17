#include <foundation/tsexception.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

namespace {

using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using StringItem = Tessel::Base::ExceptionInfo<std::string>;
using IntItem = Tessel::Base::ExceptionInfo<int>;

const std::string kFrame(80, '+');

std::string describe(const ExceptionDecoration& decoration, int indentation) {
    std::ostringstream os;
    decoration.describe(os, indentation);
    return os.str();
}

/// An exception with all four throw-site items and a message.
Exception thrownAt(const std::string& exceptionClass, const std::string& file, int line,
                   const std::string& function, const std::string& message) {
    Exception exception;
    exception << StringItem("UserMessage", message) << StringItem("ThrowFile", file)
              << IntItem("ThrowLine", line) << StringItem("ThrowFunction", function)
              << StringItem("ExceptionClass", exceptionClass);
    return exception;
}

/// Counts flushes, to see that every line ends with std::endl.
class FlushCountingBuffer : public std::stringbuf {
public:
    int flushes = 0;

protected:
    int sync() override {
        ++flushes;
        return std::stringbuf::sync();
    }
};

} // namespace

// --- description fallbacks ------------------------------------------------------------------------

TEST(ExceptionReport, BareExceptionHasSixLines) {
    EXPECT_EQ(Exception().report(), kFrame + "\n"
                                             "EXCEPTION REPORT\n"
                                             "  User message is ''\n"
                                             "  Threw exception of type unknown type\n"
                                             " unknown source file at unknown line in unknown function\n" +
                                        kFrame + "\n");
}

TEST(ExceptionDescription, EachThrowSiteItemHasItsOwnFallback) {
    struct Case {
        bool file, line, function;
        const char* secondLine;
    };
    const Case cases[] = {
        {true, false, false, "   From a.cpp at unknown line in unknown function\n"},
        {false, true, false, " unknown source file:12 in unknown function\n"},
        {false, false, true, " unknown source file at unknown line in 'ns::f'\n"},
        {true, true, false, "   From a.cpp:12 in unknown function\n"},
        {true, false, true, "   From a.cpp at unknown line in 'ns::f'\n"},
        {false, true, true, " unknown source file:12 in 'ns::f'\n"},
        {true, true, true, "   From a.cpp:12 in 'ns::f'\n"},
    };
    for (const Case& entry : cases) {
        ExceptionDecoration decoration;
        if (entry.file) {
            decoration << StringItem("ThrowFile", "a.cpp");
        }
        if (entry.line) {
            decoration << IntItem("ThrowLine", 12);
        }
        if (entry.function) {
            decoration << StringItem("ThrowFunction", "ns::f");
        }
        EXPECT_EQ(describe(decoration, 3),
                  std::string("   Threw exception of type unknown type\n") + entry.secondLine);
    }
}

TEST(ExceptionDescription, WronglyTypedThrowSiteItemsCountAsMissingAndStayHidden) {
    ExceptionDecoration decoration;
    decoration << IntItem("ExceptionClass", 1) << IntItem("ThrowFile", 2)
               << StringItem("ThrowLine", "3") << IntItem("ThrowFunction", 4);
    EXPECT_EQ(describe(decoration, 0), "Threw exception of type unknown type\n"
                                       " unknown source file at unknown line in unknown function\n");
}

TEST(ExceptionDescription, ItemsInByteOrderOfKeys) {
    ExceptionDecoration decoration;
    decoration << StringItem("alpha", "a") << StringItem("Zulu", "z") << IntItem("Beta", -3)
               << StringItem("_under", "u") << StringItem("9", "nine")
               << StringItem("ExceptionClass", "X");
    EXPECT_EQ(describe(decoration, 1), " Threw exception of type X\n"
                                       " unknown source file at unknown line in unknown function\n"
                                       " Decoration is...\n"
                                       "   [9] = nine\n"
                                       "   [Beta] = -3\n"
                                       "   [Zulu] = z\n"
                                       "   [_under] = u\n"
                                       "   [alpha] = a\n");
}

TEST(ExceptionDescription, IndentationEdges) {
    ExceptionDecoration decoration;
    decoration << StringItem("ThrowFile", "f") << StringItem("K", "v");
    EXPECT_EQ(describe(decoration, -5), describe(decoration, 0));
    const std::string wide = describe(decoration, 70);
    const std::string pad(70, ' ');
    EXPECT_EQ(wide, pad + "Threw exception of type unknown type\n" + pad +
                        "From f at unknown line in unknown function\n" + pad + "Decoration is...\n" +
                        pad + "  [K] = v\n");
}

// The line is decimal even on a stream set to hexadecimal.
TEST(ExceptionDescription, LineIsDecimal) {
    ExceptionDecoration decoration;
    decoration << IntItem("ThrowLine", 255);
    std::ostringstream os;
    decoration.describe(os << std::hex, 0);
    EXPECT_NE(os.str().find(":255 in"), std::string::npos);
}

// --- the report -----------------------------------------------------------------------------------

TEST(ExceptionReport, CastExample) {
    Exception exception = thrownAt(
        "Tessel::Dictionary::AnyCastException", "src/example", 72,
        "Tessel::Dictionary::AnyType::castToMine",
        "Don't know how to cast dictionary entry from type '%%(FromType)%%' to type '%%(ToType)%%'.");
    exception << StringItem("FromType", "int") << StringItem("ToType", "Tessel::Dictionary::Dictionary");
    const std::string expected =
        kFrame + "\n"
                 "EXCEPTION REPORT\n"
                 "  User message is 'Don't know how to cast dictionary entry from type 'int' to type "
                 "'Tessel::Dictionary::Dictionary'.'\n"
                 "  Threw exception of type Tessel::Dictionary::AnyCastException\n"
                 "  From src/example:72 in 'Tessel::Dictionary::AnyType::castToMine'\n"
                 "  Decoration is...\n"
                 "    [FromType] = int\n"
                 "    [ToType] = Tessel::Dictionary::Dictionary\n"
                 "    [UserMessage] = Don't know how to cast dictionary entry from type '%%(FromType)%%' "
                 "to type '%%(ToType)%%'.\n" +
        kFrame + "\n";
    EXPECT_EQ(exception.report(), expected);

    std::ostringstream os;
    exception.report(os);
    EXPECT_EQ(os.str(), expected);
}

TEST(ExceptionReport, EveryLineEndFlushes) {
    Exception exception = thrownAt("C", "f", 1, "g", "m");
    exception << StringItem("A", "a");
    exception.addPrevious(thrownAt("D", "f", 2, "h", "n"));
    FlushCountingBuffer buffer;
    std::ostream os(&buffer);
    exception.report(os);
    const std::string text = buffer.str();
    EXPECT_EQ(buffer.flushes, std::count(text.begin(), text.end(), '\n'));
}

TEST(ExceptionReport, NestedChainAtIndentationsFourSixEight) {
    Exception d = thrownAt("D", "d.cpp", 4, "fd", "message d");
    Exception c = thrownAt("C", "c.cpp", 3, "fc", "message c");
    c.addPrevious(d);
    Exception b = thrownAt("B", "b.cpp", 2, "fb", "message b");
    b.addPrevious(c);
    Exception a;
    a << StringItem("UserMessage", "message a");
    a.addPrevious(b);

    ASSERT_EQ(a.previous().size(), 3U);
    const std::string expected = kFrame + "\n"
                                          "EXCEPTION REPORT\n"
                                          "  User message is 'message a'\n"
                                          "  Threw exception of type unknown type\n"
                                          " unknown source file at unknown line in unknown function\n"
                                          "  Decoration is...\n"
                                          "    [UserMessage] = message a\n"
                                          "\n"
                                          "    -------\n"
                                          "    PREVIOUSLY THREW\n"
                                          "    Threw exception of type B\n"
                                          "    From b.cpp:2 in 'fb'\n"
                                          "    Decoration is...\n"
                                          "      [FilledUserMessage] = message b\n"
                                          "      [UserMessage] = message b\n"
                                          "    -------\n"
                                          "\n"
                                          "      -------\n"
                                          "      PREVIOUSLY THREW\n"
                                          "      Threw exception of type C\n"
                                          "      From c.cpp:3 in 'fc'\n"
                                          "      Decoration is...\n"
                                          "        [FilledUserMessage] = message c\n"
                                          "        [UserMessage] = message c\n"
                                          "      -------\n"
                                          "\n"
                                          "        -------\n"
                                          "        PREVIOUSLY THREW\n"
                                          "        Threw exception of type D\n"
                                          "        From d.cpp:4 in 'fd'\n"
                                          "        Decoration is...\n"
                                          "          [FilledUserMessage] = message d\n"
                                          "          [UserMessage] = message d\n"
                                          "        -------\n" +
                                 kFrame + "\n";
    EXPECT_EQ(a.report(), expected);
}

// --- chaining -------------------------------------------------------------------------------------

TEST(ExceptionChaining, FilledTextsAreAddedOnlyWhereSet) {
    Exception earlier;
    earlier << StringItem("What", "disk") << StringItem("UserDetail", "the %%(What)%%")
            << StringItem("UserTitle", "") << StringItem("UserSummary", "%%(Nothing)%%");
    Exception later;
    later.addPrevious(earlier);
    const ExceptionDecoration& copy = later.previous().front();
    ASSERT_NE(copy.getValue<std::string>("FilledUserMessage"), nullptr);
    EXPECT_EQ(*copy.getValue<std::string>("FilledUserMessage"), "");
    EXPECT_EQ(*copy.getValue<std::string>("FilledUserDetail"), "the disk");
    EXPECT_EQ(*copy.getValue<std::string>("FilledUserSummary"), "(Nothing unknown)");
    EXPECT_EQ(copy.getInfo("FilledUserTitle"), nullptr);
    EXPECT_EQ(*copy.getValue<std::string>("UserDetail"), "the %%(What)%%");
    // The earlier exception itself is untouched.
    EXPECT_EQ(earlier.getInfo("FilledUserMessage"), nullptr);
}

TEST(ExceptionChaining, SecondCallReplacesTheFirstChain) {
    Exception cause = thrownAt("Cause", "c", 1, "f", "cause");
    Exception first = thrownAt("First", "a", 1, "f", "first");
    first.addPrevious(cause);
    Exception second = thrownAt("Second", "b", 1, "f", "second");

    Exception later;
    later.addPrevious(first);
    ASSERT_EQ(later.previous().size(), 2U);
    later.addPrevious(second);
    ASSERT_EQ(later.previous().size(), 1U);
    EXPECT_EQ(*later.previous().front().getValue<std::string>("ExceptionClass"), "Second");
}

TEST(ExceptionChaining, ChainingItselfIsDefined) {
    Exception self = thrownAt("Self", "s", 1, "f", "self %%(N)%%");
    self << IntItem("N", 1);
    self.addPrevious(thrownAt("Cause", "c", 2, "g", "cause"));

    self.addPrevious(self);
    ASSERT_EQ(self.previous().size(), 2U);
    const ExceptionDecoration& front = self.previous().front();
    EXPECT_EQ(*front.getValue<std::string>("ExceptionClass"), "Self");
    EXPECT_EQ(*front.getValue<std::string>("FilledUserMessage"), "self 1");
    EXPECT_EQ(*self.previous().back().getValue<std::string>("ExceptionClass"), "Cause");

    self.addPrevious(self);
    ASSERT_EQ(self.previous().size(), 3U);
    const std::string report = self.report();
    EXPECT_NE(report.find("\n        PREVIOUSLY THREW\n        Threw exception of type Cause\n"),
              std::string::npos);
    EXPECT_NE(report.find("\n    PREVIOUSLY THREW\n    Threw exception of type Self\n"),
              std::string::npos);
}

TEST(ExceptionChaining, ChainSurvivesItsSources) {
    auto cause = std::make_unique<Exception>(thrownAt("Cause", "c", 1, "f", "cause"));
    auto later = std::make_unique<Exception>(thrownAt("Later", "l", 2, "g", "later"));
    later->addPrevious(*cause);
    cause.reset();
    const Exception copy(*later);
    const std::string expected = later->report();
    later.reset();
    EXPECT_EQ(copy.report(), expected);
    EXPECT_NE(expected.find("      [FilledUserMessage] = cause\n"), std::string::npos);
}
