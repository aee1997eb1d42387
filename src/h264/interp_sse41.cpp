// H.264 luma quarter-sample interpolation of 8-bit samples.
//
// Half samples use pmaddubsw on byte pairs with the tap pairs (1, -5),
// (20, 20) and (-5, 1); the sums fit 16 bits (-2550..10710) and round with
// pmulhrsw by 1024, which is (v + 16) >> 5. The centre half sample filters
// the unrounded horizontal sums of a band of rows vertically, still in
// 16-bit lanes (see centre()). Quarter samples are pavgb of the two half or
// integer samples they lie between, computed in the same pass.
#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "core/check.h"
#include "h264/interp_kernels.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

// Byte pair (a, b) repeated, as the signed operand of pmaddubsw.
inline __m128i taps8(int a, int b) {
    return _mm_set1_epi16(static_cast<short>((static_cast<unsigned>(b) << 8) | (static_cast<unsigned>(a) & 0xFFu)));
}

// (v + 16) >> 5 in 16-bit lanes.
inline __m128i round5(__m128i v) { return _mm_mulhrs_epi16(v, _mm_set1_epi16(1024)); }

// Horizontal 6-tap sums come from six unaligned loads per row at x - 2 ..
// x + 3 (no byte outside columns x - 2 .. x + W + 2 is read): pmaddubsw on
// the loads at x - 2, x and x + 2 gives the even outputs, at x - 1, x + 1 and
// x + 3 the odd ones. The sums stay in "parity order" (evens, then odds)
// through the vertical pass of the centre; one pshufb (Order) restores the
// sample order of the packed bytes.
template <int W>
inline void hsum(const Mox8u* p, __m128i& lo, __m128i& hi) {
    auto part = [p](int o) {
        return _mm_add_epi16(_mm_add_epi16(_mm_maddubs_epi16(simd::load<W>(p + o - 2), taps8(1, -5)),
                                           _mm_maddubs_epi16(simd::load<W>(p + o), taps8(20, 20))),
                             _mm_maddubs_epi16(simd::load<W>(p + o + 2), taps8(-5, 1)));
    };
    const __m128i ev = part(0), od = part(1);
    if constexpr (W == 16) {
        lo = ev;
        hi = od;
    } else if constexpr (W == 8) {
        lo = hi = _mm_unpacklo_epi64(ev, od);
    } else {
        lo = hi = _mm_unpacklo_epi32(ev, od);
    }
}

// pshufb from the packed bytes of parity-ordered sums (packus(lo, hi)) to samples in order.
template <int W>
inline __m128i order(__m128i v) {
    if constexpr (W == 16)
        return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    else if constexpr (W == 8)
        return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 0, 4, 1, 5, 2, 6, 3, 7));
    else
        return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 2, 1, 3, 0, 2, 1, 3, 0, 2, 1, 3, 0, 2, 1, 3));
}

// The vertical half samples of one column block, row after row: each
// source row is loaded once and kept while the six-row window passes it.
template <int W>
class VWindow {
public:
    VWindow(const Mox8u* p, int step) : p_(row(p, step, 3)), step_(step) {
        r0_ = simd::load<W>(row(p, step, -2));
        r1_ = simd::load<W>(row(p, step, -1));
        r2_ = simd::load<W>(p);
        r3_ = simd::load<W>(row(p, step, 1));
        r4_ = simd::load<W>(row(p, step, 2));
    }
    __m128i next() {
        const __m128i r5 = simd::load<W>(p_);
        p_ = row(p_, step_, 1);
        const __m128i lo = sum(_mm_unpacklo_epi8(r0_, r1_), _mm_unpacklo_epi8(r2_, r3_), _mm_unpacklo_epi8(r4_, r5));
        const __m128i hi =
            W == 16 ? sum(_mm_unpackhi_epi8(r0_, r1_), _mm_unpackhi_epi8(r2_, r3_), _mm_unpackhi_epi8(r4_, r5)) : lo;
        r0_ = r1_;
        r1_ = r2_;
        r2_ = r3_;
        r3_ = r4_;
        r4_ = r5;
        return _mm_packus_epi16(round5(lo), round5(hi));
    }

private:
    static __m128i sum(__m128i q0, __m128i q2, __m128i q4) {
        return _mm_add_epi16(_mm_add_epi16(_mm_maddubs_epi16(q0, taps8(1, -5)), _mm_maddubs_epi16(q2, taps8(20, 20))),
                             _mm_maddubs_epi16(q4, taps8(-5, 1)));
    }

    const Mox8u* p_;
    int step_;
    __m128i r0_, r1_, r2_, r3_, r4_;
};

inline __m128i packRounded(__m128i lo, __m128i hi) { return _mm_packus_epi16(round5(lo), round5(hi)); }

template <int W>
inline __m128i hHalf(const Mox8u* p) {
    __m128i lo, hi;
    hsum<W>(p, lo, hi);
    return order<W>(packRounded(lo, hi));
}


using Kernel = void (*)(const Mox8u*, int, Mox8u*, int, int);

constexpr int kBandRows = 16;

