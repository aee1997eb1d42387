// VC-1 interpolation: every size request, fraction and rounding mode of the
// plain interpolators against the scalar models, with reads confined to the
// filter's area (it ends at an unreadable page); the block forms at and far
// beyond every picture edge, field and frame references, both parities and
// both tables; and the null-pointer checks.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "me/page_end.h"
#include "vc1/interp_ref.h"
#include "vc1/interp_sizes.h"

namespace {

using namespace mox::test;
using mox::ref::vc1::Filter;

// Random samples, samples at the two ends only, or a pattern that is 255
// where a column class meets a row class (period 4 in both directions, random
// classes, half the time those of the bicubic tap signs - + + -): the last
// drives the two-dimensional sums to their extremes, both ends of the range
// at some output of every block of at least 4 x 4.
void fillSamples(Rng& r, Mox8u* p, size_t n, int rowBytes, int mode) {
    int colClass[4], rowClass[4];
    const bool taps = r.coin();
    for (int i = 0; i < 4; ++i) {
        colClass[i] = taps ? (i == 1 || i == 2) : r.uniform(0, 1);
        rowClass[i] = taps ? (i == 1 || i == 2) : r.uniform(0, 1);
    }
    const int phase = r.uniform(0, 3);
    for (size_t i = 0; i < n; ++i) {
        const int x = static_cast<int>(i % rowBytes), y = static_cast<int>(i / rowBytes);
        if (mode == 0)
            p[i] = static_cast<Mox8u>(r.extreme(0, 255));
        else if (mode == 1)
            p[i] = r.coin() ? 255 : 0;
        else
            p[i] = colClass[(x + phase) & 3] == rowClass[(y + phase) & 3] ? 255 : 0;
    }
}

// One plain interpolator: the area it may read (margins `before`, `after`
// beyond the selected block along an axis with a nonzero fraction).
struct Plain {
    const char* name;
    MoxStatus (*fn)(const MoxVCQPInterpParams*);
    Filter filter;
    int before, after;
};

MoxiSize selected(Filter f, MoxiSize s) {
    return f == Filter::Bicubic ? mox::vc1::bicubicSize(s) : f == Filter::Bilinear ? mox::vc1::bilinearSize(s)
                                                                                   : mox::vc1::bilinearPairsSize(s);
}

void checkPlain(const Plain& k) {
    const MoxiSize requests[] = {{8, 8}, {16, 8}, {8, 16}, {16, 16}, {4, 4}, {8, 4}, {4, 8}, {2, 2}, {32, 32}, {0, 0}};
    const int pitch = k.filter == Filter::BilinearPairs ? 2 : 1;
    Rng r(11);
    for (MoxiSize req : requests) {
        const MoxiSize s = selected(k.filter, req);
        for (int pos = 0; pos < 16; ++pos) {
            const int dx = pos & 3, dy = pos >> 2;
            for (int iter = 0; iter < 6; ++iter) {
                const int rnd = iter & 1;
                const int bx = dx ? k.before : 0, by = dy ? k.before : 0;
                const int aw = (s.width + bx + (dx ? k.after : 0)) * pitch, ah = s.height + by + (dy ? k.after : 0);
                PageEnd area(aw, ah);
                fillSamples(r, area.ptr(), static_cast<size_t>(aw) * ah, aw, iter / 2);
                const Mox8u* origin = area.ptr() + by * aw + bx * pitch;
                Guarded<Mox8u> got(s.width * pitch, s.height, randomLayout(r, 1)), want(s.width * pitch, s.height);
                // Fractions and rnd outside their ranges are taken modulo 4 and 2.
                const int wrap = iter >= 4 ? 4 : 0;
                MoxVCQPInterpParams p{origin, aw, got.ptr(), got.step(), dx + wrap, dy - wrap, req, rnd + 2 * wrap};
                ASSERT_EQ(k.fn(&p), moxStsNoErr);
                if (k.filter == Filter::Bicubic)
                    mox::ref::vc1::bicubic(origin, aw, want.ptr(), want.step(), s.width, s.height, dx, dy, rnd);
                else
                    mox::ref::vc1::bilinear(origin, aw, pitch, want.ptr(), want.step(), s.width, s.height, dx, dy, rnd);
                ASSERT_EQ(got.samples(), want.samples())
                    << k.name << " request " << req.width << "x" << req.height << " at (" << dx << ", " << dy
                    << ") rnd " << rnd << " fill " << iter / 2;
                ASSERT_TRUE(got.guardsIntact()) << k.name;
            }
        }
    }
}

TEST(InterpolateVC1, BicubicEverySizeFractionAndRounding) {
    checkPlain({"bicubic", moxiInterpolateQPBicubic_VC1_8u_C1R, Filter::Bicubic, 1, 2});
}

TEST(InterpolateVC1, BilinearEverySizeFractionAndRounding) {
    checkPlain({"bilinear", moxiInterpolateQPBilinear_VC1_8u_C1R, Filter::Bilinear, 0, 1});
    checkPlain({"bilinear C2R", moxiInterpolateQPBilinear_VC1_8u_C2R, Filter::BilinearPairs, 0, 1});
}

// The standard's rounding asymmetries on a flat-with-step picture, by hand:
// rnd lowers the horizontal-only bicubic and the bilinear results and raises
// the vertical-only bicubic ones.
TEST(InterpolateVC1, RoundingControlDirections) {
    std::vector<Mox8u> src(32 * 32);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) src[y * 32 + x] = static_cast<Mox8u>((x * 7 + y * 13) % 200 + 20);
    const Mox8u* o = src.data() + 4 * 32 + 4;
    auto run = [&](MoxStatus (*fn)(const MoxVCQPInterpParams*), int dx, int dy, int rnd) {
        std::vector<Mox8u> d(16 * 16);
        MoxVCQPInterpParams p{o, 32, d.data(), 16, dx, dy, {16, 16}, rnd};
        EXPECT_EQ(fn(&p), moxStsNoErr);
        return d;
    };
    int lowered = 0, raised = 0;
    for (int f = 1; f < 4; ++f) {
        auto h0 = run(moxiInterpolateQPBicubic_VC1_8u_C1R, f, 0, 0), h1 = run(moxiInterpolateQPBicubic_VC1_8u_C1R, f, 0, 1);
        auto v0 = run(moxiInterpolateQPBicubic_VC1_8u_C1R, 0, f, 0), v1 = run(moxiInterpolateQPBicubic_VC1_8u_C1R, 0, f, 1);
        auto b0 = run(moxiInterpolateQPBilinear_VC1_8u_C1R, f, 0, 0), b1 = run(moxiInterpolateQPBilinear_VC1_8u_C1R, f, 0, 1);
        for (size_t i = 0; i < h0.size(); ++i) {
            EXPECT_TRUE(h1[i] == h0[i] || h1[i] + 1 == h0[i]);
            EXPECT_TRUE(v1[i] == v0[i] || v1[i] == v0[i] + 1);
            EXPECT_TRUE(b1[i] == b0[i] || b1[i] + 1 == b0[i]);
            lowered += (h1[i] != h0[i]) + (b1[i] != b0[i]);
            raised += v1[i] != v0[i];
        }
    }
    EXPECT_GT(lowered, 0);
    EXPECT_GT(raised, 0);
}

