// Hadamard-transformed differences (SATD) and block variance.
//
// SATD of a block is the sum over its 4x4 tiles of the absolute coefficients
// of the unnormalised 4x4 Hadamard transform H d H of d = src - ref:
//   * the first horizontal stage happens at load time: pmaddubsw of 16
//     source bytes against (1, 1) and against (1, -1) pairs gives the sums
//     and the differences of neighbouring samples, and the same for the
//     reference is subtracted;
//   * the row stages are butterflies between registers (or register halves);
//   * the last horizontal stage pairs neighbouring lanes and is folded into
//     the absolute sum: |x + y| + |x - y| = 2 max(|x|, |y|).
// Each block size packs its rows into registers so that all lanes are used.
#include "core/check.h"
#include "me/simd.h"

namespace {

using namespace mox;

// The tile helpers are small pieces of one unrolled kernel.

MOX_INLINE __m128i zero() { return _mm_setzero_si128(); }

MOX_INLINE int sum32(__m128i v) {
    v = _mm_add_epi32(v, _mm_unpackhi_epi64(v, v));
    return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_shuffle_epi32(v, 1)));
}

// ----------------------------------------------------------------- SATD
//
// Index bits of a 4x4 tile: x0, x1 (column), y0, y1 (row). The transform is
// one butterfly stage per bit, in any order. Registers hold 16-bit lanes;
// each layout below says which index bit sits where.

// First stage (x0) for 16 source and reference bytes: p gets the sums of
// neighbouring samples, m their differences, of src - ref (8 lanes each).
MOX_INLINE void firstStage(__m128i s, __m128i r, __m128i& p, __m128i& m) {
    const __m128i plus = _mm_set1_epi8(1), minus = _mm_set1_epi16(static_cast<short>(0xFF01));
    p = _mm_sub_epi16(_mm_maddubs_epi16(s, plus), _mm_maddubs_epi16(r, plus));
    m = _mm_sub_epi16(_mm_maddubs_epi16(s, minus), _mm_maddubs_epi16(r, minus));
}

MOX_INLINE void butterfly(__m128i& a, __m128i& b) {
    __m128i t = _mm_add_epi16(a, b);
    b = _mm_sub_epi16(a, b);
    a = t;
}

// Last stage on neighbouring lanes (x1), folded into the absolute sum:
// |x + y| + |x - y| = 2 max(|x|, |y|). Even lanes get the max, odd lanes
// keep a leftover that the final sum ignores. Lanes stay below 2041.
MOX_INLINE __m128i maxPairs(__m128i v) {
    v = _mm_abs_epi16(v);
    return _mm_max_epi16(v, _mm_srli_epi32(v, 16));
}

// Finishes v before the blocks after it start: otherwise the compiler
// regroups a long sum of transformed blocks into one wide tree and keeps
// them all live until it runs out of registers.
MOX_INLINE void settle(__m128i& v) { asm volatile("" : "+x"(v)); }

// Twice the even lanes, as 32-bit lanes.
MOX_INLINE __m128i evenTwice(__m128i v) { return _mm_madd_epi16(v, _mm_set1_epi32(2)); }

// Rows in registers: register i holds row i (y0, y1 = register bits) of
// several tiles side by side, lanes (x1, tile, tile), for the sums or for
// the differences of the first stage.
MOX_INLINE __m128i rowsInRegisters(__m128i r0, __m128i r1, __m128i r2, __m128i r3) {
    butterfly(r0, r1);
    butterfly(r2, r3);
    butterfly(r0, r2);
    butterfly(r1, r3);
    return _mm_add_epi16(_mm_add_epi16(maxPairs(r0), maxPairs(r1)), _mm_add_epi16(maxPairs(r2), maxPairs(r3)));
}

