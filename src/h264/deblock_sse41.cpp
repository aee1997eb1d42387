// H.264 in-loop deblocking filters on 8-bit samples.
//
// Each kernel gathers the lines across an edge into registers with one lane
// per line (vertical edges through a byte transpose), filters all lanes at
// once with per-lane strengths and thresholds, and writes back only when some
// line changed. Line tests use the "at most" form |d| <= t - 1 of |d| < t, so
// thresholds above 255 (the MBAFF forms take 32-bit values) stay exact; an
// edge whose alpha or beta is 0 cannot filter and is skipped.
#include <algorithm>
#include <cstring>

#include "core/check.h"
#include "h264/deblock_simd.h"
#include "me/simd.h"

namespace {

using namespace mox;
using namespace mox::deblock;

// Per-lane parameters of up to 16 lines.
struct Lanes {
    __m128i am1, bm1, sm1;  // alpha - 1, beta - 1, (alpha >> 2) + 1
    __m128i tc0;
    __m128i active;  // nonzero strength and usable thresholds
    __m128i strong;  // strength 4
};

MOX_INLINE __m128i bytesOf(const Limits& l0, const Limits& l1, int Limits::*f) {
    return _mm_unpacklo_epi64(_mm_set1_epi8(static_cast<char>(l0.*f)), _mm_set1_epi8(static_cast<char>(l1.*f)));
}

// Lane parameters from strengths bsv (one byte per lane) and tc0; the low 8
// lanes use l0, the high 8 lanes l1.
// Thresholds of one edge class broadcast to every lane.
struct Broadcast {
    __m128i am1, bm1, sm1;
    bool off;
};
MOX_INLINE Broadcast broadcast(const Limits& l) {
    return {_mm_set1_epi8(static_cast<char>(l.am1)), _mm_set1_epi8(static_cast<char>(l.bm1)),
            _mm_set1_epi8(static_cast<char>(l.sm1)), l.off};
}
MOX_INLINE Lanes lanes(__m128i bsv, __m128i tc0, const Broadcast& b) {
    Lanes L;
    L.am1 = b.am1;
    L.bm1 = b.bm1;
    L.sm1 = b.sm1;
    L.tc0 = tc0;
    L.active = _mm_xor_si128(_mm_cmpeq_epi8(bsv, _mm_setzero_si128()), _mm_set1_epi8(-1));
    L.strong = _mm_cmpeq_epi8(bsv, _mm_set1_epi8(4));
    return L;
}

MOX_INLINE Lanes lanes(__m128i bsv, __m128i tc0, const Limits& l0, const Limits& l1) {
    Lanes L;
    L.am1 = bytesOf(l0, l1, &Limits::am1);
    L.bm1 = bytesOf(l0, l1, &Limits::bm1);
    L.sm1 = bytesOf(l0, l1, &Limits::sm1);
    L.tc0 = tc0;
    const __m128i usable = _mm_set_epi64x(l1.off ? 0 : -1, l0.off ? 0 : -1);
    L.active = _mm_andnot_si128(_mm_cmpeq_epi8(bsv, _mm_setzero_si128()), usable);
    L.strong = _mm_cmpeq_epi8(bsv, _mm_set1_epi8(4));
    return L;
}

// The normal-filter change of p0 and q0, D = ((q0 - p0) * 4 + (p1 - q1) + 4) >> 3
// limited to +-tc (tc 0 outside `mask`), as its positive and negative parts
// applied with saturation, all in bytes. With q0 - p0 = 2h + r (r = (p0 ^ q0) & 1)
// and b = p1 - q1, D = h + ((r + (b >> 2) + 1) >> 1), and with rounding-up
// averages (~x = 255 - x):
//   H = avg(q0, ~p0) = 128 + h,
//   B = avg(p1, ~q1) = 128 + (b >> 1),
//   avg(avg(B, 3), r) = (B + 2r + 6) >> 2 = ((r + (b >> 2) + 1) >> 1) + 33,
// so D = H - m for m = 161 - avg(avg(B, 3), r), which lies in 96..160: the
// parts are subs(H, m) and subs(m, H) (both at most 159).
MOX_INLINE void applyDelta(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, __m128i tc, __m128i mask) {
    const __m128i ones = _mm_set1_epi8(-1);
    const __m128i h = _mm_avg_epu8(q0, _mm_xor_si128(p0, ones));
    const __m128i b = _mm_avg_epu8(p1, _mm_xor_si128(q1, ones));
    const __m128i r = _mm_and_si128(_mm_xor_si128(p0, q0), _mm_set1_epi8(1));
    const __m128i m = _mm_sub_epi8(_mm_set1_epi8(static_cast<char>(161)), _mm_avg_epu8(_mm_avg_epu8(b, _mm_set1_epi8(3)), r));
    tc = _mm_and_si128(tc, mask);
    const __m128i up = _mm_min_epu8(_mm_subs_epu8(h, m), tc);
    const __m128i down = _mm_min_epu8(_mm_subs_epu8(m, h), tc);
    p0 = _mm_subs_epu8(_mm_adds_epu8(p0, up), down);
    q0 = _mm_subs_epu8(_mm_adds_epu8(q0, down), up);
}

// p1 + clip(+-tc0, (p2 + avg(p0, q0) - 2 p1) >> 1), which is floor((p2 + avg) / 2)
// clamped to p1 +- tc0; tc0 is 0 in the lanes that keep p1. The floor
// average is ~avg(~p2, ~avg) (~x = 255 - x), nAvg being ~avg(p0, q0).
MOX_INLINE __m128i sideP1(__m128i p2, __m128i p1, __m128i nAvg, __m128i tc0) {
    const __m128i ones = _mm_set1_epi8(-1);
    const __m128i mid = _mm_xor_si128(_mm_avg_epu8(_mm_xor_si128(p2, ones), nAvg), ones);
    return _mm_min_epu8(_mm_max_epu8(mid, _mm_subs_epu8(p1, tc0)), _mm_adds_epu8(p1, tc0));
}
// ~avg(p0, q0).
MOX_INLINE __m128i notAvg(__m128i p0, __m128i q0) { return _mm_xor_si128(_mm_avg_epu8(p0, q0), _mm_set1_epi8(-1)); }

// Luma filter over v = p3 p2 p1 p0 q0 q1 q2 q3; false when no line changed.
MOX_INLINE bool lumaFilter(__m128i v[8], const Lanes& L) {
    const __m128i p2 = v[1], p1 = v[2], p0 = v[3], q0 = v[4], q1 = v[5], q2 = v[6];
    const __m128i filt = lineMask<Bytes>(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i ap = atMost<Bytes>(absDiff<Bytes>(p2, p0), L.bm1), aq = atMost<Bytes>(absDiff<Bytes>(q2, q0), L.bm1);
    const __m128i normal = _mm_andnot_si128(L.strong, filt), strong = _mm_and_si128(L.strong, filt);
    if (_mm_movemask_epi8(normal)) {
        // tc0 + 1 for each of ap, aq (all-ones lanes); tc0 is capped at 253
        // first, which no |delta| (at most 159) can tell from a larger tc.
        const __m128i tc = _mm_sub_epi8(_mm_sub_epi8(_mm_min_epu8(L.tc0, _mm_set1_epi8(-3)), ap), aq);
        applyDelta(p1, v[3], v[4], q1, tc, normal);
        const __m128i avg = notAvg(p0, q0);
        v[2] = sideP1(p2, p1, avg, _mm_and_si128(L.tc0, _mm_and_si128(normal, ap)));
        v[5] = sideP1(q2, q1, avg, _mm_and_si128(L.tc0, _mm_and_si128(normal, aq)));
    }
    if (_mm_movemask_epi8(strong)) {
        const __m128i small = atMost<Bytes>(absDiff<Bytes>(p0, q0), L.sm1);
        const __m128i sp = _mm_and_si128(strong, _mm_and_si128(ap, small));
        const __m128i sq = _mm_and_si128(strong, _mm_and_si128(aq, small));
        strongLuma<Bytes>(v, sp, sq, strong);
    }
    return true;
}

// Luma filter of lines without strength 4: p1, p0, q0, q1 change (p2 and q2
// are only read); false when no line changed. Fewer live registers than
// lumaFilter, and no p3, q3: each side's ap (aq) test is used up at once.
template <class P>
MOX_INLINE bool lumaNormal(__m128i p2, __m128i& p1, __m128i& p0, __m128i& q0, __m128i& q1, __m128i q2, const P& L) {
    const __m128i filt = lineMask<Bytes>(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i avg = notAvg(p0, q0);
    // tc0 + 1 for each of ap, aq (all-ones lanes); tc0 is capped at 253
    // first, which no |delta| (at most 159) can tell from a larger tc.
    __m128i tc = _mm_min_epu8(L.tc0, _mm_set1_epi8(-3));
    const __m128i ap = _mm_and_si128(atMost<Bytes>(absDiff<Bytes>(p2, p0), L.bm1), filt);
    const __m128i np1 = sideP1(p2, p1, avg, _mm_and_si128(L.tc0, ap));
    tc = _mm_sub_epi8(tc, ap);
    const __m128i aq = _mm_and_si128(atMost<Bytes>(absDiff<Bytes>(q2, q0), L.bm1), filt);
    const __m128i nq1 = sideP1(q2, q1, avg, _mm_and_si128(L.tc0, aq));
    tc = _mm_sub_epi8(tc, aq);
    applyDelta(p1, p0, q0, q1, tc, filt);
    p1 = np1;
    q1 = nq1;
    return true;
}

// Chroma filter of p0 and q0 (p1, q1 are only read); false when no line changed.
MOX_INLINE bool chromaFilter(__m128i p1, __m128i& p0, __m128i& q0, __m128i q1, const Lanes& L) {
    const __m128i filt = lineMask<Bytes>(p1, p0, q0, q1, L);
    if (_mm_movemask_epi8(filt) == 0) return false;
    const __m128i strong = _mm_and_si128(L.strong, filt);
    const __m128i sp0 = _mm_avg_epu8(p1, Bytes::avgDown(p0, q1)), sq0 = _mm_avg_epu8(q1, Bytes::avgDown(q0, p1));
    applyDelta(p1, p0, q0, q1, _mm_adds_epu8(L.tc0, _mm_set1_epi8(1)), _mm_andnot_si128(L.strong, filt));
    p0 = _mm_blendv_epi8(p0, sp0, strong);
    q0 = _mm_blendv_epi8(q0, sq0, strong);
    return true;
}

// ---------------------------------------------------------------- parameter expansion

MOX_INLINE uint32_t load32(const Mox8u* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
// Four bytes, each repeated over 4 lanes.
MOX_INLINE __m128i spread4(const Mox8u* p) {
    return _mm_shuffle_epi8(_mm_cvtsi32_si128(static_cast<int>(load32(p))),
                            _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
}
// Eight bytes (a at 0..3, b at 4..7), each repeated over 2 lanes.
MOX_INLINE __m128i spread2(uint32_t a, uint32_t b) {
    return _mm_shuffle_epi8(_mm_cvtsi64_si128(static_cast<long long>(a | (uint64_t(b) << 32))),
                            _mm_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7));
}

// ---------------------------------------------------------------- transposes

// 16 rows of 8 bytes (row i at r[i]) into 8 columns of 16 lanes.
MOX_INLINE void transpose16x8(const __m128i r[16], __m128i v[8]) {
    __m128i a[8], b[8];
    #pragma GCC unroll 16
    for (int i = 0; i < 8; ++i) a[i] = _mm_unpacklo_epi8(r[2 * i], r[2 * i + 1]);
    #pragma GCC unroll 16
    for (int i = 0; i < 4; ++i) {
        b[2 * i] = _mm_unpacklo_epi16(a[2 * i], a[2 * i + 1]);
        b[2 * i + 1] = _mm_unpackhi_epi16(a[2 * i], a[2 * i + 1]);
    }
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        const __m128i l0 = _mm_unpacklo_epi32(b[h], b[2 + h]), h0 = _mm_unpackhi_epi32(b[h], b[2 + h]);
        const __m128i l1 = _mm_unpacklo_epi32(b[4 + h], b[6 + h]), h1 = _mm_unpackhi_epi32(b[4 + h], b[6 + h]);
        v[4 * h + 0] = _mm_unpacklo_epi64(l0, l1);
        v[4 * h + 1] = _mm_unpackhi_epi64(l0, l1);
        v[4 * h + 2] = _mm_unpacklo_epi64(h0, h1);
        v[4 * h + 3] = _mm_unpackhi_epi64(h0, h1);
    }
}

// 8 columns of 16 lanes back into 16 rows of 8 bytes: o[k] holds rows 2k (low half) and 2k + 1.
MOX_INLINE void transpose8x16(const __m128i v[8], __m128i o[8]) {
    __m128i a[8], b[8];
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) {
        a[k] = _mm_unpacklo_epi8(v[2 * k], v[2 * k + 1]);
        a[4 + k] = _mm_unpackhi_epi8(v[2 * k], v[2 * k + 1]);
    }
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {  // rows 0..7, 8..15
        #pragma GCC unroll 16
        for (int q = 0; q < 2; ++q) {
            b[4 * h + 2 * q] = _mm_unpacklo_epi16(a[4 * h + 2 * q], a[4 * h + 2 * q + 1]);
            b[4 * h + 2 * q + 1] = _mm_unpackhi_epi16(a[4 * h + 2 * q], a[4 * h + 2 * q + 1]);
        }
        // b[4h]: columns 0..3 of rows 8h..8h+3, b[4h+1]: rows 8h+4..; b[4h+2], b[4h+3]: columns 4..7.
        #pragma GCC unroll 16
        for (int q = 0; q < 2; ++q) {
            o[4 * h + 2 * q] = _mm_unpacklo_epi32(b[4 * h + q], b[4 * h + 2 + q]);
            o[4 * h + 2 * q + 1] = _mm_unpackhi_epi32(b[4 * h + q], b[4 * h + 2 + q]);
        }
    }
}

// 8x8 bytes: in[k] holds rows 2k (low half) and 2k + 1; out[k] likewise
// columns 2k and 2k + 1. Its own inverse.
MOX_INLINE void transpose8x8(const __m128i in[4], __m128i out[4]) {
    const __m128i il = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
    __m128i a[4];
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) a[k] = _mm_shuffle_epi8(in[k], il);
    const __m128i b0 = _mm_unpacklo_epi16(a[0], a[1]), b1 = _mm_unpackhi_epi16(a[0], a[1]);
    const __m128i b2 = _mm_unpacklo_epi16(a[2], a[3]), b3 = _mm_unpackhi_epi16(a[2], a[3]);
    out[0] = _mm_unpacklo_epi32(b0, b2);
    out[1] = _mm_unpackhi_epi32(b0, b2);
    out[2] = _mm_unpacklo_epi32(b1, b3);
    out[3] = _mm_unpackhi_epi32(b1, b3);
}

MOX_INLINE void store32(Mox8u* p, __m128i v) {
    const uint32_t x = static_cast<uint32_t>(_mm_cvtsi128_si32(v));
    std::memcpy(p, &x, 4);
}

// ---------------------------------------------------------------- luma

// One horizontal luma edge, q at row 0: lines of strengths 0..3 only
// (Normal), 0 and 4 only (Strong) or any mix. Mixed edges run out of line,
// so that their filter has the registers to itself.
enum class EdgeKind { Normal, Strong, Mixed };
template <EdgeKind K, class P>
inline __attribute__((always_inline)) void lumaHorEdge(Mox8u* q, int step, const P& L) {
    if constexpr (K == EdgeKind::Normal) {
        __m128i p1 = simd::load<16>(row(q, step, -2)), p0 = simd::load<16>(row(q, step, -1));
        __m128i q0 = simd::load<16>(q), q1 = simd::load<16>(row(q, step, 1));
        if (!lumaNormal(simd::load<16>(row(q, step, -3)), p1, p0, q0, q1, simd::load<16>(row(q, step, 2)), L)) return;
        simd::store<16>(row(q, step, -2), p1);
        simd::store<16>(row(q, step, -1), p0);
        simd::store<16>(q, q0);
        simd::store<16>(row(q, step, 1), q1);
    } else {
        __m128i v[8];
        #pragma GCC unroll 16
        for (int k = 0; k < 8; ++k) v[k] = simd::load<16>(row(q, step, k - 4));
        bool changed;
        if constexpr (K == EdgeKind::Strong)
            changed = lumaStrong<Bytes>(v, L);
        else
            changed = lumaFilter(v, L);
        if (!changed) return;
        #pragma GCC unroll 16
        for (int k = 1; k < 7; ++k) simd::store<16>(row(q, step, k - 4), v[k]);
    }
}

// Per-lane parameters of an edge of lines without strength 4 (tc0; sm1 is
// not read) or with strengths 0 and 4 only (sm1; tc0 is not read): what
// lumaNormal and lumaStrong read, built in registers.
struct EdgeLanes {
    __m128i am1, bm1, sm1, tc0, active;
};

// Lines with nonzero strength among four strengths (each over 4 lanes).
MOX_INLINE __m128i activeOf(const Mox8u* bs) {
    return _mm_xor_si128(Bytes::isZero(spread4(bs)), _mm_set1_epi8(-1));
}

// A horizontal luma edge of mixed strengths, its parameters built here.
__attribute__((noinline)) void lumaHorMixed(Mox8u* q, int step, const Mox8u* tc0, const Mox8u* bs, Limits l) {
    lumaHorEdge<EdgeKind::Mixed>(q, step, lanes(spread4(bs), spread4(tc0), broadcast(l)));
}

// Horizontal luma edge e of the macroblock at p, its strengths not all 0
// and none 4, with thresholds am1, bm1 (broadcast).
MOX_INLINE void lumaHorNormalAt(Mox8u* p, int step, int e, const Mox8u* tc0, const Mox8u* bs, __m128i am1, __m128i bm1) {
    const EdgeLanes L{am1, bm1, am1, spread4(tc0 + 4 * e), activeOf(bs + 4 * e)};
    lumaHorEdge<EdgeKind::Normal>(row(p, step, 4 * e), step, L);
}

// Horizontal luma edge e of any strengths with usable thresholds l.
MOX_INLINE void lumaHorEdgeAt(Mox8u* p, int step, int e, const Mox8u* tc0, const Mox8u* bs, const Limits& l,
                              __m128i am1, __m128i bm1, __m128i sm1) {
    const uint32_t b4 = load32(bs + 4 * e);
    if (b4 == 0) return;
    Mox8u* q = row(p, step, 4 * e);
    if (onlyStrong(b4))
        lumaHorEdge<EdgeKind::Strong>(q, step, EdgeLanes{am1, bm1, sm1, am1, activeOf(bs + 4 * e)});
    else if (hasStrong(b4))
        lumaHorMixed(q, step, tc0 + 4 * e, bs + 4 * e, l);
    else
        lumaHorNormalAt(p, step, e, tc0, bs, am1, bm1);
}

// Edge 0 takes the thresholds of the macroblock edge (class 0), edges 1..3
// the inner ones (class 1). With 8-bit alpha and beta, alpha - 1 and beta - 1
// are bytes (wrapping only for 0, which turns the class off). Without
// strength 4 anywhere (inter macroblocks) every edge runs the normal filter
// alone, unrolled.
__attribute__((noinline)) void lumaHorEdges(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0,
                                            const Mox8u* bs) {
    const bool off0 = alpha[0] == 0 || beta[0] == 0, off1 = alpha[1] == 0 || beta[1] == 0;
    const __m128i am1 = Bytes::set(alpha[1] - 1), bm1 = Bytes::set(beta[1] - 1);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(simd::load<16>(bs), Bytes::set(4))) == 0) {
        if (!off0 && load32(bs) != 0) lumaHorNormalAt(p, step, 0, tc0, bs, Bytes::set(alpha[0] - 1), Bytes::set(beta[0] - 1));
        if (off1) return;
        #pragma GCC unroll 4
        for (int e = 1; e < 4; ++e)
            if (load32(bs + 4 * e) != 0) lumaHorNormalAt(p, step, e, tc0, bs, am1, bm1);
        return;
    }
    const Limits l0 = limits(alpha[0], beta[0]), l1 = limits(alpha[1], beta[1]);
    if (!off0) lumaHorEdgeAt(p, step, 0, tc0, bs, l0, Bytes::set(l0.am1), Bytes::set(l0.bm1), Bytes::set(l0.sm1));
    if (off1) return;
    const __m128i sm1 = Bytes::set(l1.sm1);
    for (int e = 1; e < 4; ++e) lumaHorEdgeAt(p, step, e, tc0, bs, l1, am1, bm1, sm1);
}

