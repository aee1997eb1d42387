// The VC-1 functions that take their geometry from the caller: interpolation
// (plain and block forms, with tables, fields and blocks anywhere around the
// picture), loop filter, overlap smoothing, range mapping and reduction,
// inverse and forward quantisation and the inverse transforms. The input
// picks one family, its parameters (often invalid: sizes, steps, quantisers,
// fractions, positions) and the samples. Every buffer holds exactly the
// samples its arguments describe, so the sanitizer reports any read or write
// beyond them; the only check here is that each status is one the function
// documents.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <vector>

#include "moxvc.h"
#include "vc1/interp_sizes.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t byte() { return n ? (--n, *p++) : 0; }
    int32_t word() { return static_cast<int32_t>(byte() | byte() << 8 | byte() << 16 | byte() << 24); }
    int pick(int lo, int hi) { return lo + static_cast<int>(byte() % static_cast<uint32_t>(hi - lo + 1)); }
    bool coin() { return byte() & 1; }
};

void expectStatus(MoxStatus st, std::initializer_list<MoxStatus> allowed) {
    if (std::find(allowed.begin(), allowed.end(), st) == allowed.end()) std::abort();
}

// Exactly the samples of rows [r0, r1) and columns [c0, c1) (elements of T)
// around an origin, rows `step` bytes apart (any sign, rows may overlap);
// an empty area still gets one element so that the pointer is valid.
template <class T>
struct Area {
    std::vector<uint8_t> mem;
    T* origin;
    Area(int r0, int r1, int c0, int c1, int64_t step, uint32_t seed) {
        int64_t lo = 0, hi = static_cast<int64_t>(sizeof(T)) - 1;
        if (r1 > r0 && c1 > c0) {
            lo = std::numeric_limits<int64_t>::max();
            hi = std::numeric_limits<int64_t>::min();
            for (int r : {r0, r1 - 1})
                for (int c : {c0, c1 - 1}) {
                    const int64_t o = r * step + static_cast<int64_t>(c) * static_cast<int64_t>(sizeof(T));
                    lo = std::min(lo, o);
                    hi = std::max(hi, o + static_cast<int64_t>(sizeof(T)) - 1);
                }
        }
        mem.resize(static_cast<size_t>(hi - lo + 1));
        for (uint8_t& b : mem) {
            seed = seed * 1664525u + 1013904223u;
            b = static_cast<uint8_t>(seed >> 24);
        }
        origin = reinterpret_cast<T*>(mem.data() - lo);
    }
};

// A row step around `rowBytes` (either sign, sometimes shorter than a row), a multiple of `unit`.
int stepNear(Reader& in, int rowBytes, int unit) {
    int s = rowBytes + unit * in.pick(-2, 6);
    if (in.byte() % 8 == 0) s = unit * in.pick(-20, 20);
    return in.byte() % 4 == 0 ? -s : s;
}

