// H.264 weighted sample prediction of 8- and 16-bit blocks of 2, 4, 8 or 16
// samples in each direction.
//
// A block is processed in 16-byte registers: a register holds as many rows
// as fit (eight rows of two 8-bit samples, four rows of four, two of eight,
// one of sixteen), so every size runs the same few instructions per register
// and the row loop is unrolled at compile time. One kernel is instantiated
// per width and height and chosen once per call from a table; blocks 8 or 16
// samples wide and high, and 4x4, with the usual H.264 parameters skip the
// table and run unrolled code inlined in the entry point (see "square fast
// paths": pmaddubsw, then pmulhrsw for the rounding shift).
//
//  * Single prediction, 8-bit, H.264 weights: pmullw of the zero-extended
//    samples, paddsw of the rounding term plus the offset shifted up, psraw,
//    packuswb; offsets too large to fold: pmaddubsw of (s, 1) byte pairs
//    with (w, r) gives s * w + r in 16 bits; psraw, paddsw offset, packuswb.
//  * Two predictions, 8-bit, byte weights whose sums cannot leave 16 bits:
//    pmaddubsw of (s1, s2) byte pairs with (w1, w2), paddw rounding (and
//    offset), psraw, packuswb.
//  * Everything else: pmaddwd of (s1, s2) word pairs with (w1, w2) gives the
//    32-bit weighted sum; the rounding term and the offset shifted up by the
//    denominator are one constant K, so (sum + K) >> shift is the whole
//    formula; then packssdw/packusdw and the clamp.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

constexpr int kMaxShift = 31;

// ---------------------------------------------------------------- row gathering
// Rows of BW bytes packed into one register: G = 16 / BW rows, fewer when the
// block is shorter.
template <int BW, int H>
constexpr int rowsPerReg() {
    return 16 / BW < H ? 16 / BW : H;
}