MOX_INLINE void lumaHor(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    uint64_t lo, hi;
    std::memcpy(&lo, bs, 8);
    std::memcpy(&hi, bs + 8, 8);
    if ((lo | hi) != 0) lumaHorEdges(p, step, alpha, beta, tc0, bs);
}

// The whole macroblock is transposed once (columns -4..15 as 20 registers of
// 16 rows), its four edges filtered in turn, and transposed back: edge e+1
// reads what edge e wrote from registers, never through a partly overlapping
// store.
void lumaVer(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    if ((load32(bs) | load32(bs + 4) | load32(bs + 8) | load32(bs + 12)) == 0) return;
    const Broadcast cls[2] = {broadcast(limits(alpha[0], beta[0])), broadcast(limits(alpha[1], beta[1]))};
    __m128i c[24], r[16];
    // With edge 0 off, columns -4..-1 (perhaps outside the picture) are
    // neither read nor written: they enter as zeros and are not stored.
    const bool edge0 = load32(bs) != 0;
    for (int b = 0; b < 3; ++b) {  // columns -4..3, 4..11, 8..15
        const int x = b == 2 ? 8 : 8 * b - 4;
        if (b == 0 && !edge0) {
            #pragma GCC unroll 16
            for (int y = 0; y < 16; ++y)
                r[y] = _mm_slli_si128(_mm_cvtsi32_si128(static_cast<int>(load32(row(p, step, y)))), 4);
        } else {
            #pragma GCC unroll 16
            for (int y = 0; y < 16; ++y) r[y] = simd::load<8>(row(p, step, y) + x);
        }
        transpose16x8(r, c + (b == 2 ? 12 : 8 * b));
    }
    bool changed = false;
    for (int e = 0; e < 4; ++e) {
        if (load32(bs + 4 * e) == 0) continue;
        const Broadcast& l = cls[e ? 1 : 0];
        if (l.off) continue;
        const Lanes L = lanes(spread4(bs + 4 * e), spread4(tc0 + 4 * e), l);
        __m128i* v = c + 4 * e;
        const uint32_t b4 = load32(bs + 4 * e);
        changed |= onlyStrong(b4)  ? lumaStrong<Bytes>(v, L)
                   : hasStrong(b4) ? lumaFilter(v, L)
                                   : lumaNormal(v[1], v[2], v[3], v[4], v[5], v[6], L);
    }
    if (!changed) return;
    __m128i o[8];
    for (int b = 0; b < 3; ++b) {
        const int x = b == 2 ? 8 : 8 * b - 4;
        transpose8x16(c + (b == 2 ? 12 : 8 * b), o);
        if (b == 0 && !edge0) {
            #pragma GCC unroll 16
            for (int k = 0; k < 8; ++k) {
                store32(row(p, step, 2 * k), _mm_srli_si128(o[k], 4));
                store32(row(p, step, 2 * k + 1), _mm_srli_si128(o[k], 12));
            }
            continue;
        }
        #pragma GCC unroll 16
        for (int k = 0; k < 8; ++k) simd::store8x2(row(p, step, 2 * k) + x, row(p, step, 2 * k + 1) + x, o[k]);
    }
}

