/*
 * moxvc: video coding primitives for block-based codecs.
 *
 * The one public header of libmoxvcy8 and libmoxcore. Every function checks
 * its arguments in a fixed order (required pointers first), returns the first
 * failing status without writing anything, and otherwise runs one kernel on
 * the caller's memory. Row steps are in bytes. The caller owns every buffer.
 */
#ifndef MOXVC_H
#define MOXVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define MOXAPI __attribute__((visibility("default")))
#else
#define MOXAPI
#endif

/* ------------------------------------------------------------------ scalar types */
typedef uint8_t  Mox8u;
typedef int8_t   Mox8s;
typedef uint16_t Mox16u;
typedef int16_t  Mox16s;
typedef uint32_t Mox32u;
typedef int32_t  Mox32s;
typedef float    Mox32f;
typedef int32_t  MoxStatus;

typedef struct {
    int width;
    int height;
} MoxiSize;

/* ------------------------------------------------------------------ status codes */
enum {
    moxStsIntraNeighbourWrn = 11,    /* warning: intra prediction used a neighbour it was told is missing */
    moxStsNoErr             = 0,
    moxStsErr               = -1,    /* failure with no more specific code */
    moxStsNotImplementedErr = -2,    /* the operation is declared but not provided */
    moxStsBadArgErr         = -5,    /* an enumerated or numeric argument is not accepted */
    moxStsSizeErr           = -6,    /* a width, height or length is not positive */
    moxStsNullPtrErr        = -8,    /* a required pointer is null */
    moxStsMemAllocErr       = -9,    /* an allocation failed */
    moxStsOutOfRangeErr     = -11,   /* a parameter lies outside its interval */
    moxStsStepErr           = -14,   /* a row step is too small for the block */
    moxStsContextMatchErr   = -17,   /* a state object does not carry its initialiser's mark */
    moxStsBitstreamErr      = -74,   /* the bits at the cursor form no accepted code */
    moxStsIntraNeighbourErr = -117,  /* intra prediction needs a neighbour that is missing */
    moxStsVLCErr            = -191,  /* an illegal variable-length code */
    moxStsQPErr             = -192,  /* quantiser out of range */
    moxStsBitOffsetErr      = -193   /* byte-cursor bit offset outside 0..7 */
};

/* ------------------------------------------------------------------ version */
typedef struct {
    int major;             /* 6 */
    int minor;             /* 1 */
    int majorBuild;        /* 137 */
    int build;             /* 799 */
    char targetCpu[4];     /* "y8" */
    const char* Name;      /* "libmoxvcy8.so.6.1", with "+" when the CPU has AVX2 */
    const char* Version;   /* "6.1 build 137.56" */
    const char* BuildDate; /* "Mar 17 2010" */
} MoxLibraryVersion;

/* Constant version record of libmoxvcy8; never fails, never owned by the caller. */
MOXAPI const MoxLibraryVersion* moxvcGetLibVersion(void);

/* ------------------------------------------------------------------ core library (libmoxcore) */
/* CPU feature bits answered by ownGetFeature. */
#define MOX_CPU_SSE2   0x01
#define MOX_CPU_SSE3   0x02
#define MOX_CPU_SSSE3  0x04
#define MOX_CPU_SSE41  0x08
#define MOX_CPU_SSE42  0x10
#define MOX_CPU_POPCNT 0x20
#define MOX_CPU_AVX    0x40
#define MOX_CPU_AVX2   0x80  /* AVX2 with the OS saving the YMM state */

/* 64-byte aligned allocation; a length of zero or less gives NULL without allocating. */
MOXAPI void* moxMalloc(int length);
/* Releases memory from moxMalloc; NULL is ignored. */
MOXAPI void moxFree(void* ptr);
/* Non-zero when the CPU has every feature in featureMask (MOX_CPU_* bits). */
MOXAPI int ownGetFeature(Mox32u featureMask);
/* Number of threads the library's one parallel filter may use (online CPUs, at least 1). */
MOXAPI int ownGetNumThreads(void);
/* Size in bytes of the largest data or unified cache, from CPUID or the OS, else 2 MiB. */
MOXAPI MoxStatus moxGetMaxCacheSizeB(int* pSizeByte);

/* ================================================================== block operations (8-bit)
 * acc: bit 0 half-sample horizontally, bit 1 half-sample vertically (taken modulo 4);
 * rounding: 0 rounds halves up, 1 down (taken modulo 2).
 * mcType: only bits 2..3 are used: 0 full, 4 half vertically, 8 half horizontally, 12 both.
 * Only null pointers are reported; steps are not checked. */

/* Plain 8x8 / 16x16 copy. */
MOXAPI MoxStatus moxiCopy8x8_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep);
MOXAPI MoxStatus moxiCopy16x16_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep);
/* Copy with half-sample interpolation at acc, rounding. */
MOXAPI MoxStatus moxiCopy8x4HP_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int acc, int rounding);
MOXAPI MoxStatus moxiCopy8x8HP_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int acc, int rounding);
MOXAPI MoxStatus moxiCopy16x8HP_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int acc, int rounding);
MOXAPI MoxStatus moxiCopy16x16HP_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int dstStep, int acc, int rounding);

/* Average of two blocks, (a + b + 1) >> 1. */
MOXAPI MoxStatus moxiAverage8x8_8u_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox8u* pDst, int dstStep);
MOXAPI MoxStatus moxiAverage16x16_8u_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox8u* pDst, int dstStep);
/* In-place average into pSrcDst (checked before pSrc). */
MOXAPI MoxStatus moxiAverage8x8_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep);
MOXAPI MoxStatus moxiAverage16x16_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep);
/* Half-sample prediction at acc, rounding averaged into pSrcDst with halves rounded up. */
MOXAPI MoxStatus moxiInterpolateAverage8x4_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int acc, int rounding);
MOXAPI MoxStatus moxiInterpolateAverage8x8_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int acc, int rounding);
MOXAPI MoxStatus moxiInterpolateAverage16x8_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int acc, int rounding);
MOXAPI MoxStatus moxiInterpolateAverage16x16_8u_C1IR(const Mox8u* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep, int acc, int rounding);

/* Residual add in 16-bit two's complement, clamped to 0..255. */
MOXAPI MoxStatus moxiAdd8x8_16s8u_C1IRS(const Mox16s* pSrc, int srcStep, Mox8u* pSrcDst, int srcDstStep);
/* Half-sample prediction of pRef at acc, rounding plus residual pSrc, clamped. */
MOXAPI MoxStatus moxiAdd8x8HP_16s8u_C1RS(const Mox16s* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox8u* pDst, int dstStep, int acc, int rounding);
/* Adds one constant to 64 samples in 16-bit two's complement, clamped. */
MOXAPI MoxStatus moxiAddC8x8_16s8u_C1IR(Mox16s value, Mox8u* pSrcDst, int srcDstStep);

/* One-reference motion compensation: prediction at mcType plus residual, clamped to 0..255.
 * 16- and 8-wide: roundControl & 1 selects rounding and the sum wraps in 16 bits before the clamp;
 * 4- and 2-wide: roundControl enters the arithmetic unmasked and the sum is exact.
 * 16x4 and the UV members take the left 8 columns' residual from the first H residual rows and
 * the right 8 columns' from the next H rows (U block then V block); the others read H rows of width W. */
MOXAPI MoxStatus moxiMC16x16_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC16x8_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC8x16_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC8x8_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC8x4_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC4x8_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC4x4_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC16x4_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC4x2_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC2x4_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC2x2_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC16x8UV_8u_C1(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
/* Two-reference motion compensation: each prediction at its own mcType, averaged with
 * (f + b + 1) >> 1, plus residual, clamped; roundControl as in the one-reference members. */
MOXAPI MoxStatus moxiMC16x16B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC16x8B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC8x16B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC8x8B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC8x4B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC4x8B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC4x4B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC16x4B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC4x2B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC2x4B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC2x2B_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC16x8BUV_8u_C1(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcYData, int srcYDataStep, Mox8u* pDst, int dstStep, int roundControl);
/* Chroma MC on an interleaved UVUV reference and destination (W chroma samples per channel)
 * with separate U and V residual planes sharing srcUVStep. */
MOXAPI MoxStatus moxiMC8x8_16s8u_P2C2R(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcUData, const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC8x4_16s8u_P2C2R(const Mox8u* pSrcRef, int srcStep, const Mox16s* pSrcUData, const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiMC8x8B_16s8u_P2C2R(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcUData, const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep, int roundControl);
MOXAPI MoxStatus moxiMC8x4B_16s8u_P2C2R(const Mox8u* pSrcRefF, int srcStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcStepB, int mcTypeB, const Mox16s* pSrcUData, const Mox16s* pSrcVData, int srcUVStep, Mox8u* pDst, int dstStep, int roundControl);

/* Encoder residual: current minus the prediction at mcType, whose half positions round with
 * the term 1 - roundControl (unmasked, arithmetic shift); pDstPredictor is optional. */
MOXAPI MoxStatus moxiGetDiff16x16_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff16x8_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x16_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x8_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x4_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff4x4_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiff, int dstDiffStep, Mox16s* pDstPredictor, int dstPredictorStep, int mcType, int roundControl);
/* Residual against (f + b + 1) >> 1 of a forward and a backward prediction. */
MOXAPI MoxStatus moxiGetDiff16x16B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl);
MOXAPI MoxStatus moxiGetDiff16x8B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x16B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x8B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x4B_8u16s_C1(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiff, int dstDiffStep, int roundControl);
/* Interleaved UVUV current and reference, planar U and V residuals sharing dstDiffStep. */
MOXAPI MoxStatus moxiGetDiff8x8_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x4_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRef, int srcRefStep, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep, int mcType, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x8B_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep, int roundControl);
MOXAPI MoxStatus moxiGetDiff8x4B_8u16s_C2P2(const Mox8u* pSrcCur, int srcCurStep, const Mox8u* pSrcRefF, int srcRefStepF, int mcTypeF, const Mox8u* pSrcRefB, int srcRefStepB, int mcTypeB, Mox16s* pDstDiffU, Mox16s* pDstDiffV, int dstDiffStep, int roundControl);

/* Element-wise pSrc1 - pSrc2 written as 16-bit signed (16u inputs wrap to 16 bits). */
MOXAPI MoxStatus moxiSub4x4_8u16s_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox16s* pDst, int dstStep);
MOXAPI MoxStatus moxiSub8x8_8u16s_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox16s* pDst, int dstStep);
MOXAPI MoxStatus moxiSub16x16_8u16s_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox16s* pDst, int dstStep);
MOXAPI MoxStatus moxiSub4x4_16u16s_C1R(const Mox16u* pSrc1, int src1Step, const Mox16u* pSrc2, int src2Step, Mox16s* pDst, int dstStep);
MOXAPI MoxStatus moxiSub8x8_16u16s_C1R(const Mox16u* pSrc1, int src1Step, const Mox16u* pSrc2, int src2Step, Mox16s* pDst, int dstStep);

