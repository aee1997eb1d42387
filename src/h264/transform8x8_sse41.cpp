// H.264 8x8 dequantisation and inverse transform (clauses 8.5.12.1, 8.5.13)
// and the exported wrappers of the 8x8 members.
//
// 16-bit coefficients: a block is eight row registers and the 1-D transform
// runs on eight registers at once, so the 2-D transform is transpose, pass
// (the rows), transpose, pass (the columns). 32-bit coefficients: each row is
// a pair of registers, columns 0..3 and 4..7.
#include <type_traits>

#include "core/check.h"
#include "h264/transform_kernels.h"
#include "me/simd.h"

namespace mox::h264 {
namespace {

using lanes::LevelShift;
using lanes::levelShift;

// Vectors with the operations of the 1-D transform: eight 16-bit lanes, or
// eight 32-bit lanes in two registers. Both wrap.
struct V16 {
    __m128i v;
};
inline V16 operator+(V16 a, V16 b) { return {_mm_add_epi16(a.v, b.v)}; }
inline V16 operator-(V16 a, V16 b) { return {_mm_sub_epi16(a.v, b.v)}; }
// (Running the shifts as multiplies by 2^(16 - n) keeping the high half, on
// the multiplier pipes, measured no faster here.)
inline V16 operator>>(V16 a, int n) {
    return {_mm_srai_epi16(a.v, n)};
}

struct V32 {
    __m128i lo, hi;
};
inline V32 operator+(V32 a, V32 b) { return {_mm_add_epi32(a.lo, b.lo), _mm_add_epi32(a.hi, b.hi)}; }
inline V32 operator-(V32 a, V32 b) { return {_mm_sub_epi32(a.lo, b.lo), _mm_sub_epi32(a.hi, b.hi)}; }
inline V32 operator>>(V32 a, int n) { return {_mm_srai_epi32(a.lo, n), _mm_srai_epi32(a.hi, n)}; }

// One 8-point inverse transform on each lane of x[0..7].
template <class V>
inline void idct8(V* x) {
    V e0 = x[0] + x[4], e2 = x[0] - x[4];
    V e4 = (x[2] >> 1) - x[6], e6 = x[2] + (x[6] >> 1);
    V e1 = x[5] - x[3] - x[7] - (x[7] >> 1);
    V e3 = x[1] + x[7] - x[3] - (x[3] >> 1);
    V e5 = x[7] - x[1] + x[5] + (x[5] >> 1);
    V e7 = x[3] + x[5] + x[1] + (x[1] >> 1);
    V f0 = e0 + e6, f6 = e0 - e6, f2 = e2 + e4, f4 = e2 - e4;
    V f1 = e1 + (e7 >> 2), f7 = e7 - (e1 >> 2), f3 = e3 + (e5 >> 2), f5 = (e3 >> 2) - e5;
    x[0] = f0 + f7;
    x[1] = f2 + f5;
    x[2] = f4 + f3;
    x[3] = f6 + f1;
    x[4] = f6 - f1;
    x[5] = f4 - f3;
    x[6] = f2 - f5;
    x[7] = f0 - f7;
}

inline void transpose8x8(V16* r) {
    __m128i a0 = _mm_unpacklo_epi16(r[0].v, r[1].v), a1 = _mm_unpackhi_epi16(r[0].v, r[1].v);
    __m128i a2 = _mm_unpacklo_epi16(r[2].v, r[3].v), a3 = _mm_unpackhi_epi16(r[2].v, r[3].v);
    __m128i a4 = _mm_unpacklo_epi16(r[4].v, r[5].v), a5 = _mm_unpackhi_epi16(r[4].v, r[5].v);
    __m128i a6 = _mm_unpacklo_epi16(r[6].v, r[7].v), a7 = _mm_unpackhi_epi16(r[6].v, r[7].v);
    __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    r[0].v = _mm_unpacklo_epi64(b0, b4);
    r[1].v = _mm_unpackhi_epi64(b0, b4);
    r[2].v = _mm_unpacklo_epi64(b1, b5);
    r[3].v = _mm_unpackhi_epi64(b1, b5);
    r[4].v = _mm_unpacklo_epi64(b2, b6);
    r[5].v = _mm_unpackhi_epi64(b2, b6);
    r[6].v = _mm_unpacklo_epi64(b3, b7);
    r[7].v = _mm_unpackhi_epi64(b3, b7);
}

// Rows (lo: columns 0..3, hi: 4..7) to columns (lo: rows 0..3, hi: 4..7).
inline void transpose8x8(V32* r) {
    lanes::transpose4x4(r[0].lo, r[1].lo, r[2].lo, r[3].lo);
    lanes::transpose4x4(r[0].hi, r[1].hi, r[2].hi, r[3].hi);
    lanes::transpose4x4(r[4].lo, r[5].lo, r[6].lo, r[7].lo);
    lanes::transpose4x4(r[4].hi, r[5].hi, r[6].hi, r[7].hi);
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        __m128i t = r[j].hi;
        r[j].hi = r[4 + j].lo;
        r[4 + j].lo = t;
    }
}

// Scaled coefficient rows to residual rows; the rounding term rides on the
// DC, which reaches every output once with coefficient 1.
template <class V>
inline void inverse8x8(V* r) {
    if constexpr (std::is_same_v<V, V16>) r[0].v = _mm_add_epi16(r[0].v, _mm_cvtsi32_si128(32));
    else r[0].lo = _mm_add_epi32(r[0].lo, _mm_cvtsi32_si128(32));
    transpose8x8(r);
    idct8(r);
    transpose8x8(r);
    idct8(r);
    #pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) r[i] = r[i] >> 6;
}

inline V16 loadRow(const Mox16s* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
inline V32 loadRow(const Mox32s* p) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4))};
}

