// H.264 dequantisation and inverse transforms of 4x4 and DC blocks (clauses
// 8.5.10 to 8.5.12), the SP/SI requantisation (clause 8.6), the forward core
// transform of a prediction, and the exported wrappers of these members.
//
// A 4x4 block of 16-bit values lives in two registers, rows 0|1 and 2|3. A
// 1-D pass works on four lanes at once, (x0|x1), (x2|x3) in, so the 2-D
// transform is transpose, pass (the rows), transpose, pass (the columns).
#include "core/check.h"
#include "h264/quant_tables.h"
#include "h264/transform_kernels.h"
#include "me/simd.h"

namespace mox::h264 {
namespace {

using lanes::LevelShift;
using lanes::levelShift;

// ------------------------------------------------------------------ 16-bit lanes

template <bool Sat>
inline __m128i add16(__m128i a, __m128i b) {
    if constexpr (Sat) return _mm_adds_epi16(a, b);
    else return _mm_add_epi16(a, b);
}
template <bool Sat>
inline __m128i sub16(__m128i a, __m128i b) {
    if constexpr (Sat) return _mm_subs_epi16(a, b);
    else return _mm_sub_epi16(a, b);
}

inline __m128i load16(const Mox16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store16(Mox16s* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m128i loadRows(const Mox16s* lo, const Mox16s* hi) {
    return _mm_unpacklo_epi64(simd::load<8>(lo), simd::load<8>(hi));
}
inline void storeRows(Mox16s* lo, Mox16s* hi, __m128i v) {
    simd::store<8>(lo, v);
    _mm_storeh_pi(reinterpret_cast<__m64*>(hi), _mm_castsi128_ps(v));
}

// pshufb mask moving 16-bit lanes: lane i of the result is lane l[i] of the source.
inline __m128i laneMask(int l0, int l1, int l2, int l3, int l4, int l5, int l6, int l7) {
    auto b = [](int l) { return static_cast<char>(2 * l); };
    auto b1 = [](int l) { return static_cast<char>(2 * l + 1); };
    return _mm_setr_epi8(b(l0), b1(l0), b(l1), b1(l1), b(l2), b1(l2), b(l3), b1(l3), b(l4), b1(l4), b(l5), b1(l5), b(l6),
                         b1(l6), b(l7), b1(l7));
}

// (v0|v1), (v2|v3) holding four 4-lane vectors -> the transposed 4x4.
inline void transpose4(__m128i& a, __m128i& b) {
    __m128i t0 = _mm_unpacklo_epi16(a, b), t1 = _mm_unpackhi_epi16(a, b);
    a = _mm_unpacklo_epi16(t0, t1);
    b = _mm_unpackhi_epi16(t0, t1);
}

// One 1-D inverse transform: (x0|x1), (x2|x3) -> (o0|o1), (o3|o2). The
// halves not needed from each sum are computed anyway: adds run on every
// pipe, blends and shuffles on only two.
template <bool Sat>
inline void idctPass(__m128i& x, __m128i& y) {
    __m128i xs = _mm_srai_epi16(x, 1), ys = _mm_srai_epi16(y, 1);
    __m128i t1 = _mm_unpacklo_epi64(add16<Sat>(x, y), sub16<Sat>(x, y));    // a | b
    __m128i t2 = _mm_unpackhi_epi64(add16<Sat>(x, ys), sub16<Sat>(xs, y));  // e | c
    x = add16<Sat>(t1, t2);  // a + e | b + c
    y = sub16<Sat>(t1, t2);  // a - e | b - c
}

// Dequantised rows (0|1), (2|3) -> residual rows (0|1), (3|2). With wrap-around
// the rounding term rides on the DC, which reaches every output once.
template <bool Sat>
inline void inverse4x4(__m128i& a, __m128i& b) {
    if constexpr (!Sat) a = _mm_add_epi16(a, _mm_cvtsi32_si128(32));
    transpose4(a, b);
    idctPass<Sat>(a, b);
    b = _mm_shuffle_epi32(b, 0x4E);
    transpose4(a, b);
    idctPass<Sat>(a, b);
    if constexpr (Sat) {
        a = _mm_adds_epi16(a, _mm_set1_epi16(32));
        b = _mm_adds_epi16(b, _mm_set1_epi16(32));
    }
    a = _mm_srai_epi16(a, 6);
    b = _mm_srai_epi16(b, 6);
}

inline uint32_t load4(const void* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline void store4(void* p, int v) { std::memcpy(p, &v, 4); }

// pred + residual rows (0|1), (3|2), clamped to 0..255 (the sum saturates
// before the clamp, which equals the exact sum's clamp).
inline void addPred(__m128i r01, __m128i r32, const Mox8u* pred, int ps, Mox8u* dst, int ds) {
    // Rows gathered with pinsrd and stored with pextrd straight from and to memory.
    auto pair = [&](int y0, int y1) {
        return _mm_cvtepu8_epi16(
            _mm_insert_epi32(simd::load<4>(row(pred, ps, y0)), static_cast<int>(load4(row(pred, ps, y1))), 1));
    };
    __m128i p01 = pair(0, 1), p32 = pair(3, 2);
    __m128i s = _mm_packus_epi16(_mm_adds_epi16(r01, p01), _mm_adds_epi16(r32, p32));
    simd::store<4>(row(dst, ds, 0), s);
    store4(row(dst, ds, 1), _mm_extract_epi32(s, 1));
    store4(row(dst, ds, 3), _mm_extract_epi32(s, 2));
    store4(row(dst, ds, 2), _mm_extract_epi32(s, 3));
}

// Flat multipliers of rows 0|1 (half 0) or 2|3 (half 1).
inline __m128i flatMul(int qp, int half) { return load16(kInvQuantBlock[qp].data() + 8 * half); }

inline Mox16s sat16(int v) { return static_cast<Mox16s>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v)); }

// One level times LevelScale, 32-bit arithmetic (see the kernel header).
inline Mox32s scaleOne(Mox32s c, int ls, int qp, int base) {
    int q = qp / 6;
    uint32_t p = static_cast<uint32_t>(static_cast<int64_t>(c) * ls);
    if (q >= base) return static_cast<Mox32s>(p << (q - base));
    return static_cast<Mox32s>(p + (1u << (base - 1 - q))) >> (base - q);
}

// ------------------------------------------------------------------ 32-bit lanes: a 4x4 block is four rows

inline void transpose4x4(__m128i r[4]) { lanes::transpose4x4(r[0], r[1], r[2], r[3]); }

inline void idctPass32(__m128i x[4]) {
    __m128i a = _mm_add_epi32(x[0], x[2]), b = _mm_sub_epi32(x[0], x[2]);
    __m128i c = _mm_sub_epi32(_mm_srai_epi32(x[1], 1), x[3]), e = _mm_add_epi32(x[1], _mm_srai_epi32(x[3], 1));
    x[0] = _mm_add_epi32(a, e);
    x[1] = _mm_add_epi32(b, c);
    x[2] = _mm_sub_epi32(b, c);
    x[3] = _mm_sub_epi32(a, e);
}

inline void inverse4x4(__m128i r[4]) {
    r[0] = _mm_add_epi32(r[0], _mm_cvtsi32_si128(32));
    transpose4x4(r);
    idctPass32(r);
    transpose4x4(r);
    idctPass32(r);
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) r[i] = _mm_srai_epi32(r[i], 6);
}

inline __m128i load32(const Mox32s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store32(Mox32s* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// 4x4 Hadamard pass over rows-as-registers (combines the four registers).
inline void hadamard4(__m128i x[4]) {
    __m128i s01 = _mm_add_epi32(x[0], x[1]), d01 = _mm_sub_epi32(x[0], x[1]);
    __m128i s23 = _mm_add_epi32(x[2], x[3]), d23 = _mm_sub_epi32(x[2], x[3]);
    x[0] = _mm_add_epi32(s01, s23);
    x[1] = _mm_sub_epi32(s01, s23);
    x[2] = _mm_sub_epi32(d01, d23);
    x[3] = _mm_add_epi32(d01, d23);
}

// 16-bit 4x4 Hadamard pass: (x0|x1), (x2|x3) -> (f0|f1), (f2|f3).
inline void hadamardPass(__m128i& x, __m128i& y) {
    __m128i s = _mm_add_epi16(x, y), d = _mm_sub_epi16(x, y);  // x0+x2 | x1+x3, x0-x2 | x1-x3
    __m128i t1 = _mm_unpacklo_epi64(s, d), t2 = _mm_unpackhi_epi64(s, d);
    x = _mm_add_epi16(t1, t2);
    y = _mm_shuffle_epi32(_mm_sub_epi16(t1, t2), 0x4E);
}

// Both Hadamard passes of a raster block in rows (0|1), (2|3); sums wrap, so
// the order of the passes does not matter.
inline void hadamard4x4(__m128i& a, __m128i& b) {
    hadamardPass(a, b);
    transpose4(a, b);
    hadamardPass(a, b);
    transpose4(a, b);
}

// 2x2 transform of (c00, c01, c10, c11) in the low four 16-bit lanes.
inline __m128i transform2x2(__m128i v) {
    const __m128i sign1 = _mm_setr_epi16(1, -1, 1, -1, 1, -1, 1, -1), sign2 = _mm_setr_epi16(1, 1, -1, -1, 1, 1, -1, -1);
    __m128i p = _mm_add_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(2, 2, 0, 0)),
                              _mm_sign_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(3, 3, 1, 1)), sign1));
    return _mm_add_epi16(_mm_shufflelo_epi16(p, _MM_SHUFFLE(1, 0, 1, 0)),
                         _mm_sign_epi16(_mm_shufflelo_epi16(p, _MM_SHUFFLE(3, 2, 3, 2)), sign2));
}