/* ================================================================== block metrics
 * The reference prediction at a half position of mcType always rounds halves up;
 * mcType >> 2 picks the position (values from 16 on are not supported).
 * Only null pointers are reported (in argument order) unless stated. */

/* SAD against the prediction at mcType. */
MOXAPI MoxStatus moxiSAD16x16_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD, int mcType);
MOXAPI MoxStatus moxiSAD16x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD, int mcType);
MOXAPI MoxStatus moxiSAD8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD, int mcType);
MOXAPI MoxStatus moxiSAD16x16_16u32s_C1R(const Mox16u* pSrc, int srcStep, const Mox16u* pRef, int refStep, Mox32s* pSAD, int mcType);
MOXAPI MoxStatus moxiSAD8x8_16u32s_C1R(const Mox16u* pSrc, int srcStep, const Mox16u* pRef, int refStep, Mox32s* pSAD, int mcType);
MOXAPI MoxStatus moxiSAD4x4_16u32s_C1R(const Mox16u* pSrc, int srcStep, const Mox16u* pRef, int refStep, Mox32s* pSAD, int mcType);
/* SAD at the full-sample position. */
MOXAPI MoxStatus moxiSAD4x4_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD);
MOXAPI MoxStatus moxiSAD4x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD);
MOXAPI MoxStatus moxiSAD8x4_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD);
MOXAPI MoxStatus moxiSAD8x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSAD);
/* SSD against the prediction at mcType. */
MOXAPI MoxStatus moxiSSD8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSSD, int mcType);
MOXAPI MoxStatus moxiSSD4x4_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSSD, int mcType);
/* Sum of absolute 4x4 Hadamard coefficients of the difference, summed over the block's 4x4 tiles. */
MOXAPI MoxStatus moxiSATD4x4_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD4x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD8x4_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD8x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD16x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
MOXAPI MoxStatus moxiSATD16x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSATD);
/* q - s*s/256 with s*s wrapping in 32 bits (meaningful for means up to 181). */
MOXAPI MoxStatus moxiVariance16x16_8u32s(const Mox8u* pSrc, int srcStep, Mox32s* pVar);
/* Single-precision q/64 - (s/64)^2 truncated; the fourth output receives the sum s in both forms. */
MOXAPI MoxStatus moxiVarMean8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pVar, Mox32s* pMean);
MOXAPI MoxStatus moxiVarSum8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pVar, Mox32s* pSum);
MOXAPI MoxStatus moxiVarMean8x8_16s32s_C1R(const Mox16s* pSrc, int srcStep, Mox32s* pVar, Mox32s* pMean);
MOXAPI MoxStatus moxiVarSum8x8_16s32s_C1R(const Mox16s* pSrc, int srcStep, Mox32s* pVar, Mox32s* pSum);

/* Full-sample SADs against numCandidates (rounded down to a multiple of 8; below 8 is
 * moxStsSizeErr) horizontally consecutive positions: pDstSAD[i] compares with pRef + i. */
MOXAPI MoxStatus moxiSAD16x16xN_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates);
MOXAPI MoxStatus moxiSAD8x8xN_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates);
MOXAPI MoxStatus moxiSAD4x4xN_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates);
MOXAPI MoxStatus moxiSAD2x2xN_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates);
/* As xN, and also the smallest SAD and the first candidate index that reaches it. */
MOXAPI MoxStatus moxiSAD16x16xNI_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates, Mox16u* pMinSAD, int* pMinIndex);
MOXAPI MoxStatus moxiSAD8x8xNI_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates, Mox16u* pMinSAD, int* pMinIndex);
MOXAPI MoxStatus moxiSAD4x4xNI_8u16u_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int numCandidates, Mox16u* pMinSAD, int* pMinIndex);

/* SADs of the 8x8 (4 values) or 4x4 (16 values) sub-blocks of a 16x16 block, raster order, at mcType. */
MOXAPI MoxStatus moxiSAD16x16Blocks8x8_8u16u(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int mcType);
MOXAPI MoxStatus moxiSAD16x16Blocks4x4_8u16u(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox16u* pDstSAD, int mcType);
MOXAPI MoxStatus moxiSAD16x16Blocks8x8_16u32u(const Mox16u* pSrc, int srcStep, const Mox16u* pRef, int refStep, Mox32u* pDstSAD, int mcType);
MOXAPI MoxStatus moxiSAD16x16Blocks4x4_16u32u(const Mox16u* pSrc, int srcStep, const Mox16u* pRef, int refStep, Mox32u* pDstSAD, int mcType);
/* Sums of src - pred over each 4x4 block (raster order) and, when pDstDiff is not null,
 * the differences as consecutive 4x4 blocks of 16 raster-ordered values (DC path of intra coding). */
MOXAPI MoxStatus moxiSumsDiff16x16Blocks4x4_8u16s_C1(const Mox8u* pSrc, int srcStep, const Mox8u* pPred, int predStep, Mox16s* pDstSums, Mox16s* pDstDiff);
MOXAPI MoxStatus moxiSumsDiff8x8Blocks4x4_8u16s_C1(const Mox8u* pSrc, int srcStep, const Mox8u* pPred, int predStep, Mox16s* pDstSums, Mox16s* pDstDiff);
/* Sum of |x - m| with m the mean rounded to nearest, (s + N/2) / N. */
MOXAPI MoxStatus moxiMeanAbsDev8x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pDst);
MOXAPI MoxStatus moxiMeanAbsDev16x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pDst);
/* Frame/field decision: sum of |row y - row y+1| over 15 row pairs and of |row y - row y+2| over 14. */
MOXAPI MoxStatus moxiFrameFieldSAD16x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, Mox32s* pFrameSAD, Mox32s* pFieldSAD);
MOXAPI MoxStatus moxiFrameFieldSAD16x16_16s32s_C1R(const Mox16s* pSrc, int srcStep, Mox32s* pFrameSAD, Mox32s* pFieldSAD);
/* Sum of absolute coefficients of the unnormalised 8x8 Hadamard transform of pSrc1 - pSrc2. */
MOXAPI MoxStatus moxiSAT8x8D_8u32s_C1R(const Mox8u* pSrc1, int src1Step, const Mox8u* pSrc2, int src2Step, Mox32s* pDst);
MOXAPI MoxStatus moxiSAT8x8D_16u32s_C1R(const Mox16u* pSrc1, int src1Step, const Mox16u* pSrc2, int src2Step, Mox32s* pDst);
/* SSD of a 16x16 block against the prediction at mcType, or against (f + b + 1) >> 1 of two. */
MOXAPI MoxStatus moxiSqrDiff16x16_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pSqrDiff, int mcType);
MOXAPI MoxStatus moxiSqrDiff16x16B_8u32s(const Mox8u* pSrc, int srcStep, const Mox8u* pRefF, int refStepF, int mcTypeF, const Mox8u* pRefB, int refStepB, int mcTypeB, Mox32s* pSqrDiff);
/* Per 8x8 block of d = src - pred(mcType), raster order: var = (q - s*s/64) / 64, mean = s / 64 (truncating). */
MOXAPI MoxStatus moxiVarMeanDiff16x16_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pVar, Mox32s* pMean, int mcType);
MOXAPI MoxStatus moxiVarMeanDiff16x8_8u32s_C1R(const Mox8u* pSrc, int srcStep, const Mox8u* pRef, int refStep, Mox32s* pVar, Mox32s* pMean, int mcType);
/* *pRes = 1 when more than edgePelCount of the block's 480 adjacent pairs differ by more than edgePelDifference. */
MOXAPI MoxStatus moxiEdgesDetect16x16_8u_C1R(const Mox8u* pSrc, int srcStep, int edgePelDifference, int edgePelCount, Mox8u* pRes);
MOXAPI MoxStatus moxiEdgesDetect16x16_16u_C1R(const Mox16u* pSrc, int srcStep, int edgePelDifference, int edgePelCount, Mox8u* pRes);

/* ================================================================== H.264 entropy decoding
 * Word cursor: *ppBitStream points at the current native 32-bit word, *pBitOffset is the
 * index (31..0) of the next bit in it; the stream's first bit is bit 31 of the first word.
 * The word after the last one holding stream bits must be readable.
 * Packed VLC tables: element 0 = bits to peek k, entry for value v at 1 + v; bit 7 set:
 * continue in the sub-table at (entry >> 8); else value = entry >> 8 and the low byte
 * is the number of peeked bits given back; value 0xF0F1 marks an invalid pattern. */

/* The standard's CAVLC tables in the packed format, ready to pass to the decoders. */
typedef struct {
    const Mox32s* coeffToken[3];            /* nC 0..1, 2..3, 4..7: pass as ppTblCoeffToken */
    const Mox32s* coeffTokenChromaDc;       /* 4:2:0 chroma DC (nC = -1) */
    const Mox32s* coeffTokenChroma422Dc;    /* 4:2:2 chroma DC (nC = -2) */
    const Mox32s* totalZeros[16];           /* 4x4 blocks, by TotalCoeff 1..15 (entry 0 unused) */
    const Mox32s* totalZerosChromaDc[4];    /* 4:2:0 chroma DC, by TotalCoeff 1..3 */
    const Mox32s* totalZerosChroma422Dc[8]; /* 4:2:2 chroma DC, by TotalCoeff 1..7 */
    const Mox32s* runBefore[8];             /* by zerosLeft 1..6, entry 7 for 7 and more */
} MoxCAVLCTables_H264;

/* Constant, shared tables built at compile time; never fails. */
MOXAPI const MoxCAVLCTables_H264* moxiGetCAVLCTables_H264(void);

/* One Exp-Golomb code: ue(v) when (isSigned & 0xFF) is 0, else se(v); results wrap to the output type. */
MOXAPI MoxStatus moxiDecodeExpGolombOne_H264_1u16s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pDst, int isSigned);
MOXAPI MoxStatus moxiDecodeExpGolombOne_H264_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox32s* pDst, int isSigned);
/* One CAVLC 4x4 block (maxNumCoeff 16, or 15 without DC); a non-empty block appends 16
 * coefficients at *ppCoeffs (positions from pScanMatrix) and advances it; run_before uses
 * ppTblRunBefore[min(zerosLeft, 7)]. Inconsistent counts are moxStsBitstreamErr (cursor and *ppCoeffs
 * unmoved, the 16 values at *ppCoeffs undefined). */
MOXAPI MoxStatus moxiDecodeCAVLCCoeffs_H264_1u16s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox16s** ppCoeffs, int vlcSelect, Mox16s maxNumCoeff, const Mox32s* const* ppTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore, const Mox32s* pScanMatrix);
MOXAPI MoxStatus moxiDecodeCAVLCCoeffs_H264_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox32s** ppCoeffs, int vlcSelect, Mox16s maxNumCoeff, const Mox32s* const* ppTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore, const Mox32s* pScanMatrix);
/* 4:2:0 chroma DC (2x2): a non-empty block appends 4 coefficients in raster order. */
MOXAPI MoxStatus moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox16s** ppCoeffs, const Mox32s* pTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore);
MOXAPI MoxStatus moxiDecodeCAVLCChromaDcCoeffs_H264_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox32s** ppCoeffs, const Mox32s* pTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore);
/* 4:2:2 chroma DC (2x4): a non-empty block appends 8 coefficients in coded order c0..c7. */
MOXAPI MoxStatus moxiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox16s** ppCoeffs, const Mox32s* pTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore);
MOXAPI MoxStatus moxiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, Mox32s** ppCoeffs, const Mox32s* pTblCoeffToken, const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore);

