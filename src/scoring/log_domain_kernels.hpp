// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the log-domain family. The formulas are written once over a
// lane type (a single, a double, or their vectors), so that the vector code
// and the single-element code compute alike; they part only where the
// family's rules make them part: the regime test at the exact thresholds.
#pragma once

#include <math.h>
#include <stdint.h>

#include "frame/fixed.hpp"
#include "scoring/log_domain.hpp"
#include "simd/simd.hpp"

namespace zel::logd {

using simd::F32x4;
using simd::F64x2;

// ---- Lanes: scalar twins of the vector vocabulary, with the same results ----

namespace lanes {

using simd::add;
using simd::cmpeq;
using simd::cmple;
using simd::cmplt;
using simd::max;
using simd::min;
using simd::mul;
using simd::select;
using simd::sub;

inline float add(float a, float b) { return a + b; }
inline float sub(float a, float b) { return a - b; }
inline float mul(float a, float b) { return a * b; }
inline double add(double a, double b) { return a + b; }
inline double sub(double a, double b) { return a - b; }
inline double mul(double a, double b) { return a * b; }
// The second operand when either is NaN, as the vector instructions do.
inline float min(float a, float b) { return a < b ? a : b; }
inline float max(float a, float b) { return a > b ? a : b; }
inline double min(double a, double b) { return a < b ? a : b; }
inline double max(double a, double b) { return a > b ? a : b; }
inline bool cmpeq(float a, float b) { return a == b; }
inline bool cmplt(float a, float b) { return a < b; }
inline bool cmpeq(double a, double b) { return a == b; }
inline bool cmplt(double a, double b) { return a < b; }
inline float select(bool m, float a, float b) { return m ? a : b; }
inline double select(bool m, double a, double b) { return m ? a : b; }

// A constant in the precision of the lane type.
inline float splat(float, double v) { return static_cast<float>(v); }
inline double splat(double, double v) { return v; }
inline F32x4 splat(F32x4, double v) { return simd::set1(static_cast<float>(v)); }
inline F64x2 splat(F64x2, double v) { return simd::set1(v); }

// ---- The formula, once ------------------------------------------------------

template <class V>
struct Split {
    V d;  // smaller - larger, at most 0
    V m;  // the larger
};

// d is formed as -|a - b|, which equals smaller - larger (rounding is
// symmetric), so that a NaN operand makes d NaN; where d is NaN, a + b stands
// for the larger: NaN for a NaN operand, the infinity itself for two of one sign.
template <class V>
inline Split<V> split(V a, V b) {
    const V diff = sub(a, b);
    const V d = min(diff, sub(splat(diff, 0.0), diff));
    return {d, select(cmpeq(d, d), max(a, b), add(a, b))};
}

// Below the cut: the larger operand, or the floor value under the floor test.
// Where the test and the value are one number this is a maximum (which keeps
// a NaN in m, its second operand).
template <class Set, class V>
inline V belowCut(V m) {
    if constexpr (Set::kFloorTest == Set::kFloorValue)
        return max(splat(m, Set::kFloorValue), m);
    else
        return select(cmplt(m, splat(m, Set::kFloorTest)), splat(m, Set::kFloorValue), m);
}

// Horner's rule over all coefficients: c0 + x * (c1 + x * (...)).
template <int Degree, class V, class Coef>
inline V horner(V x, Coef c) {
    V p = c(Degree);
    for (int r = Degree - 1; r >= 0; --r) p = add(mul(p, x), c(r));
    return p;
}

// (m + c0) + x * Q(x), Q the other coefficients by Horner's rule.
template <int Degree, class V, class Coef>
inline V hornerPlus(V m, V x, Coef c) {
    V q = c(Degree);
    for (int r = Degree - 1; r >= 1; --r) q = add(mul(q, x), c(r));
    return add(add(m, c(0)), mul(x, q));
}

// (m + even part) + x * odd part, each part by Horner's rule in x * x: two
// short chains instead of one long one.
template <int Degree, class V, class Coef>
inline V evenOddPlus(V m, V x, Coef c) {
    constexpr int kTopEven = Degree & ~1;
    constexpr int kTopOdd = (Degree & 1) ? Degree : Degree - 1;
    const V y = mul(x, x);
    V even = c(kTopEven);
    for (int r = kTopEven - 2; r >= 0; r -= 2) even = add(mul(even, y), c(r));
    V odd = c(kTopOdd);
    for (int r = kTopOdd - 2; r >= 1; r -= 2) odd = add(mul(odd, y), c(r));
    return add(add(m, even), mul(x, odd));
}

}  // namespace lanes

// ---- The lane packs -----------------------------------------------------------
// Each lane of a group may lie in its own regime. For every combination the
// pack holds the coefficients already placed lane by lane, so one load per
// coefficient serves the whole group and the loop has no branch per lane.
// The packs are generated from the polynomial tables when compiling.

// Single set: 3^4 = 81 combinations of four lanes, addressed through `entry`
// by mask1 * 16 + mask2, where bit l of mask1 is set when lane l has d at or
// below boundary 1 and bit l of mask2 when it is at or below boundary 2.
struct Pack32 {
    static constexpr int kCombos = 81;
    static constexpr int kRows = Set32::kDegree + 1;
    alignas(16) float shift[kCombos][4];
    alignas(16) float fast[kCombos][kRows][4];
    // Lanes 0 and 1 of a coefficient, then lanes 2 and 3 of the same.
    alignas(16) double accurate[kCombos][kRows][4];
    // The tables of the single-element code: shifts and coefficients as singles.
    float shiftOne[3];
    float polyOne[3][kRows];
    uint8_t entry[256];
    // The thresholds broadcast to four lanes.
    alignas(16) float cut[4], boundary1[4], boundary2[4];
};

constexpr Pack32 makePack32() {
    Pack32 p{};
    for (int k = 0; k < Pack32::kCombos; ++k) {
        int regime[4];
        int mask1 = 0, mask2 = 0;
        for (int l = 0, t = k; l < 4; ++l, t /= 3) {
            regime[l] = t % 3;
            if (regime[l] >= 1) mask1 |= 1 << l;
            if (regime[l] == 2) mask2 |= 1 << l;
        }
        p.entry[mask1 * 16 + mask2] = static_cast<uint8_t>(k);
        for (int l = 0; l < 4; ++l) {
            p.shift[k][l] = static_cast<float>(Set32::kShift[regime[l]]);
            for (int r = 0; r < Pack32::kRows; ++r) {
                p.fast[k][r][l] = static_cast<float>(Set32::kPoly[regime[l]][r]);
                p.accurate[k][r][l] = Set32::kPoly[regime[l]][r];
            }
        }
    }
    for (int l = 0; l < 4; ++l) {
        p.cut[l] = Set32::kCutf;
        p.boundary1[l] = Set32::kBoundary1f;
        p.boundary2[l] = Set32::kBoundary2f;
    }
    for (int g = 0; g < 3; ++g) {
        p.shiftOne[g] = static_cast<float>(Set32::kShift[g]);
        for (int r = 0; r < Pack32::kRows; ++r) p.polyOne[g][r] = static_cast<float>(Set32::kPoly[g][r]);
    }
    return p;
}

// Double set: 3^2 = 9 combinations of two lanes, addressed directly by
// mask1 * 4 + mask2 with two-bit masks; the other 7 rows are never used.
struct Pack64 {
    static constexpr int kRows = Set64::kDegree + 1;
    alignas(16) double shift[16][2];
    alignas(16) double coef[16][kRows][2];
};

constexpr Pack64 makePack64() {
    Pack64 p{};
    for (int r0 = 0; r0 < 3; ++r0) {
        for (int r1 = 0; r1 < 3; ++r1) {
            const int regime[2] = {r0, r1};
            int mask1 = 0, mask2 = 0;
            for (int l = 0; l < 2; ++l) {
                if (regime[l] >= 1) mask1 |= 1 << l;
                if (regime[l] == 2) mask2 |= 1 << l;
            }
            const int row = mask1 * 4 + mask2;
            for (int l = 0; l < 2; ++l) {
                p.shift[row][l] = Set64::kShift[regime[l]];
                for (int r = 0; r < Pack64::kRows; ++r) p.coef[row][r][l] = Set64::kPoly[regime[l]][r];
            }
        }
    }
    return p;
}

inline constexpr Pack32 kPack32 = makePack32();
inline constexpr Pack64 kPack64 = makePack64();

// The float thresholds are the singles nearest to the decimal constants.
static_assert(Set32::kBoundary1f == -2.55f && Set32::kBoundary2f == -6.8f);
static_assert(Set32::kCutf == -15.3195879547406f && Set32::kFloorf == -4500000.0f);

// ---- Single set -------------------------------------------------------------

// One group of four lanes before its polynomial: the lanes that keep their
// correction, the result of the others, the pack entry of the group and x.
// d equal to boundary 1 is in regime 1, equal to boundary 2 in regime 2, and
// equal to the cut it keeps its correction.
struct Group32 {
    F32x4 keep, low, m, x;
    int k;
};

inline Group32 prepare32(F32x4 a, F32x4 b) {
    using namespace lanes;
    const auto s = split(a, b);
    Group32 g;
    g.keep = cmple(simd::load4f(kPack32.cut), s.d);
    g.low = belowCut<Set32>(s.m);
    g.k = kPack32.entry[simd::movemask(cmple(s.d, simd::load4f(kPack32.boundary1))) * 16 +
                        simd::movemask(cmple(s.d, simd::load4f(kPack32.boundary2)))];
    g.x = sub(s.d, simd::load4f(kPack32.shift[g.k]));
    g.m = s.m;
    return g;
}

template <bool Accurate>
inline F32x4 finish32(const Group32& g) {
    using namespace lanes;
    if (simd::movemask(g.keep) == 0) return g.low;  // no lane needs the polynomial
    const int k = g.k;
    F32x4 r;
    if constexpr (Accurate) {
        // Each pair of lanes in double, rounded to single once at the end.
        const F64x2 lo = evenOddPlus<Set32::kDegree>(simd::cvtLo2d(g.m), simd::cvtLo2d(g.x),
                                                     [&](int c) { return simd::load2d(&kPack32.accurate[k][c][0]); });
        const F64x2 hi = evenOddPlus<Set32::kDegree>(simd::cvtHi2d(g.m), simd::cvtHi2d(g.x),
                                                     [&](int c) { return simd::load2d(&kPack32.accurate[k][c][2]); });
        r = simd::narrowPair(lo, hi);
    } else {
        r = add(g.m, horner<Set32::kDegree>(g.x, [&](int c) { return simd::load4f(kPack32.fast[k][c]); }));
    }
    return select(g.keep, r, g.low);
}

// The fast fold of a group whose result the next fold waits for: the same
// arithmetic as finish32, with each lane's shift and coefficients picked by
// selects on its regime masks rather than through the pack's entry. In a
// chain of folds every step waits on the one before; the selects run beside
// the polynomial, while the entry passes through a mask, an integer and a
// load before the polynomial can start.
inline F32x4 foldChain32(F32x4 a, F32x4 b) {
    using namespace lanes;
    const auto s = split(a, b);
    const F32x4 keep = cmple(simd::set1(Set32::kCutf), s.d);
    const F32x4 in1 = cmple(s.d, simd::set1(Set32::kBoundary1f));
    const F32x4 in2 = cmple(s.d, simd::set1(Set32::kBoundary2f));
    auto pick = [&](const float* byRegime, int stride) {
        return select(in2, simd::set1(byRegime[2 * stride]),
                      select(in1, simd::set1(byRegime[stride]), simd::set1(byRegime[0])));
    };
    const F32x4 x = sub(s.d, pick(kPack32.shiftOne, 1));
    const F32x4 r =
        add(s.m, horner<Set32::kDegree>(x, [&](int c) { return pick(&kPack32.polyOne[0][c], Pack32::kRows); }));
    return select(keep, r, belowCut<Set32>(s.m));
}

template <bool Accurate>
inline F32x4 foldGroup32(F32x4 a, F32x4 b) {
    if constexpr (Accurate) return finish32<true>(prepare32(a, b));
    else return foldChain32(a, b);
}

// One element. d equal to boundary 1 is in regime 0, equal to boundary 2 in
// regime 1, and equal to the cut it loses its correction; otherwise the same
// arithmetic as a lane.
template <bool Accurate>
inline float foldOne32(float a, float b) {
    using namespace lanes;
    const auto s = split(a, b);
    if (!(s.d > Set32::kCutf)) return belowCut<Set32>(s.m);
    const int g = s.d >= Set32::kBoundary1f ? 0 : (s.d >= Set32::kBoundary2f ? 1 : 2);
    const float x = s.d - kPack32.shiftOne[g];
    if constexpr (Accurate) {
        return static_cast<float>(evenOddPlus<Set32::kDegree>(static_cast<double>(s.m), static_cast<double>(x),
                                                              [&](int c) { return Set32::kPoly[g][c]; }));
    } else {
        return s.m + horner<Set32::kDegree>(x, [&](int c) { return kPack32.polyOne[g][c]; });
    }
}

// The groups of a vector, then its last len % 4 elements. The lookup of a
// group's regimes (compare, mask, table, shift) is a chain of dependent steps;
// it runs two groups ahead so that it overlaps the polynomials before it. A
// group reads and writes only its own elements, so pSrc may be pSrcDst.
template <bool Accurate>
inline void logAdd32(const float* pSrc, float* pSrcDst, int len) {
    auto prepare = [&](int i) { return prepare32(simd::loadu4f(pSrc + i), simd::loadu4f(pSrcDst + i)); };
    int i = 0;
    if (len >= 12) {
        Group32 g0 = prepare(0), g1 = prepare(4);
        for (; i + 12 <= len; i += 4) {
            const Group32 g2 = prepare(i + 8);
            simd::storeu(pSrcDst + i, finish32<Accurate>(g0));
            g0 = g1;
            g1 = g2;
        }
        simd::storeu(pSrcDst + i, finish32<Accurate>(g0));
        simd::storeu(pSrcDst + i + 4, finish32<Accurate>(g1));
        i += 8;
    }
    for (; i + 4 <= len; i += 4) simd::storeu(pSrcDst + i, finish32<Accurate>(prepare(i)));
    for (; i < len; ++i) pSrcDst[i] = foldOne32<Accurate>(pSrc[i], pSrcDst[i]);
}

// The fast fold of a whole vector, in the lane order of ownLogSum_32f.
inline float logSum32(const float* p, int len) {
    int i = 1;
    float r = p[0];
    if (len >= 8) {
        F32x4 acc = simd::loadu4f(p);
        for (i = 4; i + 4 <= len; i += 4) acc = foldGroup32<false>(simd::loadu4f(p + i), acc);
        acc = foldGroup32<false>(simd::highPairToLow(acc), acc);  // lanes 2, 3 into lanes 0, 1
        acc = foldGroup32<false>(simd::lane1ToAll(acc), acc);     // lane 1 into lane 0
        r = simd::lane<0>(acc);
    }
    for (; i < len; ++i) r = foldOne32<false>(p[i], r);
    return r;
}

// ---- Double set ---------------------------------------------------------------

// One pair of lanes, even and odd powers split. The double set has one regime
// test everywhere: d equal to boundary 1 is in regime 1, equal to boundary 2
// in regime 2, and equal to the cut it keeps its correction.
inline F64x2 foldPair64(F64x2 a, F64x2 b) {
    using namespace lanes;
    const auto s = split(a, b);
    const F64x2 keep = cmple(simd::set1(Set64::kCut), s.d);
    const F64x2 low = belowCut<Set64>(s.m);
    if (simd::movemask(keep) == 0) return low;
    const int row = simd::movemask(cmple(s.d, simd::set1(Set64::kBoundary1))) * 4 +
                    simd::movemask(cmple(s.d, simd::set1(Set64::kBoundary2)));
    const F64x2 x = sub(s.d, simd::load2d(kPack64.shift[row]));
    const F64x2 r = evenOddPlus<Set64::kDegree>(s.m, x, [&](int c) { return simd::load2d(kPack64.coef[row][c]); });
    return select(keep, r, low);
}

// A single element through the pair code, so that it computes as a lane does.
inline double foldOne64(double a, double b) { return simd::lane<0>(foldPair64(simd::set1(a), simd::set1(b))); }

inline void logAdd64(const double* pSrc, double* pSrcDst, int len) {
    int i = 0;
    for (; i + 2 <= len; i += 2) simd::storeu(pSrcDst + i, foldPair64(simd::loadu2d(pSrc + i), simd::loadu2d(pSrcDst + i)));
    if (i < len) pSrcDst[i] = foldOne64(pSrc[i], pSrcDst[i]);
}

// The double fold of a whole vector, in the lane order of ownLogSum_64f.
inline double logSum64(const double* p, int len) {
    int i = 1;
    double r = p[0];
    if (len >= 5) {
        F64x2 acc = simd::loadu2d(p);
        for (i = 2; i + 2 <= len; i += 2) acc = foldPair64(simd::loadu2d(p + i), acc);
        r = simd::lane<0>(foldPair64(simd::highLaneToLow(acc), acc));  // lane 1 into lane 0
    }
    for (; i < len; ++i) r = foldOne64(p[i], r);
    return r;
}

// ---- The scalar folds ---------------------------------------------------------

// One fold in double as (M + c0) + x * Q(x), Q by Horner's rule: d below the
// cut drops the correction, regime 0 holds for d above boundary 1 and regime
// 1 for d above boundary 2. Set32 gives the single set with double
// coefficients (its callers round each result to single), Set64 the double
// set, which zelsLogAdd_64f runs element by element.
template <class Set>
inline double foldHorner(double a, double b) {
    using namespace lanes;
    const auto s = split(a, b);
    if (!(s.d >= Set::kCut)) return belowCut<Set>(s.m);
    const int g = s.d > Set::kBoundary1 ? 0 : (s.d > Set::kBoundary2 ? 1 : 2);
    const double x = s.d - Set::kShift[g];
    return hornerPlus<Set::kDegree>(s.m, x, [&](int c) { return Set::kPoly[g][c]; });
}

inline void logAdd64Horner(const double* pSrc, double* pSrcDst, int len) {
    for (int i = 0; i < len; ++i) pSrcDst[i] = foldHorner<Set64>(pSrc[i], pSrcDst[i]);
}

// ---- Fixed point ----------------------------------------------------------------

// Blocks of at most 128, so the single-precision copies live on the stack.
constexpr int kFixedBlock = 128;

// The truncate rule back to the element type, with scale factor -scaleFactor.
// The negation is formed in 64 bits: -INT_MIN has no int, and any factor
// beyond the clamp of the scale value acts as the clamp.
inline int negatedScale(int scaleFactor) {
    const int64_t n = -int64_t(scaleFactor);
    return n > 2048 ? 2048 : int(n);
}
inline Zel16s truncateBack(Zel16s, float v, int scaleFactor) { return zel::truncSat16(v, negatedScale(scaleFactor)); }
inline Zel32s truncateBack(Zel32s, float v, int scaleFactor) { return zel::truncSat32(v, negatedScale(scaleFactor)); }

// Each block: to single precision times 2^-scaleFactor (rounded to single),
// the kernel of the hint, and back by truncation. An unknown hint runs no
// kernel, but its elements still make the round trip through single precision.
template <class T>
inline void logAddFixed(const T* pSrc, T* pSrcDst, int len, int scaleFactor, int hint) {
    alignas(16) float a[kFixedBlock];
    alignas(16) float b[kFixedBlock];
    const float scale = static_cast<float>(ownScaleValue_64f(scaleFactor));
    for (int start = 0; start < len; start += kFixedBlock) {
        const int n = len - start < kFixedBlock ? len - start : kFixedBlock;
        for (int i = 0; i < n; ++i) {
            a[i] = static_cast<float>(pSrc[start + i]) * scale;
            b[i] = static_cast<float>(pSrcDst[start + i]) * scale;
        }
        if (hint == zelAlgHintFast)
            logAdd32<false>(a, b, n);
        else if (hint == zelAlgHintNone || hint == zelAlgHintAccurate)
            logAdd32<true>(a, b, n);
        for (int i = 0; i < n; ++i) pSrcDst[start + i] = truncateBack(T(), b[i], scaleFactor);
    }
}

// Divided back by c, then saturated to the element type and truncated.
inline Zel16s saturateBack(Zel16s, double q) { return zel::satRounded16(q); }
inline Zel32s saturateBack(Zel32s, double q) { return zel::satRounded32(q); }
inline Zel16s saturateBack(Zel16s, float q) { return zel::satRounded16(q); }
inline Zel32s saturateBack(Zel32s, float q) { return zel::satRounded32(q); }

// Up to 6 elements: the scalar fold with the single set's double
// coefficients, each result rounded to single. From 7 on: blocks of 128 in
// single precision through the fast lane-order fold, each later block with
// the running value in front. The change of coefficients between 6 and 7 is
// the family's behaviour.
template <class T>
inline T logSumFixed(const T* pSrc, int len, int scaleFactor) {
    if (len == 1) return pSrc[0];
    const double c = ownScaleValue_64f(scaleFactor);
    if (len <= 6) {
        double r = static_cast<double>(pSrc[0]) * c;
        for (int i = 1; i < len; ++i)
            r = static_cast<float>(foldHorner<Set32>(static_cast<double>(pSrc[i]) * c, r));
        return saturateBack(T(), r / c);
    }
    alignas(16) float buf[kFixedBlock + 1];
    const float cf = static_cast<float>(c);
    int n = len < kFixedBlock ? len : kFixedBlock;
    for (int i = 0; i < n; ++i) buf[i] = static_cast<float>(pSrc[i]) * cf;
    float r = logSum32(buf, n);
    for (int start = n; start < len; start += n) {
        n = len - start < kFixedBlock ? len - start : kFixedBlock;
        buf[0] = r;
        for (int i = 0; i < n; ++i) buf[1 + i] = static_cast<float>(pSrc[start + i]) * cf;
        r = logSum32(buf, n + 1);
    }
    return saturateBack(T(), static_cast<float>(static_cast<double>(r) / c));
}

// ---- Log-subtraction ----------------------------------------------------------

// Every pSrcDst[i] strictly below pSrc[i]; a NaN difference passes.
template <class F>
inline bool logSubOrdered(const F* pSrc, const F* pSrcDst, int len) {
    for (int i = 0; i < len; ++i)
        if (pSrcDst[i] - pSrc[i] >= F(0)) return false;
    return true;
}

// log(exp(a) - exp(b)) = a + log(1 - exp(d)), d = b - a formed in the
// element's precision; exp and log in double.
template <class Set, class F>
inline F logSubOne(F a, F b) {
    const double d = static_cast<double>(b - a);
    if (d < Set::kCut) return a < F(Set::kFloorTest) ? F(Set::kFloorValue) : a;
    const double w = 1.0 - exp(d);
    if (w <= Set::kSubTiny) return F(Set::kFloorValue);
    return static_cast<F>(static_cast<double>(a) + log(w));
}

template <class Set, class F>
inline void logSub(const F* pSrc, F* pSrcDst, int len) {
    for (int i = 0; i < len; ++i) pSrcDst[i] = logSubOne<Set>(pSrc[i], pSrcDst[i]);
}

// The integer difference in 32-bit arithmetic, wrapping as the hardware does.
template <class T>
inline bool logSubOrderedFixed(const T* pSrc, const T* pSrcDst, int len) {
    for (int i = 0; i < len; ++i)
        if (zel::wrap32(int64_t(pSrcDst[i]) - int64_t(pSrc[i])) >= 0) return false;
    return true;
}

inline Zel16s storeSub(Zel16s, int32_t v) { return zel::wrap16(v); }  // the low 16 bits, no saturation
inline Zel32s storeSub(Zel32s, int32_t v) { return v; }

// The scale enters only through the difference: log(1 - exp(x)) is added to
// the integer pSrc[i] as it stands.
template <class T>
inline void logSubFixed(const T* pSrc, T* pSrcDst, int len, int scaleFactor) {
    const float s = ownScaleValue_32f(scaleFactor);
    for (int i = 0; i < len; ++i) {
        const double x = static_cast<double>((static_cast<float>(pSrcDst[i]) - static_cast<float>(pSrc[i])) * s);
        double r = static_cast<double>(pSrc[i]);
        if (x < Set32::kCut) {
            if (r < Set32::kFloorValue) r = Set32::kFloorValue;
        } else {
            const double w = 1.0 - exp(x);
            r = w <= Set32::kSubTiny ? Set32::kFloorValue : r + log(w);
        }
        pSrcDst[i] = storeSub(T(), zel::satRounded32(r));
    }
}

}  // namespace zel::logd
