// Key atoms of Python str keys, cached by the str's hash: a hit costs the hash (cached in the str
// itself) and one text comparison, where a miss takes the name table's lock and searches it.

#include "tspybindings.h"

#include <array>
#include <cstring>

namespace Tessel::Python {

namespace {

// Texts longer than this are looked up every time, so that the cache stays small.
constexpr Py_ssize_t kLongestCachedKey = 64;

struct CachedKey {
    std::string text;
    DictionaryView::Key atom;
    bool used = false;
};

// Direct-mapped by the str's hash; used with the GIL held only.
std::array<CachedKey, 1024> gKeyCache;

} // namespace

std::optional<DictionaryView::Key> keyAtom(py::handle key, bool intern) {
    using Key = DictionaryView::Key;
    if (!PyUnicode_Check(key.ptr())) {
        return std::nullopt;
    }
    Py_ssize_t size = 0;
    const char* utf8 = PyUnicode_AsUTF8AndSize(key.ptr(), &size);
    if (utf8 == nullptr || size > kLongestCachedKey) {
        PyErr_Clear();
        std::string text;
        try {
            text = textOf(key);
        } catch (const py::error_already_set&) {
            if (intern) {
                throw;
            }
            return std::nullopt; // no key of ours has this text
        }
        return intern ? std::optional<Key>(Key(text)) : Key::find(text);
    }
    // The str's own hash, never a subclass's __hash__: no code of the script runs in a lookup.
    const Py_hash_t hash = PyUnicode_Type.tp_hash(key.ptr());
    CachedKey& slot = gKeyCache[static_cast<std::size_t>(hash) % gKeyCache.size()];
    if (slot.used && slot.text.size() == static_cast<std::size_t>(size) &&
        std::memcmp(slot.text.data(), utf8, slot.text.size()) == 0) {
        return slot.atom;
    }
    const std::string_view text(utf8, static_cast<std::size_t>(size));
    const std::optional<Key> atom = intern ? std::optional<Key>(Key(std::string(text))) : Key::find(text);
    if (atom) {
        slot.used = false; // stays unused if the assignment below throws
        slot.text.assign(text);
        slot.atom = *atom;
        slot.used = true;
    }
    return atom;
}

} // namespace Tessel::Python
