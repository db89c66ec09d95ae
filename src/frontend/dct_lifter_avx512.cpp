// SPDX-License-Identifier: Apache-2.0
// The DCT lifter on AVX-512: four grouped rows per register, sixteen per
// transpose. Compiled for AVX-512 only, and empty in builds without those
// kernels.
#if defined(ZELSR_HAVE_AVX512)
#include "simd/avx512.hpp"

#include "frontend/dct_lifter_wide.hpp"
#include "frontend/dct_lifter_wide_kernels.hpp"

namespace zel::lifter::avx512 {
namespace {

struct K : simd::avx512::Blocks {
    // The first n singles (n below 8) in a 256-bit register, zeros after them.
    static __m256 first8(const float* p, int n) { return _mm256_maskz_loadu_ps(static_cast<__mmask8>((1u << n) - 1), p); }
    // The same four singles in every block.
    static F every(__m128 x) { return _mm512_broadcast_f32x4(x); }
    // Lane u of block b holds the sum of row 4u + b of the unit: rows in order.
    static F rowOrder(F v) {
        return _mm512_permutexvar_ps(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
    }
    static void storeFirst(float* p, F v, int n) { _mm512_mask_storeu_ps(p, static_cast<__mmask16>((1u << n) - 1), v); }
};

}  // namespace

void cepstrum(const float* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Floats<K>>(src, dst, st); }
void cepstrum(const int16_t* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Shorts<K>>(src, dst, st); }
void cepstrum(const int32_t* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Ints<K>>(src, dst, st); }

}  // namespace zel::lifter::avx512

#endif
