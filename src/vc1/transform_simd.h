// 16-bit lane helpers shared by the VC-1 kernels: an 8x8 transpose and a
// multiply by a constant that stays one pmullw.
#pragma once

#include <smmintrin.h>

namespace mox::vc1 {

// 8x8 transpose of 16-bit lanes: out[c] lane r = in[r] lane c.
inline __attribute__((always_inline)) void transpose8(const __m128i in[8], __m128i out[8]) {
    const __m128i a0 = _mm_unpacklo_epi16(in[0], in[1]), a1 = _mm_unpackhi_epi16(in[0], in[1]);
    const __m128i a2 = _mm_unpacklo_epi16(in[2], in[3]), a3 = _mm_unpackhi_epi16(in[2], in[3]);
    const __m128i a4 = _mm_unpacklo_epi16(in[4], in[5]), a5 = _mm_unpackhi_epi16(in[4], in[5]);
    const __m128i a6 = _mm_unpacklo_epi16(in[6], in[7]), a7 = _mm_unpackhi_epi16(in[6], in[7]);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    out[0] = _mm_unpacklo_epi64(b0, b4);
    out[1] = _mm_unpackhi_epi64(b0, b4);
    out[2] = _mm_unpacklo_epi64(b1, b5);
    out[3] = _mm_unpackhi_epi64(b1, b5);
    out[4] = _mm_unpacklo_epi64(b2, b6);
    out[5] = _mm_unpackhi_epi64(b2, b6);
    out[6] = _mm_unpacklo_epi64(b3, b7);
    out[7] = _mm_unpackhi_epi64(b3, b7);
}

// v * C in 16-bit lanes as one pmullw: the constant is hidden from the
// compiler, whose shift-and-add expansion costs more in two-operand SSE.
template <int C>
inline __attribute__((always_inline)) __m128i mullo(__m128i v) {
    __m128i k = _mm_set1_epi16(C);
    __asm__("" : "+x"(k));
    return _mm_mullo_epi16(v, k);
}

// The same with the constant read from memory, so that it stays one pmullw
// with a memory operand instead of a register load per use.
template <int C>
struct Splat16 {
    alignas(16) static constexpr short v[8] = {C, C, C, C, C, C, C, C};
};
template <int C>
inline __attribute__((always_inline)) __m128i mulm(__m128i v) {
    const short* p = Splat16<C>::v;
    __asm__("" : "+r"(p));
    return _mm_mullo_epi16(v, _mm_load_si128(reinterpret_cast<const __m128i*>(p)));
}

}  // namespace mox::vc1
