// H.264 in-loop deblocking filters on 16-bit samples (any bit depth up to 16).
//
// Lanes are 16-bit lines; line tests and the averaging filters stay in 16 bits
// (pavgw is exact), the normal filter's delta and the strong filter's sums are
// formed in 32 bits. Vertical edges go through 8x8 transposes of 16-bit words.
#include <cstring>

#include "core/check.h"
#include "h264/deblock_simd.h"
#include "me/simd.h"

namespace {

using namespace mox;
using namespace mox::deblock;

#define MOX_INLINE inline __attribute__((always_inline))

MOX_INLINE __m128i absDiff(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }
MOX_INLINE __m128i atMost(__m128i x, __m128i t) { return _mm_cmpeq_epi16(_mm_subs_epu16(x, t), _mm_setzero_si128()); }
MOX_INLINE __m128i avgDown(__m128i a, __m128i b) {
    return _mm_sub_epi16(_mm_avg_epu16(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi16(1)));
}

struct Lanes {
    __m128i am1, bm1, sm1, tc0, active, strong, maxv;
};

// bsv: one strength byte per byte of the lane (both bytes equal); tc0 one word per lane.
MOX_INLINE Lanes lanes(__m128i bsv, __m128i tc0, const Limits& l, __m128i maxv) {
    Lanes L;
    L.am1 = _mm_set1_epi16(static_cast<short>(l.am1));
    L.bm1 = _mm_set1_epi16(static_cast<short>(l.bm1));
    L.sm1 = _mm_set1_epi16(static_cast<short>(l.sm1));
    L.tc0 = tc0;
    L.active = _mm_xor_si128(_mm_cmpeq_epi16(bsv, _mm_setzero_si128()), _mm_set1_epi16(-1));
    L.strong = _mm_cmpeq_epi16(bsv, _mm_set1_epi8(4));
    L.maxv = maxv;
    return L;
}

MOX_INLINE __m128i lineMask(__m128i p1, __m128i p0, __m128i q0, __m128i q1, const Lanes& L) {
    const __m128i m = _mm_and_si128(atMost(absDiff(p1, p0), L.bm1), atMost(absDiff(q1, q0), L.bm1));
    return _mm_and_si128(_mm_and_si128(L.active, atMost(absDiff(p0, q0), L.am1)), m);
}

// p0 += delta, q0 -= delta with delta = ((q0 - p0) * 4 + (p1 - q1) + 4) >> 3
// limited to +-tc, where `mask` is set and delta is not 0; results clamp to 0..maxv.
MOX_INLINE void applyDelta(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, __m128i tc, __m128i mask,
                           __m128i maxv) {
    const __m128i zero = _mm_setzero_si128();
    auto delta = [](__m128i P1, __m128i P0, __m128i Q0, __m128i Q1) {
        const __m128i d = _mm_add_epi32(_mm_slli_epi32(_mm_sub_epi32(Q0, P0), 2), _mm_sub_epi32(P1, Q1));
        return _mm_srai_epi32(_mm_add_epi32(d, _mm_set1_epi32(4)), 3);
    };
    const __m128i dl = delta(_mm_cvtepu16_epi32(p1), _mm_cvtepu16_epi32(p0), _mm_cvtepu16_epi32(q0), _mm_cvtepu16_epi32(q1));
    const __m128i dh = delta(_mm_unpackhi_epi16(p1, zero), _mm_unpackhi_epi16(p0, zero), _mm_unpackhi_epi16(q0, zero),
                             _mm_unpackhi_epi16(q1, zero));
    const __m128i up = _mm_and_si128(_mm_min_epu16(_mm_packus_epi32(dl, dh), tc), mask);
    const __m128i down =
        _mm_and_si128(_mm_min_epu16(_mm_packus_epi32(_mm_sub_epi32(zero, dl), _mm_sub_epi32(zero, dh)), tc), mask);
    const __m128i keep = _mm_cmpeq_epi16(_mm_or_si128(up, down), zero);
    p0 = _mm_blendv_epi8(_mm_min_epu16(_mm_subs_epu16(_mm_adds_epu16(p0, up), down), maxv), p0, keep);
    q0 = _mm_blendv_epi8(_mm_min_epu16(_mm_subs_epu16(_mm_adds_epu16(q0, down), up), maxv), q0, keep);
}

// Luma filter of 8 lines over v = p3 p2 p1 p0 q0 q1 q2 q3; false when no line
// changed. Without kStrong no line may have strength 4 (fewer live registers).
template <bool kStrong>
MOX_INLINE bool lumaFilter(__m128i v[8], const Lanes& L) {
    const __m128i p2 = v[1], p1 = v[2], p0 = v[3], q0 = v[4], q1 = v[5], q2 = v[6];
    const __m128i filt = lineMask(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i one = _mm_set1_epi16(1);
    const __m128i ap = atMost(absDiff(p2, p0), L.bm1), aq = atMost(absDiff(q2, q0), L.bm1);
    const __m128i normal = _mm_andnot_si128(L.strong, filt), strong = _mm_and_si128(L.strong, filt);
    if (_mm_movemask_epi8(normal)) {
        const __m128i tc = _mm_adds_epu16(_mm_adds_epu16(L.tc0, _mm_and_si128(ap, one)), _mm_and_si128(aq, one));
        applyDelta(p1, v[3], v[4], q1, tc, normal, L.maxv);
        const __m128i avg = _mm_avg_epu16(p0, q0);
        const __m128i np1 =
            _mm_min_epu16(_mm_max_epu16(avgDown(p2, avg), _mm_subs_epu16(p1, L.tc0)), _mm_adds_epu16(p1, L.tc0));
        const __m128i nq1 =
            _mm_min_epu16(_mm_max_epu16(avgDown(q2, avg), _mm_subs_epu16(q1, L.tc0)), _mm_adds_epu16(q1, L.tc0));
        v[2] = _mm_blendv_epi8(p1, np1, _mm_and_si128(normal, ap));
        v[5] = _mm_blendv_epi8(q1, nq1, _mm_and_si128(normal, aq));
    }
    if (kStrong && _mm_movemask_epi8(strong)) {
        const __m128i small = atMost(absDiff(p0, q0), L.sm1);
        const __m128i sp = _mm_and_si128(strong, _mm_and_si128(ap, small));
        const __m128i sq = _mm_and_si128(strong, _mm_and_si128(aq, small));
        strongLuma<Words>(v, sp, sq, strong);
    }
    return true;
}

MOX_INLINE bool chromaFilter(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, const Lanes& L) {
    const __m128i filt = lineMask(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i strong = _mm_and_si128(L.strong, filt);
    const __m128i sp0 = _mm_avg_epu16(p1, avgDown(p0, q1)), sq0 = _mm_avg_epu16(q1, avgDown(q0, p1));
    applyDelta(p1, p0, q0, q1, _mm_adds_epu16(L.tc0, _mm_set1_epi16(1)), _mm_andnot_si128(L.strong, filt), L.maxv);
    p0 = _mm_blendv_epi8(p0, sp0, strong);
    q0 = _mm_blendv_epi8(q0, sq0, strong);
    return true;
}

// ---------------------------------------------------------------- parameter expansion

MOX_INLINE __m128i load4b(const Mox8u* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(static_cast<int>(v));
}
MOX_INLINE __m128i load4w(const Mox16u* p) { return simd::load<8>(p); }

// Strength bytes or tc0 words of 4 groups spread over 8 lanes: `half` 0 or 1
// picks groups 0, 1 or 2, 3 with 4 lanes each; Pairs: 2 lanes per group;
// Single: one lane per group, lanes 4..7 zero.
enum class Spread { Half0, Half1, Pairs, Single };
template <Spread S>
MOX_INLINE __m128i bsLanes(const Mox8u* bs) {
    const __m128i v = load4b(bs);
    if constexpr (S == Spread::Half0) return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1));
    if constexpr (S == Spread::Half1) return _mm_shuffle_epi8(v, _mm_setr_epi8(2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3));
    if constexpr (S == Spread::Pairs) return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
    return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, -1, -1, -1, -1, -1, -1, -1, -1));
}
template <Spread S>
MOX_INLINE __m128i tcLanes(const Mox16u* tc) {
    const __m128i v = load4w(tc);
    if constexpr (S == Spread::Half0) return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3));
    if constexpr (S == Spread::Half1) return _mm_shuffle_epi8(v, _mm_setr_epi8(4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7));
    if constexpr (S == Spread::Pairs) return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7));
    return v;
}
template <Spread S>
MOX_INLINE Lanes lanesOf(const Mox8u* bs, const Mox16u* tc0, const Limits& l, __m128i maxv) {
    return lanes(bsLanes<S>(bs), tcLanes<S>(tc0), l, maxv);
}

