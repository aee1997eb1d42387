// H.264 dequantisation and inverse transforms: every member against its
// scalar reference on random blocks (levels up to the type's limits, every
// QP, random scaling tables, DC-only and full blocks, bit depths 8..14) with
// guards around every output; the worked cases of the arithmetic; agreement
// of the scaling-table forms with the flat ones; reads bounded by their
// inputs; argument checks in their order with every output untouched.
#include <array>
#include <cstring>
#include <limits>

#include "common/guard_page.h"
#include "common/harness.h"
#include "h264/quant_tables.h"
#include "h264/transform_ref.h"

namespace {

using namespace mox::test;

template <class T>
constexpr int64_t kMin = std::numeric_limits<T>::min();
template <class T>
constexpr int64_t kMax = std::numeric_limits<T>::max();

// A level: mostly what streams carry, often the type's limits.
template <class T>
int64_t randomLevel(Rng& r) {
    switch (r.uniform(0, 5)) {
        case 0: return r.extreme(kMin<T>, kMax<T>);
        case 1: return r.coin() ? kMin<T> : kMax<T>;
        case 2: return r.uniform(-2048, 2048);
        case 3: return 0;
        default: return r.uniform(-40, 40);
    }
}

template <class T>
void fillLevels(Guarded<T>& g, Rng& r) {
    g.fill([&] { return randomLevel<T>(r); });
}

// n contiguous values with guards around them.
template <class T>
Guarded<T> contiguous(Rng& r, int n) {
    return Guarded<T>(n, 1, Layout{0, r.coin() ? 0 : r.uniform(1, 15) * static_cast<int>(sizeof(T)), false});
}

// A random layout whose step passes a "step at least the row" check.
Layout forwardLayout(Rng& r, int elemSize) {
    Layout l = randomLayout(r, elemSize);
    l.bottomUp = false;
    return l;
}

// A LevelScale table: flat, a realistic weighted one, or any 16-bit values.
Guarded<Mox16s> randomTable(Rng& r, int n, int qpRem) {
    Guarded<Mox16s> t = contiguous<Mox16s>(r, n);
    int kind = r.uniform(0, 2), weight = r.uniform(1, 255);
    int k = 0;
    t.fill([&] {
        int pos = k++;
        if (kind == 0) return static_cast<int64_t>(mox::ref::flatLevelScale(qpRem, pos, n == 64));
        if (kind == 1) return static_cast<int64_t>(mox::ref::flatLevelScale(qpRem, pos, n == 64) / 16 * weight);
        return r.extreme(kMin<Mox16s>, kMax<Mox16s>);
    });
    return t;
}

template <class T>
void copyInto(Guarded<T>& dst, const Guarded<T>& src) {
    for (int y = 0; y < src.height(); ++y)
        for (int x = 0; x < src.width(); ++x) dst.at(x, y) = src.at(x, y);
    dst.arm();
}

// Non-zero AC flags other than 1 must act like 1.
int randomAC(Rng& r) { return r.coin() ? 0 : (r.coin() ? 1 : r.uniform(-3, 3)); }

#define EXPECT_SAME(got, want, what)                        \
    do {                                                    \
        ASSERT_EQ((got).samples(), (want).samples()) << what; \
        ASSERT_TRUE((got).guardsIntact()) << what;          \
    } while (0)

// ------------------------------------------------------------------ tables and worked cases

TEST(H264Transform, Tables) {
    using namespace mox::h264;
    EXPECT_EQ(kInvQuant[0], (std::array<Mox32s, 3>{10, 16, 13}));
    EXPECT_EQ(kInvQuant[6], (std::array<Mox32s, 3>{20, 32, 26}));
    EXPECT_EQ(kInvQuant[51], (std::array<Mox32s, 3>{14 << 8, 23 << 8, 18 << 8}));
    EXPECT_EQ(kQuantIndex, (std::array<Mox32s, 16>{0, 2, 0, 2, 2, 1, 2, 1, 0, 2, 0, 2, 2, 1, 2, 1}));
    const int lumaDc[18] = {10, 11, 13, 14, 16, 18, 10, 11, 13, 14, 16, 18, 10, 11, 13, 14, 16, 18};
    for (int qp = 0; qp < 18; ++qp) EXPECT_EQ(kInvQuantLumaDC[qp], lumaDc[qp]) << qp;
    EXPECT_EQ(kInvQuantLumaDC[18], 20);
    EXPECT_EQ(kInvQuantLumaDC[51], 896);

    // The flat LevelScale tables: 16 x normAdjust, position by position.
    for (int m = 0; m < 6; ++m)
        for (int is8x8 = 0; is8x8 < 2; ++is8x8) {
            const Mox16s* t = moxiGetLevelScale_H264(m, is8x8);
            ASSERT_NE(t, nullptr);
            EXPECT_EQ(t, moxiGetLevelScale_H264(m, is8x8 * 7));
            for (int k = 0; k < (is8x8 ? 64 : 16); ++k) EXPECT_EQ(t[k], mox::ref::flatLevelScale(m, k, is8x8)) << k;
        }
    EXPECT_EQ(moxiGetLevelScale_H264(0, 0)[5], 16 * 16);
    EXPECT_EQ(moxiGetLevelScale_H264(5, 1)[18], 16 * 58);  // (2, 2): class 2 of m = 5
    EXPECT_EQ(moxiGetLevelScale_H264(-1, 0), nullptr);
    EXPECT_EQ(moxiGetLevelScale_H264(6, 1), nullptr);
}

TEST(H264Transform, WorkedCases) {
    auto all = [](const Mox16s* v, int n, int want) {
        for (int k = 0; k < n; ++k)
            if (v[k] != want) return false;
        return true;
    };
    // DC-only blocks at QP 0: (10 + 32) >> 6 = 0, (70 + 32) >> 6 = 1.
    Mox16s blk[16] = {1, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
    ASSERT_EQ(moxiDequantTransformResidual_H264_16s_C1I(blk, 8, nullptr, 0, 0), moxStsNoErr);
    EXPECT_TRUE(all(blk, 16, 0));
    blk[0] = 7;
    ASSERT_EQ(moxiDequantTransformResidual_H264_16s_C1I(blk, 8, nullptr, 0, 0), moxStsNoErr);
    EXPECT_TRUE(all(blk, 16, 1));
    // A DC of 64 from pDC gives 1 whatever the levels.
    const Mox16s dc64 = 64;
    for (int k = 0; k < 16; ++k) blk[k] = static_cast<Mox16s>(1000 * k - 7000);
    ASSERT_EQ(moxiDequantTransformResidual_H264_16s_C1I(blk, 8, &dc64, 0, 30), moxStsNoErr);
    EXPECT_TRUE(all(blk, 16, 1));
    // Adding a DC-only block through pDC with no levels at all.
    Mox8u pred[16], dst[16];
    for (int k = 0; k < 16; ++k) pred[k] = static_cast<Mox8u>(k * 17);
    ASSERT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(pred, nullptr, &dc64, dst, 4, 4, 0, 0), moxStsNoErr);
    for (int k = 0; k < 16; ++k) EXPECT_EQ(dst[k], k == 15 ? 255 : k * 17 + 1) << k;
    // Luma DC at QP 5: (1 x 18 + 2) >> 2 = 5 everywhere; chroma DC at QP 0: (1 x 10) >> 1 = 5.
    Mox16s luma[16] = {1};
    ASSERT_EQ(moxiTransformDequantLumaDC_H264_16s_C1I(luma, 5), moxStsNoErr);
    EXPECT_TRUE(all(luma, 16, 5));
    Mox16s chroma[4] = {1, 0, 0, 0};
    ASSERT_EQ(moxiTransformDequantChromaDC_H264_16s_C1I(chroma, 0), moxStsNoErr);
    EXPECT_TRUE(all(chroma, 4, 5));
    // The same level through the scaling-table luma DC: (160 + 32) >> 6 = 3, as the flat form's (10 + 2) >> 2.
    Mox16s luma2[16] = {1};
    ASSERT_EQ(moxiTransformQuantInvLumaDC4x4_H264_16s_C1I(luma2, 0, moxiGetLevelScale_H264(0, 0)), moxStsNoErr);
    EXPECT_TRUE(all(luma2, 16, 3));
}

TEST(H264Transform, Chroma422DcTakesCodedOrder) {
    // QP'c 0 uses QP 3 (LevelScale 16 x 14 = 224): a level of 1 gives (224 + 32) >> 6 = 4, -1 gives -3.
    const Mox16s* ls = moxiGetLevelScale_H264(3, 0);
    struct Case {
        int coded;
        std::array<Mox16s, 8> want;
    } cases[] = {
        {0, {4, 4, 4, 4, 4, 4, 4, 4}},          // c0: DC of the whole grid
        {2, {4, -3, 4, -3, 4, -3, 4, -3}},      // c2: row 0, column 1 (left minus right)
        {1, {4, 4, 4, 4, -3, -3, -3, -3}},      // c1: row 1, column 0 (top half minus bottom)
        {3, {4, 4, -3, -3, -3, -3, 4, 4}},      // c3: row 2, column 0
    };
    for (const Case& c : cases) {
        std::array<Mox16s, 8> v{};
        v[c.coded] = 1;
        ASSERT_EQ(moxiTransformQuantInvChromaDC2x4_H264_16s_C1I(v.data(), 0, ls), moxStsNoErr);
        EXPECT_EQ(v, c.want) << "coded level " << c.coded;
        std::array<Mox32s, 8> w{};
        w[c.coded] = 1;
        ASSERT_EQ(moxiTransformQuantInvChromaDC2x4_H264_32s_C1I(w.data(), 0, ls), moxStsNoErr);
        for (int k = 0; k < 8; ++k) EXPECT_EQ(w[k], c.want[k]) << "32s, coded level " << c.coded;
    }
}

// ------------------------------------------------------------------ flat members against the reference

TEST(H264Transform, DequantResidualMatchesReference) {
    Rng r(101);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 60; ++it) {
            Guarded<Mox16s> got(4, 4, forwardLayout(r, 2)), want(4, 4);
            fillLevels(got, r);
            copyInto(want, got);
            Mox16s dc = static_cast<Mox16s>(randomLevel<Mox16s>(r));
            const Mox16s* pDC = r.coin() ? &dc : nullptr;
            int ac = randomAC(r);
            ASSERT_EQ(moxiDequantTransformResidual_H264_16s_C1I(got.ptr(), got.step(), pDC, ac, qp), moxStsNoErr);
            mox::ref::dequantTransformResidual(want.ptr(), want.step(), pDC, ac, qp);
            EXPECT_SAME(got, want, "QP " << qp << " AC " << ac << " DC " << (pDC != nullptr));
        }
}