/* ================================================================== H.264 dequantisation and inverse transforms
 * Blocks are raster order (row 0 first); residuals are (x + 32) >> 6 of the inverse transform, rows
 * first. Checks: null pointers, then QP (0..51, else moxStsOutOfRangeErr), then the rest as listed.
 * 16s forms keep every transform intermediate in 16 bits with wrap-around (only ...ResidualAndAdd
 * saturates), right shifts acting on the stored value; the flat forms scale a level by
 * normAdjust4x4(QP % 6, class) << (QP / 6) with the product kept in 16 bits.
 * pQuantTable: LevelScale (weightScale x normAdjust) of the current QP % 6, 16 or 64 values in raster
 * order. With q = QP / 6 it scales a level c as (4x4) QP < 24: (c*LS + 2^(3-q)) >> (4-q), else
 * (c*LS) << (q-4); (8x8, luma DC and 4:2:2 chroma DC, LS of position 0 for the DCs) QP < 36:
 * (c*LS + 2^(5-q)) >> (6-q), else (c*LS) << (q-6); in 32-bit arithmetic, the result stored in the
 * coefficient type. 32s forms (high bit depths): QP is QP' = QP + 6 x (bitDepth - 8), 0..87; every
 * value is 32-bit two's complement (no 16-bit truncation; sample + residual also wraps at 32 bits
 * before the clamp to 0..2^bitDepth - 1); bitDepth 8..14, else moxStsOutOfRangeErr. */

/* Flat-matrix LevelScale (16 x normAdjust) for qpRem = QP % 6: 16 values, 64 when is8x8; NULL for qpRem outside 0..5. */
MOXAPI const Mox16s* moxiGetLevelScale_H264(int qpRem, int is8x8);

/* Flat dequantisation and inverse transform in place (step at least 8, else moxStsStepErr; rows step / 2 elements apart); pDC (optional) is the scaled DC; AC 0: DC only, all (d + 32) >> 6. */
MOXAPI MoxStatus moxiDequantTransformResidual_H264_16s_C1I(Mox16s* pSrcDst, int step, const Mox16s* pDC, int AC, int QP);
/* As above on 16 contiguous levels with saturating sums, added to pPred clamped into pDst; the residual goes back to pSrcDst on the AC path only; pSrcDst may be NULL when pDC is set and AC is 0 (else moxStsNullPtrErr, checked after QP). */
MOXAPI MoxStatus moxiDequantTransformResidualAndAdd_H264_16s_C1I(const Mox8u* pPred, Mox16s* pSrcDst, const Mox16s* pDC, Mox8u* pDst, int predStep, int dstStep, int QP, int AC);
/* Intra 16x16 luma DC: 4x4 Hadamard of the 16 levels, then (f x scale + r) >> s (s, r = 2 below QP 6, 1 below 12, else 0). */
MOXAPI MoxStatus moxiTransformDequantLumaDC_H264_16s_C1I(Mox16s* pSrcDst, int QP);
/* 4:2:0 chroma DC (c00, c01, c10, c11): 2x2 transform, then (f x scale) >> 1; QP is the chroma quantiser. */
MOXAPI MoxStatus moxiTransformDequantChromaDC_H264_16s_C1I(Mox16s* pSrcDst, int QP);
/* Forward core transform of 4x4 predicted samples into 16 unscaled coefficients (for SP/SI decoding). */
MOXAPI MoxStatus moxiTransformPrediction_H264_8u16s_C1(const Mox8u* pSrc, int srcStep, Mox16s* pDst);

/* Inverse 4x4 transform of 16 scaled coefficients into a residual block (dstStep at least 8 / 16 bytes, else moxStsStepErr). */
MOXAPI MoxStatus moxiTransformResidual4x4Inv_H264_16s_C1(const Mox16s* pSrc, Mox16s* pDst, int dstStep);
MOXAPI MoxStatus moxiTransformResidual4x4Inv_H264_32s_C1(const Mox32s* pSrc, Mox32s* pDst, int dstStep);
/* pQuantTable dequantisation, inverse transform and clamped add to pPred, with pDC, AC, write-back and NULL pSrcDst as in ...ResidualAndAdd (checked after QP and bitDepth); wraps instead of saturating. */
MOXAPI MoxStatus moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(const Mox8u* pPred, int predStep, Mox16s* pSrcDst, const Mox16s* pDC, Mox8u* pDst, int dstStep, int QP, int AC, const Mox16s* pQuantTable);
MOXAPI MoxStatus moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(const Mox16u* pPred, int predStep, Mox32s* pSrcDst, const Mox32s* pDC, Mox16u* pDst, int dstStep, int QP, int AC, const Mox16s* pQuantTable, int bitDepth);
/* Intra 16x16 luma DC with a scaling table: 4x4 Hadamard, then the 8x8 rule with pQuantTable[0]. */
MOXAPI MoxStatus moxiTransformQuantInvLumaDC4x4_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable);
MOXAPI MoxStatus moxiTransformQuantInvLumaDC4x4_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable);
/* 4:2:0 chroma DC with a scaling table: 2x2 transform, then ((f x pQuantTable[0]) << q) >> 5. */
MOXAPI MoxStatus moxiTransformQuantInvChromaDC2x2_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable);
MOXAPI MoxStatus moxiTransformQuantInvChromaDC2x2_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable);
/* 4:2:2 chroma DC: levels in coded order c0..c7 in, DCs of the 2-wide, 4-high block grid in raster order out; 2x4 transform, then the 8x8 rule with QP + 3, so pQuantTable is that of (QP + 3) % 6. */
MOXAPI MoxStatus moxiTransformQuantInvChromaDC2x4_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable);
MOXAPI MoxStatus moxiTransformQuantInvChromaDC2x4_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable);
/* Dequantises the 64 levels of an 8x8 block in place with pQuantTable. */
MOXAPI MoxStatus moxiQuantLuma8x8Inv_H264_16s_C1I(Mox16s* pSrcDst, int QP, const Mox16s* pQuantTable);
MOXAPI MoxStatus moxiQuantInvLuma8x8_H264_32s_C1I(Mox32s* pSrcDst, int QP, const Mox16s* pQuantTable);
/* Inverse 8x8 transform of 64 scaled coefficients added to pPred, clamped into pDst. */
MOXAPI MoxStatus moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(const Mox8u* pPred, int predStep, const Mox16s* pSrc, Mox8u* pDst, int dstStep);
MOXAPI MoxStatus moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(const Mox16u* pPred, int predStep, const Mox32s* pSrc, Mox16u* pDst, int dstStep, int bitDepth);
/* SP/SI 4x4 (QS also 0..51): pPredictBlock is the transformed prediction p; each level c becomes sign(s)(|s| x R + 2^(14+QS/6)) >> (15+QS/6) (R the forward quantiser's multiplier for QS) with s = p + floor(c x normAdjust(QP) x W x 2^(QP/6) / 64) (W 16, 25, 20 by class), or, when switchFlag, c plus that requantisation of p; then flat QS dequantisation (pDC replaces the DC; AC 0 reads levels 1..15 as 0) and inverse transform, 16 values out (sample = clamp of them). */
MOXAPI MoxStatus moxiDequantTransformResidual_SISP_H264_16s_C1I(Mox16s* pSrcDst, const Mox16s* pPredictBlock, const Mox16s* pDC, int AC, int QP, int QS, int switchFlag);
/* SP/SI chroma DC: pDCPredict holds the DCs of the 4 transformed prediction blocks; as above on their 2x2 transform with /32 and shift 16 + QS/6, then as moxiTransformDequantChromaDC with QS. */
MOXAPI MoxStatus moxiTransformDequantChromaDC_SISP_H264_16s_C1I(Mox16s* pSrcDst, const Mox16s* pDCPredict, int QP, int QS, int switchFlag);

/* ================================================================== H.264 intra prediction and macroblock reconstruction
 * availability (predictors), set bit = the neighbour may be used: 0x01 upper row, 0x02 left column,
 * 0x20 upper-left sample, 0x40 upper-right row. A 4x4 mode that needs a missing neighbour reads it as
 * 128 and returns moxStsIntraNeighbourWrn (11); the upper-right samples, when missing, repeat the fourth
 * upper one. 16x16 and chroma modes that need a missing neighbour return moxStsIntraNeighbourErr (-117)
 * and write nothing; DC never fails (128 with neither side).
 * Modes: luma 4x4 / 8x8 0..8 (vertical, horizontal, DC, diagonal down-left, diagonal down-right,
 * vertical-right, horizontal-down, vertical-left, horizontal-up); 16x16 0..3 (vertical, horizontal, DC,
 * plane); chroma 0..3 (DC, horizontal, vertical, plane), DC per 4x4 sub-block. */

/* One 4x4 block in place (step at least 4, else moxStsStepErr; mode 0..8). */
MOXAPI MoxStatus moxiPredictIntra_4x4_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode, Mox32s availability);
/* One 16x16 block in place (mode 0..3). */
MOXAPI MoxStatus moxiPredictIntra_16x16_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode, Mox32s availability);
/* One 8x8 4:2:0 chroma block in place (mode 0..3: DC, horizontal, vertical, plane). */
MOXAPI MoxStatus moxiPredictIntraChroma8x8_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s predMode, Mox32s availability);

/* Macroblock reconstruction in place: each block is predicted (intra) or taken as it is (inter), then
 * its residual is added with clamping.
 * *ppSrcDstCoeff: the coded blocks back to back in reconstruction order, raster order inside a block
 * (16 levels per 4x4 block, 16 for the Intra16x16 luma DC, 4 per 4:2:0 chroma DC, 8 per 4:2:2 chroma DC
 * in coded order c0..c7, 64 per 8x8 block); advanced past the blocks consumed when the call succeeds.
 * The levels themselves are not modified.
 * cbp4x4, set bit = the block is in the stream: bit 0 Intra16x16 luma DC; bit 1 + k luma 4x4 block k
 * (block index order: 8x8 quadrants in raster order, raster order inside each); bits 17, 18 U, V DC;
 * 19..22 U and 23..26 V 4x4 blocks in raster order. cbp8x8: bit b for the 8x8 block b (raster order).
 * edgeType, set bit = that neighbouring macroblock must not be used: 0x01 left, 0x04 top, 0x10 top-left,
 * 0x20 top-right. Blocks 3, 7, 11, 13 and 15 of an Intra4x4 macroblock have no upper-right samples, block
 * 5 has them only with neither 0x04 nor 0x20 set; in an Intra8x8 macroblock block 1's follow 0x20 alone,
 * block 3 has none. Missing neighbours read as 128.
 * Flat forms dequantise as moxiDequantTransformResidualAndAdd (luma DC as moxiTransformDequantLumaDC,
 * chroma DC as moxiTransformDequantChromaDC). pQuantTable forms take the LevelScale of QP % 6 (16 values,
 * 64 for 8x8) with the rules of moxiTransformQuantInvAddPred4x4 and moxiQuantLuma8x8Inv; their intra and
 * chroma forms are lossless (residual added untransformed, accumulated down the columns after vertical
 * and along the rows after horizontal intra prediction, across the whole 16x16 or chroma block for
 * Intra16x16 and chroma) when bypassFlag is nonzero and the block's quantiser is 0.
 * Checks: null pointers, then quantisers (QP 0..51, chroma 0..39), then modes; nothing is written on
 * failure except where stated. */