template <class T>
inline T loadScalar(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <int... I>
MOX_INLINE __m128i gather2(const Mox8u* p, int step, std::integer_sequence<int, I...>) {
    __m128i v = _mm_setzero_si128();
    ((v = _mm_insert_epi16(v, loadScalar<uint16_t>(row(p, step, I)), I)), ...);
    return v;
}

template <int BW, int G>
MOX_INLINE __m128i gather(const Mox8u* p, int step) {
    if constexpr (BW == 16) {
        return simd::load<16>(p);
    } else if constexpr (BW == 8) {
        static_assert(G == 2);
        return simd::load8x2(p, row(p, step, 1));
    } else if constexpr (BW == 4 && G == 4) {
        return simd::load4x4(p, row(p, step, 1), row(p, step, 2), row(p, step, 3));
    } else if constexpr (BW == 4) {
        static_assert(G == 2);
        return _mm_unpacklo_epi32(simd::load<4>(p), simd::load<4>(row(p, step, 1)));
    } else {
        static_assert(BW == 2);
        return gather2(p, step, std::make_integer_sequence<int, G>());
    }
}

template <int I>
MOX_INLINE void storeLane2(Mox8u* p, int step, __m128i v) {
    const uint16_t x = static_cast<uint16_t>(_mm_extract_epi16(v, I));
    std::memcpy(row(p, step, I), &x, 2);
}

template <int I>
MOX_INLINE void storeLane4(Mox8u* p, int step, __m128i v) {
    const uint32_t x = static_cast<uint32_t>(_mm_extract_epi32(v, I));
    std::memcpy(row(p, step, I), &x, 4);
}

template <int... I>
MOX_INLINE void scatter2(Mox8u* p, int step, __m128i v, std::integer_sequence<int, I...>) {
    (storeLane2<I>(p, step, v), ...);
}

template <int... I>
MOX_INLINE void scatter4(Mox8u* p, int step, __m128i v, std::integer_sequence<int, I...>) {
    (storeLane4<I>(p, step, v), ...);
}

template <int BW, int G>
MOX_INLINE void scatter(Mox8u* p, int step, __m128i v) {
    if constexpr (BW == 16) {
        simd::store<16>(p, v);
    } else if constexpr (BW == 8) {
        simd::store<8>(p, v);
        _mm_storeh_pi(reinterpret_cast<__m64*>(row(p, step, 1)), _mm_castsi128_ps(v));
    } else if constexpr (BW == 4) {
        scatter4(p, step, v, std::make_integer_sequence<int, G>());
    } else {
        scatter2(p, step, v, std::make_integer_sequence<int, G>());
    }
}

// Runs op(src1 register, src2 register) -> dst register over a block of
// H rows of BW bytes; rows wider than 16 bytes are split into 16-byte columns.
template <int BW, int H, class Op>
inline void forBlock(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, Op op) {
    if constexpr (BW > 16) {
        forBlock<16, H>(a, as, b, bs, d, ds, op);
        forBlock<BW - 16, H>(a + 16, as, b + 16, bs, d + 16, ds, op);
    } else {
        constexpr int G = rowsPerReg<BW, H>();
#pragma GCC unroll 16
        for (int y = 0; y < H; y += G) {
            __m128i r = op.template apply<BW * G>(gather<BW, G>(row(a, as, y), as), gather<BW, G>(row(b, bs, y), bs));
            scatter<BW, G>(row(d, ds, y), ds, r);
        }
    }
}

// ---------------------------------------------------------------- arithmetic
// Scalar parameters of one call, turned into broadcast registers by the ops.
struct Params {
    int w1, w2;  // weights (the pmaddubsw form packs w1 and the rounding term as bytes)
    int k;       // rounding term plus offset << shift (or the rounding term alone)
    int shift;
    int offset;  // added after the shift; 0 when folded into k
    int maxValue;
};

// 8-bit single prediction, -128 <= w <= 127, shift <= 7, 16-bit offset.
struct UniBytes {
    __m128i wr, one, shift, offset;
    explicit UniBytes(const Params& p)
        : wr(_mm_set1_epi16(static_cast<short>((p.w1 & 0xFF) | (p.k << 8)))),
          one(_mm_set1_epi8(1)),
          shift(_mm_cvtsi32_si128(p.shift)),
          offset(_mm_set1_epi16(static_cast<short>(p.offset))) {}
    __m128i half(__m128i pairs) const {
        return _mm_adds_epi16(_mm_sra_epi16(_mm_maddubs_epi16(pairs, wr), shift), offset);
    }
    template <int N>
    __m128i apply(__m128i s, __m128i) const {
        __m128i lo = half(_mm_unpacklo_epi8(s, one));
        __m128i hi = N > 8 ? half(_mm_unpackhi_epi8(s, one)) : lo;
        return _mm_packus_epi16(lo, hi);
    }
};

// 8-bit single prediction, -128 <= w <= 128, shift <= 7, with the rounding
// term and the offset folded into one 16-bit constant k: pmullw, paddsw k,
// psraw. A sum that saturates lies beyond 2^15 in size, so its shifted value
// is above 255 or below 0 either way and packuswb clamps it alike.
struct UniWords {
    __m128i w, k, shift;
    explicit UniWords(const Params& p)
        : w(_mm_set1_epi16(static_cast<short>(p.w1))),
          k(_mm_set1_epi16(static_cast<short>(p.k))),
          shift(_mm_cvtsi32_si128(p.shift)) {}
    __m128i half(__m128i words) const { return _mm_sra_epi16(_mm_adds_epi16(_mm_mullo_epi16(words, w), k), shift); }
    template <int N>
    __m128i apply(__m128i s, __m128i) const {
        __m128i lo = half(_mm_cvtepu8_epi16(s));
        __m128i hi = N > 8 ? half(_mm_unpackhi_epi8(s, _mm_setzero_si128())) : lo;
        return _mm_packus_epi16(lo, hi);
    }
};

// 8-bit weighted sum of two predictions in 16 bits: pmaddubsw of (s1, s2)
// byte pairs with (w1, w2) bytes, exact when the caller has proved that no
// sum plus k can leave 16 bits; then psraw, [paddsw offset,] packuswb.
template <bool kOffset>
struct BiBytes {
    __m128i w, k, shift, offset;
    explicit BiBytes(const Params& p)
        : w(_mm_set1_epi16(static_cast<short>((p.w1 & 0xFF) | ((p.w2 & 0xFF) << 8)))),
          k(_mm_set1_epi16(static_cast<short>(p.k))),
          shift(_mm_cvtsi32_si128(p.shift)),
          offset(_mm_set1_epi16(static_cast<short>(p.offset))) {}
    __m128i half(__m128i pairs) const {
        __m128i v = _mm_sra_epi16(_mm_add_epi16(_mm_maddubs_epi16(pairs, w), k), shift);
        if constexpr (kOffset) v = _mm_adds_epi16(v, offset);
        return v;
    }
    template <int N>
    __m128i apply(__m128i s1, __m128i s2) const {
        __m128i lo = half(_mm_unpacklo_epi8(s1, s2));
        __m128i hi = N > 8 ? half(_mm_unpackhi_epi8(s1, s2)) : lo;
        return _mm_packus_epi16(lo, hi);
    }
};

// Weighted sum of two predictions in 32 bits: (s1 * w1 + s2 * w2 + k) >> shift [+ offset].
template <bool kOffset>
struct Pairs {
    __m128i w, k, shift, offset;
    explicit Pairs(const Params& p)
        : w(_mm_set1_epi32(static_cast<int>((static_cast<uint32_t>(p.w2) << 16) | (p.w1 & 0xFFFF)))),
          k(_mm_set1_epi32(p.k)),
          shift(_mm_cvtsi32_si128(p.shift)),
          offset(_mm_set1_epi32(p.offset)) {}
    // Four (s1, s2) word pairs -> four 32-bit results.
    __m128i quad(__m128i pairs) const {
        __m128i v = _mm_sra_epi32(_mm_add_epi32(_mm_madd_epi16(pairs, w), k), shift);
        if constexpr (kOffset) v = _mm_add_epi32(v, offset);
        return v;
    }
};

template <bool kOffset>
struct Bi8 : Pairs<kOffset> {
    using Pairs<kOffset>::Pairs;
    using Pairs<kOffset>::quad;
    // Eight interleaved byte pairs -> eight 16-bit results.
    __m128i octet(__m128i bytePairs) const {
        return _mm_packs_epi32(quad(_mm_cvtepu8_epi16(bytePairs)),
                               quad(_mm_unpackhi_epi8(bytePairs, _mm_setzero_si128())));
    }
    template <int N>
    __m128i apply(__m128i s1, __m128i s2) const {
        __m128i lo = octet(_mm_unpacklo_epi8(s1, s2));
        __m128i hi = N > 8 ? octet(_mm_unpackhi_epi8(s1, s2)) : lo;
        return _mm_packus_epi16(lo, hi);
    }
};

struct Bi16 : Pairs<false> {
    __m128i maxValue;
    explicit Bi16(const Params& p) : Pairs<false>(p), maxValue(_mm_set1_epi16(static_cast<short>(p.maxValue))) {}
    template <int N>
    __m128i apply(__m128i s1, __m128i s2) const {
        __m128i lo = quad(_mm_unpacklo_epi16(s1, s2));
        __m128i hi = N > 8 ? quad(_mm_unpackhi_epi16(s1, s2)) : lo;
        return _mm_min_epu16(_mm_packus_epi32(lo, hi), maxValue);
    }
};

// 16-bit single prediction with the rounding term and offset as the weight
// of a constant 1: pmaddwd of (s, 1) word pairs with (w, k) gives s * w + k
// (k within 16 bits), then psrad, packusdw and the clamp.
struct Uni16 {
    __m128i wk, one, shift, maxValue;
    explicit Uni16(const Params& p)
        : wk(_mm_set1_epi32(static_cast<int>((static_cast<uint32_t>(p.k) << 16) | (p.w1 & 0xFFFF)))),
          one(_mm_set1_epi16(1)),
          shift(_mm_cvtsi32_si128(p.shift)),
          maxValue(_mm_set1_epi16(static_cast<short>(p.maxValue))) {}
    __m128i quad(__m128i pairs) const { return _mm_sra_epi32(_mm_madd_epi16(pairs, wk), shift); }
    template <int N>
    __m128i apply(__m128i s, __m128i) const {
        __m128i lo = quad(_mm_unpacklo_epi16(s, one));
        __m128i hi = N > 8 ? quad(_mm_unpackhi_epi16(s, one)) : lo;
        return _mm_min_epu16(_mm_packus_epi32(lo, hi), maxValue);
    }
};

struct Avg16 {
    explicit Avg16(const Params&) {}
    template <int N>
    __m128i apply(__m128i s1, __m128i s2) const {
        return _mm_avg_epu16(s1, s2);
    }
};

// ---------------------------------------------------------------- kernels and dispatch
using Kernel = void (*)(const Mox8u*, int, const Mox8u*, int, Mox8u*, int, const Params&);

template <class Op, int W, int H, class T>
MOX_OUT_OF_LINE void kernel(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, const Params& p) {
    forBlock<W * static_cast<int>(sizeof(T)), H>(a, as, b, bs, d, ds, Op(p));
}

template <class Op, class T, int... I>
constexpr std::array<Kernel, 16> makeTable(std::integer_sequence<int, I...>) {
    return {kernel<Op, 2 << (I / 4), 2 << (I % 4), T>...};
}

// Index 4 * width class + height class, sizes 2, 4, 8, 16 -> class 0..3.
template <class Op, class T>
constexpr std::array<Kernel, 16> kTable = makeTable<Op, T>(std::make_integer_sequence<int, 16>());

constexpr bool sizeOk(int v) { return v >= 2 && v <= 16 && (v & (v - 1)) == 0; }
inline int sizeIndex(MoxiSize s) { return 4 * (__builtin_ctz(s.width) - 1) + __builtin_ctz(s.height) - 1; }

template <class Op, class T>
inline void run(const void* a, int as, const void* b, int bs, void* d, int ds, MoxiSize size, const Params& p) {
    kTable<Op, T>[sizeIndex(size)](static_cast<const Mox8u*>(a), as, static_cast<const Mox8u*>(b), bs,
                                   static_cast<Mox8u*>(d), ds, p);
}

// ---------------------------------------------------------------- 8- and 16-sample square fast paths
// Blocks 8 or 16 samples wide and high, and 4x4, with the usual H.264
// parameters run inline in the entry points: no size table, no parameter
// record, rows unrolled, one pmaddubsw and one pmulhrsw per 8 samples.

// 8-bit single prediction as one pmaddubsw of (s, u) byte pairs with (w, o),
// u = 2^shift: X = s * w + (o << shift), then pmulhrsw by 2^(15 - shift),
// which is (X + 2^(shift-1)) >> shift exactly, so the rounding comes free
// and every H.264 weight and offset (-128..127) and denominator (0..7) fits.
// A sum X that saturates is beyond 2^15 in size, so the result lies above
// 255 or below 0 either way and packuswb clamps it as it would the exact
// sum. Denominator 0 has no shift at all (kShift false).
template <bool kShift>
struct UniPairs {
    __m128i u, wo, m;
    UniPairs(int w, int o, int s)
        : u(_mm_set1_epi8(static_cast<char>(1 << s))),
          wo(_mm_set1_epi16(static_cast<short>((w & 0xFF) | ((o & 0xFF) << 8)))),
          m(_mm_set1_epi16(static_cast<short>(kShift ? 1 << (15 - s) : 0))) {}
    __m128i half(__m128i pairs) const {
        const __m128i x = _mm_maddubs_epi16(pairs, wo);
        return kShift ? _mm_mulhrs_epi16(x, m) : x;
    }
    template <int N>
    __m128i apply(__m128i s, __m128i) const {
        return _mm_packus_epi16(half(_mm_unpacklo_epi8(s, u)), half(_mm_unpackhi_epi8(s, u)));
    }
};

// Rows of W (4, 8 or 16) bytes, H rows: a register holds one row of 16, two of 8 or four of 4.
template <int W, int H, class Op>
MOX_INLINE void square(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, const Op& op) {
    // Four rows per step (the heights are 8 and 16), each stream advancing once per step.
    const std::ptrdiff_t sa = as, sb = bs, sd = ds, sa3 = 3 * sa, sb3 = 3 * sb, sd3 = 3 * sd;
    auto one = [&](const Mox8u* pa, const Mox8u* pb, Mox8u* pd) __attribute__((always_inline)) {
        simd::store<16>(pd, op.template apply<16>(simd::load<16>(pa), simd::load<16>(pb)));
    };
    auto two = [&](const Mox8u* pa, std::ptrdiff_t na, const Mox8u* pb, std::ptrdiff_t nb, Mox8u* pd,
                   std::ptrdiff_t nd) __attribute__((always_inline)) {
        const __m128i r = op.template apply<16>(simd::load8x2(pa, pa + na), simd::load8x2(pb, pb + nb));
        simd::store<8>(pd, r);
        _mm_storeh_pi(reinterpret_cast<__m64*>(pd + nd), _mm_castsi128_ps(r));
    };
    if constexpr (W == 4) {  // 4x4: the whole block in one register
        static_assert(H == 4);
        scatter<4, 4>(d, ds, op.template apply<16>(gather<4, 4>(a, as), gather<4, 4>(b, bs)));
        return;
    }
#pragma GCC unroll 16
    for (int y = 0; y < H; y += 4) {
        if constexpr (W == 16) {
            one(a, b, d);
            one(a + sa, b + sb, d + sd);
            one(a + 2 * sa, b + 2 * sb, d + 2 * sd);
            one(a + sa3, b + sb3, d + sd3);
        } else {
            two(a, sa, b, sb, d, sd);
            two(a + 2 * sa, sa, b + 2 * sb, sb, d + 2 * sd, sd);
        }
        a += 4 * sa;
        b += 4 * sb;
        d += 4 * sd;
    }
}

// Runs op over the block when it is 8 or 16 samples wide and high or 4x4; false otherwise.
template <class Op>
MOX_INLINE bool squareBlock(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, MoxiSize size,
                            const Op& op) {
    const int key = size.width << 8 | size.height;
    if (key == (16 << 8 | 16)) {
        square<16, 16>(a, as, b, bs, d, ds, op);
    } else if (key == (8 << 8 | 8)) {
        square<8, 8>(a, as, b, bs, d, ds, op);
    } else if (key == (16 << 8 | 8)) {
        square<16, 8>(a, as, b, bs, d, ds, op);
    } else if (key == (8 << 8 | 16)) {
        square<8, 16>(a, as, b, bs, d, ds, op);
    } else if (key == (4 << 8 | 4)) {
        square<4, 4>(a, as, b, bs, d, ds, op);
    } else {
        return false;
    }
    return true;
}

// Single prediction through UniPairs when the parameters allow it.
MOX_INLINE bool uniFast8u(Mox8u* p, int step, Mox32u shift, int w, int offset, MoxiSize size) {
    if (w < -128 || w > 127 || shift > 7 || offset < -128 || offset > 127) return false;
    const int s = static_cast<int>(shift);
    if (s == 0) return squareBlock(p, step, p, step, p, step, size, UniPairs<false>(w, offset, 0));
    return squareBlock(p, step, p, step, p, step, size, UniPairs<true>(w, offset, s));
}

// Two 8-bit predictions as one pmaddubsw of (s1, s2) byte pairs with (w1, w2)
// bytes, exact when the caller has proved that no sum leaves 16 bits, then
// pmulhrsw by 2^(15 - shift), which is (sum + 2^(shift-1)) >> shift: the
// rounding of the explicit, implicit and weighted-average forms alike. The
// offset follows with paddsw (kOffset), whose saturation, like packuswb's,
// only ever happens to values far outside 0..255.
template <bool kOffset>
struct BiPairs {
    __m128i w, m, offset;
    BiPairs(int w1, int w2, int shift, int o)
        : w(_mm_set1_epi16(static_cast<short>((w1 & 0xFF) | ((w2 & 0xFF) << 8)))),
          m(_mm_set1_epi16(static_cast<short>(1 << (15 - shift)))),
          offset(_mm_set1_epi16(static_cast<short>(o))) {}
    __m128i half(__m128i pairs) const {
        const __m128i v = _mm_mulhrs_epi16(_mm_maddubs_epi16(pairs, w), m);
        return kOffset ? _mm_adds_epi16(v, offset) : v;
    }
    template <int N>
    __m128i apply(__m128i s1, __m128i s2) const {
        return _mm_packus_epi16(half(_mm_unpacklo_epi8(s1, s2)), half(_mm_unpackhi_epi8(s1, s2)));
    }
};

// A weighted sum of two blocks, (s1 * w1 + s2 * w2 + 2^(shift-1)) >> shift
// plus offset, through BiPairs when the weights are bytes whose sums cannot
// leave 16 bits and the shift is 1..8.
MOX_INLINE bool pairsFast8u(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, MoxiSize size,
                            int w1, int w2, int shift, int64_t offset) {
    if (w1 < -128 || w1 > 127 || w2 < -128 || w2 > 127 || shift < 1 || shift > 8 || offset < -32768 ||
        offset > 32767)
        return false;
    // The sum is within 255 * 128 in size unless both weights have one sign
    // and add up past 128 in size; with opposite signs |w1 + w2| <= 128 anyway.
    if (w1 + w2 < -128 || w1 + w2 > 128) return false;
    if (offset == 0) return squareBlock(a, as, b, bs, d, ds, size, BiPairs<false>(w1, w2, shift, 0));
    return squareBlock(a, as, b, bs, d, ds, size, BiPairs<true>(w1, w2, shift, static_cast<int>(offset)));
}

// The general forms below run out of line, so that the entry points' fast
// paths save no registers.
//
// A weighted sum of two 8-bit blocks: (s1 * w1 + s2 * w2 + round) >> shift, plus offset, clamped.
// In 16 bits when the weights are bytes and the sums provably fit (all H.264
// cases but weights summing past 128), else in 32 bits. The offset joins the
// rounding term whenever that cannot overflow.
[[gnu::noinline]] void weightPairs8u(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, MoxiSize size, int w1, int w2,
                   int64_t round, int shift, int64_t offset) {
    const int64_t k = round + offset * (int64_t{1} << shift);
    if (w1 >= -128 && w1 <= 127 && w2 >= -128 && w2 <= 127) {
        const int64_t most = 255 * (int64_t{w1 > 0 ? w1 : 0} + (w2 > 0 ? w2 : 0));
        const int64_t least = 255 * (int64_t{w1 < 0 ? w1 : 0} + (w2 < 0 ? w2 : 0));
        // Both the pmaddubsw sum itself and the sum plus the added constant must fit.
        auto fits = [&](int64_t add) {
            return most + (add > 0 ? add : 0) <= 32767 && least + (add < 0 ? add : 0) >= -32768;
        };
        if (fits(k)) {
            run<BiBytes<false>, Mox8u>(a, as, b, bs, d, ds, size, Params{w1, w2, static_cast<int>(k), shift, 0, 255});
            return;
        }
        if (fits(round) && offset >= -32768 && offset <= 32767) {
            run<BiBytes<true>, Mox8u>(a, as, b, bs, d, ds, size,
                                      Params{w1, w2, static_cast<int>(round), shift, static_cast<int>(offset), 255});
            return;
        }
    }
    constexpr int64_t kMaxSum = 2 * 255 * 32768;  // |s1 * w1 + s2 * w2| with 16-bit weights
    const int64_t limit = std::numeric_limits<int32_t>::max() - kMaxSum;
    if (k >= -limit && k <= limit) {
        Params p{w1, w2, static_cast<int>(k), shift, 0, 255};
        run<Bi8<false>, Mox8u>(a, as, b, bs, d, ds, size, p);
    } else {
        Params p{w1, w2, static_cast<int>(round), shift, static_cast<int>(offset), 255};
        run<Bi8<true>, Mox8u>(a, as, b, bs, d, ds, size, p);
    }
}

inline int clampShift(int64_t s) { return s < 0 ? 0 : (s > kMaxShift ? kMaxShift : static_cast<int>(s)); }
inline int64_t roundingTerm(int shift) { return shift > 0 ? int64_t{1} << (shift - 1) : 0; }

[[gnu::noinline]] void uniWeight8u(Mox8u* p, int step, Mox32u ulog2wd, int w, int offset, MoxiSize size) {
    const int shift = clampShift(ulog2wd);
    const int64_t r = roundingTerm(shift);
    const int64_t k = r + int64_t{offset} * (int64_t{1} << shift);
    if (w >= -128 && w <= 128 && shift <= 7 && k >= -32768 && k <= 32767) {
        run<UniWords, Mox8u>(p, step, p, step, p, step, size, Params{w, 0, static_cast<int>(k), shift, 0, 255});
    } else if (w >= -128 && w <= 127 && shift <= 7 && offset >= -32768 && offset <= 32767) {
        run<UniBytes, Mox8u>(p, step, p, step, p, step, size, Params{w, 0, static_cast<int>(r), shift, offset, 255});
    } else {
        weightPairs8u(p, step, p, step, p, step, size, w, 0, r, shift, offset);
    }
}

[[gnu::noinline]] void biWeight8u(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, Mox32u ulog2wd, int w1, int o1,
                int w2, int o2, MoxiSize size) {
    const int log2wd = clampShift(ulog2wd > kMaxShift - 1 ? kMaxShift - 1 : ulog2wd);
    weightPairs8u(a, as, b, bs, d, ds, size, w1, w2, int64_t{1} << log2wd, log2wd + 1, (int64_t{o1} + o2 + 1) >> 1);
}

[[gnu::noinline]] void implicit8u(const Mox8u* a, int as, const Mox8u* b, int bs, Mox8u* d, int ds, int w1, int w2, MoxiSize size) {
    weightPairs8u(a, as, b, bs, d, ds, size, w1, w2, 32, 6, 0);
}

// A Mox32u step is a signed byte distance once it has passed the unsigned check.
inline int signedStep(Mox32u step) { return static_cast<int>(step); }

}  // namespace

