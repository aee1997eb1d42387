// H.264 interpolation: every position and fraction at every width class
// against the scalar model, reads confined to the filter's area (the area
// ends at an unreadable page), and the argument checks in their order.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "h264/interp_kernels.h"
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
// blocks anywhere around them with any vector (up to the ends of the 32-bit
// range), against the plain model run on an edge-padded copy. A far vector
// lands wholly outside the picture, where the result equals that of an area
// just beyond the padded margin's reach, so the model's position is clamped
// to within it.
constexpr int kPadMargin = 64;

// A picture plane of w x h sample groups of `pitch` samples at a page end,
// top-down or bottom-up.
template <class T>
struct Picture {
    PageEnd mem;
    int w, h, pitch, step;  // step in bytes
    Picture(Rng& r, int w_, int h_, int pitch_, bool bottomUp, int depth)
        : mem(w_ * pitch_ * static_cast<int>(sizeof(T)), h_), w(w_), h(h_), pitch(pitch_) {
        const int rowBytes = w * pitch * static_cast<int>(sizeof(T));
        step = bottomUp ? -rowBytes : rowBytes;
        T* t = mem.ptr<T>();
        for (size_t i = 0; i < mem.size() / sizeof(T); ++i) t[i] = static_cast<T>(r.extreme(0, (1 << depth) - 1));
    }
    const T* top() const {
        return reinterpret_cast<const T*>(mem.ptr() + (step < 0 ? static_cast<size_t>(-step) * (h - 1) : 0));
    }
    // The model's block at integer position (ix, iy) and fraction (fx, fy)
    // (quarter samples when luma), channel c of an interleaved picture.
    void expect(Guarded<T>& want, bool luma, int64_t ix, int64_t iy, int fx, int fy, int depth, int c = 0) const {
        const int bw = want.width(), bh = want.height();
        auto padded = mox::ref::padPicture<T>(top(), step, pitch, w, h, kPadMargin);
        const int ps = (w + 2 * kPadMargin) * pitch;
        const int x = static_cast<int>(std::clamp<int64_t>(ix, -bw - 16, w + 16));
        const int y = static_cast<int>(std::clamp<int64_t>(iy, -bh - 16, h + 16));
        const T* o = padded.data() + static_cast<size_t>(y + kPadMargin) * ps + (x + kPadMargin) * pitch + c;
        const int psb = ps * static_cast<int>(sizeof(T));
        if (luma)
            mox::ref::interpolateLuma<T>(o, psb, want.ptr(), want.step(), bw, bh, fx, fy, depth);
        else
            mox::ref::interpolateChroma<T>(o, psb, pitch, want.ptr(), want.step(), bw, bh, fx, fy);
    }
};

// Positions and vectors: mostly near the picture, sometimes far, sometimes
// at the ends of the 32-bit range.
int32_t randomVector(Rng& r, int shift) {
    const int pick = r.uniform(0, 19);
    if (pick == 0) return r.uniform(-(1 << 24), 1 << 24);
    static const int32_t kEnds[] = {INT32_MIN, INT32_MIN + 1, INT32_MAX, INT32_MAX - 5};
    if (pick == 1) return kEnds[r.uniform(0, 3)];
    if (pick == 2) return 0;
    const int near = (24 << shift) >> 2;
    return r.uniform(-near, near);
}
int32_t randomPosition(Rng& r, int frame, int block) {
    if (r.uniform(0, 39) == 0) return r.coin() ? INT32_MIN + 7 : INT32_MAX - 7;
    return r.uniform(-block - 8, frame + 8);
}

struct BlockKind {
    const char* name;
    bool luma;
    int pitch;                // samples per group of the source (2: interleaved U/V)
    int planes;               // separate source planes
    MoxiSize (*size)(Rng&);   // a block size the form accepts
};

