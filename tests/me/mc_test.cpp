// Motion compensation and encoder differences: every member against the
// reference model on random blocks, positions, rounding controls (including
// the ones the 4- and 2-wide members and GetDiff take unmasked), residuals
// over the whole 16-bit range, random layouts; guards, failures, reads
// bounded to the area a position may touch, and the hand-worked cases.
#include <climits>

#include "common/harness.h"
#include "me/blockops_ref.h"
#include "me/page_end.h"

namespace {

using namespace mox::test;
using mox::ref::McShape;
using mox::ref::Residual;

using McFn = MoxStatus (*)(const Mox8u*, int, const Mox16s*, int, Mox8u*, int, int, int);
using McBFn = MoxStatus (*)(const Mox8u*, int, int, const Mox8u*, int, int, const Mox16s*, int, Mox8u*, int, int);
using UvFn = MoxStatus (*)(const Mox8u*, int, const Mox16s*, const Mox16s*, int, Mox8u*, int, int, int);
using UvBFn = MoxStatus (*)(const Mox8u*, int, int, const Mox8u*, int, int, const Mox16s*, const Mox16s*, int, Mox8u*,
                            int, int);
using DiffFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16s*, int, Mox16s*, int, int, int);
using DiffBFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, int, const Mox8u*, int, int, Mox16s*, int, int);
using DiffC2Fn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16s*, Mox16s*, int, int, int);
using DiffC2BFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, int, const Mox8u*, int, int, Mox16s*, Mox16s*,
                                int, int);

struct McCase {
    const char* name;
    McFn one;
    McBFn two;
    McShape shape;
};

constexpr McShape rows(int w, int h) { return {w, h, 1, Residual::Rows, w < 8}; }
constexpr McShape stacked(int h) { return {16, h, 1, Residual::Stacked, false}; }

const McCase kMc[] = {
    {"MC16x16", moxiMC16x16_8u_C1, moxiMC16x16B_8u_C1, rows(16, 16)},
    {"MC16x8", moxiMC16x8_8u_C1, moxiMC16x8B_8u_C1, rows(16, 8)},
    {"MC8x16", moxiMC8x16_8u_C1, moxiMC8x16B_8u_C1, rows(8, 16)},
    {"MC8x8", moxiMC8x8_8u_C1, moxiMC8x8B_8u_C1, rows(8, 8)},
    {"MC8x4", moxiMC8x4_8u_C1, moxiMC8x4B_8u_C1, rows(8, 4)},
    {"MC4x8", moxiMC4x8_8u_C1, moxiMC4x8B_8u_C1, rows(4, 8)},
    {"MC4x4", moxiMC4x4_8u_C1, moxiMC4x4B_8u_C1, rows(4, 4)},
    {"MC4x2", moxiMC4x2_8u_C1, moxiMC4x2B_8u_C1, rows(4, 2)},
    {"MC2x4", moxiMC2x4_8u_C1, moxiMC2x4B_8u_C1, rows(2, 4)},
    {"MC2x2", moxiMC2x2_8u_C1, moxiMC2x2B_8u_C1, rows(2, 2)},
    {"MC16x4", moxiMC16x4_8u_C1, moxiMC16x4B_8u_C1, stacked(4)},
    {"MC16x8UV", moxiMC16x8UV_8u_C1, moxiMC16x8BUV_8u_C1, stacked(8)},
};

struct UvCase {
    const char* name;
    UvFn one;
    UvBFn two;
    int h;
};
const UvCase kUv[] = {{"MC8x8_P2C2R", moxiMC8x8_16s8u_P2C2R, moxiMC8x8B_16s8u_P2C2R, 8},
                      {"MC8x4_P2C2R", moxiMC8x4_16s8u_P2C2R, moxiMC8x4B_16s8u_P2C2R, 4}};

