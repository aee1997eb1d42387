// MPEG-4 Visual and H.263 quantisation and inverse quantisation of one 8x8
// block of 16-bit coefficients in place, eight coefficients (one raster row)
// per register.
//
//  * Forward, division by 2 QP: |c| biased with a saturating add or subtract,
//    then floor(a / (2 QP)) as the high half of an unsigned 16x16 product and
//    a shift (exact for every 16-bit input, see Reciprocal), min, psignw.
//  * Forward, weighting matrix: floor((16 |c| + W / 2 + r W) / (2 QP W)) in
//    single-precision floats. Numerator and divisor stay below 2^24, so both
//    are exact, and a correctly rounded quotient of such integers never
//    reaches the next integer (the gap is at least 1 / d > quotient x 2^-24),
//    so truncating it gives the integer quotient. By floor(floor(x / W) / D)
//    = floor(x / (W D)) this is the verification model's two-step division.
//  * Inverse, H.263 method: |c| is first limited to a value that still
//    reaches the clamp, so 2 QP |c| fits 16 unsigned bits (+ adj saturating).
//  * Inverse, matrix method, up to 8 bits: (2|c| + k) W QP as a 32-bit
//    product in two 16-bit halves; a non-zero high half means the value
//    saturates, otherwise the low half shifted by 4 is the magnitude. Deeper
//    samples (W QP above 16 bits) split W QP into 16 W QP_hi + W QP_lo and
//    work in 32-bit lanes. Mismatch control needs only the parity of the
//    sum, kept as the XOR of the results.
#include <smmintrin.h>

#include <array>
#include <cstdint>
#include <type_traits>

#include "core/check.h"
#include "core/pixel.h"
#include "mpeg4/quant_tables.h"

namespace {

using namespace mox;
using namespace mox::mpeg4;

inline __m128i loadRow(const Mox16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void storeRow(Mox16s* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Raster rows an inverse quantiser touches for a last index: 0 .. last / 8
// (a non-negative index; 56 and above is the whole block, tested first).
inline int rowsFor(int last) { return last >= 56 ? 8 : last / 8 + 1; }

// ---------------------------------------------------------------- records
template <class R>
inline R* recordAt(void* p) {
    return reinterpret_cast<R*>((reinterpret_cast<uintptr_t>(p) + 15) & ~uintptr_t{15});
}
template <class R>
inline const R* recordAt(const void* p) {
    return recordAt<R>(const_cast<void*>(p));
}

// A record of the kind `mark`, or null.
template <class R>
inline const R* checkedRecord(const void* p, Mox32u mark) {
    const R* r = recordAt<R>(p);
    return r->tail.marker == mark ? r : nullptr;
}

inline bool qpFits(int qp, const RecordTail& t) { return qp >= 1 && qp <= maxQP(t.bitDepth); }

// Optional replacement of coefficient 0 (the intra DC, reconstructed apart).
struct NoDc {};
struct Dc {
    int value;
};

// Row i of a result with coefficient 0 replaced by the DC (in the register,
// so that the row is written with one full store).
template <class DcT>
inline __m128i withDc(__m128i r, int i, DcT dc) {
    if constexpr (std::is_same_v<DcT, Dc>) {
        if (i == 0) r = _mm_insert_epi16(r, dc.value, 0);
    }
    return r;
}

// ---------------------------------------------------------------- forward kernels
inline int countFromZeros(__m128i zeros) {
    // zeros holds -1 per zero level; 64 plus their sum is the non-zero count.
    __m128i s = _mm_madd_epi16(zeros, _mm_set1_epi16(1));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4E));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xB1));
    return 64 + _mm_cvtsi128_si32(s);
}