// Left edge of a field macroblock: 8 rows, strengths and tc0 each for 2 rows.
void lumaVerMbaff(Mox8u* p, int step, uint32_t alpha, uint32_t beta, const Mox8u* tc0, const Mox8u* bs) {
    const uint32_t b4 = load32(bs);
    const Limits l = limits(alpha, beta);
    if (b4 == 0 || l.off) return;
    const Lanes L = lanes(spread2(b4, 0), spread2(load32(tc0), 0), l, l);
    Mox8u* q = p - 4;
    __m128i in[4], c[4], v[8];
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) in[k] = simd::load8x2(row(q, step, 2 * k), row(q, step, 2 * k + 1));
    transpose8x8(in, c);
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) {
        v[2 * k] = c[k];
        v[2 * k + 1] = _mm_unpackhi_epi64(c[k], c[k]);
    }
    if (!lumaFilter(v, L)) return;
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) c[k] = _mm_unpacklo_epi64(v[2 * k], v[2 * k + 1]);
    transpose8x8(c, in);
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) simd::store8x2(row(q, step, 2 * k), row(q, step, 2 * k + 1), in[k]);
}

// ---------------------------------------------------------------- 4:2:0 chroma

// Both edges at once: low lanes edge 0, high lanes edge 1 (chroma edges 4
// apart never touch each other's samples). Lane k is line k of its edge.
MOX_INLINE Lanes chromaLanes(const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    return lanes(spread2(load32(bs), load32(bs + 8)), spread2(load32(tc0), load32(tc0 + 4)), limits(alpha[0], beta[0]),
                 limits(alpha[1], beta[1]));
}

