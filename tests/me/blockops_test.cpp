// Copy, average, interpolate-average and residual adds: every member against
// the reference model on random blocks and layouts, every acc and rounding,
// guards around every output, untouched outputs on failure, no read past the
// area a position may touch.
#include <climits>
#include <functional>

#include "common/harness.h"
#include "me/blockops_ref.h"
#include "me/page_end.h"

namespace {

using namespace mox::test;

using PlainFn = MoxStatus (*)(const Mox8u*, int, Mox8u*, int);               // Copy, Average C1IR
using HpFn = MoxStatus (*)(const Mox8u*, int, Mox8u*, int, int, int);        // CopyHP, InterpolateAverage
using AvgFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox8u*, int);

template <class Fn>
struct Case {
    const char* name;
    Fn fn;
    int w, h;
};

const Case<PlainFn> kCopy[] = {{"Copy8x8", moxiCopy8x8_8u_C1R, 8, 8}, {"Copy16x16", moxiCopy16x16_8u_C1R, 16, 16}};
const Case<HpFn> kCopyHP[] = {
    {"Copy8x4HP", moxiCopy8x4HP_8u_C1R, 8, 4},
    {"Copy8x8HP", moxiCopy8x8HP_8u_C1R, 8, 8},
    {"Copy16x8HP", moxiCopy16x8HP_8u_C1R, 16, 8},
    {"Copy16x16HP", moxiCopy16x16HP_8u_C1R, 16, 16},
};
const Case<HpFn> kInterpolateAverage[] = {
    {"InterpolateAverage8x4", moxiInterpolateAverage8x4_8u_C1IR, 8, 4},
    {"InterpolateAverage8x8", moxiInterpolateAverage8x8_8u_C1IR, 8, 8},
    {"InterpolateAverage16x8", moxiInterpolateAverage16x8_8u_C1IR, 16, 8},
    {"InterpolateAverage16x16", moxiInterpolateAverage16x16_8u_C1IR, 16, 16},
};
const Case<AvgFn> kAverage[] = {{"Average8x8", moxiAverage8x8_8u_C1R, 8, 8},
                                {"Average16x16", moxiAverage16x16_8u_C1R, 16, 16}};
const Case<PlainFn> kAverageI[] = {{"Average8x8I", moxiAverage8x8_8u_C1IR, 8, 8},
                                   {"Average16x16I", moxiAverage16x16_8u_C1IR, 16, 16}};

// Roundings the masked members must reduce to their low bit.
const int kRoundings[] = {0, 1, 2, 3, -1, -2, 1000, INT_MIN, INT_MAX};

struct Src {  // a source block with the extra column and row half positions read
    Guarded<Mox8u> g;
    Src(Rng& r, int w, int h) : g(w + 1, h + 1, randomLayout(r, 1)) { g.fillRandom(r, 0, 255); }
};

TEST(BlockOps, CopiesMatchReference) {
    Rng r(11);
    for (const auto& c : kCopy) {
        for (int iter = 0; iter < 50; ++iter) {
            Src s(r, c.w, c.h);
            Guarded<Mox8u> got(c.w, c.h, randomLayout(r, 1)), want(c.w, c.h);
            ASSERT_EQ(c.fn(s.g.ptr(), s.g.step(), got.ptr(), got.step()), moxStsNoErr);
            mox::ref::copy(s.g.ptr(), s.g.step(), want.ptr(), want.step(), c.w, c.h);
            ASSERT_EQ(got.samples(), want.samples()) << c.name;
            ASSERT_TRUE(got.guardsIntact()) << c.name;
        }
    }
    for (const auto& c : kCopyHP) {
        for (int iter = 0; iter < 400; ++iter) {
            const int acc = iter % 8, rounding = kRoundings[r.uniform(0, 8)];
            Src s(r, c.w, c.h);
            Guarded<Mox8u> got(c.w, c.h, randomLayout(r, 1)), want(c.w, c.h);
            ASSERT_EQ(c.fn(s.g.ptr(), s.g.step(), got.ptr(), got.step(), acc, rounding), moxStsNoErr);
            mox::ref::copyHP(s.g.ptr(), s.g.step(), want.ptr(), want.step(), c.w, c.h, acc, rounding);
            ASSERT_EQ(got.samples(), want.samples()) << c.name << " acc " << acc << " rounding " << rounding;
            ASSERT_TRUE(got.guardsIntact()) << c.name;
        }
    }
}

