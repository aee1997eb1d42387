// Scalar reference models of the H.264 intra predictors (clause 8.3), written
// sample by sample from the standard's equations. T is the sample type (Mox8u
// or Mox16u); a neighbour that is needed but missing reads as
// 1 << (bitDepth - 1), which is 128 for 8-bit samples.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// Neighbour availability word, set bit = the samples may be used. kLeftLower
// is read only by the 16x16 and chroma predictors: there kLeft covers the
// upper half of the left column and kLeftLower its lower half (the whole
// column is kLeft | kLeftLower).
enum : int {
    kAvailUp = 0x01,
    kAvailLeft = 0x02,
    kAvailLeftLower = 0x04,
    kAvailUpLeft = 0x20,
    kAvailUpRight = 0x40,
};

// Predicts a 4x4 block in place, mode 0..8. Returns true when the mode needed
// a neighbour that `avail` lacks (it was read as 1 << (bitDepth - 1)).
template <class T>
bool predict4x4(T* p, int step, int mode, int avail, int bitDepth);

// Predicts an 8x8 block in place from the filtered reference samples, mode 0..8.
template <class T>
void predict8x8(T* p, int step, int mode, int avail, int bitDepth);

// True when the 16x16 or chroma mode (0..3) can run with `avail`.
bool canPredict16x16(int mode, int avail);
bool canPredictChroma(int mode, int avail);

// Predicts a 16x16 block in place, mode 0..3 (vertical, horizontal, DC, plane);
// the mode must be one that canPredict16x16 accepts.
template <class T>
void predict16x16(T* p, int step, int mode, int avail, int bitDepth);

// Predicts an 8-wide chroma block of `height` rows (8 for 4:2:0, 16 for 4:2:2),
// mode 0..3 (DC, horizontal, vertical, plane), DC per 4x4 sub-block.
template <class T>
void predictChroma(T* p, int step, int mode, int avail, int height, int bitDepth);

}  // namespace mox::ref
