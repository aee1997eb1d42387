// H.264 entropy decoding: one call decodes one block or one code. Typical
// blocks carry 4 to 6 coefficients; the worst case is 16 large ones.
#include "h264/cavlc_encoder.h"
#include "bench_util.h"

namespace {

constexpr Mox32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

void BM_Cavlc(benchmark::State& st, std::vector<int> scan, int nC) {
    mox::test::BitSink sink;
    mox::test::encodeCavlc(sink, scan.data(), 16, nC, mox::test::CavlcKind::Block4x4);
    std::vector<Mox32u> words = sink.words(2);
    const MoxCAVLCTables_H264* t = moxiGetCAVLCTables_H264();
    Mox16s coeffs[16], num;
    mox::bench::measure(st, [&] {
        Mox32u* p = words.data();
        int off = 31;
        Mox16s* out = coeffs;
        moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &out, nC, 16, t->coeffToken, t->totalZeros, t->runBefore,
                                         kZigzag);
    });
}

void BM_ChromaDc(benchmark::State& st, std::vector<int> scan) {
    mox::test::BitSink sink;
    mox::test::encodeCavlc(sink, scan.data(), 4, 0, mox::test::CavlcKind::ChromaDc);
    std::vector<Mox32u> words = sink.words(2);
    const MoxCAVLCTables_H264* t = moxiGetCAVLCTables_H264();
    Mox16s coeffs[4], num;
    mox::bench::measure(st, [&] {
        Mox32u* p = words.data();
        int off = 31;
        Mox16s* out = coeffs;
        moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &out, t->coeffTokenChromaDc, t->totalZerosChromaDc,
                                                 t->runBefore);
    });
}

void BM_ExpGolomb(benchmark::State& st, uint64_t codeNum) {
    mox::test::BitSink sink;
    mox::test::encodeExpGolomb(sink, codeNum);
    std::vector<Mox32u> words = sink.words(2);
    Mox32s v;
    mox::bench::measure(st, [&] {
        Mox32u* p = words.data();
        int off = 31;
        moxiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 1);
    });
}

const std::vector<int> kTypical = {7, -2, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 0};       // 6 coefficients
const std::vector<int> kSparse = {3, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};        // 3 coefficients
const std::vector<int> kDense = {90, -75, 60, -44, 38, -30, 25, -20, 18, -15, 12, -9, 7, -5, 3, -2};
const std::vector<int> kEscape = {3000, -2500, 1700, -900, 600, -300, 200, -100, 90, -80, 70, -60, 50, -40, 30, -20};

BENCHMARK_CAPTURE(BM_Cavlc, typical_6coeffs_nC0, kTypical, 0);
BENCHMARK_CAPTURE(BM_Cavlc, typical_6coeffs_nC3, kTypical, 3);
BENCHMARK_CAPTURE(BM_Cavlc, sparse_3coeffs_nC0, kSparse, 0);
BENCHMARK_CAPTURE(BM_Cavlc, worst_16coeffs_nC5, kDense, 5);
BENCHMARK_CAPTURE(BM_Cavlc, worst_16escapes_nC8, kEscape, 8);
BENCHMARK_CAPTURE(BM_ChromaDc, one_coeff, std::vector<int>{0, 1, 0, 0});
BENCHMARK_CAPTURE(BM_ChromaDc, four_coeffs, std::vector<int>{12, -3, 2, 1});
BENCHMARK_CAPTURE(BM_ExpGolomb, short_code, 2);
BENCHMARK_CAPTURE(BM_ExpGolomb, long_code, 100000);

}  // namespace