// ---------------------------------------------------------------- 8-bit entry points

MOX_INLINE MoxStatus uniDirBlock8u(Mox8u* pSrcDst, Mox32u srcDstStep, Mox32u ulog2wd, Mox32s iWeight, Mox32s iOffset,
                                   MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(srcDstStep >= static_cast<Mox32u>(roiSize.width), moxStsStepErr);
    MOX_CHECK(sizeOk(roiSize.width) && sizeOk(roiSize.height), moxStsSizeErr);
    if (uniFast8u(pSrcDst, signedStep(srcDstStep), ulog2wd, iWeight, iOffset, roiSize)) return moxStsNoErr;
    uniWeight8u(pSrcDst, signedStep(srcDstStep), ulog2wd, iWeight, iOffset, roiSize);
    return moxStsNoErr;
}

MOX_FN moxiUniDirWeightBlock_H264_8u_C1R(Mox8u* pSrcDst, Mox32u srcDstStep, Mox32u ulog2wd, Mox32s iWeight,
                                         Mox32s iOffset, MoxiSize roiSize) {
    return uniDirBlock8u(pSrcDst, srcDstStep, ulog2wd, iWeight, iOffset, roiSize);
}

MOX_FN moxiUniDirWeightBlock_H264_8u_C1IR(Mox8u* pSrcDst, Mox32u srcDstStep, Mox32u ulog2wd, Mox32s iWeight,
                                          Mox32s iOffset, MoxiSize roiSize) {
    return uniDirBlock8u(pSrcDst, srcDstStep, ulog2wd, iWeight, iOffset, roiSize);
}