/* Intra4x4 luma, flat tables; moxStsIntraNeighbourWrn when a block's mode needed a missing neighbour; a mode above 8 is moxStsOutOfRangeErr. */
MOXAPI MoxStatus moxiReconstructLumaIntraMB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType);
/* As above with a LevelScale table. */
MOXAPI MoxStatus moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* Intra8x8 luma, reference samples low-pass filtered over the available sides only; never warns; a mode above 8 stops there with moxStsOutOfRangeErr (earlier blocks rebuilt, stream not advanced). */
MOXAPI MoxStatus moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp8x8, Mox32u QP, Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* Intra16x16 luma, flat tables; a mode needing an excluded neighbour is moxStsIntraNeighbourErr, tested before the mode range. */
MOXAPI MoxStatus moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u intra16x16PredMode, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType);
/* As above with a LevelScale table. */
MOXAPI MoxStatus moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u intra16x16PredMode, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* Inter luma residual of 4x4 blocks (QP tested unsigned; lossless with QP 0), prediction already in place. */
MOXAPI MoxStatus moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u cbp4x4, Mox32s QP, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* Inter luma residual of 8x8 blocks. */
MOXAPI MoxStatus moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u cbp8x8, Mox32s QP, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* Intra 4:2:0 chroma, flat tables: both 8x8 planes predicted (moxStsIntraNeighbourErr, nothing written, when the mode needs an excluded neighbour), then as the inter form. */
MOXAPI MoxStatus moxiReconstructChromaIntraMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQP, Mox8u edgeType);
/* 4:2:0 chroma residual, flat tables; nothing touched when cbp4x4 & 0x7FE0000 is 0. */
MOXAPI MoxStatus moxiReconstructChromaInterMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u cbp4x4, Mox32u ChromaQP);
/* Intra 4:2:0 chroma with a quantiser and a LevelScale table per plane; the mode is taken modulo 4. */
MOXAPI MoxStatus moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU, Mox32u ChromaQPV, Mox8u edgeType, const Mox16s* pQuantTableU, const Mox16s* pQuantTableV, Mox8u bypassFlag);
/* 4:2:0 chroma residual with a quantiser and a LevelScale table per plane. */
MOXAPI MoxStatus moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u cbp4x4, Mox32u ChromaQPU, Mox32u ChromaQPV, const Mox16s* pQuantTableU, const Mox16s* pQuantTableV, Mox8u bypassFlag);

/* High profiles: a macroblock described by a record. 32s16u functions take Mox32s levels and 16-bit
 * samples clamped to 0..2^bitDepth - 1 (bitDepth 8..14), with the arithmetic of the 32s transforms and
 * quantisers QP' = QP + 6 x (bitDepth - 8); missing neighbours read as 1 << (bitDepth - 1). 4:2:2 chroma
 * planes are 8 wide and 16 high: a 2x4 DC block (8 levels in coded order, dequantised with QP'C + 3) and
 * eight 4x4 blocks per plane in raster order; their coded-block word is bit 0 U DC, bit 1 V DC, bits 2..9 U
 * and 10..17 V 4x4 blocks (4:2:0 records use the cbp4x4 bits 17..26). Checks: null pointers (the record's
 * too), bitDepth, quantisers, modes. */

/* A luma macroblock of 16-bit samples. */
typedef struct {
    Mox16u* pSrcDstPlane;         /* the macroblock's top-left sample */
    Mox32s srcDstStep;            /* bytes between rows */
    const Mox32u* pMBIntraTypes;  /* Intra4x4: 16 modes, Intra8x8: 4 modes; not read by the other functions */
    Mox32u intra16x16PredMode;    /* Intra16x16: 0..3 */
    Mox32u cbp;                   /* cbp4x4, or cbp8x8 for the 8x8 functions */
    Mox32s qp;                    /* QP'Y, 0..51 + 6 x (bitDepth - 8) */
    Mox8u edgeType;               /* intra functions */
    Mox8u bypassFlag;             /* lossless when nonzero and qp is 0 */
    const Mox16s* pQuantTable;    /* LevelScale of qp % 6: 16 values, 64 for the 8x8 functions */
    Mox32s bitDepth;              /* 8..14 */
} MoxReconstructLuma_H264High;

/* Both chroma planes of a macroblock of 16-bit samples. */
typedef struct {
    Mox16u* pSrcDstUPlane;        /* top-left samples of the U and V blocks */
    Mox16u* pSrcDstVPlane;
    Mox32s srcDstUVStep;          /* bytes between rows of either plane */
    Mox32u intraChromaPredMode;   /* intra functions: 0..3 (DC, horizontal, vertical, plane) */
    Mox32u cbp;                   /* coded-block word of the chroma format */
    Mox32s qpU, qpV;              /* QP'C of each plane, 0..39 + 6 x (bitDepth - 8) */
    Mox8u edgeType;               /* intra functions */
    Mox8u bypassFlag;             /* a plane is lossless when this is nonzero and its qp is 0 */
    const Mox16s* pQuantTableU;   /* LevelScale of qp % 6 of each plane, 16 values */
    const Mox16s* pQuantTableV;
    const Mox16s* pQuantTableDCU; /* 4:2:2 only: LevelScale of (qp + 3) % 6, element 0 scales the DC */
    const Mox16s* pQuantTableDCV;
    Mox32s bitDepth;              /* 8..14 */
} MoxReconstructChroma_H264High;

/* Both chroma planes of a macroblock of 8-bit samples (4:2:2); fields as above, quantisers 0..39. */
typedef struct {
    Mox8u* pSrcDstUPlane;
    Mox8u* pSrcDstVPlane;
    Mox32s srcDstUVStep;
    Mox32u intraChromaPredMode;
    Mox32u cbp;
    Mox32s qpU, qpV;
    Mox8u edgeType;
    Mox8u bypassFlag;
    const Mox16s* pQuantTableU;
    const Mox16s* pQuantTableV;
    const Mox16s* pQuantTableDCU;
    const Mox16s* pQuantTableDCV;
} MoxReconstructChroma8u_H264High;

/* Inter luma residual of 4x4 blocks (cbp4x4); lossless with qp 0. */
MOXAPI MoxStatus moxiReconstructLumaInter4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* Inter luma residual of 8x8 blocks (cbp8x8); lossless with qp 0. */
MOXAPI MoxStatus moxiReconstructLumaInter8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* Intra4x4 luma as moxiReconstructLumaIntra4x4MB (moxStsIntraNeighbourWrn; a mode above 8 is moxStsOutOfRangeErr). */
MOXAPI MoxStatus moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* Intra8x8 luma as moxiReconstructLumaIntra8x8MB (a mode above 8 stops at its block). */
MOXAPI MoxStatus moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* Intra16x16 luma as moxiReconstructLumaIntra_16x16MB (moxStsIntraNeighbourErr before the mode range). */
MOXAPI MoxStatus moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* 4:2:0 chroma residual of both planes. */
MOXAPI MoxStatus moxiReconstructChromaInter4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* 4:2:0 intra chroma: mode above 3 moxStsOutOfRangeErr, missing neighbour moxStsIntraNeighbourErr, then prediction and residual. */
MOXAPI MoxStatus moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* 4:2:2 chroma residual of both planes. */
MOXAPI MoxStatus moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* 4:2:2 intra chroma (8x16 prediction: plane with the 4:2:2 gradients, DC per 4x4 sub-block), then residual. */
MOXAPI MoxStatus moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* 8-bit 4:2:2 chroma residual of both planes. */
MOXAPI MoxStatus moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const MoxReconstructChroma8u_H264High* pMB);
/* 8-bit 4:2:2 intra chroma, then residual. */
MOXAPI MoxStatus moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const MoxReconstructChroma8u_H264High* pMB);

/* Half forms, for MBAFF frames with constrained intra prediction where the left neighbour column comes
 * from two macroblocks: edgeType 0x01 then marks only the upper half of the left column (luma rows 0..7,
 * 4:2:0 chroma rows 0..3, 4:2:2 chroma rows 0..7) as unusable and 0x02 the lower half; each sample follows
 * its half (a 4x4 or 8x8 block's left column and corner, a chroma DC sub-block's left side), and chroma
 * horizontal and plane prediction need both halves. Otherwise as the functions they are named after;
 * ...HalfsMB and ...HalvesMB are one operation under two names. */
/* moxiReconstructLumaIntraMB with the left column in halves. */
MOXAPI MoxStatus moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType);
/* moxiReconstructLumaIntra4x4MB with the left column in halves. */
MOXAPI MoxStatus moxiReconstructLumaIntraHalf4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP, Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* moxiReconstructLumaIntra8x8MB with the left column in halves (block 2's corner belongs to the upper half). */
MOXAPI MoxStatus moxiReconstructLumaIntraHalf8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep, const Mox32u* pMBIntraTypes, Mox32u cbp8x8, Mox32u QP, Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag);
/* moxiReconstructChromaIntraMB with the left column in halves. */
MOXAPI MoxStatus moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQP, Mox8u edgeType);
/* The same operation as moxiReconstructChromaIntraHalfsMB. */
MOXAPI MoxStatus moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQP, Mox8u edgeType);
/* moxiReconstructChromaIntra4x4MB with the left column in halves. */
MOXAPI MoxStatus moxiReconstructChromaIntraHalfs4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU, Mox32u ChromaQPV, Mox8u edgeType, const Mox16s* pQuantTableU, const Mox16s* pQuantTableV, Mox8u bypassFlag);
/* The same operation as moxiReconstructChromaIntraHalfs4x4MB. */
MOXAPI MoxStatus moxiReconstructChromaIntraHalves4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU, Mox32u ChromaQPV, Mox8u edgeType, const Mox16s* pQuantTableU, const Mox16s* pQuantTableV, Mox8u bypassFlag);
/* moxiReconstructLumaIntra4x4_H264High with the left column in halves. */
MOXAPI MoxStatus moxiReconstructLumaIntraHalf4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* moxiReconstructLumaIntra8x8_H264High with the left column in halves. */
MOXAPI MoxStatus moxiReconstructLumaIntraHalf8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const MoxReconstructLuma_H264High* pMB);
/* moxiReconstructChromaIntra4x4_H264High with the left column in halves. */
MOXAPI MoxStatus moxiReconstructChromaIntraHalf4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* moxiReconstructChroma422Intra4x4_H264High (16-bit) with the left column in halves (rows 0..7 / 8..15). */
MOXAPI MoxStatus moxiReconstructChroma422IntraHalf4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const MoxReconstructChroma_H264High* pMB);
/* moxiReconstructChroma422Intra4x4_H264High (8-bit) with the left column in halves (rows 0..7 / 8..15). */
MOXAPI MoxStatus moxiReconstructChroma422IntraHalf4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const MoxReconstructChroma8u_H264High* pMB);

