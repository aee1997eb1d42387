// Shared pieces of the deblocking kernels: edge thresholds in the "at most"
// form used by the SIMD line tests, and the bS 4 luma filter for 8- and
// 16-bit samples.
#pragma once

#include <algorithm>
#include <cstdint>

namespace mox::deblock {

// |d| < alpha is tested as |d| <= am1; an edge with alpha or beta 0 filters
// no line (off). maxSample is the largest sample value of the kernel's lanes:
// thresholds above it pass every line, so they are capped without changing
// any result.
struct Limits {
    int am1, bm1, sm1;  // alpha - 1, beta - 1, (alpha >> 2) + 1 (the strong luma test)
    bool off;
};

// Some strength byte of the four is 4.
inline bool hasStrong(uint32_t b4) {
    const uint32_t y = b4 ^ 0x04040404u;
    return ((y - 0x01010101u) & ~y & 0x80808080u) != 0;
}

// Every strength byte of the four is 0 or 4.
inline bool onlyStrong(uint32_t b4) { return (b4 & ~0x04040404u) == 0; }

inline Limits limits(uint32_t alpha, uint32_t beta, uint32_t maxSample = 255) {
    Limits l;
    l.off = alpha == 0 || beta == 0;
    l.am1 = static_cast<int>(std::min(alpha - 1, maxSample));
    l.bm1 = static_cast<int>(std::min(beta - 1, maxSample));
    l.sm1 = static_cast<int>(std::min((alpha >> 2) + 1, maxSample));
    return l;
}

}  // namespace mox::deblock

#include <smmintrin.h>

