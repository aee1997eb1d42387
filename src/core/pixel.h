// Small helpers shared by kernels and reference models: row addressing with
// signed byte steps, clamping.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace mox {

// Row y of a plane whose rows are `step` bytes apart (step may be negative).
template <class T>
inline T* row(T* p, int step, int y) {
    using B = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(p) + static_cast<std::ptrdiff_t>(step) * y);
}

template <class T>
constexpr T clamp(T v, T lo, T hi) {
    return v < lo ? lo : (v > hi ? hi : v);
}

constexpr int clampPixel(int v, int bitDepth = 8) {
    return clamp(v, 0, (1 << bitDepth) - 1);
}

}  // namespace mox
