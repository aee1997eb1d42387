// Block copy (plain and at half-sample positions), averaging, interpolate-
// average and residual adds for the MPEG-style decoders. Positions come as
// `acc` (bit 0 horizontal, bit 1 vertical) with `rounding` & 1.
#include <cstddef>

#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;
using hpel::Int;

// Calls f(Int<hx>, Int<hy>, Int<down>) for acc & 3 and rounding & 1, so each
// position and rounding gets its own kernel (round-up kernels then carry no
// complementing at all).
template <class F>
inline void dispatchAcc(int acc, int rounding, F&& f) {
    hpel::dispatch(hpel::fromAcc(acc), [&](auto hx, auto hy) {
        if (rounding & 1) f(hx, hy, Int<1>{});
        else f(hx, hy, Int<0>{});
    });
}

// Four rows from one base pointer (base, +step, +2 step, +3 step), so the
// address arithmetic is one add per four rows rather than a chain of adds.
template <int H, class F>
inline void byFours(F&& f) {
#pragma GCC unroll 4
    for (int y = 0; y < H; y += 4) f(y);
}

template <int W, int H>
void copyBlock(const Mox8u* s, int ss, Mox8u* d, int ds) {
    const std::ptrdiff_t s1 = ss, s2 = 2 * s1, s3 = 3 * s1, d1 = ds, d2 = 2 * d1, d3 = 3 * d1;
    byFours<H>([&](int y) {
        const Mox8u* r = row(s, ss, y);
        Mox8u* o = row(d, ds, y);
        __m128i a = simd::load<W>(r), b = simd::load<W>(r + s1), c = simd::load<W>(r + s2), e = simd::load<W>(r + s3);
        simd::store<W>(o, a);
        simd::store<W>(o + d1, b);
        simd::store<W>(o + d2, c);
        simd::store<W>(o + d3, e);
    });
}

template <int W, int H, int HX, int HY, int R>
MOX_OUT_OF_LINE void copyHP(const Mox8u* s, int ss, Mox8u* d, int ds) {
    hpel::Rows<W, HX, HY> pred(s, ss, hpel::flipFor(R));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) simd::store<W>(row(d, ds, y), pred.at(y));
}

template <int W, int H>
void average(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds) {
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y)
        simd::store<W>(row(d, ds, y), _mm_avg_epu8(simd::load<W>(row(a, as, y)), simd::load<W>(row(b, bs, y))));
}

template <int W, int H, int HX, int HY, int R>
MOX_OUT_OF_LINE void interpolateAverage(const Mox8u* s, int ss, Mox8u* d, int ds) {
    hpel::Rows<W, HX, HY> pred(s, ss, hpel::flipFor(R));
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y) {
        Mox8u* r = row(d, ds, y);
        simd::store<W>(r, _mm_avg_epu8(pred.at(y), simd::load<W>(r)));
    }
}

// Eight 8-bit samples plus eight 16-bit values, wrapping in 16 bits, then
// clamped back to 8 bits.
inline __m128i addClamp8(__m128i samples, __m128i res) {
    __m128i s = _mm_add_epi16(_mm_cvtepu8_epi16(samples), res);
    return _mm_packus_epi16(s, s);
}

void add8x8(const Mox16s* res, int rs, Mox8u* d, int ds) {
#pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) {
        Mox8u* r = row(d, ds, y);
        simd::store<8>(r, addClamp8(simd::load<8>(r), simd::load<16>(row(res, rs, y))));
    }
}

template <int HX, int HY, int R>
MOX_OUT_OF_LINE void add8x8HP(const Mox16s* res, int rs, const Mox8u* ref, int refStep, Mox8u* d, int ds) {
    hpel::Rows<8, HX, HY> pred(ref, refStep, hpel::flipFor(R));
#pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) simd::store<8>(row(d, ds, y), addClamp8(pred.at(y), simd::load<16>(row(res, rs, y))));
}

