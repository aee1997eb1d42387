// H.264 interpolation: every position and fraction at every width class
// against the scalar model, reads confined to the filter's area (the area
// ends at an unreadable page), and the argument checks in their order.
#include <algorithm>
#include <memory>
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "h264/interp_ref.h"
#include "me/page_end.h"

namespace {

using namespace mox::test;

const int kLumaWidths[] = {4, 8, 12, 16, 20, 24, 28};
const int kChromaWidths[] = {2, 4, 6, 8, 10, 12, 14};

// The area a block at fraction (fx, fy) reads: `before` samples before the
// integer position and `after` after the block in a direction with a fraction.
struct Area {
    int before, after;
};
constexpr Area kLumaArea{2, 3}, kChromaArea{0, 1};

// A source picture holding exactly the area of a w x h block, placed so that
// its last row ends at an unreadable page (its first, with bottomUp).
struct Source {
    PageEnd mem;
    int step, x0, y0;
    Source(int areaW, int areaH, int x0_, int y0_, bool bottomUp)
        : mem(areaW, areaH), step(bottomUp ? -areaW : areaW), x0(x0_), y0(y0_) {}
    Mox8u* origin() const {
        Mox8u* first = step > 0 ? mem.ptr() : mem.ptr() + static_cast<size_t>(-step) * (mem.size() / -step - 1);
        return mox::row(first, step, y0) + x0;
    }
};

// Random samples with the range ends mixed in or, with `stripes`, rows of
// 0, 0, 255, 255, ... at a random phase or its inverse: the horizontal
// 6-tap sums then reach both ends of their range, and rows of the two kinds
// stacked at random reach the ends of the centre filter's.
void fillSource(Rng& r, Mox8u* p, int rowBytes, int rows, bool stripes) {
    for (int y = 0; y < rows; ++y) {
        const int kind = stripes ? r.uniform(0, 2) : 0, phase = r.uniform(0, 3);
        for (int x = 0; x < rowBytes; ++x) {
            const bool high = ((x + phase) & 2) != 0;
            p[y * rowBytes + x] = kind == 0 ? static_cast<Mox8u>(r.extreme(0, 255)) : (high == (kind == 1) ? 255 : 0);
        }
    }
}

template <class Fn, class Ref>
void checkPositions(const char* name, Area area, int pitch, int maxFrac, const int* widths, int nWidths,
                    std::initializer_list<int> heights, Fn call, Ref ref) {
    Rng r(77);
    for (int wi = 0; wi < nWidths; ++wi) {
        const int w = widths[wi];
        for (int h : heights) {
            for (int fy = 0; fy <= maxFrac; ++fy) {
                for (int fx = 0; fx <= maxFrac; ++fx) {
                    for (int iter = 0; iter < 6; ++iter) {
                        const int bx = fx ? area.before : 0, by = fy ? area.before : 0;
                        const int aw = (w + (fx ? area.before + area.after : 0)) * pitch;
                        const int ah = h + (fy ? area.before + area.after : 0);
                        Source src(aw, ah, bx * pitch, by, iter % 3 == 2);
                        fillSource(r, src.mem.ptr(), aw, ah, iter >= 3);
                        Guarded<Mox8u> got(w * (pitch == 2 ? 2 : 1), h, randomLayout(r, 1)), want(w * (pitch == 2 ? 2 : 1), h);
                        ASSERT_EQ(call(src.origin(), src.step, got, fx, fy, w, h), moxStsNoErr);
                        ref(src.origin(), src.step, want, fx, fy, w, h);
                        ASSERT_EQ(got.samples(), want.samples()) << name << " " << w << "x" << h << " at (" << fx << ", " << fy << ")";
                        ASSERT_TRUE(got.guardsIntact()) << name;
                    }
                }
            }
        }
    }
}

TEST(InterpolateH264, LumaEveryPositionAndWidth) {
    checkPositions(
        "luma", kLumaArea, 1, 3, kLumaWidths, 7, {4, 8, 16, 36},
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            return moxiInterpolateLuma_H264_8u_C1R(s, ss, d.ptr(), d.step(), fx, fy, {w, h});
        },
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            mox::ref::interpolateLuma<Mox8u>(s, ss, d.ptr(), d.step(), w, h, fx, fy, 8);
        });
}

