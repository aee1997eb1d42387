// H.264 macroblock reconstruction kernels, shared by the 8-bit and the
// high-bit-depth wrappers: per block, the intra predictor (intra_kernels.h)
// and the dequantisation, inverse transform and clamped addition of the
// residual (transform_kernels.h), or the untransformed residual of lossless
// macroblocks. C is the coefficient type (Mox16s or Mox32s), P the sample type
// (Mox8u or Mox16u). Nothing here checks its arguments.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "core/pixel.h"
#include "h264/intra_block_kernels.h"
#include "h264/intra_kernels.h"
#include "h264/quant_tables.h"
#include "h264/transform_kernels.h"
#include "me/simd.h"

namespace mox::h264::mb {

// How levels are scaled: the flat per-QP tables (16-bit coefficients, 8-bit
// samples) or a LevelScale table of the current QP % 6.
enum class Quant { Flat, Scaled };

// Luma 4x4 blocks in block index order: position in the macroblock.
inline constexpr int kX4[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
inline constexpr int kY4[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};

// Lossless residual accumulation (clause 8.5.15).
enum Dpcm : int { kDpcmNone = 0, kDpcmVertical = 1, kDpcmHorizontal = 2 };

inline int lumaDpcm(int mode) {
    return mode == 0 ? kDpcmVertical : mode == 1 ? kDpcmHorizontal : kDpcmNone;
}
inline int chromaDpcm(int mode) {
    return mode == 2 ? kDpcmVertical : mode == 1 ? kDpcmHorizontal : kDpcmNone;
}

// ---------------------------------------------------------------- availability from the edge word
// edgeType: set bit = that macroblock must not be used: 0x01 left (with
// `halves`: the upper half of the left column, 0x02 its lower half), 0x04 top,
// 0x10 top-left, 0x20 top-right.

// Blocks below the top row whose upper-right samples are already decoded
// when they are predicted: all but 3, 7, 11, 13 and 15.
inline constexpr bool kInnerUpRight[16] = {false, false, true, false, false, false, true, false,
                                           true,  true,  true, false, true,  false, true, false};

// Luma 4x4 block k. A top-row block needs the top macroblock for its
// upper-right samples, block 5 the top-right one as well.
constexpr int availability4x4(int k, int edge, bool halves) {
    const int bx = kX4[k] >> 2, by = kY4[k] >> 2;
    const int leftBit = halves && by >= 2 ? 0x02 : 0x01;
    int a = 0;
    if (by > 0 || !(edge & 0x04)) a |= kAvailUp;
    if (bx > 0 || !(edge & leftBit)) a |= kAvailLeft;
    bool corner = k == 0    ? !(edge & 0x10)
                  : by == 0 ? !(edge & 0x04)
                  : bx == 0 ? !(edge & (halves && by == 3 ? 0x02 : 0x01))  // row 4 by - 1 of the left column
                            : true;
    if (corner) a |= kAvailUpLeft;
    bool upRight = by == 0 ? !(edge & 0x04) && (k != 5 || !(edge & 0x20)) : kInnerUpRight[k];
    if (upRight) a |= kAvailUpRight;
    return a;
}

// availability4x4 of all 16 blocks for every edge word, without and with halves.
struct Availability4x4Table {
    uint8_t v[2][256][16] = {};
    constexpr Availability4x4Table() {
        for (int h = 0; h < 2; ++h)
            for (int e = 0; e < 256; ++e)
                for (int k = 0; k < 16; ++k) v[h][e][k] = static_cast<uint8_t>(availability4x4(k, e, h != 0));
    }
};

inline constexpr Availability4x4Table kAvailability4x4{};

// Luma 8x8 block b (raster order).
constexpr int availability8x8(int b, int edge, bool halves) {
    const bool top = b < 2, leftCol = (b & 1) == 0;
    const bool upMissing = top && (edge & 0x04);
    const bool leftMissing = leftCol && (edge & (halves && b == 2 ? 0x02 : 0x01));
    // The corner of block 2 is row 7 of the left column: its upper half.
    const bool cornerMissing = b == 0 ? edge & 0x10 : b == 1 ? upMissing : b == 2 ? (edge & 0x01) != 0 : false;
    const bool upRightMissing = b == 3 ? true : b == 1 ? (edge & 0x20) != 0 : upMissing;
    return (upMissing ? 0 : kAvailUp) | (leftMissing ? 0 : kAvailLeft) | (cornerMissing ? 0 : kAvailUpLeft) |
           (upRightMissing ? 0 : kAvailUpRight);
}

constexpr int availability16x16(int edge) {
    return (edge & 0x04 ? 0 : kAvailUp) | (edge & 0x01 ? 0 : kAvailLeft) | (edge & 0x10 ? 0 : kAvailUpLeft);
}

constexpr int availabilityChroma(int edge, bool halves) {
    return (edge & 0x04 ? 0 : kAvailUp) | (edge & 0x01 ? 0 : kAvailLeft) |
           (edge & (halves ? 0x02 : 0x01) ? 0 : kAvailLeftLower) | (edge & 0x10 ? 0 : kAvailUpLeft);
}

// ---------------------------------------------------------------- residual blocks

// One 4x4 block added in place; dc (may be null) replaces the scaled DC and
// `ac` false makes the block its DC alone (c then may be null).
template <Quant Q, class C, class P>
inline void add4x4(P* blk, int step, const C* c, const C* dc, bool ac, int qp, const Mox16s* ls, int bitDepth) {
    if constexpr (Q == Quant::Flat)
        addResidual4x4(blk, step, c, dc, ac, qp, blk, step, nullptr);
    else if constexpr (sizeof(P) == 1)
        addResidual4x4Scaled(blk, step, c, dc, ac, qp, ls, blk, step, nullptr);
    else
        addResidual4x4Scaled(blk, step, c, dc, ac, qp, ls, bitDepth, blk, step, nullptr);
}

// ---------------------------------------------------------------- two 4x4 blocks side by side
// (16-bit levels, 8-bit samples). Each block's levels are loaded as rows
// (0|1) and (2|3) and dequantised in that layout. Three unpack stages turn the
// pair into registers j = column j of both blocks, their lanes alternating
// between the left and the right block (a0j b0j a1j b1j ..), so one pass runs
// the row transform of both; from that lane order two unpack stages give the
// 8-sample rows of the pair, and a second pass does the columns. The
// arithmetic is exactly that of addResidual4x4 (flat: saturating) and
// addResidual4x4Scaled (wrapping).

inline constexpr Mox16s kZeroLevels[16] = {};

// Set bits of each byte value.
inline constexpr std::array<uint8_t, 256> kBitCount8 = [] {
    std::array<uint8_t, 256> t{};
    for (int v = 1; v < 256; ++v) t[v] = static_cast<uint8_t>(t[v >> 1] + (v & 1));
    return t;
}();

template <bool Sat>
inline __m128i add16(__m128i a, __m128i b) {
    return Sat ? _mm_adds_epi16(a, b) : _mm_add_epi16(a, b);
}
template <bool Sat>
inline __m128i sub16(__m128i a, __m128i b) {
    return Sat ? _mm_subs_epi16(a, b) : _mm_sub_epi16(a, b);
}

// One 1-D inverse transform along the registers.
template <bool Sat>
inline void idctAcross(__m128i* x) {
    __m128i a = add16<Sat>(x[0], x[2]), b = sub16<Sat>(x[0], x[2]);
    __m128i c = sub16<Sat>(_mm_srai_epi16(x[1], 1), x[3]), e = add16<Sat>(x[1], _mm_srai_epi16(x[3], 1));
    x[0] = add16<Sat>(a, e);
    x[1] = add16<Sat>(b, c);
    x[2] = sub16<Sat>(b, c);
    x[3] = sub16<Sat>(a, e);
}

// Rows (0|1), (2|3) of a block -> columns (0|1), (2|3).
inline void columns(__m128i r01, __m128i r23, __m128i& c01, __m128i& c23) {
    __m128i t0 = _mm_unpacklo_epi16(r01, r23), t1 = _mm_unpackhi_epi16(r01, r23);
    c01 = _mm_unpacklo_epi16(t0, t1);
    c23 = _mm_unpackhi_epi16(t0, t1);
}

// Residual rows r (left | right) added to 4 rows of 8 samples.
inline void addRows8x4(Mox8u* p, int step, const __m128i* r) {
#pragma GCC unroll 2
    for (int i = 0; i < 4; i += 2) {
        Mox8u *d0 = row(p, step, i), *d1 = row(p, step, i + 1);
        __m128i s0 = _mm_adds_epi16(_mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(d0))), r[i]);
        __m128i s1 = _mm_adds_epi16(_mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(d1))), r[i + 1]);
        __m128i s = _mm_packus_epi16(s0, s1);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d0), s);
        intra::storeHigh8(d1, s);
    }
}