TEST(H264Transform, DequantResidualOddStepRoundsDown) {
    // Row r starts at element r x (step / 2): step 17 addresses like 16.
    Rng r(102);
    std::vector<Mox16s> a(40), b;
    for (auto& v : a) v = static_cast<Mox16s>(randomLevel<Mox16s>(r));
    b = a;
    ASSERT_EQ(moxiDequantTransformResidual_H264_16s_C1I(a.data(), 17, nullptr, 1, 20), moxStsNoErr);
    mox::ref::dequantTransformResidual(b.data(), 16, nullptr, 1, 20);
    EXPECT_EQ(a, b);
}

TEST(H264Transform, ResidualAndAddMatchesReference) {
    Rng r(103);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 60; ++it) {
            Guarded<Mox8u> pred(4, 4, randomLayout(r, 1)), got(4, 4, randomLayout(r, 1)), want(4, 4);
            pred.fillRandom(r, 0, 255);
            Guarded<Mox16s> coeffs = contiguous<Mox16s>(r, 16), refCoeffs(16, 1);
            fillLevels(coeffs, r);
            copyInto(refCoeffs, coeffs);
            Mox16s dc = static_cast<Mox16s>(randomLevel<Mox16s>(r));
            const Mox16s* pDC = r.coin() ? &dc : nullptr;
            int ac = randomAC(r);
            bool noLevels = pDC && !ac && r.coin();
            ASSERT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(pred.ptr(), noLevels ? nullptr : coeffs.ptr(), pDC,
                                                                       got.ptr(), pred.step(), got.step(), qp, ac),
                      moxStsNoErr);
            mox::ref::dequantTransformResidualAndAdd(pred.ptr(), refCoeffs.ptr(), pDC, want.ptr(), pred.step(),
                                                     want.step(), qp, ac);
            EXPECT_SAME(got, want, "QP " << qp << " AC " << ac);
            if (!noLevels) EXPECT_SAME(coeffs, refCoeffs, "residual, QP " << qp << " AC " << ac);
        }
}

