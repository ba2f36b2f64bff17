#ifndef TESSEL_DICTIONARY_TSDICTIONARY_H
#define TESSEL_DICTIONARY_TSDICTIONARY_H

#include <dictionary/tsany.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

#include <cstddef>
#include <iosfwd>
#include <map>

namespace Tessel::Base::SkeinHash {
class Engine;
} // namespace Tessel::Base::SkeinHash

namespace Tessel::Dictionary {

/// An ordered map from interned names to values.
///
/// Entries iterate in the order in which their key texts were first interned in the process (not
/// alphabetically, not by insertion). Copies are deep and own every value, also where the source's
/// entries are bound to host variables. Lookups compare 32-bit atoms only. Dictionaries and vectors
/// nest to any depth: copies, comparison, signature and destruction keep the C++ stack flat.
class TS_API Dictionary {
public:
    using Key = Base::NameAtom<Any>;
    using Map = std::map<Key, Any>;
    using iterator = Map::iterator;
    using const_iterator = Map::const_iterator;
    using size_type = std::size_t;

    /// An empty dictionary.
    Dictionary() = default;
    /// A deep copy: every value is copied with Any's copy constructor and owned.
    Dictionary(const Dictionary& other);
    /// Frees owned values; bound variables are untouched.
    ~Dictionary();
    /// Replaces every entry by a copy of `other`'s. Self-assignment, also through an alias of a
    /// nested dictionary, is safe. If copying fails, this dictionary is left empty.
    Dictionary& operator=(const Dictionary& other);

    /// The value under `key`, or null.
    Any* find(Key key);
    /// The value under `key`, or null.
    const Any* find(Key key) const;
    /// True when there is an entry under `key`, whatever its value (empty included).
    bool hasEntry(Key key) const;
    /// Removes the entry under `key`; true when there was one.
    bool erase(Key key);

    /// The value under `key`; a missing entry is inserted first, holding an empty value.
    Any& operator[](const Key& key) { return mEntries[key]; }
    /// The value under `key`, or the shared empty entry kNullEntry. Inserts nothing.
    const Any& operator[](const Key& key) const;

    /// The number of entries.
    size_type size() const noexcept { return mEntries.size(); }
    /// True when there are no entries.
    bool empty() const noexcept { return mEntries.empty(); }
    /// Removes every entry.
    void clear() noexcept { mEntries.clear(); }
    /// Exchanges the entries of two dictionaries without copying a value.
    void swap(Dictionary& other) noexcept { mEntries.swap(other.mEntries); }

    /// Iteration in key order over pairs of (name, value).
    iterator begin() noexcept { return mEntries.begin(); }
    iterator end() noexcept { return mEntries.end(); }
    const_iterator begin() const noexcept { return mEntries.begin(); }
    const_iterator end() const noexcept { return mEntries.end(); }

    /// Same keys, and values equal by Any::operator== (same type and equal), in key order.
    bool operator==(const Dictionary& other) const;
    /// The negation of ==.
    bool operator!=(const Dictionary& other) const { return !(*this == other); }

    /// Dictionaries have no text form: always throws NotImplemented, writing nothing.
    void write(std::ostream& os) const;
    /// Dictionaries have no text form: always throws NotImplemented, reading nothing.
    void read(std::istream& is);

    /// Feeds "(", then per entry its key text, its value's type label, the value's bytes and
    /// "|", then ")". An empty value feeds no label and no bytes. Returns `engine`.
    Base::SkeinHash::Engine& signature(Base::SkeinHash::Engine& engine) const;

protected:
    /// The one empty value that const lookups of missing keys return.
    static const Any kNullEntry;

private:
    friend class Impl::NestedValues;

    Map mEntries;
};

/// Exchanges the entries of two dictionaries.
inline void swap(Dictionary& a, Dictionary& b) noexcept {
    a.swap(b);
}

} // namespace Tessel::Dictionary

#endif