MoxiSize lumaSize8(Rng& r) { return {kLumaWidths[r.uniform(0, 6)], 4 * r.uniform(1, r.coin() ? 4 : 10)}; }
MoxiSize chromaSize8(Rng& r) { return {kChromaWidths[r.uniform(0, 6)], 2 * r.uniform(1, r.coin() ? 4 : 10)}; }
MoxiSize lumaSize16(Rng& r) {
    for (;;) {
        const int w = 4 << r.uniform(0, 2), h = 4 << r.uniform(0, 2);
        if (w + h != 20) return {w, h};
    }
}
MoxiSize chromaSize16(Rng& r) { return {2 << r.uniform(0, 2), 2 << r.uniform(0, 3)}; }

// Rec is MoxVCInterpolateBlock_8u or _16u; fn(record, depth).
template <class T, class Rec, class Fn>
void checkBlocks(const BlockKind& k, int depth, Fn fn) {
    constexpr int kSize = static_cast<int>(sizeof(T));
    const int shift = k.luma ? 2 : 3;
    Rng r(2024 + shift + depth);
    for (int iter = 0; iter < 2000; ++iter) {
        const int fw = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40), fh = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40);
        const MoxiSize bs = k.size(r);
        const int w = bs.width, h = bs.height;
        const bool bottomUp = r.uniform(0, 3) == 0;
        std::vector<std::unique_ptr<Picture<T>>> pic;
        for (int c = 0; c < k.planes; ++c) pic.push_back(std::make_unique<Picture<T>>(r, fw, fh, k.pitch, bottomUp, depth));
        const Layout layout = randomLayout(r, kSize);  // one step for both planes
        Guarded<T> d0(w, h, layout), d1(w, h, layout), e0(w, h), e1(w, h);
        Rec p{};
        p.pSrc[0] = pic[0]->top();
        p.pSrc[1] = pic[k.planes - 1]->top();
        p.srcStep = pic[0]->step / kSize;
        p.pDst[0] = d0.ptr();
        p.pDst[1] = d1.ptr();
        p.dstStep = d0.step() / kSize;
        p.sizeFrame = {fw, fh};
        p.sizeBlock = {w, h};
        p.pointBlockPos.x = randomPosition(r, fw, w);
        p.pointBlockPos.y = randomPosition(r, fh, h);
        p.pointVector.x = randomVector(r, shift);
        p.pointVector.y = randomVector(r, shift);
        ASSERT_EQ(fn(&p, depth), moxStsNoErr);

        const int fmask = (1 << shift) - 1;
        const int64_t ix = int64_t{p.pointBlockPos.x} + (p.pointVector.x >> shift);
        const int64_t iy = int64_t{p.pointBlockPos.y} + (p.pointVector.y >> shift);
        Guarded<T>* want[2] = {&e0, &e1};
        for (int c = 0; c < (k.luma ? 1 : 2); ++c) {
            const Picture<T>& src = *pic[k.pitch == 2 ? 0 : c];
            src.expect(*want[c], k.luma, ix, iy, p.pointVector.x & fmask, p.pointVector.y & fmask, depth, k.pitch == 2 ? c : 0);
        }
        const auto where = ::testing::Message() << k.name << " depth " << depth << " frame " << fw << "x" << fh << " block " << w << "x" << h
                                                << " at " << p.pointBlockPos.x << "," << p.pointBlockPos.y << " mv "
                                                << p.pointVector.x << "," << p.pointVector.y;
        ASSERT_EQ(d0.samples(), e0.samples()) << where;
        ASSERT_TRUE(d0.guardsIntact()) << where;
        if (!k.luma) {
            ASSERT_EQ(d1.samples(), e1.samples()) << where;
            ASSERT_TRUE(d1.guardsIntact()) << where;
        }
    }
}

template <class Rec>
auto ignoreDepth(MoxStatus (*fn)(const Rec*)) {
    return [fn](const Rec* p, int) { return fn(p); };
}

TEST(InterpolateH264, LumaBlockAnywhereAroundThePicture) {
    checkBlocks<Mox8u, MoxVCInterpolateBlock_8u>({"luma block", true, 1, 1, lumaSize8}, 8,
                                                 ignoreDepth(moxiInterpolateLumaBlock_H264_8u_P1R));
    for (int depth : {8, 10, 12, 14})
        checkBlocks<Mox16u, MoxVCInterpolateBlock_16u>({"luma block 16u", true, 1, 1, lumaSize16}, depth,
                                                       moxiInterpolateLumaBlock_H264_16u_P1R);
}

