// Internal SSE4.1 kernels of the H.264 dequantisation and inverse transforms,
// shared by the exported wrappers and the macroblock reconstruction. None of
// them checks its arguments.
//
// Blocks are raster order. "Flat" kernels scale a level by the per-QP table
// (normAdjust4x4 << QP/6, the product kept in 16 bits); "scaled" kernels take
// the LevelScale values of QP % 6 (16 for 4x4, 64 for 8x8) and q = QP / 6:
//   4x4:            QP < 24: (c * LS + 2^(3-q)) >> (4-q), else (c * LS) << (q-4)
//   8x8, luma DC:   QP < 36: (c * LS + 2^(5-q)) >> (6-q), else (c * LS) << (q-6)
// with the product and shift in 32 bits and the result stored in the
// coefficient type. 16-bit kernels keep every transform intermediate in 16
// bits with wrap-around unless they say otherwise; 32-bit kernels wrap at 32
// bits.
// Residuals are (x + 32) >> 6. Prediction and destination may be the same
// block (reconstruction in place).
#pragma once

#include <smmintrin.h>

#include <array>
#include <cstdint>

#include "moxvc.h"

namespace mox::h264 {

// ------------------------------------------------------------------ 4x4 blocks
// A block with `ac` false is its DC alone: every residual is (d + 32) >> 6 and
// the levels 1..15 are not read. `dc` (may be null) replaces the scaled DC.

// Flat dequantisation and inverse transform, the residual written back into
// the block (rows stepElems elements apart).
void residual4x4(Mox16s* blk, int stepElems, const Mox16s* dc, bool ac, int qp);

// Flat or scaled dequantisation, inverse transform and addition to `pred`
// clamped to 0..255. `coeffs` may be null when `dc` is set and `ac` is false;
// `residual` (may be null) receives the 16 residuals on the AC path. The flat
// form saturates its 16-bit sums (moxiDequantTransformResidualAndAdd), the
// scaled one wraps (moxiTransformQuantInvAddPred4x4).
void addResidual4x4(const Mox8u* pred, int predStep, const Mox16s* coeffs, const Mox16s* dc, bool ac, int qp,
                    Mox8u* dst, int dstStep, Mox16s* residual);
void addResidual4x4Scaled(const Mox8u* pred, int predStep, const Mox16s* coeffs, const Mox16s* dc, bool ac, int qp,
                          const Mox16s* levelScale, Mox8u* dst, int dstStep, Mox16s* residual);
// High bit depth: 32-bit coefficients, samples clamped to 0..2^bitDepth - 1.
void addResidual4x4Scaled(const Mox16u* pred, int predStep, const Mox32s* coeffs, const Mox32s* dc, bool ac, int qp,
                          const Mox16s* levelScale, int bitDepth, Mox16u* dst, int dstStep, Mox32s* residual);

// Inverse transform of 16 already scaled coefficients (rows dstStepElems apart).
void idct4x4(const Mox16s* src, Mox16s* dst, int dstStepElems);
void idct4x4(const Mox32s* src, Mox32s* dst, int dstStepElems);

// Forward core transform of 4x4 predicted samples, unscaled.
void forward4x4(const Mox8u* src, int srcStep, Mox16s* dst);

// SP/SI: levels plus the transformed prediction `predCoeffs`, requantised
// with qs (or, when `switching`, the prediction requantised with qs plus the
// levels), dequantised with qs and inverse transformed into 16 values.
void residual4x4SISP(Mox16s* blk, const Mox16s* predCoeffs, const Mox16s* dc, bool ac, int qp, int qs, bool switching);

// ------------------------------------------------------------------ DC blocks
// Intra 16x16 luma DC (16 values) and 4:2:0 chroma DC (4 values), flat tables.
void lumaDC(Mox16s* dc, int qp);
void chromaDC2x2(Mox16s* dc, int qp);
// With LevelScale(QP % 6, 0, 0) = ls00; the chroma 4:2:2 form takes the levels
// in coded order c0..c7, uses QP + 3 (so ls00 belongs to (QP + 3) % 6) and
// leaves the DCs in raster order of its 2-wide, 4-high block grid.
void lumaDCScaled(Mox16s* dc, int qp, int ls00);
void lumaDCScaled(Mox32s* dc, int qp, int ls00);
void chromaDC2x2Scaled(Mox16s* dc, int qp, int ls00);
void chromaDC2x2Scaled(Mox32s* dc, int qp, int ls00);
void chromaDC2x4Scaled(Mox16s* dc, int qp, int ls00);
void chromaDC2x4Scaled(Mox32s* dc, int qp, int ls00);
// SP/SI chroma DC: the four levels, the DCs of the four transformed
// prediction blocks; result as chromaDC2x2 with qs.
void chromaDC2x2SISP(Mox16s* dc, const Mox16s* predDC, int qp, int qs, bool switching);

// ------------------------------------------------------------------ 8x8 blocks
void dequant8x8(Mox16s* c, int qp, const Mox16s* levelScale);
void dequant8x8(Mox32s* c, int qp, const Mox16s* levelScale);
// Inverse transform of 64 scaled coefficients added to `pred` with clamping.
void addIdct8x8(const Mox8u* pred, int predStep, const Mox16s* coeffs, Mox8u* dst, int dstStep);
void addIdct8x8(const Mox16u* pred, int predStep, const Mox32s* coeffs, int bitDepth, Mox16u* dst, int dstStep);
// Dequantisation, inverse transform and addition in one pass.
void addResidual8x8Scaled(const Mox8u* pred, int predStep, const Mox16s* coeffs, int qp, const Mox16s* levelScale,
                          Mox8u* dst, int dstStep);
void addResidual8x8Scaled(const Mox16u* pred, int predStep, const Mox32s* coeffs, int qp, const Mox16s* levelScale,
                          int bitDepth, Mox16u* dst, int dstStep);

// ------------------------------------------------------------------ building blocks
// LevelScale dequantisation of eight 16-bit or four 32-bit levels.
namespace lanes {

// The shifts of one block: q = QP / 6 against base 4 (4x4) or 6 (8x8, DC),
// read from a per-QP table so that no count has to cross from the integer
// registers. Counts sit in the low 64 bits, as the shift instructions take them.
struct alignas(16) ShiftCounts {
    uint64_t k[2];       // q - base (left path)
    uint64_t s[2];       // base - q (right path)
    uint64_t sLess1[2];  // s - 1
    uint64_t sHigh[2];   // 16 - s
    int32_t round[4];    // 2^(s-1)
    bool left;           // q >= base: (c * LS) << k
};

// QP' up to 87 + 3 (the 4:2:2 chroma DC of 14-bit video).
constexpr int kMaxShiftQp = 90;

template <int Base>
inline constexpr std::array<ShiftCounts, kMaxShiftQp + 1> kShiftCounts = [] {
    std::array<ShiftCounts, kMaxShiftQp + 1> t{};
    for (int qp = 0; qp <= kMaxShiftQp; ++qp) {
        int s = Base - qp / 6;
        ShiftCounts& c = t[qp];
        c.left = s <= 0;
        c.k[0] = c.left ? static_cast<uint64_t>(-s) : 0;
        c.s[0] = c.left ? 0 : s;
        c.sLess1[0] = c.left ? 0 : s - 1;
        c.sHigh[0] = c.left ? 0 : 16 - s;
        for (auto& r : c.round) r = c.left ? 0 : 1 << (s - 1);
    }
    return t;
}();

struct LevelShift {
    bool left;
    __m128i k, s, sLess1, sHigh, round;
};

inline LevelShift levelShift(int qp, int base) {
    const ShiftCounts& c = base == 4 ? kShiftCounts<4>[qp] : kShiftCounts<6>[qp];
    auto ld = [](const void* p) { return _mm_load_si128(static_cast<const __m128i*>(p)); };
    return {c.left, ld(c.k), ld(c.s), ld(c.sLess1), ld(c.sHigh), ld(c.round)};
}

// 16-bit: the product c * ls is exact; the result keeps its low 16 bits. On the
// right path (hi:lo + 2^(s-1)) >> s = (hi << 16 - s) + ((lo >> s - 1) + 1 >> 1),
// the last term through pavgw so that it cannot overflow.
template <bool Left>
inline __m128i scale16(__m128i c, __m128i ls, const LevelShift& sh) {
    __m128i lo = _mm_mullo_epi16(c, ls);
    if constexpr (Left) {
        return _mm_sll_epi16(lo, sh.k);
    } else {
        __m128i hi = _mm_mulhi_epi16(c, ls);
        return _mm_add_epi16(_mm_sll_epi16(hi, sh.sHigh),
                             _mm_avg_epu16(_mm_srl_epi16(lo, sh.sLess1), _mm_setzero_si128()));
    }
}

// 32-bit lanes, wrapping at 32 bits; ls already widened to 32 bits.
template <bool Left>
inline __m128i scale32(__m128i c, __m128i ls, const LevelShift& sh) {
    __m128i p = _mm_mullo_epi32(c, ls);
    if constexpr (Left) return _mm_sll_epi32(p, sh.k);
    else return _mm_sra_epi32(_mm_add_epi32(p, sh.round), sh.s);
}

// Transposes a 4x4 block of 32-bit values held as four row registers.
inline void transpose4x4(__m128i& r0, __m128i& r1, __m128i& r2, __m128i& r3) {
    __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpacklo_epi32(r2, r3);
    __m128i t2 = _mm_unpackhi_epi32(r0, r1), t3 = _mm_unpackhi_epi32(r2, r3);
    r0 = _mm_unpacklo_epi64(t0, t1);
    r1 = _mm_unpackhi_epi64(t0, t1);
    r2 = _mm_unpacklo_epi64(t2, t3);
    r3 = _mm_unpackhi_epi64(t2, t3);
}

}  // namespace lanes

}  // namespace mox::h264
