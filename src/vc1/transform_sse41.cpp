// VC-1 inverse transforms 8x8, 8x4 (8 wide, 4 high), 4x8 and 4x4 (SMPTE
// 421M), residual out or added to a prediction.
//
// Each pass is the even/odd butterfly of the standard's 8- or 4-point
// transform run on whole registers of 16-bit lanes, one lane per line. An
// 8x8 block holds one coefficient index of eight lines per register: it is
// transposed before the row pass and between the passes. A block with a
// side of 4 holds two lines of four lanes per register wherever a pass runs
// over four lines, so no lane is wasted and its transposes are 4x4 ones on
// pairs of registers. The whole block stays in registers from the loads to
// the stores (every loop over its lines is unrolled: a rolled one goes
// through the stack). All sums are formed modulo 2^16 and shifted
// arithmetically, which is the standard's arithmetic wherever a value fits
// 16 bits before its shift (conforming streams), and the same wrap-around as
// the reference model elsewhere.
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"
#include "vc1/transform_simd.h"

namespace {

using namespace mox;

// The passes share registers only when everything is inlined into one kernel.

template <int C>
MOX_INLINE __m128i mulc(__m128i v) {
    if constexpr (C == 4)
        return _mm_slli_epi16(v, 2);
    else if constexpr (C == 16)
        return _mm_slli_epi16(v, 4);
    else if constexpr (C == 3 || C == 6 || C == 12)
        return vc1::mulm<C>(v);  // the 8-point factors
    else
        return _mm_mullo_epi16(v, _mm_set1_epi16(C));
}

MOX_INLINE __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
MOX_INLINE __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }

// v >> S in 16-bit lanes as pmulhw by 2^(16 - S), the same
// floor((v 2^(16 - S)) / 2^16), which keeps the shifts of the 8-point passes
// off the shuffle and shift units that the transposes keep busy.
template <int S>
MOX_INLINE __m128i shr(__m128i v) {
    return _mm_mulhi_epi16(v, _mm_set1_epi16(1 << (16 - S)));
}

// v * 16: pmullw in the row pass, psllw in the column pass (see idct8).
template <bool RowPass>
MOX_INLINE __m128i mul16(__m128i v) {
    if constexpr (RowPass)
        return vc1::mulm<16>(v);
    else
        return mulc<16>(v);
}

// Values that the compiler must keep as they are: without this it re-forms
// sums of the butterfly (the adds are modular, so it may) into longer code.
MOX_INLINE void keep(__m128i& a, __m128i& b, __m128i& c, __m128i& d) {
    __asm__("" : "+x"(a), "+x"(b), "+x"(c), "+x"(d));
}

