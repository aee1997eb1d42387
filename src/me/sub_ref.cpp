#include "me/sub_ref.h"

#include "core/pixel.h"

namespace mox::ref {

template <class T>
void sub(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, Mox16s* pDst, int dstStep, int w, int h) {
    for (int y = 0; y < h; ++y) {
        const T* a = row(pSrc1, src1Step, y);
        const T* b = row(pSrc2, src2Step, y);
        Mox16s* d = row(pDst, dstStep, y);
        for (int x = 0; x < w; ++x) d[x] = static_cast<Mox16s>(static_cast<int>(a[x]) - static_cast<int>(b[x]));
    }
}

template void sub<Mox8u>(const Mox8u*, int, const Mox8u*, int, Mox16s*, int, int, int);
template void sub<Mox16u>(const Mox16u*, int, const Mox16u*, int, Mox16s*, int, int, int);

}  // namespace mox::ref
