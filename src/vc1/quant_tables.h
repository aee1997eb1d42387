// Reciprocals of the VC-1 forward quantiser step sizes 2..62.
//
// A value v is divided by quant, truncating towards zero, without a division:
//  * kPow2:    quant = 2^s: (v + (v < 0 ? quant - 1 : 0)) >> s;
//  * kMulHigh: ((v * m) >> 16) >> s, plus 1 when v < 0;
//  * kMulHighAdd: (((v * m) >> 16) + v) >> s, plus 1 when v < 0 (the
//    multiplier is m + 65536, for steps whose reciprocal needs 17 bits).
// m is a rounded-up reciprocal, ceil(2^(16 + s) / quant), which gives exact
// truncating division of every 16-bit v, except for the steps 19, 21, 27, 41
// and 55, whose multipliers are rounded down: some results are one smaller in
// magnitude than the true quotient, among them every positive exact multiple
// (19 / 19 gives 0, 38 / 19 gives 1). Those five rows are deliberate and stay
// as they are: quantised output must not change between releases.
#pragma once

#include <cstdint>

namespace mox::vc1 {

enum QuantKind : int8_t { kMulHigh = 0, kMulHighAdd = 1, kPow2 = 2 };

struct QuantReciprocal {
    int8_t kind;
    int16_t m;      // signed 16-bit multiplier (unused by kPow2)
    int8_t shift;
};

constexpr int kMinForwardQuant = 2;
constexpr int kMaxForwardQuant = 62;

// Indexed by quant - 2.
inline constexpr QuantReciprocal kQuantReciprocal[61] = {
    {2, 0, 1},      {0, 21846, 0},  {2, 0, 2},      {0, 26215, 1},  {0, 10923, 0},  {1, -28086, 2}, // 2..7
    {2, 0, 3},      {0, 7282, 0},   {0, 26215, 2},  {0, 5958, 0},   {0, 10923, 1},  {0, 20165, 2},  // 8..13
    {0, 18725, 2},  {1, -30583, 3}, {2, 0, 4},      {0, 30841, 3},  {0, 3641, 0},   {0, 13797, 2},  // 14..19
    {0, 26215, 3},  {0, 12483, 2},  {0, 2979, 0},   {1, -19945, 4}, {0, 10923, 2},  {0, 5243, 1},   // 20..25
    {0, 20165, 3},  {0, 19418, 3},  {0, 18725, 3},  {1, -29378, 4}, {1, -30583, 4}, {1, -31710, 4}, // 26..31
    {2, 0, 5},      {0, 1986, 0},   {0, 30841, 4},  {1, -5617, 5},  {0, 3641, 1},   {1, -8856, 5},  // 32..37
    {1, -10347, 5}, {1, -11762, 5}, {0, 26215, 4},  {0, 25575, 4},  {1, -15603, 5}, {0, 12193, 3},  // 38..43
    {0, 2979, 1},   {1, -18932, 5}, {1, -19945, 5}, {1, -20915, 5}, {0, 10923, 3},  {0, 2675, 1},   // 44..49
    {0, 5243, 2},   {1, -24415, 5}, {0, 20165, 4},  {0, 19785, 4},  {1, -26699, 5}, {0, 2383, 1},   // 50..55
    {0, 18725, 4},  {1, -28743, 5}, {0, 18079, 4},  {0, 17773, 4},  {1, -30583, 5}, {0, 8595, 3},   // 56..61
    {0, 16913, 4},                                                                                  // 62
};

}  // namespace mox::vc1
