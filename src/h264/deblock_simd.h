// Shared pieces of the deblocking kernels: edge thresholds in the "at most"
// form used by the SIMD line tests.
#pragma once

#include <algorithm>
#include <cstdint>

namespace mox::deblock {

// |d| < alpha is tested as |d| <= am1; an edge with alpha or beta 0 filters
// no line (off). maxSample is the largest sample value of the kernel's lanes:
// thresholds above it pass every line, so they are capped without changing
// any result.
struct Limits {
    int am1, bm1, sm1;  // alpha - 1, beta - 1, (alpha >> 2) + 1 (the strong luma test)
    bool off;
};

inline Limits limits(uint32_t alpha, uint32_t beta, uint32_t maxSample = 255) {
    Limits l;
    l.off = alpha == 0 || beta == 0;
    l.am1 = static_cast<int>(std::min(alpha - 1, maxSample));
    l.bm1 = static_cast<int>(std::min(beta - 1, maxSample));
    l.sm1 = static_cast<int>(std::min((alpha >> 2) + 1, maxSample));
    return l;
}

}  // namespace mox::deblock
