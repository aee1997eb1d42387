// Scalar reference models of the H.264 interpolation family.
#include "h264/interp_ref.h"

#include "core/pixel.h"

namespace mox::ref {

namespace {

// Sample (x, y) relative to the integer position.
template <class T>
int at(const T* src, int step, int x, int y) {
    return row(src, step, y)[x];
}

// Unrounded 6-tap sums: horizontal through (x, y) and (x + 1, y), vertical
// through (x, y) and (x, y + 1).
template <class T>
int tapH(const T* s, int step, int x, int y) {
    return at(s, step, x - 2, y) - 5 * at(s, step, x - 1, y) + 20 * at(s, step, x, y) + 20 * at(s, step, x + 1, y) -
           5 * at(s, step, x + 2, y) + at(s, step, x + 3, y);
}
template <class T>
int tapV(const T* s, int step, int x, int y) {
    return at(s, step, x, y - 2) - 5 * at(s, step, x, y - 1) + 20 * at(s, step, x, y) + 20 * at(s, step, x, y + 1) -
           5 * at(s, step, x, y + 2) + at(s, step, x, y + 3);
}

}  // namespace

template <class T>
void interpolateLuma(const T* src, int srcStep, T* dst, int dstStep, int w, int h, int dx, int dy, int bitDepth) {
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            auto G = [&](int ox, int oy) { return at(src, srcStep, x + ox, y + oy); };
            // b: horizontal half sample right of (x + ox, y + oy); h: vertical half below; j: centre.
            auto b = [&](int oy) { return clampPixel((tapH(src, srcStep, x, y + oy) + 16) >> 5, bitDepth); };
            auto hv = [&](int ox) { return clampPixel((tapV(src, srcStep, x + ox, y) + 16) >> 5, bitDepth); };
            auto j = [&] {
                int s = 0;
                const int c[6] = {1, -5, 20, 20, -5, 1};
                for (int k = 0; k < 6; ++k) s += c[k] * tapH(src, srcStep, x, y + k - 2);
                return clampPixel((s + 512) >> 10, bitDepth);
            };
            auto avg = [](int p, int q) { return (p + q + 1) >> 1; };
            int v = 0;
            switch (dy * 4 + dx) {
                case 0: v = G(0, 0); break;
                case 1: v = avg(G(0, 0), b(0)); break;
                case 2: v = b(0); break;
                case 3: v = avg(G(1, 0), b(0)); break;
                case 4: v = avg(G(0, 0), hv(0)); break;
                case 5: v = avg(b(0), hv(0)); break;
                case 6: v = avg(b(0), j()); break;
                case 7: v = avg(b(0), hv(1)); break;
                case 8: v = hv(0); break;
                case 9: v = avg(hv(0), j()); break;
                case 10: v = j(); break;
                case 11: v = avg(hv(1), j()); break;
                case 12: v = avg(G(0, 1), hv(0)); break;
                case 13: v = avg(b(1), hv(0)); break;
                case 14: v = avg(b(1), j()); break;
                default: v = avg(b(1), hv(1)); break;
            }
            row(dst, dstStep, y)[x] = static_cast<T>(v);
        }
    }
}

template <class T>
void interpolateChroma(const T* src, int srcStep, int pitch, T* dst, int dstStep, int w, int h, int dx, int dy) {
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            // Neighbours a zero weight ignores may lie outside the area: read them only when weighted.
            auto S = [&](int ox, int oy) { return static_cast<int>(row(src, srcStep, y + oy)[(x + ox) * pitch]); };
            int s = (8 - dx) * (8 - dy) * S(0, 0) + 32;
            if (dx) s += dx * (8 - dy) * S(1, 0);
            if (dy) s += (8 - dx) * dy * S(0, 1);
            if (dx && dy) s += dx * dy * S(1, 1);
            row(dst, dstStep, y)[x] = static_cast<T>(s >> 6);
        }
    }
}

template <class T>
std::vector<T> padPicture(const T* src, int srcStep, int pitch, int w, int h, int margin) {
    const int pw = w + 2 * margin, ph = h + 2 * margin;
    std::vector<T> out(static_cast<size_t>(pw) * ph * pitch);
    for (int y = 0; y < ph; ++y)
        for (int x = 0; x < pw; ++x)
            for (int c = 0; c < pitch; ++c)
                out[(static_cast<size_t>(y) * pw + x) * pitch + c] =
                    row(src, srcStep, clamp(y - margin, 0, h - 1))[clamp(x - margin, 0, w - 1) * pitch + c];
    return out;
}

template void interpolateLuma<Mox8u>(const Mox8u*, int, Mox8u*, int, int, int, int, int, int);
template void interpolateLuma<Mox16u>(const Mox16u*, int, Mox16u*, int, int, int, int, int, int);
template void interpolateChroma<Mox8u>(const Mox8u*, int, int, Mox8u*, int, int, int, int, int);
template void interpolateChroma<Mox16u>(const Mox16u*, int, int, Mox16u*, int, int, int, int, int);
template std::vector<Mox8u> padPicture<Mox8u>(const Mox8u*, int, int, int, int, int);
template std::vector<Mox16u> padPicture<Mox16u>(const Mox16u*, int, int, int, int, int);

}  // namespace mox::ref