TEST(BlockOps, AveragesMatchReference) {
    Rng r(12);
    for (int k = 0; k < 2; ++k) {
        const auto& c = kAverage[k];
        const auto& ci = kAverageI[k];
        for (int iter = 0; iter < 100; ++iter) {
            Guarded<Mox8u> a(c.w, c.h, randomLayout(r, 1)), b(c.w, c.h, randomLayout(r, 1));
            a.fillRandom(r, 0, 255);
            b.fillRandom(r, 0, 255);
            Guarded<Mox8u> got(c.w, c.h, randomLayout(r, 1)), want(c.w, c.h);
            ASSERT_EQ(c.fn(a.ptr(), a.step(), b.ptr(), b.step(), got.ptr(), got.step()), moxStsNoErr);
            mox::ref::average(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), c.w, c.h);
            ASSERT_EQ(got.samples(), want.samples()) << c.name;
            ASSERT_TRUE(got.guardsIntact()) << c.name;
            // In place: b becomes the average.
            ASSERT_EQ(ci.fn(a.ptr(), a.step(), b.ptr(), b.step()), moxStsNoErr);
            ASSERT_EQ(b.samples(), want.samples()) << ci.name;
            ASSERT_TRUE(b.guardsIntact()) << ci.name;
        }
    }
    for (const auto& c : kInterpolateAverage) {
        for (int iter = 0; iter < 400; ++iter) {
            const int acc = iter % 8, rounding = kRoundings[r.uniform(0, 8)];
            Src s(r, c.w, c.h);
            Guarded<Mox8u> got(c.w, c.h, randomLayout(r, 1)), want(c.w, c.h);
            got.fillRandom(r, 0, 255);
            for (int y = 0; y < c.h; ++y)
                for (int x = 0; x < c.w; ++x) want.at(x, y) = got.at(x, y);
            ASSERT_EQ(c.fn(s.g.ptr(), s.g.step(), got.ptr(), got.step(), acc, rounding), moxStsNoErr);
            mox::ref::interpolateAverage(s.g.ptr(), s.g.step(), want.ptr(), want.step(), c.w, c.h, acc, rounding);
            ASSERT_EQ(got.samples(), want.samples()) << c.name << " acc " << acc << " rounding " << rounding;
            ASSERT_TRUE(got.guardsIntact()) << c.name;
        }
    }
}

// Residuals over the whole 16-bit range (wrapping sums) or near the clamp.
void fillResidual(Rng& r, Guarded<Mox16s>& g) {
    if (r.coin()) g.fillRandom(r, -32768, 32767);
    else g.fillRandom(r, -300, 300);
}

TEST(BlockOps, AddsMatchReference) {
    Rng r(13);
    for (int iter = 0; iter < 400; ++iter) {
        Guarded<Mox16s> res(8, 8, randomLayout(r, 2));
        fillResidual(r, res);
        Guarded<Mox8u> got(8, 8, randomLayout(r, 1)), want(8, 8);
        got.fillRandom(r, 0, 255);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) want.at(x, y) = got.at(x, y);
        Guarded<Mox8u> gotC(8, 8, randomLayout(r, 1)), wantC(8, 8);
        gotC.fillRandom(r, 0, 255);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) wantC.at(x, y) = gotC.at(x, y);

        ASSERT_EQ(moxiAdd8x8_16s8u_C1IRS(res.ptr(), res.step(), got.ptr(), got.step()), moxStsNoErr);
        mox::ref::add(res.ptr(), res.step(), want.ptr(), want.step(), 8, 8);
        ASSERT_EQ(got.samples(), want.samples()) << "Add8x8";
        ASSERT_TRUE(got.guardsIntact());

        const Mox16s value = static_cast<Mox16s>(r.extreme(-32768, 32767));
        ASSERT_EQ(moxiAddC8x8_16s8u_C1IR(value, gotC.ptr(), gotC.step()), moxStsNoErr);
        mox::ref::addC(value, wantC.ptr(), wantC.step(), 8, 8);
        ASSERT_EQ(gotC.samples(), wantC.samples()) << "AddC8x8 value " << value;
        ASSERT_TRUE(gotC.guardsIntact());

        const int acc = iter % 8, rounding = kRoundings[r.uniform(0, 8)];
        Src s(r, 8, 8);
        Guarded<Mox8u> gotHP(8, 8, randomLayout(r, 1)), wantHP(8, 8);
        ASSERT_EQ(moxiAdd8x8HP_16s8u_C1RS(res.ptr(), res.step(), s.g.ptr(), s.g.step(), gotHP.ptr(), gotHP.step(), acc,
                                          rounding),
                  moxStsNoErr);
        mox::ref::addHP(res.ptr(), res.step(), s.g.ptr(), s.g.step(), wantHP.ptr(), wantHP.step(), 8, 8, acc,
                        rounding);
        ASSERT_EQ(gotHP.samples(), wantHP.samples()) << "Add8x8HP acc " << acc << " rounding " << rounding;
        ASSERT_TRUE(gotHP.guardsIntact());
    }
}

