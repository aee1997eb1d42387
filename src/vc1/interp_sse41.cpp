// VC-1 quarter-sample interpolation of 8-bit samples (SMPTE 421M
// motion compensation), one kernel per block size and fraction pair.
//
// Bicubic: the four taps run as two pmaddubsw byte pairs, (t0, t1) on the
// samples at -1, 0 and (t2, t3) at +1, +2; every one-dimensional sum fits
// 16 bits (-1785..18105). In the two-dimensional case the vertical pass
// gives 16-bit intermediates and the horizontal pass stays in 16-bit lanes
// too: for every fraction pair its sums S lie within -9180..41820, formed
// modulo 2^16. The vertical pass adds c = -16320 / (sum of the horizontal
// taps) to every intermediate inside its rounding bias, which lowers S by
// 16320 = 128 * 128 - 64 into the signed range, so that one floor division
// by 128 (pmulhw by 2^9) gives floor((S + 64) / 128) - 128 for rnd 0. For
// rnd 1 the vertical taps are negated and the bias chosen so that each
// intermediate is -(I + c), and the same division gives
// 127 - floor((S + 63) / 128). packsswb clamps either to -128..127, and an
// exclusive or with 0x80 or 0x7F turns it into the clamped sample.
//
// Bilinear: pmaddubsw with the weight pair (4 - f, f) along x, pmullw along y.
#include <array>
#include <cstdint>
#include <utility>

#include "core/check.h"
#include "me/simd.h"
#include "vc1/interp_kernels.h"
#include "vc1/interp_sizes.h"
#include "vc1/transform_simd.h"

namespace {

using namespace mox;

#define MOX_VC1_OUT_OF_LINE __attribute__((noinline))

constexpr int kTaps[4][4] = {{0, 0, 0, 0}, {-4, 53, 18, -3}, {-1, 9, 9, -1}, {-3, 18, 53, -4}};
constexpr int kShift1D[4] = {0, 6, 4, 6};
constexpr int kHalfShift[4] = {0, 5, 1, 5};

// Byte pair (a, b) repeated, the signed operand of pmaddubsw.
inline __m128i taps8(int a, int b) {
    return _mm_set1_epi16(static_cast<short>((static_cast<unsigned>(b) << 8) | (static_cast<unsigned>(a) & 0xFFu)));
}

// Kernels return the status of the exported call, so that callers end in a tail jump.
using Kernel = MoxStatus (*)(const Mox8u*, int, Mox8u*, int, int);

template <int W, int H>
MOX_VC1_OUT_OF_LINE MoxStatus copyBlock(const Mox8u* src, int ss, Mox8u* dst, int ds, int) {
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) simd::store<W>(row(dst, ds, y), simd::load<W>(row(src, ss, y)));
    return moxStsNoErr;
}

// ---------------------------------------------------------------- bicubic

// Tap sums of 16 (W = 16) or 8 byte columns: a, b, c, d hold the samples at
// -1, 0, +1, +2 along the filter direction.
template <int W>
inline void tapSums(__m128i a, __m128i b, __m128i c, __m128i d, __m128i t01, __m128i t23, __m128i& lo, __m128i& hi) {
    lo = _mm_add_epi16(_mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), t01), _mm_maddubs_epi16(_mm_unpacklo_epi8(c, d), t23));
    if constexpr (W == 16)
        hi = _mm_add_epi16(_mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), t01),
                           _mm_maddubs_epi16(_mm_unpackhi_epi8(c, d), t23));
    else
        hi = lo;
}

// Vertical only: rows -1..2 slide down the block, each loaded once.
template <int W, int H, int DY>
MOX_VC1_OUT_OF_LINE MoxStatus bicubicV(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int s = kShift1D[DY];
    const __m128i t01 = taps8(kTaps[DY][0], kTaps[DY][1]), t23 = taps8(kTaps[DY][2], kTaps[DY][3]);
    const __m128i bias = _mm_set1_epi16(static_cast<short>((1 << (s - 1)) - 1 + rnd));
    __m128i r0 = simd::load<W>(row(src, ss, -1)), r1 = simd::load<W>(src), r2 = simd::load<W>(row(src, ss, 1));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        const __m128i r3 = simd::load<W>(row(src, ss, y + 2));
        __m128i lo, hi;
        tapSums<W>(r0, r1, r2, r3, t01, t23, lo, hi);
        lo = _mm_srai_epi16(_mm_add_epi16(lo, bias), s);
        hi = _mm_srai_epi16(_mm_add_epi16(hi, bias), s);
        simd::store<W>(row(dst, ds, y), _mm_packus_epi16(lo, hi));
        r0 = r1;
        r1 = r2;
        r2 = r3;
    }
    return moxStsNoErr;
}