struct DiffCase {
    const char* name;
    DiffFn one;
    DiffBFn two;  // null: no two-reference form
    int w, h;
};
const DiffCase kDiff[] = {
    {"GetDiff16x16", moxiGetDiff16x16_8u16s_C1, moxiGetDiff16x16B_8u16s_C1, 16, 16},
    {"GetDiff16x8", moxiGetDiff16x8_8u16s_C1, moxiGetDiff16x8B_8u16s_C1, 16, 8},
    {"GetDiff8x16", moxiGetDiff8x16_8u16s_C1, moxiGetDiff8x16B_8u16s_C1, 8, 16},
    {"GetDiff8x8", moxiGetDiff8x8_8u16s_C1, moxiGetDiff8x8B_8u16s_C1, 8, 8},
    {"GetDiff8x4", moxiGetDiff8x4_8u16s_C1, moxiGetDiff8x4B_8u16s_C1, 8, 4},
    {"GetDiff4x4", moxiGetDiff4x4_8u16s_C1, nullptr, 4, 4},
};

struct DiffC2Case {
    const char* name;
    DiffC2Fn one;
    DiffC2BFn two;
    int h;
};
const DiffC2Case kDiffC2[] = {{"GetDiff8x8_C2P2", moxiGetDiff8x8_8u16s_C2P2, moxiGetDiff8x8B_8u16s_C2P2, 8},
                              {"GetDiff8x4_C2P2", moxiGetDiff8x4_8u16s_C2P2, moxiGetDiff8x4B_8u16s_C2P2, 4}};

// Controls around every threshold of the unmasked arithmetic.
int control(Rng& r) {
    static const int k[] = {0, 1, 0, 1, 2, 3, -1, -2, 1000, -1000, (1 << 20) - 1, 1 << 20, (1 << 20) + 1,
                            -(1 << 20) - 1, -(1 << 20), 1 << 18, -(1 << 17), INT_MAX, INT_MIN};
    return r.coin() ? k[r.uniform(0, sizeof(k) / sizeof(k[0]) - 1)] : static_cast<int>(r.range(INT_MIN, INT_MAX));
}

void fillSamples(Rng& r, Guarded<Mox8u>& g) {
    switch (r.uniform(0, 3)) {
        case 0: g.fill([] { return 255; }); break;  // largest sums
        case 1: g.fill([&] { return r.coin() ? 255 : 0; }); break;
        default: g.fillRandom(r, 0, 255);
    }
}

void fillResidual(Rng& r, Guarded<Mox16s>& g) {
    if (r.coin()) g.fillRandom(r, -32768, 32767);
    else g.fillRandom(r, -300, 300);
}

// The inputs of one MC call: references with their extra column and row,
// residual planes (U and V share a step), destination.
struct McInputs {
    McShape s;
    Guarded<Mox8u> refF, refB, got, want;
    Layout resLayout;
    Guarded<Mox16s> res0, res1;
    int mcF, mcB, rc;

    static int resW(const McShape& s) { return s.residual == Residual::Stacked ? s.w / 2 : s.w; }
    static int resH(const McShape& s) { return s.residual == Residual::Stacked ? 2 * s.h : s.h; }

    McInputs(Rng& r, const McShape& shape)
        : s(shape),
          refF((s.w + 1) * s.channels, s.h + 1, randomLayout(r, 1)),
          refB((s.w + 1) * s.channels, s.h + 1, randomLayout(r, 1)),
          got(s.w * s.channels, s.h, randomLayout(r, 1)),
          want(s.w * s.channels, s.h),
          resLayout(randomLayout(r, 2)),
          res0(resW(s), resH(s), resLayout),
          res1(resW(s), resH(s), resLayout),
          mcF(r.uniform(0, 15)),
          mcB(r.uniform(0, 15)),
          rc(control(r)) {
        fillSamples(r, refF);
        fillSamples(r, refB);
        fillResidual(r, res0);
        fillResidual(r, res1);
    }
    void expect(int nRefs) {
        const Mox8u* refs[] = {refF.ptr(), refB.ptr()};
        const int steps[] = {refF.step(), refB.step()}, types[] = {mcF, mcB};
        mox::ref::mc(s, refs, steps, types, nRefs, res0.ptr(), res1.ptr(), res0.step(), want.ptr(), want.step(), rc);
    }
    ::testing::AssertionResult matches() {
        if (!got.guardsIntact()) return got.guardsIntact();
        if (got.samples() != want.samples())
            return ::testing::AssertionFailure() << "mcTypes " << mcF << ", " << mcB << " control " << rc;
        return ::testing::AssertionSuccess();
    }
};

