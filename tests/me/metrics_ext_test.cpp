// Sub-block SADs, 4x4 difference sums, mean absolute deviation, frame/field
// SADs, 8x8 Hadamard sums, squared differences, variance/mean of differences
// and edge detection: every member against the reference model on random
// blocks (extreme values, structured patterns, every layout, every mcType),
// cases worked by hand that pin the definitions, reads bounded by the block,
// and null pointers.
#include <algorithm>
#include <limits>

#include "common/harness.h"
#include "me/metrics_ext_ref.h"
#include "me/page_end.h"

namespace {

using namespace mox::test;

constexpr int kIters = 400;

template <class T>
constexpr int64_t kLo = std::numeric_limits<T>::min();
template <class T>
constexpr int64_t kHi = std::numeric_limits<T>::max();

// A w x h block holding f(x, y).
template <class T, class F>
Guarded<T> block(int w, int h, F&& f, Layout layout = {}) {
    Guarded<T> g(w, h, layout);
    int i = 0;
    g.fill([&] { int k = i++; return f(k % w, k / w); });
    return g;
}

// Random contents in a random layout (`extra` more columns and rows for the
// half-sample neighbours of a reference), structured to drive the metrics to
// their ends: uniform with extremes, two levels, alternating rows,
// checkerboard, nearly flat.
template <class T>
Guarded<T> randomBlock(Rng& r, int w, int h, int extra = 0) {
    const int64_t a = r.extreme(kLo<T>, kHi<T>), b = r.extreme(kLo<T>, kHi<T>);
    const int mode = r.uniform(0, 4);
    return block<T>(w + extra, h + extra, [&](int x, int y) -> int64_t {
        switch (mode) {
            case 0: return r.extreme(kLo<T>, kHi<T>);
            case 1: return r.coin() ? kLo<T> : kHi<T>;
            case 2: return y % 2 ? a : b;
            case 3: return (x + y) % 2 ? kLo<T> : kHi<T>;
            default: return std::clamp<int64_t>(a + r.uniform(-1, 1), kLo<T>, kHi<T>);
        }
    }, randomLayout(r, sizeof(T)));
}

template <class P>
P* nullIf(bool cond, P* p) {
    return cond ? nullptr : p;
}

// call(k) passes null for the k-th checked pointer (k < 0: none). Every k
// must fail with moxStsNullPtrErr and leave `outs` as they were.
template <class Call>
void expectNullChecks(const char* name, int numPtrs, Call&& call, std::initializer_list<Bytes> outs) {
    for (int k = 0; k < numPtrs; ++k) {
        SCOPED_TRACE(::testing::Message() << name << ", null pointer " << k);
        expectUntouched(moxStsNullPtrErr, [&] { return call(k); }, outs);
    }
    EXPECT_EQ(call(-1), moxStsNoErr) << name;
}

// ---------------------------------------------------------------- sub-block SADs

template <class T, class R>
struct SadBlocksCase {
    const char* name;
    MoxStatus (*fn)(const T*, int, const T*, int, R*, int);
    int blockSize;
};

template <class T, class R>
void checkSadBlocks(const SadBlocksCase<T, R>& c) {
    Rng r(11);
    const int n = (16 / c.blockSize) * (16 / c.blockSize);
    for (int iter = 0; iter < kIters; ++iter) {
        const int mcType = iter % 16;
        auto src = randomBlock<T>(r, 16, 16), ref = randomBlock<T>(r, 16, 16, 1);
        Guarded<R> got(n, 1);
        ASSERT_EQ(c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), got.ptr(), mcType), moxStsNoErr);
        int64_t want[16];
        mox::ref::sadBlocks(src.ptr(), src.step(), ref.ptr(), ref.step(), mcType, c.blockSize, want);
        for (int k = 0; k < n; ++k) ASSERT_EQ(got.at(k, 0), want[k]) << c.name << " mcType " << mcType << " block " << k;
        ASSERT_TRUE(got.guardsIntact()) << c.name;
    }
    Guarded<T> src(16, 16), ref(17, 17);
    Guarded<R> out(n, 1);
    expectNullChecks(c.name, 3, [&](int k) {
        return c.fn(nullIf(k == 0, src.ptr()), src.step(), nullIf(k == 1, ref.ptr()), ref.step(), nullIf(k == 2, out.ptr()), 12);
    }, {out});
}