void chromaHor(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    if ((load32(bs) | load32(bs + 8)) == 0) return;
    const Lanes L = chromaLanes(alpha, beta, tc0, bs);
    // With edge 0 off, rows -2 and -1 (perhaps outside the picture) are
    // neither read nor written: edge 1's rows stand in for them.
    const bool edge0 = load32(bs) != 0;
    auto ld = [&](int y) { return simd::load8x2(row(p, step, y < 0 && !edge0 ? y + 4 : y), row(p, step, y + 4)); };
    const __m128i p1 = ld(-2), q1 = ld(1);
    __m128i p0 = ld(-1), q0 = ld(0);
    if (!chromaFilter(p1, p0, q0, q1, L)) return;
    if (edge0)
        simd::store8x2(row(p, step, -1), row(p, step, 3), p0);
    else
        _mm_storeh_pi(reinterpret_cast<__m64*>(row(p, step, 3)), _mm_castsi128_ps(p0));
    simd::store8x2(row(p, step, 0), row(p, step, 4), q0);
}

void chromaVer(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    if ((load32(bs) | load32(bs + 8)) == 0) return;
    const Lanes L = chromaLanes(alpha, beta, tc0, bs);
    Mox8u* q = p - 2;  // columns -2..5 hold p1..q1 of both edges
    // With edge 0 off, columns -2 and -1 (perhaps outside the picture) are
    // neither read nor written: columns 0..7 are loaded and shifted into place.
    const bool edge0 = load32(bs) != 0;
    __m128i in[4], c[4], orig[4];
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) {
        if (edge0) {
            in[k] = orig[k] = simd::load8x2(row(q, step, 2 * k), row(q, step, 2 * k + 1));
        } else {
            orig[k] = simd::load8x2(row(p, step, 2 * k), row(p, step, 2 * k + 1));
            in[k] = _mm_slli_epi64(orig[k], 16);
        }
    }
    transpose8x8(in, c);
    const __m128i p1 = _mm_unpacklo_epi64(c[0], c[2]), q1 = _mm_unpackhi_epi64(c[1], c[3]);
    __m128i p0 = _mm_unpackhi_epi64(c[0], c[2]), q0 = _mm_unpacklo_epi64(c[1], c[3]);
    if (!chromaFilter(p1, p0, q0, q1, L)) return;
    c[0] = _mm_unpacklo_epi64(p1, p0);
    c[2] = _mm_unpackhi_epi64(p1, p0);
    c[1] = _mm_unpacklo_epi64(q0, q1);
    c[3] = _mm_unpackhi_epi64(q0, q1);
    transpose8x8(c, in);
    if (!edge0) {
        // Columns 0..5 back in place, columns 6 and 7 as they were.
        #pragma GCC unroll 16
        for (int k = 0; k < 4; ++k)
            simd::store8x2(row(p, step, 2 * k), row(p, step, 2 * k + 1), _mm_blend_epi16(_mm_srli_epi64(in[k], 16), orig[k], 0x88));
        return;
    }
    #pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) simd::store8x2(row(q, step, 2 * k), row(q, step, 2 * k + 1), in[k]);
}

