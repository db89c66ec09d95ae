// SPDX-License-Identifier: Apache-2.0
// The vector formulas of the feature extractor's own stages, written once
// over a set of lanes L (four lanes in the baseline and portable builds,
// eight in the AVX2 file): L gives the vector type F, the integer type I,
// kWidth and the vocabulary's operations as static functions. Every lane
// computes alone with separate multiplies and adds, so every width gives
// the same bits. This header includes no vocabulary itself: the baseline and
// the AVX2 files each bring their own.
#pragma once

#include <math.h>

namespace zel::features::lanes {

// f[j] = (x[j] - a x[j-1]) w[j] for j from `j` while a whole vector fits
// below n; returns where it stopped.
template <class L>
int window(const float* x, const float* w, float a, int j, int n, float* f) {
    const typename L::F va = L::set1(a);
    for (; j + L::kWidth <= n; j += L::kWidth) {
        const typename L::F cur = L::loadu(x + j), prev = L::loadu(x + j - 1);
        L::storeu(f + j, L::mul(L::sub(cur, L::mul(va, prev)), L::loadu(w + j)));
    }
    return j;
}

// p[k] = re^2 + im^2 of interleaved pairs while a whole vector fits below
// bins; returns where it stopped.
template <class L>
int power(const float* sp, int bins, float* p) {
    int k = 0;
    for (; k + L::kWidth <= bins; k += L::kWidth) {
        typename L::F re, im;
        L::splitPairs(sp + 2 * k, re, im);
        L::storeu(p + k, L::add(L::mul(re, re), L::mul(im, im)));
    }
    return k;
}

// ln x of positive normal lanes: x = m 2^e with m in [sqrt(1/2), sqrt(2)),
// ln(1 + f) of f = m - 1 by a degree-nine polynomial (within about one unit
// in the last place), plus e ln 2 in two parts.
template <class L>
typename L::F lnNormal(typename L::F x) {
    using F = typename L::F;
    using I = typename L::I;
    const I bits = L::asInt(x);
    const I e = L::sub(L::sra(bits, 23), L::set1i(127));
    const F m = L::asFloat(L::sub(bits, L::sll(e, 23)));  // in [1, 2)
    const F big = L::cmple(L::set1(1.41421356f), m);
    const F f = L::sub(L::select(big, L::mul(m, L::set1(0.5f)), m), L::set1(1.0f));
    const F ef = L::add(L::cvt(e), L::select(big, L::set1(1.0f), L::zero()));
    const F z = L::mul(f, f);
    F y = L::set1(7.0376836292e-2f);
    y = L::add(L::mul(y, f), L::set1(-1.1514610310e-1f));
    y = L::add(L::mul(y, f), L::set1(1.1676998740e-1f));
    y = L::add(L::mul(y, f), L::set1(-1.2420140846e-1f));
    y = L::add(L::mul(y, f), L::set1(1.4249322787e-1f));
    y = L::add(L::mul(y, f), L::set1(-1.6668057665e-1f));
    y = L::add(L::mul(y, f), L::set1(2.0000714765e-1f));
    y = L::add(L::mul(y, f), L::set1(-2.4999993993e-1f));
    y = L::add(L::mul(y, f), L::set1(3.3333331174e-1f));
    y = L::mul(L::mul(y, f), z);
    y = L::add(y, L::mul(ef, L::set1(-2.12194440e-4f)));
    y = L::add(y, L::mul(z, L::set1(-0.5f)));
    return L::add(L::add(f, y), L::mul(ef, L::set1(0.693359375f)));
}

// ln(max(x, floor)) of one vector; a NaN takes the floor. Lanes the
// polynomial does not cover (subnormal floors, infinities) go through the C
// library's logarithm.
template <class L>
typename L::F lnFloored1(typename L::F x, float floorV) {
    const typename L::F fl = L::set1(floorV);
    x = L::select(L::cmpgt(x, fl), x, fl);
    if (L::movemask(L::cmplt(x, L::set1(1.17549435e-38f))) | L::movemask(L::cmpeq(x, L::set1(INFINITY)))) {
        float t[L::kWidth];
        L::storeu(t, x);
        for (float& u : t) u = logf(u);
        return L::loadu(t);
    }
    return lnNormal<L>(x);
}

// v[i] = ln(max(v[i], floor)) in place; the last partial vector is padded
// with the floor.
template <class L>
void lnFloored(float* v, int len, float floorV) {
    int i = 0;
    for (; i + L::kWidth <= len; i += L::kWidth) L::storeu(v + i, lnFloored1<L>(L::loadu(v + i), floorV));
    if (i < len) {
        float t[L::kWidth];
        for (int k = 0; k < L::kWidth; ++k) t[k] = i + k < len ? v[i + k] : floorV;
        L::storeu(t, lnFloored1<L>(L::loadu(t), floorV));
        for (int k = i; k < len; ++k) v[k] = t[k - i];
    }
}

}  // namespace zel::features::lanes
