// SPDX-License-Identifier: Apache-2.0
// The entry points of the wide DCT lifter kernels, one set per instruction
// set (dct_lifter_avx2.cpp, dct_lifter_avx512.cpp): the sums of one frame
// from singles, 16-bit or 32-bit integers, with the bits of the baseline
// kernel. The exported functions choose a set once per call.
#pragma once

#include <stdint.h>

#include "frontend/dct_lifter_record.hpp"

namespace zel::lifter {

namespace avx2 {
void cepstrum(const float* src, float* dst, const Record& st);
void cepstrum(const int16_t* src, float* dst, const Record& st);
void cepstrum(const int32_t* src, float* dst, const Record& st);
}  // namespace avx2
namespace avx512 {
void cepstrum(const float* src, float* dst, const Record& st);
void cepstrum(const int16_t* src, float* dst, const Record& st);
void cepstrum(const int32_t* src, float* dst, const Record& st);
}  // namespace avx512

}  // namespace zel::lifter