// sign(c) * min(floor(a / (2 QP)), maxLevel) for all 64, a = |c| + bias (kAdd)
// or max(|c| - bias, 0); returns the number of non-zero levels.
template <bool kAdd, class DcT>
int quantDivide(Mox16s* pBlock, int qp, int bias, int maxLevel, DcT dc) {
    const Reciprocal r = kHalfStepRecip[qp];
    const __m128i b = _mm_set1_epi16(static_cast<int16_t>(bias));
    const __m128i mul = _mm_set1_epi16(static_cast<int16_t>(r.mul));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    const __m128i lim = _mm_set1_epi16(static_cast<int16_t>(maxLevel));
    const __m128i zero = _mm_setzero_si128();
    __m128i zeros = zero;
#pragma GCC unroll 16
    for (int i = 0; i < 8; ++i) {
        const __m128i v = loadRow(pBlock + 8 * i);
        __m128i a = _mm_abs_epi16(v);
        a = kAdd ? _mm_adds_epu16(a, b) : _mm_subs_epu16(a, b);
        __m128i l = _mm_srl_epi16(_mm_mulhi_epu16(a, mul), shift);
        l = withDc(_mm_sign_epi16(_mm_min_epi16(l, lim), v), i, dc);
        storeRow(pBlock + 8 * i, l);
        zeros = _mm_add_epi16(zeros, _mm_cmpeq_epi16(l, zero));
    }
    return countFromZeros(zeros);
}

// Four quotients floor((16 a + h + round W) / (2 QP W)) of the matrix method.
inline __m128i matrixQuotients(__m128i a32, __m128 w, __m128i h32, __m128 roundF, __m128 stepF) {
    const __m128 num = _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(a32), _mm_set1_ps(16.0f)),
                                             _mm_cvtepi32_ps(h32)),
                                  _mm_mul_ps(roundF, w));
    return _mm_cvttps_epi32(_mm_div_ps(num, _mm_mul_ps(stepF, w)));
}

// Matrix method over all 64 with the intra (3/8 step) or inter (none) rounding.
template <class DcT>
int quantMatrix(Mox16s* pBlock, const FwdRecord& rec, int qp, int round, int maxLevel, DcT dc) {
    const __m128 roundF = _mm_set1_ps(static_cast<float>(round));
    const __m128 stepF = _mm_set1_ps(static_cast<float>(2 * qp));
    const __m128i lim = _mm_set1_epi16(static_cast<int16_t>(maxLevel));
    const __m128i zero = _mm_setzero_si128();
    __m128i zeros = zero;
#pragma GCC unroll 16
    for (int i = 0; i < 8; ++i) {
        const __m128i v = loadRow(pBlock + 8 * i);
        const __m128i a = _mm_abs_epi16(v);
        const __m128i h = _mm_srli_epi16(loadRow(rec.matrix + 8 * i), 1);
        const __m128i q0 = matrixQuotients(_mm_cvtepu16_epi32(a), _mm_loadu_ps(rec.weight + 8 * i),
                                           _mm_cvtepu16_epi32(h), roundF, stepF);
        const __m128i q1 = matrixQuotients(_mm_unpackhi_epi16(a, zero), _mm_loadu_ps(rec.weight + 8 * i + 4),
                                           _mm_unpackhi_epi16(h, zero), roundF, stepF);
        const __m128i l = withDc(_mm_sign_epi16(_mm_min_epi16(_mm_packs_epi32(q0, q1), lim), v), i, dc);
        storeRow(pBlock + 8 * i, l);
        zeros = _mm_add_epi16(zeros, _mm_cmpeq_epi16(l, zero));
    }
    return countFromZeros(zeros);
}

// ---------------------------------------------------------------- inverse kernels

// Maps rows [0, rows) through op(row) -> row. The DC (when given) goes into
// lane 0 of row 0 in the register, and the last row is returned unstored,
// so callers finish it (mismatch control) without a narrow store that the
// next full-row load of the same block could not forward from.
template <class DcT, class Op>
inline __m128i mapRows(Mox16s* pBlock, int rows, DcT dc, Op op, __m128i* parity = nullptr) {
    auto row = [&](int i) {
        const __m128i r = withDc(op(loadRow(pBlock + 8 * i), i), i, dc);
        if (parity) *parity = _mm_xor_si128(*parity, r);
        return r;
    };
    if (rows == 8) {
#pragma GCC unroll 8
        for (int i = 0; i < 7; ++i) storeRow(pBlock + 8 * i, row(i));
        return row(7);
    }
    for (int i = 0; i < rows - 1; ++i) storeRow(pBlock + 8 * i, row(i));
    return row(rows - 1);
}

