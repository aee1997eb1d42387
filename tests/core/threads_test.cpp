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

std::vector<uint8_t> coreJob(uint32_t seed) {
    const MoxLibraryVersion* v = moxvcGetLibVersion();
    void* p = moxMalloc(static_cast<int>(seed % 1000) + 1);
    std::vector<uint8_t> out = {static_cast<uint8_t>(v->build), static_cast<uint8_t>(reinterpret_cast<uintptr_t>(p) % 64)};
    moxFree(p);
    return out;
}

const Job kJobs[] = {subJob, coreJob};

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
