// H.264 chroma eighth-sample interpolation of 8-bit samples, planar and
// interleaved U/V.
//
// The bilinear weights go to pmaddubsw as byte pairs on the interleaved
// neighbours (A, B) and (C, D), at most 64 each, from a table of the 64
// fractions; one-dimensional cases weight a single pair with the same
// weights (eight times (8 - f, f): the sum is eight times as large and
// (8v + 32) >> 6 = (v + 4) >> 3). The rounding shift is pmulhrsw by 512.
// Planar rows go two at a time, both results in one register; rows of at
// most four bytes also share the register of pairs. Interleaved rows are
// filtered as they are (neighbours two bytes apart) and split into U and V
// with one pshufb. One table lookup picks the kernel for the width and the
// fraction case, and a wrapper's call to it is a tail call.
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

// With one fraction nonzero only the top pair counts: the sample and the next
// one along that axis, weighted eight times (8 - f, f).
constexpr PairWeights pairWeights(int dx, int dy) {
    PairWeights p{};
    const int a = dx ? (8 - dx) * (8 - dy) : 8 * (8 - dy), b = dx ? dx * (8 - dy) : 8 * dy;
    for (int i = 0; i < 8; ++i) {
        p.w[0][2 * i] = static_cast<int8_t>(a);
        p.w[0][2 * i + 1] = static_cast<int8_t>(b);
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

inline const PairWeights* weightsOf(int dx, int dy) { return &kWeights[dy * 8 + dx]; }

inline __m128i weight(const PairWeights* pw, int k) { return _mm_load_si128(reinterpret_cast<const __m128i*>(pw->w[k])); }

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
        if constexpr (N == 16)
            _mm_storeh_pi(reinterpret_cast<__m64*>(d1), _mm_castsi128_ps(v));
        else
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

// Byte pairs (s[i], s[i + D]) of the N bytes of a row: lo bytes 0..7, hi 8..15.
template <int N, int D>
[[gnu::always_inline]] inline void pairs(const Mox8u* s, __m128i& lo, __m128i& hi) {
    const __m128i a = simd::load<N>(s), b = simd::load<N>(s + D);
    lo = _mm_unpacklo_epi8(a, b);
    hi = N == 16 ? _mm_unpackhi_epi8(a, b) : lo;
}

// Two rows of N (at most 4) result bytes packed together, row y in bytes
// 0..N-1 and row y + 1 in bytes N..2N-1; interleaved results split into U and V.
template <int N, int D>
inline void putNarrow2(Mox8u* d0, Mox8u* d1, int ds, __m128i v) {
    if constexpr (D == 2)  // U U' V V' (2 bytes each), then as planar rows of 2
        v = _mm_shuffle_epi8(v, _mm_setr_epi8(0, 2, 4, 6, 1, 3, 5, 7, 8, 8, 8, 8, 8, 8, 8, 8));
    constexpr int B = N / D;  // bytes per stored row
    simd::store<B>(d0, v);
    simd::store<B>(row(d0, ds, 1), _mm_srli_si128(v, B));
    if constexpr (D == 2) {
        simd::store<B>(d1, _mm_srli_si128(v, 2 * B));
        simd::store<B>(row(d1, ds, 1), _mm_srli_si128(v, 3 * B));
    }
}

// W samples per row, neighbours D bytes apart; HX, HY: fraction nonzero.
// Heights are even. The rows advance two at a time, fully unrolled for the
// common heights by the caller passing a constant.
template <int W, int D, int HX, int HY>
[[gnu::always_inline]] inline void chromaBody(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int h,
                                              const PairWeights* pw) {
    constexpr int N = W * D;
    const __m128i r = _mm_set1_epi16(512);
    // A row's samples interleaved with their right neighbours, or with the
    // row below when only the vertical fraction is nonzero (N <= 8).
    [[maybe_unused]] auto one = [ss](const Mox8u* s) {
        return _mm_unpacklo_epi8(simd::load<N>(s), simd::load<N>(HX ? s + D : row(s, ss, 1)));
    };
    if constexpr (!HX && !HY) {
        for (int y = 0; y < h; ++y) put<N, D>(row(d0, ds, y), row(d1, ds, y), simd::load<N>(row(src, ss, y)));
    } else if constexpr (N <= 4) {
        // The pairs of two rows in one register (N pairs each), so that one
        // pmaddubsw weighs two rows and the results of two rows share a register.
        auto two = [](__m128i a, __m128i b) {
            return N == 4 ? _mm_unpacklo_epi64(a, b) : _mm_unpacklo_epi32(a, b);
        };
        if constexpr (HX && HY) {
            const __m128i wTop = weight(pw, 0), wBot = weight(pw, 1);
            __m128i top = one(src);
#pragma GCC unroll 4
            for (int y = 0; y < h; y += 2) {
                const __m128i mid = one(row(src, ss, y + 1)), bot = one(row(src, ss, y + 2));
                const __m128i v = _mm_add_epi16(_mm_maddubs_epi16(two(top, mid), wTop), _mm_maddubs_epi16(two(mid, bot), wBot));
                putNarrow2<N, D>(row(d0, ds, y), row(d1, ds, y), ds, _mm_packus_epi16(_mm_mulhrs_epi16(v, r), v));
                top = bot;
            }
        } else {
            const __m128i w = weight(pw, 0);
#pragma GCC unroll 4
            for (int y = 0; y < h; y += 2) {
                const __m128i v = _mm_maddubs_epi16(two(one(row(src, ss, y)), one(row(src, ss, y + 1))), w);
                putNarrow2<N, D>(row(d0, ds, y), row(d1, ds, y), ds, _mm_packus_epi16(_mm_mulhrs_epi16(v, r), v));
            }
        }
    } else if constexpr (N == 8) {
        // One row of pairs per register, two rows of results per register:
        // row y at bytes 0..7, row y + 1 at bytes 8..15.
        if constexpr (HX && HY) {
            const __m128i wTop = weight(pw, 0), wBot = weight(pw, 1);
            __m128i top = one(src);
#pragma GCC unroll 4
            for (int y = 0; y < h; y += 2) {
                const __m128i mid = one(row(src, ss, y + 1)), bot = one(row(src, ss, y + 2));
                const __m128i a = _mm_add_epi16(_mm_maddubs_epi16(top, wTop), _mm_maddubs_epi16(mid, wBot));
                const __m128i b = _mm_add_epi16(_mm_maddubs_epi16(mid, wTop), _mm_maddubs_epi16(bot, wBot));
                const __m128i v = _mm_packus_epi16(_mm_mulhrs_epi16(a, r), _mm_mulhrs_epi16(b, r));
                put2<N, D>(row(d0, ds, y), row(d1, ds, y), ds, v);
                top = bot;
            }
        } else {
            const __m128i w = weight(pw, 0);
#pragma GCC unroll 4
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
        const __m128i wTop = weight(pw, 0), wBot = weight(pw, 1);
        const int rs = HX ? D : ss;
        __m128i tlo, thi;
        if constexpr (HY && HX) pairs<N, D>(src, tlo, thi);
#pragma GCC unroll 8
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
                lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), wTop);
                hi = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), wTop);
            }
            put<N, D>(row(d0, ds, y), row(d1, ds, y), _mm_packus_epi16(_mm_mulhrs_epi16(lo, r), _mm_mulhrs_epi16(hi, r)));
        }
    }
}

