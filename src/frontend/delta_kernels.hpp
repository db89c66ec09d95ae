// SPDX-License-Identifier: Apache-2.0
// Dynamic features: the streaming windows (radius one and two, once or twice,
// and the Aurora window of radius four) and the in-place regression of any
// radius, on float and 16-bit rows.
//
// Every formula is written once over a "pack": four lanes in a vector for the
// body of a row, or one lane for its tail, with the same operations and the
// same per-lane results. 16-bit data are carried in 32-bit lanes, so that the
// exact products, the wrapping differences and the final saturation are each
// one named step.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "frontend/delta_rules.hpp"
#include "simd/simd.hpp"

namespace zel::delta {

namespace sv = zel::simd;

// ---- Fixed-point steps of this family, on 32-bit values ---------------------

// A count above 31 shifts as 31 does (right) or clears (left), as the vector
// shifts do; positive counts shift right, arithmetic and truncating.
inline int32_t shiftSigned(int32_t v, int s) {
    if (s >= 0) return v >> (s > 31 ? 31 : s);
    return s < -31 ? 0 : int32_t(uint32_t(v) << -s);
}
inline int32_t wrap16(int32_t v) { return int16_t(uint16_t(uint32_t(v))); }
inline int32_t clamp16(int32_t v) { return v > 32767 ? 32767 : (v < -32768 ? -32768 : v); }
// The processor's truncating conversion: out of range and NaN give the most negative integer.
inline int32_t truncate32(float f) {
    if (!(f > -2147483904.0f && f < 2147483648.0f)) return INT32_MIN;
    return int32_t(f);
}

// ---- Packs --------------------------------------------------------------------

struct FloatVec {
    using E = float;
    using V = sv::F32x4;
    static constexpr int kLanes = 4;
    static V load(const float* p) { return sv::loadu4f(p); }
    static void store(float* p, V v) { sv::storeu(p, v); }
    static V splat(float x) { return sv::set1(x); }
    static V add(V a, V b) { return sv::add(a, b); }
    static V sub(V a, V b) { return sv::sub(a, b); }
    static V mul(V a, V b) { return sv::mul(a, b); }
};
struct FloatOne {
    using E = float;
    using V = float;
    static constexpr int kLanes = 1;
    static V load(const float* p) { return *p; }
    static void store(float* p, V v) { *p = v; }
    static V splat(float x) { return x; }
    static V add(V a, V b) { return a + b; }
    static V sub(V a, V b) { return a - b; }
    static V mul(V a, V b) { return a * b; }
};
// 16-bit elements in 32-bit lanes; the store saturates to 16 bits.
struct ShortVec {
    using E = int16_t;
    using V = sv::I32x4;
    using F = sv::F32x4;
    static constexpr int kLanes = 4;
    static V load(const int16_t* p) { return sv::load4sTo32(p); }
    static void store(int16_t* p, V v) { sv::store4sSat(p, v); }
    static V splat(int32_t x) { return sv::set1(x); }
    static V add(V a, V b) { return sv::add(a, b); }
    static V sub(V a, V b) { return sv::sub(a, b); }
    static V mul(V a, V b) { return sv::mullo(a, b); }
    static V wrap16(V a) { return sv::sra(sv::sll(a, 16), 16); }
    static V clamp16(V a) { return sv::min(sv::max(a, sv::set1(int32_t(-32768))), sv::set1(int32_t(32767))); }
    static V shift(V a, int s) {
        if (s >= 0) return sv::sra(a, s > 31 ? 31 : s);
        return s < -31 ? sv::zero4i() : sv::sll(a, -s);
    }
    static F toFloat(V a) { return sv::cvt4f(a); }
    static V truncate(F a) { return sv::cvtTrunc(a); }
    static F splatF(float x) { return sv::set1(x); }
    static F addF(F a, F b) { return sv::add(a, b); }
    static F subF(F a, F b) { return sv::sub(a, b); }
    static F mulF(F a, F b) { return sv::mul(a, b); }
};
struct ShortOne {
    using E = int16_t;
    using V = int32_t;
    using F = float;
    static constexpr int kLanes = 1;
    static V load(const int16_t* p) { return *p; }
    static void store(int16_t* p, V v) { *p = int16_t(zel::delta::clamp16(v)); }
    static V splat(int32_t x) { return x; }
    static V add(V a, V b) { return int32_t(uint32_t(a) + uint32_t(b)); }
    static V sub(V a, V b) { return int32_t(uint32_t(a) - uint32_t(b)); }
    static V mul(V a, V b) { return int32_t(uint32_t(a) * uint32_t(b)); }
    static V wrap16(V a) { return zel::delta::wrap16(a); }
    static V clamp16(V a) { return zel::delta::clamp16(a); }
    static V shift(V a, int s) { return shiftSigned(a, s); }
    static F toFloat(V a) { return float(a); }
    static V truncate(F a) { return truncate32(a); }
    static F splatF(float x) { return x; }
    static F addF(F a, F b) { return a + b; }
    static F subF(F a, F b) { return a - b; }
    static F mulF(F a, F b) { return a * b; }
};

template <class E>
struct PacksOf;
template <>
struct PacksOf<float> {
    using Wide = FloatRules<FloatVec>;
    using One = FloatRules<FloatOne>;
};
template <>
struct PacksOf<int16_t> {
    using Wide = ShortRules<ShortVec>;
    using One = ShortRules<ShortOne>;
};

// Calls f(pack, j) over a row: four lanes while four remain, then one at a time.
template <class E, class F>
inline void sweep(int width, F&& f) {
    using W = typename PacksOf<E>::Wide;
    using O = typename PacksOf<E>::One;
    int j = 0;
    for (; j + W::kLanes <= width; j += W::kLanes) f(W{}, j);
    for (; j < width; ++j) f(O{}, j);
}

template <class P, class E>
inline void putStatic(E* out, const E* in, int j, Copy, int) {
    P::store(out + j, P::load(in + j));
}
template <class P, class E, class M>
inline void putStatic(E* out, const E* in, int j, const M& m, int sf) {
    P::store(out + j, P::scaled(P::load(in + j), m.template at<P>(j), sf));
}

// ---- Streaming windows of radius one and two -----------------------------------

// One window at element j: radius one (up1 - down1), or radius two
// ((up1 - down1) + (up2 - down2) + (up2 - down2)), times the multiplier.
// rowAt(k) gives the block of the row k away from the centre.
template <class P, int A, class R, class M>
inline typename P::V windowAt(const R& rowAt, int j, const M& m, int sf) {
    auto d = P::diff(P::load(rowAt(1) + j), P::load(rowAt(-1) + j));
    if constexpr (A == 2) d = P::win2(d, P::diff(P::load(rowAt(2) + j), P::load(rowAt(-2) + j)));
    return P::scaled(d, m.template at<P>(j), sf);
}

// A stream of frames into rows of `step` elements: static block, delta block
// of radius A, and with B > 0 a delta-delta block of radius B taken of the
// stored deltas. Each value is the window with its row indices clamped to the
// rows of the stream so far and, at the end, to its last row; rows kept from
// the previous call are read, never rewritten. With begin the frames fill
// rows from 0; without it rows 0..H-1 are the kept ones, of which the delta of
// rows from H - A and the delta-delta of rows from H - A - B are still due.
// The multipliers come by value, so that no store through pDst can change them.
//
// `wide` may take over the steady rows: given them as SteadyRows, it returns
// true once it has written all three blocks of them, or false to leave them
// to the loop here.
template <int A, int B, class E, class SM, class DM, class EM, class Wide>
void stream(const E* pSrc, int width, E* pDst, ptrdiff_t step, int height, int mode, int history, const SM sm,
            const DM dm, const EM em, int sf, Wide wide) {
    const bool begin = (mode & 1) != 0, end = (mode & 2) != 0;
    const int first = begin ? 0 : history;
    const int last = first + height - 1;
    auto row = [&](int t) { return pDst + ptrdiff_t(t < 0 ? 0 : (t > last ? last : t)) * step; };
    auto delta = [&](int u) {
        auto rowAt = [&](int k) { return row(u + k); };
        E* out = row(u) + width;
        sweep<E>(width, [&](auto pack, int j) {
            using P = decltype(pack);
            P::store(out + j, windowAt<P, A>(rowAt, j, dm, sf));
        });
    };
    auto deltaDelta = [&](int u) {
        auto rowAt = [&](int k) { return row(u + k) + width; };
        E* out = row(u) + 2 * width;
        sweep<E>(width, [&](auto pack, int j) {
            using P = decltype(pack);
            P::store(out + j, windowAt<P, B>(rowAt, j, em, sf));
        });
    };
    int nextD = begin ? 0 : history - A;
    int nextE = begin ? 0 : history - A - B;
    for (int t = first; t <= last; ++t) {
        E* out = pDst + ptrdiff_t(t) * step;
        const E* in = pSrc + ptrdiff_t(t - first) * width;
        // The frame completes the window of the row A behind it, and that
        // delta completes the delta-delta of the row B behind that.
        const int u = t - A, v = u - B;
        if (nextD == u && u >= A && (B == 0 || (nextE == v && v >= B))) {
            // Steady rows: no index is clamped, and the three blocks go in
            // one pass over the row. Once a row is steady, so are all after it.
            if (wide(SteadyRows<E>{in, width, pDst, step, t, last, sf})) {
                nextD = last - A + 1;
                nextE = last - A - B + 1;
                break;
            }
            auto statics = [&](int k) { return out - ptrdiff_t(A - k) * step; };
            auto deltas = [&](int k) { return out - ptrdiff_t(A + B - k) * step + width; };
            E* outD = out - ptrdiff_t(A) * step + width;
            E* outE = out - ptrdiff_t(A + B) * step + 2 * width;
            sweep<E>(width, [&](auto pack, int j) {
                using P = decltype(pack);
                putStatic<P>(out, in, j, sm, sf);
                P::store(outD + j, windowAt<P, A>(statics, j, dm, sf));
                if constexpr (B > 0) P::store(outE + j, windowAt<P, B>(deltas, j, em, sf));
            });
            ++nextD;
            nextE += B > 0;
            continue;
        }
        sweep<E>(width, [&](auto pack, int j) { putStatic<decltype(pack)>(out, in, j, sm, sf); });
        for (; nextD <= u; ++nextD) delta(nextD);
        if constexpr (B > 0)
            for (; nextE + B < nextD; ++nextE) deltaDelta(nextE);
    }
    if (end) {
        for (; nextD <= last; ++nextD) delta(nextD);
        if constexpr (B > 0)
            for (; nextE <= last; ++nextE) deltaDelta(nextE);
    }
}

// ---- The Aurora window ---------------------------------------------------------

constexpr int kAuroraIn = 14;
constexpr int kAuroraWidth = 13;

// Single-precision constants of the delta-delta window.
constexpr float kA2 = 0.285714f, kA1 = 0.607143f, kA0 = 0.714286f;

// Delta and delta-delta of row t from the statics of rows t - 4 .. t + 4 (x[0..8]).
template <class P, bool Mul>
inline void auroraAt(typename P::E* out, const typename P::E* const* x, const typename P::E* pVal, int j, int sf) {
    if constexpr (std::is_same_v<typename P::E, float>) {
        auto at = [&](int k) { return P::load(x[k] + j); };
        auto c = [](float v) { return P::splat(v); };
        auto d = P::sub(P::splat(0.0f), at(0));
        d = P::sub(d, P::mul(c(0.75f), at(1)));
        d = P::sub(d, P::mul(c(0.5f), at(2)));
        d = P::sub(d, P::mul(c(0.25f), at(3)));
        d = P::add(d, P::mul(c(0.25f), at(5)));
        d = P::add(d, P::mul(c(0.5f), at(6)));
        d = P::add(d, P::mul(c(0.75f), at(7)));
        d = P::add(d, at(8));
        auto e = P::add(P::mul(c(0.25f), at(1)), at(0));
        e = P::sub(e, P::mul(c(kA2), at(2)));
        e = P::sub(e, P::mul(c(kA1), at(3)));
        e = P::sub(e, P::mul(c(kA0), at(4)));
        e = P::sub(e, P::mul(c(kA1), at(5)));
        e = P::sub(e, P::mul(c(kA2), at(6)));
        e = P::add(e, P::mul(c(0.25f), at(7)));
        e = P::add(e, at(8));
        if constexpr (Mul) {
            d = P::mul(d, P::load(pVal + kAuroraWidth + j));
            e = P::mul(e, P::load(pVal + 2 * kAuroraWidth + j));
        }
        P::store(out + kAuroraWidth + j, d);
        P::store(out + 2 * kAuroraWidth + j, e);
    } else {
        // Delta: the integer window, exact in 32 bits, shifted by two more.
        auto at = [&](int k) { return P::load(x[k] + j); };
        auto k = [](int32_t v) { return P::splat(v); };
        auto d = P::sub(P::splat(0), P::mul(k(4), at(0)));
        d = P::sub(d, P::mul(k(3), at(1)));
        d = P::sub(d, P::mul(k(2), at(2)));
        d = P::sub(d, at(3));
        d = P::add(d, at(5));
        d = P::add(d, P::mul(k(2), at(6)));
        d = P::add(d, P::mul(k(3), at(7)));
        d = P::add(d, P::mul(k(4), at(8)));
        if constexpr (Mul) d = P::mul(d, P::load(pVal + kAuroraWidth + j));
        P::store(out + kAuroraWidth + j, P::shift(d, int((int64_t(sf) + 2) & 31)));
        // Delta-delta: the float window over the statics, truncated.
        auto f = [&](int i) { return P::toFloat(at(i)); };
        auto c = [](float v) { return P::splatF(v); };
        auto e = P::addF(P::mulF(c(0.25f), f(1)), f(0));
        e = P::subF(e, P::mulF(c(kA2), f(2)));
        e = P::subF(e, P::mulF(c(kA1), f(3)));
        e = P::subF(e, P::mulF(c(kA0), f(4)));
        e = P::subF(e, P::mulF(c(kA1), f(5)));
        e = P::subF(e, P::mulF(c(kA2), f(6)));
        e = P::addF(e, P::mulF(c(0.25f), f(7)));
        e = P::addF(e, f(8));
        if constexpr (Mul) e = P::mulF(e, P::toFloat(P::load(pVal + 2 * kAuroraWidth + j)));
        P::store(out + 2 * kAuroraWidth + j, P::shift(P::truncate(e), sf & 31));
    }
}

// Statics of one Aurora frame: the twelve cepstra, then the composite of c0
// and the log energy, c0 * 0.6 / 23 + logE * 0.4 in single precision.
template <bool Mul, class E>
inline void auroraStatics(E* out, const E* in, const E* pVal, int sf) {
    if constexpr (std::is_same_v<E, float>) {
        if constexpr (Mul)
            sweep<float>(12, [&](auto pack, int j) { putStatic<decltype(pack)>(out, in, j, Table<float>{pVal}, 0); });
        else
            sweep<float>(12, [&](auto pack, int j) { putStatic<decltype(pack)>(out, in, j, Copy{}, 0); });
        float comp = (in[12] * 0.6f) / 23.0f + in[13] * 0.4f;
        if constexpr (Mul) comp = comp * pVal[12];
        out[12] = comp;
    } else {
        const int s = sf & 31;
        if constexpr (Mul)
            sweep<int16_t>(12, [&](auto pack, int j) { putStatic<decltype(pack)>(out, in, j, Table<int16_t>{pVal}, s); });
        else
            sweep<int16_t>(12, [&](auto pack, int j) { putStatic<decltype(pack)>(out, in, j, Splat<int16_t>{1}, s); });
        float comp = (float(in[12]) * 0.6f) / 23.0f + float(in[13]) * 0.4f;
        if constexpr (Mul) comp = comp * float(pVal[12]);
        out[12] = int16_t(clamp16(shiftSigned(truncate32(comp), s)));
    }
}

// The Aurora stream: history of eight rows, both windows of radius four
// straight from the statics, indices clamped as in the other windows.
template <bool Mul, class E>
void auroraStream(const E* pSrc, const E* pVal, E* pDst, ptrdiff_t step, int height, int mode, int sf) {
    constexpr int kHistory = 8, kRadius = 4;
    const bool begin = (mode & 1) != 0, end = (mode & 2) != 0;
    const int first = begin ? 0 : kHistory;
    const int last = first + height - 1;
    auto row = [&](int t) { return pDst + ptrdiff_t(t < 0 ? 0 : (t > last ? last : t)) * step; };
    auto windows = [&](int u) {
        const E* x[9];
        for (int k = 0; k < 9; ++k) x[k] = row(u - kRadius + k);
        E* out = pDst + ptrdiff_t(u) * step;
        sweep<E>(kAuroraWidth, [&](auto pack, int j) { auroraAt<decltype(pack), Mul>(out, x, pVal, j, sf); });
    };
    int next = begin ? 0 : kHistory - kRadius;
    for (int t = first; t <= last; ++t) {
        auroraStatics<Mul>(pDst + ptrdiff_t(t) * step, pSrc + ptrdiff_t(t - first) * kAuroraIn, pVal, sf);
        for (; next + kRadius <= t; ++next) windows(next);
    }
    if (end)
        for (; next <= last; ++next) windows(next);
}

// ---- The in-place regression ----------------------------------------------------

// D = sum over k = 1..W of k * (x[t + k] - x[t - k]), where the first W rows
// take row 0 for every lower term and the last W rows the last row for every
// upper term. Floats add in ascending k; from W = 8 on, k runs in groups of
// eight over two four-lane accumulators (k = 8g + 1..4 and 8g + 5..8), which
// are added lane by lane and folded 0, 1, 2, 3 before the rest of k. Integers
// wrap, so their order is free.
template <class P, class Lo, class Hi>
inline typename P::V regression(int j, int w, const Lo& lo, const Hi& hi) {
    using V = typename P::V;
    auto term = [&](int k) { return P::mul(P::splat(k), P::diff(P::load(hi(k) + j), P::load(lo(k) + j))); };
    V sum = P::splat(0);
    int k = 1;
    if constexpr (std::is_same_v<typename P::E, float>) {
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
    return sum;
}

// The 16-bit result is the wrapping product with the multiplier shifted right
// by scaleFactor & 31; the float result is the product.
template <class E, class M>
void evalDelta(E* p, int height, ptrdiff_t step, int width, int offset, int w, const M& m, int sf) {
    const int s = sf & 31;
    for (int t = 0; t < height; ++t) {
        const bool head = t < w, tail = t >= height - w;
        const E* first = p + offset;
        const E* lastRow = p + ptrdiff_t(height - 1) * step + offset;
        const E* here = p + ptrdiff_t(t) * step + offset;
        auto lo = [&](int k) { return head ? first : here - ptrdiff_t(k) * step; };
        auto hi = [&](int k) { return tail ? lastRow : here + ptrdiff_t(k) * step; };
        E* out = p + ptrdiff_t(t) * step + offset + width;
        sweep<E>(width, [&](auto pack, int j) {
            using P = decltype(pack);
            P::store(out + j, P::scaled(regression<P>(j, w, lo, hi), m.template at<P>(j), s));
        });
    }
}

}  // namespace zel::delta