TEST(InterpolateH264, ChromaBlockAnywhereAroundThePicture) {
    checkBlocks<Mox8u, MoxVCInterpolateBlock_8u>({"chroma block P2R", false, 1, 2, chromaSize8}, 8,
                                                 ignoreDepth(moxiInterpolateChromaBlock_H264_8u_P2R));
    checkBlocks<Mox8u, MoxVCInterpolateBlock_8u>({"chroma block C2P2R", false, 2, 1, chromaSize8}, 8,
                                                 ignoreDepth(moxiInterpolateChromaBlock_H264_8u_C2P2R));
    for (int depth : {8, 10, 12, 14})
        checkBlocks<Mox16u, MoxVCInterpolateBlock_16u>({"chroma block 16u", false, 1, 2, chromaSize16}, depth,
                                                       moxiInterpolateChromaBlock_H264_16u_P2R);
}

// Whole 4:2:0 partitions: luma as the luma block form; chroma at half the
// block size and position, the luma vector read as eighth chroma samples
// (odd luma positions land on chroma half samples).
void checkYUV(bool interleaved) {
    Rng r(420 + interleaved);
    for (int iter = 0; iter < 2000; ++iter) {
        const int fw = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40), fh = r.coin() ? r.uniform(1, 6) : r.uniform(7, 40);
        const int cfw = (fw + 1) / 2, cfh = (fh + 1) / 2;
        const MoxiSize bs = lumaSize8(r);
        const int w = bs.width, h = bs.height, cw = w / 2, ch = h / 2;
        const bool bottomUp = r.uniform(0, 3) == 0;
        Picture<Mox8u> y(r, fw, fh, 1, bottomUp, 8);
        std::vector<std::unique_ptr<Picture<Mox8u>>> c;
        for (int i = 0; i < (interleaved ? 1 : 2); ++i)
            c.push_back(std::make_unique<Picture<Mox8u>>(r, cfw, cfh, interleaved ? 2 : 1, bottomUp, 8));
        const Layout cl = randomLayout(r, 1);
        Guarded<Mox8u> dy(w, h, randomLayout(r, 1)), du(cw, ch, cl), dv(cw, ch, cl), ey(w, h), eu(cw, ch), ev(cw, ch);
        MoxVCInterpolateBlockYUV_8u p{};
        p.pSrc[0] = y.top();
        p.pSrc[1] = c[0]->top();
        p.pSrc[2] = interleaved ? nullptr : c[1]->top();
        p.srcStep[0] = y.step;
        p.srcStep[1] = c[0]->step;
        p.pDst[0] = dy.ptr();
        p.pDst[1] = du.ptr();
        p.pDst[2] = dv.ptr();
        p.dstStep[0] = dy.step();
        p.dstStep[1] = du.step();
        p.sizeFrame = {fw, fh};
        p.sizeBlock = bs;
        p.pointBlockPos.x = randomPosition(r, fw, w);
        p.pointBlockPos.y = randomPosition(r, fh, h);
        p.pointVector.x = randomVector(r, 2);
        p.pointVector.y = randomVector(r, 2);
        auto fn = interleaved ? moxiInterpolateBlock_H264_8u_P2P1R : moxiInterpolateBlock_H264_8u_P3P1R;
        ASSERT_EQ(fn(&p), moxStsNoErr);

        const int64_t mx = p.pointVector.x, my = p.pointVector.y;
        y.expect(ey, true, p.pointBlockPos.x + (mx >> 2), p.pointBlockPos.y + (my >> 2), static_cast<int>(mx & 3),
                 static_cast<int>(my & 3), 8);
        const int64_t cx = 4 * int64_t{p.pointBlockPos.x} + mx, cy = 4 * int64_t{p.pointBlockPos.y} + my;
        const int fx = static_cast<int>(cx & 7), fy = static_cast<int>(cy & 7);
        if (interleaved) {
            c[0]->expect(eu, false, cx >> 3, cy >> 3, fx, fy, 8, 0);
            c[0]->expect(ev, false, cx >> 3, cy >> 3, fx, fy, 8, 1);
        } else {
            c[0]->expect(eu, false, cx >> 3, cy >> 3, fx, fy, 8);
            c[1]->expect(ev, false, cx >> 3, cy >> 3, fx, fy, 8);
        }
        const auto where = ::testing::Message() << (interleaved ? "P2P1R" : "P3P1R") << " frame " << fw << "x" << fh << " block " << w
                                                << "x" << h << " at " << p.pointBlockPos.x << "," << p.pointBlockPos.y
                                                << " mv " << mx << "," << my;
        ASSERT_EQ(dy.samples(), ey.samples()) << where;
        ASSERT_EQ(du.samples(), eu.samples()) << where;
        ASSERT_EQ(dv.samples(), ev.samples()) << where;
        ASSERT_TRUE(dy.guardsIntact()) << where;
        ASSERT_TRUE(du.guardsIntact()) << where;
        ASSERT_TRUE(dv.guardsIntact()) << where;
    }
}