TEST(MetricsExt, SadBlocks) {
    checkSadBlocks<Mox8u, Mox16u>({"SAD16x16Blocks8x8_8u16u", moxiSAD16x16Blocks8x8_8u16u, 8});
    checkSadBlocks<Mox8u, Mox16u>({"SAD16x16Blocks4x4_8u16u", moxiSAD16x16Blocks4x4_8u16u, 4});
    checkSadBlocks<Mox16u, Mox32u>({"SAD16x16Blocks8x8_16u32u", moxiSAD16x16Blocks8x8_16u32u, 8});
    checkSadBlocks<Mox16u, Mox32u>({"SAD16x16Blocks4x4_16u32u", moxiSAD16x16Blocks4x4_16u32u, 4});
}

TEST(MetricsExt, SadBlocksRoundHalvesUp) {
    // Against zeros: columns 0, 1, 0, 1, ... predict 1 at the horizontal half,
    // and a 0/1 checkerboard predicts (0 + 1 + 1 + 0 + 2) >> 2 = 1 at half-half.
    auto src = block<Mox8u>(16, 16, [](int, int) { return 0; });
    auto cols = block<Mox8u>(17, 17, [](int x, int) { return x % 2; });
    auto board = block<Mox8u>(17, 17, [](int x, int y) { return (x + y) % 2; });
    Mox16u sad[16];
    ASSERT_EQ(moxiSAD16x16Blocks4x4_8u16u(src.ptr(), src.step(), cols.ptr(), cols.step(), sad, 8), moxStsNoErr);
    EXPECT_EQ(std::vector<Mox16u>(sad, sad + 16), std::vector<Mox16u>(16, 16));
    ASSERT_EQ(moxiSAD16x16Blocks8x8_8u16u(src.ptr(), src.step(), board.ptr(), board.step(), sad, 12), moxStsNoErr);
    EXPECT_EQ(std::vector<Mox16u>(sad, sad + 4), std::vector<Mox16u>(4, 64));
}

// ---------------------------------------------------------------- 4x4 sums of differences

TEST(MetricsExt, SumsDiff) {
    struct Case {
        const char* name;
        MoxStatus (*fn)(const Mox8u*, int, const Mox8u*, int, Mox16s*, Mox16s*);
        int n;
    };
    Rng r(12);
    for (Case c : {Case{"SumsDiff16x16Blocks4x4", moxiSumsDiff16x16Blocks4x4_8u16s_C1, 16},
                   Case{"SumsDiff8x8Blocks4x4", moxiSumsDiff8x8Blocks4x4_8u16s_C1, 8}}) {
        const int blocks = c.n * c.n / 16;
        for (int iter = 0; iter < kIters; ++iter) {
            auto src = randomBlock<Mox8u>(r, c.n, c.n), pred = randomBlock<Mox8u>(r, c.n, c.n);
            Guarded<Mox16s> sums(blocks, 1), diff(16 * blocks, 1), wantSums(blocks, 1), wantDiff(16 * blocks, 1);
            const bool withDiff = iter % 3 != 0;  // the differences are optional
            ASSERT_EQ(c.fn(src.ptr(), src.step(), pred.ptr(), pred.step(), sums.ptr(), withDiff ? diff.ptr() : nullptr),
                      moxStsNoErr);
            mox::ref::sumsDiff(src.ptr(), src.step(), pred.ptr(), pred.step(), c.n, wantSums.ptr(), wantDiff.ptr());
            ASSERT_EQ(sums.samples(), wantSums.samples()) << c.name;
            if (withDiff) {
                ASSERT_EQ(diff.samples(), wantDiff.samples()) << c.name;
            }
            ASSERT_TRUE(sums.guardsIntact() && diff.guardsIntact()) << c.name;
        }
        Guarded<Mox8u> src(c.n, c.n), pred(c.n, c.n);
        Guarded<Mox16s> sums(blocks, 1), diff(16 * blocks, 1);
        expectNullChecks(c.name, 3, [&](int k) {
            return c.fn(nullIf(k == 0, src.ptr()), src.step(), nullIf(k == 1, pred.ptr()), pred.step(),
                        nullIf(k == 2, sums.ptr()), diff.ptr());
        }, {sums, diff});
    }
    // d = 16y + x: block k holds rows 4(k / 4) .. +3 and columns 4(k % 4) .. +3 in raster order.
    auto src = block<Mox8u>(16, 16, [](int x, int y) { return 16 * y + x; });
    auto zero = block<Mox8u>(16, 16, [](int, int) { return 0; });
    Mox16s sums[16], diff[256];
    ASSERT_EQ(moxiSumsDiff16x16Blocks4x4_8u16s_C1(src.ptr(), src.step(), zero.ptr(), zero.step(), sums, diff), moxStsNoErr);
    for (int k = 0; k < 16; ++k) {
        const int x0 = 4 * (k % 4), y0 = 4 * (k / 4);
        EXPECT_EQ(sums[k], 16 * (16 * y0 + x0) + 16 * 24 + 24) << k;
        for (int j = 0; j < 16; ++j) EXPECT_EQ(diff[16 * k + j], 16 * (y0 + j / 4) + x0 + j % 4) << k << "," << j;
    }
}

