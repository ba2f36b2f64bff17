#include "freshtypes.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace Tessel::Reliability {

namespace {

template <int N>
struct Unregistered {
    int value = N;
};

template <int N>
void setUnregistered(Dictionary::Any& any) {
    any.set(Unregistered<N>{});
}

// Enough for every operation of this executable that meets unregistered types, one per run.
constexpr std::size_t kPoolSize = 512;

template <std::size_t... N>
constexpr std::array<FreshType, sizeof...(N)> makePool(std::index_sequence<N...>) {
    return {FreshType{&typeid(Unregistered<static_cast<int>(N)>), &setUnregistered<static_cast<int>(N)>}...};
}

} // namespace

FreshType nextFreshType() {
    static const std::array<FreshType, kPoolSize> pool = makePool(std::make_index_sequence<kPoolSize>());
    static std::size_t used = 0;
    if (used == pool.size()) {
        throw std::logic_error("the pool of unregistered host types is used up");
    }
    return pool[used++];
}

} // namespace Tessel::Reliability
