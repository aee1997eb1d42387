// H.264 chroma eighth-sample interpolation of 8-bit samples, planar and
// interleaved U/V.
//
// The bilinear weights go to pmaddubsw as byte pairs on the interleaved
// neighbours (A, B) and (C, D), at most 64 each; one-dimensional cases
// weight a single pair. The rounding
// shifts are pmulhrsw: by 512 for (v + 32) >> 6, by 4096 for (v + 4) >> 3.
// Interleaved rows are filtered as they are (neighbours two bytes apart)
// and split into U and V with one pshufb.
#include <array>
#include <cstdint>

#include "core/check.h"
#include "h264/interp_kernels.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

inline __m128i weights(int a, int b) { return _mm_set1_epi16(static_cast<short>((b << 8) | a)); }

// N result bytes of row(s) in 16-bit lanes (lo: bytes 0..7, hi: 8..15).
template <int N>
inline void madd(__m128i a, __m128i b, __m128i w, __m128i& lo, __m128i& hi) {
    lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), w);
    if constexpr (N == 16) hi = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), w);
    else hi = lo;
}

// Stores N result bytes: planar as they are, interleaved split into U and V.
template <int N, int D>
inline void put(Mox8u* d0, Mox8u* d1, __m128i v) {
    if constexpr (D == 1) {
        simd::store<N>(d0, v);
    } else {
        v = _mm_shuffle_epi8(v, _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15));
        simd::store<N / 2>(d0, v);
        simd::store<N / 2>(d1, _mm_srli_si128(v, 8));
    }
}

using Kernel = void (*)(const Mox8u*, int, Mox8u*, Mox8u*, int, int, int, int);

// W samples per row, neighbours D bytes apart; HX, HY: fraction nonzero.
template <int W, int D, int HX, int HY>
MOX_OUT_OF_LINE void chromaRows(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int dx, int dy, int h) {
    constexpr int N = W * D;
    if constexpr (!HX && !HY) {
        for (int y = 0; y < h; ++y) put<N, D>(row(d0, ds, y), row(d1, ds, y), simd::load<N>(row(src, ss, y)));
    } else if constexpr (!HX || !HY) {
        // One-dimensional: (8 - f) * A + f * B, then (v + 4) >> 3.
        const int f = HX ? dx : dy;
        const __m128i w = weights(8 - f, f), r = _mm_set1_epi16(4096);
        for (int y = 0; y < h; ++y) {
            const Mox8u* s = row(src, ss, y);
            __m128i lo, hi;
            madd<N>(simd::load<N>(s), simd::load<N>(HX ? s + D : row(s, ss, 1)), w, lo, hi);
            put<N, D>(row(d0, ds, y), row(d1, ds, y), _mm_packus_epi16(_mm_mulhrs_epi16(lo, r), _mm_mulhrs_epi16(hi, r)));
        }
    } else {
        // Row y's byte pairs (A, B) weigh in with (8 - dy) and again, as row
        // y + 1's (C, D), with dy: each row is interleaved once.
        const __m128i wTop = weights((8 - dx) * (8 - dy), dx * (8 - dy)), wBot = weights((8 - dx) * dy, dx * dy);
        const __m128i r = _mm_set1_epi16(512);
        auto pairs = [](const Mox8u* s, __m128i& lo, __m128i& hi) {
            const __m128i a = simd::load<N>(s), b = simd::load<N>(s + D);
            lo = _mm_unpacklo_epi8(a, b);
            hi = N == 16 ? _mm_unpackhi_epi8(a, b) : lo;
        };
        __m128i tlo, thi;
        pairs(src, tlo, thi);
        for (int y = 0; y < h; ++y) {
            __m128i blo, bhi;
            pairs(row(src, ss, y + 1), blo, bhi);
            const __m128i lo = _mm_add_epi16(_mm_maddubs_epi16(tlo, wTop), _mm_maddubs_epi16(blo, wBot));
            const __m128i hi = N == 16 ? _mm_add_epi16(_mm_maddubs_epi16(thi, wTop), _mm_maddubs_epi16(bhi, wBot)) : lo;
            put<N, D>(row(d0, ds, y), row(d1, ds, y), _mm_packus_epi16(_mm_mulhrs_epi16(lo, r), _mm_mulhrs_epi16(hi, r)));
            tlo = blo;
            thi = bhi;
        }
    }
}

template <int W, int D>
constexpr std::array<Kernel, 4> kChroma = {chromaRows<W, D, 0, 0>, chromaRows<W, D, 1, 0>, chromaRows<W, D, 0, 1>,
                                           chromaRows<W, D, 1, 1>};

template <int D>
inline void chromaStrips(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int dx, int dy, int w, int h) {
    const int k = (dx != 0) | ((dy != 0) << 1);
    if (w & 8) kChroma<8, D>[k](src, ss, d0, d1, ds, dx, dy, h);
    const int o8 = w & 8;
    if (w & 4) kChroma<4, D>[k](src + o8 * D, ss, d0 + o8, d1 + o8, ds, dx, dy, h);
    const int o4 = w & 12;
    if (w & 2) kChroma<2, D>[k](src + o4 * D, ss, d0 + o4, d1 + o4, ds, dx, dy, h);
}

}  // namespace

namespace mox::interp {

void chroma8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int dx, int dy, int w, int h) {
    chromaStrips<1>(src, srcStep, dst, dst, dstStep, dx, dy, w, h);
}

void chroma8uC2(const Mox8u* src, int srcStep, Mox8u* dstU, Mox8u* dstV, int dstStep, int dx, int dy, int w, int h) {
    chromaStrips<2>(src, srcStep, dstU, dstV, dstStep, dx, dy, w, h);
}

}  // namespace mox::interp

MOX_FN moxiInterpolateChroma_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx,
                                         Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 7u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 1) == 0 && (roiSize.width & ~0xE) == 0, moxStsSizeErr);
    chromaStrips<1>(pSrc, srcStep, pDst, pDst, dstStep, dx, dy, roiSize.width, roiSize.height);
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChroma_H264_8u_C2P2R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDstU, Mox8u* pDstV,
                                           Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDstU, pDstV);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 7u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 1) == 0 && (roiSize.width & ~0xE) == 0, moxStsSizeErr);
    chromaStrips<2>(pSrc, srcStep, pDstU, pDstV, dstStep, dx, dy, roiSize.width, roiSize.height);
    return moxStsNoErr;
}