// Interleaved U/V: lane 2k + c is component c of line k.
void chromaHorC2(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    #pragma GCC unroll 16
    for (int c = 0; c < 2; ++c) {
        if (load32(bs + 8 * c) == 0) continue;
        const Limits l = limits(alpha[c], beta[c]);
        if (l.off) continue;
        const Lanes L = lanes(spread4(bs + 8 * c), spread4(tc0 + 4 * c), l, l);
        Mox8u* q = row(p, step, 4 * c);
        const __m128i p1 = simd::load<16>(row(q, step, -2)), q1 = simd::load<16>(row(q, step, 1));
        __m128i p0 = simd::load<16>(row(q, step, -1)), q0 = simd::load<16>(q);
        if (!chromaFilter(p1, p0, q0, q1, L)) continue;
        simd::store<16>(row(q, step, -1), p0);
        simd::store<16>(q, q0);
    }
}

// 8 rows of 8 U/V pairs transposed as 16-bit units (in place, its own inverse).
MOX_INLINE void transpose8x8w(__m128i r[8]) {
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
    // b[4h + 2i + j]: columns 4h + 2j, 4h + 2j + 1 of rows 4i..4i+3.
    #pragma GCC unroll 16
    for (int h = 0; h < 2; ++h) {
        #pragma GCC unroll 16
        for (int j = 0; j < 2; ++j) {
            r[4 * h + 2 * j] = _mm_unpacklo_epi64(b[4 * h + j], b[4 * h + 2 + j]);
            r[4 * h + 2 * j + 1] = _mm_unpackhi_epi64(b[4 * h + j], b[4 * h + 2 + j]);
        }
    }
}