TEST(H264Transform, DcTransformsMatchReference) {
    Rng r(104);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 60; ++it) {
            Guarded<Mox16s> luma = contiguous<Mox16s>(r, 16), lumaRef(16, 1);
            fillLevels(luma, r);
            copyInto(lumaRef, luma);
            ASSERT_EQ(moxiTransformDequantLumaDC_H264_16s_C1I(luma.ptr(), qp), moxStsNoErr);
            mox::ref::transformDequantLumaDC(lumaRef.ptr(), qp);
            EXPECT_SAME(luma, lumaRef, "luma QP " << qp);

            Guarded<Mox16s> chroma = contiguous<Mox16s>(r, 4), chromaRef(4, 1);
            fillLevels(chroma, r);
            copyInto(chromaRef, chroma);
            ASSERT_EQ(moxiTransformDequantChromaDC_H264_16s_C1I(chroma.ptr(), qp), moxStsNoErr);
            mox::ref::transformDequantChromaDC(chromaRef.ptr(), qp);
            EXPECT_SAME(chroma, chromaRef, "chroma QP " << qp);
        }
}

TEST(H264Transform, TransformPredictionMatchesReference) {
    Rng r(105);
    for (int it = 0; it < 500; ++it) {
        Guarded<Mox8u> src(4, 4, randomLayout(r, 1));
        src.fillRandom(r, 0, 255);
        Guarded<Mox16s> got = contiguous<Mox16s>(r, 16), want(16, 1);
        ASSERT_EQ(moxiTransformPrediction_H264_8u16s_C1(src.ptr(), src.step(), got.ptr()), moxStsNoErr);
        mox::ref::transformPrediction(src.ptr(), src.step(), want.ptr());
        EXPECT_SAME(got, want, "iteration " << it);
    }
}

// ------------------------------------------------------------------ LevelScale members against the reference

template <class C>
void checkResidualInv(MoxStatus (*fn)(const C*, C*, int)) {
    Rng r(106);
    for (int it = 0; it < 1500; ++it) {
        Guarded<C> src = contiguous<C>(r, 16);
        fillLevels(src, r);
        Guarded<C> got(4, 4, forwardLayout(r, sizeof(C))), want(4, 4);
        ASSERT_EQ(fn(src.ptr(), got.ptr(), got.step()), moxStsNoErr);
        mox::ref::transformResidual4x4Inv(src.ptr(), want.ptr(), want.step());
        EXPECT_SAME(got, want, "iteration " << it);
    }
}

TEST(H264Transform, ResidualInvMatchesReference) {
    checkResidualInv<Mox16s>(moxiTransformResidual4x4Inv_H264_16s_C1);
    checkResidualInv<Mox32s>(moxiTransformResidual4x4Inv_H264_32s_C1);
}