// Constants of the H.263 method for one QP, offset and clamp range.
struct alignas(16) H263Consts {
    int16_t cap[8];   // |c| limit that still reaches the clamp
    int16_t step[8];  // 2 QP
    int16_t add[8];   // the odd offset (0 for Annex I)
    int16_t lo[8];    // range: the magnitude limit of negative results
    int16_t hi[8];    // range - 1
};

constexpr H263Consts h263Consts(int qp, int adj, int range) {
    // With 2^s <= 2 QP < 2^(s+1), |c| >= range >> s already reaches the clamp,
    // and 2 QP (range >> s) stays below 2 range.
    int s = 0;
    while ((2 << s) <= 2 * qp) ++s;
    H263Consts k{};
    for (int i = 0; i < 8; ++i) {
        k.cap[i] = static_cast<int16_t>(range >> s);
        k.step[i] = static_cast<int16_t>(2 * qp);
        k.add[i] = static_cast<int16_t>(adj);
        k.lo[i] = static_cast<int16_t>(range);
        k.hi[i] = static_cast<int16_t>(range - 1);
    }
    return k;
}

// H.263 proper: [advanced intra][QP].
constexpr std::array<std::array<H263Consts, 32>, 2> kH263Consts = [] {
    std::array<std::array<H263Consts, 32>, 2> t{};
    for (int qp = 1; qp < 32; ++qp) {
        t[0][qp] = h263Consts(qp, oddAdjust(qp), kH263Range);
        t[1][qp] = h263Consts(qp, 0, kH263Range);
    }
    return t;
}();

inline __m128i vec(const int16_t (&v)[8]) { return _mm_load_si128(reinterpret_cast<const __m128i*>(v)); }

// Rows [0, rows): 0 stays 0, else sign(c) (2 QP |c| + adj) clamped to
// -range .. range - 1. kFull: range 32768, where the positive limit must be
// applied before the sign. Seven operations per row: |c| is limited first,
// as 62 |c| + 31 at QP 31 is past the 15 bits psignw reads from |c| = 529
// and past 16 bits from |c| = 1057; a saturated 16-bit product (pmulhuw and
// pmullw, or pmaddwd and packssdw) costs more than the limit. Inlined into
// every wrapper, the whole block (last index 56..63) as straight-line code;
// the DC, when given, is stored after the rows.
template <bool kFull, class DcT>
[[gnu::always_inline]] inline void dequantH263Rows(Mox16s* pBlock, int rows, const H263Consts& k, DcT dc) {
    const __m128i cap = vec(k.cap), step = vec(k.step), add = vec(k.add), lo = vec(k.lo), hi = vec(k.hi);
    auto row = [&](int i) {
        const __m128i v = loadRow(pBlock + 8 * i);
        const __m128i a = _mm_min_epu16(_mm_abs_epi16(v), cap);
        const __m128i m = _mm_adds_epu16(_mm_mullo_epi16(a, step), add);
        __m128i r;
        if constexpr (kFull) {
            // 32767 for positive c, 32768 for negative c.
            const __m128i limit = _mm_sub_epi16(hi, _mm_srai_epi16(v, 15));
            r = _mm_sign_epi16(_mm_min_epu16(m, limit), v);
        } else {
            r = _mm_min_epi16(_mm_sign_epi16(_mm_min_epu16(m, lo), v), hi);
        }
        storeRow(pBlock + 8 * i, r);
    };
    if (rows == 8) {
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) row(i);
    } else {
        for (int i = 0; i < rows; ++i) row(i);
    }
    if constexpr (std::is_same_v<DcT, Dc>) pBlock[0] = static_cast<Mox16s>(dc.value);
}

// The H.263 method of MPEG-4 at any bit depth.
template <class DcT>
void dequantH263Method(Mox16s* pBlock, int rows, int qp, int range, DcT dc) {
    if (range == kH263Range) return dequantH263Rows<false>(pBlock, rows, kH263Consts[0][qp], dc);  // 8 bits
    const H263Consts k = h263Consts(qp, oddAdjust(qp), range);
    if (range == 32768)
        dequantH263Rows<true>(pBlock, rows, k, dc);
    else
        dequantH263Rows<false>(pBlock, rows, k, dc);
}