void chromaVerC2(Mox8u* p, int step, const Mox8u* alpha, const Mox8u* beta, const Mox8u* tc0, const Mox8u* bs) {
    if ((load32(bs) | load32(bs + 8)) == 0) return;
    Mox8u* q = p - 4;  // bytes -4..11: U/V pairs p1..q1 of both edges
    // With edge 0 off, bytes -4..-1 (perhaps outside the picture) are neither
    // read nor written: bytes 0..15 are loaded and shifted into place.
    const bool edge0 = load32(bs) != 0;
    __m128i v[8], orig[8] = {};
    #pragma GCC unroll 16
    for (int y = 0; y < 8; ++y) {
        if (edge0) {
            v[y] = simd::load<16>(row(q, step, y));
        } else {
            orig[y] = simd::load<16>(row(p, step, y));
            v[y] = _mm_slli_si128(orig[y], 4);
        }
    }
    transpose8x8w(v);
    bool changed = false;
    #pragma GCC unroll 16
    for (int c = 0; c < 2; ++c) {
        if (load32(bs + 8 * c) == 0) continue;
        const Limits l = limits(alpha[c], beta[c]);
        if (l.off) continue;
        const Lanes L = lanes(spread4(bs + 8 * c), spread4(tc0 + 4 * c), l, l);
        changed |= chromaFilter(v[4 * c], v[4 * c + 1], v[4 * c + 2], v[4 * c + 3], L);
    }
    if (!changed) return;
    transpose8x8w(v);
    if (!edge0) {
        // Bytes 0..11 back in place, bytes 12..15 as they were.
        #pragma GCC unroll 16
        for (int y = 0; y < 8; ++y) simd::store<16>(row(p, step, y), _mm_blend_epi16(_mm_srli_si128(v[y], 4), orig[y], 0xC0));
        return;
    }
    #pragma GCC unroll 16
    for (int y = 0; y < 8; ++y) simd::store<16>(row(q, step, y), v[y]);
}

