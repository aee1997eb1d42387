// The H.264 4x4 and 8x8 intra predictors (clauses 8.3.1 and 8.3.2) for 8- and
// 16-bit samples, as inline kernels for the predictor tables and the
// macroblock reconstruction.
//
// A block of n x n samples (n = 4 or 8) lays its reference samples out as one
// sequence
//     E = L(n-1), L(n-1), L(n-2), .., L(0), UL, T(0), .., T(2n-1), T(2n-1), ..
// (L the left column from the bottom up, UL the corner, T the upper and
// upper-right row). Every directional mode takes each predicted sample from E,
// from A(i) = (E(i) + E(i+1) + 1) >> 1 or from F(i) = (E(i-1) + 2E(i) + E(i+1) + 2) >> 2,
// at an index linear in x and y; the duplicated ends give the standard's
// special cases at the far corners. So a mode is a compile-time table of
// (sequence, index) taps, turned into pshufb masks over 16-byte windows of the
// sequences: a whole 4x4 block of 8-bit samples is one shuffle.
#pragma once

#include <smmintrin.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "core/pixel.h"
#include "h264/intra_kernels.h"
#include "me/simd.h"

namespace mox::h264::intra {

// ---------------------------------------------------------------- lanes of 8- or 16-bit samples

template <class T>
inline constexpr int kLanes = 16 / static_cast<int>(sizeof(T));

template <class T>
inline __m128i avgLanes(__m128i a, __m128i b) {
    if constexpr (sizeof(T) == 1)
        return _mm_avg_epu8(a, b);
    else
        return _mm_avg_epu16(a, b);
}

template <class T>
inline __m128i splat(int v) {
    if constexpr (sizeof(T) == 1)
        return _mm_set1_epi8(static_cast<char>(v));
    else
        return _mm_set1_epi16(static_cast<short>(v));
}

// (a + 2b + c + 2) >> 2 as avg(floor((a + c) / 2), b).
template <class T>
inline __m128i lowpass(__m128i a, __m128i b, __m128i c) {
    __m128i odd = _mm_and_si128(_mm_xor_si128(a, c), splat<T>(1));
    __m128i t = sizeof(T) == 1 ? _mm_sub_epi8(_mm_avg_epu8(a, c), odd) : _mm_sub_epi16(_mm_avg_epu16(a, c), odd);
    return avgLanes<T>(t, b);
}

template <class T>
inline T half(int bitDepth) {
    if constexpr (sizeof(T) == 1)
        return 128;
    else
        return static_cast<T>(1 << (bitDepth - 1));
}

inline uint32_t load32(const void* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline uint64_t load64(const void* p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}
inline __m128i loadu(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

// The upper 8 bytes of v, stored at any address.
inline void storeHigh8(void* p, __m128i v) {
    const uint64_t x = static_cast<uint64_t>(_mm_extract_epi64(v, 1));
    std::memcpy(p, &x, 8);
}
inline void storeu(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

// Sum of the 16-bit lanes of v (each below 2^15).
inline int hsum16(__m128i v) {
    __m128i s = _mm_madd_epi16(v, _mm_set1_epi16(1));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4E));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xB1));
    return _mm_cvtsi128_si32(s);
}

inline int hsum32(__m128i s) {
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4E));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xB1));
    return _mm_cvtsi128_si32(s);
}

// One row of w samples of value v.
template <class T, int W>
inline void fillRow(T* p, __m128i v) {
    if constexpr (W * sizeof(T) <= 16)
        simd::store<W * sizeof(T)>(p, v);
    else {
        storeu(p, v);
        storeu(p + kLanes<T>, v);
    }
}

// ---------------------------------------------------------------- sample sequences

// A sequence of samples in NR registers, sample i in lane i % kLanes of r[i / kLanes].
template <class T, int NR>
struct Seq {
    __m128i r[NR];
};

// Sample i <- sample i + 1 (zeros come in at the end).
template <class T, int NR>
inline Seq<T, NR> shiftNext(const Seq<T, NR>& s) {
    constexpr int es = sizeof(T);
    Seq<T, NR> o;
    for (int k = 0; k + 1 < NR; ++k) o.r[k] = _mm_alignr_epi8(s.r[k + 1], s.r[k], es);
    o.r[NR - 1] = _mm_srli_si128(s.r[NR - 1], es);
    return o;
}