// Parity of the sum of the eight lanes: the low bits moved to the sign bits,
// one bit per lane in the byte mask, folded to the flags' parity of one byte.
inline int parityOf(__m128i acc) {
    unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_slli_epi16(acc, 15)));
    return __builtin_parity(m);
}

// Mismatch control, ISO/IEC 14496-2 clause 7.4.4.3: when the sum of the
// block is even, the least significant bit of coefficient 63 flips (odd
// values go down by one, even values up by one).
inline void finishMismatch(Mox16s* pBlock, int rows, __m128i last, __m128i parity) {
    if (parityOf(parity) == 0) {
        if (rows == 8)
            last = _mm_xor_si128(last, _mm_setr_epi16(0, 0, 0, 0, 0, 0, 0, 1));
        else
            pBlock[63] = static_cast<Mox16s>(pBlock[63] ^ 1);
    }
    storeRow(pBlock + 8 * (rows - 1), last);
}

// Matrix method for bit depths up to 8 (W QP below 2^13, range at most 2048):
// sign(c) min(((2|c| + k) W QP) >> 4, range), positive side range - 1.
template <bool kInter, int kRange, class DcT>
void dequantMatrix16(Mox16s* pBlock, int rows, const Mox16s* pMatrix, int qp, int runtimeRange, DcT dc) {
    const int range = kRange ? kRange : runtimeRange;
    const __m128i q = _mm_set1_epi16(static_cast<int16_t>(qp));
    const __m128i one = _mm_set1_epi16(1);
    const __m128i minusOne = _mm_set1_epi16(-1);
    const __m128i lo = _mm_set1_epi16(static_cast<int16_t>(range));
    const __m128i hi = _mm_set1_epi16(static_cast<int16_t>(range - 1));
    __m128i parity = _mm_setzero_si128();
    const __m128i last = mapRows(
        pBlock, rows, dc,
        [&](__m128i v, int i) {
            const __m128i wq = _mm_mullo_epi16(loadRow(pMatrix + 8 * i), q);
            const __m128i a = _mm_abs_epi16(v);
            __m128i x = _mm_adds_epu16(a, a);  // 65535 for |c| = 32768: saturates either way
            if constexpr (kInter) x = _mm_or_si128(x, one);
            const __m128i pHi = _mm_mulhi_epu16(x, wq);
            // A non-zero high half sets the top bits of the low half: the shifted magnitude is at least 3584.
            // (psignw negates in place, where 0 - pHi would need a copy of zero per row.)
            const __m128i pLo = _mm_or_si128(_mm_mullo_epi16(x, wq), _mm_sign_epi16(pHi, minusOne));
            const __m128i mag = _mm_min_epu16(_mm_srli_epi16(pLo, 4), lo);
            return _mm_min_epi16(_mm_sign_epi16(mag, v), hi);
        },
        &parity);
    finishMismatch(pBlock, rows, last, parity);
}

// Four magnitudes min(floor(x W QP / 16), cap) with W QP = 16 wqHi + wqLo.
inline __m128i matrixMagnitudes(__m128i x, __m128i wq, __m128i cap) {
    const __m128i wqHi = _mm_srli_epi32(wq, 4), wqLo = _mm_and_si128(wq, _mm_set1_epi32(15));
    const __m128i m = _mm_add_epi32(_mm_mullo_epi32(x, wqHi), _mm_srli_epi32(_mm_mullo_epi32(x, wqLo), 4));
    return _mm_min_epi32(m, cap);
}