// Horizontal only: four loads per row at -1 .. +2 (ending at column W + 1).
template <int W, int H, int DX>
MOX_VC1_OUT_OF_LINE MoxStatus bicubicH(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int s = kShift1D[DX];
    const __m128i t01 = taps8(kTaps[DX][0], kTaps[DX][1]), t23 = taps8(kTaps[DX][2], kTaps[DX][3]);
    const __m128i bias = _mm_set1_epi16(static_cast<short>((1 << (s - 1)) - rnd));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        const Mox8u* p = row(src, ss, y);
        __m128i lo, hi;
        tapSums<W>(simd::load<W>(p - 1), simd::load<W>(p), simd::load<W>(p + 1), simd::load<W>(p + 2), t01, t23, lo,
                   hi);
        lo = _mm_srai_epi16(_mm_add_epi16(lo, bias), s);
        hi = _mm_srai_epi16(_mm_add_epi16(hi, bias), s);
        simd::store<W>(row(dst, ds, y), _mm_packus_epi16(lo, hi));
    }
    return moxStsNoErr;
}

// Range of the two-dimensional horizontal sums for one fraction pair.
struct SumRange {
    int lo, hi;
};
constexpr SumRange sumRange(int dx, int dy) {
    const int s1 = (kHalfShift[dx] + kHalfShift[dy]) >> 1;
    int vneg = 0, vpos = 0, hneg = 0, hpos = 0;
    for (int k = 0; k < 4; ++k) {
        (kTaps[dy][k] < 0 ? vneg : vpos) += kTaps[dy][k] * 255;
        (kTaps[dx][k] < 0 ? hneg : hpos) += kTaps[dx][k];
    }
    const int imin = (vneg + (1 << (s1 - 1)) - 1) >> s1, imax = (vpos + (1 << (s1 - 1))) >> s1;
    return {hpos * imin + hneg * imax, hpos * imax + hneg * imin};
}
constexpr int kLower = 128 * 128 - 64;  // keeps floor division by 128 exact

// The offset of every intermediate that lowers the horizontal sums by kLower.
constexpr int offsetOf(int dx) { return -kLower / (dx == 2 ? 16 : 64); }
static_assert(offsetOf(1) * 64 == -kLower && offsetOf(2) * 16 == -kLower, "the horizontal taps sum to 16 or 64");

// v * C, the constant in a register or (Mem) read by the multiply itself.
template <int C, bool Mem>
inline __m128i times(__m128i v) {
    return Mem ? vc1::mulm<C>(v) : vc1::mullo<C>(v);
}

// t0 * v0 + t1 * v1 + t2 * v2 + t3 * v3 modulo 2^16.
template <int DX, bool Mem>
inline __m128i hsum16(__m128i v0, __m128i v1, __m128i v2, __m128i v3) {
    if constexpr (DX == 2) {
        const __m128i in = _mm_add_epi16(v1, v2);
        return _mm_sub_epi16(times<9, Mem>(in), _mm_add_epi16(v0, v3));
    } else {
        constexpr int n = DX == 1 ? 0 : 3;  // the -4 tap's position
        constexpr int f = DX == 1 ? 3 : 0;  // the -3 tap's position
        const __m128i v[4] = {v0, v1, v2, v3};
        const __m128i big = times<53, Mem>(v[DX == 1 ? 1 : 2]);
        const __m128i mid = times<18, Mem>(v[DX == 1 ? 2 : 1]);
        const __m128i t = _mm_add_epi16(_mm_add_epi16(big, mid), times<-4, Mem>(v[n]));
        return _mm_sub_epi16(t, times<3, Mem>(v[f]));
    }
}