MOX_INLINE uint32_t load32(const Mox8u* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

MOX_INLINE __m128i maxOf(int bitDepth) {
    const int m = bitDepth >= 16 ? 65535 : (bitDepth <= 0 ? 0 : (1 << bitDepth) - 1);
    return _mm_set1_epi16(static_cast<short>(m));
}

// In-place transpose of 8 rows of 8 words.
MOX_INLINE void transpose8x8(__m128i r[8]) {
    __m128i a[8], b[8];
    #pragma GCC unroll 16
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = _mm_unpacklo_epi16(r[2 * i], r[2 * i + 1]);
        a[2 * i + 1] = _mm_unpackhi_epi16(r[2 * i], r[2 * i + 1]);
    }
    #pragma GCC unroll 16
    for (int i = 0; i < 2; ++i) {
        #pragma GCC unroll 16
        for (int h = 0; h < 2; ++h) {
            b[4 * h + 2 * i] = _mm_unpacklo_epi32(a[4 * i + h], a[4 * i + 2 + h]);
            b[4 * h + 2 * i + 1] = _mm_unpackhi_epi32(a[4 * i + h], a[4 * i + 2 + h]);
        }
    }
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        #pragma GCC unroll 16
        for (int j = 0; j < 2; ++j) {
            r[4 * h + 2 * j] = _mm_unpacklo_epi64(b[4 * h + j], b[4 * h + 2 + j]);
            r[4 * h + 2 * j + 1] = _mm_unpackhi_epi64(b[4 * h + j], b[4 * h + 2 + j]);
        }
    }
}