void interpolation(Reader& in, uint32_t seed) {
    const int kind = in.pick(0, 2);  // bicubic, bilinear, bilinear on pairs
    const int pitch = kind == 2 ? 2 : 1;
    const MoxiSize request{in.pick(-2, 33), in.pick(-2, 33)};
    const MoxiSize s = kind == 0 ? mox::vc1::bicubicSize(request)
                       : kind == 1 ? mox::vc1::bilinearSize(request)
                                   : mox::vc1::bilinearPairsSize(request);
    const int dx = in.word() % 9, dy = in.word() % 9, rnd = in.word();
    if (in.coin()) {
        // Plain form: the filter's area only.
        const bool fx = (dx & 3) != 0, fy = (dy & 3) != 0;
        const int before = kind == 0 ? 1 : 0, after = kind == 0 ? 2 : 1;
        const int srcStep = stepNear(in, (s.width + 3) * pitch, 1);
        Area<Mox8u> src(fy ? -before : 0, s.height + (fy ? after : 0), fx ? -before * pitch : 0,
                        (s.width + (fx ? after : 0)) * pitch, srcStep, seed);
        const int ds = stepNear(in, s.width * pitch, 1);
        Area<Mox8u> out(0, s.height, 0, s.width * pitch, ds, seed ^ 2);
        MoxVCQPInterpParams p{src.origin, srcStep, out.origin, ds, dx, dy, request, rnd};
        const MoxStatus st = kind == 0   ? moxiInterpolateQPBicubic_VC1_8u_C1R(&p)
                             : kind == 1 ? moxiInterpolateQPBilinear_VC1_8u_C1R(&p)
                                         : moxiInterpolateQPBilinear_VC1_8u_C2R(&p);
        expectStatus(st, {moxStsNoErr});
        return;
    }
    // Block form: the whole reference plane (a field of it when isFieldRef).
    MoxVCBlockICParams p{};
    p.frameSize = {in.pick(-1, 40), in.pick(-1, 40)};
    p.blockSize = request;
    p.isFieldRef = in.coin();
    p.keepFieldParity = in.coin();
    p.isBottomField = in.coin();
    p.rnd = static_cast<Mox32u>(rnd);
    p.quarterMv = {dx, dy};
    auto coord = [&in](int size) {
        switch (in.pick(0, 3)) {
            case 0: return in.pick(-24, 4);
            case 1: return size + in.pick(-24, 4);
            case 2: return in.word();
            default: return in.pick(0, std::max(0, size));
        }
    };
    const int fw = std::max(p.frameSize.width, 1);
    const int lines = std::max(p.isFieldRef ? p.frameSize.height >> 1 : p.frameSize.height, 1);
    p.blockPos = {coord(fw), coord(lines)};
    p.srcStep = stepNear(in, fw * pitch, 1);
    const int64_t lineStep = p.isFieldRef ? 2 * static_cast<int64_t>(p.srcStep) : p.srcStep;
    Area<Mox8u> plane(0, lines, 0, fw * pitch, lineStep, seed);
    std::vector<Mox8u> top(256), bottom(256);
    for (int i = 0; i < 256; ++i) top[i] = static_cast<Mox8u>(255 - i), bottom[i] = static_cast<Mox8u>(i * 7 + 3);
    const int tables = in.pick(0, 3);
    p.pTopFieldLut = tables & 1 ? top.data() : nullptr;
    p.pBottomFieldLut = tables & 2 ? bottom.data() : nullptr;
    p.pSrc = plane.origin;
    const int ds = stepNear(in, s.width * pitch, 1);
    Area<Mox8u> out(0, s.height, 0, s.width * pitch, ds, seed ^ 3);
    p.pDst = out.origin;
    p.dstStep = ds;
    const MoxStatus st = kind == 0   ? moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p)
                         : kind == 1 ? moxiInterpolateICBilinearBlock_VC1_8u_C1R(&p)
                                     : moxiInterpolateICBilinearBlock_VC1_8u_C2R(&p);
    expectStatus(st, {moxStsNoErr});
}

void loopFilter(Reader& in, uint32_t seed) {
    const int which = in.pick(0, 3);
    const bool luma = which < 2, vertical = (which & 1) == 0;
    const int n = luma ? 16 : 8;
    const int step = stepNear(in, vertical ? 8 : n, 1);
    const int quant = in.byte() % 8 ? in.pick(1, 31) : in.word();
    const Mox32u flags = static_cast<Mox32u>(in.word());
    Area<Mox8u> a(vertical ? 0 : -4, vertical ? n : 4, vertical ? -4 : 0, vertical ? 4 : n, step, seed);
    MoxStatus st;
    if (luma)
        st = vertical ? moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR(a.origin, step, quant, flags)
                      : moxiFilterDeblockingLuma_HorEdge_VC1_8u_C1IR(a.origin, step, quant, flags);
    else
        st = vertical ? moxiFilterDeblockingChroma_VerEdge_VC1_8u_C1IR(a.origin, step, quant, flags)
                      : moxiFilterDeblockingChroma_HorEdge_VC1_8u_C1IR(a.origin, step, quant, flags);
    expectStatus(st, {moxStsNoErr, moxStsOutOfRangeErr});
}

