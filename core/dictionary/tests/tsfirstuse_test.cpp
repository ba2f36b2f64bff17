// Threads that make the registry's first use at the same moment, each race in a forked child of this
// process, which never uses the registry itself (under ThreadSanitizer a racy child fails itself).

#include <dictionary/tsany.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

using namespace Tessel::Dictionary;

const TypeAtom* const kBuiltinLabels[] = {
    &gTypeLabelBool,  &gTypeLabelChar,          &gTypeLabelInt8,   &gTypeLabelUnsignedInt8,  &gTypeLabelInt16,
    &gTypeLabelUnsignedInt16, &gTypeLabelInt32, &gTypeLabelUnsignedInt32, &gTypeLabelInt64, &gTypeLabelUnsignedInt64,
    &gTypeLabelFloat, &gTypeLabelDouble,        &gTypeLabelString, &gTypeLabelDictionary,    &gTypeLabelVector,
    &gTypeLabelTimeBase};

// One race: half the threads come in through Any::set, the others through a lookup; each then
// looks up every built-in label. True when all found the same sixteen types under their labels.
bool raceForTheRegistry() {
    constexpr int kThreads = 8;
    std::atomic<int> arrived{0};
    std::vector<std::vector<const AnyType*>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&arrived, &seen, t] {
            for (arrived.fetch_add(1); arrived.load() < kThreads;) {
                std::this_thread::yield();
            }
            if (t % 2 == 0) {
                Any().set(42);
            }
            for (const TypeAtom* label : kBuiltinLabels) {
                const AnyType* type = AnyTypeRegistry::typeByLabel(*label);
                seen[t].push_back(type != nullptr && type->label() == *label ? type : nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return std::count(seen[0].begin(), seen[0].end(), nullptr) == 0 &&
           std::all_of(seen.begin(), seen.end(), [&](const auto& types) { return types == seen[0]; });
}

TEST(RegistryFirstUse, ThreadsStartingTogetherAllSeeTheSameBuiltinTypes) {
    // The race's window is the registration: many fresh processes. This one has no threads here.
    const int children = std::getenv("TSD_VALGRIND") != nullptr ? 4 : 64;
    std::fflush(nullptr);
    for (int child = 0; child < children; ++child) {
        const pid_t pid = fork();
        ASSERT_NE(pid, -1) << "fork failed";
        if (pid == 0) {
            std::exit(raceForTheRegistry() ? 0 : 1); // exit() lets a sanitizer report on the way out
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child " << child << ", status " << status;
    }
}

} // namespace
