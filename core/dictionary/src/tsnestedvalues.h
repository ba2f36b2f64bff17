#ifndef TESSEL_DICTIONARY_SRC_TSNESTEDVALUES_H
#define TESSEL_DICTIONARY_SRC_TSNESTEDVALUES_H

// Whole-value operations on dictionaries and vectors that nest: copy, element-wise vector
// assignment, comparison, signature and teardown. A host can nest containers as deep as memory
// allows, so none of these recurses without bound: copy, teardown and the signature recurse for a
// few levels, then go on with a work list of their own (teardown, which must not fail, threads it
// through the values being freed); assignment and comparison keep a work list throughout. Internal
// to the library.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>

#include <boost/container/static_vector.hpp>

#include <atomic>
#include <deque>
#include <optional>
#include <utility>
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

/// A stack of pending work. The first entries live in the object itself, so a shallow value needs
/// no allocation; the rest go to a deque, whose fixed-size blocks the allocator recycles, where one
/// growing array would be copied and fresh pages touched as a deep value is walked.
template <class T>
class WorkList {
public:
    bool empty() const noexcept { return mNear.empty(); }
    T& front() noexcept { return mNear.front(); }
    T& back() noexcept { return mFar && !mFar->empty() ? mFar->back() : mNear.back(); }
    void push_back(T item) {
        if (mNear.size() < mNear.capacity()) {
            mNear.push_back(std::move(item));
            return;
        }
        if (!mFar) {
            mFar.emplace();
        }
        mFar->push_back(std::move(item));
    }
    void pop_back() {
        if (mFar && !mFar->empty()) {
            mFar->pop_back();
        } else {
            mNear.pop_back();
        }
    }

private:
    boost::container::static_vector<T, 16> mNear;
    std::optional<std::deque<T>> mFar;
};

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

    /// The address of the value `any` refers to (owned or bound), null when empty.
    static const void* addressOf(const Any& any) noexcept { return any.mValue; }
    /// True when `any` is bound to a variable of the caller.
    static bool isBound(const Any& any) noexcept { return any.mValue != nullptr && any.mOwned == nullptr; }

private:
    struct SignFrame;
    // Starts feeding the container held by `value` (a dictionary feeds its "(").
    static SignFrame openFrame(Base::SkeinHash::Engine& engine, const Any& value);
    // Feeds `frame`'s container from its position on, up to the next nested container (returned,
    // its key and label fed) or to the end (null, the closing fed).
    static const Any* feedUntilNested(Base::SkeinHash::Engine& engine, SignFrame& frame);
    // Feeds the rest of `frame` and everything below it, by recursion while `depth` allows.
    static void signFrom(Base::SkeinHash::Engine& engine, SignFrame& frame, unsigned depth);
    // The same, past the recursion limit: with a work list of frames.
    static void signByWorkList(Base::SkeinHash::Engine& engine, const SignFrame& frame);
    // True when `value` owns a non-empty dictionary or vector.
    static bool ownsNestedValues(const Any& value) noexcept;
    // Teardown past the recursion limit: bottom up, the way back kept in the values themselves.
    static void freeBottomUp(Any& owner) noexcept;
};

} // namespace Tessel::Dictionary::Impl

#endif
