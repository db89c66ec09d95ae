/* SPDX-License-Identifier: Apache-2.0 */
/* A C99 program that finds an installed zelsr and calls it. */
#include <stdio.h>
#include <string.h>

#include <zelcore.h>
#include <zelsr.h>

int main(void) {
    const ZelLibraryVersion* v = zelsrGetLibVersion();
    void* p = zelMalloc(100);
    int ok = v != NULL && v->major == 6 && strncmp(v->Name, "zelsrp8-6.0.dll", 15) == 0 && p != NULL;
    zelFree(p);
    printf("%s\n", ok ? "ok" : "failed");
    return ok ? 0 : 1;
}
