// Shared pieces of the deblocking kernels: edge thresholds in the "at most"
// form used by the SIMD line tests.
#pragma once

#include <algorithm>
#include <cstdint>

namespace mox::deblock {

// |d| < alpha is tested as |d| <= am1; an edge with alpha or beta 0 filters
// no line (off). maxSample is the largest sample value of the kernel's lanes:
// thresholds above it pass every line, so they are capped without changing
// any result.
struct Limits {
    int am1, bm1, sm1;  // alpha - 1, beta - 1, (alpha >> 2) + 1 (the strong luma test)
    bool off;
};

inline Limits limits(uint32_t alpha, uint32_t beta, uint32_t maxSample = 255) {
    Limits l;
    l.off = alpha == 0 || beta == 0;
    l.am1 = static_cast<int>(std::min(alpha - 1, maxSample));
    l.bm1 = static_cast<int>(std::min(beta - 1, maxSample));
    l.sm1 = static_cast<int>(std::min((alpha >> 2) + 1, maxSample));
    return l;
}

}  // namespace mox::deblock

#include <smmintrin.h>

namespace mox::deblock {

// Lanes widened to twice the sample width for the bS 4 luma sums: 8-bit
// samples in 16-bit lanes, 16-bit samples in 32-bit lanes.
struct Wide16 {
    static __m128i lo(__m128i v) { return _mm_cvtepu8_epi16(v); }
    static __m128i hi(__m128i v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
    static __m128i set(int k) { return _mm_set1_epi16(static_cast<short>(k)); }
    template <int N> static __m128i shl(__m128i v) { return _mm_slli_epi16(v, N); }
    template <int N> static __m128i shr(__m128i v) { return _mm_srli_epi16(v, N); }
    static __m128i pack(__m128i a, __m128i b) { return _mm_packus_epi16(a, b); }
};
struct Wide32 {
    static __m128i lo(__m128i v) { return _mm_cvtepu16_epi32(v); }
    static __m128i hi(__m128i v) { return _mm_unpackhi_epi16(v, _mm_setzero_si128()); }
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
    static __m128i set(int k) { return _mm_set1_epi32(k); }
    template <int N> static __m128i shl(__m128i v) { return _mm_slli_epi32(v, N); }
    template <int N> static __m128i shr(__m128i v) { return _mm_srli_epi32(v, N); }
    static __m128i pack(__m128i a, __m128i b) { return _mm_packus_epi32(a, b); }
};

// The bS 4 luma filter of H.264 clause 8.7.2.4 on the lines v[0..7] = p3..q3:
// sp / sq select the lines whose p / q side takes the strong outputs, strong
// the lines filtered with bS 4 at all (the others of those take wp0 / wq0,
// the weak p0' / q0').
template <class W>
inline __attribute__((always_inline)) void strongLuma(__m128i* v, __m128i sp, __m128i sq, __m128i strong,
                                                        __m128i wp0, __m128i wq0) {
    __m128i out[6][2];
#pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        auto w = [h](__m128i x) { return h ? W::hi(x) : W::lo(x); };
        const __m128i P3 = w(v[0]), P2 = w(v[1]), P1 = w(v[2]), P0 = w(v[3]), Q0 = w(v[4]), Q1 = w(v[5]),
                      Q2 = w(v[6]), Q3 = w(v[7]);
        const __m128i two = W::set(2), four = W::set(4);
        const __m128i sP = W::add(W::add(P1, P0), Q0), sQ = W::add(W::add(Q1, Q0), P0);
        const __m128i tP = W::add(P2, sP), tQ = W::add(Q2, sQ);
        out[0][h] = W::template shr<3>(W::add(W::add(W::template shl<1>(W::add(P3, P2)), tP), four));
        out[1][h] = W::template shr<2>(W::add(tP, two));
        out[2][h] = W::template shr<3>(W::add(W::add(tP, sP), W::add(Q1, four)));
        out[3][h] = W::template shr<3>(W::add(W::add(tQ, sQ), W::add(P1, four)));
        out[4][h] = W::template shr<2>(W::add(tQ, two));
        out[5][h] = W::template shr<3>(W::add(W::add(W::template shl<1>(W::add(Q3, Q2)), tQ), four));
    }
    auto pk = [&out](int k) { return W::pack(out[k][0], out[k][1]); };
    const __m128i s2 = pk(2), s3 = pk(3);
    v[1] = _mm_blendv_epi8(v[1], pk(0), sp);
    v[2] = _mm_blendv_epi8(v[2], pk(1), sp);
    v[3] = _mm_blendv_epi8(v[3], _mm_blendv_epi8(wp0, s2, sp), strong);
    v[4] = _mm_blendv_epi8(v[4], _mm_blendv_epi8(wq0, s3, sq), strong);
    v[5] = _mm_blendv_epi8(v[5], pk(4), sq);
    v[6] = _mm_blendv_epi8(v[6], pk(5), sq);
}

}  // namespace mox::deblock
