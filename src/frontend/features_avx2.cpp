// SPDX-License-Identifier: Apache-2.0
// The feature extractor's own stages on eight lanes (features_lanes.hpp),
// chosen once per call by the extractor; the bits are those of four lanes.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX2)

#include <stdint.h>

#include "simd/avx2.hpp"

#include "frontend/features_lanes.hpp"

namespace zel::features::avx2 {

namespace {

namespace v = simd::avx2;

struct Lanes8 {
    using F = v::F32x8;
    using I = v::I32x8;
    static constexpr int kWidth = 8;
    static F loadu(const float* p) { return v::loadu8f(p); }
    static void storeu(float* p, F a) { v::storeu(p, a); }
    static F set1(float x) { return v::set1(x); }
    static I set1i(int32_t x) { return v::set1(x); }
    static F zero() { return v::zero8f(); }
    static F add(F a, F b) { return v::add(a, b); }
    static F sub(F a, F b) { return v::sub(a, b); }
    static F mul(F a, F b) { return v::mul(a, b); }
    static I sub(I a, I b) { return v::sub(a, b); }
    static I sra(I a, int n) { return v::sra(a, n); }
    static I sll(I a, int n) { return v::sll(a, n); }
    static F cvt(I a) { return v::cvt8f(a); }
    static F asFloat(I a) { return v::asFloat(a); }
    static I asInt(F a) { return v::asInt(a); }
    static F cmplt(F a, F b) { return v::cmplt(a, b); }
    static F cmple(F a, F b) { return v::cmple(a, b); }
    static F cmpgt(F a, F b) { return v::cmpgt(a, b); }
    static F cmpeq(F a, F b) { return v::cmpeq(a, b); }
    static F select(F m, F a, F b) { return v::select(m, a, b); }
    static int movemask(F m) { return v::movemask(m); }
    // Eight (re, im) pairs: pairs 0-1 and 4-5 in the halves of one load,
    // 2-3 and 6-7 in the other, so that each half's even and odd lanes are
    // four consecutive parts.
    static void splitPairs(const float* p, F& re, F& im) {
        const F lo = v::loadPair(p, p + 8), hi = v::loadPair(p + 4, p + 12);
        re = v::evenLanes(lo, hi);
        im = v::oddLanes(lo, hi);
    }
};

}  // namespace

int window(const float* x, const float* w, float a, int j, int n, float* f) {
    return lanes::window<Lanes8>(x, w, a, j, n, f);
}
int power(const float* sp, int bins, float* p) { return lanes::power<Lanes8>(sp, bins, p); }
void lnFloored(float* v, int len, float floorV) { lanes::lnFloored<Lanes8>(v, len, floorV); }

}  // namespace zel::features::avx2

#endif
