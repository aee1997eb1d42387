// Block metrics beyond plain SAD/SSD/SATD: sub-block SADs of a 16x16 block,
// 4x4 sums of differences, mean absolute deviation, frame/field SADs, 8x8
// Hadamard sums, 16x16 squared differences, per-8x8 variance and mean of a
// difference, and edge detection.
#include <utility>

#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

// ---------------------------------------------------------------- helpers

inline __m128i loadRow(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

// Horizontal sum of the four 32-bit lanes.
inline int hsum32(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(v);
}

// Sum of the two 64-bit lanes that psadbw leaves.
inline int hsumSad(__m128i v) { return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_unpackhi_epi64(v, v))); }

inline __m128i absDiff8(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }
inline __m128i absDiff16(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }

// Pairwise sums of unsigned 16-bit lanes as 32-bit lanes. pmaddwd is signed,
// so the lanes are moved down by 32768 first; every result lane then holds its
// true sum minus 65536, which the caller adds back once at the end.
inline __m128i pairSumsU16Biased(__m128i v) {
    return _mm_madd_epi16(_mm_xor_si128(v, _mm_set1_epi16(-32768)), _mm_set1_epi16(1));
}
constexpr int kPairBias = 65536;

// src - pred for the low and high eight bytes, as 16-bit lanes: interleaved
// (s, p) byte pairs multiplied by (1, -1).
inline __m128i diffLo(__m128i s, __m128i p) { return _mm_maddubs_epi16(_mm_unpacklo_epi8(s, p), _mm_set1_epi16(0xFF01)); }
inline __m128i diffHi(__m128i s, __m128i p) { return _mm_maddubs_epi16(_mm_unpackhi_epi8(s, p), _mm_set1_epi16(0xFF01)); }