// Matrix method for any bit depth (W QP up to 255 x 511) in 32-bit lanes.
template <bool kInter, class DcT>
void dequantMatrix32(Mox16s* pBlock, int rows, const Mox16s* pMatrix, int qp, int range, DcT dc) {
    const __m128i q = _mm_set1_epi32(qp);
    const __m128i cap = _mm_set1_epi32(range);
    const __m128i hi = _mm_set1_epi16(static_cast<int16_t>(range - 1));
    const __m128i k = _mm_set1_epi32(kInter ? 1 : 0);
    const __m128i zero = _mm_setzero_si128();
    __m128i parity = zero;
    const __m128i last = mapRows(
        pBlock, rows, dc,
        [&](__m128i v, int i) {
            const __m128i a = _mm_abs_epi16(v);
            const __m128i wr = loadRow(pMatrix + 8 * i);
            const __m128i wq0 = _mm_mullo_epi32(_mm_cvtepu16_epi32(wr), q);
            const __m128i wq1 = _mm_mullo_epi32(_mm_unpackhi_epi16(wr, zero), q);
            // x = 2|c| + k, at most 65537.
            const __m128i x0 = _mm_add_epi32(_mm_slli_epi32(_mm_cvtepu16_epi32(a), 1), k);
            const __m128i x1 = _mm_add_epi32(_mm_slli_epi32(_mm_unpackhi_epi16(a, zero), 1), k);
            const __m128i mag = _mm_packus_epi32(matrixMagnitudes(x0, wq0, cap), matrixMagnitudes(x1, wq1, cap));
            // 32767 for positive c, range (up to 32768) for negative c.
            const __m128i limit = _mm_sub_epi16(hi, _mm_srai_epi16(v, 15));
            return _mm_sign_epi16(_mm_min_epu16(mag, limit), v);
        },
        &parity);
    finishMismatch(pBlock, rows, last, parity);
}

template <bool kInter, class DcT>
void dequantMatrix(Mox16s* pBlock, int rows, const InvRecord& rec, int qp, DcT dc) {
    const int range = coefRange(rec.tail.bitDepth);
    if (rec.tail.bitDepth == 8)
        dequantMatrix16<kInter, kH263Range>(pBlock, rows, rec.matrix, qp, range, dc);
    else if (rec.tail.bitDepth < 8)
        dequantMatrix16<kInter, 0>(pBlock, rows, rec.matrix, qp, range, dc);
    else
        dequantMatrix32<kInter>(pBlock, rows, rec.matrix, qp, range, dc);
}

// ---------------------------------------------------------------- MPEG-4 record set-up
template <class R>
MoxStatus initRecord(const Mox8u* pMatrix, void* pSpec, int bitDepth, Mox32u mark) {
    MOX_CHECK_PTRS(pSpec);
    MOX_CHECK(bitDepth >= kMinBitDepth && bitDepth <= kMaxBitDepth, moxStsOutOfRangeErr);
    R* r = recordAt<R>(pSpec);
    if (pMatrix) {
        for (int k = 0; k < 64; ++k) {
            if (pMatrix[k] == 0) return moxStsQPErr;
            r->matrix[k] = pMatrix[k];
            if constexpr (std::is_same_v<R, FwdRecord>) r->weight[k] = pMatrix[k];
        }
    } else {
        for (int k = 0; k < 64; ++k) {
            r->matrix[k] = 16;
            if constexpr (std::is_same_v<R, FwdRecord>) r->weight[k] = 16.0f;
        }
    }
    r->tail.bitDepth = bitDepth;
    r->tail.matrixFlag = pMatrix != nullptr;
    r->tail.marker = mark;
    return moxStsNoErr;
}

MoxStatus reportSize(int* pSize, int bytes) {
    MOX_CHECK_PTRS(pSize);
    *pSize = bytes;
    return moxStsNoErr;
}

}  // namespace

// ================================================================ H.263

MOX_FN moxiQuantInter_H263_16s_C1I(Mox16s* pSrcDst, int QP, int* pCount, int modQuantFlag) {
    MOX_CHECK_PTRS(pSrcDst, pCount);
    MOX_CHECK(QP >= 1 && QP <= kH263MaxQP, moxStsQPErr);
    const int maxLevel = QP < 8 && !modQuantFlag ? kH263MaxLevel : 32767;
    *pCount = quantDivide<false>(pSrcDst, QP, QP / 2, maxLevel, NoDc{});
    return moxStsNoErr;
}

