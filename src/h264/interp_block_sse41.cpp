// H.264 interpolation block forms: the block's position and motion vector
// select the source area; an area reaching outside the reference picture is
// first gathered into a local buffer with the picture's edge samples
// repeated, so nothing outside the picture is ever read.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/pixel.h"
#include "h264/interp_kernels.h"
#include "me/simd.h"

namespace {

using namespace mox;

// Rows of output built from one buffered area at a time.
constexpr int kBand = 16;

// The area's integer origin and fraction along one axis: `shift` 2 (luma
// quarters) or 3 (chroma eighths); `before`/`extra` the filter margin.
struct Axis {
    int64_t start;  // first sample of the area
    int frac;       // fractional position
    int lead;       // samples of margin before the integer position
    int size;       // samples in the area
};

inline Axis axis(int pos, int mv, int shift, int before, int extra, int blockSize) {
    Axis a;
    a.frac = mv & ((1 << shift) - 1);
    a.lead = a.frac ? before : 0;
    a.start = static_cast<int64_t>(pos) + (mv >> shift) - a.lead;
    a.size = blockSize + (a.frac ? extra : 0);
    return a;
}

inline bool inside(const Axis& x, const Axis& y, const MoxiSize& frame) {
    return x.start >= 0 && x.start + x.size <= frame.width && y.start >= 0 && y.start + y.size <= frame.height;
}

// n bytes (n up to a few dozen), in overlapping 16-, 8- or 4-byte pieces
// that stay within the n bytes.
inline void copyRow(Mox8u* d, const Mox8u* s, int n) {
    if (n >= 16) {
        for (int i = 0; i + 16 <= n; i += 16) simd::store<16>(d + i, simd::load<16>(s + i));
        if (n & 15) simd::store<16>(d + n - 16, simd::load<16>(s + n - 16));
    } else if (n >= 8) {
        simd::store<8>(d, simd::load<8>(s));
        simd::store<8>(d + n - 8, simd::load<8>(s + n - 8));
    } else if (n >= 4) {
        simd::store<4>(d, simd::load<4>(s));
        simd::store<4>(d + n - 4, simd::load<4>(s + n - 4));
    } else {
        for (int i = 0; i < n; ++i) d[i] = s[i];
    }
}

// Copies rows y0 .. y0 + rows - 1 of the area (columns x0 .. x0 + cols - 1)
// into buf, repeating the picture's edge samples outside it. `pitch` bytes
// per sample group (1 planar, 2 interleaved U/V).
void gather(const Mox8u* plane, int step, int pitch, const MoxiSize& frame, int64_t x0, int64_t y0, int cols, int rows,
            Mox8u* buf, int bufStep) {
    const int64_t fw = frame.width, fh = frame.height;
    // Columns before the picture, inside it, after it.
    const int left = static_cast<int>(std::clamp<int64_t>(-x0, 0, cols));
    const int right = static_cast<int>(std::clamp<int64_t>(x0 + cols - fw, 0, cols - left));
    const int mid = cols - left - right;
    const int64_t firstMid = x0 + left;
    for (int i = 0; i < rows; ++i) {
        const Mox8u* s = row(plane, step, static_cast<int>(std::clamp<int64_t>(y0 + i, 0, fh - 1)));
        Mox8u* d = buf + i * bufStep;
        const Mox8u* rightSrc = s + (fw - 1) * pitch;
        if (pitch == 1) {
            std::memset(d, s[0], static_cast<size_t>(left));
            std::memset(d + cols - right, *rightSrc, static_cast<size_t>(right));
        } else {
            for (int c = 0; c < left; ++c) std::memcpy(d + c * pitch, s, pitch);
            for (int c = cols - right; c < cols; ++c) std::memcpy(d + c * pitch, rightSrc, pitch);
        }
        if (mid > 0) copyRow(d + left * pitch, s + firstMid * pitch, mid * pitch);
    }
}

// Runs `kernel(src, srcStep, dstOffsetRows, rows)` either on the picture
// directly or on bands of a gathered copy of the area.
template <class K>
void run(const Mox8u* plane, int step, int pitch, const MoxiSize& frame, const Axis& ax, const Axis& ay, int extraRows,
         int h, K&& kernel) {
    if (inside(ax, ay, frame)) {
        kernel(row(plane, step, static_cast<int>(ay.start + ay.lead)) + (ax.start + ax.lead) * pitch, step, 0, h);
        return;
    }
    alignas(16) Mox8u buf[(kBand + 5) * 64];
    constexpr int kBufStep = 64;
    for (int y0 = 0; y0 < h; y0 += kBand) {
        const int rows = std::min(kBand, h - y0);
        gather(plane, step, pitch, frame, ax.start, ay.start + y0, ax.size, rows + extraRows, buf, kBufStep);
        kernel(buf + ay.lead * kBufStep + ax.lead * pitch, kBufStep, y0, rows);
    }
}

}  // namespace