TEST(MC, OneAndTwoReferencesMatchReference) {
    Rng r(21);
    for (const auto& c : kMc) {
        for (int iter = 0; iter < 600; ++iter) {
            McInputs in(r, c.shape);
            if (iter % 2 == 0) {
                ASSERT_EQ(c.one(in.refF.ptr(), in.refF.step(), in.res0.ptr(), in.res0.step(), in.got.ptr(),
                                in.got.step(), in.mcF, in.rc),
                          moxStsNoErr);
                in.expect(1);
            } else {
                ASSERT_EQ(c.two(in.refF.ptr(), in.refF.step(), in.mcF, in.refB.ptr(), in.refB.step(), in.mcB,
                                in.res0.ptr(), in.res0.step(), in.got.ptr(), in.got.step(), in.rc),
                          moxStsNoErr);
                in.expect(2);
            }
            ASSERT_TRUE(in.matches()) << c.name << (iter % 2 ? "B" : "");
        }
    }
    for (const auto& c : kUv) {
        for (int iter = 0; iter < 600; ++iter) {
            McInputs in(r, {8, c.h, 2, Residual::Planar, false});
            if (iter % 2 == 0) {
                ASSERT_EQ(c.one(in.refF.ptr(), in.refF.step(), in.res0.ptr(), in.res1.ptr(), in.res0.step(),
                                in.got.ptr(), in.got.step(), in.mcF, in.rc),
                          moxStsNoErr);
                in.expect(1);
            } else {
                ASSERT_EQ(c.two(in.refF.ptr(), in.refF.step(), in.mcF, in.refB.ptr(), in.refB.step(), in.mcB,
                                in.res0.ptr(), in.res1.ptr(), in.res0.step(), in.got.ptr(), in.got.step(), in.rc),
                          moxStsNoErr);
                in.expect(2);
            }
            ASSERT_TRUE(in.matches()) << c.name << (iter % 2 ? "B" : "");
        }
    }
}

// The inputs of one GetDiff call, channels 1 or 2 (interleaved).
struct DiffInputs {
    int w, h, ch;
    Guarded<Mox8u> cur, refF, refB;
    Layout outLayout;
    Guarded<Mox16s> got0, got1, want0, want1, gotPred, wantPred;
    int mcF, mcB, rc;
    bool withPred;

    DiffInputs(Rng& r, int w_, int h_, int ch_)
        : w(w_), h(h_), ch(ch_),
          cur(w * ch, h, randomLayout(r, 1)),
          refF((w + 1) * ch, h + 1, randomLayout(r, 1)),
          refB((w + 1) * ch, h + 1, randomLayout(r, 1)),
          outLayout(randomLayout(r, 2)),
          got0(w, h, outLayout), got1(w, h, outLayout), want0(w, h), want1(w, h),
          gotPred(w, h, randomLayout(r, 2)), wantPred(w, h),
          mcF(r.uniform(0, 15)), mcB(r.uniform(0, 15)), rc(control(r)), withPred(r.coin()) {
        fillSamples(r, cur);
        fillSamples(r, refF);
        fillSamples(r, refB);
    }
    void expect(int nRefs) {
        const Mox8u* refs[] = {refF.ptr(), refB.ptr()};
        const int steps[] = {refF.step(), refB.step()}, types[] = {mcF, mcB};
        Mox16s* diff[] = {want0.ptr(), want1.ptr()};
        mox::ref::getDiff(w, h, ch, cur.ptr(), cur.step(), refs, steps, types, nRefs, diff, want0.step(),
                          withPred && nRefs == 1 && ch == 1 ? wantPred.ptr() : nullptr, wantPred.step(), rc);
    }
    ::testing::AssertionResult matches(int nRefs) {
        for (auto* g : {&got0, &got1, &gotPred})
            if (!g->guardsIntact()) return g->guardsIntact();
        bool ok = got0.samples() == want0.samples() && (ch == 1 || got1.samples() == want1.samples());
        if (withPred && nRefs == 1 && ch == 1) ok = ok && gotPred.samples() == wantPred.samples();
        if (!ok) return ::testing::AssertionFailure() << "mcTypes " << mcF << ", " << mcB << " control " << rc;
        return ::testing::AssertionSuccess();
    }
};