// One random AddPred4x4 case of either width through call(pred, predStep, coeffs, pDC, dst, dstStep, AC, table).
template <class C, class P, class Call>
void checkAddPred4x4(Rng& r, int qp, int bitDepth, Call&& call) {
    const int maxSample = (1 << bitDepth) - 1;
    Guarded<P> pred(4, 4, randomLayout(r, sizeof(P))), got(4, 4, randomLayout(r, sizeof(P))), want(4, 4);
    pred.fillRandom(r, 0, r.uniform(0, 7) ? maxSample : kMax<P>);
    Guarded<C> coeffs = contiguous<C>(r, 16), refCoeffs(16, 1);
    fillLevels(coeffs, r);
    copyInto(refCoeffs, coeffs);
    Guarded<Mox16s> table = randomTable(r, 16, qp % 6);
    C dc = static_cast<C>(randomLevel<C>(r));
    const C* pDC = r.coin() ? &dc : nullptr;
    int ac = randomAC(r);
    bool noLevels = pDC && !ac && r.coin();
    ASSERT_EQ(call(pred.ptr(), pred.step(), noLevels ? nullptr : coeffs.ptr(), pDC, got.ptr(), got.step(), ac,
                   table.ptr()),
              moxStsNoErr);
    mox::ref::transformQuantInvAddPred4x4(pred.ptr(), pred.step(), refCoeffs.ptr(), pDC, want.ptr(), want.step(), qp, ac,
                                          table.ptr(), bitDepth);
    EXPECT_SAME(got, want, "QP " << qp << " AC " << ac << " bit depth " << bitDepth);
    if (!noLevels) EXPECT_SAME(coeffs, refCoeffs, "residual, QP " << qp);
}

TEST(H264Transform, AddPred4x4MatchesReference) {
    Rng r(107);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 60; ++it)
            checkAddPred4x4<Mox16s, Mox8u>(r, qp, 8,
                                           [&](const Mox8u* pred, int ps, Mox16s* c, const Mox16s* dc, Mox8u* dst,
                                               int ds, int ac, const Mox16s* t) {
                                               return moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(pred, ps, c, dc, dst,
                                                                                                    ds, qp, ac, t);
                                           });
    for (int qp = 0; qp <= 87; ++qp)
        for (int it = 0; it < 40; ++it) {
            int bitDepth = r.uniform(8, 14);
            checkAddPred4x4<Mox32s, Mox16u>(r, qp, bitDepth,
                                            [&](const Mox16u* pred, int ps, Mox32s* c, const Mox32s* dc, Mox16u* dst,
                                                int ds, int ac, const Mox16s* t) {
                                                return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(
                                                    pred, ps, c, dc, dst, ds, qp, ac, t, bitDepth);
                                            });
        }
}

// In-place DC members with a scaling table: fn(block, QP, table) against ref(block, QP, table).
template <class C>
void checkScaledDc(int n, int qpMax, int qpTableOffset, MoxStatus (*fn)(C*, int, const Mox16s*),
                   void (*ref)(C*, int, const Mox16s*), const char* name) {
    Rng r(108 + n);
    for (int qp = 0; qp <= qpMax; ++qp)
        for (int it = 0; it < 40; ++it) {
            Guarded<C> got = contiguous<C>(r, n), want(n, 1);
            fillLevels(got, r);
            copyInto(want, got);
            Guarded<Mox16s> table = randomTable(r, 16, (qp + qpTableOffset) % 6);
            ASSERT_EQ(fn(got.ptr(), qp, table.ptr()), moxStsNoErr);
            ref(want.ptr(), qp, table.ptr());
            EXPECT_SAME(got, want, name << " QP " << qp);
        }
}

TEST(H264Transform, ScaledDcMatchesReference) {
    using namespace mox::ref;
    checkScaledDc<Mox16s>(16, 51, 0, moxiTransformQuantInvLumaDC4x4_H264_16s_C1I, transformQuantInvLumaDC4x4<Mox16s>,
                          "luma 16s");
    checkScaledDc<Mox32s>(16, 87, 0, moxiTransformQuantInvLumaDC4x4_H264_32s_C1I, transformQuantInvLumaDC4x4<Mox32s>,
                          "luma 32s");
    checkScaledDc<Mox16s>(4, 51, 0, moxiTransformQuantInvChromaDC2x2_H264_16s_C1I,
                          transformQuantInvChromaDC2x2<Mox16s>, "2x2 16s");
    checkScaledDc<Mox32s>(4, 87, 0, moxiTransformQuantInvChromaDC2x2_H264_32s_C1I,
                          transformQuantInvChromaDC2x2<Mox32s>, "2x2 32s");
    checkScaledDc<Mox16s>(8, 51, 3, moxiTransformQuantInvChromaDC2x4_H264_16s_C1I,
                          transformQuantInvChromaDC2x4<Mox16s>, "2x4 16s");
    checkScaledDc<Mox32s>(8, 87, 3, moxiTransformQuantInvChromaDC2x4_H264_32s_C1I,
                          transformQuantInvChromaDC2x4<Mox32s>, "2x4 32s");
}

template <class C>
void checkDequant8x8(int qpMax, MoxStatus (*fn)(C*, int, const Mox16s*)) {
    Rng r(109);
    for (int qp = 0; qp <= qpMax; ++qp)
        for (int it = 0; it < 30; ++it) {
            Guarded<C> got = contiguous<C>(r, 64), want(64, 1);
            fillLevels(got, r);
            copyInto(want, got);
            Guarded<Mox16s> table = randomTable(r, 64, qp % 6);
            ASSERT_EQ(fn(got.ptr(), qp, table.ptr()), moxStsNoErr);
            mox::ref::quantInvLuma8x8(want.ptr(), qp, table.ptr());
            EXPECT_SAME(got, want, "QP " << qp);
        }
}

