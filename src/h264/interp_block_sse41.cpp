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

inline Axis axis(int64_t pos, int64_t mv, int shift, int before, int extra, int blockSize) {
    Axis a;
    a.frac = static_cast<int>(mv & ((1 << shift) - 1));
    a.lead = a.frac ? before : 0;
    a.start = pos + (mv >> shift) - a.lead;
    a.size = blockSize + (a.frac ? extra : 0);
    return a;
}

inline bool inside(const Axis& x, const Axis& y, const MoxiSize& frame) {
    return x.start >= 0 && x.start + x.size <= frame.width && y.start >= 0 && y.start + y.size <= frame.height;
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
        if (mid > 0) simd::copyRow(d + left * pitch, s + firstMid * pitch, mid * pitch);
    }
}

// Runs `kernel(src, srcStep, dstOffsetRows, rows)` either on the picture
// directly or on bands of a gathered copy of the area. `pitch`: bytes per
// sample group of the plane (steps are in bytes).
template <class T, class K>
void run(const T* plane, int step, int pitch, const MoxiSize& frame, const Axis& ax, const Axis& ay, int h,
         K&& kernel) {
    const auto* bytes = reinterpret_cast<const Mox8u*>(plane);
    if (inside(ax, ay, frame)) {
        const Mox8u* s = row(bytes, step, static_cast<int>(ay.start + ay.lead)) + (ax.start + ax.lead) * pitch;
        kernel(reinterpret_cast<const T*>(s), step, 0, h);
        return;
    }
    alignas(16) Mox8u buf[(kBand + 5) * 64];
    constexpr int kBufStep = 64;
    for (int y0 = 0; y0 < h; y0 += kBand) {
        const int rows = std::min(kBand, h - y0);
        gather(bytes, step, pitch, frame, ax.start, ay.start + y0, ax.size, rows + ay.size - h, buf, kBufStep);
        kernel(reinterpret_cast<const T*>(buf + ay.lead * kBufStep + ax.lead * pitch), kBufStep, y0, rows);
    }
}

// A vector's luma and chroma areas along one axis. Luma: quarter samples,
// 2 samples of margin before and 3 after; chroma: eighth samples, 1 after.
inline Axis lumaAxis(int64_t pos, int64_t mv, int size) { return axis(pos, mv, 2, 2, 5, size); }
inline Axis chromaAxis(int64_t pos, int64_t mv, int size) { return axis(pos, mv, 3, 0, 1, size); }

// A picture without samples has nothing to repeat at its edges.
inline bool frameOk(const MoxiSize& f) { return f.width > 0 && f.height > 0; }
inline bool lumaSize8u(int w, int h) { return (h & 3) == 0 && (w & ~0x1C) == 0; }
inline bool chromaSize8u(int w, int h) { return (h & 1) == 0 && (w & ~0xE) == 0; }

// The block forms of one sample type: luma and the chroma planes of a
// record, each through run().
template <class T>
struct Block;

template <>
struct Block<Mox8u> {
    static void luma(const Mox8u* s, int ss, Mox8u* d, int ds, int dx, int dy, int w, int h, int) {
        interp::luma8u(s, ss, d, ds, dx, dy, w, h);
    }
    static void chroma(const Mox8u* s, int ss, Mox8u* d, int ds, int dx, int dy, int w, int h, int) {
        interp::chroma8u(s, ss, d, ds, dx, dy, w, h);
    }
};

template <>
struct Block<Mox16u> {
    static void luma(const Mox16u* s, int ss, Mox16u* d, int ds, int dx, int dy, int w, int h, int maxv) {
        interp::luma16u(s, ss, d, ds, dx, dy, w, h, maxv);
    }
    static void chroma(const Mox16u* s, int ss, Mox16u* d, int ds, int dx, int dy, int w, int h, int maxv) {
        interp::chroma16u(s, ss, d, ds, dx, dy, w, h, maxv);
    }
};