// Some strength byte of the four is 4.
MOX_INLINE bool hasStrong(uint32_t b4) {
    const uint32_t y = b4 ^ 0x04040404u;
    return ((y - 0x01010101u) & ~y & 0x80808080u) != 0;
}

using Rec = MoxiFilterDeblock_16u;

// Row y of the record's plane (its step counts samples).
MOX_INLINE Mox16u* rowOf(const Rec* d, Mox16u* p, int y) {
    return p + static_cast<std::ptrdiff_t>(d->srcDstStep) * y;
}

// ---------------------------------------------------------------- luma

// One luma edge in two halves of 8 lines; kStrong when some line has strength 4.
template <bool kStrong>
MOX_INLINE void lumaHorEdge(const Rec* d, Mox16u* q, const Lanes L[2]) {
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        __m128i v[8];
        #pragma GCC unroll 16
        for (int k = 0; k < 8; ++k) v[k] = simd::load<16>(rowOf(d, q, k - 4) + 8 * h);
        if (!lumaFilter<kStrong>(v, L[h])) continue;
        #pragma GCC unroll 16
        for (int k = 1; k < 7; ++k) simd::store<16>(rowOf(d, q, k - 4) + 8 * h, v[k]);
    }
}

void lumaHor(const Rec* d) {
    const __m128i maxv = maxOf(d->bitDepth);
    for (int e = 0; e < 4; ++e) {
        const Mox8u* bs = d->pBs + 4 * e;
        if (load32(bs) == 0) continue;
        const Limits l = limits(d->pAlpha[e ? 1 : 0], d->pBeta[e ? 1 : 0], 65535);
        if (l.off) continue;
        const Lanes L[2] = {lanesOf<Spread::Half0>(bs, d->pThresholds + 4 * e, l, maxv),
                            lanesOf<Spread::Half1>(bs, d->pThresholds + 4 * e, l, maxv)};
        const bool strong = hasStrong(load32(bs));
        Mox16u* q = rowOf(d, d->pSrcDstPlane, 4 * e);
        if (strong)
            lumaHorEdge<true>(d, q, L);
        else
            lumaHorEdge<false>(d, q, L);
    }
}