// 8-point transform of x[0..7] into o[0..7]: (sum + R (+ 1 on outputs 4..7
// when LOWER1)) >> S. The odd half is written with A = 4 x1 + x7,
// B = x1 - 4 x7, C = x3 + 4 x5, D = x5 - 4 x3, which turn the 15 and 9 taps
// into multiples of 3: 16 x1 + 15 x3 + 9 x5 + 4 x7 = 4A + 3 (C - D),
// 15 x1 - 4 x3 - 16 x5 - 9 x7 = 3 (A + B) - 4C, 9 x1 - 16 x3 + 4 x5 + 15 x7 =
// 3 (A - B) + 4D and 4 x1 - 9 x3 + 15 x5 - 16 x7 = 4B + 3 (C + D).
//
// The row pass (LOWER1 false) multiplies x2 and x6 by 16 with pmullw rather
// than psllw: its even half is off the longest chain, and the shift units
// are the busier ones. The intermediate values are pinned with keep().
template <int R, int S, bool LOWER1>
MOX_INLINE void idct8(const __m128i x[8], __m128i o[8]) {
    const __m128i dc = add(mulc<12>(x[0]), _mm_set1_epi16(R)), x4 = mulc<12>(x[4]);
    const __m128i t1 = add(dc, x4), t2 = sub(dc, x4);
    const __m128i t3 = add(mul16<!LOWER1>(x[2]), mulc<6>(x[6])), t4 = sub(mulc<6>(x[2]), mul16<!LOWER1>(x[6]));
    __m128i t5 = add(t1, t3), t6 = add(t2, t4), t7 = sub(t2, t4), t8 = sub(t1, t3);
    keep(t5, t6, t7, t8);
    __m128i A = add(mulc<4>(x[1]), x[7]), B = sub(x[1], mulc<4>(x[7]));
    __m128i C = add(x[3], mulc<4>(x[5])), D = sub(x[5], mulc<4>(x[3]));
    keep(A, B, C, D);
    __m128i cd = sub(C, D), cs = add(C, D), as = add(A, B), ad = sub(A, B);
    keep(cd, cs, as, ad);
    const __m128i o1 = add(mulc<4>(A), mulc<3>(cd)), o4 = add(mulc<4>(B), mulc<3>(cs));
    const __m128i o2 = sub(mulc<3>(as), mulc<4>(C)), o3 = add(mulc<3>(ad), mulc<4>(D));
    o[0] = shr<S>(add(t5, o1));
    o[1] = shr<S>(add(t6, o2));
    o[2] = shr<S>(add(t7, o3));
    o[3] = shr<S>(add(t8, o4));
    if constexpr (LOWER1) {
        const __m128i one = _mm_set1_epi16(1);
        t5 = add(t5, one);
        t6 = add(t6, one);
        t7 = add(t7, one);
        t8 = add(t8, one);
    }
    o[4] = shr<S>(sub(t8, o4));
    o[5] = shr<S>(sub(t7, o3));
    o[6] = shr<S>(sub(t6, o2));
    o[7] = shr<S>(sub(t5, o1));
}

// 4-point transform of x[0..3] into o[0..3].
template <int R, int S>
MOX_INLINE void idct4(const __m128i x[4], __m128i o[4]) {
    const __m128i r = _mm_set1_epi16(R);
    const __m128i t1 = add(mulc<17>(add(x[0], x[2])), r), t2 = add(mulc<17>(sub(x[0], x[2])), r);
    const __m128i t3 = add(mulc<22>(x[1]), mulc<10>(x[3])), t4 = sub(mulc<22>(x[3]), mulc<10>(x[1]));
    o[0] = _mm_srai_epi16(add(t1, t3), S);
    o[1] = _mm_srai_epi16(sub(t2, t4), S);
    o[2] = _mm_srai_epi16(add(t2, t4), S);
    o[3] = _mm_srai_epi16(sub(t1, t3), S);
}

// Residual rows of an 8x8 block: res[y] holds row y.
MOX_INLINE void residual8x8(const Mox16s* src, int ss, __m128i res[8]) {
    __m128i in[8], x[8], d[8];
    const RowQuads<const Mox16s, 2> rows(src, ss);  // eight rows from two bases
#pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) in[y] = simd::load<16>(rows(y));
    vc1::transpose8(in, x);
    idct8<4, 3, false>(x, d);
    vc1::transpose8(d, x);
    idct8<64, 7, true>(x, res);
}

// ---------------------------------------------------------------- 4x4
// A 4x4 block lives in two registers, two lines of four per register.

// (a | b), (c | d) of four lanes each into (a0 b0 c0 d0 | a1 b1 c1 d1) and
// (a2 b2 c2 d2 | a3 b3 c3 d3): the 4x4 transpose of lines held in pairs.
MOX_INLINE void transpose4Pairs(__m128i& p, __m128i& q) {
    const __m128i u = _mm_unpacklo_epi16(p, q), v = _mm_unpackhi_epi16(p, q);
    p = _mm_unpacklo_epi16(u, v);
    q = _mm_unpackhi_epi16(u, v);
}

// v * (A in lanes 0..3, B in lanes 4..7).
template <int A, int B>
MOX_INLINE __m128i mul2(__m128i v) {
    return _mm_mullo_epi16(v, _mm_setr_epi16(A, A, A, A, B, B, B, B));
}
MOX_INLINE __m128i dupLo(__m128i v) { return _mm_unpacklo_epi64(v, v); }
MOX_INLINE __m128i dupHi(__m128i v) { return _mm_unpackhi_epi64(v, v); }

