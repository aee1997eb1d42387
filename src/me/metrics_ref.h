// Scalar reference models of the block metrics: SAD, SSD and SATD against a
// reference block (at a half-sample position where the member takes mcType),
// block variance, and SADs over a run of candidate positions.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// Prediction of sample (x, y) of the block at p at the position mcType
// (bits 3 and 2: half horizontally, half vertically), halves rounded up.
template <class T>
int predictUp(const T* p, int step, int x, int y, int mcType);

// Sum of |src - pred| over a w x h block, pred at mcType.
template <class T>
int sad(const T* pSrc, int srcStep, const T* pRef, int refStep, int w, int h, int mcType);

// Sum of (src - pred)^2 over a w x h block of 8-bit samples, pred at mcType.
int ssd(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h, int mcType);

// Sum over the 4x4 tiles of a w x h block of the absolute coefficients of the
// unnormalised 4x4 Hadamard transform of src - ref.
int satd(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h);

// q - s*s/256 over a 16x16 block, s*s wrapping in 32 bits.
int variance16x16(const Mox8u* pSrc, int srcStep);

// Over an 8x8 block: *pSum = s, *pVar = (int)(q/64 - (s/64)^2) in single precision.
template <class T>
void varSum8x8(const T* pSrc, int srcStep, int* pVar, int* pSum);

// pDst[i] = full-position SAD of the w x h block against pRef + i, i < n.
void sadCandidates(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h, int n, Mox16u* pDst);

}  // namespace mox::ref
