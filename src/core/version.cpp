// The library's version record.
#include "moxvc.h"

namespace {

const char kVersion[] = "6.1 build 137.56";
const char kBuildDate[] = "Mar 17 2010";

// Two constant records that differ only in their name; the "+" one is
// reported on CPUs with AVX2.
const MoxLibraryVersion kPlain = {6, 1, 137, 799, "y8", "libmoxvcy8.so.6.1", kVersion, kBuildDate};
const MoxLibraryVersion kPlus = {6, 1, 137, 799, "y8", "libmoxvcy8.so.6.1+", kVersion, kBuildDate};

}  // namespace

extern "C" MOXAPI const MoxLibraryVersion* moxvcGetLibVersion(void) {
    return ownGetFeature(MOX_CPU_AVX2) ? &kPlus : &kPlain;
}