/* ================================================================== H.264 deblocking filters
 * In-place filtering of one macroblock's edges with caller-derived strengths and thresholds.
 * pBs: 4 strengths per edge (pBs[4e + i] covers luma rows/columns 4i..4i+3 of edge e, edge 0 the macroblock
 * boundary): 0 skips the group, 4 filters strong, any other value normally. pAlpha[0]/pBeta[0] serve edge 0,
 * pAlpha[1]/pBeta[1] the inner edges; pThresholds holds tc0 laid out as pBs. 4:2:0 chroma edge c (0, 1) uses
 * pAlpha[c], pBeta[c], strengths pBs[8c + i] and tc0 pThresholds[4c + i], each for 2 chroma lines. Only null
 * pointers are reported (moxStsNullPtrErr); no value is range-checked. */

/* The record of the 4:2:2 and 16-bit forms (8-bit 4:2:2 forms take MoxiFilterDeblock_8u, which has no bitDepth). */
typedef struct {
    Mox16u* pSrcDstPlane;         /* the macroblock's top-left sample */
    Mox32s srcDstStep;            /* samples between rows */
    const Mox16u* pAlpha;
    const Mox16u* pBeta;
    const Mox16u* pThresholds;
    const Mox8u* pBs;
    Mox32s bitDepth;              /* results of the normal filter are clamped to 0..(1 << bitDepth) - 1 */
} MoxiFilterDeblock_16u;
typedef struct {
    Mox8u* pSrcDstPlane;          /* the macroblock's top-left sample */
    Mox32s srcDstStep;            /* samples (bytes) between rows */
    const Mox8u* pAlpha;
    const Mox8u* pBeta;
    const Mox8u* pThresholds;
    const Mox8u* pBs;
} MoxiFilterDeblock_8u;

/* Luma vertical edges x = 0, 4, 8, 12 over 16 rows. */
MOXAPI MoxStatus moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* Luma horizontal edges y = 0, 4, 8, 12 over 16 columns. */
MOXAPI MoxStatus moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* Luma left edge of one field macroblock, 8 rows: row r uses pBs[r/2], pThresholds[r/2]; alpha 0 returns at once. */
MOXAPI MoxStatus moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u alpha, Mox32u beta, const Mox8u* pThresholds, const Mox8u* pBs);
/* 4:2:0 chroma plane, vertical edges x = 0, 4 over 8 rows. */
MOXAPI MoxStatus moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* 4:2:0 chroma plane, horizontal edges y = 0, 4 over 8 columns. */
MOXAPI MoxStatus moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* Interleaved U/V plane (16 bytes per macroblock row), vertical edges at chroma x = 0, 4, both components alike. */
MOXAPI MoxStatus moxiFilterDeblockingChroma_VerEdge_H264_8u_C2IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* Interleaved U/V plane, horizontal edges y = 0, 4, both components alike. */
MOXAPI MoxStatus moxiFilterDeblockingChroma_HorEdge_H264_8u_C2IR(Mox8u* pSrcDst, Mox32s srcdstStep, const Mox8u* pAlpha, const Mox8u* pBeta, const Mox8u* pThresholds, const Mox8u* pBs);
/* Chroma left edge of one field macroblock, 4 rows: row r uses pBs[r], pThresholds[r]; alpha 0 returns at once. */
MOXAPI MoxStatus moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32u alpha, Mox32u beta, const Mox8u* pThresholds, const Mox8u* pBs);
/* 4:2:2 chroma, vertical edges x = 0, 4 over 16 rows: edge c uses pBs[8c + row/4], pThresholds[4c + row/4]. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(const MoxiFilterDeblock_8u* pDeblockInfo);
/* 4:2:2 chroma, horizontal edges y = 0, 4, 8, 12 over 8 columns: edge e uses pAlpha/pBeta[min(e,1)], pBs[4e + x/2], pThresholds[4e + x/2]; strong as a whole when pBs[4e] is 4. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(const MoxiFilterDeblock_8u* pDeblockInfo);
/* Declared only: always moxStsNotImplementedErr. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(const MoxiFilterDeblock_8u* pDeblockInfo);
/* 16-bit luma vertical edges, as the 8-bit form. */
MOXAPI MoxStatus moxiFilterDeblockingLumaVerEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit luma horizontal edges, as the 8-bit form. */
MOXAPI MoxStatus moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit luma left edge of a field macroblock, 8 rows, pAlpha[0]/pBeta[0]; pAlpha[0] 0 returns at once. */
MOXAPI MoxStatus moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit 4:2:0 chroma vertical edges, as the 8-bit plane form. */
MOXAPI MoxStatus moxiFilterDeblockingChromaVerEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit 4:2:0 chroma horizontal edges, as the 8-bit plane form. */
MOXAPI MoxStatus moxiFilterDeblockingChromaHorEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit chroma left edge of a field macroblock, 4 rows, as the 8-bit form with pAlpha[0]/pBeta[0]. */
MOXAPI MoxStatus moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit 4:2:2 chroma vertical edges, as the 8-bit 4:2:2 form. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422VerEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* 16-bit 4:2:2 chroma horizontal edges, as the 8-bit 4:2:2 form. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422HorEdge_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);
/* Declared only: always moxStsNotImplementedErr. */
MOXAPI MoxStatus moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(const MoxiFilterDeblock_16u* pDeblockInfo);

/* ================================================================== H.264 weighted prediction
 * One prediction block of width and height each from {2, 4, 8, 16}. Checks: null pointers, steps, size
 * (moxStsSizeErr for any other size). The Mox32u steps are compared unsigned with the width and then used as
 * signed byte distances, so bottom-up planes pass. Results are clamped to 0..255; they are exact for weights
 * within -32768..32767, ulog2wd 0..30 and offsets within -2^24..2^24 (H.264 uses -128..127 and 0..7). */
/* In place: ((s * iWeight + 2^(ulog2wd-1)) >> ulog2wd) + iOffset, no rounding term when ulog2wd is 0. */
MOXAPI MoxStatus moxiUniDirWeightBlock_H264_8u_C1R(Mox8u* pSrcDst, Mox32u srcDstStep, Mox32u ulog2wd, Mox32s iWeight, Mox32s iOffset, MoxiSize roiSize);
/* The same function under its in-place name. */
MOXAPI MoxStatus moxiUniDirWeightBlock_H264_8u_C1IR(Mox8u* pSrcDst, Mox32u srcDstStep, Mox32u ulog2wd, Mox32s iWeight, Mox32s iOffset, MoxiSize roiSize);
/* ((s1 * iWeight1 + s2 * iWeight2 + 2^ulog2wd) >> (ulog2wd + 1)) + ((iOffset1 + iOffset2 + 1) >> 1); both sources use srcStep. */
MOXAPI MoxStatus moxiBiDirWeightBlock_H264_8u_P2P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep, Mox32u dstStep, Mox32u ulog2wd, Mox32s iWeight1, Mox32s iOffset1, Mox32s iWeight2, Mox32s iOffset2, MoxiSize roiSize);
/* As the P2P1R form with one step per block. */
MOXAPI MoxStatus moxiBiDirWeightBlock_H264_8u_P3P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep1, Mox32u srcStep2, Mox32u dstStep, Mox32u ulog2wd, Mox32s iWeight1, Mox32s iOffset1, Mox32s iWeight2, Mox32s iOffset2, MoxiSize roiSize);
/* Implicit weighting with caller weights: (s1 * iWeight1 + s2 * iWeight2 + 32) >> 6. */
MOXAPI MoxStatus moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep, Mox32u dstStep, Mox32s iWeight1, Mox32s iWeight2, MoxiSize roiSize);
/* As the implicit P2P1R form with one step per block. */
MOXAPI MoxStatus moxiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Mox8u* pSrc1, const Mox8u* pSrc2, Mox8u* pDst, Mox32u srcStep1, Mox32u srcStep2, Mox32u dstStep, Mox32s iWeight1, Mox32s iWeight2, MoxiSize roiSize);
/* In place on d: ((s1 * iWeight1 + d * iWeight2 + r) >> ulog2wd) + iOffset; a ulog2wd of 0 or below means no rounding and no shift; the step is signed, below the width -> moxStsStepErr. */
MOXAPI MoxStatus moxiWeightedAverage_H264_8u_C1IR(const Mox8u* pSrc1, Mox8u* pSrcDst, Mox32s srcDstStep, Mox32s iWeight1, Mox32s iWeight2, Mox32s ulog2wd, Mox32s iOffset, MoxiSize roiSize);

/* Blocks of a weighted prediction of 16-bit samples. */
typedef struct {
    const Mox16u* pSrc1;          /* first (or only) prediction */
    const Mox16u* pSrc2;          /* second prediction; not read (may be null) by the uni-directional form */
    Mox16u* pDst;                 /* may be pSrc1 or pSrc2 with the same step (in place) */
    Mox32s srcStep1, srcStep2;    /* bytes between rows, negative for bottom-up planes */
    Mox32s dstStep;
    MoxiSize roiSize;             /* width and height each from {2, 4, 8, 16} */
    Mox32s bitDepth;              /* 8..14; results are clamped to 0..2^bitDepth - 1 */
} MoxWeightBlock_H264_16u;

/* Explicit (or implicit) weights of the two predictions. */
typedef struct {
    Mox32s log2wd;                /* logWD 0..7 (luma_log2_weight_denom); not read by the implicit form (6 bits) */
    Mox32s weight1, offset1;      /* first prediction; offsets in units of the bit depth (already scaled) */
    Mox32s weight2, offset2;      /* second prediction; not read by the uni-directional form */
} MoxWeightParams_H264;

/* 16-bit forms. Checks: null pointers (record, its pointers, weights), steps (magnitude below 2 x width ->
 * moxStsStepErr), size (moxStsSizeErr), bitDepth 8..14 then log2wd 0..7 (moxStsOutOfRangeErr). Exact for weights
 * within -32768..32767 and offsets within -2^20..2^20. */
/* Default prediction: (s1 + s2 + 1) >> 1. */
MOXAPI MoxStatus moxiBidir_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock);
/* Explicit bi-prediction, the formula of moxiBiDirWeightBlock_H264_8u_P2P1R. */
MOXAPI MoxStatus moxiBidirWeight_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock, const MoxWeightParams_H264* pWeights);
/* Implicit bi-prediction: (s1 * weight1 + s2 * weight2 + 32) >> 6. */
MOXAPI MoxStatus moxiBidirWeightImplicit_H264_16u_P2P1R(const MoxWeightBlock_H264_16u* pBlock, const MoxWeightParams_H264* pWeights);
/* Explicit single prediction of pSrc1 into pDst, the formula of moxiUniDirWeightBlock_H264_8u_C1R. */
MOXAPI MoxStatus moxiUnidirWeight_H264_16u_IP2P1R(const MoxWeightBlock_H264_16u* pBlock, const MoxWeightParams_H264* pWeights);

