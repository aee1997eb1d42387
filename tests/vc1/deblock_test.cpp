// VC-1 loop filter: luma and chroma, vertical and horizontal edges, every
// PQUANT, random disabled groups, against the line model on random, smooth
// and step-edge pictures; hand-made lines for the third-line rule; checks.
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "vc1/deblock_ref.h"

namespace {

using namespace mox::test;

using Fn = MoxStatus (*)(Mox8u*, Mox32s, Mox32s, Mox32u);

struct Edge {
    const char* name;
    Fn fn;
    int lines;
    bool vertical;
};

const Edge kEdges[] = {
    {"luma ver", moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR, 16, true},
    {"luma hor", moxiFilterDeblockingLuma_HorEdge_VC1_8u_C1IR, 16, false},
    {"chroma ver", moxiFilterDeblockingChroma_VerEdge_VC1_8u_C1IR, 8, true},
    {"chroma hor", moxiFilterDeblockingChroma_HorEdge_VC1_8u_C1IR, 8, false},
};

// The 8 x lines area around the edge: mode 0 random full range, 1 a smooth
// ramp with small noise and a step across the edge (most lines filtered),
// 2 noise of a few levels around a random level (near every threshold).
void fillArea(Rng& r, Guarded<Mox8u>& g, int mode, bool vertical) {
    const int base = r.uniform(0, 255), step = r.uniform(-40, 40), slope = r.uniform(-6, 6);
    for (int y = 0; y < g.height(); ++y)
        for (int x = 0; x < g.width(); ++x) {
            const int across = vertical ? x : y;
            int v;
            if (mode == 0)
                v = static_cast<int>(r.extreme(0, 255));
            else if (mode == 1)
                v = base + slope * across + (across >= 4 ? step : 0) + r.uniform(-2, 2);
            else
                v = base + r.uniform(-5, 5);
            g.at(x, y) = static_cast<Mox8u>(mox::clampPixel(v));
        }
    g.arm();
}

TEST(DeblockVC1, EveryEdgeAgainstModel) {
    Rng r(31);
    for (const Edge& e : kEdges) {
        int changed = 0;
        for (int iter = 0; iter < 3000; ++iter) {
            const int w = e.vertical ? 8 : e.lines, h = e.vertical ? e.lines : 8;
            Guarded<Mox8u> got(w, h, randomLayout(r, 1));
            fillArea(r, got, iter % 3, e.vertical);
            Guarded<Mox8u> want(w, h);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) want.at(x, y) = got.at(x, y);
            const int pq = iter % 4 == 0 ? r.uniform(1, 31) : (iter % 4 == 1 ? 31 : r.uniform(1, 8));
            const unsigned disabled = r.coin() ? 0 : r.uniform(0, 15);
            const auto before = got.samples();
            Mox8u* p = e.vertical ? &got.at(4, 0) : &got.at(0, 4);
            ASSERT_EQ(e.fn(p, got.step(), pq, disabled), moxStsNoErr);
            Mox8u* q = e.vertical ? &want.at(4, 0) : &want.at(0, 4);
            mox::ref::vc1::deblockEdge(q, e.vertical ? want.step() : 1, e.vertical ? 1 : want.step(), e.lines, pq,
                                       disabled);
            ASSERT_EQ(got.samples(), want.samples()) << e.name << " pq " << pq << " disabled " << disabled << " mode " << iter % 3;
            ASSERT_TRUE(got.guardsIntact()) << e.name;
            changed += got.samples() != before;
        }
        EXPECT_GT(changed, 500) << e.name;
    }
}

// One group of four lines by hand: a step of 10 between P4 and P5 on flat
// sides (a0 = (2 * -10 - 5 * -10 + 4) >> 3 = 4, a1 = a2 = 0,
// d = 5 * (0 - 4) / 8 = -2, clip -5): filtered to P4 + 2, P5 - 2 when
// PQUANT > 4, untouched otherwise; a flat third line leaves all four alone.
TEST(DeblockVC1, ThirdLineDecidesTheGroup) {
    for (int flatThird = 0; flatThird < 2; ++flatThird) {
        for (int pq : {4, 5}) {
            Mox8u area[16 * 8];
            for (int line = 0; line < 16; ++line)
                for (int i = 0; i < 8; ++i)
                    area[line * 8 + i] = static_cast<Mox8u>(i < 4 || (flatThird && line % 4 == 2) ? 100 : 110);
            ASSERT_EQ(moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR(area + 4, 8, pq, 0), moxStsNoErr);
            for (int line = 0; line < 16; ++line) {
                const bool flat = flatThird && line % 4 == 2;
                const bool on = pq == 5 && !flatThird;
                EXPECT_EQ(area[line * 8 + 3], on ? 102 : 100) << line;
                EXPECT_EQ(area[line * 8 + 4], flat ? 100 : (on ? 108 : 110)) << line;
            }
        }
    }
}

TEST(DeblockVC1, ChecksInOrder) {
    for (const Edge& e : kEdges) {
        Guarded<Mox8u> g(16, 16);
        Rng r(1);
        g.fillRandom(r, 0, 255);
        Mox8u* p = &g.at(4, 4);
        expectUntouched(moxStsNullPtrErr, [&] { return e.fn(nullptr, g.step(), 0, 0); }, {g});
        expectUntouched(moxStsOutOfRangeErr, [&] { return e.fn(p, g.step(), 0, 0); }, {g});
        expectUntouched(moxStsOutOfRangeErr, [&] { return e.fn(p, g.step(), 32, 0); }, {g});
        // Every group disabled: nothing changes.
        expectUntouched(moxStsNoErr, [&] { return e.fn(p, g.step(), 31, 15); }, {g});
    }
}

}  // namespace
