#ifndef TESSEL_FOUNDATION_TSREADABLETYPENAME_H
#define TESSEL_FOUNDATION_TSREADABLETYPENAME_H

/// @file
/// readableTypeName: the names of host types as error messages and reports show them,
/// demangled from the compiler's type_info names.
///
///     Tessel::Base::readableTypeName("i");                   // "int"
///     Tessel::Base::readableTypeName<std::vector<int>>();    // "std::vector<int,  std::allocator<int> >"
///     Tessel::Base::readableTypeName(typeid(double));        // "double"
///     Tessel::Base::readableTypeNameOf(error);    // of a caught Tessel::Base::Exception& error:
///                                                 // "Tessel::Dictionary::AnyCastException"

#include <foundation/tsexport.h>

#include <string>
#include <typeinfo>

namespace Tessel::Base {

/// The name of a host type as error messages show it.
///
/// The input is demangled first when it is a valid mangled type name (otherwise taken as given);
/// then every "," becomes ", ", one leading "class " is dropped and every "*" becomes " *".
/// So readableTypeName("i") is "int" and readableTypeName(typeid(X).name()) equals
/// readableTypeName(typeid(X)). Symbol names ("_Z...") are not type names and stay as given.
/// A null pointer gives "".
TS_API std::string readableTypeName(const char* rawName);
/// As above for a name held in a string; a text containing a NUL character is never demangled.
TS_API std::string readableTypeName(const std::string& rawName);
/// The readable name of `type`.
TS_API std::string readableTypeName(const std::type_info& type);

/// The readable name of the static type `T`.
template <class T>
std::string readableTypeName() {
    return readableTypeName(typeid(T));
}

/// The readable name of the dynamic (most derived) type of `object`.
template <class T>
std::string readableTypeNameOf(const T& object) {
    return readableTypeName(typeid(object));
}

} // namespace Tessel::Base

#endif
