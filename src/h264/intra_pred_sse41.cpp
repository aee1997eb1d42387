// H.264 intra predictors for 8- and 16-bit samples: the tables of 4x4 and 8x8
// predictors (intra_block_kernels.h), the 16x16 and chroma predictors
// (clauses 8.3.3 and 8.3.4), and the exported stand-alone predictors.
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "core/check.h"
#include "h264/intra_block_kernels.h"

namespace mox::h264 {
namespace {

using namespace intra;

// ---------------------------------------------------------------- 16x16 predictors (clause 8.3.3)

template <class T>
void predict16x16V(T* p, int step, int avail, int) {
    if constexpr (sizeof(T) == 1) return intra::predictV16(p, step);
    const T* above = row(p, step, -1);
    __m128i a = loadu(above), b = sizeof(T) == 2 ? loadu(above + 8) : a;
#pragma GCC unroll 16
    for (int y = 0; y < 16; ++y) {
        T* d = row(p, step, y);
        storeu(d, a);
        if constexpr (sizeof(T) == 2) storeu(d + 8, b);
    }
}

template <class T>
void predict16x16H(T* p, int step, int avail, int) {
    if constexpr (sizeof(T) == 1) return intra::predictH16(p, step);
#pragma GCC unroll 16
    for (int y = 0; y < 16; ++y) {
        T* d = row(p, step, y);
        fillRow<T, 16>(d, splat<T>(d[-1]));
    }
}

// Sum of N left-column samples from row y0 on, in independent partial sums.
template <int N, class T>
inline int leftSum(const T* p, int step, int y0) {
    int s[4] = {};
#pragma GCC unroll 16
    for (int y = 0; y < N; ++y) s[y & 3] += row(p, step, y0 + y)[-1];
    return (s[0] + s[1]) + (s[2] + s[3]);
}

template <class T>
void predict16x16DC(T* p, int step, int avail, int bitDepth) {
    if constexpr (sizeof(T) == 1) {
        intra::predictDC16(p, step, avail);
    } else {
        int st = 0, sl = 0;
        if (avail & kAvailUp) {
            const T* above = row(p, step, -1);
            st = hsum32(_mm_add_epi32(_mm_madd_epi16(loadu(above), _mm_set1_epi16(1)),
                                      _mm_madd_epi16(loadu(above + 8), _mm_set1_epi16(1))));
        }
        if (avail & kAvailLeft) sl = leftSum<16>(p, step, 0);
        __m128i v = splat<T>(intra::dcFromSums<4>(st, sl, avail, half<T>(bitDepth)));
#pragma GCC unroll 16
        for (int y = 0; y < 16; ++y) fillRow<T, 16>(row(p, step, y), v);
    }
}

// Sum over k of (k + 1) * (left(c + k) - left(c - 2 - k)), k = 0 .. n - 1,
// with left(-1) the corner: the vertical gradient of the plane modes.
template <int N, class T>
inline int leftGradient(const T* p, int step, int c) {
    int v[2] = {};
#pragma GCC unroll 8
    for (int k = 0; k < N; ++k) v[k & 1] += (k + 1) * (row(p, step, c + k)[-1] - row(p, step, c - 2 - k)[-1]);
    return v[0] + v[1];
}

// Rows of an 8-wide 8-bit plane prediction from row 0 before the >> 5 (r0,
// 16-bit lanes) and the step c between rows: two rows per register, row y
// and y + 1 in its two halves.
template <int H>
inline void planeRows8(Mox8u* p, int step, __m128i r0, __m128i c) {
    __m128i r1 = _mm_add_epi16(r0, c);
    const __m128i c2 = _mm_add_epi16(c, c);
#pragma GCC unroll 8
    for (int y = 0; y < H; y += 2) {
        const __m128i s = _mm_packus_epi16(PlaneRows16::shift5(r0), PlaneRows16::shift5(r1));
        simd::store<8>(row(p, step, y), s);
        _mm_storeh_pi(reinterpret_cast<__m64*>(row(p, step, y + 1)), _mm_castsi128_ps(s));
        r0 = _mm_add_epi16(r0, c2);
        r1 = _mm_add_epi16(r1, c2);
    }
}

// Rows of (base + b * x + c * y) >> 5 clamped, x = 0 .. W - 1, y = 0 .. H - 1,
// with base = a + 16 - xc * b - yc * c.
template <class T, int W, int H>
inline void planeRows(T* p, int step, int base, int b, int c, int bitDepth) {
    if constexpr (sizeof(T) == 1 && W == 8) {
        const __m128i ramp = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
        planeRows8<H>(p, step,
                      _mm_add_epi16(_mm_set1_epi16(static_cast<short>(base)),
                                    _mm_mullo_epi16(ramp, _mm_set1_epi16(static_cast<short>(b)))),
                      _mm_set1_epi16(static_cast<short>(c)));
    } else if constexpr (sizeof(T) == 1) {
        PlaneRows16 rows({base, b, c});
        const std::ptrdiff_t s1 = step;
#pragma GCC unroll 16
        for (int y = 0; y < H; ++y, p += s1) simd::store<W>(p, rows.nextPacked());
    } else {
        constexpr int NV = W / 4;
        __m128i v[NV];
        const __m128i ramp = _mm_setr_epi32(0, 1, 2, 3), maxv = _mm_set1_epi16(static_cast<short>((1 << bitDepth) - 1));
        for (int k = 0; k < NV; ++k)
            v[k] = _mm_add_epi32(_mm_set1_epi32(base + 4 * k * b), _mm_mullo_epi32(ramp, _mm_set1_epi32(b)));
        const __m128i dc = _mm_set1_epi32(c);
        for (int y = 0; y < H; ++y) {
            T* d = row(p, step, y);
            for (int k = 0; k < NV; k += 2) {
                __m128i s = _mm_packus_epi32(_mm_srai_epi32(v[k], 5), _mm_srai_epi32(v[k + 1], 5));
                storeu(d + 4 * k, _mm_min_epu16(s, maxv));
            }
            for (int k = 0; k < NV; ++k) v[k] = _mm_add_epi32(v[k], dc);
        }
    }
}

template <class T>
void predict16x16Plane(T* p, int step, int avail, int bitDepth) {
    if constexpr (sizeof(T) == 1) {
        intra::predictPlane16(p, step);
    } else {
        const T* above = row(p, step, -1);
        __m128i m = _mm_add_epi32(_mm_madd_epi16(loadu(above), _mm_setr_epi16(-7, -6, -5, -4, -3, -2, -1, 0)),
                                  _mm_madd_epi16(loadu(above + 8), _mm_setr_epi16(1, 2, 3, 4, 5, 6, 7, 8)));
        int h = hsum32(m) - 8 * above[-1];
        int v = leftGradient<8>(p, step, 8);
        int a = 16 * (row(p, step, 15)[-1] + above[15]);
        int b = (5 * h + 32) >> 6, c = (5 * v + 32) >> 6;
        planeRows<T, 16, 16>(p, step, a + 16 - 7 * b - 7 * c, b, c, bitDepth);
    }
}

// ---------------------------------------------------------------- chroma predictors (clause 8.3.4), 8 x H

// Weights of the 8x8 chroma DC per availability (bit 0 up, 1 left upper
// half, 2 left lower half): for the quarters 00, 01, 10, 11 the pairs
// (wS, wL) on (s0, l0), (s1, l0), (s0, l1), (s1, l1) and the rounding c, all
// times 32. A quarter averages both of its sides (weights 1, 1) or one side
// (2 on it) or neither (128); the upper-right quarter prefers its upper side
// and the lower-left one its left side.
struct alignas(16) ChromaDcWeights {
    short w[8];
    int c[4];
};
static_assert(kAvailUp == 1 && kAvailLeft == 2 && kAvailLeftLower == 4, "the weights are indexed by avail & 7");
constexpr ChromaDcWeights chromaDcWeights(int avail) {
    const bool up = avail & 1, left = avail & 2, lower = avail & 4;
    // Weights of one quarter whose two sides are there or not; `prefer`: the side taken alone when both are.
    auto quarter = [](bool s, bool l, int prefer, short* w, int& c) {
        const bool both = s && l && prefer == 0;
        const bool takeS = !both && s && (prefer != 2 || !l), takeL = !both && l && !takeS;
        w[0] = static_cast<short>(32 * (both ? 1 : takeS ? 2 : 0));
        w[1] = static_cast<short>(32 * (both ? 1 : takeL ? 2 : 0));
        c = 32 * (s || l ? 4 : 128 * 8 + 4);
    };
    ChromaDcWeights r{};
    quarter(up, left, 0, r.w, r.c[0]);
    quarter(up, left, 1, r.w + 2, r.c[1]);
    quarter(up, lower, 2, r.w + 4, r.c[2]);
    quarter(up, lower, 0, r.w + 6, r.c[3]);
    return r;
}
constexpr ChromaDcWeights kChromaDcWeights[8] = {chromaDcWeights(0), chromaDcWeights(1), chromaDcWeights(2),
                                                 chromaDcWeights(3), chromaDcWeights(4), chromaDcWeights(5),
                                                 chromaDcWeights(6), chromaDcWeights(7)};

template <class T, int H>
void predictChromaDC(T* p, int step, int avail, int bitDepth) {
    if constexpr (sizeof(T) == 1 && H == 8) {
        // Each of the four DCs is (wS S + wL L + c) >> 3, S the sum of its
        // column's four upper samples (s0 or s1) and L of its row's four left
        // ones (l0 or l1), with weights and rounding chosen by the
        // availability (kChromaDcWeights): one pmaddwd for all four. The
        // weights are scaled by 32, which leaves each DC in byte 1 of its
        // 32-bit lane, where one pshufb spreads it over its 4x4 quarter.
        //
        // First the dwords s0, 0, s1, 0 (nothing read where there is no upper row).
        __m128i x = _mm_setzero_si128();
        if (avail & kAvailUp) x = _mm_sad_epu8(_mm_cvtepu32_epi64(simd::load<8>(row(p, step, -1))), x);
        const int l0 = avail & kAvailLeft ? leftSum<4>(p, step, 0) : 0;
        const int l1 = avail & kAvailLeftLower ? leftSum<4>(p, step, 4) : 0;
        x = _mm_insert_epi32(x, l0 | l1 << 16, 1);  // words s0, 0, l0, l1, s1
        const __m128i v = _mm_shuffle_epi8(x, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 4, 5, 0, 1, 6, 7, 8, 9, 6, 7));
        const ChromaDcWeights& w = kChromaDcWeights[avail & 7];
        __m128i dc = _mm_add_epi32(_mm_madd_epi16(v, _mm_load_si128(reinterpret_cast<const __m128i*>(w.w))),
                                   _mm_load_si128(reinterpret_cast<const __m128i*>(w.c)));
        dc = _mm_shuffle_epi8(dc, _mm_setr_epi8(1, 1, 1, 1, 5, 5, 5, 5, 9, 9, 9, 9, 13, 13, 13, 13));
#pragma GCC unroll 4
        for (int y = 0; y < 4; ++y) {
            simd::store<8>(row(p, step, y), dc);
            _mm_storeh_pi(reinterpret_cast<__m64*>(row(p, step, y + 4)), _mm_castsi128_ps(dc));
        }
        return;
    }
    const T* above = row(p, step, -1);
    const int h = half<T>(bitDepth);
    int s0 = 0, s1 = 0;
    const bool up = avail & kAvailUp;
    if (up) {
        if constexpr (sizeof(T) == 1) {
            __m128i s = _mm_sad_epu8(
                _mm_unpacklo_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(above)), _mm_setzero_si128()),
                _mm_setzero_si128());
            s0 = _mm_cvtsi128_si32(s);
            s1 = _mm_extract_epi32(s, 2);
        } else {
            s0 = above[0] + above[1] + above[2] + above[3];
            s1 = above[4] + above[5] + above[6] + above[7];
        }
    }
    for (int g = 0; g < H / 4; ++g) {
        const bool left = avail & (4 * g < H / 2 ? kAvailLeft : kAvailLeftLower);
        int sl = 0;
        if (left) sl = leftSum<4>(p, step, 4 * g);
        // The left block prefers both sides (first row: the corner block) or
        // its left side, the right block its upper side (first row) or both.
        int dl = h, dr = h;
        if (g == 0) {
            dl = up && left ? (s0 + sl + 4) >> 3 : left ? (sl + 2) >> 2 : up ? (s0 + 2) >> 2 : h;
            dr = up ? (s1 + 2) >> 2 : left ? (sl + 2) >> 2 : h;
        } else {
            dl = left ? (sl + 2) >> 2 : up ? (s0 + 2) >> 2 : h;
            dr = up && left ? (s1 + sl + 4) >> 3 : left ? (sl + 2) >> 2 : up ? (s1 + 2) >> 2 : h;
        }
        __m128i v = _mm_unpacklo_epi64(splat<T>(dl), splat<T>(dr));
        if constexpr (sizeof(T) == 1) v = _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 1, 2, 0));