// Sample i <- sample i - 1 (a zero comes in at the start).
template <class T, int NR>
inline Seq<T, NR> shiftPrev(const Seq<T, NR>& s) {
    constexpr int es = sizeof(T);
    Seq<T, NR> o;
    o.r[0] = _mm_slli_si128(s.r[0], es);
    for (int k = 1; k < NR; ++k) o.r[k] = _mm_alignr_epi8(s.r[k], s.r[k - 1], 16 - es);
    return o;
}

// A(i) = (E(i) + E(i+1) + 1) >> 1.
template <class T, int NR>
inline Seq<T, NR> pairAverages(const Seq<T, NR>& e) {
    Seq<T, NR> n = shiftNext(e), o;
    for (int k = 0; k < NR; ++k) o.r[k] = avgLanes<T>(e.r[k], n.r[k]);
    return o;
}

// F(i) = (E(i-1) + 2E(i) + E(i+1) + 2) >> 2.
template <class T, int NR>
inline Seq<T, NR> smoothed(const Seq<T, NR>& e) {
    Seq<T, NR> p = shiftPrev(e), n = shiftNext(e), o;
    for (int k = 0; k < NR; ++k) o.r[k] = lowpass<T>(p.r[k], e.r[k], n.r[k]);
    return o;
}

// The 16 bytes that start at sample `Start`.
template <int Start, class T, int NR>
inline __m128i window(const Seq<T, NR>& s) {
    constexpr int B = Start * static_cast<int>(sizeof(T)), k = B / 16, b = B % 16;
    static_assert(k < NR, "window outside the sequence");
    if constexpr (b == 0)
        return s.r[k];
    else if constexpr (k + 1 < NR)
        return _mm_alignr_epi8(s.r[k + 1], s.r[k], b);
    else
        return _mm_srli_si128(s.r[k], b);
}

// ---------------------------------------------------------------- directional modes as taps

enum Source : int { kSrcE, kSrcA, kSrcF };

struct Tap {
    int src = kSrcE, idx = 0;
};

// Where sample (x, y) of an n x n block comes from in mode 0, 1 or 3..8, with
// L(y) = E(n - y), UL = E(n + 1) and T(x) = E(n + 2 + x).
constexpr Tap tap(int n, int mode, int x, int y) {
    const int lb = n, ul = n + 1, tb = n + 2;
    switch (mode) {
        case 0:
            return {kSrcE, tb + x};
        case 1:
            return {kSrcE, lb - y};
        case 3:
            return {kSrcF, tb + 1 + x + y};
        case 4:
            return {kSrcF, ul + x - y};
        case 5: {
            int z = 2 * x - y;
            if (z >= 0) return {(z & 1) ? kSrcF : kSrcA, ul + x - (y >> 1)};
            return {kSrcF, z == -1 ? ul : ul + 1 + 2 * x - y};
        }
        case 6: {
            int z = 2 * y - x;
            if (z >= 0) return (z & 1) ? Tap{kSrcF, ul - y + (x >> 1)} : Tap{kSrcA, lb - y + (x >> 1)};
            return {kSrcF, z == -1 ? ul : lb + x - 2 * y};
        }
        case 7:
            return (y & 1) ? Tap{kSrcF, tb + 1 + x + (y >> 1)} : Tap{kSrcA, tb + x + (y >> 1)};
        default: {
            int z = x + 2 * y, last = 2 * n - 3;
            if (z > last) return {kSrcE, 1};
            if (z == last) return {kSrcF, 1};
            return {(z & 1) ? kSrcF : kSrcA, lb - 1 - (y + (x >> 1))};
        }
    }
}

// One pshufb over a 16-byte window of a sequence.
struct Window {
    int src = kSrcE, start = 0;
    alignas(16) int8_t mask[16] = {};
};

// The windows that together give one output register.
struct RegPlan {
    int count = 0;
    Window w[4] = {};
};

// The output registers of an n x n block of ES-byte samples in `Mode`, in
// raster order: the taps of each register grouped into as few windows per
// source as their spread allows.
template <int N, int ES, int Mode>
struct Plan {
    static constexpr int kLanesPerReg = 16 / ES;
    static constexpr int kRegs = N * N / kLanesPerReg;

