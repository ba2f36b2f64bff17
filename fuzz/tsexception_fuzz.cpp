// Exceptions with any keys, values and user-message templates, their copies and chains, the throw
// procedure with a rethrow through boost::current_exception, and readable type names. Invariants:
// the last item under a key wins; a template without "%%(" is its own message; copies, rethrown
// exceptions and report(os) give the same report; addPrevious puts the filled message in front
// of the earlier chain, also when an exception is chained to itself.
// Input: items (a kind byte, a key text, a value text or int bits) up to a zero kind, then a
// throw line and the text of a type name.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>

#include <boost/exception_ptr.hpp>

#include <deque>

using namespace TsFuzz;
using Tessel::Base::Exception;
using Tessel::Base::ExceptionInfo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    std::deque<std::string> keys; // items keep a pointer to their key: the texts outlive them
    Exception exception;
    for (std::uint8_t kind = in.byte(); kind != 0; kind = in.byte()) {
        keys.push_back(kind & 1 ? std::string("UserMessage") : in.text());
        const std::string key = keys.back().c_str(); // a key ends at its first NUL
        if (kind & 2) {
            const int number = in.bits<int>();
            exception << ExceptionInfo<int>(keys.back().c_str(), number);
            TSFUZZ_CHECK(*exception.getValue<int>(key) == number && !exception.getValue<std::string>(key));
        } else {
            const std::string text = in.text();
            exception << ExceptionInfo<std::string>(keys.back().c_str(), text);
            TSFUZZ_CHECK(*exception.getValue<std::string>(key) == text && !exception.getValue<int>(key));
        }
    }
    const std::string message = exception.userMessage();
    const std::string* pattern = exception.getValue<std::string>("UserMessage");
    TSFUZZ_CHECK(pattern ? pattern->find("%%(") != std::string::npos || message == *pattern : message.empty());
    Exception copy(exception);
    std::ostringstream report;
    exception.report(report);
    TSFUZZ_CHECK(report.str() == exception.report() && copy.report() == report.str());

    copy.addPrevious(exception);
    copy.addPrevious(copy);
    const std::string* recorded = copy.previous().back().getValue<std::string>("FilledUserMessage");
    TSFUZZ_CHECK(copy.previous().size() == 2 && *recorded == message);
    try {
        Tessel::Base::throwException<AnyCastException>(message.c_str(), in.bits<int>(), message.c_str(),
                                                        ExceptionInfo<std::string>("FromType", message));
    } catch (const AnyCastException& thrown) {
        const boost::exception_ptr captured = boost::current_exception();
        try {
            boost::rethrow_exception(captured);
        } catch (const AnyCastException& again) {
            TSFUZZ_CHECK(again.report() == thrown.report() && *thrown.getValue<std::string>("FromType") == message);
        }
    }
    (void)Tessel::Base::readableTypeName(in.rest());
    return 0;
}