// ---------------------------------------------------------------- block forms

// A reference plane of fw x fh samples (pitch bytes each) that ends at an
// unreadable page, or held in an exactly sized heap block (which the
// sanitizer build guards at both ends); bottomUp gives a negative step.
struct Plane {
    std::unique_ptr<PageEnd> page;
    std::vector<Mox8u> heap;
    Mox8u* base;
    int step;
    Mox8u* origin;
    Plane(Rng& r, int rowBytes, int rows, bool atPage, bool bottomUp) {
        const size_t n = static_cast<size_t>(rowBytes) * rows;
        if (atPage) {
            page = std::make_unique<PageEnd>(rowBytes, rows);
            base = page->ptr();
        } else {
            heap.resize(n);
            base = heap.data();
        }
        fillSamples(r, base, n, rowBytes, r.uniform(0, 2));
        step = bottomUp ? -rowBytes : rowBytes;
        origin = bottomUp ? base + n - rowBytes : base;
    }
};

struct BlockForm {
    const char* name;
    MoxStatus (*fn)(const MoxVCBlockICParams*);
    Filter filter;
};

void checkBlocks(const BlockForm& k) {
    const int pitch = k.filter == Filter::BilinearPairs ? 2 : 1;
    std::array<Mox8u, 256> lutA, lutB;
    Rng r(404);
    for (int i = 0; i < 256; ++i) lutA[i] = static_cast<Mox8u>(255 - i), lutB[i] = static_cast<Mox8u>(r.uniform(0, 255));
    const MoxiSize requests[] = {{8, 8}, {16, 8}, {8, 16}, {16, 16}, {4, 4}, {8, 4}};
    for (int iter = 0; iter < 4000; ++iter) {
        const int fw = r.coin() ? r.uniform(1, 5) : r.uniform(6, 48), fh = r.coin() ? r.uniform(1, 5) : r.uniform(6, 48);
        const bool field = r.uniform(0, 2) == 0;
        Plane plane(r, fw * pitch + r.uniform(0, 1) * 3, fh, iter & 1, r.uniform(0, 3) == 0);
        MoxVCBlockICParams p{};
        p.pSrc = plane.origin;
        p.srcStep = plane.step;
        if (field && r.coin()) p.pSrc = mox::row(plane.origin, plane.step, 1);  // the bottom field's first line
        const int fieldLines = field ? (p.pSrc == plane.origin ? (fh + 1) / 2 : fh / 2) : fh;
        p.frameSize = {fw, field ? 2 * fieldLines : fh};
        if (fieldLines == 0) continue;
        p.blockSize = requests[r.uniform(0, 5)];
        const MoxiSize s = selected(k.filter, p.blockSize);
        // Positions around and across every edge, and far away.
        auto coord = [&r](int size, int block) {
            switch (r.uniform(0, 4)) {
                case 0: return r.uniform(-block - 4, 3);
                case 1: return r.uniform(size - block - 4, size + 3);
                case 2: return r.uniform(-block - 4, size + 3);
                case 3: return r.coin() ? -1000000000 + r.uniform(0, 9) : 1000000000 + r.uniform(0, 9);
                default: return r.uniform(1, std::max(1, size - block - 2));
            }
        };
        p.blockPos = {coord(fw, s.width), coord(field ? fieldLines : fh, s.height)};
        p.quarterMv = {r.uniform(0, 3), r.uniform(0, 3)};
        p.keepFieldParity = r.coin();
        p.isFieldRef = field;
        p.rnd = r.coin();
        p.isBottomField = r.coin();
        const int tables = r.uniform(0, 3);
        p.pTopFieldLut = tables & 1 ? lutA.data() : nullptr;
        p.pBottomFieldLut = tables & 2 ? lutB.data() : nullptr;
        Guarded<Mox8u> got(s.width * pitch, s.height, randomLayout(r, 1)), want(s.width * pitch, s.height);
        p.pDst = got.ptr();
        p.dstStep = got.step();
        ASSERT_EQ(k.fn(&p), moxStsNoErr);
        MoxVCBlockICParams q = p;
        q.pDst = want.ptr();
        q.dstStep = want.step();
        mox::ref::vc1::interpolateBlock(q, k.filter);
        ASSERT_EQ(got.samples(), want.samples())
            << k.name << " frame " << fw << "x" << fh << " field " << field << " block " << p.blockSize.width << "x"
            << p.blockSize.height << " at (" << p.blockPos.x << ", " << p.blockPos.y << ") mv (" << p.quarterMv.dx
            << ", " << p.quarterMv.dy << ") tables " << tables << " parity " << p.keepFieldParity;
        ASSERT_TRUE(got.guardsIntact()) << k.name;
    }
}

