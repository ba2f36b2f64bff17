// The race for the FIRST manager of the dictionary-key tag. The library interns only type labels
// while it loads, and this executable never makes a key atom in its own process: each race runs in
// a forked child, which starts with no key table at all, and all of the child's threads ask for
// the table at the same moment. Exactly one table may come out of it: every thread must see the
// others' texts, and the table must hold exactly what was interned. The window of the race is a
// single allocation wide, so it is run in many children.

#include <foundation/tsnameatom.h>

#include <gtest/gtest.h>

#include "tsconcurrently.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

namespace {

using KeyAtom = Tessel::Base::NameAtom<Tessel::Dictionary::Any>;
using Tessel::Testing::AtomTable;
using Tessel::Testing::runConcurrently;

// More threads than in the other stress tests, for as many first calls in the window as possible.
constexpr int kRacers = 16;
constexpr int kChildren = 24;

// One race in a process without a key table. Returns what went wrong, or an empty text.
std::string raceForTheFirstTable() {
    const std::string sharedText = "first-race-shared";
    // Built before the threads start: the texts' allocations are not part of the race.
    std::vector<std::string> ownTexts;
    for (int t = 0; t < kRacers; ++t) {
        ownTexts.push_back("first-race-own-" + std::to_string(t));
    }
    std::vector<std::uint32_t> sharedIndex(kRacers);
    std::vector<std::uint32_t> ownIndex(kRacers);
    std::vector<int> wrongTexts(kRacers, 0);
    runConcurrently(kRacers, [&](int t) {
        // Half the threads' first touch is an interning, the other half a text lookup.
        if (t % 2 == 0) {
            ownIndex[t] = KeyAtom(ownTexts[t]).getIndex();
            sharedIndex[t] = KeyAtom(sharedText).getIndex();
        } else {
            wrongTexts[t] += KeyAtom().getString().empty() ? 0 : 1;
            sharedIndex[t] = KeyAtom(sharedText.c_str()).getIndex();
            ownIndex[t] = KeyAtom(ownTexts[t].c_str()).getIndex();
        }
        wrongTexts[t] += KeyAtom(sharedText).getString() == sharedText ? 0 : 1;
    });

    for (int t = 0; t < kRacers; ++t) {
        if (wrongTexts[t] != 0) {
            return "thread " + std::to_string(t) + " read a wrong text";
        }
        if (sharedIndex[t] != sharedIndex[0]) {
            return "thread " + std::to_string(t) + " got another index for the shared text";
        }
    }
    // One table holds all: the shared text once and every thread's own text, nothing else, and
    // each thread's index still names its own text there.
    Tessel::Base::NameAtomManager& table = AtomTable<Tessel::Dictionary::Any>::manager();
    if (table.lastIndex() != kRacers + 1) {
        return "the table holds " + std::to_string(table.lastIndex()) + " texts, not " + std::to_string(kRacers + 1);
    }
    std::set<std::uint32_t> issued{sharedIndex[0]};
    for (int t = 0; t < kRacers; ++t) {
        if (table.findIndex(ownTexts[t]) != ownIndex[t] || table.getString(ownIndex[t]) != ownTexts[t]) {
            return "the text of thread " + std::to_string(t) + " is not where that thread put it";
        }
        issued.insert(ownIndex[t]);
    }
    if (issued.size() != static_cast<std::size_t>(kRacers + 1) || *issued.begin() != 1U ||
        *issued.rbegin() != static_cast<std::uint32_t>(kRacers + 1)) {
        return "the indices issued are not 1 to " + std::to_string(kRacers + 1);
    }
    return std::string();
}

TEST(FirstKeyManager, ConcurrentFirstUseMakesOneTable) {
    // This process has no threads of its own here, so forking it is safe. Output is flushed
    // first, so that no child writes the parent's buffered text again; the children end with
    // exit(), which also writes out the coverage counters of an instrumented build.
    std::fflush(nullptr);
    int failedChildren = 0;
    for (int child = 0; child < kChildren; ++child) {
        const pid_t pid = fork();
        ASSERT_NE(pid, -1) << "fork failed";
        if (pid == 0) {
            const std::string failure = raceForTheFirstTable();
            if (!failure.empty()) {
                std::fprintf(stderr, "first key table race: %s\n", failure.c_str());
            }
            std::fflush(stderr);
            std::exit(failure.empty() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        const bool passed = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        EXPECT_TRUE(passed) << "child " << child << " ended with status " << status;
        failedChildren += passed ? 0 : 1;
    }
    EXPECT_EQ(failedChildren, 0);
}

} // namespace
