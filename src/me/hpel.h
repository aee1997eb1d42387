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

// Kernels instantiated per position are kept out of line: inlined into one
// dispatching wrapper, their row addressing gets hoisted above the switch
// and spilled. Out of line, the wrapper's switch just calls one of them.
#define MOX_OUT_OF_LINE __attribute__((noinline))

namespace mox::hpel {

// All-ones bytes when rounding halves down, zero bytes when rounding them up:
// the `flip` argument of Rows.
inline __m128i flipFor(int down) { return _mm_set1_epi8(static_cast<char>(down ? 0xFF : 0)); }

// The rows of an N-byte (N = 2, 4, 8 or 16) prediction at (HX, HY) from the
// top of a block down, with each source row loaded once: the lower row of a
// vertical pair is kept as the upper row of the next. Everything runs on
// bytes with pavgb. Halves round up; rounding them down is the same
// arithmetic on complemented samples (255 - x), complemented back, so `flip`
// (flipFor) costs one xor per loaded row and one per result. The half-half
// value (a + b + c + d + 2) >> 2 is pavgb(pavgb(a, b), pavgb(c, d)) less one
// where both inner averages rounded a half up and the outer one did too.
// at(y) must be called for y = 0, 1, 2, ... in order.
template <int N, int HX, int HY, int D = 1>
class Rows {
public:
    Rows(const Mox8u* p, int step, __m128i flip) : p_(p), step_(step), flip_(flip) {
        if constexpr (HY) {
            __m128i a = _mm_xor_si128(simd::load<N>(p), flip);
            if constexpr (HX) {
                __m128i b = _mm_xor_si128(simd::load<N>(p + D), flip);
                top_ = _mm_avg_epu8(a, b);
                odd_ = _mm_xor_si128(a, b);
            } else {
                top_ = a;
            }
        }
    }

    __m128i at(int y) {
        if constexpr (HX == 0 && HY == 0) {
            return simd::load<N>(row(p_, step_, y));
        } else if constexpr (HY == 0) {
            const Mox8u* r = row(p_, step_, y);
            __m128i a = _mm_xor_si128(simd::load<N>(r), flip_), b = _mm_xor_si128(simd::load<N>(r + D), flip_);
            return _mm_xor_si128(_mm_avg_epu8(a, b), flip_);
        } else if constexpr (HX == 0) {
            __m128i c = _mm_xor_si128(simd::load<N>(row(p_, step_, y + 1)), flip_);
            __m128i v = _mm_avg_epu8(top_, c);
            top_ = c;
            return _mm_xor_si128(v, flip_);
        } else {
            const Mox8u* r = row(p_, step_, y + 1);
            __m128i c = _mm_xor_si128(simd::load<N>(r), flip_), d = _mm_xor_si128(simd::load<N>(r + D), flip_);
            __m128i bottom = _mm_avg_epu8(c, d), odd = _mm_xor_si128(c, d);
            __m128i v = _mm_avg_epu8(top_, bottom);
            __m128i fix = _mm_and_si128(_mm_and_si128(_mm_xor_si128(top_, bottom), _mm_or_si128(odd_, odd)),
                                        _mm_set1_epi8(1));
            top_ = bottom;
            odd_ = odd;
            return _mm_xor_si128(_mm_sub_epi8(v, fix), flip_);
        }
    }

private:
    const Mox8u* p_;
    int step_;
    __m128i flip_;
    __m128i top_ = _mm_setzero_si128(), odd_ = _mm_setzero_si128();
};

// Prediction with an arbitrary integer rounding control, for the members that
// use it unmasked. The position is a run-time choice of neighbour offsets so
// one kernel serves all four: the sum s = a + x1 + x2 + x3 reads a four times
// at the full position, a, b, a, b at a half position and a, b, c, d at
// half-half, so s / 4 is the prediction with the rounding term scaled to
// match. Lanes are 32-bit; callers keep the terms small enough not to
// overflow, or only need the low bits.
struct General {
    int o1, o2, o3;     // byte offsets of the three further samples
    __m128i term;       // 0; 2 * (1 - rc) at half positions; 2 - rc at half-half
    __m128i truncMask;  // 3 to divide truncating toward zero, 0 for an arithmetic shift

    // truncHalfHalf: the half-half division truncates toward zero (the half
    // positions always shift arithmetically).
    static General make(Pos pos, int step, int d, int rc, bool truncHalfHalf) {
        General g;
        const int hOff = pos.hx ? d : 0, vOff = pos.hy ? step : 0;
        g.o1 = hOff;
        g.o2 = vOff;
        g.o3 = hOff + vOff;
        if (pos.hx + pos.hy == 1) {  // a, b, a, b
            g.o1 = pos.hx ? d : step;
            g.o2 = 0;
            g.o3 = g.o1;
        }
        // Wrapping 32-bit arithmetic: exact for the small rc the MC members
        // pass, and right in the low bits for the difference members.
        const uint32_t urc = static_cast<uint32_t>(rc);
        uint32_t t = 0;
        if (pos.index() == 3) t = 2u - urc;
        else if (pos.index() != 0) t = 2u * (1u - urc);
        g.term = _mm_set1_epi32(static_cast<int>(t));
        g.truncMask = _mm_set1_epi32(truncHalfHalf && pos.index() == 3 ? 3 : 0);
        return g;
    }

    // s = a + x1 + x2 + x3 for N (2, 4, 8 or 16) bytes from p, as 16-bit lanes
    // (lo: bytes 0..7, hi: bytes 8..15).
    template <int N>
    void sums(const Mox8u* p, __m128i& lo, __m128i& hi) const {
        __m128i a = simd::load<N>(p), b = simd::load<N>(p + o1), c = simd::load<N>(p + o2), d = simd::load<N>(p + o3);
        const __m128i zero = _mm_setzero_si128();
        lo = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero)),
                           _mm_add_epi16(_mm_unpacklo_epi8(c, zero), _mm_unpacklo_epi8(d, zero)));
        if constexpr (N == 16) {
            hi = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero)),
                               _mm_add_epi16(_mm_unpackhi_epi8(c, zero), _mm_unpackhi_epi8(d, zero)));
        } else {
            hi = zero;
        }
    }

    // Predictions from the four 16-bit sums in the low half of s16 (as 32-bit lanes).
    __m128i finish(__m128i s16) const {
        __m128i s = _mm_add_epi32(_mm_cvtepu16_epi32(s16), term);
        s = _mm_add_epi32(s, _mm_and_si128(_mm_srai_epi32(s, 31), truncMask));
        return _mm_srai_epi32(s, 2);
    }
};

}  // namespace mox::hpel