TEST(GetDiff, OneAndTwoReferencesMatchReference) {
    Rng r(22);
    for (const auto& c : kDiff) {
        for (int iter = 0; iter < 600; ++iter) {
            DiffInputs in(r, c.w, c.h, 1);
            const int nRefs = c.two && iter % 2 ? 2 : 1;
            if (nRefs == 1) {
                ASSERT_EQ(c.one(in.cur.ptr(), in.cur.step(), in.refF.ptr(), in.refF.step(), in.got0.ptr(),
                                in.got0.step(), in.withPred ? in.gotPred.ptr() : nullptr, in.gotPred.step(), in.mcF,
                                in.rc),
                          moxStsNoErr);
            } else {
                ASSERT_EQ(c.two(in.cur.ptr(), in.cur.step(), in.refF.ptr(), in.refF.step(), in.mcF, in.refB.ptr(),
                                in.refB.step(), in.mcB, in.got0.ptr(), in.got0.step(), in.rc),
                          moxStsNoErr);
            }
            in.expect(nRefs);
            ASSERT_TRUE(in.matches(nRefs)) << c.name << (nRefs == 2 ? "B" : "");
        }
    }
    for (const auto& c : kDiffC2) {
        for (int iter = 0; iter < 600; ++iter) {
            DiffInputs in(r, 8, c.h, 2);
            const int nRefs = 1 + iter % 2;
            if (nRefs == 1) {
                ASSERT_EQ(c.one(in.cur.ptr(), in.cur.step(), in.refF.ptr(), in.refF.step(), in.got0.ptr(),
                                in.got1.ptr(), in.got0.step(), in.mcF, in.rc),
                          moxStsNoErr);
            } else {
                ASSERT_EQ(c.two(in.cur.ptr(), in.cur.step(), in.refF.ptr(), in.refF.step(), in.mcF, in.refB.ptr(),
                                in.refB.step(), in.mcB, in.got0.ptr(), in.got1.ptr(), in.got0.step(), in.rc),
                          moxStsNoErr);
            }
            in.expect(nRefs);
            ASSERT_TRUE(in.matches(nRefs)) << c.name << (nRefs == 2 ? "B" : "");
        }
    }
}

// ---------------------------------------------------------------- worked cases

// A 17x17 reference whose 2x2 neighbourhoods all hold a b / c d.
std::vector<Mox8u> quad(int a, int b, int c, int d) {
    std::vector<Mox8u> v(18 * 17);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 18; ++x) v[18 * y + x] = static_cast<Mox8u>(y % 2 ? (x % 2 ? d : c) : (x % 2 ? b : a));
    return v;
}