// The scale factors of one macroblock's blocks, rows (0|1) and (2|3).
template <Quant Q>
struct PairScale {
    __m128i m01, m23;
    lanes::LevelShift sh;
    PairScale(int qp, const Mox16s* ls) {
        const Mox16s* m = Q == Quant::Flat ? kInvQuantBlock[qp].data() : ls;
        m01 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m));
        m23 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m + 8));
        if constexpr (Q == Quant::Scaled) sh = lanes::levelShift(qp, 4);
    }
    template <bool Left>
    __m128i scaled(__m128i c, __m128i m) const {
        if constexpr (Q == Quant::Flat)
            return _mm_mullo_epi16(c, m);
        else
            return lanes::scale16<Left>(c, m, sh);
    }
};

// The residual rows (left | right) of blocks a and b; with HasDc, their DCs
// replaced by lanes 0 and 1 of d.
template <Quant Q, bool Left, bool HasDc>
[[gnu::always_inline]] inline void pairRows(const Mox16s* a, const Mox16s* b, __m128i d, const PairScale<Q>& q,
                                            __m128i* x) {
    constexpr bool Sat = Q == Quant::Flat;
    auto ld = [](const Mox16s* v) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(v)); };
    __m128i a01 = q.template scaled<Left>(ld(a), q.m01), a23 = q.template scaled<Left>(ld(a + 8), q.m23);
    __m128i b01 = q.template scaled<Left>(ld(b), q.m01), b23 = q.template scaled<Left>(ld(b + 8), q.m23);
    // Rows i of both blocks interleaved (ai0 bi0 ai1 bi1 ..), then row pairs,
    // then columns j = (a0j b0j a1j b1j a2j b2j a3j b3j).
    __m128i u0 = _mm_unpacklo_epi16(a01, b01), u1 = _mm_unpackhi_epi16(a01, b01);
    __m128i u2 = _mm_unpacklo_epi16(a23, b23), u3 = _mm_unpackhi_epi16(a23, b23);
    __m128i m0 = _mm_unpacklo_epi32(u0, u1), m1 = _mm_unpackhi_epi32(u0, u1);
    __m128i m2 = _mm_unpacklo_epi32(u2, u3), m3 = _mm_unpackhi_epi32(u2, u3);
    x[0] = _mm_unpacklo_epi64(m0, m2);
    x[1] = _mm_unpackhi_epi64(m0, m2);
    x[2] = _mm_unpacklo_epi64(m1, m3);
    x[3] = _mm_unpackhi_epi64(m1, m3);
    // The DCs sit in lanes 0 and 1 of x[0]: replaced there, and with
    // wrap-around the rounding term rides on them, as it reaches every output
    // once.
    if constexpr (HasDc) x[0] = _mm_blend_epi16(x[0], d, 0x03);
    if constexpr (!Sat) x[0] = _mm_add_epi16(x[0], _mm_setr_epi16(32, 32, 0, 0, 0, 0, 0, 0));
    idctAcross<Sat>(x);
    // (a0j a0j+1 b0j b0j+1 a1j ..) for j = 0, 2, then rows i = (ai0..ai3 | bi0..bi3).
    __m128i p0 = _mm_unpacklo_epi16(x[0], x[1]), p1 = _mm_unpackhi_epi16(x[0], x[1]);
    __m128i p2 = _mm_unpacklo_epi16(x[2], x[3]), p3 = _mm_unpackhi_epi16(x[2], x[3]);
    x[0] = _mm_unpacklo_epi32(p0, p2);
    x[1] = _mm_unpackhi_epi32(p0, p2);
    x[2] = _mm_unpacklo_epi32(p1, p3);
    x[3] = _mm_unpackhi_epi32(p1, p3);
    idctAcross<Sat>(x);
    // The final >> 6 on the multiplier pipes: wrapping, the rounding term is
    // in already and a multiply by 2^10 keeps the high half; saturating,
    // pmulhrsw by 2^9 gives (x + 32) >> 6 without the saturation, which
    // differs (512 for 511) only where x + 32 saturates, and there the sample
    // clamps to 255 either way. Only samples leave these rows.
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        x[i] = Sat ? _mm_mulhrs_epi16(x[i], _mm_set1_epi16(1 << 9)) : _mm_mulhi_epi16(x[i], _mm_set1_epi16(1 << 10));
}

