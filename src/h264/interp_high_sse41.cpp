// H.264 luma quarter-sample and chroma eighth-sample interpolation of 8- to
// 14-bit samples in 16-bit storage.
//
// Samples stay below 2^14, so they are valid signed 16-bit operands of
// pmaddwd: the 6-tap sums pair neighbouring samples (loads one sample apart,
// interleaved) with the tap pairs (1, -5), (20, 20), (-5, 1) into 32-bit
// lanes. The centre filters the 32-bit horizontal sums of a band of rows
// vertically with shifts and adds. Chroma weighs the interleaved pairs (A, B)
// and (C, D) with pmaddwd. Results clamp with packusdw and pminuw.
#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "core/check.h"
#include "h264/interp_kernels.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

inline __m128i taps16(int a, int b) {
    return _mm_set1_epi32(static_cast<int>((static_cast<unsigned>(b) << 16) | (static_cast<unsigned>(a) & 0xFFFF)));
}

// Six-tap sums of six W-sample vectors (W = 4 or 8) of neighbouring
// positions, as 32-bit lanes: lo outputs 0..3, hi 4..7.
template <int W>
inline void sum6(const __m128i (&r)[6], __m128i& lo, __m128i& hi) {
    const __m128i t0 = taps16(1, -5), t1 = taps16(20, 20), t2 = taps16(-5, 1);
    lo = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(r[0], r[1]), t0),
                                     _mm_madd_epi16(_mm_unpacklo_epi16(r[2], r[3]), t1)),
                       _mm_madd_epi16(_mm_unpacklo_epi16(r[4], r[5]), t2));
    if constexpr (W == 8)
        hi = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(r[0], r[1]), t0),
                                         _mm_madd_epi16(_mm_unpackhi_epi16(r[2], r[3]), t1)),
                           _mm_madd_epi16(_mm_unpackhi_epi16(r[4], r[5]), t2));
    else
        hi = lo;
}

template <int W>
inline void hsum(const Mox16u* p, __m128i& lo, __m128i& hi) {
    __m128i r[6];
    for (int k = 0; k < 6; ++k) r[k] = simd::load<2 * W>(p + k - 2);
    sum6<W>(r, lo, hi);
}

template <int W>
inline void vsum(const Mox16u* p, int step, __m128i& lo, __m128i& hi) {
    __m128i r[6];
    for (int k = 0; k < 6; ++k) r[k] = simd::load<2 * W>(row(p, step, k - 2));
    sum6<W>(r, lo, hi);
}

// Rounds 32-bit sums by `shift` and clamps to 0..maxv as 16-bit samples.
template <int shift>
inline __m128i finish(__m128i lo, __m128i hi, __m128i maxv) {
    const __m128i bias = _mm_set1_epi32(1 << (shift - 1));
    lo = _mm_srai_epi32(_mm_add_epi32(lo, bias), shift);
    hi = _mm_srai_epi32(_mm_add_epi32(hi, bias), shift);
    return _mm_min_epu16(_mm_packus_epi32(lo, hi), maxv);
}

template <int W>
inline __m128i hHalf(const Mox16u* p, __m128i maxv) {
    __m128i lo, hi;
    hsum<W>(p, lo, hi);
    return finish<5>(lo, hi, maxv);
}

template <int W>
inline __m128i vHalf(const Mox16u* p, int step, __m128i maxv) {
    __m128i lo, hi;
    vsum<W>(p, step, lo, hi);
    return finish<5>(lo, hi, maxv);
}

// a - 5b + 20c of 32-bit lanes, with shifts.
inline __m128i centreSum(__m128i a, __m128i b, __m128i c) {
    const __m128i b5 = _mm_add_epi32(_mm_slli_epi32(b, 2), b);
    const __m128i c20 = _mm_add_epi32(_mm_slli_epi32(c, 4), _mm_slli_epi32(c, 2));
    return _mm_add_epi32(_mm_sub_epi32(a, b5), c20);
}

using Kernel = void (*)(const Mox16u*, int, Mox16u*, int, int, int);

constexpr int kBandRows = 16;

