// The container of named values.

#include <dictionary/tsdictionary.h>

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

Dictionary::Dictionary(const Dictionary& other) : mEntries(other.mEntries) {}

Dictionary::~Dictionary() = default;

Dictionary& Dictionary::operator=(const Dictionary& other) {
    if (this == &other) {
        return *this;
    }
    // Copy before letting go of the old entries: `other` may live inside one of them.
    try {
        Map copy(other.mEntries);
        mEntries.swap(copy);
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
    if (mEntries.size() != other.mEntries.size()) {
        return false;
    }
    auto theirs = other.mEntries.begin();
    for (const auto& mine : mEntries) {
        if (mine.first != theirs->first || mine.second != theirs->second) {
            return false;
        }
        ++theirs;
    }
    return true;
}

void Dictionary::write(std::ostream& /*os*/) const {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Dictionary::write");
}

void Dictionary::read(std::istream& /*is*/) {
    TS_THROW(Base::NotImplemented, "Tessel::Dictionary::Dictionary::read");
}

Base::SkeinHash::Engine& Dictionary::signature(Base::SkeinHash::Engine& engine) const {
    static constexpr char kOpen = '(';
    static constexpr char kSeparator = '|';
    static constexpr char kClose = ')';
    engine.update(&kOpen, 1);
    for (const auto& [key, value] : mEntries) {
        const std::string& keyText = key.getString();
        engine.update(keyText.data(), keyText.size());
        if (const AnyType* type = value.type()) {
            const std::string& label = type->label().getString();
            engine.update(label.data(), label.size());
            value.signature(engine);
        }
        engine.update(&kSeparator, 1);
    }
    engine.update(&kClose, 1);
    return engine;
}

} // namespace Tessel::Dictionary
