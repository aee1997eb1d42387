// Argument-checking idiom shared by every exported wrapper.
//
// A wrapper tests its required pointers first (all give moxStsNullPtrErr, so
// their order among themselves cannot be observed), then its value checks in
// the order its family states, and only then runs its kernel:
//
//   MOX_FN moxiFoo_8u_C1R(const Mox8u* pSrc, int srcStep, Mox8u* pDst, int qp) {
//       MOX_CHECK_PTRS(pSrc, pDst);
//       MOX_CHECK(qp >= 0 && qp <= 51, moxStsOutOfRangeErr);
//       foo_kernel(pSrc, srcStep, pDst, qp);
//       return moxStsNoErr;
//   }
#pragma once

#include "moxvc.h"

namespace mox {

template <class... P>
constexpr bool anyNull(const P*... p) {
    return ((p == nullptr) || ...);
}

}  // namespace mox

#define MOX_FN extern "C" MOXAPI MoxStatus
// An entry point with every call inside it inlined.
#define MOX_FN_INLINE extern "C" MOXAPI __attribute__((flatten)) MoxStatus
// A helper forced inline, so that a kernel's state stays in registers.
#define MOX_INLINE inline __attribute__((always_inline))

#define MOX_CHECK_PTRS(...)                                  \
    do {                                                     \
        if (::mox::anyNull(__VA_ARGS__)) return moxStsNullPtrErr; \
    } while (0)

#define MOX_CHECK(cond, status)          \
    do {                                 \
        if (!(cond)) return (status);    \
    } while (0)