    static constexpr std::array<RegPlan, kRegs> build() {
        std::array<RegPlan, kRegs> plan{};
        for (int r = 0; r < kRegs; ++r) {
            Tap taps[16] = {};
            bool done[16] = {};
            for (int l = 0; l < kLanesPerReg; ++l) {
                int s = r * kLanesPerReg + l;
                taps[l] = tap(N, Mode, s % N, s / N);
            }
            RegPlan rp{};
            for (;;) {
                int first = -1;
                for (int l = 0; l < kLanesPerReg; ++l)
                    if (!done[l] && (first < 0 || taps[l].src < taps[first].src ||
                                     (taps[l].src == taps[first].src && taps[l].idx < taps[first].idx)))
                        first = l;
                if (first < 0) break;
                Window w{};
                w.src = taps[first].src;
                w.start = taps[first].idx;
                for (int b = 0; b < 16; ++b) w.mask[b] = -128;
                for (int l = 0; l < kLanesPerReg; ++l) {
                    if (done[l] || taps[l].src != w.src || taps[l].idx >= w.start + kLanesPerReg) continue;
                    for (int b = 0; b < ES; ++b)
                        w.mask[l * ES + b] = static_cast<int8_t>((taps[l].idx - w.start) * ES + b);
                    done[l] = true;
                }
                rp.w[rp.count++] = w;
            }
            plan[r] = rp;
        }
        return plan;
    }

    static constexpr std::array<RegPlan, kRegs> kPlan = build();

    static constexpr bool uses(int src) {
        for (const RegPlan& rp : kPlan)
            for (int j = 0; j < rp.count; ++j)
                if (rp.w[j].src == src) return true;
        return false;
    }
};

template <class Pl, int R, int J, class T, int NR>
inline __m128i gatherReg(const Seq<T, NR>& e, const Seq<T, NR>& a, const Seq<T, NR>& f) {
    constexpr Window w = Pl::kPlan[R].w[J];
    const Seq<T, NR>& s = w.src == kSrcE ? e : w.src == kSrcA ? a : f;
    __m128i v =
        _mm_shuffle_epi8(window<w.start>(s), _mm_load_si128(reinterpret_cast<const __m128i*>(Pl::kPlan[R].w[J].mask)));
    if constexpr (J + 1 < Pl::kPlan[R].count)
        return _mm_or_si128(v, gatherReg<Pl, R, J + 1>(e, a, f));
    else
        return v;
}

// Output register r of an n x n block: 4, 2 or 1 rows.
template <int N, class T>
inline void storeReg(T* p, int step, int r, __m128i v) {
    constexpr int rows = 16 / (N * static_cast<int>(sizeof(T)));
    if constexpr (rows == 4) {
        simd::store<4>(row(p, step, 0), v);
        uint32_t x1 = static_cast<uint32_t>(_mm_extract_epi32(v, 1)),
                 x2 = static_cast<uint32_t>(_mm_extract_epi32(v, 2)),
                 x3 = static_cast<uint32_t>(_mm_extract_epi32(v, 3));
        std::memcpy(row(p, step, 1), &x1, 4);
        std::memcpy(row(p, step, 2), &x2, 4);
        std::memcpy(row(p, step, 3), &x3, 4);
    } else if constexpr (rows == 2) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(row(p, step, 2 * r)), v);
        storeHigh8(row(p, step, 2 * r + 1), v);
    } else {
        storeu(row(p, step, r), v);
    }
}

template <class Pl, int N, class T, int NR, int... R>
inline void storePlan(T* p, int step, const Seq<T, NR>& e, const Seq<T, NR>& a, const Seq<T, NR>& f,
                      std::integer_sequence<int, R...>) {
    (storeReg<N>(p, step, R, gatherReg<Pl, R, 0>(e, a, f)), ...);
}

// Runs mode M's plan on the reference sequence e.
template <int N, int M, class T, int NR>
inline void applyPlan(T* p, int step, const Seq<T, NR>& e) {
    using Pl = Plan<N, sizeof(T), M>;
    Seq<T, NR> a{}, f{};
    if constexpr (Pl::uses(kSrcA)) a = pairAverages(e);
    if constexpr (Pl::uses(kSrcF)) f = smoothed(e);
    storePlan<Pl, N>(p, step, e, a, f, std::make_integer_sequence<int, Pl::kRegs>{});
}

// ---------------------------------------------------------------- reference samples

// The sample just before q. Inside a macroblock (Whole) the neighbouring
// block has stored the N samples that end there, so they are loaded together
// and the load is forwarded from that store whole; otherwise only the sample
// itself is read.
template <bool Whole, int N, class T>
inline int lastOf(const T* q) {
    if constexpr (!Whole)
        return q[-1];
    else if constexpr (N * sizeof(T) == 4)
        return static_cast<int>(load32(q - N) >> 24);
    else
        return static_cast<int>(load64(q - N) >> (64 - 8 * sizeof(T)));
}