// Hand-computed values that pin the rounding table and the masking of the
// mode arguments independently of the reference model.
TEST(BlockOps, RoundingTableAndMasking) {
    // a b / c d = 1 2 / 3 4 at every sample: h (a+b+1-r)>>1, v (a+c+1-r)>>1, hv (10+2-r)>>2.
    alignas(16) Mox8u src[5 * 32];
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 32; ++x) src[32 * y + x] = static_cast<Mox8u>(1 + x % 2 + 2 * (y % 2));
    // Even columns see a=1,b=2 (h) and c=3 (v); check column 0.
    const int expect[4][2] = {{1, 1}, {2, 1}, {2, 2}, {3, 2}};  // [acc][rounding]
    for (int acc = 0; acc < 8; ++acc) {
        for (int rounding : {0, 1, 2, 3}) {
            Mox8u dst[8 * 4] = {};
            ASSERT_EQ(moxiCopy8x4HP_8u_C1R(src, 32, dst, 8, acc, rounding), moxStsNoErr);
            EXPECT_EQ(dst[0], expect[acc & 3][rounding & 1]) << "acc " << acc << " rounding " << rounding;
        }
    }
    // acc 5 is acc 1 and rounding 3 is rounding 1, on random data too.
    Rng r(14);
    Guarded<Mox8u> s(17, 17);
    s.fillRandom(r, 0, 255);
    Guarded<Mox8u> d1(16, 16), d2(16, 16);
    moxiCopy16x16HP_8u_C1R(s.ptr(), s.step(), d1.ptr(), d1.step(), 5, 3);
    moxiCopy16x16HP_8u_C1R(s.ptr(), s.step(), d2.ptr(), d2.step(), 1, 1);
    EXPECT_EQ(d1.samples(), d2.samples());
    // Average rounds halves up; interpolate-average too, after its own rounding.
    Mox8u a[64], b[64], out[64];
    for (int i = 0; i < 64; ++i) a[i] = 1, b[i] = 2;
    moxiAverage8x8_8u_C1R(a, 8, b, 8, out, 8);
    EXPECT_EQ(out[0], 2);
}

TEST(BlockOps, AddsWrapIn16BitsBeforeClamping) {
    Mox8u d[64];
    for (int i = 0; i < 64; ++i) d[i] = static_cast<Mox8u>(i % 2);  // 0, 1, 0, 1, ...
    ASSERT_EQ(moxiAddC8x8_16s8u_C1IR(32767, d, 8), moxStsNoErr);
    EXPECT_EQ(d[0], 255);  // 0 + 32767
    EXPECT_EQ(d[1], 0);    // 1 + 32767 wraps to -32768
    Mox16s res[64];
    for (int i = 0; i < 64; ++i) {
        d[i] = 200;
        res[i] = static_cast<Mox16s>(i == 0 ? 100 : (i == 1 ? -300 : 32767));
    }
    ASSERT_EQ(moxiAdd8x8_16s8u_C1IRS(res, 16, d, 8), moxStsNoErr);
    EXPECT_EQ(d[0], 255);  // clamped, not 44
    EXPECT_EQ(d[1], 0);
    EXPECT_EQ(d[2], 0);    // 200 + 32767 wraps negative
}

