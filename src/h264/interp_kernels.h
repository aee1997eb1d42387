// Kernels of the H.264 interpolation family shared by the plain, edge and
// block forms. Each computes a whole w x h block at one fractional position,
// dispatching once per block (and once per column strip: a width that is a
// sum of the kernel widths, such as 12 or 24, runs as strips of 16, 8 and 4
// luma or 8, 4 and 2 chroma samples).
#pragma once

#include <algorithm>

#include "moxvc.h"

namespace mox::interp {

// Luma at quarter position (dx, dy) 0..3. Reads columns -2..w+2 when dx is
// nonzero and rows -2..h+2 when dy is nonzero, nothing else.
void luma8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int dx, int dy, int w, int h);

// Chroma at eighth position (dx, dy) 0..7. Reads column w when dx is nonzero
// and row h when dy is nonzero beyond the block.
void chroma8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int dx, int dy, int w, int h);
// Interleaved U/V source (w pairs per row) into two planes.
void chroma8uC2(const Mox8u* src, int srcStep, Mox8u* dstU, Mox8u* dstV, int dstStep, int dx, int dy, int w, int h);

// 8- to 14-bit samples in 16-bit storage (steps in bytes), results clamped
// to 0..maxValue. Luma widths are sums of 8 and 4, chroma of 8, 4 and 2.
void luma16u(const Mox16u* src, int srcStep, Mox16u* dst, int dstStep, int dx, int dy, int w, int h, int maxValue);
void chroma16u(const Mox16u* src, int srcStep, Mox16u* dst, int dstStep, int dx, int dy, int w, int h, int maxValue);

// Block sizes of the 16-bit forms: luma 4, 8 or 16 each way but not 4x16 or
// 16x4 (the H.264 partitions); chroma 2, 4 or 8 wide and 2 to 16 high (4:2:0
// and 4:2:2 partitions).
inline bool lumaSize16u(int w, int h) {
    auto one = [](int v) { return v == 4 || v == 8 || v == 16; };
    return one(w) && one(h) && w + h != 20;
}
inline bool chromaSize16u(int w, int h) {
    return (w == 2 || w == 4 || w == 8) && (h == 2 || h == 4 || h == 8 || h == 16);
}

// Largest sample value at a bit depth; the depth is not validated, it only sets the clamp.
inline int maxSample16u(int bitDepth) { return static_cast<int>((1u << std::clamp(bitDepth, 0, 16)) - 1u); }

// Checks of the 16-bit plain and edge forms in their order: record and
// pointers, steps (in samples) below the width, fractions, block size.
MoxStatus check16u(const MoxVCInterpolate_16u* p, bool luma);

}  // namespace mox::interp