void lumaVer(const Rec* d) {
    const __m128i maxv = maxOf(d->bitDepth);
    for (int e = 0; e < 4; ++e) {
        const Mox8u* bs = d->pBs + 4 * e;
        if (load32(bs) == 0) continue;
        const Limits l = limits(d->pAlpha[e ? 1 : 0], d->pBeta[e ? 1 : 0], 65535);
        if (l.off) continue;
        const Lanes L[2] = {lanesOf<Spread::Half0>(bs, d->pThresholds + 4 * e, l, maxv),
                            lanesOf<Spread::Half1>(bs, d->pThresholds + 4 * e, l, maxv)};
        const bool strong = hasStrong(load32(bs));
        #pragma GCC unroll 16
        for (int h = 0; h < 2; ++h) {
            Mox16u* q = rowOf(d, d->pSrcDstPlane, 8 * h) + 4 * e - 4;
            __m128i v[8];
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y) v[y] = simd::load<16>(rowOf(d, q, y));
            transpose8x8(v);
            if (!(strong ? lumaFilter<true>(v, L[h]) : lumaFilter<false>(v, L[h]))) continue;
            transpose8x8(v);
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y) simd::store<16>(rowOf(d, q, y), v[y]);
        }
    }
}

void lumaVerMbaff(const Rec* d) {
    const Limits l = limits(d->pAlpha[0], d->pBeta[0], 65535);
    if (load32(d->pBs) == 0 || l.off) return;
    const Lanes L = lanesOf<Spread::Pairs>(d->pBs, d->pThresholds, l, maxOf(d->bitDepth));
    Mox16u* q = d->pSrcDstPlane - 4;
    __m128i v[8];
    #pragma GCC unroll 16
    for (int y = 0; y < 8; ++y) v[y] = simd::load<16>(rowOf(d, q, y));
    transpose8x8(v);
    if (!lumaFilter<true>(v, L)) return;
    transpose8x8(v);
    #pragma GCC unroll 16
    for (int y = 0; y < 8; ++y) simd::store<16>(rowOf(d, q, y), v[y]);
}

// ---------------------------------------------------------------- chroma

void chromaHor(const Rec* d) {
    const __m128i maxv = maxOf(d->bitDepth);
    #pragma GCC unroll 16
    for (int c = 0; c < 2; ++c) {
        const Mox8u* bs = d->pBs + 8 * c;
        if (load32(bs) == 0) continue;
        const Limits l = limits(d->pAlpha[c], d->pBeta[c], 65535);
        if (l.off) continue;
        const Lanes L = lanesOf<Spread::Pairs>(bs, d->pThresholds + 4 * c, l, maxv);
        Mox16u* q = rowOf(d, d->pSrcDstPlane, 4 * c);
        const __m128i p1 = simd::load<16>(rowOf(d, q, -2)), q1 = simd::load<16>(rowOf(d, q, 1));
        __m128i p0 = simd::load<16>(rowOf(d, q, -1)), q0 = simd::load<16>(q);
        if (!chromaFilter(p1, p0, q0, q1, L)) continue;
        simd::store<16>(rowOf(d, q, -1), p0);
        simd::store<16>(q, q0);
    }
}

