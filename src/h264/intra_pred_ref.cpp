#include "h264/intra_pred_ref.h"

#include <cstdint>

#include "core/pixel.h"

namespace mox::ref {
namespace {

bool has(int avail, int bits) {
    return (avail & bits) == bits;
}

// The neighbours of an n x n block as the standard names them: p(x, -1) for
// x = -1 .. 2n - 1 and p(-1, y) for y = 0 .. n - 1 (p(-1, -1) is top[-1]).
struct Edge {
    int topBuf[33];
    int left[16];
    int* top() { return topBuf + 1; }
    const int* top() const { return topBuf + 1; }
};

template <class T>
int at(const T* p, int step, int x, int y) {
    return row(p, step, y)[x];
}

template <class T>
void put(T* p, int step, int x, int y, int v) {
    row(p, step, y)[x] = static_cast<T>(v);
}

// Gathers the neighbours of an n x n block, reading only those `avail` allows:
// missing ones read as `half`, the upper-right ones as the last upper sample.
template <class T>
Edge gather(const T* p, int step, int n, int avail, int half) {
    Edge e;
    int* t = e.top();
    for (int x = 0; x < n; ++x) t[x] = has(avail, kAvailUp) ? at(p, step, x, -1) : half;
    for (int x = n; x < 2 * n; ++x) t[x] = has(avail, kAvailUpRight) ? at(p, step, x, -1) : t[n - 1];
    for (int y = 0; y < n; ++y) e.left[y] = has(avail, kAvailLeft) ? at(p, step, -1, y) : half;
    t[-1] = has(avail, kAvailUpLeft) ? at(p, step, -1, -1) : half;
    return e;
}

// The directional modes 3..8 of clause 8.3.1.2 (4x4) and 8.3.2.2 (8x8), on
// reference samples t (x = -1 .. 2n - 1) and l (y = 0 .. n - 1).
int directional(int mode, int n, const int* t, const int* l, int x, int y) {
    auto L = [&](int k) { return k < 0 ? t[-1] : l[k]; };
    auto T = [&](int k) { return t[k]; };
    switch (mode) {
        case 3:  // diagonal down-left
            if (x == n - 1 && y == n - 1) return (T(2 * n - 2) + 3 * T(2 * n - 1) + 2) >> 2;
            return (T(x + y) + 2 * T(x + y + 1) + T(x + y + 2) + 2) >> 2;
        case 4:  // diagonal down-right
            if (x > y) return (T(x - y - 2) + 2 * T(x - y - 1) + T(x - y) + 2) >> 2;
            if (x < y) return (L(y - x - 2) + 2 * L(y - x - 1) + L(y - x) + 2) >> 2;
            return (T(0) + 2 * t[-1] + L(0) + 2) >> 2;
        case 5: {  // vertical-right
            int z = 2 * x - y;
            if (z >= 0 && (z & 1) == 0) return (T(x - (y >> 1) - 1) + T(x - (y >> 1)) + 1) >> 1;
            if (z >= 0) return (T(x - (y >> 1) - 2) + 2 * T(x - (y >> 1) - 1) + T(x - (y >> 1)) + 2) >> 2;
            if (z == -1) return (L(0) + 2 * t[-1] + T(0) + 2) >> 2;
            return (L(y - 2 * x - 1) + 2 * L(y - 2 * x - 2) + L(y - 2 * x - 3) + 2) >> 2;
        }
        case 6: {  // horizontal-down
            int z = 2 * y - x;
            if (z >= 0 && (z & 1) == 0) return (L(y - (x >> 1) - 1) + L(y - (x >> 1)) + 1) >> 1;
            if (z >= 0) return (L(y - (x >> 1) - 2) + 2 * L(y - (x >> 1) - 1) + L(y - (x >> 1)) + 2) >> 2;
            if (z == -1) return (L(0) + 2 * t[-1] + T(0) + 2) >> 2;
            return (T(x - 2 * y - 1) + 2 * T(x - 2 * y - 2) + T(x - 2 * y - 3) + 2) >> 2;
        }
        case 7:  // vertical-left
            if ((y & 1) == 0) return (T(x + (y >> 1)) + T(x + (y >> 1) + 1) + 1) >> 1;
            return (T(x + (y >> 1)) + 2 * T(x + (y >> 1) + 1) + T(x + (y >> 1) + 2) + 2) >> 2;
        default: {  // 8, horizontal-up
            int z = x + 2 * y, last = 2 * n - 3;
            if (z > last) return l[n - 1];
            if (z == last) return (l[n - 2] + 3 * l[n - 1] + 2) >> 2;
            int k = y + (x >> 1);
            if ((z & 1) == 0) return (l[k] + l[k + 1] + 1) >> 1;
            return (l[k] + 2 * l[k + 1] + l[k + 2] + 2) >> 2;
        }
    }
}

// One n x n block of modes 0..8 from (filtered) reference samples; DC looks
// at which sides are available.
template <class T>
void fillBlock(T* p, int step, int n, int mode, const Edge& e, int avail, int half) {
    int dc = half;
    if (mode == 2) {
        int st = 0, sl = 0, sh = n == 4 ? 2 : 3;
        for (int k = 0; k < n; ++k) st += e.top()[k], sl += e.left[k];
        bool up = has(avail, kAvailUp), left = has(avail, kAvailLeft);
        if (up && left)
            dc = (st + sl + n) >> (sh + 1);
        else if (up)
            dc = (st + n / 2) >> sh;
        else if (left)
            dc = (sl + n / 2) >> sh;
    }
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            int v = mode == 0   ? e.top()[x]
                    : mode == 1 ? e.left[y]
                    : mode == 2 ? dc
                                : directional(mode, n, e.top(), e.left, x, y);
            put(p, step, x, y, v);
        }
}

// The neighbours each 4x4 / 8x8 mode needs.
constexpr int kNeeds[9] = {kAvailUp,
                           kAvailLeft,
                           0,
                           kAvailUp,
                           kAvailUp | kAvailLeft | kAvailUpLeft,
                           kAvailUp | kAvailLeft | kAvailUpLeft,
                           kAvailUp | kAvailLeft | kAvailUpLeft,
                           kAvailUp,
                           kAvailLeft};

constexpr int kLeftBoth = kAvailLeft | kAvailLeftLower;

}  // namespace

