// H.264 stand-alone intra predictors: every mode with every combination of
// neighbour availability against the scalar reference on random pictures
// (extreme sample values included), the 128 replacement and its warning, the
// upper-right repetition, the modes that refuse to run, and the argument
// checks in their order with the picture untouched.
#include <sys/mman.h>
#include <unistd.h>

#include "common/harness.h"
#include "core/pixel.h"
#include "h264/intra_pred_ref.h"

namespace {

using namespace mox::test;
using mox::ref::kAvailLeft;
using mox::ref::kAvailLeftLower;
using mox::ref::kAvailUp;
using mox::ref::kAvailUpLeft;
using mox::ref::kAvailUpRight;

using PredFn = MoxStatus (*)(Mox8u*, Mox32s, Mox32s, Mox32s);

// A picture with the block at (kX, kY): room for the left column, the upper
// row and the upper-right samples, with guards around it.
constexpr int kX = 4, kY = 2;

Layout forwardLayout(Rng& r) {
    Layout l = randomLayout(r, 1);
    l.bottomUp = false;
    return l;
}

Guarded<Mox8u> randomPicture(Rng& r, int n, Layout layout) {
    Guarded<Mox8u> g(kX + 2 * n + 4, kY + n + 2, layout);
    switch (r.uniform(0, 3)) {
        case 0:
            g.fillRandom(r, 0, 255, true);
            break;  // anything
        case 1:
            g.fill([&] { return r.coin() ? 0 : 255; });
            break;  // gradients at their extremes
        case 2: {
            int b = r.uniform(0, 255);
            g.fill([&] { return mox::clamp<int>(b + r.uniform(-3, 3), 0, 255); });
            break;
        }
        default:
            g.fillRandom(r, 0, 255, false);
            break;
    }
    return g;
}

template <class T>
Guarded<T> copyOf(const Guarded<T>& g, Layout layout) {
    Guarded<T> c(g.width(), g.height(), layout);
    for (int y = 0; y < g.height(); ++y)
        for (int x = 0; x < g.width(); ++x) c.at(x, y) = g.at(x, y);
    c.arm();
    return c;
}

// All combinations of the availability bits a predictor reads, plus bits it must ignore.
std::vector<int> availabilities(Rng& r, std::initializer_list<int> bits) {
    std::vector<int> out;
    int n = static_cast<int>(bits.size());
    for (int m = 0; m < (1 << n); ++m) {
        int a = 0, i = 0;
        for (int b : bits) a |= (m >> i++ & 1) ? b : 0;
        out.push_back(a);
        out.push_back(a | (r.uniform(0, 0xFFFF) & ~0x67) | (r.coin() ? static_cast<int>(0x80000000u) : 0));
    }
    return out;
}

TEST(H264IntraPredict, Predict4x4MatchesReferenceEveryModeAndAvailability) {
    Rng r(41);
    for (int avail : availabilities(r, {kAvailUp, kAvailLeft, kAvailUpLeft, kAvailUpRight}))
        for (int mode = 0; mode < 9; ++mode)
            for (int iter = 0; iter < 12; ++iter) {
                Guarded<Mox8u> got = randomPicture(r, 4, forwardLayout(r));
                Guarded<Mox8u> want = copyOf(got, {});
                MoxStatus st = moxiPredictIntra_4x4_H264_8u_C1IR(&got.at(kX, kY), got.step(), mode, avail);
                bool missing = mox::ref::predict4x4(&want.at(kX, kY), want.step(), mode, avail, 8);
                ASSERT_EQ(st, missing ? moxStsIntraNeighbourWrn : moxStsNoErr) << "mode " << mode << " avail " << avail;
                ASSERT_EQ(got.samples(), want.samples()) << "mode " << mode << " avail " << avail;
                ASSERT_TRUE(got.guardsIntact());
            }
}

TEST(H264IntraPredict, Predict16x16MatchesReferenceEveryModeAndAvailability) {
    Rng r(42);
    for (int avail : availabilities(r, {kAvailUp, kAvailLeft, kAvailUpLeft}))
        for (int mode = 0; mode < 4; ++mode)
            for (int iter = 0; iter < 25; ++iter) {
                Guarded<Mox8u> got = randomPicture(r, 16, randomLayout(r, 1));
                Guarded<Mox8u> want = copyOf(got, {});
                if (!mox::ref::canPredict16x16(mode, avail)) {
                    Mox8u* p = &got.at(kX, kY);
                    expectUntouched(moxStsIntraNeighbourErr,
                                    [&] { return moxiPredictIntra_16x16_H264_8u_C1IR(p, got.step(), mode, avail); },
                                    {got});
                    continue;
                }
                ASSERT_EQ(moxiPredictIntra_16x16_H264_8u_C1IR(&got.at(kX, kY), got.step(), mode, avail), moxStsNoErr);
                mox::ref::predict16x16(&want.at(kX, kY), want.step(), mode, avail, 8);
                ASSERT_EQ(got.samples(), want.samples()) << "mode " << mode << " avail " << avail;
                ASSERT_TRUE(got.guardsIntact());
            }
}

TEST(H264IntraPredict, PredictChroma8x8MatchesReferenceEveryModeAndAvailability) {
    Rng r(43);
    for (int avail : availabilities(r, {kAvailUp, kAvailLeft, kAvailUpLeft}))
        for (int mode = 0; mode < 4; ++mode)
            for (int iter = 0; iter < 25; ++iter) {
                Guarded<Mox8u> got = randomPicture(r, 8, randomLayout(r, 1));
                Guarded<Mox8u> want = copyOf(got, {});
                // The stand-alone predictor has one left neighbour: both halves.
                int refAvail =
                    (avail & (kAvailUp | kAvailUpLeft)) | ((avail & kAvailLeft) ? kAvailLeft | kAvailLeftLower : 0);
                if (!mox::ref::canPredictChroma(mode, refAvail)) {
                    Mox8u* p = &got.at(kX, kY);
                    expectUntouched(moxStsIntraNeighbourErr,
                                    [&] { return moxiPredictIntraChroma8x8_H264_8u_C1IR(p, got.step(), mode, avail); },
                                    {got});
                    continue;
                }
                ASSERT_EQ(moxiPredictIntraChroma8x8_H264_8u_C1IR(&got.at(kX, kY), got.step(), mode, avail),
                          moxStsNoErr);
                mox::ref::predictChroma(&want.at(kX, kY), want.step(), mode, refAvail, 8, 8);
                ASSERT_EQ(got.samples(), want.samples()) << "mode " << mode << " avail " << avail;
                ASSERT_TRUE(got.guardsIntact());
            }
}

// The plane modes at their steepest: the upper row and the left column each
// 0 on one half and 255 on the other, in all four directions (the largest
// gradients and plane values the 16-bit sums must hold).
TEST(H264IntraPredict, PlaneModesAtSteepestGradients) {
    const int all = kAvailUp | kAvailLeft | kAvailUpLeft;
    for (int n : {8, 16})
        for (int dir = 0; dir < 4; ++dir) {
            Guarded<Mox8u> got(kX + 2 * n + 4, kY + n + 2, {});
            got.fill([] { return 0; });
            for (int i = -1; i < n; ++i) {
                const bool upHigh = (i >= n / 2) != bool(dir & 1), leftHigh = (i >= n / 2) != bool(dir & 2);
                got.at(kX + i, kY - 1) = upHigh ? 255 : 0;
                if (i >= 0) got.at(kX - 1, kY + i) = leftHigh ? 255 : 0;
            }
            Guarded<Mox8u> want = copyOf(got, {});
            if (n == 8) {
                ASSERT_EQ(moxiPredictIntraChroma8x8_H264_8u_C1IR(&got.at(kX, kY), got.step(), 3, all), moxStsNoErr);
                mox::ref::predictChroma(&want.at(kX, kY), want.step(), 3, all | kAvailLeftLower, 8, 8);
            } else {
                ASSERT_EQ(moxiPredictIntra_16x16_H264_8u_C1IR(&got.at(kX, kY), got.step(), 3, all), moxStsNoErr);
                mox::ref::predict16x16(&want.at(kX, kY), want.step(), 3, all, 8);
            }
            ASSERT_EQ(got.samples(), want.samples()) << "size " << n << " direction " << dir;
        }
}

// The block's samples alone.
std::vector<int> block(const Guarded<Mox8u>& g, int n) {
    std::vector<int> v;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) v.push_back(g.at(kX + x, kY + y));
    return v;
}

