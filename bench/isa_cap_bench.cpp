// SPDX-License-Identifier: Apache-2.0
// ZELSR_BENCH_MAX_ISA=baseline (or avx2) caps the instruction set of every
// benchmark of the run, as setMaxIsaForTesting does for the per-path
// variants, so that a whole run of an x86-64 build can be set beside a run
// of the portable build, whose only path is the baseline one. Benchmarks
// that choose their own path still do.
#include <stdlib.h>
#include <string.h>

#include "frame/dispatch.hpp"

namespace {

struct IsaCapFromEnvironment {
    IsaCapFromEnvironment() {
        const char* cap = getenv("ZELSR_BENCH_MAX_ISA");
        if (cap == nullptr) return;
        if (strcmp(cap, "baseline") == 0) zel::setMaxIsaForTesting(zel::Isa::kBaseline);
        else if (strcmp(cap, "avx2") == 0) zel::setMaxIsaForTesting(zel::Isa::kAvx2);
    }
} gIsaCapFromEnvironment;

}  // namespace