// 4-point transform of four lines at once: x01 holds inputs 0 | 1, x23
// inputs 2 | 3; out01 becomes outputs 0 | 1 and out32 outputs 3 | 2.
template <int R, int S>
MOX_INLINE void idct4Pairs(__m128i x01, __m128i x23, __m128i& out01, __m128i& out32) {
    const __m128i s = add(x01, x23), d = sub(x01, x23);  // x0 + x2 | x1 + x3, x0 - x2 | x1 - x3
    // 17 (x0 + x2) + R | 17 (x0 - x2) + R
    const __m128i e = add(mulc<17>(_mm_unpacklo_epi64(s, d)), _mm_set1_epi16(R));
    // 22 x1 + 10 x3 | 10 x1 - 22 x3
    const __m128i f = add(mul2<22, 10>(dupHi(x01)), mul2<10, -22>(dupHi(x23)));
    out01 = _mm_srai_epi16(add(e, f), S);
    out32 = _mm_srai_epi16(sub(e, f), S);
}

// Residual lines 0 | 1 and 3 | 2 of a 4x4 block.
MOX_INLINE void residual4x4(const Mox16s* src, int ss, __m128i r[2]) {
    __m128i p = simd::load8x2(row(src, ss, 0), row(src, ss, 1)), q = simd::load8x2(row(src, ss, 2), row(src, ss, 3));
    transpose4Pairs(p, q);  // coefficient columns 0 | 1, 2 | 3
    __m128i c01, c32;
    idct4Pairs<4, 3>(p, q, c01, c32);
    __m128i c23 = _mm_shuffle_epi32(c32, 0x4E);
    transpose4Pairs(c01, c23);  // lines 0 | 1, 2 | 3
    idct4Pairs<64, 7>(c01, c23, r[0], r[1]);
}

// ---------------------------------------------------------------- 8x4, 4x8
// A block with a side of 4 holds two lines of four lanes per register in its
// 8-point pass, which pairs the transform's inputs and outputs.

// 8-point transform of four lines with the inputs paired as 0 | 2, 4 | 6,
// 1 | 3, 5 | 7; the outputs come paired as 0 | 1, 7 | 6, 3 | 2, 4 | 5.
template <int R, int S, bool LOWER1>
MOX_INLINE void idct8Pairs(__m128i x02, __m128i x46, __m128i x13, __m128i x57, __m128i o[4]) {
    const __m128i s = add(x02, x46), d = sub(x02, x46);  // x0 + x4 | x2 + x6, x0 - x4 | x2 - x6
    // t1 | t2 = 12 (x0 + x4) + R | 12 (x0 - x4) + R; t3 | t4 = 16 x2 + 6 x6 | 6 x2 - 16 x6
    const __m128i t12 = add(mulc<12>(_mm_unpacklo_epi64(s, d)), _mm_set1_epi16(R));
    const __m128i t34 = add(mul2<16, 6>(dupHi(x02)), mul2<6, -16>(dupHi(x46)));
    __m128i e01 = add(t12, t34), e32 = sub(t12, t34);  // t5 | t6, t8 | t7
    const __m128i x1 = dupLo(x13), x3 = dupHi(x13), x5 = dupLo(x57), x7 = dupHi(x57);
    const __m128i o12 = add(add(mul2<16, 15>(x1), mul2<15, -4>(x3)), add(mul2<9, -16>(x5), mul2<4, -9>(x7)));
    const __m128i o43 = add(add(mul2<4, 9>(x1), mul2<-9, -16>(x3)), add(mul2<15, 4>(x5), mul2<-16, 15>(x7)));
    o[0] = _mm_srai_epi16(add(e01, o12), S);
    o[2] = _mm_srai_epi16(add(e32, o43), S);
    if constexpr (LOWER1) {
        e01 = add(e01, _mm_set1_epi16(1));
        e32 = add(e32, _mm_set1_epi16(1));
    }
    o[1] = _mm_srai_epi16(sub(e01, o12), S);
    o[3] = _mm_srai_epi16(sub(e32, o43), S);
}