// The same on four 32-bit lanes.
inline __m128i transform2x2_32(__m128i v) {
    const __m128i sign1 = _mm_setr_epi32(1, -1, 1, -1), sign2 = _mm_setr_epi32(1, 1, -1, -1);
    __m128i p = _mm_add_epi32(_mm_shuffle_epi32(v, _MM_SHUFFLE(2, 2, 0, 0)),
                              _mm_sign_epi32(_mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 1, 1)), sign1));
    return _mm_add_epi32(_mm_shuffle_epi32(p, _MM_SHUFFLE(1, 0, 1, 0)),
                         _mm_sign_epi32(_mm_shuffle_epi32(p, _MM_SHUFFLE(3, 2, 3, 2)), sign2));
}

// 4-point Hadamard along four 32-bit lanes (rows 0..3 of a chroma column).
inline __m128i hadamardLanes32(__m128i v) {
    __m128i p = _mm_add_epi32(_mm_shuffle_epi32(v, _MM_SHUFFLE(2, 2, 0, 0)),
                              _mm_sign_epi32(_mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 1, 1)), _mm_setr_epi32(1, -1, 1, -1)));
    return _mm_add_epi32(_mm_shuffle_epi32(p, _MM_SHUFFLE(1, 1, 0, 0)),
                         _mm_sign_epi32(_mm_shuffle_epi32(p, _MM_SHUFFLE(3, 3, 2, 2)), _mm_setr_epi32(1, -1, -1, 1)));
}

