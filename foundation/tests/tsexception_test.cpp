#include <foundation/tsexception.h>

#include <boost/exception/exception.hpp>
#include <boost/exception_ptr.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <sstream>
#include <string>

namespace {

using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using Tessel::Base::ExceptionInfo;
using Tessel::Base::ExceptionInfoBase;
using Tessel::Base::NotImplemented;
using StringItem = ExceptionInfo<std::string>;
using IntItem = ExceptionInfo<int>;

Exception withMessage(const std::string& text) {
    Exception exception;
    exception << StringItem("UserMessage", text);
    return exception;
}

/// A host-made item type whose clone fails to produce an item.
class NoCloneItem : public ExceptionInfoBase {
public:
    NoCloneItem() : ExceptionInfoBase("K") {}
    ExceptionInfoBase* clone() const override { return nullptr; }
    std::ostream& writeValue(std::ostream& os) const override { return os; }
};

/// An exception class of a host, thrown through the library's throw procedure.
class HostException : public Exception {};

} // namespace

// --- items and decoration -------------------------------------------------------------------------

TEST(ExceptionItems, CloneKeepsKeyPointerAndValue) {
    static const char kKey[] = "Key";
    const StringItem item(kKey, "value");
    const std::unique_ptr<ExceptionInfoBase> copy(item.clone());
    EXPECT_EQ(copy->key(), kKey);
    const auto* typed = dynamic_cast<const StringItem*>(copy.get());
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(typed->value(), "value");
    EXPECT_EQ(typed->valueType(), typeid(std::string));
    EXPECT_EQ(IntItem("N", 1).valueType(), typeid(int));
}

TEST(ExceptionItems, WriteValueUsesStreamFormatting) {
    std::ostringstream os;
    IntItem("N", 42).writeValue(os << std::hex);
    StringItem("S", " text").writeValue(os);
    EXPECT_EQ(os.str(), "2a text");
}

TEST(DecorationItems, LookupByKeyAndType) {
    ExceptionDecoration decoration;
    decoration << StringItem("Name", "value") << IntItem("Count", -7);
    EXPECT_EQ(decoration.items().size(), 2U);
    EXPECT_EQ(decoration.getInfo("Missing"), nullptr);
    ASSERT_NE(decoration.getValue<std::string>("Name"), nullptr);
    EXPECT_EQ(*decoration.getValue<std::string>("Name"), "value");
    ASSERT_NE(decoration.getValue<int>("Count"), nullptr);
    EXPECT_EQ(*decoration.getValue<int>("Count"), -7);
    // Another type than the stored one counts as absent.
    EXPECT_EQ(decoration.getValue<int>("Name"), nullptr);
    EXPECT_EQ(decoration.getValue<std::string>("Count"), nullptr);
    EXPECT_NE(decoration.getInfo("Count"), nullptr);
}

TEST(DecorationItems, LastAdditionOfAKeyWins) {
    ExceptionDecoration decoration;
    decoration << StringItem("Key", "first") << IntItem("Key", 2) << StringItem("Key", "third");
    EXPECT_EQ(decoration.items().size(), 1U);
    EXPECT_EQ(*decoration.getValue<std::string>("Key"), "third");

    // Re-adding the stored item itself must clone it before the old one goes.
    decoration << *decoration.getInfo("Key");
    EXPECT_EQ(*decoration.getValue<std::string>("Key"), "third");
    EXPECT_EQ(decoration.items().size(), 1U);
}

TEST(DecorationItems, NullKeyAndNullCloneAreHarmless) {
    ExceptionDecoration decoration;
    decoration << StringItem(nullptr, "under the empty key");
    EXPECT_EQ(*decoration.getValue<std::string>(""), "under the empty key");

    decoration << StringItem("K", "kept") << NoCloneItem();
    EXPECT_EQ(*decoration.getValue<std::string>("K"), "kept");
    EXPECT_EQ(decoration.items().size(), 2U);
}

