// Sums of absolute and of squared differences between a block and a
// reference block, or the reference's half-sample prediction (halves always
// rounded up), for 8- and 16-bit samples; and the SADs of one block against
// runs of horizontally consecutive candidate positions.
//
// Each position gets its own kernel (hpel::dispatch once per call); rows are
// unrolled and vertical neighbours are carried from row to row, so every
// reference row is loaded once (twice at a horizontal half position).
// Halves always round up here, for 8- and 16-bit samples alike, so the
// kernels use their own row streamer (Pred) rather than hpel::Rows.
#include <type_traits>

#include "core/check.h"
#include "me/hpel.h"
#include "me/simd.h"

namespace {

using namespace mox;

inline __m128i zero() { return _mm_setzero_si128(); }

// Sum of the two 64-bit halves (psadbw results) or of the four 32-bit lanes.
inline int sum64(__m128i v) { return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_unpackhi_epi64(v, v))); }
inline int sum32(__m128i v) {
    v = _mm_add_epi32(v, _mm_unpackhi_epi64(v, v));
    return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_shuffle_epi32(v, 1)));
}

// Two 8-byte rows as one register, first row in the low half.
inline __m128i pair(__m128i lo, __m128i hi) { return _mm_unpacklo_epi64(lo, hi); }

// The same straight from memory (movq + movhps).
inline __m128i load8x2(const void* lo, const void* hi) {
    return _mm_castps_si128(_mm_loadh_pi(_mm_castsi128_ps(simd::load<8>(lo)), static_cast<const __m64*>(hi)));
}

// Four 4-byte rows as one register.
inline __m128i quad(__m128i r0, __m128i r1, __m128i r2, __m128i r3) {
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(r0, r1), _mm_unpacklo_epi32(r2, r3));
}

// Four 4-byte rows of a plane, starting at p.
inline __m128i gather4(const Mox8u* p, int step) {
    return quad(simd::load<4>(p), simd::load<4>(row(p, step, 1)), simd::load<4>(row(p, step, 2)),
                simd::load<4>(row(p, step, 3)));
}

// ----------------------------------------------------------------- prediction

// Keeps a loaded value in a register: without it the compiler reloads a
// row from memory instead of copying the register whenever it is used
// twice, which makes the half-sample kernels load-bound.
inline void pin(__m128i& v) { asm("" : "+x"(v)); }

// The rows of an N-byte prediction of T samples (8 or 16 bits) at (HX, HY),
// halves rounded up, from the top of the block down: each reference row is
// loaded once (twice at a horizontal half), the lower row of a vertical pair
// becoming the upper row of the next. pavgb/pavgw give the halves; the
// half-half value (a + b + c + d + 2) >> 2 (18 bits for 16-bit samples) is
// avg(avg(a, b), avg(c, d)) less one where an inner average rounded a half
// up (a + b or c + d odd) and the outer one did too. at(y) must be called
// for y = 0, 1, 2, ... in order.
template <class T, int N, int HX, int HY>
class Pred {
public:
    Pred(const T* p, int step) : p_(p), step_(step) {
        if constexpr (HY) {
            __m128i a = simd::load<N>(p);
            if constexpr (HX) {
                __m128i b = simd::load<N>(p + 1);
                pin(a);
                pin(b);
                top_ = avg(a, b);
                odd_ = _mm_xor_si128(a, b);
            } else {
                top_ = a;
            }
        }
    }

    __m128i at(int y) {
        if constexpr (HX == 0 && HY == 0) {
            return simd::load<N>(row(p_, step_, y));
        } else if constexpr (HY == 0) {
            const T* r = row(p_, step_, y);
            return avg(simd::load<N>(r), simd::load<N>(r + 1));
        } else if constexpr (HX == 0) {
            __m128i c = simd::load<N>(row(p_, step_, y + 1));
            pin(c);
            __m128i v = avg(top_, c);
            top_ = c;
            return v;
        } else {
            const T* r = row(p_, step_, y + 1);
            __m128i c = simd::load<N>(r), d = simd::load<N>(r + 1);
            pin(c);
            pin(d);
            __m128i bottom = avg(c, d), odd = _mm_xor_si128(c, d);
            __m128i fix = _mm_and_si128(_mm_and_si128(_mm_xor_si128(top_, bottom), _mm_or_si128(odd_, odd)), one());
            __m128i v = sub(avg(top_, bottom), fix);
            top_ = bottom;
            odd_ = odd;
            return v;
        }
    }

private:
    static constexpr bool kBytes = sizeof(T) == 1;
    static __m128i avg(__m128i a, __m128i b) { return kBytes ? _mm_avg_epu8(a, b) : _mm_avg_epu16(a, b); }
    static __m128i sub(__m128i a, __m128i b) { return kBytes ? _mm_sub_epi8(a, b) : _mm_sub_epi16(a, b); }
    static __m128i one() { return kBytes ? _mm_set1_epi8(1) : _mm_set1_epi16(1); }

