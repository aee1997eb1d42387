// Scalar reference models of the H.264 in-loop deblocking filters.
//
// Every model filters one macroblock in place, edge 0 first. Sample pointers
// address the macroblock's top-left sample; steps are in bytes. Thresholds are
// passed as the caller's arrays (tc0 laid out like the strengths); maxValue is
// 255 for 8-bit samples or (1 << bitDepth) - 1.
#pragma once

#include <cstdint>

#include "moxvc.h"

namespace mox::ref {

// How one line across an edge is filtered.
enum class DeblockMode { Skip, Normal, Strong };

// One line of samples across an edge: q0 at `q0`, p0 at q0 - across, p1 at
// q0 - 2 * across and so on (across in bytes, may be a row step).
template <class T>
void deblockLine(T* q0, std::ptrdiff_t across, bool luma, DeblockMode mode, uint32_t alpha, uint32_t beta, int tc0,
                 int maxValue);

// Luma, the four edges of one direction (vertical: x = 0, 4, 8, 12; horizontal: y = 0, 4, 8, 12).
template <class T, class Th>
void deblockLuma(T* p, int step, bool vertical, const Th* alpha, const Th* beta, const Th* tc0, const Mox8u* bs,
                 int maxValue);
// Luma left edge of a field macroblock: 8 rows, row r with bs[r / 2] and tc0[r / 2].
template <class T, class Th>
void deblockLumaMbaff(T* p, int step, uint32_t alpha, uint32_t beta, const Th* tc0, const Mox8u* bs, int maxValue);

// 4:2:0 chroma, two edges of one direction. components = 1 for a plane, 2 for
// interleaved U/V (the same thresholds for both).
template <class T, class Th>
void deblockChroma(T* p, int step, bool vertical, int components, const Th* alpha, const Th* beta, const Th* tc0,
                   const Mox8u* bs, int maxValue);
// Chroma left edge of a field macroblock: 4 rows, row r with bs[r] and tc0[r].
template <class T, class Th>
void deblockChromaMbaff(T* p, int step, uint32_t alpha, uint32_t beta, const Th* tc0, const Mox8u* bs, int maxValue);

// 4:2:2 chroma: vertical edges x = 0, 4 over 16 rows, or horizontal edges y = 0, 4, 8, 12.
template <class T, class Th>
void deblockChroma422(T* p, int step, bool vertical, const Th* alpha, const Th* beta, const Th* tc0, const Mox8u* bs,
                      int maxValue);

}  // namespace mox::ref
