// VC-1 in-loop deblocking filter (SMPTE 421M clause 8.6), 8-bit, one edge
// of a luma (16 lines) or chroma (8 lines) block row or column per call.
//
// The samples P1..P8 of 16 lines across the edge sit in eight byte
// registers (rows loaded directly for a horizontal edge; for a vertical one
// rows i and i + 8 are paired bytewise and one 16-bit transpose gives every
// column with the lines in the order 0, 8, 1, 9, ...). The three edge
// measures 2 (Pa - Pd) - 5 (Pb - Pc) are pmaddubsw of the byte pairs
// (P1, P2), (P3, P4), (P5, P6), (P7, P8) with (2, -5) and (5, -2), in 16-bit
// lanes; decisions and the correction go back to bytes, where the third
// line of each group of four gates its group (one pshufb) and P4, P5 move by
// at most |P4 - P5| / 2 towards each other, so byte arithmetic is exact.
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/pixel.h"
#include "me/simd.h"
#include "vc1/transform_simd.h"

namespace {

using namespace mox;

// Everything is inlined into one kernel per edge, loops unrolled, so the
// sixteen lines stay in registers.
#define MOX_VC1_INLINE inline __attribute__((always_inline))

inline __m128i taps8(int a, int b) {
    return _mm_set1_epi16(static_cast<short>((static_cast<unsigned>(b) << 8) | (static_cast<unsigned>(a) & 0xFFu)));
}

// Line order of the 16 bytes: natural (horizontal edge) or 0, 8, 1, 9, ...
// (vertical edge). Group of each byte and the byte of its group's third line.
struct Natural {
    static __m128i third() { return _mm_setr_epi8(2, 2, 2, 2, 6, 6, 6, 6, 10, 10, 10, 10, 14, 14, 14, 14); }
    static __m128i groupBits() { return _mm_setr_epi8(1, 1, 1, 1, 2, 2, 2, 2, 4, 4, 4, 4, 8, 8, 8, 8); }
};
struct Paired {
    static __m128i third() { return _mm_setr_epi8(4, 5, 4, 5, 4, 5, 4, 5, 12, 13, 12, 13, 12, 13, 12, 13); }
    static __m128i groupBits() { return _mm_setr_epi8(1, 4, 1, 4, 1, 4, 1, 4, 2, 8, 2, 8, 2, 8, 2, 8); }
};

// (m + 4) >> 3 of the pmaddubsw measure of pairs (x with 2, -5; y with 5, -2).
MOX_VC1_INLINE __m128i measure(__m128i x, __m128i y) {
    const __m128i s = _mm_add_epi16(_mm_maddubs_epi16(x, taps8(2, -5)), _mm_maddubs_epi16(y, taps8(5, -2)));
    return _mm_srai_epi16(_mm_add_epi16(s, _mm_set1_epi16(4)), 3);
}

struct Half {
    __m128i a0, filt, mag;  // a0; |a0| < pq and min(|a1|, |a2|) < |a0|; 5 (|a0| - a3) >> 3
};

template <bool HI>
MOX_VC1_INLINE Half half(const __m128i P[8], __m128i pq) {
    auto pair = [](__m128i a, __m128i b) { return HI ? _mm_unpackhi_epi8(a, b) : _mm_unpacklo_epi8(a, b); };
    const __m128i q12 = pair(P[0], P[1]), q34 = pair(P[2], P[3]), q56 = pair(P[4], P[5]), q78 = pair(P[6], P[7]);
    Half h;
    h.a0 = measure(q34, q56);
    const __m128i A0 = _mm_abs_epi16(h.a0);
    const __m128i a3 = _mm_min_epi16(_mm_abs_epi16(measure(q12, q34)), _mm_abs_epi16(measure(q56, q78)));
    h.filt = _mm_and_si128(_mm_cmpgt_epi16(pq, A0), _mm_cmpgt_epi16(A0, a3));
    const __m128i diff = _mm_sub_epi16(A0, a3);
    h.mag = _mm_srli_epi16(_mm_add_epi16(_mm_slli_epi16(diff, 2), diff), 3);
    return h;
}

// Filters the lines of P (N = 8: only bytes 0..7 hold lines); updates P[3], P[4].
template <class Order, int N>
MOX_VC1_INLINE bool filter(__m128i P[8], int pq, unsigned disabled) {
    const __m128i q = _mm_set1_epi16(static_cast<short>(pq));
    const Half lo = half<false>(P, q);
    const Half hi = N == 16 ? half<true>(P, q) : lo;
    const __m128i p4 = P[3], p5 = P[4];
    const __m128i down = _mm_subs_epu8(p4, p5), up = _mm_subs_epu8(p5, p4);
    const __m128i zero = _mm_setzero_si128();
    const __m128i gt = _mm_xor_si128(_mm_cmpeq_epi8(down, zero), _mm_set1_epi8(-1));  // P4 > P5
    const __m128i clip = _mm_and_si128(_mm_srli_epi16(_mm_or_si128(down, up), 1), _mm_set1_epi8(0x7F));
    // FILTER_OTHER_3_PIXELS of every line, then gated by its group's third line.
    __m128i filt = _mm_andnot_si128(_mm_cmpeq_epi8(clip, zero), _mm_packs_epi16(lo.filt, hi.filt));
    filt = _mm_and_si128(filt, _mm_shuffle_epi8(filt, Order::third()));
    // d applies only when a0 and P4 - P5 differ in sign; groups may be disabled.
    const __m128i a0neg = _mm_cmpgt_epi8(zero, _mm_packs_epi16(lo.a0, hi.a0));
    const __m128i enabled = _mm_cmpeq_epi8(_mm_and_si128(Order::groupBits(), _mm_set1_epi8(static_cast<char>(disabled))), zero);
    const __m128i mask = _mm_and_si128(_mm_andnot_si128(_mm_xor_si128(a0neg, gt), filt), enabled);
    if (_mm_testz_si128(mask, mask)) return false;
    const __m128i m = _mm_and_si128(_mm_min_epu8(_mm_packus_epi16(lo.mag, hi.mag), clip), mask);
    P[3] = _mm_blendv_epi8(_mm_add_epi8(p4, m), _mm_sub_epi8(p4, m), gt);
    P[4] = _mm_blendv_epi8(_mm_sub_epi8(p5, m), _mm_add_epi8(p5, m), gt);
    return true;
}

// Horizontal edge between rows -1 and 0, N (8 or 16) columns.
template <int N>
void horEdge(Mox8u* p, int step, int pq, unsigned disabled) {
    __m128i P[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) P[i] = simd::load<N>(row(p, step, i - 4));
    if (!filter<Natural, N>(P, pq, disabled)) return;
    simd::store<N>(row(p, step, -1), P[3]);
    simd::store<N>(p, P[4]);
}

// Vertical edge between columns -1 and 0, N (8 or 16) rows.
template <int N>
void verEdge(Mox8u* p, int step, int pq, unsigned disabled) {
    __m128i a[8], P[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        const __m128i upper = simd::load<8>(row(p, step, i) - 4);
        a[i] = _mm_unpacklo_epi8(upper, N == 16 ? simd::load<8>(row(p, step, i + 8) - 4) : _mm_setzero_si128());
    }
    vc1::transpose8(a, P);
    // Lines 8..15 of a chroma edge are zeros: never filtered.
    if (!filter<Paired, 16>(P, pq, disabled)) return;
    // (P4, P5) of lines 0, 8, 1, 9, 2, 10, 3, 11, then 4, 12, ... 7, 15.
    alignas(16) uint16_t out[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(P[3], P[4]));
    _mm_store_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(P[3], P[4]));
#pragma GCC unroll 8
    for (int k = 0; k < 16; k += 2) {
        const int line = (k >> 3) * 4 + ((k & 7) >> 1);
        std::memcpy(row(p, step, line) - 1, &out[k], 2);
        if (N == 16) std::memcpy(row(p, step, line + 8) - 1, &out[k + 1], 2);
    }
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
