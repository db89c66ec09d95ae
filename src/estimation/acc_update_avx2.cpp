// SPDX-License-Identifier: Apache-2.0
// The AVX2 path of zelsAccCovarianceMatrix: the same accumulation as the
// baseline, compiled for AVX2, where the products of four frames go into
// four matrix elements per instruction instead of two. The exported
// functions in acc_update.cpp test the arguments and choose this path once
// per call.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in builds
// without the AVX2 kernels.
#if defined(ZELSR_HAVE_AVX2)

#define ZELSR_EST_TARGET avx2
#include "estimation/covariance_kernels.hpp"

#include "estimation/covariance_avx2.hpp"

namespace zel::est::avx2 {

void accumulateCovariance(const float* srcBase, int srcStep, const float* const* srcTable, int height,
                          const float* mean, double* dstBase, int dstStep, double* const* dstTable, int width,
                          double* d) {
    accumulateCovariance(SrcRows<float>{srcBase, srcStep, srcTable}, height, mean, DstRows{dstBase, dstStep, dstTable},
                         width, d);
}
void accumulateCovariance(const int16_t* srcBase, int srcStep, const int16_t* const* srcTable, int height,
                          const int16_t* mean, double* dstBase, int dstStep, double* const* dstTable, int width,
                          double* d) {
    accumulateCovariance(SrcRows<int16_t>{srcBase, srcStep, srcTable}, height, mean,
                         DstRows{dstBase, dstStep, dstTable}, width, d);
}

}  // namespace zel::est::avx2

#endif