template <class T>
bool predict4x4(T* p, int step, int mode, int avail, int bitDepth) {
    int half = 1 << (bitDepth - 1);
    Edge e = gather(p, step, 4, avail, half);
    fillBlock(p, step, 4, mode, e, avail, half);
    return !has(avail, kNeeds[mode]);
}

template <class T>
void predict8x8(T* p, int step, int mode, int avail, int bitDepth) {
    int half = 1 << (bitDepth - 1);
    Edge e = gather(p, step, 8, avail, half), f = e;
    bool up = has(avail, kAvailUp), left = has(avail, kAvailLeft), ul = has(avail, kAvailUpLeft);
    // Reference sample filtering (clause 8.3.2.2.1), only over available samples.
    const int *t = e.top(), *l = e.left;
    int *ft = f.top(), *fl = f.left;
    if (up) {
        ft[0] = ul ? (t[-1] + 2 * t[0] + t[1] + 2) >> 2 : (3 * t[0] + t[1] + 2) >> 2;
        for (int x = 1; x < 15; ++x) ft[x] = (t[x - 1] + 2 * t[x] + t[x + 1] + 2) >> 2;
        ft[15] = (t[14] + 3 * t[15] + 2) >> 2;
    }
    if (ul) {
        if (up && left)
            ft[-1] = (t[0] + 2 * t[-1] + l[0] + 2) >> 2;
        else if (up)
            ft[-1] = (3 * t[-1] + t[0] + 2) >> 2;
        else if (left)
            ft[-1] = (3 * t[-1] + l[0] + 2) >> 2;
    }
    if (left) {
        fl[0] = ul ? (t[-1] + 2 * l[0] + l[1] + 2) >> 2 : (3 * l[0] + l[1] + 2) >> 2;
        for (int y = 1; y < 7; ++y) fl[y] = (l[y - 1] + 2 * l[y] + l[y + 1] + 2) >> 2;
        fl[7] = (l[6] + 3 * l[7] + 2) >> 2;
    }
    fillBlock(p, step, 8, mode, f, avail, half);
}

bool canPredict16x16(int mode, int avail) {
    if (mode == 0) return has(avail, kAvailUp);
    if (mode == 1) return has(avail, kAvailLeft);
    if (mode == 3) return has(avail, kAvailUp | kAvailLeft | kAvailUpLeft);
    return true;
}

bool canPredictChroma(int mode, int avail) {
    if (mode == 1) return has(avail, kLeftBoth);
    if (mode == 2) return has(avail, kAvailUp);
    if (mode == 3) return has(avail, kAvailUp | kLeftBoth | kAvailUpLeft);
    return true;
}