// The neighbours of an n x n block as read (missing ones replaced), with the
// few scalars the 8x8 filter and DC need.
template <class T, int NR>
struct Edge {
    Seq<T, NR> e;
    int l0 = 0, l1 = 0, t0 = 0, t1 = 0, ul = 0;
};

template <class T>
inline constexpr int kRegs4 = sizeof(T) == 1 ? 1 : 2;
template <class T>
inline constexpr int kRegs8 = sizeof(T) == 1 ? 2 : 4;

// 4x4: E = L3 L3 L2 L1 L0 UL T0 .. T7 T7 T7, reading only what the mode uses.
template <bool Whole, class T, bool Top, bool UpRight, bool Left, bool Corner>
inline Edge<T, kRegs4<T>> edge4(const T* p, int step, int avail, int bitDepth) {
    const T* above = row(p, step, -1);
    const T h = half<T>(bitDepth);
    Edge<T, kRegs4<T>> g;
    int l[4] = {h, h, h, h};
    if constexpr (Left)
        if (avail & kAvailLeft)
#pragma GCC unroll 4
            for (int y = 0; y < 4; ++y) l[y] = lastOf<Whole, 4>(row(p, step, y));
    if constexpr (Corner) g.ul = (avail & kAvailUpLeft) ? lastOf<Whole, 4>(above) : h;
    if constexpr (sizeof(T) == 1) {
        uint64_t top = 0;
        if constexpr (Top) {
            uint32_t t = (avail & kAvailUp) ? load32(above) : 0x80808080u;
            uint32_t ur = 0;
            if constexpr (UpRight) ur = (avail & kAvailUpRight) ? load32(above + 4) : (t >> 24) * 0x01010101u;
            top = t | static_cast<uint64_t>(ur) << 32;
        }
        uint64_t left = static_cast<uint64_t>(l[3]) | static_cast<uint64_t>(l[3]) << 8 |
                        static_cast<uint64_t>(l[2]) << 16 | static_cast<uint64_t>(l[1]) << 24 |
                        static_cast<uint64_t>(l[0]) << 32 | static_cast<uint64_t>(g.ul) << 40;
        const __m128i topMask = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, 0, 1, 2, 3, 4, 5, 6, 7, 7, 7);
        g.e.r[0] = _mm_or_si128(_mm_cvtsi64_si128(static_cast<long long>(left)),
                                _mm_shuffle_epi8(_mm_cvtsi64_si128(static_cast<long long>(top)), topMask));
    } else {
        __m128i topv = _mm_setzero_si128();
        if constexpr (Top) {
            uint64_t t = (avail & kAvailUp) ? load64(above) : h * 0x0001000100010001ull;
            uint64_t ur = 0;
            if constexpr (UpRight) ur = (avail & kAvailUpRight) ? load64(above + 4) : (t >> 48) * 0x0001000100010001ull;
            topv = _mm_set_epi64x(static_cast<long long>(ur), static_cast<long long>(t));
        }
        __m128i leftv =
            _mm_setr_epi16(static_cast<short>(l[3]), static_cast<short>(l[3]), static_cast<short>(l[2]),
                           static_cast<short>(l[1]), static_cast<short>(l[0]), static_cast<short>(g.ul), 0, 0);
        g.e.r[0] = _mm_or_si128(leftv, _mm_slli_si128(topv, 12));
        g.e.r[1] = _mm_shuffle_epi8(topv, _mm_setr_epi8(4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 14, 15, 14, 15));
    }
    g.l0 = l[0];
    return g;
}