template <Quant Q, bool Left>
inline void addPairShifted(Mox8u* p, int step, const Mox16s* a, const Mox16s* b, const Mox16s* dc,
                           const PairScale<Q>& q) {
    __m128i x[4];
    if (dc)
        pairRows<Q, Left, true>(a, b, _mm_cvtsi32_si128(static_cast<int>(intra::load32(dc))), q, x);
    else
        pairRows<Q, Left, false>(a, b, _mm_setzero_si128(), q, x);
    addRows8x4(p, step, x);
}

// Blocks a (left) and b (right): levels (kZeroLevels when absent) and, when
// dc is set, the two scaled DCs that replace theirs.
template <Quant Q>
inline void addPair(Mox8u* p, int step, const Mox16s* a, const Mox16s* b, const Mox16s* dc, const PairScale<Q>& q) {
    if (Q == Quant::Scaled && q.sh.left)
        addPairShifted<Q, true>(p, step, a, b, dc, q);
    else
        addPairShifted<Q, false>(p, step, a, b, dc, q);
}

// One 1-D inverse transform of a block held as (x0|x1), (x2|x3): gives
// (o0|o1), (o3|o2).
template <bool Sat>
inline void idctHalves(__m128i& x, __m128i& y) {
    __m128i xs = _mm_srai_epi16(x, 1), ys = _mm_srai_epi16(y, 1);
    __m128i t1 = _mm_unpacklo_epi64(add16<Sat>(x, y), sub16<Sat>(x, y));    // a | b
    __m128i t2 = _mm_unpackhi_epi64(add16<Sat>(x, ys), sub16<Sat>(xs, y));  // e | c
    x = add16<Sat>(t1, t2);
    y = sub16<Sat>(t1, t2);
}

// The residual rows (0|1), (2|3) of one 4x4 block, exactly as addResidual4x4
// and addResidual4x4Scaled compute them.
template <Quant Q, bool Left>
inline void residual4x4(const Mox16s* c, const PairScale<Q>& q, __m128i& r01, __m128i& r23) {
    constexpr bool Sat = Q == Quant::Flat;
    auto ld = [](const Mox16s* v) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(v)); };
    __m128i a01 = q.template scaled<Left>(ld(c), q.m01), a23 = q.template scaled<Left>(ld(c + 8), q.m23);
    if constexpr (!Sat) a01 = _mm_add_epi16(a01, _mm_cvtsi32_si128(32));
    __m128i c01, c23;
    columns(a01, a23, c01, c23);
    idctHalves<Sat>(c01, c23);
    columns(c01, _mm_shuffle_epi32(c23, 0x4E), r01, r23);
    idctHalves<Sat>(r01, r23);
    r23 = _mm_shuffle_epi32(r23, 0x4E);
    if constexpr (Sat) {
        r01 = _mm_adds_epi16(r01, _mm_set1_epi16(32));
        r23 = _mm_adds_epi16(r23, _mm_set1_epi16(32));
    }
    r01 = _mm_srai_epi16(r01, 6);
    r23 = _mm_srai_epi16(r23, 6);
}

