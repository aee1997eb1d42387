// Block difference: pSrc1 - pSrc2 as 16-bit signed residuals.
#include "core/check.h"
#include "me/simd.h"

namespace {

using namespace mox;

template <int W, int H>
void sub8u(const Mox8u* a, int as, const Mox8u* b, int bs, Mox16s* d, int ds) {
    const __m128i zero = _mm_setzero_si128();
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        const Mox8u* ra = row(a, as, y);
        const Mox8u* rb = row(b, bs, y);
        Mox16s* rd = row(d, ds, y);
        if constexpr (W == 16) {
            __m128i va = simd::load<16>(ra), vb = simd::load<16>(rb);
            simd::store<16>(rd, _mm_sub_epi16(_mm_unpacklo_epi8(va, zero), _mm_unpacklo_epi8(vb, zero)));
            simd::store<16>(rd + 8, _mm_sub_epi16(_mm_unpackhi_epi8(va, zero), _mm_unpackhi_epi8(vb, zero)));
        } else {
            __m128i va = _mm_cvtepu8_epi16(simd::load<W>(ra)), vb = _mm_cvtepu8_epi16(simd::load<W>(rb));
            simd::store<2 * W>(rd, _mm_sub_epi16(va, vb));
        }
    }
}

template <int W, int H>
void sub16u(const Mox16u* a, int as, const Mox16u* b, int bs, Mox16s* d, int ds) {
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        const Mox16u* ra = row(a, as, y);
        const Mox16u* rb = row(b, bs, y);
        Mox16s* rd = row(d, ds, y);
        for (int x = 0; x < W; x += 8 < W ? 8 : W)
            simd::store<(W < 8 ? W : 8) * 2>(rd + x, _mm_sub_epi16(simd::load<(W < 8 ? W : 8) * 2>(ra + x),
                                                                   simd::load<(W < 8 ? W : 8) * 2>(rb + x)));
    }
}

}  // namespace

#define MOX_SUB(W, H, T, kernel)                                                                    \
    MOX_FN moxiSub##W##x##H##_##T##16s_C1R(const Mox##T* pSrc1, int src1Step, const Mox##T* pSrc2, \
                                           int src2Step, Mox16s* pDst, int dstStep) {             \
        MOX_CHECK_PTRS(pSrc1, pSrc2, pDst);                                                         \
        kernel<W, H>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep);                              \
        return moxStsNoErr;                                                                         \
    }

MOX_SUB(4, 4, 8u, sub8u)
MOX_SUB(8, 8, 8u, sub8u)
MOX_SUB(16, 16, 8u, sub8u)
MOX_SUB(4, 4, 16u, sub16u)
MOX_SUB(8, 8, 16u, sub16u)
