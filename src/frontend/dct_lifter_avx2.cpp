// SPDX-License-Identifier: Apache-2.0
// The DCT lifter on AVX2: two grouped rows per register, eight per
// transpose. Compiled for AVX2 only, and empty in builds without those
// kernels.
#if defined(ZELSR_HAVE_AVX2)
#include "simd/avx2.hpp"

#include "frontend/dct_lifter_wide.hpp"
#include "frontend/dct_lifter_wide_kernels.hpp"

namespace zel::lifter::avx2 {
namespace {

struct K : simd::avx2::Blocks {
    // The first n singles (n below 8) in a 256-bit register, zeros after them.
    static __m256 first8(const float* p, int n) { return loadFirst(p, n); }
    // The same four singles in both blocks.
    static F every(__m128 x) { return _mm256_insertf128_ps(_mm256_castps128_ps256(x), x, 1); }
    // Lane u of block b holds the sum of row 2u + b of the unit: rows in order.
    static F rowOrder(F v) { return _mm256_permutevar8x32_ps(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)); }
    // The first n lanes, four, two and one at a time below eight.
    static void storeFirst(float* p, F v, int n) {
        if (n == 8) return _mm256_storeu_ps(p, v);
        __m128 h = _mm256_castps256_ps128(v);
        if (n & 4) {
            _mm_storeu_ps(p, h);
            h = _mm256_extractf128_ps(v, 1);
            p += 4;
        }
        if (n & 2) {
            _mm_storel_pi(reinterpret_cast<__m64*>(p), h);
            h = _mm_movehl_ps(h, h);
            p += 2;
        }
        if (n & 1) _mm_store_ss(p, h);
    }
};

}  // namespace

void cepstrum(const float* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Floats<K>>(src, dst, st); }
void cepstrum(const int16_t* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Shorts<K>>(src, dst, st); }
void cepstrum(const int32_t* src, float* dst, const Record& st) { wide::cepstrum<K, wide::Ints<K>>(src, dst, st); }

}  // namespace zel::lifter::avx2

#endif
