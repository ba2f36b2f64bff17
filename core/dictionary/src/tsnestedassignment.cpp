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

// Each vector assignment in progress is a frame: std::vector's copy assignment with its three
// cases, where an element that holds a vector of the same type as the source element's is
// assigned by a frame of its own (as Any::operator= would, through the vector type's copyValue),
// and every other element by Any::operator=. Elements go in order, depth first, as the nested
// calls would go.

void NestedValues::assign(std::vector<Any>& target, const std::vector<Any>& source) {
    using Elements = std::vector<Any>;
    struct Frame {
        Elements* target;
        const Elements* source;
        std::unique_ptr<Elements> snapshot; // a copy of the source, where the source is the target's
        std::size_t next;                   // the element to assign next
        std::size_t assigned;               // elements assigned in place: min(target, source size)
    };

    // True when a value below `root` (through owned and bound values) holds the vector `sought`.
    const auto reaches = [](const Elements& root, const void* sought) {
        std::vector<Container> pending;
        Container next{ContainerKind::Vector, &root};
        bool found = false;
        const auto visit = [&](const Any& value) {
            const ContainerKind kind = containerKind(value.mType);
            if (kind != ContainerKind::None) {
                found = value.mValue == sought;
                pending.push_back({kind, value.mValue});
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
    };
    // Walks what `root` owns below it: whether it holds `sought` and whether a value there is bound
    // to a container (stopping at either).
    struct OwnedScan {
        bool holdsSought = false;
        bool bindsContainer = false;
    };
    const auto scanOwned = [](const Elements& root, const void* sought) {
        OwnedScan scan;
        std::vector<Container> pending;
        Container next{ContainerKind::Vector, &root};
        const auto visit = [&](const Any& value) {
            const ContainerKind kind = containerKind(value.mType);
            if (kind == ContainerKind::None) {
                return true;
            }
            scan.bindsContainer = value.mOwned == nullptr;
            scan.holdsSought = value.mValue == sought;
            pending.push_back({kind, value.mValue});
            return !scan.bindsContainer && !scan.holdsSought;
        };
        while (forEachValue(next, visit) && !pending.empty()) {
            next = pending.back();
            pending.pop_back();
        }
        return scan;
    };

    std::vector<Frame> frames;
    // Below the top, a source can lie inside its target only through a binding: a value tree
    // without bound containers is owned throughout, and the top-level check rules it out there.
    bool checkEveryLevel = false;
    const auto start = [&](Elements& to, const Elements& from, bool top) {
        if (&to == &from) {
            return;
        }
        if (from.size() > to.capacity()) {
            // No room: a new vector of copies replaces the target's elements.
            Elements rebuilt;
            copy(ContainerKind::Vector, &from, &rebuilt);
            to.swap(rebuilt);
            return;
        }
        const std::size_t assigned = std::min(to.size(), from.size());
        bool sourceInside = false;
        if (assigned > 0 && top) {
            const OwnedScan scan = scanOwned(to, &from);
            sourceInside = scan.holdsSought;
            if (!sourceInside && (scan.bindsContainer || scanOwned(from, nullptr).bindsContainer)) {
                checkEveryLevel = true;
                sourceInside = reaches(to, &from);
            }
        } else if (assigned > 0 && checkEveryLevel) {
            sourceInside = reaches(to, &from);
        }
        // Assigning in place changes what the target holds: a source inside it would change (or
        // be freed) while it is read, so it is copied first.
        std::unique_ptr<Elements> snapshot;
        if (sourceInside) {
            snapshot = std::make_unique<Elements>();
            copy(ContainerKind::Vector, &from, snapshot.get());
        }
        const Elements* const read = snapshot ? snapshot.get() : &from;
        frames.push_back({&to, read, std::move(snapshot), 0, assigned});
    };

    start(target, source, true);
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
                start(*static_cast<Elements*>(element.mValue), *static_cast<const Elements*>(value.mValue), false);
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
