// VC-1 overlap smoothing (SMPTE 421M overlapped transform) across one block edge, in
// place on 16-bit intra samples or from them into 8-bit picture samples.
//
// Eight lines run at once in 16-bit lanes: x0..x3 of the lines in four
// registers (rows loaded directly for a horizontal edge, a 4 x 8 transpose
// for a vertical one). The rounding (4, 3, 4, 3) / (3, 4, 3, 4) alternates
// with the line, so it is a per-lane constant. Sums wrap at 16 bits before
// the shift, as in a 16-bit decoder.
#include <cstdint>
#include <type_traits>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"
#include "vc1/transform_simd.h"

namespace {

using namespace mox;

// Rows 7 0 0 1 / -1 7 1 1 / 1 1 7 -1 / 1 0 0 7 of the smoothing matrix; the
// lanes are lines (rows of a vertical edge, columns of a horizontal one,
// eight from an even line on), so x0 and x2 round with 4 in even lanes and 3
// in odd ones, x1 and x3 the other way round.
inline void smooth(__m128i x[4]) {
    const __m128i rEven = _mm_setr_epi16(4, 3, 4, 3, 4, 3, 4, 3), rOdd = _mm_setr_epi16(3, 4, 3, 4, 3, 4, 3, 4);
    const __m128i a = x[0], b = x[1], c = x[2], d = x[3];
    auto times7 = [](__m128i v) { return _mm_sub_epi16(_mm_slli_epi16(v, 3), v); };
    const __m128i cd = _mm_add_epi16(c, d), ab = _mm_add_epi16(a, b);
    x[0] = _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(times7(a), d), rEven), 3);
    x[1] = _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(_mm_sub_epi16(times7(b), a), cd), rOdd), 3);
    x[2] = _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(_mm_sub_epi16(times7(c), d), ab), rEven), 3);
    x[3] = _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(times7(d), a), rOdd), 3);
}

struct To16s {
    Mox16s* p;
    int step;
};
struct To8u {
    Mox8u* p;
    int step;
};

inline __m128i to8u(__m128i v) { return _mm_packus_epi16(_mm_add_epi16(v, _mm_set1_epi16(128)), v); }

// Vertical edge between columns -1 and 0, N lines (rows).
template <int N, class Out>
void verEdge(const Mox16s* src, int ss, Out out) {
#pragma GCC unroll 2
    for (int l0 = 0; l0 < N; l0 += 8) {
        // x0..x3 of 8 lines from one 8-byte load per row, and back.
        __m128i r[8], x[8];
        for (int i = 0; i < 8; ++i) r[i] = simd::load<8>(row(src, ss, l0 + i) - 2);
        vc1::transpose8(r, x);
        smooth(x);
        for (int i = 4; i < 8; ++i) x[i] = _mm_setzero_si128();
        vc1::transpose8(x, r);
        for (int i = 0; i < 8; ++i) {
            if constexpr (std::is_same_v<Out, To16s>)
                simd::store<8>(row(out.p, out.step, l0 + i) - 2, r[i]);
            else
                simd::store<4>(row(out.p, out.step, l0 + i) - 2, to8u(r[i]));
        }
    }
}

// Horizontal edge between rows -1 and 0, N lines (columns).
template <int N, class Out>
void horEdge(const Mox16s* src, int ss, Out out) {
#pragma GCC unroll 2
    for (int l0 = 0; l0 < N; l0 += 8) {
        __m128i x[4];
        for (int k = 0; k < 4; ++k) x[k] = simd::load<16>(row(src, ss, k - 2) + l0);
        smooth(x);
        for (int k = 0; k < 4; ++k) {
            if constexpr (std::is_same_v<Out, To16s>)
                simd::store<16>(row(out.p, out.step, k - 2) + l0, x[k]);
            else
                simd::store<8>(row(out.p, out.step, k - 2) + l0, to8u(x[k]));
        }
    }
}

}  // namespace

#define MOX_VC1_SMOOTH(PLANE, N)                                                                                    \
    MOX_FN moxiSmoothing##PLANE##_VerEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep) {                       \
        MOX_CHECK_PTRS(pSrcDst);                                                                                     \
        verEdge<N>(pSrcDst, srcDstStep, To16s{pSrcDst, srcDstStep});                                                 \
        return moxStsNoErr;                                                                                          \
    }                                                                                                                \
    MOX_FN moxiSmoothing##PLANE##_HorEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep) {                       \
        MOX_CHECK_PTRS(pSrcDst);                                                                                     \
        horEdge<N>(pSrcDst, srcDstStep, To16s{pSrcDst, srcDstStep});                                                 \
        return moxStsNoErr;                                                                                          \
    }                                                                                                                \
    MOX_FN moxiSmoothing##PLANE##_VerEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst,           \
                                                        Mox32s dstStep) {                                            \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                                  \
        verEdge<N>(pSrc, srcStep, To8u{pDst, dstStep});                                                              \
        return moxStsNoErr;                                                                                          \
    }                                                                                                                \
    MOX_FN moxiSmoothing##PLANE##_HorEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst,           \
                                                        Mox32s dstStep) {                                            \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                                  \
        horEdge<N>(pSrc, srcStep, To8u{pDst, dstStep});                                                              \
        return moxStsNoErr;                                                                                          \
    }

MOX_VC1_SMOOTH(Luma, 16)
MOX_VC1_SMOOTH(Chroma, 8)
