#include "me/metrics_ref.h"

#include <cstdint>
#include <cstdlib>

#include "core/pixel.h"

namespace mox::ref {

template <class T>
int predictUp(const T* p, int step, int x, int y, int mcType) {
    const bool hx = (mcType >> 3) & 1, hy = (mcType >> 2) & 1;
    auto at = [&](int dx, int dy) { return static_cast<int64_t>(row(p, step, y + dy)[x + dx]); };
    if (hx && hy) return static_cast<int>((at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1) + 2) >> 2);
    if (hx) return static_cast<int>((at(0, 0) + at(1, 0) + 1) >> 1);
    if (hy) return static_cast<int>((at(0, 0) + at(0, 1) + 1) >> 1);
    return static_cast<int>(at(0, 0));
}

template <class T>
int sad(const T* pSrc, int srcStep, const T* pRef, int refStep, int w, int h, int mcType) {
    int64_t sum = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            sum += std::llabs(row(pSrc, srcStep, y)[x] - int64_t{predictUp(pRef, refStep, x, y, mcType)});
    return static_cast<int>(sum);
}

int ssd(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h, int mcType) {
    int64_t sum = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int64_t d = row(pSrc, srcStep, y)[x] - int64_t{predictUp(pRef, refStep, x, y, mcType)};
            sum += d * d;
        }
    return static_cast<int>(sum);
}

int satd(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h) {
    static const int H[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
    int64_t total = 0;
    for (int ty = 0; ty < h; ty += 4)
        for (int tx = 0; tx < w; tx += 4) {
            int d[4][4], t[4][4];
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x)
                    d[y][x] = row(pSrc, srcStep, ty + y)[tx + x] - row(pRef, refStep, ty + y)[tx + x];
            for (int i = 0; i < 4; ++i)  // t = H d
                for (int x = 0; x < 4; ++x) {
                    t[i][x] = 0;
                    for (int k = 0; k < 4; ++k) t[i][x] += H[i][k] * d[k][x];
                }
            for (int i = 0; i < 4; ++i)  // (H d) H, H symmetric
                for (int j = 0; j < 4; ++j) {
                    int c = 0;
                    for (int k = 0; k < 4; ++k) c += t[i][k] * H[k][j];
                    total += std::abs(c);
                }
        }
    return static_cast<int>(total);
}

int variance16x16(const Mox8u* pSrc, int srcStep) {
    int32_t s = 0, q = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            int v = row(pSrc, srcStep, y)[x];
            s += v;
            q += v * v;
        }
    const int32_t ss = static_cast<int32_t>(static_cast<uint32_t>(s) * static_cast<uint32_t>(s));
    return q - ss / 256;
}

template <class T>
void varSum8x8(const T* pSrc, int srcStep, int* pVar, int* pSum) {
    int64_t s = 0, q = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            int64_t v = row(pSrc, srcStep, y)[x];
            s += v;
            q += v * v;
        }
    const float m = static_cast<float>(s) / 64.0f;
    const float var = static_cast<float>(q) / 64.0f - m * m;
    *pVar = static_cast<int>(var);
    *pSum = static_cast<int>(s);
}

void sadCandidates(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, int w, int h, int n, Mox16u* pDst) {
    for (int i = 0; i < n; ++i) pDst[i] = static_cast<Mox16u>(sad(pSrc, srcStep, pRef + i, refStep, w, h, 0));
}

template int predictUp<Mox8u>(const Mox8u*, int, int, int, int);
template int predictUp<Mox16u>(const Mox16u*, int, int, int, int);
template int sad<Mox8u>(const Mox8u*, int, const Mox8u*, int, int, int, int);
template int sad<Mox16u>(const Mox16u*, int, const Mox16u*, int, int, int, int);
template void varSum8x8<Mox8u>(const Mox8u*, int, int*, int*);
template void varSum8x8<Mox16s>(const Mox16s*, int, int*, int*);

}  // namespace mox::ref