TEST(H264IntraPredict, MissingNeighboursReadAs128) {
    Rng r(44);
    // Vertical without the upper row and horizontal without the left column:
    // flat 128 and the warning; DC without either: 128 and no warning.
    for (auto [mode, avail, warn] : {std::tuple{0, kAvailLeft | kAvailUpLeft | kAvailUpRight, true},
                                     std::tuple{1, kAvailUp | kAvailUpLeft, true}, std::tuple{2, 0, false}}) {
        Guarded<Mox8u> g = randomPicture(r, 4, {});
        EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&g.at(kX, kY), g.step(), mode, avail),
                  warn ? moxStsIntraNeighbourWrn : moxStsNoErr);
        EXPECT_EQ(block(g, 4), std::vector<int>(16, 128)) << "mode " << mode;
    }
    // Diagonal down-right with only the corner missing: the corner is 128.
    Guarded<Mox8u> g = randomPicture(r, 4, {}), h = copyOf(g, {});
    h.at(kX - 1, kY - 1) = 128;
    EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&g.at(kX, kY), g.step(), 4, kAvailUp | kAvailLeft),
              moxStsIntraNeighbourWrn);
    EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&h.at(kX, kY), h.step(), 4, kAvailUp | kAvailLeft | kAvailUpLeft),
              moxStsNoErr);
    EXPECT_EQ(block(g, 4), block(h, 4));
    // 16x16 and chroma DC with nothing around: 128, success.
    Guarded<Mox8u> p16 = randomPicture(r, 16, {}), p8 = randomPicture(r, 8, {});
    EXPECT_EQ(moxiPredictIntra_16x16_H264_8u_C1IR(&p16.at(kX, kY), p16.step(), 2, 0), moxStsNoErr);
    EXPECT_EQ(block(p16, 16), std::vector<int>(256, 128));
    EXPECT_EQ(moxiPredictIntraChroma8x8_H264_8u_C1IR(&p8.at(kX, kY), p8.step(), 0, 0), moxStsNoErr);
    EXPECT_EQ(block(p8, 8), std::vector<int>(64, 128));
}

