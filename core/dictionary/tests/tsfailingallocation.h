#ifndef TESSEL_DICTIONARY_TESTS_TSFAILINGALLOCATION_H
#define TESSEL_DICTIONARY_TESTS_TSFAILINGALLOCATION_H

// Allocation failure on demand for the executable that links tsfailingallocation.cpp, which
// replaces the global operator new: every allocation of the process, the library's included,
// goes through it.

namespace Tessel::Dictionary::Testing {

/// Makes the `count`-th allocation from now on (1: the very next) throw std::bad_alloc, once.
/// 0 disarms.
void failAllocation(long count) noexcept;

/// True when the failure armed by the last failAllocation() has happened.
bool allocationFailed() noexcept;

} // namespace Tessel::Dictionary::Testing

#endif
