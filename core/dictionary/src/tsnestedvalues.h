#ifndef TESSEL_DICTIONARY_SRC_TSNESTEDVALUES_H
#define TESSEL_DICTIONARY_SRC_TSNESTEDVALUES_H

// Whole-value operations on dictionaries and vectors that nest: copy, element-wise vector
// assignment, comparison, signature and teardown. A host can nest containers as deep as memory
// allows, so none of these recurses once per level: each keeps its own work list on the heap, or,
// for teardown (which must not fail), threads it through the values being freed. Internal to the
// library.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>

#include <atomic>
#include <vector>

namespace Tessel::Base::SkeinHash {
class Engine;
} // namespace Tessel::Base::SkeinHash

namespace Tessel::Dictionary::Impl {

/// Which of the registered container types a value type is.
enum class ContainerKind : unsigned char { None, Dictionary, Vector };

/// The registered "dictionary" and "vector" types, noted once when the registry is created; null
/// before. Only values of these two types are walked; any other type's slots are called as they are.
extern std::atomic<const AnyType*> gRegisteredDictionaryType __attribute__((visibility("hidden")));
extern std::atomic<const AnyType*> gRegisteredVectorType __attribute__((visibility("hidden")));

/// The container kind of `type` (None for null and every other type).
inline ContainerKind containerKind(const AnyType* type) noexcept {
    if (type == nullptr) {
        return ContainerKind::None;
    }
    if (type == gRegisteredDictionaryType.load(std::memory_order_relaxed)) {
        return ContainerKind::Dictionary;
    }
    if (type == gRegisteredVectorType.load(std::memory_order_relaxed)) {
        return ContainerKind::Vector;
    }
    return ContainerKind::None;
}

/// A container still to be visited: its kind and address.
struct Container {
    ContainerKind kind;
    const void* address;
};

/// Calls visit(value) for each entry value of a dictionary or element of a vector, in order, until
/// visit returns false. False when it was stopped.
template <class Visit>
bool forEachValue(const Container& container, Visit&& visit) {
    if (container.kind == ContainerKind::Dictionary) {
        for (const auto& entry : *static_cast<const Dictionary*>(container.address)) {
            if (!visit(entry.second)) {
                return false;
            }
        }
        return true;
    }
    for (const Any& element : *static_cast<const std::vector<Any>*>(container.address)) {
        if (!visit(element)) {
            return false;
        }
    }
    return true;
}

/// The walks. A friend of Any and Dictionary: it builds and dismantles their insides directly.
class NestedValues {
public:
    /// Notes the registered container types (the registry's creation calls this once).
    static void noteContainerTypes(const AnyType* dictionary, const AnyType* vector) noexcept;

    /// Frees the container that `owner` owns, with everything it owns below, and leaves `owner`
    /// empty. Allocates nothing and never throws.
    static void destroy(Any& owner) noexcept;

    /// Fills the empty container `target` with a deep copy of `source`, both of `kind`. Every
    /// value of the copy is owned. If it throws, `target` may hold part of the copy.
    static void copy(ContainerKind kind, const void* source, void* target);

    /// Vector assignment: std::vector's copy assignment with Any::operator= per element, also
    /// for the vectors nested in the elements. A source reachable from inside the target is
    /// copied first. May stop half-way when an element's assignment throws.
    static void assign(std::vector<Any>& target, const std::vector<Any>& source);

    /// Equality of two containers of `kind`: the same size and keys, and entries or elements equal
    /// by Any::operator== (nested containers compared the same way), in order.
    static bool equal(ContainerKind kind, const void* a, const void* b);

    /// Feeds a container of `kind` to `engine`: a dictionary as "(" key label value "|" ... ")",
    /// a vector as (4-byte little-endian index, element feed) per element; nested values feed
    /// the same way, in place.
    static void sign(Base::SkeinHash::Engine& engine, ContainerKind kind, const void* container);
};

} // namespace Tessel::Dictionary::Impl

#endif
