#ifndef TESSEL_RELIABILITY_FRESHTYPES_H
#define TESSEL_RELIABILITY_FRESHTYPES_H

// Host types that no value type is registered for, each used once, so that every run of an
// operation meets a type name that is not interned yet.

#include <dictionary/tsany.h>

#include <typeinfo>

namespace Tessel::Reliability {

/// One unregistered host type.
struct FreshType {
    /// Its type information (for a BindValue).
    const std::type_info* info;
    /// Calls Any::set<T> with a value of the type.
    void (*setInto)(Dictionary::Any& any);
};

/// A host type not handed out before. Throws std::logic_error when the pool is used up.
FreshType nextFreshType();

} // namespace Tessel::Reliability

#endif
