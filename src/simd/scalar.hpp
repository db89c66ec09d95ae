// SPDX-License-Identifier: Apache-2.0
// Portable implementation of the vector vocabulary: plain lanes in the same
// order and with the same per-lane results as the SSE4.1 header.
#pragma once

#include <math.h>
#include <stdint.h>
#include <string.h>

namespace zel::simd {

constexpr bool kVectorISA = false;

struct F32x4 { float v[4]; };
struct F64x2 { double v[2]; };
struct I32x4 { int32_t v[4]; };
struct I16x8 { int16_t v[8]; };

namespace detail {
template <class V, class F>
inline V map2(V a, V b, F f) {
    V r;
    for (unsigned i = 0; i < sizeof(a.v) / sizeof(a.v[0]); ++i) r.v[i] = f(a.v[i], b.v[i]);
    return r;
}
template <class V, class F>
inline V map1(V a, F f) {
    V r;
    for (unsigned i = 0; i < sizeof(a.v) / sizeof(a.v[0]); ++i) r.v[i] = f(a.v[i]);
    return r;
}
inline float maskf(bool b) { uint32_t u = b ? 0xffffffffu : 0u; float f; memcpy(&f, &u, 4); return f; }
inline double maskd(bool b) { uint64_t u = b ? ~uint64_t(0) : 0u; double d; memcpy(&d, &u, 8); return d; }
inline bool signf(float f) { uint32_t u; memcpy(&u, &f, 4); return u >> 31; }
inline bool signd(double d) { uint64_t u; memcpy(&u, &d, 8); return u >> 63; }
inline int16_t sat16(int32_t v) { return int16_t(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }
// The processor's conversion: out of range and NaN give the most negative integer.
inline int32_t cvtOr80000000(double r) {
    if (!(r >= -2147483648.0 && r < 2147483648.0)) return INT32_MIN;
    return int32_t(r);
}
}  // namespace detail

// ---- single precision, four lanes
inline F32x4 load4f(const float* p) { F32x4 r; memcpy(r.v, p, 16); return r; }
inline F32x4 loadu4f(const float* p) { return load4f(p); }
inline void store(float* p, F32x4 a) { memcpy(p, a.v, 16); }
inline void storeu(float* p, F32x4 a) { memcpy(p, a.v, 16); }
inline F32x4 set1(float x) { return {{x, x, x, x}}; }
inline F32x4 set4f(float l0, float l1, float l2, float l3) { return {{l0, l1, l2, l3}}; }
inline F32x4 zero4f() { return set1(0.0f); }
inline F32x4 add(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x + y; }); }
inline F32x4 sub(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x - y; }); }
inline F32x4 mul(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x * y; }); }
inline F32x4 div(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x / y; }); }
inline F32x4 sqrt(F32x4 a) { return detail::map1(a, [](float x) { return sqrtf(x); }); }
inline F32x4 min(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x < y ? x : y; }); }
inline F32x4 max(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return x > y ? x : y; }); }
inline F32x4 cmplt(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return detail::maskf(x < y); }); }
inline F32x4 cmple(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return detail::maskf(x <= y); }); }
inline F32x4 cmpgt(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return detail::maskf(x > y); }); }
inline F32x4 cmpeq(F32x4 a, F32x4 b) { return detail::map2(a, b, [](float x, float y) { return detail::maskf(x == y); }); }
inline F32x4 select(F32x4 mask, F32x4 a, F32x4 b) {
    F32x4 r;
    for (int i = 0; i < 4; ++i) r.v[i] = detail::signf(mask.v[i]) ? a.v[i] : b.v[i];
    return r;
}
inline int movemask(F32x4 m) {
    int r = 0;
    for (int i = 0; i < 4; ++i) r |= int(detail::signf(m.v[i])) << i;
    return r;
}
template <int i>
inline float lane(F32x4 a) { return a.v[i]; }
inline F32x4 rcpEstimate(F32x4 a) { return detail::map1(a, [](float x) { return 1.0f / x; }); }
inline F32x4 rsqrtEstimate(F32x4 a) { return detail::map1(a, [](float x) { return 1.0f / sqrtf(x); }); }

