// Any::read and Any::write of each built-in type under any stream format, several values read
// from one stream in turn. Invariants: an empty value reads and writes nothing; a container type
// throws NotImplemented and leaves the stream as it was; the text a value writes, read back and
// written again under the same format, is then a fixed point.
// Input: format bits, width/fill bits, a count and the label indices (16: empty), then the text.

#include "tsfuzzsupport.h"

#include <vector>

using namespace TsFuzz;
using F = std::ios_base;

namespace {
std::string rewritten(const std::string& text, const AnyType& type, const std::ios& format) {
    Any any = defaultOf(type);
    std::istringstream in(text);
    std::ostringstream out;
    in.copyfmt(format);
    out.copyfmt(format);
    any.read(in);
    any.write(out);
    return out.str();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
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
                TSFUZZ_CHECK(value.isEmpty() && textOf(value).empty());
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
        const std::string again = rewritten(written.str(), *value.type(), format);
        TSFUZZ_CHECK(rewritten(again, *value.type(), format) == again);
    }
    return 0;
}