// Left edge of a field macroblock: 4 rows, one strength and tc0 each.
void chromaVerMbaff(Mox8u* p, int step, uint32_t alpha, uint32_t beta, const Mox8u* tc0, const Mox8u* bs) {
    const uint32_t b4 = load32(bs);
    const Limits l = limits(alpha, beta);
    if (b4 == 0 || l.off) return;
    const Lanes L = lanes(_mm_cvtsi32_si128(static_cast<int>(b4)), _mm_cvtsi32_si128(static_cast<int>(load32(tc0))), l, l);
    Mox8u* q = p - 2;
    const __m128i t4 = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m128i c = _mm_shuffle_epi8(
        simd::load4x4(row(q, step, 0), row(q, step, 1), row(q, step, 2), row(q, step, 3)), t4);
    const __m128i p1 = c, q1 = _mm_srli_si128(c, 12);
    __m128i p0 = _mm_srli_si128(c, 4), q0 = _mm_srli_si128(c, 8);
    if (!chromaFilter(p1, p0, q0, q1, L)) return;
    const __m128i o = _mm_shuffle_epi8(
        _mm_unpacklo_epi64(_mm_unpacklo_epi32(p1, p0), _mm_unpacklo_epi32(q0, q1)), t4);
    simd::store<4>(row(q, step, 0), o);
    simd::store<4>(row(q, step, 1), _mm_srli_si128(o, 4));
    simd::store<4>(row(q, step, 2), _mm_srli_si128(o, 8));
    simd::store<4>(row(q, step, 3), _mm_srli_si128(o, 12));
}

// ---------------------------------------------------------------- 4:2:2 chroma

void chroma422Ver(const MoxiFilterDeblock_8u* d) {
    const Mox8u* bs = d->pBs;
    if ((load32(bs) | load32(bs + 8)) == 0) return;
    Mox8u* p = d->pSrcDstPlane;
    Mox8u* q = p - 2;  // columns -2..5
    const int step = d->srcDstStep;
    // With edge 0 off, columns -2 and -1 (perhaps outside the picture) are
    // neither read nor written: columns 0..7 are loaded and shifted into place.
    const bool edge0 = load32(bs) != 0;
    __m128i r[16], v[8], o[8];
    #pragma GCC unroll 16
    for (int y = 0; y < 16; ++y) r[y] = edge0 ? simd::load<8>(row(q, step, y)) : simd::load<8>(row(p, step, y));
    if (edge0) {
        transpose16x8(r, v);
    } else {
        __m128i s[16];
        #pragma GCC unroll 16
        for (int y = 0; y < 16; ++y) s[y] = _mm_slli_epi64(r[y], 16);
        transpose16x8(s, v);
    }
    bool changed = false;
    #pragma GCC unroll 16
    for (int c = 0; c < 2; ++c) {
        if (load32(bs + 8 * c) == 0) continue;
        const Limits l = limits(d->pAlpha[c], d->pBeta[c]);
        if (l.off) continue;
        const Lanes L = lanes(spread4(bs + 8 * c), spread4(d->pThresholds + 4 * c), l, l);
        changed |= chromaFilter(v[4 * c], v[4 * c + 1], v[4 * c + 2], v[4 * c + 3], L);
    }
    if (!changed) return;
    transpose8x16(v, o);
    if (!edge0) {
        // Columns 0..5 back in place, columns 6 and 7 as they were.
        #pragma GCC unroll 16
        for (int k = 0; k < 8; ++k)
            simd::store8x2(row(p, step, 2 * k), row(p, step, 2 * k + 1),
                     _mm_blend_epi16(_mm_srli_epi64(o[k], 16), _mm_unpacklo_epi64(r[2 * k], r[2 * k + 1]), 0x88));
        return;
    }
    #pragma GCC unroll 16
    for (int k = 0; k < 8; ++k) simd::store8x2(row(q, step, 2 * k), row(q, step, 2 * k + 1), o[k]);
}