TEST(DecorationItems, CopiesAreIndependent) {
    auto original = std::make_unique<Exception>(withMessage("hello %%(Who)%%"));
    *original << StringItem("Who", "world");
    original->addPrevious(withMessage("earlier"));

    const Exception copy(*original);
    EXPECT_NE(copy.getInfo("Who"), original->getInfo("Who"));
    original.reset();
    EXPECT_EQ(copy.userMessage(), "hello world");
    ASSERT_EQ(copy.previous().size(), 1U);
    EXPECT_EQ(*copy.previous().front().getValue<std::string>("FilledUserMessage"), "earlier");
}

TEST(DecorationItems, AssignmentReplacesAndSurvivesSelfAssignment) {
    Exception target = withMessage("target");
    target << StringItem("OnlyInTarget", "x");
    Exception source = withMessage("source");
    source.addPrevious(withMessage("cause"));

    target = source;
    EXPECT_EQ(target.userMessage(), "source");
    EXPECT_EQ(target.getInfo("OnlyInTarget"), nullptr);
    EXPECT_EQ(target.previous().size(), 1U);

    const Exception& alias = target;
    target = alias;
    EXPECT_EQ(target.userMessage(), "source");
    EXPECT_EQ(target.previous().size(), 1U);
}

// --- user messages and templates ------------------------------------------------------------------

TEST(ExceptionMessages, DefaultMessages) {
    EXPECT_EQ(Exception().userMessage(), "");
    EXPECT_EQ(NotImplemented().userMessage(), "Unimplemented code path.");
    EXPECT_EQ(NotImplemented().items().size(), 1U);
    const NotImplemented original;
    EXPECT_EQ(NotImplemented(original).userMessage(), "Unimplemented code path.");
}

TEST(ExceptionMessages, TemplateFilling) {
    struct Case {
        const char* text;
        const char* expected;
    };
    const Case cases[] = {
        {"", ""},
        {"no placeholders", "no placeholders"},
        {"from '%%(From)%%' to '%%(To)%%'.", "from 'int' to 'double'."},
        {"%%(From)%%%%(To)%%", "intdouble"},
        {"to '%%(Missing)%%'", "to '(Missing unknown)'"},
        {"[%%()%%]", "[( unknown)]"},
        {"N=%%(N)%%", "N=42"},
        {"open %%(From", "open %%(From"},
        {"%%(From)%% then %%(To", "int then %%(To"},
        {"%%(", "%%("},
        {")%% before %%(From)%%", ")%% before int"},
        {"%%(%%(From)%%", "(%%(From unknown)"},
        {"%%()%%%", "( unknown)%"},
        {"%%(Nested)%%", "%%(From)%%"},
    };
    Exception exception;
    exception << StringItem("From", "int") << StringItem("To", "double") << IntItem("N", 42)
              << StringItem("Nested", "%%(From)%%");
    for (const Case& entry : cases) {
        exception << StringItem("UserMessage", entry.text);
        EXPECT_EQ(exception.userMessage(), entry.expected) << "template: " << entry.text;
    }
}

TEST(ExceptionMessages, EmptyKeyItemFillsEmptyPlaceholder) {
    Exception exception = withMessage("<%%()%%>");
    exception << StringItem("", "blank");
    EXPECT_EQ(exception.userMessage(), "<blank>");
}

TEST(ExceptionMessages, OtherUserTextsAndWrongTypes) {
    Exception exception;
    exception << StringItem("What", "disk") << StringItem("UserSummary", "%%(What)%% full")
              << StringItem("UserDetail", "the %%(What)%%") << StringItem("UserTitle", "Title")
              << IntItem("UserMessage", 5);
    EXPECT_EQ(exception.userMessage(), ""); // an int "UserMessage" is not a template
    EXPECT_EQ(exception.userSummary(), "disk full");
    EXPECT_EQ(exception.userDetail(), "the disk");
    EXPECT_EQ(exception.userTitle(), "Title");
    EXPECT_EQ(exception.getFilledString("What"), "disk");
    EXPECT_EQ(exception.getFilledString("Missing"), "");
}

// --- the throw procedure --------------------------------------------------------------------------