// Two registers of p and m, a register bit for one row bit and the top lane
// bit (64-bit halves) for the other; lanes (x1, tile or nothing, row bit).
MOX_INLINE __m128i rowsSplit(__m128i p0, __m128i p1, __m128i m0, __m128i m1) {
    butterfly(p0, p1);
    butterfly(m0, m1);
    // Bring the halves together: lo = low halves, hi = high halves.
    __m128i pl = _mm_unpacklo_epi64(p0, p1), ph = _mm_unpackhi_epi64(p0, p1);
    __m128i ml = _mm_unpacklo_epi64(m0, m1), mh = _mm_unpackhi_epi64(m0, m1);
    butterfly(pl, ph);
    butterfly(ml, mh);
    return _mm_add_epi16(_mm_add_epi16(maxPairs(pl), maxPairs(ph)), _mm_add_epi16(maxPairs(ml), maxPairs(mh)));
}

MOX_INLINE __m128i load8x2(const Mox8u* a, const Mox8u* b) {
    return _mm_castps_si128(_mm_loadh_pi(_mm_castsi128_ps(simd::load<8>(a)), reinterpret_cast<const __m64*>(b)));
}

// Four 4-byte rows in one register.
MOX_INLINE __m128i load4x4(const Mox8u* a, const Mox8u* b, const Mox8u* c, const Mox8u* d) {
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(simd::load<4>(a), simd::load<4>(b)),
                              _mm_unpacklo_epi32(simd::load<4>(c), simd::load<4>(d)));
}

// The sums (Minus false) or differences (Minus true) of the first stage.
template <bool Minus>
MOX_INLINE __m128i firstHalf(__m128i s, __m128i r) {
    const __m128i k = Minus ? _mm_set1_epi16(static_cast<short>(0xFF01)) : _mm_set1_epi8(1);
    return _mm_sub_epi16(_mm_maddubs_epi16(s, k), _mm_maddubs_epi16(r, k));
}

// 16 wide, rows y..y+3: four tiles per register. The sums and the
// differences are transformed one after the other, loading the rows again
// for the second: cheaper than running out of registers.
template <bool Minus>
MOX_INLINE __m128i strip16x4Half(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    return rowsInRegisters(firstHalf<Minus>(simd::load<16>(s), simd::load<16>(r)),
                           firstHalf<Minus>(simd::load<16>(row(s, ss, 1)), simd::load<16>(row(r, rs, 1))),
                           firstHalf<Minus>(simd::load<16>(row(s, ss, 2)), simd::load<16>(row(r, rs, 2))),
                           firstHalf<Minus>(simd::load<16>(row(s, ss, 3)), simd::load<16>(row(r, rs, 3))));
}

MOX_INLINE __m128i strip16x4(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    return _mm_add_epi16(strip16x4Half<false>(s, ss, r, rs), strip16x4Half<true>(s, ss, r, rs));
}

// 8x4: registers hold rows (0, 2) and (1, 3).
MOX_INLINE __m128i block8x4(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    __m128i p0, p1, m0, m1;
    firstStage(load8x2(s, row(s, ss, 2)), load8x2(r, row(r, rs, 2)), p0, m0);
    firstStage(load8x2(row(s, ss, 1), row(s, ss, 3)), load8x2(row(r, rs, 1), row(r, rs, 3)), p1, m1);
    return rowsSplit(p0, p1, m0, m1);
}

// 4x8: registers hold rows (0, 4, 2, 6) and (1, 5, 3, 7).
MOX_INLINE __m128i block4x8(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    auto rows = [](const Mox8u* q, int st, int a) {
        return load4x4(row(q, st, a), row(q, st, a + 4), row(q, st, a + 2), row(q, st, a + 6));
    };
    __m128i p0, p1, m0, m1;
    firstStage(rows(s, ss, 0), rows(r, rs, 0), p0, m0);
    firstStage(rows(s, ss, 1), rows(r, rs, 1), p1, m1);
    return rowsSplit(p0, p1, m0, m1);
}

