// Scalar reference models of the sub-block, difference-sum, deviation,
// frame/field, 8x8 Hadamard, squared-difference and edge metrics.
//
// Predictions at a half position of mcType (bit 3 horizontal, bit 2
// vertical) round halves up: (a + b + 1) >> 1 and (a + b + c + d + 2) >> 2.
#pragma once

#include <cstdint>

#include "moxvc.h"

namespace mox::ref {

// Prediction of sample (x, y) of a block at mcType, halves rounded up.
template <class T>
int64_t predUp(const T* pRef, int refStep, int mcType, int x, int y);

// SADs of the blockSize x blockSize sub-blocks of a 16x16 block (raster order)
// against the prediction at mcType; pDst receives (16 / blockSize)^2 values.
template <class T>
void sadBlocks(const T* pSrc, int srcStep, const T* pRef, int refStep, int mcType, int blockSize, int64_t* pDst);

// d = src - pred over an n x n block (n = 8 or 16): sums of d over each 4x4
// block in raster order, and d itself as consecutive 4x4 blocks when pDiff is
// not null.
void sumsDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pPred, int predStep, int n, Mox16s* pSums, Mox16s* pDiff);

// Sum of |x - m| over an n x n block with m = (sum + n*n/2) / (n*n).
int64_t meanAbsDev(const Mox8u* pSrc, int srcStep, int n);

// Sums over a 16x16 block of |row y - row y+1| (frame) and |row y - row y+2| (field).
template <class T>
void frameFieldSAD(const T* pSrc, int srcStep, int64_t* pFrame, int64_t* pField);

// Sum of absolute coefficients of H8 (src1 - src2) H8, H8 the Sylvester Hadamard matrix.
template <class T>
int64_t sat8x8(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step);

// Sum of squared differences of a w x h block against the prediction at
// mcTypeF, or, when pRefB is not null, against (f + b + 1) >> 1 of the
// predictions at mcTypeF and mcTypeB.
int64_t sqrDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pRefF, int refStepF, int mcTypeF, const Mox8u* pRefB,
                int refStepB, int mcTypeB, int w, int h);

// Per 8x8 block of d = src - pred(mcType) over a (8 * blocksX) x (8 * blocksY)
// area, raster order: var = (q - s*s/64) / 64, mean = s / 64, truncating.
void varMeanDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int mcType, int blocksX,
                 int blocksY, Mox32s* pVar, Mox32s* pMean);

// 1 when more than countThreshold of the adjacent sample pairs of a 16x16
// block differ by more than diffThreshold, else 0; *pCount gets the count.
template <class T>
int edgesDetect(const T* pSrc, int srcStep, int diffThreshold, int countThreshold, int* pCount = nullptr);

}  // namespace mox::ref