// floor(sum / 128) of intermediates offset as above: the clamped sample
// minus 128 (rnd 0), or 127 minus it (rnd 1). Mem: see times.
template <int DX, int DY, bool Mem>
inline __m128i hpass(__m128i v0, __m128i v1, __m128i v2, __m128i v3) {
    constexpr SumRange R = sumRange(DX, DY);
    static_assert(R.lo - kLower >= -32768 && R.hi - kLower <= 32767 && kLower - R.hi >= -32768 &&
                      kLower - R.lo <= 32767,
                  "two-dimensional sums must fit 16 bits once lowered");
    return _mm_mulhi_epi16(hsum16<DX, Mem>(v0, v1, v2, v3), _mm_set1_epi16(1 << 9));  // >> 7
}

// Samples from two hpass results: clamp to -128..127, then the exclusive or
// `flip` (0x80 for rnd 0, 0x7F for rnd 1).
inline __m128i toSamples(__m128i a, __m128i b, __m128i flip) { return _mm_xor_si128(_mm_packs_epi16(a, b), flip); }

// The vertical pass of the two-dimensional case: the taps (negated for
// rnd 1) and rounding bias with the offset described at the top, and the
// sum of the output row between the byte pairs `above` (rows -1, 0) and
// `below` (rows 1, 2); with the exclusive or that turns the horizontal
// results into samples.
template <int DX, int DY>
struct VerticalPass {
    static constexpr int s1 = (kHalfShift[DX] + kHalfShift[DY]) >> 1;
    static constexpr int lift = offsetOf(DX) * (1 << s1), h = 1 << (s1 - 1);
    static_assert(18105 + h - lift <= 32767 && -18105 + lift >= -32768, "offset vertical sums must fit 16 bits");
    __m128i t01, t23, bias, flip;
    explicit VerticalPass(int rnd) {
        const int sign = rnd ? -1 : 1;
        t01 = taps8(sign * kTaps[DY][0], sign * kTaps[DY][1]);
        t23 = taps8(sign * kTaps[DY][2], sign * kTaps[DY][3]);
        bias = _mm_set1_epi16(static_cast<short>(h - 1 + (rnd ? -lift : lift)));
        flip = _mm_set1_epi8(static_cast<char>(0x80 - rnd));
    }
    MOX_INLINE __m128i sum(__m128i above, __m128i below) const {
        const __m128i v = _mm_add_epi16(_mm_maddubs_epi16(above, t01), _mm_maddubs_epi16(below, t23));
        return _mm_srai_epi16(_mm_add_epi16(v, bias), s1);
    }
};

// Byte pairs of the 4-byte rows a, b, c: (a, b) in bytes 0..7, (b, c) in 8..15.
inline __m128i quad(__m128i a, __m128i b, __m128i c) {
    return _mm_unpacklo_epi8(_mm_unpacklo_epi32(a, b), _mm_unpacklo_epi32(b, c));
}

// Both fractions nonzero, 16 wide, in two passes over a small stack buffer.
// The vertical pass covers columns -1 .. 17 of each row: 16 bytes at -1 and
// 4 at 14. The byte pairs of rows (k, k + 1) serve two output rows, k + 1
// with the taps (t0, t1) and k - 1 with (t2, t3), so each is unpacked once,
// and columns 14..17 of two row pairs share one register. Each row's
// intermediates I[-1 .. 17] are stored as I[-1 .. 14] and I[15 .. 17], in
// stores that do not overlap; the horizontal pass then reads the four tap
// positions of each group of 8 outputs with unaligned loads instead of
// aligning registers.
template <int H, int DX, int DY>
MOX_VC1_OUT_OF_LINE MoxStatus bicubicHV16(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int kMid = 24;  // intermediates per row: I[-1 .. 17] at 0 .. 18, then slack
    alignas(16) int16_t mid[H * kMid];
    const VerticalPass<DX, DY> v(rnd);
    auto put = [](int16_t* p, __m128i x) { _mm_store_si128(reinterpret_cast<__m128i*>(p), x); };
    struct Pair {
        __m128i lo, hi;
    };
    auto pair = [](__m128i a, __m128i b) { return Pair{_mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b)}; };
    auto emit = [&](const Pair& above, const Pair& below, int16_t* m) {
        put(m, v.sum(above.lo, below.lo));      // I[-1..6]
        put(m + 8, v.sum(above.hi, below.hi));  // I[7..14]
    };
    auto loadA = [](const Mox8u* p) { return simd::load<16>(p - 1); };
    auto loadB = [](const Mox8u* p) { return simd::load<4>(p + 14); };
    // Rows y - 1 .. y + 3 make the pairs of output rows y and y + 1.
    __m128i rA = loadA(row(src, ss, -1)), rB = loadB(row(src, ss, -1));
    __m128i sA = loadA(src), sB = loadB(src);
    Pair p0 = pair(rA, sA);  // rows (y - 1, y)
    __m128i tA = loadA(row(src, ss, 1)), tB = loadB(row(src, ss, 1));
    Pair p1 = pair(sA, tA);         // rows (y, y + 1)
    __m128i pb = quad(rB, sB, tB);  // (y - 1, y), (y, y + 1)