// Each body is shared inline by the entry points that differ only in their
// steps (P2: one source step; C1IR: the same as C1R), so that no entry point
// calls another through the symbol table.
MOX_INLINE MoxStatus biDirBlock8u(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep1, Mox32u srcStep2,
                                  Mox32u dstStep, Mox32u ulog2wd, Mox32s iWeight1, Mox32s iOffset1, Mox32s iWeight2,
                                  Mox32s iOffset2, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc1, pSrc2, pDst);
    const Mox32u w = static_cast<Mox32u>(roiSize.width);
    MOX_CHECK(srcStep1 >= w && srcStep2 >= w && dstStep >= w, moxStsStepErr);
    MOX_CHECK(sizeOk(roiSize.width) && sizeOk(roiSize.height), moxStsSizeErr);
    if (ulog2wd <= 7) {
        const int d = static_cast<int>(ulog2wd);
        if (pairsFast8u(pSrc1, signedStep(srcStep1), pSrc2, signedStep(srcStep2), pDst, signedStep(dstStep), roiSize,
                        iWeight1, iWeight2, d + 1, (int64_t{iOffset1} + iOffset2 + 1) >> 1))
            return moxStsNoErr;
    }
    biWeight8u(pSrc1, signedStep(srcStep1), pSrc2, signedStep(srcStep2), pDst, signedStep(dstStep), ulog2wd, iWeight1,
               iOffset1, iWeight2, iOffset2, roiSize);
    return moxStsNoErr;
}