// floor(c * m / 2^s) keeping 16 bits, the product exact (s in 1..15).
inline __m128i mulShiftFloor(__m128i c, __m128i m, int s) {
    return _mm_add_epi16(_mm_slli_epi16(_mm_mulhi_epi16(c, m), 16 - s), _mm_srli_epi16(_mm_mullo_epi16(c, m), s));
}

// SP/SI requantisation: sign(x) * ((|x| * m + 2^(s-1)) >> s), s at least 15,
// |x| taken unsigned so that -32768 requantises like 32768.
inline __m128i requant(__m128i x, __m128i m, int s) {
    __m128i a = _mm_abs_epi16(x);
    __m128i lo = _mm_mullo_epi16(a, m), hi = _mm_mulhi_epu16(a, m);
    __m128i round = _mm_set1_epi32(1 << (s - 1)), count = _mm_cvtsi32_si128(s);
    __m128i p0 = _mm_srl_epi32(_mm_add_epi32(_mm_unpacklo_epi16(lo, hi), round), count);
    __m128i p1 = _mm_srl_epi32(_mm_add_epi32(_mm_unpackhi_epi16(lo, hi), round), count);
    return _mm_sign_epi16(_mm_packus_epi32(p0, p1), x);
}

}  // namespace

// ------------------------------------------------------------------ 4x4 kernels

void residual4x4(Mox16s* blk, int se, const Mox16s* dc, bool ac, int qp) {
    Mox16s *r1 = blk + se, *r2 = r1 + se, *r3 = r2 + se;
    if (!ac) {
        int d = dc ? *dc : static_cast<Mox16s>(blk[0] * kInvQuant[qp][0]);
        __m128i v = _mm_set1_epi16(static_cast<Mox16s>(static_cast<Mox16s>(d + 32) >> 6));
        simd::store<8>(blk, v);
        simd::store<8>(r1, v);
        simd::store<8>(r2, v);
        simd::store<8>(r3, v);
        return;
    }
    __m128i a = _mm_mullo_epi16(loadRows(blk, r1), flatMul(qp, 0));
    __m128i b = _mm_mullo_epi16(loadRows(r2, r3), flatMul(qp, 1));
    if (dc) a = _mm_insert_epi16(a, *dc, 0);
    inverse4x4<false>(a, b);
    storeRows(blk, r1, a);
    storeRows(r3, r2, b);
}

