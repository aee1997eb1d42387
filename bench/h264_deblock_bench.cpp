// H.264 deblocking filter benchmarks. Every form runs on a smooth macroblock
// with every line filtered ("normal": strengths 2, "strong": strengths 4) and
// with no line filtered, once through the strength-0 exit ("bs0") and once
// through the per-line alpha test ("alpha": every |p0 - q0| >= alpha); and
// the usual intra-macroblock mix ("mixed": strength 4 on the macroblock edge,
// 3, 2, 1 and 0 inside). Each benchmark rotates over kAreas identical
// macroblocks of one macroblock row (see measureRotating): filtering one
// macroblock over and over makes each call's narrow stores stall the next
// call's wide loads of the same samples, a store-forwarding stall that a
// decoder, moving on to the next macroblock, does not have.
#include <string>
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

enum class Load { Normal, Strong, Bs0, Alpha, Mixed };

// A macroblock row of kAreas macroblocks with a macroblock of margin each
// side, rows 16..31 of the plane; every macroblock holds the same samples.
template <class T>
struct Setup {
    std::vector<T> plane;
    int stride = 16 * (mox::bench::kAreas + 2);  // samples
    T alpha[2], beta[2], tc0[16];
    Mox8u bs[16];
    T* mb(int k) { return plane.data() + 16 * stride + 16 * (k + 1); }
    int stepBytes() const { return stride * static_cast<int>(sizeof(T)); }
};

template <class T>
Setup<T> makeSetup(Load load, int shift) {
    Setup<T> s;
    s.plane.resize(s.stride * 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < s.stride; ++x) {
            // Smooth ramps; for the alpha exit a checkerboard with steps of 40 and alpha 20.
            const int v = load == Load::Alpha ? ((x + y) & 1) * 40 + 100 : 100 + (x % 16 * 3 + y * 5) % 7;
            s.plane[y * s.stride + x] = static_cast<T>(v << shift);
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

// One call on every macroblock before timing: the filtering loads change
// their samples (with alpha and beta 255 every line is filtered, whatever
// the samples settle to), the bs0 and alpha loads leave them alone. The
// forms that are declared only are timed as they return.
template <class T, class F>
bool settle(benchmark::State& st, Setup<T>& s, Load load, F&& call) {
    const std::vector<T> before = s.plane;
    for (int k = 0; k < mox::bench::kAreas; ++k)
        if (call(k) == moxStsNotImplementedErr) return true;
    const bool filters = load != Load::Bs0 && load != Load::Alpha;
    if ((s.plane != before) != filters) st.SkipWithError("the macroblocks did not filter as set up");
    return (s.plane != before) == filters;
}

void runArrays(benchmark::State& st, Fn8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    auto call = [&](int k) { return f(s.mb(k), s.stepBytes(), s.alpha, s.beta, s.tc0, s.bs); };
    if (settle(st, s, load, call)) mox::bench::measureRotating(st, call);
}
void runValues(benchmark::State& st, Mbaff8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    auto call = [&](int k) { return f(s.mb(k), s.stepBytes(), s.alpha[0], s.beta[0], s.tc0, s.bs); };
    if (settle(st, s, load, call)) mox::bench::measureRotating(st, call);
}
void runRecord8(benchmark::State& st, Rec8 f, Load load) {
    auto s = makeSetup<Mox8u>(load, 0);
    MoxiFilterDeblock_8u d[mox::bench::kAreas];
    for (int k = 0; k < mox::bench::kAreas; ++k) d[k] = {s.mb(k), s.stride, s.alpha, s.beta, s.tc0, s.bs};
    auto call = [&](int k) { return f(&d[k]); };
    if (settle(st, s, load, call)) mox::bench::measureRotating(st, call);
}
void runRecord16(benchmark::State& st, Rec16 f, Load load) {
    auto s = makeSetup<Mox16u>(load, 2);
    MoxiFilterDeblock_16u d[mox::bench::kAreas];
    for (int k = 0; k < mox::bench::kAreas; ++k) d[k] = {s.mb(k), s.stride, s.alpha, s.beta, s.tc0, s.bs, 10};
    auto call = [&](int k) { return f(&d[k]); };
    if (settle(st, s, load, call)) mox::bench::measureRotating(st, call);
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
