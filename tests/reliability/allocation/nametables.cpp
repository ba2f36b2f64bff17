#include "nametables.h"

#include <dictionary/tsanytype.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace Tessel::Reliability {

namespace {

using Dictionary::Any;
using Dictionary::AnyType;

// Blocks held by one table entry: its map node, plus the text's buffer when the text is too long
// for the string's inline storage.
long blocksOfEntry(const std::string& text) {
    return 1 + (text.size() > std::string().capacity() ? 1 : 0);
}

// Interned once before any check, so that the probe itself never adds an entry.
const char kProbeText[] = "allocation-failure lock probe";

// True when another thread gets through an interning in both tables within the time limit. A
// lock left held by the failed operation would make it wait for ever.
bool locksAreFree() {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    std::thread probe([done] {
        nameTable<Any>().intern(kProbeText);
        nameTable<AnyType>().intern(kProbeText);
        done->set_value();
    });
    if (finished.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        probe.detach(); // stuck on a lock that will never be released
        return false;
    }
    probe.join();
    return true;
}

long checkTable(Base::NameAtomManager& table, std::ptrdiff_t lastBefore, int maxNewEntries, const char* which) {
    const std::ptrdiff_t last = table.lastIndex();
    EXPECT_GE(last, lastBefore) << which << " table lost entries";
    EXPECT_LE(last, lastBefore + maxNewEntries) << which << " table grew by more than " << maxNewEntries;
    long newBlocks = 0;
    for (std::ptrdiff_t index = 0; index <= last; ++index) {
        const auto atomIndex = static_cast<std::uint32_t>(index);
        const std::string& text = table.getString(atomIndex);
        if (index == 0) {
            EXPECT_TRUE(text.empty()) << which << " table: entry 0 is not the empty text";
            continue;
        }
        EXPECT_EQ(table.findIndex(text), atomIndex) << which << " table: index " << index
                                                    << " and its text \"" << text << "\" disagree";
        if (index > lastBefore) {
            newBlocks += blocksOfEntry(text);
        }
    }
    EXPECT_TRUE(table.getString(static_cast<std::uint32_t>(last + 1)).empty())
        << which << " table: an index past lastIndex() has a text";
    return newBlocks;
}

} // namespace

NameTablesState nameTablesState() {
    nameTable<Any>().intern(kProbeText);
    nameTable<AnyType>().intern(kProbeText);
    return {nameTable<Any>().lastIndex(), nameTable<AnyType>().lastIndex()};
}

void fillNameTableIndexes() {
    static unsigned fillers = 0;
    const std::string text = "allocation-failure filler #" + std::to_string(++fillers);
    nameTable<Any>().intern(text);
    nameTable<AnyType>().intern(text);
}

void expectNameTableLocksFree() {
    if (!locksAreFree()) {
        ADD_FAILURE() << "a name table's lock is still held after the operation";
        // Every later interning would wait for ever: stop here, with the failure printed above.
        std::fflush(stdout);
        std::abort();
    }
}

long checkNameTables(const NameTablesState& before, int maxNewEntries) {
    return checkTable(nameTable<Any>(), before.keysLastIndex, maxNewEntries, "key name") +
           checkTable(nameTable<AnyType>(), before.typesLastIndex, maxNewEntries, "type name");
}

} // namespace Tessel::Reliability
