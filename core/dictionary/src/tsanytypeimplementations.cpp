// Built-in value types and casts that are not header templates.

#include <dictionary/tsanytypeimplementations.h>

#include "tsnestedvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <cstdint>
#include <string>
#include <typeinfo>
#include <vector>

namespace Tessel::Dictionary::Impl {

// --- dictionary and vector ------------------------------------------------------------------------

DictionaryType::DictionaryType(const TypeAtom& label) : CopyTemplateAnyType<Dictionary>(label) {}

DictionaryType::~DictionaryType() = default;

void DictionaryType::write(std::ostream& os, const Any& any) const {
    valueOf(any).write(os);
}

void DictionaryType::read(std::istream& /*is*/, Any& /*any*/) const {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Impl::DictionaryType::read");
}

void DictionaryType::signature(Base::SkeinHash::Engine& engine, const Any& any) const {
    valueOf(any).signature(engine);
}

VectorType::VectorType(const TypeAtom& label) : CopyTemplateAnyType<std::vector<Any>>(label) {}

VectorType::~VectorType() = default;

void VectorType::write(std::ostream& /*os*/, const Any& /*any*/) const {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Impl::VectorType::write");
}

void VectorType::read(std::istream& /*is*/, Any& /*any*/) const {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Impl::VectorType::read");
}

void VectorType::signature(Base::SkeinHash::Engine& engine, const Any& any) const {
    NestedValues::sign(engine, ContainerKind::Vector, &valueOf(any));
}

void VectorType::copyValue(const void* from, void* to) const {
    if (from != to) {
        NestedValues::assign(*static_cast<std::vector<Any>*>(to), *static_cast<const std::vector<Any>*>(from));
    }
}

bool VectorType::equal(const Any& a, const Any& b) const {
    return NestedValues::equal(ContainerKind::Vector, &valueOf(a), &valueOf(b));
}

// --- C-string cast ----------------------------------------------------------------------------------

GenericAnyCast<char*, std::string>::GenericAnyCast() : AnyCast(typeid(char*), typeid(std::string)) {}

GenericAnyCast<char*, std::string>::~GenericAnyCast() = default;

void GenericAnyCast<char*, std::string>::convert(const void* from, void* to) const {
    const char* text = *static_cast<const char* const*>(from);
    auto& target = *static_cast<std::string*>(to);
    if (text == nullptr) {
        target.clear();
    } else {
        target.assign(text, std::char_traits<char>::length(text));
    }
}

// --- TimeBase ---------------------------------------------------------------------------------------

namespace {

/// One unsigned int field of the text form; 0 when the extraction fails, also for text beyond the
/// unsigned int range (which the stream would otherwise store as its maximum).
unsigned int extractTimeBaseField(std::istream& is) {
    unsigned int value = 0;
    if (!(is >> value)) {
        return 0;
    }
    return value;
}

/// Appends `value` as 8 bytes little-endian, whatever the host's byte order.
unsigned char* appendLittleEndian64(unsigned char* out, unsigned long long value) noexcept {
    for (int shift = 0; shift < 64; shift += 8) {
        *out++ = static_cast<unsigned char>(value >> shift);
    }
    return out;
}

} // namespace

TimeBaseType::TimeBaseType(const TypeAtom& label) : CopyTemplateAnyType<Base::TimeBase>(label) {}

TimeBaseType::~TimeBaseType() = default;

void TimeBaseType::write(std::ostream& os, const Any& any) const {
    const Base::TimeBase& value = valueOf(any);
    os << static_cast<long long>(value.numerator) << "/" << static_cast<long long>(value.denominator);
}

void TimeBaseType::read(std::istream& is, Any& any) const {
    const unsigned int num = extractTimeBaseField(is);
    char separator = 0;
    is >> std::skipws >> separator; // any character separates; it is not checked
    is >> std::skipws;
    const unsigned int den = extractTimeBaseField(is);
    valueOf(any).set(static_cast<unsigned long long>(num), static_cast<unsigned long long>(den));
}

void TimeBaseType::signature(Base::SkeinHash::Engine& engine, const Any& any) const {
    const Base::TimeBase& value = valueOf(any);
    unsigned char bytes[16];
    appendLittleEndian64(appendLittleEndian64(bytes, value.numerator), value.denominator);
    engine.update(bytes, sizeof bytes);
}

// --- end of TimeBase --------------------------------------------------------------------------------

} // namespace Tessel::Dictionary::Impl
