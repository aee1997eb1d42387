// H.264 dequantisation tables (clauses 8.5.9, 8.5.12.1, 8.6), the standard's
// numbers plus the per-QP tables derived from them at compile time.
//
// Position classes of a 4x4 block: 0 where row and column are both even, 1
// where both are odd, 2 otherwise. An 8x8 block has six classes (below).
#pragma once

#include <array>

#include "moxvc.h"

namespace mox::h264 {

// normAdjust4x4(m, class) for m = QP % 6.
inline constexpr Mox16s kNormAdjust4x4[6][3] = {
    {10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23},
};

// normAdjust8x8(m, class), classes 0..5 as posClass8x8 numbers them.
inline constexpr Mox16s kNormAdjust8x8[6][6] = {
    {20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26}, {26, 23, 42, 24, 33, 31},
    {28, 25, 45, 26, 35, 33}, {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43},
};

// SP/SI requantisation multipliers (the forward quantiser's), by m and 4x4 class.
inline constexpr Mox16s kRequant4x4[6][3] = {
    {13107, 5243, 8066}, {11916, 4660, 7490}, {10082, 4194, 6554},
    {9362, 3647, 5825},  {8192, 3355, 5243},  {7282, 2893, 4559},
};

// SP weights A(i, j) by 4x4 class, undoing the forward core transform's norms.
inline constexpr Mox16s kSpWeight[3] = {16, 25, 20};

// Flat weightScale: LevelScale = 16 x normAdjust when no scaling matrix is sent.
inline constexpr int kFlatWeight = 16;

constexpr int posClass4x4(int k) {
    int i = k >> 2, j = k & 3;
    return (i & 1) == (j & 1) ? (i & 1) : 2;
}

constexpr int posClass8x8(int k) {
    int i = k >> 3, j = k & 7;
    if (i % 4 == 0 && j % 4 == 0) return 0;
    if (i % 2 == 1 && j % 2 == 1) return 1;
    if (i % 4 == 2 && j % 4 == 2) return 2;
    if ((i % 4 == 0 && j % 2 == 1) || (i % 2 == 1 && j % 4 == 0)) return 3;
    if ((i % 4 == 0 && j % 4 == 2) || (i % 4 == 2 && j % 4 == 0)) return 4;
    return 5;
}

// The position-class map of a 4x4 block in raster order.
inline constexpr std::array<Mox32s, 16> kQuantIndex = [] {
    std::array<Mox32s, 16> t{};
    for (int k = 0; k < 16; ++k) t[k] = posClass4x4(k);
    return t;
}();

// Level scale per QP 0..51 and class: normAdjust4x4(QP % 6, class) << (QP / 6).
inline constexpr std::array<std::array<Mox32s, 3>, 52> kInvQuant = [] {
    std::array<std::array<Mox32s, 3>, 52> t{};
    for (int qp = 0; qp < 52; ++qp)
        for (int c = 0; c < 3; ++c) t[qp][c] = kNormAdjust4x4[qp % 6][c] << (qp / 6);
    return t;
}();

// Intra 16x16 luma DC scale per QP: normAdjust4x4(QP % 6, 0), times 2^(QP/6 - 2) from QP 18 on.
inline constexpr std::array<Mox32s, 52> kInvQuantLumaDC = [] {
    std::array<Mox32s, 52> t{};
    for (int qp = 0; qp < 52; ++qp) t[qp] = kNormAdjust4x4[qp % 6][0] << (qp >= 18 ? qp / 6 - 2 : 0);
    return t;
}();

// kInvQuant spread over the 16 positions of a block, for one multiply per row pair.
inline constexpr std::array<std::array<Mox16s, 16>, 52> kInvQuantBlock = [] {
    std::array<std::array<Mox16s, 16>, 52> t{};
    for (int qp = 0; qp < 52; ++qp)
        for (int k = 0; k < 16; ++k) t[qp][k] = static_cast<Mox16s>(kInvQuant[qp][posClass4x4(k)]);
    return t;
}();

// Flat-matrix LevelScale tables by m = QP % 6, raster order.
inline constexpr std::array<std::array<Mox16s, 16>, 6> kFlatLevelScale4x4 = [] {
    std::array<std::array<Mox16s, 16>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int k = 0; k < 16; ++k) t[m][k] = static_cast<Mox16s>(kFlatWeight * kNormAdjust4x4[m][posClass4x4(k)]);
    return t;
}();

inline constexpr std::array<std::array<Mox16s, 64>, 6> kFlatLevelScale8x8 = [] {
    std::array<std::array<Mox16s, 64>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int k = 0; k < 64; ++k) t[m][k] = static_cast<Mox16s>(kFlatWeight * kNormAdjust8x8[m][posClass8x8(k)]);
    return t;
}();

// SP: normAdjust4x4(m, class) x A(class) per position, and the requantisation
// multipliers per position.
inline constexpr std::array<std::array<Mox16s, 16>, 6> kSpScaleBlock = [] {
    std::array<std::array<Mox16s, 16>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int k = 0; k < 16; ++k) {
            int c = posClass4x4(k);
            t[m][k] = static_cast<Mox16s>(kNormAdjust4x4[m][c] * kSpWeight[c]);
        }
    return t;
}();

inline constexpr std::array<std::array<Mox16u, 16>, 6> kRequantBlock = [] {
    std::array<std::array<Mox16u, 16>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int k = 0; k < 16; ++k) t[m][k] = static_cast<Mox16u>(kRequant4x4[m][posClass4x4(k)]);
    return t;
}();

}  // namespace mox::h264
