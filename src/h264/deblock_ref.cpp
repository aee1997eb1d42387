#include "h264/deblock_ref.h"

#include <cstdlib>

#include "core/pixel.h"

namespace mox::ref {

namespace {

template <class T>
T& at(T* q0, std::ptrdiff_t across, int k) {
    return *reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(q0) + across * k);
}

DeblockMode modeOf(int bs) {
    return bs == 0 ? DeblockMode::Skip : (bs == 4 ? DeblockMode::Strong : DeblockMode::Normal);
}

}  // namespace

template <class T>
void deblockLine(T* q0p, std::ptrdiff_t across, bool luma, DeblockMode mode, uint32_t alpha, uint32_t beta, int tc0,
                 int maxValue) {
    if (mode == DeblockMode::Skip) return;
    const int64_t p3 = at(q0p, across, -4), p2 = at(q0p, across, -3), p1 = at(q0p, across, -2),
                  p0 = at(q0p, across, -1), q0 = at(q0p, across, 0), q1 = at(q0p, across, 1),
                  q2 = at(q0p, across, 2), q3 = at(q0p, across, 3);
    if (!(std::llabs(p0 - q0) < alpha && std::llabs(p1 - p0) < beta && std::llabs(q1 - q0) < beta)) return;
    auto put = [&](int k, int64_t v) { at(q0p, across, k) = static_cast<T>(v); };
    if (!luma) {
        if (mode == DeblockMode::Strong) {
            put(-1, (2 * p1 + p0 + q1 + 2) >> 2);
            put(0, (2 * q1 + q0 + p1 + 2) >> 2);
        } else {
            const int64_t tc = tc0 + 1;
            const int64_t delta = clamp<int64_t>(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, -tc, tc);
            if (delta != 0) {
                put(-1, clamp<int64_t>(p0 + delta, 0, maxValue));
                put(0, clamp<int64_t>(q0 - delta, 0, maxValue));
            }
        }
        return;
    }
    // Luma samples p3 and q3 are read by the strong filter only.
    const bool ap = std::llabs(p2 - p0) < beta, aq = std::llabs(q2 - q0) < beta;
    if (mode == DeblockMode::Strong) {
        const bool small = std::llabs(p0 - q0) < static_cast<int64_t>(alpha >> 2) + 2;
        if (ap && small) {
            put(-1, (p2 + 2 * p1 + 2 * p0 + 2 * q0 + q1 + 4) >> 3);
            put(-2, (p2 + p1 + p0 + q0 + 2) >> 2);
            put(-3, (2 * p3 + 3 * p2 + p1 + p0 + q0 + 4) >> 3);
        } else {
            put(-1, (2 * p1 + p0 + q1 + 2) >> 2);
        }
        if (aq && small) {
            put(0, (q2 + 2 * q1 + 2 * q0 + 2 * p0 + p1 + 4) >> 3);
            put(1, (q2 + q1 + q0 + p0 + 2) >> 2);
            put(2, (2 * q3 + 3 * q2 + q1 + q0 + p0 + 4) >> 3);
        } else {
            put(0, (2 * q1 + q0 + p1 + 2) >> 2);
        }
        return;
    }
    const int64_t tc = tc0 + ap + aq;
    const int64_t delta = clamp<int64_t>(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, -tc, tc);
    if (delta != 0) {
        put(-1, clamp<int64_t>(p0 + delta, 0, maxValue));
        put(0, clamp<int64_t>(q0 - delta, 0, maxValue));
    }
    if (ap) put(-2, p1 + clamp<int64_t>((p2 + ((p0 + q0 + 1) >> 1) - 2 * p1) >> 1, -tc0, tc0));
    if (aq) put(1, q1 + clamp<int64_t>((q2 + ((p0 + q0 + 1) >> 1) - 2 * q1) >> 1, -tc0, tc0));
}

// Address of sample (x, y) of the plane, x in samples.
template <class T>
static T* sampleAt(T* p, int step, int x, int y) {
    return row(p, step, y) + x;
}

