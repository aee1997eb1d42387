// H.264 weighted prediction: every block size against the per-sample
// formulas, over the H.264 ranges of weights, offsets and denominators and
// over the wider ranges the functions compute exactly, with guards around
// every output and the argument checks in their order.
#include "common/harness.h"
#include "h264/weight_ref.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace mox::test;

constexpr int kSizes[] = {2, 4, 8, 16};

// Weights, offsets and denominator of one call.
struct Weights {
    int logWD, w1, o1, w2, o2;
};

// H.264 ranges (logWD 0..7, weights and offsets -128..127), or the wider ranges computed exactly.
Weights randomWeights(Rng& r, bool wide) {
    if (!wide)
        return {int(r.extreme(0, 7)), int(r.extreme(-128, 127)), int(r.extreme(-128, 127)),
                int(r.extreme(-128, 127)), int(r.extreme(-128, 127))};
    return {int(r.extreme(0, 30)), int(r.extreme(-32768, 32767)), int(r.extreme(-(1 << 24), 1 << 24)),
            int(r.extreme(-32768, 32767)), int(r.extreme(-(1 << 24), 1 << 24))};
}

template <class T>
Guarded<T> randomBlock(Rng& r, int w, int h, Layout layout, int maxValue) {
    Guarded<T> g(w, h, layout);
    g.fillRandom(r, 0, maxValue);
    return g;
}

Layout upright(Layout l) {
    l.bottomUp = false;
    return l;
}

// Runs check(w, h, rng, wide) for every size, over H.264 and wide parameters.
template <class F>
void forEverySize(int iterations, F&& check) {
    Rng r(2026);
    for (int w : kSizes)
        for (int h : kSizes)
            for (int i = 0; i < iterations; ++i) check(w, h, r, i % 3 == 2);
}

// ---------------------------------------------------------------- 8-bit, against the formulas

TEST(WeightH264, UniDirMatchesFormula) {
    for (auto fn : {moxiUniDirWeightBlock_H264_8u_C1R, moxiUniDirWeightBlock_H264_8u_C1IR}) {
        forEverySize(150, [&](int w, int h, Rng& r, bool wide) {
            Weights p = randomWeights(r, wide);
            Guarded<Mox8u> got = randomBlock<Mox8u>(r, w, h, randomLayout(r, 1), 255), want(w, h);
            const std::vector<Mox8u> src = got.samples();
            want.fill([&, i = 0]() mutable { return src[i++]; });
            ASSERT_EQ(fn(got.ptr(), Mox32u(got.step()), p.logWD, p.w1, p.o1, {w, h}), moxStsNoErr);
            mox::ref::weightUni(want.ptr(), want.step(), want.ptr(), want.step(), p.logWD, p.w1, p.o1, w, h, 8);
            ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " logWD " << p.logWD << " w " << p.w1;
            ASSERT_TRUE(got.guardsIntact());
        });
    }
}

TEST(WeightH264, BiDirMatchesFormula) {
    forEverySize(150, [](int w, int h, Rng& r, bool wide) {
        Weights p = randomWeights(r, wide);
        Layout shared = randomLayout(r, 1);
        Guarded<Mox8u> a = randomBlock<Mox8u>(r, w, h, shared, 255), b = randomBlock<Mox8u>(r, w, h, shared, 255);
        Guarded<Mox8u> c = randomBlock<Mox8u>(r, w, h, randomLayout(r, 1), 255);
        Guarded<Mox8u> got2(w, h, randomLayout(r, 1)), got3(w, h, randomLayout(r, 1)), want(w, h);
        ASSERT_EQ(moxiBiDirWeightBlock_H264_8u_P2P1R(a.ptr(), b.ptr(), got2.ptr(), a.step(), got2.step(), p.logWD, p.w1,
                                                     p.o1, p.w2, p.o2, {w, h}),
                  moxStsNoErr);
        mox::ref::weightBi(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), p.logWD, p.w1, p.o1, p.w2,
                           p.o2, w, h, 8);
        ASSERT_EQ(got2.samples(), want.samples()) << "P2P1R " << w << "x" << h << " logWD " << p.logWD;
        ASSERT_EQ(moxiBiDirWeightBlock_H264_8u_P3P1R(a.ptr(), c.ptr(), got3.ptr(), a.step(), c.step(), got3.step(),
                                                     p.logWD, p.w1, p.o1, p.w2, p.o2, {w, h}),
                  moxStsNoErr);
        mox::ref::weightBi(a.ptr(), a.step(), c.ptr(), c.step(), want.ptr(), want.step(), p.logWD, p.w1, p.o1, p.w2,
                           p.o2, w, h, 8);
        ASSERT_EQ(got3.samples(), want.samples()) << "P3P1R " << w << "x" << h << " logWD " << p.logWD;
        ASSERT_TRUE(got2.guardsIntact());
        ASSERT_TRUE(got3.guardsIntact());
    });
}

