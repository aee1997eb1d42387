// H.264 deblocking filter benchmarks. Every form runs on a smooth macroblock
// with every line filtered ("normal": strengths 2, "strong": strengths 4) and
// with no line filtered, once through the strength-0 exit ("bs0") and once
// through the per-line alpha test ("alpha": every |p0 - q0| >= alpha); and
// the usual intra-macroblock mix ("mixed": strength 4 on the macroblock edge,
// 3, 2, 1 and 0 inside).
#include <string>
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

enum class Load { Normal, Strong, Bs0, Alpha, Mixed };

template <class T>
struct Setup {
    std::vector<T> plane;
    int stride = 64;  // samples
    T alpha[2], beta[2], tc0[16];
    Mox8u bs[16];
    T* mb() { return plane.data() + 16 * stride + 16; }
    int stepBytes() const { return stride * static_cast<int>(sizeof(T)); }
};

template <class T>
Setup<T> makeSetup(Load load, int shift) {
    Setup<T> s;
    s.plane.resize(64 * 64);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            // Smooth ramps; for the alpha exit a checkerboard with steps of 40 and alpha 20.
            const int v = load == Load::Alpha ? ((x + y) & 1) * 40 + 100 : 100 + (x * 3 + y * 5) % 7;
            s.plane[y * 64 + x] = static_cast<T>(v << shift);
        }
    const int a = load == Load::Alpha ? 20 : 255;
    for (int i = 0; i < 2; ++i) {
        s.alpha[i] = static_cast<T>(a << shift);
        s.beta[i] = static_cast<T>(255 << shift);
    }
    for (auto& t : s.tc0) t = static_cast<T>(4 << shift);
    for (auto& b : s.bs) b = load == Load::Strong ? 4 : (load == Load::Bs0 ? 0 : 2);
    if (load == Load::Mixed) {
        static const Mox8u kMixed[16] = {4, 4, 4, 4, 3, 3, 2, 2, 1, 1, 0, 0, 2, 3, 3, 2};
        for (int i = 0; i < 16; ++i) s.bs[i] = kMixed[i];
    }
    return s;
}

using Fn8 = MoxStatus (*)(Mox8u*, Mox32s, const Mox8u*, const Mox8u*, const Mox8u*, const Mox8u*);
using Mbaff8 = MoxStatus (*)(Mox8u*, Mox32s, Mox32u, Mox32u, const Mox8u*, const Mox8u*);
using Rec8 = MoxStatus (*)(const MoxiFilterDeblock_8u*);
using Rec16 = MoxStatus (*)(const MoxiFilterDeblock_16u*);

void runArrays(benchmark::State& st, Fn8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    mox::bench::measure(st, [&] { f(s.mb(), s.stepBytes(), s.alpha, s.beta, s.tc0, s.bs); });
}
void runValues(benchmark::State& st, Mbaff8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    mox::bench::measure(st, [&] { f(s.mb(), s.stepBytes(), s.alpha[0], s.beta[0], s.tc0, s.bs); });
}
void runRecord8(benchmark::State& st, Rec8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    const MoxiFilterDeblock_8u d{s.mb(), s.stride, s.alpha, s.beta, s.tc0, s.bs};
    mox::bench::measure(st, [&] { f(&d); });
}
void runRecord16(benchmark::State& st, Rec16 f, Load load) {
    auto s = makeSetup<Mox16u>(load, 2);
    const MoxiFilterDeblock_16u d{s.mb(), s.stride, s.alpha, s.beta, s.tc0, s.bs, 10};
    mox::bench::measure(st, [&] { f(&d); });
}

template <class F, class R>
void registerAll(const char* name, R run, F f, bool strong = true) {
    const std::pair<const char*, Load> loads[] = {
        {"normal", Load::Normal}, {"strong", Load::Strong}, {"bs0", Load::Bs0}, {"alpha", Load::Alpha},
        {"mixed", Load::Mixed}};
    for (const auto& [suffix, load] : loads) {
        if (!strong && (load == Load::Strong || load == Load::Mixed)) continue;
        const std::string full = std::string("Deblock") + name + "/" + suffix;
        benchmark::RegisterBenchmark(full.c_str(), [run, f, load = load](benchmark::State& st) { run(st, f, load); });
    }
}

const int kRegistered = [] {
    registerAll("LumaVer_8u", runArrays, moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR);
    registerAll("LumaHor_8u", runArrays, moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR);
    registerAll("LumaVerMBAFF_8u", runValues, moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR);
    registerAll("ChromaVer_8u_C1", runArrays, moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR);
    registerAll("ChromaHor_8u_C1", runArrays, moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR);
    registerAll("ChromaVer_8u_C2", runArrays, moxiFilterDeblockingChroma_VerEdge_H264_8u_C2IR);
    registerAll("ChromaHor_8u_C2", runArrays, moxiFilterDeblockingChroma_HorEdge_H264_8u_C2IR);
    registerAll("ChromaVerMBAFF_8u", runValues, moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR);
    registerAll("Chroma422Ver_8u", runRecord8, moxiFilterDeblockingChroma422VerEdge_H264_8u_C1IR);
    registerAll("Chroma422Hor_8u", runRecord8, moxiFilterDeblockingChroma422HorEdge_H264_8u_C1IR);
    registerAll("Chroma422VerMBAFF_8u", runRecord8, moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR, false);
    registerAll("LumaVer_16u", runRecord16, moxiFilterDeblockingLumaVerEdge_H264_16u_C1IR);
    registerAll("LumaHor_16u", runRecord16, moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR);
    registerAll("LumaVerMBAFF_16u", runRecord16, moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR);
    registerAll("ChromaVer_16u", runRecord16, moxiFilterDeblockingChromaVerEdge_H264_16u_C1IR);
    registerAll("ChromaHor_16u", runRecord16, moxiFilterDeblockingChromaHorEdge_H264_16u_C1IR);
    registerAll("ChromaVerMBAFF_16u", runRecord16, moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR);
    registerAll("Chroma422Ver_16u", runRecord16, moxiFilterDeblockingChroma422VerEdge_H264_16u_C1IR);
    registerAll("Chroma422Hor_16u", runRecord16, moxiFilterDeblockingChroma422HorEdge_H264_16u_C1IR);
    registerAll("Chroma422VerMBAFF_16u", runRecord16, moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR, false);
    return 0;
}();

}  // namespace
