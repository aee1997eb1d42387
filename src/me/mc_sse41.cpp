// Motion compensation: the prediction at mcType (from one reference, or the
// rounded-up average of a forward and a backward one) plus a 16-bit
// residual, clamped to 0..255.
//
// 16- and 8-wide blocks (and the interleaved chroma blocks) take the rounding
// control & 1 and wrap prediction + residual in 16 bits before clamping
// (paddw + packuswb). 4- and 2-wide blocks use the control unmasked, with the
// half-half division truncating toward zero, and clamp the exact sum; for a
// control of 0 or 1 their predictions stay in 0..255 and the exact clamp is a
// saturating add, so they share the byte kernels; any other control takes a
// 32-bit path.
#include <algorithm>

#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;
using hpel::Int;
using hpel::Pos;

// Residual rows as 16-bit lanes, lo for samples 0..7 and hi for 8..15 of the
// destination row.
template <int W>
struct RowResidual {  // H rows of W values
    const Mox16s* p;
    int step;
    void at(int y, __m128i& lo, __m128i& hi) const {
        const Mox16s* r = row(p, step, y);
        lo = simd::load<(W < 8 ? 2 * W : 16)>(r);
        hi = W == 16 ? simd::load<16>(r + 8) : _mm_setzero_si128();
    }
};

template <int H>
struct StackedResidual {  // left 8 columns from rows 0..H-1, right 8 from rows H..2H-1
    const Mox16s* p;
    int step;
    void at(int y, __m128i& lo, __m128i& hi) const {
        lo = simd::load<16>(row(p, step, y));
        hi = simd::load<16>(row(p, step, H + y));
    }
};

struct PlanarResidual {  // U and V planes of 8 values per row, interleaved to match UVUV samples
    const Mox16s* u;
    const Mox16s* v;
    int step;
    void at(int y, __m128i& lo, __m128i& hi) const {
        __m128i ru = simd::load<16>(row(u, step, y)), rv = simd::load<16>(row(v, step, y));
        lo = _mm_unpacklo_epi16(ru, rv);
        hi = _mm_unpackhi_epi16(ru, rv);
    }
};

// clamp(pred + residual) for N predicted bytes. Exact: the true sum clamped,
// which for predictions in 0..255 is a saturating 16-bit add; otherwise the
// sum wraps in 16 bits before the clamp.
template <int N, bool Exact>
inline __m128i addResidual(__m128i pred, __m128i lo, __m128i hi) {
    auto add = [](__m128i a, __m128i b) { return Exact ? _mm_adds_epi16(a, b) : _mm_add_epi16(a, b); };
    __m128i s0 = add(_mm_cvtepu8_epi16(pred), lo);
    if constexpr (N == 16) {
        return _mm_packus_epi16(s0, add(_mm_unpackhi_epi8(pred, _mm_setzero_si128()), hi));
    } else {
        return _mm_packus_epi16(s0, s0);
    }
}

template <int N, int H, int HX, int HY, int D, bool Exact, int R, class Res>
MOX_OUT_OF_LINE void mcOne(const Mox8u* ref, int refStep, Res res, Mox8u* dst, int dstStep) {
    hpel::Rows<N, HX, HY, D> pred(ref, refStep, hpel::flipFor(R));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        __m128i lo, hi;
        res.at(y, lo, hi);
        simd::store<N>(row(dst, dstStep, y), addResidual<N, Exact>(pred.at(y), lo, hi));
    }
}

template <int N, int H, int FX, int FY, int BX, int BY, int D, bool Exact, class Res>
MOX_OUT_OF_LINE void mcTwo(const Mox8u* refF, int stepF, const Mox8u* refB, int stepB, Res res, Mox8u* dst, int dstStep,
           __m128i flip) {
    hpel::Rows<N, FX, FY, D> predF(refF, stepF, flip);
    hpel::Rows<N, BX, BY, D> predB(refB, stepB, flip);
#pragma GCC unroll 8
    for (int y = 0; y < H; ++y) {
        __m128i lo, hi;
        res.at(y, lo, hi);
        __m128i p = _mm_avg_epu8(predF.at(y), predB.at(y));
        simd::store<N>(row(dst, dstStep, y), addResidual<N, Exact>(p, lo, hi));
    }
}