// Rows whose horizontal sums reach their maximum and minimum in the same
// columns, stacked max, min, max, max, min, max (and the inverse), drive the
// centre filter's middle sum past the 16-bit range, where only a clamped
// result is right.
TEST(InterpolateH264, LumaCentreAtTheEndsOfItsRange) {
    constexpr int kW = 16 + 5, kH = 16 + 5;
    for (int inverse = 0; inverse < 2; ++inverse) {
        for (int phase = 0; phase < 3; ++phase) {
            Mox8u src[kH * kW];
            // Horizontal sums at their maximum (X 0 X X 0 X) and minimum (0 X 0 0 X 0) in the same columns.
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x)
                    src[y * kW + x] = (((x + phase) % 3 != 1) == ((y % 3 == 1) == (inverse != 0))) ? 255 : 0;
            for (int pos = 0; pos < 16; ++pos) {
                Guarded<Mox8u> got(16, 16), want(16, 16);
                ASSERT_EQ(moxiInterpolateLuma_H264_8u_C1R(src + 2 * kW + 2, kW, got.ptr(), got.step(), pos & 3, pos >> 2, {16, 16}), moxStsNoErr);
                mox::ref::interpolateLuma<Mox8u>(src + 2 * kW + 2, kW, want.ptr(), want.step(), 16, 16, pos & 3, pos >> 2, 8);
                ASSERT_EQ(got.samples(), want.samples()) << "position " << pos << " phase " << phase << " inverse " << inverse;
            }
        }
    }
}

TEST(InterpolateH264, ChromaEveryFractionAndWidth) {
    checkPositions(
        "chroma", kChromaArea, 1, 7, kChromaWidths, 7, {2, 4, 8, 18},
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            return moxiInterpolateChroma_H264_8u_C1R(s, ss, d.ptr(), d.step(), fx, fy, {w, h});
        },
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            mox::ref::interpolateChroma<Mox8u>(s, ss, 1, d.ptr(), d.step(), w, h, fx, fy);
        });
}

// The two planes side by side in one guarded block: U in columns 0..w-1, V after.
TEST(InterpolateH264, ChromaInterleavedEveryFractionAndWidth) {
    checkPositions(
        "chroma C2P2R", kChromaArea, 2, 7, kChromaWidths, 7, {2, 4, 8, 18},
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            return moxiInterpolateChroma_H264_8u_C2P2R(s, ss, d.ptr(), d.ptr() + w, d.step(), fx, fy, {w, h});
        },
        [](const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int w, int h) {
            mox::ref::interpolateChroma<Mox8u>(s, ss, 2, d.ptr(), d.step(), w, h, fx, fy);
            mox::ref::interpolateChroma<Mox8u>(s + 1, ss, 2, d.ptr() + w, d.step(), w, h, fx, fy);
        });
}

TEST(InterpolateH264, LumaChecksInOrder) {
    std::vector<Mox8u> src(64 * 64, 9);
    const Mox8u* s = src.data() + 64 * 8 + 8;
    Guarded<Mox8u> d(16, 16);
    auto call = [&](const Mox8u* ps, Mox8u* pd, int dx, int dy, MoxiSize sz) {
        return [=] { return moxiInterpolateLuma_H264_8u_C1R(ps, 64, pd, d.step(), dx, dy, sz); };
    };
    expectUntouched(moxStsNullPtrErr, call(nullptr, d.ptr(), 9, 0, {3, 3}), {d});
    EXPECT_EQ(call(s, nullptr, 9, 0, {3, 3})(), moxStsNullPtrErr);
    expectUntouched(moxStsBadArgErr, call(s, d.ptr(), -1, 0, {3, 3}), {d});
    expectUntouched(moxStsBadArgErr, call(s, d.ptr(), 0, 4, {16, 16}), {d});
    expectUntouched(moxStsSizeErr, call(s, d.ptr(), 3, 3, {16, 6}), {d});
    expectUntouched(moxStsSizeErr, call(s, d.ptr(), 3, 3, {2, 16}), {d});
    expectUntouched(moxStsSizeErr, call(s, d.ptr(), 3, 3, {32, 16}), {d});
    expectUntouched(moxStsSizeErr, call(s, d.ptr(), 3, 3, {-4, 16}), {d});
    // A width of 12 is accepted and computed in full.
    EXPECT_EQ(call(s, d.ptr(), 0, 0, {12, 4})(), moxStsNoErr);
    EXPECT_EQ(d.at(11, 3), 9);
    EXPECT_EQ(d.at(12, 3), 0xA5);
}