// 4x4: one register holds rows 0..3, lanes (x1, y0, y1); p and m give the
// register bit. The halves (y1) pair up across p and m, then y0 pairs lanes
// two apart within a register.
MOX_INLINE __m128i block4x4(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    __m128i p, m;
    firstStage(load4x4(s, row(s, ss, 1), row(s, ss, 2), row(s, ss, 3)),
               load4x4(r, row(r, rs, 1), row(r, rs, 2), row(r, rs, 3)), p, m);
    __m128i a = _mm_unpacklo_epi64(p, m), b = _mm_unpackhi_epi64(p, m);
    butterfly(a, b);
    const __m128i sign = _mm_set_epi16(-1, -1, 1, 1, -1, -1, 1, 1);
    a = _mm_add_epi16(_mm_sign_epi16(a, sign), _mm_shuffle_epi32(a, _MM_SHUFFLE(2, 3, 0, 1)));
    b = _mm_add_epi16(_mm_sign_epi16(b, sign), _mm_shuffle_epi32(b, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_add_epi16(maxPairs(a), maxPairs(b));
}

template <int W, int H>
int satd(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    if constexpr (W == 4 && H == 4) {
        return sum32(evenTwice(block4x4(s, ss, r, rs)));
    } else if constexpr (W == 4) {
        return sum32(evenTwice(block4x8(s, ss, r, rs)));
    } else if constexpr (H == 4) {
        return sum32(evenTwice(block8x4(s, ss, r, rs)));
    } else if constexpr (W == 8) {
        // Blocks of 8x4 (even lanes <= 4 * 2040 each).
        __m128i v = _mm_add_epi16(block8x4(s, ss, r, rs), block8x4(row(s, ss, 4), ss, row(r, rs, 4), rs));
        if constexpr (H == 16) {
            settle(v);
            v = _mm_add_epi16(v, block8x4(row(s, ss, 8), ss, row(r, rs, 8), rs));
            v = _mm_add_epi16(v, block8x4(row(s, ss, 12), ss, row(r, rs, 12), rs));
        }
        return sum32(evenTwice(v));
    } else {
        // Strips of 4 rows one at a time: unrolled further, the compiler runs
        // out of registers. The trip count is hidden from the optimiser,
        // which would otherwise peel the loop back into one block.
        int strips = H / 4;
        asm("" : "+r"(strips));
        __m128i acc = _mm_setzero_si128();
        for (; strips > 0; --strips, s = row(s, ss, 4), r = row(r, rs, 4))
            acc = _mm_add_epi32(acc, evenTwice(strip16x4(s, ss, r, rs)));
        return sum32(acc);
    }
}

// ----------------------------------------------------------------- variance

// Sums of squares of the 16 bytes of v as four 32-bit lanes: even and odd
// bytes are split into 16-bit lanes and squared with pmaddwd.
MOX_INLINE __m128i squares(__m128i v) {
    __m128i even = _mm_and_si128(v, _mm_set1_epi16(0xFF)), odd = _mm_srli_epi16(v, 8);
    return _mm_add_epi32(_mm_madd_epi16(even, even), _mm_madd_epi16(odd, odd));
}

void variance16x16(const Mox8u* p, int step, Mox32s* pVar) {
    __m128i s0 = zero(), s1 = zero(), q0 = zero(), q1 = zero();
    // Partly unrolled: fully unrolled, the compiler regroups the sums into
    // one wide tree and runs out of registers.
#pragma GCC unroll 2
    for (int y = 0; y < 16; y += 2, p = row(p, step, 2)) {
        __m128i v0 = simd::load<16>(p), v1 = simd::load<16>(row(p, step, 1));
        s0 = _mm_add_epi32(s0, _mm_sad_epu8(v0, zero()));
        s1 = _mm_add_epi32(s1, _mm_sad_epu8(v1, zero()));
        q0 = _mm_add_epi32(q0, squares(v0));
        q1 = _mm_add_epi32(q1, squares(v1));
    }
    __m128i sv = _mm_add_epi32(s0, s1);
    const uint32_t s = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(sv, _mm_unpackhi_epi64(sv, sv))));
    const int32_t q = sum32(_mm_add_epi32(q0, q1));
    // s * s wraps in 32 bits (s > 46340) and the division truncates toward zero.
    *pVar = q - static_cast<int32_t>(s * s) / 256;
}

