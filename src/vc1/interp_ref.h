// Scalar reference models of the VC-1 quarter-sample interpolation (SMPTE
// 421M motion compensation): the bicubic and bilinear filters sample by sample,
// and the block forms' padded, intensity-compensated reference area.
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// Bicubic w x h block at quarter fraction (dx, dy) 0..3 with rounding control rnd.
void bicubic(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, int dx, int dy, int rnd);

// Bilinear w x h block; horizontal neighbours are `pitch` bytes apart (2 for
// interleaved U/V, where w counts pairs and each channel is filtered alone).
void bilinear(const Mox8u* src, int srcStep, int pitch, Mox8u* dst, int dstStep, int w, int h, int dx, int dy,
              int rnd);

enum class Filter { Bicubic, Bilinear, BilinearPairs };

// The whole block form: size selection, field/frame addressing, padding with
// edge repetition (keeping field parity when asked), table mapping, filter.
void interpolateBlock(const MoxVCBlockICParams& p, Filter f);

}  // namespace mox::ref::vc1