TEST(InterpolateH264, ChromaChecksInOrder) {
    std::vector<Mox8u> src(64 * 64, 9);
    const Mox8u* s = src.data() + 64 * 8 + 8;
    Guarded<Mox8u> u(16, 16), v(16, 16);
    auto c1 = [&](const Mox8u* ps, Mox8u* pd, int dx, int dy, MoxiSize sz) {
        return [=] { return moxiInterpolateChroma_H264_8u_C1R(ps, 64, pd, u.step(), dx, dy, sz); };
    };
    auto c2 = [&](const Mox8u* ps, Mox8u* pu, Mox8u* pv, int dx, int dy, MoxiSize sz) {
        return [=] { return moxiInterpolateChroma_H264_8u_C2P2R(ps, 64, pu, pv, u.step(), dx, dy, sz); };
    };
    expectUntouched(moxStsNullPtrErr, c1(nullptr, u.ptr(), 8, 0, {3, 3}), {u});
    expectUntouched(moxStsBadArgErr, c1(s, u.ptr(), 8, 0, {3, 3}), {u});
    expectUntouched(moxStsBadArgErr, c1(s, u.ptr(), 0, -1, {3, 3}), {u});
    expectUntouched(moxStsSizeErr, c1(s, u.ptr(), 7, 7, {8, 3}), {u});
    expectUntouched(moxStsSizeErr, c1(s, u.ptr(), 7, 7, {16, 2}), {u});
    expectUntouched(moxStsSizeErr, c1(s, u.ptr(), 7, 7, {1, 2}), {u});
    expectUntouched(moxStsNullPtrErr, c2(s, u.ptr(), nullptr, 8, 0, {3, 3}), {u});
    expectUntouched(moxStsNullPtrErr, c2(nullptr, u.ptr(), v.ptr(), 8, 0, {3, 3}), {u, v});
    expectUntouched(moxStsBadArgErr, c2(s, u.ptr(), v.ptr(), 8, 0, {3, 3}), {u, v});
    expectUntouched(moxStsSizeErr, c2(s, u.ptr(), v.ptr(), 0, 0, {8, 5}), {u, v});
}

// Block forms: random pictures (down to 1x1) ending at an unreadable page,
// blocks anywhere around them with any vector, against the plain model run
// on an edge-padded copy. A far vector lands wholly outside the picture,
// where the result equals that of an area just beyond the padded margin's
// reach, so the model's position is clamped to within it.
struct BlockKind {
    const char* name;
    int shift;         // vector fraction bits
    int pitch;         // bytes per sample group of the source
    int planes;        // separate source planes
    const int* widths;
    int hStep;         // heights are multiples of this
};

