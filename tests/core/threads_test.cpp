// Every family is re-entrant: several threads call the library at once on
// disjoint buffers and each gets exactly the single-threaded result.
#include <thread>

#include "common/harness.h"

namespace {

using namespace mox::test;

// One job computes something through the public API from a seed and returns
// the bytes it produced.
using Job = std::vector<uint8_t> (*)(uint32_t seed);

template <class T>
std::vector<T> randomVec(Rng& r, size_t n, int64_t hi) {
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(r.range(0, hi));
    return v;
}

template <class T>
std::vector<uint8_t> asBytes(const std::vector<T>& v) {
    const uint8_t* p = reinterpret_cast<const uint8_t*>(v.data());
    return {p, p + v.size() * sizeof(T)};
}

std::vector<uint8_t> subJob(uint32_t seed) {
    Rng r(seed);
    auto a = randomVec<Mox8u>(r, 16 * 17, 255), b = randomVec<Mox8u>(r, 16 * 17, 255);
    std::vector<Mox16s> d(256);
    moxiSub16x16_8u16s_C1R(a.data(), 17, b.data(), 17, d.data(), 32);
    return asBytes(d);
}

// A 32x32 reference area and a 16x16 current block, both random.
struct Planes {
    explicit Planes(uint32_t seed) : r(seed), ref(randomVec<Mox8u>(r, 33 * 33, 255)), cur(randomVec<Mox8u>(r, 16 * 16, 255)) {}
    Rng r;
    std::vector<Mox8u> ref, cur;
};

std::vector<uint8_t> metricsJob(uint32_t seed) {
    Planes p(seed);
    std::vector<Mox32s> out(8);
    std::vector<Mox16u> cands(16);
    moxiSAD16x16_8u32s(p.cur.data(), 16, p.ref.data(), 33, &out[0], 12);
    moxiSATD8x8_8u32s_C1R(p.cur.data(), 16, p.ref.data(), 33, &out[1]);
    moxiSSD8x8_8u32s_C1R(p.cur.data(), 16, p.ref.data(), 33, &out[2], 4);
    moxiVarMean8x8_8u32s_C1R(p.cur.data(), 16, &out[3], &out[4]);
    moxiSAT8x8D_8u32s_C1R(p.cur.data(), 16, p.ref.data(), 33, &out[5]);
    moxiVariance16x16_8u32s(p.cur.data(), 16, &out[6]);
    moxiSAD16x16xN_8u16u_C1R(p.cur.data(), 16, p.ref.data(), 33, cands.data(), 16);
    std::vector<uint8_t> bytes = asBytes(out), more = asBytes(cands);
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

std::vector<uint8_t> blockOpsJob(uint32_t seed) {
    Planes p(seed);
    std::vector<Mox16s> residual = randomVec<Mox16s>(p.r, 256, 600);
    for (auto& v : residual) v = static_cast<Mox16s>(v - 300);
    std::vector<Mox8u> mc(256), copy(256);
    std::vector<Mox16s> diff(256);
    moxiMC16x16_8u_C1(p.ref.data(), 33, residual.data(), 32, mc.data(), 16, 12, seed & 1);
    moxiCopy16x16HP_8u_C1R(p.ref.data(), 33, copy.data(), 16, 3, 1);
    moxiGetDiff16x16_8u16s_C1(p.cur.data(), 16, p.ref.data(), 33, diff.data(), 32, nullptr, 0, 8, 0);
    std::vector<uint8_t> bytes = asBytes(mc), b2 = asBytes(copy), b3 = asBytes(diff);
    bytes.insert(bytes.end(), b2.begin(), b2.end());
    bytes.insert(bytes.end(), b3.begin(), b3.end());
    return bytes;
}

std::vector<uint8_t> entropyJob(uint32_t seed) {
    Rng r(seed);
    std::vector<Mox32u> words = randomVec<Mox32u>(r, 64, 0xFFFFFFFF);
    const MoxCAVLCTables_H264* t = moxiGetCAVLCTables_H264();
    static constexpr Mox32s kScan[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
    std::vector<Mox16s> coeffs(16 * 40);
    Mox16s* out = coeffs.data();
    Mox32u* p = words.data();
    int off = 31;
    for (int i = 0; i < 40 && p < words.data() + 48; ++i) {
        Mox16s num = 0;
        if (moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &out, i % 9, 16, t->coeffToken, t->totalZeros,
                                             t->runBefore, kScan) != moxStsNoErr) {
            Mox32s v;
            if (moxiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 1) != moxStsNoErr) break;
        }
    }
    coeffs.push_back(static_cast<Mox16s>(p - words.data()));
    coeffs.push_back(static_cast<Mox16s>(off));
    return asBytes(coeffs);
}

// H.264 pixel families: interpolation, intra prediction, inverse transform
// with prediction add, weighting and deblocking, chained on one picture area.
std::vector<uint8_t> h264PixelJob(uint32_t seed) {
    Planes p(seed);
    std::vector<Mox8u> mb(32 * 24);
    moxiInterpolateLuma_H264_8u_C1R(p.ref.data() + 3 * 33 + 3, 33, mb.data() + 4 * 32 + 8, 32, seed & 3, 2,
                                    MoxiSize{16, 16});
    moxiPredictIntra_16x16_H264_8u_C1IR(mb.data() + 4 * 32 + 8, 32, seed % 4, 0);
    std::vector<Mox16s> levels = randomVec<Mox16s>(p.r, 16, 40);
    moxiDequantTransformResidualAndAdd_H264_16s_C1I(mb.data(), levels.data(), nullptr, mb.data(), 32, 32, 20 + seed % 20, 1);
    std::vector<Mox8u> other = randomVec<Mox8u>(p.r, 16 * 32, 255);  // same row step as the block
    moxiWeightedAverage_H264_8u_C1IR(other.data(), mb.data() + 4 * 32 + 8, 32, 40, 24, 6, 3, MoxiSize{16, 16});
    std::vector<Mox8u> alpha(16, 40), beta(16, 12), tc0(16, 3), bs(16);
    for (auto& b : bs) b = static_cast<Mox8u>(p.r.range(0, 4));
    moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(mb.data() + 4 * 32 + 8, 32, alpha.data(), beta.data(), tc0.data(),
                                                  bs.data());
    return mb;
}

// MPEG-4 intra coefficients from random bits, then inverse quantisation; and
// VC-1 bicubic interpolation, inverse transform and loop filtering.
std::vector<uint8_t> mpeg4Vc1Job(uint32_t seed) {
    Planes p(seed);
    std::vector<Mox8u> bits = randomVec<Mox8u>(p.r, 64, 255);
    std::vector<Mox16s> coef(64);
    Mox8u* bs = bits.data();
    int off = 0, last = -1;
    moxiDecodeCoeffsIntra_MPEG4_1u16s(&bs, &off, coef.data(), &last, 0, 0, MOX_SCAN_ZIGZAG);
    int specSize = 0;
    moxiQuantInvIntraGetSize_MPEG4(&specSize);
    std::vector<uint8_t> spec(static_cast<size_t>(specSize));
    moxiQuantInvIntraInit_MPEG4(nullptr, spec.data(), 8);
    moxiQuantInvIntra_MPEG4_16s_C1I(coef.data(), 63, spec.data(), 1 + seed % 31, MOX_BLOCK_LUMA);

    std::vector<Mox8u> pred(16 * 16);
    MoxVCQPInterpParams ip{p.ref.data() + 2 * 33 + 2, 33, pred.data(), 16, 1 + static_cast<Mox32s>(seed % 3), 2,
                           MoxiSize{16, 16}, static_cast<Mox32s>(seed & 1)};
    moxiInterpolateQPBicubic_VC1_8u_C1R(&ip);
    std::vector<Mox16s> dct = randomVec<Mox16s>(p.r, 64, 200), rec(64);
    moxiTransform8x8Inv_VC1_16s_C1R(dct.data(), 16, rec.data(), 16);
    moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR(pred.data() + 8, 16, 1 + static_cast<Mox32s>(seed % 31), 0);
    std::vector<uint8_t> bytes = asBytes(coef), b2 = asBytes(rec);
    bytes.insert(bytes.end(), b2.begin(), b2.end());
    bytes.insert(bytes.end(), pred.begin(), pred.end());
    return bytes;
}

std::vector<uint8_t> coreJob(uint32_t seed) {
    const MoxLibraryVersion* v = moxvcGetLibVersion();
    void* p = moxMalloc(static_cast<int>(seed % 1000) + 1);
    std::vector<uint8_t> out = {static_cast<uint8_t>(v->build), static_cast<uint8_t>(reinterpret_cast<uintptr_t>(p) % 64)};
    moxFree(p);
    return out;
}

const Job kJobs[] = {subJob, coreJob, metricsJob, blockOpsJob, entropyJob, h264PixelJob, mpeg4Vc1Job};

TEST(Threads, ConcurrentCallsMatchSerialResults) {
    constexpr int kThreads = 4, kSeeds = 8, kRounds = 50;
    std::vector<std::vector<uint8_t>> expected;
    for (Job job : kJobs)
        for (uint32_t s = 0; s < kSeeds; ++s) expected.push_back(job(s));

    std::vector<int> mismatches(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                size_t i = 0;
                for (Job job : kJobs)
                    for (uint32_t s = 0; s < kSeeds; ++s, ++i)
                        if (job((s + t + round) % kSeeds) != expected[i - s + (s + t + round) % kSeeds]) ++mismatches[t];
            }
        });
    }
    for (auto& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}

}  // namespace