// A 4x4 prediction of 8-bit samples held in a register (rows of 4 bytes),
// plus the residual of the coded block at c (null: none), stored.
template <Quant Q>
inline void storePredicted4x4(Mox8u* p, int step, __m128i pred, const Mox16s* c, const PairScale<Q>& q) {
    if (c) {
        __m128i r01, r23;
        if (Q == Quant::Scaled && q.sh.left)
            residual4x4<Q, true>(c, q, r01, r23);
        else
            residual4x4<Q, false>(c, q, r01, r23);
        pred = _mm_packus_epi16(_mm_adds_epi16(_mm_cvtepu8_epi16(pred), r01),
                                _mm_adds_epi16(_mm_cvtepu8_epi16(_mm_srli_si128(pred, 8)), r23));
    }
    simd::store<4>(row(p, step, 0), pred);
    uint32_t x1 = static_cast<uint32_t>(_mm_extract_epi32(pred, 1)),
             x2 = static_cast<uint32_t>(_mm_extract_epi32(pred, 2)),
             x3 = static_cast<uint32_t>(_mm_extract_epi32(pred, 3));
    std::memcpy(row(p, step, 1), &x1, 4);
    std::memcpy(row(p, step, 2), &x2, 4);
    std::memcpy(row(p, step, 3), &x3, 4);
}

// Both blocks their DC alone: one residual per block.
template <Quant Q>
inline void addPairDC(Mox8u* p, int step, const Mox16s* dc) {
    __m128i d = _mm_unpacklo_epi64(_mm_set1_epi16(dc[0]), _mm_set1_epi16(dc[1]));
    d = _mm_srai_epi16(Q == Quant::Flat ? _mm_adds_epi16(d, _mm_set1_epi16(32)) : _mm_add_epi16(d, _mm_set1_epi16(32)),
                       6);
    const __m128i r[4] = {d, d, d, d};
    addRows8x4(p, step, r);
}

// ---------------------------------------------------------------- Intra 16x16 of 8-bit samples in strips
// The prediction is formed row by row in registers and the residual of the
// four blocks of a 4-row strip (two pairs) added to it before anything is
// stored: each row of the macroblock is written once.

// The residual rows of one pair, the DC rows alone when neither block has AC
// levels; the pair's DCs are lanes 2 * Half and 2 * Half + 1 of dc4.
template <Quant Q, bool Left, int Half>
[[gnu::always_inline]] inline void halfStrip(const Mox16s* c, unsigned acs, __m128i dc4, const PairScale<Q>& q,
                                             __m128i* x) {
    if (acs) {
        const Mox16s* a = acs & 1 ? c : kZeroLevels;
        const Mox16s* b = acs & 2 ? c + (acs & 1 ? 16 : 0) : kZeroLevels;
        pairRows<Q, Left, true>(a, b, Half ? _mm_srli_si128(dc4, 4) : dc4, q, x);
    } else {
        const __m128i spread = Half ? _mm_setr_epi8(4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7)
                                    : _mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3);
        __m128i d = _mm_shuffle_epi8(dc4, spread);
        d = _mm_srai_epi16(Q == Quant::Flat ? _mm_adds_epi16(d, _mm_set1_epi16(32)) : _mm_add_epi16(d, _mm_set1_epi16(32)),
                           6);
        x[0] = x[1] = x[2] = x[3] = d;
    }
}

// pred(lo, hi) gives the next row's prediction in 16-bit lanes (0..255).
template <Quant Q, bool Left, class Pred>
[[gnu::always_inline]] inline void intra16x16Strips(const Mox16s*& c, Mox8u* mb, int step, const Mox16s* dc, Mox32u cbp,
                             const PairScale<Q>& q, Pred&& pred) {
    const unsigned ac = (cbp >> 1) & 0xFFFF;  // AC levels of block k: bit k
    const std::ptrdiff_t s1 = step;
    // Levels of block k start after those of the coded blocks before it:
    // 16 x the set bits of ac below bit k, from a table of byte counts.
    const unsigned acLo = ac & 0xFF, acHi = ac >> 8, nLo = kBitCount8[acLo];
    auto before = [&](int k) {
        return k <= 8 ? kBitCount8[acLo & ((1u << k) - 1)] : nLo + kBitCount8[acHi & ((1u << (k - 8)) - 1)];
    };
    Mox8u* d = mb;
    // Unrolled: the block numbers, masks and DC lanes become constants.
#pragma GCC unroll 4
    for (int sy = 0; sy < 4; ++sy) {
        // Blocks k, k + 1 (left pair) and k + 4, k + 5 (right pair).
        const int k = (sy >> 1) * 8 + (sy & 1) * 2;
        __m128i xl[4], xr[4];
        const __m128i dc4 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(dc + 4 * sy));
        halfStrip<Q, Left, 0>(c + 16 * before(k), (ac >> k) & 3, dc4, q, xl);
        halfStrip<Q, Left, 1>(c + 16 * before(k + 4), (ac >> (k + 4)) & 3, dc4, q, xr);
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i, d += s1) {
            __m128i lo, hi;
            pred(lo, hi);
            simd::store<16>(d, _mm_packus_epi16(_mm_adds_epi16(lo, xl[i]), _mm_adds_epi16(hi, xr[i])));
        }
    }
    c += 16 * (nLo + kBitCount8[acHi]);
}