void checkBlocks(const BlockKind& k, MoxStatus (*fn)(const MoxVCInterpolateBlock_8u*)) {
    constexpr int kMargin = 64;
    Rng r(2024 + k.shift);
    for (int iter = 0; iter < 3000; ++iter) {
        const int fw = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40), fh = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40);
        const int w = k.widths[r.uniform(0, 6)], h = k.hStep * r.uniform(1, r.coin() ? 4 : 10);
        const bool bottomUp = r.uniform(0, 3) == 0;
        std::vector<std::unique_ptr<PageEnd>> pic;
        for (int c = 0; c < k.planes; ++c) {
            pic.push_back(std::make_unique<PageEnd>(fw * k.pitch, fh));
            for (size_t i = 0; i < pic[c]->size(); ++i) pic[c]->data()[i] = static_cast<Mox8u>(r.extreme(0, 255));
        }
        auto top = [&](int c) {
            return bottomUp ? pic[c]->ptr() + static_cast<size_t>(fw * k.pitch) * (fh - 1) : pic[c]->ptr();
        };
        const int step = bottomUp ? -fw * k.pitch : fw * k.pitch;
        const Layout layout = randomLayout(r, 1);  // one step for both planes
        Guarded<Mox8u> d0(w, h, layout), d1(w, h, layout), e0(w, h), e1(w, h);
        MoxVCInterpolateBlock_8u p{};
        p.pSrc[0] = top(0);
        p.pSrc[1] = top(k.planes - 1);
        p.srcStep = step;
        p.pDst[0] = d0.ptr();
        p.pDst[1] = d1.ptr();
        p.dstStep = d0.step();
        p.sizeFrame = {fw, fh};
        p.sizeBlock = {w, h};
        p.pointBlockPos.x = r.uniform(-w - 8, fw + 8);
        p.pointBlockPos.y = r.uniform(-h - 8, fh + 8);
        const int far = 1 << 24, near = (24 << k.shift) >> 2;
        p.pointVector.x = r.uniform(0, 9) == 0 ? r.uniform(-far, far) : r.uniform(-near, near);
        p.pointVector.y = r.uniform(0, 9) == 0 ? r.uniform(-far, far) : r.uniform(-near, near);
        if (r.uniform(0, 7) == 0) p.pointVector = {0, 0};
        ASSERT_EQ(fn(&p), moxStsNoErr);

        const int fmask = (1 << k.shift) - 1;
        const int fx = p.pointVector.x & fmask, fy = p.pointVector.y & fmask;
        const int ix = std::clamp(p.pointBlockPos.x + (p.pointVector.x >> k.shift), -w - 16, fw + 16);
        const int iy = std::clamp(p.pointBlockPos.y + (p.pointVector.y >> k.shift), -h - 16, fh + 16);
        Guarded<Mox8u>* want[2] = {&e0, &e1};
        for (int c = 0; c < (k.pitch == 2 ? 2 : k.planes); ++c) {
            const int plane = k.pitch == 2 ? 0 : c;
            auto padded = mox::ref::padPicture<Mox8u>(top(plane), step, k.pitch, fw, fh, kMargin);
            const int ps = (fw + 2 * kMargin) * k.pitch;
            const Mox8u* o = padded.data() + static_cast<size_t>(iy + kMargin) * ps + (ix + kMargin) * k.pitch + (k.pitch == 2 ? c : 0);
            if (k.shift == 2)
                mox::ref::interpolateLuma<Mox8u>(o, ps, want[c]->ptr(), want[c]->step(), w, h, fx, fy, 8);
            else
                mox::ref::interpolateChroma<Mox8u>(o, ps, k.pitch, want[c]->ptr(), want[c]->step(), w, h, fx, fy);
        }
        const auto where = ::testing::Message() << k.name << " frame " << fw << "x" << fh << " block " << w << "x" << h
                                                << " at " << p.pointBlockPos.x << "," << p.pointBlockPos.y << " mv "
                                                << p.pointVector.x << "," << p.pointVector.y;
        ASSERT_EQ(d0.samples(), e0.samples()) << where;
        ASSERT_TRUE(d0.guardsIntact()) << where;
        if (k.shift == 3) {
            ASSERT_EQ(d1.samples(), e1.samples()) << where;
            ASSERT_TRUE(d1.guardsIntact()) << where;
        }
    }
}

TEST(InterpolateH264, LumaBlockAnywhereAroundThePicture) {
    checkBlocks({"luma block", 2, 1, 1, kLumaWidths, 4}, moxiInterpolateLumaBlock_H264_8u_P1R);
}

TEST(InterpolateH264, ChromaBlockAnywhereAroundThePicture) {
    checkBlocks({"chroma block P2R", 3, 1, 2, kChromaWidths, 2}, moxiInterpolateChromaBlock_H264_8u_P2R);
    checkBlocks({"chroma block C2P2R", 3, 2, 1, kChromaWidths, 2}, moxiInterpolateChromaBlock_H264_8u_C2P2R);
}