// One plane: the block at (ax, ay) of `frame` into dst; steps in bytes.
template <bool kLuma, class T>
void plane(const T* src, int ss, T* dst, int ds, const MoxiSize& frame, const Axis& ax, const Axis& ay, int w,
           int h, int maxv) {
    run(src, ss, static_cast<int>(sizeof(T)), frame, ax, ay, h, [&](const T* s, int step, int y0, int rows) {
        if constexpr (kLuma) Block<T>::luma(s, step, row(dst, ds, y0), ds, ax.frac, ay.frac, w, rows, maxv);
        else Block<T>::chroma(s, step, row(dst, ds, y0), ds, ax.frac, ay.frac, w, rows, maxv);
    });
}

// Luma (planes 1) or chroma (planes 2) block forms; unit: bytes per step unit.
template <bool kLuma, class T, class R>
void blockForm(const R& p, int unit, int maxv) {
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    const Axis ax = kLuma ? lumaAxis(p.pointBlockPos.x, p.pointVector.x, w)
                          : chromaAxis(p.pointBlockPos.x, p.pointVector.x, w);
    const Axis ay = kLuma ? lumaAxis(p.pointBlockPos.y, p.pointVector.y, h)
                          : chromaAxis(p.pointBlockPos.y, p.pointVector.y, h);
    for (int c = 0; c < (kLuma ? 1 : 2); ++c)
        plane<kLuma>(p.pSrc[c], p.srcStep * unit, p.pDst[c], p.dstStep * unit, p.sizeFrame, ax, ay, w, h, maxv);
}

}  // namespace

MOX_FN moxiInterpolateLumaBlock_H264_8u_P1R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pDst[0]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    MOX_CHECK(lumaSize8u(p.sizeBlock.width, p.sizeBlock.height) && frameOk(p.sizeFrame), moxStsSizeErr);
    if (p.sizeBlock.height > 0 && p.sizeBlock.width > 0) blockForm<true, Mox8u>(p, 1, 255);
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChromaBlock_H264_8u_P2R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pSrc[1], pParams->pDst[0], pParams->pDst[1]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    MOX_CHECK(chromaSize8u(p.sizeBlock.width, p.sizeBlock.height) && frameOk(p.sizeFrame), moxStsSizeErr);
    if (p.sizeBlock.height > 0 && p.sizeBlock.width > 0) blockForm<false, Mox8u>(p, 1, 255);
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChromaBlock_H264_8u_C2P2R(const MoxVCInterpolateBlock_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pDst[0], pParams->pDst[1]);
    const MoxVCInterpolateBlock_8u& p = *pParams;
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    MOX_CHECK(chromaSize8u(w, h) && frameOk(p.sizeFrame), moxStsSizeErr);
    if (h <= 0 || w == 0) return moxStsNoErr;
    const Axis ax = chromaAxis(p.pointBlockPos.x, p.pointVector.x, w);
    const Axis ay = chromaAxis(p.pointBlockPos.y, p.pointVector.y, h);
    run(p.pSrc[0], p.srcStep, 2, p.sizeFrame, ax, ay, h, [&](const Mox8u* s, int ss, int y0, int rows) {
        interp::chroma8uC2(s, ss, row(p.pDst[0], p.dstStep, y0), row(p.pDst[1], p.dstStep, y0), p.dstStep, ax.frac,
                           ay.frac, w, rows);
    });
    return moxStsNoErr;
}

MOX_FN moxiInterpolateLumaBlock_H264_16u_P1R(const MoxVCInterpolateBlock_16u* pParams, Mox32s bitDepth) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pDst[0]);
    const MoxVCInterpolateBlock_16u& p = *pParams;
    MOX_CHECK(interp::lumaSize16u(p.sizeBlock.width, p.sizeBlock.height) && frameOk(p.sizeFrame), moxStsSizeErr);
    blockForm<true, Mox16u>(p, 2, interp::maxSample16u(bitDepth));
    return moxStsNoErr;
}