// Intra 16x16 with residual, 8-bit samples: `dc` holds the scaled DCs in raster order.
template <Quant Q, bool Left>
inline void intra16x16Residual(const Mox16s*& c, Mox8u* mb, int step, int mode, int avail, const Mox16s* dc,
                               Mox32u cbp, const PairScale<Q>& q) {
    const __m128i zero = _mm_setzero_si128();
    switch (mode) {
        case 0: {  // vertical
            const __m128i t = intra::loadu(row(mb, step, -1));
            const __m128i lo = _mm_unpacklo_epi8(t, zero), hi = _mm_unpackhi_epi8(t, zero);
            intra16x16Strips<Q, Left>(c, mb, step, dc, cbp, q, [&](__m128i& l, __m128i& h) { l = lo, h = hi; });
            break;
        }
        case 1: {  // horizontal
            const Mox8u* left = mb - 1;
            const std::ptrdiff_t s1 = step;
            intra16x16Strips<Q, Left>(c, mb, step, dc, cbp, q, [&](__m128i& l, __m128i& h) {
                l = h = _mm_set1_epi16(*left);
                left += s1;
            });
            break;
        }
        case 2: {
            const __m128i v = _mm_set1_epi16(static_cast<short>(intra::dc16x16Value(mb, step, avail)));
            // v by value: a reference would be reloaded after every row stored.
            intra16x16Strips<Q, Left>(c, mb, step, dc, cbp, q, [v](__m128i& l, __m128i& h) { l = h = v; });
            break;
        }
        default: {
            intra::PlaneRows16 rows(intra::plane16x16(mb, step));
            intra16x16Strips<Q, Left>(c, mb, step, dc, cbp, q, [&](__m128i& l, __m128i& h) { rows.next(l, h); });
            break;
        }
    }
}

template <class C, class P>
inline void add8x8(P* blk, int step, const C* c, int qp, const Mox16s* ls, int bitDepth) {
    if constexpr (sizeof(P) == 1)
        addResidual8x8Scaled(blk, step, c, qp, ls, blk, step);
    else
        addResidual8x8Scaled(blk, step, c, qp, ls, bitDepth, blk, step);
}

// Prefix sums along the lanes of each register of a row, carried across registers.
template <class C, int NR>
inline void prefixRow(__m128i* v) {
    for (int k = 0; k < NR; ++k) {
        if constexpr (sizeof(C) == 2) {
            v[k] = _mm_add_epi16(v[k], _mm_slli_si128(v[k], 2));
            v[k] = _mm_add_epi16(v[k], _mm_slli_si128(v[k], 4));
            v[k] = _mm_add_epi16(v[k], _mm_slli_si128(v[k], 8));
            if (k > 0) v[k] = _mm_add_epi16(v[k], _mm_shuffle_epi8(v[k - 1], _mm_set1_epi16(0x0F0E)));
        } else {
            v[k] = _mm_add_epi32(v[k], _mm_slli_si128(v[k], 4));
            v[k] = _mm_add_epi32(v[k], _mm_slli_si128(v[k], 8));
            if (k > 0) v[k] = _mm_add_epi32(v[k], _mm_shuffle_epi32(v[k - 1], 0xFF));
        }
    }
}

// A row of W samples plus residual registers, clamped to 0..2^bitDepth - 1.
template <int W, class C, class P>
inline void addRow(P* d, const __m128i* v, int bitDepth) {
    if constexpr (sizeof(P) == 1) {
        if constexpr (W == 16) {
            __m128i s = simd::load<16>(d), z = _mm_setzero_si128();
            __m128i lo = _mm_adds_epi16(_mm_unpacklo_epi8(s, z), v[0]),
                    hi = _mm_adds_epi16(_mm_unpackhi_epi8(s, z), v[1]);
            simd::store<16>(d, _mm_packus_epi16(lo, hi));
        } else {
            __m128i s = _mm_adds_epi16(_mm_cvtepu8_epi16(simd::load<W>(d)), v[0]);
            simd::store<W>(d, _mm_packus_epi16(s, s));
        }
    } else {
        const __m128i maxv = _mm_set1_epi16(static_cast<short>((1 << bitDepth) - 1));
        for (int k = 0; k < W / 4; k += 2) {
            __m128i s0 = _mm_add_epi32(_mm_cvtepu16_epi32(simd::load<8>(d + 4 * k)), v[k]);
            if constexpr (W == 4) {
                simd::store<8>(d, _mm_min_epu16(_mm_packus_epi32(s0, s0), maxv));
            } else {
                __m128i s1 = _mm_add_epi32(_mm_cvtepu16_epi32(simd::load<8>(d + 4 * k + 4)), v[k + 1]);
                simd::store<16>(d + 4 * k, _mm_min_epu16(_mm_packus_epi32(s0, s1), maxv));
            }
        }
    }
}