// ---------------------------------------------------------------- prediction rows
// Lane operations per sample type for the streaming predictor.
template <class T>
struct Lanes;
template <>
struct Lanes<Mox8u> {
    static __m128i avg(__m128i a, __m128i b) { return _mm_avg_epu8(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi8(a, b); }
    static __m128i one() { return _mm_set1_epi8(1); }
};
template <>
struct Lanes<Mox16u> {
    static __m128i avg(__m128i a, __m128i b) { return _mm_avg_epu16(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    static __m128i one() { return _mm_set1_epi16(1); }
};

// Rows of a 16-sample-wide prediction at (HX, HY) with halves rounded up,
// produced top to bottom; a row of 8-bit samples is one vector, a row of
// 16-bit samples two. Vertical and half-half positions carry the previous
// row over, and half-half stays in the sample width by averaging twice and
// correcting: with x = avg(a, b) and y = avg(c, d),
//   (a + b + c + d + 2) >> 2 = avg(x, y) - (((a ^ b) | (c ^ d)) & (x ^ y) & 1).
template <class T, int HX, int HY>
class PredRows {
public:
    static constexpr int V = sizeof(T);       // vectors per row
    static constexpr int E = 16 / sizeof(T);  // samples per vector

    PredRows(const T* p, int step) : p_(p), step_(step) {
        if constexpr (HY) {
            #pragma GCC unroll 2
            for (int v = 0; v < V; ++v) {
                __m128i a = ld(p_, v);
                if constexpr (HX) {
                    __m128i b = ld(p_ + 1, v);
                    x_[v] = L::avg(a, b);
                    e_[v] = _mm_xor_si128(a, b);
                } else {
                    x_[v] = a;
                }
            }
        }
    }

    // The next row's V vectors.
    void next(__m128i* out) {
        const T* r = p_;
        p_ = row(p_, step_, 1);
        #pragma GCC unroll 2
        for (int v = 0; v < V; ++v) {
            if constexpr (!HY) {
                __m128i a = ld(r, v);
                out[v] = HX ? L::avg(a, ld(r + 1, v)) : a;
            } else if constexpr (!HX) {
                __m128i c = ld(p_, v);
                out[v] = L::avg(x_[v], c);
                x_[v] = c;
            } else {
                __m128i c = ld(p_, v), d = ld(p_ + 1, v);
                __m128i y = L::avg(c, d), f = _mm_xor_si128(c, d);
                __m128i fix = _mm_and_si128(_mm_and_si128(_mm_or_si128(e_[v], f), _mm_xor_si128(x_[v], y)), L::one());
                out[v] = L::sub(L::avg(x_[v], y), fix);
                x_[v] = y;
                e_[v] = f;
            }
        }
    }

private:
    using L = Lanes<T>;
    static __m128i ld(const T* p, int v) { return loadRow(p + v * E); }
    const T* p_;
    int step_;
    __m128i x_[V] = {}, e_[V] = {};
};

// Kernels instantiated per half-sample position stay out of line: inlined
// into one wrapper, the compiler hoists the row addresses shared by the four
// positions above the dispatch and spills them.
#define MOX_KERNEL __attribute__((noinline))

// Runs f(Int<hx>, Int<hy>) for the position of mcType.
template <class F>
inline decltype(auto) atMcType(int mcType, F&& f) {
    return hpel::dispatch(hpel::fromMcType(mcType), std::forward<F>(f));
}
#define MOX_POS(i) decltype(i)::value

// ---------------------------------------------------------------- sub-block SADs
// Row loops below advance their pointers and unroll by a few rows only: fully
// unrolled, the compiler reassociates the running sums into wide trees and
// spills.

template <class T>
inline const T* down(const T* p, int step) {
    return row(p, step, 1);
}

template <int HX, int HY>
MOX_KERNEL void sadBlocks8x8_8u(const Mox8u* s, int ss, const Mox8u* r, int rs, Mox16u* dst) {
    PredRows<Mox8u, HX, HY> pred(r, rs);
#pragma GCC unroll 16
    for (int band = 0; band < 2; ++band) {
        __m128i acc = _mm_setzero_si128();  // psadbw: left and right block in the two halves
        #pragma GCC unroll 4
        for (int y = 0; y < 8; ++y, s = down(s, ss)) {
            __m128i p;
            pred.next(&p);
            acc = _mm_add_epi32(acc, _mm_sad_epu8(loadRow(s), p));
        }
        simd::store<4>(dst + 2 * band, _mm_packus_epi32(_mm_shuffle_epi32(acc, _MM_SHUFFLE(2, 0, 2, 0)), acc));
    }
}

template <int HX, int HY>
MOX_KERNEL void sadBlocks4x4_8u(const Mox8u* s, int ss, const Mox8u* r, int rs, Mox16u* dst) {
    PredRows<Mox8u, HX, HY> pred(r, rs);
    const __m128i ones = _mm_set1_epi8(1);
#pragma GCC unroll 16
    for (int half = 0; half < 2; ++half) {
        // Two bands of four rows: sums of adjacent pairs of absolute differences.
        __m128i acc[2] = {};
        #pragma GCC unroll 8
        for (int y = 0; y < 8; ++y, s = down(s, ss)) {
            __m128i p;
            pred.next(&p);
            acc[y >> 2] = _mm_add_epi16(acc[y >> 2], _mm_maddubs_epi16(absDiff8(loadRow(s), p), ones));
        }
        // Adding adjacent pair sums leaves the four 4x4 sums of each band in turn.
        simd::store<16>(dst + 8 * half, _mm_hadd_epi16(acc[0], acc[1]));
    }
}

template <int HX, int HY>
MOX_KERNEL void sadBlocks8x8_16u(const Mox16u* s, int ss, const Mox16u* r, int rs, Mox32u* dst) {
    PredRows<Mox16u, HX, HY> pred(r, rs);
#pragma GCC unroll 16
    for (int band = 0; band < 2; ++band) {
        __m128i acc[2] = {};  // left and right block, four 32-bit partial sums each
        #pragma GCC unroll 4
        for (int y = 0; y < 8; ++y, s = down(s, ss)) {
            __m128i p[2];
            pred.next(p);
            acc[0] = _mm_add_epi32(acc[0], pairSumsU16Biased(absDiff16(loadRow(s), p[0])));
            acc[1] = _mm_add_epi32(acc[1], pairSumsU16Biased(absDiff16(loadRow(s + 8), p[1])));
        }
        __m128i h = _mm_hadd_epi32(acc[0], acc[1]);
        // Each block gathered 8 rows x 4 lanes of biased pair sums.
        simd::store<8>(dst + 2 * band, _mm_add_epi32(_mm_hadd_epi32(h, h), _mm_set1_epi32(kPairBias * 8 * 4)));
    }
}

template <int HX, int HY>
MOX_KERNEL void sadBlocks4x4_16u(const Mox16u* s, int ss, const Mox16u* r, int rs, Mox32u* dst) {
    PredRows<Mox16u, HX, HY> pred(r, rs);
#pragma GCC unroll 16
    for (int band = 0; band < 4; ++band) {
        // Lanes 0-1 of acc[v] belong to block 2v, lanes 2-3 to block 2v + 1.
        __m128i acc[2] = {};
        #pragma GCC unroll 4
        for (int y = 0; y < 4; ++y, s = down(s, ss)) {
            __m128i p[2];
            pred.next(p);
            acc[0] = _mm_add_epi32(acc[0], pairSumsU16Biased(absDiff16(loadRow(s), p[0])));
            acc[1] = _mm_add_epi32(acc[1], pairSumsU16Biased(absDiff16(loadRow(s + 8), p[1])));
        }
        // Each block gathered 4 rows x 2 lanes of biased pair sums.
        simd::store<16>(dst + 4 * band, _mm_add_epi32(_mm_hadd_epi32(acc[0], acc[1]), _mm_set1_epi32(kPairBias * 4 * 2)));
    }
}

// ---------------------------------------------------------------- 4x4 sums of differences

// Rows of d = src - pred: N/8 vectors of eight 16-bit lanes per row.
template <int N>
inline void diffRow(const Mox8u* s, const Mox8u* p, __m128i* d) {
    if constexpr (N == 16) {
        __m128i vs = loadRow(s), vp = loadRow(p);
        d[0] = diffLo(vs, vp);
        d[1] = diffHi(vs, vp);
    } else {
        d[0] = diffLo(simd::load<8>(s), simd::load<8>(p));
    }
}

template <int N, bool WithDiff>
void sumsDiff(const Mox8u* s, int ss, const Mox8u* p, int ps, Mox16s* sums, Mox16s* diff) {
    constexpr int V = N / 8;  // vectors per row; each holds two 4-wide blocks
    // Two bands of four rows at a time, so that their block sums finish together.
    for (int half = 0; half < N / 8; ++half) {
        __m128i bandSums[2];  // pairwise column sums over each band
        #pragma GCC unroll 2
        for (int b = 0; b < 2; ++b) {
            __m128i d[4][V];
            #pragma GCC unroll 4
            for (int i = 0; i < 4; ++i, s = down(s, ss), p = down(p, ps)) diffRow<N>(s, p, d[i]);
            __m128i t[V];
            #pragma GCC unroll 2
            for (int v = 0; v < V; ++v) {
                t[v] = _mm_add_epi16(_mm_add_epi16(d[0][v], d[1][v]), _mm_add_epi16(d[2][v], d[3][v]));
                if constexpr (WithDiff) {
                    // Block 2v of this band is the low half of each row's vector, block 2v + 1 the high half.
                    simd::store<16>(diff, _mm_unpacklo_epi64(d[0][v], d[1][v]));
                    simd::store<16>(diff + 8, _mm_unpacklo_epi64(d[2][v], d[3][v]));
                    simd::store<16>(diff + 16, _mm_unpackhi_epi64(d[0][v], d[1][v]));
                    simd::store<16>(diff + 24, _mm_unpackhi_epi64(d[2][v], d[3][v]));
                    diff += 32;
                }
            }
            // 16 wide: sums of adjacent columns, so lanes 2k and 2k + 1 make block k.
            if constexpr (V == 2)
                bandSums[b] = _mm_hadd_epi16(t[0], t[1]);
            else
                bandSums[b] = t[0];
        }
        __m128i h = _mm_hadd_epi16(bandSums[0], bandSums[1]);
        if constexpr (N == 16)
            simd::store<16>(sums + 8 * half, h);
        else
            simd::store<8>(sums, _mm_hadd_epi16(h, h));
    }
}

template <int N>
void sumsDiffKernel(const Mox8u* s, int ss, const Mox8u* p, int ps, Mox16s* sums, Mox16s* diff) {
    if (diff)
        sumsDiff<N, true>(s, ss, p, ps, sums, diff);
    else
        sumsDiff<N, false>(s, ss, p, ps, sums, nullptr);
}

// ---------------------------------------------------------------- mean absolute deviation

template <int N>
int meanAbsDev(const Mox8u* s, int ss) {
    // Rows in full vectors: one 16-wide row or two 8-wide rows each.
    constexpr int R = N == 16 ? 16 : 4;
    auto load = [&](int i) {
        if constexpr (N == 16)
            return loadRow(row(s, ss, i));
        else
            return _mm_unpacklo_epi64(simd::load<8>(row(s, ss, 2 * i)), simd::load<8>(row(s, ss, 2 * i + 1)));
    };
    const __m128i zero = _mm_setzero_si128();
    __m128i sum = zero;
    #pragma GCC unroll 4
    for (int i = 0; i < R; ++i) sum = _mm_add_epi32(sum, _mm_sad_epu8(load(i), zero));
    constexpr int shift = N == 16 ? 8 : 6;
    const int mean = (hsumSad(sum) + (1 << (shift - 1))) >> shift;
    const __m128i m = _mm_set1_epi8(static_cast<char>(mean));
    __m128i dev = zero;
    #pragma GCC unroll 4
    for (int i = 0; i < R; ++i) dev = _mm_add_epi32(dev, _mm_sad_epu8(load(i), m));
    return hsumSad(dev);
}

// ---------------------------------------------------------------- frame/field SADs

void frameField8u(const Mox8u* s, int ss, Mox32s* frame, Mox32s* field) {
    __m128i r0 = loadRow(s), r1 = loadRow(row(s, ss, 1));
    __m128i fr = _mm_sad_epu8(r0, r1), fi = _mm_setzero_si128();
    s = row(s, ss, 2);
    #pragma GCC unroll 2
    for (int y = 2; y < 16; ++y, s = down(s, ss)) {
        __m128i r2 = loadRow(s);
        fr = _mm_add_epi32(fr, _mm_sad_epu8(r1, r2));
        fi = _mm_add_epi32(fi, _mm_sad_epu8(r0, r2));
        r0 = r1;
        r1 = r2;
    }
    *frame = hsumSad(fr);
    *field = hsumSad(fi);
}

// Signed 16-bit samples: |a - b| = 2 max(a, b) - a - b, so only the maxima
// are summed per pair (pmaddwd is exact on them) and the row sums are taken
// off once: every row but the last enters the frame sum as an upper
// neighbour and every row but the first as a lower one; two rows apart for
// the field sum.
inline __m128i rowSum16s(const __m128i* r) {
    const __m128i ones = _mm_set1_epi16(1);
    return _mm_add_epi32(_mm_madd_epi16(r[0], ones), _mm_madd_epi16(r[1], ones));
}
inline __m128i maxSum16s(const __m128i* a, const __m128i* b) {
    const __m128i ones = _mm_set1_epi16(1);
    return _mm_add_epi32(_mm_madd_epi16(_mm_max_epi16(a[0], b[0]), ones),
                         _mm_madd_epi16(_mm_max_epi16(a[1], b[1]), ones));
}

void frameField16s(const Mox16s* s, int ss, Mox32s* frame, Mox32s* field) {
    __m128i r0[2] = {loadRow(s), loadRow(s + 8)};
    s = down(s, ss);
    __m128i r1[2] = {loadRow(s), loadRow(s + 8)};
    s = down(s, ss);
    const __m128i first = rowSum16s(r0), second = rowSum16s(r1);
    __m128i total = _mm_add_epi32(first, second);
    __m128i maxFrame = maxSum16s(r0, r1), maxField = _mm_setzero_si128();
    #pragma GCC unroll 2
    for (int y = 2; y < 16; ++y, s = down(s, ss)) {
        __m128i r2[2] = {loadRow(s), loadRow(s + 8)};
        total = _mm_add_epi32(total, rowSum16s(r2));
        maxFrame = _mm_add_epi32(maxFrame, maxSum16s(r1, r2));
        maxField = _mm_add_epi32(maxField, maxSum16s(r0, r2));
        r0[0] = r1[0], r0[1] = r1[1];
        r1[0] = r2[0], r1[1] = r2[1];
    }
    // r0, r1 now hold rows 14 and 15.
    const __m128i last = rowSum16s(r1);
    const __m128i ends = _mm_add_epi32(first, last);
    __m128i fr = _mm_add_epi32(_mm_slli_epi32(_mm_sub_epi32(maxFrame, total), 1), ends);
    __m128i fi = _mm_add_epi32(_mm_slli_epi32(_mm_sub_epi32(maxField, total), 1),
                               _mm_add_epi32(ends, _mm_add_epi32(second, rowSum16s(r0))));
    *frame = hsum32(fr);
    *field = hsum32(fi);
}

// ---------------------------------------------------------------- 8x8 Hadamard sums

struct Ops16 {
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    static __m128i abs(__m128i a) { return _mm_abs_epi16(a); }
    static __m128i max(__m128i a, __m128i b) { return _mm_max_epi16(a, b); }
};
struct Ops32 {
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return _mm_sub_epi32(a, b); }
    static __m128i abs(__m128i a) { return _mm_abs_epi32(a); }
    static __m128i max(__m128i a, __m128i b) { return _mm_max_epi32(a, b); }
};

// One butterfly stage over vectors i and i + d of v[0..7].
template <class O>
inline void stage(__m128i* v, int d) {
    #pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        if (!(i & d)) {
            __m128i a = v[i], b = v[i + d];
            v[i] = O::add(a, b);
            v[i + d] = O::sub(a, b);
        }
}

// The two first stages of an 8-point Hadamard transform across the vectors,
// then the third folded into the sum of absolute values:
// |a + b| + |a - b| = 2 max(|a|, |b|). Returns the halved sums, per lane.
template <class O>
inline __m128i hadamardAbsHalf(__m128i* v) {
    stage<O>(v, 1);
    stage<O>(v, 2);
    __m128i m[4];
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) m[i] = O::max(O::abs(v[i]), O::abs(v[i + 4]));
    return O::add(O::add(m[0], m[1]), O::add(m[2], m[3]));
}