// 8x8: E = L7 L7 L6 .. L0 UL T0 .. T15 T15 .., every neighbour read.
template <class T>
inline Edge<T, kRegs8<T>> edge8(const T* p, int step, int avail, int bitDepth) {
    const T* above = row(p, step, -1);
    const T h = half<T>(bitDepth);
    Edge<T, kRegs8<T>> g;
    int l[8] = {h, h, h, h, h, h, h, h};
    if (avail & kAvailLeft)
#pragma GCC unroll 8
        for (int y = 0; y < 8; ++y) l[y] = lastOf<true, 8 / sizeof(T)>(row(p, step, y));
    g.ul = (avail & kAvailUpLeft) ? lastOf<true, 8 / sizeof(T)>(above) : h;
    g.l0 = l[0];
    g.l1 = l[1];
    if constexpr (sizeof(T) == 1) {
        uint64_t t = (avail & kAvailUp) ? load64(above) : 0x8080808080808080ull;
        uint64_t ur = (avail & kAvailUpRight) ? load64(above + 8) : (t >> 56) * 0x0101010101010101ull;
        __m128i topv = _mm_set_epi64x(static_cast<long long>(ur), static_cast<long long>(t));
        uint64_t lo = 0;
#pragma GCC unroll 8
        for (int k = 0; k < 8; ++k) lo |= static_cast<uint64_t>(l[k == 0 ? 7 : 8 - k]) << (8 * k);
        __m128i leftv = _mm_set_epi64x(l[0] | g.ul << 8, static_cast<long long>(lo));
        g.e.r[0] = _mm_or_si128(leftv, _mm_slli_si128(topv, 10));
        g.e.r[1] = _mm_shuffle_epi8(topv, _mm_setr_epi8(6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 15, 15, 15, 15, 15, 15));
        g.t0 = static_cast<int>(t & 0xFF);
        g.t1 = static_cast<int>((t >> 8) & 0xFF);
    } else {
        __m128i top0 = (avail & kAvailUp) ? loadu(above) : splat<T>(h);
        __m128i top1 =
            (avail & kAvailUpRight)
                ? loadu(above + 8)
                : _mm_shuffle_epi8(top0, _mm_setr_epi8(14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15));
        auto s = [](int v) { return static_cast<short>(v); };
        g.e.r[0] = _mm_setr_epi16(s(l[7]), s(l[7]), s(l[6]), s(l[5]), s(l[4]), s(l[3]), s(l[2]), s(l[1]));
        g.e.r[1] = _mm_or_si128(_mm_setr_epi16(s(l[0]), s(g.ul), 0, 0, 0, 0, 0, 0), _mm_slli_si128(top0, 4));
        g.e.r[2] = _mm_alignr_epi8(top1, top0, 12);
        g.e.r[3] =
            _mm_shuffle_epi8(top1, _mm_setr_epi8(12, 13, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15));
        g.t0 = _mm_extract_epi16(top0, 0);
        g.t1 = _mm_extract_epi16(top0, 1);
    }
    return g;
}

// Sets sample i of a sequence.
template <int I, class T, int NR>
inline void setSample(Seq<T, NR>& s, int v) {
    constexpr int k = I / kLanes<T>, l = I % kLanes<T>;
    if constexpr (sizeof(T) == 1)
        s.r[k] = _mm_insert_epi8(s.r[k], v, l);
    else
        s.r[k] = _mm_insert_epi16(s.r[k], v, l);
}

template <int I, class T, int NR>
inline int getSample(const Seq<T, NR>& s) {
    constexpr int k = I / kLanes<T>, l = I % kLanes<T>;
    if constexpr (sizeof(T) == 1)
        return _mm_extract_epi8(s.r[k], l);
    else
        return _mm_extract_epi16(s.r[k], l);
}

// Lanes of the 8x8 sequence that belong to the left column (0..8) and to the
// upper row (10..), as blend masks.
template <class T>
struct EdgeRegions {
    alignas(16) int8_t left[kRegs8<T>][16] = {};
    alignas(16) int8_t top[kRegs8<T>][16] = {};
    constexpr EdgeRegions() {
        for (int k = 0; k < kRegs8<T>; ++k)
            for (int b = 0; b < 16; ++b) {
                int i = (16 * k + b) / static_cast<int>(sizeof(T));
                left[k][b] = i <= 8 ? -1 : 0;
                top[k][b] = i >= 10 ? -1 : 0;
            }
    }
};

template <class T>
inline constexpr EdgeRegions<T> kEdgeRegions{};

