// VC-1 quarter-sample interpolation of 8-bit samples (SMPTE 421M
// motion compensation), one kernel per block size and fraction pair.
//
// Bicubic: the four taps run as two pmaddubsw byte pairs, (t0, t1) on the
// samples at -1, 0 and (t2, t3) at +1, +2; every one-dimensional sum fits
// 16 bits (-1785..18105). In the two-dimensional case the vertical pass
// gives 16-bit intermediates and the horizontal pass stays in 16-bit lanes
// too: for every fraction pair its sums lie within -9180..41820, so they are
// formed modulo 2^16 and lowered by 128 * 128, which brings every one into
// the signed 16-bit range; the arithmetic shift by 7 then gives the exact
// floor((sum + 64 - rnd) / 128) - 128, which packsswb clamps to -128..127
// and a flip of the top bit turns into the clamped sample.
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

using Kernel = void (*)(const Mox8u*, int, Mox8u*, int, int);

template <int W, int H>
MOX_VC1_OUT_OF_LINE void copyBlock(const Mox8u* src, int ss, Mox8u* dst, int ds, int) {
    for (int y = 0; y < H; ++y) simd::store<W>(row(dst, ds, y), simd::load<W>(row(src, ss, y)));
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
MOX_VC1_OUT_OF_LINE void bicubicV(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int s = kShift1D[DY];
    const __m128i t01 = taps8(kTaps[DY][0], kTaps[DY][1]), t23 = taps8(kTaps[DY][2], kTaps[DY][3]);
    const __m128i bias = _mm_set1_epi16(static_cast<short>((1 << (s - 1)) - 1 + rnd));
    __m128i r0 = simd::load<W>(row(src, ss, -1)), r1 = simd::load<W>(src), r2 = simd::load<W>(row(src, ss, 1));
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
}

// Horizontal only: four loads per row at -1 .. +2 (ending at column W + 1).
template <int W, int H, int DX>
MOX_VC1_OUT_OF_LINE void bicubicH(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int s = kShift1D[DX];
    const __m128i t01 = taps8(kTaps[DX][0], kTaps[DX][1]), t23 = taps8(kTaps[DX][2], kTaps[DX][3]);
    const __m128i bias = _mm_set1_epi16(static_cast<short>((1 << (s - 1)) - rnd));
    for (int y = 0; y < H; ++y) {
        const Mox8u* p = row(src, ss, y);
        __m128i lo, hi;
        tapSums<W>(simd::load<W>(p - 1), simd::load<W>(p), simd::load<W>(p + 1), simd::load<W>(p + 2), t01, t23, lo,
                   hi);
        lo = _mm_srai_epi16(_mm_add_epi16(lo, bias), s);
        hi = _mm_srai_epi16(_mm_add_epi16(hi, bias), s);
        simd::store<W>(row(dst, ds, y), _mm_packus_epi16(lo, hi));
    }
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
constexpr int kLower = 128 * 128;  // keeps floor division by 128 exact

// t0 * v0 + t1 * v1 + t2 * v2 + t3 * v3 + bias modulo 2^16.
template <int DX>
inline __m128i hsum16(__m128i v0, __m128i v1, __m128i v2, __m128i v3, __m128i bias) {
    if constexpr (DX == 2) {
        const __m128i in = _mm_add_epi16(v1, v2);
        const __m128i t = _mm_add_epi16(vc1::mullo<9>(in), bias);
        return _mm_sub_epi16(t, _mm_add_epi16(v0, v3));
    } else {
        constexpr int n = DX == 1 ? 0 : 3;  // the -4 tap's position
        constexpr int f = DX == 1 ? 3 : 0;  // the -3 tap's position
        const __m128i v[4] = {v0, v1, v2, v3};
        const __m128i big = vc1::mullo<53>(v[DX == 1 ? 1 : 2]);
        const __m128i mid = vc1::mullo<18>(v[DX == 1 ? 2 : 1]);
        // -4 as a multiply too: a shift and subtract would need a copy of the bias.
        const __m128i t = _mm_add_epi16(_mm_add_epi16(_mm_add_epi16(big, mid), bias), vc1::mullo<-4>(v[n]));
        return _mm_sub_epi16(t, vc1::mullo<3>(v[f]));
    }
}

// floor((sum + 64 - rnd) / 128) - 128; bias is 64 - rnd - kLower.
template <int DX, int DY>
inline __m128i hpass(__m128i v0, __m128i v1, __m128i v2, __m128i v3, __m128i bias) {
    constexpr SumRange R = sumRange(DX, DY);
    static_assert(R.lo + 63 - kLower >= -32768 && R.hi + 64 - kLower <= 32767,
                  "two-dimensional sums must fit 16 bits once lowered");
    return _mm_srai_epi16(hsum16<DX>(v0, v1, v2, v3, bias), 7);
}

// Samples from two hpass results: clamp to -128..127, then flip the top bit.
inline __m128i toSamples(__m128i a, __m128i b) {
    return _mm_xor_si128(_mm_packs_epi16(a, b), _mm_set1_epi8(static_cast<char>(0x80)));
}

// Both fractions nonzero, in two passes over a small stack buffer. The
// vertical pass covers columns -1 .. W + 1 of each row (W = 16: 16 bytes at
// -1 and 4 at 14; W = 8: 8 bytes at -1 and 8 at 2, in one register) and
// stores the 16-bit intermediates of the row, two rows at a time; the byte
// pairs of rows (k, k + 1) serve two output rows, k + 1 with the taps
// (t0, t1) and k - 1 with (t2, t3), so each is unpacked once, and columns
// 14..17 of two row pairs share one register. The horizontal pass then
// reads the four tap positions of each group of 8 outputs with unaligned
// loads instead of aligning registers.
template <int W, int H, int DX, int DY>
MOX_VC1_OUT_OF_LINE void bicubicHV(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    constexpr int s1 = (kHalfShift[DX] + kHalfShift[DY]) >> 1;
    constexpr int kMid = 24;  // intermediates per row: I[-1 .. W + 1] at 0 .. W + 2, then slack
    alignas(16) int16_t mid[H * kMid];
    const __m128i t01 = taps8(kTaps[DY][0], kTaps[DY][1]), t23 = taps8(kTaps[DY][2], kTaps[DY][3]);
    const __m128i vbias = _mm_set1_epi16(static_cast<short>((1 << (s1 - 1)) - 1 + rnd));
    auto loadA = [](const Mox8u* p) {
        if constexpr (W == 16)
            return simd::load<16>(p - 1);
        else
            return simd::load8x2(p - 1, p + 2);
    };
    auto loadB = [](const Mox8u* p) { return W == 16 ? simd::load<4>(p + 14) : _mm_setzero_si128(); };
    auto put = [](int16_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); };
    auto sum = [&](__m128i above, __m128i below) {
        const __m128i v = _mm_add_epi16(_mm_maddubs_epi16(above, t01), _mm_maddubs_epi16(below, t23));
        return _mm_srai_epi16(_mm_add_epi16(v, vbias), s1);
    };
    // Byte pairs of two rows (16 or 8 columns), and for W = 16 the pairs of
    // columns 14..17 of two consecutive row pairs in one register.
    struct Pair {
        __m128i lo, hi;
    };
    auto pair = [](__m128i a, __m128i b) { return Pair{_mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b)}; };
    auto quad = [](__m128i a, __m128i b, __m128i c) {
        return _mm_unpacklo_epi8(_mm_unpacklo_epi32(a, b), _mm_unpacklo_epi32(b, c));
    };
    // Intermediates of the row between the pairs `above` (rows -1, 0) and `below` (rows 1, 2).
    auto emit = [&](const Pair& above, const Pair& below, int16_t* m) {
        put(m, sum(above.lo, below.lo));                      // I[-1..6]
        put(m + (W == 16 ? 8 : 3), sum(above.hi, below.hi));  // I[7..14] or I[2..9]
    };
    // Rows y - 1 .. y + 3 make the pairs of output rows y and y + 1.
    __m128i rA = loadA(row(src, ss, -1)), rB = loadB(row(src, ss, -1));
    __m128i sA = loadA(src), sB = loadB(src);
    Pair p0 = pair(rA, sA);  // rows (y - 1, y)
    __m128i tA = loadA(row(src, ss, 1)), tB = loadB(row(src, ss, 1));
    Pair p1 = pair(sA, tA);  // rows (y, y + 1)
    [[maybe_unused]] __m128i pb = W == 16 ? quad(rB, sB, tB) : _mm_setzero_si128();  // (y - 1, y), (y, y + 1)
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
        if constexpr (W == 16) {
            sB = loadB(p2);
            rB = loadB(p3);
            const __m128i nb = quad(tB, sB, rB);
            const __m128i e = sum(pb, nb);  // I[14..17] of rows y and y + 1
            _mm_storel_epi64(reinterpret_cast<__m128i*>(m + 15), e);
            _mm_storeh_pi(reinterpret_cast<__m64*>(m + kMid + 15), _mm_castsi128_ps(e));
            pb = nb;
            tB = rB;
        }
        p0 = n0;
        p1 = n1;
        tA = rA;
    }
    const __m128i hbias = _mm_set1_epi16(static_cast<short>(64 - rnd - kLower));
    auto get = [](const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    for (int y = 0; y < H; ++y) {
        const int16_t* m = mid + y * kMid;
        const __m128i first = hpass<DX, DY>(get(m), get(m + 1), get(m + 2), get(m + 3), hbias);
        if constexpr (W == 16) {
            const __m128i second = hpass<DX, DY>(get(m + 8), get(m + 9), get(m + 10), get(m + 11), hbias);
            simd::store<16>(row(dst, ds, y), toSamples(first, second));
        } else {
            simd::store<8>(row(dst, ds, y), toSamples(first, first));
        }
    }
}

