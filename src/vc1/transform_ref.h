// Scalar reference model of the VC-1 inverse transforms (SMPTE 421M,
// the 8- and 4-point integer transforms): rows first with
// (E + 4) >> 3, then columns with (E + 64) >> 7, plus one on the lower four
// outputs of an 8-point column. Sums are exact; each value is stored in 16
// bits (wrapping) before its shift, as a 16-bit implementation does.
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// w x h block (each 4 or 8) of coefficients into residuals; steps in bytes.
void inverseTransform(const Mox16s* src, int srcStep, Mox16s* dst, int dstStep, int w, int h);

// The same added to a prediction, clamped to 0..255.
void inverseTransformAdd(const Mox16s* src, int srcStep, const Mox8u* pred, int predStep, Mox8u* dst, int dstStep,
                         int w, int h);

}  // namespace mox::ref::vc1
