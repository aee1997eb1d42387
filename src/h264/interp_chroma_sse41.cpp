// H.264 chroma eighth-sample interpolation of 8-bit samples, planar and
// interleaved U/V.
//
// The bilinear weights go to pmaddubsw as byte pairs on the interleaved
// neighbours (A, B) and (C, D), at most 64 each, from a table of the 64
// fractions; one-dimensional cases weight a single pair with the same
// weights (eight times (8 - f, f): the sum is eight times as large and
// (8v + 32) >> 6 = (v + 4) >> 3). The rounding shift is pmulhrsw by 512.
// Planar rows go two at a time, both results in one register. Interleaved
// rows are filtered as they are (neighbours two bytes apart) and split into
// U and V with one pshufb.
#include <array>
#include <cstdint>
#include <utility>

#include "core/check.h"
#include "h264/interp_kernels.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

// Byte-pair weights of fraction (dx, dy): [0] the top pair (A, B), [1] the
// bottom pair (C, D).
struct alignas(16) PairWeights {
    int8_t w[2][16];
};

constexpr PairWeights pairWeights(int dx, int dy) {
    PairWeights p{};
    for (int i = 0; i < 8; ++i) {
        p.w[0][2 * i] = static_cast<int8_t>((8 - dx) * (8 - dy));
        p.w[0][2 * i + 1] = static_cast<int8_t>(dx * (8 - dy));
        p.w[1][2 * i] = static_cast<int8_t>((8 - dx) * dy);
        p.w[1][2 * i + 1] = static_cast<int8_t>(dx * dy);
    }
    return p;
}

template <size_t... I>
constexpr std::array<PairWeights, 64> makeWeights(std::index_sequence<I...>) {
    return {{pairWeights(static_cast<int>(I & 7), static_cast<int>(I >> 3))...}};
}

constexpr std::array<PairWeights, 64> kWeights = makeWeights(std::make_index_sequence<64>{});

inline __m128i weight(int dx, int dy, int k) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(kWeights[dy * 8 + dx].w[k]));
}

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

// Two rows of N (at most 8) result bytes, row y in bytes 0..N-1 and row
// y + 1 in bytes 8..8+N-1; interleaved results split into U and V.
template <int N, int D>
inline void put2(Mox8u* d0, Mox8u* d1, int ds, __m128i v) {
    if constexpr (D == 1) {
        if constexpr (N == 8) {
            simd::store<8>(d0, v);
            _mm_storeh_pi(reinterpret_cast<__m64*>(row(d0, ds, 1)), _mm_castsi128_ps(v));
        } else {
            simd::store<N>(d0, v);
            simd::store<N>(row(d0, ds, 1), _mm_srli_si128(v, 8));
        }
    } else {
        put<N, D>(d0, d1, v);
        put<N, D>(row(d0, ds, 1), row(d1, ds, 1), _mm_srli_si128(v, 8));
    }
}

// Kernels return moxStsNoErr, so that a wrapper ends in a tail call.
using Kernel = MoxStatus (*)(const Mox8u*, int, Mox8u*, Mox8u*, int, int, int, int);

// Byte pairs (s[i], s[i + D]) of the N bytes of a row: lo bytes 0..7, hi 8..15.
template <int N, int D>
[[gnu::always_inline]] inline void pairs(const Mox8u* s, __m128i& lo, __m128i& hi) {
    const __m128i a = simd::load<N>(s), b = simd::load<N>(s + D);
    lo = _mm_unpacklo_epi8(a, b);
    hi = N == 16 ? _mm_unpackhi_epi8(a, b) : lo;
}