MOX_INLINE MoxStatus biDirImplicitBlock8u(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep1,
                                          Mox32u srcStep2, Mox32u dstStep, Mox32s iWeight1, Mox32s iWeight2,
                                          MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc1, pSrc2, pDst);
    const Mox32u w = static_cast<Mox32u>(roiSize.width);
    MOX_CHECK(srcStep1 >= w && srcStep2 >= w && dstStep >= w, moxStsStepErr);
    MOX_CHECK(sizeOk(roiSize.width) && sizeOk(roiSize.height), moxStsSizeErr);
    if (pairsFast8u(pSrc1, signedStep(srcStep1), pSrc2, signedStep(srcStep2), pDst, signedStep(dstStep), roiSize,
                    iWeight1, iWeight2, 6, 0))
        return moxStsNoErr;
    implicit8u(pSrc1, signedStep(srcStep1), pSrc2, signedStep(srcStep2), pDst, signedStep(dstStep), iWeight1, iWeight2,
               roiSize);
    return moxStsNoErr;
}

MOX_FN moxiBiDirWeightBlock_H264_8u_P3P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep1,
                                          Mox32u srcStep2, Mox32u dstStep, Mox32u ulog2wd, Mox32s iWeight1,
                                          Mox32s iOffset1, Mox32s iWeight2, Mox32s iOffset2, MoxiSize roiSize) {
    return biDirBlock8u(pSrc1, pSrc2, pDst, srcStep1, srcStep2, dstStep, ulog2wd, iWeight1, iOffset1, iWeight2, iOffset2,
                        roiSize);
}