MOX_FN moxiQuantIntra_H263_16s_C1I(Mox16s* pSrcDst, int QP, int* pCount, int advIntraFlag, int modQuantFlag) {
    MOX_CHECK_PTRS(pSrcDst, pCount);
    MOX_CHECK(QP >= 1 && QP <= kH263MaxQP, moxStsQPErr);
    if (advIntraFlag) {
        // Annex I reconstructs 2 QP LEVEL without offset: round to nearest.
        *pCount = quantDivide<true>(pSrcDst, QP, QP, modQuantFlag ? 32767 : kH263MaxLevel, NoDc{});
        return moxStsNoErr;
    }
    // INTRADC, clause 5.4.1: 8-bit code of DC / 8; 0 and 255 are not sent.
    int level = (pSrcDst[0] + 4) >> 3;
    if (level == 0) level = 1;
    if (level == 255) level = 254;
    *pCount = quantDivide<true>(pSrcDst, QP, 0, QP < 8 && !modQuantFlag ? kH263MaxLevel : 32767, Dc{level});
    return moxStsNoErr;
}

MOX_FN moxiQuantInvInter_H263_16s_C1I(Mox16s* pSrcDst, int indxLastNonZero, int QP, int modQuantFlag) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(QP >= 1 && QP <= kH263MaxQP, moxStsQPErr);
    MOX_CHECK(indxLastNonZero >= 0, moxStsOutOfRangeErr);
    // Annex T changes which levels can arrive, not the reconstruction.
    dequantH263Rows<false>(pSrcDst, rowsFor(indxLastNonZero), kH263Consts[0][QP], NoDc{});
    return moxStsNoErr;
}

MOX_FN moxiQuantInvIntra_H263_16s_C1I(Mox16s* pSrcDst, int indxLastNonZero, int QP, int advIntraFlag,
                                      int modQuantFlag) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(QP >= 1 && QP <= kH263MaxQP, moxStsQPErr);
    MOX_CHECK(indxLastNonZero >= 0, moxStsOutOfRangeErr);
    if (advIntraFlag) {
        // Annex I: every coefficient, the DC included, is 2 QP LEVEL.
        dequantH263Rows<false>(pSrcDst, rowsFor(indxLastNonZero), kH263Consts[1][QP], NoDc{});
        return moxStsNoErr;
    }
    const Dc dc{pSrcDst[0] * 8};
    if (indxLastNonZero > 0)
        dequantH263Rows<false>(pSrcDst, rowsFor(indxLastNonZero), kH263Consts[0][QP], dc);
    else
        pSrcDst[0] = static_cast<Mox16s>(dc.value);
    return moxStsNoErr;
}

// ================================================================ MPEG-4 records

MOX_FN moxiQuantInvIntraGetSize_MPEG4(int* pSpecSize) { return reportSize(pSpecSize, kInvRecordBytes); }
MOX_FN moxiQuantInvInterGetSize_MPEG4(int* pSpecSize) { return reportSize(pSpecSize, kInvRecordBytes); }
MOX_FN moxiQuantIntraGetSize_MPEG4(int* pSpecSize) { return reportSize(pSpecSize, kFwdRecordBytes); }
MOX_FN moxiQuantInterGetSize_MPEG4(int* pSpecSize) { return reportSize(pSpecSize, kFwdRecordBytes); }

MOX_FN moxiQuantInvIntraInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel) {
    return initRecord<InvRecord>(pQuantMatrix, pSpec, bitsPerPixel, kMarkInvIntra);
}
MOX_FN moxiQuantInvInterInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel) {
    return initRecord<InvRecord>(pQuantMatrix, pSpec, bitsPerPixel, kMarkInvInter);
}
MOX_FN moxiQuantIntraInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel) {
    return initRecord<FwdRecord>(pQuantMatrix, pSpec, bitsPerPixel, kMarkFwdIntra);
}
MOX_FN moxiQuantInterInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel) {
    return initRecord<FwdRecord>(pQuantMatrix, pSpec, bitsPerPixel, kMarkFwdInter);
}

// ================================================================ MPEG-4 inverse quantisation

