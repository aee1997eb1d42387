// Scalar reference models of the 8-bit block operations: copy, average, add,
// interpolate-average, motion compensation and the encoder's difference.
// Plain loops in 64-bit arithmetic, straight from the definitions; sizes and
// modes are run-time arguments.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// A reference block at its half-sample position.
struct RefBlock {
    const Mox8u* p;
    int step;
    int hx, hy;
};

// How the rounding control reaches the prediction.
struct Rounding {
    long long half;      // added to a + b before >> 1
    long long halfHalf;  // added to a + b + c + d before the division by 4
    bool truncate;       // half-half divides truncating toward zero instead of flooring

    // control & 1: 0 rounds halves up, 1 rounds them down.
    static Rounding masked(int control);
    // The control enters unmasked: 1 - control and 2 - control.
    static Rounding unmasked(int control, bool truncate);
};

// Sample x of row y of a prediction; `d` is the distance in bytes between
// horizontal neighbours (1, or 2 in interleaved two-channel rows) and x counts
// bytes from p.
long long predict(const RefBlock& r, int d, int x, int y, const Rounding& rnd);

// Block copy, plain and at (acc & 3, rounding & 1).
void copy(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int w, int h);
void copyHP(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int w, int h, int acc, int rounding);
// (a + b + 1) >> 1.
void average(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox8u* pDst, int dstStep, int w,
             int h);
// pSrcDst = (prediction of pSrc at acc, rounding + pSrcDst + 1) >> 1.
void interpolateAverage(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int w, int h, int acc,
                        int rounding);
// Sample plus residual (or constant) in 16-bit two's complement, clamped.
void add(const Mox16s* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int w, int h);
void addHP(const Mox16s* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox8u* pDst, int dstStep, int w, int h,
           int acc, int rounding);
void addC(Mox16s value, Mox8u* pSrcDst, int srcDstStep, int w, int h);

// Where the residual of an MC block comes from.
enum class Residual {
    Rows,     // h rows of w values
    Stacked,  // left w/2 columns from rows 0..h-1, right w/2 from rows h..2h-1 (w/2 values each)
    Planar,   // two-channel blocks: channel 0 from res0, channel 1 from res1, w values per row
};

struct McShape {
    int w, h;      // samples per channel
    int channels;  // 1, or 2 for interleaved UVUV reference and destination
    Residual residual;
    bool exact;    // 4- and 2-wide members: unmasked rounding, exact sum; else masked, 16-bit wrap
};

// One-reference (nRefs = 1: refs[0] at mcTypes[0]) or two-reference MC.
void mc(const McShape& s, const Mox8u* const refs[], const int steps[], const int mcTypes[], int nRefs,
        const Mox16s* res0, const Mox16s* res1, int resStep, Mox8u* pDst, int dstStep, int roundControl);

// cur - prediction (rounding terms 1 - rc and 2 - rc, arithmetic shifts), as
// 16 bits. channels 2: interleaved current and reference, channel c to
// diff[c]. pPred (one reference, one channel) may be null.
void getDiff(int w, int h, int channels, const Mox8u* pCur, int curStep, const Mox8u* const refs[],
             const int steps[], const int mcTypes[], int nRefs, Mox16s* const diff[], int diffStep, Mox16s* pPred,
             int predStep, int roundControl);

}  // namespace mox::ref