// Horizontal edges in pairs (0, 1) and (2, 3), low lanes the first of a pair.
void chroma422Hor(const MoxiFilterDeblock_8u* d) {
    Mox8u* p = d->pSrcDstPlane;
    const int step = d->srcDstStep;
    const Mox8u* bs = d->pBs;
    #pragma GCC unroll 16
    for (int k = 0; k < 2; ++k) {
        const uint32_t b0 = load32(bs + 8 * k), b1 = load32(bs + 8 * k + 4);
        if ((b0 | b1) == 0) continue;
        const Limits l0 = limits(d->pAlpha[k ? 1 : 0], d->pBeta[k ? 1 : 0]), l1 = limits(d->pAlpha[1], d->pBeta[1]);
        Lanes L = lanes(spread2(b0, b1), spread2(load32(d->pThresholds + 8 * k), load32(d->pThresholds + 8 * k + 4)),
                        l0, l1);
        // An edge whose first strength is 4 is filtered strong across its whole width.
        const __m128i whole = _mm_set_epi64x((b1 & 0xFF) == 4 ? -1 : 0, (b0 & 0xFF) == 4 ? -1 : 0);
        const __m128i usable = _mm_set_epi64x(l1.off ? 0 : -1, l0.off ? 0 : -1);
        L.strong = whole;
        L.active = _mm_or_si128(L.active, _mm_and_si128(whole, usable));
        Mox8u* q = row(p, step, 8 * k);
        // With edge 0 off, rows -2 and -1 (perhaps outside the picture) are
        // neither read nor written: edge 1's rows stand in for them.
        const bool outer = k == 0 && b0 == 0;
        auto ld = [&](int y) { return simd::load8x2(row(q, step, y < 0 && outer ? y + 4 : y), row(q, step, y + 4)); };
        const __m128i p1 = ld(-2), q1 = ld(1);
        __m128i p0 = ld(-1), q0 = ld(0);
        if (!chromaFilter(p1, p0, q0, q1, L)) continue;
        if (outer)
            _mm_storeh_pi(reinterpret_cast<__m64*>(row(q, step, 3)), _mm_castsi128_ps(p0));
        else
            simd::store8x2(row(q, step, -1), row(q, step, 3), p0);
        simd::store8x2(q, row(q, step, 4), q0);
    }
}

}  // namespace

#define MOX_DEBLOCK_8U(name, kernel)                                                                            \
    MOX_FN name(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta,                     \
                const Mox8u* pThresholds, const Mox8u* pBs) {                                                   \
        MOX_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);                                               \
        kernel(pSrcDst, srcdstStep, pAlpha, pBeta, pThresholds, pBs);                                           \
        return moxStsNoErr;                                                                                     \
    }

MOX_DEBLOCK_8U(moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR, lumaVer)
MOX_DEBLOCK_8U(moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR, lumaHor)
MOX_DEBLOCK_8U(moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR, chromaVer)
MOX_DEBLOCK_8U(moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR, chromaHor)
MOX_DEBLOCK_8U(moxiFilterDeblockingChroma_VerEdge_H264_8u_C2IR, chromaVerC2)
MOX_DEBLOCK_8U(moxiFilterDeblockingChroma_HorEdge_H264_8u_C2IR, chromaHorC2)

#define MOX_DEBLOCK_MBAFF_8U(name, kernel)                                                                      \
    MOX_FN name(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u alpha, Mox32u beta, const Mox8u* pThresholds,         \
                const Mox8u* pBs) {                                                                             \
        MOX_CHECK_PTRS(pSrcDst, pThresholds, pBs);                                                              \
        if (alpha == 0) return moxStsNoErr;                                                                     \
        kernel(pSrcDst, srcdstStep, alpha, beta, pThresholds, pBs);                                             \
        return moxStsNoErr;                                                                                     \
    }

MOX_DEBLOCK_MBAFF_8U(moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR, lumaVerMbaff)
MOX_DEBLOCK_MBAFF_8U(moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR, chromaVerMbaff)

#define MOX_DEBLOCK_REC_8U(name, kernel)                                                                        \
    MOX_FN name(const MoxiFilterDeblock_8u* pDeblockInfo) {                                                     \
        MOX_CHECK_PTRS(pDeblockInfo);                                                                           \
        MOX_CHECK_PTRS(pDeblockInfo->pSrcDstPlane);                                                             \
        MOX_CHECK_PTRS(pDeblockInfo->pAlpha, pDeblockInfo->pBeta);                                              \
        MOX_CHECK_PTRS(pDeblockInfo->pThresholds, pDeblockInfo->pBs);                                           \
        kernel(pDeblockInfo);                                                                                   \
        return moxStsNoErr;                                                                                     \
    }

MOX_DEBLOCK_REC_8U(moxiFilterDeblockingChroma422VerEdge_H264_8u_C1IR, chroma422Ver)
MOX_DEBLOCK_REC_8U(moxiFilterDeblockingChroma422HorEdge_H264_8u_C1IR, chroma422Hor)

MOX_FN moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(const MoxiFilterDeblock_8u*) {
    return moxStsNotImplementedErr;
}
