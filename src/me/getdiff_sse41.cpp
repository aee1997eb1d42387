// Encoder residuals: the current block minus its prediction at mcType, from
// one reference or as (f + b + 1) >> 1 of a forward and a backward one.
//
// The half positions round with the term 1 - roundControl taken unmasked and
// shifted arithmetically; the difference (and the optional predictor copy)
// keep the low 16 bits. A control of 0 or 1 keeps predictions in 0..255 and
// runs on bytes; any other control takes a 32-bit path, which is exact in the
// low 16 bits because every step is a sum or an arithmetic shift.
#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;
using hpel::Pos;

// N bytes widened to 16-bit lanes: lo bytes 0..7, hi bytes 8..15.
template <int N>
inline void widen(__m128i v, __m128i& lo, __m128i& hi) {
    lo = _mm_cvtepu8_epi16(v);
    hi = N == 16 ? _mm_unpackhi_epi8(v, _mm_setzero_si128()) : _mm_setzero_si128();
}

// One channel: the difference row, and the predictor row when Pred.
template <int N, bool Pred>
struct PlanarOut {
    Mox16s* diff;
    int diffStep;
    Mox16s* pred;
    int predStep;
    static void put(Mox16s* r, __m128i lo, __m128i hi) {
        simd::store<(N < 8 ? 2 * N : 16)>(r, lo);
        if constexpr (N == 16) simd::store<16>(r + 8, hi);
    }
    void write(int y, __m128i dlo, __m128i dhi, __m128i plo, __m128i phi) const {
        put(row(diff, diffStep, y), dlo, dhi);
        if constexpr (Pred) put(row(pred, predStep, y), plo, phi);
    }
};

// Interleaved UVUV rows of 8 samples per channel, differences split to the
// U and V planes.
struct SplitOut {
    Mox16s* u;
    Mox16s* v;
    int step;
    void write(int y, __m128i dlo, __m128i dhi, __m128i, __m128i) const {
        // Even 16-bit lanes (U) to the low half, odd (V) to the high half.
        const __m128i split = _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
        __m128i lo = _mm_shuffle_epi8(dlo, split), hi = _mm_shuffle_epi8(dhi, split);
        simd::store<16>(row(u, step, y), _mm_unpacklo_epi64(lo, hi));
        simd::store<16>(row(v, step, y), _mm_unpackhi_epi64(lo, hi));
    }
};

template <int N, class Out>
inline void writeDiff(Out out, int y, const Mox8u* cur, int curStep, __m128i p8) {
    __m128i plo, phi, clo, chi;
    widen<N>(p8, plo, phi);
    widen<N>(simd::load<N>(row(cur, curStep, y)), clo, chi);
    out.write(y, _mm_sub_epi16(clo, plo), _mm_sub_epi16(chi, phi), plo, phi);
}

template <int N, int H, int HX, int HY, int D, int R, class Out>
MOX_OUT_OF_LINE void diffOne(const Mox8u* cur, int curStep, const Mox8u* ref, int refStep, Out out) {
    hpel::Rows<N, HX, HY, D> pred(ref, refStep, hpel::flipFor(R));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) writeDiff<N>(out, y, cur, curStep, pred.at(y));
}

template <int N, int H, int FX, int FY, int BX, int BY, int D, class Out>
MOX_OUT_OF_LINE void diffTwo(const Mox8u* cur, int curStep, const Mox8u* refF, int stepF, const Mox8u* refB, int stepB,
             Out out, __m128i flip) {
    hpel::Rows<N, FX, FY, D> predF(refF, stepF, flip);
    hpel::Rows<N, BX, BY, D> predB(refB, stepB, flip);
#pragma GCC unroll 8
    for (int y = 0; y < H; ++y) writeDiff<N>(out, y, cur, curStep, _mm_avg_epu8(predF.at(y), predB.at(y)));
}

