// The replaced global allocation functions: malloc and free underneath (which the address
// sanitizer intercepts, so leak and use-after-free detection keep working), with a per-thread
// countdown that makes one chosen allocation fail.

#include "failinjection.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// Per thread, so that a failure armed by a test never hits another thread (a lock probe, say).
// Zero means disarmed. Constant-initialised: valid for allocations made before main().
thread_local long tCountdown = 0;
thread_local bool tFailed = false;
thread_local long tAllocations = 0;
thread_local const void* tFailedCaller = nullptr;

std::atomic<long> gLiveAllocations{0};

// True when this allocation is the one armed to fail.
bool failsNow(const void* caller) noexcept {
    ++tAllocations;
    if (tCountdown > 0 && --tCountdown == 0) {
        tFailed = true;
        tFailedCaller = caller;
        return true;
    }
    return false;
}

void* allocate(std::size_t size, const void* caller) {
    if (failsNow(caller)) {
        throw std::bad_alloc();
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    gLiveAllocations.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void* allocateAligned(std::size_t size, std::align_val_t alignment, const void* caller) {
    if (failsNow(caller)) {
        throw std::bad_alloc();
    }
    std::size_t align = static_cast<std::size_t>(alignment);
    if (align < sizeof(void*)) {
        align = sizeof(void*);
    }
    void* block = nullptr;
    if (posix_memalign(&block, align, size == 0 ? 1 : size) != 0) {
        throw std::bad_alloc();
    }
    gLiveAllocations.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr) {
        gLiveAllocations.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
    }
}

} // namespace

namespace Tessel::Reliability {

void failAllocation(long nth) noexcept {
    tFailed = false;
    tCountdown = nth;
}

void disarm() noexcept {
    tCountdown = 0;
}

bool allocationFailed() noexcept {
    return tFailed;
}

long liveAllocations() noexcept {
    return gLiveAllocations.load(std::memory_order_relaxed);
}

long allocationsOnThisThread() noexcept {
    return tAllocations;
}

const void* failedAllocationCaller() noexcept {
    return tFailedCaller;
}

} // namespace Tessel::Reliability

// --- the replaceable global allocation functions ----------------------------------------------------
// Each passes on the address it returns to, which tells whose code asked for the memory.

void* operator new(std::size_t size) {
    return allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
    return allocate(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size, __builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size, __builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, alignment, __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, alignment, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    try {
        return allocateAligned(size, alignment, __builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    try {
        return allocateAligned(size, alignment, __builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* block) noexcept {
    release(block);
}
void operator delete[](void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    release(block);
}
