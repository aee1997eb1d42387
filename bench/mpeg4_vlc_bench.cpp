// MPEG-4, H.263 and H.261 coefficient decoding and encoding: one call handles
// one 8x8 block. "typical" blocks carry 6 small levels (table codes); "worst"
// blocks carry 64 coefficients, large levels (escapes) or the longest codes.
// Besides ticks per call, "ticks/coef" divides by the coefficients coded.
#include <algorithm>
#include <array>
#include <functional>
#include <string>

#include "bench_util.h"
#include "moxvc.h"

namespace {

using Block = std::array<Mox16s, 64>;
using Decode = std::function<MoxStatus(Mox8u**, int*, Mox16s*, int*)>;
using Encode = std::function<MoxStatus(Mox8u**, int*, const Mox16s*)>;

constexpr Mox8u kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                               12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                               35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                               58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// Levels in zigzag order.
Block typical() {
    Block b{};
    const int scan[][2] = {{1, 3}, {2, -2}, {3, 1}, {5, -1}, {8, 1}, {13, 1}};
    for (auto [pos, v] : scan) b[kZigzag[pos]] = static_cast<Mox16s>(v);
    return b;
}
Block dense(int magnitude) {
    Block b{};
    for (int i = 1; i < 64; ++i) b[i] = static_cast<Mox16s>(i & 1 ? magnitude : -magnitude);
    return b;
}
int coded(const Block& b) { return static_cast<int>(std::count_if(b.begin() + 1, b.end(), [](Mox16s v) { return v; })); }

void perCoefficient(benchmark::State& st, int n) {
    if (n) {
        st.counters["ticks/coef"] = st.counters["ticks"].value / n;
        st.counters["min_ticks/coef"] = st.counters["min_ticks"].value / n;
    }
}

void BM_Decode(benchmark::State& st, Encode enc, Decode dec, Block b) {
    std::array<Mox8u, 512> buf{};
    Mox8u* p = buf.data();
    int off = 0;
    enc(&p, &off, b.data());
    Mox16s coef[64];
    int last;
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 0;
        dec(&q, &o, coef, &last);
    });
    perCoefficient(st, coded(b));
}

void BM_Encode(benchmark::State& st, Encode enc, Block b) {
    std::array<Mox8u, 512> buf{};
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 0;
        enc(&q, &o, b.data());
    });
    perCoefficient(st, coded(b));
}

// H.261 streams written from Table 5: 0 0 1 is 11s (after a first 1s), EOB 10;
// the worst case is 63 escapes.
void BM_H261(benchmark::State& st, bool intra, int QP, bool escapes) {
    std::string bits = intra ? "01000000" : "10";
    int n = escapes ? 63 : 6;
    for (int i = intra ? 0 : 1; i < n; ++i) bits += escapes ? "000001000000" "01111111" : (i & 1 ? "111" : "110");
    bits += "10";
    std::array<Mox8u, 512> buf{};
    for (size_t i = 0; i < bits.size(); ++i)
        if (bits[i] == '1') buf[i / 8] |= static_cast<Mox8u>(0x80 >> (i % 8));
    Mox16s coef[64];
    int last;
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 0;
        if (QP)
            intra ? moxiReconstructCoeffsIntra_H261_1u16s(&q, &o, coef, &last, QP)
                  : moxiReconstructCoeffsInter_H261_1u16s(&q, &o, coef, &last, QP);
        else
            intra ? moxiDecodeCoeffsIntra_H261_1u16s(&q, &o, coef, &last) : moxiDecodeCoeffsInter_H261_1u16s(&q, &o, coef, &last);
    });
    perCoefficient(st, n);
}

