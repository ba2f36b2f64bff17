// The container of named values.

#include <dictionary/tsdictionary.h>

#include "tsnestedvalues.h"

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <istream>
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
