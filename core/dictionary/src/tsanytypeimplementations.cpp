// Built-in value types and casts that are not header templates.

#include <dictionary/tsanytypeimplementations.h>

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <cstdint>
#include <string>

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
    const std::vector<Any>& elements = valueOf(any);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        // The low 32 bits of the position, little-endian whatever the host's byte order.
        const auto position = static_cast<std::uint32_t>(i);
        const unsigned char index[4] = {static_cast<unsigned char>(position),
                                        static_cast<unsigned char>(position >> 8),
                                        static_cast<unsigned char>(position >> 16),
                                        static_cast<unsigned char>(position >> 24)};
        engine.update(index, sizeof index);
        elements[i].signature(engine);
    }
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

} // namespace Tessel::Dictionary::Impl
