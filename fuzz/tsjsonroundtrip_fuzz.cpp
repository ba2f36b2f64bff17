// Fuzz target: random values of every built-in label, nested in dictionaries and vectors, through
// the typed JSON form. Input: an indentation byte, then per node a label byte (0xFF: empty value),
// scalar bits or length-prefixed texts, and for containers a count, keys and elements.
// Invariants: toJson writes the value or refuses a string or key that is not UTF-8; what it writes
// reads back exactly equal (labels, bits, NaN, -0.0, both fields of a time base, key order, empty
// values) and writes back to the same text.

#include "tsfuzzsupport.h"

#include "../tests/support/tsexactequal.h"

#include <dictionary/tsjson.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using namespace TsFuzz;
using namespace Tessel::Dictionary;

Any makeTree(FuzzInput& in, int depth) {
    const std::uint8_t code = in.byte();
    if (code == 0xFF || in.exhausted()) {
        return Any();
    }
    const int label = code % kLabelCount;
    Any value = makeOwned(label, in);
    if ((label == kDictionary || label == kVector) && depth < 6) {
        for (std::size_t count = in.below(6); count > 0; --count) {
            if (label == kVector) {
                value.vec().push_back(makeTree(in, depth + 1));
            } else {
                const Dictionary::Key key(in.text());
                const Any element = makeTree(in, depth + 1);
                if (!value.dict().hasEntry(key)) { // a typed entry would convert, not take the element
                    value.dict()[key] = element;
                }
            }
        }
    }
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    JsonOptions options;
    options.indent = in.below(3);
    const Any value = makeTree(in, 0);
    std::string text;
    try {
        text = toJson(value, options);
    } catch (const JsonException& e) {
        const std::string* reason = e.getValue<std::string>("Reason");
        TSFUZZ_CHECK(reason != nullptr && reason->find("UTF-8") != std::string::npos, e.userMessage());
        return 0;
    }
    const Any back = fromJson(text, options);
    TSFUZZ_CHECK(Tessel::Testing::exactlyEqual(back, value), "typed round trip of " + escaped(text));
    TSFUZZ_CHECK(toJson(back, options) == text, "second write differs: " + escaped(text));
    return 0;
}
