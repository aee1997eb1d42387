// VC-1 range mapping and range reduction, sample by sample.
#include "vc1/range_ref.h"

#include "core/pixel.h"

namespace mox::ref::vc1 {

void rangeMap(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, int value) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int v = row(src, srcStep, y)[x];
            row(dst, dstStep, y)[x] = static_cast<Mox8u>(clampPixel((((v - 128) * (value + 9) + 4) >> 3) + 128));
        }
}

void rangeReduce(const Mox8u* src, int srcStep, Mox8u* dst, int dstStep, int w, int h, bool scaleUp) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int v = row(src, srcStep, y)[x];
            row(dst, dstStep, y)[x] = static_cast<Mox8u>(scaleUp ? clampPixel((v - 128) * 2 + 128) : ((v - 128) >> 1) + 128);
        }
}

}  // namespace mox::ref::vc1