/* ================================================================== H.264 luma and chroma interpolation */
/* Block form record: picture planes at the top-left sample, picture and block size, block position, vector. */
typedef struct {
    const Mox8u* pSrc[2];   /* luma: [0]; chroma: U, V (C2P2R block form: [0] interleaved U/V) */
    Mox32s srcStep;
    Mox8u* pDst[2];         /* luma: [0]; chroma: U, V */
    Mox32s dstStep;
    MoxiSize sizeFrame;     /* picture width and height in samples of this plane, at least 1 x 1 (else moxStsSizeErr) */
    MoxiSize sizeBlock;
    struct { Mox32s x, y; } pointBlockPos;
    struct { Mox32s x, y; } pointVector; /* quarter (luma) or eighth (chroma) samples */
} MoxVCInterpolateBlock_8u;

/* Luma at quarter-sample position (dx, dy) 0..3; width 4/8/16 (and sums), height a multiple of 4. */
MOXAPI MoxStatus moxiInterpolateLuma_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize);
/* Chroma at eighth-sample position (dx, dy) 0..7; width 2/4/8 (and sums), even height. */
MOXAPI MoxStatus moxiInterpolateChroma_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize);
/* Chroma from an interleaved U/V source (roiSize in chroma samples) into two planes. */
MOXAPI MoxStatus moxiInterpolateChroma_H264_8u_C2P2R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDstU, Mox8u* pDstV, Mox32s dstStep, Mox32s dx, Mox32s dy, MoxiSize roiSize);
/* Luma block at pointBlockPos moved by pointVector; picture edge samples repeat outside sizeFrame. */
MOXAPI MoxStatus moxiInterpolateLumaBlock_H264_8u_P1R(const MoxVCInterpolateBlock_8u* pParams);
/* Both chroma planes (pSrc[0..1] into pDst[0..1]) of a block, vector in eighth samples, edges repeated. */
MOXAPI MoxStatus moxiInterpolateChromaBlock_H264_8u_P2R(const MoxVCInterpolateBlock_8u* pParams);
/* As the P2R form from an interleaved U/V picture pSrc[0] (sizeFrame in chroma samples). */
MOXAPI MoxStatus moxiInterpolateChromaBlock_H264_8u_C2P2R(const MoxVCInterpolateBlock_8u* pParams);
/* Luma whose top row lies outPixels rows above the picture's first row (negative: below it); rows above repeat it. */
MOXAPI MoxStatus moxiInterpolateLumaTop_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize);
/* Luma whose bottom row lies outPixels rows below the picture's last row (negative: above it); rows below repeat it. */
MOXAPI MoxStatus moxiInterpolateLumaBottom_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize);
/* Chroma counterparts of the two above (eighth-sample dx, dy; chroma sizes). */
MOXAPI MoxStatus moxiInterpolateChromaTop_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize);
MOXAPI MoxStatus moxiInterpolateChromaBottom_H264_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, Mox32s dx, Mox32s dy, Mox32s outPixels, MoxiSize roiSize);

/* 16-bit plain form record; steps in samples. */
typedef struct {
    const Mox16u* pSrc;
    Mox32s srcStep;
    Mox16u* pDst;
    Mox32s dstStep;
    Mox32s dx, dy;          /* quarter-sample position 0..3 */
    MoxiSize roiSize;
} MoxVCInterpolate_16u;

/* 16-bit luma, samples below 1 << bitDepth (8..14) and clamped to it; sizes 4/8/16 each, not 4x16 or 16x4. */
MOXAPI MoxStatus moxiInterpolateLuma_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s bitDepth);
/* 16-bit chroma, dx and dy eighth samples 0..7; width 2/4/8, height 2/4/8/16. */
MOXAPI MoxStatus moxiInterpolateChroma_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s bitDepth);
/* 16-bit counterparts of the Top and Bottom forms above; checks as the 16-bit plain forms. */
MOXAPI MoxStatus moxiInterpolateLumaTop_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s outPixels, Mox32s bitDepth);
MOXAPI MoxStatus moxiInterpolateLumaBottom_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s outPixels, Mox32s bitDepth);
MOXAPI MoxStatus moxiInterpolateChromaTop_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s outPixels, Mox32s bitDepth);
MOXAPI MoxStatus moxiInterpolateChromaBottom_H264_16u_C1R(const MoxVCInterpolate_16u* pParams, Mox32s outPixels, Mox32s bitDepth);

/* 16-bit block form record: as MoxVCInterpolateBlock_8u with steps in samples. */
typedef struct {
    const Mox16u* pSrc[2];  /* luma: [0]; chroma: U, V */
    Mox32s srcStep;
    Mox16u* pDst[2];        /* luma: [0]; chroma: U, V */
    Mox32s dstStep;
    MoxiSize sizeFrame;     /* picture width and height in samples of this plane */
    MoxiSize sizeBlock;
    struct { Mox32s x, y; } pointBlockPos;
    struct { Mox32s x, y; } pointVector; /* quarter (luma) or eighth (chroma) samples */
} MoxVCInterpolateBlock_16u;

/* 16-bit luma block, edges repeated; block sizes as moxiInterpolateLuma_H264_16u_C1R. */
MOXAPI MoxStatus moxiInterpolateLumaBlock_H264_16u_P1R(const MoxVCInterpolateBlock_16u* pParams, Mox32s bitDepth);
/* 16-bit chroma planes U, V of a block, edges repeated; block sizes as moxiInterpolateChroma_H264_16u_C1R. */
MOXAPI MoxStatus moxiInterpolateChromaBlock_H264_16u_P2R(const MoxVCInterpolateBlock_16u* pParams, Mox32s bitDepth);

/* Whole-partition record of a 4:2:0 picture: one luma vector predicts luma and both chroma planes. */
typedef struct {
    const Mox8u* pSrc[3];   /* Y, U, V at the picture's top-left sample (P2P1R: Y, interleaved U/V, unused) */
    Mox32s srcStep[2];      /* luma, chroma */
    Mox8u* pDst[3];         /* Y, U, V */
    Mox32s dstStep[2];      /* luma, chroma */
    MoxiSize sizeFrame;     /* luma picture; chroma planes hold (width + 1) / 2 x (height + 1) / 2 */
    MoxiSize sizeBlock;     /* luma block, sizes as moxiInterpolateLuma_H264_8u_C1R */
    struct { Mox32s x, y; } pointBlockPos; /* luma samples */
    struct { Mox32s x, y; } pointVector;   /* quarter luma samples: eighth chroma samples at half the position */
} MoxVCInterpolateBlockYUV_8u;

/* Luma and chroma of a partition from a picture with interleaved U/V (pSrc[1]) into three planes. */
MOXAPI MoxStatus moxiInterpolateBlock_H264_8u_P2P1R(const MoxVCInterpolateBlockYUV_8u* pParams);
/* Luma and chroma of a partition from a three-plane picture into three planes. */
MOXAPI MoxStatus moxiInterpolateBlock_H264_8u_P3P1R(const MoxVCInterpolateBlockYUV_8u* pParams);

/* ================================================================== MPEG-4, H.263 and H.261 coefficient decoding and encoding
 * Byte cursor: *ppBitStream points at the current byte, *pBitOffset (0..7) counts its bits
 * already used, most significant first. Decoders read at most one byte beyond the byte that
 * holds the block's last bit; on success the cursor names the first bit after the block.
 * pCoef: 64 coefficients in raster order, cleared first; *pIndxLastNonZero: scan position of
 * the last coefficient written (-1: none). On moxStsVLCErr the cursor is unchanged, the
 * coefficients already decoded stay and *pIndxLastNonZero holds the last position reached.
 * Scan: 0 zigzag, 1 alternate vertical, 2 alternate horizontal (intra only), other: raster.
 * Encoders write the non-zero coefficients after the start position in scan order (nothing
 * for an empty block) and leave the bits after the last one of the last byte zero. */
#define MOX_SCAN_ZIGZAG   0
#define MOX_SCAN_ALT_VERT 1
#define MOX_SCAN_ALT_HORZ 2
#define MOX_SCAN_NONE     3
#define MOX_BLOCK_LUMA    0  /* MPEG-4 intra DC size table B-13 */
#define MOX_BLOCK_CHROMA  1  /* any non-zero value: table B-14 */

/* MPEG-4 intra block, Table B-16 (three escapes) or, rvlcFlag != 0, Table B-23 forward; dcPresent != 0 keeps pCoef[0] and starts after it. */
MOXAPI MoxStatus moxiDecodeCoeffsIntra_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int rvlcFlag, int dcPresent, int scan);
/* MPEG-4 inter block, Table B-17 or Table B-23 forward; scan 0 or 1, any other value raster. */
MOXAPI MoxStatus moxiDecodeCoeffsInter_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int rvlcFlag, int scan);
/* Table B-23 read backward from the bit after the block's last code to the bit after the preceding block's last code (last = 1, read, plus at most one byte before it); coefficients in scan order. */
MOXAPI MoxStatus moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int dcPresent);
MOXAPI MoxStatus moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero);
/* dct_dc_size (blockType MOX_BLOCK_LUMA or MOX_BLOCK_CHROMA) and dct_dc_differential, marker checked above size 8: *pDC = the differential. */
MOXAPI MoxStatus moxiDecodeDCIntra_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pDC, int blockType);
/* Inter block (as DecodeCoeffsInter) inverse-quantised: pQMatrix NULL: 2nd method, else 1st with the 64 raster-order weights and mismatch control; clamped to -2048..2047. */
MOXAPI MoxStatus moxiReconstructCoeffsInter_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int rvlcFlag, int scan, int QP, const Mox8u* pQMatrix);
/* H.263 inter TCOEF; modQ != 0: Annex T escape (LEVEL -128 then an 11-bit EXTENDED-LEVEL). */
MOXAPI MoxStatus moxiDecodeCoeffsInter_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int modQFlag, int scan);
/* H.263 intra: advIntra 0 keeps pCoef[0] (INTRADC) and starts at position 1; else Annex I Table I.2 from position 0. */
MOXAPI MoxStatus moxiDecodeCoeffsIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int advIntraFlag, int modQFlag, int scan);
/* 8-bit INTRADC: 0 and 128 are moxStsVLCErr, 255 gives 128. */
MOXAPI MoxStatus moxiDecodeDCIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pDC);
/* H.263 inter, |REC| = QP(2|L|+1), minus 1 for even QP, clamped to -2048..2047; zigzag. */
MOXAPI MoxStatus moxiReconstructCoeffsInter_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int QP, int modQFlag);
/* H.263 intra: advIntra 0: pCoef[0] kept, AC as inter; 1, 2, 3: Annex I, |REC| = 2QP|L| from position 0, zigzag, alternate vertical, alternate horizontal scan. */
MOXAPI MoxStatus moxiReconstructCoeffsIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int QP, int advIntraFlag, int modQFlag);
/* H.261 TCOEFF in zigzag order up to EOB; intra reads the 8-bit DC first (stored as H.263 INTRADC), inter takes a first 1s as run 0 level 1. */
MOXAPI MoxStatus moxiDecodeCoeffsIntra_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero);
MOXAPI MoxStatus moxiDecodeCoeffsInter_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero);
/* H.261 with REC = L*2QP +/- (QP odd ? QP : QP - 1) clamped to -2048..2047; intra DC = 8 * DC (255: 1024). */
MOXAPI MoxStatus moxiReconstructCoeffsIntra_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int QP);
MOXAPI MoxStatus moxiReconstructCoeffsInter_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int QP);

