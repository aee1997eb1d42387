// Half-sample prediction shared by the copy, MC, difference and metric
// families.
//
// Two position encodings exist and must not be mixed:
//   acc    (copy, add, interpolate-average): bit 0 horizontal, bit 1 vertical;
//   mcType (MC, GetDiff, metrics):           bit 3 horizontal, bit 2 vertical.
// Both map to a Pos; index() = hx + 2*hy (0 full, 1 h, 2 v, 3 hv).
#pragma once

#include <smmintrin.h>

#include <type_traits>

#include "me/simd.h"

namespace mox::hpel {

struct Pos {
    int hx, hy;
    constexpr int index() const { return hx + 2 * hy; }
};

constexpr Pos fromAcc(int acc) { return {acc & 1, (acc >> 1) & 1}; }
constexpr Pos fromMcType(int mcType) { return {(mcType >> 3) & 1, (mcType >> 2) & 1}; }

template <int V>
using Int = std::integral_constant<int, V>;

// Calls f(Int<hx>, Int<hy>) so kernels are instantiated once per position.
template <class F>
inline decltype(auto) dispatch(Pos p, F&& f) {
    switch (p.index()) {
        case 0: return f(Int<0>{}, Int<0>{});
        case 1: return f(Int<1>{}, Int<0>{});
        case 2: return f(Int<0>{}, Int<1>{});
        default: return f(Int<1>{}, Int<1>{});
    }
}

// One row of N (4, 8 or 16) 8-bit predicted samples at (HX, HY). Horizontal
// neighbours are D bytes apart (1 planar, 2 for interleaved two-channel
// rows). `down` is 1 in every 16-bit lane to round halves down, 0 to round
// them up: half = (a + b + 1 - down) >> 1, half-half = (a + b + c + d + 2 - down) >> 2.
template <int N, int HX, int HY, int D = 1>
inline __m128i predRow(const Mox8u* p, int step, __m128i down) {
    __m128i a = simd::load<N>(p);
    if constexpr (HX == 0 && HY == 0) {
        return a;
    } else if constexpr (HX + HY == 1) {
        __m128i b = simd::load<N>(HX ? p + D : p + step);
        // pavgb rounds up; take 1 back where a + b is odd and rounding is down.
        __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_packus_epi16(down, down));
        return _mm_sub_epi8(_mm_avg_epu8(a, b), odd);
    } else {
        const Mox8u* q = p + step;
        __m128i b = simd::load<N>(p + D), c = simd::load<N>(q), d = simd::load<N>(q + D);
        const __m128i zero = _mm_setzero_si128();
        __m128i bias = _mm_sub_epi16(_mm_set1_epi16(2), down);
        __m128i lo = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero)),
                                   _mm_add_epi16(_mm_unpacklo_epi8(c, zero), _mm_unpacklo_epi8(d, zero)));
        lo = _mm_srli_epi16(_mm_add_epi16(lo, bias), 2);
        if constexpr (N <= 8) {
            return _mm_packus_epi16(lo, lo);
        } else {
            __m128i hi = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero)),
                                       _mm_add_epi16(_mm_unpackhi_epi8(c, zero), _mm_unpackhi_epi8(d, zero)));
            hi = _mm_srli_epi16(_mm_add_epi16(hi, bias), 2);
            return _mm_packus_epi16(lo, hi);
        }
    }
}

// Rounding vectors for predRow.
inline __m128i roundUp() { return _mm_setzero_si128(); }
inline __m128i roundDown() { return _mm_set1_epi16(1); }
inline __m128i rounding(int down) { return _mm_set1_epi16(static_cast<short>(down & 1)); }

// Scalar prediction of one sample with the rounding term given explicitly
// (reference models and the members whose rounding control is unmasked):
// half = (a + b + term1) >> 1, half-half = (a + b + c + d + term2) >> 2,
// in 64-bit arithmetic with arithmetic shifts.
inline long long predSample(const Mox8u* p, int step, Pos pos, int d, long long term1, long long term2) {
    long long a = p[0];
    if (pos.index() == 0) return a;
    if (pos.index() == 3) return (a + p[d] + p[step] + p[step + d] + term2) >> 2;
    return (a + (pos.hx ? p[d] : p[step]) + term1) >> 1;
}

}  // namespace mox::hpel
