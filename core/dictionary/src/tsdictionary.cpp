// The container of named values.

#include <dictionary/tsdictionary.h>

#include "tsnestedvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <istream>
#include <optional>
#include <ostream>

namespace Tessel::Dictionary {

// Constant-initialised: usable from any static initialiser of a host.
const Any Dictionary::kNullEntry;

Dictionary::Dictionary(const Dictionary& other) {
    Impl::NestedValues::copy(Impl::ContainerKind::Dictionary, &other, this);
}

Dictionary::~Dictionary() = default;

Dictionary& Dictionary::operator=(const Dictionary& other) {
    if (this == &other) {
        return *this;
    }
    // Copy before letting go of the old entries: `other` may live inside one of them.
    try {
        Dictionary copy(other);
        mEntries.swap(copy.mEntries);
    } catch (...) {
        mEntries.clear();
        throw;
    }
    return *this;
}

Dictionary::Dictionary(std::initializer_list<value_type> entries) : mEntries(entries) {}

Dictionary::Dictionary(Dictionary&& other) noexcept {
    mEntries.swap(other.mEntries);
}

Dictionary& Dictionary::operator=(Dictionary&& other) noexcept {
    // Take `other`'s entries first and let the old ones go last: `other` may live inside one of
    // them, and a self-move comes back whole.
    Map taken;
    taken.swap(other.mEntries);
    mEntries.swap(taken);
    return *this;
}

Any* Dictionary::find(std::string_view text) {
    const std::optional<Key> key = Key::find(text);
    return key ? find(*key) : nullptr;
}

const Any* Dictionary::find(std::string_view text) const {
    const std::optional<Key> key = Key::find(text);
    return key ? find(*key) : nullptr;
}

Any* Dictionary::find(Key key) {
    auto found = mEntries.find(key);
    return found == mEntries.end() ? nullptr : &found->second;
}

const Any* Dictionary::find(Key key) const {
    auto found = mEntries.find(key);
    return found == mEntries.end() ? nullptr : &found->second;
}

bool Dictionary::hasEntry(Key key) const {
    return mEntries.find(key) != mEntries.end();
}

bool Dictionary::erase(Key key) {
    return mEntries.erase(key) != 0;
}

const Any& Dictionary::operator[](const Key& key) const {
    auto found = mEntries.find(key);
    return found == mEntries.end() ? kNullEntry : found->second;
}

bool Dictionary::operator==(const Dictionary& other) const {
    return Impl::NestedValues::equal(Impl::ContainerKind::Dictionary, this, &other);
}

void Dictionary::write(std::ostream& /*os*/) const {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Dictionary::write");
}

void Dictionary::read(std::istream& /*is*/) {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Dictionary::read");
}

Base::SkeinHash::Engine& Dictionary::signature(Base::SkeinHash::Engine& engine) const {
    Impl::NestedValues::sign(engine, Impl::ContainerKind::Dictionary, this);
    return engine;
}

} // namespace Tessel::Dictionary