// ---------------------------------------------------------------- mean absolute deviation

TEST(MetricsExt, MeanAbsDev) {
    struct Case {
        const char* name;
        MoxStatus (*fn)(const Mox8u*, int, Mox32s*);
        int n;
    };
    Rng r(13);
    for (Case c : {Case{"MeanAbsDev8x8", moxiMeanAbsDev8x8_8u32s_C1R, 8},
                   Case{"MeanAbsDev16x16", moxiMeanAbsDev16x16_8u32s_C1R, 16}}) {
        for (int iter = 0; iter < kIters; ++iter) {
            auto src = randomBlock<Mox8u>(r, c.n, c.n);
            Guarded<Mox32s> got(1, 1);
            ASSERT_EQ(c.fn(src.ptr(), src.step(), got.ptr()), moxStsNoErr);
            ASSERT_EQ(got.at(0, 0), mox::ref::meanAbsDev(src.ptr(), src.step(), c.n)) << c.name;
            ASSERT_TRUE(got.guardsIntact()) << c.name;
        }
        // Flat: 0. One sample of N/2 among zeros: the mean 1/2 rounds to 1, not 0.
        const int half = c.n * c.n / 2;
        auto flat = block<Mox8u>(c.n, c.n, [](int, int) { return 77; });
        auto spike = block<Mox8u>(c.n, c.n, [&](int x, int y) { return x == 5 && y == 1 ? half : 0; });
        Guarded<Mox32s> out(1, 1);
        ASSERT_EQ(c.fn(flat.ptr(), flat.step(), out.ptr()), moxStsNoErr);
        EXPECT_EQ(out.at(0, 0), 0) << c.name;
        ASSERT_EQ(c.fn(spike.ptr(), spike.step(), out.ptr()), moxStsNoErr);
        EXPECT_EQ(out.at(0, 0), (2 * half - 1) + (half - 1)) << c.name;
        expectNullChecks(c.name, 2, [&](int k) {
            return c.fn(nullIf(k == 0, flat.ptr()), flat.step(), nullIf(k == 1, out.ptr()));
        }, {out});
    }
}

// ---------------------------------------------------------------- frame/field SADs

template <class T>
void checkFrameField(const char* name, MoxStatus (*fn)(const T*, int, Mox32s*, Mox32s*)) {
    Rng r(14);
    Guarded<Mox32s> frame(1, 1), field(1, 1);
    for (int iter = 0; iter < kIters; ++iter) {
        auto src = randomBlock<T>(r, 16, 16);
        ASSERT_EQ(fn(src.ptr(), src.step(), frame.ptr(), field.ptr()), moxStsNoErr);
        int64_t wantFrame, wantField;
        mox::ref::frameFieldSAD(src.ptr(), src.step(), &wantFrame, &wantField);
        ASSERT_EQ(frame.at(0, 0), wantFrame) << name;
        ASSERT_EQ(field.at(0, 0), wantField) << name;
        ASSERT_TRUE(frame.guardsIntact() && field.guardsIntact()) << name;
    }
    // Rows alternating between the ends of the range: every frame pair
    // differs by the whole range, no field pair differs.
    auto rows = block<T>(16, 16, [](int, int y) { return y % 2 ? kHi<T> : kLo<T>; });
    ASSERT_EQ(fn(rows.ptr(), rows.step(), frame.ptr(), field.ptr()), moxStsNoErr);
    EXPECT_EQ(frame.at(0, 0), 15 * 16 * (kHi<T> - kLo<T>)) << name;
    EXPECT_EQ(field.at(0, 0), 0) << name;
    expectNullChecks(name, 3, [&](int k) {
        return fn(nullIf(k == 0, rows.ptr()), rows.step(), nullIf(k == 1, frame.ptr()), nullIf(k == 2, field.ptr()));
    }, {frame, field});
}