namespace mox::deblock {

// Lane arithmetic of one sample width: 8-bit samples in 16 byte lanes or
// 16-bit samples in 8 word lanes. avg is the rounding-up average (pavgb,
// pavgw), exact at either width.
struct Bytes {
    static __m128i avg(__m128i a, __m128i b) { return _mm_avg_epu8(a, b); }
    static __m128i subs(__m128i a, __m128i b) { return _mm_subs_epu8(a, b); }
    static __m128i max(__m128i a, __m128i b) { return _mm_max_epu8(a, b); }
    static __m128i isZero(__m128i a) { return _mm_cmpeq_epi8(a, _mm_setzero_si128()); }
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi8(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi8(a, b); }
    static __m128i set(int k) { return _mm_set1_epi8(static_cast<char>(k)); }
    // floor((a + b) / 2).
    static __m128i avgDown(__m128i a, __m128i b) { return sub(avg(a, b), _mm_and_si128(_mm_xor_si128(a, b), set(1))); }
};
struct Words {
    static __m128i avg(__m128i a, __m128i b) { return _mm_avg_epu16(a, b); }
    static __m128i subs(__m128i a, __m128i b) { return _mm_subs_epu16(a, b); }
    static __m128i max(__m128i a, __m128i b) { return _mm_max_epu16(a, b); }
    static __m128i isZero(__m128i a) { return _mm_cmpeq_epi16(a, _mm_setzero_si128()); }
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    static __m128i set(int k) { return _mm_set1_epi16(static_cast<short>(k)); }
    static __m128i avgDown(__m128i a, __m128i b) { return sub(avg(a, b), _mm_and_si128(_mm_xor_si128(a, b), set(1))); }
};

// |a - b| and the lanes where x <= t (unsigned).
template <class O>
inline __attribute__((always_inline)) __m128i absDiff(__m128i a, __m128i b) {
    return _mm_or_si128(O::subs(a, b), O::subs(b, a));
}
template <class O>
inline __attribute__((always_inline)) __m128i atMost(__m128i x, __m128i t) {
    return O::isZero(O::subs(x, t));
}

// The line filter mask: active lanes with |p0-q0| < alpha, |p1-p0| < beta,
// |q1-q0| < beta (both beta tests on the larger difference; the excesses
// over the limits are zero together). Lanes holds am1, bm1 (alpha - 1,
// beta - 1) and active in each lane.
template <class O, class Lanes>
inline __attribute__((always_inline)) __m128i lineMask(__m128i p1, __m128i p0, __m128i q0, __m128i q1,
                                                        const Lanes& L) {
    const __m128i overB = O::subs(O::max(absDiff<O>(p1, p0), absDiff<O>(q1, q0)), L.bm1);
    const __m128i overA = O::subs(absDiff<O>(p0, q0), L.am1);
    return _mm_and_si128(L.active, O::isZero(_mm_or_si128(overA, overB)));
}

// The tests of lines without strength 4: filt, the lines that filter, and
// ap, aq within them (|p2 - p0| < beta, |q2 - q0| < beta); false when no
// line filters.
template <class O, class Lanes>
inline __attribute__((always_inline)) bool normalTests(__m128i p2, __m128i p1, __m128i p0, __m128i q0, __m128i q1,
                                                        __m128i q2, const Lanes& L, __m128i& filt, __m128i& ap,
                                                        __m128i& aq) {
    filt = lineMask<O>(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    ap = _mm_and_si128(atMost<O>(absDiff<O>(p2, p0), L.bm1), filt);
    aq = _mm_and_si128(atMost<O>(absDiff<O>(q2, q0), L.bm1), filt);
    return true;
}

// (S + c) >> N from an estimate e that is that value or one more, and
// s = S + c modulo the lane width: bit 0 of the result is bit N of s (N <= 7),
// so e drops by one where its bit 0 disagrees.
template <class O, int N>
inline __attribute__((always_inline)) __m128i settle(__m128i e, __m128i s) {
    return O::sub(e, _mm_and_si128(_mm_xor_si128(e, _mm_srli_epi16(s, N)), O::set(1)));
}

// The three bS 4 luma outputs of one side of an edge (H.264 clause 8.7.2.4),
// with x3..x1 that side's samples p3..p1 (or q3..q1) and the terms shared by
// both sides: a0 = avg(p0, q0), s0 = p0 + q0, g = avg(avg(p1, q1), a0) and
// s2 = p1 + q1 + p0 + q0 (sums modulo the lane width). Each output is
// estimated with averages that round up at most once too far and then
// settled with the low bits of its exact sum (x0, y0, y1 = p0, q0, q1 on the
// p side):
//   x1' = (x2 + x1 + x0 + y0 + 2) >> 2          ~ avg(avg(x2, x1), a0)
//   x0' = (x2 + 2x1 + 2x0 + 2y0 + y1 + 4) >> 3  ~ avg(x1', g)
//   x2' = (2x3 + 3x2 + x1 + x0 + y0 + 4) >> 3   ~ avg(avg(x3, x2), x1')
template <class O>
inline __attribute__((always_inline)) void strongSide(__m128i x3, __m128i x2, __m128i x1, __m128i a0, __m128i s0,
                                                       __m128i g, __m128i s2, __m128i& o2, __m128i& o1, __m128i& o0) {
    const __m128i s1 = O::add(O::add(x2, x1), s0);
    o1 = settle<O, 2>(O::avg(O::avg(x2, x1), a0), O::add(s1, O::set(2)));
    o0 = settle<O, 3>(O::avg(o1, g), O::add(O::add(s1, s2), O::set(4)));
    const __m128i x32 = O::add(x3, x2);
    o2 = settle<O, 3>(O::avg(O::avg(x3, x2), o1), O::add(O::add(O::add(x32, x32), s1), O::set(4)));
}

// The bS 4 luma filter on the lines v[0..7] = p3..q3 (unchanged in the
// strong lanes): sp / sq select the lines whose p / q side takes the strong
// outputs, strong the lines filtered with bS 4 at all (the others of those
// take the weak p0' = (2 p1 + p0 + q1 + 2) >> 2 = avg(p1, floor((p0 + q1) / 2)),
// and q0' alike). p and q sides run one after the other.
template <class O>
inline __attribute__((always_inline)) void strongLuma(__m128i* v, __m128i sp, __m128i sq, __m128i strong) {
    const __m128i p1 = v[2], p0 = v[3], q0 = v[4], q1 = v[5];
    const __m128i a0 = O::avg(p0, q0), s0 = O::add(p0, q0);
    const __m128i g = O::avg(O::avg(p1, q1), a0), s2 = O::add(O::add(p1, q1), s0);
    __m128i o2, o1, o0;
    strongSide<O>(v[0], v[1], p1, a0, s0, g, s2, o2, o1, o0);
    v[1] = _mm_blendv_epi8(v[1], o2, sp);
    v[2] = _mm_blendv_epi8(p1, o1, sp);
    v[3] = _mm_blendv_epi8(p0, _mm_blendv_epi8(O::avg(p1, O::avgDown(p0, q1)), o0, sp), strong);
    strongSide<O>(v[7], v[6], q1, a0, s0, g, s2, o2, o1, o0);
    v[6] = _mm_blendv_epi8(v[6], o2, sq);
    v[5] = _mm_blendv_epi8(q1, o1, sq);
    v[4] = _mm_blendv_epi8(q0, _mm_blendv_epi8(O::avg(q1, O::avgDown(q0, p1)), o0, sq), strong);
}


// Luma filter of lines that all have strength 4 (or 0) over v = p3..q3;
// false when no line changed. Lanes also holds sm1 ((alpha >> 2) + 1).
template <class O, class Lanes>
inline __attribute__((always_inline)) bool lumaStrong(__m128i v[8], const Lanes& L) {
    const __m128i filt = lineMask<O>(v[2], v[3], v[4], v[5], L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i small = _mm_and_si128(atMost<O>(absDiff<O>(v[3], v[4]), L.sm1), filt);
    const __m128i sp = _mm_and_si128(atMost<O>(absDiff<O>(v[1], v[3]), L.bm1), small);
    const __m128i sq = _mm_and_si128(atMost<O>(absDiff<O>(v[6], v[4]), L.bm1), small);
    strongLuma<O>(v, sp, sq, filt);
    return true;
}

}  // namespace mox::deblock