TEST(InterpolateH264, WholePartitionAnywhereAroundThePicture) {
    checkYUV(false);
    checkYUV(true);
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
        // A picture without samples has no edge to repeat.
        p = with([](P& q) { q.sizeFrame = {0, 32}; });
        expectUntouched(moxStsSizeErr, [&] { return fn(&p); }, {u, v});
        p = with([](P& q) { q.sizeFrame = {32, -1}; });
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
using EdgeFn16 = MoxStatus (*)(const MoxVCInterpolate_16u*, Mox32s, Mox32s);

// 8-bit forms take their arguments one by one, 16-bit ones a record with
// steps in samples.
MoxStatus callEdge(EdgeFn fn, const Mox8u* s, int ss, Guarded<Mox8u>& d, int fx, int fy, int out, int, MoxiSize sz) {
    return fn(s, ss, d.ptr(), d.step(), fx, fy, out, sz);
}
MoxStatus callEdge(EdgeFn16 fn, const Mox16u* s, int ss, Guarded<Mox16u>& d, int fx, int fy, int out, int depth,
                   MoxiSize sz) {
    const MoxVCInterpolate_16u p{s, ss / 2, d.ptr(), d.step() / 2, fx, fy, sz};
    return fn(&p, out, depth);
}

template <class T, class Fn>
void checkEdge(const char* name, Fn fn, bool luma, bool top, int depth) {
    const Area area = luma ? kLumaArea : kChromaArea;
    Rng r(99 + luma * 2 + top + depth);
    for (int iter = 0; iter < 1500; ++iter) {
        const MoxiSize bs = sizeof(T) == 1 ? (luma ? lumaSize8(r) : chromaSize8(r)) : (luma ? lumaSize16(r) : chromaSize16(r));
        const int w = bs.width, h = bs.height;
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
        // The 16-bit forms take steps of at least the width: no bottom-up pictures.
        Picture<T> pic(r, cols, fh, 1, sizeof(T) == 1 && r.coin(), depth);
        // Row yb of the picture, possibly outside it: pointer arithmetic through integers.
        const T* src = reinterpret_cast<const T*>(reinterpret_cast<uintptr_t>(pic.top()) +
                                                   static_cast<intptr_t>(pic.step) * yb + colLead * sizeof(T));
        Layout layout = randomLayout(r, sizeof(T));
        layout.bottomUp = layout.bottomUp && sizeof(T) == 1;
        Guarded<T> got(w, h, layout), want(w, h);
        ASSERT_EQ(callEdge(fn, src, pic.step, got, fx, fy, outPixels, depth, bs), moxStsNoErr);
        // Top forms repeat only the first row, bottom forms only the last; the
        // picture here never reaches the other side, so padding both is the same.
        pic.expect(want, luma, colLead, yb, fx, fy, depth);
        ASSERT_EQ(got.samples(), want.samples()) << name << " " << w << "x" << h << " (" << fx << ", " << fy
                                                 << ") outPixels " << outPixels << " picture rows " << fh << " depth " << depth;
        ASSERT_TRUE(got.guardsIntact()) << name;
    }
}

TEST(InterpolateH264, TopAndBottomForms) {
    checkEdge<Mox8u>("LumaTop", moxiInterpolateLumaTop_H264_8u_C1R, true, true, 8);
    checkEdge<Mox8u>("LumaBottom", moxiInterpolateLumaBottom_H264_8u_C1R, true, false, 8);
    checkEdge<Mox8u>("ChromaTop", moxiInterpolateChromaTop_H264_8u_C1R, false, true, 8);
    checkEdge<Mox8u>("ChromaBottom", moxiInterpolateChromaBottom_H264_8u_C1R, false, false, 8);
    for (int depth : {8, 10, 12, 14}) {
        checkEdge<Mox16u>("LumaTop 16u", moxiInterpolateLumaTop_H264_16u_C1R, true, true, depth);
        checkEdge<Mox16u>("LumaBottom 16u", moxiInterpolateLumaBottom_H264_16u_C1R, true, false, depth);
        checkEdge<Mox16u>("ChromaTop 16u", moxiInterpolateChromaTop_H264_16u_C1R, false, true, depth);
        checkEdge<Mox16u>("ChromaBottom 16u", moxiInterpolateChromaBottom_H264_16u_C1R, false, false, depth);
    }
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

TEST(InterpolateH264, Block16uChecksInOrder) {
    std::vector<Mox16u> pic(32 * 32, 7);
    Guarded<Mox16u> u(16, 16), v(16, 16);
    using P = MoxVCInterpolateBlock_16u;
    const P good{{pic.data(), pic.data()}, 32, {u.ptr(), v.ptr()}, u.step() / 2, {32, 32}, {8, 8}, {4, 4}, {1, 1}};
    auto with = [&](auto change) {
        P p = good;
        change(p);
        return p;
    };
    for (auto fn : {moxiInterpolateLumaBlock_H264_16u_P1R, moxiInterpolateChromaBlock_H264_16u_P2R}) {
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr, 10); }, {u, v});
        for (int i = 0; i < 2; ++i) {
            P p = with([i](P& q) { q.pSrc[i] = nullptr; q.sizeBlock = {3, 3}; });
            EXPECT_EQ(fn(&p, 10), i == 0 || fn == moxiInterpolateChromaBlock_H264_16u_P2R ? moxStsNullPtrErr : moxStsSizeErr);
            p = with([i](P& q) { q.pDst[i] = nullptr; });
            EXPECT_EQ(fn(&p, 10), i == 0 || fn == moxiInterpolateChromaBlock_H264_16u_P2R ? moxStsNullPtrErr : moxStsNoErr);
        }
        u.arm();
        v.arm();
        for (MoxiSize sz : {MoxiSize{8, 3}, MoxiSize{16, 12}, MoxiSize{12, 8}, MoxiSize{0, 0}, MoxiSize{-8, 8}}) {
            P p = with([sz](P& q) { q.sizeBlock = sz; });
            expectUntouched(moxStsSizeErr, [&] { return fn(&p, 10); }, {u, v});
        }
        P p = with([](P& q) { q.sizeFrame = {32, 0}; });
        expectUntouched(moxStsSizeErr, [&] { return fn(&p, 10); }, {u, v});
    }
    // Luma sizes are the H.264 partitions, chroma those of 4:2:0 and 4:2:2.
    P p = with([](P& q) { q.sizeBlock = {16, 4}; });
    EXPECT_EQ(moxiInterpolateLumaBlock_H264_16u_P1R(&p, 10), moxStsSizeErr);
    p = with([](P& q) { q.sizeBlock = {2, 16}; });
    EXPECT_EQ(moxiInterpolateLumaBlock_H264_16u_P1R(&p, 10), moxStsSizeErr);
    EXPECT_EQ(moxiInterpolateChromaBlock_H264_16u_P2R(&p, 10), moxStsNoErr);
    p = with([](P& q) { q.sizeBlock = {16, 16}; });
    EXPECT_EQ(moxiInterpolateChromaBlock_H264_16u_P2R(&p, 10), moxStsSizeErr);
}

