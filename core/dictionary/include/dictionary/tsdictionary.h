#ifndef TESSEL_DICTIONARY_TSDICTIONARY_H
#define TESSEL_DICTIONARY_TSDICTIONARY_H

/// @file
/// Dictionary, the container of named values: an ordered map from interned names to Any.
///
///     Dictionary clip{{"width", 1920}, {"name", "intro"}};
///     clip["fps"] = Tessel::Base::TimeBase(Tessel::Base::TimeBase::k29_97);  // inserts the entry
///     for (const auto& [key, value] : clip)
///         std::cout << key << '\n';           // width, name, fps: first-interning order
///     const Any& none = std::as_const(clip)["none"];  // the shared empty entry; inserts nothing

#include <dictionary/tsany.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>

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
///
///     Dictionary clip{{"width", 1920}, {"fps", TimeBase(TimeBase::k29_97)}};
///     if (clip.contains("width")) { ... }          // a lookup by text interns nothing
///     int w = clip.valueAtPath<int>("width");
///     Dictionary kept = std::move(clip);             // constant time; `clip` is now empty
class TS_API Dictionary {
public:
    /// A key: an interned name.
    using Key = Base::NameAtom<Any>;
    /// The entries, ordered by key atom (first interning).
    using Map = std::map<Key, Any>;
    /// Iterates the entries in key order; the value can be changed.
    using iterator = Map::iterator;
    /// Iterates the entries in key order, read only.
    using const_iterator = Map::const_iterator;
    /// One entry: its key and its value.
    using value_type = Map::value_type;
    /// A count of entries.
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

    /// The entries of the list, each value copied: `{{"width", 1920}, {"name", "intro"}}`. A key
    /// given twice keeps its first value.
    Dictionary(std::initializer_list<value_type> entries);
    /// Takes over `other`'s entries in constant time, copying no value; `other` is left empty.
    Dictionary(Dictionary&& other) noexcept;
    /// Replaces every entry by `other`'s, in constant time, copying no value; `other` is left
    /// empty. Safe when `other` lives inside one of this dictionary's entries, and a no-op on
    /// itself; `other` must not contain this dictionary (a value cannot hold its own container).
    Dictionary& operator=(Dictionary&& other) noexcept;

    /// True when there is an entry under `key`, whatever its value (as hasEntry()).
    bool contains(Key key) const { return hasEntry(key); }
    /// True when there is an entry whose key text is `text`. Interns nothing.
    bool contains(std::string_view text) const { return find(text) != nullptr; }
    /// As contains(std::string_view); a null `text` is the empty key.
    bool contains(const char* text) const { return find(text) != nullptr; }
    /// As contains(std::string_view).
    bool contains(const std::string& text) const { return find(text) != nullptr; }
    /// The value whose key text is `text`, or null. Interns nothing, so untrusted keys do not
    /// grow the process's name table.
    Any* find(std::string_view text);
    /// The value whose key text is `text`, or null. Interns nothing.
    const Any* find(std::string_view text) const;
    /// As find(std::string_view); a null `text` is the empty key.
    Any* find(const char* text) { return find(textOf(text)); }
    /// As find(std::string_view); a null `text` is the empty key.
    const Any* find(const char* text) const { return find(textOf(text)); }
    /// As find(std::string_view).
    Any* find(const std::string& text) { return find(std::string_view(text)); }
    /// As find(std::string_view).
    const Any* find(const std::string& text) const { return find(std::string_view(text)); }
    /// Removes the entry at `position` (which must be valid); returns the one after it.
    iterator erase(iterator position) { return mEntries.erase(position); }
    /// Removes the entry at `position` (which must be valid); returns the one after it.
    iterator erase(const_iterator position) { return mEntries.erase(position); }

    /// The entry at the key path `path` (see Any::findPath; here the first segment is a key of
    /// this dictionary), or null when the path does not resolve. The empty path names the
    /// dictionary itself, which is no entry: null.
    Any* findPath(std::string_view path);
    /// The entry at `path`, or null when the path does not resolve.
    const Any* findPath(std::string_view path) const;
    /// The entry at `path`. Throws AnyPathException with the "KeyPath" item when the path does
    /// not resolve (the empty path included).
    Any& atPath(std::string_view path);
    /// The entry at `path`; throws AnyPathException when the path does not resolve.
    const Any& atPath(std::string_view path) const;
    /// The entry at `path` read as a T, as Any::as<T>() reads it. Every exception it throws
    /// carries the "KeyPath" item.
    template <class T>
    T valueAtPath(std::string_view path) const {
        const Any& value = atPath(path);
        try {
            return value.as<T>();
        } catch (Base::ExceptionDecoration& e) {
            Impl::addKeyPath(e, path);
            throw;
        }
    }

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

    /// The first entry in key order: pairs of (name, value).
    iterator begin() noexcept { return mEntries.begin(); }
    /// Past the last entry.
    iterator end() noexcept { return mEntries.end(); }
    /// The first entry in key order, read only.
    const_iterator begin() const noexcept { return mEntries.begin(); }
    /// Past the last entry, read only.
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
    // A C string as a key text: null is the empty key, as for NameAtom.
    static std::string_view textOf(const char* text) noexcept {
        return text == nullptr ? std::string_view() : std::string_view(text);
    }

    friend class Impl::NestedValues;

    Map mEntries;
};

/// Exchanges the entries of two dictionaries.
inline void swap(Dictionary& a, Dictionary& b) noexcept {
    a.swap(b);
}

} // namespace Tessel::Dictionary

#endif