TEST(WeightH264, ImplicitMatchesFormula) {
    forEverySize(150, [](int w, int h, Rng& r, bool wide) {
        // Implicit weights are 64 - w and w for w in -64..128; wide: any 16-bit pair.
        int w1 = wide ? int(r.extreme(-32768, 32767)) : int(r.extreme(-64, 128));
        int w2 = wide ? int(r.extreme(-32768, 32767)) : 64 - w1;
        Layout shared = randomLayout(r, 1);
        Guarded<Mox8u> a = randomBlock<Mox8u>(r, w, h, shared, 255), b = randomBlock<Mox8u>(r, w, h, shared, 255);
        Guarded<Mox8u> c = randomBlock<Mox8u>(r, w, h, randomLayout(r, 1), 255);
        Guarded<Mox8u> got2(w, h, randomLayout(r, 1)), got3(w, h, randomLayout(r, 1)), want(w, h);
        ASSERT_EQ(moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(a.ptr(), b.ptr(), got2.ptr(), a.step(), got2.step(), w1,
                                                             w2, {w, h}),
                  moxStsNoErr);
        mox::ref::weightImplicit(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), w1, w2, w, h, 8);
        ASSERT_EQ(got2.samples(), want.samples()) << w << "x" << h << " weights " << w1 << " " << w2;
        ASSERT_EQ(moxiBiDirWeightBlockImplicit_H264_8u_P3P1R(a.ptr(), c.ptr(), got3.ptr(), a.step(), c.step(),
                                                             got3.step(), w1, w2, {w, h}),
                  moxStsNoErr);
        mox::ref::weightImplicit(a.ptr(), a.step(), c.ptr(), c.step(), want.ptr(), want.step(), w1, w2, w, h, 8);
        ASSERT_EQ(got3.samples(), want.samples()) << w << "x" << h << " weights " << w1 << " " << w2;
        ASSERT_TRUE(got2.guardsIntact());
        ASSERT_TRUE(got3.guardsIntact());
    });
}

TEST(WeightH264, WeightedAverageMatchesFormula) {
    forEverySize(150, [](int w, int h, Rng& r, bool wide) {
        Weights p = randomWeights(r, wide);
        if (r.uniform(0, 7) == 0) p.logWD = -r.uniform(1, 40);  // no rounding, no shift
        Layout shared = upright(randomLayout(r, 1));                // the step is signed: rows go down
        Guarded<Mox8u> a = randomBlock<Mox8u>(r, w, h, shared, 255), got = randomBlock<Mox8u>(r, w, h, shared, 255);
        Guarded<Mox8u> want(w, h, shared);
        const std::vector<Mox8u> before = got.samples();
        want.fill([&, i = 0]() mutable { return before[i++]; });
        ASSERT_EQ(moxiWeightedAverage_H264_8u_C1IR(a.ptr(), got.ptr(), got.step(), p.w1, p.w2, p.logWD, p.o1, {w, h}),
                  moxStsNoErr);
        mox::ref::weightedAverage8u(a.ptr(), want.ptr(), want.step(), p.w1, p.w2, p.logWD, p.o1, w, h);
        ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " logWD " << p.logWD;
        ASSERT_TRUE(got.guardsIntact());
    });
}