inline void transpose8x16(__m128i* v) {
    __m128i a[8], b[8];
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = _mm_unpacklo_epi16(v[2 * i], v[2 * i + 1]);
        a[2 * i + 1] = _mm_unpackhi_epi16(v[2 * i], v[2 * i + 1]);
    }
    #pragma GCC unroll 2
    for (int i = 0; i < 2; ++i)
        #pragma GCC unroll 2
        for (int j = 0; j < 2; ++j) {
            b[4 * i + 2 * j] = _mm_unpacklo_epi32(a[4 * i + j], a[4 * i + j + 2]);
            b[4 * i + 2 * j + 1] = _mm_unpackhi_epi32(a[4 * i + j], a[4 * i + j + 2]);
        }
    // b[0..3] hold columns (0,1), (2,3), (4,5), (6,7) of rows 0-3; b[4..7] of rows 4-7.
    #pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        v[2 * i] = _mm_unpacklo_epi64(b[i], b[i + 4]);
        v[2 * i + 1] = _mm_unpackhi_epi64(b[i], b[i + 4]);
    }
}

inline void transpose4x32(__m128i& a, __m128i& b, __m128i& c, __m128i& d) {
    __m128i t0 = _mm_unpacklo_epi32(a, b), t1 = _mm_unpackhi_epi32(a, b);
    __m128i t2 = _mm_unpacklo_epi32(c, d), t3 = _mm_unpackhi_epi32(c, d);
    a = _mm_unpacklo_epi64(t0, t2);
    b = _mm_unpackhi_epi64(t0, t2);
    c = _mm_unpacklo_epi64(t1, t3);
    d = _mm_unpackhi_epi64(t1, t3);
}