// Residual lines of an 8x4 block, one per register.
MOX_INLINE void residual8x4(const Mox16s* src, int ss, __m128i y[4]) {
    const __m128i r0 = simd::load<16>(row(src, ss, 0)), r1 = simd::load<16>(row(src, ss, 1));
    const __m128i r2 = simd::load<16>(row(src, ss, 2)), r3 = simd::load<16>(row(src, ss, 3));
    const __m128i a0 = _mm_unpacklo_epi16(r0, r1), a1 = _mm_unpackhi_epi16(r0, r1);
    const __m128i a2 = _mm_unpacklo_epi16(r2, r3), a3 = _mm_unpackhi_epi16(r2, r3);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);  // columns 0 | 1, 2 | 3
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);  // 4 | 5, 6 | 7
    __m128i c[4];  // row-pass outputs 0 | 1, 7 | 6, 3 | 2, 4 | 5 over the four lines
    idct8Pairs<4, 3, false>(_mm_unpacklo_epi64(b0, b1), _mm_unpacklo_epi64(b2, b3), _mm_unpackhi_epi64(b0, b1),
                            _mm_unpackhi_epi64(b2, b3), c);
    __m128i c01 = c[0], c23 = _mm_shuffle_epi32(c[2], 0x4E), c45 = c[3], c67 = _mm_shuffle_epi32(c[1], 0x4E);
    transpose4Pairs(c01, c23);  // columns 0..3 of lines 0 | 1, 2 | 3
    transpose4Pairs(c45, c67);  // columns 4..7
    const __m128i x[4] = {_mm_unpacklo_epi64(c01, c45), _mm_unpackhi_epi64(c01, c45), _mm_unpacklo_epi64(c23, c67),
                          _mm_unpackhi_epi64(c23, c67)};
    idct4<64, 7>(x, y);
}

// Residual lines of a 4x8 block in pairs 0 | 1, 7 | 6, 3 | 2, 4 | 5.
MOX_INLINE void residual4x8(const Mox16s* src, int ss, __m128i o[4]) {
    __m128i p0 = simd::load8x2(row(src, ss, 0), row(src, ss, 1)), q0 = simd::load8x2(row(src, ss, 2), row(src, ss, 3));
    __m128i p1 = simd::load8x2(row(src, ss, 4), row(src, ss, 5)), q1 = simd::load8x2(row(src, ss, 6), row(src, ss, 7));
    transpose4Pairs(p0, q0);  // columns 0 | 1, 2 | 3 of lines 0..3
    transpose4Pairs(p1, q1);  // of lines 4..7
    const __m128i x[4] = {_mm_unpacklo_epi64(p0, p1), _mm_unpackhi_epi64(p0, p1), _mm_unpacklo_epi64(q0, q1),
                          _mm_unpackhi_epi64(q0, q1)};
    __m128i d[4];  // row-pass output columns over lines 0..7
    idct4<4, 3>(x, d);
    const __m128i u = _mm_unpacklo_epi16(d[0], d[1]), v = _mm_unpacklo_epi16(d[2], d[3]);
    const __m128i u2 = _mm_unpackhi_epi16(d[0], d[1]), v2 = _mm_unpackhi_epi16(d[2], d[3]);
    const __m128i l01 = _mm_unpacklo_epi32(u, v), l23 = _mm_unpackhi_epi32(u, v);  // lines 0 | 1, 2 | 3
    const __m128i l45 = _mm_unpacklo_epi32(u2, v2), l67 = _mm_unpackhi_epi32(u2, v2);
    idct8Pairs<64, 7, true>(_mm_unpacklo_epi64(l01, l23), _mm_unpacklo_epi64(l45, l67), _mm_unpackhi_epi64(l01, l23),
                            _mm_unpackhi_epi64(l45, l67), o);
}