template <int W, int H, int DX, int DY>
constexpr Kernel pickBicubic() {
    if constexpr (DX == 0 && DY == 0)
        return copyBlock<W, H>;
    else if constexpr (DX == 0)
        return bicubicV<W, H, DY>;
    else if constexpr (DY == 0)
        return bicubicH<W, H, DX>;
    else
        return bicubicHV<W, H, DX, DY>;
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
MOX_VC1_OUT_OF_LINE void bilinearBlock(const Mox8u* src, int ss, Mox8u* dst, int ds, int rnd) {
    const __m128i wx = taps8(4 - DX, DX);
    auto hrow = [&wx](const Mox8u* p, __m128i& lo, __m128i& hi) {
        const __m128i a = simd::load<B>(p), b = simd::load<B>(p + P);
        lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), wx);
        hi = B == 16 ? _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), wx) : lo;
    };
    if constexpr (DY == 0) {
        const __m128i bias = _mm_set1_epi16(static_cast<short>(2 - rnd));
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

}  // namespace

namespace mox::vc1 {

void bicubic8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd) {
    const MoxiSize s = bicubicSize(size);
    const std::array<Kernel, 16>& t = s.width == 8 ? kBicubic8x8 : s.height == 8 ? kBicubic16x8 : kBicubic16x16;
    t[(dy & 3) * 4 + (dx & 3)](src, srcStep, dst, dstStep, rnd & 1);
}