// Reference sample filtering of an 8x8 block (clause 8.3.2.2.1): the upper
// row (with the upper-right samples) when it is available, the left column
// when it is, the corner from whichever of its neighbours are there.
template <class T>
inline Seq<T, kRegs8<T>> filterEdge8(const Edge<T, kRegs8<T>>& g, int avail, int bitDepth) {
    constexpr int NR = kRegs8<T>;
    const bool up = avail & kAvailUp, left = avail & kAvailLeft, corner = avail & kAvailUpLeft;
    const __m128i leftOn = _mm_set1_epi8(left ? -1 : 0), upOn = _mm_set1_epi8(up ? -1 : 0);
    Seq<T, NR> f = smoothed(g.e), out;
    for (int k = 0; k < NR; ++k) {
        auto mask = [&](const int8_t* m) { return _mm_load_si128(reinterpret_cast<const __m128i*>(m)); };
        __m128i sel = _mm_or_si128(_mm_and_si128(mask(kEdgeRegions<T>.left[k]), leftOn),
                                   _mm_and_si128(mask(kEdgeRegions<T>.top[k]), upOn));
        out.r[k] = _mm_blendv_epi8(g.e.r[k], f.r[k], sel);
    }
    if (left) setSample<8>(out, corner ? (g.ul + 2 * g.l0 + g.l1 + 2) >> 2 : (3 * g.l0 + g.l1 + 2) >> 2);
    if (up) setSample<10>(out, corner ? (g.ul + 2 * g.t0 + g.t1 + 2) >> 2 : (3 * g.t0 + g.t1 + 2) >> 2);
    if (corner) {
        int c = up && left ? (g.t0 + 2 * g.ul + g.l0 + 2) >> 2
                : up       ? (3 * g.ul + g.t0 + 2) >> 2
                : left     ? (3 * g.ul + g.l0 + 2) >> 2
                           : g.ul;
        setSample<9>(out, c);
    }
    setSample<0>(out, getSample<1>(out));
    setSample<26>(out, getSample<25>(out));
    return out;
}

// ---------------------------------------------------------------- 4x4 and 8x8 predictors

// Neighbours each 4x4 mode reads: upper, upper-right, left, corner.
inline constexpr bool kReadsTop[9] = {true, false, true, true, true, true, true, true, false};
inline constexpr bool kReadsUpRight[9] = {false, false, false, true, false, false, false, true, false};
inline constexpr bool kReadsLeft[9] = {false, true, true, false, true, true, true, false, true};
inline constexpr bool kReadsCorner[9] = {false, false, false, false, true, true, true, false, false};

// The 4x4 prediction of 8-bit samples as one register, rows of 4 bytes.
template <int M>
inline __m128i predict4x4Reg(const Mox8u* p, int step, int avail) {
    using Pl = Plan<4, 1, M>;
    auto g = edge4<true, Mox8u, kReadsTop[M], kReadsUpRight[M], kReadsLeft[M], kReadsCorner[M]>(p, step, avail, 8);
    Seq<Mox8u, 1> a{}, f{};
    if constexpr (Pl::uses(kSrcA)) a = pairAverages(g.e);
    if constexpr (Pl::uses(kSrcF)) f = smoothed(g.e);
    return gatherReg<Pl, 0, 0>(g.e, a, f);
}

// DC value of a 4x4 block (clause 8.3.1.2.3): the mean of the available
// upper row and left column, else half the sample range.
// The DC of a block of 1 << Log2N rows and columns from the sums of its
// upper row (st) and left column (sl): the rounded mean of the sides that
// are available, else `none`.
template <int Log2N>
inline int dcFromSums(int st, int sl, int avail, int none) {
    switch (avail & (kAvailUp | kAvailLeft)) {
        case kAvailUp | kAvailLeft:
            return (st + sl + (1 << Log2N)) >> (Log2N + 1);
        case kAvailUp:
            return (st + (1 << (Log2N - 1))) >> Log2N;
        case kAvailLeft:
            return (sl + (1 << (Log2N - 1))) >> Log2N;
        default:
            return none;
    }
}

template <class T, bool Whole>
inline int dc4x4Value(const T* p, int step, int avail, int bitDepth) {
    const T* above = row(p, step, -1);
    int st = 0, sl = 0;
    if (avail & kAvailUp) {
        if constexpr (sizeof(T) == 1)
            st = _mm_cvtsi128_si32(
                _mm_sad_epu8(_mm_cvtsi32_si128(static_cast<int>(load32(above))), _mm_setzero_si128()));
        else
            st = above[0] + above[1] + above[2] + above[3];
    }
    if (avail & kAvailLeft)
#pragma GCC unroll 4
        for (int y = 0; y < 4; ++y) sl += lastOf<Whole, 4>(row(p, step, y));
    return dcFromSums<2>(st, sl, avail, half<T>(bitDepth));
}

// DC of a 4x4 block of 8-bit samples as one register.
inline __m128i predict4x4DCReg(const Mox8u* p, int step, int avail) {
    return _mm_set1_epi8(static_cast<char>(dc4x4Value<Mox8u, true>(p, step, avail, 8)));
}

