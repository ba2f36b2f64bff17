// Vector assignment of nested vectors, level by level, with a flat C++ stack at any depth.

#include "tsnestedvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Tessel::Dictionary::Impl {

namespace {

using Elements = std::vector<Any>;

// What `root` owns below it: whether it holds the vector `sought` and whether a value there is bound
// to a container (the walk stops at either).
struct OwnedScan {
    bool holdsSought = false;
    bool bindsContainer = false;
};

OwnedScan scanOwned(const Elements& root, const void* sought) {
    OwnedScan scan;
    WorkList<Container> pending;
    Container next{ContainerKind::Vector, &root};
    const auto visit = [&](const Any& value) {
        const ContainerKind kind = containerKind(value.type());
        if (kind == ContainerKind::None) {
            return true;
        }
        const void* address = NestedValues::addressOf(value);
        scan.holdsSought = address == sought;
        scan.bindsContainer = NestedValues::isBound(value);
        pending.push_back({kind, address});
        return !scan.holdsSought && !scan.bindsContainer;
    };
    while (forEachValue(next, visit) && !pending.empty()) {
        next = pending.back();
        pending.pop_back();
    }
    return scan;
}

// True when a value below `root`, through owned and bound values, holds the vector `sought`.
bool reaches(const Elements& root, const void* sought) {
    WorkList<Container> pending;
    Container next{ContainerKind::Vector, &root};
    bool found = false;
    const auto visit = [&](const Any& value) {
        const ContainerKind kind = containerKind(value.type());
        if (kind != ContainerKind::None) {
            const void* address = NestedValues::addressOf(value);
            found = address == sought;
            pending.push_back({kind, address});
        }
        return !found;
    };
    for (;;) {
        if (!forEachValue(next, visit)) {
            return true;
        }
        if (pending.empty()) {
            return false;
        }
        next = pending.back();
        pending.pop_back();
    }
}

} // namespace

// Each vector assignment in progress is a frame: std::vector's copy assignment with its three
// cases, where an element that holds a vector of the same type as the source element's is assigned
// by a frame of its own (as Any::operator= would, through the vector type's copyValue), and every
// other element by Any::operator=. Elements go in order, depth first, as the nested calls would go.
//
// A source reachable from inside its target is copied first, as at the top. Below the top that can
// only happen through a binding: a value tree without bound containers is owned throughout, and
// the check at the top rules it out there. So the levels below are checked only where the trees
// hold a bound container, which is looked for when the first of them starts.

void NestedValues::assign(Elements& target, const Elements& source) {
    struct Frame {
        Elements* target;
        const Elements* source;
        std::unique_ptr<Elements> snapshot; // the copy read instead of a source inside the target
        std::size_t next;                   // the element to assign next
        std::size_t assigned;               // elements assigned in place: min(target, source size)
    };
    enum class Bindings { Unknown, Absent, Present };

    // No room: a new vector of copies replaces the target's elements (also every copy construction).
    const auto rebuild = [](Elements& to, const Elements& from) {
        Elements rebuilt;
        copy(ContainerKind::Vector, &from, &rebuilt);
        to.swap(rebuilt);
    };
    if (&target != &source && source.size() > target.capacity()) {
        rebuild(target, source);
        return;
    }
    WorkList<Frame> frames;
    Bindings bindings = Bindings::Unknown;
    const auto start = [&](Elements& to, const Elements& from) {
        if (&to == &from) {
            return;
        }
        if (from.size() > to.capacity()) {
            rebuild(to, from);
            return;
        }
        const std::size_t assigned = std::min(to.size(), from.size());
        bool sourceInside = false;
        if (assigned > 0 && frames.empty()) {
            const OwnedScan scan = scanOwned(to, &from);
            sourceInside = scan.holdsSought || (scan.bindsContainer && reaches(to, &from));
            bindings = scan.bindsContainer && !sourceInside ? Bindings::Present : Bindings::Unknown;
        } else if (assigned > 0) {
            if (bindings == Bindings::Unknown) {
                const Frame& top = frames.front();
                const bool bound = top.snapshot == nullptr && (scanOwned(*top.target, nullptr).bindsContainer ||
                                                               scanOwned(*top.source, nullptr).bindsContainer);
                bindings = bound ? Bindings::Present : Bindings::Absent;
            }
            sourceInside = bindings == Bindings::Present && reaches(to, &from);
        }
        std::unique_ptr<Elements> snapshot;
        if (sourceInside) {
            // Assigning in place changes what the target holds: a source inside it would change
            // (or be freed) while it is read.
            snapshot = std::make_unique<Elements>();
            copy(ContainerKind::Vector, &from, snapshot.get());
        }
        const Elements* const read = snapshot ? snapshot.get() : &from;
        frames.push_back({&to, read, std::move(snapshot), 0, assigned});
    };

    start(target, source);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        Elements& to = *frame.target;
        const Elements& from = *frame.source;
        if (frame.next < frame.assigned && frame.next < to.size() && frame.next < from.size()) {
            Any& element = to[frame.next];
            const Any& value = from[frame.next];
            ++frame.next;
            if (&element != &value && element.mType != nullptr && element.mType == value.mType &&
                containerKind(element.mType) == ContainerKind::Vector) {
                start(*static_cast<Elements*>(element.mValue), *static_cast<const Elements*>(value.mValue));
            } else {
                element = value;
            }
            continue; // `frame` may have moved
        }
        // The rest as std::vector's assignment does it: the surplus dropped, or copies of the
        // remaining source elements appended (all made before the size changes).
        if (to.size() >= from.size()) {
            to.erase(to.begin() + static_cast<std::ptrdiff_t>(from.size()), to.end());
        } else {
            to.insert(to.end(), from.begin() + static_cast<std::ptrdiff_t>(to.size()), from.end());
        }
        frames.pop_back();
    }
}

} // namespace Tessel::Dictionary::Impl
