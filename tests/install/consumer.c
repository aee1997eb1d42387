/* A caller built only on the installed public header and libraries. */
#include <moxvc.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    const MoxLibraryVersion* v = moxvcGetLibVersion();
    Mox8u a[16], b[16];
    Mox16s d[16];
    memset(a, 9, sizeof a);
    memset(b, 4, sizeof b);
    if (moxiSub4x4_8u16s_C1R(a, 4, b, 4, d, 8) != moxStsNoErr || d[15] != 5) return 1;
    void* p = moxMalloc(100);
    moxFree(p);
    printf("%s %s\n", v->Name, v->Version);
    return v->major == 6 && v->minor == 1 ? 0 : 1;
}