TEST(MetricsExt, FrameFieldSAD) {
    checkFrameField<Mox8u>("FrameFieldSAD16x16_8u32s", moxiFrameFieldSAD16x16_8u32s_C1R);
    checkFrameField<Mox16s>("FrameFieldSAD16x16_16s32s", moxiFrameFieldSAD16x16_16s32s_C1R);
}

// ---------------------------------------------------------------- 8x8 Hadamard sums

template <class T>
void checkSat8x8(const char* name, MoxStatus (*fn)(const T*, int, const T*, int, Mox32s*)) {
    Rng r(15);
    Guarded<Mox32s> out(1, 1);
    for (int iter = 0; iter < kIters; ++iter) {
        auto a = randomBlock<T>(r, 8, 8), b = randomBlock<T>(r, 8, 8);
        ASSERT_EQ(fn(a.ptr(), a.step(), b.ptr(), b.step(), out.ptr()), moxStsNoErr);
        ASSERT_EQ(out.at(0, 0), mox::ref::sat8x8(a.ptr(), a.step(), b.ptr(), b.step())) << name << " iteration " << iter;
        ASSERT_TRUE(out.guardsIntact()) << name;
    }
    // One differing sample spreads over all 64 coefficients with its
    // magnitude; a constant difference is the DC coefficient alone, 64 times it.
    auto zero = block<T>(8, 8, [](int, int) { return 0; });
    auto flat = block<T>(8, 8, [](int, int) { return kHi<T>; });
    for (int pos : {0, 9, 63}) {
        auto one = block<T>(8, 8, [&](int x, int y) { return 8 * y + x == pos ? kHi<T> : 0; });
        ASSERT_EQ(fn(one.ptr(), one.step(), zero.ptr(), zero.step(), out.ptr()), moxStsNoErr);
        EXPECT_EQ(out.at(0, 0), 64 * kHi<T>) << name << " at " << pos;
        ASSERT_EQ(fn(zero.ptr(), zero.step(), one.ptr(), one.step(), out.ptr()), moxStsNoErr);
        EXPECT_EQ(out.at(0, 0), 64 * kHi<T>) << name << " at " << pos;
    }
    ASSERT_EQ(fn(zero.ptr(), zero.step(), flat.ptr(), flat.step(), out.ptr()), moxStsNoErr);
    EXPECT_EQ(out.at(0, 0), 64 * kHi<T>) << name;
    expectNullChecks(name, 3, [&](int k) {
        return fn(nullIf(k == 0, zero.ptr()), zero.step(), nullIf(k == 1, flat.ptr()), flat.step(), nullIf(k == 2, out.ptr()));
    }, {out});
}

TEST(MetricsExt, SAT8x8D) {
    checkSat8x8<Mox8u>("SAT8x8D_8u32s", moxiSAT8x8D_8u32s_C1R);
    checkSat8x8<Mox16u>("SAT8x8D_16u32s", moxiSAT8x8D_16u32s_C1R);
}

// ---------------------------------------------------------------- squared differences

