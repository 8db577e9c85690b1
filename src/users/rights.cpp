#include "ostradb/users/rights.hpp"

namespace ostradb {

TUserRights RightBitsToSet(std::uint32_t mask) {
    // Bit i of the mask is right i, so the set's own mask is the low seven bits.
    return TUserRights::FromMask(mask & 0x7Fu);
}

}  // namespace ostradb