    const T* p_;
    int step_;
    __m128i top_ = _mm_setzero_si128(), odd_ = _mm_setzero_si128();
};

// ----------------------------------------------------------------- 8-bit SAD

// SAD of a W x H block (W = 4, 8 or 16) against the prediction at (HX, HY).
template <int W, int H, int HX, int HY>
int sad8u(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    Pred<Mox8u, W, HX, HY> pred(r, rs);
    __m128i acc0 = zero(), acc1 = zero();
    if constexpr (W == 16) {
#pragma GCC unroll 4
        for (int y = 0; y < H; y += 2) {
            __m128i p0 = pred.at(y);
            __m128i p1 = pred.at(y + 1);
            acc0 = _mm_add_epi32(acc0, _mm_sad_epu8(simd::load<16>(row(s, ss, y)), p0));
            acc1 = _mm_add_epi32(acc1, _mm_sad_epu8(simd::load<16>(row(s, ss, y + 1)), p1));
        }
    } else if constexpr (W == 8) {
#pragma GCC unroll 8
        for (int y = 0; y < H; y += 2) {
            __m128i pv;
            if constexpr (HX || HY) {
                __m128i p0 = pred.at(y);
                pv = pair(p0, pred.at(y + 1));
            } else {
                pv = load8x2(row(r, rs, y), row(r, rs, y + 1));
            }
            __m128i d = _mm_sad_epu8(load8x2(row(s, ss, y), row(s, ss, y + 1)), pv);
            if (y & 2)
                acc1 = _mm_add_epi32(acc1, d);
            else
                acc0 = _mm_add_epi32(acc0, d);
        }
    } else {
#pragma GCC unroll 2
        for (int y = 0; y < H; y += 4) {
            __m128i p0 = pred.at(y);
            __m128i p1 = pred.at(y + 1);
            __m128i p2 = pred.at(y + 2);
            __m128i p3 = pred.at(y + 3);
            acc0 = _mm_add_epi32(acc0, _mm_sad_epu8(gather4(row(s, ss, y), ss), quad(p0, p1, p2, p3)));
        }
    }
    return sum64(_mm_add_epi32(acc0, acc1));
}

// ----------------------------------------------------------------- 8-bit SSD

// Sum of squares of the 16 differences a - b of two 16-byte registers, as
// four 32-bit lanes. pmaddubsw against (+1, -1) byte pairs forms a - b of
// interleaved bytes directly in 16 bits.
inline __m128i sqrDiff16(__m128i a, __m128i b) {
    const __m128i pm = _mm_set1_epi16(static_cast<short>(0xFF01));
    __m128i lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), pm);
    __m128i hi = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), pm);
    return _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi));
}

template <int W, int H, int HX, int HY>
int ssd8u(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    Pred<Mox8u, W, HX, HY> pred(r, rs);
    __m128i acc = zero();
    if constexpr (W == 8) {
#pragma GCC unroll 8
        for (int y = 0; y < H; y += 2) {
            __m128i pv;
            if constexpr (HX || HY) {
                __m128i p0 = pred.at(y);
                pv = pair(p0, pred.at(y + 1));
            } else {
                pv = load8x2(row(r, rs, y), row(r, rs, y + 1));
            }
            acc = _mm_add_epi32(acc, sqrDiff16(load8x2(row(s, ss, y), row(s, ss, y + 1)), pv));
        }
    } else {
        static_assert(W == 4 && H == 4, "4x4 and 8-wide blocks only");
        __m128i p0 = pred.at(0);
        __m128i p1 = pred.at(1);
        __m128i p2 = pred.at(2);
        __m128i p3 = pred.at(3);
        acc = sqrDiff16(gather4(s, ss), quad(p0, p1, p2, p3));
    }
    return sum32(acc);
}

// ----------------------------------------------------------------- 16-bit SAD