#pragma GCC unroll 4
        for (int y = 4 * g; y < 4 * g + 4; ++y) fillRow<T, 8>(row(p, step, y), v);
    }
}

template <class T, int H>
void predictChromaH(T* p, int step, int, int) {
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        T* d = row(p, step, y);
        fillRow<T, 8>(d, splat<T>(d[-1]));
    }
}

template <class T, int H>
void predictChromaV(T* p, int step, int, int) {
    __m128i a = simd::load<8 * sizeof(T)>(row(p, step, -1));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) fillRow<T, 8>(row(p, step, y), a);
}

template <class T, int H>
void predictChromaPlane(T* p, int step, int, int bitDepth) {
    const T* above = row(p, step, -1);
    if constexpr (sizeof(T) == 1 && H == 8) {
        // The gradients and their scaling stay in registers, which keeps the
        // chain from the neighbours to the first row short: H from one
        // pmaddubsw over above[-1 .. 6] and above[0 .. 7], V (scalar) joined
        // to it, b and c = (34 H + 32) >> 6 and (34 V + 32) >> 6 side by
        // side, and row 0 = a + 16 + b (x - 3) - 3 c from two pmaddwd.
        const __m128i x = _mm_unpacklo_epi64(simd::load<8>(above - 1), simd::load<8>(above));
        __m128i hv = _mm_madd_epi16(
            _mm_maddubs_epi16(x, _mm_setr_epi8(-4, -3, -2, -1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4)),
            _mm_set1_epi16(1));                                                      // dwords h0, 0, 0, h3
        hv = _mm_insert_epi32(hv, leftGradient<4>(p, step, 4), 1);                   // h0, v, 0, h3
        hv = _mm_add_epi32(hv, _mm_shuffle_epi32(hv, _MM_SHUFFLE(2, 2, 2, 3)));      // h, v
        const __m128i bc = _mm_srai_epi32(
            _mm_add_epi32(_mm_mullo_epi32(hv, _mm_set1_epi32(34)), _mm_set1_epi32(32)), 6);  // b, c
        const __m128i bcw = _mm_shuffle_epi8(bc, _mm_setr_epi8(0, 1, 4, 5, 0, 1, 4, 5, 0, 1, 4, 5, 0, 1, 4, 5));
        const __m128i cw = _mm_shuffle_epi8(bc, _mm_setr_epi8(4, 5, 4, 5, 4, 5, 4, 5, 4, 5, 4, 5, 4, 5, 4, 5));
        const __m128i lo = _mm_madd_epi16(bcw, _mm_setr_epi16(-3, -3, -2, -3, -1, -3, 0, -3));
        const __m128i hi = _mm_madd_epi16(bcw, _mm_setr_epi16(1, -3, 2, -3, 3, -3, 4, -3));
        const int a16 = 16 * (row(p, step, 7)[-1] + above[7]) + 16;
        planeRows8<8>(p, step, _mm_add_epi16(_mm_packs_epi32(lo, hi), _mm_set1_epi16(static_cast<short>(a16))), cw);
        return;
    }
    constexpr int yCF = H == 16 ? 4 : 0;
    int h;
    if constexpr (sizeof(T) == 1)
        h = hsum16(_mm_maddubs_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(above)),
                                     _mm_setr_epi8(-3, -2, -1, 0, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0)));
    else
        h = hsum32(_mm_madd_epi16(loadu(above), _mm_setr_epi16(-3, -2, -1, 0, 1, 2, 3, 4)));
    h -= 4 * above[-1];
    int v = leftGradient<4 + yCF>(p, step, 4 + yCF);
    int a = 16 * (row(p, step, H - 1)[-1] + above[7]);
    int b = (34 * h + 32) >> 6, c = ((H == 16 ? 5 : 34) * v + 32) >> 6;
    planeRows<T, 8, H>(p, step, a + 16 - 3 * b - (3 + yCF) * c, b, c, bitDepth);
}

}  // namespace