// The 8- and 16-sample square blocks and 4x4 have their own kernels for the common
// parameters: every denominator and offset of single prediction around the
// limits of those kernels, and two-prediction weights whose sums reach the
// edge of 16 bits, on content with 0 and 255 samples.
TEST(WeightH264, SquareBlocksAtParameterLimits) {
    Rng r(77);
    const MoxiSize sizes[] = {{16, 16}, {8, 8}, {16, 8}, {8, 16}, {4, 4}};
    for (MoxiSize sz : sizes) {
        const int w = sz.width, h = sz.height;
        for (int logWD = 0; logWD <= 8; ++logWD)
            for (int o = -130; o <= 130; ++o) {
                const int weight = r.coin() ? int(r.extreme(-129, 128)) : r.uniform(-128, 127);
                Guarded<Mox8u> got = randomBlock<Mox8u>(r, w, h, randomLayout(r, 1), 255), want(w, h);
                const std::vector<Mox8u> src = got.samples();
                want.fill([&, i = 0]() mutable { return src[i++]; });
                ASSERT_EQ(moxiUniDirWeightBlock_H264_8u_C1R(got.ptr(), Mox32u(got.step()), logWD, weight, o, sz), moxStsNoErr);
                mox::ref::weightUni(want.ptr(), want.step(), want.ptr(), want.step(), logWD, weight, o, w, h, 8);
                ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " logWD " << logWD << " w " << weight << " o " << o;
                ASSERT_TRUE(got.guardsIntact());
            }
        for (int i = 0; i < 400; ++i) {
            // Positive or negative weight sums of about 128, with offsets pushing the 16-bit sum over.
            const int w1 = int(r.extreme(-128, 127)), w2 = (r.coin() ? 128 : -128) - w1 + r.uniform(-2, 2);
            const int logWD = r.uniform(0, 7), o1 = int(r.extreme(-128, 127)), o2 = int(r.extreme(-128, 127));
            Layout shared = randomLayout(r, 1);
            Guarded<Mox8u> a = randomBlock<Mox8u>(r, w, h, shared, 255), b = randomBlock<Mox8u>(r, w, h, randomLayout(r, 1), 255);
            Guarded<Mox8u> got(w, h, randomLayout(r, 1)), want(w, h);
            ASSERT_EQ(moxiBiDirWeightBlock_H264_8u_P3P1R(a.ptr(), b.ptr(), got.ptr(), a.step(), b.step(), got.step(), logWD,
                                                         w1, o1, w2, o2, sz),
                      moxStsNoErr);
            mox::ref::weightBi(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), logWD, w1, o1, w2, o2, w, h, 8);
            ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " logWD " << logWD << " w " << w1 << " " << w2;
            ASSERT_TRUE(got.guardsIntact());
        }
    }
}

// Hand-computed samples: the formulas themselves, not only the agreement of two models.
TEST(WeightH264, KnownValues) {
    Mox8u a[4] = {100, 255, 0, 7}, b[4] = {50, 255, 0, 8}, d[4];
    Mox8u s[4] = {100, 255, 0, 7};
    ASSERT_EQ(moxiUniDirWeightBlock_H264_8u_C1R(s, 2, 0, 2, -10, {2, 2}), moxStsNoErr);  // logWD 0: s * 2 - 10
    EXPECT_EQ(std::vector<int>(s, s + 4), (std::vector<int>{190, 255, 0, 4}));
    Mox8u t[4] = {3, 5, 1, 255};
    ASSERT_EQ(moxiUniDirWeightBlock_H264_8u_C1R(t, 2, 1, 1, 0, {2, 2}), moxStsNoErr);  // (s + 1) >> 1
    EXPECT_EQ(std::vector<int>(t, t + 4), (std::vector<int>{2, 3, 1, 128}));
    // Offsets 1 and 0 add (1 + 0 + 1) >> 1 = 1; weights 1, 1 at logWD 0 give (a + b + 1) >> 1.
    ASSERT_EQ(moxiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, 2, 2, 0, 1, 1, 1, 0, {2, 2}), moxStsNoErr);
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{76, 255, 1, 9}));
    // Implicit 32/32 is the rounded average.
    ASSERT_EQ(moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, 2, 2, 32, 32, {2, 2}), moxStsNoErr);
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{75, 255, 0, 8}));
    // (a * 3 + d * 1 + 2) >> 2 + 1 on d = b.
    Mox8u e[4] = {50, 255, 0, 8};
    ASSERT_EQ(moxiWeightedAverage_H264_8u_C1IR(a, e, 2, 3, 1, 2, 1, {2, 2}), moxStsNoErr);
    EXPECT_EQ(std::vector<int>(e, e + 4), (std::vector<int>{89, 255, 1, 8}));
}

