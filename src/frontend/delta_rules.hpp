// SPDX-License-Identifier: Apache-2.0
// The per-element rules of the dynamic features and their multipliers,
// written over a pack P of lanes and free of any vector vocabulary, so that
// the baseline kernels (delta_kernels.hpp) and the wide ones
// (delta_wide_kernels.hpp) share one formula for every element.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zel::delta {

// ---- The arithmetic rules of the two element types ---------------------------

// Floats: plain differences, a radius-two sum added d1 + d2 + d2 from the
// left, and a product with the multiplier.
template <class P>
struct FloatRules : P {
    using V = typename P::V;
    static V diff(V a, V b) { return P::sub(a, b); }
    static V win2(V d1, V d2) { return P::add(P::add(d1, d2), d2); }
    static V scaled(V v, V m, int) { return P::mul(v, m); }
};
// 16 bits: differences wrap, the radius-two term is doubled and added with
// 16-bit saturation, and a result is the exact product shifted by the scale
// factor, saturated when stored.
template <class P>
struct ShortRules : P {
    using V = typename P::V;
    static V diff(V a, V b) { return P::wrap16(P::sub(a, b)); }
    static V win2(V d1, V d2) { return P::clamp16(P::add(d1, P::clamp16(P::add(d2, d2)))); }
    static V scaled(V v, V m, int s) { return P::shift(P::mul(v, m), s); }
};

// ---- Multipliers: one value for the whole block, or one per element -----------

template <class E>
struct Splat {
    E value;
    template <class P>
    typename P::V at(int) const { return P::splat(value); }
};
// The offset is added only when read, so a null table is never offset before its check.
template <class E>
struct Table {
    const E* p;
    ptrdiff_t offset = 0;
    template <class P>
    typename P::V at(int j) const { return P::load(p + offset + j); }
};
// Statics copied unchanged.
struct Copy {};

// The steady rows of one streaming call, for the wide kernels: frames from
// `from` to `to` (rows of pDst) have every window row in place, so that no
// index is clamped; `in` is the source row of frame `from`.
template <class E>
struct SteadyRows {
    const E* in;
    int width;
    E* dst;
    ptrdiff_t step;
    int from, to;
    int sf;
};

// The in-place regression of evalDelta, for the wide kernels.
template <class E>
struct InPlaceRows {
    E* p;
    int height;
    ptrdiff_t step;
    int width, offset, radius;
    int shift;  // scaleFactor & 31
};

}  // namespace zel::delta