#pragma GCC unroll 4
    for (int y = 0; y < H; y += 2) {
        const Mox8u* p2 = row(src, ss, y + 2);
        const Mox8u* p3 = row(src, ss, y + 3);
        sA = loadA(p2);
        const Pair n0 = pair(tA, sA);  // rows (y + 1, y + 2)
        rA = loadA(p3);
        const Pair n1 = pair(sA, rA);  // rows (y + 2, y + 3)
        int16_t* m = mid + y * kMid;
        emit(p0, n0, m);
        emit(p1, n1, m + kMid);
        sB = loadB(p2);
        rB = loadB(p3);
        const __m128i nb = quad(tB, sB, rB);
        // I[15 .. 17] of rows y and y + 1 (the sums start at I[14]).
        simd::store8x2(m + 16, m + kMid + 16, _mm_srli_epi64(v.sum(pb, nb), 16));
        pb = nb;
        tB = rB;
        p0 = n0;
        p1 = n1;
        tA = rA;
    }
    const __m128i flip = v.flip;
    auto get = [](const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    auto eight = [&](const int16_t* m) { return hpass<DX, DY, false>(get(m), get(m + 1), get(m + 2), get(m + 3)); };
#pragma GCC unroll 4
    for (int y = 0; y < H; ++y) {
        const int16_t* m = mid + y * kMid;
        simd::store<16>(row(dst, ds, y), toSamples(eight(m), eight(m + 8), flip));
    }
    return moxStsNoErr;
}

// Both fractions nonzero, 8x8, wholly in registers, two output rows at a
// time. Each row's intermediates I[-1 .. 6] come from 8 bytes per source
// row, and I[6 .. 9] of two output rows share one register, from 4 bytes
// per source row at column 6 (byte pairs as in bicubicHV16). The horizontal
// taps are the row's register and the other moved down to I[7] and aligned
// onto it; the multiplies read their constants from memory, which keeps
// every value in a register.
template <int DX, int DY>
MOX_VC1_OUT_OF_LINE MoxStatus bicubicHV8(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    const VerticalPass<DX, DY> v(rnd);
    const __m128i flip = v.flip;
    // Output row from I[-1 .. 6] and a register whose lanes 0..2 are I[7 .. 9].
    auto hrow = [](__m128i lo, __m128i tail) {
        return hpass<DX, DY, true>(lo, _mm_alignr_epi8(tail, lo, 2), _mm_alignr_epi8(tail, lo, 4),
                                   _mm_alignr_epi8(tail, lo, 6));
    };
    auto loadA = [](const Mox8u* p) { return simd::load<8>(p - 1); };
    auto loadB = [](const Mox8u* p) { return simd::load<4>(p + 6); };
    __m128i a0 = loadA(row(src, ss, -1)), a1 = loadA(src), a2 = loadA(row(src, ss, 1));
    __m128i b2 = loadB(row(src, ss, 1));
    __m128i p0 = _mm_unpacklo_epi8(a0, a1), p1 = _mm_unpacklo_epi8(a1, a2);  // rows (y - 1, y), (y, y + 1)
    __m128i q0 = quad(loadB(row(src, ss, -1)), loadB(src), b2);
#pragma GCC unroll 4
    for (int y = 0; y < 8; y += 2) {
        const Mox8u* r2 = row(src, ss, y + 2);
        const Mox8u* r3 = row(src, ss, y + 3);
        const __m128i a3 = loadA(r2), a4 = loadA(r3), b4 = loadB(r3);
        const __m128i n0 = _mm_unpacklo_epi8(a2, a3), n1 = _mm_unpacklo_epi8(a3, a4);
        const __m128i q1 = quad(b2, loadB(r2), b4);
        const __m128i tails = v.sum(q0, q1);  // I[6..9] of rows y and y + 1
        const __m128i o0 = hrow(v.sum(p0, n0), _mm_srli_si128(tails, 2));
        const __m128i o1 = hrow(v.sum(p1, n1), _mm_srli_si128(tails, 10));
        simd::store8x2(row(dst, ds, y), row(dst, ds, y + 1), toSamples(o0, o1, flip));
        p0 = n0;
        p1 = n1;
        q0 = q1;
        a2 = a4;
        b2 = b4;
    }
    return moxStsNoErr;
}