// ---- double precision, two lanes
inline F64x2 load2d(const double* p) { F64x2 r; memcpy(r.v, p, 16); return r; }
inline F64x2 loadu2d(const double* p) { return load2d(p); }
inline void store(double* p, F64x2 a) { memcpy(p, a.v, 16); }
inline void storeu(double* p, F64x2 a) { memcpy(p, a.v, 16); }
inline F64x2 set1(double x) { return {{x, x}}; }
inline F64x2 zero2d() { return set1(0.0); }
inline F64x2 add(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x + y; }); }
inline F64x2 sub(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x - y; }); }
inline F64x2 mul(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x * y; }); }
inline F64x2 div(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x / y; }); }
inline F64x2 sqrt(F64x2 a) { return detail::map1(a, [](double x) { return ::sqrt(x); }); }
inline F64x2 min(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x < y ? x : y; }); }
inline F64x2 max(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return x > y ? x : y; }); }
inline F64x2 cmplt(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return detail::maskd(x < y); }); }
inline F64x2 select(F64x2 mask, F64x2 a, F64x2 b) {
    F64x2 r;
    for (int i = 0; i < 2; ++i) r.v[i] = detail::signd(mask.v[i]) ? a.v[i] : b.v[i];
    return r;
}
inline int movemask(F64x2 m) { return int(detail::signd(m.v[0])) | int(detail::signd(m.v[1])) << 1; }
template <int i>
inline double lane(F64x2 a) { return a.v[i]; }
inline F64x2 cvtLo2d(F32x4 a) { return {{double(a.v[0]), double(a.v[1])}}; }
inline F64x2 cvtHi2d(F32x4 a) { return {{double(a.v[2]), double(a.v[3])}}; }

// ---- 32-bit integers
inline I32x4 load4i(const int32_t* p) { I32x4 r; memcpy(r.v, p, 16); return r; }
inline I32x4 loadu4i(const int32_t* p) { return load4i(p); }
inline void store(int32_t* p, I32x4 a) { memcpy(p, a.v, 16); }
inline void storeu(int32_t* p, I32x4 a) { memcpy(p, a.v, 16); }
inline I32x4 set1(int32_t x) { return {{x, x, x, x}}; }
inline I32x4 zero4i() { return set1(int32_t(0)); }
inline I32x4 add(I32x4 a, I32x4 b) { return detail::map2(a, b, [](int32_t x, int32_t y) { return int32_t(uint32_t(x) + uint32_t(y)); }); }
inline I32x4 sub(I32x4 a, I32x4 b) { return detail::map2(a, b, [](int32_t x, int32_t y) { return int32_t(uint32_t(x) - uint32_t(y)); }); }
inline I32x4 mullo(I32x4 a, I32x4 b) { return detail::map2(a, b, [](int32_t x, int32_t y) { return int32_t(uint32_t(x) * uint32_t(y)); }); }
inline I32x4 min(I32x4 a, I32x4 b) { return detail::map2(a, b, [](int32_t x, int32_t y) { return x < y ? x : y; }); }
inline I32x4 max(I32x4 a, I32x4 b) { return detail::map2(a, b, [](int32_t x, int32_t y) { return x > y ? x : y; }); }
inline I32x4 sra(I32x4 a, int n) { int s = n > 31 ? 31 : n; return detail::map1(a, [s](int32_t x) { return x >> s; }); }
inline I32x4 sll(I32x4 a, int n) {
    return detail::map1(a, [n](int32_t x) { return n > 31 ? 0 : int32_t(uint32_t(x) << n); });
}
template <int i>
inline int32_t lane(I32x4 a) { return a.v[i]; }
// The vector conversion rounds by the mode; the portable one does the same through nearbyint.
inline I32x4 cvtRound(F32x4 a) {
    I32x4 r;
    for (int i = 0; i < 4; ++i) r.v[i] = detail::cvtOr80000000(nearbyint(double(a.v[i])));
    return r;
}
inline I32x4 cvtTrunc(F32x4 a) {
    I32x4 r;
    for (int i = 0; i < 4; ++i) r.v[i] = detail::cvtOr80000000(trunc(double(a.v[i])));
    return r;
}
inline F32x4 cvt4f(I32x4 a) { return {{float(a.v[0]), float(a.v[1]), float(a.v[2]), float(a.v[3])}}; }
inline F32x4 asFloat(I32x4 a) { F32x4 r; memcpy(r.v, a.v, 16); return r; }
inline I32x4 asInt(F32x4 a) { I32x4 r; memcpy(r.v, a.v, 16); return r; }

// ---- 16-bit integers
inline I16x8 load8s(const int16_t* p) { I16x8 r; memcpy(r.v, p, 16); return r; }
inline I16x8 loadu8s(const int16_t* p) { return load8s(p); }
inline void store(int16_t* p, I16x8 a) { memcpy(p, a.v, 16); }
inline void storeu(int16_t* p, I16x8 a) { memcpy(p, a.v, 16); }
inline I16x8 set1(int16_t x) { I16x8 r; for (auto& e : r.v) e = x; return r; }
inline I16x8 subSat(I16x8 a, I16x8 b) { return detail::map2(a, b, [](int16_t x, int16_t y) { return detail::sat16(int32_t(x) - y); }); }
inline I16x8 addSat(I16x8 a, I16x8 b) { return detail::map2(a, b, [](int16_t x, int16_t y) { return detail::sat16(int32_t(x) + y); }); }
inline I32x4 madd(I16x8 a, I16x8 b) {
    I32x4 r;
    for (int i = 0; i < 4; ++i)
        r.v[i] = int32_t(uint32_t(int32_t(a.v[2 * i]) * b.v[2 * i]) + uint32_t(int32_t(a.v[2 * i + 1]) * b.v[2 * i + 1]));
    return r;
}
inline I32x4 widenLo(I16x8 a) { return {{a.v[0], a.v[1], a.v[2], a.v[3]}}; }
inline I32x4 widenHi(I16x8 a) { return {{a.v[4], a.v[5], a.v[6], a.v[7]}}; }
inline I16x8 packSat(I32x4 lo, I32x4 hi) {
    I16x8 r;
    for (int i = 0; i < 4; ++i) {
        r.v[i] = detail::sat16(lo.v[i]);
        r.v[i + 4] = detail::sat16(hi.v[i]);
    }
    return r;
}

}  // namespace zel::simd