void addResidual4x4(const Mox8u* pred, int predStep, const Mox16s* coeffs, const Mox16s* dc, bool ac, int qp,
                    Mox8u* dst, int dstStep, Mox16s* residual) {
    if (!ac) {
        int d = (dc ? *dc : static_cast<Mox16s>(coeffs[0] * kInvQuant[qp][0])) + 32;
        __m128i v = _mm_set1_epi16(static_cast<Mox16s>(sat16(d) >> 6));
        addPred(v, v, pred, predStep, dst, dstStep);
        return;
    }
    __m128i a = _mm_mullo_epi16(load16(coeffs), flatMul(qp, 0));
    __m128i b = _mm_mullo_epi16(load16(coeffs + 8), flatMul(qp, 1));
    if (dc) a = _mm_insert_epi16(a, *dc, 0);
    inverse4x4<true>(a, b);
    if (residual) {
        store16(residual, a);
        storeRows(residual + 12, residual + 8, b);
    }
    addPred(a, b, pred, predStep, dst, dstStep);
}

void addResidual4x4Scaled(const Mox8u* pred, int predStep, const Mox16s* coeffs, const Mox16s* dc, bool ac, int qp,
                          const Mox16s* levelScale, Mox8u* dst, int dstStep, Mox16s* residual) {
    if (!ac) {
        int d = (dc ? *dc : static_cast<Mox16s>(scaleOne(coeffs[0], levelScale[0], qp, 4))) + 32;
        __m128i v = _mm_set1_epi16(static_cast<Mox16s>(static_cast<Mox16s>(d) >> 6));
        addPred(v, v, pred, predStep, dst, dstStep);
        return;
    }
    __m128i a = load16(coeffs), b = load16(coeffs + 8), la = load16(levelScale), lb = load16(levelScale + 8);
    LevelShift sh = levelShift(qp, 4);
    if (sh.left) {
        a = lanes::scale16<true>(a, la, sh);
        b = lanes::scale16<true>(b, lb, sh);
    } else {
        a = lanes::scale16<false>(a, la, sh);
        b = lanes::scale16<false>(b, lb, sh);
    }
    if (dc) a = _mm_insert_epi16(a, *dc, 0);
    inverse4x4<false>(a, b);
    if (residual) {
        store16(residual, a);
        storeRows(residual + 12, residual + 8, b);
    }
    addPred(a, b, pred, predStep, dst, dstStep);
}

void addResidual4x4Scaled(const Mox16u* pred, int predStep, const Mox32s* coeffs, const Mox32s* dc, bool ac, int qp,
                          const Mox16s* levelScale, int bitDepth, Mox16u* dst, int dstStep, Mox32s* residual) {
    __m128i r[4];
    if (!ac) {
        uint32_t d = static_cast<uint32_t>(dc ? *dc : scaleOne(coeffs[0], levelScale[0], qp, 4));
        r[0] = r[1] = r[2] = r[3] = _mm_set1_epi32(static_cast<Mox32s>(d + 32) >> 6);
    } else {
        LevelShift sh = levelShift(qp, 4);
        #pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            __m128i c = load32(coeffs + 4 * i), ls = _mm_cvtepi16_epi32(simd::load<8>(levelScale + 4 * i));
            r[i] = sh.left ? lanes::scale32<true>(c, ls, sh) : lanes::scale32<false>(c, ls, sh);
        }
        if (dc) r[0] = _mm_insert_epi32(r[0], *dc, 0);
        inverse4x4(r);
        if (residual)
            #pragma GCC unroll 4
            for (int i = 0; i < 4; ++i) store32(residual + 4 * i, r[i]);
    }
    const __m128i maxv = _mm_set1_epi16(static_cast<short>((1 << bitDepth) - 1));
    #pragma GCC unroll 4
    for (int i = 0; i < 4; i += 2) {
        __m128i p0 = _mm_cvtepu16_epi32(simd::load<8>(row(pred, predStep, i)));
        __m128i p1 = _mm_cvtepu16_epi32(simd::load<8>(row(pred, predStep, i + 1)));
        __m128i s = _mm_min_epu16(_mm_packus_epi32(_mm_add_epi32(r[i], p0), _mm_add_epi32(r[i + 1], p1)), maxv);
        simd::store<8>(row(dst, dstStep, i), s);
        simd::store<8>(row(dst, dstStep, i + 1), _mm_srli_si128(s, 8));
    }
}