/* Encoders mirror the decoders; a level no code can carry is moxStsOutOfRangeErr, checked before writing. */
/* MPEG-4 intra, levels -2047..2047: table code, escape 1, 2 or 3 in that order; or Table B-23 (levels 1..2047 in size). */
MOXAPI MoxStatus moxiEncodeCoeffsIntra_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int rvlcFlag, int dcPresent, int scan);
MOXAPI MoxStatus moxiEncodeCoeffsInter_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int rvlcFlag, int scan);
/* dct_dc_size and dct_dc_differential of dc in -4095..4095 (marker above size 8). */
MOXAPI MoxStatus moxiEncodeDCIntra_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, Mox16s dc, int blockType);
/* H.263 levels -127..127, with modQ -1024..1023 (Annex T extended escape). */
MOXAPI MoxStatus moxiEncodeCoeffsIntra_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int advIntraFlag, int modQFlag, int scan);
MOXAPI MoxStatus moxiEncodeCoeffsInter_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int modQFlag, int scan);
/* INTRADC 1..254; 128 is written as 255. */
MOXAPI MoxStatus moxiEncodeDCIntra_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, Mox16s dc);
/* (end of section: MPEG-4, H.263 and H.261 coefficient decoding and encoding) */

/* ================================================================== MPEG-4 and H.263 quantisation and inverse quantisation
 * One 8x8 block of Mox16s in raster order, in place. Checks: null pointers, then (MPEG-4) the record's
 * mark (moxStsContextMatchErr), then QP (moxStsQPErr: 1..31 for H.263, 1..2^(b-3)-1 for bit depth b),
 * then (H.263 inverse) a negative last index (moxStsOutOfRangeErr). Inverse quantisers touch raster
 * rows 0 .. last / 8 only (a last index above 63 counts as 63). H.263 reconstructs sign(c)(2 QP |c| +
 * adj), adj = QP odd ? QP : QP - 1 (0 with advanced intra, Annex I, DC included), clamped to
 * -2048..2047; the Annex T flag changes no arithmetic. Forward levels are floor(a / (2 QP)) exactly:
 * inter a = |c| - QP/2 (not below 0), intra AC a = |c|, advanced intra a = |c| + QP; magnitudes
 * clamped to 127 when QP < 8 without Annex T (advanced intra: whenever Annex T is off). *pCount
 * receives the number of non-zero levels among the 64. */
/* H.263 forward inter quantisation. */
MOXAPI MoxStatus moxiQuantInter_H263_16s_C1I(Mox16s* pSrcDst, int QP, int* pCount, int modQuantFlag);
/* H.263 forward intra quantisation; without advanced intra the DC becomes (DC + 4) >> 3, 0 -> 1, 255 -> 254. */
MOXAPI MoxStatus moxiQuantIntra_H263_16s_C1I(Mox16s* pSrcDst, int QP, int* pCount, int advIntraFlag, int modQuantFlag);
/* H.263 inverse inter quantisation. */
MOXAPI MoxStatus moxiQuantInvInter_H263_16s_C1I(Mox16s* pSrcDst, int indxLastNonZero, int QP, int modQuantFlag);
/* H.263 inverse intra quantisation; without advanced intra the DC becomes DC * 8 and a last index of 0 leaves the AC alone. */
MOXAPI MoxStatus moxiQuantInvIntra_H263_16s_C1I(Mox16s* pSrcDst, int indxLastNonZero, int QP, int advIntraFlag, int modQuantFlag);

/* MPEG-4 state records live in caller memory of the size GetSize reports (156 bytes inverse, 412
 * forward; the record starts at the pointer rounded up to 16). Init copies the weighting matrix
 * (raster order; NULL selects the H.263 method) and the bit depth b (4..12, else moxStsOutOfRangeErr);
 * a zero matrix entry gives moxStsQPErr. Reconstructed values saturate to -2^(b+3) .. 2^(b+3) - 1;
 * forward levels to +-(2^(b+3) - 1). blockType 0 is luminance, any other value chrominance. */
MOXAPI MoxStatus moxiQuantInvIntraGetSize_MPEG4(int* pSpecSize);
MOXAPI MoxStatus moxiQuantInvInterGetSize_MPEG4(int* pSpecSize);
MOXAPI MoxStatus moxiQuantIntraGetSize_MPEG4(int* pSpecSize);
MOXAPI MoxStatus moxiQuantInterGetSize_MPEG4(int* pSpecSize);
MOXAPI MoxStatus moxiQuantInvIntraInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel);
MOXAPI MoxStatus moxiQuantInvInterInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel);
MOXAPI MoxStatus moxiQuantIntraInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel);
MOXAPI MoxStatus moxiQuantInterInit_MPEG4(const Mox8u* pQuantMatrix, void* pSpec, int bitsPerPixel);
/* ISO/IEC 14496-2 clause 7.4.4 intra: DC x dc_scaler (Table 7-1), AC by the matrix method (2 c W QP / 16, mismatch control on coefficient 63) or the H.263 method. */
MOXAPI MoxStatus moxiQuantInvIntra_MPEG4_16s_C1I(Mox16s* pCoeffs, int indxLastNonZero, const void* pSpec, int QP, int blockType);
/* Inter: ((2 c + sign(c)) W QP) / 16 with mismatch control, or the H.263 method; a negative last index changes nothing. */
MOXAPI MoxStatus moxiQuantInvInter_MPEG4_16s_C1I(Mox16s* pCoeffs, int indxLastNonZero, const void* pSpec, int QP);
/* Forward intra: DC (|DC| + s/2) / s with the DC scaler s; AC floor((16|c|/W rounded + (3 QP + 2)/4) / (2 QP)) or |c| / (2 QP). */
MOXAPI MoxStatus moxiQuantIntra_MPEG4_16s_C1I(Mox16s* pCoeffs, const void* pSpec, int QP, int* pCount, int blockType);
/* Forward inter: floor((16|c|/W rounded) / (2 QP)) with the matrix, else the H.263 inter rule. */
MOXAPI MoxStatus moxiQuantInter_MPEG4_16s_C1I(Mox16s* pCoeffs, const void* pSpec, int QP, int* pCount);
/* (end of section: MPEG-4 and H.263 quantisation and inverse quantisation) */

/* ================================================================== generic Huffman tables */
/* Source table (Mox32s): [0] L, the longest code length 1..32; [1] N, lookup levels 1..32; [2..N+1] level
 * widths 1..16, first level first, summing to at least L; then for lengths 1, 2, ... a count n >= 0 and n
 * entries of that length, ended by a negative count no later than in place of the count for length L + 1.
 * An entry is (code, value) with value in -2^23..2^23-1, or for run/level tables (code, first, second) with
 * first in -128..127 and second in -32768..32767; codes are right-aligned below 2^length and prefix-free.
 * A value of 0xF0F1 (first -15 with second 240) lists a code that decodes as invalid.
 * Built table (Mox32u, library memory): [0] first width w0, [1..2^w0] lookup; further levels are blocks of
 * 1 + 2^w entries, [0] = w; leaf (value << 8) | k, k bits given back; pointer (block index << 8) | 0x80;
 * unused slots 0xF0F101. Builders: null pointers, then a malformed source (moxStsBadArgErr), then an
 * allocation failing or a table of more than 2^24 entries (moxStsMemAllocErr); *ppDstTable set on success only.
 * Decoders use the word cursor; only the low 5 bits of *pBitOffset are used (it is not checked). */
/* Builds a single-value table. */
MOXAPI MoxStatus moxiHuffmanTableInitAlloc_32s(const Mox32s* pSrcTable, Mox32u** ppDstTable);
/* Builds a run/level table: value (second << 8) | (first & 0xFF), for moxiDecodeHuffmanPair_1u16s. */
MOXAPI MoxStatus moxiHuffmanRunLevelTableInitAlloc_32s(const Mox32s* pSrcTable, Mox32u** ppDstTable);
/* Releases a built table (moxFree). */
MOXAPI MoxStatus moxiHuffmanTableFree_32s(Mox32u* pDecodeTable);
/* One code; on a pattern that is no code writes 0xF0F1, leaves the cursor where the lookup left it and returns moxStsBitstreamErr. */
MOXAPI MoxStatus moxiDecodeHuffmanOne_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox32s* pDst, const Mox32u* pDecodeTable);
/* One run/level code into pDst1 (bits 8..15 of the leaf) and pDst2 (bits 16..31); on a pattern that is no code writes nothing, keeps the cursor and returns moxStsBitstreamErr. */
MOXAPI MoxStatus moxiDecodeHuffmanPair_1u16s(Mox32u** ppBitStream, int* pBitOffset, const Mox32u* pDecodeTable, Mox8s* pDst1, Mox16s* pDst2);
/* (end of section: generic Huffman tables) */

/* ================================================================== VC-1 quantisation and inverse quantisation */
/* Blocks of Mox16s coefficients in raster order. Inverse: 16-bit wrap-around, uniform c * quant, non-uniform
 * c * quant + (quant >> 1) for c > 0, - (quant >> 1) for c < 0, 0 stays 0; quant is not checked. pDstSizeNZ
 * receives the last non-zero column + 1 and row + 1 of the scaled block (0, 0 when none); intra blocks keep
 * their DC unchanged, count row 0 always and judge column 0 by the scaled DC. Checks: null pointers, then
 * (inter) roiSize.height, roiSize.width each 4 or 8 (moxStsSizeErr).
 * Forward, in place: non-uniform first moves c towards zero by quant >> 1; then truncating division by
 * quant 2..62 (else moxStsOutOfRangeErr), exact except for quant 19, 21, 27, 41 and 55, whose rounded-down
 * reciprocals give some results one smaller in magnitude (every positive exact multiple: 19 / 19 = 0);
 * intra blocks keep their DC. Checks: null pointer, quant, then (inter) size. */
