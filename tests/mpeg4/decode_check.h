// Runs one block decoder on a hand-built bit string at every starting bit
// offset and checks status, coefficients, last index and the final cursor.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "common/guard_page.h"
#include "mpeg4/bit_string.h"

namespace mox::test {

using BlockDecoder = std::function<MoxStatus(Mox8u**, int*, Mox16s*, int*)>;
using Coefs = std::vector<std::pair<int, int>>;  // raster position, value

struct Decoded {
    MoxStatus status;
    Mox16s coef[64];
    int last;
    long long consumed;  // bits the cursor moved
};

// Coefficients start as `fill`, coefficient 0 as `dc`. With `atPageEnd` the
// bytes holding the string and one more end at an unreadable page, which a
// decoder may not touch; otherwise zero bytes follow.
inline Decoded decodeAt(const BitString& bits, int offset, const BlockDecoder& fn, bool atPageEnd = false,
                        Mox16s dc = 0x3333, Mox16s fill = 0x5555) {
    std::vector<Mox8u> bytes = bits.bytes(offset, atPageEnd ? 1 : 8);
    GuardPage mem(bytes.size());
    std::copy(bytes.begin(), bytes.end(), mem.data());
    Decoded d;
    for (Mox16s& c : d.coef) c = fill;
    d.coef[0] = dc;
    d.last = -99;
    Mox8u* p = mem.data();
    int off = offset;
    d.status = fn(&p, &off, d.coef, &d.last);
    d.consumed = bitPos(mem.data(), p, off) - offset;
    return d;
}

// Decodes at offsets 0..7; expects success, exactly `bits` consumed, the
// listed coefficients and zero elsewhere (coefficient 0 kept when keepDc),
// without a read past the byte after the string.
inline void expectBlock(const BitString& bits, const BlockDecoder& fn, const Coefs& expected, int last,
                        bool keepDc = false) {
    for (int offset = 0; offset < 8; ++offset) {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        Decoded d = decodeAt(bits, offset, fn, true);
        ASSERT_EQ(d.status, moxStsNoErr);
        EXPECT_EQ(d.consumed, bits.size());
        EXPECT_EQ(d.last, last);
        int want[64] = {};
        if (keepDc) want[0] = 0x3333;
        for (auto [pos, v] : expected) want[pos] = v;
        for (int i = 0; i < 64; ++i) EXPECT_EQ(d.coef[i], want[i]) << "coefficient " << i;
    }
}

// Decodes at offsets 0..7 and expects moxStsVLCErr with the cursor unmoved.
inline void expectVlcError(const BitString& bits, const BlockDecoder& fn) {
    for (int offset = 0; offset < 8; ++offset) {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        Decoded d = decodeAt(bits, offset, fn);
        EXPECT_EQ(d.status, moxStsVLCErr);
        EXPECT_EQ(d.consumed, 0);
    }
}

// The scan of an MPEG-4 decoder: levels 1..64 in scan positions 0..63, coded
// as fixed-length escapes, land on their raster positions.
inline BitString everyPosition() {
    BitString b;
    for (int pos = 0; pos < 64; ++pos) b.add("0000011 11").value(pos == 63, 1).add("000000 1").value(pos + 1, 12).add("1");
    return b;
}

inline std::vector<int> scanOf(const BlockDecoder& fn) {
    Decoded d = decodeAt(everyPosition(), 5, fn, true);
    EXPECT_EQ(d.status, moxStsNoErr);
    EXPECT_EQ(d.last, 63);
    std::vector<int> scan(64, -1);
    for (int raster = 0; raster < 64; ++raster) {
        int pos = d.coef[raster] - 1;
        EXPECT_TRUE(pos >= 0 && pos < 64 && scan[pos] < 0) << "raster " << raster;
        if (pos >= 0 && pos < 64) scan[pos] = raster;
    }
    return scan;
}

}  // namespace mox::test
