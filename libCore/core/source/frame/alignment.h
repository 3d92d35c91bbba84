// Sizes, pitches and addresses on a grid.
#pragma once

#include <cstdint>

#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

// The multiple of a power of two at or below, or above, a number.
template <class T>
constexpr T roundDown(T value, T powerOfTwo) {
    return value & ~(powerOfTwo - 1);
}
template <class T>
constexpr T roundUp(T value, T powerOfTwo) {
    return roundDown<T>(value + (powerOfTwo - 1), powerOfTwo);
}

// Row pitch of planes that come from the DSP: a multiple of 128 bytes.
inline int32_t stride128(int32_t width) {
    return roundDown(wrapAdd(width, 127), 128);
}

// The first address on the grid at or behind one, as what stands there.
template <class T>
T* alignedTo(void* memory, uintptr_t powerOfTwo) {
    return reinterpret_cast<T*>(roundUp(reinterpret_cast<uintptr_t>(memory), powerOfTwo));
}

}  // namespace eis