// q / 64 - (s / 64)^2 in single precision, in this order, truncated.
inline int varFromSums(long long s, long long q) {
    const float m = static_cast<float>(s) / 64.0f;
    return static_cast<int>(static_cast<float>(q) / 64.0f - m * m);
}

void varSum8x8(const Mox8u* p, int step, Mox32s* pVar, Mox32s* pSum) {
    __m128i sv = zero(), qv = zero();
#pragma GCC unroll 4
    for (int y = 0; y < 8; y += 2) {
        __m128i v = _mm_unpacklo_epi64(simd::load<8>(row(p, step, y)), simd::load<8>(row(p, step, y + 1)));
        sv = _mm_add_epi32(sv, _mm_sad_epu8(v, zero()));
        qv = _mm_add_epi32(qv, squares(v));
    }
    const int s = _mm_cvtsi128_si32(_mm_add_epi32(sv, _mm_unpackhi_epi64(sv, sv)));
    *pVar = varFromSums(s, sum32(qv));
    *pSum = s;
}

// 16-bit samples: x * x + y * y from pmaddwd reaches 2^31, exact only as an
// unsigned 32-bit value, so the pair sums are widened to 64 bits (low and
// high dword halves accumulated apart) before adding rows.
void varSum8x8(const Mox16s* p, int step, Mox32s* pVar, Mox32s* pSum) {
    const __m128i ones = _mm_set1_epi16(1), low32 = _mm_set1_epi64x(0xFFFFFFFF);
    __m128i sv = zero(), qEven = zero(), qOdd = zero();
#pragma GCC unroll 4
    for (int y = 0; y < 8; ++y) {
        __m128i v = simd::load<16>(row(p, step, y));
        sv = _mm_add_epi32(sv, _mm_madd_epi16(v, ones));
        __m128i sq = _mm_madd_epi16(v, v);
        qEven = _mm_add_epi64(qEven, _mm_and_si128(sq, low32));
        qOdd = _mm_add_epi64(qOdd, _mm_srli_epi64(sq, 32));
    }
    __m128i qv = _mm_add_epi64(qEven, qOdd);
    qv = _mm_add_epi64(qv, _mm_unpackhi_epi64(qv, qv));
    const long long q = _mm_cvtsi128_si64(qv);
    const int s = sum32(sv);
    *pVar = varFromSums(s, q);
    *pSum = s;
}

}  // namespace

#define MOX_SATD(W, H)                                                                                   \
    MOX_FN moxiSATD##W##x##H##_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, \
                                         Mox32s* pSATD) {                                                \
        MOX_CHECK_PTRS(pSrc, pRef, pSATD);                                                               \
        *pSATD = satd<W, H>(pSrc, srcStep, pRef, refStep);                                               \
        return moxStsNoErr;                                                                              \
    }

MOX_SATD(4, 4)
MOX_SATD(4, 8)
MOX_SATD(8, 4)
MOX_SATD(8, 8)
MOX_SATD(8, 16)
MOX_SATD(16, 8)
MOX_SATD(16, 16)

MOX_FN moxiVariance16x16_8u32s(const Mox8u* pSrc, int srcStep, Mox32s* pVar) {
    MOX_CHECK_PTRS(pSrc, pVar);
    variance16x16(pSrc, srcStep, pVar);
    return moxStsNoErr;
}

// Both forms write the sum of the block, not its mean, to the fourth argument.
#define MOX_VAR8X8(NAME, T, OUT)                                              \
    MOX_FN NAME(const Mox##T* pSrc, int srcStep, Mox32s* pVar, Mox32s* OUT) { \
        MOX_CHECK_PTRS(pSrc, pVar, OUT);                                      \
        varSum8x8(pSrc, srcStep, pVar, OUT);                                  \
        return moxStsNoErr;                                                   \
    }

MOX_VAR8X8(moxiVarMean8x8_8u32s_C1R, 8u, pMean)
MOX_VAR8X8(moxiVarSum8x8_8u32s_C1R, 8u, pSum)
MOX_VAR8X8(moxiVarMean8x8_16s32s_C1R, 16s, pMean)
MOX_VAR8X8(moxiVarSum8x8_16s32s_C1R, 16s, pSum)