MOX_FN moxiBiDirWeightBlock_H264_8u_P2P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep,
                                          Mox32u dstStep, Mox32u ulog2wd, Mox32s iWeight1, Mox32s iOffset1,
                                          Mox32s iWeight2, Mox32s iOffset2, MoxiSize roiSize) {
    return biDirBlock8u(pSrc1, pSrc2, pDst, srcStep, srcStep, dstStep, ulog2wd, iWeight1, iOffset1, iWeight2, iOffset2,
                        roiSize);
}

MOX_FN moxiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst,
                                                  Mox32u srcStep1, Mox32u srcStep2, Mox32u dstStep, Mox32s iWeight1,
                                                  Mox32s iWeight2, MoxiSize roiSize) {
    return biDirImplicitBlock8u(pSrc1, pSrc2, pDst, srcStep1, srcStep2, dstStep, iWeight1, iWeight2, roiSize);
}

MOX_FN moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep,
                                                  Mox32u dstStep, Mox32s iWeight1, Mox32s iWeight2,
                                                  MoxiSize roiSize) {
    return biDirImplicitBlock8u(pSrc1, pSrc2, pDst, srcStep, srcStep, dstStep, iWeight1, iWeight2, roiSize);
}

MOX_FN moxiWeightedAverage_H264_8u_C1IR(const Mox8u* pSrc1, Mox8u* pSrcDst, Mox32s srcDstStep, Mox32s iWeight1,
                                        Mox32s iWeight2, Mox32s ulog2wd, Mox32s iOffset, MoxiSize roiSize) {
    MOX_CHECK_PTRS(pSrc1, pSrcDst);
    MOX_CHECK(srcDstStep >= roiSize.width, moxStsStepErr);
    MOX_CHECK(sizeOk(roiSize.width) && sizeOk(roiSize.height), moxStsSizeErr);
    const int shift = clampShift(ulog2wd);
    if (pairsFast8u(pSrc1, srcDstStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, iWeight1, iWeight2,
                    shift, iOffset))
        return moxStsNoErr;
    weightPairs8u(pSrc1, srcDstStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, iWeight1, iWeight2,
                  roundingTerm(shift), shift, iOffset);
    return moxStsNoErr;
}