// Levels of row i times the LevelScale row.
template <bool Left>
inline V16 scaleRow(V16 c, const Mox16s* ls, const LevelShift& sh) {
    return {lanes::scale16<Left>(c.v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(ls)), sh)};
}
template <bool Left>
inline V32 scaleRow(V32 c, const Mox16s* ls, const LevelShift& sh) {
    return {lanes::scale32<Left>(c.lo, _mm_cvtepi16_epi32(simd::load<8>(ls)), sh),
            lanes::scale32<Left>(c.hi, _mm_cvtepi16_epi32(simd::load<8>(ls + 4)), sh)};
}

template <class V, class C>
inline void loadScaled(V* r, const C* c, int qp, const Mox16s* ls) {
    LevelShift sh = levelShift(qp, 6);
    if (sh.left)
        #pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) r[i] = scaleRow<true>(loadRow(c + 8 * i), ls + 8 * i, sh);
    else
        #pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) r[i] = scaleRow<false>(loadRow(c + 8 * i), ls + 8 * i, sh);
}

// pred + residual, clamped to 0..255.
inline void addPred(const V16* r, const Mox8u* pred, int ps, Mox8u* dst, int ds) {
    #pragma GCC unroll 8
    for (int i = 0; i < 8; i += 2) {
        __m128i p0 = _mm_cvtepu8_epi16(simd::load<8>(row(pred, ps, i)));
        __m128i p1 = _mm_cvtepu8_epi16(simd::load<8>(row(pred, ps, i + 1)));
        __m128i s = _mm_packus_epi16(_mm_adds_epi16(r[i].v, p0), _mm_adds_epi16(r[i + 1].v, p1));
        simd::store<8>(row(dst, ds, i), s);
        _mm_storeh_pi(reinterpret_cast<__m64*>(row(dst, ds, i + 1)), _mm_castsi128_ps(s));
    }
}

// pred + residual wrapping at 32 bits, clamped to 0..2^bitDepth - 1.
inline void addPred(const V32* r, const Mox16u* pred, int ps, Mox16u* dst, int ds, int bitDepth) {
    const __m128i maxv = _mm_set1_epi16(static_cast<short>((1 << bitDepth) - 1)), zero = _mm_setzero_si128();
    #pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        __m128i p = simd::load<16>(row(pred, ps, i));
        __m128i lo = _mm_add_epi32(r[i].lo, _mm_unpacklo_epi16(p, zero));
        __m128i hi = _mm_add_epi32(r[i].hi, _mm_unpackhi_epi16(p, zero));
        simd::store<16>(row(dst, ds, i), _mm_min_epu16(_mm_packus_epi32(lo, hi), maxv));
    }
}

}  // namespace

