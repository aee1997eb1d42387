// Scalar reference models of the VC-1 range mapping (SMPTE 421M
// entry-point RANGE_MAPY / RANGE_MAPUV) and range reduction (RANGEREDFRM).
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// clamp((((Y - 128) * (value + 9) + 4) >> 3) + 128) over a w x h block.
void rangeMap(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, int value);

// scaleUp: clamp((Y - 128) * 2 + 128); otherwise ((Y - 128) >> 1) + 128.
void rangeReduce(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, bool scaleUp);

}  // namespace mox::ref::vc1
