// VC-1 overlap smoothing model, line by line.
#include "vc1/overlap_ref.h"

#include <cstddef>
#include <cstdint>

#include "core/pixel.h"

namespace mox::ref::vc1 {

namespace {

template <class T>
T* at(T* p, int bytes) {
    using B = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(p) + bytes);
}

// The smoothed x0..x3 of line `line` whose samples are v[0..3].
void smoothLine(const int v[4], int line, int out[4]) {
    static constexpr int kM[4][4] = {{7, 0, 0, 1}, {-1, 7, 1, 1}, {1, 1, 7, -1}, {1, 0, 0, 7}};
    for (int i = 0; i < 4; ++i) {
        const int r = ((i + line) & 1) ? 3 : 4;
        int sum = r;
        for (int k = 0; k < 4; ++k) sum += kM[i][k] * v[k];
        out[i] = static_cast<int16_t>(static_cast<uint16_t>(sum)) >> 3;
    }
}

}  // namespace

void smoothEdge(Mox16s* p, int along, int across, int lines) {
    for (int line = 0; line < lines; ++line) {
        Mox16s* l = at(p, line * along);
        int v[4], out[4];
        for (int k = 0; k < 4; ++k) v[k] = *at(l, (k - 2) * across);
        smoothLine(v, line, out);
        for (int k = 0; k < 4; ++k) *at(l, (k - 2) * across) = static_cast<Mox16s>(out[k]);
    }
}

void smoothEdgeTo8u(const Mox16s* p, int along, int across, Mox8u* q, int qAlong, int qAcross, int lines) {
    for (int line = 0; line < lines; ++line) {
        const Mox16s* l = at(p, line * along);
        int v[4], out[4];
        for (int k = 0; k < 4; ++k) v[k] = *at(l, (k - 2) * across);
        smoothLine(v, line, out);
        for (int k = 0; k < 4; ++k) q[line * qAlong + (k - 2) * qAcross] = static_cast<Mox8u>(clampPixel(out[k] + 128));
    }
}

}  // namespace mox::ref::vc1