TEST(H264Transform, Dequant8x8MatchesReference) {
    checkDequant8x8<Mox16s>(51, moxiQuantLuma8x8Inv_H264_16s_C1I);
    checkDequant8x8<Mox32s>(87, moxiQuantInvLuma8x8_H264_32s_C1I);
}

TEST(H264Transform, Transform8x8AddMatchesReference) {
    Rng r(110);
    for (int it = 0; it < 2000; ++it) {
        Guarded<Mox16s> c = contiguous<Mox16s>(r, 64);
        fillLevels(c, r);
        Guarded<Mox8u> pred(8, 8, randomLayout(r, 1)), got(8, 8, randomLayout(r, 1)), want(8, 8);
        pred.fillRandom(r, 0, 255);
        ASSERT_EQ(moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(pred.ptr(), pred.step(), c.ptr(), got.ptr(), got.step()),
                  moxStsNoErr);
        mox::ref::transformInvAddPred8x8(pred.ptr(), pred.step(), c.ptr(), want.ptr(), want.step(), 8);
        EXPECT_SAME(got, want, "8u, iteration " << it);
    }
    for (int it = 0; it < 2000; ++it) {
        int bitDepth = r.uniform(8, 14);
        Guarded<Mox32s> c = contiguous<Mox32s>(r, 64);
        fillLevels(c, r);
        Guarded<Mox16u> pred(8, 8, randomLayout(r, 2)), got(8, 8, randomLayout(r, 2)), want(8, 8);
        pred.fillRandom(r, 0, r.uniform(0, 7) ? (1 << bitDepth) - 1 : 65535);
        ASSERT_EQ(moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(pred.ptr(), pred.step(), c.ptr(), got.ptr(), got.step(),
                                                                  bitDepth),
                  moxStsNoErr);
        mox::ref::transformInvAddPred8x8(pred.ptr(), pred.step(), c.ptr(), want.ptr(), want.step(), bitDepth);
        EXPECT_SAME(got, want, "16u, bit depth " << bitDepth << ", iteration " << it);
    }
}

// ------------------------------------------------------------------ switching slices

TEST(H264Transform, SwitchingMatchesReference) {
    Rng r(111);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 60; ++it) {
            int qs = r.coin() ? qp : r.uniform(0, 51), ac = randomAC(r), sw = r.uniform(0, 2);
            Guarded<Mox16s> got = contiguous<Mox16s>(r, 16), want(16, 1), pred = contiguous<Mox16s>(r, 16);
            fillLevels(got, r);
            copyInto(want, got);
            fillLevels(pred, r);
            Mox16s dc = static_cast<Mox16s>(randomLevel<Mox16s>(r));
            const Mox16s* pDC = r.coin() ? &dc : nullptr;
            ASSERT_EQ(moxiDequantTransformResidual_SISP_H264_16s_C1I(got.ptr(), pred.ptr(), pDC, ac, qp, qs, sw),
                      moxStsNoErr);
            mox::ref::dequantTransformResidualSISP(want.ptr(), pred.ptr(), pDC, ac, qp, qs, sw);
            EXPECT_SAME(got, want, "QP " << qp << " QS " << qs << " switching " << sw << " AC " << ac);

            Guarded<Mox16s> dcGot = contiguous<Mox16s>(r, 4), dcWant(4, 1), dcPred = contiguous<Mox16s>(r, 4);
            fillLevels(dcGot, r);
            copyInto(dcWant, dcGot);
            fillLevels(dcPred, r);
            ASSERT_EQ(moxiTransformDequantChromaDC_SISP_H264_16s_C1I(dcGot.ptr(), dcPred.ptr(), qp, qs, sw), moxStsNoErr);
            mox::ref::transformDequantChromaDCSISP(dcWant.ptr(), dcPred.ptr(), qp, qs, sw);
            EXPECT_SAME(dcGot, dcWant, "chroma DC, QP " << qp << " QS " << qs << " switching " << sw);
        }
}

TEST(H264Transform, SwitchingWithoutLevelsReconstructsThePrediction) {
    // With no levels both paths requantise the transformed prediction alone;
    // at a fine QS the result is the prediction within the quantiser's error.
    Rng r(112);
    for (int it = 0; it < 300; ++it) {
        Mox8u pred[16];
        for (auto& p : pred) p = static_cast<Mox8u>(r.uniform(0, 255));
        Mox16s coeffs[16];
        ASSERT_EQ(moxiTransformPrediction_H264_8u16s_C1(pred, 4, coeffs), moxStsNoErr);
        int qs = r.uniform(0, 11);
        Mox16s sp[16] = {}, si[16] = {};
        ASSERT_EQ(moxiDequantTransformResidual_SISP_H264_16s_C1I(sp, coeffs, nullptr, 1, r.uniform(0, 51), qs, 0),
                  moxStsNoErr);
        ASSERT_EQ(moxiDequantTransformResidual_SISP_H264_16s_C1I(si, coeffs, nullptr, 1, 0, qs, 1), moxStsNoErr);
        for (int k = 0; k < 16; ++k) {
            EXPECT_EQ(sp[k], si[k]) << k;
            EXPECT_NEAR(sp[k], pred[k], 2) << "QS " << qs << " position " << k;
        }
    }
}

