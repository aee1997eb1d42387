// VC-1 quantisation and inverse quantisation of 8x8, 8x4, 4x8 and 4x4
// coefficient blocks (SMPTE 421M clause 8.1.3.8), uniform and non-uniform,
// intra and inter.
//
// An 8-wide block holds one row per register, a 4-wide block two rows. The
// inverse kernels scale with pmullw (16-bit wrap-around), the non-uniform
// ones as sign(c) * (|c| * quant + (quant >> 1)) with pabsw/psignw; the
// non-zero extent comes from pmovmskb masks of packsswb results, with no
// branch on the values. The 8x8 kernel is fully unrolled, reads both
// extents from one mask (see quantInv8x8) and is expanded into its
// wrappers; the 8x4, 4x8 and 4x4 ones are called through a table. The
// forward kernels divide with the reciprocal rows of quant_tables.h: psraw
// for powers of two, pmulhw (plus paddsw of the value for 17-bit
// reciprocals) and psraw otherwise. Every forward kernel is chosen once per
// call from a table indexed by size and quant.
#include <smmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/pixel.h"
#include "vc1/quant_tables.h"

namespace {

using namespace mox;
using mox::vc1::kQuantReciprocal;

// The inverse kernels are small: each is expanded into its exported wrapper.

// ---------------------------------------------------------------- block access
// Register i of a W x H block: row i (W = 8) or rows 2i and 2i + 1 (W = 4).
template <int W>
inline __m128i loadReg(const Mox16s* p, int step, int i) {
    if constexpr (W == 8) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row(p, step, i)));
    } else {
        __m128i lo = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row(p, step, 2 * i)));
        return _mm_castpd_si128(
            _mm_loadh_pd(_mm_castsi128_pd(lo), reinterpret_cast<const double*>(row(p, step, 2 * i + 1))));
    }
}

template <int W>
inline void storeReg(Mox16s* p, int step, int i, __m128i v) {
    if constexpr (W == 8) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row(p, step, i)), v);
    } else {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(row(p, step, 2 * i)), v);
        _mm_storeh_pd(reinterpret_cast<double*>(row(p, step, 2 * i + 1)), _mm_castsi128_pd(v));
    }
}

// ---------------------------------------------------------------- inverse
// Bit length of each byte value (0 for 0, 1 for 1, 2 for 2..3, ..., 8 for
// 128..255): the extents are read from masks of at most 8 bits with one load
// each, where bsr would be a slow multi-step instruction (several ticks a
// call for two of them).
struct BitLengthTable {
    uint8_t v[256];
    constexpr BitLengthTable() : v() {
        for (int i = 1; i < 256; ++i) v[i] = static_cast<uint8_t>(v[i / 2] + 1);
    }
};
constexpr BitLengthTable kBitLength{};

// Bit i set where byte i of bytes is non-zero: paddusb of 0x7F moves
// "non-zero" into each byte's top bit for pmovmskb (a 0x80 byte in top sets
// its bit whatever the value).
MOX_INLINE uint32_t nonZeroBytes(__m128i bytes, __m128i top = _mm_set1_epi8(127)) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_adds_epu8(bytes, top)));
}

// Non-zero extent of the N (2 or 4) registers of a W x H block of up to 32
// coefficients, with no branch on the values: one mask with bit W * y + x
// for coefficient (x, y) (packsswb keeps a word non-zero exactly when it was
// non-zero), its rows folded together for the columns; and one mask of the
// rows, from packing the coefficient bytes on (each pack ORs neighbours in
// raster order) until one byte stands for one row.
template <int W, int H, int N>
MOX_INLINE MoxiSize extentOf(const __m128i (&r)[N], bool intra) {
    static_assert(N == 2 || N == 4, "at most 32 coefficients");
    const __m128i z = _mm_setzero_si128();
    const __m128i p0 = _mm_packs_epi16(r[0], r[1]);
    __m128i pairs;  // byte j non-zero where coefficient 2j or 2j + 1 is
    uint32_t m = nonZeroBytes(p0);
    if constexpr (N == 4) {
        const __m128i p1 = _mm_packs_epi16(r[2], r[3]);
        m |= nonZeroBytes(p1) << 16;
        pairs = _mm_packs_epi16(p0, p1);
    } else {
        pairs = _mm_packs_epi16(p0, z);
    }
    __m128i rows = _mm_packs_epi16(pairs, z);  // a byte per 4 coefficients
    if constexpr (W == 8) rows = _mm_packs_epi16(rows, z);
    uint32_t cols = m;
    for (int span = W * H / 2; span >= W; span /= 2) cols |= cols >> span;
    const uint32_t rowMask = (nonZeroBytes(rows) & ((1u << H) - 1)) | (intra ? 1u : 0u);  // row 0 always counts
    return {kBitLength.v[cols & ((1u << W) - 1)], kBitLength.v[rowMask]};
}