template <class T>
void predict16x16(T* p, int step, int mode, int avail, int bitDepth) {
    int maxV = (1 << bitDepth) - 1;
    auto P = [&](int x, int y) { return at(p, step, x, y); };
    int dc = 1 << (bitDepth - 1);
    int a = 0, b = 0, c = 0;
    if (mode == 2) {
        int st = 0, sl = 0;
        for (int k = 0; k < 16; ++k) {
            if (has(avail, kAvailUp)) st += P(k, -1);
            if (has(avail, kAvailLeft)) sl += P(-1, k);
        }
        if (has(avail, kAvailUp | kAvailLeft))
            dc = (st + sl + 16) >> 5;
        else if (has(avail, kAvailUp))
            dc = (st + 8) >> 4;
        else if (has(avail, kAvailLeft))
            dc = (sl + 8) >> 4;
    } else if (mode == 3) {
        int H = 0, V = 0;
        for (int k = 0; k < 8; ++k) {
            H += (k + 1) * (P(8 + k, -1) - P(6 - k, -1));
            V += (k + 1) * (P(-1, 8 + k) - P(-1, 6 - k));
        }
        a = 16 * (P(-1, 15) + P(15, -1));
        b = (5 * H + 32) >> 6;
        c = (5 * V + 32) >> 6;
    }
    int top[16], left[16];
    for (int k = 0; k < 16; ++k) {
        top[k] = mode == 0 ? P(k, -1) : 0;
        left[k] = mode == 1 ? P(-1, k) : 0;
    }
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            int v = mode == 0   ? top[x]
                    : mode == 1 ? left[y]
                    : mode == 2 ? dc
                                : clamp((a + b * (x - 7) + c * (y - 7) + 16) >> 5, 0, maxV);
            put(p, step, x, y, v);
        }
}

template <class T>
void predictChroma(T* p, int step, int mode, int avail, int height, int bitDepth) {
    int maxV = (1 << bitDepth) - 1;
    auto P = [&](int x, int y) { return at(p, step, x, y); };
    // Left samples of rows below height / 2 belong to the lower half.
    auto leftOk = [&](int y0) { return has(avail, y0 < height / 2 ? kAvailLeft : kAvailLeftLower); };
    int out[16][8];
    if (mode == 0) {
        // Clause 8.3.4.1..3: each 4x4 block from the macroblock's upper row and
        // left column next to it, preferring the side the block touches.
        for (int yo = 0; yo < height; yo += 4)
            for (int xo = 0; xo < 8; xo += 4) {
                int st = 0, sl = 0;
                bool up = has(avail, kAvailUp), left = leftOk(yo);
                for (int k = 0; k < 4; ++k) {
                    if (up) st += P(xo + k, -1);
                    if (left) sl += P(-1, yo + k);
                }
                int v = 1 << (bitDepth - 1);
                if ((xo == 0 && yo == 0) || (xo > 0 && yo > 0)) {
                    if (up && left)
                        v = (st + sl + 4) >> 3;
                    else if (left)
                        v = (sl + 2) >> 2;
                    else if (up)
                        v = (st + 2) >> 2;
                } else if (xo > 0) {
                    if (up)
                        v = (st + 2) >> 2;
                    else if (left)
                        v = (sl + 2) >> 2;
                } else {
                    if (left)
                        v = (sl + 2) >> 2;
                    else if (up)
                        v = (st + 2) >> 2;
                }
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 4; ++x) out[yo + y][xo + x] = v;
            }
    } else if (mode == 1) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < 8; ++x) out[y][x] = P(-1, y);
    } else if (mode == 2) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < 8; ++x) out[y][x] = P(x, -1);
    } else {
        // Clause 8.3.4.4 with xCF = 0 and yCF = 0 (4:2:0) or 4 (4:2:2).
        int yCF = height == 16 ? 4 : 0;
        int H = 0, V = 0;
        for (int k = 0; k < 4; ++k) H += (k + 1) * (P(4 + k, -1) - P(2 - k, -1));
        for (int k = 0; k < 4 + yCF; ++k) V += (k + 1) * (P(-1, 4 + yCF + k) - P(-1, 2 + yCF - k));
        int a = 16 * (P(-1, height - 1) + P(7, -1));
        int b = (34 * H + 32) >> 6;
        int c = ((height == 16 ? 5 : 34) * V + 32) >> 6;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < 8; ++x) out[y][x] = clamp((a + b * (x - 3) + c * (y - 3 - yCF) + 16) >> 5, 0, maxV);
    }
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < 8; ++x) put(p, step, x, y, out[y][x]);
}

template bool predict4x4<Mox8u>(Mox8u*, int, int, int, int);
template bool predict4x4<Mox16u>(Mox16u*, int, int, int, int);
template void predict8x8<Mox8u>(Mox8u*, int, int, int, int);
template void predict8x8<Mox16u>(Mox16u*, int, int, int, int);
template void predict16x16<Mox8u>(Mox8u*, int, int, int, int);
template void predict16x16<Mox16u>(Mox16u*, int, int, int, int);
template void predictChroma<Mox8u>(Mox8u*, int, int, int, int, int);
template void predictChroma<Mox16u>(Mox16u*, int, int, int, int, int);

}  // namespace mox::ref
