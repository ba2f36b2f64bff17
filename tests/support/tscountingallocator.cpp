// The replaced global allocation functions: malloc and free underneath (which the sanitizers
// intercept), a count, and a per-thread countdown to one failing allocation. The standard
// library's array and nothrow forms call these.

#include "tscountingallocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> gLive{0};
thread_local long tCountdown = 0;
thread_local bool tFailed = false;
} // namespace

namespace Tessel::Testing {
long liveAllocations() noexcept { return gLive.load(); }
void failAllocation(long nth) noexcept { tCountdown = nth; tFailed = false; }
bool allocationFailed() noexcept { return tFailed; }
} // namespace Tessel::Testing

void* operator new(std::size_t size) {
    if (tCountdown > 0 && --tCountdown == 0) {
        tFailed = true;
        throw std::bad_alloc();
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++gLive;
    return block;
}
void operator delete(void* block) noexcept {
    if (block != nullptr) {
        --gLive;
        std::free(block);
    }
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
