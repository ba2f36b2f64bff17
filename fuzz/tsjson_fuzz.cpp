// JSON: arbitrary bytes as a document, and as a key and a string value written out.
// Invariants: fromJson throws JsonException with "Line", "Column" (from 1), "KeyPath" and a
// "Reason", or returns a value that writes as typed JSON (compact and indented), reads back
// with the same content (canonical signature) and writes back to the very same text; the plain
// form writes it or refuses it with JsonException; toJson writes any key and string or refuses
// one that is not UTF-8.

#include "tsfuzzsupport.h"

#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>

using namespace TsFuzz;

namespace {
void roundTrip(const Any& value, unsigned indent) {
    JsonOptions options;
    options.indent = indent;
    const std::string written = toJson(value, options);
    const Any back = fromJson(written);
    TSFUZZ_CHECK(canonicalSignature(back) == canonicalSignature(value) && toJson(back, options) == written);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Any host;
    host.set(Dictionary());
    host.dict()[Dictionary::Key(text)].set(text);
    try {
        roundTrip(host, 2);
    } catch (const JsonException& e) {
        const std::string* reason = e.getValue<std::string>("Reason");
        TSFUZZ_CHECK(reason != nullptr && reason->find("UTF-8") != std::string::npos);
    }
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
    roundTrip(value, 0);
    roundTrip(value, 3);
    try {
        JsonOptions plain;
        plain.form = JsonForm::Plain;
        toJson(value, plain);
    } catch (const JsonException&) {
        // NaN and the infinities, read from typed tags, have no plain form.
    }
    return 0;
}