// ---------------------------------------------------------------- 8-bit argument checks

// Each function behind one signature: (src1, src2, dst, step of src1, step of dst, size).
using Call8u = std::function<MoxStatus(const Mox8u*, const Mox8u*, Mox8u*, int, int, MoxiSize)>;

std::vector<std::pair<const char*, Call8u>> calls8u() {
    return {
        {"UniDir", [](const Mox8u*, const Mox8u*, Mox8u* d, int, int ds, MoxiSize s) {
             return moxiUniDirWeightBlock_H264_8u_C1R(d, ds, 3, 5, 1, s); }},
        {"BiDirP2", [](const Mox8u* a, const Mox8u* b, Mox8u* d, int as, int ds, MoxiSize s) {
             return moxiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, as, ds, 3, 5, 1, 7, 2, s); }},
        {"BiDirP3", [](const Mox8u* a, const Mox8u* b, Mox8u* d, int as, int ds, MoxiSize s) {
             return moxiBiDirWeightBlock_H264_8u_P3P1R(a, b, d, as, 16, ds, 3, 5, 1, 7, 2, s); }},
        {"ImplicitP2", [](const Mox8u* a, const Mox8u* b, Mox8u* d, int as, int ds, MoxiSize s) {
             return moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, as, ds, 20, 44, s); }},
        {"ImplicitP3", [](const Mox8u* a, const Mox8u* b, Mox8u* d, int as, int ds, MoxiSize s) {
             return moxiBiDirWeightBlockImplicit_H264_8u_P3P1R(a, b, d, 16, as, ds, 20, 44, s); }},
        {"WeightedAverage", [](const Mox8u* a, const Mox8u*, Mox8u* d, int, int ds, MoxiSize s) {
             return moxiWeightedAverage_H264_8u_C1IR(a, d, ds, 3, 1, 2, 0, s); }},
    };
}

TEST(WeightH264, ChecksInOrderAndWriteNothingOnFailure) {
    Guarded<Mox8u> a(16, 16), b(16, 16), d(16, 16, {16, 0, false}, 0x11);
    for (auto& entry : calls8u()) {
        const char* name = entry.first;
        const Call8u& call = entry.second;
        SCOPED_TRACE(name);
        // Null pointers come before a bad step and a bad size.
        expectUntouched(moxStsNullPtrErr, [&] { return call(a.ptr(), b.ptr(), nullptr, 16, 1, {16, 6}); }, {d});
        if (std::string(name) != "UniDir") {
            expectUntouched(moxStsNullPtrErr, [&] { return call(nullptr, b.ptr(), d.ptr(), 1, 1, {16, 6}); }, {d});
        }
        if (std::string(name).rfind("BiDir", 0) == 0 || std::string(name).rfind("Implicit", 0) == 0) {
            expectUntouched(moxStsNullPtrErr, [&] { return call(a.ptr(), nullptr, d.ptr(), 1, 1, {16, 6}); }, {d});
            expectUntouched(moxStsStepErr, [&] { return call(a.ptr(), b.ptr(), d.ptr(), 7, 16, {8, 8}); }, {d});
        }
        // A step of 7 with width 8, before the size check.
        expectUntouched(moxStsStepErr, [&] { return call(a.ptr(), b.ptr(), d.ptr(), 16, 7, {8, 6}); }, {d});
        for (MoxiSize bad : {MoxiSize{16, 6}, MoxiSize{3, 4}, MoxiSize{4, 0}, MoxiSize{4, 32}, MoxiSize{1, 2},
                             MoxiSize{0, 0}, MoxiSize{4, -4}})
            expectUntouched(moxStsSizeErr, [&] { return call(a.ptr(), b.ptr(), d.ptr(), 32, 32, bad); }, {d});
        // 16x2 and 2x16 pass.
        EXPECT_EQ(call(a.ptr(), b.ptr(), d.ptr(), 16, 16, {16, 2}), moxStsNoErr);
        EXPECT_EQ(call(a.ptr(), b.ptr(), d.ptr(), 16, 16, {2, 16}), moxStsNoErr);
    }
}