void idct4x4(const Mox16s* src, Mox16s* dst, int se) {
    __m128i a = load16(src), b = load16(src + 8);
    inverse4x4<false>(a, b);
    storeRows(dst, dst + se, a);
    storeRows(dst + 3 * se, dst + 2 * se, b);
}

void idct4x4(const Mox32s* src, Mox32s* dst, int se) {
    __m128i r[4] = {load32(src), load32(src + 4), load32(src + 8), load32(src + 12)};
    inverse4x4(r);
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) store32(dst + i * se, r[i]);
}

void forward4x4(const Mox8u* src, int srcStep, Mox16s* dst) {
    // One pass: (x0|x1), (x2|x3) -> (y0|y1), (y2|y3) with the core matrix rows
    // (1 1 1 1), (2 1 -1 -2), (1 -1 -1 1), (1 -2 2 -1).
    const __m128i k12 = _mm_setr_epi16(1, 1, 1, 1, 2, 2, 2, 2);
    auto pass = [&](__m128i& x, __m128i& y) {
        __m128i ys = _mm_shuffle_epi32(y, 0x4E);                       // x3 | x2
        __m128i s = _mm_add_epi16(x, ys), d = _mm_sub_epi16(x, ys);   // x0+x3 | x1+x2, x0-x3 | x1-x2
        __m128i t1 = _mm_unpacklo_epi64(s, d), t2 = _mm_unpackhi_epi64(s, d);
        x = _mm_add_epi16(_mm_mullo_epi16(t1, k12), t2);
        y = _mm_sub_epi16(t1, _mm_mullo_epi16(t2, k12));
    };
    auto pair = [&](int y0, int y1) {
        return _mm_cvtepu8_epi16(
            _mm_unpacklo_epi32(simd::load<4>(row(src, srcStep, y0)), simd::load<4>(row(src, srcStep, y1))));
    };
    __m128i a = pair(0, 1), b = pair(2, 3);
    transpose4(a, b);
    pass(a, b);
    transpose4(a, b);
    pass(a, b);
    store16(dst, a);
    store16(dst + 8, b);
}

void residual4x4SISP(Mox16s* blk, const Mox16s* predCoeffs, const Mox16s* dc, bool ac, int qp, int qs, bool switching) {
    __m128i c0 = ac ? load16(blk) : _mm_cvtsi32_si128(static_cast<Mox16u>(blk[0])), c1 = ac ? load16(blk + 8) : _mm_setzero_si128();
    __m128i p0 = load16(predCoeffs), p1 = load16(predCoeffs + 8);
    const Mox16u* m = kRequantBlock[qs % 6].data();
    __m128i m0 = load16(reinterpret_cast<const Mox16s*>(m)), m1 = load16(reinterpret_cast<const Mox16s*>(m + 8));
    int s = 15 + qs / 6;
    if (switching) {
        c0 = _mm_add_epi16(c0, requant(p0, m0, s));
        c1 = _mm_add_epi16(c1, requant(p1, m1, s));
    } else {
        // The levels enter the transform domain as floor(c * normAdjust * A * 2^q / 64).
        const Mox16s* w = kSpScaleBlock[qp % 6].data();
        int q = qp / 6;
        __m128i w0 = load16(w), w1 = load16(w + 8);
        if (q >= 6) {
            __m128i k = _mm_cvtsi32_si128(q - 6);
            c0 = _mm_mullo_epi16(c0, _mm_sll_epi16(w0, k));
            c1 = _mm_mullo_epi16(c1, _mm_sll_epi16(w1, k));
        } else {
            c0 = mulShiftFloor(c0, w0, 6 - q);
            c1 = mulShiftFloor(c1, w1, 6 - q);
        }
        c0 = requant(_mm_add_epi16(p0, c0), m0, s);
        c1 = requant(_mm_add_epi16(p1, c1), m1, s);
    }
    __m128i a = _mm_mullo_epi16(c0, flatMul(qs, 0)), b = _mm_mullo_epi16(c1, flatMul(qs, 1));
    if (dc) a = _mm_insert_epi16(a, *dc, 0);
    inverse4x4<false>(a, b);
    store16(blk, a);
    storeRows(blk + 12, blk + 8, b);
}

// ------------------------------------------------------------------ DC kernels

