#ifndef TESSEL_RELIABILITY_INJECTIONHARNESS_H
#define TESSEL_RELIABILITY_INJECTIONHARNESS_H

// Runs one operation with its 1st, 2nd, 3rd, ... allocation failing in turn, on a fresh set-up
// each time, until a run completes without reaching the armed allocation; after every failed run
// the caller's check of the operation's guarantee runs, followed by the checks that hold for all
// operations: nothing leaked and both name tables are consistent with their locks free.

#include <functional>
#include <memory>
#include <string>

namespace Tessel::Reliability {

/// One operation under test. `make` builds the set-up (with allocations working), `run` performs
/// the operation on it with the failure armed, `checkFailed` checks the guarantee after a failed
/// run, `checkCompleted` the result of the run that did not fail. `run` catches the library's own
/// exceptions where throwing one is the operation's normal result. The failure must reach the
/// caller as std::bad_alloc: an operation that swallows it (and returns as if all went well) fails.
template <class Fixture>
struct Scenario {
    std::string operation;
    std::function<std::unique_ptr<Fixture>()> make;
    std::function<void(Fixture&)> run;
    std::function<void(Fixture&)> checkFailed;
    std::function<void(Fixture&)> checkCompleted;
    /// Whether the operation interns texts that are new. Growing a name table allocates only
    /// when its index is full, so before such a run a filler text fills both tables' indexes:
    /// every run then meets the same allocations, whatever earlier failed runs left behind.
    bool internsNewNames = false;
};

/// What injectEachAllocation() saw.
struct InjectionCount {
    /// Allocations made to fail, one run each.
    long points = 0;
    /// Of those, the failures the operation swallowed instead of reporting (each one is a test
    /// failure).
    long absorbed = 0;
};

namespace Impl {
struct Trial {
    std::function<void()> run;
    std::function<void()> checkFailed;
    std::function<void()> checkCompleted;
};
InjectionCount injectEachAllocation(const std::string& operation, bool internsNewNames,
                                    const std::function<Trial()>& makeTrial);
} // namespace Impl

/// Runs `scenario` once with working allocations (so that one-time set-ups of the library are
/// done), then with allocation 1, 2, 3, ... failing until a run completes. Records and prints the
/// count under the scenario's operation.
template <class Fixture>
InjectionCount injectEachAllocation(const Scenario<Fixture>& scenario) {
    return Impl::injectEachAllocation(scenario.operation, scenario.internsNewNames, [&scenario] {
        const std::shared_ptr<Fixture> fixture(scenario.make());
        return Impl::Trial{[&scenario, fixture] { scenario.run(*fixture); },
                           [&scenario, fixture] { scenario.checkFailed(*fixture); },
                           [&scenario, fixture] { scenario.checkCompleted(*fixture); }};
    });
}

} // namespace Tessel::Reliability

#endif