// c * quant, or sign(c) * (|c| * quant + half) for the non-uniform rule (the
// same value modulo 2^16, also for -32768; zero stays zero). This form needs
// no register copies: pabsw writes a new register and c is read once more
// by psignw (c * quant + psignw(half, c) costs two copies a row).
template <bool Nonuniform>
MOX_INLINE __m128i scale(__m128i c, __m128i q, __m128i half) {
    if constexpr (Nonuniform)
        return _mm_sign_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_abs_epi16(c), q), half), c);
    else
        return _mm_mullo_epi16(c, q);
}

// 8x8, straight-line: the rows loaded, scaled and stored two at a time
// (each row address one addressing mode, see RowQuads), each pair packed to
// bytes (a byte is non-zero exactly when its word was). The OR of the four
// packs gives the columns (even rows in bytes 0..7, odd rows in 8..15), two
// more packs give one word per row, and one pmovmskb (nonZeroBytes) reads
// columns (bits 0..7) and rows (bits 8..15).
// Intra blocks store the source row with lanes 1..7 blended in from the
// scaled one, which keeps the scaled DC for the extent without a register
// copy, and add 0x80 in the byte of row 0: row 0 always counts.
template <bool Intra, bool Nonuniform>
MOX_INLINE void quantInv8x8(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant,
                            MoxiSize* pDstSizeNZ) {
    const RowQuads<const Mox16s, 2> src(pSrc, srcStep);
    const RowQuads<Mox16s, 2> dst(pDst, dstStep);
    const __m128i q = _mm_set1_epi16(static_cast<int16_t>(quant));
    const __m128i half = _mm_set1_epi16(static_cast<int16_t>(quant >> 1));
    __m128i pk[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const __m128i c0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src(2 * i)));
        const __m128i c1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src(2 * i + 1)));
        const __m128i v0 = scale<Nonuniform>(c0, q, half), v1 = scale<Nonuniform>(c1, q, half);
        const __m128i out0 = Intra && i == 0 ? _mm_blend_epi16(c0, v0, 0xFE) : v0;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst(2 * i)), out0);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst(2 * i + 1)), v1);
        pk[i] = _mm_packs_epi16(v0, v1);
    }
    const __m128i cols = _mm_or_si128(_mm_or_si128(pk[0], pk[1]), _mm_or_si128(pk[2], pk[3]));
    const __m128i rows = _mm_packs_epi16(_mm_packs_epi16(pk[0], pk[1]), _mm_packs_epi16(pk[2], pk[3]));
    // Word x of colWords pairs column x of the even and of the odd rows; word y
    // of rows is row y: one more pack puts the columns in bytes 0..7 and the
    // rows in bytes 8..15.
    const __m128i colWords = _mm_unpacklo_epi8(cols, _mm_unpackhi_epi64(cols, cols));
    const __m128i both = _mm_packs_epi16(colWords, rows);
    const __m128i top = Intra ? _mm_setr_epi8(127, 127, 127, 127, 127, 127, 127, 127, -128, 127, 127, 127, 127, 127,
                                              127, 127)
                              : _mm_set1_epi8(127);
    const uint32_t m = nonZeroBytes(both, top);
    *pDstSizeNZ = {kBitLength.v[m & 0xFF], kBitLength.v[m >> 8]};
}

template <int W, int H, bool Intra, bool Nonuniform>
MOX_INLINE void quantInv(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant,
                                   MoxiSize* pDstSizeNZ) {
    constexpr int N = W * H / 8;  // registers
    const __m128i q = _mm_set1_epi16(static_cast<int16_t>(quant));
    const __m128i half = _mm_set1_epi16(static_cast<int16_t>(quant >> 1));
    __m128i r[N];
    __m128i dc = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i) {
        __m128i c = loadReg<W>(pSrc, srcStep, i);
        if (i == 0) dc = c;
        r[i] = scale<Nonuniform>(c, q, half);
    }
    // The extent judges the scaled DC; the stored DC is the source's.
    const MoxiSize nz = extentOf<W, H>(r, Intra);
    if constexpr (Intra) r[0] = _mm_blend_epi16(r[0], dc, 1);
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i) storeReg<W>(pDst, dstStep, i, r[i]);
    *pDstSizeNZ = nz;
}