template <int W, int H, int DX, int DY>
constexpr Kernel pickBicubic() {
    if constexpr (DX == 0 && DY == 0)
        return copyBlock<W, H>;
    else if constexpr (DX == 0)
        return bicubicV<W, H, DY>;
    else if constexpr (DY == 0)
        return bicubicH<W, H, DX>;
    else if constexpr (W == 8)
        return bicubicHV8<DX, DY>;
    else
        return bicubicHV16<H, DX, DY>;
}

template <int W, int H, size_t... I>
constexpr std::array<Kernel, 16> bicubicTable(std::index_sequence<I...>) {
    return {{pickBicubic<W, H, static_cast<int>(I & 3), static_cast<int>(I >> 2)>()...}};
}

constexpr std::array<Kernel, 16> kBicubic8x8 = bicubicTable<8, 8>(std::make_index_sequence<16>{});
constexpr std::array<Kernel, 16> kBicubic16x8 = bicubicTable<16, 8>(std::make_index_sequence<16>{});
constexpr std::array<Kernel, 16> kBicubic16x16 = bicubicTable<16, 16>(std::make_index_sequence<16>{});

// ---------------------------------------------------------------- bilinear

// B bytes per row (4, 8 or 16), H rows; P the byte distance of horizontal
// neighbours (1, or 2 for interleaved U/V).
template <int B, int H, int P, int DX, int DY>
MOX_VC1_OUT_OF_LINE MoxStatus bilinearBlock(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    const __m128i wx = taps8(4 - DX, DX);
    auto hrow = [&wx](const Mox8u* p, __m128i& lo, __m128i& hi) {
        const __m128i a = simd::load<B>(p), b = simd::load<B>(p + P);
        lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), wx);
        hi = B == 16 ? _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), wx) : lo;
    };
    if constexpr (DY == 0) {
        const __m128i bias = _mm_set1_epi16(static_cast<short>(2 - rnd));
#pragma GCC unroll 16
        for (int y = 0; y < H; ++y) {
            __m128i lo, hi;
            hrow(row(src, ss, y), lo, hi);
            lo = _mm_srli_epi16(_mm_add_epi16(lo, bias), 2);
            hi = _mm_srli_epi16(_mm_add_epi16(hi, bias), 2);
            simd::store<B>(row(dst, ds, y), _mm_packus_epi16(lo, hi));
        }
    } else if constexpr (DX == 0) {
        const __m128i wy = taps8(4 - DY, DY), bias = _mm_set1_epi16(static_cast<short>(2 - rnd));
        __m128i r0 = simd::load<B>(src);
#pragma GCC unroll 16
        for (int y = 0; y < H; ++y) {
            const __m128i r1 = simd::load<B>(row(src, ss, y + 1));
            __m128i lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(r0, r1), wy);
            __m128i hi = B == 16 ? _mm_maddubs_epi16(_mm_unpackhi_epi8(r0, r1), wy) : lo;
            lo = _mm_srli_epi16(_mm_add_epi16(lo, bias), 2);
            hi = _mm_srli_epi16(_mm_add_epi16(hi, bias), 2);
            simd::store<B>(row(dst, ds, y), _mm_packus_epi16(lo, hi));
            r0 = r1;
        }
    } else {
        const __m128i w0 = _mm_set1_epi16(4 - DY), w1 = _mm_set1_epi16(DY);
        const __m128i bias = _mm_set1_epi16(static_cast<short>(8 - rnd));
        __m128i lo0, hi0;
        hrow(src, lo0, hi0);
#pragma GCC unroll 16
        for (int y = 0; y < H; ++y) {
            __m128i lo1, hi1;
            hrow(row(src, ss, y + 1), lo1, hi1);
            const __m128i lo = _mm_add_epi16(_mm_mullo_epi16(lo0, w0), _mm_mullo_epi16(lo1, w1));
            const __m128i hi = _mm_add_epi16(_mm_mullo_epi16(hi0, w0), _mm_mullo_epi16(hi1, w1));
            simd::store<B>(row(dst, ds, y), _mm_packus_epi16(_mm_srli_epi16(_mm_add_epi16(lo, bias), 4),
                                                             _mm_srli_epi16(_mm_add_epi16(hi, bias), 4)));
            lo0 = lo1;
            hi0 = hi1;
        }
    }
    return moxStsNoErr;
}