// ------------------------------------------------------------------ independent cross-checks

TEST(H264Transform, FlatScalingTablesMatchTheFlatForms) {
    // With the flat LevelScale tables and levels small enough for no sum to
    // overflow, the scaling-table members equal the flat members.
    Rng r(113);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 40; ++it) {
            int limit = 2000 / mox::h264::kInvQuant[qp][1];
            Mox16s a[16], b[16];
            for (int k = 0; k < 16; ++k) a[k] = b[k] = static_cast<Mox16s>(r.uniform(-limit, limit));
            Mox8u pred[16], d1[16], d2[16];
            for (auto& p : pred) p = static_cast<Mox8u>(r.uniform(0, 255));
            ASSERT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(pred, a, nullptr, d1, 4, 4, qp, 1), moxStsNoErr);
            ASSERT_EQ(moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(pred, 4, b, nullptr, d2, 4, qp, 1,
                                                                    moxiGetLevelScale_H264(qp % 6, 0)),
                      moxStsNoErr);
            ASSERT_EQ(0, std::memcmp(d1, d2, 16)) << "4x4, QP " << qp;
            ASSERT_EQ(0, std::memcmp(a, b, sizeof a)) << "4x4 residual, QP " << qp;

            // DC products inside 16 bits: |f| is at most 16 (luma) or 4 (chroma) levels.
            int lumaLimit = 32000 / (16 * mox::h264::kInvQuantLumaDC[qp]);
            for (int k = 0; k < 16; ++k) a[k] = b[k] = static_cast<Mox16s>(r.uniform(-lumaLimit, lumaLimit));
            ASSERT_EQ(moxiTransformDequantLumaDC_H264_16s_C1I(a, qp), moxStsNoErr);
            ASSERT_EQ(moxiTransformQuantInvLumaDC4x4_H264_16s_C1I(b, qp, moxiGetLevelScale_H264(qp % 6, 0)), moxStsNoErr);
            ASSERT_EQ(0, std::memcmp(a, b, sizeof a)) << "luma DC, QP " << qp;
            int chromaLimit = 32000 / (4 * mox::h264::kInvQuant[qp][0]);
            for (int k = 0; k < 4; ++k) a[k] = b[k] = static_cast<Mox16s>(r.uniform(-chromaLimit, chromaLimit));
            ASSERT_EQ(moxiTransformDequantChromaDC_H264_16s_C1I(a, qp), moxStsNoErr);
            ASSERT_EQ(moxiTransformQuantInvChromaDC2x2_H264_16s_C1I(b, qp, moxiGetLevelScale_H264(qp % 6, 0)),
                      moxStsNoErr);
            ASSERT_EQ(0, std::memcmp(a, b, 8)) << "chroma DC, QP " << qp;
        }
}

TEST(H264Transform, HighBitDepthFormsMatchThe16BitFormsWithoutOverflow) {
    // Same levels, 8-bit samples: the 32s forms give what the 16s forms give.
    Rng r(114);
    for (int qp = 0; qp < 52; ++qp)
        for (int it = 0; it < 20; ++it) {
            const Mox16s* ls4 = moxiGetLevelScale_H264(qp % 6, 0);
            const Mox16s* ls8 = moxiGetLevelScale_H264(qp % 6, 1);
            Mox16s a[64];
            Mox32s b[64];
            for (int k = 0; k < 64; ++k) b[k] = a[k] = static_cast<Mox16s>(r.uniform(-3, 3) * (qp > 24 ? 1 : r.uniform(0, 1)));
            ASSERT_EQ(moxiQuantLuma8x8Inv_H264_16s_C1I(a, qp, ls8), moxStsNoErr);
            ASSERT_EQ(moxiQuantInvLuma8x8_H264_32s_C1I(b, qp, ls8), moxStsNoErr);
            for (int k = 0; k < 64; ++k) ASSERT_EQ(a[k], b[k]) << "8x8 dequantisation, QP " << qp;
            if (qp > 24) continue;  // keep the transform sums inside 16 bits
            Mox8u pred8[64], out8[64];
            Mox16u pred16[64], out16[64];
            for (int k = 0; k < 64; ++k) pred16[k] = pred8[k] = static_cast<Mox8u>(r.uniform(0, 255));
            ASSERT_EQ(moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(pred8, 8, a, out8, 8), moxStsNoErr);
            ASSERT_EQ(moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(pred16, 16, b, out16, 16, 8), moxStsNoErr);
            for (int k = 0; k < 64; ++k) ASSERT_EQ(out8[k], out16[k]) << "8x8 add, QP " << qp;
            Mox16s c16[16];
            Mox32s c32[16];
            for (int k = 0; k < 16; ++k) c32[k] = c16[k] = static_cast<Mox16s>(r.uniform(-3, 3));
            ASSERT_EQ(moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(pred8, 4, c16, nullptr, out8, 4, qp, 1, ls4),
                      moxStsNoErr);
            ASSERT_EQ(moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(pred16, 8, c32, nullptr, out16, 8, qp, 1, ls4, 8),
                      moxStsNoErr);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) ASSERT_EQ(out8[4 * y + x], out16[4 * y + x]) << "4x4 add, QP " << qp;
        }
}