// ---------------------------------------------------------------- 16-bit entry points

namespace {

inline bool stepOk(Mox32s step, int width) {
    const int64_t s = step;
    return (s < 0 ? -s : s) >= 2 * int64_t{width};
}

// Checks shared by the 16-bit forms after the pointers: steps, size, bit depth.
inline MoxStatus checkBlock16u(const MoxWeightBlock_H264_16u& b, bool twoSources) {
    const int w = b.roiSize.width;
    MOX_CHECK(stepOk(b.srcStep1, w) && (!twoSources || stepOk(b.srcStep2, w)) && stepOk(b.dstStep, w),
              moxStsStepErr);
    MOX_CHECK(sizeOk(b.roiSize.width) && sizeOk(b.roiSize.height), moxStsSizeErr);
    MOX_CHECK(b.bitDepth >= 8 && b.bitDepth <= 14, moxStsOutOfRangeErr);
    return moxStsNoErr;
}

template <class Op>
inline void run16u(const MoxWeightBlock_H264_16u& b, const Mox16u* src2, int src2Step, const Params& p) {
    run<Op, Mox16u>(b.pSrc1, b.srcStep1, src2, src2Step, b.pDst, b.dstStep, b.roiSize, p);
}

inline int maxValue(const MoxWeightBlock_H264_16u& b) { return (1 << b.bitDepth) - 1; }

// With samples below 2^14, 16-bit weights, log2wd <= 7 and offsets within 2^20,
// the folded constant and the sum stay inside 32 bits.
inline int foldedK(int64_t round, int shift, int64_t offset) {
    return static_cast<int>(round + offset * (int64_t{1} << shift));
}

}  // namespace

