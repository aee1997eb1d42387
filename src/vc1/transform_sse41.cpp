// VC-1 inverse transforms 8x8, 8x4 (8 wide, 4 high), 4x8 and 4x4 (SMPTE
// 421M), residual out or added to a prediction.
//
// Eight 16-bit lanes hold one coefficient index of eight lines, so each pass
// is the even/odd butterfly of the standard's 8- or 4-point transform run on
// whole registers; the block is transposed before the row pass and between
// the passes (a 4-line block fills the other lanes with zeros), and the
// whole block stays in registers from the loads to the stores (every loop
// over its lines is unrolled: a rolled one goes through the stack). All sums
// are formed modulo 2^16 and shifted arithmetically, which is the standard's
// arithmetic wherever a value fits 16 bits before its shift (conforming
// streams), and the same wrap-around as the reference model elsewhere.
#include <cstdint>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"
#include "vc1/transform_simd.h"

namespace {

using namespace mox;

// The passes share registers only when everything is inlined into one kernel.
#define MOX_VC1_INLINE inline __attribute__((always_inline))

template <int C>
MOX_VC1_INLINE __m128i mulc(__m128i v) {
    if constexpr (C == 4)
        return _mm_slli_epi16(v, 2);
    else if constexpr (C == 16)
        return _mm_slli_epi16(v, 4);
    else if constexpr (C == 6 || C == 9 || C == 12 || C == 15)
        return vc1::mulm<C>(v);  // the 8-point factors
    else
        return _mm_mullo_epi16(v, _mm_set1_epi16(C));
}

MOX_VC1_INLINE __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
MOX_VC1_INLINE __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }

// 8-point transform of x[0..7] into o[0..7]: (sum + R (+ 1 on outputs 4..7
// when LOWER1)) >> S.
template <int R, int S, bool LOWER1>
MOX_VC1_INLINE void idct8(const __m128i x[8], __m128i o[8]) {
    const __m128i dc = add(mulc<12>(x[0]), _mm_set1_epi16(R)), x4 = mulc<12>(x[4]);
    const __m128i t1 = add(dc, x4), t2 = sub(dc, x4);
    const __m128i t3 = add(mulc<16>(x[2]), mulc<6>(x[6])), t4 = sub(mulc<6>(x[2]), mulc<16>(x[6]));
    __m128i t5 = add(t1, t3), t6 = add(t2, t4), t7 = sub(t2, t4), t8 = sub(t1, t3);
    // The 16 and 4 taps pair up as 4 * (4a + b) and 4 * (a - 4b).
    const __m128i a17 = mulc<4>(add(mulc<4>(x[1]), x[7])), b17 = mulc<4>(sub(x[1], mulc<4>(x[7])));
    const __m128i a53 = mulc<4>(add(x[3], mulc<4>(x[5]))), b53 = mulc<4>(sub(x[5], mulc<4>(x[3])));
    const __m128i o1 = add(a17, add(mulc<15>(x[3]), mulc<9>(x[5])));
    const __m128i o2 = sub(sub(mulc<15>(x[1]), mulc<9>(x[7])), a53);
    const __m128i o3 = add(add(mulc<9>(x[1]), mulc<15>(x[7])), b53);
    const __m128i o4 = add(b17, sub(mulc<15>(x[5]), mulc<9>(x[3])));
    o[0] = _mm_srai_epi16(add(t5, o1), S);
    o[1] = _mm_srai_epi16(add(t6, o2), S);
    o[2] = _mm_srai_epi16(add(t7, o3), S);
    o[3] = _mm_srai_epi16(add(t8, o4), S);
    if constexpr (LOWER1) {
        const __m128i one = _mm_set1_epi16(1);
        t5 = add(t5, one);
        t6 = add(t6, one);
        t7 = add(t7, one);
        t8 = add(t8, one);
    }
    o[4] = _mm_srai_epi16(sub(t8, o4), S);
    o[5] = _mm_srai_epi16(sub(t7, o3), S);
    o[6] = _mm_srai_epi16(sub(t6, o2), S);
    o[7] = _mm_srai_epi16(sub(t5, o1), S);
}

// 4-point transform of x[0..3] into o[0..3].
template <int R, int S>
MOX_VC1_INLINE void idct4(const __m128i x[4], __m128i o[4]) {
    const __m128i r = _mm_set1_epi16(R);
    const __m128i t1 = add(mulc<17>(add(x[0], x[2])), r), t2 = add(mulc<17>(sub(x[0], x[2])), r);
    const __m128i t3 = add(mulc<22>(x[1]), mulc<10>(x[3])), t4 = sub(mulc<22>(x[3]), mulc<10>(x[1]));
    o[0] = _mm_srai_epi16(add(t1, t3), S);
    o[1] = _mm_srai_epi16(sub(t2, t4), S);
    o[2] = _mm_srai_epi16(add(t2, t4), S);
    o[3] = _mm_srai_epi16(sub(t1, t3), S);
}

