// Teardown, copy, comparison and signature of nested dictionaries and vectors, with a flat C++
// stack at any depth.

#include "tsnestedvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsskeinhash.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Tessel::Dictionary::Impl {

std::atomic<const AnyType*> gRegisteredDictionaryType{nullptr};
std::atomic<const AnyType*> gRegisteredVectorType{nullptr};

namespace {

using Elements = std::vector<Any>;

bool holdsAnyContainer(const Container& container) {
    return !forEachValue(container, [](const Any& value) { return containerKind(value.type()) == ContainerKind::None; });
}

void feedByte(Base::SkeinHash::Engine& engine, char byte) {
    engine.update(&byte, 1);
}

void feedText(Base::SkeinHash::Engine& engine, const std::string& text) {
    engine.update(text.data(), text.size());
}

// The low 32 bits of a vector position, little-endian whatever the host's byte order.
void feedIndex(Base::SkeinHash::Engine& engine, std::size_t index) {
    const auto position = static_cast<std::uint32_t>(index);
    const unsigned char bytes[4] = {static_cast<unsigned char>(position), static_cast<unsigned char>(position >> 8),
                                    static_cast<unsigned char>(position >> 16),
                                    static_cast<unsigned char>(position >> 24)};
    engine.update(bytes, sizeof bytes);
}

} // namespace

void NestedValues::noteContainerTypes(const AnyType* dictionary, const AnyType* vector) noexcept {
    // Published to other threads by the registry's own release of its instance pointer.
    gRegisteredDictionaryType.store(dictionary, std::memory_order_relaxed);
    gRegisteredVectorType.store(vector, std::memory_order_relaxed);
}

// --- teardown -------------------------------------------------------------------------------------
// Containers are freed from the bottom up. The walk steps down into a value that owns a non-empty
// container and leaves the way back in that value's mValue, which for an owned value only repeats
// mOwned: the address of the value one level up (null at the top). A container is freed once
// nothing below it owns a non-empty container, so its own destructor has no depth left to go.
// Dictionary entries are erased as the walk passes them; vector elements stay, and go in order
// when their vector is freed.

void NestedValues::destroy(Any& owner) noexcept {
    const auto ownsNestedValues = [](const Any& value) {
        if (value.mOwned == nullptr) {
            return false; // empty, or bound: not ours to free
        }
        switch (containerKind(value.mType)) {
        case ContainerKind::Dictionary:
            return !static_cast<const Dictionary*>(value.mOwned)->empty();
        case ContainerKind::Vector:
            return !static_cast<const Elements*>(value.mOwned)->empty();
        case ContainerKind::None:
            break;
        }
        return false;
    };

    Any* current = &owner;
    current->mValue = nullptr;
    Any* cameBackFrom = nullptr;
    for (;;) {
        Any* below = nullptr;
        if (containerKind(current->mType) == ContainerKind::Dictionary) {
            Dictionary::Map& entries = static_cast<Dictionary*>(current->mOwned)->mEntries;
            if (cameBackFrom != nullptr) {
                entries.erase(entries.begin()); // the entry just emptied is the first one left
            }
            auto next = std::find_if(entries.begin(), entries.end(),
                                     [&](const Dictionary::Map::value_type& entry) { return ownsNestedValues(entry.second); });
            if (next != entries.end()) {
                entries.erase(entries.begin(), next);
                below = &next->second;
            }
        } else {
            Elements& elements = *static_cast<Elements*>(current->mOwned);
            Any* const end = elements.data() + elements.size();
            Any* next = std::find_if(cameBackFrom == nullptr ? elements.data() : cameBackFrom + 1, end, ownsNestedValues);
            if (next != end) {
                below = next;
            }
        }
        if (below != nullptr) {
            below->mValue = current;
            current = below;
            cameBackFrom = nullptr;
            continue;
        }
        Any* const up = static_cast<Any*>(current->mValue);
        current->mType->deleteValue(current->mOwned);
        current->mType = nullptr;
        current->mValue = nullptr;
        current->mOwned = nullptr;
        if (up == nullptr) {
            return;
        }
        cameBackFrom = current;
        current = up;
    }
}

// --- copy -----------------------------------------------------------------------------------------
// A container whose values hold no container is copied by its own copy assignment. Otherwise its
// values are copied one by one, and each nested container is made empty in place and put on the
// list to be filled later.