// The low 16 bits of eight 32-bit lanes (a: 0..3, b: 4..7).
inline __m128i low16(__m128i a, __m128i b) {
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16), _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
}

// Predictions of 8 bytes (16-bit sums s16) as 32-bit lanes, averaged with
// the second reference's when Two; returned as their low 16 bits.
template <bool Two>
inline __m128i generalHalf(const hpel::General& f, __m128i sf, const hpel::General& b, __m128i sb) {
    __m128i p0 = f.finish(sf), p1 = f.finish(_mm_srli_si128(sf, 8));
    if constexpr (Two) {
        const __m128i one = _mm_set1_epi32(1);
        p0 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(p0, b.finish(sb)), one), 1);
        p1 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(p1, b.finish(_mm_srli_si128(sb, 8))), one), 1);
    }
    return low16(p0, p1);
}

template <int N, int H, int D, bool Two, class Out>
MOX_OUT_OF_LINE void diffGeneral(const Mox8u* cur, int curStep, const Mox8u* refF, int stepF, Pos posF, const Mox8u* refB,
                 int stepB, Pos posB, Out out, int rc) {
    const hpel::General f = hpel::General::make(posF, stepF, D, rc, false);
    const hpel::General b = hpel::General::make(posB, stepB, D, rc, false);
    for (int y = 0; y < H; ++y) {
        __m128i flo, fhi, blo = _mm_setzero_si128(), bhi = _mm_setzero_si128();
        f.sums<N>(row(refF, stepF, y), flo, fhi);
        if constexpr (Two) b.sums<N>(row(refB, stepB, y), blo, bhi);
        __m128i plo = generalHalf<Two>(f, flo, b, blo);
        __m128i phi = N == 16 ? generalHalf<Two>(f, fhi, b, bhi) : _mm_setzero_si128();
        __m128i clo, chi;
        widen<N>(simd::load<N>(row(cur, curStep, y)), clo, chi);
        out.write(y, _mm_sub_epi16(clo, plo), _mm_sub_epi16(chi, phi), plo, phi);
    }
}

inline bool byteRounding(int rc) { return rc == 0 || rc == 1; }

template <int N, int H, int D, class Out>
void diffOneAt(const Mox8u* cur, int curStep, const Mox8u* ref, int refStep, Out out, int mcType, int rc) {
    const Pos pos = hpel::fromMcType(mcType);
    if (!byteRounding(rc) && pos.index() != 0) {
        diffGeneral<N, H, D, false>(cur, curStep, ref, refStep, pos, ref, refStep, pos, out, rc);
        return;
    }
    hpel::dispatch(pos, [&](auto hx, auto hy) {
        if (rc & 1) diffOne<N, H, hx, hy, D, 1>(cur, curStep, ref, refStep, out);
        else diffOne<N, H, hx, hy, D, 0>(cur, curStep, ref, refStep, out);
    });
}

template <int N, int H, int D, class Out>
void diffTwoAt(const Mox8u* cur, int curStep, const Mox8u* refF, int stepF, int mcTypeF, const Mox8u* refB, int stepB,
               int mcTypeB, Out out, int rc) {
    const Pos posF = hpel::fromMcType(mcTypeF), posB = hpel::fromMcType(mcTypeB);
    if (!byteRounding(rc) && (posF.index() != 0 || posB.index() != 0)) {
        diffGeneral<N, H, D, true>(cur, curStep, refF, stepF, posF, refB, stepB, posB, out, rc);
        return;
    }
    const __m128i flip = hpel::flipFor(rc & 1);
    hpel::dispatch(posF, [&](auto fx, auto fy) {
        hpel::dispatch(posB, [&](auto bx, auto by) {
            diffTwo<N, H, fx, fy, bx, by, D>(cur, curStep, refF, stepF, refB, stepB, out, flip);
        });
    });
}