TEST(InterpolateH264, WholePartitionChecksInOrder) {
    std::vector<Mox8u> pic(32 * 32, 7);
    Guarded<Mox8u> y(16, 16), u(8, 8), v(8, 8);
    using P = MoxVCInterpolateBlockYUV_8u;
    const P good{{pic.data(), pic.data(), pic.data()}, {32, 16}, {y.ptr(), u.ptr(), v.ptr()}, {y.step(), u.step()},
                 {32, 32}, {16, 16}, {4, 4}, {1, 1}};
    for (auto fn : {moxiInterpolateBlock_H264_8u_P3P1R, moxiInterpolateBlock_H264_8u_P2P1R}) {
        const bool planar = fn == moxiInterpolateBlock_H264_8u_P3P1R;
        expectUntouched(moxStsNullPtrErr, [&] { return fn(nullptr); }, {y, u, v});
        for (int i = 0; i < 3; ++i) {
            P p = good;
            p.pDst[i] = nullptr;
            p.sizeBlock = {3, 3};
            expectUntouched(moxStsNullPtrErr, [&] { return fn(&p); }, {y, u, v});
            p = good;
            p.pSrc[i] = nullptr;
            p.sizeBlock = {3, 3};
            // The interleaved picture has no third plane.
            expectUntouched(i < 2 || planar ? moxStsNullPtrErr : moxStsSizeErr, [&] { return fn(&p); }, {y, u, v});
        }
        for (MoxiSize sz : {MoxiSize{8, 6}, MoxiSize{2, 8}, MoxiSize{32, 16}}) {
            P p = good;
            p.sizeBlock = sz;
            expectUntouched(moxStsSizeErr, [&] { return fn(&p); }, {y, u, v});
        }
        P p = good;
        p.sizeFrame = {-2, 2};
        expectUntouched(moxStsSizeErr, [&] { return fn(&p); }, {y, u, v});
    }
}