TEST(InterpolateH264, BlockChecksInOrder) {
    std::vector<Mox8u> pic(32 * 32, 7);
    Guarded<Mox8u> u(16, 16), v(16, 16);
    MoxVCInterpolateBlock_8u good{{pic.data(), pic.data()}, 32, {u.ptr(), v.ptr()}, u.step(), {32, 32}, {8, 8}, {4, 4}, {1, 1}};
    auto with = [&](auto change) {
        MoxVCInterpolateBlock_8u p = good;
        change(p);
        return p;
    };
    using P = MoxVCInterpolateBlock_8u;
    for (auto fn : {moxiInterpolateLumaBlock_H264_8u_P1R, moxiInterpolateChromaBlock_H264_8u_P2R,
                    moxiInterpolateChromaBlock_H264_8u_C2P2R}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr); }, {u, v});
        P p = with([](P& q) { q.pSrc[0] = nullptr; q.sizeBlock = {3, 3}; });
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&p); }, {u, v});
        p = with([](P& q) { q.pDst[0] = nullptr; });
        expectUntouched(moxStsNullPtrErr, [&] { return fn(&p); }, {u, v});
        p = with([](P& q) { q.sizeBlock = {8, 3}; });
        expectUntouched(moxStsSizeErr, [&] { return fn(&p); }, {u, v});
        p = with([](P& q) { q.sizeBlock = {32, 8}; });
        expectUntouched(moxStsSizeErr, [&] { return fn(&p); }, {u, v});
    }
    // The second planes only matter to chroma.
    P p = with([](P& q) { q.pSrc[1] = nullptr; q.pDst[1] = nullptr; });
    EXPECT_EQ(moxiInterpolateLumaBlock_H264_8u_P1R(&p), moxStsNoErr);
    expectUntouched(moxStsNullPtrErr, [&] { return moxiInterpolateChromaBlock_H264_8u_P2R(&p); }, {u, v});
    p = with([](P& q) { q.pSrc[1] = nullptr; });
    EXPECT_EQ(moxiInterpolateChromaBlock_H264_8u_C2P2R(&p), moxStsNoErr);
    // Luma sizes as the plain form: 4x6 refused (chroma takes it).
    p = with([](P& q) { q.sizeBlock = {4, 6}; });
    EXPECT_EQ(moxiInterpolateLumaBlock_H264_8u_P1R(&p), moxStsSizeErr);
    EXPECT_EQ(moxiInterpolateChromaBlock_H264_8u_P2R(&p), moxStsNoErr);
}

// Top and bottom forms: a picture of exactly the columns the filter reads and
// the rows of the picture it may read (ending at an unreadable page, or
// starting there with bottomUp), blocks from far outside to inside.
using EdgeFn = MoxStatus (*)(const Mox8u*, Mox32s, Mox8u*, Mox32s, Mox32s, Mox32s, Mox32s, MoxiSize);

