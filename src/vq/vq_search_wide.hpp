// SPDX-License-Identifier: Apache-2.0
// What the linear scan hands to the kernels of vq_search_avx2.cpp and
// vq_search_avx512.cpp. Only declarations and plain records: this header is
// read by files of every instruction set.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zel::vq::scan {

// A full codebook as singles: nEntries rows of width elements, `stride`
// elements apart, and the weights (null when all are 1).
struct ScanTable {
    const float* table;
    ptrdiff_t stride;
    int nEntries;
    int width;
    const float* weights;
};

// The nearest row of each of kLanes queries laid out column by column
// (column j of query q at xt[j * kLanes + q]; kLanes is the block, one
// register per block here): indices to idx, squared
// distances to sq. nEntries is at least 1.
#define ZELSR_WIDE_VQ_KERNELS void nearestBlock(const ScanTable& t, const float* xt, int32_t* idx, float* sq);

namespace avx2 {
inline constexpr int kLanes = 8;
ZELSR_WIDE_VQ_KERNELS
}  // namespace avx2
namespace avx512 {
inline constexpr int kLanes = 16;
ZELSR_WIDE_VQ_KERNELS
}  // namespace avx512
#undef ZELSR_WIDE_VQ_KERNELS

}  // namespace zel::vq::scan
