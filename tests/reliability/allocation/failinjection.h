#ifndef TESSEL_RELIABILITY_FAILINJECTION_H
#define TESSEL_RELIABILITY_FAILINJECTION_H

// Control of the replaced global allocation functions of this executable. They serve every
// operator new and delete of the process, the shared library's included (the executable's
// definitions win the dynamic symbol lookup), and are disarmed unless a test arms them.

namespace Tessel::Reliability {

/// Makes the `nth` allocation from now on the calling thread fail (n >= 1): the throwing forms of
/// operator new throw std::bad_alloc, the nothrow forms return null. Fails once, then disarms.
void failAllocation(long nth) noexcept;
/// Cancels a pending failure on the calling thread.
void disarm() noexcept;
/// True when the failure armed last on the calling thread has happened.
bool allocationFailed() noexcept;
/// Blocks handed out by operator new and not yet given back, over all threads.
long liveAllocations() noexcept;
/// Allocations made so far by the calling thread.
long allocationsOnThisThread() noexcept;
/// The code address that called operator new for the failure that happened last on this thread.
const void* failedAllocationCaller() noexcept;

/// Arms failAllocation(nth) for the lifetime of the object and disarms on the way out.
class ArmedAllocationFailure {
public:
    explicit ArmedAllocationFailure(long nth) noexcept { failAllocation(nth); }
    ~ArmedAllocationFailure() { disarm(); }
    ArmedAllocationFailure(const ArmedAllocationFailure&) = delete;
    ArmedAllocationFailure& operator=(const ArmedAllocationFailure&) = delete;
};

} // namespace Tessel::Reliability

#endif
