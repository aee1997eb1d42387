// Scalar reference model of VC-1 overlap smoothing (SMPTE 421M overlapped transform):
// the four samples x0 x1 | x2 x3 of each line across a block edge become
// ((7 -1 1 1 ... ) matrix rows applied + r) >> 3, the rounding r alternating
// (4, 3, 4, 3) and (3, 4, 3, 4) from line to line.
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// Smooths `lines` lines in place; line i starts at p + i * along (bytes),
// its samples `across` bytes apart, the edge between p[-across] and p[0].
// The result of each line, before its shift, is kept in 16 bits.
void smoothEdge(Mox16s* p, int along, int across, int lines);

// The same from 16-bit samples into 8-bit ones (clamp(v + 128)), the four
// smoothed samples of each line only, at the same positions around q.
void smoothEdgeTo8u(const Mox16s* p, int along, int across, Mox8u* q, int qAlong, int qAcross, int lines);

}  // namespace mox::ref::vc1