void bilinear8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd,
                bool pairs) {
    const MoxiSize s = pairs ? bilinearPairsSize(size) : bilinearSize(size);
    const int pos = (dy & 3) * 4 + (dx & 3);
    Kernel k;
    if (pairs)
        k = s.width == 8 ? (s.height == 8 ? kBilinear<16, 8, 2>[pos] : kBilinear<16, 4, 2>[pos]) : kBilinear<8, 4, 2>[pos];
    else if (s.width == 16)
        k = kBilinear<16, 16, 1>[pos];
    else if (s.width == 8)
        k = s.height == 8 ? kBilinear<8, 8, 1>[pos] : kBilinear<8, 4, 1>[pos];
    else
        k = kBilinear<4, 4, 1>[pos];
    k(src, srcStep, dst, dstStep, rnd & 1);
}

}  // namespace mox::vc1

namespace {

// The plain forms: 0 bicubic, 1 bilinear, 2 bilinear on U/V pairs.
template <int kKind>
MoxStatus plain(const MoxVCQPInterpParams* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc, pParams->pDst);
    const MoxVCQPInterpParams& p = *pParams;
    if constexpr (kKind == 0)
        mox::vc1::bicubic8u(p.pSrc, p.srcStep, p.pDst, p.dstStep, p.size, p.dx, p.dy, p.rnd);
    else
        mox::vc1::bilinear8u(p.pSrc, p.srcStep, p.pDst, p.dstStep, p.size, p.dx, p.dy, p.rnd, kKind == 2);
    return moxStsNoErr;
}

}  // namespace

MOX_FN moxiInterpolateQPBicubic_VC1_8u_C1R(const MoxVCQPInterpParams* pParams) { return plain<0>(pParams); }
MOX_FN moxiInterpolateQPBilinear_VC1_8u_C1R(const MoxVCQPInterpParams* pParams) { return plain<1>(pParams); }
MOX_FN moxiInterpolateQPBilinear_VC1_8u_C2R(const MoxVCQPInterpParams* pParams) { return plain<2>(pParams); }
