// Fuzz target: Any::parseExact of any text as each built-in type, and Any::exactText of any value.
// Input: a label index and a flag; when set, a value's bits follow (round trip), otherwise a flag
// for the start (empty, or bound to an int holding 7) and the text. Invariants: every scalar,
// string and time base reads back from its exactText bit for bit (a NaN as a NaN); an accepted
// text leaves a value of the type whose exactText reads back to itself (a string: the whole
// text); a refused text throws AnyParseException and changes nothing, binding included.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

using namespace TsFuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    const int label = static_cast<int>(in.below(kLabelCount));
    const AnyType& type = typeOf(label);
    if (in.flag() && label != kDictionary && label != kVector) {
        const Any value = makeOwned(label, in);
        Any back;
        back.parseExact(value.exactText(), type);
        withHostType(label, [&](auto tag) {
            using T = typename decltype(tag)::type;
            bool same = sameBits(back.ref<T>(), value.ref<T>());
            if constexpr (std::is_floating_point_v<T>) {
                same = same || (std::isnan(value.ref<T>()) && std::isnan(back.ref<T>()));
            }
            TSFUZZ_CHECK(same, escaped(value.exactText()) + " reads back as " + show(back.ref<T>()));
        });
        return 0;
    }

    int variable = 7;
    Any any;
    if (in.flag()) {
        any = Tessel::Dictionary::BindValue(variable);
    }
    const AnyType* typeBefore = any.type();
    const Digest before = signatureOf(any);
    const std::string text = in.rest();
    try {
        any.parseExact(text, type);
    } catch (const Tessel::Dictionary::AnyParseException&) {
        TSFUZZ_CHECK(any.type() == typeBefore && signatureOf(any) == before && variable == 7);
        variable = 8;
        TSFUZZ_CHECK(typeBefore == nullptr || any.as<int>() == 8, "a refused text must leave the value bound");
        return 0;
    }
    TSFUZZ_CHECK(any.type() == &type, "an accepted text must leave a value of the type");
    const std::string exact = any.exactText();
    TSFUZZ_CHECK(label != kString || exact == text, "a string takes the whole text");
    Any again;
    again.parseExact(exact, type);
    TSFUZZ_CHECK(again.exactText() == exact, escaped(text) + " gives " + escaped(exact) + ", which rereads as " +
                                                 escaped(again.exactText()));
    return 0;
}