// ------------------------------------------------------------------ reads stay inside the inputs

TEST(H264Transform, ReadsStayInsideTheInputs) {
    // Each contiguous input ends at an unreadable page.
    auto atEnd = [](GuardPage& g, size_t bytes) { return g.data() + g.size() - bytes; };
    GuardPage c16(128), c32(256), table(128), pred(64);
    Mox16s* l16 = reinterpret_cast<Mox16s*>(atEnd(c16, 32));
    Mox32s* l32 = reinterpret_cast<Mox32s*>(atEnd(c32, 64));
    const Mox16s* t16 = reinterpret_cast<Mox16s*>(atEnd(table, 32));
    std::memcpy(const_cast<Mox16s*>(t16), moxiGetLevelScale_H264(1, 0), 32);
    Mox8u p[16] = {}, d[16];
    Mox16u p16[16] = {}, d16[16];
    Mox16s out16[16] = {};
    Mox32s out32[16];
    EXPECT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(p, l16, nullptr, d, 4, 4, 10, 1), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(p, 4, l16, nullptr, d, 4, 10, 1, t16), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16, 8, l32, nullptr, d16, 8, 10, 1, t16, 10), moxStsNoErr);
    EXPECT_EQ(moxiTransformResidual4x4Inv_H264_16s_C1(l16, out16, 8), moxStsNoErr);
    EXPECT_EQ(moxiTransformResidual4x4Inv_H264_32s_C1(l32, out32, 16), moxStsNoErr);
    EXPECT_EQ(moxiDequantTransformResidual_SISP_H264_16s_C1I(out16, l16, nullptr, 1, 20, 20, 0), moxStsNoErr);
    // The short blocks: 4 and 8 levels, a single DC.
    EXPECT_EQ(moxiTransformDequantChromaDC_H264_16s_C1I(l16 + 12, 10), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvChromaDC2x2_H264_16s_C1I(l16 + 12, 10, t16), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvChromaDC2x2_H264_32s_C1I(l32 + 12, 10, t16 + 15), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvChromaDC2x4_H264_16s_C1I(l16 + 8, 10, t16 + 15), moxStsNoErr);
    EXPECT_EQ(moxiTransformQuantInvChromaDC2x4_H264_32s_C1I(l32 + 8, 10, t16 + 15), moxStsNoErr);
    EXPECT_EQ(moxiTransformDequantChromaDC_SISP_H264_16s_C1I(out16, l16 + 12, 10, 10, 0), moxStsNoErr);
    EXPECT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(p, nullptr, l16 + 15, d, 4, 4, 10, 0), moxStsNoErr);
    // The last row of a 4x4 prediction (4 bytes) at the page end.
    Mox8u* pr = atEnd(pred, 16);
    EXPECT_EQ(moxiTransformPrediction_H264_8u16s_C1(pr, 4, out16), moxStsNoErr);
    EXPECT_EQ(moxiDequantTransformResidualAndAdd_H264_16s_C1I(pr, l16, nullptr, d, 4, 4, 10, 1), moxStsNoErr);
}

// ------------------------------------------------------------------ argument checks