TEST(MC, WorkedCases) {
    std::vector<Mox16s> zero(16 * 32, 0);
    Mox8u out[16 * 16], out2[16 * 16];
    // Half-half of 1 2 / 3 5 (sum 11): the 2-wide member uses the control
    // unmasked, (11 + 2 - 2) / 4 = 2, while the 16-wide one takes 2 & 1 = 0.
    auto ref = quad(1, 2, 3, 5);
    ASSERT_EQ(moxiMC2x2_8u_C1(ref.data(), 18, zero.data(), 4, out, 2, 12, 2), moxStsNoErr);
    EXPECT_EQ(out[0], 2);
    ASSERT_EQ(moxiMC2x2_8u_C1(ref.data(), 18, zero.data(), 4, out, 2, 12, 0), moxStsNoErr);
    EXPECT_EQ(out[0], 3);
    moxiMC16x16_8u_C1(ref.data(), 18, zero.data(), 32, out, 16, 12, 2);
    moxiMC16x16_8u_C1(ref.data(), 18, zero.data(), 32, out2, 16, 12, 0);
    EXPECT_EQ(std::vector<Mox8u>(out, out + 256), std::vector<Mox8u>(out2, out2 + 256));
    EXPECT_EQ(out[0], 3);
    // mcType 7 is mcType 4 (vertical half): (1 + 3 + 1) >> 1.
    moxiMC16x16_8u_C1(ref.data(), 18, zero.data(), 32, out, 16, 7, 0);
    EXPECT_EQ(out[0], 2);
    moxiMC16x16_8u_C1(ref.data(), 18, zero.data(), 32, out2, 16, 4, 0);
    EXPECT_EQ(std::vector<Mox8u>(out, out + 256), std::vector<Mox8u>(out2, out2 + 256));

    // Unmasked control: half positions floor, half-half truncates toward zero.
    auto zeros = quad(0, 0, 0, 0);
    std::vector<Mox16s> ones(16 * 32, 1);
    moxiMC2x2_8u_C1(zeros.data(), 18, ones.data(), 4, out, 2, 8, 2);  // (0 + 0 + 1 - 2) >> 1 = -1, + 1
    EXPECT_EQ(out[0], 0);
    moxiMC2x2_8u_C1(zeros.data(), 18, ones.data(), 4, out, 2, 12, 3);  // (0 + 2 - 3) / 4 = 0, + 1
    EXPECT_EQ(out[0], 1);

    // Clamped, never wrapped modulo 256; 16- and 8-wide sums wrap in 16 bits
    // first, 4- and 2-wide sums are exact.
    auto flat = quad(200, 200, 200, 200);
    for (const auto& c : kMc) {
        std::vector<Mox16s> res(16 * 32, 100), neg(16 * 32, -250), big(16 * 32, 32767);
        c.one(flat.data(), 18, res.data(), 32, out, 16, 0, 0);
        EXPECT_EQ(out[0], 255) << c.name;
        c.one(flat.data(), 18, neg.data(), 32, out, 16, 12, 1);
        EXPECT_EQ(out[0], 0) << c.name;
        c.one(flat.data(), 18, big.data(), 32, out, 16, 0, 0);
        EXPECT_EQ(out[0], c.shape.exact ? 255 : 0) << c.name;
        // Two references average with halves up whatever the control: (200 + 201 + 1) >> 1.
        auto flat201 = quad(201, 201, 201, 201);
        c.two(flat.data(), 18, 0, flat201.data(), 18, 0, zero.data(), 32, out, 16, 1);
        EXPECT_EQ(out[0], 201) << c.name;
    }

    // 16x4: left 8 columns from residual rows 0..3, right 8 from rows 4..7.
    std::vector<Mox16s> res(8 * 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) res[8 * y + x] = static_cast<Mox16s>(10 * y + x);
    auto z = quad(0, 0, 0, 0);
    moxiMC16x4_8u_C1(z.data(), 18, res.data(), 16, out, 16, 0, 0);
    EXPECT_EQ(out[16 * 2 + 3], 23);
    EXPECT_EQ(out[16 * 2 + 8 + 3], 63);

    // Interleaved chroma: U residual to even bytes, V to odd ones; the
    // horizontal neighbour of a U sample is the next U sample.
    std::vector<Mox8u> uv(18 * 9);
    for (int i = 0; i < 18 * 9; ++i) uv[i] = static_cast<Mox8u>(i % 2 ? 100 : 10 * ((i % 18) / 2));
    std::vector<Mox16s> u(8 * 8, 5), v(8 * 8, -5);
    Mox8u dst[16 * 8];
    moxiMC8x8_16s8u_P2C2R(uv.data(), 18, u.data(), v.data(), 16, dst, 16, 8, 0);
    EXPECT_EQ(dst[0], (0 + 10 + 1) / 2 + 5);
    EXPECT_EQ(dst[1], 100 - 5);
    EXPECT_EQ(dst[14], (70 + 80 + 1) / 2 + 5);
}