TEST(H264IntraPredict, UpperRightRepeatsFourthUpperSample) {
    Rng r(45);
    for (int mode : {3, 7})
        for (int iter = 0; iter < 50; ++iter) {
            // Without the upper-right bit the samples there must not matter:
            // the result is that of real upper-right samples equal to T3.
            Guarded<Mox8u> g = randomPicture(r, 4, {}), h = copyOf(g, {});
            for (int x = 4; x < 8; ++x) h.at(kX + x, kY - 1) = h.at(kX + 3, kY - 1);
            int base = r.coin() ? kAvailUp : kAvailUp | kAvailLeft | kAvailUpLeft;
            EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&g.at(kX, kY), g.step(), mode, base), moxStsNoErr);
            EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&h.at(kX, kY), h.step(), mode, base | kAvailUpRight),
                      moxStsNoErr);
            ASSERT_EQ(block(g, 4), block(h, 4)) << "mode " << mode;
        }
}

TEST(H264IntraPredict, Predict4x4ReadsOnlyItsLeftColumn) {
    // The block's left column starts a page whose predecessor is unreadable,
    // so a read of anything left of it faults.
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto* base =
        static_cast<Mox8u*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(base, MAP_FAILED);
    ASSERT_EQ(mprotect(base, page, PROT_NONE), 0);
    Mox8u* left = base + page;
    for (int y = 0; y < 4; ++y) left[16 * y] = static_cast<Mox8u>(10 * (y + 1));
    for (int mode : {1, 2, 8}) {
        EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(left + 1, 16, mode, kAvailLeft), moxStsNoErr);
        EXPECT_EQ(left[1 + 3 * 16], mode == 2 ? 25 : 40) << "mode " << mode;
    }
    munmap(base, 2 * page);
}