// Columns -2..5 of `rows` rows (8, or 4 with the rest zero) hold p1..q1 of both vertical chroma edges.
template <int Rows, Spread S>
void chromaVerRows(const Rec* d, Mox16u* top, const Mox8u* bs0, const Mox8u* bs1, const Mox16u* tc0,
                   const Mox16u* tc1, bool bothEdges) {
    if ((load32(bs0) | (bothEdges ? load32(bs1) : 0)) == 0) return;
    const __m128i maxv = maxOf(d->bitDepth);
    Mox16u* q = top - 2;
    // With edge 0 off, columns -2 and -1 (perhaps outside the picture) are
    // neither read nor written: columns 0..7 are loaded and shifted into place.
    const bool outerOff = bothEdges && load32(bs0) == 0;
    __m128i v[8], orig[8] = {};
    #pragma GCC unroll 16
    for (int y = 0; y < 8; ++y) {
        if (y >= Rows) {
            v[y] = _mm_setzero_si128();
        } else if (outerOff) {
            orig[y] = simd::load<16>(rowOf(d, top, y));
            v[y] = _mm_slli_si128(orig[y], 4);
        } else {
            v[y] = simd::load<Rows == 8 ? 16 : 8>(rowOf(d, q, y));
        }
    }
    transpose8x8(v);
    bool changed = false;
        for (int c = 0; c < (bothEdges ? 2 : 1); ++c) {
        const Mox8u* bs = c ? bs1 : bs0;
        if (load32(bs) == 0) continue;
        const Limits l = limits(d->pAlpha[c], d->pBeta[c], 65535);
        if (l.off) continue;
        const Lanes L = lanesOf<S>(bs, c ? tc1 : tc0, l, maxv);
        changed |= chromaFilter(v[4 * c], v[4 * c + 1], v[4 * c + 2], v[4 * c + 3], L);
    }
    if (!changed) return;
    transpose8x8(v);
    if (outerOff) {
        // Columns 0..5 back in place, columns 6 and 7 as they were.
        #pragma GCC unroll 16
        for (int y = 0; y < Rows; ++y) simd::store<16>(rowOf(d, top, y), _mm_blend_epi16(_mm_srli_si128(v[y], 4), orig[y], 0xC0));
        return;
    }
    #pragma GCC unroll 16
    for (int y = 0; y < Rows; ++y) simd::store<Rows == 8 ? 16 : 8>(rowOf(d, q, y), v[y]);
}

void chromaVer(const Rec* d) {
    chromaVerRows<8, Spread::Pairs>(d, d->pSrcDstPlane, d->pBs, d->pBs + 8, d->pThresholds, d->pThresholds + 4, true);
}

void chromaVerMbaff(const Rec* d) {
    chromaVerRows<4, Spread::Single>(d, d->pSrcDstPlane, d->pBs, d->pBs, d->pThresholds, d->pThresholds, false);
}

// 4:2:2: 16 rows as two halves of 8; half h covers strength groups 2h, 2h + 1 of each edge.
void chroma422Ver(const Rec* d) {
    const __m128i maxv = maxOf(d->bitDepth);
    if ((load32(d->pBs) | load32(d->pBs + 8)) == 0) return;
    // With edge 0 off, columns -2 and -1 (perhaps outside the picture) are
    // neither read nor written: columns 0..7 are loaded and shifted into place.
    const bool outerOff = load32(d->pBs) == 0;
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        Mox16u* top = rowOf(d, d->pSrcDstPlane, 8 * h);
        Mox16u* q = top - 2;
        __m128i v[8], orig[8] = {};
        #pragma GCC unroll 16
        for (int y = 0; y < 8; ++y) {
            if (outerOff) {
                orig[y] = simd::load<16>(rowOf(d, top, y));
                v[y] = _mm_slli_si128(orig[y], 4);
            } else {
                v[y] = simd::load<16>(rowOf(d, q, y));
            }
        }
        transpose8x8(v);
        bool changed = false;
        #pragma GCC unroll 16
        for (int c = 0; c < 2; ++c) {
            const Mox8u* bs = d->pBs + 8 * c;
            if (load32(bs) == 0) continue;
            const Limits l = limits(d->pAlpha[c], d->pBeta[c], 65535);
            if (l.off) continue;
            const Lanes L = h ? lanesOf<Spread::Half1>(bs, d->pThresholds + 4 * c, l, maxv)
                              : lanesOf<Spread::Half0>(bs, d->pThresholds + 4 * c, l, maxv);
            changed |= chromaFilter(v[4 * c], v[4 * c + 1], v[4 * c + 2], v[4 * c + 3], L);
        }
        if (!changed) continue;
        transpose8x8(v);
        if (outerOff) {
            // Columns 0..5 back in place, columns 6 and 7 as they were.
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y)
                simd::store<16>(rowOf(d, top, y), _mm_blend_epi16(_mm_srli_si128(v[y], 4), orig[y], 0xC0));
            continue;
        }
        #pragma GCC unroll 16
        for (int y = 0; y < 8; ++y) simd::store<16>(rowOf(d, q, y), v[y]);
    }
}

