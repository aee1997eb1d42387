// VC-1 range mapping (RANGE_MAPY / RANGE_MAPUV of SMPTE 421M)
// and range reduction (RANGEREDFRM) of 8-bit planes, in place or not.
//
// Samples are centred (Y - 128) in 16-bit lanes, scaled, and re-centred with
// packus clamping. Rows run in 16-, 8- and 4-sample pieces and a scalar
// tail, never touching a sample twice (so in-place calls stay exact).
#include <cstdint>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"

namespace {

using namespace mox;

// ((Y - 128) * m + 4) >> 3, + 128.
struct Map {
    __m128i m;
    int mul;
    __m128i lanes(__m128i c) const {
        return _mm_srai_epi16(_mm_add_epi16(_mm_mullo_epi16(c, m), _mm_set1_epi16(4)), 3);
    }
    int one(int c) const { return (c * mul + 4) >> 3; }
};
// (Y - 128) * 2
struct Up {
    __m128i lanes(__m128i c) const { return _mm_slli_epi16(c, 1); }
    int one(int c) const { return c * 2; }
};
// (Y - 128) >> 1
struct Down {
    __m128i lanes(__m128i c) const { return _mm_srai_epi16(c, 1); }
    int one(int c) const { return c >> 1; }
};

template <int N, class Op>
inline void piece(const Mox8u* s, Mox8u* d, const Op& op) {
    const __m128i v = simd::load<N>(s), z = _mm_setzero_si128(), k = _mm_set1_epi16(128);
    const __m128i lo = _mm_add_epi16(op.lanes(_mm_sub_epi16(_mm_unpacklo_epi8(v, z), k)), k);
    const __m128i hi = N == 16 ? _mm_add_epi16(op.lanes(_mm_sub_epi16(_mm_unpackhi_epi8(v, z), k)), k) : lo;
    simd::store<N>(d, _mm_packus_epi16(lo, hi));
}

template <class Op>
void apply(const Mox8u* src, int ss, Mox8u* dst, int ds, MoxiSize roi, const Op& op) {
    for (int y = 0; y < roi.height; ++y) {
        const Mox8u* s = row(src, ss, y);
        Mox8u* d = row(dst, ds, y);
        int x = 0;
        for (; x + 16 <= roi.width; x += 16) piece<16>(s + x, d + x, op);
        if (x + 8 <= roi.width) piece<8>(s + x, d + x, op), x += 8;
        if (x + 4 <= roi.width) piece<4>(s + x, d + x, op), x += 4;
        for (; x < roi.width; ++x) d[x] = static_cast<Mox8u>(clampPixel(op.one(s[x] - 128) + 128));
    }
}

}  // namespace

MOX_FN moxiRangeMapping_VC1_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, MoxiSize roiSize,
                                   Mox32s rangeMapValue) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(roiSize.width > 0 && roiSize.height > 0, moxStsSizeErr);
    MOX_CHECK(rangeMapValue >= 0 && rangeMapValue <= 7, moxStsOutOfRangeErr);
    const int mul = rangeMapValue + 9;
    apply(pSrc, srcStep, pDst, dstStep, roiSize, Map{_mm_set1_epi16(static_cast<short>(mul)), mul});
    return moxStsNoErr;
}

MOX_FN moxiRangeReduction_VC1_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, MoxiSize roiSize,
                                     Mox32s scaleUp) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(roiSize.width > 0 && roiSize.height > 0, moxStsSizeErr);
    if (scaleUp)
        apply(pSrc, srcStep, pDst, dstStep, roiSize, Up{});
    else
        apply(pSrc, srcStep, pDst, dstStep, roiSize, Down{});
    return moxStsNoErr;
}