// ------------------------------------------------------------------ codecs
Encode mpeg4IntraEnc(int rvlc) {
    return [=](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsIntra_MPEG4_16s1u(p, o, c, rvlc, 1, 0); };
}
Encode mpeg4InterEnc(int rvlc) {
    return [=](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsInter_MPEG4_16s1u(p, o, c, rvlc, 0); };
}
Encode h263IntraEnc(int adv, int modQ) {
    return [=](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsIntra_H263_16s1u(p, o, c, adv, modQ, 0); };
}
Encode h263InterEnc(int modQ) {
    return [=](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsInter_H263_16s1u(p, o, c, modQ, 0); };
}
Decode mpeg4Intra(int rvlc) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsIntra_MPEG4_1u16s(p, o, c, l, rvlc, 1, 0); };
}
Decode mpeg4Inter(int rvlc) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_MPEG4_1u16s(p, o, c, l, rvlc, 0); };
}
Decode mpeg4Recon(const Mox8u* matrix) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiReconstructCoeffsInter_MPEG4_1u16s(p, o, c, l, 0, 0, 7, matrix);
    };
}
Decode h263Intra(int adv, int modQ) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsIntra_H263_1u16s(p, o, c, l, adv, modQ, 0); };
}
Decode h263Inter(int modQ) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_H263_1u16s(p, o, c, l, modQ, 0); };
}
Decode h263ReconIntra(int adv) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiReconstructCoeffsIntra_H263_1u16s(p, o, c, l, 9, adv, 0); };
}
Decode h263ReconInter() {
    return [](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiReconstructCoeffsInter_H263_1u16s(p, o, c, l, 9, 0); };
}

const Mox8u kFlat[64] = {16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16,
                         16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16,
                         16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16};

// Backward RVLC: a one-coefficient block first, so the block read backward is preceded by a last code.
void BM_RvlcBack(benchmark::State& st, bool intra, Block b) {
    std::array<Mox8u, 512> buf{};
    Mox8u* p = buf.data();
    int off = 0;
    Block first{};
    first[1] = 1;
    Encode enc = intra ? mpeg4IntraEnc(1) : mpeg4InterEnc(1);
    enc(&p, &off, first.data());
    enc(&p, &off, b.data());
    Mox16s coef[64];
    int last;
    mox::bench::measure(st, [&] {
        Mox8u* q = p;
        int o = off;
        intra ? moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&q, &o, coef, &last, 1)
              : moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&q, &o, coef, &last);
    });
    perCoefficient(st, coded(b));
}

void BM_DcMpeg4(benchmark::State& st, int value) {
    std::array<Mox8u, 16> buf{};
    Mox8u* p = buf.data();
    int off = 0;
    moxiEncodeDCIntra_MPEG4_16s1u(&p, &off, static_cast<Mox16s>(value), 0);
    Mox16s dc;
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 0;
        moxiDecodeDCIntra_MPEG4_1u16s(&q, &o, &dc, 0);
    });
}

void BM_DcH263(benchmark::State& st) {
    std::array<Mox8u, 16> buf{0x40};
    Mox16s dc;
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 3;
        moxiDecodeDCIntra_H263_1u16s(&q, &o, &dc);
    });
}

void BM_EncodeDc(benchmark::State& st, bool mpeg4, int value) {
    std::array<Mox8u, 16> buf{};
    mox::bench::measure(st, [&] {
        Mox8u* q = buf.data();
        int o = 5;
        mpeg4 ? moxiEncodeDCIntra_MPEG4_16s1u(&q, &o, static_cast<Mox16s>(value), 1)
              : moxiEncodeDCIntra_H263_16s1u(&q, &o, static_cast<Mox16s>(value));
    });
}

