#ifndef TESSEL_RELIABILITY_NAMETABLES_H
#define TESSEL_RELIABILITY_NAMETABLES_H

// Checks on the two process-wide name tables (dictionary keys and type names).

#include <dictionary/tsany.h>
#include <foundation/tsnameatom.h>

#include <cstddef>

namespace Tessel::Reliability {

/// The manager behind the atoms of `Tag`.
template <class Tag>
Base::NameAtomManager& nameTable() {
    struct Access : Base::NameAtom<Tag> {
        static Base::NameAtomManager& manager() { return Base::NameAtom<Tag>::getManager(); }
    };
    return Access::manager();
}

/// The sizes of both tables at one moment.
struct NameTablesState {
    std::ptrdiff_t keysLastIndex = 0;
    std::ptrdiff_t typesLastIndex = 0;
};

/// The current sizes of both tables.
NameTablesState nameTablesState();

/// Interns a new filler text in both tables, which leaves each table's index full: the next new
/// text then has to grow it, as in a table that has only ever grown.
void fillNameTableIndexes();

/// Checks that another thread can intern in both tables within a time limit: a lock that a failed
/// operation left held would make it wait for ever. If not, records a gtest failure and aborts
/// the process, since every later use of that table would hang.
void expectNameTableLocksFree();

/// Checks both tables against `before`, with gtest expectations: each grew by at most
/// `maxNewEntries`, and every index 0..lastIndex has a text that findIndex() maps back to it.
/// Returns the heap blocks that the new entries hold, which stay allocated for the life of the
/// process. Call expectNameTableLocksFree() first.
long checkNameTables(const NameTablesState& before, int maxNewEntries = 1);

} // namespace Tessel::Reliability

#endif
