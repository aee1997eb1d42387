// Scalar reference models of the H.264 fractional-sample interpolation:
// luma quarter samples from the 6-tap filter, chroma eighth samples from the
// bilinear weights, written sample by sample from the standard's formulas.
#pragma once

#include <vector>

#include "moxvc.h"

namespace mox::ref {

// Luma block (w x h) at quarter position (dx, dy) 0..3 from the integer
// position src; samples clamp to 0..(1 << bitDepth) - 1. Steps in bytes.
template <class T>
void interpolateLuma(const T* src, int srcStep, T* dst, int dstStep, int w, int h, int dx, int dy, int bitDepth);

// Chroma block at eighth position (dx, dy) 0..7. Horizontal neighbours are
// `pitch` samples apart (1 planar, 2 for an interleaved U/V row).
template <class T>
void interpolateChroma(const T* src, int srcStep, int pitch, T* dst, int dstStep, int w, int h, int dx, int dy);

// A w x h picture copied into a plane with `margin` samples on every side,
// the margin repeating the nearest picture sample. Rows are w + 2 * margin
// samples apart; `pitch` as above (the margin counts whole sample groups).
template <class T>
std::vector<T> padPicture(const T* src, int srcStep, int pitch, int w, int h, int margin);

}  // namespace mox::ref
