#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>

#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include <boost/exception_ptr.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <sstream>
#include <string>
#include <utility>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using StringItem = Tessel::Base::ExceptionInfo<std::string>;

const std::string kFrame(80, '+');

/// A host type that no value type is ever registered for.
struct NeverRegistered {};

/// The keys and written values of all items, for comparing two exceptions item by item.
std::string itemsText(const ExceptionDecoration& decoration) {
    std::ostringstream os;
    for (const auto& [key, item] : decoration.items()) {
        os << key << '=';
        item->writeValue(os) << '\n';
    }
    return os.str();
}

} // namespace

TEST(AnyExceptions, UserMessages) {
    EXPECT_EQ(AnyException().userMessage(), "");
    EXPECT_EQ(AnyNullException().userMessage(), "Attempted to access an empty dictionary entry.");

    AnyDereferenceException dereference;
    EXPECT_EQ(dereference.userMessage(),
              "Can't make dictionary entry of type '(FromType unknown)' be of type '(ToType unknown)'.");
    dereference << StringItem("FromType", "int") << StringItem("ToType", "double");
    EXPECT_EQ(dereference.userMessage(), "Can't make dictionary entry of type 'int' be of type 'double'.");

    AnyUnknownTypeException unknown;
    unknown << StringItem("Type", "Tessel::Test::Widget");
    EXPECT_EQ(unknown.userMessage(),
              "Don't know how to handle type 'Tessel::Test::Widget' in a Dictionary.");

    AnyCastException cast;
    cast << StringItem("FromType", "int");
    EXPECT_EQ(cast.userMessage(), "Don't know how to cast dictionary entry from type 'int' to type "
                                  "'(ToType unknown)'.");
    cast << StringItem("ToType", "Tessel::Dictionary::Dictionary");
    EXPECT_EQ(cast.userMessage(), "Don't know how to cast dictionary entry from type 'int' to type "
                                  "'Tessel::Dictionary::Dictionary'.");
}

TEST(AnyExceptions, ClassTree) {
    bool asStd = false;
    bool asBaseException = false;
    try {
        try {
            TS_THROW(AnyCastException, "f");
        } catch (const std::exception&) {
            asStd = true;
        }
    } catch (const Exception& caught) {
        asBaseException = true;
        EXPECT_NE(dynamic_cast<const AnyException*>(&caught), nullptr);
    }
    EXPECT_FALSE(asStd);
    EXPECT_TRUE(asBaseException);

    bool asDecoration = false;
    try {
        TS_THROW(AnyNullException, "f");
    } catch (const ExceptionDecoration& caught) {
        asDecoration = caught.userMessage() == "Attempted to access an empty dictionary entry.";
    }
    EXPECT_TRUE(asDecoration);

    EXPECT_THROW(TS_THROW(AnyDereferenceException, "f"), AnyException);
    EXPECT_THROW(TS_THROW(AnyUnknownTypeException, "f"), AnyUnknownTypeException);
}

// The report of a failed cast, as a host sees it; the file and line are those of this test.
TEST(AnyExceptions, CastReport) {
    const StringItem from("FromType", Tessel::Base::readableTypeName<int>());
    const StringItem to("ToType", "Tessel::Dictionary::Dictionary");
    int line = 0;
    try {
        // One line: compilers differ in the line they give a macro call that spans several.
        line = __LINE__ + 1;
        TS_THROW(AnyCastException, "Tessel::Dictionary::AnyType::castToMine", from, to);
    } catch (const Exception& caught) {
        const std::string expected =
            kFrame + "\n"
                     "EXCEPTION REPORT\n"
                     "  User message is 'Don't know how to cast dictionary entry from type 'int' to type "
                     "'Tessel::Dictionary::Dictionary'.'\n"
                     "  Threw exception of type Tessel::Dictionary::AnyCastException\n"
                     "  From " +
            std::string(__FILE__) + ":" + std::to_string(line) +
            " in 'Tessel::Dictionary::AnyType::castToMine'\n"
            "  Decoration is...\n"
            "    [FromType] = int\n"
            "    [ToType] = Tessel::Dictionary::Dictionary\n"
            "    [UserMessage] = Don't know how to cast dictionary entry from type '%%(FromType)%%' "
            "to type '%%(ToType)%%'.\n" +
            kFrame + "\n";
        EXPECT_EQ(caught.report(), expected);
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(AnyExceptions, CurrentExceptionIsAFaithfulCopy) {
    try {
        TS_THROW(AnyCastException, "Tessel::Dictionary::AnyType::castFromMine",
                 StringItem("FromType", "int"), StringItem("ToType", "NULL"));
    } catch (const Exception& caught) {
        const boost::exception_ptr stored = boost::current_exception();
        try {
            boost::rethrow_exception(stored);
        } catch (const AnyCastException& copy) {
            EXPECT_NE(static_cast<const Exception*>(&copy), &caught);
            EXPECT_EQ(copy.items().size(), caught.items().size());
            EXPECT_EQ(itemsText(copy), itemsText(caught));
            EXPECT_NE(copy.getInfo("ToType"), caught.getInfo("ToType")); // cloned, not shared
            EXPECT_EQ(*copy.getValue<std::string>("ExceptionClass"),
                      "Tessel::Dictionary::AnyCastException");
            return;
        }
    }
    FAIL() << "the stored exception was not rethrown as its class";
}

// A throw inside the library records its source relative to the repository root.
TEST(AnyExceptions, LibraryThrowFileIsRelative) {
    NeverRegistered variable;
    Any value;
    try {
        value = BindValue(variable);
    } catch (const AnyUnknownTypeException& caught) {
        const std::string* file = caught.getValue<std::string>("ThrowFile");
        ASSERT_NE(file, nullptr);
        ASSERT_FALSE(file->empty());
        EXPECT_NE(file->front(), '/');
        EXPECT_EQ(*file, "core/dictionary/src/tsany.cpp");
        EXPECT_EQ(*caught.getValue<std::string>("ExceptionClass"),
                  "Tessel::Dictionary::AnyUnknownTypeException");
        return;
    }
    FAIL() << "binding an unregistered type did not throw";
}
