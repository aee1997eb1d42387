#include "me/metrics_ext_ref.h"

#include <cstdlib>

#include "core/pixel.h"

namespace mox::ref {

template <class T>
int64_t predUp(const T* pRef, int refStep, int mcType, int x, int y) {
    const int hx = (mcType >> 3) & 1, hy = (mcType >> 2) & 1;
    // Four terms that repeat the neighbours a full or half position lacks:
    // 4a, 2a + 2b or a + b + c + d, so (s + 2) >> 2 covers all four positions.
    const T* r0 = row(pRef, refStep, y);
    const T* r1 = row(pRef, refStep, y + hy);
    int64_t s = int64_t(r0[x]) + r0[x + hx] + r1[x] + r1[x + hx];
    return (s + 2) >> 2;
}

template <class T>
void sadBlocks(const T* pSrc, int srcStep, const T* pRef, int refStep, int mcType, int blockSize, int64_t* pDst) {
    const int perRow = 16 / blockSize;
    for (int k = 0; k < perRow * perRow; ++k) pDst[k] = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            int64_t d = int64_t(row(pSrc, srcStep, y)[x]) - predUp(pRef, refStep, mcType, x, y);
            pDst[(y / blockSize) * perRow + x / blockSize] += d < 0 ? -d : d;
        }
}

void sumsDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pPred, int predStep, int n, Mox16s* pSums, Mox16s* pDiff) {
    const int perRow = n / 4;
    for (int k = 0; k < perRow * perRow; ++k) pSums[k] = 0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            int d = int(row(pSrc, srcStep, y)[x]) - int(row(pPred, predStep, y)[x]);
            int k = (y / 4) * perRow + x / 4;
            pSums[k] = static_cast<Mox16s>(pSums[k] + d);
            if (pDiff) pDiff[16 * k + 4 * (y % 4) + x % 4] = static_cast<Mox16s>(d);
        }
}

int64_t meanAbsDev(const Mox8u* pSrc, int srcStep, int n) {
    int64_t s = 0, count = int64_t(n) * n;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) s += row(pSrc, srcStep, y)[x];
    int64_t m = (s + count / 2) / count, dev = 0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) dev += std::llabs(row(pSrc, srcStep, y)[x] - m);
    return dev;
}

template <class T>
void frameFieldSAD(const T* pSrc, int srcStep, int64_t* pFrame, int64_t* pField) {
    int64_t frame = 0, field = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            int64_t v = row(pSrc, srcStep, y)[x];
            if (y + 1 < 16) frame += std::llabs(v - row(pSrc, srcStep, y + 1)[x]);
            if (y + 2 < 16) field += std::llabs(v - row(pSrc, srcStep, y + 2)[x]);
        }
    *pFrame = frame;
    *pField = field;
}

template <class T>
int64_t sat8x8(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step) {
    // H[i][j] = (-1)^popcount(i & j): the Sylvester construction of order 8.
    int h[8][8];
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) h[i][j] = (__builtin_popcount(i & j) & 1) ? -1 : 1;
    int64_t d[8][8], t[8][8];
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) d[y][x] = int64_t(row(pSrc1, src1Step, y)[x]) - row(pSrc2, src2Step, y)[x];
    for (int i = 0; i < 8; ++i)
        for (int x = 0; x < 8; ++x) {
            t[i][x] = 0;
            for (int y = 0; y < 8; ++y) t[i][x] += h[i][y] * d[y][x];
        }
    int64_t sum = 0;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) {
            int64_t c = 0;
            for (int x = 0; x < 8; ++x) c += t[i][x] * h[x][j];
            sum += std::llabs(c);
        }
    return sum;
}

int64_t sqrDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pRefF, int refStepF, int mcTypeF, const Mox8u* pRefB,
                int refStepB, int mcTypeB, int w, int h) {
    int64_t sum = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int64_t p = predUp(pRefF, refStepF, mcTypeF, x, y);
            if (pRefB) p = (p + predUp(pRefB, refStepB, mcTypeB, x, y) + 1) >> 1;
            int64_t d = row(pSrc, srcStep, y)[x] - p;
            sum += d * d;
        }
    return sum;
}

void varMeanDiff(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int mcType, int blocksX,
                 int blocksY, Mox32s* pVar, Mox32s* pMean) {
    for (int by = 0; by < blocksY; ++by)
        for (int bx = 0; bx < blocksX; ++bx) {
            int64_t s = 0, q = 0;
            for (int y = 8 * by; y < 8 * by + 8; ++y)
                for (int x = 8 * bx; x < 8 * bx + 8; ++x) {
                    int64_t d = row(pSrc, srcStep, y)[x] - predUp(pRef, refStep, mcType, x, y);
                    s += d;
                    q += d * d;
                }
            pVar[by * blocksX + bx] = static_cast<Mox32s>((q - s * s / 64) / 64);
            pMean[by * blocksX + bx] = static_cast<Mox32s>(s / 64);
        }
}

template <class T>
int edgesDetect(const T* pSrc, int srcStep, int diffThreshold, int countThreshold, int* pCount) {
    int count = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            int64_t v = row(pSrc, srcStep, y)[x];
            if (x + 1 < 16 && std::llabs(v - row(pSrc, srcStep, y)[x + 1]) > diffThreshold) ++count;
            if (y + 1 < 16 && std::llabs(v - row(pSrc, srcStep, y + 1)[x]) > diffThreshold) ++count;
        }
    if (pCount) *pCount = count;
    return count > countThreshold ? 1 : 0;
}

#define MOX_INSTANTIATE(T)                                                                     \
    template int64_t predUp<T>(const T*, int, int, int, int);                                  \
    template void sadBlocks<T>(const T*, int, const T*, int, int, int, int64_t*);              \
    template void frameFieldSAD<T>(const T*, int, int64_t*, int64_t*);                         \
    template int64_t sat8x8<T>(const T*, int, const T*, int);                                  \
    template int edgesDetect<T>(const T*, int, int, int, int*);

MOX_INSTANTIATE(Mox8u)
MOX_INSTANTIATE(Mox16u)
MOX_INSTANTIATE(Mox16s)
#undef MOX_INSTANTIATE

}  // namespace mox::ref
