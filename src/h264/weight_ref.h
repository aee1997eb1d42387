// Scalar reference models of H.264 weighted sample prediction, written
// directly from the per-sample formulas in 64-bit arithmetic. Steps are
// signed byte distances; the block size is a run-time argument.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// In place: ((s * w + r) >> logWD) + o, r = 2^(logWD - 1) or 0 when logWD is 0.
template <class T>
void weightUni(const T* pSrc, int srcStep, T* pDst, int dstStep, int logWD, int w, int o, int width, int height,
               int bitDepth);

// ((s1 * w1 + s2 * w2 + 2^logWD) >> (logWD + 1)) + ((o1 + o2 + 1) >> 1).
template <class T>
void weightBi(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int logWD, int w1,
              int o1, int w2, int o2, int width, int height, int bitDepth);

// (s1 * w1 + s2 * w2 + 32) >> 6.
template <class T>
void weightImplicit(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int w1, int w2,
                    int width, int height, int bitDepth);

// (s1 + s2 + 1) >> 1.
template <class T>
void average(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int width, int height);

// In place on d: ((s1 * w1 + d * w2 + r) >> logWD) + o; logWD 0 or below: no rounding, no shift.
void weightedAverage8u(const Mox8u* pSrc1, Mox8u* pSrcDst, int step, int w1, int w2, int logWD, int o, int width,
                       int height);

}  // namespace mox::ref