TEST(GetDiff, WorkedCases) {
    // Rounding term 1 - control with arithmetic shifts: at a half position of
    // zeros, control 2 predicts (0 + 0 - 1) >> 1 = -1 and control 3 at
    // half-half (0 + 2 - 3) >> 2 = -1.
    auto z = quad(0, 0, 0, 0);
    std::vector<Mox8u> cur(16 * 16, 7);
    Mox16s diff[16 * 16], pred[16 * 16];
    ASSERT_EQ(moxiGetDiff16x16_8u16s_C1(cur.data(), 16, z.data(), 18, diff, 32, pred, 32, 8, 2), moxStsNoErr);
    EXPECT_EQ(diff[0], 8);
    EXPECT_EQ(pred[0], -1);
    moxiGetDiff4x4_8u16s_C1(cur.data(), 16, z.data(), 18, diff, 8, pred, 8, 12, 3);
    EXPECT_EQ(diff[0], 8);
    EXPECT_EQ(pred[0], -1);
    // Controls 0 and 1 are the rounding table; 5 at half-half of 1 2 / 3 5:
    // (11 + 2 - 5) >> 2 = 2.
    auto q = quad(1, 2, 3, 5);
    const int expect[][2] = {{0, 7 - 3}, {1, 7 - 3}, {5, 7 - 2}};
    for (const auto& e : expect) {
        moxiGetDiff8x8_8u16s_C1(cur.data(), 16, q.data(), 18, diff, 16, nullptr, 0, 12, e[0]);
        EXPECT_EQ(diff[0], e[1]) << "control " << e[0];
    }
    // A huge control: the prediction's low 16 bits, (1 + 2 + 1 - INT_MIN) >> 1 = 2 + 2^30.
    moxiGetDiff8x8_8u16s_C1(cur.data(), 16, q.data(), 18, diff, 16, pred, 16, 8, INT_MIN);
    EXPECT_EQ(pred[0], 2);
    // Two references: (f + b + 1) >> 1 of 1 and 2 (full positions) is 2.
    auto ones = quad(1, 1, 1, 1), twos = quad(2, 2, 2, 2);
    moxiGetDiff8x8B_8u16s_C1(cur.data(), 16, ones.data(), 18, 0, twos.data(), 18, 3, diff, 16, 1);
    EXPECT_EQ(diff[0], 5);
}

// ---------------------------------------------------------------- failures and bounds

TEST(MC, NullPointersLeaveOutputsUntouched) {
    Guarded<Mox8u> ref(18, 17), dst(16, 16);
    Guarded<Mox16s> res(16, 16);
    const Mox8u* pr = ref.ptr();
    const Mox16s* ps = res.ptr();
    Mox8u* pd = dst.ptr();
    auto n = [](int k, int i, auto* p) { return k == i ? nullptr : p; };
    for (const auto& c : kMc) {
        for (int k = 0; k < 4; ++k) {
            if (k < 3)
                expectUntouched(moxStsNullPtrErr,
                                [&] { return c.one(n(k, 0, pr), 18, n(k, 1, ps), 32, n(k, 2, pd), 16, 12, 0); },
                                {dst});
            expectUntouched(moxStsNullPtrErr, [&] {
                return c.two(n(k, 0, pr), 18, 12, n(k, 1, pr), 18, 12, n(k, 2, ps), 32, n(k, 3, pd), 16, 0);
            }, {dst});
        }
    }
    for (const auto& c : kUv) {
        for (int k = 0; k < 5; ++k) {
            if (k < 4)
                expectUntouched(moxStsNullPtrErr, [&] {
                    return c.one(n(k, 0, pr), 18, n(k, 1, ps), n(k, 2, ps), 32, n(k, 3, pd), 16, 12, 0);
                }, {dst});
            expectUntouched(moxStsNullPtrErr, [&] {
                return c.two(n(k, 0, pr), 18, 12, n(k, 1, pr), 18, 12, n(k, 2, ps), n(k, 3, ps), 32, n(k, 4, pd),
                             16, 0);
            }, {dst});
        }
    }
}

TEST(GetDiff, NullPointersLeaveOutputsUntouched) {
    Guarded<Mox8u> cur(16, 16), ref(18, 17);
    Guarded<Mox16s> d0(16, 16), d1(16, 16), pred(16, 16);
    const Mox8u* pc = cur.ptr();
    const Mox8u* pr = ref.ptr();
    Mox16s* p0 = d0.ptr();
    Mox16s* p1 = d1.ptr();
    auto n = [](int k, int i, auto* p) { return k == i ? nullptr : p; };
    for (const auto& c : kDiff) {
        for (int k = 0; k < 4; ++k) {
            if (k < 3)
                expectUntouched(moxStsNullPtrErr, [&] {
                    return c.one(n(k, 0, pc), 16, n(k, 1, pr), 18, n(k, 2, p0), 32, pred.ptr(), 32, 12, 0);
                }, {d0, pred});
            if (c.two)
                expectUntouched(moxStsNullPtrErr, [&] {
                    return c.two(n(k, 0, pc), 16, n(k, 1, pr), 18, 4, n(k, 2, pr), 18, 8, n(k, 3, p0), 32, 0);
                }, {d0});
        }
    }
    for (const auto& c : kDiffC2) {
        for (int k = 0; k < 5; ++k) {
            if (k < 4)
                expectUntouched(moxStsNullPtrErr, [&] {
                    return c.one(n(k, 0, pc), 16, n(k, 1, pr), 18, n(k, 2, p0), n(k, 3, p1), 32, 12, 1);
                }, {d0, d1});
            expectUntouched(moxStsNullPtrErr, [&] {
                return c.two(n(k, 0, pc), 16, n(k, 1, pr), 18, 4, n(k, 2, pr), 18, 8, n(k, 3, p0), n(k, 4, p1), 32,
                             1);
            }, {d0, d1});
        }
    }
}

