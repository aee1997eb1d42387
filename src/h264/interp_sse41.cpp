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
#include <type_traits>
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

// The vertical half samples of one column block, four rows at a time
// (luma heights are multiples of 4). The byte pairs P(k) = (row k, row k + 1)
// are interleaved once each and kept: row y is P(y - 2) * (1, -5) +
// P(y) * (20, 20) + P(y + 2) * (-5, 1). The four kept pairs rotate through
// the four steps, so no register moves between them.
template <int W>
class VWindow {
public:
    VWindow(const Mox8u* p, int step) : src_(row(p, step, 3)), step_(step) {
        const __m128i r0 = simd::load<W>(row(p, step, -2)), r1 = simd::load<W>(row(p, step, -1));
        const __m128i r2 = simd::load<W>(p), r3 = simd::load<W>(row(p, step, 1));
        last_ = simd::load<W>(row(p, step, 2));
        pair(r0, r1, p_[0]);
        pair(r1, r2, p_[1]);
        pair(r2, r3, p_[2]);
        pair(r3, last_, p_[3]);
    }
    [[gnu::always_inline]] void next4(__m128i (&out)[4]) {
        next4([&out](int i, __m128i v) { out[i] = v; });
    }
    // Each row handed to put(i, row) as soon as it is made, so that no more
    // than one is held.
    template <class F>
    [[gnu::always_inline]] void next4(F&& put) {
        put(0, next(p_[0], p_[2]));
        put(1, next(p_[1], p_[3]));
        put(2, next(p_[2], p_[0]));
        put(3, next(p_[3], p_[1]));
    }

private:
    // m2 = P(y - 2), replaced by P(y + 2); p0 = P(y).
    [[gnu::always_inline]] __m128i next(__m128i (&m2)[2], const __m128i (&p0)[2]) {
        const __m128i r = simd::load<W>(src_);
        src_ = row(src_, step_, 1);
        __m128i p2[2];
        pair(last_, r, p2);
        last_ = r;
        __m128i out[2];
        for (int k = 0; k < (W == 16 ? 2 : 1); ++k)
            out[k] = round5(_mm_add_epi16(_mm_add_epi16(_mm_maddubs_epi16(m2[k], taps8(1, -5)),
                                                        _mm_maddubs_epi16(p0[k], taps8(20, 20))),
                                          _mm_maddubs_epi16(p2[k], taps8(-5, 1))));
        m2[0] = p2[0];
        m2[1] = p2[1];
        return _mm_packus_epi16(out[0], W == 16 ? out[1] : out[0]);
    }
    static void pair(__m128i a, __m128i b, __m128i (&p)[2]) {
        p[0] = _mm_unpacklo_epi8(a, b);
        p[1] = W == 16 ? _mm_unpackhi_epi8(a, b) : p[0];
    }

    const Mox8u* src_;
    int step_;
    __m128i last_, p_[4][2];
};

inline __m128i packRounded(__m128i lo, __m128i hi) { return _mm_packus_epi16(round5(lo), round5(hi)); }

template <int W>
inline __m128i hHalf(const Mox8u* p) {
    __m128i lo, hi;
    hsum<W>(p, lo, hi);
    return order<W>(packRounded(lo, hi));
}


// Kernels return moxStsNoErr, so that a wrapper ends in a tail call.
using Kernel = MoxStatus (*)(const Mox8u*, int, Mox8u*, int, int);

constexpr int kBandRows = 16;

// Positions that need no centre sample: integer, horizontal or vertical
// half and their quarters, and the four diagonal quarters.
template <int W, int DX, int DY>
[[gnu::always_inline]] inline void lumaRowsBody(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    if constexpr (DY == 0) {
#pragma GCC unroll 4
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
#pragma GCC unroll 4
        for (int y0 = 0; y0 < h; y0 += 4) {
            vw.next4([&](int i, __m128i v) __attribute__((always_inline)) {
                const Mox8u* s = row(src, ss, y0 + i);
                if constexpr (DX == 0 && DY != 2) v = _mm_avg_epu8(v, simd::load<W>(row(s, ss, DY == 3)));
                if constexpr (DX != 0) v = _mm_avg_epu8(v, hHalf<W>(row(s, ss, DY == 3)));
                simd::store<W>(row(dst, ds, y0 + i), v);
            });
        }
    }
}