TEST(MetricsExt, SqrDiff) {
    Rng r(16);
    Guarded<Mox32s> out(1, 1);
    // One reference at every mcType; two at every pair of mcTypes, four times over.
    for (int iter = 0; iter < kIters + 4 * 256; ++iter) {
        const bool two = iter >= kIters;
        const int mcF = iter % 16, mcB = iter / 16 % 16;
        auto src = randomBlock<Mox8u>(r, 16, 16), refF = randomBlock<Mox8u>(r, 16, 16, 1),
             refB = randomBlock<Mox8u>(r, 16, 16, 1);
        ASSERT_EQ(two ? moxiSqrDiff16x16B_8u32s(src.ptr(), src.step(), refF.ptr(), refF.step(), mcF, refB.ptr(),
                                                refB.step(), mcB, out.ptr())
                      : moxiSqrDiff16x16_8u32s(src.ptr(), src.step(), refF.ptr(), refF.step(), out.ptr(), mcF),
                  moxStsNoErr);
        ASSERT_EQ(out.at(0, 0), mox::ref::sqrDiff(src.ptr(), src.step(), refF.ptr(), refF.step(), mcF,
                                                  two ? refB.ptr() : nullptr, refB.step(), mcB, 16, 16))
            << (two ? "SqrDiff16x16B" : "SqrDiff16x16") << " mcTypes " << mcF << ", " << mcB;
        ASSERT_TRUE(out.guardsIntact());
    }
    // By hand: 2 against 0 is 256 * 4; (0 + 1 + 1) >> 1 = 1 against 0 is 256.
    auto zero = block<Mox8u>(17, 17, [](int, int) { return 0; });
    auto one = block<Mox8u>(17, 17, [](int, int) { return 1; });
    auto two = block<Mox8u>(16, 16, [](int, int) { return 2; });
    ASSERT_EQ(moxiSqrDiff16x16_8u32s(two.ptr(), two.step(), zero.ptr(), zero.step(), out.ptr(), 0), moxStsNoErr);
    EXPECT_EQ(out.at(0, 0), 256 * 4);
    ASSERT_EQ(moxiSqrDiff16x16B_8u32s(zero.ptr(), zero.step(), zero.ptr(), zero.step(), 4, one.ptr(), one.step(), 12,
                                      out.ptr()),
              moxStsNoErr);
    EXPECT_EQ(out.at(0, 0), 256);
    expectNullChecks("SqrDiff16x16", 3, [&](int k) {
        return moxiSqrDiff16x16_8u32s(nullIf(k == 0, two.ptr()), two.step(), nullIf(k == 1, zero.ptr()), zero.step(),
                                      nullIf(k == 2, out.ptr()), 12);
    }, {out});
    expectNullChecks("SqrDiff16x16B", 4, [&](int k) {
        return moxiSqrDiff16x16B_8u32s(nullIf(k == 0, two.ptr()), two.step(), nullIf(k == 1, zero.ptr()), zero.step(), 12,
                                       nullIf(k == 2, one.ptr()), one.step(), 4, nullIf(k == 3, out.ptr()));
    }, {out});
}

// ---------------------------------------------------------------- variance and mean of differences

TEST(MetricsExt, VarMeanDiff) {
    struct Case {
        const char* name;
        MoxStatus (*fn)(const Mox8u*, int, const Mox8u*, int, Mox32s*, Mox32s*, int);
        int h;
    };
    Rng r(17);
    for (Case c : {Case{"VarMeanDiff16x16", moxiVarMeanDiff16x16_8u32s_C1R, 16},
                   Case{"VarMeanDiff16x8", moxiVarMeanDiff16x8_8u32s_C1R, 8}}) {
        const int blocks = c.h / 4;
        for (int iter = 0; iter < kIters; ++iter) {
            const int mcType = iter % 16;
            auto src = randomBlock<Mox8u>(r, 16, c.h), ref = randomBlock<Mox8u>(r, 16, c.h, 1);
            Guarded<Mox32s> var(blocks, 1), mean(blocks, 1), wantVar(blocks, 1), wantMean(blocks, 1);
            ASSERT_EQ(c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), var.ptr(), mean.ptr(), mcType), moxStsNoErr);
            mox::ref::varMeanDiff(src.ptr(), src.step(), ref.ptr(), ref.step(), mcType, 2, c.h / 8, wantVar.ptr(),
                                  wantMean.ptr());
            ASSERT_EQ(var.samples(), wantVar.samples()) << c.name << " mcType " << mcType;
            ASSERT_EQ(mean.samples(), wantMean.samples()) << c.name << " mcType " << mcType;
            ASSERT_TRUE(var.guardsIntact() && mean.guardsIntact()) << c.name;
        }
        Guarded<Mox8u> src(16, c.h), ref(17, c.h + 1);
        Guarded<Mox32s> var(blocks, 1), mean(blocks, 1);
        expectNullChecks(c.name, 4, [&](int k) {
            return c.fn(nullIf(k == 0, src.ptr()), src.step(), nullIf(k == 1, ref.ptr()), ref.step(),
                        nullIf(k == 2, var.ptr()), nullIf(k == 3, mean.ptr()), 8);
        }, {var, mean});
    }
    // Against 100: block 0 has d = -1 in 32 samples, s = -32: mean 0 (not -1),
    // var (32 - 16) / 64 = 0; block 1 has d = -100: mean -100, var 0; blocks 2
    // and 3 alternate d = 7, 0 by row: s = 224, q = 1568, mean 3, var 12.
    auto ref = block<Mox8u>(17, 17, [](int, int) { return 100; });
    auto src = block<Mox8u>(16, 16, [](int x, int y) { return y >= 8 ? (y % 2 ? 107 : 100) : x >= 8 ? 0 : y < 4 ? 99 : 100; });
    Mox32s var[4], mean[4];
    ASSERT_EQ(moxiVarMeanDiff16x16_8u32s_C1R(src.ptr(), src.step(), ref.ptr(), ref.step(), var, mean, 0), moxStsNoErr);
    EXPECT_EQ(std::vector<Mox32s>(var, var + 4), (std::vector<Mox32s>{0, 0, 12, 12}));
    EXPECT_EQ(std::vector<Mox32s>(mean, mean + 4), (std::vector<Mox32s>{0, -100, 3, 3}));
}