/* Intra 8x8 inverse quantisation into pDst. */
MOXAPI MoxStatus moxiQuantInvIntraUniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep, Mox32s quant, MoxiSize* pDstSizeNZ);
MOXAPI MoxStatus moxiQuantInvIntraNonuniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep, Mox32s quant, MoxiSize* pDstSizeNZ);
/* Intra 8x8 inverse quantisation in place. */
MOXAPI MoxStatus moxiQuantInvIntraUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize* pDstSizeNZ);
MOXAPI MoxStatus moxiQuantInvIntraNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize* pDstSizeNZ);
/* Inter 8x8, 8x4, 4x8 or 4x4 (roiSize) inverse quantisation into pDst. */
MOXAPI MoxStatus moxiQuantInvInterUniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep, Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ);
MOXAPI MoxStatus moxiQuantInvInterNonuniform_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep, Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ);
/* Inter inverse quantisation in place. */
MOXAPI MoxStatus moxiQuantInvInterUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ);
MOXAPI MoxStatus moxiQuantInvInterNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize, MoxiSize* pDstSizeNZ);
/* Intra 8x8 forward quantisation in place. */
MOXAPI MoxStatus moxiQuantIntraUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant);
MOXAPI MoxStatus moxiQuantIntraNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant);
/* Inter 8x8, 8x4, 4x8 or 4x4 (roiSize) forward quantisation in place. */
MOXAPI MoxStatus moxiQuantInterUniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize);
MOXAPI MoxStatus moxiQuantInterNonuniform_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep, Mox32s quant, MoxiSize roiSize);
/* (end of section: VC-1 quantisation and inverse quantisation) */

/* ================================================================== VC-1 interpolation, inverse transforms, loop filter, overlap smoothing and range mapping */
/* Quarter-sample interpolation record of the plain interpolators. */
typedef struct {
    const Mox8u* pSrc;      /* reference sample at the integer part of the vector (the block's top-left) */
    Mox32s srcStep;
    Mox8u* pDst;
    Mox32s dstStep;
    Mox32s dx, dy;          /* quarter-sample fractions 0..3 (taken modulo 4) */
    MoxiSize size;          /* block width and height (C2R: width in U/V pairs) */
    Mox32s rnd;             /* rounding control 0 or 1 (taken modulo 2) */
} MoxVCQPInterpParams;

/* Block record: the reference plane with its size, the block position, padding and intensity compensation. */
typedef struct {
    const Mox8u* pSrc;              /* top-left sample of the reference plane (field prediction: of the field) */
    Mox32s srcStep;                 /* row step of the frame; doubled for field prediction */
    Mox8u* pDst;
    Mox32s dstStep;
    const Mox8u* pTopFieldLut;      /* 256-entry intensity compensation of top-field (even) lines, or NULL */
    const Mox8u* pBottomFieldLut;   /* 256-entry intensity compensation of bottom-field (odd) lines, or NULL */
    MoxiSize frameSize;             /* reference picture size in frame lines (C2R: width in pairs) */
    MoxiSize blockSize;
    struct { Mox32s x, y; } blockPos;   /* integer block position, anywhere (outside samples repeat the edge) */
    struct { Mox32s dx, dy; } quarterMv; /* quarter-sample fractions */
    Mox32u keepFieldParity;         /* frame prediction: rows outside repeat the edge row of the same field */
    Mox32u isFieldRef;              /* the reference is one field: row step doubled, height halved */
    Mox32u rnd;
    Mox32u isBottomField;           /* field prediction: the bottom-field table applies to the whole block */
} MoxVCBlockICParams;

/* Only null pointers fail (record, pSrc, pDst: moxStsNullPtrErr); sizes select kernels silently. */
/* Bicubic: (w >> 4) + (h >> 4) 0 -> 8x8, 1 -> 16 wide x 8 high, else 16x16. */
MOXAPI MoxStatus moxiInterpolateQPBicubic_VC1_8u_C1R(const MoxVCQPInterpParams* pParams);
/* Bilinear: width 16 -> 16x16; width 8 -> 8x8 (height 8) or 8x4; else 4x4. */
MOXAPI MoxStatus moxiInterpolateQPBilinear_VC1_8u_C1R(const MoxVCQPInterpParams* pParams);
/* Bilinear on interleaved U/V pairs: width 8 -> 8x8 (height 8) or 8x4; else 4x4 pairs. */
MOXAPI MoxStatus moxiInterpolateQPBilinear_VC1_8u_C2R(const MoxVCQPInterpParams* pParams);
/* Block forms read only inside the plane: area x-1..x+w+1, y-1..y+h+1 with edges repeated and samples mapped through the tables. */
/* Bicubic block form (sizes as the plain bicubic). */
MOXAPI MoxStatus moxiInterpolateICBicubicBlock_VC1_8u_C1R(const MoxVCBlockICParams* pParams);
/* Bilinear block form (sizes as the plain bilinear C1R). */
MOXAPI MoxStatus moxiInterpolateICBilinearBlock_VC1_8u_C1R(const MoxVCBlockICParams* pParams);
/* Bilinear block form on interleaved U/V pairs (sizes as the plain C2R). */
MOXAPI MoxStatus moxiInterpolateICBilinearBlock_VC1_8u_C2R(const MoxVCBlockICParams* pParams);

/* Inverse transforms, WxH = 8x8, 8x4 (8 wide, 4 high), 4x8, 4x4: rows (E + 4) >> 3, then columns (E + 64) >> 7, plus 1
 * on the lower half of an 8-point column. Sums wrap at 16 bits before each shift (exact for conforming coefficients).
 * Checks: null pointers, then steps of magnitude below 2W (coefficients) or W (samples) bytes -> moxStsStepErr (negative:
 * bottom-up). pDst may be pSrc. */
/* 8x8 residual of a raster-order coefficient block. */
MOXAPI MoxStatus moxiTransform8x8Inv_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep);
/* 8x4 residual (8-point rows, 4-point columns). */
MOXAPI MoxStatus moxiTransform8x4Inv_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep);
/* 4x8 residual (4-point rows, 8-point columns). */
MOXAPI MoxStatus moxiTransform4x8Inv_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep);
/* 4x4 residual. */
MOXAPI MoxStatus moxiTransform4x4Inv_VC1_16s_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox16s* pDst, Mox32s dstStep);
/* 8x8 residual added to pPred, clamped to 0..255 into pDst (which may be pPred). */
MOXAPI MoxStatus moxiTransform8x8InvAddPred_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, const Mox8u* pPred, Mox32s predStep, Mox8u* pDst, Mox32s dstStep);
/* 8x4 residual added to pPred, clamped. */
MOXAPI MoxStatus moxiTransform8x4InvAddPred_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, const Mox8u* pPred, Mox32s predStep, Mox8u* pDst, Mox32s dstStep);
/* 4x8 residual added to pPred, clamped. */
MOXAPI MoxStatus moxiTransform4x8InvAddPred_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, const Mox8u* pPred, Mox32s predStep, Mox8u* pDst, Mox32s dstStep);
/* 4x4 residual added to pPred, clamped. */
MOXAPI MoxStatus moxiTransform4x4InvAddPred_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, const Mox8u* pPred, Mox32s predStep, Mox8u* pDst, Mox32s dstStep);

/* In-loop deblocking of one edge in place, lines in groups of 4 (bit g of edgeDisabledFlag skips group g); the third line
 * of a group decides whether its other three are filtered, with threshold pQuant (PQUANT, 1..31, else
 * moxStsOutOfRangeErr, checked after the null pointer). The step is not validated. */
/* Luma vertical edge between columns -1 and 0 of pSrcDst, 16 rows. */
MOXAPI MoxStatus moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s pQuant, Mox32u edgeDisabledFlag);
/* Luma horizontal edge between rows -1 and 0 of pSrcDst, 16 columns. */
MOXAPI MoxStatus moxiFilterDeblockingLuma_HorEdge_VC1_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s pQuant, Mox32u edgeDisabledFlag);
/* Chroma vertical edge, 8 rows (bits 0 and 1). */
MOXAPI MoxStatus moxiFilterDeblockingChroma_VerEdge_VC1_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s pQuant, Mox32u edgeDisabledFlag);
/* Chroma horizontal edge, 8 columns (bits 0 and 1). */
MOXAPI MoxStatus moxiFilterDeblockingChroma_HorEdge_VC1_8u_C1IR(Mox8u* pSrcDst, Mox32s srcdstStep, Mox32s pQuant, Mox32u edgeDisabledFlag);

/* Overlap smoothing of the intra samples x0 x1 | x2 x3 of each line across one block edge (the edge before column or row 0
 * of the pointer): ((7 0 0 1), (-1 7 1 1), (1 1 7 -1), (1 0 0 7) applied + r) >> 3 with r = (4, 3, 4, 3) on even lines and
 * (3, 4, 3, 4) on odd ones, sums wrapping at 16 bits. Luma 16 lines, chroma 8; vertical edges come before horizontal ones.
 * 16s8u forms write only the 4 smoothed samples of each line, as clamp(v + 128). Only null pointers are reported. */
/* Luma vertical edge in place: columns -2..1 of 16 rows. */
MOXAPI MoxStatus moxiSmoothingLuma_VerEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep);
/* Luma horizontal edge in place: rows -2..1 of 16 columns. */
MOXAPI MoxStatus moxiSmoothingLuma_HorEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep);
/* Chroma vertical edge in place, 8 rows. */
MOXAPI MoxStatus moxiSmoothingChroma_VerEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep);
/* Chroma horizontal edge in place, 8 columns. */
MOXAPI MoxStatus moxiSmoothingChroma_HorEdge_VC1_16s_C1IR(Mox16s* pSrcDst, Mox32s srcDstStep);
/* Luma vertical edge from 16-bit samples into the same positions around pDst in an 8-bit picture. */
MOXAPI MoxStatus moxiSmoothingLuma_VerEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep);
/* Luma horizontal edge into an 8-bit picture. */
MOXAPI MoxStatus moxiSmoothingLuma_HorEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep);
/* Chroma vertical edge into an 8-bit picture. */
MOXAPI MoxStatus moxiSmoothingChroma_VerEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep);
/* Chroma horizontal edge into an 8-bit picture. */
MOXAPI MoxStatus moxiSmoothingChroma_HorEdge_VC1_16s8u_C1R(const Mox16s* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep);

/* Range mapping and reduction of a plane region (pDst may be pSrc). Checks: null pointers, size not positive
 * (moxStsSizeErr), then the mapping value (moxStsOutOfRangeErr). */
/* RANGE_MAPY / RANGE_MAPUV 0..7: clamp((((Y - 128) * (rangeMapValue + 9) + 4) >> 3) + 128). */
MOXAPI MoxStatus moxiRangeMapping_VC1_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, MoxiSize roiSize, Mox32s rangeMapValue);
/* RANGEREDFRM scaling: scaleUp nonzero clamp((Y - 128) * 2 + 128), else ((Y - 128) >> 1) + 128. */
MOXAPI MoxStatus moxiRangeReduction_VC1_8u_C1R(const Mox8u* pSrc, Mox32s srcStep, Mox8u* pDst, Mox32s dstStep, MoxiSize roiSize, Mox32s scaleUp);
/* (end of section: VC-1 interpolation, inverse transforms, loop filter, overlap smoothing and range mapping) */

#ifdef __cplusplus
}
#endif

#endif /* MOXVC_H */