MOX_FN moxiBidir_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock) {
    MOX_CHECK_PTRS(pBlock);
    MOX_CHECK_PTRS(pBlock->pSrc1, pBlock->pSrc2, pBlock->pDst);
    if (MoxStatus s = checkBlock16u(*pBlock, true)) return s;
    run16u<Avg16>(*pBlock, pBlock->pSrc2, pBlock->srcStep2, Params{});
    return moxStsNoErr;
}

MOX_FN moxiBidirWeight_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock, const MoxWeightParams_H264* pWeights) {
    MOX_CHECK_PTRS(pBlock);
    MOX_CHECK_PTRS(pBlock->pSrc1, pBlock->pSrc2, pBlock->pDst, pWeights);
    if (MoxStatus s = checkBlock16u(*pBlock, true)) return s;
    const MoxWeightParams_H264& w = *pWeights;
    MOX_CHECK(w.log2wd >= 0 && w.log2wd <= 7, moxStsOutOfRangeErr);
    const int k = foldedK(int64_t{1} << w.log2wd, w.log2wd + 1, (int64_t{w.offset1} + w.offset2 + 1) >> 1);
    run16u<Bi16>(*pBlock, pBlock->pSrc2, pBlock->srcStep2,
                 Params{w.weight1, w.weight2, k, w.log2wd + 1, 0, maxValue(*pBlock)});
    return moxStsNoErr;
}

MOX_FN moxiBidirWeightImplicit_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock,
                                              const MoxWeightParams_H264* pWeights) {
    MOX_CHECK_PTRS(pBlock);
    MOX_CHECK_PTRS(pBlock->pSrc1, pBlock->pSrc2, pBlock->pDst, pWeights);
    if (MoxStatus s = checkBlock16u(*pBlock, true)) return s;
    run16u<Bi16>(*pBlock, pBlock->pSrc2, pBlock->srcStep2,
                 Params{pWeights->weight1, pWeights->weight2, 32, 6, 0, maxValue(*pBlock)});
    return moxStsNoErr;
}

MOX_FN moxiUnidirWeight_H264_16u_IP2P1R(const MoxWeightBlock_H264_16u* pBlock, const MoxWeightParams_H264* pWeights) {
    MOX_CHECK_PTRS(pBlock);
    MOX_CHECK_PTRS(pBlock->pSrc1, pBlock->pDst, pWeights);
    if (MoxStatus s = checkBlock16u(*pBlock, false)) return s;
    const MoxWeightParams_H264& w = *pWeights;
    MOX_CHECK(w.log2wd >= 0 && w.log2wd <= 7, moxStsOutOfRangeErr);
    const int k = foldedK(roundingTerm(w.log2wd), w.log2wd, w.offset1);
    const Params p{w.weight1, 0, k, w.log2wd, 0, maxValue(*pBlock)};
    if (k >= -32768 && k <= 32767)
        run16u<Uni16>(*pBlock, pBlock->pSrc1, pBlock->srcStep1, p);
    else  // the second source of the pair is the first again, with weight 0
        run16u<Bi16>(*pBlock, pBlock->pSrc1, pBlock->srcStep1, p);
    return moxStsNoErr;
}