// 4- and 2-wide blocks with a rounding control other than 0 and 1. The
// prediction is monotonic in the control, and a control beyond +-2^20 drives
// every half-sample prediction (and any average with one) past +-2^17, where
// any residual leaves the clamp at 0 or 255; clamping the control there keeps
// the results and the 32-bit lanes exact.
template <int W, int H, bool Two>
MOX_OUT_OF_LINE void mcGeneral(const Mox8u* refF, int stepF, Pos posF, const Mox8u* refB, int stepB, Pos posB, const Mox16s* res,
               int resStep, Mox8u* dst, int dstStep, int rc) {
    rc = std::clamp(rc, -(1 << 20), 1 << 20);
    const hpel::General f = hpel::General::make(posF, stepF, 1, rc, true);
    const hpel::General b = hpel::General::make(posB, stepB, 1, rc, true);
    const __m128i one = _mm_set1_epi32(1);
    for (int y = 0; y < H; ++y) {
        __m128i lo, hi;
        f.sums<W>(row(refF, stepF, y), lo, hi);
        __m128i p = f.finish(lo);
        if constexpr (Two) {
            b.sums<W>(row(refB, stepB, y), lo, hi);
            p = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(p, b.finish(lo)), one), 1);
        }
        __m128i s = _mm_add_epi32(p, _mm_cvtepi16_epi32(simd::load<2 * W>(row(res, resStep, y))));
        s = _mm_packs_epi32(s, s);
        simd::store<W>(row(dst, dstStep, y), _mm_packus_epi16(s, s));
    }
}

// One reference: the kernel for the position and rounding.
template <int N, int H, int D, bool Exact, class Res>
void mcOneAt(const Mox8u* ref, int refStep, Res res, Mox8u* dst, int dstStep, int mcType, int rc) {
    hpel::dispatch(hpel::fromMcType(mcType), [&](auto hx, auto hy) {
        if (rc & 1) mcOne<N, H, hx, hy, D, Exact, 1>(ref, refStep, res, dst, dstStep);
        else mcOne<N, H, hx, hy, D, Exact, 0>(ref, refStep, res, dst, dstStep);
    });
}

template <int N, int H, int D, bool Exact, class Res>
void mcTwoAt(const Mox8u* refF, int stepF, int mcTypeF, const Mox8u* refB, int stepB, int mcTypeB, Res res,
             Mox8u* dst, int dstStep, int rc) {
    const __m128i flip = hpel::flipFor(rc & 1);
    hpel::dispatch(hpel::fromMcType(mcTypeF), [&](auto fx, auto fy) {
        hpel::dispatch(hpel::fromMcType(mcTypeB), [&](auto bx, auto by) {
            mcTwo<N, H, fx, fy, bx, by, D, Exact>(refF, stepF, refB, stepB, res, dst, dstStep, flip);
        });
    });
}

// Masked rounding (16- and 8-wide, residual layout Res).
template <int N, int H, class Res>
void mcMasked(const Mox8u* ref, int refStep, const Mox16s* res, int resStep, Mox8u* dst, int dstStep, int mcType,
              int rc) {
    mcOneAt<N, H, 1, false>(ref, refStep, Res{res, resStep}, dst, dstStep, mcType, rc);
}

template <int N, int H, class Res>
void mcMaskedB(const Mox8u* refF, int stepF, int mcTypeF, const Mox8u* refB, int stepB, int mcTypeB,
               const Mox16s* res, int resStep, Mox8u* dst, int dstStep, int rc) {
    mcTwoAt<N, H, 1, false>(refF, stepF, mcTypeF, refB, stepB, mcTypeB, Res{res, resStep}, dst, dstStep, rc);
}

// Unmasked rounding (4- and 2-wide).
inline bool byteRounding(int rc) { return rc == 0 || rc == 1; }

template <int W, int H, class Res>
void mcExact(const Mox8u* ref, int refStep, const Mox16s* res, int resStep, Mox8u* dst, int dstStep, int mcType,
             int rc) {
    const Pos pos = hpel::fromMcType(mcType);
    if (byteRounding(rc) || pos.index() == 0)
        mcOneAt<W, H, 1, true>(ref, refStep, Res{res, resStep}, dst, dstStep, mcType, rc);
    else
        mcGeneral<W, H, false>(ref, refStep, pos, ref, refStep, pos, res, resStep, dst, dstStep, rc);
}

template <int W, int H, class Res>
void mcExactB(const Mox8u* refF, int stepF, int mcTypeF, const Mox8u* refB, int stepB, int mcTypeB,
              const Mox16s* res, int resStep, Mox8u* dst, int dstStep, int rc) {
    const Pos posF = hpel::fromMcType(mcTypeF), posB = hpel::fromMcType(mcTypeB);
    if (byteRounding(rc) || (posF.index() == 0 && posB.index() == 0))
        mcTwoAt<W, H, 1, true>(refF, stepF, mcTypeF, refB, stepB, mcTypeB, Res{res, resStep}, dst, dstStep, rc);
    else
        mcGeneral<W, H, true>(refF, stepF, posF, refB, stepB, posB, res, resStep, dst, dstStep, rc);
}

}  // namespace