int sat8x8_8u(const Mox8u* a, int as, const Mox8u* b, int bs) {
    __m128i v[8];
    #pragma GCC unroll 8
    for (int y = 0; y < 8; ++y)
        v[y] = _mm_sub_epi16(_mm_cvtepu8_epi16(simd::load<8>(row(a, as, y))), _mm_cvtepu8_epi16(simd::load<8>(row(b, bs, y))));
    // Columns, then rows. |coefficients| <= 64 * 255 and each halved pair
    // max(|a|, |b|) <= 32 * 255, so four of them still fit 16 bits.
    stage<Ops16>(v, 1);
    stage<Ops16>(v, 2);
    stage<Ops16>(v, 4);
    transpose8x16(v);
    return 2 * hsum32(_mm_madd_epi16(hadamardAbsHalf<Ops16>(v), _mm_set1_epi16(1)));
}

int sat8x8_16u(const Mox16u* a, int as, const Mox16u* b, int bs) {
    // lo[y]: columns 0-3 of row y, hi[y]: columns 4-7, as 32-bit differences;
    // |coefficients| <= 64 * 65535 and their sum <= 512 * 65535 fit 32 bits.
    __m128i lo[8], hi[8];
    const __m128i zero = _mm_setzero_si128();
    #pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) {
        __m128i va = loadRow(row(a, as, y)), vb = loadRow(row(b, bs, y));
        lo[y] = _mm_sub_epi32(_mm_unpacklo_epi16(va, zero), _mm_unpacklo_epi16(vb, zero));
        hi[y] = _mm_sub_epi32(_mm_unpackhi_epi16(va, zero), _mm_unpackhi_epi16(vb, zero));
    }
    #pragma GCC unroll 3
    for (int d = 1; d < 8; d <<= 1) {
        stage<Ops32>(lo, d);
        stage<Ops32>(hi, d);
    }
    // Transpose by 4x4 quarters: column c becomes the new row c, its rows 0-3
    // in lo and rows 4-7 in hi.
    transpose4x32(lo[0], lo[1], lo[2], lo[3]);
    transpose4x32(lo[4], lo[5], lo[6], lo[7]);
    transpose4x32(hi[0], hi[1], hi[2], hi[3]);
    transpose4x32(hi[4], hi[5], hi[6], hi[7]);
    __m128i tlo[8] = {lo[0], lo[1], lo[2], lo[3], hi[0], hi[1], hi[2], hi[3]};
    __m128i thi[8] = {lo[4], lo[5], lo[6], lo[7], hi[4], hi[5], hi[6], hi[7]};
    return 2 * hsum32(_mm_add_epi32(hadamardAbsHalf<Ops32>(tlo), hadamardAbsHalf<Ops32>(thi)));
}

