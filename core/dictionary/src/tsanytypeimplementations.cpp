// Built-in value types and casts that are not header templates.

#include <dictionary/tsanytypeimplementations.h>

#include <string>

namespace Tessel::Dictionary::Impl {

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