TEST(InterpolateVC1, BicubicBlockAnywhere) { checkBlocks({"bicubic", moxiInterpolateICBicubicBlock_VC1_8u_C1R, Filter::Bicubic}); }
TEST(InterpolateVC1, BilinearBlockAnywhere) {
    checkBlocks({"bilinear", moxiInterpolateICBilinearBlock_VC1_8u_C1R, Filter::Bilinear});
    checkBlocks({"bilinear C2R", moxiInterpolateICBilinearBlock_VC1_8u_C2R, Filter::BilinearPairs});
}

// Facts of the padding checked by hand rather than through the model: a
// block at x = -5 sees only column 0 on its left; rows above a frame keep
// their field parity when asked; tables alternate by reference line.
TEST(InterpolateVC1, BlockPaddingByHand) {
    constexpr int kW = 24, kH = 24;
    std::vector<Mox8u> plane(kW * kH);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) plane[y * kW + x] = static_cast<Mox8u>(y * 10 + (x == 0 ? 5 : 0));
    Mox8u dst[8 * 8];
    MoxVCBlockICParams p{plane.data(), kW, dst, 8, nullptr, nullptr, {kW, kH}, {8, 8}, {-5, 4}, {0, 0}, 0, 0, 0, 0};
    ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) EXPECT_EQ(dst[y * 8 + x], x <= 5 ? (4 + y) * 10 + 5 : (4 + y) * 10) << x << "," << y;
    // Three rows above the frame: without parity all repeat row 0; with it, the odd ones repeat row 1.
    p.blockPos = {4, -3};
    ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
    for (int y = 0; y < 4; ++y) EXPECT_EQ(dst[8 * y], 0);
    EXPECT_EQ(dst[8 * 4], 10);
    p.keepFieldParity = 1;
    ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
    EXPECT_EQ(dst[0], 10);
    EXPECT_EQ(dst[8 * 1], 0);
    EXPECT_EQ(dst[8 * 2], 10);
    EXPECT_EQ(dst[8 * 3], 0);
    // Frame prediction: even reference lines through the top table, odd through the bottom one.
    std::array<Mox8u, 256> top, bottom;
    for (int i = 0; i < 256; ++i) top[i] = static_cast<Mox8u>(i + 1), bottom[i] = static_cast<Mox8u>(i + 2);
    p = {plane.data(), kW, dst, 8, top.data(), bottom.data(), {kW, kH}, {8, 8}, {4, 4}, {0, 0}, 0, 0, 0, 0};
    ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
    EXPECT_EQ(dst[0], 41);
    EXPECT_EQ(dst[8], 52);
    // Field prediction: one table for the block, chosen by isBottomField.
    p.isFieldRef = 1;
    p.isBottomField = 1;
    ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
    EXPECT_EQ(dst[0], 82);
    EXPECT_EQ(dst[8], 102);
}

