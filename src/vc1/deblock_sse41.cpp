// VC-1 in-loop deblocking filter (SMPTE 421M clause 8.6), 8-bit, one edge
// of a luma (16 lines) or chroma (8 lines) block row or column per call.
//
// The filter works on the byte pairs (P1, P2), (P3, P4), (P5, P6), (P7, P8)
// of eight lines, one line per 16-bit lane. For a horizontal edge they come
// from unpacking the rows P1..P8; for a vertical one every line already
// holds them as its four words, so one 4 x 8 word transpose of the lines
// (each line one movq) gives them. The three edge measures
// 2 (Pa - Pd) - 5 (Pb - Pc) are pmaddubsw of the pairs with (2, -5) and
// (5, -2), in 16-bit lanes, rounded and shifted by one pmulhrsw; they
// saturate to bytes, where the decisions and the correction run on all
// 16 lines at once (natural order): the third line of each group of four
// gates its group (one pshufb, whose table also drops disabled groups) and
// P4, P5 move by at most |P4 - P5| / 2 towards each other, so byte
// arithmetic is exact. A vertical edge stores only the (P4, P5) word of
// each line.
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

// (m + 4) >> 3 of the pmaddubsw measure of pairs (x with 2, -5; y with 5, -2):
// pmulhrsw by 2^12 is (m 2^12 + 2^14) >> 15, the same rounding in one step.
MOX_INLINE __m128i measure(__m128i x, __m128i y) {
    const __m128i s = _mm_add_epi16(_mm_maddubs_epi16(x, taps8(2, -5)), _mm_maddubs_epi16(y, taps8(5, -2)));
    return _mm_mulhrs_epi16(s, _mm_set1_epi16(1 << 12));
}

// The samples of eight lines as byte pairs, one line per 16-bit lane:
// (P1, P2), (P3, P4), (P5, P6), (P7, P8).
struct Pairs {
    __m128i q12, q34, q56, q78;
};

// Per group of four lines, the byte of its third line for pshufb, or 0x80
// (zero) when bit g of the disabled flags turns group g off.
struct GateTable {
    alignas(16) Mox8u idx[16][16];
    constexpr GateTable() : idx() {
        for (int d = 0; d < 16; ++d)
            for (int i = 0; i < 16; ++i) idx[d][i] = static_cast<Mox8u>(d >> (i / 4) & 1 ? 0x80 : (i & ~3) + 2);
    }
};
constexpr GateTable kGate;

// Filters the lines of lo (and hi when N = 16), whose P4 and P5 bytes are p4
// and p5, one line per byte in order (N = 8: only bytes 0..7 hold lines);
// updates p4, p5 and returns false when no line changes. The measures a0,
// a1, a2 of 16 lines saturate to bytes: a line filters only when
// |a0| < PQUANT <= 31 and min(|a1|, |a2|) < |a0|, which saturation keeps.
template <int N>
MOX_INLINE bool filter(const Pairs& lo8, const Pairs& hi8, __m128i& p4, __m128i& p5, int pq, unsigned disabled) {
    auto both = [&](auto f) { return _mm_packs_epi16(f(lo8), N == 16 ? f(hi8) : f(lo8)); };
    const __m128i a0 = both([](const Pairs& q) { return measure(q.q34, q.q56); });
    const __m128i A1 = _mm_abs_epi8(both([](const Pairs& q) { return measure(q.q12, q.q34); }));
    const __m128i A2 = _mm_abs_epi8(both([](const Pairs& q) { return measure(q.q56, q.q78); }));
    const __m128i zero = _mm_setzero_si128();
    const __m128i A0 = _mm_abs_epi8(a0), a3 = _mm_min_epu8(A1, A2);  // 0..128, unsigned
    const __m128i small = _mm_cmpeq_epi8(_mm_subs_epu8(A0, _mm_set1_epi8(static_cast<char>(pq - 1))), zero);
    // |a0| - a3 where the line passes both tests (then at most 30), else 0.
    const __m128i diff = _mm_and_si128(_mm_subs_epu8(A0, a3), small);
    const __m128i down = _mm_subs_epu8(p4, p5), up = _mm_subs_epu8(p5, p4);
    // FILTER_OTHER_3_PIXELS: diff > 0 and clip = |P4 - P5| / 2 > 0, as
    // min(2 diff, |P4 - P5|) > 1; then gated by the group's third line.
    __m128i filt = _mm_cmpgt_epi8(_mm_min_epu8(_mm_add_epi8(diff, diff), _mm_or_si128(down, up)), _mm_set1_epi8(1));
    const __m128i gate = _mm_load_si128(reinterpret_cast<const __m128i*>(kGate.idx[disabled & 15]));
    filt = _mm_and_si128(filt, _mm_shuffle_epi8(filt, gate));
    if (_mm_testz_si128(filt, filt)) return false;
    // d = -sign(a0) 5 diff / 8 moves P4 and P5 towards each other by at most
    // |P4 - P5| / 2, and not at all when a0 and P4 - P5 have the same sign:
    // the clip is |P4 - P5| / 2 on the side a0 points to, 0 on the other.
    const __m128i low7 = _mm_set1_epi8(0x7F);
    const __m128i clip = _mm_and_si128(_mm_srli_epi16(_mm_blendv_epi8(up, down, a0), 1), low7);
    const __m128i five = _mm_add_epi8(_mm_slli_epi16(diff, 2), diff);  // at most 150, no carry
    const __m128i mag = _mm_and_si128(_mm_srli_epi16(five, 3), _mm_set1_epi8(0x1F));
    const __m128i m = _mm_sign_epi8(_mm_and_si128(_mm_min_epu8(mag, clip), filt), a0);  // -d
    p4 = _mm_add_epi8(p4, m);
    p5 = _mm_sub_epi8(p5, m);
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