void lumaDC(Mox16s* dc, int qp) {
    __m128i a = load16(dc), b = load16(dc + 8);
    hadamard4x4(a, b);
    int s = qp < 6 ? 2 : (qp < 12 ? 1 : 0);
    const __m128i scale = _mm_set1_epi16(static_cast<short>(kInvQuantLumaDC[qp]));
    const __m128i round = _mm_set1_epi16(static_cast<short>(s ? 1 << (s - 1) : 0)), count = _mm_cvtsi32_si128(s);
    store16(dc, _mm_sra_epi16(_mm_add_epi16(_mm_mullo_epi16(a, scale), round), count));
    store16(dc + 8, _mm_sra_epi16(_mm_add_epi16(_mm_mullo_epi16(b, scale), round), count));
}

void chromaDC2x2(Mox16s* dc, int qp) {
    __m128i f = transform2x2(simd::load<8>(dc));
    simd::store<8>(dc, _mm_srai_epi16(_mm_mullo_epi16(f, _mm_set1_epi16(static_cast<short>(kInvQuant[qp][0]))), 1));
}

void lumaDCScaled(Mox16s* dc, int qp, int ls00) {
    __m128i a = load16(dc), b = load16(dc + 8), ls = _mm_set1_epi16(static_cast<short>(ls00));
    hadamard4x4(a, b);
    LevelShift sh = levelShift(qp, 6);
    if (sh.left) {
        a = lanes::scale16<true>(a, ls, sh);
        b = lanes::scale16<true>(b, ls, sh);
    } else {
        a = lanes::scale16<false>(a, ls, sh);
        b = lanes::scale16<false>(b, ls, sh);
    }
    store16(dc, a);
    store16(dc + 8, b);
}

void lumaDCScaled(Mox32s* dc, int qp, int ls00) {
    __m128i r[4] = {load32(dc), load32(dc + 4), load32(dc + 8), load32(dc + 12)};
    hadamard4(r);
    transpose4x4(r);
    hadamard4(r);
    transpose4x4(r);
    LevelShift sh = levelShift(qp, 6);
    const __m128i ls = _mm_set1_epi32(ls00);
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        store32(dc + 4 * i, sh.left ? lanes::scale32<true>(r[i], ls, sh) : lanes::scale32<false>(r[i], ls, sh));
}

void chromaDC2x2Scaled(Mox16s* dc, int qp, int ls00) {
    // ((f * LS) << q) >> 5 with the product exact.
    __m128i f = transform2x2(simd::load<8>(dc)), ls = _mm_set1_epi16(static_cast<short>(ls00));
    int q = qp / 6;
    __m128i r = q >= 5 ? _mm_sll_epi16(_mm_mullo_epi16(f, ls), _mm_cvtsi32_si128(q - 5)) : mulShiftFloor(f, ls, 5 - q);
    simd::store<8>(dc, r);
}

void chromaDC2x2Scaled(Mox32s* dc, int qp, int ls00) {
    __m128i f = transform2x2_32(load32(dc));
    __m128i p = _mm_sll_epi32(_mm_mullo_epi32(f, _mm_set1_epi32(ls00)), _mm_cvtsi32_si128(qp / 6));
    store32(dc, _mm_srai_epi32(p, 5));
}

void chromaDC2x4Scaled(Mox16s* dc, int qp, int ls00) {
    // Coded order c0..c7 to the columns of the 4x2 matrix: (c0 c1 c3 c4 | c2 c5 c6 c7).
    __m128i x = _mm_shuffle_epi8(load16(dc), laneMask(0, 1, 3, 4, 2, 5, 6, 7));
    __m128i sw = _mm_shuffle_epi32(x, 0x4E);
    __m128i u = _mm_unpacklo_epi64(_mm_add_epi16(x, sw), _mm_sub_epi16(x, sw));  // row sums | row differences
    // 4-point Hadamard down each half: (r0 +- r1, r2 +- r3), then (p0 +- p2, p1 -+ p3).
    __m128i p = _mm_add_epi16(_mm_shuffle_epi8(u, laneMask(0, 0, 2, 2, 4, 4, 6, 6)),
                              _mm_sign_epi16(_mm_shuffle_epi8(u, laneMask(1, 1, 3, 3, 5, 5, 7, 7)),
                                             _mm_setr_epi16(1, -1, 1, -1, 1, -1, 1, -1)));
    __m128i g = _mm_add_epi16(_mm_shuffle_epi8(p, laneMask(0, 0, 1, 1, 4, 4, 5, 5)),
                              _mm_sign_epi16(_mm_shuffle_epi8(p, laneMask(2, 2, 3, 3, 6, 6, 7, 7)),
                                             _mm_setr_epi16(1, -1, -1, 1, 1, -1, -1, 1)));
    g = _mm_shuffle_epi8(g, laneMask(0, 4, 1, 5, 2, 6, 3, 7));  // raster order of the 2-wide grid
    LevelShift sh = levelShift(qp + 3, 6);
    __m128i ls = _mm_set1_epi16(static_cast<short>(ls00));
    store16(dc, sh.left ? lanes::scale16<true>(g, ls, sh) : lanes::scale16<false>(g, ls, sh));
}

