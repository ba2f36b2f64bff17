// Regression: filling a user text collected it in a string stream, which catches an allocation
// failure of its buffer and only sets badbit. userMessage() then returned a cut-off text as if it
// were whole, and addPrevious() recorded it as the "FilledUserMessage" of the chained exception.

#include <foundation/tsexception.h>

#include <gtest/gtest.h>

#include <new>
#include <ostream>
#include <streambuf>
#include <string>

namespace {

using Tessel::Base::Exception;
using Tessel::Base::ExceptionInfo;
using Tessel::Base::ExceptionInfoBase;

// A stream buffer that runs out of memory as soon as anything is written to it, as a string
// buffer does when its growth fails.
class ExhaustedBuffer : public std::streambuf {
protected:
    int_type overflow(int_type) override { throw std::bad_alloc(); }
    std::streamsize xsputn(const char*, std::streamsize) override { throw std::bad_alloc(); }
};

// An item whose value is written into a stream whose buffer can no longer grow.
class ExhaustingItem : public ExceptionInfoBase {
public:
    explicit ExhaustingItem(const char* key) : ExceptionInfoBase(key) {}
    ExceptionInfoBase* clone() const override { return new ExhaustingItem(*this); }
    std::ostream& writeValue(std::ostream& os) const override {
        static ExhaustedBuffer exhausted;
        os.rdbuf(&exhausted);
        return os << "the value";
    }
};

Exception exhaustingMessage() {
    Exception exception;
    exception << ExceptionInfo<std::string>("UserMessage", "Start of the message, then %%(Value)%%.")
              << ExhaustingItem("Value");
    return exception;
}

TEST(ExceptionAllocationRegression, FillingAUserTextPropagatesAnAllocationFailure) {
    const Exception exception = exhaustingMessage();
    EXPECT_THROW(static_cast<void>(exception.userMessage()), std::bad_alloc);
}

TEST(ExceptionAllocationRegression, AddPreviousFailsWholeInsteadOfRecordingACutOffMessage) {
    Exception later;
    later << ExceptionInfo<std::string>("UserMessage", "later");
    EXPECT_THROW(later.addPrevious(exhaustingMessage()), std::bad_alloc);
    EXPECT_TRUE(later.previous().empty());
}

} // namespace