MOX_FN moxiInterpolateChromaBlock_H264_16u_P2R(const MoxVCInterpolateBlock_16u* pParams, Mox32s bitDepth) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pSrc[1], pParams->pDst[0], pParams->pDst[1]);
    const MoxVCInterpolateBlock_16u& p = *pParams;
    MOX_CHECK(interp::chromaSize16u(p.sizeBlock.width, p.sizeBlock.height) && frameOk(p.sizeFrame), moxStsSizeErr);
    blockForm<false, Mox16u>(p, 2, interp::maxSample16u(bitDepth));
    return moxStsNoErr;
}

// Whole partitions of a 4:2:0 picture: the chroma block is half the luma
// block at half its position, and the luma vector in quarter luma samples is
// the chroma vector in eighth chroma samples (H.264 clause 8.4.1.4, frame
// pictures), so the chroma position in eighths is 4 * x + mvx.
namespace {

template <int kChromaPitch>
MoxStatus blockYUV(const MoxVCInterpolateBlockYUV_8u* pParams) {
    MOX_CHECK_PTRS(pParams);
    if constexpr (kChromaPitch == 1)
        MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pSrc[1], pParams->pSrc[2], pParams->pDst[0], pParams->pDst[1],
                       pParams->pDst[2]);
    else
        MOX_CHECK_PTRS(pParams->pSrc[0], pParams->pSrc[1], pParams->pDst[0], pParams->pDst[1], pParams->pDst[2]);
    const MoxVCInterpolateBlockYUV_8u& p = *pParams;
    const int w = p.sizeBlock.width, h = p.sizeBlock.height;
    MOX_CHECK(lumaSize8u(w, h) && frameOk(p.sizeFrame), moxStsSizeErr);
    if (h <= 0 || w == 0) return moxStsNoErr;
    const int64_t x = p.pointBlockPos.x, y = p.pointBlockPos.y;
    plane<true>(p.pSrc[0], p.srcStep[0], p.pDst[0], p.dstStep[0], p.sizeFrame, lumaAxis(x, p.pointVector.x, w),
                lumaAxis(y, p.pointVector.y, h), w, h, 255);
    const int cw = w / 2, ch = h / 2;
    const MoxiSize cf{static_cast<int>((int64_t{p.sizeFrame.width} + 1) / 2),
                      static_cast<int>((int64_t{p.sizeFrame.height} + 1) / 2)};
    const Axis ax = chromaAxis(0, 4 * x + p.pointVector.x, cw), ay = chromaAxis(0, 4 * y + p.pointVector.y, ch);
    if constexpr (kChromaPitch == 1) {
        for (int c = 1; c < 3; ++c)
            plane<false>(p.pSrc[c], p.srcStep[1], p.pDst[c], p.dstStep[1], cf, ax, ay, cw, ch, 255);
    } else {
        run(p.pSrc[1], p.srcStep[1], 2, cf, ax, ay, ch, [&](const Mox8u* s, int ss, int y0, int rows) {
            interp::chroma8uC2(s, ss, row(p.pDst[1], p.dstStep[1], y0), row(p.pDst[2], p.dstStep[1], y0),
                               p.dstStep[1], ax.frac, ay.frac, cw, rows);
        });
    }
    return moxStsNoErr;
}

}  // namespace

MOX_FN moxiInterpolateBlock_H264_8u_P2P1R(const MoxVCInterpolateBlockYUV_8u* pParams) { return blockYUV<2>(pParams); }

MOX_FN moxiInterpolateBlock_H264_8u_P3P1R(const MoxVCInterpolateBlockYUV_8u* pParams) { return blockYUV<1>(pParams); }

