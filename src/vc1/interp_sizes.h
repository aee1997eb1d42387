// VC-1 interpolation: the block sizes each interpolator actually filters,
// chosen from the requested size without any error (shared by the kernels,
// the block forms and the reference models).
#pragma once

#include "moxvc.h"

namespace mox::vc1 {

// Bicubic luma: (w >> 4) + (h >> 4) is 0 for 8x8, 1 for 16 wide x 8 high,
// anything else 16x16 (so an 8x16 request runs as 16x8).
inline MoxiSize bicubicSize(MoxiSize s) {
    const int k = (s.width >> 4) + (s.height >> 4);
    if (k == 0) return {8, 8};
    if (k == 1) return {16, 8};
    return {16, 16};
}

// Bilinear, one channel: 16 wide gives 16x16; 8 wide 8x8 or 8x4; else 4x4.
inline MoxiSize bilinearSize(MoxiSize s) {
    if (s.width == 16) return {16, 16};
    if (s.width == 8) return {8, s.height == 8 ? 8 : 4};
    return {4, 4};
}

// Bilinear on U/V pairs: 8 pairs wide gives 8x8 or 8x4; else 4x4 (no 16x16).
inline MoxiSize bilinearPairsSize(MoxiSize s) {
    if (s.width == 8) return {8, s.height == 8 ? 8 : 4};
    return {4, 4};
}

}  // namespace mox::vc1
