// SPDX-License-Identifier: Apache-2.0
// The toolkit's thread policy for element-wise kernels. A kernel runs on the
// calling thread below its length threshold, or when the runtime offers fewer
// than two threads; otherwise it runs in a parallel region of at most two
// threads, each taking len / threads elements and the last the remainder as
// well. A kernel reports whether it met its warning case; any report turns
// into the warning status of the whole call.
#pragma once

#include "core/zelcore_own.h"
#include "zelsr.h"

#ifdef _OPENMP
#include <omp.h>
#endif

namespace zel {

// `body(start, count)` returns true when its warning case occurred.
template <class Body>
ZelStatus runSplit(int len, int threshold, ZelStatus warning, Body body) {
    if (len < threshold) return body(0, len) ? warning : zelStsNoErr;
    int n = ownGetNumThreads();
    if (n < 2 || len < n) return body(0, len) ? warning : zelStsNoErr;
    int warned = 0;
#ifdef _OPENMP
    int chunk = 0, rest = 0, threads = 1;
    // If the runtime refuses to fork, the region is serialized: one thread takes it all.
#pragma omp parallel num_threads(2) shared(chunk, rest, threads, warned)
    {
#pragma omp single
        {
            threads = omp_get_num_threads();
            chunk = len / threads;
            rest = len % threads;
        }
        // The single construct ends in a barrier, so every thread sees the chunk.
        int t = omp_get_thread_num();
        int count = chunk + (t == threads - 1 ? rest : 0);
        if (body(t * chunk, count)) {
#pragma omp atomic write
            warned = 1;
        }
    }
#else
    warned = body(0, len);
#endif
    return warned ? warning : zelStsNoErr;
}

}  // namespace zel