TEST(WeightH264, StepCompareSignedness) {
    // The Mox32u steps compare unsigned: a negative width fails the step check first.
    // The weighted average compares signed, so the size check reports it.
    Guarded<Mox8u> a(16, 16), d(16, 16);
    for (auto& entry : calls8u()) {
        const char* name = entry.first;
        const Call8u& call = entry.second;
        SCOPED_TRACE(name);
        MoxStatus want = std::string(name) == "WeightedAverage" ? moxStsSizeErr : moxStsStepErr;
        expectUntouched(want, [&] { return call(a.ptr(), a.ptr(), d.ptr(), 16, 16, {-4, 4}); }, {d});
    }
    // A negative signed step is below the width.
    expectUntouched(moxStsStepErr, [&] { return moxiWeightedAverage_H264_8u_C1IR(a.ptr(), d.ptr(), -16, 1, 1, 1, 0, {4, 4}); }, {d});
}

// ---------------------------------------------------------------- 16-bit forms

Weights randomWeights16(Rng& r, int bitDepth, bool wide) {
    if (wide)
        return {int(r.extreme(0, 7)), int(r.extreme(-32768, 32767)), int(r.extreme(-(1 << 20), 1 << 20)),
                int(r.extreme(-32768, 32767)), int(r.extreme(-(1 << 20), 1 << 20))};
    const int scale = 1 << (bitDepth - 8);  // offsets come scaled to the bit depth
    return {int(r.extreme(0, 7)), int(r.extreme(-128, 127)), int(r.extreme(-128, 127)) * scale,
            int(r.extreme(-128, 127)), int(r.extreme(-128, 127)) * scale};
}

enum class Kind { Average, Explicit, Implicit, Uni };

void check16u(Kind kind) {
    forEverySize(60, [&](int w, int h, Rng& r, bool wide) {
        const int bitDepth = int(r.extreme(8, 14)), maxValue = (1 << bitDepth) - 1;
        Weights p = randomWeights16(r, bitDepth, wide);
        Guarded<Mox16u> a = randomBlock<Mox16u>(r, w, h, randomLayout(r, 2), maxValue);
        Guarded<Mox16u> b = randomBlock<Mox16u>(r, w, h, randomLayout(r, 2), maxValue);
        Guarded<Mox16u> got(w, h, randomLayout(r, 2)), want(w, h);
        const bool inPlace = kind == Kind::Uni && r.coin();
        MoxWeightBlock_H264_16u blk{a.ptr(), b.ptr(), inPlace ? a.ptr() : got.ptr(), a.step(), b.step(),
                                    inPlace ? a.step() : got.step(), {w, h}, bitDepth};
        MoxWeightParams_H264 wp{p.logWD, p.w1, p.o1, p.w2, p.o2};
        switch (kind) {
            case Kind::Average:
                mox::ref::average(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), w, h);
                ASSERT_EQ(moxiBidir_H264_16u_P2P1R(&blk), moxStsNoErr);
                break;
            case Kind::Explicit:
                mox::ref::weightBi(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), p.logWD, p.w1, p.o1,
                                   p.w2, p.o2, w, h, bitDepth);
                ASSERT_EQ(moxiBidirWeight_H264_16u_P2P1R(&blk, &wp), moxStsNoErr);
                break;
            case Kind::Implicit:
                if (!wide) wp.weight2 = 64 - (wp.weight1 = int(r.extreme(-64, 128)));
                mox::ref::weightImplicit(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), wp.weight1,
                                         wp.weight2, w, h, bitDepth);
                ASSERT_EQ(moxiBidirWeightImplicit_H264_16u_P2P1R(&blk, &wp), moxStsNoErr);
                break;
            case Kind::Uni:
                mox::ref::weightUni(a.ptr(), a.step(), want.ptr(), want.step(), p.logWD, p.w1, p.o1, w, h, bitDepth);
                blk.pSrc2 = nullptr;  // not read
                ASSERT_EQ(moxiUnidirWeight_H264_16u_IP2P1R(&blk, &wp), moxStsNoErr);
                break;
        }
        ASSERT_EQ(inPlace ? a.samples() : got.samples(), want.samples())
            << w << "x" << h << " depth " << bitDepth << " logWD " << p.logWD << " w " << p.w1 << "," << p.w2;
        ASSERT_TRUE(inPlace ? a.guardsIntact() : got.guardsIntact());
    });
}

