// Concurrent use the library allows, one stress test per shared structure: the registry made by
// threads that use it first at the same moment, the name-atom tables, interned from many threads,
// and shared values read by many threads once the registry's first use is over. Results are
// compared after joining; under ThreadSanitizer any unguarded access fails the test as well.
// ctest runs each test in a process of its own, so the races for first use start afresh.

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

namespace {

using namespace Tessel::Dictionary;

constexpr int kThreads = 6; // more than the cores, so that the scheduler interleaves them

// Runs work(thread) on kThreads threads released together.
template <class Work>
void runConcurrently(const Work& work) {
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (++ready; ready < kThreads;) {
                std::this_thread::yield();
            }
            work(t);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Runs `race` in each of `children` processes forked from this one, which must not have made the
// first use the race is about; a child fails by its exit status (or a sanitizer's report).
void inFreshChildren(int children, const std::function<bool()>& race) {
    std::fflush(nullptr);
    for (int child = 0; child < children; ++child) {
        const pid_t pid = fork();
        ASSERT_NE(pid, -1) << "fork failed";
        if (pid == 0) {
            std::exit(race() ? 0 : 1); // exit() lets a sanitizer report on the way out
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child " << child << ", status " << status;
    }
}

// Half the threads come in through Any::set, the others through a lookup; each then looks up
// every built-in label. True when all found the same sixteen types under their labels.
bool raceForTheRegistry() {
    std::vector<std::vector<const AnyType*>> seen(kThreads);
    runConcurrently([&seen](int t) {
        if (t % 2 == 0) {
            Any().set(42);
        }
        for (const TypeAtom* label : Testing::kBuiltinLabels) {
            const AnyType* type = AnyTypeRegistry::typeByLabel(*label);
            seen[t].push_back(type != nullptr && type->label() == *label ? type : nullptr);
        }
    });
    return std::count(seen[0].begin(), seen[0].end(), nullptr) == 0 &&
           std::all_of(seen.begin(), seen.end(), [&](const auto& types) { return types == seen[0]; });
}

TEST(RegistryFirstUse, ThreadsStartingTogetherAllSeeTheSameBuiltinTypes) {
    // The race's window is the registration: many fresh processes.
    inFreshChildren(std::getenv("TSD_VALGRIND") != nullptr ? 4 : 64, raceForTheRegistry);
}

// Every thread interns the same new texts, starting at different places: one index per text,
// the same on every thread, with no index left unused.
bool oneIndexPerText() {
    std::vector<std::string> texts;
    for (int i = 0; i < 2000; ++i) {
        texts.push_back("stress text " + std::to_string(i));
    }
    std::vector<std::vector<std::uint32_t>> indices(kThreads, std::vector<std::uint32_t>(texts.size()));
    runConcurrently([&](int t) {
        for (std::size_t n = 0; n < texts.size(); ++n) {
            const std::size_t i = (n + static_cast<std::size_t>(t) * 331) % texts.size();
            const Tessel::Base::NameAtom<Any> atom(texts[i]);
            indices[t][i] = atom.getString() == texts[i] ? atom.getIndex() : 0;
        }
    });
    const std::set<std::uint32_t> issued(indices[0].begin(), indices[0].end());
    EXPECT_EQ(issued.size(), texts.size()) << "texts share an index, or one read back wrong";
    EXPECT_EQ(*issued.rbegin() - *issued.begin() + 1, texts.size()) << "an index was issued to no text";
    for (int t = 1; t < kThreads; ++t) {
        EXPECT_EQ(indices[t], indices[0]) << "thread " << t << " saw other indices";
    }
    return !::testing::Test::HasFailure();
}

TEST(ThreadStress, NameAtomTablesGiveEveryThreadOneIndexPerText) {
    // The key table is made on first use: the threads of each child race for the first table anew.
    inFreshChildren(24, oneIndexPerText);
}

// What a thread sees of a shared value through const operations (lookups of missing keys intern
// them), and of a private copy that it changes.
std::string observe(const Any& shared, int thread, int round) {
    std::ostringstream seen;
    Tessel::Base::SkeinHash::Engine engine;
    const Any& settings = shared["settings"];
    settings["width"].write(seen << settings["height"].as<double>() << settings["rate"].as<int>());
    seen << shared["frames"][2].as<float>() << shared.signature(engine).digest() << (shared == Any(shared))
         << shared[("missing " + std::to_string(thread) + "." + std::to_string(round)).c_str()].isEmpty();
    try {
        (void)settings["title"].as<int>();
    } catch (const AnyCastException& e) {
        seen << e.userMessage();
    }
    Any mine(shared);
    mine["settings"]["width"] = Any(settings["height"]); // converts into the int32 it holds
    mine["frames"][0].parse("9", *AnyTypeRegistry::typeByLabel(gTypeLabelInt64));
    seen << mine.signature(engine).digest();
    return seen.str();
}

TEST(ThreadStress, SharedValuesReadTheSameOnEveryThread) {
    const Dictionary settings{
        {"width", 1920}, {"height", 1080L}, {"title", "clip"}, {"rate", Tessel::Base::TimeBase(30, true)}};
    Any shared(Dictionary{{"settings", settings}, {"frames", std::vector<Any>{"one", Any(), "3"}}});
    shared["frames"][2].parse("3.5", *AnyTypeRegistry::typeByLabel(gTypeLabelDouble));
    const std::string expected = observe(shared, 0, 0);

    std::vector<int> differences(kThreads, 0);
    runConcurrently([&](int t) {
        for (int round = 0; round < 300; ++round) {
            differences[t] += observe(shared, t, round) != expected;
        }
    });
    EXPECT_EQ(differences, std::vector<int>(kThreads, 0));
    EXPECT_EQ(shared.dict().size(), 2U) << "a const lookup inserted";
}

} // namespace