// NAME, kernel pair, bytes per row, rows, residual layout.
#define MOX_MC(NAME, ONE, TWO, N, H, RES)                                                                         \
    MOX_FN moxiMC##NAME##_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep,    \
                                Mox8u* pDst, int dstStep, int mcType, int roundControl) {                         \
        MOX_CHECK_PTRS(pSrcRef, pSrcYData, pDst);                                                                 \
        ONE<N, H, RES>(pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep, mcType, roundControl);           \
        return moxStsNoErr;                                                                                       \
    }                                                                                                             \
    MOX_FN moxiMC##NAME##B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB,        \
                                 int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep,            \
                                 Mox8u* pDst, int dstStep, int roundControl) {                                    \
        MOX_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcYData, pDst);                                                      \
        TWO<N, H, RES>(pSrcRefF, srcStepF, mcTypeF, pSrcRefB, srcStepB, mcTypeB, pSrcYData, srcYDataStep, pDst,   \
                       dstStep, roundControl);                                                                    \
        return moxStsNoErr;                                                                                       \
    }

MOX_MC(16x16, mcMasked, mcMaskedB, 16, 16, RowResidual<16>)
MOX_MC(16x8, mcMasked, mcMaskedB, 16, 8, RowResidual<16>)
MOX_MC(8x16, mcMasked, mcMaskedB, 8, 16, RowResidual<8>)
MOX_MC(8x8, mcMasked, mcMaskedB, 8, 8, RowResidual<8>)
MOX_MC(8x4, mcMasked, mcMaskedB, 8, 4, RowResidual<8>)
MOX_MC(16x4, mcMasked, mcMaskedB, 16, 4, StackedResidual<4>)
MOX_MC(4x8, mcExact, mcExactB, 4, 8, RowResidual<4>)
MOX_MC(4x4, mcExact, mcExactB, 4, 4, RowResidual<4>)
MOX_MC(4x2, mcExact, mcExactB, 4, 2, RowResidual<4>)
MOX_MC(2x4, mcExact, mcExactB, 2, 4, RowResidual<2>)
MOX_MC(2x2, mcExact, mcExactB, 2, 2, RowResidual<2>)

// The 16x8 chroma pair: a U block and a V block side by side, residuals stacked.
MOX_FN moxiMC16x8UV_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst,
                          int dstStep, int mcType, int roundControl) {
    MOX_CHECK_PTRS(pSrcRef, pSrcYData, pDst);
    mcMasked<16, 8, StackedResidual<8>>(pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep, mcType,
                                        roundControl);
    return moxStsNoErr;
}

MOX_FN moxiMC16x8BUV_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB,
                           int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep,
                           int roundControl) {
    MOX_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcYData, pDst);
    mcMaskedB<16, 8, StackedResidual<8>>(pSrcRefF, srcStepF, mcTypeF, pSrcRefB, srcStepB, mcTypeB, pSrcYData,
                                         srcYDataStep, pDst, dstStep, roundControl);
    return moxStsNoErr;
}

// Interleaved UVUV chroma: 8 samples per channel = 16 bytes per row,
// horizontal neighbours 2 bytes apart, U and V residual planes.
#define MOX_MC_P2C2R(H)                                                                                           \
    MOX_FN moxiMC8x##H##_16s8u_P2C2R(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcUData,                 \
                                     const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep,            \
                                     int mcType, int roundControl) {                                              \
        MOX_CHECK_PTRS(pSrcRef, pSrcUData, pSrcVData, pDst);                                                      \
        mcOneAt<16, H, 2, false>(pSrcRef, srcStep, PlanarResidual{pSrcUData, pSrcVData, srcUVStep}, pDst,        \
                                 dstStep, mcType, roundControl);                                                  \
        return moxStsNoErr;                                                                                       \
    }                                                                                                             \
    MOX_FN moxiMC8x##H##B_16s8u_P2C2R(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB,   \
                                      int srcStepB, int mcTypeB, const Mox16s* pSrcUData,                         \
                                      const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep,           \
                                      int roundControl) {                                                         \
        MOX_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcUData, pSrcVData, pDst);                                           \
        mcTwoAt<16, H, 2, false>(pSrcRefF, srcStepF, mcTypeF, pSrcRefB, srcStepB, mcTypeB,                       \
                                 PlanarResidual{pSrcUData, pSrcVData, srcUVStep}, pDst, dstStep, roundControl);   \
        return moxStsNoErr;                                                                                       \
    }

MOX_MC_P2C2R(8)
MOX_MC_P2C2R(4)
