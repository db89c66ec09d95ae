// SPDX-License-Identifier: Apache-2.0
// The AVX2 instance of the blocked linear scan (vq_scan_kernels.hpp): eight
// queries per block, three rows per step. The scan is chosen once per call
// and gives the bits of the baseline scan.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX2)

#include <immintrin.h>

#include "vq/vq_scan_kernels.hpp"

namespace zel::vq::scan::avx2 {

namespace {
struct Lanes8 {
    using F = __m256;
    using I = __m256i;
    using M = __m256;
    static constexpr int kLanes = 8;
    static F load(const float* p) { return _mm256_loadu_ps(p); }
    static F set1(float x) { return _mm256_set1_ps(x); }
    static F zero() { return _mm256_setzero_ps(); }
    static F add(F a, F b) { return _mm256_add_ps(a, b); }
    static F sub(F a, F b) { return _mm256_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static M less(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LT_OQ); }
    static F pick(M m, F a, F b) { return _mm256_blendv_ps(b, a, m); }
    static I index(int32_t i) { return _mm256_set1_epi32(i); }
    static I pickIndex(M m, I a, I b) {
        return _mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(b), _mm256_castsi256_ps(a), m));
    }
    static void store(float* p, F a) { _mm256_storeu_ps(p, a); }
    static void storeIndex(int32_t* p, I a) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a); }
};
static_assert(Lanes8::kLanes == kLanes);
}  // namespace

void nearestBlock(const ScanTable& t, const float* xt, int32_t* idx, float* sq) {
    scan::nearestBlock<Lanes8, 1, 3>(t, xt, idx, sq);
}

}  // namespace zel::vq::scan::avx2

#endif