// |a - b| of eight 16-bit samples, summed in pairs into four 32-bit lanes.
// pmaddwd is signed, so the differences are biased by -32768 first (an xor
// of the top bit); the caller adds 32768 per sample back at the end.
inline __m128i absDiffPairs16(__m128i a, __m128i b) {
    __m128i d = _mm_sub_epi16(_mm_max_epu16(a, b), _mm_min_epu16(a, b));
    return _mm_madd_epi16(_mm_xor_si128(d, _mm_set1_epi16(-32768)), _mm_set1_epi16(1));
}

template <int W, int H, int HX, int HY>
int sad16u(const Mox16u* s, int ss, const Mox16u* r, int rs) {
    __m128i acc0 = zero(), acc1 = zero();
    if constexpr (W == 16) {
        Pred<Mox16u, 16, HX, HY> left(r, rs), right(r + 8, rs);
#pragma GCC unroll 4
        for (int y = 0; y < H; ++y) {
            const Mox16u* sr = row(s, ss, y);
            __m128i pl = left.at(y);
            __m128i pr = right.at(y);
            acc0 = _mm_add_epi32(acc0, absDiffPairs16(simd::load<16>(sr), pl));
            acc1 = _mm_add_epi32(acc1, absDiffPairs16(simd::load<16>(sr + 8), pr));
        }
    } else if constexpr (W == 8) {
        Pred<Mox16u, 16, HX, HY> pred(r, rs);
#pragma GCC unroll 8
        for (int y = 0; y < H; y += 2) {
            __m128i p0 = pred.at(y);
            __m128i p1 = pred.at(y + 1);
            acc0 = _mm_add_epi32(acc0, absDiffPairs16(simd::load<16>(row(s, ss, y)), p0));
            acc1 = _mm_add_epi32(acc1, absDiffPairs16(simd::load<16>(row(s, ss, y + 1)), p1));
        }
    } else {
        Pred<Mox16u, 8, HX, HY> pred(r, rs);
#pragma GCC unroll 4
        for (int y = 0; y < H; y += 2) {
            __m128i pv;
            if constexpr (HX || HY) {
                __m128i p0 = pred.at(y);
                pv = pair(p0, pred.at(y + 1));
            } else {
                pv = load8x2(row(r, rs, y), row(r, rs, y + 1));
            }
            acc0 = _mm_add_epi32(acc0, absDiffPairs16(load8x2(row(s, ss, y), row(s, ss, y + 1)), pv));
        }
    }
    return sum32(_mm_add_epi32(acc0, acc1)) + 32768 * W * H;
}

// ----------------------------------------------------------------- candidate SADs

// Eight SADs of one block against pRef + 0..7 per group; pDst[i] for the
// group at pRef + k. mpsadbw(window, src, imm) gives the eight SADs of one
// 4-byte source group against the window at byte offsets 0..7 (plus 4 when
// imm bit 2 is set). Windows are 16-byte loads; the last group of a run
// loads only the bytes its candidates cover (`Tail`), so a run ending at the
// end of readable memory is safe.

// Bytes [0, n) of p (n = 11 or 15) in one register, the rest zero.
template <int n>
inline __m128i window(const Mox8u* p) {
    return _mm_or_si128(simd::load<8>(p), _mm_slli_si128(simd::load<8>(p + (n - 8)), n - 8));
}

template <bool Tail>
inline __m128i group16x16(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    __m128i acc0 = zero(), acc1 = zero();
#pragma GCC unroll 4
    for (int y = 0; y < 16; ++y) {
        const Mox8u* rr = row(r, rs, y);
        __m128i sv = simd::load<16>(row(s, ss, y));
        __m128i a = simd::load<16>(rr);
        // Bytes 8..22 of the row: the last group needs no byte beyond them.
        __m128i b = Tail ? _mm_srli_si128(simd::load<16>(rr + 7), 1) : simd::load<16>(rr + 8);
        acc0 = _mm_add_epi16(acc0, _mm_mpsadbw_epu8(a, sv, 0));
        acc1 = _mm_add_epi16(acc1, _mm_mpsadbw_epu8(a, sv, 5));
        acc0 = _mm_add_epi16(acc0, _mm_mpsadbw_epu8(b, sv, 2));
        acc1 = _mm_add_epi16(acc1, _mm_mpsadbw_epu8(b, sv, 7));
    }
    return _mm_add_epi16(acc0, acc1);
}

