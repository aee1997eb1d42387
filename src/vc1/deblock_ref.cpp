// VC-1 loop filter model, one line at a time, after the filter procedure of
// SMPTE 421M clause 8.6 (divisions truncate towards zero).
#include "vc1/deblock_ref.h"

#include <algorithm>
#include <cstdlib>

namespace mox::ref::vc1 {

namespace {

// Filters one line of samples P1..P8 (P4 | P5 across the edge); returns the
// standard's FILTER_OTHER_3_PIXELS outcome of this line.
bool filterLine(Mox8u* p, int across, int pquant) {
    auto P = [p, across](int i) { return static_cast<int>(p[(i - 5) * across]); };
    const int a0 = (2 * (P(3) - P(6)) - 5 * (P(4) - P(5)) + 4) >> 3;
    if (std::abs(a0) >= pquant) return false;
    const int a1 = (2 * (P(1) - P(4)) - 5 * (P(2) - P(3)) + 4) >> 3;
    const int a2 = (2 * (P(5) - P(8)) - 5 * (P(6) - P(7)) + 4) >> 3;
    const int a3 = std::min(std::abs(a1), std::abs(a2));
    if (a3 >= std::abs(a0)) return false;
    const int sign = a0 < 0 ? -1 : 1;
    int d = 5 * (sign * a3 - a0) / 8;
    const int clip = (P(4) - P(5)) / 2;
    if (clip == 0) return false;
    d = clip > 0 ? std::clamp(d, 0, clip) : std::clamp(d, clip, 0);
    p[-across] = static_cast<Mox8u>(P(4) - d);
    p[0] = static_cast<Mox8u>(P(5) + d);
    return true;
}

}  // namespace

void deblockEdge(Mox8u* p, int along, int across, int lines, int pquant, unsigned disabled) {
    for (int g = 0; g < lines / 4; ++g) {
        if (disabled >> g & 1) continue;
        Mox8u* q = p + static_cast<std::ptrdiff_t>(4 * g) * along;
        if (filterLine(q + 2 * along, across, pquant)) {
            filterLine(q, across, pquant);
            filterLine(q + along, across, pquant);
            filterLine(q + 3 * along, across, pquant);
        }
    }
}

}  // namespace mox::ref::vc1
