// Operations on three dictionaries and the containers nested in them: assignment, erasure, const
// lookup, copies (into themselves too), binding. Invariants: a failed assignment changes nothing;
// erase removes exactly its key; const lookups insert nothing; copies are equal, sign the same and
// are independent; a bound entry writes through; == is symmetric and equal values sign equally.
// Input: per operation a non-zero byte, a root, a key to a nested dictionary, the key, the
// operation and its values.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>

#include <utility>
#include <vector>

using namespace TsFuzz;
using Key = Dictionary::Key;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    int variable = 0; // declared before the values bound to it
    Any roots[3];
    for (Any& root : roots) {
        root.set(Dictionary());
    }
    int copiesLeft = 4; // a root copied into a root doubles it: keep the tree small
    const auto key = [&in] { return Key(std::string(1, static_cast<char>('a' + in.byte() % 6))); };
    const auto value = [&] {
        const std::uint8_t kind = in.byte() % 4;
        Any made = kind == 1 ? Any(in.text().c_str()) : kind == 2 && copiesLeft-- > 0 ? roots[in.byte() % 3] : Any();
        if (kind == 0) {
            made.set(in.bits<int>());
        }
        return made;
    };
    while (in.byte() != 0) {
        Any& root = roots[in.byte() % 3];
        Dictionary* dictionary = &root.dict();
        if (Any* nested = dictionary->find(key()); nested != nullptr && nested->type() == root.type()) {
            dictionary = &nested->dict();
        }
        const Key k = key();
        const std::string rootBefore = signatureOf(root);
        const std::size_t count = dictionary->size();
        const bool had = dictionary->hasEntry(k);
        const std::uint8_t operation = in.byte() % 7;
        if (operation == 0) { // assign: take the type, convert, or throw and change nothing
            const Any source = value();
            Any& target = (*dictionary)[k];
            const Any before(target);
            try {
                target = source;
                TSFUZZ_CHECK(before.isEmpty() ? target == source : target.type() == before.type());
            } catch (const AnyException&) {
                TSFUZZ_CHECK(target.type() == before.type() && signatureOf(target) == signatureOf(before));
            }
        } else if (operation == 1) {
            TSFUZZ_CHECK(dictionary->erase(k) == had && dictionary->size() == count - had && !dictionary->hasEntry(k));
        } else if (operation == 2) {
            const Dictionary none;
            const Any& found = std::as_const(*dictionary)[k];
            TSFUZZ_CHECK(&found == (had ? dictionary->find(k) : &none[k]) && std::as_const(root)["z"].isEmpty());
            TSFUZZ_CHECK(dictionary->size() == count && signatureOf(root) == rootBefore);
        } else if (operation == 3) { // a copy (maybe of a dictionary inside it), then a change to it alone
            Any& other = roots[in.byte() % 3];
            const Dictionary copied(*dictionary);
            other.dict() = *dictionary;
            TSFUZZ_CHECK(other.dict() == copied);
            other.dict()[Key("only in the copy")];
            TSFUZZ_CHECK(&other == &root || signatureOf(root) == rootBefore);
        } else {
            Any& entry = (*dictionary)[k];
            entry.clear();
            const Any copied(root); // the root as it is with the entry empty
            if (operation == 4 && copiesLeft-- > 0) {
                entry = root; // a copy of a value that holds the target itself
                TSFUZZ_CHECK(entry == copied);
            } else if (operation == 5) {
                const Any number = value();
                entry = BindValue(variable);
                try {
                    entry = number;
                    TSFUZZ_CHECK(&entry.ref<int>() == &variable && variable == number.ref<int>());
                } catch (const AnyException&) {
                    TSFUZZ_CHECK(number.type() != entry.type());
                }
            } else if (operation == 6) { // a vector assigned from a vector inside it
                entry.set(std::vector<Any>{Any(), Any()}); // the empty first element takes any type
                entry[1].set(std::vector<Any>{value()});
                const Any inner(entry[1]);
                entry = entry[1];
                TSFUZZ_CHECK(entry == inner);
            }
        }
        for (const Any& a : roots) {
            const Any copy(a);
            TSFUZZ_CHECK(copy == a && signatureOf(copy) == signatureOf(a));
            for (const Any& b : roots) {
                TSFUZZ_CHECK((a == b) == (b == a) && (!(a == b) || signatureOf(a) == signatureOf(b)));
            }
        }
    }
    return 0;
}
