// Kernels of the VC-1 interpolation family shared by the plain and the block
// forms. Each filters one block of the size the selection rules give, at
// quarter fraction (dx, dy) 0..3 with rounding control rnd 0..1, reading only
// the filter's area: columns x - 1 .. x + w + 1 when dx is nonzero (bicubic;
// bilinear: x .. x + w) and likewise rows when dy is.
#pragma once

#include "moxvc.h"

namespace mox::vc1 {

void bicubic8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd);
// `pairs`: interleaved U/V, size.width counting pairs.
void bilinear8u(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, MoxiSize size, int dx, int dy, int rnd,
                bool pairs);

}  // namespace mox::vc1