// Lines of the registers of a 4-wide residual, low half first (H = 4:
// residual4x4, 8: residual4x8).
template <int H>
constexpr int kPairLines[H / 2][2] = {{0, 1}, {3, 2}};
template <>
constexpr int kPairLines<8>[4][2] = {{0, 1}, {7, 6}, {3, 2}, {4, 5}};

// The residual of a W x H block in registers: 4-wide blocks two lines per
// register (lines as kPairLines), 8-wide ones a line per register.
template <int W, int H>
MOX_INLINE void residual(const Mox16s* src, int ss, __m128i r[8]) {
    if constexpr (W == 4 && H == 4)
        residual4x4(src, ss, r);
    else if constexpr (W == 4)
        residual4x8(src, ss, r);
    else if constexpr (H == 4)
        residual8x4(src, ss, r);
    else
        residual8x8(src, ss, r);
}

template <int W, int H>
MOX_INLINE void inverse(const Mox16s* src, int ss, Mox16s* dst, int ds) {
    __m128i r[8];
    residual<W, H>(src, ss, r);
    if constexpr (W == 4) {
#pragma GCC unroll 4
        for (int k = 0; k < H / 2; ++k) {
            simd::store<8>(row(dst, ds, kPairLines<H>[k][0]), r[k]);
            _mm_storeh_pd(reinterpret_cast<double*>(row(dst, ds, kPairLines<H>[k][1])), _mm_castsi128_pd(r[k]));
        }
    } else {
        const RowQuads<Mox16s, H / 4> rows(dst, ds);
#pragma GCC unroll 8
        for (int y = 0; y < H; ++y) simd::store<16>(rows(y), r[y]);
    }
}

// Bytes 4 K .. 4 K + 3 of v (one pextrd).
template <int K>
MOX_INLINE void store4(Mox8u* p, __m128i v) {
    const uint32_t x = static_cast<uint32_t>(_mm_extract_epi32(v, K));
    std::memcpy(p, &x, 4);
}

// Prediction plus residual, clamped to 0..255, for four 4-wide lines (two
// registers of residual lines a0 | a1, b0 | b1).
MOX_INLINE void addLines4(const Mox8u* pred, int ps, Mox8u* dst, int ds, const int a[2], const int b[2], __m128i ra,
                              __m128i rb) {
    const __m128i p = simd::load4x4(row(pred, ps, a[0]), row(pred, ps, a[1]), row(pred, ps, b[0]), row(pred, ps, b[1]));
    const __m128i z = _mm_setzero_si128();
    const __m128i v =
        _mm_packus_epi16(_mm_adds_epi16(_mm_unpacklo_epi8(p, z), ra), _mm_adds_epi16(_mm_unpackhi_epi8(p, z), rb));
    store4<0>(row(dst, ds, a[0]), v);
    store4<1>(row(dst, ds, a[1]), v);
    store4<2>(row(dst, ds, b[0]), v);
    store4<3>(row(dst, ds, b[1]), v);
}

template <int W, int H>
MOX_INLINE void inverseAdd(const Mox16s* src, int ss, const Mox8u* pred, int ps, Mox8u* dst, int ds) {
    __m128i r[8];
    residual<W, H>(src, ss, r);
    if constexpr (W == 4) {
#pragma GCC unroll 2
        for (int k = 0; k < H / 2; k += 2)
            addLines4(pred, ps, dst, ds, kPairLines<H>[k], kPairLines<H>[k + 1], r[k], r[k + 1]);
    } else {
        // Each prediction line widened by one pmovzxbw from memory.
#pragma GCC unroll 4
        for (int y = 0; y < H; y += 2) {
            const __m128i p0 = _mm_cvtepu8_epi16(simd::load<8>(row(pred, ps, y)));
            const __m128i p1 = _mm_cvtepu8_epi16(simd::load<8>(row(pred, ps, y + 1)));
            const __m128i v = _mm_packus_epi16(_mm_adds_epi16(p0, r[y]), _mm_adds_epi16(p1, r[y + 1]));
            simd::store<8>(row(dst, ds, y), v);
            _mm_storeh_pd(reinterpret_cast<double*>(row(dst, ds, y + 1)), _mm_castsi128_pd(v));
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
