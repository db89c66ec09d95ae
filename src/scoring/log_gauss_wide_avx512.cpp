// SPDX-License-Identifier: Apache-2.0
// The AVX-512 instances of the wide Gaussian scoring kernels
// (log_gauss_wide_kernels.hpp). The scoring kernels of every family hand
// their whole row blocks here, chosen once per call, and finish the sums
// themselves; the sums are the bits of the baseline kernels.
//
// This file is compiled for AVX-512 (see CMakeLists.txt) and is empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX512)

#include "simd/avx512.hpp"

#include "scoring/log_gauss_wide_kernels.hpp"

namespace zel::gauss::avx512 {

using V = simd::avx512::Blocks;
static_assert(4 * V::kBlocks == kBlockRows);

void floatSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    wide::floatSums<V>(x, m, w, width, rows, out);
}
void wideSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    wide::wideSums<V>(x, m, w, width, rows, out);
}
void lowSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, WideShifts sh, int32_t* out) {
    wide::lowSums<V>(x, m, w, width, rows, sh, out);
}
void idLowSums(const RowRef& x, const RowRef& m, int width, int rows, int right, int left, int32_t* out) {
    wide::idLowSums<V>(x, m, width, rows, right, left, out);
}

}  // namespace zel::gauss::avx512

#endif