template <class T, class Th>
void deblockLuma(T* p, int step, bool vertical, const Th* alpha, const Th* beta, const Th* tc0, const Mox8u* bs,
                 int maxValue) {
    for (int e = 0; e < 4; ++e) {
        for (int k = 0; k < 16; ++k) {
            T* q0 = vertical ? sampleAt(p, step, 4 * e, k) : sampleAt(p, step, k, 4 * e);
            const std::ptrdiff_t across = vertical ? static_cast<std::ptrdiff_t>(sizeof(T)) : step;
            const int i = 4 * e + k / 4;
            deblockLine(q0, across, true, modeOf(bs[i]), alpha[e ? 1 : 0], beta[e ? 1 : 0], tc0[i], maxValue);
        }
    }
}

template <class T, class Th>
void deblockLumaMbaff(T* p, int step, uint32_t alpha, uint32_t beta, const Th* tc0, const Mox8u* bs, int maxValue) {
    for (int r = 0; r < 8; ++r)
        deblockLine(sampleAt(p, step, 0, r), sizeof(T), true, modeOf(bs[r / 2]), alpha, beta, tc0[r / 2], maxValue);
}

template <class T, class Th>
void deblockChroma(T* p, int step, bool vertical, int components, const Th* alpha, const Th* beta, const Th* tc0,
                   const Mox8u* bs, int maxValue) {
    for (int c = 0; c < 2; ++c) {
        for (int k = 0; k < 8; ++k) {
            for (int comp = 0; comp < components; ++comp) {
                T* q0 = vertical ? sampleAt(p, step, 4 * c * components + comp, k)
                                 : sampleAt(p, step, k * components + comp, 4 * c);
                const std::ptrdiff_t across =
                    vertical ? static_cast<std::ptrdiff_t>(sizeof(T)) * components : step;
                deblockLine(q0, across, false, modeOf(bs[8 * c + k / 2]), alpha[c], beta[c], tc0[4 * c + k / 2],
                            maxValue);
            }
        }
    }
}

template <class T, class Th>
void deblockChromaMbaff(T* p, int step, uint32_t alpha, uint32_t beta, const Th* tc0, const Mox8u* bs, int maxValue) {
    for (int r = 0; r < 4; ++r)
        deblockLine(sampleAt(p, step, 0, r), sizeof(T), false, modeOf(bs[r]), alpha, beta, tc0[r], maxValue);
}

template <class T, class Th>
void deblockChroma422(T* p, int step, bool vertical, const Th* alpha, const Th* beta, const Th* tc0, const Mox8u* bs,
                      int maxValue) {
    if (vertical) {
        for (int c = 0; c < 2; ++c)
            for (int r = 0; r < 16; ++r)
                deblockLine(sampleAt(p, step, 4 * c, r), sizeof(T), false, modeOf(bs[8 * c + r / 4]), alpha[c],
                            beta[c], tc0[4 * c + r / 4], maxValue);
        return;
    }
    for (int e = 0; e < 4; ++e) {
        // The whole edge takes the strong filter when its first strength is 4;
        // otherwise every nonzero strength means the normal filter.
        const bool strong = bs[4 * e] == 4;
        for (int x = 0; x < 8; ++x) {
            const int i = 4 * e + x / 2;
            const DeblockMode mode = strong ? DeblockMode::Strong : (bs[i] ? DeblockMode::Normal : DeblockMode::Skip);
            const int a = e < 1 ? e : 1;
            deblockLine(sampleAt(p, step, x, 4 * e), step, false, mode, alpha[a], beta[a], tc0[i], maxValue);
        }
    }
}

#define MOX_DEBLOCK_REF(T, Th)                                                                                      \
    template void deblockLine<T>(T*, std::ptrdiff_t, bool, DeblockMode, uint32_t, uint32_t, int, int);               \
    template void deblockLuma<T, Th>(T*, int, bool, const Th*, const Th*, const Th*, const Mox8u*, int);           \
    template void deblockLumaMbaff<T, Th>(T*, int, uint32_t, uint32_t, const Th*, const Mox8u*, int);              \
    template void deblockChroma<T, Th>(T*, int, bool, int, const Th*, const Th*, const Th*, const Mox8u*, int);    \
    template void deblockChromaMbaff<T, Th>(T*, int, uint32_t, uint32_t, const Th*, const Mox8u*, int);            \
    template void deblockChroma422<T, Th>(T*, int, bool, const Th*, const Th*, const Th*, const Mox8u*, int);

MOX_DEBLOCK_REF(Mox8u, Mox8u)
MOX_DEBLOCK_REF(Mox16u, Mox16u)

}  // namespace mox::ref