// Positions that need no centre sample: integer, horizontal or vertical
// half and their quarters, and the four diagonal quarters.
template <int W, int DX, int DY>
MOX_OUT_OF_LINE void lumaRows(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    if constexpr (DY == 0) {
        for (int y = 0; y < h; ++y) {
            const Mox8u* s = row(src, ss, y);
            __m128i v;
            if constexpr (DX == 0) {
                v = simd::load<W>(s);
            } else {
                v = hHalf<W>(s);
                if constexpr (DX != 2) v = _mm_avg_epu8(v, simd::load<W>(s + (DX == 3)));
            }
            simd::store<W>(row(dst, ds, y), v);
        }
    } else {
        VWindow<W> vw(src + (DX == 3), ss);
        for (int y = 0; y < h; ++y) {
            const Mox8u* s = row(src, ss, y);
            __m128i v = vw.next();
            if constexpr (DX == 0 && DY != 2) v = _mm_avg_epu8(v, simd::load<W>(row(s, ss, DY == 3)));
            if constexpr (DX != 0) v = _mm_avg_epu8(v, hHalf<W>(row(s, ss, DY == 3)));
            simd::store<W>(row(dst, ds, y), v);
        }
    }
}

// The centre and the four quarters next to it, in bands of up to 16 rows.
// With a = t0 + t5, b = t1 + t4, c = t2 + t3 of the unrounded horizontal
// sums t (each -2550..10710), the centre is (a - 5b + 20c + 512) >> 10, which
// equals (((((a - b) >> 2) - b + c) >> 2) + c + 32) >> 6 exactly (floors of
// floors), so it stays in 16-bit lanes. Only the middle sum can leave the
// 16-bit range, and only when the sample clamps anyway: a saturating add
// there keeps the clamped result.
template <int W>
inline __m128i centre(const __m128i* t0, const __m128i* t1, const __m128i* t2, const __m128i* t3, const __m128i* t4,
                      const __m128i* t5, int k) {
    const __m128i a = _mm_add_epi16(t0[k], t5[k]), b = _mm_add_epi16(t1[k], t4[k]), c = _mm_add_epi16(t2[k], t3[k]);
    __m128i x = _mm_adds_epi16(_mm_srai_epi16(_mm_sub_epi16(a, b), 2), _mm_sub_epi16(c, b));
    x = _mm_add_epi16(_mm_srai_epi16(x, 2), c);
    return _mm_mulhrs_epi16(x, _mm_set1_epi16(512));  // (x + 32) >> 6
}

template <int W, int DX, int DY>
MOX_OUT_OF_LINE void lumaCentre(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    constexpr int R = W == 16 ? 2 : 1;  // registers per row of sums
    __m128i t[kBandRows + 5][R];
    // (1, 2) and (3, 2) average with the vertical half sample h or m.
    VWindow<W> vw(src + (DX == 3), ss);
    for (int y0 = 0; y0 < h; y0 += kBandRows) {
        const int hb = std::min(kBandRows, h - y0);
        const Mox8u* s = row(src, ss, y0 - 2);
        for (int i = 0; i < hb + 5; ++i) {
            __m128i lo, hi;
            hsum<W>(row(s, ss, i), lo, hi);
            t[i][0] = lo;
            if constexpr (R == 2) t[i][1] = hi;
        }
        for (int y = 0; y < hb; ++y) {
            const __m128i lo = centre<W>(t[y], t[y + 1], t[y + 2], t[y + 3], t[y + 4], t[y + 5], 0);
            const __m128i hi = R == 2 ? centre<W>(t[y], t[y + 1], t[y + 2], t[y + 3], t[y + 4], t[y + 5], R - 1) : lo;
            __m128i v = _mm_packus_epi16(lo, hi);
            const int yy = y0 + y;
            if constexpr (DX == 2 && DY != 2) {
                // b of this row (DY 1) or the next (DY 3), still in parity order.
                const int r = y + 2 + (DY == 3);
                v = order<W>(_mm_avg_epu8(v, packRounded(t[r][0], t[r][R - 1])));
            } else if constexpr (DX != 2) {
                v = _mm_avg_epu8(order<W>(v), vw.next());
            } else {
                v = order<W>(v);
            }
            simd::store<W>(row(dst, ds, yy), v);
        }
    }
}

template <int W, int DX, int DY>
constexpr Kernel pick() {
    if constexpr ((DX == 2 && DY != 0) || (DY == 2 && DX != 0))
        return lumaCentre<W, DX, DY>;
    else
        return lumaRows<W, DX, DY>;
}

template <int W, size_t... I>
constexpr std::array<Kernel, 16> makeTable(std::index_sequence<I...>) {
    return {{pick<W, static_cast<int>(I & 3), static_cast<int>(I >> 2)>()...}};
}

template <int W>
constexpr std::array<Kernel, 16> kLuma = makeTable<W>(std::make_index_sequence<16>{});

inline void lumaStrips(const Mox8u* src, int ss, Mox8u* dst, int ds, int dx, int dy, int w, int h) {
    const int pos = dy * 4 + dx;
    if (w & 16) kLuma<16>[pos](src, ss, dst, ds, h);
    if (w & 8) kLuma<8>[pos](src + (w & 16), ss, dst + (w & 16), ds, h);
    if (w & 4) kLuma<4>[pos](src + (w & 24), ss, dst + (w & 24), ds, h);
}

}  // namespace

namespace mox::interp {

void luma8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int dx, int dy, int w, int h) {
    lumaStrips(src, srcStep, dst, dstStep, dx, dy, w, h);
}

}  // namespace mox::interp

MOX_FN moxiInterpolateLuma_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx,
                                       Mox32s dy, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(static_cast<Mox32u>(dx | dy) <= 3u, moxStsBadArgErr);
    MOX_CHECK((roiSize.height & 3) == 0 && (roiSize.width & ~0x1C) == 0, moxStsSizeErr);
    lumaStrips(pSrc, srcStep, pDst, dstStep, dx, dy, roiSize.width, roiSize.height);
    return moxStsNoErr;
}
