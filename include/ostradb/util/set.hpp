#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace ostradb {

// A set over an enumeration of at most 32 values, stored as a bit mask whose bit i stands for
// the enumeration value i (the form sets take on the wire and in the serializer).
template <class E>
class Set {
    static_assert(std::is_enum_v<E>, "Set is a set of enumeration values");

public:
    constexpr Set() = default;
    constexpr Set(std::initializer_list<E> values) {
        for (E v : values)
            Include(v);
    }
    static constexpr Set FromMask(std::uint32_t mask) {
        Set s;
        s.mask_ = mask;
        return s;
    }

    constexpr std::uint32_t Mask() const { return mask_; }
    constexpr bool Contains(E v) const { return (mask_ & Bit(v)) != 0; }
    constexpr bool Empty() const { return mask_ == 0; }
    constexpr Set& Include(E v) {
        mask_ |= Bit(v);
        return *this;
    }
    constexpr Set& Exclude(E v) {
        mask_ &= ~Bit(v);
        return *this;
    }

    constexpr Set operator+(Set o) const { return FromMask(mask_ | o.mask_); }
    constexpr Set operator*(Set o) const { return FromMask(mask_ & o.mask_); }
    constexpr Set operator-(Set o) const { return FromMask(mask_ & ~o.mask_); }
    constexpr bool operator==(const Set&) const = default;

private:
    static constexpr std::uint32_t Bit(E v) {
        return std::uint32_t{1} << static_cast<unsigned>(static_cast<std::underlying_type_t<E>>(v));
    }
    std::uint32_t mask_ = 0;
};

}  // namespace ostradb