MOX_FN moxiInterpolateLumaBlock_H264_8u_P1R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pDst[0]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    MOX_CHECK((h & 3) == 0 && (w & ~0x1C) == 0, moxStsSizeErr);
    if (h <= 0 || w == 0) return moxStsNoErr;
    const Axis ax = axis(p.pointBlockPos.x, p.pointVector.x, 2, 2, 5, w);
    const Axis ay = axis(p.pointBlockPos.y, p.pointVector.y, 2, 2, 5, h);
    run(p.pSrc[0], p.srcStep, 1, p.sizeFrame, ax, ay, ay.size - h, h, [&](const Mox8u* s, int ss, int y0, int rows) {
        interp::luma8u(s, ss, row(p.pDst[0], p.dstStep, y0), p.dstStep, ax.frac, ay.frac, w, rows);
    });
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChromaBlock_H264_8u_P2R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pSrc[1], pParams->pDst[0], pParams->pDst[1]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    MOX_CHECK((h & 1) == 0 && (w & ~0xE) == 0, moxStsSizeErr);
    if (h <= 0 || w == 0) return moxStsNoErr;
    const Axis ax = axis(p.pointBlockPos.x, p.pointVector.x, 3, 0, 1, w);
    const Axis ay = axis(p.pointBlockPos.y, p.pointVector.y, 3, 0, 1, h);
    for (int c = 0; c < 2; ++c) {
        run(p.pSrc[c], p.srcStep, 1, p.sizeFrame, ax, ay, ay.size - h, h, [&](const Mox8u* s, int ss, int y0, int rows) {
            interp::chroma8u(s, ss, row(p.pDst[c], p.dstStep, y0), p.dstStep, ax.frac, ay.frac, w, rows);
        });
    }
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChromaBlock_H264_8u_C2P2R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pDst[0], pParams->pDst[1]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    MOX_CHECK((h & 1) == 0 && (w & ~0xE) == 0, moxStsSizeErr);
    if (h <= 0 || w == 0) return moxStsNoErr;
    const Axis ax = axis(p.pointBlockPos.x, p.pointVector.x, 3, 0, 1, w);
    const Axis ay = axis(p.pointBlockPos.y, p.pointVector.y, 3, 0, 1, h);
    run(p.pSrc[0], p.srcStep, 2, p.sizeFrame, ax, ay, ay.size - h, h, [&](const Mox8u* s, int ss, int y0, int rows) {
        interp::chroma8uC2(s, ss, row(p.pDst[0], p.dstStep, y0), row(p.pDst[1], p.dstStep, y0), p.dstStep, ax.frac,
                           ay.frac, w, rows);
    });
    return moxStsNoErr;
}

// Top and bottom edge forms: pSrc is the block's integer position and
// outPixels says how far the block lies beyond the picture's first (Top) or
// last (Bottom) row; area rows beyond that row repeat it. Columns are read
// as they are.
namespace {

// Area rows lo .. hi (relative to pSrc) are the picture; rows outside repeat
// the nearer of them. `lead`/`after`: margin rows and columns of the filter.
template <class K>
void runRowClamped(const Mox8u* src, int step, int colLead, int cols, int rowLead, int extraRows, int64_t lo,
                   int64_t hi, int h, K&& kernel) {
    constexpr int kBufStep = 64;
    alignas(16) Mox8u buf[(kBand + 5) * kBufStep];
    for (int y0 = 0; y0 < h; y0 += kBand) {
        const int rows = std::min(kBand, h - y0);
        for (int i = 0; i < rows + extraRows; ++i) {
            const int64_t r = std::clamp<int64_t>(static_cast<int64_t>(y0) - rowLead + i, lo, hi);
            copyRow(buf + i * kBufStep, row(src, step, static_cast<int>(r)) - colLead, cols);
        }
        kernel(buf + rowLead * kBufStep + colLead, kBufStep, y0, rows);
    }
}

constexpr int64_t kFar = int64_t{1} << 40;

}  // namespace

#define MOX_INTERP_EDGE(Name, FracMax, SizeOk, Lead, After, Kernel, Lo, Hi)                                    \
    MOX_FN moxiInterpolate##Name##_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep,       \
                                               Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize) {           \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                                   \
        MOX_CHECK(static_cast<Mox32u>(dx | dy) <= (FracMax), moxStsBadArgErr);                                       \
        const int w = roiSize.width, h = roiSize.height;                                                              \
        MOX_CHECK(SizeOk, moxStsSizeErr);                                                                             \
        const int colLead = dx ? (Lead) : 0, rowLead = dy ? (Lead) : 0;                                               \
        const int cols = w + (dx ? (Lead) + (After) : 0), extraRows = dy ? (Lead) + (After) : 0;                      \
        const int64_t out = outPixels;                                                                                \
        runRowClamped(pSrc, srcStep, colLead, cols, rowLead, extraRows, Lo, Hi, h,                                   \
                      [&](const Mox8u* s, int ss, int y0, int rows) {                                                 \
                          interp::Kernel(s, ss, row(pDst, dstStep, y0), dstStep, dx, dy, w, rows);                     \
                      });                                                                                             \
        return moxStsNoErr;                                                                                           \
    }

MOX_INTERP_EDGE(LumaTop, 3u, (h & 3) == 0 && (w & ~0x1C) == 0, 2, 3, luma8u, out, kFar)
MOX_INTERP_EDGE(LumaBottom, 3u, (h & 3) == 0 && (w & ~0x1C) == 0, 2, 3, luma8u, -kFar, h - 1 - out)
MOX_INTERP_EDGE(ChromaTop, 7u, (h & 1) == 0 && (w & ~0xE) == 0, 0, 1, chroma8u, out, kFar)
MOX_INTERP_EDGE(ChromaBottom, 7u, (h & 1) == 0 && (w & ~0xE) == 0, 0, 1, chroma8u, -kFar, h - 1 - out)
