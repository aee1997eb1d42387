// The standard's CAVLC tables packed at compile time, and the public getter
// that hands them to decoders.
#include "h264/cavlc_tables.h"

#include <utility>

#include "core/check.h"

namespace mox::h264 {
namespace {

template <size_t N>
constexpr int maxLen(const std::array<VlcCode, N>& codes) {
    int m = 0;
    for (const VlcCode& c : codes) m = c.len > m ? c.len : m;
    return m;
}

// coeff_token codes: value = TotalCoeff << 8 | TrailingOnes.
template <size_t N>
constexpr std::array<VlcCode, N> tokenCodes(const unsigned char (&len)[N], const unsigned char (&bits)[N]) {
    std::array<VlcCode, N> c{};
    for (size_t i = 0; i < N; ++i) c[i] = {len[i], bits[i], static_cast<int>((i >> 2) << 8 | (i & 3))};
    return c;
}

// total_zeros and run_before codes: value = the count.
template <size_t N>
constexpr std::array<VlcCode, N> countCodes(const unsigned char (&len)[N], const unsigned char (&bits)[N]) {
    std::array<VlcCode, N> c{};
    for (size_t i = 0; i < N; ++i) c[i] = {len[i], bits[i], static_cast<int>(i)};
    return c;
}

// A packed table with a first level of at most `cap` bits.
#define MOX_PACKED(codesExpr, cap)                                                       \
    static constexpr auto codes = codesExpr;                                             \
    static constexpr int k1 = maxLen(codes) < (cap) ? maxLen(codes) : (cap);             \
    static constexpr auto table = buildPacked<packedSize(codes, k1)>(codes, k1);

template <int I>
struct CoeffToken {
    MOX_PACKED(tokenCodes(kCoeffTokenLen[I], kCoeffTokenBits[I]), 8)
};
struct ChromaDcToken {
    MOX_PACKED(tokenCodes(kCoeffTokenChromaDcLen, kCoeffTokenChromaDcBits), 8)
};
struct Chroma422DcToken {
    MOX_PACKED(tokenCodes(kCoeffTokenChroma422DcLen, kCoeffTokenChroma422DcBits), 8)
};
template <int TC>
struct TotalZeros {
    MOX_PACKED(countCodes(kTotalZerosLen[TC - 1], kTotalZerosBits[TC - 1]), 6)
};
template <int TC>
struct TotalZerosChromaDc {
    MOX_PACKED(countCodes(kTotalZerosChromaDcLen[TC - 1], kTotalZerosChromaDcBits[TC - 1]), 3)
};
template <int TC>
struct TotalZerosChroma422Dc {
    MOX_PACKED(countCodes(kTotalZerosChroma422DcLen[TC - 1], kTotalZerosChroma422DcBits[TC - 1]), 5)
};
template <int Z>
struct RunBefore {
    MOX_PACKED(countCodes(kRunBeforeLen[Z - 1], kRunBeforeBits[Z - 1]), 6)
};
#undef MOX_PACKED

// {nullptr, T<1>::table, ..., T<n>::table}: index 0 is never used.
template <template <int> class T, int... I>
constexpr auto pointers(std::integer_sequence<int, I...>) {
    return std::array<const Mox32s*, sizeof...(I) + 1>{nullptr, T<I + 1>::table.data()...};
}

constexpr auto kTotalZerosPtrs = pointers<TotalZeros>(std::make_integer_sequence<int, 15>{});
constexpr auto kTotalZerosChromaDcPtrs = pointers<TotalZerosChromaDc>(std::make_integer_sequence<int, 3>{});
constexpr auto kTotalZerosChroma422DcPtrs = pointers<TotalZerosChroma422Dc>(std::make_integer_sequence<int, 7>{});
constexpr auto kRunBeforePtrs = pointers<RunBefore>(std::make_integer_sequence<int, 7>{});

template <size_t N, size_t M>
constexpr void copyInto(const Mox32s* (&dst)[N], const std::array<const Mox32s*, M>& src) {
    static_assert(M <= N);
    for (size_t i = 0; i < M; ++i) dst[i] = src[i];
}

constexpr MoxCAVLCTables_H264 makeTables() {
    MoxCAVLCTables_H264 t{};
    t.coeffToken[0] = CoeffToken<0>::table.data();
    t.coeffToken[1] = CoeffToken<1>::table.data();
    t.coeffToken[2] = CoeffToken<2>::table.data();
    t.coeffTokenChromaDc = ChromaDcToken::table.data();
    t.coeffTokenChroma422Dc = Chroma422DcToken::table.data();
    copyInto(t.totalZeros, kTotalZerosPtrs);
    copyInto(t.totalZerosChromaDc, kTotalZerosChromaDcPtrs);
    copyInto(t.totalZerosChroma422Dc, kTotalZerosChroma422DcPtrs);
    copyInto(t.runBefore, kRunBeforePtrs);
    return t;
}

}  // namespace

constexpr MoxCAVLCTables_H264 kCavlcTables = makeTables();

}  // namespace mox::h264

extern "C" MOXAPI const MoxCAVLCTables_H264* moxiGetCAVLCTables_H264(void) { return &mox::h264::kCavlcTables; }
