#include "injectionharness.h"

#include "failinjection.h"
#include "nametables.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <new>
#include <string>
#include <utility>

namespace Tessel::Reliability {

namespace {

// No operation under test comes near this many allocations; a run that does is a harness fault.
constexpr long kMaxPoints = 100000;

// Counts per operation, for the summary at the end of the run.
std::map<std::string, InjectionCount>& tally() {
    static std::map<std::string, InjectionCount> counts;
    return counts;
}

// Prints the total over every operation run in this process.
class TallyReport : public ::testing::Environment {
public:
    void TearDown() override {
        InjectionCount total;
        for (const auto& entry : tally()) {
            total.points += entry.second.points;
            total.absorbed += entry.second.absorbed;
        }
        std::printf("[ injected ] total: %ld allocation points over %zu operations (%ld absorbed)\n",
                    total.points, tally().size(), total.absorbed);
    }
};

[[maybe_unused]] ::testing::Environment* const kTallyReport =
    ::testing::AddGlobalTestEnvironment(new TallyReport);

enum class RunEnd { Completed, BadAlloc, OtherException };

struct Run {
    RunEnd end = RunEnd::Completed;
    bool failureInjected = false;
};

// Performs the operation with allocation `nth` armed to fail (0: none).
Run runArmed(const Impl::Trial& trial, long nth) {
    Run result;
    {
        const ArmedAllocationFailure armed(nth);
        try {
            trial.run();
        } catch (const std::bad_alloc&) {
            result.end = RunEnd::BadAlloc;
        } catch (...) {
            result.end = RunEnd::OtherException;
        }
        result.failureInjected = nth > 0 && allocationFailed();
    }
    return result;
}

// Heap blocks that `checks` left allocated: gtest keeps the record of every failed expectation.
// They are not the operation's, so the leak check leaves them out.
long retainedBy(const std::function<void()>& checks) {
    const long before = liveAllocations();
    checks();
    return liveAllocations() - before;
}

// The checks after a run in which allocation `nth` failed.
void checkFailedRun(const Impl::Trial& trial, RunEnd end, InjectionCount& count) {
    ++count.points;
    switch (end) {
    case RunEnd::BadAlloc:
        trial.checkFailed();
        break;
    case RunEnd::Completed:
        ++count.absorbed;
        ADD_FAILURE() << "the operation swallowed the allocation failure and returned normally";
        trial.checkFailed();
        break;
    case RunEnd::OtherException:
        ADD_FAILURE() << "the allocation failure came out as another exception";
        break;
    }
}

// Runs one trial and its checks; true when the operation completed without a failure. Allocation
// `nth` fails (none for 0, the warm-up, whose one-time set-ups are exempt from the leak check).
bool runTrial(const std::function<Impl::Trial()>& makeTrial, long nth, bool internsNewNames,
              InjectionCount& count) {
    if (internsNewNames) {
        fillNameTableIndexes();
    }
    const long liveBefore = liveAllocations();
    const NameTablesState tablesBefore = nameTablesState();
    bool completed = false;
    long retained = 0;
    {
        const Impl::Trial trial = makeTrial();
        const Run run = runArmed(trial, nth);
        // First, as the checks below may intern themselves.
        retained += retainedBy(expectNameTableLocksFree);
        retained += retainedBy([&] {
            if (run.failureInjected) {
                checkFailedRun(trial, run.end, count);
            } else {
                EXPECT_EQ(run.end, RunEnd::Completed) << "the operation failed without an injected failure";
                trial.checkCompleted();
                completed = true;
            }
        });
    }
    if (nth > 0) {
        // The set-up and everything the operation made are gone now, except new name-table entries.
        long permanent = 0;
        retained += retainedBy([&] { permanent = checkNameTables(tablesBefore); });
        EXPECT_EQ(liveAllocations() - liveBefore - retained, permanent) << "heap blocks leaked";
    }
    return completed;
}

} // namespace

namespace Impl {

InjectionCount injectEachAllocation(const std::string& operation, bool internsNewNames,
                                    const std::function<Trial()>& makeTrial) {
    InjectionCount count;
    {
        SCOPED_TRACE(operation + ", without a failure (warm-up)");
        runTrial(makeTrial, 0, internsNewNames, count);
    }
    bool completed = false;
    for (long nth = 1; !completed && nth <= kMaxPoints; ++nth) {
        SCOPED_TRACE(operation + ", allocation " + std::to_string(nth) + " armed to fail");
        completed = runTrial(makeTrial, nth, internsNewNames, count);
    }
    EXPECT_TRUE(completed) << operation << " never completed";
    tally()[operation] = count;
    std::printf("[ injected ] %s: %ld allocation points (%ld absorbed)\n", operation.c_str(), count.points,
                count.absorbed);
    return count;
}

} // namespace Impl

} // namespace Tessel::Reliability
