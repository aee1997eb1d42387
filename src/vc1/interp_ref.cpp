// Scalar VC-1 interpolation models, written from the filter definitions of
// SMPTE 421M one output sample at a time.
#include "vc1/interp_ref.h"

#include <algorithm>
#include <cstdint>

#include "core/pixel.h"
#include "vc1/interp_sizes.h"

namespace mox::ref::vc1 {

namespace {

// Bicubic taps at offsets -1, 0, +1, +2 for quarter fractions 1..3.
constexpr int kTaps[4][4] = {{0, 0, 0, 0}, {-4, 53, 18, -3}, {-1, 9, 9, -1}, {-3, 18, 53, -4}};
// One-dimensional shift per fraction; the two-dimensional first-pass shift
// is (v[dx] + v[dy]) / 2 with v = 5 for quarters and 1 for the half.
constexpr int kShift1D[4] = {0, 6, 4, 6};
constexpr int kHalfShift[4] = {0, 5, 1, 5};

inline int at(const Mox8u* p, int step, int x, int y) { return row(p, step, y)[x]; }

}  // namespace

void bicubic(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, int dx, int dy, int rnd) {
    for (int y = 0; y < h; ++y) {
        Mox8u* d = row(dst, dstStep, y);
        for (int x = 0; x < w; ++x) {
            int v;
            if (dx == 0 && dy == 0) {
                v = at(src, srcStep, x, y);
            } else if (dx == 0) {
                const int s = kShift1D[dy];
                int sum = 0;
                for (int k = 0; k < 4; ++k) sum += kTaps[dy][k] * at(src, srcStep, x, y - 1 + k);
                v = (sum + (1 << (s - 1)) - 1 + rnd) >> s;
            } else if (dy == 0) {
                const int s = kShift1D[dx];
                int sum = 0;
                for (int k = 0; k < 4; ++k) sum += kTaps[dx][k] * at(src, srcStep, x - 1 + k, y);
                v = (sum + (1 << (s - 1)) - rnd) >> s;
            } else {
                const int s1 = (kHalfShift[dx] + kHalfShift[dy]) >> 1;
                int sum = 0;
                for (int j = 0; j < 4; ++j) {
                    int vs = 0;
                    for (int k = 0; k < 4; ++k) vs += kTaps[dy][k] * at(src, srcStep, x - 1 + j, y - 1 + k);
                    const int16_t mid = static_cast<int16_t>((vs + (1 << (s1 - 1)) - 1 + rnd) >> s1);
                    sum += kTaps[dx][j] * mid;
                }
                v = (sum + 64 - rnd) >> 7;
            }
            d[x] = static_cast<Mox8u>(clampPixel(v));
        }
    }
}

void bilinear(const Mox8u* src, int srcStep, int pitch, Mox8u* dst, int dstStep, int w, int h, int dx, int dy,
              int rnd) {
    for (int y = 0; y < h; ++y) {
        // Only the samples the fraction needs are read: row y + 1 when dy is
        // nonzero, the right neighbour when dx is.
        const Mox8u* s0 = row(src, srcStep, y);
        const Mox8u* s1 = dy ? row(src, srcStep, y + 1) : s0;
        const int right = dx ? pitch : 0;
        Mox8u* d = row(dst, dstStep, y);
        for (int i = 0; i < w * pitch; ++i) {
            const int a = s0[i], b = s0[i + right], c = s1[i], e = s1[i + right];
            int v;
            if (dx == 0 && dy == 0)
                v = a;
            else if (dy == 0)
                v = ((4 - dx) * a + dx * b + 2 - rnd) >> 2;
            else if (dx == 0)
                v = ((4 - dy) * a + dy * c + 2 - rnd) >> 2;
            else
                v = ((4 - dx) * (4 - dy) * a + dx * (4 - dy) * b + (4 - dx) * dy * c + dx * dy * e + 8 - rnd) >> 4;
            d[i] = static_cast<Mox8u>(v);
        }
    }
}

void interpolateBlock(const MoxVCBlockICParams& p, Filter f) {
    const MoxiSize bs = f == Filter::Bicubic    ? mox::vc1::bicubicSize(p.blockSize)
                        : f == Filter::Bilinear ? mox::vc1::bilinearSize(p.blockSize)
                                                : mox::vc1::bilinearPairsSize(p.blockSize);
    const int pitch = f == Filter::BilinearPairs ? 2 : 1;
    const bool field = p.isFieldRef != 0, keep = p.keepFieldParity != 0 && !field;
    const int64_t step = field ? 2 * static_cast<int64_t>(p.srcStep) : p.srcStep;
    const int64_t fw = std::max(p.frameSize.width, 1);
    const int64_t fh = std::max(field ? p.frameSize.height >> 1 : p.frameSize.height, 1);
    // The area: one sample before and two after the block in each direction.
    constexpr int kPitch = 19;
    Mox8u area[kPitch * kPitch * 2];
    for (int r = 0; r < bs.height + 3; ++r) {
        const int64_t want = static_cast<int64_t>(p.blockPos.y) - 1 + r;
        int64_t got = want;
        if (want < 0) got = keep ? (want & 1) : 0;
        if (want >= fh) got = keep ? fh - 1 - ((fh - 1 - want) & 1) : fh - 1;
        got = std::clamp<int64_t>(got, 0, fh - 1);
        const Mox8u* lut = field ? (p.isBottomField ? p.pBottomFieldLut : p.pTopFieldLut)
                                 : ((got & 1) ? p.pBottomFieldLut : p.pTopFieldLut);
        const Mox8u* srcRow = p.pSrc + got * step;
        for (int c = 0; c < bs.width + 3; ++c) {
            const int64_t col = std::clamp<int64_t>(static_cast<int64_t>(p.blockPos.x) - 1 + c, 0, fw - 1);
            for (int ch = 0; ch < pitch; ++ch) {
                const Mox8u v = srcRow[col * pitch + ch];
                area[(r * kPitch + c) * pitch + ch] = lut ? lut[v] : v;
            }
        }
    }
    const Mox8u* origin = area + (kPitch + 1) * pitch;
    const int dx = p.quarterMv.dx & 3, dy = p.quarterMv.dy & 3, rnd = static_cast<int>(p.rnd & 1);
    if (f == Filter::Bicubic)
        bicubic(origin, kPitch, p.pDst, p.dstStep, bs.width, bs.height, dx, dy, rnd);
    else
        bilinear(origin, kPitch * pitch, pitch, p.pDst, p.dstStep, bs.width, bs.height, dx, dy, rnd);
}

}  // namespace mox::ref::vc1