constexpr bool validSide(int n) { return n == 4 || n == 8; }

// Returns the wrapper's status, so that the wrapper ends in a tail jump.
template <int W, int H, bool Nonuniform>
MoxStatus quantInvInter(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant,
                        MoxiSize* pDstSizeNZ) {
    quantInv<W, H, false, Nonuniform>(pSrc, srcStep, pDst, dstStep, quant, pDstSizeNZ);
    return moxStsNoErr;
}

// The 4x4, 4x8 and 8x4 inter kernels (index (w - 4) / 2 | (h - 4) / 4), out
// of line so that the 8x8 one expanded into the wrapper keeps its registers.
using InvKernel = MoxStatus (*)(const Mox16s*, int, Mox16s*, int, int, MoxiSize*);
template <bool Nonuniform>
constexpr InvKernel kInterSmall[3] = {quantInvInter<4, 4, Nonuniform>, quantInvInter<4, 8, Nonuniform>,
                                      quantInvInter<8, 4, Nonuniform>};

// After the pointer checks: 8x8 first, found with one compare of the size
// as a 64-bit word; then the size checks of the others (both sides 4 or 8:
// each minus 4 is 0 or 4) and their kernel.
template <bool Nonuniform>
MOX_INLINE MoxStatus runInterInv(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant,
                                           MoxiSize roi, MoxiSize* pDstSizeNZ) {
    static_assert(sizeof(MoxiSize) == 8, "width then height, 32 bits each");
    uint64_t wh;
    std::memcpy(&wh, &roi, sizeof wh);
    if (wh == (uint64_t{8} << 32 | 8)) {
        quantInv8x8<false, Nonuniform>(pSrc, srcStep, pDst, dstStep, quant, pDstSizeNZ);
        return moxStsNoErr;
    }
    const uint32_t w = static_cast<uint32_t>(roi.width) - 4, h = static_cast<uint32_t>(roi.height) - 4;
    MOX_CHECK(((w | h) & ~4u) == 0, moxStsSizeErr);
    return kInterSmall<Nonuniform>[(w | h >> 1) >> 1](pSrc, srcStep, pDst, dstStep, quant, pDstSizeNZ);
}

// ---------------------------------------------------------------- forward
// Truncating division by quant through its reciprocal row.
template <int Kind>
inline __m128i divide(__m128i v, __m128i m, __m128i shift, __m128i bias) {
    if constexpr (Kind == mox::vc1::kPow2) {
        // bias is quant - 1
        return _mm_sra_epi16(_mm_add_epi16(v, _mm_and_si128(_mm_srai_epi16(v, 15), bias)), shift);
    } else {
        __m128i t = _mm_mulhi_epi16(v, m);
        if constexpr (Kind == mox::vc1::kMulHighAdd) t = _mm_adds_epi16(t, v);
        return _mm_sub_epi16(_mm_sra_epi16(t, shift), _mm_srai_epi16(v, 15));
    }
}

template <int W, int H, bool Intra, bool Nonuniform, int Kind>
void quantFwd(Mox16s* p, int step, int quant) {
    constexpr int N = W * H / 8;
    const mox::vc1::QuantReciprocal rc = kQuantReciprocal[quant - mox::vc1::kMinForwardQuant];
    const __m128i m = _mm_set1_epi16(rc.m);
    const __m128i shift = _mm_cvtsi32_si128(rc.shift);
    const __m128i bias = _mm_set1_epi16(static_cast<int16_t>(quant - 1));
    const __m128i half = _mm_set1_epi16(static_cast<int16_t>(quant >> 1));
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i) {
        __m128i c = loadReg<W>(p, step, i);
        __m128i v = c;
        if constexpr (Nonuniform) v = _mm_sub_epi16(c, _mm_sign_epi16(half, c));
        v = divide<Kind>(v, m, shift, bias);
        if (Intra && i == 0) v = _mm_blend_epi16(v, c, 1);
        storeReg<W>(p, step, i, v);
    }
}

using FwdKernel = void (*)(Mox16s*, int, int);

// Index of a 4- or 8-wide, 4- or 8-high block: 0 4x4, 1 8x4, 2 4x8, 3 8x8.
constexpr int sizeIndex(int width, int height) { return (width >> 3) | (height >> 3) << 1; }

