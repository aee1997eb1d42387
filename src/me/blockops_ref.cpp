#include "me/blockops_ref.h"

#include <algorithm>

#include "core/pixel.h"

namespace mox::ref {

namespace {

long long floorDiv(long long a, int shift) { return a >= 0 ? a >> shift : -((-a + (1LL << shift) - 1) >> shift); }

int clamp255(long long v) { return static_cast<int>(std::clamp<long long>(v, 0, 255)); }

Mox16s wrap16(long long v) { return static_cast<Mox16s>(static_cast<uint16_t>(static_cast<unsigned long long>(v))); }

RefBlock atAcc(const Mox8u* p, int step, int acc) { return {p, step, acc & 1, (acc >> 1) & 1}; }

RefBlock atMcType(const Mox8u* p, int step, int mcType) { return {p, step, (mcType >> 3) & 1, (mcType >> 2) & 1}; }

}  // namespace

Rounding Rounding::masked(int control) { return {1 - (control & 1), 2 - (control & 1), false}; }

Rounding Rounding::unmasked(int control, bool truncate) {
    return {1 - static_cast<long long>(control), 2 - static_cast<long long>(control), truncate};
}

long long predict(const RefBlock& r, int d, int x, int y, const Rounding& rnd) {
    const Mox8u* p = row(r.p, r.step, y) + x;
    const Mox8u* q = row(r.p, r.step, y + 1) + x;
    long long a = p[0];
    if (r.hx && r.hy) {
        long long s = a + p[d] + q[0] + q[d] + rnd.halfHalf;
        return rnd.truncate ? s / 4 : floorDiv(s, 2);
    }
    if (r.hx) return floorDiv(a + p[d] + rnd.half, 1);
    if (r.hy) return floorDiv(a + q[0] + rnd.half, 1);
    return a;
}

void copy(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int w, int h) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) row(pDst, dstStep, y)[x] = row(pSrc, srcStep, y)[x];
}

void copyHP(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int w, int h, int acc, int rounding) {
    const RefBlock r = atAcc(pSrc, srcStep, acc);
    const Rounding rnd = Rounding::masked(rounding);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) row(pDst, dstStep, y)[x] = static_cast<Mox8u>(predict(r, 1, x, y, rnd));
}

void average(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox8u* pDst, int dstStep, int w,
             int h) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            row(pDst, dstStep, y)[x] =
                static_cast<Mox8u>((row(pSrc1, src1Step, y)[x] + row(pSrc2, src2Step, y)[x] + 1) >> 1);
}

void interpolateAverage(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int w, int h, int acc,
                        int rounding) {
    const RefBlock r = atAcc(pSrc, srcStep, acc);
    const Rounding rnd = Rounding::masked(rounding);
    for (int y = 0; y < h; ++y) {
        Mox8u* d = row(pSrcDst, srcDstStep, y);
        for (int x = 0; x < w; ++x) d[x] = static_cast<Mox8u>((predict(r, 1, x, y, rnd) + d[x] + 1) >> 1);
    }
}

void add(const Mox16s* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int w, int h) {
    for (int y = 0; y < h; ++y) {
        Mox8u* d = row(pSrcDst, srcDstStep, y);
        for (int x = 0; x < w; ++x) d[x] = static_cast<Mox8u>(clamp255(wrap16(d[x] + row(pSrc, srcStep, y)[x])));
    }
}

void addHP(const Mox16s* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox8u* pDst, int dstStep, int w, int h,
           int acc, int rounding) {
    const RefBlock r = atAcc(pRef, refStep, acc);
    const Rounding rnd = Rounding::masked(rounding);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            row(pDst, dstStep, y)[x] =
                static_cast<Mox8u>(clamp255(wrap16(predict(r, 1, x, y, rnd) + row(pSrc, srcStep, y)[x])));
}

void addC(Mox16s value, Mox8u* pSrcDst, int srcDstStep, int w, int h) {
    for (int y = 0; y < h; ++y) {
        Mox8u* d = row(pSrcDst, srcDstStep, y);
        for (int x = 0; x < w; ++x) d[x] = static_cast<Mox8u>(clamp255(wrap16(d[x] + value)));
    }
}

void mc(const McShape& s, const Mox8u* const refs[], const int steps[], const int mcTypes[], int nRefs,
        const Mox16s* res0, const Mox16s* res1, int resStep, Mox8u* pDst, int dstStep, int roundControl) {
    const Rounding rnd = s.exact ? Rounding::unmasked(roundControl, true) : Rounding::masked(roundControl);
    const int d = s.channels;
    for (int y = 0; y < s.h; ++y) {
        for (int c = 0; c < s.channels; ++c) {
            for (int x = 0; x < s.w; ++x) {
                const int bx = x * d + c;  // byte in the interleaved row
                long long p = predict(atMcType(refs[0], steps[0], mcTypes[0]), d, bx, y, rnd);
                if (nRefs == 2) p = floorDiv(p + predict(atMcType(refs[1], steps[1], mcTypes[1]), d, bx, y, rnd) + 1, 1);
                long long r;
                switch (s.residual) {
                    case Residual::Rows: r = row(res0, resStep, y)[x]; break;
                    case Residual::Stacked: {
                        const int half = s.w / 2;
                        r = x < half ? row(res0, resStep, y)[x] : row(res0, resStep, s.h + y)[x - half];
                        break;
                    }
                    default: r = row(c == 0 ? res0 : res1, resStep, y)[x]; break;
                }
                const long long v = s.exact ? p + r : wrap16(p + r);
                row(pDst, dstStep, y)[bx] = static_cast<Mox8u>(clamp255(v));
            }
        }
    }
}

void getDiff(int w, int h, int channels, const Mox8u* pCur, int curStep, const Mox8u* const refs[],
             const int steps[], const int mcTypes[], int nRefs, Mox16s* const diff[], int diffStep, Mox16s* pPred,
             int predStep, int roundControl) {
    const Rounding rnd = Rounding::unmasked(roundControl, false);
    const int d = channels;
    for (int y = 0; y < h; ++y) {
        for (int c = 0; c < channels; ++c) {
            for (int x = 0; x < w; ++x) {
                const int bx = x * d + c;
                long long p = predict(atMcType(refs[0], steps[0], mcTypes[0]), d, bx, y, rnd);
                if (nRefs == 2) p = floorDiv(p + predict(atMcType(refs[1], steps[1], mcTypes[1]), d, bx, y, rnd) + 1, 1);
                row(diff[c], diffStep, y)[x] = wrap16(row(pCur, curStep, y)[bx] - p);
                if (pPred) row(pPred, predStep, y)[x] = wrap16(p);
            }
        }
    }
}

}  // namespace mox::ref
