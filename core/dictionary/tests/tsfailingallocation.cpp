// The global operator new of the registry failure tests: malloc, except for the one allocation
// that failAllocation() picked, which throws std::bad_alloc.

#include "tsfailingallocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
// Allocations left before the failure; 0 when disarmed.
std::atomic<long> gCountdown{0};
std::atomic<bool> gFailed{false};
} // namespace

namespace Tessel::Dictionary::Testing {

void failAllocation(long count) noexcept {
    gFailed = false;
    gCountdown = count;
}

bool allocationFailed() noexcept {
    return gFailed;
}

} // namespace Tessel::Dictionary::Testing

void* operator new(std::size_t size) {
    long left = gCountdown.load();
    while (left > 0 && !gCountdown.compare_exchange_weak(left, left - 1)) {
    }
    if (left == 1) {
        gFailed = true;
        throw std::bad_alloc();
    }
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