void chromaDC2x4Scaled(Mox32s* dc, int qp, int ls00) {
    __m128i v0 = load32(dc), v1 = load32(dc + 4);
    __m128i col0 = _mm_unpacklo_epi64(v0, _mm_alignr_epi8(v1, v0, 12));           // c0 c1 c3 c4
    __m128i col1 = _mm_blend_epi16(v1, _mm_shuffle_epi32(v0, _MM_SHUFFLE(3, 3, 3, 2)), 0x03);  // c2 c5 c6 c7
    __m128i gu = hadamardLanes32(_mm_add_epi32(col0, col1)), gw = hadamardLanes32(_mm_sub_epi32(col0, col1));
    LevelShift sh = levelShift(qp + 3, 6);
    const __m128i ls = _mm_set1_epi32(ls00);
    __m128i r0 = _mm_unpacklo_epi32(gu, gw), r1 = _mm_unpackhi_epi32(gu, gw);
    if (sh.left) {
        r0 = lanes::scale32<true>(r0, ls, sh);
        r1 = lanes::scale32<true>(r1, ls, sh);
    } else {
        r0 = lanes::scale32<false>(r0, ls, sh);
        r1 = lanes::scale32<false>(r1, ls, sh);
    }
    store32(dc, r0);
    store32(dc + 4, r1);
}

void chromaDC2x2SISP(Mox16s* dc, const Mox16s* predDC, int qp, int qs, bool switching) {
    __m128i p = transform2x2(simd::load<8>(predDC)), c = simd::load<8>(dc);
    __m128i m = _mm_set1_epi16(kRequant4x4[qs % 6][0]);
    int s = 16 + qs / 6;
    __m128i level;
    if (switching) {
        level = _mm_add_epi16(c, requant(p, m, s));
    } else {
        // floor(c * normAdjust * 16 * 2^q / 32) = floor(c * scale(QP) / 2), the product exact.
        __m128i t = mulShiftFloor(c, _mm_set1_epi16(static_cast<short>(kInvQuant[qp][0])), 1);
        level = requant(_mm_add_epi16(p, t), m, s);
    }
    __m128i f = transform2x2(level);
    simd::store<8>(dc, _mm_srai_epi16(_mm_mullo_epi16(f, _mm_set1_epi16(static_cast<short>(kInvQuant[qs][0]))), 1));
}

}  // namespace mox::h264

// ------------------------------------------------------------------ exported wrappers
// Each wrapper takes its kernel inline; the kernels stay callable on their own
// for the macroblock reconstruction.

namespace {

using namespace mox::h264;

constexpr bool qpOk(int qp) { return qp >= 0 && qp <= 51; }
// High bit depths: QP' = QP + 6 x (bitDepth - 8), up to 14 bits.
constexpr bool qpHighOk(int qp) { return qp >= 0 && qp <= 87; }
constexpr bool bitDepthOk(int bitDepth) { return bitDepth >= 8 && bitDepth <= 14; }

}  // namespace

