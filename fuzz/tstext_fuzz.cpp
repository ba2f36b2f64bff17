// Text into values, as each built-in type: Any::parse (into an empty value, an owned string, a
// bound variable or a value of the type), Any::read of several values from one stream under any
// format, and Any::parseExact. Input: a mode byte (0 parse, 1 read, 2 exact), then per mode below.
// Invariants: parse leaves a value of the type (a container keeps its empty container and throws
// NotImplemented), never writes the variable it was bound to, copies equal and sign the same, and
// its exactText reads back to the same content; read of an empty value or a container reads nothing, of
// any other value text that is a fixed point after one more trip; parseExact accepts a text as a
// value whose exactText reads back to itself (a string: the whole text), or throws
// AnyParseException and changes nothing.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tscanonicalsignature.h>

#include <vector>

using namespace TsFuzz;
using F = std::ios_base;

namespace {
std::string reread(const std::string& text, const AnyType& type, const std::ios& format) {
    Any any = defaultOf(type);
    std::istringstream in(text);
    std::ostringstream out;
    in.copyfmt(format);
    out.copyfmt(format);
    any.read(in);
    any.write(out);
    return out.str();
}

// Label index, the start, a text for the start, then the text parsed.
void parse(Input& in) {
    const AnyType& type = builtIn(in.byte());
    const int start = in.byte() % 4;
    long variable = 7;
    Any any = start == 1 ? Any(in.text().c_str()) : start == 3 ? defaultOf(type) : Any();
    if (start == 2) {
        any = BindValue(variable);
    } else if (start == 3 && !isContainer(type)) {
        any.parse(in.text(), type); // the parse below reuses this storage
    }
    try {
        any.parse(in.rest(), type);
    } catch (const Tessel::Base::NotImplemented&) {
        TSFUZZ_CHECK(isContainer(type) && signatureOf(any) == signatureOf(defaultOf(type)));
        return;
    }
    const Any copy(any);
    TSFUZZ_CHECK(variable == 7 && any.type() == &type && copy == any && signatureOf(copy) == signatureOf(any));
    Any exact;
    exact.parseExact(any.exactText(), type);
    TSFUZZ_CHECK(canonicalSignature(exact) == canonicalSignature(any));
}

// Format bits, width/fill bits, a count and the label indices (16: empty), then the stream text.
void read(Input& in) {
    const std::uint8_t bits = in.byte(), more = in.byte();
    std::ostringstream format; // fill characters that a number could read are left out
    const F::fmtflags bases[] = {F::dec, F::oct, F::hex, F::dec};
    const F::fmtflags adjusts[] = {F::right, F::left, F::internal, F::right};
    const F::fmtflags optional[] = {F::boolalpha, F::skipws, F::showpos, F::showbase, F::uppercase};
    format.flags(bases[bits & 3] | adjusts[bits >> 2 & 3]);
    for (int i = 0; i < 5; ++i) {
        format.setf((bits >> 4 | (more & 64) >> 2) >> i & 1 ? optional[i] : F::fmtflags());
    }
    format.width(more & 15);
    format.fill(" *#_"[more >> 4 & 3]);
    std::vector<unsigned> labels(1 + in.byte() % 4);
    std::generate(labels.begin(), labels.end(), [&in] { return in.byte() % 17U; });
    std::istringstream stream(in.rest());
    stream.flags(format.flags());
    for (const unsigned label : labels) {
        const auto position = stream.tellg();
        const auto state = stream.rdstate();
        Any value = label == 16 ? Any() : defaultOf(builtIn(label));
        if (value.isEmpty() || isContainer(*value.type())) {
            try {
                value.read(stream);
                TSFUZZ_CHECK(value.isEmpty());
            } catch (const Tessel::Base::NotImplemented&) {
                TSFUZZ_CHECK(!value.isEmpty());
            }
            TSFUZZ_CHECK(stream.tellg() == position && stream.rdstate() == state);
            continue;
        }
        value.read(stream);
        std::ostringstream written;
        written.copyfmt(format);
        value.write(written);
        const std::string again = reread(written.str(), *value.type(), format);
        TSFUZZ_CHECK(reread(again, *value.type(), format) == again);
    }
}

// Label index, a flag to start bound to an int, then the text.
void parseExact(Input& in) {
    const AnyType& type = builtIn(in.byte());
    int variable = 7;
    Any any;
    if (in.byte() % 2 == 1) {
        any = BindValue(variable);
    }
    const AnyType* typeBefore = any.type();
    const std::string before = signatureOf(any), text = in.rest();
    try {
        any.parseExact(text, type);
    } catch (const AnyParseException&) {
        TSFUZZ_CHECK(any.type() == typeBefore && signatureOf(any) == before && variable == 7);
        variable = 8;
        TSFUZZ_CHECK(typeBefore == nullptr || any.as<int>() == 8); // still bound
        return;
    }
    const std::string exact = any.exactText();
    TSFUZZ_CHECK(any.type() == &type && (type.label() != gTypeLabelString || exact == text));
    Any again;
    again.parseExact(exact, type);
    TSFUZZ_CHECK(again.exactText() == exact);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    const int mode = in.byte() % 3;
    mode == 0 ? parse(in) : mode == 1 ? read(in) : parseExact(in);
    return 0;
}