// An untransformed W x h residual (raster order, contiguous) added in place,
// accumulated first as `dpcm` says, in the coefficient type.
template <int W, class C, class P>
void addLossless(P* p, int step, const C* r, int h, int dpcm, int bitDepth) {
    constexpr int L = 16 / static_cast<int>(sizeof(C)), NR = (W + L - 1) / L;
    constexpr int rowBytes = (W < L ? W : L) * static_cast<int>(sizeof(C));
    __m128i acc[NR];
    for (int k = 0; k < NR; ++k) acc[k] = _mm_setzero_si128();
    for (int y = 0; y < h; ++y) {
        __m128i v[NR];
        for (int k = 0; k < NR; ++k) v[k] = simd::load<rowBytes>(r + y * W + k * L);
        if (dpcm == kDpcmVertical) {
            for (int k = 0; k < NR; ++k)
                v[k] = acc[k] = sizeof(C) == 2 ? _mm_add_epi16(acc[k], v[k]) : _mm_add_epi32(acc[k], v[k]);
        } else if (dpcm == kDpcmHorizontal) {
            prefixRow<C, NR>(v);
        }
        addRow<W, C, P>(row(p, step, y), v, bitDepth);
    }
}

// ---------------------------------------------------------------- luma macroblocks
// Each advances `c` past the blocks it consumed.

struct LumaParams {
    Mox32u cbp;
    int qp;
    int edge;
    bool halves;
    const Mox16s* ls;  // LevelScale (Scaled)
    bool lossless;
    int bitDepth;
};

// Intra 4x4: the predictor of each block, then its residual. Returns true when
// a block's mode needed a missing neighbour.
// 4x4 prediction and residual in one pass, 8-bit samples: the prediction
// stays in a register.
template <Quant Q, int M>
bool predictAdd4x4(Mox8u* p, int step, int avail, const Mox16s* c, const PairScale<Q>& q) {
    __m128i pred;
    if constexpr (M == 2)
        pred = intra::predict4x4DCReg(p, step, avail);
    else
        pred = intra::predict4x4Reg<M>(p, step, avail);
    storePredicted4x4<Q>(p, step, pred, c, q);
    return !has(avail, kBlockNeeds[M]);
}

template <Quant Q>
using PredictAdd4x4 = bool (*)(Mox8u*, int, int, const Mox16s*, const PairScale<Q>&);

template <Quant Q>
inline constexpr PredictAdd4x4<Q> kPredictAdd4x4[9] = {
    predictAdd4x4<Q, 0>, predictAdd4x4<Q, 1>, predictAdd4x4<Q, 2>, predictAdd4x4<Q, 3>, predictAdd4x4<Q, 4>,
    predictAdd4x4<Q, 5>, predictAdd4x4<Q, 6>, predictAdd4x4<Q, 7>, predictAdd4x4<Q, 8>,
};

template <Quant Q, class C, class P>
bool lumaIntra4x4(const C*& c, P* mb, int step, const Mox32u* modes, const LumaParams& a) {
    if constexpr (sizeof(P) == 1) {
        if (!a.lossless) {
            const PairScale<Q> scale(a.qp, a.ls);
            const uint8_t* avail = kAvailability4x4.v[a.halves][a.edge & 0xFF];
            bool warn = false;
            for (int k = 0; k < 16; ++k) {
                const bool coded = a.cbp & (2u << k);
                warn |= kPredictAdd4x4<Q>[modes[k]](row(mb, step, kY4[k]) + kX4[k], step, avail[k], coded ? c : nullptr,
                                                    scale);
                c += coded ? 16 : 0;
            }
            return warn;
        }
    }
    const BlockPredictor<P>* predict = Predictors<P>::k4x4;
    const uint8_t* avail = kAvailability4x4.v[a.halves][a.edge & 0xFF];
    bool warn = false;
    for (int k = 0; k < 16; ++k) {
        P* blk = row(mb, step, kY4[k]) + kX4[k];
        warn |= predict[modes[k]](blk, step, avail[k], a.bitDepth);
        if (a.cbp & (2u << k)) {
            if (a.lossless)
                addLossless<4>(blk, step, c, 4, lumaDpcm(static_cast<int>(modes[k])), a.bitDepth);
            else
                add4x4<Q>(blk, step, c, static_cast<const C*>(nullptr), true, a.qp, a.ls, a.bitDepth);
            c += 16;
        }
    }
    return warn;
}

// Intra 8x8: false at the first block whose mode is above 8 (the blocks before
// it are rebuilt; `c` is then left as it was).
template <class C, class P>
bool lumaIntra8x8(const C*& c, P* mb, int step, const Mox32u* modes, const LumaParams& a) {
    const BlockPredictor<P>* predict = Predictors<P>::k8x8;
    const C* s = c;
    for (int b = 0; b < 4; ++b) {
        if (modes[b] > 8) return false;
        P* blk = row(mb, step, 8 * (b >> 1)) + 8 * (b & 1);
        predict[modes[b]](blk, step, availability8x8(b, a.edge, a.halves), a.bitDepth);
        if (a.cbp & (1u << b)) {
            if (a.lossless)
                addLossless<8>(blk, step, s, 8, lumaDpcm(static_cast<int>(modes[b])), a.bitDepth);
            else
                add8x8(blk, step, s, a.qp, a.ls, a.bitDepth);
            s += 64;
        }
    }
    c = s;
    return true;
}