template <int W, int DX, int DY>
MOX_OUT_OF_LINE void luma16(const Mox16u* src, int ss, Mox16u* dst, int ds, int h, int maxValue) {
    const __m128i maxv = _mm_set1_epi16(static_cast<short>(maxValue));
    constexpr bool kCentre = (DX == 2 && DY != 0) || (DY == 2 && DX != 0);
    if constexpr (!kCentre) {
        for (int y = 0; y < h; ++y) {
            const Mox16u* s = row(src, ss, y);
            __m128i v;
            if constexpr (DX == 0 && DY == 0) {
                v = simd::load<2 * W>(s);
            } else if constexpr (DY == 0) {
                v = hHalf<W>(s, maxv);
                if constexpr (DX != 2) v = _mm_avg_epu16(v, simd::load<2 * W>(s + (DX == 3)));
            } else if constexpr (DX == 0) {
                v = vHalf<W>(s, ss, maxv);
                if constexpr (DY != 2) v = _mm_avg_epu16(v, simd::load<2 * W>(row(s, ss, DY == 3)));
            } else {
                v = _mm_avg_epu16(hHalf<W>(row(s, ss, DY == 3), maxv), vHalf<W>(s + (DX == 3), ss, maxv));
            }
            simd::store<2 * W>(row(dst, ds, y), v);
        }
    } else {
        __m128i t[kBandRows + 5][2];
        for (int y0 = 0; y0 < h; y0 += kBandRows) {
            const int hb = std::min(kBandRows, h - y0);
            for (int i = 0; i < hb + 5; ++i) hsum<W>(row(src, ss, y0 - 2 + i), t[i][0], t[i][1]);
            for (int y = 0; y < hb; ++y) {
                __m128i g[2];
                for (int k = 0; k < 2; ++k)
                    g[k] = centreSum(_mm_add_epi32(t[y][k], t[y + 5][k]), _mm_add_epi32(t[y + 1][k], t[y + 4][k]),
                                     _mm_add_epi32(t[y + 2][k], t[y + 3][k]));
                __m128i v = finish<10>(g[0], g[1], maxv);
                const int yy = y0 + y;
                if constexpr (DX == 2 && DY != 2) {
                    const int r = y + 2 + (DY == 3);
                    v = _mm_avg_epu16(v, finish<5>(t[r][0], t[r][1], maxv));
                } else if constexpr (DX != 2) {
                    v = _mm_avg_epu16(v, vHalf<W>(row(src, ss, yy) + (DX == 3), ss, maxv));
                }
                simd::store<2 * W>(row(dst, ds, yy), v);
            }
        }
    }
}

template <int W, size_t... I>
constexpr std::array<Kernel, 16> makeTable(std::index_sequence<I...>) {
    return {{luma16<W, static_cast<int>(I & 3), static_cast<int>(I >> 2)>...}};
}

template <int W>
constexpr std::array<Kernel, 16> kLuma16 = makeTable<W>(std::make_index_sequence<16>{});

// Chroma: W (2, 4 or 8) samples per row; HX, HY: fraction nonzero.
using ChromaKernel = void (*)(const Mox16u*, int, Mox16u*, int, int, int, int, int);

template <int W, int HX, int HY>
[[gnu::always_inline]] inline void chroma16Rows(const Mox16u* src, int ss, Mox16u* dst, int ds, int dx, int dy, int h,
                                                int maxValue) {
    const __m128i maxv = _mm_set1_epi16(static_cast<short>(maxValue));
    // Weighted pairs (a[i], b[i]) of the W samples, as 32-bit lanes (lo: 0..3, hi: 4..7).
    auto madd = [](__m128i a, __m128i b, __m128i w, __m128i& lo, __m128i& hi) {
        lo = _mm_madd_epi16(_mm_unpacklo_epi16(a, b), w);
        hi = W == 8 ? _mm_madd_epi16(_mm_unpackhi_epi16(a, b), w) : lo;
    };
    if constexpr (!HX && !HY) {
        for (int y = 0; y < h; ++y) simd::store<2 * W>(row(dst, ds, y), simd::load<2 * W>(row(src, ss, y)));
    } else if constexpr (!HX || !HY) {
        const int f = HX ? dx : dy;
        const __m128i w = taps16(8 - f, f);
#pragma GCC unroll 8
        for (int y = 0; y < h; ++y) {
            const Mox16u* s = row(src, ss, y);
            __m128i lo, hi;
            madd(simd::load<2 * W>(s), simd::load<2 * W>(HX ? s + 1 : row(s, ss, 1)), w, lo, hi);
            simd::store<2 * W>(row(dst, ds, y), finish<3>(lo, hi, maxv));
        }
    } else {
        const __m128i wTop = taps16((8 - dx) * (8 - dy), dx * (8 - dy)), wBot = taps16((8 - dx) * dy, dx * dy);
        __m128i a = simd::load<2 * W>(src), b = simd::load<2 * W>(src + 1);
#pragma GCC unroll 8
        for (int y = 0; y < h; ++y) {
            const Mox16u* s = row(src, ss, y + 1);
            const __m128i c = simd::load<2 * W>(s), d = simd::load<2 * W>(s + 1);
            __m128i tlo, thi, blo, bhi;
            madd(a, b, wTop, tlo, thi);
            madd(c, d, wBot, blo, bhi);
            simd::store<2 * W>(row(dst, ds, y), finish<6>(_mm_add_epi32(tlo, blo), _mm_add_epi32(thi, bhi), maxv));
            a = c;
            b = d;
        }
    }
}