template <bool Tail>
inline __m128i group8x8(const Mox8u* s, int ss, const Mox8u* r, int rs) {
    __m128i acc0 = zero(), acc1 = zero();
#pragma GCC unroll 4
    for (int y = 0; y < 8; ++y) {
        const Mox8u* rr = row(r, rs, y);
        __m128i sv = simd::load<8>(row(s, ss, y));
        __m128i a = Tail ? window<15>(rr) : simd::load<16>(rr);
        acc0 = _mm_add_epi16(acc0, _mm_mpsadbw_epu8(a, sv, 0));
        acc1 = _mm_add_epi16(acc1, _mm_mpsadbw_epu8(a, sv, 5));
    }
    return _mm_add_epi16(acc0, acc1);
}

// The four source rows sit in one register; imm bits 0..1 pick the row.
template <bool Tail>
inline __m128i group4x4(__m128i sv, const Mox8u* r, int rs) {
    auto win = [&](int y) { return Tail ? window<11>(row(r, rs, y)) : simd::load<16>(row(r, rs, y)); };
    __m128i acc0 = _mm_add_epi16(_mm_mpsadbw_epu8(win(0), sv, 0), _mm_mpsadbw_epu8(win(1), sv, 1));
    __m128i acc1 = _mm_add_epi16(_mm_mpsadbw_epu8(win(2), sv, 2), _mm_mpsadbw_epu8(win(3), sv, 3));
    return _mm_add_epi16(acc0, acc1);
}

// 2x2: no 4-byte group fits, so each row forms the byte pairs (r[i], r[i+1])
// of the eight candidates, takes |pair - (s0, s1)| per byte and adds each
// pair with pmaddubsw.
inline __m128i group2x2(__m128i s0, __m128i s1, const Mox8u* r, int rs) {
    const __m128i ones = _mm_set1_epi8(1);
    auto rowSad = [&](const Mox8u* rr, __m128i sv) {
        __m128i x = _mm_unpacklo_epi8(simd::load<8>(rr), simd::load<8>(rr + 1));
        __m128i d = _mm_sub_epi8(_mm_max_epu8(x, sv), _mm_min_epu8(x, sv));
        return _mm_maddubs_epi16(d, ones);
    };
    return _mm_add_epi16(rowSad(r, s0), rowSad(row(r, rs, 1), s1));
}

// Runs the groups of n (a multiple of 8) candidates; the last one as Tail.
// Returns the index of the first smallest SAD when Min is set.
template <int W, bool Min>
int sadRun(const Mox8u* s, int ss, const Mox8u* r, int rs, Mox16u* dst, int n, Mox16u* minSad) {
    __m128i s4 = zero(), s2a = zero(), s2b = zero();
    if constexpr (W == 4) s4 = gather4(s, ss);
    if constexpr (W == 2) {
        s2a = _mm_set1_epi16(static_cast<short>(s[0] | s[1] << 8));
        const Mox8u* s1 = row(s, ss, 1);
        s2b = _mm_set1_epi16(static_cast<short>(s1[0] | s1[1] << 8));
    }
    auto group = [&](int k, auto tail) {
        constexpr bool T = decltype(tail)::value;
        if constexpr (W == 16)
            return group16x16<T>(s, ss, r + k, rs);
        else if constexpr (W == 8)
            return group8x8<T>(s, ss, r + k, rs);
        else if constexpr (W == 4)
            return group4x4<T>(s4, r + k, rs);
        else
            return group2x2(s2a, s2b, r + k, rs);
    };
    int best = 0x10000, bestIndex = 0;
    auto emit = [&](int k, __m128i v) {
        simd::store<16>(dst + k, v);
        if constexpr (Min) {
            // phminposuw: the smallest lane in bits 0..15, its first index in 16..18.
            const int m = _mm_cvtsi128_si32(_mm_minpos_epu16(v));
            if ((m & 0xFFFF) < best) {
                best = m & 0xFFFF;
                bestIndex = k + (m >> 16);
            }
        }
    };
    int k = 0;
    for (; k + 8 < n; k += 8) emit(k, group(k, std::false_type{}));
    emit(k, group(k, std::true_type{}));
    if constexpr (Min) *minSad = static_cast<Mox16u>(best);
    return bestIndex;
}