TEST(H264IntraPredict, WorkedCases) {
    Guarded<Mox8u> g(16, 8);
    g.fill([] { return 0; });
    // Upper row 10, 20, 30, 40; left column 1, 2, 3, 4.
    for (int x = 0; x < 4; ++x) g.at(kX + x, kY - 1) = static_cast<Mox8u>(10 * (x + 1));
    for (int y = 0; y < 4; ++y) g.at(kX - 1, kY + y) = static_cast<Mox8u>(y + 1);
    // DC: (100 + 10 + 4) >> 3 = 14; upper only: (100 + 2) >> 2 = 25; left only: (10 + 2) >> 2 = 3.
    for (auto [avail, dc] : {std::pair{kAvailUp | kAvailLeft, 14}, {kAvailUp, 25}, {kAvailLeft, 3}}) {
        ASSERT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&g.at(kX, kY), g.step(), 2, avail), moxStsNoErr);
        EXPECT_EQ(block(g, 4), std::vector<int>(16, dc));
    }
    // Horizontal: each row its left sample.
    ASSERT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(&g.at(kX, kY), g.step(), 1, kAvailLeft), moxStsNoErr);
    EXPECT_EQ(block(g, 4), (std::vector<int>{1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4}));
    // 16x16 plane on a flat neighbourhood is flat; on a ramp it is a ramp.
    Guarded<Mox8u> p(24, 20);
    p.fill([] { return 77; });
    ASSERT_EQ(moxiPredictIntra_16x16_H264_8u_C1IR(&p.at(kX, kY), p.step(), 3, kAvailUp | kAvailLeft | kAvailUpLeft),
              moxStsNoErr);
    EXPECT_EQ(block(p, 16), std::vector<int>(256, 77));
}

TEST(H264IntraPredict, ArgumentChecksInOrder) {
    Guarded<Mox8u> g(24, 20);
    Mox8u* p = &g.at(kX, kY);
    // 4x4: null, then step, then mode.
    expectUntouched(moxStsNullPtrErr, [&] { return moxiPredictIntra_4x4_H264_8u_C1IR(nullptr, 3, 9, 0); }, {g});
    expectUntouched(moxStsStepErr, [&] { return moxiPredictIntra_4x4_H264_8u_C1IR(p, 3, 9, 0); }, {g});
    expectUntouched(moxStsStepErr, [&] { return moxiPredictIntra_4x4_H264_8u_C1IR(p, -g.step(), 0, 0); }, {g});
    for (int mode : {-1, 9, 1000})
        expectUntouched(moxStsOutOfRangeErr, [&] { return moxiPredictIntra_4x4_H264_8u_C1IR(p, 4, mode, 0x63); }, {g});
    EXPECT_EQ(moxiPredictIntra_4x4_H264_8u_C1IR(p, 4, 8, 0x63), moxStsNoErr);
    // 16x16 and chroma: null (no step check), then the mode.
    for (PredFn fn : {moxiPredictIntra_16x16_H264_8u_C1IR, moxiPredictIntraChroma8x8_H264_8u_C1IR}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr, g.step(), 7, 0); }, {g});
        for (int mode : {-1, 4, 255})
            expectUntouched(moxStsOutOfRangeErr, [&] { return fn(p, g.step(), mode, 0x63); }, {g});
    }
    // Modes that need a missing neighbour refuse to run.
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntra_16x16_H264_8u_C1IR(p, g.step(), 0, kAvailLeft | kAvailUpLeft); },
                    {g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntra_16x16_H264_8u_C1IR(p, g.step(), 1, kAvailUp | kAvailUpLeft); }, {g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntra_16x16_H264_8u_C1IR(p, g.step(), 3, kAvailUp | kAvailLeft); }, {g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntraChroma8x8_H264_8u_C1IR(p, g.step(), 1, kAvailUp | kAvailUpLeft); },
                    {g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntraChroma8x8_H264_8u_C1IR(p, g.step(), 2, kAvailLeft | kAvailUpLeft); },
                    {g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] { return moxiPredictIntraChroma8x8_H264_8u_C1IR(p, g.step(), 3, kAvailUp | kAvailUpLeft); },
                    {g});
}

}  // namespace
