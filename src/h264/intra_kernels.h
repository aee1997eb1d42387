// Internal SSE4.1 H.264 intra predictors, shared by the exported predictors
// and the macroblock reconstruction. None of them checks its arguments.
//
// Every predictor writes its block in place at p (rows `step` bytes apart)
// from the samples around it, reading only the neighbours that `avail` marks
// usable; a neighbour the mode needs but lacks reads as 1 << (bitDepth - 1)
// (128 for 8-bit samples, whose predictors ignore bitDepth).
#pragma once

#include "moxvc.h"

namespace mox::h264 {

// Neighbour availability word, set bit = usable. The 16x16 predictors read
// kAvailLeft as the whole left column; the chroma predictors read it as the
// upper half of the column and kAvailLeftLower as the lower half.
enum : int {
    kAvailUp = 0x01,
    kAvailLeft = 0x02,
    kAvailLeftLower = 0x04,
    kAvailUpLeft = 0x20,
    kAvailUpRight = 0x40,
};

// 4x4 and 8x8 blocks: returns true when the mode needed a missing neighbour.
// The 8x8 predictors filter the reference samples first (clause 8.3.2.2.1).
template <class T>
using BlockPredictor = bool (*)(T* p, int step, int avail, int bitDepth);

// 16x16 and chroma blocks: the caller has made sure that the mode's
// neighbours are there (DC always runs).
template <class T>
using PlanePredictor = void (*)(T* p, int step, int avail, int bitDepth);

// The predictors of one sample type, indexed by mode. The 4x4 and 8x8 ones
// serve blocks inside a macroblock: they may read the whole 4 or 8 samples of
// a neighbouring block's row that ends at a sample they need. Luma 4x4 and 8x8 in the
// order vertical, horizontal, DC, diagonal down-left, diagonal down-right,
// vertical-right, horizontal-down, vertical-left, horizontal-up; 16x16 in the
// order vertical, horizontal, DC, plane; chroma (8 wide, 8 or 16 high) in the
// order DC, horizontal, vertical, plane.
template <class T>
struct Predictors {
    static const BlockPredictor<T> k4x4[9];
    static const BlockPredictor<T> k8x8[9];
    static const PlanePredictor<T> k16x16[4];
    static const PlanePredictor<T> kChroma8[4];
    static const PlanePredictor<T> kChroma16[4];
};

extern template struct Predictors<Mox8u>;
extern template struct Predictors<Mox16u>;

// The neighbours each 4x4 / 8x8 mode needs, and whether a 16x16 or chroma
// mode (0..3) can run with `avail` (the chroma modes need the whole left column).
inline constexpr int kBlockNeeds[9] = {
    kAvailUp,
    kAvailLeft,
    0,
    kAvailUp,
    kAvailUp | kAvailLeft | kAvailUpLeft,
    kAvailUp | kAvailLeft | kAvailUpLeft,
    kAvailUp | kAvailLeft | kAvailUpLeft,
    kAvailUp,
    kAvailLeft,
};

constexpr bool has(int avail, int bits) {
    return (avail & bits) == bits;
}

constexpr bool canPredict16x16(int mode, int avail) {
    return mode == 0   ? has(avail, kAvailUp)
           : mode == 1 ? has(avail, kAvailLeft)
           : mode == 3 ? has(avail, kAvailUp | kAvailLeft | kAvailUpLeft)
                       : true;
}

constexpr bool canPredictChroma(int mode, int avail) {
    constexpr int left = kAvailLeft | kAvailLeftLower;
    return mode == 1   ? has(avail, left)
           : mode == 2 ? has(avail, kAvailUp)
           : mode == 3 ? has(avail, kAvailUp | left | kAvailUpLeft)
                       : true;
}

}  // namespace mox::h264
