#ifndef TESSEL_TESTS_RELIABILITY_THREADS_TSCONCURRENTLY_H
#define TESSEL_TESTS_RELIABILITY_THREADS_TSCONCURRENTLY_H

// Starts several threads that begin their work at the same moment, and the protected accessors
// the stress tests use to look into the name-atom tables.

#include <foundation/tsnameatom.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace Tessel::Testing {

/// Threads per stress test: more than the two cores, so that the scheduler interleaves them.
inline constexpr int kStressThreads = 6;

/// Runs work(threadIndex) on `threadCount` new threads at once and joins them all. No thread
/// starts its work before every thread has been created and has reached the start line, so the
/// bodies overlap as much as the machine allows; the start line is an atomic counter, which
/// orders what each thread did before it against the work of all others, and nothing after it.
/// An exception thrown by a body is rethrown here after all threads are joined.
template <class Work>
void runConcurrently(int threadCount, const Work& work) {
    std::atomic<int> arrived{0};
    std::vector<std::exception_ptr> failures(static_cast<std::size_t>(threadCount));
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(threadCount));
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&arrived, &failures, &work, threadCount, t] {
            arrived.fetch_add(1, std::memory_order_acq_rel);
            while (arrived.load(std::memory_order_acquire) < threadCount) {
                std::this_thread::yield();
            }
            try {
                work(t);
            } catch (...) {
                failures[static_cast<std::size_t>(t)] = std::current_exception();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
}

/// The protected manager of a tag's atoms.
template <class Tag>
struct AtomTable : Base::NameAtom<Tag> {
    static Base::NameAtomManager& manager() { return Base::NameAtom<Tag>::getManager(); }
};

} // namespace Tessel::Testing

#endif
