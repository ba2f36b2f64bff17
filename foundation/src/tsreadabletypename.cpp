#include <foundation/tsreadabletypename.h>

#include <boost/algorithm/string/replace.hpp>

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Tessel::Base {

namespace {

struct FreeDemanglerBuffer {
    void operator()(char* buffer) const noexcept { std::free(buffer); }
};

/// True when `text` is encoded as a symbol (function, variable, special name) rather than as a
/// type. The demangler accepts both, but only type names are meant here.
bool looksLikeSymbol(const std::string& text) {
    return text.compare(0, 2, "_Z") == 0 || text.compare(0, 8, "_GLOBAL_") == 0;
}

/// The demangled form of `rawName` if it is a valid mangled type name, otherwise `rawName`.
std::string demangledOrGiven(const std::string& rawName) {
    // A mangled name never contains a NUL; the demangler would only see the text before it.
    if (rawName.empty() || looksLikeSymbol(rawName) || rawName.find('\0') != std::string::npos) {
        return rawName;
    }
    int status = 0;
    const std::unique_ptr<char, FreeDemanglerBuffer> demangled(
        abi::__cxa_demangle(rawName.c_str(), nullptr, nullptr, &status));
    if (status != 0 || !demangled) {
        return rawName;
    }
    return std::string(demangled.get());
}

} // namespace

std::string readableTypeName(const std::string& rawName) {
    std::string name = demangledOrGiven(rawName);
    boost::algorithm::replace_all(name, ",", ", ");
    // Only one leading class key goes; "struct " and inner class keys are part of the name.
    if (name.compare(0, 6, "class ") == 0) {
        name.erase(0, 6);
    }
    boost::algorithm::replace_all(name, "*", " *");
    return name;
}

std::string readableTypeName(const char* rawName) {
    return rawName == nullptr ? std::string() : readableTypeName(std::string(rawName));
}

std::string readableTypeName(const std::type_info& type) {
    return readableTypeName(type.name());
}

} // namespace Tessel::Base
