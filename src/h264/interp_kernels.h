// Kernels of the H.264 interpolation family shared by the plain, edge and
// block forms. Each computes a whole w x h block at one fractional position,
// dispatching once per block (and once per column strip: a width that is a
// sum of the kernel widths, such as 12 or 24, runs as strips of 16, 8 and 4
// luma or 8, 4 and 2 chroma samples).
#pragma once

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

}  // namespace mox::interp