// ---------------------------------------------------------------- tables

template <class T>
const BlockPredictor<T> Predictors<T>::k4x4[9] = {
    predict4x4<T, 0>, predict4x4<T, 1>, predict4x4DC<T>,  predict4x4<T, 3>, predict4x4<T, 4>,
    predict4x4<T, 5>, predict4x4<T, 6>, predict4x4<T, 7>, predict4x4<T, 8>,
};

template <class T>
const BlockPredictor<T> Predictors<T>::k8x8[9] = {
    predict8x8<T, 0>, predict8x8<T, 1>, predict8x8DC<T>,  predict8x8<T, 3>, predict8x8<T, 4>,
    predict8x8<T, 5>, predict8x8<T, 6>, predict8x8<T, 7>, predict8x8<T, 8>,
};

template <class T>
const PlanePredictor<T> Predictors<T>::k16x16[4] = {predict16x16V<T>, predict16x16H<T>, predict16x16DC<T>,
                                                    predict16x16Plane<T>};

template <class T>
const PlanePredictor<T> Predictors<T>::kChroma8[4] = {predictChromaDC<T, 8>, predictChromaH<T, 8>, predictChromaV<T, 8>,
                                                      predictChromaPlane<T, 8>};

template <class T>
const PlanePredictor<T> Predictors<T>::kChroma16[4] = {predictChromaDC<T, 16>, predictChromaH<T, 16>,
                                                       predictChromaV<T, 16>, predictChromaPlane<T, 16>};