void checkEdge(const char* name, EdgeFn fn, bool luma, bool top) {
    constexpr int kMargin = 64;
    const Area area = luma ? kLumaArea : kChromaArea;
    const int* widths = luma ? kLumaWidths : kChromaWidths;
    Rng r(99 + luma * 2 + top);
    for (int iter = 0; iter < 2000; ++iter) {
        const int w = widths[r.uniform(0, 6)], h = (luma ? 4 : 2) * r.uniform(1, r.coin() ? 4 : 10);
        const int fx = r.uniform(0, luma ? 3 : 7), fy = r.uniform(0, luma ? 3 : 7);
        const int lead = fy ? area.before : 0, after = fy ? area.after : 0, colLead = fx ? area.before : 0;
        const int cols = w + (fx ? area.before + area.after : 0);
        // Block top row yb in picture rows; the picture holds rows 0 .. fh - 1.
        int fh, yb;
        if (top) {
            yb = r.uniform(-h - 8, 12);
            fh = std::max(1, yb + h + after);
        } else {
            fh = r.uniform(1, 30);
            yb = r.uniform(lead, fh + 8);
            yb = std::max(yb, fh - h + 1 - 8);
            yb = std::max(yb, lead);
        }
        const int outPixels = top ? -yb : (yb + h - 1) - (fh - 1);
        const bool bottomUp = r.coin();
        PageEnd pic(cols, fh);
        for (size_t i = 0; i < pic.size(); ++i) pic.data()[i] = static_cast<Mox8u>(r.extreme(0, 255));
        const int step = bottomUp ? -cols : cols;
        Mox8u* first = bottomUp ? pic.ptr() + static_cast<size_t>(cols) * (fh - 1) : pic.ptr();
        // Row yb of the picture, possibly outside it: pointer arithmetic through integers.
        const Mox8u* src = reinterpret_cast<const Mox8u*>(reinterpret_cast<uintptr_t>(first) +
                                                           static_cast<intptr_t>(step) * yb + colLead);
        Guarded<Mox8u> got(w, h, randomLayout(r, 1)), want(w, h);
        ASSERT_EQ(fn(src, step, got.ptr(), got.step(), fx, fy, outPixels, {w, h}), moxStsNoErr);
        // Top forms repeat only the first row, bottom forms only the last; the
        // picture here never reaches the other side, so padding both is the same.
        auto padded = mox::ref::padPicture<Mox8u>(first, step, 1, cols, fh, kMargin);
        const int ps = cols + 2 * kMargin;
        const int yr = std::clamp(yb, -h - 16, fh + 16);
        const Mox8u* o = padded.data() + static_cast<size_t>(yr + kMargin) * ps + kMargin + colLead;
        if (luma) mox::ref::interpolateLuma<Mox8u>(o, ps, want.ptr(), want.step(), w, h, fx, fy, 8);
        else mox::ref::interpolateChroma<Mox8u>(o, ps, 1, want.ptr(), want.step(), w, h, fx, fy);
        ASSERT_EQ(got.samples(), want.samples()) << name << " " << w << "x" << h << " (" << fx << ", " << fy
                                                 << ") outPixels " << outPixels << " picture rows " << fh;
        ASSERT_TRUE(got.guardsIntact()) << name;
    }
}

TEST(InterpolateH264, TopAndBottomForms) {
    checkEdge("LumaTop", moxiInterpolateLumaTop_H264_8u_C1R, true, true);
    checkEdge("LumaBottom", moxiInterpolateLumaBottom_H264_8u_C1R, true, false);
    checkEdge("ChromaTop", moxiInterpolateChromaTop_H264_8u_C1R, false, true);
    checkEdge("ChromaBottom", moxiInterpolateChromaBottom_H264_8u_C1R, false, false);
}

TEST(InterpolateH264, TopAndBottomChecksInOrder) {
    std::vector<Mox8u> pic(64 * 64, 3);
    const Mox8u* s = pic.data() + 64 * 8 + 8;
    Guarded<Mox8u> d(16, 16);
    for (EdgeFn fn : {moxiInterpolateLumaTop_H264_8u_C1R, moxiInterpolateLumaBottom_H264_8u_C1R,
                      moxiInterpolateChromaTop_H264_8u_C1R, moxiInterpolateChromaBottom_H264_8u_C1R}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr, 64, d.ptr(), d.step(), 9, 9, 1, {3, 3}); }, {d});
        EXPECT_EQ(fn(s, 64, nullptr, d.step(), 9, 9, 1, {3, 3}), moxStsNullPtrErr);
        expectUntouched(moxStsBadArgErr, [&] { return fn(s, 64, d.ptr(), d.step(), -1, 0, 1, {3, 3}); }, {d});
        expectUntouched(moxStsBadArgErr, [&] { return fn(s, 64, d.ptr(), d.step(), 0, 8, 1, {3, 3}); }, {d});
        expectUntouched(moxStsSizeErr, [&] { return fn(s, 64, d.ptr(), d.step(), 0, 0, 1, {8, 3}); }, {d});
    }
    // Luma fractions stop at 3, sizes at multiples of 4 rows.
    expectUntouched(moxStsBadArgErr, [&] { return moxiInterpolateLumaTop_H264_8u_C1R(s, 64, d.ptr(), d.step(), 4, 0, 1, {6, 6}); }, {d});
    expectUntouched(moxStsSizeErr, [&] { return moxiInterpolateLumaBottom_H264_8u_C1R(s, 64, d.ptr(), d.step(), 3, 0, 1, {8, 6}); }, {d});
    EXPECT_EQ(moxiInterpolateChromaBottom_H264_8u_C1R(s, 64, d.ptr(), d.step(), 7, 0, 1, {8, 6}), moxStsNoErr);
}

