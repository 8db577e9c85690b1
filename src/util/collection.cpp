// The item keeper that collections hand the items they drop to.

#include "ostradb/util/collection.hpp"

#include <atomic>

namespace ostradb {

namespace {
std::atomic<ItemKeeper> keeper{nullptr};
}

void SetItemKeeper(ItemKeeper k) noexcept {
    keeper.store(k, std::memory_order_release);
}

namespace detail {
ItemKeeper CurrentItemKeeper() noexcept {
    return keeper.load(std::memory_order_acquire);
}
}  // namespace detail

}  // namespace ostradb
