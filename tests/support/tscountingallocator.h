#ifndef TESSEL_TESTS_SUPPORT_TSCOUNTINGALLOCATOR_H
#define TESSEL_TESTS_SUPPORT_TSCOUNTINGALLOCATOR_H

// Linking tscountingallocator.cpp into a test executable replaces the global operator new and
// delete: every allocation of the process, the library's included, is counted and can be made
// to fail on demand.

namespace Tessel::Testing {

/// Blocks handed out by operator new and not yet given back.
long liveAllocations() noexcept;
/// Makes the `nth` allocation from now on this thread throw std::bad_alloc, once; 0 disarms.
void failAllocation(long nth) noexcept;
/// True when the failure armed last on this thread has happened.
bool allocationFailed() noexcept;

} // namespace Tessel::Testing

#endif