// Decoders.
BENCHMARK_CAPTURE(BM_Decode, mpeg4_intra_typical, mpeg4IntraEnc(0), mpeg4Intra(0), typical());
BENCHMARK_CAPTURE(BM_Decode, mpeg4_intra_worst_63_small, mpeg4IntraEnc(0), mpeg4Intra(0), dense(1));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_intra_worst_63_escape3, mpeg4IntraEnc(0), mpeg4Intra(0), dense(1500));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_inter_typical, mpeg4InterEnc(0), mpeg4Inter(0), typical());
BENCHMARK_CAPTURE(BM_Decode, mpeg4_inter_dense_63_small, mpeg4InterEnc(0), mpeg4Inter(0), dense(1));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_inter_worst_63_escape1, mpeg4InterEnc(0), mpeg4Inter(0), dense(5));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_inter_worst_63_escape3, mpeg4InterEnc(0), mpeg4Inter(0), dense(1500));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_intra_rvlc_typical, mpeg4IntraEnc(1), mpeg4Intra(1), typical());
BENCHMARK_CAPTURE(BM_Decode, mpeg4_inter_rvlc_worst_63_escape, mpeg4InterEnc(1), mpeg4Inter(1), dense(1500));
BENCHMARK_CAPTURE(BM_RvlcBack, intra_typical, true, typical());
BENCHMARK_CAPTURE(BM_RvlcBack, inter_worst_63_escape, false, dense(1500));
BENCHMARK_CAPTURE(BM_Decode, mpeg4_recon_inter_typical, mpeg4InterEnc(0), mpeg4Recon(nullptr), typical());
BENCHMARK_CAPTURE(BM_Decode, mpeg4_recon_inter_matrix_worst_63, mpeg4InterEnc(0), mpeg4Recon(kFlat), dense(3));
BENCHMARK_CAPTURE(BM_DcMpeg4, small, 3);
BENCHMARK_CAPTURE(BM_DcMpeg4, size_11, -1500);
BENCHMARK_CAPTURE(BM_Decode, h263_inter_typical, h263InterEnc(0), h263Inter(0), typical());
BENCHMARK_CAPTURE(BM_Decode, h263_inter_worst_63_escape, h263InterEnc(0), h263Inter(0), dense(100));
BENCHMARK_CAPTURE(BM_Decode, h263_inter_annexT_worst_63_extended, h263InterEnc(1), h263Inter(1), dense(900));
BENCHMARK_CAPTURE(BM_Decode, h263_intra_typical, h263IntraEnc(0, 0), h263Intra(0, 0), typical());
BENCHMARK_CAPTURE(BM_Decode, h263_intra_worst_63_escape, h263IntraEnc(0, 0), h263Intra(0, 0), dense(100));
BENCHMARK_CAPTURE(BM_Decode, h263_intra_annexI_worst_63, h263IntraEnc(1, 0), h263Intra(1, 0), dense(2));
BENCHMARK_CAPTURE(BM_Decode, h263_recon_inter_typical, h263InterEnc(0), h263ReconInter(), typical());
BENCHMARK_CAPTURE(BM_Decode, h263_recon_inter_worst_63, h263InterEnc(0), h263ReconInter(), dense(100));
BENCHMARK_CAPTURE(BM_Decode, h263_recon_intra_typical, h263IntraEnc(0, 0), h263ReconIntra(0), typical());
BENCHMARK_CAPTURE(BM_Decode, h263_recon_intra_annexI_worst_63, h263IntraEnc(1, 0), h263ReconIntra(1), dense(2));
BENCHMARK(BM_DcH263);
BENCHMARK_CAPTURE(BM_H261, decode_inter_typical, false, 0, false);
BENCHMARK_CAPTURE(BM_H261, decode_intra_worst_63_escape, true, 0, true);
BENCHMARK_CAPTURE(BM_H261, recon_inter_typical, false, 5, false);
BENCHMARK_CAPTURE(BM_H261, recon_inter_worst_63_escape, false, 5, true);
BENCHMARK_CAPTURE(BM_H261, recon_intra_typical, true, 5, false);
// Encoders.
BENCHMARK_CAPTURE(BM_Encode, mpeg4_intra_typical, mpeg4IntraEnc(0), typical());
BENCHMARK_CAPTURE(BM_Encode, mpeg4_intra_worst_63_escape3, mpeg4IntraEnc(0), dense(1500));
BENCHMARK_CAPTURE(BM_Encode, mpeg4_inter_typical, mpeg4InterEnc(0), typical());
BENCHMARK_CAPTURE(BM_Encode, mpeg4_inter_worst_63_escape2, mpeg4InterEnc(0), dense(5));
BENCHMARK_CAPTURE(BM_Encode, mpeg4_inter_rvlc_worst_63_escape, mpeg4InterEnc(1), dense(1500));
BENCHMARK_CAPTURE(BM_Encode, h263_inter_typical, h263InterEnc(0), typical());
BENCHMARK_CAPTURE(BM_Encode, h263_inter_annexT_worst_63, h263InterEnc(1), dense(900));
BENCHMARK_CAPTURE(BM_Encode, h263_intra_annexI_typical, h263IntraEnc(1, 0), typical());
BENCHMARK_CAPTURE(BM_EncodeDc, mpeg4_size_11, true, -1500);
BENCHMARK_CAPTURE(BM_EncodeDc, h263, false, 128);

}  // namespace