void dequant8x8(Mox16s* c, int qp, const Mox16s* levelScale) {
    V16 r[8];
    loadScaled(r, c, qp, levelScale);
    #pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) simd::store<16>(c + 8 * i, r[i].v);
}

void dequant8x8(Mox32s* c, int qp, const Mox16s* levelScale) {
    V32 r[8];
    loadScaled(r, c, qp, levelScale);
    #pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        simd::store<16>(c + 8 * i, r[i].lo);
        simd::store<16>(c + 8 * i + 4, r[i].hi);
    }
}

// One body for the transform alone and for dequantisation plus transform.
template <bool Dequant, class C, class P, class V>
inline void add8x8(const P* pred, int predStep, const C* coeffs, int qp, const Mox16s* levelScale, int bitDepth,
                   P* dst, int dstStep) {
    V r[8];
    if constexpr (Dequant) loadScaled(r, coeffs, qp, levelScale);
    else
        #pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) r[i] = loadRow(coeffs + 8 * i);
    inverse8x8(r);
    if constexpr (std::is_same_v<V, V16>) addPred(r, pred, predStep, dst, dstStep);
    else addPred(r, pred, predStep, dst, dstStep, bitDepth);
}

void addIdct8x8(const Mox8u* pred, int predStep, const Mox16s* coeffs, Mox8u* dst, int dstStep) {
    add8x8<false, Mox16s, Mox8u, V16>(pred, predStep, coeffs, 0, nullptr, 8, dst, dstStep);
}

void addIdct8x8(const Mox16u* pred, int predStep, const Mox32s* coeffs, int bitDepth, Mox16u* dst, int dstStep) {
    add8x8<false, Mox32s, Mox16u, V32>(pred, predStep, coeffs, 0, nullptr, bitDepth, dst, dstStep);
}

void addResidual8x8Scaled(const Mox8u* pred, int predStep, const Mox16s* coeffs, int qp, const Mox16s* levelScale,
                          Mox8u* dst, int dstStep) {
    add8x8<true, Mox16s, Mox8u, V16>(pred, predStep, coeffs, qp, levelScale, 8, dst, dstStep);
}

void addResidual8x8Scaled(const Mox16u* pred, int predStep, const Mox32s* coeffs, int qp, const Mox16s* levelScale,
                          int bitDepth, Mox16u* dst, int dstStep) {
    add8x8<true, Mox32s, Mox16u, V32>(pred, predStep, coeffs, qp, levelScale, bitDepth, dst, dstStep);
}

}  // namespace mox::h264

// ------------------------------------------------------------------ exported wrappers
// Each wrapper takes its kernel inline; the kernels stay callable on their own
// for the macroblock reconstruction.

MOX_FN_INLINE moxiQuantLuma8x8Inv_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(QP >= 0 && QP <= 51, moxStsOutOfRangeErr);
    mox::h264::dequant8x8(pSrcDst, QP, pQuantTable);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiQuantInvLuma8x8_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(QP >= 0 && QP <= 87, moxStsOutOfRangeErr);
    mox::h264::dequant8x8(pSrcDst, QP, pQuantTable);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(const Mox8u* pPred, int predStep, const Mox16s* pSrc, Mox8u* pDst,
                                                     int dstStep) {
    MOX_CHECK_PTRS(pPred, pSrc, pDst);
    mox::h264::addIdct8x8(pPred, predStep, pSrc, pDst, dstStep);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(const Mox16u* pPred, int predStep, const Mox32s* pSrc,
                                                      Mox16u* pDst, int dstStep, int bitDepth) {
    MOX_CHECK_PTRS(pPred, pSrc, pDst);
    MOX_CHECK(bitDepth >= 8 && bitDepth <= 14, moxStsOutOfRangeErr);
    mox::h264::addIdct8x8(pPred, predStep, pSrc, bitDepth, pDst, dstStep);
    return moxStsNoErr;
}
