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

// Rows of a block of 4 N rows, each one addressing mode: row 4 j + k is
// quad[j] plus 0, step, 2 * step or step3 = 3 * step, which keeps a 16-row
// block to six registers (the compiler left to itself forms a pointer per
// row or multiples of the step).
template <class T, int N>
struct RowQuads {
    using B = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    B* quad[N];
    std::ptrdiff_t step, step3;
    RowQuads(T* p, int s) : step(s), step3(3 * static_cast<std::ptrdiff_t>(s)) {
        for (int j = 0; j < N; ++j) quad[j] = reinterpret_cast<B*>(p) + 4 * j * step;
    }
    // The same rows, the compiler made to forget their relation to the
    // rows it has addressed so far (a later pass over the rows then reuses
    // none of the earlier pass's row pointers, which would need a register
    // each).
    RowQuads laundered() const {
        RowQuads r = *this;
        for (int j = 0; j < N; ++j) __asm__("" : "+r"(r.quad[j]));
        __asm__("" : "+r"(r.step), "+r"(r.step3));
        return r;
    }
    T* operator()(int y) const {
        B* b = quad[y >> 2];
        const int k = y & 3;
        return reinterpret_cast<T*>(k == 3 ? b + step3 : b + k * step);
    }
};

template <class T>
constexpr T clamp(T v, T lo, T hi) {
    return v < lo ? lo : (v > hi ? hi : v);
}

constexpr int clampPixel(int v, int bitDepth = 8) {
    return clamp(v, 0, (1 << bitDepth) - 1);
}

}  // namespace mox
