#include "h264/weight_ref.h"

#include <cstdint>

#include "core/pixel.h"

namespace mox::ref {

namespace {

// Applies f(s1, s2) -> int64 to every sample and stores it clamped to the bit depth.
template <class T, class F>
void forEach(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int width, int height,
             int bitDepth, F f) {
    const int64_t maxValue = (int64_t{1} << bitDepth) - 1;
    for (int y = 0; y < height; ++y) {
        const T* a = row(pSrc1, src1Step, y);
        const T* b = row(pSrc2, src2Step, y);
        T* d = row(pDst, dstStep, y);
        for (int x = 0; x < width; ++x) d[x] = static_cast<T>(clamp<int64_t>(f(a[x], b[x]), 0, maxValue));
    }
}

int64_t roundingTerm(int logWD) { return logWD > 0 ? int64_t{1} << (logWD - 1) : 0; }

}  // namespace

template <class T>
void weightUni(const T* pSrc, int srcStep, T* pDst, int dstStep, int logWD, int w, int o, int width, int height,
               int bitDepth) {
    const int64_t r = roundingTerm(logWD);
    forEach(pSrc, srcStep, pSrc, srcStep, pDst, dstStep, width, height, bitDepth,
            [&](int64_t s, int64_t) { return ((s * w + r) >> logWD) + o; });
}

template <class T>
void weightBi(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int logWD, int w1,
              int o1, int w2, int o2, int width, int height, int bitDepth) {
    const int64_t offset = (int64_t{o1} + o2 + 1) >> 1;
    forEach(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, width, height, bitDepth, [&](int64_t s1, int64_t s2) {
        return ((s1 * w1 + s2 * w2 + (int64_t{1} << logWD)) >> (logWD + 1)) + offset;
    });
}

template <class T>
void weightImplicit(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int w1, int w2,
                    int width, int height, int bitDepth) {
    forEach(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, width, height, bitDepth,
            [&](int64_t s1, int64_t s2) { return (s1 * w1 + s2 * w2 + 32) >> 6; });
}

template <class T>
void average(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, int width, int height) {
    forEach(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, width, height, 8 * sizeof(T),
            [](int64_t s1, int64_t s2) { return (s1 + s2 + 1) >> 1; });
}

void weightedAverage8u(const Mox8u* pSrc1, Mox8u* pSrcDst, int step, int w1, int w2, int logWD, int o, int width,
                       int height) {
    const int shift = logWD > 0 ? logWD : 0;
    const int64_t r = roundingTerm(logWD);
    forEach<Mox8u>(pSrc1, step, pSrcDst, step, pSrcDst, step, width, height, 8,
                   [&](int64_t s1, int64_t d) { return ((s1 * w1 + d * w2 + r) >> shift) + o; });
}

#define MOX_WEIGHT_REF(T)                                                                                        \
    template void weightUni<T>(const T*, int, T*, int, int, int, int, int, int, int);                            \
    template void weightBi<T>(const T*, int, const T*, int, T*, int, int, int, int, int, int, int, int, int);    \
    template void weightImplicit<T>(const T*, int, const T*, int, T*, int, int, int, int, int, int);             \
    template void average<T>(const T*, int, const T*, int, T*, int, int, int);

MOX_WEIGHT_REF(Mox8u)
MOX_WEIGHT_REF(Mox16u)

}  // namespace mox::ref