// W samples per row, neighbours D bytes apart; HX, HY: fraction nonzero.
// Heights are even.
template <int W, int D, int HX, int HY>
MOX_OUT_OF_LINE MoxStatus chromaRows(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int dx, int dy, int h) {
    constexpr int N = W * D;
    const __m128i r = _mm_set1_epi16(512);
    if constexpr (!HX && !HY) {
        for (int y = 0; y < h; ++y) put<N, D>(row(d0, ds, y), row(d1, ds, y), simd::load<N>(row(src, ss, y)));
    } else if constexpr (N <= 8) {
        // One row of pairs per register, two rows of results per register:
        // row y at bytes 0..N-1, row y + 1 at bytes 8..8+N-1.
        // Pairs with the next column, or the next row when only dy is nonzero.
        auto one = [ss](const Mox8u* s) {
            return _mm_unpacklo_epi8(simd::load<N>(s), simd::load<N>(HX ? s + D : row(s, ss, 1)));
        };
        if constexpr (HX && HY) {
            const __m128i wTop = weight(dx, dy, 0), wBot = weight(dx, dy, 1);
            __m128i top = one(src);
            for (int y = 0; y < h; y += 2) {
                const __m128i mid = one(row(src, ss, y + 1)), bot = one(row(src, ss, y + 2));
                const __m128i a = _mm_add_epi16(_mm_maddubs_epi16(top, wTop), _mm_maddubs_epi16(mid, wBot));
                const __m128i b = _mm_add_epi16(_mm_maddubs_epi16(mid, wTop), _mm_maddubs_epi16(bot, wBot));
                const __m128i v = _mm_packus_epi16(_mm_mulhrs_epi16(a, r), _mm_mulhrs_epi16(b, r));
                put2<N, D>(row(d0, ds, y), row(d1, ds, y), ds, v);
                top = bot;
            }
        } else {
            // One dimension: the pair's weights are the top ones of (f, 0).
            const __m128i w = weight(HX ? dx : dy, 0, 0);
            for (int y = 0; y < h; y += 2) {
                const __m128i a = _mm_maddubs_epi16(one(row(src, ss, y)), w);
                const __m128i b = _mm_maddubs_epi16(one(row(src, ss, y + 1)), w);
                put2<N, D>(row(d0, ds, y), row(d1, ds, y), ds,
                           _mm_packus_epi16(_mm_mulhrs_epi16(a, r), _mm_mulhrs_epi16(b, r)));
            }
        }
    } else {
        // 16 bytes per row (8 interleaved U/V samples): row y's pairs weigh
        // in with the top weights and again, as row y + 1's, with the bottom.
        const __m128i wTop = weight(dx, dy, 0), wBot = weight(dx, dy, 1);
        const int rs = HX ? D : ss;
        __m128i tlo, thi;
        if constexpr (HY && HX) pairs<N, D>(src, tlo, thi);
        for (int y = 0; y < h; ++y) {
            const Mox8u* s = row(src, ss, y);
            __m128i lo, hi;
            if constexpr (HX && HY) {
                __m128i blo, bhi;
                pairs<N, D>(row(s, ss, 1), blo, bhi);
                lo = _mm_add_epi16(_mm_maddubs_epi16(tlo, wTop), _mm_maddubs_epi16(blo, wBot));
                hi = _mm_add_epi16(_mm_maddubs_epi16(thi, wTop), _mm_maddubs_epi16(bhi, wBot));
                tlo = blo;
                thi = bhi;
            } else {
                const __m128i a = simd::load<N>(s), b = simd::load<N>(s + rs);
                const __m128i w = weight(HX ? dx : dy, 0, 0);
                lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), w);
                hi = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), w);
            }
            put<N, D>(row(d0, ds, y), row(d1, ds, y), _mm_packus_epi16(_mm_mulhrs_epi16(lo, r), _mm_mulhrs_epi16(hi, r)));
        }
    }
    return moxStsNoErr;
}

template <int W, int D>
constexpr std::array<Kernel, 4> kChroma = {chromaRows<W, D, 0, 0>, chromaRows<W, D, 1, 0>, chromaRows<W, D, 0, 1>,
                                           chromaRows<W, D, 1, 1>};

// Widths that are sums: strips of 8, 4 and 2.
template <int D>
MOX_OUT_OF_LINE MoxStatus chromaSumStrips(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int dx, int dy,
                                          int w, int h) {
    const int k = (dx != 0) | ((dy != 0) << 1);
    if (w & 8) kChroma<8, D>[k](src, ss, d0, d1, ds, dx, dy, h);
    const int o8 = w & 8;
    if (w & 4) kChroma<4, D>[k](src + o8 * D, ss, d0 + o8, d1 + o8, ds, dx, dy, h);
    const int o4 = w & 12;
    if (w & 2) kChroma<2, D>[k](src + o4 * D, ss, d0 + o4, d1 + o4, ds, dx, dy, h);
    return moxStsNoErr;
}

// One kernel call (a tail call from the wrappers) for the widths 2, 4 and 8.
template <int D>
inline MoxStatus chromaStrips(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int dx, int dy, int w, int h) {
    const int k = (dx != 0) | ((dy != 0) << 1);
    switch (w) {
        case 8: return kChroma<8, D>[k](src, ss, d0, d1, ds, dx, dy, h);
        case 4: return kChroma<4, D>[k](src, ss, d0, d1, ds, dx, dy, h);
        case 2: return kChroma<2, D>[k](src, ss, d0, d1, ds, dx, dy, h);
        default: return chromaSumStrips<D>(src, ss, d0, d1, ds, dx, dy, w, h);
    }
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
    return chromaStrips<1>(pSrc, srcStep, pDst, pDst, dstStep, dx, dy, roiSize.width, roiSize.height);
}

MOX_FN moxiInterpolateChroma_H264_8u_C2P2R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDstU, Mox8u* pDstV,
                                           Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDstU, pDstV);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 7u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 1) == 0 && (roiSize.width & ~0xE) == 0, moxStsSizeErr);
    return chromaStrips<2>(pSrc, srcStep, pDstU, pDstV, dstStep, dx, dy, roiSize.width, roiSize.height);
}