// ---------------------------------------------------------------- squared differences

inline __m128i sqrDiffRow(__m128i s, __m128i p) {
    __m128i lo = diffLo(s, p), hi = diffHi(s, p);
    return _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi));
}

template <int HX, int HY>
MOX_KERNEL int sqrDiff16x16(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    PredRows<Mox8u, HX, HY> pred(r, rs);
    __m128i acc = _mm_setzero_si128();
    #pragma GCC unroll 4
    for (int y = 0; y < 16; ++y, s = down(s, ss)) {
        __m128i p;
        pred.next(&p);
        acc = _mm_add_epi32(acc, sqrDiffRow(loadRow(s), p));
    }
    return hsum32(acc);
}

template <int FX, int FY, int BX, int BY>
MOX_KERNEL int sqrDiff16x16B(const Mox8u* s, int ss, const Mox8u* rf, int rfs, const Mox8u* rb, int rbs) {
    PredRows<Mox8u, FX, FY> predF(rf, rfs);
    PredRows<Mox8u, BX, BY> predB(rb, rbs);
    __m128i acc = _mm_setzero_si128();
    #pragma GCC unroll 4
    for (int y = 0; y < 16; ++y, s = down(s, ss)) {
        __m128i f, b;
        predF.next(&f);
        predB.next(&b);
        acc = _mm_add_epi32(acc, sqrDiffRow(loadRow(s), _mm_avg_epu8(f, b)));
    }
    return hsum32(acc);
}