// 16-bit plain forms: every position and allowed size at 8 to 14 bits,
// source holding exactly the filter's area at a page end, steps in samples.
template <bool kLuma>
void check16uPlain() {
    Rng r(16 + kLuma);
    const Area area = kLuma ? kLumaArea : kChromaArea;
    const int maxFrac = kLuma ? 3 : 7;
    for (int depth : {8, 10, 12, 14}) {
        for (int w : {2, 4, 8, 16}) {
            for (int h : {2, 4, 8, 16}) {
                if (!(kLuma ? mox::interp::lumaSize16u(w, h) : mox::interp::chromaSize16u(w, h))) continue;
                for (int pos = 0; pos <= maxFrac * (maxFrac + 2); ++pos) {
                    const int fx = pos % (maxFrac + 1), fy = pos / (maxFrac + 1);
                    const int aw = w + (fx ? area.before + area.after : 0) + r.uniform(0, 2);
                    const int ah = h + (fy ? area.before + area.after : 0);
                    GuardPage mem(static_cast<size_t>(aw) * ah * 2);
                    Mox16u* a = mem.as<Mox16u>();
                    for (int i = 0; i < aw * ah; ++i) a[i] = static_cast<Mox16u>(r.extreme(0, (1 << depth) - 1));
                    const Mox16u* origin = a + (fy ? area.before : 0) * aw + (fx ? area.before : 0);
                    Guarded<Mox16u> got(w, h, Layout{r.uniform(0, 3) * 2, 0, false}), want(w, h);
                    MoxVCInterpolate_16u p{origin, aw, got.ptr(), got.step() / 2, fx, fy, {w, h}};
                    if constexpr (kLuma) {
                        ASSERT_EQ(moxiInterpolateLuma_H264_16u_C1R(&p, depth), moxStsNoErr);
                        mox::ref::interpolateLuma<Mox16u>(origin, aw * 2, want.ptr(), want.step(), w, h, fx, fy, depth);
                    } else {
                        ASSERT_EQ(moxiInterpolateChroma_H264_16u_C1R(&p, depth), moxStsNoErr);
                        mox::ref::interpolateChroma<Mox16u>(origin, aw * 2, 1, want.ptr(), want.step(), w, h, fx, fy);
                    }
                    ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " (" << fx << ", " << fy << ") depth " << depth;
                    ASSERT_TRUE(got.guardsIntact());
                }
            }
        }
    }
}