// Residual rows of a W x H block (W, H 4 or 8): res[y] holds row y in lanes 0..W-1.
template <int W, int H>
MOX_VC1_INLINE void residual(const Mox16s* src, int ss, __m128i res[8]) {
    __m128i in[8], x[8], d[8];
#pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) in[y] = y < H ? simd::load<2 * W>(row(src, ss, y)) : _mm_setzero_si128();
    vc1::transpose8(in, x);
    if constexpr (W == 8)
        idct8<4, 3, false>(x, d);
    else
        idct4<4, 3>(x, d);
#pragma GCC unroll 8
    for (int k = W; k < 8; ++k) d[k] = _mm_setzero_si128();
    vc1::transpose8(d, x);
    if constexpr (H == 8)
        idct8<64, 7, true>(x, res);
    else
        idct4<64, 7>(x, res);
}

template <int W, int H>
void inverse(const Mox16s* src, int ss, Mox16s* dst, int ds) {
    __m128i r[8];
    residual<W, H>(src, ss, r);
#pragma GCC unroll 8
    for (int y = 0; y < H; ++y) simd::store<2 * W>(row(dst, ds, y), r[y]);
}

template <int W, int H>
void inverseAdd(const Mox16s* src, int ss, const Mox8u* pred, int ps, Mox8u* dst, int ds) {
    __m128i r[8];
    residual<W, H>(src, ss, r);
#pragma GCC unroll 4
    for (int y = 0; y < H; y += 2) {
        const __m128i p = W == 8 ? simd::load8x2(row(pred, ps, y), row(pred, ps, y + 1))
                                 : _mm_unpacklo_epi32(simd::load<4>(row(pred, ps, y)), simd::load<4>(row(pred, ps, y + 1)));
        const __m128i z = _mm_setzero_si128();
        __m128i lo, hi;
        if constexpr (W == 8) {
            lo = _mm_adds_epi16(_mm_unpacklo_epi8(p, z), r[y]);
            hi = _mm_adds_epi16(_mm_unpackhi_epi8(p, z), r[y + 1]);
            const __m128i v = _mm_packus_epi16(lo, hi);
            simd::store<8>(row(dst, ds, y), v);
            simd::store<8>(row(dst, ds, y + 1), _mm_unpackhi_epi64(v, v));
        } else {
            lo = _mm_adds_epi16(_mm_unpacklo_epi8(p, z), _mm_unpacklo_epi64(r[y], r[y + 1]));
            const __m128i v = _mm_packus_epi16(lo, lo);
            simd::store<4>(row(dst, ds, y), v);
            simd::store<4>(row(dst, ds, y + 1), _mm_srli_si128(v, 4));
        }
    }
}

// A row step of at least `bytes` in magnitude (negative: bottom-up).
inline bool stepOk(int step, int bytes) { return step >= bytes || static_cast<int64_t>(step) <= -bytes; }

}  // namespace

#define MOX_VC1_INV(W, H)                                                                                         \
    MOX_FN moxiTransform##W##x##H##Inv_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst,              \
                                                   Mox32s dstStep) {                                              \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                                \
        MOX_CHECK(stepOk(srcStep, 2 * (W)) && stepOk(dstStep, 2 * (W)), moxStsStepErr);                            \
        inverse<W, H>(pSrc, srcStep, pDst, dstStep);                                                               \
        return moxStsNoErr;                                                                                        \
    }                                                                                                              \
    MOX_FN moxiTransform##W##x##H##InvAddPred_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, const Mox8u* pPred, \
                                                            Mox32s predStep, Mox8u* pDst, Mox32s dstStep) {        \
        MOX_CHECK_PTRS(pSrc, pPred, pDst);                                                                         \
        MOX_CHECK(stepOk(srcStep, 2 * (W)) && stepOk(predStep, W) && stepOk(dstStep, W), moxStsStepErr);           \
        inverseAdd<W, H>(pSrc, srcStep, pPred, predStep, pDst, dstStep);                                           \
        return moxStsNoErr;                                                                                        \
    }

MOX_VC1_INV(8, 8)
MOX_VC1_INV(8, 4)
MOX_VC1_INV(4, 8)
MOX_VC1_INV(4, 4)