// Top and bottom edge forms: pSrc is the block's integer position and
// outPixels says how far the block lies beyond the picture's first (Top) or
// last (Bottom) row; area rows beyond that row repeat it. Columns are read
// as they are.
namespace {

// Area rows lo .. hi (relative to src) are the picture; rows outside repeat
// the nearer of them. `colLead`/`rowLead`: margin samples before the block.
template <class T, class K>
void runRowClamped(const T* src, int step, int colLead, int cols, int rowLead, int extraRows, int64_t lo,
                   int64_t hi, int h, K&& kernel) {
    constexpr int kBufStep = 64, kSize = static_cast<int>(sizeof(T));
    alignas(16) Mox8u buf[(kBand + 5) * kBufStep];
    const auto* bytes = reinterpret_cast<const Mox8u*>(src) - colLead * kSize;
    for (int y0 = 0; y0 < h; y0 += kBand) {
        const int rows = std::min(kBand, h - y0);
        for (int i = 0; i < rows + extraRows; ++i) {
            const int64_t r = std::clamp<int64_t>(static_cast<int64_t>(y0) - rowLead + i, lo, hi);
            simd::copyRow(buf + i * kBufStep, row(bytes, step, static_cast<int>(r)), cols * kSize);
        }
        kernel(reinterpret_cast<const T*>(buf + rowLead * kBufStep + colLead * kSize), kBufStep, y0, rows);
    }
}

constexpr int64_t kFar = int64_t{1} << 40;

// Rows lo .. hi of the area that are picture rows: Top forms from the first
// picture row down, Bottom forms up to the last.
struct RowRange {
    int64_t lo, hi;
};
inline RowRange topRows(int64_t outPixels, int) { return {outPixels, kFar}; }
inline RowRange bottomRows(int64_t outPixels, int h) { return {-kFar, h - 1 - outPixels}; }

// Luma: 2 margin samples before, 3 after; chroma: 1 after.
template <bool kLuma, class T>
void edgeForm(const T* src, int ss, T* dst, int ds, int dx, int dy, RowRange rr, int w, int h, int maxv) {
    constexpr int lead = kLuma ? 2 : 0, after = kLuma ? 3 : 1;
    const int colLead = dx ? lead : 0, rowLead = dy ? lead : 0;
    const int cols = w + (dx ? lead + after : 0), extraRows = dy ? lead + after : 0;
    runRowClamped(src, ss, colLead, cols, rowLead, extraRows, rr.lo, rr.hi, h,
                  [&](const T* s, int step, int y0, int rows) {
                      if constexpr (kLuma) Block<T>::luma(s, step, row(dst, ds, y0), ds, dx, dy, w, rows, maxv);
                      else Block<T>::chroma(s, step, row(dst, ds, y0), ds, dx, dy, w, rows, maxv);
                  });
}

}  // namespace

#define MOX_INTERP_EDGE(Name, Luma, FracMax, SizeOk, Rows)                                                         \
    MOX_FN moxiInterpolate##Name##_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep,       \
                                               Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize) {           \
        MOX_CHECK_PTRS(pSrc, pDst);                                                                                   \
        MOX_CHECK(static_cast<Mox32u>(dx | dy) <= (FracMax), moxStsBadArgErr);                                       \
        MOX_CHECK(SizeOk(roiSize.width, roiSize.height), moxStsSizeErr);                                              \
        edgeForm<Luma>(pSrc, srcStep, pDst, dstStep, dx, dy, Rows(outPixels, roiSize.height), roiSize.width,          \
                       roiSize.height, 255);                                                                          \
        return moxStsNoErr;                                                                                           \
    }                                                                                                                 \
    MOX_FN moxiInterpolate##Name##_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s outPixels,              \
                                                Mox32s bitDepth) {                                                    \
        if (const MoxStatus st = interp::check16u(pParams, Luma)) return st;                                          \
        const MoxVCInterpolate_16u& p = *pParams;                                                                     \
        edgeForm<Luma>(p.pSrc, p.srcStep * 2, p.pDst, p.dstStep * 2, p.dx, p.dy, Rows(outPixels, p.roiSize.height),  \
                       p.roiSize.width, p.roiSize.height, interp::maxSample16u(bitDepth));                            \
        return moxStsNoErr;                                                                                           \
    }

MOX_INTERP_EDGE(LumaTop, true, 3u, lumaSize8u, topRows)
MOX_INTERP_EDGE(LumaBottom, true, 3u, lumaSize8u, bottomRows)
MOX_INTERP_EDGE(ChromaTop, false, 7u, chromaSize8u, topRows)
MOX_INTERP_EDGE(ChromaBottom, false, 7u, chromaSize8u, bottomRows)