// ---------------------------------------------------------------- variance and mean of a difference

// H = 8 or 16 rows of a 16-wide block: 8x8 blocks in raster order.
template <int H, int HX, int HY>
MOX_KERNEL void varMeanDiff(const Mox8u* s, int ss, const Mox8u* r, int rs, Mox32s* var, Mox32s* mean) {
    PredRows<Mox8u, HX, HY> pred(r, rs);
    const __m128i ones = _mm_set1_epi16(1);
#pragma GCC unroll 16
    for (int band = 0; band < H / 8; ++band) {
        __m128i sl = _mm_setzero_si128(), sr = sl, ql = sl, qr = sl;
        #pragma GCC unroll 4
        for (int y = 0; y < 8; ++y, s = down(s, ss)) {
            __m128i p;
            pred.next(&p);
            __m128i vs = loadRow(s);
            __m128i lo = diffLo(vs, p), hi = diffHi(vs, p);
            sl = _mm_add_epi16(sl, lo);  // |sum| <= 8 * 255 per lane
            sr = _mm_add_epi16(sr, hi);
            ql = _mm_add_epi32(ql, _mm_madd_epi16(lo, lo));
            qr = _mm_add_epi32(qr, _mm_madd_epi16(hi, hi));
        }
        // Lanes: s left, s right, q left, q right.
        __m128i sq = _mm_hadd_epi32(_mm_hadd_epi32(_mm_madd_epi16(sl, ones), _mm_madd_epi16(sr, ones)),
                                    _mm_hadd_epi32(ql, qr));
        __m128i s2 = sq, q2 = _mm_unpackhi_epi64(sq, sq);
        // s*s <= (64 * 255)^2 < 2^31 and q >= s*s / 64, so the divisions of
        // non-negative values are plain shifts; s / 64 truncates toward zero.
        __m128i v2 = _mm_srli_epi32(_mm_sub_epi32(q2, _mm_srli_epi32(_mm_mullo_epi32(s2, s2), 6)), 6);
        __m128i m2 = _mm_srai_epi32(_mm_add_epi32(s2, _mm_and_si128(_mm_srai_epi32(s2, 31), _mm_set1_epi32(63))), 6);
        simd::store<8>(var + 2 * band, v2);
        simd::store<8>(mean + 2 * band, m2);
    }
}

// ---------------------------------------------------------------- edge detection

// Lanes where |a - b| >= t give -1 (t the threshold plus one, already in range).
inline __m128i atLeast8(__m128i d, __m128i t) { return _mm_cmpeq_epi8(_mm_max_epu8(d, t), d); }
inline __m128i atLeast16(__m128i d, __m128i t) { return _mm_cmpeq_epi16(_mm_max_epu16(d, t), d); }

