// Conversions between the numeric types, the time base and strings, into owned and bound
// targets. Invariants: every numeric pair converts; an assignment keeps the target's type and
// either converts (through to a bound variable) or throws AnyCastException and changes nothing;
// NaN gives an integer 0; a numeric value taken back and converted again is unchanged (rounding,
// wrapping and saturation settle after one trip). (Text read back: tstext_fuzz.)
// Input: how the source value is made (integer, double or float bits, or a text) and its bits,
// the source's label, the target's label, whether the target is bound.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>


using namespace TsFuzz;

namespace {
struct Storage : AnyType { // the address of a held value, to bind a variable to
    using AnyType::getValuePointer;
};
const AnyType& pick(std::uint8_t byte) { // numbers mostly, sometimes the string or time-base type
    return builtIn(byte % 16 < 12 ? byte % 16 : byte % 2 == 0 ? 12 : 15);
}
bool isNumber(const AnyType* type) {
    return type != &builtIn(12) && type != &builtIn(15);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    const std::uint8_t kind = in.byte() % 4;
    Any raw = kind == 3 ? Any(in.text().c_str()) : Any();
    if (kind == 0) {
        raw.set(in.bits<unsigned long long>());
    } else if (kind == 1) {
        raw.set(in.bits<double>());
    } else if (kind == 2) {
        raw.set(in.bits<float>());
    }
    Any source = defaultOf(pick(in.byte()));
    try {
        source = raw;
    } catch (const AnyCastException&) {
        TSFUZZ_CHECK(!isNumber(source.type()) || !isNumber(raw.type()));
    }
    const AnyType& type = pick(in.byte());
    Any variable = defaultOf(type);
    const bool bound = in.byte() % 2 == 1;
    Any target = bound ? Any(BindValue(Storage::getValuePointer(variable), type.typeInfo())) : variable;
    const std::string before = signatureOf(target);
    try {
        target = source;
        TSFUZZ_CHECK(!bound || signatureOf(variable) == signatureOf(target));
        const bool nanIntoInteger = source != source && type.label() != gTypeLabelBool && isNumber(&type) &&
                                    &type != &builtIn(10) && &type != &builtIn(11); // NaN != NaN
        TSFUZZ_CHECK(!nanIntoInteger || signatureOf(target) == signatureOf(defaultOf(type)));
    } catch (const AnyCastException&) {
        TSFUZZ_CHECK((!isNumber(&type) || !isNumber(source.type())) && signatureOf(target) == before);
    }
    TSFUZZ_CHECK(target.type() == &type);
    if (isNumber(&type) && isNumber(source.type())) {
        Any back = defaultOf(*source.type()), again = defaultOf(type);
        back = target;
        again = back;
        TSFUZZ_CHECK(signatureOf(again) == signatureOf(target));
    }
    return 0;
}
