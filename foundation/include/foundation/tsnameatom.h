#ifndef TESSEL_FOUNDATION_TSNAMEATOM_H
#define TESSEL_FOUNDATION_TSNAMEATOM_H

/// @file
/// Interned names: NameAtom, a four-byte handle of a text held once per process in the table of
/// its tag (NameAtomManager), compared and ordered as an integer.
///
///     using Key = Tessel::Base::NameAtom<Tessel::Dictionary::Any>;
///     const Key width("width");                    // interned once
///     bool same = width == Key("width");           // true: the same index
///     const std::string& text = width.getString(); // "width", valid for the rest of the process
///     auto unknown = Key::find("never used");      // nothing: find() interns nothing

#include <foundation/tsexport.h>

#include <boost/thread/mutex.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Dictionary {
class TS_API Any;
class TS_API AnyType;
} // namespace Tessel::Dictionary

namespace Tessel::Base {

/// The process-wide intern table of one atom tag: text <-> 32-bit index.
///
/// Index 0 is always the empty text. Indices are issued in order of first interning and an entry
/// is never removed or moved, so references returned by getString() stay valid for the life of
/// the process. All operations but lastIndex() take the table's one mutex.
class TS_API NameAtomManager {
public:
    /// Makes a new manager (under a creation mutex shared by all tags). Used once per tag.
    static NameAtomManager* create();

    /// A table holding only the empty text, at index 0.
    NameAtomManager();
    /// Deleted: a table is never copied.
    NameAtomManager(const NameAtomManager&) = delete;
    /// Deleted: a table is never assigned.
    NameAtomManager& operator=(const NameAtomManager&) = delete;

    /// Interns `text` and returns its index; the empty text is 0 and takes no lock.
    std::uint32_t getIndex(const std::string& text);
    /// As getIndex(), without copying the text when it is already known.
    std::uint32_t intern(std::string_view text);
    /// The text of `index`; an index that was never issued gives the empty text.
    const std::string& getString(std::uint32_t index);
    /// The index of an already interned text, or 0 when the text is unknown. Adds nothing.
    std::uint32_t findIndex(const std::string& text);
    /// The index of an already interned text (0 for the empty text), or nothing when the text
    /// was never interned. Adds nothing, so untrusted text can be looked up without growing the
    /// table.
    std::optional<std::uint32_t> find(std::string_view text) const;
    /// The highest index issued so far (number of entries minus one). Takes no lock.
    std::ptrdiff_t lastIndex() const;

private:
    std::map<std::string, std::uint32_t, std::less<>> indexByText;
    std::vector<const std::string*> textByIndex;
    mutable boost::mutex mutex;
    // Entry count mirrored for lastIndex(), which reads it without taking the mutex.
    std::atomic<std::ptrdiff_t> entryCount{0};
};

/// A four-byte handle for an interned text. Atoms of one tag compare by index: equal exactly when
/// their texts are equal, ordered by first interning (not alphabetically).
///
/// The two tags in use are Tessel::Dictionary::Any (dictionary keys) and
/// Tessel::Dictionary::AnyType (type labels, names and aliases); each has its own table.
template <class Tag>
class NameAtom {
public:
    /// The empty name, index 0.
    NameAtom() noexcept = default;
    /// Interns `text` up to its terminating zero; a null pointer gives index 0 without locking.
    NameAtom(const char* text) // NOLINT(google-explicit-constructor): names are written as texts
        : index(text == nullptr || *text == '\0'
                    ? 0U
                    : getManager().intern(std::string_view(text, std::strlen(text)))) {}
    /// Interns the whole string, embedded zero bytes included.
    NameAtom(const std::string& text) // NOLINT(google-explicit-constructor)
        : index(text.empty() ? 0U : getManager().intern(std::string_view(text))) {}

    /// The atom of an already interned text, or nothing when `text` was never interned under this
    /// tag. Interns nothing: lookups by untrusted text do not grow the table. The empty text is
    /// always known (index 0).
    static std::optional<NameAtom> find(std::string_view text) {
        const std::optional<std::uint32_t> found = getManager().find(text);
        if (!found) {
            return std::nullopt;
        }
        NameAtom atom;
        atom.index = *found;
        return atom;
    }

    /// The atom's index in its tag's table.
    std::uint32_t getIndex() const noexcept { return index; }
    /// The atom's text (valid for the rest of the process).
    const std::string& getString() const { return getManager().getString(index); }

    /// Equal exactly when the texts are equal.
    friend bool operator==(NameAtom a, NameAtom b) noexcept { return a.index == b.index; }
    /// Different exactly when the texts differ.
    friend bool operator!=(NameAtom a, NameAtom b) noexcept { return a.index != b.index; }
    /// Ordered by first interning, not alphabetically.
    friend bool operator<(NameAtom a, NameAtom b) noexcept { return a.index < b.index; }

    /// Writes the atom's text.
    friend std::ostream& operator<<(std::ostream& os, NameAtom atom) { return os << atom.getString(); }

protected:
    /// The tag's manager, created on first use. Defined and exported by the library for both
    /// tags, so a host and the library always share one table per tag.
    TS_API static NameAtomManager& getManager();

private:
    std::uint32_t index = 0;
};

} // namespace Tessel::Base

#endif