// With no tables and the block well inside, the block forms equal the plain ones.
TEST(InterpolateVC1, BlockInsideEqualsPlain) {
    Rng r(5);
    std::vector<Mox8u> plane(64 * 40);
    fillSamples(r, plane.data(), plane.size(), 64, 0);
    for (int pos = 0; pos < 16; ++pos) {
        Mox8u a[16 * 16], b[16 * 16];
        MoxVCBlockICParams p{plane.data(), 64, a, 16, nullptr, nullptr, {64, 40}, {16, 16}, {20, 9}, {pos & 3, pos >> 2}, 0, 0, 1, 0};
        MoxVCQPInterpParams q{plane.data() + 9 * 64 + 20, 64, b, 16, pos & 3, pos >> 2, {16, 16}, 1};
        ASSERT_EQ(moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p), moxStsNoErr);
        ASSERT_EQ(moxiInterpolateQPBicubic_VC1_8u_C1R(&q), moxStsNoErr);
        EXPECT_TRUE(std::equal(a, a + 256, b)) << pos;
    }
}

TEST(InterpolateVC1, NullPointers) {
    std::vector<Mox8u> src(64 * 64, 7);
    Guarded<Mox8u> d(16, 16);
    MoxVCQPInterpParams q{src.data() + 130, 64, d.ptr(), d.step(), 1, 1, {16, 16}, 0};
    MoxVCBlockICParams b{src.data(), 64, d.ptr(), d.step(), nullptr, nullptr, {64, 64}, {16, 16}, {-3, -3}, {1, 1}, 0, 0, 0, 0};
    for (auto fn : {moxiInterpolateQPBicubic_VC1_8u_C1R, moxiInterpolateQPBilinear_VC1_8u_C1R, moxiInterpolateQPBilinear_VC1_8u_C2R}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr); }, {d});
        MoxVCQPInterpParams x = q;
        x.pSrc = nullptr;
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&x); }, {d});
        x = q;
        x.pDst = nullptr;
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&x); }, {d});
    }
    for (auto fn : {moxiInterpolateICBicubicBlock_VC1_8u_C1R, moxiInterpolateICBilinearBlock_VC1_8u_C1R,
                    moxiInterpolateICBilinearBlock_VC1_8u_C2R}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr); }, {d});
        MoxVCBlockICParams x = b;
        x.pSrc = nullptr;
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&x); }, {d});
        x = b;
        x.pDst = nullptr;
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&x); }, {d});
    }
}

}  // namespace
