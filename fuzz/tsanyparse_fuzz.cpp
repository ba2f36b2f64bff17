// Any::parse of any text as each built-in type, into an empty value, an owned string, a bound
// variable or a value of the type. Invariants: the bound variable is never written; the value
// owns the type asked for (a container keeps its empty container and throws NotImplemented); a
// copy equals it and signs the same; its text, parsed and written again, is then a fixed point.
// Input: the label index, the start, a text for the start, then the text parsed.

#include "tsfuzzsupport.h"

using namespace TsFuzz;

namespace {
std::string reparsed(const std::string& text, const AnyType& type) {
    Any any;
    any.parse(text, type);
    return textOf(any);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    const AnyType& type = builtIn(in.byte());
    const int start = in.byte() % 4;
    long variable = 7;
    Any any = start == 1 ? Any(in.text().c_str()) : start == 3 ? defaultOf(type) : Any();
    if (start == 2) {
        any = BindValue(variable);
    } else if (start == 3 && !isContainer(type)) {
        any.parse(in.text(), type); // parse below reuses this storage
    }
    try {
        any.parse(in.rest(), type);
    } catch (const Tessel::Base::NotImplemented&) {
        TSFUZZ_CHECK(isContainer(type) && signatureOf(any) == signatureOf(defaultOf(type)));
    }
    const Any copy(any);
    TSFUZZ_CHECK(variable == 7 && any.type() == &type && copy == any && signatureOf(copy) == signatureOf(any));
    if (!isContainer(type)) {
        const std::string once = reparsed(textOf(any), type);
        TSFUZZ_CHECK(reparsed(once, type) == once);
    }
    return 0;
}