// Whole: the block lies in a macroblock being rebuilt (see lastOf).
template <class T, int M, bool Whole = true>
bool predict4x4(T* p, int step, int avail, int bitDepth) {
    auto g = edge4<Whole, T, kReadsTop[M], kReadsUpRight[M], kReadsLeft[M], kReadsCorner[M]>(p, step, avail, bitDepth);
    applyPlan<4, M>(p, step, g.e);
    return !has(avail, kBlockNeeds[M]);
}

// DC of a 4x4 block.
template <class T, bool Whole = true>
bool predict4x4DC(T* p, int step, int avail, int bitDepth) {
    __m128i v = splat<T>(dc4x4Value<T, Whole>(p, step, avail, bitDepth));
    for (int y = 0; y < 4; ++y) simd::store<4 * sizeof(T)>(row(p, step, y), v);
    return false;
}

template <class T, int M>
bool predict8x8(T* p, int step, int avail, int bitDepth) {
    Seq<T, kRegs8<T>> e = filterEdge8(edge8(p, step, avail, bitDepth), avail, bitDepth);
    applyPlan<8, M>(p, step, e);
    return !has(avail, kBlockNeeds[M]);
}

// DC of an 8x8 block from the filtered samples (clause 8.3.2.2.4).
template <class T>
bool predict8x8DC(T* p, int step, int avail, int bitDepth) {
    Seq<T, kRegs8<T>> e = filterEdge8(edge8(p, step, avail, bitDepth), avail, bitDepth);
    int st, sl;
    if constexpr (sizeof(T) == 1) {
        st = _mm_cvtsi128_si32(_mm_sad_epu8(window<10>(e), _mm_setzero_si128()));
        sl = _mm_cvtsi128_si32(_mm_sad_epu8(window<1>(e), _mm_setzero_si128()));
    } else {
        st = hsum16(window<10>(e));
        sl = hsum16(window<1>(e));
    }
    __m128i v = splat<T>(dcFromSums<3>(st, sl, avail, half<T>(bitDepth)));
    for (int y = 0; y < 8; ++y) fillRow<T, 8>(row(p, step, y), v);
    return false;
}

// ---------------------------------------------------------------- 16x16 blocks of 8-bit samples (clause 8.3.3)

// 3 x step, opaque to the compiler: the rows of a group of four are then
// addressed from one or two bases with index forms rather than through a
// serial chain of pointer additions, which also ties up more registers.
inline std::ptrdiff_t triple(std::ptrdiff_t s) {
    std::ptrdiff_t t = 3 * s;
    asm("" : "+r"(t));
    return t;
}

// Sum of the 16 left-column samples, four rows per step from one pointer,
// into two running sums. The empty asm keeps the compiler from regrouping the
// sums, which would keep many loaded samples live at once (and registers
// saved and restored around the predictor).
inline int leftSum16(const Mox8u* p, int step) {
    const std::ptrdiff_t s = step, s3 = triple(s);
    const Mox8u* q = p - 1;
    int a = 0, b = 0;
#pragma GCC unroll 4
    for (int y = 0; y < 16; y += 4, q += 4 * s) {
        a += q[0];
        b += q[s];
        asm("" : "+r"(a), "+r"(b));
        a += q[2 * s];
        b += q[s3];
        asm("" : "+r"(a), "+r"(b));
    }
    return a + b;
}

// The DC value of a 16x16 block: the mean of the available upper row and
// left column, else 128. The rounding term and shift of each availability
// come from one constant: (sum + round) >> shift with round 128 and shift 0
// when neither side is there.
inline int dc16x16Value(const Mox8u* p, int step, int avail) {
    int sum = 0;
    if (avail & kAvailLeft) sum = leftSum16(p, step);
    if (avail & kAvailUp) {
        // Two sums of eight samples, each below 2^16.
        __m128i s = _mm_sad_epu8(loadu(row(p, step, -1)), _mm_setzero_si128());
        sum += _mm_cvtsi128_si32(s) + _mm_extract_epi16(s, 4);
    }
    static_assert(kAvailUp == 1 && kAvailLeft == 2);
    // Per avail & 3 (none, up, left, both): shift in the low byte, round in the high one.
    constexpr uint64_t kRoundShift = 0x1005'0804'0804'8000;
    const unsigned rs = static_cast<unsigned>(kRoundShift >> (16 * (avail & 3)));
    return (sum + static_cast<int>((rs >> 8) & 0xFF)) >> (rs & 0xFF);
}

// The plane mode as base + b * x + c * y (before the >> 5), x, y = 0 .. 15.
struct Plane16x16 {
    int base, b, c;
};

