// H.264 in-loop deblocking filters on 16-bit samples (any bit depth up to 16).
//
// Lanes are 16-bit lines; line tests, the averaging filters (pavgw is exact)
// and the strong filter's estimates stay in 16 bits, and so does the normal
// filter's delta whenever the thresholds bound it (every H.264 bit depth),
// else it is formed in 32 bits. Vertical edges go through transposes of
// 16-bit words, a macroblock's luma once per half.
#include <cstring>

#include "core/check.h"
#include "h264/deblock_simd.h"
#include "me/simd.h"

namespace {

using namespace mox;
using namespace mox::deblock;

MOX_INLINE __m128i avgDown(__m128i a, __m128i b) {
    return _mm_sub_epi16(_mm_avg_epu16(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi16(1)));
}

struct Lanes {
    __m128i am1, bm1, sm1, tc0, active, strong, maxv;
    bool narrow;  // the normal filter's delta fits 16-bit lanes (see applyDelta)
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
    L.narrow = l.am1 <= 16383 && l.bm1 <= 4095;
    return L;
}

// p0 += delta, q0 -= delta with delta = ((q0 - p0) * 4 + (p1 - q1) + 4) >> 3
// limited to +-tc, where `mask` is set and delta is not 0; results clamp to 0..maxv.
// In the lines that filter, |q0 - p0| <= alpha - 1 and |p1 - q1| <= alpha - 1
// + 2 (beta - 1); with alpha - 1 <= 16383 and beta - 1 <= 4095 (every
// H.264 threshold up to 14 bits) delta = ((q0 - p0) + ((p1 - q1 + 4) >> 2)) >> 1
// (floors of floors) stays inside 16-bit lanes; larger thresholds take
// 32-bit lanes.
MOX_INLINE void applyDelta(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, __m128i tc, __m128i mask,
                           const Lanes& L) {
    const __m128i zero = _mm_setzero_si128();
    __m128i up, down;
    if (L.narrow) {
        const __m128i t = _mm_srai_epi16(_mm_add_epi16(_mm_sub_epi16(p1, q1), _mm_set1_epi16(4)), 2);
        const __m128i dw = _mm_srai_epi16(_mm_add_epi16(_mm_sub_epi16(q0, p0), t), 1);
        up = _mm_min_epu16(_mm_max_epi16(dw, zero), tc);
        down = _mm_min_epu16(_mm_max_epi16(_mm_sub_epi16(zero, dw), zero), tc);
    } else {
        auto delta = [](__m128i P1, __m128i P0, __m128i Q0, __m128i Q1) {
            const __m128i d = _mm_add_epi32(_mm_slli_epi32(_mm_sub_epi32(Q0, P0), 2), _mm_sub_epi32(P1, Q1));
            return _mm_srai_epi32(_mm_add_epi32(d, _mm_set1_epi32(4)), 3);
        };
        const __m128i dl =
            delta(_mm_cvtepu16_epi32(p1), _mm_cvtepu16_epi32(p0), _mm_cvtepu16_epi32(q0), _mm_cvtepu16_epi32(q1));
        const __m128i dh = delta(_mm_unpackhi_epi16(p1, zero), _mm_unpackhi_epi16(p0, zero),
                                 _mm_unpackhi_epi16(q0, zero), _mm_unpackhi_epi16(q1, zero));
        up = _mm_min_epu16(_mm_packus_epi32(dl, dh), tc);
        down = _mm_min_epu16(_mm_packus_epi32(_mm_sub_epi32(zero, dl), _mm_sub_epi32(zero, dh)), tc);
    }
    up = _mm_and_si128(up, mask);
    down = _mm_and_si128(down, mask);
    // Samples whose delta is 0 stay as they are, even above maxv: their clamp is 65535.
    const __m128i limit = _mm_or_si128(L.maxv, _mm_cmpeq_epi16(_mm_or_si128(up, down), zero));
    p0 = _mm_min_epu16(_mm_subs_epu16(_mm_adds_epu16(p0, up), down), limit);
    q0 = _mm_min_epu16(_mm_subs_epu16(_mm_adds_epu16(q0, down), up), limit);
}

// p1 + clip(+-t, (p2 + avg(p0, q0) - 2 p1) >> 1), which is floor((p2 + avg) / 2)
// clamped to p1 +- t; t is 0 in the lanes that keep p1. The saturating
// bounds are exact: the result lies between p1 and floor((p2 + avg) / 2).
MOX_INLINE __m128i sideP1(__m128i p2, __m128i p1, __m128i avg, __m128i t) {
    return _mm_min_epu16(_mm_max_epu16(avgDown(p2, avg), _mm_subs_epu16(p1, t)), _mm_adds_epu16(p1, t));
}

// The normal luma filter (strengths 1..3) in the lines of `mask`: p0 and q0
// by the limited delta, p1 and q1 where ap and aq (within mask) hold.
MOX_INLINE void normalLuma(__m128i p2, __m128i& p1, __m128i& p0, __m128i& q0, __m128i& q1, __m128i q2, __m128i ap,
                           __m128i aq, __m128i mask, const Lanes& L) {
    // tc0 + 1 for each of ap, aq (all-ones lanes); tc0 is capped at 65533
    // first, which no |delta| (at most 40960) can tell from a larger tc.
    const __m128i tc = _mm_sub_epi16(_mm_sub_epi16(_mm_min_epu16(L.tc0, _mm_set1_epi16(-3)), ap), aq);
    const __m128i avg = _mm_avg_epu16(p0, q0);
    const __m128i np1 = sideP1(p2, p1, avg, _mm_and_si128(L.tc0, ap));
    const __m128i nq1 = sideP1(q2, q1, avg, _mm_and_si128(L.tc0, aq));
    applyDelta(p1, p0, q0, q1, tc, mask, L);
    p1 = np1;
    q1 = nq1;
}

// Luma filter of 8 lines over v = p3 p2 p1 p0 q0 q1 q2 q3, any strengths;
// false when no line changed.
MOX_INLINE bool lumaFilter(__m128i v[8], const Lanes& L) {
    const __m128i p2 = v[1], p0 = v[3], q0 = v[4], q2 = v[6];
    const __m128i filt = lineMask<Words>(v[2], p0, q0, v[5], L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i ap = atMost<Words>(absDiff<Words>(p2, p0), L.bm1), aq = atMost<Words>(absDiff<Words>(q2, q0), L.bm1);
    const __m128i normal = _mm_andnot_si128(L.strong, filt), strong = _mm_and_si128(L.strong, filt);
    if (_mm_movemask_epi8(normal))
        normalLuma(p2, v[2], v[3], v[4], v[5], q2, _mm_and_si128(ap, normal), _mm_and_si128(aq, normal), normal, L);
    if (_mm_movemask_epi8(strong)) {
        // The strong lanes are as they were: the normal filter changed none of them.
        const __m128i small = atMost<Words>(absDiff<Words>(p0, q0), L.sm1);
        const __m128i sp = _mm_and_si128(strong, _mm_and_si128(ap, small));
        const __m128i sq = _mm_and_si128(strong, _mm_and_si128(aq, small));
        strongLuma<Words>(v, sp, sq, strong);
    }
    return true;
}

// Luma filter of lines without strength 4: p1, p0, q0, q1 change (p2 and q2
// are only read); false when no line changed.
MOX_INLINE bool lumaNormal(__m128i p2, __m128i& p1, __m128i& p0, __m128i& q0, __m128i& q1, __m128i q2,
                           const Lanes& L) {
    __m128i filt, ap, aq;
    if (!normalTests<Words>(p2, p1, p0, q0, q1, q2, L, filt, ap, aq)) return false;
    normalLuma(p2, p1, p0, q0, q1, q2, ap, aq, filt, L);
    return true;
}

MOX_INLINE bool chromaFilter(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, const Lanes& L) {
    const __m128i filt = lineMask<Words>(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i strong = _mm_and_si128(L.strong, filt);
    const __m128i sp0 = _mm_avg_epu16(p1, avgDown(p0, q1)), sq0 = _mm_avg_epu16(q1, avgDown(q0, p1));
    applyDelta(p1, p0, q0, q1, _mm_adds_epu16(L.tc0, _mm_set1_epi16(1)), _mm_andnot_si128(L.strong, filt), L);
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

// 8 rows of 4 words (the low halves of r[0..7]) into 4 columns of 8 lanes.
MOX_INLINE void transpose8x4(const __m128i r[8], __m128i col[4]) {
    __m128i a[4], b[4];
    #pragma GCC unroll 16
    for (int i = 0; i < 4; ++i) a[i] = _mm_unpacklo_epi16(r[2 * i], r[2 * i + 1]);
    #pragma GCC unroll 16
    for (int i = 0; i < 2; ++i) {
        b[2 * i] = _mm_unpacklo_epi32(a[2 * i], a[2 * i + 1]);      // columns 0, 1 of 4 rows
        b[2 * i + 1] = _mm_unpackhi_epi32(a[2 * i], a[2 * i + 1]);  // columns 2, 3
    }
    col[0] = _mm_unpacklo_epi64(b[0], b[2]);
    col[1] = _mm_unpackhi_epi64(b[0], b[2]);
    col[2] = _mm_unpacklo_epi64(b[1], b[3]);
    col[3] = _mm_unpackhi_epi64(b[1], b[3]);
}

// 4 columns of 8 lanes back into 8 rows of 4 words: out[k] holds rows 2k (low half) and 2k + 1.
MOX_INLINE void transpose4x8(const __m128i col[4], __m128i out[4]) {
    const __m128i a0 = _mm_unpacklo_epi16(col[0], col[1]), a1 = _mm_unpackhi_epi16(col[0], col[1]);
    const __m128i a2 = _mm_unpacklo_epi16(col[2], col[3]), a3 = _mm_unpackhi_epi16(col[2], col[3]);
    out[0] = _mm_unpacklo_epi32(a0, a2);
    out[1] = _mm_unpackhi_epi32(a0, a2);
    out[2] = _mm_unpacklo_epi32(a1, a3);
    out[3] = _mm_unpackhi_epi32(a1, a3);
}

using Rec = MoxiFilterDeblock_16u;

// Row y of the record's plane (its step counts samples).
MOX_INLINE Mox16u* rowOf(const Rec* d, Mox16u* p, int y) {
    return p + static_cast<std::ptrdiff_t>(d->srcDstStep) * y;
}

// ---------------------------------------------------------------- luma

// One luma edge in two halves of 8 lines: lines of strengths 0..3 only
// (Normal: rows p2..q2 read, p1..q1 written), 0 and 4 only (Strong) or any
// mix.
enum class EdgeKind { Normal, Strong, Mixed };
template <EdgeKind K>
MOX_INLINE void lumaHorEdge(const Rec* d, Mox16u* q, const Mox8u* bs, const Mox16u* tc0, const Limits& l,
                            __m128i maxv) {
    constexpr bool kNormal = K == EdgeKind::Normal;
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        // Each half's lanes are made where they are used: fewer live registers.
        const Lanes L = h ? lanesOf<Spread::Half1>(bs, tc0, l, maxv) : lanesOf<Spread::Half0>(bs, tc0, l, maxv);
        __m128i v[8];
        #pragma GCC unroll 16
        for (int k = kNormal ? 1 : 0; k < (kNormal ? 7 : 8); ++k) v[k] = simd::load<16>(rowOf(d, q, k - 4) + 8 * h);
        const bool changed = K == EdgeKind::Normal   ? lumaNormal(v[1], v[2], v[3], v[4], v[5], v[6], L)
                             : K == EdgeKind::Strong ? lumaStrong<Words>(v, L)
                                                     : lumaFilter(v, L);
        if (!changed) continue;
        #pragma GCC unroll 16
        for (int k = kNormal ? 2 : 1; k < (kNormal ? 6 : 7); ++k) simd::store<16>(rowOf(d, q, k - 4) + 8 * h, v[k]);
    }
}

void lumaHor(const Rec* record) {
    // A copy of the record, which no sample store can alias: its fields stay in registers.
    const Rec copy = *record;
    const Rec* d = &copy;
    const __m128i maxv = maxOf(d->bitDepth);
    for (int e = 0; e < 4; ++e) {
        const Mox8u* bs = d->pBs + 4 * e;
        const uint32_t b4 = load32(bs);
        if (b4 == 0) continue;
        const Limits l = limits(d->pAlpha[e ? 1 : 0], d->pBeta[e ? 1 : 0], 65535);
        if (l.off) continue;
        const Mox16u* tc0 = d->pThresholds + 4 * e;
        Mox16u* q = rowOf(d, d->pSrcDstPlane, 4 * e);
        if (onlyStrong(b4))
            lumaHorEdge<EdgeKind::Strong>(d, q, bs, tc0, l, maxv);
        else if (hasStrong(b4))
            lumaHorEdge<EdgeKind::Mixed>(d, q, bs, tc0, l, maxv);
        else
            lumaHorEdge<EdgeKind::Normal>(d, q, bs, tc0, l, maxv);
    }
}

// Each half of 8 rows is transposed once (columns -4..15 as 20 registers of
// 8 rows: 8x8 blocks at columns -4 and 4, columns 12..15 on their own), its
// four edges filtered in turn and transposed back: edge e + 1 reads what
// edge e wrote from registers.
void lumaVer(const Rec* d) {
    const Mox8u* bs = d->pBs;
    if ((load32(bs) | load32(bs + 4) | load32(bs + 8) | load32(bs + 12)) == 0) return;
    const __m128i maxv = maxOf(d->bitDepth);
    const Limits cls[2] = {limits(d->pAlpha[0], d->pBeta[0], 65535), limits(d->pAlpha[1], d->pBeta[1], 65535)};
    // With edge 0 off, columns -4..-1 (perhaps outside the picture) are
    // neither read nor written: they enter as zeros and are not stored.
    const bool edge0 = load32(bs) != 0;
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        Mox16u* top = rowOf(d, d->pSrcDstPlane, 8 * h);
        __m128i c[20], t[8];  // c[k]: column k - 4
        if (edge0) {
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y) c[y] = simd::load<16>(rowOf(d, top, y) - 4);
            transpose8x8(c);
        } else {
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y) t[y] = simd::load<8>(rowOf(d, top, y));
            transpose8x4(t, c + 4);
            #pragma GCC unroll 16
            for (int k = 0; k < 4; ++k) c[k] = _mm_setzero_si128();
        }
        #pragma GCC unroll 16
        for (int y = 0; y < 8; ++y) {
            c[8 + y] = simd::load<16>(rowOf(d, top, y) + 4);
            t[y] = simd::load<8>(rowOf(d, top, y) + 12);
        }
        transpose8x8(c + 8);
        transpose8x4(t, c + 16);
        bool changed = false;
        for (int e = 0; e < 4; ++e) {
            const uint32_t b4 = load32(bs + 4 * e);
            const Limits& l = cls[e ? 1 : 0];
            if (b4 == 0 || l.off) continue;
            const Lanes L = h ? lanesOf<Spread::Half1>(bs + 4 * e, d->pThresholds + 4 * e, l, maxv)
                              : lanesOf<Spread::Half0>(bs + 4 * e, d->pThresholds + 4 * e, l, maxv);
            __m128i* v = c + 4 * e;
            changed |= onlyStrong(b4)  ? lumaStrong<Words>(v, L)
                       : hasStrong(b4) ? lumaFilter(v, L)
                                       : lumaNormal(v[1], v[2], v[3], v[4], v[5], v[6], L);
        }
        if (!changed) continue;
        __m128i o[4];
        if (edge0) {
            transpose8x8(c);
            #pragma GCC unroll 16
            for (int y = 0; y < 8; ++y) simd::store<16>(rowOf(d, top, y) - 4, c[y]);
        } else {
            transpose4x8(c + 4, o);
            #pragma GCC unroll 16
            for (int k = 0; k < 4; ++k) simd::store8x2(rowOf(d, top, 2 * k), rowOf(d, top, 2 * k + 1), o[k]);
        }
        transpose8x8(c + 8);
        #pragma GCC unroll 16
        for (int y = 0; y < 8; ++y) simd::store<16>(rowOf(d, top, y) + 4, c[8 + y]);
        transpose4x8(c + 16, o);
        #pragma GCC unroll 16
        for (int k = 0; k < 4; ++k) simd::store8x2(rowOf(d, top, 2 * k) + 12, rowOf(d, top, 2 * k + 1) + 12, o[k]);
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
    if (!lumaFilter(v, L)) return;
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