MOX_FN moxiQuantInvIntra_MPEG4_16s_C1I(Mox16s* pCoeffs, int indxLastNonZero, const void* pSpec, int QP,
                                       int blockType) {
    MOX_CHECK_PTRS(pCoeffs, pSpec);
    const InvRecord* rec = checkedRecord<InvRecord>(pSpec, kMarkInvIntra);
    MOX_CHECK(rec, moxStsContextMatchErr);
    MOX_CHECK(qpFits(QP, rec->tail), moxStsQPErr);
    const int range = coefRange(rec->tail.bitDepth);
    const Dc dc{clamp(dcScaler(QP, blockType == 0) * pCoeffs[0], -range, range - 1)};
    if (indxLastNonZero < 1) {
        // Mismatch control of a block whose only other coefficient is zero.
        if (rec->tail.matrixFlag && dc.value % 2 == 0) pCoeffs[63] = 1;
        pCoeffs[0] = static_cast<Mox16s>(dc.value);
    } else if (rec->tail.matrixFlag) {
        dequantMatrix<false>(pCoeffs, rowsFor(indxLastNonZero), *rec, QP, dc);
    } else {
        dequantH263Method(pCoeffs, rowsFor(indxLastNonZero), QP, range, dc);
    }
    return moxStsNoErr;
}

MOX_FN moxiQuantInvInter_MPEG4_16s_C1I(Mox16s* pCoeffs, int indxLastNonZero, const void* pSpec, int QP) {
    MOX_CHECK_PTRS(pCoeffs, pSpec);
    const InvRecord* rec = checkedRecord<InvRecord>(pSpec, kMarkInvInter);
    MOX_CHECK(rec, moxStsContextMatchErr);
    MOX_CHECK(qpFits(QP, rec->tail), moxStsQPErr);
    if (indxLastNonZero < 0) return moxStsNoErr;
    const int rows = rowsFor(indxLastNonZero);
    if (rec->tail.matrixFlag)
        dequantMatrix<true>(pCoeffs, rows, *rec, QP, NoDc{});
    else
        dequantH263Method(pCoeffs, rows, QP, coefRange(rec->tail.bitDepth), NoDc{});
    return moxStsNoErr;
}

// ================================================================ MPEG-4 forward quantisation

MOX_FN moxiQuantIntra_MPEG4_16s_C1I(Mox16s* pCoeffs, const void* pSpec, int QP, int* pCount, int blockType) {
    MOX_CHECK_PTRS(pCoeffs, pSpec, pCount);
    const FwdRecord* rec = checkedRecord<FwdRecord>(pSpec, kMarkFwdIntra);
    MOX_CHECK(rec, moxStsContextMatchErr);
    MOX_CHECK(qpFits(QP, rec->tail), moxStsQPErr);
    const int maxLevel = coefRange(rec->tail.bitDepth) - 1;
    // The DC rounds to nearest with the DC scaler of Table 7-1.
    const int c0 = pCoeffs[0];
    const int s = dcScaler(QP, blockType == 0);
    const int mag = ((c0 < 0 ? -c0 : c0) + s / 2) / s;
    const Dc dc{(c0 < 0 ? -1 : 1) * (mag < maxLevel ? mag : maxLevel)};
    *pCount = rec->tail.matrixFlag ? quantMatrix(pCoeffs, *rec, QP, (3 * QP + 2) / 4, maxLevel, dc)
                                   : quantDivide<true>(pCoeffs, QP, 0, maxLevel, dc);
    return moxStsNoErr;
}

MOX_FN moxiQuantInter_MPEG4_16s_C1I(Mox16s* pCoeffs, const void* pSpec, int QP, int* pCount) {
    MOX_CHECK_PTRS(pCoeffs, pSpec, pCount);
    const FwdRecord* rec = checkedRecord<FwdRecord>(pSpec, kMarkFwdInter);
    MOX_CHECK(rec, moxStsContextMatchErr);
    MOX_CHECK(qpFits(QP, rec->tail), moxStsQPErr);
    const int maxLevel = coefRange(rec->tail.bitDepth) - 1;
    *pCount = rec->tail.matrixFlag ? quantMatrix(pCoeffs, *rec, QP, 0, maxLevel, NoDc{})
                                   : quantDivide<false>(pCoeffs, QP, QP / 2, maxLevel, NoDc{});
    return moxStsNoErr;
}
