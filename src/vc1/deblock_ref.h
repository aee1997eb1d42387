// Scalar reference model of the VC-1 in-loop deblocking filter (SMPTE 421M
// clause 8.6): groups of four lines across an edge, the third line of a
// group deciding whether the other three are filtered.
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// Filters `lines` lines (a multiple of 4) across one edge. Line i starts at
// p + i * along (bytes); its samples are `across` bytes apart, the edge lying
// between p[-across] and p[0]. Bit g of disabled skips group g.
void deblockEdge(Mox8u* p, int along, int across, int lines, int pquant, unsigned disabled);

}  // namespace mox::ref::vc1
