#ifndef TESSEL_FUZZ_TSFUZZSUPPORT_H
#define TESSEL_FUZZ_TSFUZZSUPPORT_H

// What the fuzz targets share: the input read front to back (zeros and empty text past its end,
// so every input is a whole run), a check that aborts so that libFuzzer keeps the input, and the
// built-in types by label index.

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#define TSFUZZ_CHECK(condition) ((condition) ? void() : TsFuzz::broken(__FILE__, __LINE__, #condition))

namespace TsFuzz {

using namespace Tessel::Dictionary;

[[noreturn]] inline void broken(const char* file, int line, const char* condition) {
    std::fprintf(stderr, "INVARIANT BROKEN at %s:%d: %s\n", file, line, condition);
    std::abort();
}

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : mData(data), mLeft(size) {}
    std::uint8_t byte() { return mLeft > 0 ? (--mLeft, *mData++) : 0; }
    /// The bit pattern of an integer or floating-point T.
    template <class T>
    T bits() {
        unsigned char raw[sizeof(T)];
        std::generate(raw, raw + sizeof(T), [this] { return byte(); });
        T value;
        std::memcpy(&value, raw, sizeof(T));
        return value;
    }
    /// A length byte, then up to that many bytes.
    std::string text() { return take(byte()); }
    std::string rest() { return take(mLeft); }

private:
    std::string take(std::size_t length) {
        const std::string taken(reinterpret_cast<const char*>(mData), std::min(length, mLeft));
        mData += taken.size();
        mLeft -= taken.size();
        return taken;
    }
    const std::uint8_t* mData;
    std::size_t mLeft;
};

/// The built-in type of a label index, taken modulo 16.
inline const AnyType& builtIn(unsigned index) {
    static const TypeAtom* const labels[] = {&gTypeLabelBool, &gTypeLabelChar, &gTypeLabelInt8,
        &gTypeLabelUnsignedInt8, &gTypeLabelInt16, &gTypeLabelUnsignedInt16, &gTypeLabelInt32,
        &gTypeLabelUnsignedInt32, &gTypeLabelInt64, &gTypeLabelUnsignedInt64, &gTypeLabelFloat,
        &gTypeLabelDouble, &gTypeLabelString, &gTypeLabelDictionary, &gTypeLabelVector, &gTypeLabelTimeBase};
    return *AnyTypeRegistry::typeByLabel(*labels[index % 16]);
}
inline bool isContainer(const AnyType& type) {
    return type.label() == gTypeLabelDictionary || type.label() == gTypeLabelVector;
}
/// An Any owning the value-initialised value of `type` (a container type has no text form: parse
/// throws but leaves its empty container).
inline Any defaultOf(const AnyType& type) {
    Any any;
    try {
        any.parse("", type);
    } catch (const Tessel::Base::NotImplemented&) {
        TSFUZZ_CHECK(isContainer(type));
    }
    return any;
}
inline std::string signatureOf(const Any& any) {
    Tessel::Base::SkeinHash::Engine engine;
    std::ostringstream text;
    text << any.signature(engine).digest();
    return text.str();
}

} // namespace TsFuzz

#endif
