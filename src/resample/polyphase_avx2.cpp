// SPDX-License-Identifier: Apache-2.0
// The AVX2 dot product of the fixed-ratio resampler. The run in
// polyphase_kernels.hpp chooses it once per call; it gives the same bits as
// the baseline kernel.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in builds
// without the AVX2 kernels.
#if defined(ZELSR_HAVE_AVX2)

#include "resample/polyphase_avx2.hpp"

#include "simd/avx2.hpp"

namespace zel::resample::avx2 {

namespace v = zel::simd::avx2;

float dotSingle(const float* x, const float* h, int L) {
    // Lanes 0-3 of ab are the baseline's sum a, lanes 4-7 its sum b; cd
    // holds c and d. A 16-tap round feeds each exactly as there.
    v::F32x8 ab = v::zero8f(), cd = v::zero8f();
    int k = 0;
    for (; k + 16 <= L; k += 16) {
        ab = v::add(ab, v::mul(v::loadu8f(x + k), v::loadu8f(h + k)));
        cd = v::add(cd, v::mul(v::loadu8f(x + k + 8), v::loadu8f(h + k + 8)));
    }
    float s[16];
    v::storeu(s, ab);
    v::storeu(s + 8, cd);
    // The last groups of four go to sum a, lane by lane.
    for (; k < L; k += 4)
        for (int l = 0; l < 4; ++l) s[l] = s[l] + x[k + l] * h[k + l];
    float acc[4];
    for (int l = 0; l < 4; ++l) acc[l] = (s[l] + s[4 + l]) + (s[8 + l] + s[12 + l]);
    return (acc[0] + acc[1]) + (acc[2] + acc[3]);
}

}  // namespace zel::resample::avx2

#endif  // ZELSR_HAVE_AVX2