// Heights 2, 4 and 8 run fully unrolled.
template <int W, int HX, int HY>
MOX_OUT_OF_LINE void chroma16(const Mox16u* src, int ss, Mox16u* dst, int ds, int dx, int dy, int h, int maxValue) {
    switch (h) {
        case 2: return chroma16Rows<W, HX, HY>(src, ss, dst, ds, dx, dy, 2, maxValue);
        case 4: return chroma16Rows<W, HX, HY>(src, ss, dst, ds, dx, dy, 4, maxValue);
        case 8: return chroma16Rows<W, HX, HY>(src, ss, dst, ds, dx, dy, 8, maxValue);
        default: return chroma16Rows<W, HX, HY>(src, ss, dst, ds, dx, dy, h, maxValue);
    }
}

template <int W>
constexpr std::array<ChromaKernel, 4> kChroma16 = {chroma16<W, 0, 0>, chroma16<W, 1, 0>, chroma16<W, 0, 1>,
                                                   chroma16<W, 1, 1>};

}  // namespace

namespace mox::interp {

void luma16u(const Mox16u* src, int srcStep, Mox16u* dst, int dstStep, int dx, int dy, int w, int h, int maxValue) {
    const int pos = dy * 4 + dx;
    for (int x = 0; x + 8 <= w; x += 8) kLuma16<8>[pos](src + x, srcStep, dst + x, dstStep, h, maxValue);
    if (w & 4) kLuma16<4>[pos](src + (w & ~7), srcStep, dst + (w & ~7), dstStep, h, maxValue);
}

void chroma16u(const Mox16u* src, int srcStep, Mox16u* dst, int dstStep, int dx, int dy, int w, int h, int maxValue) {
    const int k = (dx != 0) | ((dy != 0) << 1);
    if (w & 8) kChroma16<8>[k](src, srcStep, dst, dstStep, dx, dy, h, maxValue);
    const int o8 = w & 8;
    if (w & 4) kChroma16<4>[k](src + o8, srcStep, dst + o8, dstStep, dx, dy, h, maxValue);
    const int o4 = w & 12;
    if (w & 2) kChroma16<2>[k](src + o4, srcStep, dst + o4, dstStep, dx, dy, h, maxValue);
}

MoxStatus check16u(const MoxVCInterpolate_16u* p, bool luma) {
    MOX_CHECK_PTRS(p);
    MOX_CHECK_PTRS(p->pSrc, p->pDst);
    const int w = p->roiSize.width, h = p->roiSize.height;
    MOX_CHECK(p->srcStep >= w && p->dstStep >= w, moxStsStepErr);
    MOX_CHECK(static_cast<Mox32u>(p->dx) <= (luma ? 3u : 7u) && static_cast<Mox32u>(p->dy) <= (luma ? 3u : 7u),
              moxStsBadArgErr);
    MOX_CHECK(luma ? lumaSize16u(w, h) : chromaSize16u(w, h), moxStsSizeErr);
    return moxStsNoErr;
}

}  // namespace mox::interp

MOX_FN moxiInterpolateLuma_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s bitDepth) {
    if (const MoxStatus st = interp::check16u(pParams, true)) return st;
    const MoxVCInterpolate_16u& p = *pParams;
    interp::luma16u(p.pSrc, p.srcStep * 2, p.pDst, p.dstStep * 2, p.dx, p.dy, p.roiSize.width, p.roiSize.height,
                    interp::maxSample16u(bitDepth));
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChroma_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s bitDepth) {
    if (const MoxStatus st = interp::check16u(pParams, false)) return st;
    const MoxVCInterpolate_16u& p = *pParams;
    interp::chroma16u(p.pSrc, p.srcStep * 2, p.pDst, p.dstStep * 2, p.dx, p.dy, p.roiSize.width, p.roiSize.height,
                      interp::maxSample16u(bitDepth));
    return moxStsNoErr;
}