TEST(ExceptionThrowing, ThrowSiteItems) {
    int line = 0;
    try {
        line = __LINE__ + 1;
        TS_THROW(NotImplemented, "Tessel::Test::site", StringItem("Type", "int"));
    } catch (const NotImplemented& caught) {
        EXPECT_EQ(caught.userMessage(), "Unimplemented code path.");
        EXPECT_EQ(*caught.getValue<std::string>("Type"), "int");
        EXPECT_EQ(*caught.getValue<std::string>("ThrowFile"), __FILE__);
        ASSERT_NE(caught.getValue<int>("ThrowLine"), nullptr);
        EXPECT_EQ(*caught.getValue<int>("ThrowLine"), line);
        EXPECT_EQ(*caught.getValue<std::string>("ThrowFunction"), "Tessel::Test::site");
        EXPECT_EQ(*caught.getValue<std::string>("ExceptionClass"), "Tessel::Base::NotImplemented");
        EXPECT_EQ(caught.items().size(), 6U);
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(ExceptionThrowing, HeaderThrowSiteAndHostClass) {
    try {
        TS_THROW_IN("foundation/include/x.h", HostException, "f",
                    StringItem("FromType", "a"), StringItem("ToType", "b"));
    } catch (const Exception& caught) {
        EXPECT_EQ(*caught.getValue<std::string>("ThrowFile"), "foundation/include/x.h");
        EXPECT_EQ(*caught.getValue<std::string>("ExceptionClass"),
                  "(anonymous namespace)::HostException");
        EXPECT_EQ(*caught.getValue<std::string>("FromType"), "a");
        EXPECT_EQ(*caught.getValue<std::string>("ToType"), "b");
        EXPECT_EQ(caught.userMessage(), "");
        return;
    }
    FAIL() << "nothing was thrown";
}

// The throw-site items come last, so they win over a site item of the same key.
TEST(ExceptionThrowing, ThrowSiteItemsWinOverSiteItems) {
    try {
        TS_THROW(Exception, "f", StringItem("ThrowLine", "text"));
    } catch (const Exception& caught) {
        EXPECT_EQ(caught.getValue<std::string>("ThrowLine"), nullptr);
        EXPECT_NE(caught.getValue<int>("ThrowLine"), nullptr);
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(ExceptionThrowing, NullSiteTextsAreLeftOut) {
    Exception exception;
    Tessel::Base::Impl::addThrowSite(exception, nullptr, 3, nullptr, typeid(HostException));
    EXPECT_EQ(exception.getInfo("ThrowFile"), nullptr);
    EXPECT_EQ(exception.getInfo("ThrowFunction"), nullptr);
    EXPECT_EQ(*exception.getValue<int>("ThrowLine"), 3);
    EXPECT_EQ(*exception.getValue<std::string>("ExceptionClass"),
              "(anonymous namespace)::HostException");
}

TEST(ExceptionThrowing, CaughtByLibraryBasesOnly) {
    bool asStd = false;
    bool asBoost = false;
    bool asDecoration = false;
    try {
        try {
            try {
                TS_THROW(NotImplemented, "f");
            } catch (const std::exception&) {
                asStd = true;
            }
        } catch (const boost::exception&) {
            asBoost = true;
        }
    } catch (const ExceptionDecoration& caught) {
        asDecoration = caught.userMessage() == "Unimplemented code path.";
    }
    EXPECT_FALSE(asStd);
    EXPECT_FALSE(asBoost);
    EXPECT_TRUE(asDecoration);
}

TEST(ExceptionThrowing, CurrentExceptionIsAFaithfulCopy) {
    try {
        TS_THROW(NotImplemented, "f", IntItem("Count", 9));
    } catch (const NotImplemented& caught) {
        const boost::exception_ptr stored = boost::current_exception();
        ASSERT_TRUE(stored);
        try {
            boost::rethrow_exception(stored);
        } catch (const NotImplemented& copy) {
            EXPECT_NE(&copy, &caught);
            EXPECT_EQ(copy.report(), caught.report());
            EXPECT_EQ(*copy.getValue<int>("Count"), 9);
            EXPECT_EQ(copy.items().size(), 6U);
            return;
        }
    }
    FAIL() << "the stored exception was not rethrown as its class";
}
