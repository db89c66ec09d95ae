// SPDX-License-Identifier: Apache-2.0
// The wide kernels of the dynamic features, written once over a pack P of
// lanes (P::kLanes columns of one row, of which the first n are read and
// written) and instantiated in the AVX2 and AVX-512 files only; the pack
// types live in those files' namespaces, so the two instruction sets never
// share a compiled copy.
//
// Every element is one formula of delta_rules.hpp, so any grouping of
// elements into lanes gives the bits of the baseline kernels.
//
// The streaming windows take the steady rows a group of columns at a time and
// walk down the frames with the window rows held in registers: each frame's
// static row enters the window as it is stored, the delta it completes enters
// the delta window, and nothing just stored is read back from memory.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "frontend/delta_rules.hpp"

namespace zel::delta::wide {

template <class P>
using RulesOf = std::conditional_t<std::is_same_v<typename P::E, float>, FloatRules<P>, ShortRules<P>>;

// A multiplier block for columns j .. j + n - 1.
template <class P, class E>
typename P::V factor(const Splat<E>& m, int, int) {
    return P::splat(m.value);
}
template <class P, class E>
typename P::V factor(const Table<E>& m, int j, int n) {
    return P::load(m.p + m.offset + j, n);
}
template <class P>
typename P::V factor(const Copy&, int, int) {
    return P::splat(1);
}

// Rows r.from .. r.to of a stream whose windows are all in place: statics of
// rows from - 2A .. from - 1 and, with B > 0, deltas of rows from - A - 2B ..
// from - A - 1 are stored already.
template <class P, int A, int B, class SM, class DM, class EM>
void steady(const SteadyRows<typename P::E>& r, const SM& sm, const DM& dm, const EM& em) {
    using E = typename P::E;
    using V = typename P::V;
    using R = RulesOf<P>;
    const int w = r.width, sf = r.sf;
    for (int j = 0; j < w; j += P::kLanes) {
        const int n = w - j < P::kLanes ? w - j : P::kLanes;
        E* const base = r.dst + j;
        auto row = [&](int t) { return base + ptrdiff_t(t) * r.step; };
        V s[2 * A + 1], d[2 * B + 1];
        for (int k = 0; k < 2 * A; ++k) s[k] = P::load(row(r.from - 2 * A + k), n);
        if constexpr (B > 0)
            for (int k = 0; k < 2 * B; ++k) d[k] = P::load(row(r.from - A - 2 * B + k) + w, n);
        const V ms = factor<P>(sm, j, n), md = factor<P>(dm, j, n), me = factor<P>(em, j, n);
        const E* in = r.in + j;
        for (int t = r.from; t <= r.to; ++t, in += w) {
            V x = P::load(in, n);
            if constexpr (!std::is_same_v<SM, Copy>) x = R::scaled(x, ms, sf);
            P::store(row(t), x, n);
            s[2 * A] = P::kept(x);
            V dv = R::diff(s[A + 1], s[A - 1]);
            if constexpr (A == 2) dv = R::win2(dv, R::diff(s[4], s[0]));
            dv = R::scaled(dv, md, sf);
            P::store(row(t - A) + w, dv, n);
            for (int k = 0; k < 2 * A; ++k) s[k] = s[k + 1];
            if constexpr (B > 0) {
                d[2 * B] = P::kept(dv);
                V ev = R::diff(d[B + 1], d[B - 1]);
                if constexpr (B == 2) ev = R::win2(ev, R::diff(d[4], d[0]));
                ev = R::scaled(ev, me, sf);
                P::store(row(t - A - B) + 2 * w, ev, n);
                for (int k = 0; k < 2 * B; ++k) d[k] = d[k + 1];
            }
        }
    }
}

// The in-place regression, row by row as the baseline kernel goes, with the
// same grouping of k for floats.
template <class P, class M>
void evalDelta(const InPlaceRows<typename P::E>& r, const M& m) {
    using E = typename P::E;
    using V = typename P::V;
    using R = RulesOf<P>;
    const int w = r.radius;
    const E* first = r.p + r.offset;
    const E* lastRow = r.p + ptrdiff_t(r.height - 1) * r.step + r.offset;
    for (int t = 0; t < r.height; ++t) {
        const bool head = t < w, tail = t >= r.height - w;
        const E* here = r.p + ptrdiff_t(t) * r.step + r.offset;
        E* out = r.p + ptrdiff_t(t) * r.step + r.offset + r.width;
        for (int j = 0; j < r.width; j += P::kLanes) {
            const int n = r.width - j < P::kLanes ? r.width - j : P::kLanes;
            auto term = [&](int k) {
                const E* lo = head ? first : here - ptrdiff_t(k) * r.step;
                const E* hi = tail ? lastRow : here + ptrdiff_t(k) * r.step;
                return P::mul(P::splat(k), R::diff(P::load(hi + j, n), P::load(lo + j, n)));
            };
            V sum = P::splat(0);
            int k = 1;
            if constexpr (std::is_same_v<E, float>) {
                if (w >= 8) {
                    V a[4], b[4];
                    for (int l = 0; l < 4; ++l) a[l] = b[l] = P::splat(0.0f);
                    for (; k + 7 <= w; k += 8)
                        for (int l = 0; l < 4; ++l) {
                            a[l] = P::add(a[l], term(k + l));
                            b[l] = P::add(b[l], term(k + 4 + l));
                        }
                    sum = P::add(P::add(P::add(P::add(a[0], b[0]), P::add(a[1], b[1])), P::add(a[2], b[2])),
                                 P::add(a[3], b[3]));
                }
            }
            for (; k <= w; ++k) sum = P::add(sum, term(k));
            P::store(out + j, R::scaled(sum, factor<P>(m, j, n), r.shift), n);
        }
    }
}

}  // namespace zel::delta::wide