TEST(H264Transform, ChecksInOrderLeaveOutputsUntouched) {
    std::vector<Mox16s> b16(64, 3), dc16(1, 5);
    std::vector<Mox32s> b32(64, 3), dc32(1, 5);
    std::vector<Mox8u> p8(64, 9), d8(64, 1);
    std::vector<Mox16u> p16(64, 9), d16(64, 1);
    const Mox16s* t = moxiGetLevelScale_H264(0, 1);
    const MoxStatus N = moxStsNullPtrErr, R = moxStsOutOfRangeErr, S = moxStsStepErr;
    auto check = [&](MoxStatus st, auto call) { expectUntouched(st, call, {b16, b32, d8, d16}); };
    Mox16s* B = b16.data();
    Mox32s* W = b32.data();

    check(N, [&] { return moxiDequantTransformResidual_H264_16s_C1I(nullptr, 8, nullptr, 1, 52); });
    check(R, [&] { return moxiDequantTransformResidual_H264_16s_C1I(B, 6, nullptr, 1, 52); });
    check(R, [&] { return moxiDequantTransformResidual_H264_16s_C1I(B, 8, nullptr, 1, -1); });
    check(S, [&] { return moxiDequantTransformResidual_H264_16s_C1I(B, 6, nullptr, 1, 51); });
    check(S, [&] { return moxiDequantTransformResidual_H264_16s_C1I(B, -8, nullptr, 1, 0); });

    check(N, [&] { return moxiDequantTransformResidualAndAdd_H264_16s_C1I(nullptr, B, nullptr, d8.data(), 4, 4, 52, 1); });
    check(N, [&] { return moxiDequantTransformResidualAndAdd_H264_16s_C1I(p8.data(), B, nullptr, nullptr, 4, 4, 0, 1); });
    check(R, [&] { return moxiDequantTransformResidualAndAdd_H264_16s_C1I(p8.data(), nullptr, nullptr, d8.data(), 4, 4, 52, 0); });
    check(N, [&] { return moxiDequantTransformResidualAndAdd_H264_16s_C1I(p8.data(), nullptr, nullptr, d8.data(), 4, 4, 0, 0); });
    check(N, [&] { return moxiDequantTransformResidualAndAdd_H264_16s_C1I(p8.data(), nullptr, dc16.data(), d8.data(), 4, 4, 0, 1); });

    for (auto fn : {moxiTransformDequantLumaDC_H264_16s_C1I, moxiTransformDequantChromaDC_H264_16s_C1I}) {
        check(N, [&] { return fn(nullptr, 52); });
        check(R, [&] { return fn(B, 52); });
        check(R, [&] { return fn(B, -1); });
    }
    check(N, [&] { return moxiTransformPrediction_H264_8u16s_C1(nullptr, 4, B); });
    check(N, [&] { return moxiTransformPrediction_H264_8u16s_C1(p8.data(), 4, nullptr); });

    check(N, [&] { return moxiTransformResidual4x4Inv_H264_16s_C1(nullptr, B, 2); });
    check(N, [&] { return moxiTransformResidual4x4Inv_H264_16s_C1(B, nullptr, 8); });
    check(S, [&] { return moxiTransformResidual4x4Inv_H264_16s_C1(B, B, 7); });
    check(N, [&] { return moxiTransformResidual4x4Inv_H264_32s_C1(nullptr, W, 2); });
    check(S, [&] { return moxiTransformResidual4x4Inv_H264_32s_C1(W, W, 15); });

    check(N, [&] { return moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(p8.data(), 4, B, nullptr, d8.data(), 4, 52, 1, nullptr); });
    check(N, [&] { return moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(nullptr, 4, B, nullptr, d8.data(), 4, 0, 1, t); });
    check(R, [&] { return moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(p8.data(), 4, nullptr, nullptr, d8.data(), 4, 52, 1, t); });
    check(N, [&] { return moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(p8.data(), 4, nullptr, dc16.data(), d8.data(), 4, 0, 1, t); });
    check(N, [&] { return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16.data(), 8, W, nullptr, nullptr, 8, 88, 1, t, 7); });
    check(R, [&] { return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16.data(), 8, W, nullptr, d16.data(), 8, 88, 1, t, 8); });
    check(R, [&] { return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16.data(), 8, W, nullptr, d16.data(), 8, 87, 1, t, 15); });
    check(R, [&] { return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16.data(), 8, nullptr, nullptr, d16.data(), 8, 0, 1, t, 7); });
    check(N, [&] { return moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(p16.data(), 8, nullptr, nullptr, d16.data(), 8, 0, 0, t, 14); });

    for (auto fn : {moxiTransformQuantInvLumaDC4x4_H264_16s_C1I, moxiTransformQuantInvChromaDC2x2_H264_16s_C1I,
                    moxiTransformQuantInvChromaDC2x4_H264_16s_C1I, moxiQuantLuma8x8Inv_H264_16s_C1I}) {
        check(N, [&] { return fn(nullptr, 52, t); });
        check(N, [&] { return fn(B, 52, nullptr); });
        check(R, [&] { return fn(B, 52, t); });
        check(R, [&] { return fn(B, -1, t); });
    }
    for (auto fn : {moxiTransformQuantInvLumaDC4x4_H264_32s_C1I, moxiTransformQuantInvChromaDC2x2_H264_32s_C1I,
                    moxiTransformQuantInvChromaDC2x4_H264_32s_C1I, moxiQuantInvLuma8x8_H264_32s_C1I}) {
        check(N, [&] { return fn(nullptr, 88, t); });
        check(N, [&] { return fn(W, 88, nullptr); });
        check(R, [&] { return fn(W, 88, t); });
        check(R, [&] { return fn(W, -1, t); });
    }

    check(N, [&] { return moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(nullptr, 8, B, d8.data(), 8); });
    check(N, [&] { return moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(p8.data(), 8, nullptr, d8.data(), 8); });
    check(N, [&] { return moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(p8.data(), 8, B, nullptr, 8); });
    check(N, [&] { return moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(p16.data(), 16, nullptr, d16.data(), 16, 7); });
    check(R, [&] { return moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(p16.data(), 16, W, d16.data(), 16, 7); });
    check(R, [&] { return moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(p16.data(), 16, W, d16.data(), 16, 15); });

    check(N, [&] { return moxiDequantTransformResidual_SISP_H264_16s_C1I(nullptr, B, nullptr, 1, 52, 52, 0); });
    check(N, [&] { return moxiDequantTransformResidual_SISP_H264_16s_C1I(B, nullptr, nullptr, 1, 52, 52, 0); });
    check(R, [&] { return moxiDequantTransformResidual_SISP_H264_16s_C1I(B, B + 16, nullptr, 1, 52, 0, 0); });
    check(R, [&] { return moxiDequantTransformResidual_SISP_H264_16s_C1I(B, B + 16, nullptr, 1, 0, -1, 1); });
    check(N, [&] { return moxiTransformDequantChromaDC_SISP_H264_16s_C1I(nullptr, B, 52, 0, 0); });
    check(N, [&] { return moxiTransformDequantChromaDC_SISP_H264_16s_C1I(B, nullptr, 0, 0, 0); });
    check(R, [&] { return moxiTransformDequantChromaDC_SISP_H264_16s_C1I(B, B + 4, -1, 0, 0); });
    check(R, [&] { return moxiTransformDequantChromaDC_SISP_H264_16s_C1I(B, B + 4, 0, 52, 1); });
}

}  // namespace