// Number of adjacent pairs differing by at least t (0..255).
int edgeCount8u(const Mox8u* s, int ss, int t) {
    const __m128i tv = _mm_set1_epi8(static_cast<char>(t));
    // Byte counters: horizontal pairs (lane 15 compares with a zero shifted
    // in and is dropped at the end) and vertical pairs.
    __m128i prev = loadRow(s);
    __m128i hc = _mm_sub_epi8(_mm_setzero_si128(), atLeast8(absDiff8(prev, _mm_srli_si128(prev, 1)), tv));
    __m128i vc = _mm_setzero_si128();
    s = down(s, ss);
    #pragma GCC unroll 3
    for (int y = 1; y < 16; ++y, s = down(s, ss)) {
        __m128i cur = loadRow(s);
        hc = _mm_sub_epi8(hc, atLeast8(absDiff8(cur, _mm_srli_si128(cur, 1)), tv));
        vc = _mm_sub_epi8(vc, atLeast8(absDiff8(prev, cur), tv));
        prev = cur;
    }
    hc = _mm_and_si128(hc, _mm_srli_si128(_mm_set1_epi8(-1), 1));
    return hsumSad(_mm_sad_epu8(_mm_add_epi8(hc, vc), _mm_setzero_si128()));
}

// The same on 16-bit samples, t in 0..65535.
int edgeCount16u(const Mox16u* s, int ss, int t) {
    const __m128i tv = _mm_set1_epi16(static_cast<short>(t));
    // 16-bit counters: c for the pairs inside the first vector of a row
    // (columns 0-8) and for vertical pairs, h1 for the pairs inside the
    // second vector (lane 7 compares with a zero shifted in and is dropped).
    __m128i c = _mm_setzero_si128(), h1 = c;
    auto horizontal = [&](const __m128i* r) {
        c = _mm_sub_epi16(c, atLeast16(absDiff16(r[0], _mm_alignr_epi8(r[1], r[0], 2)), tv));
        h1 = _mm_sub_epi16(h1, atLeast16(absDiff16(r[1], _mm_srli_si128(r[1], 2)), tv));
    };
    __m128i prev[2] = {loadRow(s), loadRow(s + 8)};
    horizontal(prev);
    s = down(s, ss);
    #pragma GCC unroll 3
    for (int y = 1; y < 16; ++y, s = down(s, ss)) {
        __m128i cur[2] = {loadRow(s), loadRow(s + 8)};
        horizontal(cur);
        c = _mm_sub_epi16(c, atLeast16(absDiff16(prev[0], cur[0]), tv));
        c = _mm_sub_epi16(c, atLeast16(absDiff16(prev[1], cur[1]), tv));
        prev[0] = cur[0];
        prev[1] = cur[1];
    }
    h1 = _mm_and_si128(h1, _mm_srli_si128(_mm_set1_epi8(-1), 2));
    return hsum32(_mm_madd_epi16(_mm_add_epi16(c, h1), _mm_set1_epi16(1)));
}

// t = edgePelDifference + 1 clamped to 0..max + 1: a negative difference
// threshold counts every pair, one at or above the sample maximum none.
template <class T>
Mox8u edgesDetect(const T* s, int ss, int edgePelDifference, int edgePelCount) {
    constexpr int kMax = sizeof(T) == 1 ? 255 : 65535;
    int count = 0;
    if (edgePelDifference < kMax) {
        int t = edgePelDifference < 0 ? 0 : edgePelDifference + 1;
        if constexpr (sizeof(T) == 1)
            count = edgeCount8u(s, ss, t);
        else
            count = edgeCount16u(s, ss, t);
    }
    return count > edgePelCount ? 1 : 0;
}

}  // namespace

// ---------------------------------------------------------------- exported functions

#define MOX_SAD_BLOCKS(B, T, R, kernel)                                                                        \
    MOX_FN moxiSAD16x16Blocks##B##x##B##_##T##R(const Mox##T* pSrc, int srcStep, const Mox##T* pRef, int refStep, \
                                                Mox##R* pDstSAD, int mcType) {                                 \
        MOX_CHECK_PTRS(pSrc, pRef, pDstSAD);                                                                   \
        atMcType(mcType, [&](auto hx, auto hy) {                                                               \
            kernel<MOX_POS(hx), MOX_POS(hy)>(pSrc, srcStep, pRef, refStep, pDstSAD);                           \
        });                                                                                                    \
        return moxStsNoErr;                                                                                    \
    }

MOX_SAD_BLOCKS(8, 8u, 16u, sadBlocks8x8_8u)
MOX_SAD_BLOCKS(4, 8u, 16u, sadBlocks4x4_8u)
MOX_SAD_BLOCKS(8, 16u, 32u, sadBlocks8x8_16u)
MOX_SAD_BLOCKS(4, 16u, 32u, sadBlocks4x4_16u)

#define MOX_SUMS_DIFF(N)                                                                                  \
    MOX_FN moxiSumsDiff##N##x##N##Blocks4x4_8u16s_C1(const Mox8u* pSrc, int srcStep, const Mox8u* pPred, \
                                                     int predStep, Mox16s* pDstSums, Mox16s* pDstDiff) { \
        MOX_CHECK_PTRS(pSrc, pPred, pDstSums);                                                            \
        sumsDiffKernel<N>(pSrc, srcStep, pPred, predStep, pDstSums, pDstDiff);                            \
        return moxStsNoErr;                                                                               \
    }