// Kernels return moxStsNoErr, so that a wrapper ends in a tail call: planar
// ones take six arguments (all in registers), interleaved ones a second
// destination too. Heights 2, 4 and 8 run fully unrolled.
using Kernel = MoxStatus (*)(const Mox8u*, int, Mox8u*, int, int, const PairWeights*);
using KernelC2 = MoxStatus (*)(const Mox8u*, int, Mox8u*, Mox8u*, int, int, const PairWeights*);

template <int W, int D, int HX, int HY>
[[gnu::always_inline]] inline void chromaRows(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int h,
                                              const PairWeights* pw) {
    switch (h) {
        case 2: return chromaBody<W, D, HX, HY>(src, ss, d0, d1, ds, 2, pw);
        case 4: return chromaBody<W, D, HX, HY>(src, ss, d0, d1, ds, 4, pw);
        case 8: return chromaBody<W, D, HX, HY>(src, ss, d0, d1, ds, 8, pw);
        default: return chromaBody<W, D, HX, HY>(src, ss, d0, d1, ds, h, pw);
    }
}

// Widths that are sums of 8, 4 and 2 run as strips of those.
template <int W, int D, int HX, int HY>
[[gnu::always_inline]] inline void chromaStrips(const Mox8u* src, int ss, Mox8u* d0, Mox8u* d1, int ds, int h,
                                                const PairWeights* pw) {
    if constexpr (W == 8 || W == 4 || W == 2) {
        chromaRows<W, D, HX, HY>(src, ss, d0, d1, ds, h, pw);
    } else {
        constexpr int o8 = W & 8, o4 = W & 12;
        if constexpr ((W & 8) != 0) chromaRows<8, D, HX, HY>(src, ss, d0, d1, ds, h, pw);
        if constexpr ((W & 4) != 0) chromaRows<4, D, HX, HY>(src + o8 * D, ss, d0 + o8, d1 + o8, ds, h, pw);
        if constexpr ((W & 2) != 0) chromaRows<2, D, HX, HY>(src + o4 * D, ss, d0 + o4, d1 + o4, ds, h, pw);
    }
}