// ---------------------------------------------------------------- edge detection

template <class T>
void checkEdges(const char* name, MoxStatus (*fn)(const T*, int, int, int, Mox8u*)) {
    Rng r(18);
    const int maxV = static_cast<int>(kHi<T>);
    Guarded<Mox8u> out(1, 1);
    for (int iter = 0; iter < kIters; ++iter) {
        auto src = randomBlock<T>(r, 16, 16);
        // Difference thresholds around 0 and the sample maximum, or anywhere;
        // the count threshold near the actual count.
        const int diff = iter % 4 == 0   ? r.uniform(-3, 2)
                         : iter % 4 == 1 ? maxV + r.uniform(-2, 2)
                         : iter % 4 == 2 ? static_cast<int>(r.extreme(INT32_MIN, INT32_MAX))
                                         : r.uniform(0, maxV);
        int count = 0;
        mox::ref::edgesDetect(src.ptr(), src.step(), diff, 0, &count);
        const int countThreshold = r.coin() ? count - r.uniform(0, 1) : r.uniform(-2, 481);
        ASSERT_EQ(fn(src.ptr(), src.step(), diff, countThreshold, out.ptr()), moxStsNoErr);
        ASSERT_EQ(out.at(0, 0), mox::ref::edgesDetect(src.ptr(), src.step(), diff, countThreshold))
            << name << " thresholds " << diff << ", " << countThreshold << " (count " << count << ")";
        ASSERT_TRUE(out.guardsIntact()) << name;
    }
    // (difference threshold, count threshold, result): a flat block has no
    // edge pair unless the difference threshold is negative, when all 480
    // count; a 0/max checkerboard has 480 pairs differing by max.
    auto flat = block<T>(16, 16, [&](int, int) { return maxV / 3; });
    auto board = block<T>(16, 16, [&](int x, int y) { return (x + y) % 2 ? maxV : 0; });
    const int cases[][4] = {{0, 0, -1, 1}, {0, 0, 0, 0}, {0, -1, 479, 1}, {0, -1, 480, 0},
                            {1, maxV - 1, 479, 1}, {1, maxV, 0, 0}, {1, maxV - 1, 480, 0}};
    for (const auto& c : cases) {
        const auto& src = c[0] ? board : flat;
        ASSERT_EQ(fn(src.ptr(), src.step(), c[1], c[2], out.ptr()), moxStsNoErr);
        EXPECT_EQ(out.at(0, 0), c[3]) << name << (c[0] ? " checkerboard " : " flat ") << c[1] << ", " << c[2];
    }
    expectNullChecks(name, 2, [&](int k) {
        return fn(nullIf(k == 0, flat.ptr()), flat.step(), 0, 0, nullIf(k == 1, out.ptr()));
    }, {out});
}

