// VC-1 inverse transforms: every size, residual and add-to-prediction forms,
// against the matrix model on random and full-range coefficients (where the
// 16-bit wrap-around matters), against the standard's butterfly in exact
// integers wherever no value overflows 16 bits, in place, and the checks.
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "vc1/transform_ref.h"

namespace {

using namespace mox::test;

using InvFn = MoxStatus (*)(const Mox16s*, Mox32s, Mox16s*, Mox32s);
using AddFn = MoxStatus (*)(const Mox16s*, Mox32s, const Mox8u*, Mox32s, Mox8u*, Mox32s);

struct Size {
    int w, h;
    InvFn inv;
    AddFn add;
};

const Size kSizes[] = {
    {8, 8, moxiTransform8x8Inv_VC1_16s_C1R, moxiTransform8x8InvAddPred_VC1_16s8u_C1R},
    {8, 4, moxiTransform8x4Inv_VC1_16s_C1R, moxiTransform8x4InvAddPred_VC1_16s8u_C1R},
    {4, 8, moxiTransform4x8Inv_VC1_16s_C1R, moxiTransform4x8InvAddPred_VC1_16s8u_C1R},
    {4, 4, moxiTransform4x4Inv_VC1_16s_C1R, moxiTransform4x4InvAddPred_VC1_16s8u_C1R},
};

// Coefficients: mode 0 sparse and small (typical of coded blocks), 1 the
// standard's range -2048..2047 with its ends, 2 the whole 16-bit range.
void fillCoeffs(Rng& r, Guarded<Mox16s>& c, int mode) {
    c.fill([&] {
        switch (mode) {
            case 0: return r.uniform(0, 3) == 0 ? r.uniform(-300, 300) : 0;
            case 1: return static_cast<int>(r.extreme(-2048, 2047));
            default: return static_cast<int>(r.extreme(-32768, 32767));
        }
    });
}

TEST(TransformVC1, EverySizeAgainstModel) {
    Rng r(8);
    for (const Size& s : kSizes) {
        for (int iter = 0; iter < 600; ++iter) {
            Guarded<Mox16s> coef(s.w, s.h, randomLayout(r, 2));
            fillCoeffs(r, coef, iter % 3);
            Guarded<Mox16s> got(s.w, s.h, randomLayout(r, 2)), want(s.w, s.h);
            ASSERT_EQ(s.inv(coef.ptr(), coef.step(), got.ptr(), got.step()), moxStsNoErr);
            mox::ref::vc1::inverseTransform(coef.ptr(), coef.step(), want.ptr(), want.step(), s.w, s.h);
            ASSERT_EQ(got.samples(), want.samples()) << s.w << "x" << s.h << " mode " << iter % 3;
            ASSERT_TRUE(got.guardsIntact());

            Guarded<Mox8u> pred(s.w, s.h, randomLayout(r, 1)), out(s.w, s.h, randomLayout(r, 1)), ref(s.w, s.h);
            pred.fillRandom(r, 0, 255);
            ASSERT_EQ(s.add(coef.ptr(), coef.step(), pred.ptr(), pred.step(), out.ptr(), out.step()), moxStsNoErr);
            mox::ref::vc1::inverseTransformAdd(coef.ptr(), coef.step(), pred.ptr(), pred.step(), ref.ptr(), ref.step(),
                                               s.w, s.h);
            ASSERT_EQ(out.samples(), ref.samples()) << s.w << "x" << s.h << " add, mode " << iter % 3;
            ASSERT_TRUE(out.guardsIntact());
        }
    }
}

// The standard's even/odd butterfly in exact integers; false when some value
// before a shift leaves the 16-bit range (where wrap-around takes over).
bool fits(long v) { return v >= -32768 && v <= 32767; }
bool exact1D(const long* in, int n, long* out, long rnd, int shift, bool lowerPlusOne) {
    long v[8];
    if (n == 8) {
        const long t1 = 12 * (in[0] + in[4]) + rnd, t2 = 12 * (in[0] - in[4]) + rnd;
        const long t3 = 16 * in[2] + 6 * in[6], t4 = 6 * in[2] - 16 * in[6];
        const long e[4] = {t1 + t3, t2 + t4, t2 - t4, t1 - t3};
        const long o[4] = {16 * in[1] + 15 * in[3] + 9 * in[5] + 4 * in[7], 15 * in[1] - 4 * in[3] - 16 * in[5] - 9 * in[7],
                           9 * in[1] - 16 * in[3] + 4 * in[5] + 15 * in[7], 4 * in[1] - 9 * in[3] + 15 * in[5] - 16 * in[7]};
        for (int k = 0; k < 4; ++k) v[k] = e[k] + o[k], v[7 - k] = e[k] - o[k] + (lowerPlusOne ? 1 : 0);
    } else {
        const long t1 = 17 * (in[0] + in[2]) + rnd, t2 = 17 * (in[0] - in[2]) + rnd;
        const long t3 = 22 * in[1] + 10 * in[3], t4 = 22 * in[3] - 10 * in[1];
        v[0] = t1 + t3, v[1] = t2 - t4, v[2] = t2 + t4, v[3] = t1 - t3;
    }
    for (int k = 0; k < n; ++k) {
        if (!fits(v[k])) return false;
        out[k] = v[k] >> shift;
    }
    return true;
}

TEST(TransformVC1, EqualsExactArithmeticWithinRange) {
    Rng r(21);
    int compared = 0;
    for (const Size& s : kSizes) {
        for (int iter = 0; iter < 3000; ++iter) {
            Guarded<Mox16s> coef(s.w, s.h);
            fillCoeffs(r, coef, iter % 2);
            long tmp[8][8], res[8][8];
            bool ok = true;
            for (int y = 0; y < s.h && ok; ++y) {
                long in[8];
                for (int x = 0; x < s.w; ++x) in[x] = coef.at(x, y);
                ok = exact1D(in, s.w, tmp[y], 4, 3, false);
            }
            for (int x = 0; x < s.w && ok; ++x) {
                long in[8], out[8];
                for (int y = 0; y < s.h; ++y) in[y] = tmp[y][x];
                ok = exact1D(in, s.h, out, 64, 7, s.h == 8);
                for (int y = 0; y < s.h; ++y) res[y][x] = out[y];
            }
            if (!ok) continue;
            ++compared;
            Guarded<Mox16s> got(s.w, s.h);
            ASSERT_EQ(s.inv(coef.ptr(), coef.step(), got.ptr(), got.step()), moxStsNoErr);
            for (int y = 0; y < s.h; ++y)
                for (int x = 0; x < s.w; ++x) ASSERT_EQ(got.at(x, y), res[y][x]) << s.w << "x" << s.h << " at " << x << "," << y;
        }
    }
    EXPECT_GT(compared, 3000);
}

// A lone DC gives the flat block the DC-only shortcut of decoders computes:
// 8x8 ((12 dc + 4) >> 3) then ((12 d + 64) >> 7), likewise 17 for 4 points
// (DCs up to 900 keep every 4x4 value within 16 bits).
TEST(TransformVC1, DcOnlyIsFlat) {
    for (const Size& s : kSizes) {
        for (int dc : {-900, -500, -3, 0, 1, 5, 777, 900}) {
            Guarded<Mox16s> coef(s.w, s.h, {}, 0), got(s.w, s.h);
            coef.fill([] { return 0; });
            coef.at(0, 0) = static_cast<Mox16s>(dc);
            ASSERT_EQ(s.inv(coef.ptr(), coef.step(), got.ptr(), got.step()), moxStsNoErr);
            const int d = ((s.w == 8 ? 12 : 17) * dc + 4) >> 3;
            const int v = ((s.h == 8 ? 12 : 17) * d + 64) >> 7;
            for (Mox16s x : got.samples()) ASSERT_EQ(x, v) << s.w << "x" << s.h << " dc " << dc;
        }
    }
}

TEST(TransformVC1, InPlace) {
    Rng r(3);
    for (const Size& s : kSizes) {
        Guarded<Mox16s> a(s.w, s.h), want(s.w, s.h);
        fillCoeffs(r, a, 1);
        mox::ref::vc1::inverseTransform(a.ptr(), a.step(), want.ptr(), want.step(), s.w, s.h);
        ASSERT_EQ(s.inv(a.ptr(), a.step(), a.ptr(), a.step()), moxStsNoErr);
        EXPECT_EQ(a.samples(), want.samples());
        Guarded<Mox8u> p(s.w, s.h), ref(s.w, s.h);
        p.fillRandom(r, 0, 255);
        fillCoeffs(r, a, 0);
        mox::ref::vc1::inverseTransformAdd(a.ptr(), a.step(), p.ptr(), p.step(), ref.ptr(), ref.step(), s.w, s.h);
        ASSERT_EQ(s.add(a.ptr(), a.step(), p.ptr(), p.step(), p.ptr(), p.step()), moxStsNoErr);
        EXPECT_EQ(p.samples(), ref.samples());
    }
}

TEST(TransformVC1, ChecksInOrder) {
    for (const Size& s : kSizes) {
        Guarded<Mox16s> c(s.w, s.h), d(s.w, s.h);
        Guarded<Mox8u> p(s.w, s.h), o(s.w, s.h);
        const int cs = 2 * s.w, ps = s.w;
        expectUntouched(moxStsNullPtrErr, [&] { return s.inv(nullptr, cs, d.ptr(), cs); }, {d});
        expectUntouched(moxStsNullPtrErr, [&] { return s.inv(c.ptr(), cs, nullptr, 1); }, {c});
        expectUntouched(moxStsStepErr, [&] { return s.inv(c.ptr(), cs - 1, d.ptr(), cs); }, {d});
        expectUntouched(moxStsStepErr, [&] { return s.inv(c.ptr(), cs, d.ptr(), cs - 2); }, {d});
        expectUntouched(moxStsStepErr, [&] { return s.inv(c.ptr(), 1 - cs, d.ptr(), cs); }, {d});
        EXPECT_EQ(s.inv(c.ptr(), cs, d.ptr(), cs), moxStsNoErr);
        expectUntouched(moxStsNullPtrErr, [&] { return s.add(c.ptr(), cs, nullptr, ps, o.ptr(), ps); }, {o});
        expectUntouched(moxStsNullPtrErr, [&] { return s.add(nullptr, 0, p.ptr(), 0, o.ptr(), 0); }, {o});
        expectUntouched(moxStsNullPtrErr, [&] { return s.add(c.ptr(), cs, p.ptr(), ps, nullptr, ps); }, {p});
        expectUntouched(moxStsStepErr, [&] { return s.add(c.ptr(), cs - 2, p.ptr(), ps, o.ptr(), ps); }, {o});
        expectUntouched(moxStsStepErr, [&] { return s.add(c.ptr(), cs, p.ptr(), ps - 1, o.ptr(), ps); }, {o});
        expectUntouched(moxStsStepErr, [&] { return s.add(c.ptr(), cs, p.ptr(), ps, o.ptr(), ps - 1); }, {o});
        EXPECT_EQ(s.add(c.ptr(), cs, p.ptr(), ps, o.ptr(), ps), moxStsNoErr);
    }
}

}  // namespace