void overlap(Reader& in, uint32_t seed) {
    const int which = in.pick(0, 3);
    const bool luma = which < 2, vertical = (which & 1) == 0, to8u = in.coin();
    const int n = luma ? 16 : 8;
    const int r0 = vertical ? 0 : -2, r1 = vertical ? n : 2, c0 = vertical ? -2 : 0, c1 = vertical ? 2 : n;
    const int step = stepNear(in, 2 * (vertical ? 4 : n), 2);
    Area<Mox16s> a(r0, r1, c0, c1, step, seed);
    MoxStatus st;
    if (!to8u) {
        st = luma ? (vertical ? moxiSmoothingLuma_VerEdge_VC1_16s_C1IR(a.origin, step)
                              : moxiSmoothingLuma_HorEdge_VC1_16s_C1IR(a.origin, step))
                  : (vertical ? moxiSmoothingChroma_VerEdge_VC1_16s_C1IR(a.origin, step)
                              : moxiSmoothingChroma_HorEdge_VC1_16s_C1IR(a.origin, step));
    } else {
        const int ds = stepNear(in, vertical ? 4 : n, 1);
        Area<Mox8u> d(r0, r1, c0, c1, ds, seed ^ 5);
        st = luma ? (vertical ? moxiSmoothingLuma_VerEdge_VC1_16s8u_C1R(a.origin, step, d.origin, ds)
                              : moxiSmoothingLuma_HorEdge_VC1_16s8u_C1R(a.origin, step, d.origin, ds))
                  : (vertical ? moxiSmoothingChroma_VerEdge_VC1_16s8u_C1R(a.origin, step, d.origin, ds)
                              : moxiSmoothingChroma_HorEdge_VC1_16s8u_C1R(a.origin, step, d.origin, ds));
    }
    expectStatus(st, {moxStsNoErr});
}

void rangeMap(Reader& in, uint32_t seed) {
    const MoxiSize roi{in.pick(-2, 70), in.pick(-2, 20)};
    const int w = std::max(roi.width, 0), h = std::max(roi.height, 0);
    const int ss = stepNear(in, w, 1), ds = stepNear(in, w, 1);
    const int value = in.byte() % 8 ? in.pick(-1, 8) : in.word();
    Area<Mox8u> src(0, h, 0, w, ss, seed);
    Area<Mox8u> dst(0, h, 0, w, ds, seed ^ 7);
    const bool inPlace = in.coin();
    Mox8u* d = inPlace ? src.origin : dst.origin;
    const int dStep = inPlace ? ss : ds;
    const MoxStatus st = in.coin() ? moxiRangeMapping_VC1_8u_C1R(src.origin, ss, d, dStep, roi, value)
                                   : moxiRangeReduction_VC1_8u_C1R(src.origin, ss, d, dStep, roi, value);
    expectStatus(st, {moxStsNoErr, moxStsSizeErr, moxStsOutOfRangeErr});
}

MoxiSize blockSide(Reader& in) {
    static constexpr int kSides[] = {4, 8, 4, 8, 4, 8, 0, -4, 2, 6, 16};
    return {kSides[in.pick(0, 10)], kSides[in.pick(0, 10)]};
}

