#ifndef TESSEL_TESTS_SUPPORT_TSCOUNTINGALLOCATOR_H
#define TESSEL_TESTS_SUPPORT_TSCOUNTINGALLOCATOR_H

// Linking tscountingallocator.cpp into a test executable replaces the global operator new with
// one that counts every allocation of the process, those made inside the library included.

namespace Tessel::Testing {

/// The number of calls of the global operator new so far.
long allocationCount() noexcept;

} // namespace Tessel::Testing

#endif
