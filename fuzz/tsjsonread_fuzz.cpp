// Fuzz target: arbitrary bytes as a JSON document. Invariants: fromJson throws JsonException with
// "Line", "Column" (from 1), "KeyPath" and a "Reason", or returns a value that writes as typed JSON
// (compact and indented), reads back exactly equal and writes back to the very same text; the
// plain form writes it or refuses it with JsonException.

#include "tsfuzzsupport.h"

#include "../tests/support/tsexactequal.h"

#include <dictionary/tsjson.h>

#include <cstddef>
#include <cstdint>
#include <string>

using namespace Tessel::Dictionary;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Any value;
    try {
        value = fromJson(text);
    } catch (const JsonException& e) {
        const int* line = e.getValue<int>("Line");
        const int* column = e.getValue<int>("Column");
        const std::string* reason = e.getValue<std::string>("Reason");
        TSFUZZ_CHECK(line != nullptr && column != nullptr && *line >= 1 && *column >= 1);
        TSFUZZ_CHECK(reason != nullptr && !reason->empty() && e.getValue<std::string>("KeyPath") != nullptr);
        return 0;
    }
    for (const unsigned indent : {0U, 3U}) {
        JsonOptions options;
        options.indent = indent;
        const std::string written = toJson(value, options);
        const Any back = fromJson(written);
        TSFUZZ_CHECK(Tessel::Testing::exactlyEqual(back, value), "typed round trip of " + TsFuzz::escaped(written));
        TSFUZZ_CHECK(toJson(back, options) == written, "second write differs: " + TsFuzz::escaped(written));
    }
    try {
        JsonOptions plain;
        plain.form = JsonForm::Plain;
        toJson(value, plain);
    } catch (const JsonException&) {
        // NaN and the infinities, read from typed tags, have no plain form.
    }
    return 0;
}