template <int W, int K>
MOX_OUT_OF_LINE MoxStatus chromaPlanar(const Mox8u* src, int ss, Mox8u* dst, int ds, int h, const PairWeights* pw) {
    chromaStrips<W, 1, K & 1, (K >> 1)>(src, ss, dst, dst, ds, h, pw);
    return moxStsNoErr;
}

template <int W, int K>
MOX_OUT_OF_LINE MoxStatus chromaC2(const Mox8u* src, int ss, Mox8u* dU, Mox8u* dV, int ds, int h,
                                   const PairWeights* pw) {
    chromaStrips<W, 2, K & 1, (K >> 1)>(src, ss, dU, dV, ds, h, pw);
    return moxStsNoErr;
}

// Kernel tables by width / 2 (0, 2, .. 14; width 0 writes nothing) and
// fraction case (dx != 0) | (dy != 0) << 1.
template <class K, template <int, int> class Pick, size_t... I>
constexpr std::array<K, 32> makeTable(std::index_sequence<I...>) {
    return {{Pick<2 * static_cast<int>(I >> 2), static_cast<int>(I & 3)>::fn...}};
}
template <int W, int K>
struct PickPlanar {
    static constexpr Kernel fn = chromaPlanar<W, K>;
};
template <int W, int K>
struct PickC2 {
    static constexpr KernelC2 fn = chromaC2<W, K>;
};

constexpr std::array<Kernel, 32> kPlanar = makeTable<Kernel, PickPlanar>(std::make_index_sequence<32>{});
constexpr std::array<KernelC2, 32> kC2 = makeTable<KernelC2, PickC2>(std::make_index_sequence<32>{});

// Fraction case (dx != 0) | (dy != 0) << 1 of fraction dy * 8 + dx, looked
// up rather than computed: the wrappers stay short.
template <size_t... I>
constexpr std::array<uint8_t, 64> makeCases(std::index_sequence<I...>) {
    return {{static_cast<uint8_t>(((I & 7) != 0) | (((I >> 3) != 0) << 1))...}};
}
constexpr std::array<uint8_t, 64> kCases = makeCases(std::make_index_sequence<64>{});

// Widths are 0 .. 14, even (checked by the caller).
inline int kernelIndex(int dx, int dy, int w) { return (w << 1) | kCases[dy * 8 + dx]; }

}  // namespace

namespace mox::interp {

void chroma8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int dx, int dy, int w, int h) {
    kPlanar[kernelIndex(dx, dy, w)](src, srcStep, dst, dstStep, h, weightsOf(dx, dy));
}

void chroma8uC2(const Mox8u* src, int srcStep, Mox8u* dstU, Mox8u* dstV, int dstStep, int dx, int dy, int w, int h) {
    kC2[kernelIndex(dx, dy, w)](src, srcStep, dstU, dstV, dstStep, h, weightsOf(dx, dy));
}

}  // namespace mox::interp

MOX_FN moxiInterpolateChroma_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx,
                                         Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 7u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 1) == 0 && (roiSize.width & ~0xE) == 0, moxStsSizeErr);
    return kPlanar[kernelIndex(dx, dy, roiSize.width)](pSrc, srcStep, pDst, dstStep, roiSize.height,
                                                        weightsOf(dx, dy));
}

MOX_FN moxiInterpolateChroma_H264_8u_C2P2R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDstU, Mox8u* pDstV,
                                           Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDstU, pDstV);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 7u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 1) == 0 && (roiSize.width & ~0xE) == 0, moxStsSizeErr);
    return kC2[kernelIndex(dx, dy, roiSize.width)](pSrc, srcStep, pDstU, pDstV, dstStep, roiSize.height,
                                                    weightsOf(dx, dy));
}