TEST(MetricsExt, EdgesDetect) {
    checkEdges<Mox8u>("EdgesDetect16x16_8u", moxiEdgesDetect16x16_8u_C1R);
    checkEdges<Mox16u>("EdgesDetect16x16_16u", moxiEdgesDetect16x16_16u_C1R);
}

// ---------------------------------------------------------------- memory bounds

TEST(MetricsExt, ReadsStayInsideTheBlock) {
    // Every input ends at an unreadable page: a read past a block's last row,
    // or past the one extra column and row of a reference, faults.
    PageEnd s8(16, 16), r8(17, 17), s16(32, 16), r16(34, 17), e8(8, 8), e16(16, 8);
    ASSERT_TRUE(s8.ok() && r8.ok() && s16.ok() && r16.ok() && e8.ok() && e16.ok());
    Mox16u o16[16];
    Mox32u o32[16];
    Mox16s sums[16], diff[256];
    Mox32s a[4], b[4];
    Mox8u res;
    for (int mc : {0, 4, 8, 12}) {
        EXPECT_EQ(moxiSAD16x16Blocks8x8_8u16u(s8.ptr(), 16, r8.ptr(), 17, o16, mc), moxStsNoErr);
        EXPECT_EQ(moxiSAD16x16Blocks4x4_8u16u(s8.ptr(), 16, r8.ptr(), 17, o16, mc), moxStsNoErr);
        EXPECT_EQ(moxiSAD16x16Blocks8x8_16u32u(s16.ptr<Mox16u>(), 32, r16.ptr<Mox16u>(), 34, o32, mc), moxStsNoErr);
        EXPECT_EQ(moxiSAD16x16Blocks4x4_16u32u(s16.ptr<Mox16u>(), 32, r16.ptr<Mox16u>(), 34, o32, mc), moxStsNoErr);
        EXPECT_EQ(moxiSqrDiff16x16_8u32s(s8.ptr(), 16, r8.ptr(), 17, a, mc), moxStsNoErr);
        EXPECT_EQ(moxiSqrDiff16x16B_8u32s(s8.ptr(), 16, r8.ptr(), 17, mc, r8.ptr(), 17, 12 - mc, a), moxStsNoErr);
        EXPECT_EQ(moxiVarMeanDiff16x16_8u32s_C1R(s8.ptr(), 16, r8.ptr(), 17, a, b, mc), moxStsNoErr);
        EXPECT_EQ(moxiVarMeanDiff16x8_8u32s_C1R(s8.ptr() + 128, 16, r8.ptr() + 136, 17, a, b, mc), moxStsNoErr);
    }
    EXPECT_EQ(moxiSumsDiff16x16Blocks4x4_8u16s_C1(s8.ptr(), 16, s8.ptr(), 16, sums, diff), moxStsNoErr);
    EXPECT_EQ(moxiSumsDiff8x8Blocks4x4_8u16s_C1(e8.ptr(), 8, e8.ptr(), 8, sums, diff), moxStsNoErr);
    EXPECT_EQ(moxiMeanAbsDev8x8_8u32s_C1R(e8.ptr(), 8, a), moxStsNoErr);
    EXPECT_EQ(moxiMeanAbsDev16x16_8u32s_C1R(s8.ptr(), 16, a), moxStsNoErr);
    EXPECT_EQ(moxiFrameFieldSAD16x16_8u32s_C1R(s8.ptr(), 16, a, b), moxStsNoErr);
    EXPECT_EQ(moxiFrameFieldSAD16x16_16s32s_C1R(s16.ptr<Mox16s>(), 32, a, b), moxStsNoErr);
    EXPECT_EQ(moxiSAT8x8D_8u32s_C1R(e8.ptr(), 8, e8.ptr(), 8, a), moxStsNoErr);
    EXPECT_EQ(moxiSAT8x8D_16u32s_C1R(e16.ptr<Mox16u>(), 16, e16.ptr<Mox16u>(), 16, a), moxStsNoErr);
    EXPECT_EQ(moxiEdgesDetect16x16_8u_C1R(s8.ptr(), 16, 1, 2, &res), moxStsNoErr);
    EXPECT_EQ(moxiEdgesDetect16x16_16u_C1R(s16.ptr<Mox16u>(), 32, 1, 2, &res), moxStsNoErr);
}

}  // namespace