void addC8x8(Mox16s value, Mox8u* d, int ds) {
    const __m128i v = _mm_set1_epi16(value);
#pragma GCC unroll 8
    for (int y = 0; y < 8; y += 2) {
        // Two rows per register.
        Mox8u* r0 = row(d, ds, y);
        Mox8u* r1 = row(d, ds, y + 1);
        __m128i lo = _mm_add_epi16(_mm_cvtepu8_epi16(simd::load<8>(r0)), v);
        __m128i hi = _mm_add_epi16(_mm_cvtepu8_epi16(simd::load<8>(r1)), v);
        __m128i out = _mm_packus_epi16(lo, hi);
        simd::store<8>(r0, out);
        simd::store<8>(r1, _mm_srli_si128(out, 8));
    }
}

}  // namespace

#define MOX_COPY(W, H)                                                                             \
    MOX_FN moxiCopy##W##x##H##_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep) { \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                \
        copyBlock<W, H>(pSrc, srcStep, pDst, dstStep);                                             \
        return moxStsNoErr;                                                                        \
    }

#define MOX_COPY_HP(W, H)                                                                                      \
    MOX_FN moxiCopy##W##x##H##HP_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int acc,    \
                                        int rounding) {                                                        \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                            \
        dispatchAcc(acc, rounding,                                                                             \
                    [&](auto hx, auto hy, auto r) { copyHP<W, H, hx, hy, r>(pSrc, srcStep, pDst, dstStep); }); \
        return moxStsNoErr;                                                                                    \
    }

#define MOX_AVERAGE(W, H)                                                                                       \
    MOX_FN moxiAverage##W##x##H##_8u_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step,   \
                                         Mox8u* pDst, int dstStep) {                                            \
        MOX_CHECK_PTRS(pSrc1, pSrc2, pDst);                                                                     \
        average<W, H>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep);                                         \
        return moxStsNoErr;                                                                                     \
    }                                                                                                           \
    MOX_FN moxiAverage##W##x##H##_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep) {    \
        MOX_CHECK_PTRS(pSrcDst, pSrc);                                                                          \
        average<W, H>(pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep);                                 \
        return moxStsNoErr;                                                                                     \
    }

#define MOX_INTERPOLATE_AVERAGE(W, H)                                                                            \
    MOX_FN moxiInterpolateAverage##W##x##H##_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst,            \
                                                     int srcDstStep, int acc, int rounding) {                    \
        MOX_CHECK_PTRS(pSrc, pSrcDst);                                                                           \
        dispatchAcc(acc, rounding, [&](auto hx, auto hy, auto r) {                                               \
            interpolateAverage<W, H, hx, hy, r>(pSrc, srcStep, pSrcDst, srcDstStep);                             \
        });                                                                                                      \
        return moxStsNoErr;                                                                                      \
    }

MOX_COPY(8, 8)
MOX_COPY(16, 16)
MOX_COPY_HP(8, 4)
MOX_COPY_HP(8, 8)
MOX_COPY_HP(16, 8)
MOX_COPY_HP(16, 16)
MOX_AVERAGE(8, 8)
MOX_AVERAGE(16, 16)
MOX_INTERPOLATE_AVERAGE(8, 4)
MOX_INTERPOLATE_AVERAGE(8, 8)
MOX_INTERPOLATE_AVERAGE(16, 8)
MOX_INTERPOLATE_AVERAGE(16, 16)

MOX_FN moxiAdd8x8_16s8u_C1IRS(const Mox16s* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep) {
    MOX_CHECK_PTRS(pSrc, pSrcDst);
    add8x8(pSrc, srcStep, pSrcDst, srcDstStep);
    return moxStsNoErr;
}

MOX_FN moxiAdd8x8HP_16s8u_C1RS(const Mox16s* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox8u* pDst,
                               int dstStep, int acc, int rounding) {
    MOX_CHECK_PTRS(pSrc, pRef, pDst);
    dispatchAcc(acc, rounding,
                [&](auto hx, auto hy, auto r) { add8x8HP<hx, hy, r>(pSrc, srcStep, pRef, refStep, pDst, dstStep); });
    return moxStsNoErr;
}

MOX_FN moxiAddC8x8_16s8u_C1IR(Mox16s value, Mox8u* pSrcDst, int srcDstStep) {
    MOX_CHECK_PTRS(pSrcDst);
    addC8x8(value, pSrcDst, srcDstStep);
    return moxStsNoErr;
}