// 16-bit luma: every position and allowed size at 8 to 14 bits, source
// holding exactly the filter's area at a page end, steps in samples.
TEST(InterpolateH264, Luma16uEveryPositionSizeAndDepth) {
    Rng r(16);
    for (int depth : {8, 10, 12, 14}) {
        for (int w : {4, 8, 16}) {
            for (int h : {4, 8, 16}) {
                if (w + h == 20) continue;
                for (int pos = 0; pos < 16; ++pos) {
                    const int fx = pos & 3, fy = pos >> 2;
                    const int aw = w + (fx ? 5 : 0) + r.uniform(0, 2), ah = h + (fy ? 5 : 0);
                    GuardPage mem(static_cast<size_t>(aw) * ah * 2);
                    Mox16u* a = mem.as<Mox16u>();
                    for (int i = 0; i < aw * ah; ++i) a[i] = static_cast<Mox16u>(r.extreme(0, (1 << depth) - 1));
                    const Mox16u* origin = a + (fy ? 2 : 0) * aw + (fx ? 2 : 0);
                    Guarded<Mox16u> got(w, h, Layout{r.uniform(0, 3) * 2, 0, false}), want(w, h);
                    MoxVCInterpolate_16u p{origin, aw, got.ptr(), got.step() / 2, fx, fy, {w, h}};
                    ASSERT_EQ(moxiInterpolateLuma_H264_16u_C1R(&p, depth), moxStsNoErr);
                    mox::ref::interpolateLuma<Mox16u>(origin, aw * 2, want.ptr(), want.step(), w, h, fx, fy, depth);
                    ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " (" << fx << ", " << fy << ") depth " << depth;
                    ASSERT_TRUE(got.guardsIntact());
                }
            }
        }
    }
}

TEST(InterpolateH264, Luma16uChecksInOrder) {
    std::vector<Mox16u> src(64 * 64, 5);
    Guarded<Mox16u> d(16, 16);
    const MoxVCInterpolate_16u good{src.data() + 64 * 4 + 4, 64, d.ptr(), d.step() / 2, 1, 1, {8, 8}};
    auto run = [&](auto change) {
        MoxVCInterpolate_16u p = good;
        change(p);
        return [p] { return moxiInterpolateLuma_H264_16u_C1R(&p, 10); };
    };
    using P = MoxVCInterpolate_16u;
    expectUntouched(moxStsNullPtrErr, [] { return moxiInterpolateLuma_H264_16u_C1R(nullptr, 10); }, {d});
    expectUntouched(moxStsNullPtrErr, run([](P& p) { p.pSrc = nullptr; p.srcStep = 0; }), {d});
    expectUntouched(moxStsStepErr, run([](P& p) { p.srcStep = 7; p.dx = 4; p.roiSize = {8, 6}; }), {d});
    expectUntouched(moxStsStepErr, run([](P& p) { p.dstStep = 7; }), {d});
    expectUntouched(moxStsBadArgErr, run([](P& p) { p.dy = -1; p.roiSize = {8, 6}; }), {d});
    expectUntouched(moxStsSizeErr, run([](P& p) { p.roiSize = {4, 16}; }), {d});
    expectUntouched(moxStsSizeErr, run([](P& p) { p.roiSize = {16, 4}; }), {d});
    expectUntouched(moxStsSizeErr, run([](P& p) { p.roiSize = {12, 8}; }), {d});
    EXPECT_EQ(run([](P& p) { p.roiSize = {16, 8}; })(), moxStsNoErr);
}

}  // namespace