MOX_FN_INLINE moxiDequantTransformResidual_H264_16s_C1I(Mox16s* pSrcDst, int step, const Mox16s* pDC, int AC, int QP) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(step >= 8, moxStsStepErr);
    residual4x4(pSrcDst, step / 2, pDC, AC != 0, QP);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiDequantTransformResidualAndAdd_H264_16s_C1I(const Mox8u* pPred, Mox16s* pSrcDst, const Mox16s* pDC,
                                                       Mox8u* pDst, int predStep, int dstStep, int QP, int AC) {
    MOX_CHECK_PTRS(pPred, pDst);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(pSrcDst || (pDC && !AC), moxStsNullPtrErr);
    addResidual4x4(pPred, predStep, pSrcDst, pDC, AC != 0, QP, pDst, dstStep, pSrcDst);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformDequantLumaDC_H264_16s_C1I(Mox16s* pSrcDst, int QP) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    lumaDC(pSrcDst, QP);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformDequantChromaDC_H264_16s_C1I(Mox16s* pSrcDst, int QP) {
    MOX_CHECK_PTRS(pSrcDst);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    chromaDC2x2(pSrcDst, QP);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformPrediction_H264_8u16s_C1(const Mox8u* pSrc, int srcStep, Mox16s* pDst) {
    MOX_CHECK_PTRS(pSrc, pDst);
    forward4x4(pSrc, srcStep, pDst);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformResidual4x4Inv_H264_16s_C1(const Mox16s* pSrc, Mox16s* pDst, int dstStep) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(dstStep >= 8, moxStsStepErr);
    idct4x4(pSrc, pDst, dstStep / 2);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformResidual4x4Inv_H264_32s_C1(const Mox32s* pSrc, Mox32s* pDst, int dstStep) {
    MOX_CHECK_PTRS(pSrc, pDst);
    MOX_CHECK(dstStep >= 16, moxStsStepErr);
    idct4x4(pSrc, pDst, dstStep / 4);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(const Mox8u* pPred, int predStep, Mox16s* pSrcDst,
                                                     const Mox16s* pDC, Mox8u* pDst, int dstStep, int QP, int AC,
                                                     const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pPred, pDst, pQuantTable);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(pSrcDst || (pDC && !AC), moxStsNullPtrErr);
    addResidual4x4Scaled(pPred, predStep, pSrcDst, pDC, AC != 0, QP, pQuantTable, pDst, dstStep, pSrcDst);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(const Mox16u* pPred, int predStep, Mox32s* pSrcDst,
                                                     const Mox32s* pDC, Mox16u* pDst, int dstStep, int QP, int AC,
                                                     const Mox16s* pQuantTable, int bitDepth) {
    MOX_CHECK_PTRS(pPred, pDst, pQuantTable);
    MOX_CHECK(qpHighOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(bitDepthOk(bitDepth), moxStsOutOfRangeErr);
    MOX_CHECK(pSrcDst || (pDC && !AC), moxStsNullPtrErr);
    addResidual4x4Scaled(pPred, predStep, pSrcDst, pDC, AC != 0, QP, pQuantTable, bitDepth, pDst, dstStep, pSrcDst);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvLumaDC4x4_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    lumaDCScaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvLumaDC4x4_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpHighOk(QP), moxStsOutOfRangeErr);
    lumaDCScaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvChromaDC2x2_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    chromaDC2x2Scaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvChromaDC2x2_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpHighOk(QP), moxStsOutOfRangeErr);
    chromaDC2x2Scaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvChromaDC2x4_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    chromaDC2x4Scaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformQuantInvChromaDC2x4_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable) {
    MOX_CHECK_PTRS(pSrcDst, pQuantTable);
    MOX_CHECK(qpHighOk(QP), moxStsOutOfRangeErr);
    chromaDC2x4Scaled(pSrcDst, QP, pQuantTable[0]);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiDequantTransformResidual_SISP_H264_16s_C1I(Mox16s* pSrcDst, const Mox16s* pPredictBlock,
                                                      const Mox16s* pDC, int AC, int QP, int QS, int switchFlag) {
    MOX_CHECK_PTRS(pSrcDst, pPredictBlock);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(qpOk(QS), moxStsOutOfRangeErr);
    residual4x4SISP(pSrcDst, pPredictBlock, pDC, AC != 0, QP, QS, switchFlag != 0);
    return moxStsNoErr;
}

MOX_FN_INLINE moxiTransformDequantChromaDC_SISP_H264_16s_C1I(Mox16s* pSrcDst, const Mox16s* pDCPredict, int QP, int QS,
                                                      int switchFlag) {
    MOX_CHECK_PTRS(pSrcDst, pDCPredict);
    MOX_CHECK(qpOk(QP), moxStsOutOfRangeErr);
    MOX_CHECK(qpOk(QS), moxStsOutOfRangeErr);
    chromaDC2x2SISP(pSrcDst, pDCPredict, QP, QS, switchFlag != 0);
    return moxStsNoErr;
}

extern "C" MOXAPI const Mox16s* moxiGetLevelScale_H264(int qpRem, int is8x8) {
    if (qpRem < 0 || qpRem > 5) return nullptr;
    return is8x8 ? kFlatLevelScale8x8[qpRem].data() : kFlatLevelScale4x4[qpRem].data();
}