void quantisation(Reader& in, uint32_t seed) {
    // 0..2 intra 8x8 (inverse, inverse in place, forward), 3..5 inter of any roiSize.
    const int which = in.pick(0, 5);
    const MoxiSize roi = which < 3 ? MoxiSize{8, 8} : blockSide(in);
    const bool valid = (roi.width == 4 || roi.width == 8) && (roi.height == 4 || roi.height == 8);
    const int w = valid ? roi.width : 0, h = valid ? roi.height : 0;
    const int ss = stepNear(in, 2 * w, 2), ds = stepNear(in, 2 * w, 2);
    const int quant = in.byte() % 4 ? in.pick(-1, 64) : in.word();
    const bool nonuniform = in.coin();
    Area<Mox16s> src(0, h, 0, w, ss, seed);
    Area<Mox16s> dst(0, h, 0, w, ds, seed ^ 9);
    Mox16s *s = src.origin, *d = dst.origin;
    MoxiSize nz;
    MoxStatus st;
    switch (which) {
        case 0: st = nonuniform ? moxiQuantInvIntraNonuniform_VC1_16s_C1R(s, ss, d, ds, quant, &nz)
                                : moxiQuantInvIntraUniform_VC1_16s_C1R(s, ss, d, ds, quant, &nz); break;
        case 1: st = nonuniform ? moxiQuantInvIntraNonuniform_VC1_16s_C1IR(s, ss, quant, &nz)
                                : moxiQuantInvIntraUniform_VC1_16s_C1IR(s, ss, quant, &nz); break;
        case 2: st = nonuniform ? moxiQuantIntraNonuniform_VC1_16s_C1IR(s, ss, quant)
                                : moxiQuantIntraUniform_VC1_16s_C1IR(s, ss, quant); break;
        case 3: st = nonuniform ? moxiQuantInvInterNonuniform_VC1_16s_C1R(s, ss, d, ds, quant, roi, &nz)
                                : moxiQuantInvInterUniform_VC1_16s_C1R(s, ss, d, ds, quant, roi, &nz); break;
        case 4: st = nonuniform ? moxiQuantInvInterNonuniform_VC1_16s_C1IR(s, ss, quant, roi, &nz)
                                : moxiQuantInvInterUniform_VC1_16s_C1IR(s, ss, quant, roi, &nz); break;
        default: st = nonuniform ? moxiQuantInterNonuniform_VC1_16s_C1IR(s, ss, quant, roi)
                                 : moxiQuantInterUniform_VC1_16s_C1IR(s, ss, quant, roi); break;
    }
    expectStatus(st, {moxStsNoErr, moxStsSizeErr, moxStsOutOfRangeErr});
}

void transform(Reader& in, uint32_t seed) {
    const int which = in.pick(0, 7);
    const int w = which & 1 ? 4 : 8, h = which & 2 ? 4 : 8;
    const bool add = which >= 4;
    const int ss = stepNear(in, 2 * w, 2);
    Area<Mox16s> src(0, h, 0, w, ss, seed);
    MoxStatus st;
    if (!add) {
        const bool inPlace = in.coin();
        const int ds = inPlace ? ss : stepNear(in, 2 * w, 2);
        Area<Mox16s> dst(0, h, 0, w, ds, seed ^ 11);
        Mox16s* d = inPlace ? src.origin : dst.origin;
        using Fn = MoxStatus (*)(const Mox16s*, Mox32s, Mox16s*, Mox32s);
        static constexpr Fn kFns[4] = {moxiTransform8x8Inv_VC1_16s_C1R, moxiTransform4x8Inv_VC1_16s_C1R,
                                       moxiTransform8x4Inv_VC1_16s_C1R, moxiTransform4x4Inv_VC1_16s_C1R};
        st = kFns[which & 3](src.origin, ss, d, ds);
    } else {
        const int ps = stepNear(in, w, 1), ds = stepNear(in, w, 1);
        Area<Mox8u> pred(0, h, 0, w, ps, seed ^ 13);
        Area<Mox8u> dst(0, h, 0, w, ds, seed ^ 17);
        const bool inPlace = in.coin();
        Mox8u* d = inPlace ? pred.origin : dst.origin;
        const int dStep = inPlace ? ps : ds;
        using Fn = MoxStatus (*)(const Mox16s*, Mox32s, const Mox8u*, Mox32s, Mox8u*, Mox32s);
        static constexpr Fn kFns[4] = {
            moxiTransform8x8InvAddPred_VC1_16s8u_C1R, moxiTransform4x8InvAddPred_VC1_16s8u_C1R,
            moxiTransform8x4InvAddPred_VC1_16s8u_C1R, moxiTransform4x4InvAddPred_VC1_16s8u_C1R};
        st = kFns[which & 3](src.origin, ss, pred.origin, ps, d, dStep);
    }
    expectStatus(st, {moxStsNoErr, moxStsStepErr});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in{data, size};
    const uint32_t family = in.byte();
    const uint32_t seed = static_cast<uint32_t>(in.word());
    switch (family % 7) {
        case 0: interpolation(in, seed); break;
        case 1: loopFilter(in, seed); break;
        case 2: overlap(in, seed); break;
        case 3: rangeMap(in, seed); break;
        case 4: quantisation(in, seed); break;
        case 5: transform(in, seed); break;
        default: interpolation(in, seed); break;
    }
    return 0;
}