void NestedValues::copy(ContainerKind kind, const void* source, void* target) {
    struct Pending {
        ContainerKind kind;
        const void* source;
        void* target;
    };
    std::vector<Pending> pending;
    const auto copyInto = [&pending](const Any& from, Any& slot) {
        const ContainerKind nested = containerKind(from.mType);
        if (nested == ContainerKind::None) {
            slot = from; // into an empty value: an owned copy
            return;
        }
        void* storage = from.mType->newValue();
        slot.mType = from.mType;
        slot.mValue = storage;
        slot.mOwned = storage;
        pending.push_back({nested, from.mValue, storage});
    };

    Pending next{kind, source, target};
    for (;;) {
        const bool flat = !holdsAnyContainer({next.kind, next.source});
        if (next.kind == ContainerKind::Dictionary) {
            const Dictionary::Map& from = static_cast<const Dictionary*>(next.source)->mEntries;
            Dictionary::Map& to = static_cast<Dictionary*>(next.target)->mEntries;
            if (flat) {
                to = from;
            } else {
                for (const auto& [key, value] : from) {
                    auto slot = to.emplace_hint(to.end(), std::piecewise_construct, std::forward_as_tuple(key),
                                                std::forward_as_tuple());
                    copyInto(value, slot->second);
                }
            }
        } else {
            const Elements& from = *static_cast<const Elements*>(next.source);
            Elements& to = *static_cast<Elements*>(next.target);
            if (flat) {
                to = from;
            } else {
                to.reserve(from.size());
                for (const Any& value : from) {
                    copyInto(value, to.emplace_back());
                }
            }
        }
        if (pending.empty()) {
            return;
        }
        next = pending.back();
        pending.pop_back();
    }
}

// --- comparison -----------------------------------------------------------------------------------

bool NestedValues::equal(ContainerKind kind, const void* a, const void* b) {
    struct Pair {
        ContainerKind kind;
        const void* a;
        const void* b;
    };
    std::vector<Pair> pending;
    // Any::operator==, except that a pair of nested containers is put on the list.
    const auto same = [&pending](const Any& x, const Any& y) {
        if (x.mType != y.mType) {
            return false;
        }
        if (x.mType == nullptr) {
            return true;
        }
        const ContainerKind nested = containerKind(x.mType);
        if (nested == ContainerKind::None) {
            return x.mType->equal(x, y);
        }
        pending.push_back({nested, x.mValue, y.mValue});
        return true;
    };

    Pair next{kind, a, b};
    for (;;) {
        if (next.kind == ContainerKind::Dictionary) {
            const Dictionary& x = *static_cast<const Dictionary*>(next.a);
            const Dictionary& y = *static_cast<const Dictionary*>(next.b);
            if (x.size() != y.size()) {
                return false;
            }
            auto theirs = y.begin();
            for (const auto& mine : x) {
                if (mine.first != theirs->first || !same(mine.second, theirs->second)) {
                    return false;
                }
                ++theirs;
            }
        } else {
            const Elements& x = *static_cast<const Elements*>(next.a);
            const Elements& y = *static_cast<const Elements*>(next.b);
            if (x.size() != y.size()) {
                return false;
            }
            for (std::size_t i = 0; i < x.size(); ++i) {
                if (!same(x[i], y[i])) {
                    return false;
                }
            }
        }
        if (pending.empty()) {
            return true;
        }
        next = pending.back();
        pending.pop_back();
    }
}

// --- signature ------------------------------------------------------------------------------------
// Depth first, in the order of the nested calls: the frames above the current one wait where they
// stepped down, a dictionary with its entry's "|" still to feed.

void NestedValues::sign(Base::SkeinHash::Engine& engine, ContainerKind kind, const void* container) {
    struct Frame {
        ContainerKind kind;
        const void* container;
        Dictionary::const_iterator entry; // dictionaries: the next entry
        std::size_t index;                // vectors: the next element
        bool separatorDue;                // dictionaries: the "|" of the entry stepped into
    };
    const auto open = [&engine](ContainerKind opened, const void* address) {
        Frame frame{opened, address, {}, 0, false};
        if (opened == ContainerKind::Dictionary) {
            feedByte(engine, '(');
            frame.entry = static_cast<const Dictionary*>(address)->begin();
        }
        return frame;
    };

    std::vector<Frame> waiting;
    Frame current = open(kind, container);
    for (;;) {
        const Any* below = nullptr;
        if (current.kind == ContainerKind::Dictionary) {
            const Dictionary& dictionary = *static_cast<const Dictionary*>(current.container);
            if (current.separatorDue) {
                feedByte(engine, '|');
                current.separatorDue = false;
            }
            while (below == nullptr && current.entry != dictionary.end()) {
                const auto& [key, value] = *current.entry++;
                feedText(engine, key.getString());
                if (value.mType != nullptr) {
                    feedText(engine, value.mType->label().getString());
                    if (containerKind(value.mType) != ContainerKind::None) {
                        below = &value;
                        current.separatorDue = true;
                        break;
                    }
                    value.mType->signature(engine, value);
                }
                feedByte(engine, '|');
            }
            if (below == nullptr) {
                feedByte(engine, ')');
            }
        } else {
            const Elements& elements = *static_cast<const Elements*>(current.container);
            while (below == nullptr && current.index < elements.size()) {
                const std::size_t i = current.index++;
                feedIndex(engine, i);
                const Any& value = elements[i];
                if (containerKind(value.mType) != ContainerKind::None) {
                    below = &value;
                } else if (value.mType != nullptr) {
                    value.mType->signature(engine, value);
                }
            }
        }
        if (below != nullptr) {
            waiting.push_back(current);
            current = open(containerKind(below->mType), below->mValue);
            continue;
        }
        if (waiting.empty()) {
            return;
        }
        current = waiting.back();
        waiting.pop_back();
    }
}

} // namespace Tessel::Dictionary::Impl