TEST(WeightH264, Average16uMatchesFormula) { check16u(Kind::Average); }
TEST(WeightH264, Explicit16uMatchesFormula) { check16u(Kind::Explicit); }
TEST(WeightH264, Implicit16uMatchesFormula) { check16u(Kind::Implicit); }
TEST(WeightH264, UniDir16uMatchesFormulaAlsoInPlace) { check16u(Kind::Uni); }

TEST(WeightH264, Checks16uInOrder) {
    Guarded<Mox16u> a(16, 16), b(16, 16), d(16, 16);
    const MoxWeightBlock_H264_16u good{a.ptr(), b.ptr(), d.ptr(), a.step(), b.step(), d.step(), {8, 8}, 10};
    const MoxWeightParams_H264 gw{3, 5, 1, 7, 2};
    using Fn = std::function<MoxStatus(const MoxWeightBlock_H264_16u*, const MoxWeightParams_H264*)>;
    const std::pair<const char*, Fn> fns[] = {
        {"Bidir", [](auto* blk, auto*) { return moxiBidir_H264_16u_P2P1R(blk); }},
        {"Weight", moxiBidirWeight_H264_16u_P2P1R},
        {"Implicit", moxiBidirWeightImplicit_H264_16u_P2P1R},
        {"Unidir", moxiUnidirWeight_H264_16u_IP2P1R},
    };
    for (auto& entry : fns) {
        const char* name = entry.first;
        const Fn& fn = entry.second;
        SCOPED_TRACE(name);
        const bool weighted = std::string(name) != "Bidir", uni = std::string(name) == "Unidir";
        auto expect = [&](MoxStatus st, MoxWeightBlock_H264_16u blk, const MoxWeightParams_H264* w) {
            expectUntouched(st, [&] { return fn(&blk, w); }, {d});
        };
        auto with = [&](auto change) {
            MoxWeightBlock_H264_16u blk = good;
            change(blk);
            return blk;
        };
        // Every fault at once, then one fewer each time.
        auto allBad = [&](MoxWeightBlock_H264_16u& x) { x.dstStep = 2; x.roiSize = {16, 6}; x.bitDepth = 15; };
        EXPECT_EQ(fn(nullptr, &gw), moxStsNullPtrErr);
        expect(moxStsNullPtrErr, with([&](auto& x) { allBad(x); x.pSrc1 = nullptr; }), &gw);
        expect(uni ? moxStsStepErr : moxStsNullPtrErr, with([&](auto& x) { allBad(x); x.pSrc2 = nullptr; }), &gw);
        expect(moxStsNullPtrErr, with([&](auto& x) { allBad(x); x.pDst = nullptr; }), &gw);
        if (weighted) expect(moxStsNullPtrErr, with(allBad), nullptr);
        expect(moxStsStepErr, with(allBad), &gw);
        expect(moxStsStepErr, with([](auto& x) { x.srcStep1 = -15; }), &gw);  // magnitude below 2 x width
        if (!uni) expect(moxStsStepErr, with([](auto& x) { x.srcStep2 = 15; }), &gw);
        expect(moxStsSizeErr, with([](auto& x) { x.roiSize = {16, 6}; x.bitDepth = 7; }), &gw);
        expect(moxStsOutOfRangeErr, with([](auto& x) { x.bitDepth = 15; }), &gw);
        expect(moxStsOutOfRangeErr, with([](auto& x) { x.bitDepth = 7; }), &gw);
        const bool readsLog2 = std::string(name) == "Weight" || uni;
        for (int bad : {-1, 8}) {
            MoxWeightParams_H264 w = gw;
            w.log2wd = bad;
            if (readsLog2) expect(moxStsOutOfRangeErr, good, &w);
        }
        d.arm();
    }
}

}  // namespace