// Sixteen wide with a vertical filter, heights 16 and 8 run fully unrolled:
// the window of row pairs then stays in registers without moves between
// groups of four rows.
template <int W, int DX, int DY>
MOX_OUT_OF_LINE MoxStatus lumaRows(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    if constexpr (W == 16 && DY != 0) {
        switch (h) {
            case 16: lumaRowsBody<W, DX, DY>(src, ss, dst, ds, 16); break;
            case 8: lumaRowsBody<W, DX, DY>(src, ss, dst, ds, 8); break;
            default: lumaRowsBody<W, DX, DY>(src, ss, dst, ds, h); break;
        }
    } else {
        lumaRowsBody<W, DX, DY>(src, ss, dst, ds, h);
    }
    return moxStsNoErr;
}

// The centre and the four quarters next to it, in bands of up to 16 rows.
// With a = t0 + t5, b = t1 + t4, c = t2 + t3 of the unrounded horizontal
// sums t (each -2550..10710), the centre is (a - 5b + 20c + 512) >> 10, which
// equals (((((a - b) >> 2) - b + c) >> 2) + c + 32) >> 6 exactly (floors of
// floors), so it stays in 16-bit lanes. The differences of neighbouring rows
// d_k = t_k - t_(k+1) (within +-13260) give a - b = d0 - d4 and
// c - b = d3 - d1 (within +-26520). Only the middle sum can leave the
// 16-bit range, and only when the sample clamps anyway: a saturating add
// there keeps the clamped result.
//
// Sixteen wide (the centre and the quarters above and below it), one pass
// over the rows: each new row's sums t5 give its difference from the row
// before, e5 = t5 - t4 = -d4, and its sum with it (c of the row three
// above), kept in the band; the row five above is then complete, with
// a - b = e5 - e1 made from e5 while it is still in a register and
// c - b = e2 - e4. The quarters average with the horizontal half sample b,
// rounded when its row's sums are made.
struct BandRow {
    __m128i e[2], c[2], b;  // difference from the previous row, sum with it, rounded b (parity order)
};

template <int DY>
[[gnu::always_inline]] inline void centreWide(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    constexpr int W = 16, R = 2;
    constexpr bool kB = DY != 2;  // averaged with b
    BandRow band[kBandRows + 5];
    for (int y0 = 0; y0 < h; y0 += kBandRows) {
        const int hb = std::min(kBandRows, h - y0);
        const Mox8u* s = row(src, ss, y0 - 2);
        __m128i prev[2];
        hsum<W>(s, prev[0], prev[1]);
        // Sums of row i: the band entries of row i, then with kOut the
        // centre of row i - 5 in 16-bit lanes.
        auto next = [&](auto kOut, int i, __m128i (&v)[2]) __attribute__((always_inline)) {
            __m128i cur[2];
            hsum<W>(row(s, ss, i), cur[0], cur[1]);
#pragma GCC unroll 2
            for (int k = 0; k < R; ++k) {
                const __m128i e = _mm_sub_epi16(cur[k], prev[k]);
                const __m128i c = _mm_add_epi16(prev[k], cur[k]);
                band[i].e[k] = e;
                band[i].c[k] = c;
                prev[k] = cur[k];
                if constexpr (decltype(kOut)::value) {
                    const BandRow* r = band + i - 5;
                    const __m128i ab = _mm_sub_epi16(e, r[1].e[k]), cb = _mm_sub_epi16(r[2].e[k], r[4].e[k]);
                    const __m128i x = _mm_adds_epi16(_mm_srai_epi16(ab, 2), cb);
                    v[k] = _mm_mulhrs_epi16(_mm_add_epi16(_mm_srai_epi16(x, 2), r[3].c[k]), _mm_set1_epi16(512));  // (x + 32) >> 6
                }
            }
            if constexpr (kB) band[i].b = packRounded(cur[0], cur[R - 1]);
        };
        __m128i v[2];
        for (int i = 1; i < 5; ++i) next(std::false_type{}, i, v);
        for (int y = 0; y < hb; ++y) {
            // The band's rows are read back from memory (as operands), not
            // carried in registers from row to row.
            asm volatile("" ::: "memory");
            next(std::true_type{}, y + 5, v);
            __m128i out = _mm_packus_epi16(v[0], v[1]);
            // b of this row (DY 1) or the next (DY 3), still in parity order.
            if constexpr (DY != 2) out = _mm_avg_epu8(out, band[y + 2 + (DY == 3)].b);
            simd::store<W>(row(dst, ds, y0 + y), order<16>(out));
        }
    }
}

// Otherwise the sums of each row and their differences to the next row go
// to the band, and the sample rows are made from them afterwards; (1, 2)
// and (3, 2) average with the vertical half sample h or m.
struct Sums {
    __m128i t[2], d[2];  // sums of a row (lo, hi) and their differences to the next row
};

