// SPDX-License-Identifier: Apache-2.0
// The AVX-512 instance of the blocked linear scan (vq_scan_kernels.hpp):
// sixteen queries per block, six rows per step (24 partial sums in
// registers). The scan is chosen once per call and gives the bits of the
// baseline scan.
//
// This file is compiled for AVX-512 (see CMakeLists.txt) and is empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX512)

#include <immintrin.h>

#include "vq/vq_scan_kernels.hpp"

namespace zel::vq::scan::avx512 {

namespace {
struct Lanes16 {
    using F = __m512;
    using I = __m512i;
    using M = __mmask16;
    static constexpr int kLanes = 16;
    static F load(const float* p) { return _mm512_loadu_ps(p); }
    static F set1(float x) { return _mm512_set1_ps(x); }
    static F zero() { return _mm512_setzero_ps(); }
    static F add(F a, F b) { return _mm512_add_ps(a, b); }
    static F sub(F a, F b) { return _mm512_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm512_mul_ps(a, b); }
    static M less(F a, F b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }
    static F pick(M m, F a, F b) { return _mm512_mask_blend_ps(m, b, a); }
    static I index(int32_t i) { return _mm512_set1_epi32(i); }
    static I pickIndex(M m, I a, I b) { return _mm512_mask_blend_epi32(m, b, a); }
    static void store(float* p, F a) { _mm512_storeu_ps(p, a); }
    static void storeIndex(int32_t* p, I a) { _mm512_storeu_si512(p, a); }
};
static_assert(Lanes16::kLanes == kLanes);
}  // namespace

void nearestBlock(const ScanTable& t, const float* xt, int32_t* idx, float* sq) {
    scan::nearestBlock<Lanes16, 1, 6>(t, xt, idx, sq);
}

}  // namespace zel::vq::scan::avx512

#endif
