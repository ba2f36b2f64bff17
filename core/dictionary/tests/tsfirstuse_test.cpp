// The registry's first use, made by several threads at the same moment. Each race runs in a forked
// child of this process, which never uses the registry itself, so every child starts without one.
// Under ThreadSanitizer a child that raced ends with a failing status of its own.

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

namespace {

using namespace Tessel::Dictionary;

constexpr int kThreads = 8;

const TypeAtom* const kBuiltinLabels[] = {
    &gTypeLabelBool,         &gTypeLabelChar,          &gTypeLabelInt8,       &gTypeLabelUnsignedInt8,
    &gTypeLabelInt16,        &gTypeLabelUnsignedInt16, &gTypeLabelInt32,      &gTypeLabelUnsignedInt32,
    &gTypeLabelInt64,        &gTypeLabelUnsignedInt64, &gTypeLabelFloat,      &gTypeLabelDouble,
    &gTypeLabelString,       &gTypeLabelDictionary,    &gTypeLabelVector,     &gTypeLabelTimeBase};

// One race in a process without a registry. Every thread comes in by another door, then looks up
// every built-in label. Returns what went wrong, or an empty text.
std::string raceForTheRegistry() {
    std::atomic<int> arrived{0};
    std::vector<std::vector<const AnyType*>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&arrived, &seen, t] {
            arrived.fetch_add(1);
            while (arrived.load() < kThreads) {
                std::this_thread::yield();
            }
            int variable = 0;
            switch (t % 4) {
            case 0:
                Any().set(42);
                break;
            case 1:
                Any{BindValue(variable)}.clear();
                break;
            case 2:
                AnyTypeRegistry::fromCasts(TypeAtom(typeid(int).name()));
                break;
            default:
                break; // straight to the lookups
            }
            for (const TypeAtom* label : kBuiltinLabels) {
                seen[t].push_back(AnyTypeRegistry::typeByLabel(*label));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < std::size(kBuiltinLabels); ++i) {
        if (seen[0][i] == nullptr || seen[0][i]->label() != *kBuiltinLabels[i]) {
            return "no type under '" + kBuiltinLabels[i]->getString() + "'";
        }
    }
    for (int t = 1; t < kThreads; ++t) {
        if (seen[t] != seen[0]) {
            return "thread " + std::to_string(t) + " saw other type objects than thread 0";
        }
    }
    return std::string();
}

TEST(RegistryFirstUse, ThreadsStartingTogetherAllSeeTheSameBuiltinTypes) {
    // The window of the race is the registration, so it is run in many fresh processes. This one
    // has no threads of its own here, so forking it is safe; output is flushed first so that no
    // child writes it again.
    const int children = std::getenv("TSD_VALGRIND") != nullptr ? 4 : 32;
    std::fflush(nullptr);
    for (int child = 0; child < children; ++child) {
        const pid_t pid = fork();
        ASSERT_NE(pid, -1) << "fork failed";
        if (pid == 0) {
            const std::string failure = raceForTheRegistry();
            if (!failure.empty()) {
                std::fprintf(stderr, "registry first-use race: %s\n", failure.c_str());
            }
            std::fflush(stderr);
            std::exit(failure.empty() ? 0 : 1); // exit() lets a sanitizer report on the way out
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child " << child << ", status " << status;
    }
}

} // namespace