// Intra 16x16 (the mode can run): prediction, the DC block, then the sixteen
// blocks, each from its DC alone when its AC levels are absent.
template <Quant Q, class C, class P>
void lumaIntra16x16(const C*& c, P* mb, int step, int mode, const LumaParams& a) {
    const int avail = availability16x16(a.edge);
    const bool residual = a.cbp & 0x1FFFF;
    if (!residual || sizeof(P) != 1 || a.lossless) Predictors<P>::k16x16[mode](mb, step, avail, a.bitDepth);
    if (!residual) return;
    alignas(16) C dc[16] = {};
    if (a.cbp & 1) {
        std::memcpy(dc, c, sizeof(dc));
        c += 16;
        if (!a.lossless) {
            if constexpr (Q == Quant::Flat)
                lumaDC(dc, a.qp);
            else
                lumaDCScaled(dc, a.qp, a.ls[0]);
        }
    }
    if constexpr (sizeof(P) == 1) {
        if (!a.lossless) {
            const PairScale<Q> scale(a.qp, a.ls);
            if (Q == Quant::Scaled && scale.sh.left)
                intra16x16Residual<Q, true>(c, mb, step, mode, avail, dc, a.cbp, scale);
            else
                intra16x16Residual<Q, false>(c, mb, step, mode, avail, dc, a.cbp, scale);
            return;
        }
    }
    if (a.lossless) {
        alignas(16) C res[256] = {};
        for (int k = 0; k < 16; ++k) {
            C* r = res + kY4[k] * 16 + kX4[k];
            if (a.cbp & (2u << k)) {
                for (int y = 0; y < 4; ++y) std::memcpy(r + 16 * y, c + 4 * y, 4 * sizeof(C));
                c += 16;
            }
            r[0] = dc[kY4[k] + (kX4[k] >> 2)];
        }
        addLossless<16>(mb, step, res, 16, lumaDpcm(mode), a.bitDepth);
        return;
    }
    for (int k = 0; k < 16; k += 2) {
        P* blk = row(mb, step, kY4[k]) + kX4[k];
        const C* d = &dc[kY4[k] + (kX4[k] >> 2)];  // the pair's two DCs, adjacent in raster order
        const bool ac0 = a.cbp & (2u << k), ac1 = a.cbp & (4u << k);
        add4x4<Q>(blk, step, ac0 ? c : nullptr, d, ac0, a.qp, a.ls, a.bitDepth);
        add4x4<Q>(blk + 4, step, ac1 ? c + (ac0 ? 16 : 0) : nullptr, d + 1, ac1, a.qp, a.ls, a.bitDepth);
        c += (ac0 ? 16 : 0) + (ac1 ? 16 : 0);
    }
}

template <Quant Q, class C, class P>
void lumaInter4x4(const C*& c, P* mb, int step, const LumaParams& a) {
    if (sizeof(P) == 1 && !a.lossless) {
        // Pairs side by side; an absent block adds nothing.
        const PairScale<Q> scale(a.qp, a.ls);
        for (int k = 0; k < 16; k += 2) {
            const bool ac0 = a.cbp & (2u << k), ac1 = a.cbp & (4u << k);
            if (!ac0 && !ac1) continue;
            if constexpr (sizeof(P) == 1) {
                addPair<Q>(row(mb, step, kY4[k]) + kX4[k], step, ac0 ? c : kZeroLevels,
                           ac1 ? c + (ac0 ? 16 : 0) : kZeroLevels, nullptr, scale);
            }
            c += (ac0 ? 16 : 0) + (ac1 ? 16 : 0);
        }
        return;
    }
    for (int k = 0; k < 16; ++k) {
        if (!(a.cbp & (2u << k))) continue;
        P* blk = row(mb, step, kY4[k]) + kX4[k];
        if (a.lossless)
            addLossless<4>(blk, step, c, 4, kDpcmNone, a.bitDepth);
        else
            add4x4<Q>(blk, step, c, static_cast<const C*>(nullptr), true, a.qp, a.ls, a.bitDepth);
        c += 16;
    }
}

template <class C, class P>
void lumaInter8x8(const C*& c, P* mb, int step, const LumaParams& a) {
    for (int b = 0; b < 4; ++b) {
        if (!(a.cbp & (1u << b))) continue;
        P* blk = row(mb, step, 8 * (b >> 1)) + 8 * (b & 1);
        if (a.lossless)
            addLossless<8>(blk, step, c, 8, kDpcmNone, a.bitDepth);
        else
            add8x8(blk, step, c, a.qp, a.ls, a.bitDepth);
        c += 64;
    }
}

// ---------------------------------------------------------------- chroma macroblocks (8 x H per plane)

template <class P>
struct ChromaParams {
    P* plane[2];
    int step;
    Mox32u cbp;  // 4:2:0: cbp4x4 bits 17..26; 4:2:2: bits 0, 1 DC, 2..9 U AC, 10..17 V AC
    int qp[2];
    const Mox16s* ls[2];    // LevelScale (Scaled)
    const Mox16s* lsDC[2];  // 4:2:2 DC: LevelScale of (qp + 3) % 6
    bool bypass;            // lossless for a plane whose qp is 0
    int bitDepth;
};

template <int H>
struct ChromaBits {
    static constexpr int kBlocks = H / 2;  // 4x4 blocks (and DC levels) per plane
    static constexpr Mox32u kMask = H == 8 ? 0x7FE0000u : 0x3FFFFu;
    static constexpr int dc(int pl) { return H == 8 ? 17 + pl : pl; }
    static constexpr int ac(int pl, int b) { return H == 8 ? 19 + 4 * pl + b : 2 + 8 * pl + b; }
    // The DC bit and the AC bits of a plane.
    static constexpr Mox32u planeMask(int pl) { return (1u << dc(pl)) | (((1u << kBlocks) - 1) << ac(pl, 0)); }
};