template <int N, int H>
void diffPlanar(const Mox8u* cur, int curStep, const Mox8u* ref, int refStep, Mox16s* diff, int diffStep,
                Mox16s* pred, int predStep, int mcType, int rc) {
    if (pred)
        diffOneAt<N, H, 1>(cur, curStep, ref, refStep, PlanarOut<N, true>{diff, diffStep, pred, predStep}, mcType, rc);
    else
        diffOneAt<N, H, 1>(cur, curStep, ref, refStep, PlanarOut<N, false>{diff, diffStep, nullptr, 0}, mcType, rc);
}

}  // namespace

#define MOX_GETDIFF(W, H)                                                                                        \
    MOX_FN moxiGetDiff##W##x##H##_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef,          \
                                           int srcRefStep, Mox16s* pDstDiff, int dstDiffStep,                    \
                                           Mox16s* pDstPredictor, int dstPredictorStep, int mcType,              \
                                           int roundControl) {                                                   \
        MOX_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiff);                                                              \
        diffPlanar<W, H>(pSrcCur, srcCurStep, pSrcRef, srcRefStep, pDstDiff, dstDiffStep, pDstPredictor,         \
                         dstPredictorStep, mcType, roundControl);                                                \
        return moxStsNoErr;                                                                                      \
    }

#define MOX_GETDIFF_B(W, H)                                                                                      \
    MOX_FN moxiGetDiff##W##x##H##B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF,        \
                                            int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, \
                                            int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl) {  \
        MOX_CHECK_PTRS(pSrcCur, pSrcRefF, pSrcRefB, pDstDiff);                                                   \
        diffTwoAt<W, H, 1>(pSrcCur, srcCurStep, pSrcRefF, srcRefStepF, mcTypeF, pSrcRefB, srcRefStepB, mcTypeB,  \
                           PlanarOut<W, false>{pDstDiff, dstDiffStep, nullptr, 0}, roundControl);                \
        return moxStsNoErr;                                                                                      \
    }

// Interleaved chroma: 8 samples per channel, 16 bytes per row.
#define MOX_GETDIFF_C2P2(H)                                                                                      \
    MOX_FN moxiGetDiff8x##H##_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef,            \
                                         int srcRefStep, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep,  \
                                         int mcType, int roundControl) {                                         \
        MOX_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiffU, pDstDiffV);                                                  \
        diffOneAt<16, H, 2>(pSrcCur, srcCurStep, pSrcRef, srcRefStep,                                            \
                            SplitOut{pDstDiffU, pDstDiffV, dstDiffStep}, mcType, roundControl);                  \
        return moxStsNoErr;                                                                                      \
    }                                                                                                            \
    MOX_FN moxiGetDiff8x##H##B_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF,          \
                                          int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB,  \
                                          int mcTypeB, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep,    \
                                          int roundControl) {                                                    \
        MOX_CHECK_PTRS(pSrcCur, pSrcRefF, pSrcRefB, pDstDiffU, pDstDiffV);                                       \
        diffTwoAt<16, H, 2>(pSrcCur, srcCurStep, pSrcRefF, srcRefStepF, mcTypeF, pSrcRefB, srcRefStepB,         \
                            mcTypeB, SplitOut{pDstDiffU, pDstDiffV, dstDiffStep}, roundControl);                 \
        return moxStsNoErr;                                                                                      \
    }

MOX_GETDIFF(16, 16)
MOX_GETDIFF(16, 8)
MOX_GETDIFF(8, 16)
MOX_GETDIFF(8, 8)
MOX_GETDIFF(8, 4)
MOX_GETDIFF(4, 4)
MOX_GETDIFF_B(16, 16)
MOX_GETDIFF_B(16, 8)
MOX_GETDIFF_B(8, 16)
MOX_GETDIFF_B(8, 8)
MOX_GETDIFF_B(8, 4)
MOX_GETDIFF_C2P2(8)
MOX_GETDIFF_C2P2(4)
