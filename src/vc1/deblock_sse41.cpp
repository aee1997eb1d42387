// VC-1 in-loop deblocking filter (SMPTE 421M clause 8.6), 8-bit, one edge
// of a luma (16 lines) or chroma (8 lines) block row or column per call.
//
// The filter works on the byte pairs (P1, P2), (P3, P4), (P5, P6), (P7, P8)
// of eight lines, one line per 16-bit lane. For a horizontal edge they come
// from unpacking the rows P1..P8; for a vertical one every line already
// holds them as its four words, so one 4 x 8 word transpose of the lines
// (each line one movq) gives them. The three edge measures
// 2 (Pa - Pd) - 5 (Pb - Pc) are pmaddubsw of the pairs with (2, -5) and
// (5, -2), in 16-bit lanes; decisions and the correction go back to bytes
// (16 lines, natural order), where the third line of each group of four
// gates its group (one pshufb) and P4, P5 move by at most |P4 - P5| / 2
// towards each other, so byte arithmetic is exact. A vertical edge stores
// only the (P4, P5) word of each line.
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"

namespace {

using namespace mox;

// Everything is inlined into one kernel per edge, loops unrolled, so the
// sixteen lines stay in registers.

inline __m128i taps8(int a, int b) {
    return _mm_set1_epi16(static_cast<short>((static_cast<unsigned>(b) << 8) | (static_cast<unsigned>(a) & 0xFFu)));
}

// (m + 4) >> 3 of the pmaddubsw measure of pairs (x with 2, -5; y with 5, -2).
MOX_INLINE __m128i measure(__m128i x, __m128i y) {
    const __m128i s = _mm_add_epi16(_mm_maddubs_epi16(x, taps8(2, -5)), _mm_maddubs_epi16(y, taps8(5, -2)));
    return _mm_srai_epi16(_mm_add_epi16(s, _mm_set1_epi16(4)), 3);
}

struct Half {
    __m128i a0, filt, mag;  // a0; |a0| < pq and min(|a1|, |a2|) < |a0|; 5 (|a0| - a3) >> 3
};

// The samples of eight lines as byte pairs, one line per 16-bit lane:
// (P1, P2), (P3, P4), (P5, P6), (P7, P8).
struct Pairs {
    __m128i q12, q34, q56, q78;
};

MOX_INLINE Half half(const Pairs& q, __m128i pq) {
    Half h;
    h.a0 = measure(q.q34, q.q56);
    const __m128i A0 = _mm_abs_epi16(h.a0);
    const __m128i a3 = _mm_min_epi16(_mm_abs_epi16(measure(q.q12, q.q34)), _mm_abs_epi16(measure(q.q56, q.q78)));
    h.filt = _mm_and_si128(_mm_cmpgt_epi16(pq, A0), _mm_cmpgt_epi16(A0, a3));
    const __m128i diff = _mm_sub_epi16(A0, a3);
    h.mag = _mm_srli_epi16(_mm_add_epi16(_mm_slli_epi16(diff, 2), diff), 3);
    return h;
}

// Filters the lines of lo (and hi when N = 16), whose P4 and P5 bytes are p4
// and p5, one line per byte in order (N = 8: only bytes 0..7 hold lines);
// updates p4, p5 and returns false when no line changes.
template <int N>
MOX_INLINE bool filter(const Pairs& lo8, const Pairs& hi8, __m128i& p4, __m128i& p5, int pq, unsigned disabled) {
    const __m128i q = _mm_set1_epi16(static_cast<short>(pq));
    const Half lo = half(lo8, q);
    const Half hi = N == 16 ? half(hi8, q) : lo;
    const __m128i down = _mm_subs_epu8(p4, p5), up = _mm_subs_epu8(p5, p4);
    const __m128i zero = _mm_setzero_si128();
    const __m128i gt = _mm_xor_si128(_mm_cmpeq_epi8(down, zero), _mm_set1_epi8(-1));  // P4 > P5
    const __m128i clip = _mm_and_si128(_mm_srli_epi16(_mm_or_si128(down, up), 1), _mm_set1_epi8(0x7F));
    // FILTER_OTHER_3_PIXELS of every line, then gated by its group's third line.
    __m128i filt = _mm_andnot_si128(_mm_cmpeq_epi8(clip, zero), _mm_packs_epi16(lo.filt, hi.filt));
    // The byte of each group's third line, and the bit of each byte's group.
    const __m128i third = _mm_setr_epi8(2, 2, 2, 2, 6, 6, 6, 6, 10, 10, 10, 10, 14, 14, 14, 14);
    const __m128i groupBits = _mm_setr_epi8(1, 1, 1, 1, 2, 2, 2, 2, 4, 4, 4, 4, 8, 8, 8, 8);
    filt = _mm_and_si128(filt, _mm_shuffle_epi8(filt, third));
    // d applies only when a0 and P4 - P5 differ in sign; groups may be disabled.
    const __m128i a0neg = _mm_cmpgt_epi8(zero, _mm_packs_epi16(lo.a0, hi.a0));
    const __m128i enabled = _mm_cmpeq_epi8(_mm_and_si128(groupBits, _mm_set1_epi8(static_cast<char>(disabled))), zero);
    const __m128i mask = _mm_and_si128(_mm_andnot_si128(_mm_xor_si128(a0neg, gt), filt), enabled);
    if (_mm_testz_si128(mask, mask)) return false;
    const __m128i m = _mm_and_si128(_mm_min_epu8(_mm_packus_epi16(lo.mag, hi.mag), clip), mask);
    const __m128i n4 = _mm_blendv_epi8(_mm_add_epi8(p4, m), _mm_sub_epi8(p4, m), gt);
    p5 = _mm_blendv_epi8(_mm_sub_epi8(p5, m), _mm_add_epi8(p5, m), gt);
    p4 = n4;
    return true;
}

// Byte pairs of the rows P[0..7] (bytes 0..7 when HI is false, 8..15 when true).
template <bool HI>
MOX_INLINE Pairs pairsOf(const __m128i P[8]) {
    auto pair = [](__m128i a, __m128i b) { return HI ? _mm_unpackhi_epi8(a, b) : _mm_unpacklo_epi8(a, b); };
    return {pair(P[0], P[1]), pair(P[2], P[3]), pair(P[4], P[5]), pair(P[6], P[7])};
}

// Horizontal edge between rows -1 and 0, N (8 or 16) columns.
template <int N>
MOX_INLINE void horEdge(Mox8u* p, int step, int pq, unsigned disabled) {
    __m128i P[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) P[i] = simd::load<N>(row(p, step, i - 4));
    const Pairs lo = pairsOf<false>(P);
    if (!filter<N>(lo, N == 16 ? pairsOf<true>(P) : lo, P[3], P[4], pq, disabled)) return;
    simd::store<N>(row(p, step, -1), P[3]);
    simd::store<N>(p, P[4]);
}

// Columns -4..3 of lines `first`..`first` + 7 as byte pairs: each line is
// four 16-bit words (P1, P2) .. (P7, P8), so a 4 x 8 word transpose of the
// lines gives the pairs with no byte shuffle. Each line is loaded alone
// (movq) and its words interleaved with the next line's (punpcklwd), which
// needs no register copy: pairs of lines, then (punpck*dq) words 0 | 1 and
// 2 | 3 of four lines, then (punpck*qdq) of eight.
template <int N>
MOX_INLINE Pairs columnPairs(const RowQuads<Mox8u, N>& rows, int first) {
    __m128i a[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
        a[k] = _mm_unpacklo_epi16(simd::load<8>(rows(first + 2 * k) - 4), simd::load<8>(rows(first + 2 * k + 1) - 4));
    const __m128i w01a = _mm_unpacklo_epi32(a[0], a[1]), w23a = _mm_unpackhi_epi32(a[0], a[1]);
    const __m128i w01b = _mm_unpacklo_epi32(a[2], a[3]), w23b = _mm_unpackhi_epi32(a[2], a[3]);
    return {_mm_unpacklo_epi64(w01a, w01b), _mm_unpackhi_epi64(w01a, w01b), _mm_unpacklo_epi64(w23a, w23b),
            _mm_unpackhi_epi64(w23a, w23b)};
}

// Word K of v (one pextrw) to p.
template <int K>
MOX_INLINE void storeWord(Mox8u* p, __m128i v) {
    const uint16_t w = static_cast<uint16_t>(_mm_extract_epi16(v, K));
    std::memcpy(p, &w, 2);
}

// Word k of lo to columns -1, 0 of line k, and for N = 16 word k of hi to line k + 8.
template <int N, int... K>
MOX_INLINE void storeEdgeWords(const RowQuads<Mox8u, N / 4>& rows, __m128i lo, __m128i hi,
                               std::integer_sequence<int, K...>) {
    (storeWord<K>(rows(K) - 1, lo), ...);
    if constexpr (N == 16) (storeWord<K>(rows(K + 8) - 1, hi), ...);
}

// Vertical edge between columns -1 and 0, N (8 or 16) rows.
template <int N>
MOX_INLINE void verEdge(Mox8u* p, int step, int pq, unsigned disabled) {
    const RowQuads<Mox8u, N / 4> rows(p, step);
    const Pairs lo = columnPairs(rows, 0);
    const Pairs hi = N == 16 ? columnPairs(rows, 8) : lo;
    // P4 is the high byte of (P3, P4), P5 the low byte of (P5, P6).
    // Chroma: bytes 8..15 zero, never filtered.
    const __m128i low = _mm_set1_epi16(0xFF), zero = _mm_setzero_si128();
    __m128i p4 = _mm_packus_epi16(_mm_srli_epi16(lo.q34, 8), N == 16 ? _mm_srli_epi16(hi.q34, 8) : zero);
    __m128i p5 = _mm_packus_epi16(_mm_and_si128(lo.q56, low), N == 16 ? _mm_and_si128(hi.q56, low) : zero);
    if (!filter<N>(lo, hi, p4, p5, pq, disabled)) return;
    // (P4, P5) of lines 0..7, 8..15, each store addressed from the four
    // bases again rather than through sixteen row pointers kept from the loads.
    storeEdgeWords<N>(rows.laundered(), _mm_unpacklo_epi8(p4, p5), _mm_unpackhi_epi8(p4, p5),
                      std::make_integer_sequence<int, 8>());
}

// PQUANT of the picture, 1..31.
inline bool pquantOk(int pq) { return pq >= 1 && pq <= 31; }

}  // namespace

#define MOX_VC1_DEBLOCK(PLANE, DIR, N, KERNEL)                                                                         \
    MOX_FN moxiFilterDeblocking##PLANE##_##DIR##_VC1_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s pQuant,       \
                                                              Mox32u edgeDisabledFlag) {                               \
        MOX_CHECK_PTRS(pSrcDst);                                                                                        \
        MOX_CHECK(pquantOk(pQuant), moxStsOutOfRangeErr);                                                               \
        KERNEL<N>(pSrcDst, srcdstStep, pQuant, edgeDisabledFlag);                                                       \
        return moxStsNoErr;                                                                                             \
    }

MOX_VC1_DEBLOCK(Luma, VerEdge, 16, verEdge)
MOX_VC1_DEBLOCK(Luma, HorEdge, 16, horEdge)
MOX_VC1_DEBLOCK(Chroma, VerEdge, 8, verEdge)
MOX_VC1_DEBLOCK(Chroma, HorEdge, 8, horEdge)