inline __m128i centreHalf(const Sums* r, int k) {
    const __m128i c = _mm_add_epi16(r[2].t[k], r[3].t[k]);
    const __m128i ab = _mm_sub_epi16(r[0].d[k], r[4].d[k]), cb = _mm_sub_epi16(r[3].d[k], r[1].d[k]);
    const __m128i x = _mm_adds_epi16(_mm_srai_epi16(ab, 2), cb);
    return _mm_mulhrs_epi16(_mm_add_epi16(_mm_srai_epi16(x, 2), c), _mm_set1_epi16(512));  // (x + 32) >> 6
}

template <int W, int DX, int DY>
[[gnu::always_inline]] inline void centreBands(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    constexpr int R = W == 16 ? 2 : 1;  // registers per row of sums
    Sums t[kBandRows + 5];
    // (1, 2) and (3, 2) average with the vertical half sample h or m.
    VWindow<W> vw(src + (DX == 3), ss);
    __m128i v4[4];
    for (int y0 = 0; y0 < h; y0 += kBandRows) {
        const int hb = std::min(kBandRows, h - y0);
        const Mox8u* s = row(src, ss, y0 - 2);
        __m128i prev[2];
        hsum<W>(s, prev[0], prev[1]);
        t[0].t[0] = prev[0];
        t[0].t[1] = prev[1];
        for (int i = 1; i < hb + 5; ++i) {
            __m128i cur[2];
            hsum<W>(row(s, ss, i), cur[0], cur[1]);
            for (int k = 0; k < R; ++k) {
                t[i].t[k] = cur[k];
                t[i - 1].d[k] = _mm_sub_epi16(prev[k], cur[k]);
                prev[k] = cur[k];
            }
        }
        for (int y = 0; y < hb; ++y) {
            // Each row's operands come straight from the band (loads, no
            // register copies of values carried between rows).
            asm volatile("" ::: "memory");
            const __m128i lo = centreHalf(t + y, 0);
            const __m128i hi = R == 2 ? centreHalf(t + y, R - 1) : lo;
            __m128i v = _mm_packus_epi16(lo, hi);
            const int yy = y0 + y;
            if constexpr (DX == 2 && DY != 2) {
                // b of this row (DY 1) or the next (DY 3), still in parity order.
                const Sums& r = t[y + 2 + (DY == 3)];
                v = order<W>(_mm_avg_epu8(v, packRounded(r.t[0], r.t[R - 1])));
            } else if constexpr (DX != 2) {
                if ((y & 3) == 0) vw.next4(v4);
                v = _mm_avg_epu8(order<W>(v), v4[y & 3]);
            } else {
                v = order<W>(v);
            }
            simd::store<W>(row(dst, ds, yy), v);
        }
    }
}

// Sixteen wide, a row of sums takes two registers and the one-pass form
// loads fewer of them back; narrower, one register, and keeping the sums
// themselves stores fewer per row.
template <int W, int DX, int DY>
MOX_OUT_OF_LINE MoxStatus lumaCentre(const Mox8u* src, int ss, Mox8u* dst, int ds, int h) {
    if constexpr (W == 16 && DX == 2) centreWide<DY>(src, ss, dst, ds, h);
    else centreBands<W, DX, DY>(src, ss, dst, ds, h);
    return moxStsNoErr;
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

// Widths that are sums: strips of 16, 8 and 4.
MOX_OUT_OF_LINE MoxStatus lumaSumStrips(const Mox8u* src, int ss, Mox8u* dst, int ds, int pos, int w, int h) {
    if (w & 16) kLuma<16>[pos](src, ss, dst, ds, h);
    if (w & 8) kLuma<8>[pos](src + (w & 16), ss, dst + (w & 16), ds, h);
    if (w & 4) kLuma<4>[pos](src + (w & 24), ss, dst + (w & 24), ds, h);
    return moxStsNoErr;
}

// One kernel call (a tail call from the wrapper) for the widths 4, 8 and 16.
inline MoxStatus lumaStrips(const Mox8u* src, int ss, Mox8u* dst, int ds, int dx, int dy, int w, int h) {
    const int pos = dy * 4 + dx;
    switch (w) {
        case 16: return kLuma<16>[pos](src, ss, dst, ds, h);
        case 8: return kLuma<8>[pos](src, ss, dst, ds, h);
        case 4: return kLuma<4>[pos](src, ss, dst, ds, h);
        default: return lumaSumStrips(src, ss, dst, ds, pos, w, h);
    }
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
    return lumaStrips(pSrc, srcStep, pDst, dstStep, dx, dy, roiSize.width, roiSize.height);
}