// Every member at every position and on both rounding paths, on blocks that
// end where readable memory ends: the reference area is w x h samples plus a
// column (one sample of the same channel) and/or a row at half positions.
TEST(MC, ReadsStayInsideTheirArea) {
    for (int mcType = 0; mcType < 16; mcType += 4) {
        const int ex = mcType >> 3 & 1, ey = mcType >> 2 & 1;
        for (int rc : {0, 1, 5}) {
            for (const auto& c : kMc) {
                const int w = c.shape.w, h = c.shape.h;
                const int resW = McInputs::resW(c.shape), resH = McInputs::resH(c.shape);
                PageEnd f(w + ex, h + ey), b(w + ex, h + ey), res(2 * resW, resH), dst(w, h);
                ASSERT_TRUE(f.ok() && b.ok() && res.ok() && dst.ok());
                EXPECT_EQ(c.one(f.ptr(), f.step(), res.ptr<Mox16s>(), res.step(), dst.ptr(), w, mcType, rc), 0);
                EXPECT_EQ(c.two(f.ptr(), f.step(), mcType, b.ptr(), b.step(), mcType, res.ptr<Mox16s>(), res.step(),
                                dst.ptr(), w, rc),
                          0);
            }
            for (const auto& c : kUv) {
                PageEnd f(16 + 2 * ex, c.h + ey), b(16 + 2 * ex, c.h + ey), u(16, c.h), v(16, c.h), dst(16, c.h);
                EXPECT_EQ(c.one(f.ptr(), f.step(), u.ptr<Mox16s>(), v.ptr<Mox16s>(), 16, dst.ptr(), 16, mcType, rc),
                          0);
                EXPECT_EQ(c.two(f.ptr(), f.step(), mcType, b.ptr(), b.step(), mcType, u.ptr<Mox16s>(),
                                v.ptr<Mox16s>(), 16, dst.ptr(), 16, rc),
                          0);
            }
            for (const auto& c : kDiff) {
                PageEnd cur(c.w, c.h), f(c.w + ex, c.h + ey), b(c.w + ex, c.h + ey), d(2 * c.w, c.h), p(2 * c.w, c.h);
                EXPECT_EQ(c.one(cur.ptr(), c.w, f.ptr(), f.step(), d.ptr<Mox16s>(), d.step(), p.ptr<Mox16s>(),
                                p.step(), mcType, rc),
                          0);
                if (c.two) {
                    EXPECT_EQ(c.two(cur.ptr(), c.w, f.ptr(), f.step(), mcType, b.ptr(), b.step(), mcType,
                                    d.ptr<Mox16s>(), d.step(), rc),
                              0);
                }
            }
            for (const auto& c : kDiffC2) {
                PageEnd cur(16, c.h), f(16 + 2 * ex, c.h + ey), b(16 + 2 * ex, c.h + ey), u(16, c.h), v(16, c.h);
                EXPECT_EQ(c.one(cur.ptr(), 16, f.ptr(), f.step(), u.ptr<Mox16s>(), v.ptr<Mox16s>(), 16, mcType, rc),
                          0);
                EXPECT_EQ(c.two(cur.ptr(), 16, f.ptr(), f.step(), mcType, b.ptr(), b.step(), mcType, u.ptr<Mox16s>(),
                                v.ptr<Mox16s>(), 16, rc),
                          0);
            }
        }
    }
}

}  // namespace