template <int B, int H, int P, int DX, int DY>
constexpr Kernel pickBilinear() {
    if constexpr (DX == 0 && DY == 0)
        return copyBlock<B, H>;
    else
        return bilinearBlock<B, H, P, DX, DY>;
}

template <int B, int H, int P, size_t... I>
constexpr std::array<Kernel, 16> bilinearTable(std::index_sequence<I...>) {
    return {{pickBilinear<B, H, P, static_cast<int>(I & 3), static_cast<int>(I >> 2)>()...}};
}

template <int B, int H, int P>
constexpr std::array<Kernel, 16> kBilinear = bilinearTable<B, H, P>(std::make_index_sequence<16>{});

// The kernel of a requested size and fraction pair.
MOX_INLINE Kernel bicubicKernel(MoxiSize size, int dx, int dy) {
    const MoxiSize s = vc1::bicubicSize(size);
    const std::array<Kernel, 16>& t = s.width == 8 ? kBicubic8x8 : s.height == 8 ? kBicubic16x8 : kBicubic16x16;
    return t[(dy & 3) * 4 + (dx & 3)];
}

MOX_INLINE Kernel bilinearKernel(MoxiSize size, int dx, int dy, bool pairs) {
    const MoxiSize s = pairs ? vc1::bilinearPairsSize(size) : vc1::bilinearSize(size);
    const int pos = (dy & 3) * 4 + (dx & 3);
    if (pairs)
        return s.width == 8 ? (s.height == 8 ? kBilinear<16, 8, 2>[pos] : kBilinear<16, 4, 2>[pos])
                            : kBilinear<8, 4, 2>[pos];
    if (s.width == 16) return kBilinear<16, 16, 1>[pos];
    if (s.width == 8) return s.height == 8 ? kBilinear<8, 8, 1>[pos] : kBilinear<8, 4, 1>[pos];
    return kBilinear<4, 4, 1>[pos];
}

}  // namespace

namespace mox::vc1 {

void bicubic8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd) {
    bicubicKernel(size, dx, dy)(src, srcStep, dst, dstStep, rnd & 1);
}

void bilinear8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd,
                bool pairs) {
    bilinearKernel(size, dx, dy, pairs)(src, srcStep, dst, dstStep, rnd & 1);
}

}  // namespace mox::vc1

namespace {

// The plain forms: 0 bicubic, 1 bilinear, 2 bilinear on U/V pairs.
template <int kKind>
MOX_INLINE MoxStatus plain(const MoxVCQPInterpParams* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc, pParams->pDst);
    const MoxVCQPInterpParams& p = *pParams;
    const Kernel k = kKind == 0 ? bicubicKernel(p.size, p.dx, p.dy) : bilinearKernel(p.size, p.dx, p.dy, kKind == 2);
    return k(p.pSrc, p.srcStep, p.pDst, p.dstStep, p.rnd & 1);
}

}  // namespace

MOX_FN moxiInterpolateQPBicubic_VC1_8u_C1R(const MoxVCQPInterpParams* pParams) { return plain<0>(pParams); }
MOX_FN moxiInterpolateQPBilinear_VC1_8u_C1R(const MoxVCQPInterpParams* pParams) { return plain<1>(pParams); }
MOX_FN moxiInterpolateQPBilinear_VC1_8u_C2R(const MoxVCQPInterpParams* pParams) { return plain<2>(pParams); }
