#ifndef TESSEL_FOUNDATION_TSNONCOPYABLE_H
#define TESSEL_FOUNDATION_TSNONCOPYABLE_H

/// @file
/// NonCopyable, a base class that makes its derived classes impossible to copy.
///
///     class Registry : private Tessel::Base::NonCopyable {
///         // ...
///     };
///     Registry first;
///     Registry second(first); // does not compile: the copy constructor is deleted

namespace Tessel::Base {

/// Base class for objects that must never be copied (descriptors, registries).
/// Derive privately; copy construction and copy assignment are deleted.
class NonCopyable {
protected:
    /// For derived classes only.
    NonCopyable() = default;
    /// Not virtual: a NonCopyable is never deleted through a pointer to this base.
    ~NonCopyable() = default;

public:
    /// Deleted: no copies.
    NonCopyable(const NonCopyable&) = delete;
    /// Deleted: no copy assignment.
    NonCopyable& operator=(const NonCopyable&) = delete;
};

} // namespace Tessel::Base

#endif