// ---- lane rearrangements of single-precision vectors (real FFT)
namespace zel::simd {

inline F32x4 interleaveLo(F32x4 a, F32x4 b) { return {{a.v[0], b.v[0], a.v[1], b.v[1]}}; }
inline F32x4 interleaveHi(F32x4 a, F32x4 b) { return {{a.v[2], b.v[2], a.v[3], b.v[3]}}; }
inline F32x4 evenLanes(F32x4 a, F32x4 b) { return {{a.v[0], a.v[2], b.v[0], b.v[2]}}; }
inline F32x4 oddLanes(F32x4 a, F32x4 b) { return {{a.v[1], a.v[3], b.v[1], b.v[3]}}; }
inline F32x4 reverse(F32x4 a) { return {{a.v[3], a.v[2], a.v[1], a.v[0]}}; }
inline void transpose4(F32x4& a, F32x4& b, F32x4& c, F32x4& d) {
    F32x4 r0 = {{a.v[0], b.v[0], c.v[0], d.v[0]}};
    F32x4 r1 = {{a.v[1], b.v[1], c.v[1], d.v[1]}};
    F32x4 r2 = {{a.v[2], b.v[2], c.v[2], d.v[2]}};
    F32x4 r3 = {{a.v[3], b.v[3], c.v[3], d.v[3]}};
    a = r0; b = r1; c = r2; d = r3;
}

}  // namespace zel::simd

// ---- 16-bit products and partial loads (Gaussian frame scoring)
namespace zel::simd {

inline I16x8 zero8s() { return set1(int16_t(0)); }
inline I16x8 mullo(I16x8 a, I16x8 b) {
    return detail::map2(a, b, [](int16_t x, int16_t y) { return int16_t(uint16_t(uint32_t(int32_t(x) * y))); });
}
inline I16x8 mulhi(I16x8 a, I16x8 b) {
    return detail::map2(a, b, [](int16_t x, int16_t y) { return int16_t((int32_t(x) * y) >> 16); });
}
inline I16x8 srl(I16x8 a, int n) {
    return detail::map1(a, [n](int16_t x) { return n > 15 ? int16_t(0) : int16_t(uint16_t(x) >> n); });
}
inline I16x8 loadLo4s(const int16_t* p) { I16x8 r = zero8s(); memcpy(r.v, p, 8); return r; }
inline I16x8 loadLo2s(const int16_t* p) { I16x8 r = zero8s(); memcpy(r.v, p, 4); return r; }
inline I16x8 loadLo1s(const int16_t* p) { I16x8 r = zero8s(); r.v[0] = *p; return r; }

}  // namespace zel::simd

// ---- double comparisons, narrowing and lane moves (log-domain arithmetic)
namespace zel::simd {

inline F64x2 cmple(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return detail::maskd(x <= y); }); }
inline F64x2 cmpeq(F64x2 a, F64x2 b) { return detail::map2(a, b, [](double x, double y) { return detail::maskd(x == y); }); }
inline F32x4 narrowPair(F64x2 lo, F64x2 hi) { return {{float(lo.v[0]), float(lo.v[1]), float(hi.v[0]), float(hi.v[1])}}; }
inline F32x4 highPairToLow(F32x4 a) { return {{a.v[2], a.v[3], a.v[2], a.v[3]}}; }
inline F32x4 lane1ToAll(F32x4 a) { return set1(a.v[1]); }
inline F64x2 highLaneToLow(F64x2 a) { return {{a.v[1], a.v[1]}}; }

}  // namespace zel::simd

// ---- four 16-bit values in 32-bit lanes (DCT lifter, dynamic features)
namespace zel::simd {

inline I32x4 load4sTo32(const int16_t* p) { return {{p[0], p[1], p[2], p[3]}}; }
inline void store4sSat(int16_t* p, I32x4 a) {
    for (int i = 0; i < 4; ++i) p[i] = detail::sat16(a.v[i]);
}

}  // namespace zel::simd

// ---- one lane of a running sum (filter-bank evaluation)
namespace zel::simd {

inline F32x4 addLane0(F32x4 a, float x) { a.v[0] = a.v[0] + x; return a; }

}  // namespace zel::simd