template struct Predictors<Mox8u>;
template struct Predictors<Mox16u>;

}  // namespace mox::h264

// ---------------------------------------------------------------- exported predictors

using mox::h264::Predictors;

namespace {

// The plane mode of the exported 16x16 predictor, out of line so that its
// register needs do not cost the other modes saved registers; reached by a
// tail jump.
[[gnu::noinline]] MoxStatus predictPlane16Alone(Mox8u* p, int step) {
    mox::h264::intra::predictPlane16(p, step);
    return moxStsNoErr;
}

// The stand-alone 4x4 predictors read each neighbouring sample on its own:
// nothing around the block beyond them need exist.
using namespace mox::h264::intra;
constexpr mox::h264::BlockPredictor<Mox8u> kPredict4x4Alone[9] = {
    predict4x4<Mox8u, 0, false>, predict4x4<Mox8u, 1, false>, predict4x4DC<Mox8u, false>,
    predict4x4<Mox8u, 3, false>, predict4x4<Mox8u, 4, false>, predict4x4<Mox8u, 5, false>,
    predict4x4<Mox8u, 6, false>, predict4x4<Mox8u, 7, false>, predict4x4<Mox8u, 8, false>,
};

}  // namespace

MOX_FN_INLINE moxiPredictIntra_4x4_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode,
                                               Mox32s availability) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(srcdstStep >= 4, moxStsStepErr);
    MOX_CHECK(predMode >= 0 && predMode <= 8, moxStsOutOfRangeErr);
    // Each mode's kernel inline: no table, no nested call.
    bool missing;
    switch (predMode) {
        case 0: missing = kPredict4x4Alone[0](pSrcDst, srcdstStep, availability, 8); break;
        case 1: missing = kPredict4x4Alone[1](pSrcDst, srcdstStep, availability, 8); break;
        case 2: missing = kPredict4x4Alone[2](pSrcDst, srcdstStep, availability, 8); break;
        case 3: missing = kPredict4x4Alone[3](pSrcDst, srcdstStep, availability, 8); break;
        case 4: missing = kPredict4x4Alone[4](pSrcDst, srcdstStep, availability, 8); break;
        case 5: missing = kPredict4x4Alone[5](pSrcDst, srcdstStep, availability, 8); break;
        case 6: missing = kPredict4x4Alone[6](pSrcDst, srcdstStep, availability, 8); break;
        case 7: missing = kPredict4x4Alone[7](pSrcDst, srcdstStep, availability, 8); break;
        default: missing = kPredict4x4Alone[8](pSrcDst, srcdstStep, availability, 8); break;
    }
    return missing ? moxStsIntraNeighbourWrn : moxStsNoErr;
}

