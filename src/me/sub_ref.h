// Scalar reference models of the block difference family.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// pDst = pSrc1 - pSrc2 over a w x h block, truncated to 16 bits.
template <class T>
void sub(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, Mox16s* pDst, int dstStep, int w, int h);

}  // namespace mox::ref