// One row per size (the sizeIndex order), one column per reciprocal kind.
template <bool Intra, bool Nonuniform>
constexpr FwdKernel kFwd[4][3] = {
    {quantFwd<4, 4, Intra, Nonuniform, 0>, quantFwd<4, 4, Intra, Nonuniform, 1>, quantFwd<4, 4, Intra, Nonuniform, 2>},
    {quantFwd<8, 4, Intra, Nonuniform, 0>, quantFwd<8, 4, Intra, Nonuniform, 1>, quantFwd<8, 4, Intra, Nonuniform, 2>},
    {quantFwd<4, 8, Intra, Nonuniform, 0>, quantFwd<4, 8, Intra, Nonuniform, 1>, quantFwd<4, 8, Intra, Nonuniform, 2>},
    {quantFwd<8, 8, Intra, Nonuniform, 0>, quantFwd<8, 8, Intra, Nonuniform, 1>, quantFwd<8, 8, Intra, Nonuniform, 2>}};

constexpr bool forwardQuantInRange(int quant) {
    return quant >= mox::vc1::kMinForwardQuant && quant <= mox::vc1::kMaxForwardQuant;
}

// The value checks after the pointer check, then the kernel.
template <bool Intra, bool Nonuniform>
MoxStatus runFwd(Mox16s* p, int step, int quant, MoxiSize roi) {
    MOX_CHECK(forwardQuantInRange(quant), moxStsOutOfRangeErr);
    MOX_CHECK(validSide(roi.height) && validSide(roi.width), moxStsSizeErr);
    kFwd<Intra, Nonuniform>[sizeIndex(roi.width, roi.height)]
        [kQuantReciprocal[quant - mox::vc1::kMinForwardQuant].kind](p, step, quant);
    return moxStsNoErr;
}

}  // namespace

// ---------------------------------------------------------------- inverse, intra (8x8)
MOX_FN moxiQuantInvIntraUniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep,
                                            Mox32s quant, MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrc, pDst, pDstSizeNZ);
    quantInv8x8<true, false>(pSrc, srcStep, pDst, dstStep, quant, pDstSizeNZ);
    return moxStsNoErr;
}

MOX_FN moxiQuantInvIntraNonuniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep,
                                               Mox32s quant, MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrc, pDst, pDstSizeNZ);
    quantInv8x8<true, true>(pSrc, srcStep, pDst, dstStep, quant, pDstSizeNZ);
    return moxStsNoErr;
}

MOX_FN moxiQuantInvIntraUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant,
                                             MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrcDst, pDstSizeNZ);
    quantInv8x8<true, false>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, quant, pDstSizeNZ);
    return moxStsNoErr;
}

MOX_FN moxiQuantInvIntraNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant,
                                                MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrcDst, pDstSizeNZ);
    quantInv8x8<true, true>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, quant, pDstSizeNZ);
    return moxStsNoErr;
}

// ---------------------------------------------------------------- inverse, inter (4 or 8 each way)
MOX_FN moxiQuantInvInterUniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep,
                                            Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrc, pDst, pDstSizeNZ);
    return runInterInv<false>(pSrc, srcStep, pDst, dstStep, quant, roiSize, pDstSizeNZ);
}

MOX_FN moxiQuantInvInterNonuniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep,
                                               Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrc, pDst, pDstSizeNZ);
    return runInterInv<true>(pSrc, srcStep, pDst, dstStep, quant, roiSize, pDstSizeNZ);
}

MOX_FN moxiQuantInvInterUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize,
                                             MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrcDst, pDstSizeNZ);
    return runInterInv<false>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, quant, roiSize, pDstSizeNZ);
}

MOX_FN moxiQuantInvInterNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize,
                                                MoxiSize* pDstSizeNZ) {
    MOX_CHECK_PTRS(pSrcDst, pDstSizeNZ);
    return runInterInv<true>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, quant, roiSize, pDstSizeNZ);
}

// ---------------------------------------------------------------- forward
MOX_FN moxiQuantIntraUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant) {
    MOX_CHECK_PTRS(pSrcDst);
    return runFwd<true, false>(pSrcDst, srcDstStep, quant, {8, 8});
}

MOX_FN moxiQuantIntraNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant) {
    MOX_CHECK_PTRS(pSrcDst);
    return runFwd<true, true>(pSrcDst, srcDstStep, quant, {8, 8});
}

MOX_FN moxiQuantInterUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrcDst);
    return runFwd<false, false>(pSrcDst, srcDstStep, quant, roiSize);
}

MOX_FN moxiQuantInterNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrcDst);
    return runFwd<false, true>(pSrcDst, srcDstStep, quant, roiSize);
}