// The residual of both planes added to the prediction in place: the U and V
// DC blocks, then U blocks and V blocks in raster order.
template <Quant Q, int H, class C, class P>
void chromaResidual(const C*& c, const ChromaParams<P>& a, int dpcm) {
    using Bits = ChromaBits<H>;
    constexpr int nb = Bits::kBlocks;
    if (!(a.cbp & Bits::kMask)) return;
    alignas(16) C dc[2][8] = {};
    for (int pl = 0; pl < 2; ++pl) {
        if (!(a.cbp >> Bits::dc(pl) & 1)) continue;
        std::memcpy(dc[pl], c, nb * sizeof(C));
        c += nb;
        if (a.bypass && a.qp[pl] == 0) {
            if constexpr (H == 16) {
                // Untransformed 4:2:2 DCs arrive in the 2x4 scan order.
                static constexpr int kCoded[8] = {0, 2, 1, 5, 3, 6, 4, 7};
                C t[8];
                for (int b = 0; b < 8; ++b) t[b] = dc[pl][kCoded[b]];
                std::memcpy(dc[pl], t, sizeof(t));
            }
        } else if constexpr (H == 16) {
            chromaDC2x4Scaled(dc[pl], a.qp[pl], a.lsDC[pl][0]);
        } else if constexpr (Q == Quant::Flat) {
            chromaDC2x2(dc[pl], a.qp[pl]);
        } else {
            chromaDC2x2Scaled(dc[pl], a.qp[pl], a.ls[pl][0]);
        }
    }
    for (int pl = 0; pl < 2; ++pl) {
        if (!(a.cbp & Bits::planeMask(pl))) continue;  // nothing coded: the plane stays as it is
        if (a.bypass && a.qp[pl] == 0) {
            alignas(16) C res[8 * H] = {};
            for (int b = 0; b < nb; ++b) {
                C* r = res + (b >> 1) * 32 + (b & 1) * 4;
                if (a.cbp >> Bits::ac(pl, b) & 1) {
                    for (int y = 0; y < 4; ++y) std::memcpy(r + 8 * y, c + 4 * y, 4 * sizeof(C));
                    c += 16;
                }
                r[0] = dc[pl][b];
            }
            addLossless<8>(a.plane[pl], a.step, res, H, dpcm, a.bitDepth);
            continue;
        }
        [[maybe_unused]] const PairScale<Q> scale(a.qp[pl], a.ls[pl]);
        for (int b = 0; b < nb; b += 2) {
            P* blk = row(a.plane[pl], a.step, 4 * (b >> 1));
            const bool ac0 = a.cbp >> Bits::ac(pl, b) & 1, ac1 = a.cbp >> Bits::ac(pl, b + 1) & 1;
            if constexpr (sizeof(P) == 1) {
                if (ac0 || ac1)
                    addPair<Q>(blk, a.step, ac0 ? c : kZeroLevels, ac1 ? c + (ac0 ? 16 : 0) : kZeroLevels, &dc[pl][b],
                               scale);
                else
                    addPairDC<Q>(blk, a.step, &dc[pl][b]);
            } else {
                add4x4<Q>(blk, a.step, ac0 ? c : nullptr, &dc[pl][b], ac0, a.qp[pl], a.ls[pl], a.bitDepth);
                add4x4<Q>(blk + 4, a.step, ac1 ? c + (ac0 ? 16 : 0) : nullptr, &dc[pl][b + 1], ac1, a.qp[pl], a.ls[pl],
                          a.bitDepth);
            }
            c += (ac0 ? 16 : 0) + (ac1 ? 16 : 0);
        }
    }
}

// Intra chroma (the mode can run): both planes predicted, then the residual.
template <Quant Q, int H, class C, class P>
void chromaIntra(const C*& c, const ChromaParams<P>& a, int mode, int edge, bool halves) {
    const PlanePredictor<P> predict = (H == 8 ? Predictors<P>::kChroma8 : Predictors<P>::kChroma16)[mode];
    int avail = availabilityChroma(edge, halves);
    predict(a.plane[0], a.step, avail, a.bitDepth);
    predict(a.plane[1], a.step, avail, a.bitDepth);
    chromaResidual<Q, H>(c, a, chromaDpcm(mode));
}

// ---------------------------------------------------------------- wrapper helpers

// The caller's coefficient stream: read from *pp, stored back on success.
template <class C>
struct Stream {
    C** pp;
    const C* c;
    explicit Stream(C** p) : pp(p), c(*p) {}
    MoxStatus done(MoxStatus st = moxStsNoErr) {
        *pp = const_cast<C*>(c);
        return st;
    }
};

inline bool modesOk(const Mox32u* modes, int n) {
    Mox32u bad = 0;
    for (int k = 0; k < n; ++k) bad |= modes[k] > 8 ? 1u : 0u;
    return bad == 0;
}

// Intra16x16 modes that need a macroblock the edge word excludes.
constexpr bool luma16x16Missing(Mox32u mode, int edge) {
    return (mode == 0 && (edge & 0x04)) || (mode == 1 && (edge & 0x01)) || (mode == 3 && (edge & 0x15));
}

// Chroma modes (DC, horizontal, vertical, plane) likewise; `left` holds the
// edge bits of the left column (0x03 when its halves have a bit each).
constexpr bool chromaMissing(Mox32u mode, int edge, int left = 0x01) {
    return (mode == 1 && (edge & left)) || (mode == 2 && (edge & 0x04)) || (mode == 3 && (edge & (0x14 | left)));
}

}  // namespace mox::h264::mb
