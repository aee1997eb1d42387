// VC-1 inverse transform model from the transform matrices of SMPTE 421M:
// T8 rows (12 12 12 12 12 12 12 12), (16 15 9 4 -4 -9 -15 -16),
// (16 6 -6 -16 -16 -6 6 16), (15 -4 -16 -9 9 16 4 -15), (12 -12 -12 12 12
// -12 -12 12), (9 -16 4 15 -15 -4 16 -9), (6 -16 16 -6 -6 16 -16 6),
// (4 -9 15 -16 16 -15 9 -4); T4 rows (17 17 17 17), (22 10 -10 -22),
// (17 -17 -17 17), (10 -22 22 -10). Output n of an N-point transform is
// sum over k of T[k][n] * in[k].
#include "vc1/transform_ref.h"

#include <cstdint>

#include "core/pixel.h"

namespace mox::ref::vc1 {

namespace {

constexpr int kT8[8][8] = {{12, 12, 12, 12, 12, 12, 12, 12},     {16, 15, 9, 4, -4, -9, -15, -16},
                           {16, 6, -6, -16, -16, -6, 6, 16},     {15, -4, -16, -9, 9, 16, 4, -15},
                           {12, -12, -12, 12, 12, -12, -12, 12}, {9, -16, 4, 15, -15, -4, 16, -9},
                           {6, -16, 16, -6, -6, 16, -16, 6},     {4, -9, 15, -16, 16, -15, 9, -4}};
constexpr int kT4[4][4] = {{17, 17, 17, 17}, {22, 10, -10, -22}, {17, -17, -17, 17}, {10, -22, 22, -10}};

// One n-point transform of in[0..n-1] (stride apart), stored value before the shift wrapped to 16 bits.
void transform1D(const int* in, int n, int* out, int round, int shift, bool lowerPlusOne) {
    for (int o = 0; o < n; ++o) {
        int64_t sum = 0;
        for (int k = 0; k < n; ++k) sum += static_cast<int64_t>(n == 8 ? kT8[k][o] : kT4[k][o]) * in[k];
        const int extra = lowerPlusOne && o >= n / 2 ? 1 : 0;
        out[o] = static_cast<int16_t>(static_cast<uint16_t>(sum + round + extra)) >> shift;
    }
}

void residual(const Mox16s* src, int srcStep, int w, int h, int out[8][8]) {
    int tmp[8][8];
    for (int y = 0; y < h; ++y) {
        int in[8];
        for (int x = 0; x < w; ++x) in[x] = row(src, srcStep, y)[x];
        transform1D(in, w, tmp[y], 4, 3, false);
    }
    for (int x = 0; x < w; ++x) {
        int in[8], res[8];
        for (int y = 0; y < h; ++y) in[y] = tmp[y][x];
        transform1D(in, h, res, 64, 7, h == 8);
        for (int y = 0; y < h; ++y) out[y][x] = res[y];
    }
}

}  // namespace

void inverseTransform(const Mox16s* src, int srcStep, Mox16s* dst, int dstStep, int w, int h) {
    int r[8][8];
    residual(src, srcStep, w, h, r);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) row(dst, dstStep, y)[x] = static_cast<Mox16s>(r[y][x]);
}

void inverseTransformAdd(const Mox16s* src, int srcStep, const Mox8u* pred, int predStep, Mox8u* dst, int dstStep,
                         int w, int h) {
    int r[8][8];
    residual(src, srcStep, w, h, r);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            row(dst, dstStep, y)[x] = static_cast<Mox8u>(clampPixel(row(pred, predStep, y)[x] + r[y][x]));
}

}  // namespace mox::ref::vc1