inline Plane16x16 plane16x16(const Mox8u* p, int step) {
    const Mox8u* above = row(p, step, -1);
    int h = hsum16(_mm_maddubs_epi16(loadu(above), _mm_setr_epi8(-7, -6, -5, -4, -3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8)));
    h -= 8 * above[-1];
    // Vertical gradient: sum of (k + 1) * (left(8 + k) - left(6 - k)), left(-1) the corner.
    int v0 = 0, v1 = 0;
#pragma GCC unroll 8
    for (int k = 0; k < 8; k += 2) {
        v0 += (k + 1) * (row(p, step, 8 + k)[-1] - row(p, step, 6 - k)[-1]);
        v1 += (k + 2) * (row(p, step, 9 + k)[-1] - row(p, step, 5 - k)[-1]);
    }
    const int a = 16 * (row(p, step, 15)[-1] + above[15]);
    const int b = (5 * h + 32) >> 6, c = (5 * (v0 + v1) + 32) >> 6;
    return {a + 16 - 7 * b - 7 * c, b, c};
}

// Rows of the plane prediction in 16-bit lanes, clamped to 0..255: columns
// 0..7 and 8..15 of row y, one row after the other. The >> 5 runs as a
// multiply by 2^11 keeping the high half (|values| stay below 2^15), on the
// multiplier pipes, which leaves the shuffle pipes to the packs.
struct PlaneRows16 {
    __m128i v0, v1, dc;
    explicit PlaneRows16(const Plane16x16& q) {
        const __m128i ramp = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
        v0 = _mm_add_epi16(_mm_set1_epi16(static_cast<short>(q.base)),
                           _mm_mullo_epi16(ramp, _mm_set1_epi16(static_cast<short>(q.b))));
        v1 = _mm_add_epi16(v0, _mm_set1_epi16(static_cast<short>(8 * q.b)));
        dc = _mm_set1_epi16(static_cast<short>(q.c));
    }
    static __m128i shift5(__m128i v) { return _mm_mulhi_epi16(v, _mm_set1_epi16(1 << 11)); }
    // The next row, unclamped, packed to 16 bytes.
    __m128i nextPacked() {
        __m128i s = _mm_packus_epi16(shift5(v0), shift5(v1));
        v0 = _mm_add_epi16(v0, dc);
        v1 = _mm_add_epi16(v1, dc);
        return s;
    }
    // The next row as two registers of 16-bit samples.
    void next(__m128i& lo, __m128i& hi) {
        const __m128i zero = _mm_setzero_si128(), maxv = _mm_set1_epi16(255);
        lo = _mm_min_epi16(_mm_max_epi16(shift5(v0), zero), maxv);
        hi = _mm_min_epi16(_mm_max_epi16(shift5(v1), zero), maxv);
        v0 = _mm_add_epi16(v0, dc);
        v1 = _mm_add_epi16(v1, dc);
    }
};

// The 16 rows of a 16x16 block set to v, four rows per step from one pointer.
inline void fill16x16(Mox8u* p, int step, __m128i v) {
    const std::ptrdiff_t s = step, s3 = triple(s);
#pragma GCC unroll 4
    for (int y = 0; y < 16; y += 4, p += 4 * s) {
        storeu(p, v);
        storeu(p + s, v);
        storeu(p + 2 * s, v);
        storeu(p + s3, v);
    }
}

// The four 16x16 modes of 8-bit samples; the caller has made sure that the
// mode's neighbours are there.
[[gnu::always_inline]] inline void predictV16(Mox8u* p, int step) { fill16x16(p, step, loadu(row(p, step, -1))); }

[[gnu::always_inline]] inline void predictH16(Mox8u* p, int step) {
    const std::ptrdiff_t s = step;
#pragma GCC unroll 16
    for (int y = 0; y < 16; ++y, p += s) storeu(p, _mm_set1_epi8(static_cast<char>(p[-1])));
}

[[gnu::always_inline]] inline void predictDC16(Mox8u* p, int step, int avail) {
    fill16x16(p, step, _mm_shuffle_epi8(_mm_cvtsi32_si128(dc16x16Value(p, step, avail)), _mm_setzero_si128()));
}

[[gnu::always_inline]] inline void predictPlane16(Mox8u* p, int step) {
    PlaneRows16 rows(plane16x16(p, step));
    const std::ptrdiff_t s = step;
#pragma GCC unroll 16
    for (int y = 0; y < 16; ++y, p += s) storeu(p, rows.nextPacked());
}

}  // namespace mox::h264::intra