MOX_SUMS_DIFF(16)
MOX_SUMS_DIFF(8)

#define MOX_MEAN_ABS_DEV(N)                                                                          \
    MOX_FN moxiMeanAbsDev##N##x##N##_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pDst) {     \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                  \
        *pDst = meanAbsDev<N>(pSrc, srcStep);                                                        \
        return moxStsNoErr;                                                                          \
    }

MOX_MEAN_ABS_DEV(8)
MOX_MEAN_ABS_DEV(16)

#define MOX_FRAME_FIELD(T, kernel)                                                                           \
    MOX_FN moxiFrameFieldSAD16x16_##T##32s_C1R(const Mox##T* pSrc, int srcStep, Mox32s* pFrameSAD,          \
                                               Mox32s* pFieldSAD) {                                         \
        MOX_CHECK_PTRS(pSrc, pFrameSAD, pFieldSAD);                                                         \
        kernel(pSrc, srcStep, pFrameSAD, pFieldSAD);                                                        \
        return moxStsNoErr;                                                                                 \
    }

MOX_FRAME_FIELD(8u, frameField8u)
MOX_FRAME_FIELD(16s, frameField16s)

#define MOX_SAT8X8D(T, kernel)                                                                                  \
    MOX_FN moxiSAT8x8D_##T##32s_C1R(const Mox##T* pSrc1, int src1Step, const Mox##T* pSrc2, int src2Step,      \
                                    Mox32s* pDst) {                                                            \
        MOX_CHECK_PTRS(pSrc1, pSrc2, pDst);                                                                    \
        *pDst = kernel(pSrc1, src1Step, pSrc2, src2Step);                                                      \
        return moxStsNoErr;                                                                                    \
    }

MOX_SAT8X8D(8u, sat8x8_8u)
MOX_SAT8X8D(16u, sat8x8_16u)

MOX_FN moxiSqrDiff16x16_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSqrDiff,
                              int mcType) {
    MOX_CHECK_PTRS(pSrc, pRef, pSqrDiff);
    *pSqrDiff = atMcType(mcType, [&](auto hx, auto hy) {
        return sqrDiff16x16<MOX_POS(hx), MOX_POS(hy)>(pSrc, srcStep, pRef, refStep);
    });
    return moxStsNoErr;
}

MOX_FN moxiSqrDiff16x16B_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRefF, int refStepF, int mcTypeF,
                               const Mox8u* pRefB, int refStepB, int mcTypeB, Mox32s* pSqrDiff) {
    MOX_CHECK_PTRS(pSrc, pRefF, pRefB, pSqrDiff);
    *pSqrDiff = atMcType(mcTypeF, [&](auto fx, auto fy) {
        return atMcType(mcTypeB, [&](auto bx, auto by) {
            return sqrDiff16x16B<MOX_POS(fx), MOX_POS(fy), MOX_POS(bx), MOX_POS(by)>(pSrc, srcStep, pRefF, refStepF,
                                                                                     pRefB, refStepB);
        });
    });
    return moxStsNoErr;
}

#define MOX_VAR_MEAN_DIFF(H)                                                                                   \
    MOX_FN moxiVarMeanDiff16x##H##_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep,  \
                                             Mox32s* pVar, Mox32s* pMean, int mcType) {                      \
        MOX_CHECK_PTRS(pSrc, pRef, pVar, pMean);                                                             \
        atMcType(mcType, [&](auto hx, auto hy) {                                                             \
            varMeanDiff<H, MOX_POS(hx), MOX_POS(hy)>(pSrc, srcStep, pRef, refStep, pVar, pMean);             \
        });                                                                                                  \
        return moxStsNoErr;                                                                                  \
    }

MOX_VAR_MEAN_DIFF(16)
MOX_VAR_MEAN_DIFF(8)

#define MOX_EDGES_DETECT(T)                                                                                \
    MOX_FN moxiEdgesDetect16x16_##T##_C1R(const Mox##T* pSrc, int srcStep, int edgePelDifference,         \
                                          int edgePelCount, Mox8u* pRes) {                                \
        MOX_CHECK_PTRS(pSrc, pRes);                                                                       \
        *pRes = edgesDetect(pSrc, srcStep, edgePelDifference, edgePelCount);                              \
        return moxStsNoErr;                                                                               \
    }

MOX_EDGES_DETECT(8u)
MOX_EDGES_DETECT(16u)
