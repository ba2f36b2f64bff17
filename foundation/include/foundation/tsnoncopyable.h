#ifndef TESSEL_FOUNDATION_TSNONCOPYABLE_H
#define TESSEL_FOUNDATION_TSNONCOPYABLE_H

namespace Tessel::Base {

/// Base class for objects that must never be copied (descriptors, registries).
/// Derive privately; copy construction and copy assignment are deleted.
class NonCopyable {
protected:
    NonCopyable() = default;
    ~NonCopyable() = default;

public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;
};

} // namespace Tessel::Base

#endif