void chroma422Hor(const Rec* d) {
    const __m128i maxv = maxOf(d->bitDepth);
    for (int e = 0; e < 4; ++e) {
        const Mox8u* bs = d->pBs + 4 * e;
        if (load32(bs) == 0) continue;
        const Limits l = limits(d->pAlpha[e ? 1 : 0], d->pBeta[e ? 1 : 0], 65535);
        if (l.off) continue;
        Lanes L = lanesOf<Spread::Pairs>(bs, d->pThresholds + 4 * e, l, maxv);
        // An edge whose first strength is 4 is filtered strong across its whole width.
        if (bs[0] == 4) L.active = L.strong = _mm_set1_epi16(-1);
        else L.strong = _mm_setzero_si128();
        Mox16u* q = rowOf(d, d->pSrcDstPlane, 4 * e);
        const __m128i p1 = simd::load<16>(rowOf(d, q, -2)), q1 = simd::load<16>(rowOf(d, q, 1));
        __m128i p0 = simd::load<16>(rowOf(d, q, -1)), q0 = simd::load<16>(q);
        if (!chromaFilter(p1, p0, q0, q1, L)) continue;
        simd::store<16>(rowOf(d, q, -1), p0);
        simd::store<16>(q, q0);
    }
}

}  // namespace

#define MOX_DEBLOCK_16U(name, kernel)                                                    \
    MOX_FN name(const MoxiFilterDeblock_16u* pDeblockInfo) {                             \
        MOX_CHECK_PTRS(pDeblockInfo);                                                    \
        MOX_CHECK_PTRS(pDeblockInfo->pSrcDstPlane);                                      \
        MOX_CHECK_PTRS(pDeblockInfo->pAlpha, pDeblockInfo->pBeta);                       \
        MOX_CHECK_PTRS(pDeblockInfo->pThresholds, pDeblockInfo->pBs);                    \
        kernel(pDeblockInfo);                                                            \
        return moxStsNoErr;                                                              \
    }

MOX_DEBLOCK_16U(moxiFilterDeblockingLumaVerEdge_H264_16u_C1IR, lumaVer)
MOX_DEBLOCK_16U(moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR, lumaHor)
MOX_DEBLOCK_16U(moxiFilterDeblockingChromaVerEdge_H264_16u_C1IR, chromaVer)
MOX_DEBLOCK_16U(moxiFilterDeblockingChromaHorEdge_H264_16u_C1IR, chromaHor)
MOX_DEBLOCK_16U(moxiFilterDeblockingChroma422VerEdge_H264_16u_C1IR, chroma422Ver)
MOX_DEBLOCK_16U(moxiFilterDeblockingChroma422HorEdge_H264_16u_C1IR, chroma422Hor)

// The MBAFF forms return at once, reading nothing more, when alpha is 0.
#define MOX_DEBLOCK_MBAFF_16U(name, kernel)                                              \
    MOX_FN name(const MoxiFilterDeblock_16u* pDeblockInfo) {                             \
        MOX_CHECK_PTRS(pDeblockInfo);                                                    \
        MOX_CHECK_PTRS(pDeblockInfo->pSrcDstPlane);                                      \
        MOX_CHECK_PTRS(pDeblockInfo->pAlpha, pDeblockInfo->pBeta);                       \
        MOX_CHECK_PTRS(pDeblockInfo->pThresholds, pDeblockInfo->pBs);                    \
        if (pDeblockInfo->pAlpha[0] == 0) return moxStsNoErr;                            \
        kernel(pDeblockInfo);                                                            \
        return moxStsNoErr;                                                              \
    }

MOX_DEBLOCK_MBAFF_16U(moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR, lumaVerMbaff)
MOX_DEBLOCK_MBAFF_16U(moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR, chromaVerMbaff)

MOX_FN moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(const MoxiFilterDeblock_16u*) {
    return moxStsNotImplementedErr;
}
