/* A small program on zelsr: prints the version record. */
#include <stdio.h>

#include "zelsr.h"

int main(void) {
    const ZelLibraryVersion* v = zelsrGetLibVersion();
    printf("%s %s (%d.%d.%d.%d, cpu %s, built %s)\n", v->Name, v->Version, v->major, v->minor,
           v->majorBuild, v->build, v->targetCpu, v->BuildDate);
    return 0;
}
