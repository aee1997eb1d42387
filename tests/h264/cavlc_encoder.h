// A plain CAVLC and Exp-Golomb encoder for the tests, written from the
// standard's encoding rules, and a bit sink that produces the word-cursor
// layout (native 32-bit words, first bit in bit 31).
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "h264/cavlc_tables.h"

namespace mox::test {

class BitSink {
public:
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) bits_.push_back((v >> i) & 1);
    }
    void put(const char* s) {
        for (; *s; ++s)
            if (*s == '0' || *s == '1') bits_.push_back(*s - '0');
    }
    long long size() const { return static_cast<long long>(bits_.size()); }
    // The stream as words, plus `extra` zero words after it (the readable word
    // the cursor rules require, and slack for tests).
    std::vector<Mox32u> words(int extra = 1) const {
        std::vector<Mox32u> w((bits_.size() + 31) / 32 + extra, 0);
        for (size_t i = 0; i < bits_.size(); ++i)
            if (bits_[i]) w[i / 32] |= 1u << (31 - i % 32);
        return w;
    }

private:
    std::vector<int> bits_;
};

enum class CavlcKind { Block4x4, ChromaDc, Chroma422Dc };

// Encodes one residual block given in scan order (`scan` has maxCoeff values)
// with coefficient-token context nC (ignored for chroma DC).
inline void encodeCavlc(BitSink& out, const int* scan, int maxCoeff, int nC, CavlcKind kind) {
    using namespace mox::h264;
    int level[16], pos[16], tc = 0;
    for (int i = maxCoeff - 1; i >= 0; --i)
        if (scan[i]) {
            level[tc] = scan[i];
            pos[tc++] = i;
        }
    int t1 = 0;
    while (t1 < tc && t1 < 3 && std::abs(level[t1]) == 1) ++t1;
    int idx = 4 * tc + t1;
    if (kind == CavlcKind::ChromaDc) {
        out.put(kCoeffTokenChromaDcBits[idx], kCoeffTokenChromaDcLen[idx]);
    } else if (kind == CavlcKind::Chroma422Dc) {
        out.put(kCoeffTokenChroma422DcBits[idx], kCoeffTokenChroma422DcLen[idx]);
    } else if (nC >= 8) {
        out.put(tc ? (tc - 1) << 2 | t1 : 3, 6);
    } else {
        int t = nC < 2 ? 0 : (nC < 4 ? 1 : 2);
        out.put(kCoeffTokenBits[t][idx], kCoeffTokenLen[t][idx]);
    }
    if (!tc) return;
    for (int i = 0; i < t1; ++i) out.put(level[i] < 0, 1);
    int suffixLength = tc > 10 && t1 < 3 ? 1 : 0;
    for (int i = t1; i < tc; ++i) {
        int code = level[i] > 0 ? 2 * level[i] - 2 : -2 * level[i] - 1;
        if (i == t1 && t1 < 3) code -= 2;
        int base = 15 << suffixLength;  // first code that needs level_prefix 15 or more
        if (suffixLength == 0 && code < 14) {
            out.put(1, code + 1);
        } else if (suffixLength == 0 && code < 30) {
            out.put(1, 15);
            out.put(code - 14, 4);
        } else if (suffixLength > 0 && code < base) {
            out.put(1, (code >> suffixLength) + 1);
            out.put(code & ((1 << suffixLength) - 1), suffixLength);
        } else {
            int r = code - base - (suffixLength == 0 ? 15 : 0);
            if (r < 4096) {
                out.put(1, 16);
                out.put(r, 12);
            } else {
                int prefix = 16;
                while (r >= (1 << (prefix - 2)) - 4096) ++prefix;
                out.put(1, prefix + 1);
                out.put(r - (1 << (prefix - 3)) + 4096, prefix - 3);
            }
        }
        if (suffixLength == 0) suffixLength = 1;
        if (std::abs(level[i]) > (3 << (suffixLength - 1)) && suffixLength < 6) ++suffixLength;
    }
    int zeros = pos[0] + 1 - tc;
    if (tc < maxCoeff) {
        if (kind == CavlcKind::ChromaDc)
            out.put(kTotalZerosChromaDcBits[tc - 1][zeros], kTotalZerosChromaDcLen[tc - 1][zeros]);
        else if (kind == CavlcKind::Chroma422Dc)
            out.put(kTotalZerosChroma422DcBits[tc - 1][zeros], kTotalZerosChroma422DcLen[tc - 1][zeros]);
        else
            out.put(kTotalZerosBits[tc - 1][zeros], kTotalZerosLen[tc - 1][zeros]);
    }
    for (int i = 0; i + 1 < tc && zeros > 0; ++i) {
        int run = pos[i] - pos[i + 1] - 1;
        int t = zeros < 7 ? zeros - 1 : 6;
        out.put(kRunBeforeBits[t][run], kRunBeforeLen[t][run]);
        zeros -= run;
    }
}

// ue(v) for codeNum (up to 2^32 - 2 + 2^32 for 32 leading zeros).
inline void encodeExpGolomb(BitSink& out, uint64_t codeNum) {
    uint64_t v = codeNum + 1;
    int z = 63 - __builtin_clzll(v);
    out.put(0, z > 32 ? 32 : z);
    if (z > 32) out.put(0, z - 32);
    out.put(static_cast<uint32_t>(v >> 32), z >= 32 ? z - 31 : 0);
    out.put(static_cast<uint32_t>(v), z >= 32 ? 32 : z + 1);
}

}  // namespace mox::test