TEST(BlockOps, NullPointersLeaveOutputsUntouched) {
    Guarded<Mox8u> s(17, 17), d(16, 16);
    Guarded<Mox16s> res(8, 8);
    const Mox8u* ps = s.ptr();
    Mox8u* pd = d.ptr();
    for (const auto& c : kCopy) {
        expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, 16, pd, d.step()); }, {d});
        EXPECT_EQ(c.fn(ps, s.step(), nullptr, 16), moxStsNullPtrErr);
    }
    for (const auto* table : {kCopyHP, kInterpolateAverage}) {
        for (int k = 0; k < 4; ++k) {
            expectUntouched(moxStsNullPtrErr, [&] { return table[k].fn(nullptr, 17, pd, d.step(), 3, 0); }, {d});
            EXPECT_EQ(table[k].fn(ps, s.step(), nullptr, 16, 3, 0), moxStsNullPtrErr);
        }
    }
    for (const auto& c : kAverage) {
        expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, 16, ps, s.step(), pd, d.step()); }, {d});
        expectUntouched(moxStsNullPtrErr, [&] { return c.fn(ps, s.step(), nullptr, 16, pd, d.step()); }, {d});
        EXPECT_EQ(c.fn(ps, s.step(), ps, s.step(), nullptr, 16), moxStsNullPtrErr);
    }
    for (const auto& c : kAverageI) {
        expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, 16, pd, d.step()); }, {d});
        EXPECT_EQ(c.fn(nullptr, 16, nullptr, 16), moxStsNullPtrErr);
    }
    expectUntouched(moxStsNullPtrErr, [&] { return moxiAdd8x8_16s8u_C1IRS(nullptr, 16, pd, d.step()); }, {d});
    EXPECT_EQ(moxiAdd8x8_16s8u_C1IRS(res.ptr(), res.step(), nullptr, 16), moxStsNullPtrErr);
    expectUntouched(moxStsNullPtrErr,
                    [&] { return moxiAdd8x8HP_16s8u_C1RS(nullptr, 16, ps, s.step(), pd, d.step(), 3, 1); }, {d});
    expectUntouched(moxStsNullPtrErr,
                    [&] { return moxiAdd8x8HP_16s8u_C1RS(res.ptr(), 16, nullptr, 17, pd, d.step(), 3, 1); }, {d});
    EXPECT_EQ(moxiAdd8x8HP_16s8u_C1RS(res.ptr(), 16, ps, s.step(), nullptr, 16, 3, 1), moxStsNullPtrErr);
    EXPECT_EQ(moxiAddC8x8_16s8u_C1IR(5, nullptr, 16), moxStsNullPtrErr);
}

// Each member on a source that ends where the readable memory ends, for the
// area its position may read: w x h at the full position, one more column
// and/or row at the half positions.
TEST(BlockOps, ReadsStayInsideTheirArea) {
    for (int acc = 0; acc < 4; ++acc) {
        const int ex = acc & 1, ey = acc >> 1;
        auto area = [&](int w, int h) { return PageEnd(w + ex, h + ey); };
        for (const auto* table : {kCopyHP, kInterpolateAverage}) {
            for (int k = 0; k < 4; ++k) {
                const auto& c = table[k];
                PageEnd src = area(c.w, c.h), dst(c.w, c.h);
                ASSERT_TRUE(src.ok() && dst.ok());
                EXPECT_EQ(c.fn(src.ptr(), src.step(), dst.ptr(), dst.step(), acc, 0), moxStsNoErr) << c.name;
            }
        }
        PageEnd src = area(8, 8), res(16, 8), dst(8, 8);
        ASSERT_TRUE(src.ok() && res.ok() && dst.ok());
        EXPECT_EQ(moxiAdd8x8HP_16s8u_C1RS(res.ptr<Mox16s>(), 16, src.ptr(), src.step(), dst.ptr(), 8, acc, 1),
                  moxStsNoErr);
    }
    for (const auto& c : kCopy) {
        PageEnd src(c.w, c.h), dst(c.w, c.h);
        EXPECT_EQ(c.fn(src.ptr(), c.w, dst.ptr(), c.w), moxStsNoErr);
    }
    for (const auto& c : kAverage) {
        PageEnd a(c.w, c.h), b(c.w, c.h), dst(c.w, c.h);
        EXPECT_EQ(c.fn(a.ptr(), c.w, b.ptr(), c.w, dst.ptr(), c.w), moxStsNoErr);
        EXPECT_EQ(kAverageI[&c - kAverage].fn(a.ptr(), c.w, dst.ptr(), c.w), moxStsNoErr);
    }
    PageEnd res(16, 8), dst(8, 8);
    EXPECT_EQ(moxiAdd8x8_16s8u_C1IRS(res.ptr<Mox16s>(), 16, dst.ptr(), 8), moxStsNoErr);
    EXPECT_EQ(moxiAddC8x8_16s8u_C1IR(-7, dst.ptr(), 8), moxStsNoErr);
}

}  // namespace