// Kernels run out of line, one per position: each keeps its registers for
// its own row addresses, and the wrapper's position switch ends in a jump
// (the kernel returns the wrapper's status).
template <auto Kernel, class T>
__attribute__((noinline)) MoxStatus run(const T* s, int ss, const T* r, int rs, Mox32s* out) {
    *out = Kernel(s, ss, r, rs);
    return moxStsNoErr;
}

}  // namespace

// SAD or SSD at mcType: NAME, W, H, sample type, kernel.
#define MOX_METRIC_MC(NAME, W, H, T, KERNEL, OUT)                                                                  \
    MOX_FN NAME(const Mox##T* pSrc, int srcStep, const Mox##T* pRef, int refStep, Mox32s* OUT, int mcType) {       \
        MOX_CHECK_PTRS(pSrc, pRef, OUT);                                                                           \
        return hpel::dispatch(hpel::fromMcType(mcType), [&](auto hx, auto hy) {                                    \
            return run<KERNEL<W, H, decltype(hx)::value, decltype(hy)::value>>(pSrc, srcStep, pRef, refStep, OUT); \
        });                                                                                                        \
    }

MOX_METRIC_MC(moxiSAD16x16_8u32s, 16, 16, 8u, sad8u, pSAD)
MOX_METRIC_MC(moxiSAD16x8_8u32s_C1R, 16, 8, 8u, sad8u, pSAD)
MOX_METRIC_MC(moxiSAD8x8_8u32s_C1R, 8, 8, 8u, sad8u, pSAD)
MOX_METRIC_MC(moxiSAD16x16_16u32s_C1R, 16, 16, 16u, sad16u, pSAD)
MOX_METRIC_MC(moxiSAD8x8_16u32s_C1R, 8, 8, 16u, sad16u, pSAD)
MOX_METRIC_MC(moxiSAD4x4_16u32s_C1R, 4, 4, 16u, sad16u, pSAD)
MOX_METRIC_MC(moxiSSD8x8_8u32s_C1R, 8, 8, 8u, ssd8u, pSSD)
MOX_METRIC_MC(moxiSSD4x4_8u32s_C1R, 4, 4, 8u, ssd8u, pSSD)

// SAD at the full-sample position.
#define MOX_SAD_FULL(NAME, W, H)                                                                \
    MOX_FN NAME(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD) { \
        MOX_CHECK_PTRS(pSrc, pRef, pSAD);                                                       \
        *pSAD = sad8u<W, H, 0, 0>(pSrc, srcStep, pRef, refStep);                                \
        return moxStsNoErr;                                                                     \
    }

MOX_SAD_FULL(moxiSAD4x4_8u32s, 4, 4)
MOX_SAD_FULL(moxiSAD4x8_8u32s_C1R, 4, 8)
MOX_SAD_FULL(moxiSAD8x4_8u32s_C1R, 8, 4)
MOX_SAD_FULL(moxiSAD8x16_8u32s_C1R, 8, 16)

// Candidate runs: the count is rounded down to a multiple of 8; below 8 is a size error.
#define MOX_SAD_XN(W)                                                                                     \
    MOX_FN moxiSAD##W##x##W##xN_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, \
                                          Mox16u* pDstSAD, int numCandidates) {                           \
        MOX_CHECK_PTRS(pSrc, pRef, pDstSAD);                                                              \
        MOX_CHECK(numCandidates >= 8, moxStsSizeErr);                                                     \
        sadRun<W, false>(pSrc, srcStep, pRef, refStep, pDstSAD, numCandidates & ~7, nullptr);             \
        return moxStsNoErr;                                                                               \
    }

#define MOX_SAD_XNI(W)                                                                                            \
    MOX_FN moxiSAD##W##x##W##xNI_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep,        \
                                           Mox16u* pDstSAD, int numCandidates, Mox16u* pMinSAD, int* pMinIndex) { \
        MOX_CHECK_PTRS(pSrc, pRef, pDstSAD, pMinSAD, pMinIndex);                                                  \
        MOX_CHECK(numCandidates >= 8, moxStsSizeErr);                                                             \
        *pMinIndex = sadRun<W, true>(pSrc, srcStep, pRef, refStep, pDstSAD, numCandidates & ~7, pMinSAD);         \
        return moxStsNoErr;                                                                                       \
    }

MOX_SAD_XN(16)
MOX_SAD_XN(8)
MOX_SAD_XN(4)
MOX_SAD_XN(2)
MOX_SAD_XNI(16)
MOX_SAD_XNI(8)
MOX_SAD_XNI(4)