MOX_FN moxiPredictIntra_16x16_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode, Mox32s availability) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(predMode < 0 || predMode > 3 || mox::h264::canPredict16x16(predMode, availability),
              moxStsIntraNeighbourErr);
    MOX_CHECK(predMode >= 0 && predMode <= 3, moxStsOutOfRangeErr);
    // Each mode's kernel inline (plane: one jump): no table, no copy of the neighbours.
    switch (predMode) {
        case 0: predictV16(pSrcDst, srcdstStep); break;
        case 1: predictH16(pSrcDst, srcdstStep); break;
        case 2: predictDC16(pSrcDst, srcdstStep, availability); break;
        default: return predictPlane16Alone(pSrcDst, srcdstStep);
    }
    return moxStsNoErr;
}

MOX_FN_INLINE moxiPredictIntraChroma8x8_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode,
                                                    Mox32s availability) {
    using namespace mox::h264;
    MOX_CHECK_PTRS(pSrcDst);
    // The whole left column is one neighbour here.
    int avail =
        (availability & (kAvailUp | kAvailUpLeft)) | ((availability & kAvailLeft) ? kAvailLeft | kAvailLeftLower : 0);
    MOX_CHECK(predMode < 0 || predMode > 3 || canPredictChroma(predMode, avail), moxStsIntraNeighbourErr);
    MOX_CHECK(predMode >= 0 && predMode <= 3, moxStsOutOfRangeErr);
    // Each mode's kernel inline: no table, no nested call.
    switch (predMode) {
        case 0: predictChromaDC<Mox8u, 8>(pSrcDst, srcdstStep, avail, 8); break;
        case 1: predictChromaH<Mox8u, 8>(pSrcDst, srcdstStep, avail, 8); break;
        case 2: predictChromaV<Mox8u, 8>(pSrcDst, srcdstStep, avail, 8); break;
        default: predictChromaPlane<Mox8u, 8>(pSrcDst, srcdstStep, avail, 8); break;
    }
    return moxStsNoErr;
}
