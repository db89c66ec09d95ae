// SPDX-License-Identifier: Apache-2.0
// The entry points of the wide dynamic-feature kernels, one set per
// instruction set (delta_avx2.cpp, delta_avx512.cpp). The exported functions
// choose a set once per call; every set gives the bits of the baseline kernels.
#pragma once

#include "frontend/delta_rules.hpp"

namespace zel::delta {

#define ZELSR_DELTA_WIDE_ENTRIES                                                                   \
    template <int A, int B, class E, class SM, class DM, class EM>                                 \
    void steady(const SteadyRows<E>& rows, const SM& sm, const DM& dm, const EM& em);             \
    template <class E, class M>                                                                    \
    void evalDelta(const InPlaceRows<E>& rows, const M& m);

namespace avx2 {
ZELSR_DELTA_WIDE_ENTRIES
}
namespace avx512 {
ZELSR_DELTA_WIDE_ENTRIES
}

#undef ZELSR_DELTA_WIDE_ENTRIES

}  // namespace zel::delta