TEST(InterpolateH264, Luma16uEveryPositionSizeAndDepth) { check16uPlain<true>(); }
TEST(InterpolateH264, Chroma16uEveryFractionSizeAndDepth) { check16uPlain<false>(); }

// The plain, Top and Bottom 16-bit forms share their checks.
TEST(InterpolateH264, Plain16uChecksInOrder) {
    std::vector<Mox16u> src(64 * 64, 5);
    Guarded<Mox16u> d(16, 16);
    const MoxVCInterpolate_16u good{src.data() + 64 * 4 + 4, 64, d.ptr(), d.step() / 2, 1, 1, {8, 8}};
    using P = MoxVCInterpolate_16u;
    using Call = std::function<MoxStatus(const P*)>;
    const std::pair<Call, bool> forms[] = {
        {[](const P* p) { return moxiInterpolateLuma_H264_16u_C1R(p, 10); }, true},
        {[](const P* p) { return moxiInterpolateLumaTop_H264_16u_C1R(p, 1, 10); }, true},
        {[](const P* p) { return moxiInterpolateLumaBottom_H264_16u_C1R(p, -1, 10); }, true},
        {[](const P* p) { return moxiInterpolateChroma_H264_16u_C1R(p, 10); }, false},
        {[](const P* p) { return moxiInterpolateChromaTop_H264_16u_C1R(p, 3, 10); }, false},
        {[](const P* p) { return moxiInterpolateChromaBottom_H264_16u_C1R(p, 0, 10); }, false},
    };
    for (const auto& [fn, luma] : forms) {
        const Call f = fn;
        auto run = [good, f](auto change) {
            P p = good;
            change(p);
            return [p, f] { return f(&p); };
        };
        expectUntouched(moxStsNullPtrErr, [f] { return f(nullptr); }, {d});
        expectUntouched(moxStsNullPtrErr, run([](P& p) { p.pSrc = nullptr; p.srcStep = 0; }), {d});
        expectUntouched(moxStsNullPtrErr, run([](P& p) { p.pDst = nullptr; p.dx = 9; }), {d});
        expectUntouched(moxStsStepErr, run([](P& p) { p.srcStep = 7; p.dx = 9; p.roiSize = {8, 6}; }), {d});
        expectUntouched(moxStsStepErr, run([](P& p) { p.dstStep = -8; }), {d});
        expectUntouched(moxStsBadArgErr, run([](P& p) { p.dy = -1; p.roiSize = {8, 6}; }), {d});
        expectUntouched(moxStsBadArgErr, run([](P& p) { p.dx = 8; }), {d});
        expectUntouched(moxStsSizeErr, run([](P& p) { p.roiSize = {12, 8}; }), {d});
        expectUntouched(moxStsSizeErr, run([](P& p) { p.roiSize = {8, 6}; }), {d});
        // Luma: quarter fractions, the H.264 partitions; chroma: eighths, 2..8 by 2..16.
        EXPECT_EQ(run([](P& p) { p.dx = 5; })(), luma ? moxStsBadArgErr : moxStsNoErr);
        EXPECT_EQ(run([](P& p) { p.roiSize = {4, 16}; })(), luma ? moxStsSizeErr : moxStsNoErr);
        EXPECT_EQ(run([](P& p) { p.roiSize = {16, 8}; })(), luma ? moxStsNoErr : moxStsSizeErr);
        EXPECT_EQ(run([](P& p) { p.roiSize = {2, 2}; })(), luma ? moxStsSizeErr : moxStsNoErr);
    }
}

}  // namespace
