// Bit strings written by hand in the tests, from the rows of the standards'
// tables: "0000011 0 10 1" appends the bits in order (spaces are ignored).
// bytes() lays them out most significant bit first after `offset` leading
// bits, with zero padding.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "moxvc.h"

namespace mox::test {

class BitString {
public:
    BitString() = default;
    BitString(const char* s) { add(s); }

    BitString& add(const std::string& s) {
        for (char c : s)
            if (c == '0' || c == '1') bits_ += c;
        return *this;
    }
    // The low n bits of v, most significant first.
    BitString& value(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) bits_ += static_cast<char>('0' + (v >> i & 1));
        return *this;
    }
    int size() const { return static_cast<int>(bits_.size()); }

    // `offset` bits of `lead` (0 or 1), the string, then zero bits up to the
    // end of the byte and `padBytes` zero bytes.
    std::vector<Mox8u> bytes(int offset = 0, int padBytes = 8, int lead = 1) const {
        std::string all = std::string(offset, static_cast<char>('0' + lead)) + bits_;
        std::vector<Mox8u> out((all.size() + 7) / 8 + padBytes, 0);
        for (size_t i = 0; i < all.size(); ++i)
            if (all[i] == '1') out[i / 8] |= static_cast<Mox8u>(0x80 >> (i % 8));
        return out;
    }

private:
    std::string bits_;
};

// Bit position of a byte cursor from `base`.
inline long long bitPos(const Mox8u* base, const Mox8u* p, int offset) { return (p - base) * 8LL + offset; }

}  // namespace mox::test
